#include "support/listsfixture.h"
#include "support/widgetlookup.h"

#include "ui/tasklinkfield.h"
#include "ui/taskdetailpane.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QCompleter>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// Labels and titles are the link kinds' own (their tests); here the tokens and menus carry them.
TEST(TaskLinkField, TokensAndTheirMenus)
{
    struct Case {
        QString link;
        QString label;
        QStringList menu; // the items' object names and titles
    };
    const Case cases[] = {
        {u"file:///tmp/a%20b.txt"_s, u"a b.txt"_s,
         {u"linkOpen Open a b.txt"_s, u"linkReveal Reveal a b.txt in the file manager"_s, u"linkCopy Copy as link"_s}},
        {u"vyro://ab-cd/task/p7"_s, u"Vyro item"_s, {u"linkOpen Jump to Vyro item"_s, u"linkCopy Copy as link"_s}},
        {u"http://www.example.com/x"_s, u"www.example.com"_s, {u"linkOpen Open www.example.com"_s, u"linkCopy Copy as link"_s}},
    };
    TaskLinkField field;
    QStringList links;
    for (const Case& c : cases)
        links << c.link;
    field.setLinks(links);
    ASSERT_EQ(field.tokenList()->count(), int(std::size(cases)));
    QSignalSpy opened(&field, &TaskLinkField::openRequested);
    QSignalSpy revealed(&field, &TaskLinkField::revealRequested);
    QMenu menu;
    for (int i = 0; i < int(std::size(cases)); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ(field.tokenList()->item(i)->text(), c.label);
        field.fillMenu(menu, c.link);
        QStringList items;
        for (QAction* a : menu.actions())
            items << a->objectName() + u" "_s + a->text();
        EXPECT_EQ(items, c.menu) << c.link.toStdString();
        for (QAction* a : menu.actions())
            a->trigger();
        EXPECT_EQ(opened.takeFirst().at(0).toString(), c.link);
        EXPECT_EQ(revealed.size(), c.menu.size() == 3 ? 1 : 0);
        revealed.clear();
        EXPECT_EQ(QApplication::clipboard()->text(), c.link);
    }
    field.setLinks(std::nullopt);
    EXPECT_EQ(field.tokenList()->count(), 0);
    EXPECT_EQ(field.input()->placeholderText(), u"Multiple values"_s);
}

class TaskLinkFieldPaneTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        first = addTask(u"Plan"_s, inbox);
        second = addTask(u"Paint"_s, inbox);
        first->setUrl(u"http://a.example"_s);
        context->processPendingChanges();
        context->undoManager().removeAllActions();
        pane = std::make_unique<TaskDetailPane>(switcher());
        pane->setTasks({first});
        field = child<TaskLinkField>(*pane, u"detailLinks"_s);
    }
    void TearDown() override
    {
        pane.reset();
        ListsFixture::TearDown();
    }
    void clearUndo()
    {
        context->processPendingChanges();
        context->undoManager().removeAllActions();
    }

    std::unique_ptr<TaskDetailPane> pane;
    TaskLinkField* field = nullptr;
    Task* first = nullptr;
    Task* second = nullptr;
};

TEST_F(TaskLinkFieldPaneTest, TypedTextBecomesATokenInOneStep)
{
    struct Case {
        QString typed;
        Qt::Key finish;
        QString url; // afterwards
    };
    const Case cases[] = {
        {u"intranet"_s, Qt::Key_Return, u"http://a.example#$#http://intranet"_s},
        {u"/tmp/a.txt"_s, Qt::Key_Comma, u"http://a.example#$#file:///tmp/a.txt"_s},
        // A link the task has already adds nothing.
        {u"http://a.example"_s, Qt::Key_Return, u"http://a.example"_s},
    };
    QLineEdit* input = field->input();
    for (const Case& c : cases) {
        QTest::keyClicks(input, c.typed);
        QTest::keyClick(input, c.finish);
        EXPECT_EQ(first->url(), c.url) << c.typed.toStdString();
        EXPECT_TRUE(input->text().isEmpty());
        if (first->url() != u"http://a.example"_s) {
            EXPECT_EQ(context->undoManager().undoActionName(), u"Change Links"_s);
            context->undo();
            EXPECT_EQ(first->url(), u"http://a.example"_s);
            context->processPendingChanges();
            pane->setTasks({first});
        } else {
            EXPECT_FALSE(context->undoManager().canUndo());
        }
    }
    EXPECT_EQ(second->url(), QString());
}

// Which text holds links, and which are new, is decided below the field; here both ways in reach it.
TEST_F(TaskLinkFieldPaneTest, PasteAndDropAddNewLinksToTheFirstTaskOnly)
{
    pane->setTasks({first, second});
    struct Case {
        const char* what;
        QString text;
        QStringList files;
        bool drop;
        QString firstUrl;
    };
    const Case cases[] = {
        {"pasted address", u"http://b.example/x"_s, {}, false, u"http://a.example#$#http://b.example/x"_s},
        {"pasted words", u"call Ann"_s, {}, false, u"http://a.example"_s},
        {"dropped files", {}, {u"/tmp/one.txt"_s, u"/tmp/t w o.txt"_s}, true,
         u"http://a.example#$#file:///tmp/one.txt#$#file:///tmp/t%20w%20o.txt"_s},
        {"dropped words", u"no link here"_s, {}, true, u"http://a.example"_s},
    };
    const auto mimeData = [](const Case& c) {
        auto* data = new QMimeData;
        QList<QUrl> urls;
        for (const QString& file : c.files)
            urls << QUrl::fromLocalFile(file);
        data->setUrls(urls);
        data->setText(c.files.isEmpty() ? c.text : c.files.join(u'\n'));
        return data;
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        if (c.drop) {
            std::unique_ptr<QMimeData> data(mimeData(c));
            // As a drag does: it enters the field, then drops on it.
            QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(field, &enter);
            QDropEvent drop(QPointF(5, 5), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(field, &drop);
        } else {
            QApplication::clipboard()->setMimeData(mimeData(c));
            field->tokenList()->setFocus();
            QTest::keyClick(field->tokenList(), Qt::Key_V, Qt::ControlModifier);
        }
        EXPECT_EQ(first->url(), c.firstUrl);
        EXPECT_EQ(second->url(), QString());
        if (first->url() != u"http://a.example"_s) {
            EXPECT_EQ(context->undoManager().undoActionName(), u"Change Links"_s);
            context->undo();
            context->processPendingChanges();
        }
        EXPECT_FALSE(context->undoManager().canUndo());
        clearUndo();
    }
}

TEST_F(TaskLinkFieldPaneTest, SelectedTokensAreCopiedAndRemovedByKey)
{
    first->setUrl(u"http://a.example#$#file:///tmp/b#$#mailto:c@example.com"_s);
    clearUndo();
    pane->setTasks({first});
    QListWidget* tokens = field->tokenList();
    ASSERT_EQ(tokens->count(), 3);
    tokens->setFocus();
    tokens->item(0)->setSelected(true);
    tokens->item(1)->setSelected(true);
    QTest::keyClick(tokens, Qt::Key_C, Qt::ControlModifier);
    const QMimeData* copied = QApplication::clipboard()->mimeData();
    EXPECT_EQ(copied->text(), u"http://a.example\nfile:///tmp/b"_s);
    EXPECT_EQ(copied->urls().size(), 2);

    QTest::keyClick(tokens, Qt::Key_Delete);
    EXPECT_EQ(first->url(), u"mailto:c@example.com"_s);
    EXPECT_EQ(context->undoManager().undoActionName(), u"Change Links"_s);
    ASSERT_EQ(tokens->count(), 1);
    tokens->item(0)->setSelected(true);
    QTest::keyClick(tokens, Qt::Key_Backspace);
    EXPECT_EQ(first->url(), QString());
    // From an empty input, Backspace goes to the last token, a second one removes it.
    first->setUrl(u"http://a.example"_s);
    clearUndo();
    pane->setTasks({second});
    pane->setTasks({first});
    QTest::keyClick(field->input(), Qt::Key_Backspace);
    QTest::keyClick(tokens, Qt::Key_Backspace);
    EXPECT_EQ(first->url(), QString());
}

TEST_F(TaskLinkFieldPaneTest, TagsCompleteThePartAfterTheLastComma)
{
    first->setTags(u"home,Hobby"_s);
    second->setTags(u"work"_s);
    clearUndo();
    pane->setTasks({second});
    auto* tags = child<QLineEdit>(*pane, u"detailTags"_s);
    auto* completer = pane->findChild<QCompleter*>(u"detailTagsCompleter"_s);
    ASSERT_NE(completer, nullptr);
    struct Case {
        QString typed;
        QStringList offered;
    };
    const Case cases[] = {
        {u"work, Ho"_s, {u"hobby"_s, u"home"_s}},
        {u"w"_s, {u"work"_s}},
        {u"work, "_s, {}},
    };
    for (const Case& c : cases) {
        tags->selectAll();
        QTest::keyClick(tags, Qt::Key_Backspace);
        QTest::keyClicks(tags, c.typed);
        auto* model = static_cast<QStringListModel*>(completer->model());
        EXPECT_EQ(model->stringList(), c.offered) << c.typed.toStdString();
    }
    tags->selectAll();
    QTest::keyClick(tags, Qt::Key_Backspace);
    QTest::keyClicks(tags, u"work, Ho"_s);
    Q_EMIT completer->activated(u"home"_s);
    EXPECT_EQ(tags->text(), u"work, home"_s);
    QTest::keyClick(tags, Qt::Key_Return);
    EXPECT_EQ(second->tags(), u"work,home"_s);
}
