#include "support/listsfixture.h"

#include "ui/folderchooser.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

class FolderChooserTest : public ListsFixture {};

TEST_F(FolderChooserTest, OffersFoldersByPathAndChoosesByTypedText)
{
    Context* home = folder(QStringLiteral("Home"));
    Context* garden = folder(QStringLiteral("Garden"), home);
    Project* roof = project(QStringLiteral("Roof"));
    FolderChooser contexts(switcher(), FolderChooser::Kind::Context);
    FolderChooser projects(switcher(), FolderChooser::Kind::Project);

    ASSERT_EQ(contexts.count(), 3);
    EXPECT_EQ(contexts.itemText(0), QStringLiteral("Inbox"));
    EXPECT_EQ(contexts.itemText(2), QStringLiteral("Home > Garden"));
    EXPECT_EQ(projects.itemText(0), FolderChooser::noneText());

    const struct {
        FolderChooser* chooser;
        QString text;
        Record* expected;
    } cases[] = {
        {&contexts, QStringLiteral("home > garden"), garden}, // exact path, any case
        {&contexts, QStringLiteral("gard"), garden},          // part of a path
        {&contexts, QStringLiteral("nowhere"), nullptr},
        {&projects, QStringLiteral("roo"), roof},
        {&projects, QStringLiteral("(none)"), nullptr},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.chooser->folderForText(c.text), c.expected) << c.text.toStdString();

    contexts.setCurrentFolder(home);
    QSignalSpy chosen(&contexts, &FolderChooser::folderChosen);
    contexts.lineEdit()->setText(QStringLiteral("nowhere"));
    QTest::keyClick(&contexts, Qt::Key_Return);
    EXPECT_EQ(chosen.count(), 0);
    EXPECT_EQ(contexts.currentFolder(), home) << "text that names no folder chooses nothing";

    contexts.lineEdit()->setText(QStringLiteral("gard"));
    QTest::keyClick(&contexts, Qt::Key_Return);
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(contexts.currentFolder(), garden);
}
