// What a user who never touches the mouse relies on: every labelled field of the window can be reached
// by its own Alt letter, the choosers take typed text with Return, a table reached by Tab has a task to
// act on, a view opened for the first time shows a folder rather than nothing or everything, and the
// done boxes say what they stand for.
#include "support/listsfixture.h"

#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "model/smartfolder.h"
#include "ui/desktopapplication.h"
#include "ui/dialogs.h"
#include "ui/folderchooser.h"
#include "ui/foldertreeview.h"
#include "ui/mainwindow.h"
#include "ui/mainwindowcontroller.h"
#include "ui/tasktableview.h"

#include <algorithm>

#include <QAbstractItemView>
#include <QCompleter>
#include <QFocusEvent>
#include <QLabel>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QStyleOptionViewItem>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct QuietDialogs : Dialogs {
    bool confirm(QWidget*, const QString&, const QString&, const QString&, const QString&) override { return true; }
    void warn(QWidget*, const QString&, const QString&) override {}
};

// The letter after a single '&', lower case; none for "&&" or no mnemonic.
QChar mnemonic(const QString& text)
{
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != u'&')
            continue;
        if (text[i + 1] == u'&') {
            ++i;
            continue;
        }
        return text[i + 1].toLower();
    }
    return {};
}

} // namespace

TEST(MainWindowKeyboardTest, EveryMnemonicIsUniqueAndReachesAFieldThatTakesTheFocus)
{
    QTemporaryDir dir;
    QuietDialogs dialogs;
    DesktopApplication app(dir.filePath(u"data"_s), nullptr, &dialogs, std::make_unique<Preferences>(dir.filePath(u"prefs.ini"_s)));
    ASSERT_TRUE(app.applicationDidFinishLaunching());
    MainWindowController& window = *app.mainWindowController();
    // A task on show, so the detail pane's form (not its placeholder) is up.
    window.action(u"jumpToInbox"_s)->trigger();
    window.action(u"performNewTaskAction"_s)->trigger();
    window.commitEditing();
    ASSERT_FALSE(window.views().contextTasks().selectedObjects().empty());

    QMap<QChar, QString> owners;
    auto claim = [&owners](QChar letter, const QString& text) {
        if (letter.isNull())
            return;
        EXPECT_FALSE(owners.contains(letter)) << "Alt+" << QString(letter).toStdString() << " is both \""
                                              << owners.value(letter).toStdString() << "\" and \"" << text.toStdString() << "\"";
        owners.insert(letter, text);
    };
    for (QAction* menu : window.window().menuBar()->actions())
        claim(mnemonic(menu->text()), menu->text());

    int labelled = 0;
    for (QLabel* label : window.window().findChildren<QLabel*>()) {
        if (!label->isVisibleTo(&window.window()) || !label->text().contains(u'&'))
            continue;
        // A label without a buddy shows its '&' as it stands.
        ASSERT_NE(label->buddy(), nullptr) << "\"" << label->text().toStdString() << "\" has no field to go to";
        EXPECT_NE(label->buddy()->focusPolicy() & Qt::TabFocus, 0)
            << "\"" << label->text().toStdString() << "\" goes to a field that takes no focus";
        claim(mnemonic(label->text()), label->text());
        ++labelled;
    }
    EXPECT_GE(labelled, 10) << "the detail pane's fields";
}

class KeyboardListsTest : public ListsFixture {};

TEST_F(KeyboardListsTest, ChooserTakesTypedTextOnReturnWhileTheCompletionsAreOpen)
{
    Project* budget = project(u"Budget 2027"_s, true, true);
    project(u"Garden shed"_s, true, true);
    context->processPendingChanges();

    FolderChooser chooser(switcher(), FolderChooser::Kind::Project);
    chooser.show();
    QSignalSpy chosen(&chooser, &FolderChooser::folderChosen);
    chooser.lineEdit()->setText(u"budg"_s);
    chooser.completer()->setCompletionPrefix(u"budg"_s);
    chooser.completer()->complete();
    ASSERT_TRUE(chooser.completer()->popup()->isVisible());
    ASSERT_FALSE(chooser.completer()->popup()->currentIndex().isValid()) << "nothing highlighted";

    ASSERT_EQ(chooser.count(), 3) << "(none) and the two projects";
    QTest::keyClick(chooser.completer()->popup(), Qt::Key_Return);
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chooser.currentFolder(), static_cast<Record*>(budget));
    EXPECT_FALSE(chooser.completer()->popup()->isVisible());
}

TEST_F(KeyboardListsTest, TableReachedByTheKeyboardSelectsItsCurrentRowOnly)
{
    Context* home = folder(u"Home"_s);
    addTask(u"Buy milk"_s, home);
    addTask(u"Call mum"_s, home);
    context->processPendingChanges();
    switcher().contextController().selectRecord(home);
    switcher().contextTasks().updatePredicate();
    TaskTableView view(switcher(), TaskTableKind::ContextTasks);

    const struct {
        Qt::FocusReason reason;
        bool selects;
    } cases[] = {
        {Qt::OtherFocusReason, false}, // the program moving the focus keeps the user's (empty) selection
        {Qt::MouseFocusReason, false},
        {Qt::TabFocusReason, true},
        {Qt::BacktabFocusReason, true},
        {Qt::ShortcutFocusReason, true},
    };
    for (const auto& c : cases) {
        view.clearSelection();
        switcher().contextTasks().setSelectedObjects({});
        QFocusEvent in(QEvent::FocusIn, c.reason);
        QCoreApplication::sendEvent(&view, &in);
        EXPECT_EQ(switcher().contextTasks().selectedObjects().size(), c.selects ? 1u : 0u) << "reason " << int(c.reason);
    }

    // A selection the user has is never replaced.
    view.selectRow(1);
    QFocusEvent in(QEvent::FocusIn, Qt::TabFocusReason);
    QCoreApplication::sendEvent(&view, &in);
    EXPECT_EQ(names(switcher().contextTasks().selectedObjects()), QStringList{u"Call mum"_s});
}

TEST_F(KeyboardListsTest, ViewsWithoutARememberedFolderShowTheInboxAndAllTasks)
{
    auto* all = context->insertNewObject<SmartFolder>(u"smartFolder"_s);
    all->setName(u"All tasks"_s);
    all->setIsAllPending(true);
    auto* quick = context->insertNewObject<SmartFolder>(u"smartFolder"_s);
    quick->setName(u"A quick one"_s); // sorts before "All tasks"
    quick->setTags(u"quick"_s);
    folder(u"Errands"_s);
    context->processPendingChanges();

    FolderTreeView contexts(switcher(), TaskView::Contexts);
    contexts.restoreState();
    EXPECT_EQ(switcher().contextController().selectedRecords(), std::vector<Record*>{inbox});

    FolderTreeView smart(switcher(), TaskView::ToComplete);
    smart.restoreState();
    EXPECT_EQ(switcher().smartFolderController().selectedFolder(), all);

    FolderTreeView projects(switcher(), TaskView::Projects);
    projects.restoreState();
    EXPECT_TRUE(switcher().projectController().selectedRecords().empty()) << "projects have no folder that stands in";
}

TEST_F(KeyboardListsTest, DoneBoxesOfTheTableShowWhetherTheTaskIsDone)
{
    Context* home = folder(u"Home"_s);
    Task* open = addTask(u"Buy milk"_s, home);
    Task* finished = addTask(u"Call mum"_s, home);
    finished->setDone(true);
    context->processPendingChanges();
    switcher().contextController().selectRecord(home);
    switcher().contextTasks().updatePredicate();
    TaskTableView view(switcher(), TaskTableKind::ContextTasks);
    view.resize(600, 200);

    auto boxOf = [&view](Task* task) {
        const std::vector<Task*> rows = view.list().arrangedObjects();
        const int row = int(std::find(rows.begin(), rows.end(), task) - rows.begin());
        const QModelIndex cell = view.model()->index(row, 0);
        EXPECT_EQ(view.model()->headerData(0, Qt::Horizontal).toString(), u"\u2713"_s) << "the done column comes first";
        QImage image(24, 20, QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        QStyleOptionViewItem option;
        option.rect = image.rect();
        option.widget = &view;
        option.palette = view.palette();
        option.state = QStyle::State_Enabled;
        option.font = view.font();
        view.itemDelegateForIndex(cell)->paint(&painter, option, cell);
        return image;
    };
    EXPECT_NE(boxOf(open), boxOf(finished)) << "a done task's box is drawn checked";
}
