// Task-list benchmarks on a generated data file of 100,000 tasks (--tasks=N for another size): a view's
// predicate rebuilt and its tasks re-arranged, as a mode change or a new search does it. Two views: the
// context of about 2,000 tasks in the contexts view (sorted by name, and in the user's own order), and
// the to-complete view with the "All tasks" smart folder (the open tasks, about three quarters of the
// store) sorted by due date. Then, in that to-complete view with an observer: one task changed, from the
// setter to the list's reported steps, and every task of the view selected. Last, the due-task reminders
// over the whole store.
//
//   vyro_lists_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"
#include "listsfixture.h"

#include "app/preferences.h"
#include "lists/alltasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/listhost.h"
#include "lists/listobserver.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/taskremindercontroller.h"
#include "lists/tasktablestate.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/smartfolder.h"
#include "model/startupdata.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <array>
#include <memory>

namespace {

int g_taskCount = 100000;

using Fixture = ListsFixture;

Fixture* fixture(benchmark::State& state)
{
    return listsFixture(state, g_taskCount);
}

// Rebuilds and re-arranges `list` once per iteration; the arrangement is read so that it is computed.
void rebuildAndArrange(benchmark::State& state, TasksArrayController& list)
{
    size_t shown = 0;
    for (auto _ : state) {
        // Another predicate before: the same one again would only re-arrange the tasks touched since.
        list.setFilterPredicate(std::nullopt);
        list.updatePredicate();
        shown = list.arrangedObjects().size();
        benchmark::DoNotOptimize(shown);
    }
    state.counters["shown"] = double(shown);
    state.counters["content"] = double(list.content().size());
}

void BM_ContextView(benchmark::State& state, bool naturalOrder)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    TabViewController& views = *f->views;
    views.contextController().selectRecord(findContextByPath(*f->store, f->info.pinnedContextPath));
    if (naturalOrder)
        views.tableState(TaskView::Contexts).sortByColumnsWithIdentifiers({QString("")}, {QString("")});
    else
        views.tableState(TaskView::Contexts).sortByColumnsWithIdentifiers({QStringLiteral("name")}, {QStringLiteral("1")});
    rebuildAndArrange(state, views.contextTasks());
}
BENCHMARK_CAPTURE(BM_ContextView, by_name, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ContextView, natural_order, true)->Unit(benchmark::kMillisecond);

// Time mode 0 (pending) leaves maybe tasks out; 4 shows them too.
void BM_ToCompleteAllTasksByDueDate(benchmark::State& state, int timeMode)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    TabViewController& views = *f->views;
    for (SmartFolder* folder : views.smartFolderController().arrangedObjects())
        if (folder->isAllPending())
            views.smartFolderController().setSelectedFolder(folder);
    views.tableState(TaskView::ToComplete).sortByColumnsWithIdentifiers({QStringLiteral("duedate")}, {QStringLiteral("1")});
    ViewModes modes;
    modes.timeMode = timeMode;
    views.setModesOverride(TaskView::ToComplete, modes);
    rebuildAndArrange(state, views.allTasks());
}
BENCHMARK_CAPTURE(BM_ToCompleteAllTasksByDueDate, pending, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToCompleteAllTasksByDueDate, everything, 4)->Unit(benchmark::kMillisecond);

// The to-complete view as above, time mode 0, sorted by due date.
AllTasksArrayController* toCompleteView(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return nullptr;
    TabViewController& views = *f->views;
    for (SmartFolder* folder : views.smartFolderController().arrangedObjects())
        if (folder->isAllPending())
            views.smartFolderController().setSelectedFolder(folder);
    views.tableState(TaskView::ToComplete).sortByColumnsWithIdentifiers({QStringLiteral("duedate")}, {QStringLiteral("1")});
    views.setModesOverride(TaskView::ToComplete, ViewModes{});
    views.allTasks().updatePredicate();
    return &views.allTasks();
}

struct CountingObserver : ListObserver {
    void listDidChange(const ListChange& change) override { ++counts[int(change.kind)]; }
    std::array<long, 5> counts{};
};

// One task of the view gets another due date, which moves its row: the setter, the closing of the
// batch (which reports the row updated) and the re-arrangement (which moves it).
void BM_ToCompleteOneTaskChanged(benchmark::State& state)
{
    AllTasksArrayController* list = toCompleteView(state);
    if (!list)
        return;
    CountingObserver observer;
    list->setObserver(&observer);
    const std::vector<Task*>& rows = list->arrangedObjects();
    Task* task = rows[rows.size() / 2];
    const QDateTime dates[2] = {QDateTime(QDate(2020, 1, 1), QTime(9, 0)), QDateTime(QDate(2040, 1, 1), QTime(9, 0))};
    ObjectContext& store = list->store();
    int flip = 0;
    for (auto _ : state) {
        task->setDueDate(dates[flip ^= 1]);
        store.processPendingChanges();
        list->rearrangeObjects();
    }
    list->setObserver(nullptr);
    state.counters["shown"] = double(list->arrangedObjects().size());
    state.counters["moves_per_change"] = double(observer.counts[int(ListChange::Kind::Move)]) / double(state.iterations());
    state.counters["updates_per_change"] = double(observer.counts[int(ListChange::Kind::Update)]) / double(state.iterations());
    state.counters["resets"] = double(observer.counts[int(ListChange::Kind::Reset)]);
}
BENCHMARK(BM_ToCompleteOneTaskChanged)->Unit(benchmark::kMicrosecond);

void BM_ToCompleteSelectAll(benchmark::State& state)
{
    AllTasksArrayController* list = toCompleteView(state);
    if (!list)
        return;
    const std::vector<Task*> all = list->arrangedObjects();
    for (auto _ : state) {
        list->setSelectedObjects(all);
        benchmark::DoNotOptimize(list->firstSelectionIndex());
    }
    state.counters["selected"] = double(list->selectedObjects().size());
    list->setSelectedObjects({});
}
BENCHMARK(BM_ToCompleteSelectAll)->Unit(benchmark::kMillisecond);

// The reminders over the whole store: the pass a timer firing makes (every task's due moment read, the
// due ones reminded of, the next moment found), and one task's due date changed with the reminders
// watching, which looks at the changed task only.
TaskReminderController* reminders(benchmark::State& state)
{
    static int argc = 1;
    static char name[] = "vyro_lists_bench";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv); // for the controller's timer
    static std::unique_ptr<TaskReminderController> controller;
    Fixture* f = fixture(state);
    if (!f)
        return nullptr;
    if (!controller) {
        controller = std::make_unique<TaskReminderController>(*f->store, *f->preferences, [](const DesktopNotification&) {});
        controller->start();
    }
    return controller.get();
}

void BM_RemindersCheck(benchmark::State& state)
{
    TaskReminderController* controller = reminders(state);
    if (!controller)
        return;
    for (auto _ : state) {
        controller->check();
        benchmark::DoNotOptimize(controller->nextMoment());
    }
}
BENCHMARK(BM_RemindersCheck)->Unit(benchmark::kMillisecond);

void BM_RemindersOneTaskChanged(benchmark::State& state)
{
    TaskReminderController* controller = reminders(state);
    if (!controller)
        return;
    ObjectContext& store = *g_listsFixture->store;
    Task* task = static_cast<Task*>(store.allObjects(QStringLiteral("task")).front());
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime dates[2] = {now.addSecs(3600), now.addSecs(7200)};
    int flip = 0;
    for (auto _ : state) {
        task->setDueDate(dates[flip ^= 1]);
        store.processPendingChanges();
    }
    benchmark::DoNotOptimize(controller->nextMoment());
}
BENCHMARK(BM_RemindersOneTaskChanged)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    const int status = runBenchmarkMain(argc, argv, g_taskCount);
    g_listsFixture.reset();
    return status;
}
