// Task-list benchmarks on a generated data file of 100,000 tasks (--tasks=N for another size): a view's
// predicate rebuilt and its tasks re-arranged, as a mode change or a new search does it. Two views: the
// context of about 2,000 tasks in the contexts view (sorted by name, and in the user's own order), and
// the to-complete view with the "All tasks" smart folder (the open tasks, about three quarters of the
// store) sorted by due date.
//
//   vyro_lists_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"
#include "storegenerator.h"

#include "app/preferences.h"
#include "lists/alltasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/listhost.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasktablestate.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/smartfolder.h"
#include "model/startupdata.h"
#include "store/objectcontext.h"

#include <QTemporaryDir>

#include <memory>

namespace {

int g_taskCount = 100000;

struct Fixture {
    QTemporaryDir dir;
    GeneratedStoreInfo info;
    std::unique_ptr<ObjectContext> store;
    std::unique_ptr<Preferences> preferences;
    ListHost host;
    std::unique_ptr<TabViewController> views;
    QString error;
};

std::unique_ptr<Fixture> g_fixture;

// The generated store, opened and prepared as the program does at start, with the lists over it.
Fixture* fixture(benchmark::State& state)
{
    if (!g_fixture) {
        g_fixture = std::make_unique<Fixture>();
        Fixture& f = *g_fixture;
        const QString path = f.dir.filePath(QStringLiteral("lists.vyrodata"));
        GeneratorOptions options;
        options.tasks = g_taskCount;
        if (Status s = generateStore(path, options, &f.info); !s.isOk()) {
            f.error = s.toString();
        } else {
            f.store = std::make_unique<ObjectContext>(managedObjectModel());
            f.store->undoManager().setEnabled(false);
            if (Status s = f.store->addSqliteStore(path); !s.isOk()) {
                f.error = s.toString();
            } else {
                prepareStoreForWork(*f.store);
                f.preferences = std::make_unique<Preferences>(f.dir.filePath(QStringLiteral("prefs.ini")));
                f.views = std::make_unique<TabViewController>(*f.store, *f.preferences, f.host);
            }
        }
    }
    if (!g_fixture->error.isEmpty()) {
        state.SkipWithError(qPrintable(g_fixture->error));
        return nullptr;
    }
    return g_fixture.get();
}

// Rebuilds and re-arranges `list` once per iteration; the arrangement is read so that it is computed.
void rebuildAndArrange(benchmark::State& state, TasksArrayController& list)
{
    size_t shown = 0;
    for (auto _ : state) {
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

} // namespace

int main(int argc, char** argv)
{
    const int status = runBenchmarkMain(argc, argv, g_taskCount);
    g_fixture.reset();
    return status;
}
