#include "support/listsfixture.h"

#include "app/preferencedefaults.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/tasktablestate.h"
#include "model/mydateformatter.h"
#include "ui/models/tasktablemodel.h"
#include "ui/pasteboard.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QSignalSpy>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

// The model tester's complaints, collected instead of printed.
QStringList g_failures;
QtMessageHandler g_previous = nullptr;
void collectFailures(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.startsWith(u"FAIL!"_s))
        g_failures << message;
    else if (g_previous)
        g_previous(type, context, message);
}

} // namespace

class TaskTableModelTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        home = folder(u"Home"_s);
        office = folder(u"Office"_s);
        roof = project(u"Roof"_s);
        int position = 1;
        for (const QString& name : {u"Alpha"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s}) {
            Task* t = addTask(name, home, name == u"Bravo"_s ? roof : nullptr);
            t->setPositionInContext(position++);
            t->setPriority(3);
            t->setEffort(1);
            tasks.push_back(t);
        }
        context->processPendingChanges();
        switcher().contextController().selectRecord(home);
        state().sortByColumnsWithIdentifiers({u""_s}, {u""_s});
        list().updatePredicate();
        g_failures.clear();
        g_previous = qInstallMessageHandler(collectFailures);
    }
    void TearDown() override
    {
        qInstallMessageHandler(g_previous);
        ListsFixture::TearDown();
    }

    ContextTasksArrayController& list() { return switcher().contextTasks(); }
    TaskTableState& state() { return switcher().tableState(TaskView::Contexts); }

    QStringList rowNames(const TaskTableModel& model) const
    {
        QStringList out;
        const int name = model.columnOf(u"name"_s);
        for (int r = 0; r < model.rowCount(); ++r)
            out << model.index(r, name).data().toString();
        return out;
    }

    // A change as the windows make it: the edit, its batch, then the list placing the rows again.
    void settle()
    {
        context->processPendingChanges();
        list().rearrangeObjects();
    }

    Context* home = nullptr;
    Context* office = nullptr;
    Project* roof = nullptr;
    std::vector<Task*> tasks;
};

TEST_F(TaskTableModelTest, FollowsEveryStepWithoutResetsExceptForANewSort)
{
    TaskTableModel model(list(), state());
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Warning);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy moved(&model, &QAbstractItemModel::rowsMoved);
    ASSERT_EQ(rowNames(model), QStringList({u"Alpha"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s}));

    struct Step {
        const char* what;
        std::function<void()> change;
        QStringList rows;
        int resets;
    };
    Task* added = nullptr;
    const Step steps[] = {
        {"rename", [&] { tasks[0]->setName(u"Apex"_s); }, {u"Apex"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s}, 0},
        {"mark done", [&] { tasks[1]->setDone(true); }, {u"Apex"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s}, 0},
        {"insert", [&] { added = addTask(u"Echo"_s, home); added->setPositionInContext(2); },
         {u"Apex"_s, u"Bravo"_s, u"Echo"_s, u"Charlie"_s, u"Delta"_s}, 0},
        {"move by position", [&] { tasks[3]->setPositionInContext(0); },
         {u"Delta"_s, u"Apex"_s, u"Bravo"_s, u"Echo"_s, u"Charlie"_s}, 0},
        {"leave for another context", [&] { tasks[2]->moveToContext(office); },
         {u"Delta"_s, u"Apex"_s, u"Bravo"_s, u"Echo"_s}, 0},
        {"delete", [&] { context->deleteObject(added); }, {u"Delta"_s, u"Apex"_s, u"Bravo"_s}, 0},
        {"undo the deletion", [&] { context->undo(); }, {u"Delta"_s, u"Apex"_s, u"Bravo"_s, u"Echo"_s}, 0},
        {"redo it", [&] { context->redo(); }, {u"Delta"_s, u"Apex"_s, u"Bravo"_s}, 0},
        {"sort by name", [&] { state().sortByColumnWithIdentifier(u"name"_s, true); }, {u"Apex"_s, u"Bravo"_s, u"Delta"_s}, 1},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        const qsizetype resetsBefore = resets.count();
        context->undoManager().closeImplicitGroup();
        s.change();
        settle();
        context->undoManager().closeImplicitGroup();
        EXPECT_EQ(rowNames(model), s.rows);
        EXPECT_EQ(resets.count() - resetsBefore, s.resets);
        EXPECT_EQ(g_failures, QStringList());
    }
    EXPECT_GT(moved.count(), 0) << "a task placed again moves its row";
    EXPECT_GT(changed.count(), 0);
}

TEST_F(TaskTableModelTest, UpdatesOnlyTheColumnsThatShowTheChangedKeys)
{
    TaskTableModel model(list(), state());
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const int last = model.columnCount() - 1;
    struct Case {
        const char* what;
        std::function<void()> change;
        QString firstColumn;
        QString lastColumn;
    };
    const Case cases[] = {
        {"priority", [&] { tasks[2]->setPriority(1); }, u"priority"_s, u"priority"_s},
        {"effort", [&] { tasks[2]->setEffort(3); }, u"effort"_s, u"effort"_s},
        {"name", [&] { tasks[2]->setName(u"Chuck"_s); }, u"name"_s, u"name"_s},
        {"project", [&] { tasks[2]->moveToProject(roof); }, u"status"_s, u"project"_s},
        {"next action", [&] { tasks[2]->setNextAction(true); }, u"nextaction"_s, u"nextaction"_s},
        {"done greys every cell", [&] { tasks[2]->setDone(true); }, u"done"_s, model.columnIdentifier(last)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        changed.clear();
        c.change();
        context->processPendingChanges();
        ASSERT_GE(changed.count(), 1);
        const auto topLeft = changed.last().at(0).value<QModelIndex>();
        const auto bottomRight = changed.last().at(1).value<QModelIndex>();
        EXPECT_EQ(topLeft.row(), 2);
        EXPECT_EQ(bottomRight.row(), 2);
        EXPECT_EQ(model.columnIdentifier(topLeft.column()), c.firstColumn);
        EXPECT_EQ(model.columnIdentifier(bottomRight.column()), c.lastColumn);
    }
}

TEST_F(TaskTableModelTest, CellsShowTheTaskAndGreyDoneOnes)
{
    tasks[1]->setWaitingFor(true);
    tasks[1]->setDueDate(day(20));
    tasks[1]->setPriority(2);
    tasks[3]->setDone(true);
    context->processPendingChanges();
    TaskTableModel model(list(), state());
    auto cell = [&](int row, const QString& column, int role) { return model.index(row, model.columnOf(column)).data(role); };

    struct Case {
        int row;
        QString column;
        int role;
        QVariant expected;
    };
    const Case cases[] = {
        {1, u"name"_s, Qt::DisplayRole, u"Bravo"_s},
        {1, u"name"_s, Qt::EditRole, u"Bravo"_s},
        {1, u"project"_s, Qt::DisplayRole, u"Roof"_s},
        {0, u"project"_s, Qt::DisplayRole, QString()},
        {1, u"priority"_s, TaskTableModel::ValueRole, 2},
        {1, u"status"_s, TaskTableModel::ValueRole, 2},
        {1, u"status"_s, Qt::ToolTipRole, u"Waiting for"_s},
        {1, u"duedate"_s, Qt::DisplayRole, model.dateFormatter().stringForObjectValue(day(20))},
        {0, u"duedate"_s, Qt::DisplayRole, QString()},
        {3, u"done"_s, TaskTableModel::ValueRole, true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(cell(c.row, c.column, c.role), c.expected) << c.row << " " << c.column.toStdString() << " " << c.role;

    EXPECT_TRUE(cell(3, u"name"_s, Qt::FontRole).value<QFont>().strikeOut());
    EXPECT_TRUE(cell(3, u"priority"_s, Qt::ForegroundRole).isValid());
    EXPECT_FALSE(cell(0, u"name"_s, Qt::FontRole).isValid());
    EXPECT_EQ(static_cast<Task*>(cell(2, u"name"_s, TaskTableModel::TaskRole).value<void*>()), tasks[2]);

    EXPECT_TRUE(model.flags(model.index(0, model.columnOf(u"name"_s))).testFlag(Qt::ItemIsEditable));
    EXPECT_TRUE(model.flags(model.index(0, model.columnOf(u"project"_s))).testFlag(Qt::ItemIsEditable));
    EXPECT_FALSE(model.flags(model.index(0, model.columnOf(u"priority"_s))).testFlag(Qt::ItemIsEditable));
    EXPECT_EQ(model.headerData(model.columnOf(u"name"_s), Qt::Horizontal).toString(), u"Name"_s);
}

TEST_F(TaskTableModelTest, EditsAreOneUndoStepEach)
{
    TaskTableModel model(list(), state());
    const int name = model.columnOf(u"name"_s);
    const int projectColumn = model.columnOf(u"project"_s);

    ASSERT_TRUE(model.setData(model.index(0, name), u"Renamed"_s));
    EXPECT_EQ(tasks[0]->name(), u"Renamed"_s);
    ASSERT_TRUE(model.setData(model.index(2, projectColumn), QVariant::fromValue(static_cast<void*>(roof))));
    EXPECT_EQ(tasks[2]->parentProject(), roof);
    EXPECT_TRUE(tasks[2]->newInProject());

    context->undo();
    EXPECT_EQ(tasks[2]->parentProject(), nullptr);
    EXPECT_EQ(tasks[0]->name(), u"Renamed"_s) << "the rename is a step of its own";
    context->undo();
    EXPECT_EQ(tasks[0]->name(), u"Alpha"_s);
}

TEST_F(TaskTableModelTest, QuickEntryModeReadsTheNameLine)
{
    prefs->setBool(PreferenceKey::quickEntryMode, true);
    TaskTableModel model(list(), state());
    ASSERT_TRUE(model.setData(model.index(0, model.columnOf(u"name"_s)), u"@off Ring [roo]"_s));
    EXPECT_EQ(tasks[0]->name(), u"Ring"_s);
    EXPECT_EQ(tasks[0]->parentContext(), office);
    EXPECT_EQ(tasks[0]->parentProject(), roof);

    prefs->setBool(PreferenceKey::quickEntryMode, false);
    ASSERT_TRUE(model.setData(model.index(0, model.columnOf(u"name"_s)), u"@off Call [roo]"_s));
    EXPECT_EQ(tasks[1]->name(), u"@off Call [roo]"_s) << "off: the line is the name as typed";
}

TEST_F(TaskTableModelTest, DroppedRowsArePlacedInTheNaturalOrder)
{
    TaskTableModel model(list(), state());
    struct Case {
        const char* what;
        std::vector<int> dragged;
        int dropRow;
        QStringList expected;
    };
    const Case cases[] = {
        {"last row up", {3}, 1, {u"Alpha"_s, u"Delta"_s, u"Bravo"_s, u"Charlie"_s}},
        {"two rows to the end", {0, 1}, 4, {u"Charlie"_s, u"Delta"_s, u"Alpha"_s, u"Bravo"_s}},
        {"onto its own place", {2}, 2, {u"Alpha"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s}},
    };
    const QStringList start{u"Alpha"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        context->processPendingChanges();
        context->undoManager().removeAllActions();
        QModelIndexList indexes;
        for (int r : c.dragged)
            indexes << model.index(r, 0) << model.index(r, 1);
        std::unique_ptr<QMimeData> data(model.mimeData(indexes));
        ASSERT_TRUE(data);
        EXPECT_TRUE(data->hasFormat(PasteboardType::movedRows));
        EXPECT_EQ(recordsFromMimeData(*context, *data, PasteboardType::movedRows).size(), c.dragged.size());
        ASSERT_TRUE(model.canDropMimeData(data.get(), Qt::MoveAction, c.dropRow, 0, {}));
        EXPECT_TRUE(model.dropMimeData(data.get(), Qt::MoveAction, c.dropRow, 0, {}));
        EXPECT_EQ(rowNames(model), c.expected);
        if (c.expected == start) {
            EXPECT_FALSE(context->undoManager().canUndo()) << "nothing moved, nothing to undo";
            continue;
        }
        EXPECT_EQ(context->undoManager().undoActionName(), u"Move Tasks"_s);
        context->undo();
        list().rearrangeObjects();
        EXPECT_EQ(rowNames(model), start) << "one undo step";
    }

    state().sortByColumnWithIdentifier(u"name"_s, true);
    std::unique_ptr<QMimeData> data(model.mimeData({model.index(0, 0)}));
    EXPECT_FALSE(model.canDropMimeData(data.get(), Qt::MoveAction, 2, 0, {})) << "a sorted table keeps its order";
}
