#include "support/listsfixture.h"
#include "support/widgetlookup.h"

#include "ui/datefield.h"
#include "ui/folderchooser.h"
#include "ui/taskdetailpane.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTest>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {


// Types `text` into a line edit and finishes the edit with Return, as the user does.
void typeLine(QLineEdit* edit, const QString& text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
    QTest::keyClick(edit, Qt::Key_Return);
}

// Types into a multi-line field and leaves it.
void typeText(QPlainTextEdit* edit, const QString& text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    const QStringList lines = text.split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (i > 0)
            QTest::keyClick(edit, Qt::Key_Return);
        QTest::keyClicks(edit, lines[i]);
    }
    QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
    QCoreApplication::sendEvent(edit, &out);
}

void choose(QComboBox* combo, int index)
{
    combo->setCurrentIndex(index);
    Q_EMIT combo->activated(index);
}

} // namespace

class TaskDetailPaneTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        office = folder(u"Office"_s);
        roof = project(u"Roof"_s);
        task = addTask(u"Call Ann"_s, inbox);
        task->setPriority(3);
        task->setEffort(1);
        context->processPendingChanges();
        context->undoManager().removeAllActions();
        pane = std::make_unique<TaskDetailPane>(switcher());
        pane->setTasks({task});
    }
    void TearDown() override
    {
        pane.reset();
        ListsFixture::TearDown();
    }

    std::unique_ptr<TaskDetailPane> pane;
    Context* office = nullptr;
    Project* roof = nullptr;
    Task* task = nullptr;
};

TEST_F(TaskDetailPaneTest, EachFieldIsWrittenThroughItsSetterAsOneNamedUndoStep)
{
    QWidget& p = *pane;
    const struct {
        const char* field;
        QString actionName;
        std::function<void()> edit;
        std::function<QVariant()> read;
        QVariant expected;
    } cases[] = {
        {"name", u"Change Name"_s, [&] { typeLine(child<QLineEdit>(p, u"detailName"_s), u"Call Bob"_s); },
         [&] { return task->name(); }, u"Call Bob"_s},
        {"note", u"Change Note"_s, [&] { typeText(child<QPlainTextEdit>(p, u"detailNote"_s), u"About the roof"_s); },
         [&] { return task->content(); }, u"About the roof"_s},
        {"context", u"Change Context"_s,
         [&] {
             auto* chooser = child<FolderChooser>(p, u"detailContext"_s);
             chooser->lineEdit()->setText(u"offi"_s);
             QTest::keyClick(chooser, Qt::Key_Return);
         },
         [&] { return task->parentContext() == office; }, true},
        {"project", u"Change Project"_s,
         [&] {
             auto* chooser = child<FolderChooser>(p, u"detailProject"_s);
             chooser->lineEdit()->setText(u"Roof"_s);
             QTest::keyClick(chooser, Qt::Key_Return);
         },
         [&] { return task->parentProject() == roof; }, true},
        {"start date", u"Change Start Date"_s, [&] { typeLine(child<QLineEdit>(p, u"detailStartDateText"_s), u"+1"_s); },
         [&] { return task->startDate(); }, QDateTime(QDate(2026, 11, 23), QTime(0, 0))},
        {"due date", u"Change Due Date"_s, [&] { typeLine(child<QLineEdit>(p, u"detailDueDateText"_s), u"+3"_s); },
         [&] { return task->dueDate(); }, QDateTime(QDate(2026, 11, 25), QTime(0, 0))},
        {"priority", u"Change Priority"_s, [&] { choose(child<QComboBox>(p, u"detailPriority"_s), 4); },
         [&] { return task->priority(); }, qint64(5)},
        {"effort", u"Change Effort"_s, [&] { choose(child<QComboBox>(p, u"detailEffort"_s), 2); },
         [&] { return task->effort(); }, qint64(3)},
        {"next action", u"Change Next Action"_s, [&] { child<QCheckBox>(p, u"detailNextAction"_s)->click(); },
         [&] { return task->nextAction(); }, true},
        {"waiting for", u"Change Waiting For"_s, [&] { child<QCheckBox>(p, u"detailWaitingFor"_s)->click(); },
         [&] { return task->waitingFor(); }, true},
        {"delegated", u"Change Delegated"_s, [&] { child<QCheckBox>(p, u"detailDelegated"_s)->click(); },
         [&] { return task->delegated(); }, true},
        {"maybe", u"Change Maybe"_s, [&] { child<QCheckBox>(p, u"detailMaybe"_s)->click(); }, [&] { return task->maybe(); }, true},
        {"done", u"Change Done"_s, [&] { child<QCheckBox>(p, u"detailDone"_s)->click(); }, [&] { return task->done(); }, true},
        {"tags", u"Change Tags"_s, [&] { typeLine(child<QLineEdit>(p, u"detailTags"_s), u"home,  work ,"_s); },
         [&] { return task->tags(); }, u"home,work"_s},
        {"contacts", u"Change Contacts"_s, [&] { typeLine(child<QLineEdit>(p, u"detailContacts"_s), u"Ann, Bob"_s); },
         [&] { return task->contact(); }, u"Ann,Bob"_s},
        {"links", u"Change Links"_s,
         [&] { typeLine(child<QLineEdit>(p, u"detailLinkInput"_s), u"example.org/a"_s); },
         [&] { return task->url(); }, u"http://example.org/a"_s},
        {"recurrence number", u"Change Recurrence"_s, [&] { child<QSpinBox>(p, u"detailRecurrenceNumber"_s)->setValue(2); },
         [&] { return task->recurNumber(); }, qint64(2)},
        {"recurrence unit", u"Change Recurrence"_s, [&] { choose(child<QComboBox>(p, u"detailRecurrenceMode"_s), 2); },
         [&] { return task->recurMode(); }, qint64(2)},
        {"recurrence base", u"Change Recurrence"_s, [&] { choose(child<QComboBox>(p, u"detailRecurrenceType"_s), 1); },
         [&] { return task->recurType(); }, qint64(1)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.field);
        const QVariant before = c.read();
        c.edit();
        EXPECT_EQ(c.read(), c.expected);
        EXPECT_EQ(context->undoManager().undoActionName(), c.actionName);
        context->undo();
        EXPECT_EQ(c.read(), before) << "one undo step takes the whole edit back";
        context->processPendingChanges();
    }
}

TEST_F(TaskDetailPaneTest, AnUnchangedFieldWritesNothing)
{
    auto* name = child<QLineEdit>(*pane, u"detailName"_s);
    QTest::keyClick(name, Qt::Key_Return);
    choose(child<QComboBox>(*pane, u"detailPriority"_s), 2); // already 3
    EXPECT_FALSE(context->undoManager().canUndo());
}

TEST_F(TaskDetailPaneTest, SeveralTasksShowMixedValuesAndGetOnlyTheEditedField)
{
    Task* second = addTask(u"Fix roof"_s, inbox);
    second->setPriority(1);
    second->setDueDate(day(30));
    Task* third = addTask(u"Buy nails"_s, inbox);
    third->setPriority(3);
    second->setNextAction(true);
    context->processPendingChanges();
    context->undoManager().removeAllActions();
    pane->setTasks({task, second, third});

    auto* name = child<QLineEdit>(*pane, u"detailName"_s);
    auto* priority = child<QComboBox>(*pane, u"detailPriority"_s);
    auto* done = child<QCheckBox>(*pane, u"detailDone"_s);
    EXPECT_TRUE(name->text().isEmpty());
    EXPECT_FALSE(name->placeholderText().isEmpty());
    EXPECT_EQ(priority->currentIndex(), -1);
    EXPECT_EQ(done->checkState(), Qt::Unchecked) << "all three open";

    typeLine(child<QLineEdit>(*pane, u"detailDueDateText"_s), u"+2"_s);
    for (Task* t : {task, second, third})
        EXPECT_EQ(t->dueDate(), QDateTime(QDate(2026, 11, 24), QTime(0, 0))) << t->name().toStdString();
    EXPECT_EQ(names({task, second, third}), (QStringList{u"Call Ann"_s, u"Fix roof"_s, u"Buy nails"_s}));
    EXPECT_EQ(second->priority(), 1) << "fields not edited stay as they were";

    auto* flag = child<QCheckBox>(*pane, u"detailNextAction"_s);
    EXPECT_EQ(flag->checkState(), Qt::PartiallyChecked);
    flag->click();
    for (Task* t : {task, second, third})
        EXPECT_TRUE(t->nextAction()) << "a mixed box turns on for all";

    context->undo();
    EXPECT_FALSE(task->nextAction());
    EXPECT_TRUE(second->nextAction());
    context->undo();
    EXPECT_EQ(second->dueDate(), day(30)) << "one step for the date of all three";
    EXPECT_FALSE(task->dueDate().isValid());
    EXPECT_FALSE(context->undoManager().canUndo());
}

TEST_F(TaskDetailPaneTest, FollowsChangesMadeElsewhereAndDropsDeletedTasks)
{
    Task* other = addTask(u"Water plants"_s, inbox);
    context->processPendingChanges();
    pane->show();
    auto* name = child<QLineEdit>(*pane, u"detailName"_s);
    auto* note = child<QPlainTextEdit>(*pane, u"detailNote"_s);

    task->setContent(u"from the table"_s);
    task->setName(u"Call Ann today"_s);
    context->processPendingChanges();
    EXPECT_EQ(name->text(), u"Call Ann today"_s);
    EXPECT_EQ(note->toPlainText(), u"from the table"_s);

    // While the user types in the name, a change elsewhere leaves the typed text and its cursor alone.
    name->setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(pane.get()));
    name->setCursorPosition(4);
    QTest::keyClicks(name, u"X"_s);
    task->setName(u"Renamed elsewhere"_s);
    task->setContent(u"new note"_s);
    context->processPendingChanges();
    EXPECT_EQ(name->text(), u"CallX Ann today"_s);
    EXPECT_EQ(name->cursorPosition(), 5);
    EXPECT_EQ(note->toPlainText(), u"new note"_s);

    pane->setTasks({task, other});
    context->deleteObject(task);
    context->processPendingChanges();
    ASSERT_EQ(pane->tasks().size(), 1u);
    EXPECT_EQ(name->text(), u"Water plants"_s);
    context->deleteObject(other);
    context->processPendingChanges();
    EXPECT_TRUE(pane->tasks().empty());
    EXPECT_EQ(pane->findChild<QStackedWidget*>()->currentWidget()->objectName(), u"detailPlaceholder"_s);
}

TEST_F(TaskDetailPaneTest, DateFieldReadsTypedTextOrRefusesIt)
{
    task->setDueDate(day(28));
    context->processPendingChanges();
    pane->setTasks({task});
    auto* field = child<DateField>(*pane, u"detailStartDate"_s);
    const struct {
        const char* text;
        bool naturalLanguage;
        QDateTime expected; // the task's start date afterwards
        bool error;
    } cases[] = {
        {"next friday", true, QDateTime(QDate(2026, 11, 27), QTime(0, 0)), false},
        {"gibberish", true, QDateTime(QDate(2026, 11, 27), QTime(0, 0)), true},
        {"", true, QDateTime(), false},
        {"tomorrow", false, QDateTime(), true},
        {"+2", false, QDateTime(QDate(2026, 11, 24), QTime(0, 0)), false},
        // After the due date: the model refuses it and the field shows the date kept.
        {"+10", false, QDateTime(QDate(2026, 11, 24), QTime(0, 0)), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        prefs->setBool(u"datesUseNaturalLanguage"_s, c.naturalLanguage);
        typeLine(field->lineEdit(), QString::fromLatin1(c.text));
        EXPECT_EQ(task->startDate(), c.expected);
        EXPECT_EQ(field->hasError(), c.error);
        if (!c.error) {
            EXPECT_EQ(field->lineEdit()->text(), field->textForDate(c.expected));
        }
        context->processPendingChanges();
    }
}
