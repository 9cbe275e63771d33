#include "support/listsfixture.h"

#include "lists/alltasksarraycontroller.h"
#include "lists/archivedtasksarraycontroller.h"
#include "lists/completedtasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/listobserver.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/tasktablecolumns.h"
#include "model/archivecategory.h"

#include <random>

using namespace Qt::StringLiterals;

namespace {

// Plays a list's steps on its own copy of the rows, as an item model would, checking on the way that
// each step fits the rows the list shows before and after it.
template <class T>
class Replica : public ListObserver {
public:
    explicit Replica(std::function<std::vector<T*>()> rows) : m_rows(std::move(rows)) {}

    void listWillChange(const ListChange& change) override
    {
        if (change.kind != ListChange::Kind::Reset) {
            EXPECT_EQ(copy, m_rows()) << "before " << qPrintable(change.toString());
        }
    }
    void listDidChange(const ListChange& change) override
    {
        log << change.toString();
        const std::vector<T*> now = m_rows();
        switch (change.kind) {
        case ListChange::Kind::Reset:
            copy = now;
            ++resets;
            return;
        case ListChange::Kind::Insert:
            ASSERT_LE(size_t(change.last), now.size());
            copy.insert(copy.begin() + change.first, now.begin() + change.first, now.begin() + change.last + 1);
            break;
        case ListChange::Kind::Remove:
            ASSERT_LT(size_t(change.last), copy.size());
            copy.erase(copy.begin() + change.first, copy.begin() + change.last + 1);
            break;
        case ListChange::Kind::Move: {
            ASSERT_LT(size_t(std::max(change.first, change.to)), copy.size());
            T* moved = copy[size_t(change.first)];
            copy.erase(copy.begin() + change.first);
            copy.insert(copy.begin() + change.to, moved);
            break;
        }
        case ListChange::Kind::Update:
            ASSERT_LT(size_t(change.last), copy.size());
            ++updates;
            return;
        }
        EXPECT_EQ(copy, now) << "after " << qPrintable(change.toString());
    }

    std::vector<T*> copy;
    QStringList log;
    int resets = 0;
    int updates = 0;

private:
    std::function<std::vector<T*>()> m_rows;
};

// The list arranged from scratch: its content through its filter, sorted whole.
std::vector<Task*> freshArrangement(const TasksArrayController& list)
{
    std::vector<Task*> out;
    for (Task* t : list.content())
        if (!t->isDeleted() && (!list.filterPredicate() || list.filterPredicate()->evaluate(*t)))
            out.push_back(t);
    std::sort(out.begin(), out.end(), [&](Task* a, Task* b) { return precedesInListOrder(*a, *b, list.sortDescriptors()); });
    return out;
}

std::vector<Record*> freshFolders(ObjectContext& store, const QString& entity, const QList<SortDescriptor>& order)
{
    std::vector<Record*> out = store.allObjects(entity);
    std::sort(out.begin(), out.end(), [&](Record* a, Record* b) { return precedesInListOrder(*a, *b, order); });
    return out;
}

} // namespace

class ListChangesTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        for (const QString& name : {u"Home"_s, u"office"_s, u"Errands"_s})
            contexts.push_back(folder(name));
        contexts.push_back(folder(u"Calls"_s, contexts[1]));
        contexts.push_back(inbox);
        for (const QString& name : {u"Garden"_s, u"house"_s, u"Taxes"_s})
            projects.push_back(project(name, true, name == u"Taxes"_s));
        auto* category = context->insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
        category->setName(u"Old"_s);
        categories.push_back(category);
        for (int i = 0; i < 40; ++i)
            newTask();
        context->processPendingChanges();
    }

    Task* newTask()
    {
        Task* t = addTask(u"task %1"_s.arg(rng() % 7), pick(contexts), rng() % 3 ? pick(projects) : nullptr);
        t->setPriority(qint64(rng() % 5 + 1));
        t->setNextAction(rng() % 3 == 0);
        if (rng() % 4 == 0)
            t->setDueDate(day(int(rng() % 5 + 20)));
        if (rng() % 6 == 0) {
            t->setArchived(true);
            categories[0]->addTasksObject(t);
        }
        return t;
    }

    template <class V>
    V pick(const std::vector<V>& from) { return from[rng() % from.size()]; }

    Task* liveTask()
    {
        std::vector<Record*> tasks = context->allObjects(u"task"_s);
        return tasks.empty() ? nullptr : static_cast<Task*>(pick(tasks));
    }

    // One random change of the kinds the windows make.
    void randomChange()
    {
        Task* t = liveTask();
        switch (rng() % 16) {
        case 0: newTask(); break;
        case 1: if (t) context->deleteObject(t); break;
        case 2: if (t) t->setNextAction(!t->nextAction()); break;
        case 3: if (t) t->setMaybe(!t->maybe()); break;
        case 4: if (t) t->setDone(!t->done()); break;
        case 5: if (t) t->setDueDate(rng() % 3 ? day(int(rng() % 9 + 18)) : QDateTime()); break;
        case 6: if (t) t->setStartDate(rng() % 3 ? day(int(rng() % 9 + 18)) : QDateTime()); break;
        case 7: if (t) t->setName(u"renamed %1"_s.arg(rng() % 9)); break;
        case 8: if (t) t->setPriority(qint64(rng() % 5 + 1)); break;
        case 9: if (t) pick(contexts)->addTasksObject(t); break;
        case 10: if (t) pick(projects)->addTasksObject(t); break;
        case 11: pick(projects)->setName(u"p%1"_s.arg(rng() % 9)); break;
        case 12: { Project* p = pick(projects); p->setActive(!p->active()); break; }
        case 13: pick(contexts)->setName(u"c%1"_s.arg(rng() % 9)); break;
        case 14: context->undo(); break;
        case 15: context->redo(); break;
        }
    }

    std::mt19937 rng{20261122};
    std::vector<Context*> contexts;
    std::vector<Project*> projects;
    std::vector<ArchiveCategory*> categories;
};

TEST_F(ListChangesTest, ReplayedStepsGiveTheNewArrangement)
{
    TabViewController& views = switcher();
    views.contextController().setSelectedObjects({contexts[0], contexts[1]});
    views.projectController().selectRecord(projects[0]);
    views.archiveCategoryController().selectRecord(categories[0]);

    struct Watched {
        TaskView view;
        TaskTableKind table;
        TasksArrayController* list;
        std::unique_ptr<Replica<Task>> replica;
    };
    std::vector<Watched> lists;
    for (auto [view, table] : {std::pair{TaskView::Contexts, TaskTableKind::ContextTasks}, {TaskView::Projects, TaskTableKind::ProjectTasks},
                               {TaskView::ToComplete, TaskTableKind::AllTasks}, {TaskView::Completed, TaskTableKind::CompletedTasks},
                               {TaskView::Archive, TaskTableKind::ArchivedTasks}}) {
        TasksArrayController* list = &views.taskList(view);
        lists.push_back({view, table, list, std::make_unique<Replica<Task>>([list] { return list->arrangedObjects(); })});
    }
    // The columns that sort, each table taking those it has.
    const QStringList columns{u"name"_s, u"priority"_s, u"duedate"_s, u"startdate"_s, u"project"_s, u"context"_s, u"nextaction"_s, u"status"_s};
    auto randomSort = [&](TaskTableKind table) {
        QStringList ids;
        QStringList directions;
        for (int k = 0; k < 1 + int(rng() % 2); ++k) {
            ids << columns[qsizetype(rng() % columns.size())];
            directions << (rng() % 2 ? u"1"_s : u"0"_s);
        }
        return sortDescriptorsForIdentifiers(table, ids, directions);
    };
    for (Watched& w : lists) {
        w.list->setSortDescriptors(randomSort(w.table));
        w.list->updatePredicate();
        if (w.view == TaskView::ToComplete) // without a smart folder: a filter of our own
            w.list->setFilterPredicate(Predicate::fromFormat(u"maybe <> 1 and priority < 5"_s));
        w.list->setObserver(w.replica.get());
        w.replica->copy = w.list->arrangedObjects();
    }
    const QList<SortDescriptor> contextOrder{SortDescriptor(u"isInbox"_s, false), SortDescriptor(u"pathName"_s, true, SortDescriptor::Comparison::CaseInsensitiveCompare)};
    const QList<SortDescriptor> projectOrder{SortDescriptor(u"pathName"_s, true, SortDescriptor::Comparison::CaseInsensitiveCompare)};
    Replica<Record> contextFolders([&] { return views.contextController().arrangedRecords(); });
    Replica<Record> projectFolders([&] { return views.projectController().arrangedRecords(); });
    views.contextController().setObserver(&contextFolders);
    views.projectController().setObserver(&projectFolders);
    contextFolders.copy = views.contextController().arrangedRecords();
    projectFolders.copy = views.projectController().arrangedRecords();

    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        std::vector<std::vector<Task*>> before;
        for (Watched& w : lists)
            before.push_back(w.list->arrangedObjects());
        const int changes = 1 + int(rng() % 4);
        for (int c = 0; c < changes; ++c)
            randomChange();
        if (rng() % 8 == 0) { // a folder comes, goes or moves
            if (rng() % 2)
                contexts.push_back(folder(u"new %1"_s.arg(round), rng() % 2 ? pick(contexts) : nullptr));
            else
                pick(projects)->setParentProject(rng() % 2 ? pick(projects) : nullptr);
        }
        context->processPendingChanges();
        // Until a list re-arranges, a batch changes rows in place only.
        for (size_t i = 0; i < lists.size(); ++i)
            EXPECT_EQ(lists[i].replica->copy, before[i]) << int(lists[i].view);
        for (Watched& w : lists) {
            if (rng() % 10 == 0)
                w.list->setSortDescriptors(randomSort(w.table));
            else if (rng() % 3)
                w.list->rearrangeObjects();
            EXPECT_EQ(w.replica->copy, w.list->arrangedObjects()) << int(w.view);
            if ((!w.replica->log.isEmpty() && w.replica->log.last() != u"reset"_s) || rng() % 3 == 0) {
                w.list->rearrangeObjects();
                EXPECT_EQ(w.replica->copy, freshArrangement(*w.list)) << int(w.view) << " " << qPrintable(w.replica->log.join(u", "_s));
            }
            w.replica->log.clear();
        }
        EXPECT_EQ(contextFolders.copy, freshFolders(*context, u"context"_s, contextOrder));
        EXPECT_EQ(projectFolders.copy, freshFolders(*context, u"project"_s, projectOrder));
        if (HasFailure())
            break;
    }
    for (Watched& w : lists)
        EXPECT_GT(w.replica->updates, 0) << int(w.view);
}

// One change to a list in the context view (sorted by priority, then name), with the steps reported
// once the batch closes and once the list re-arranges.
TEST_F(ListChangesTest, OneChangeGivesOneStep)
{
    struct Case {
        const char* label;
        std::function<void(Task* second, Project* project)> change;
        QStringList atBatch;
        QStringList atRearrange;
    };
    const int nameBit = Task::Attr::name;
    const int projectBit = int(Task::Attr::Count) + int(Task::Rel::parentProject);
    auto update = [](int row, int bit) { return ListChange{ListChange::Kind::Update, row, row, 0, std::uint64_t(1) << bit}.toString(); };
    const std::vector<Case> cases{
        {"a name that keeps the row", [](Task* t, Project*) { t->setName(u"b2"_s); }, {update(1, nameBit)}, {}},
        {"a sort key moves the row", [](Task* t, Project*) { t->setPriority(5); }, {update(1, Task::Attr::priority)}, {u"move 1 to 3"_s}},
        {"leaving the filter waits for the re-arrangement", [](Task* t, Project*) { t->setMaybe(true); }, {update(1, Task::Attr::maybe)},
         {u"remove 1-1"_s}},
        {"a new task comes in at its place", [this](Task*, Project*) { addTask(u"a0"_s, contexts[0])->setPriority(1); }, {}, {u"insert 1-1"_s}},
        // The tasks after it move up one place in their context's own order.
        {"a deleted task leaves", [this](Task* t, Project*) { context->deleteObject(t); },
         {ListChange{ListChange::Kind::Update, 1, 1, 0, ~std::uint64_t(0)}.toString(), update(2, Task::Attr::positionInContext),
          update(3, Task::Attr::positionInContext)},
         {u"remove 1-1"_s}},
        {"the project's active flag is read through the link", [](Task*, Project* p) { p->setActive(false); },
         {update(2, projectBit)}, {u"remove 2-2"_s}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        for (Record* r : context->allObjects(u"task"_s))
            context->deleteObject(r);
        Project* garden = project(u"Garden"_s);
        addTask(u"a"_s, contexts[0])->setPriority(1);
        Task* second = addTask(u"b"_s, contexts[0]);
        second->setPriority(2);
        addTask(u"c"_s, contexts[0], garden)->setPriority(3);
        addTask(u"d"_s, contexts[0])->setPriority(4);
        context->processPendingChanges();
        ContextTasksArrayController& list = switcher().contextTasks();
        switcher().contextController().selectRecord(contexts[0]);
        list.setSortDescriptors({SortDescriptor(u"priority"_s), SortDescriptor(u"name"_s)});
        list.updatePredicate();
        Replica<Task> replica([&list] { return list.arrangedObjects(); });
        list.setObserver(&replica);
        replica.copy = list.arrangedObjects();

        c.change(second, garden);
        context->processPendingChanges();
        EXPECT_EQ(replica.log, c.atBatch);
        replica.log.clear();
        list.rearrangeObjects();
        EXPECT_EQ(replica.log, c.atRearrange);
        EXPECT_EQ(replica.copy, freshArrangement(list));
        list.setObserver(nullptr);
    }
}

TEST_F(ListChangesTest, NewSortOrPredicateResetsAndTheSameOneDoesNot)
{
    AllTasksArrayController& list = switcher().allTasks();
    list.setSortDescriptors({SortDescriptor(u"name"_s)});
    Replica<Task> replica([&list] { return list.arrangedObjects(); });
    list.setObserver(&replica);
    replica.copy = list.arrangedObjects();
    list.setSortDescriptors({SortDescriptor(u"name"_s)});
    list.setFilterPredicate(std::nullopt);
    EXPECT_EQ(replica.resets, 0);
    list.setSortDescriptors({SortDescriptor(u"priority"_s)});
    EXPECT_EQ(replica.resets, 1);
    list.setFilterPredicate(Predicate::fromFormat(u"priority > 2"_s));
    EXPECT_EQ(replica.resets, 2);
    EXPECT_EQ(replica.copy, freshArrangement(list));
    list.setObserver(nullptr);
}

TEST_F(ListChangesTest, SelectionKeepsOnlyTasksOnShowInItsOrder)
{
    AllTasksArrayController& list = switcher().allTasks();
    list.setSortDescriptors({SortDescriptor(u"name"_s)});
    list.setFilterPredicate(Predicate::fromFormat(u"nextAction == 1"_s));
    const std::vector<Task*>& shown = list.arrangedObjects();
    ASSERT_GT(shown.size(), 3u);
    std::vector<Record*> all = context->allObjects(u"task"_s);
    Task* hidden = nullptr;
    for (Record* r : all)
        if (!static_cast<Task*>(r)->nextAction())
            hidden = static_cast<Task*>(r);
    // Few tasks are looked up one by one, many against the rows gathered once: both ways the same.
    for (size_t count : {size_t(2), shown.size()}) {
        std::vector<Task*> wanted(shown.rbegin(), shown.rbegin() + qsizetype(count));
        std::vector<Task*> asked = wanted;
        asked.insert(asked.begin() + 1, hidden);
        list.setSelectedObjects(asked);
        EXPECT_EQ(list.selectedObjects(), wanted) << count;
        EXPECT_EQ(list.firstSelectionIndex(), int(shown.size() - count)) << count;
        EXPECT_EQ(list.lastSelectionIndex(), int(shown.size() - 1)) << count;
    }
}
