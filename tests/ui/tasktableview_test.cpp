#include "support/listsfixture.h"

#include "app/preferencedefaults.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/tasktablestate.h"
#include "ui/models/tasktablemodel.h"
#include "ui/pasteboard.h"
#include "ui/tasktableview.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

class TaskTableViewTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        home = folder(u"Home"_s);
        office = folder(u"Office"_s);
        int position = 1;
        for (const QString& name : {u"Buy milk"_s, u"Call mum"_s, u"Dust shelves"_s, u"Buy stamps"_s}) {
            Task* t = addTask(name, home);
            t->setPositionInContext(position++);
            t->setPriority(3);
            t->setEffort(1);
            tasks.push_back(t);
        }
        context->processPendingChanges();
        switcher().contextController().selectRecord(home);
        state().sortByColumnsWithIdentifiers({u""_s}, {u""_s});
        list().updatePredicate();
        view = std::make_unique<TaskTableView>(switcher(), TaskTableKind::ContextTasks);
        view->setClock([this] { return clock; });
        view->resize(900, 300);
    }
    void TearDown() override
    {
        view.reset();
        ListsFixture::TearDown();
    }

    ContextTasksArrayController& list() { return switcher().contextTasks(); }
    TaskTableState& state() { return switcher().tableState(TaskView::Contexts); }
    QStringList shown() const { return names(views->contextTasks().arrangedObjects()); }

    void selectRows(std::initializer_list<int> rows)
    {
        view->clearSelection();
        for (int r : rows)
            view->selectionModel()->select(view->model()->index(r, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    QList<int> viewRows() const
    {
        QList<int> rows;
        for (const QModelIndex& i : view->selectionModel()->selectedRows())
            rows << i.row();
        std::sort(rows.begin(), rows.end());
        return rows;
    }

    Context* home = nullptr;
    Context* office = nullptr;
    std::vector<Task*> tasks;
    std::unique_ptr<TaskTableView> view;
    double clock = 100;
};

TEST_F(TaskTableViewTest, SelectionStaysInStepWithTheList)
{
    QSignalSpy changed(view.get(), &TaskTableView::taskSelectionChanged);
    selectRows({1, 3});
    EXPECT_EQ(names(list().selectedObjects()), QStringList({u"Call mum"_s, u"Buy stamps"_s}));
    EXPECT_GT(changed.count(), 0);

    list().selectObject(tasks[2]);
    view->showListSelection();
    EXPECT_EQ(viewRows(), QList<int>({2}));

    view->selectAll();
    EXPECT_EQ(list().selectedObjects().size(), 4u);

    // A new sort rebuilds the rows; the list's selection comes back in the view.
    list().selectObject(tasks[0]);
    view->showListSelection();
    state().sortByColumnWithIdentifier(u"name"_s, true); // ascending
    ASSERT_EQ(shown().front(), u"Buy milk"_s);
    state().sortByColumnWithIdentifier(u"name"_s, true); // descending
    EXPECT_EQ(names(list().selectedObjects()), QStringList({u"Buy milk"_s}));
    EXPECT_EQ(viewRows(), QList<int>({3}));
}

TEST_F(TaskTableViewTest, KeysReachTheList)
{
    struct Case {
        const char* what;
        int row;
        int key;
        Qt::KeyboardModifiers modifiers;
        QString text;
        std::function<bool()> check;
    };
    const Case cases[] = {
        {"Shift+Space marks done", 0, Qt::Key_Space, Qt::ShiftModifier, u" "_s, [&] { return tasks[0]->done(); }},
        {"Space flags a next action", 1, Qt::Key_Space, {}, u" "_s, [&] { return tasks[1]->nextAction(); }},
        {"5 sets the priority", 2, Qt::Key_5, {}, u"5"_s, [&] { return tasks[2]->priority() == 5; }},
        {"+ raises the effort", 2, Qt::Key_Plus, {}, u"+"_s, [&] { return tasks[2]->effort() == 2; }},
        {"Alt+Up moves up in natural order", 2, Qt::Key_Up, Qt::AltModifier, {},
         [&] { return shown() == QStringList({u"Buy milk"_s, u"Dust shelves"_s, u"Call mum"_s, u"Buy stamps"_s}); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        selectRows({c.row});
        QTest::keyClick(view.get(), Qt::Key(c.key), c.modifiers);
        EXPECT_TRUE(c.check());
    }
    // The moved task stays selected in the view.
    EXPECT_EQ(names(list().selectedObjects()), QStringList({u"Dust shelves"_s}));
    EXPECT_EQ(viewRows(), QList<int>({1}));
}

TEST_F(TaskTableViewTest, TypeAheadSelectsByName)
{
    selectRows({1});
    struct Step {
        QString key;
        double at;
        QString selected;
    };
    const Step steps[] = {
        {u"b"_s, 10.0, u"Buy milk"_s},
        {u"u"_s, 10.2, u"Buy milk"_s},
        {u"y"_s, 10.4, u"Buy milk"_s},
        {u"d"_s, 11.5, u"Dust shelves"_s}, // after a pause: a new search
        {u"s"_s, 20.0, u"Dust shelves"_s}, // "s" begins no name: two letters or fewer find nothing
        {u"t"_s, 20.1, u"Dust shelves"_s},
        {u"a"_s, 20.2, u"Buy stamps"_s}, // "sta" is inside a name
    };
    for (const Step& s : steps) {
        clock = s.at;
        QTest::keyClicks(view.get(), s.key);
        EXPECT_EQ(names(list().selectedObjects()), QStringList({s.selected})) << s.key.toStdString();
        ASSERT_EQ(viewRows().size(), 1);
        EXPECT_EQ(view->model()->index(viewRows().front(), view->taskModel().columnOf(u"name"_s)).data().toString(), s.selected);
    }
}

TEST_F(TaskTableViewTest, HeaderClicksCycleTheSortAndKeepIt)
{
    view->show();
    QHeaderView* header = view->horizontalHeader();
    const int priority = view->taskModel().columnOf(u"priority"_s);
    const int due = view->taskModel().columnOf(u"duedate"_s);
    auto click = [&](int section, Qt::KeyboardModifiers modifiers = {}) {
        const QPoint at(header->sectionViewportPosition(section) + header->sectionSize(section) / 2, header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, modifiers, at);
    };
    struct Step {
        int section;
        Qt::KeyboardModifiers modifiers;
        QString stored;
        int indicatorSection;
        Qt::SortOrder order;
    };
    const Step steps[] = {
        {priority, {}, u"priority"_s, priority, Qt::AscendingOrder},
        {priority, {}, u"priority"_s, priority, Qt::DescendingOrder},
        {priority, {}, u""_s, -1, Qt::AscendingOrder}, // back to the natural order
        {priority, {}, u"priority"_s, priority, Qt::AscendingOrder},
        {due, Qt::ControlModifier, u"priority,duedate"_s, priority, Qt::AscendingOrder},
    };
    for (const Step& s : steps) {
        click(s.section, s.modifiers);
        EXPECT_EQ(prefs->stringForKey(PreferenceKey::sortDescriptorContextTasksIdentifiers), s.stored);
        EXPECT_EQ(header->sortIndicatorSection(), s.indicatorSection) << s.stored.toStdString();
        if (s.indicatorSection >= 0) {
            EXPECT_EQ(header->sortIndicatorOrder(), s.order) << s.stored.toStdString();
        }
    }
    EXPECT_FALSE(list().isNaturalOrdered());

    // A sort changed elsewhere (the view switcher's toggle) shows in the header too.
    state().toggleNaturalOrderSorting();
    EXPECT_EQ(header->sortIndicatorSection(), -1);
    EXPECT_TRUE(list().isNaturalOrdered());
}

TEST_F(TaskTableViewTest, ColumnsMenuHidesAndShowsColumns)
{
    const int before = view->taskModel().columnCount();
    QMenu* menu = view->visibleColumnsMenu();
    QAction* priority = menu->findChild<QAction*>(u"column_priority"_s);
    ASSERT_TRUE(priority);
    EXPECT_TRUE(priority->isChecked());
    EXPECT_FALSE(menu->findChild<QAction*>(u"column_done"_s)) << "icon columns cannot be hidden";
    priority->trigger();
    EXPECT_EQ(view->taskModel().columnCount(), before - 1);
    EXPECT_EQ(view->taskModel().columnOf(u"priority"_s), -1);
    EXPECT_TRUE(prefs->stringForKey(PreferenceKey::tableViewContextTasksHiddenColumns).contains(u"priority"_s));

    view->visibleColumnsMenu()->findChild<QAction*>(u"column_priority"_s)->trigger();
    EXPECT_EQ(view->taskModel().columnCount(), before);

    view->setColumnWidth(view->taskModel().columnOf(u"priority"_s), 71);
    EXPECT_EQ(state().visibleColumns()[view->taskModel().columnOf(u"priority"_s)].width, 71);
}

TEST_F(TaskTableViewTest, CopyPasteDuplicatesAndCutPasteMoves)
{
    selectRows({0});
    view->copy();
    view->paste();
    EXPECT_EQ(shown().count(u"Buy milk"_s), 2);
    EXPECT_EQ(context->undoManager().undoActionName(), u"Paste Tasks"_s);
    context->undo();
    list().rearrangeObjects();
    EXPECT_EQ(shown().count(u"Buy milk"_s), 1);

    selectRows({1});
    view->cut();
    switcher().contextController().selectRecord(office);
    list().updatePredicate();
    view->paste();
    EXPECT_EQ(tasks[1]->parentContext(), office);
    EXPECT_EQ(shown(), QStringList({u"Call mum"_s}));
    EXPECT_EQ(context->allObjects(u"task"_s).size(), 4u) << "a cut task is moved, not copied";
    EXPECT_TRUE(QApplication::clipboard()->mimeData()->hasFormat(PasteboardType::copiedTasks));
}

TEST_F(TaskTableViewTest, BeginEditingOpensTheNameEditor)
{
    view->show();
    view->beginEditing(tasks[2], u"name"_s);
    auto* editor = view->findChild<QLineEdit*>(u"taskNameEditor"_s);
    ASSERT_TRUE(editor);
    EXPECT_EQ(editor->text(), u"Dust shelves"_s);
    EXPECT_EQ(names(list().selectedObjects()), QStringList({u"Dust shelves"_s}));
    editor->setText(u"Dust the shelves"_s);
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents(); // the delegate commits on its next turn
    EXPECT_EQ(tasks[2]->name(), u"Dust the shelves"_s);
}

TEST_F(TaskTableViewTest, CommandCellsActOnClick)
{
    view->show();
    auto clickCell = [&](int row, const QString& column, double fraction) {
        const QRect cell = view->visualRect(view->model()->index(row, view->taskModel().columnOf(column)));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, QPoint(cell.left() + int(fraction * (cell.width() - 1)), cell.center().y()));
    };
    struct Case {
        const char* what;
        int row;
        QString column;
        double fraction;
        std::function<bool()> check;
    };
    const Case cases[] = {
        {"priority: left edge is 1", 0, u"priority"_s, 0.0, [&] { return tasks[0]->priority() == 1; }},
        {"priority: right edge is 5", 0, u"priority"_s, 1.0, [&] { return tasks[0]->priority() == 5; }},
        {"effort: middle of the meter", 1, u"effort"_s, 0.6, [&] { return tasks[1]->effort() == 3; }},
        {"flag", 2, u"nextaction"_s, 0.5, [&] { return tasks[2]->nextAction(); }},
        {"status waits", 2, u"status"_s, 0.5, [&] { return tasks[2]->waitingFor(); }},
        {"done box", 3, u"done"_s, 0.5, [&] { return tasks[3]->done(); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        clickCell(c.row, c.column, c.fraction);
        EXPECT_TRUE(c.check());
    }
    EXPECT_EQ(context->undoManager().undoActionName(), u"Complete Task"_s);
    EXPECT_FALSE(list().selectedObjects().empty()) << "the table keeps a selection after the done box";
}
