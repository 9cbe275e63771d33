// Model benchmarks on a generated data file of 100,000 tasks (--tasks=N for another size): the cached
// task counters of every context and project, computed from nothing and brought up to date after one
// change to one task, and the clean-up of a thousand done tasks together with the save that writes it.
// Besides, on stores of their own: loading a chain of 60,000 nested contexts, and renaming the root of a
// chain of 2,000.
//
//   vyro_model_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"
#include "storegenerator.h"

#include "model/cleanupcontroller.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

int g_taskCount = 100000;
constexpr int kCleanUpTasks = 1000;

// The generated files, made on first use. "pristine" is the store as generated and is only ever copied;
// "work" is the copy that the long-lived context of the counter benchmarks holds; "tidy" is a copy on
// which the done tasks the generator left have been cleaned up, so that a clean-up started from it
// finds exactly the tasks a benchmark marks done.
struct Fixture {
    QTemporaryDir dir;
    QString pristinePath;
    QString workPath;
    QString tidyPath;
    bool tidyReady = false;
    GeneratedStoreInfo info;
    std::unique_ptr<ObjectContext> work;
    QString error;
};

std::unique_ptr<Fixture> g_fixture;

Fixture& fixture()
{
    if (g_fixture)
        return *g_fixture;
    g_fixture = std::make_unique<Fixture>();
    Fixture& f = *g_fixture;
    if (!f.dir.isValid()) {
        f.error = QStringLiteral("cannot make a temporary folder");
        return f;
    }
    f.pristinePath = f.dir.filePath(QStringLiteral("pristine.vyrodata"));
    f.workPath = f.dir.filePath(QStringLiteral("work.vyrodata"));
    f.tidyPath = f.dir.filePath(QStringLiteral("tidy.vyrodata"));
    GeneratorOptions options;
    options.tasks = g_taskCount;
    QElapsedTimer timer;
    timer.start();
    if (Status s = generateStore(f.pristinePath, options, &f.info); !s.isOk()) {
        f.error = s.toString();
        return f;
    }
    std::fprintf(stderr, "Generated %d tasks, %d contexts and %d projects in %.1f s\n", f.info.tasks, f.info.contexts,
                 f.info.projects, double(timer.elapsed()) / 1000.0);
    if (!QFile::copy(f.pristinePath, f.workPath))
        f.error = QStringLiteral("cannot copy the generated store");
    return f;
}

bool fixtureReady(benchmark::State& state)
{
    if (fixture().error.isEmpty())
        return true;
    state.SkipWithError(qPrintable(fixture().error));
    return false;
}

// A context on `path` as the program holds one, except that nothing here is ever undone.
std::unique_ptr<ObjectContext> openStore(const QString& path, QString* error)
{
    auto ctx = std::make_unique<ObjectContext>(managedObjectModel());
    if (Status s = ctx->addSqliteStore(path); !s.isOk()) {
        *error = s.toString();
        return nullptr;
    }
    ctx->undoManager().setEnabled(false);
    return ctx;
}

// The long-lived context on the work file.
ObjectContext* workContext(benchmark::State& state)
{
    if (!fixtureReady(state))
        return nullptr;
    Fixture& f = fixture();
    if (!f.work) {
        QString error;
        f.work = openStore(f.workPath, &error);
        if (!f.work) {
            state.SkipWithError(qPrintable(error));
            return nullptr;
        }
    }
    return f.work.get();
}

// The tidy file, made on first use: the generated store with every done task cleaned up and saved.
bool tidyReady(benchmark::State& state)
{
    if (!fixtureReady(state))
        return false;
    Fixture& f = fixture();
    if (f.tidyReady)
        return true;
    QElapsedTimer timer;
    timer.start();
    if (!QFile::copy(f.pristinePath, f.tidyPath)) {
        state.SkipWithError("cannot copy the generated store");
        return false;
    }
    QString error;
    auto ctx = openStore(f.tidyPath, &error);
    if (!ctx) {
        state.SkipWithError(qPrintable(error));
        return false;
    }
    const int cleaned = CleanUpController::cleanUpTasks(*ctx);
    if (Status s = ctx->save(); !s.isOk()) {
        state.SkipWithError(qPrintable(s.toString()));
        return false;
    }
    std::fprintf(stderr, "Cleaned up the %d done tasks of the generated store in %.1f s\n", cleaned,
                 double(timer.elapsed()) / 1000.0);
    f.tidyReady = true;
    return true;
}

struct Folders {
    std::vector<Context*> contexts;
    std::vector<Project*> projects;
};

Folders allFolders(ObjectContext& ctx)
{
    Folders out;
    for (Record* r : ctx.allObjects(QStringLiteral("context")))
        out.contexts.push_back(static_cast<Context*>(r));
    for (Record* r : ctx.allObjects(QStringLiteral("project")))
        out.projects.push_back(static_cast<Project*>(r));
    return out;
}

// The eight counters of a folder, as the folder lists read them.
void readCounters(const Context* c, std::vector<qint64>& out)
{
    out.push_back(c->savedPendingTasksCount());
    out.push_back(c->savedPendingTasksCountIncludingSubcontexts());
    out.push_back(c->savedNextActionTasksCount());
    out.push_back(c->savedNextActionTasksCountIncludingSubcontexts());
    out.push_back(c->savedDueTodayTasksCount());
    out.push_back(c->savedDueTodayTasksCountIncludingSubcontexts());
    out.push_back(c->savedDueTomorrowTasksCount());
    out.push_back(c->savedDueTomorrowTasksCountIncludingSubcontexts());
}

void readCounters(const Project* p, std::vector<qint64>& out)
{
    out.push_back(p->savedPendingTasksCount());
    out.push_back(p->savedPendingTasksCountIncludingSubprojects());
    out.push_back(p->savedNextActionTasksCount());
    out.push_back(p->savedNextActionTasksCountIncludingSubprojects());
    out.push_back(p->savedDueTodayTasksCount());
    out.push_back(p->savedDueTodayTasksCountIncludingSubprojects());
    out.push_back(p->savedDueTomorrowTasksCount());
    out.push_back(p->savedDueTomorrowTasksCountIncludingSubprojects());
}

// Every counter of every folder, contexts first; `out` is reused so that the reading allocates nothing.
void readAllCounters(const Folders& folders, std::vector<qint64>& out)
{
    out.clear();
    for (const Context* c : folders.contexts)
        readCounters(c, out);
    for (const Project* p : folders.projects)
        readCounters(p, out);
}

template <typename Folder>
void resetCounters(Folder* f)
{
    f->resetCounterForPendingTasks();
    f->resetCounterForNextActionTasks();
    f->resetCounterForDueTodayTasks();
    f->resetCounterForDueTomorrowTasks();
}

void resetAllCounters(const Folders& folders)
{
    for (Context* c : folders.contexts)
        resetCounters(c);
    for (Project* p : folders.projects)
        resetCounters(p);
}

// How many of the eight counters of every folder wait to be computed.
int clearedCounters(const Folders& folders)
{
    int n = 0;
    auto count = [&](const auto* f) {
        for (int kind = 0; kind < kTaskCounterKinds; ++kind)
            for (bool subtree : {false, true})
                n += f->isCounterComputed(TaskCounter(kind), subtree) ? 0 : 1;
    };
    for (const Context* c : folders.contexts)
        count(c);
    for (const Project* p : folders.projects)
        count(p);
    return n;
}

// Tasks that computing the cleared counters looks at: each folder query that has to run again goes
// through its folder's tasks once (a subtree count only adds up counts of the folders below).
double tasksToScan(const Folders& folders)
{
    double n = 0;
    auto count = [&](const auto* f) {
        for (int kind = 0; kind < kTaskCounterKinds; ++kind)
            if (!f->isCounterComputed(TaskCounter(kind), false))
                n += double(f->tasks().size());
    };
    for (const Context* c : folders.contexts)
        count(c);
    for (const Project* p : folders.projects)
        count(p);
    return n;
}

void BM_CountersFromCold(benchmark::State& state)
{
    ObjectContext* ctx = workContext(state);
    if (!ctx)
        return;
    const Folders folders = allFolders(*ctx);
    std::vector<qint64> counts;
    resetAllCounters(folders);
    if (clearedCounters(folders) != int(folders.contexts.size() + folders.projects.size()) * 2 * kTaskCounterKinds) {
        state.SkipWithError("resetting every folder leaves counters computed");
        return;
    }
    const double scanned = tasksToScan(folders);
    QElapsedTimer resetTimer;
    qint64 resetNs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        resetTimer.start();
        resetAllCounters(folders);
        resetNs += resetTimer.nsecsElapsed();
        state.ResumeTiming();
        readAllCounters(folders, counts);
        benchmark::DoNotOptimize(counts.data());
    }
    state.counters["folders"] = double(folders.contexts.size() + folders.projects.size());
    state.counters["counters"] = double(counts.size());
    state.counters["scanned"] = scanned;
    // Time per task that a folder query looks at.
    state.counters["per_scanned"] = benchmark::Counter(scanned, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    // Clearing every counter, not part of the time above.
    state.counters["reset_us"] = state.iterations() ? double(resetNs) / 1e3 / double(state.iterations()) : 0.0;
}
BENCHMARK(BM_CountersFromCold)->Unit(benchmark::kMillisecond);

enum class Change { None, NextAction, DueDate, Done };

bool isOpen(const Task* t)
{
    return !t->done() && !t->cleanedUp() && !t->archived();
}

// The task that the change benchmarks edit: an open, definite task of the pinned context (about 2,000
// tasks) in a third-level project, without a start date so that any due date sticks. Failing that, any
// open task of the pinned context.
Task* taskToChange(ObjectContext& ctx)
{
    Context* context = findContextByPath(ctx, fixture().info.pinnedContextPath);
    if (!context)
        return nullptr;
    Task* fallback = nullptr;
    for (Record* r : context->tasks()) {
        auto* t = static_cast<Task*>(r);
        if (!isOpen(t) || t->maybe())
            continue;
        if (!fallback)
            fallback = t;
        const Project* p = t->parentProject();
        if (p && p->active() && p->parentProject() && p->parentProject()->parentProject() && !t->startDate().isValid())
            return t;
    }
    return fallback;
}

// One edit of the kind asked for; applied twice it leaves the task as it found it, apart from the
// completion date that ticking a task off sets and the next-action flag that it clears.
void applyChange(Task* t, Change change, const QDateTime& today, const QDateTime& tomorrow)
{
    switch (change) {
    case Change::None: break;
    case Change::NextAction: t->setNextAction(!t->nextAction()); break;
    case Change::DueDate: t->setDueDate(t->dueDate() == today ? tomorrow : today); break;
    case Change::Done: t->setDone(!t->done()); break;
    }
}

// One change to one task, then every counter of every folder read again, as the folder lists do after
// an edit: only the counters of the task's context and project and their ancestors have to be
// computed again. The change and the reading are timed together.
void BM_CountersAfterOneChange(benchmark::State& state, Change change)
{
    ObjectContext* ctx = workContext(state);
    if (!ctx)
        return;
    const Folders folders = allFolders(*ctx);
    Task* task = taskToChange(*ctx);
    if (!task) {
        state.SkipWithError("no open task in the pinned context");
        return;
    }
    // Noon, well inside the day whatever the time zone does.
    const QDateTime now = ModelEnvironment::of(*ctx).now();
    const QDateTime today = DateAnchors::todayStart(now).addSecs(12 * 3600);
    const QDateTime tomorrow = DateAnchors::tomorrowStart(now).addSecs(12 * 3600);
    const bool hadNextAction = task->nextAction();
    const QDateTime hadDueDate = task->dueDate();

    // Once untimed: the change must clear some counters, and the counters brought up to date must be
    // those that a recount from nothing gives.
    std::vector<qint64> counts, recount;
    readAllCounters(folders, counts);
    applyChange(task, change, today, tomorrow);
    const int cleared = clearedCounters(folders);
    const double scanned = tasksToScan(folders);
    readAllCounters(folders, counts);
    resetAllCounters(folders);
    readAllCounters(folders, recount);
    if ((change != Change::None) != (cleared > 0) || counts != recount) {
        state.SkipWithError("the counters after the change are not those of a recount");
        return;
    }

    for (auto _ : state) {
        applyChange(task, change, today, tomorrow);
        readAllCounters(folders, counts);
        benchmark::DoNotOptimize(counts.data());
    }

    // Back as it was, untimed, so that the other benchmarks see the generated store.
    if (task->done())
        task->setDone(false);
    task->setNextAction(hadNextAction);
    task->setDueDate(hadDueDate);

    std::string label = task->parentContext()->pathName().toStdString();
    if (const Project* p = task->parentProject())
        label += ", project at level " + std::to_string(p->depth() + 1);
    state.SetLabel(label);
    state.counters["counters"] = double(counts.size());
    // Of all the counters, how many one such change leaves to be computed again, and the tasks that the
    // queries behind them look at.
    state.counters["recomputed"] = double(cleared);
    state.counters["scanned"] = scanned;
}
BENCHMARK_CAPTURE(BM_CountersAfterOneChange, none, Change::None)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_CountersAfterOneChange, next_action, Change::NextAction)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_CountersAfterOneChange, due_date, Change::DueDate)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_CountersAfterOneChange, done, Change::Done)->Unit(benchmark::kMicrosecond);

// `count` of the store's open tasks, evenly spaced in creation order: they fall on the contexts and
// projects roughly as the open tasks do.
std::vector<Task*> tasksToFinish(ObjectContext& ctx, int count)
{
    std::vector<Task*> open;
    for (Record* r : ctx.allObjects(QStringLiteral("task")))
        if (isOpen(static_cast<Task*>(r)))
            open.push_back(static_cast<Task*>(r));
    std::vector<Task*> out;
    if (open.empty() || count <= 0)
        return out;
    const double step = double(open.size()) / double(count);
    for (int i = 0; i < count && size_t(double(i) * step) < open.size(); ++i)
        out.push_back(open[size_t(double(i) * step)]);
    return out;
}

// Each task's position in its context and in its project.
std::vector<std::pair<qint64, qint64>> positionsOf(const std::vector<Record*>& tasks)
{
    std::vector<std::pair<qint64, qint64>> out;
    out.reserve(tasks.size());
    for (Record* r : tasks) {
        const auto* t = static_cast<Task*>(r);
        out.emplace_back(t->positionInContext(), t->positionInProject());
    }
    return out;
}

// A thousand open tasks are marked done and saved, untimed, on a fresh copy of the tidy store; then the
// clean-up and the save that follows it are timed together. Every iteration starts from the same file,
// so each cleans up the same thousand tasks.
void BM_CleanUpAndSave(benchmark::State& state)
{
    if (!tidyReady(state))
        return;
    Fixture& f = fixture();
    const QString path = f.dir.filePath(QStringLiteral("cleanup.vyrodata"));
    std::unique_ptr<ObjectContext> ctx;
    qint64 cleanUpNs = 0, saveNs = 0, undoNs = 0, redoNs = 0;
    double undoBytes = 0, undoEntries = 0;
    double cleaned = 0, added = 0, renumbered = 0, contexts = 0, projects = 0;
    for (auto _ : state) {
        state.PauseTiming();
        ctx.reset();
        QFile::remove(path);
        if (!QFile::copy(f.tidyPath, path)) {
            state.SkipWithError("cannot copy the tidy store");
            break;
        }
        QString error;
        ctx = openStore(path, &error);
        if (!ctx) {
            state.SkipWithError(qPrintable(error));
            break;
        }
        const std::vector<Task*> finish = tasksToFinish(*ctx, kCleanUpTasks);
        std::set<Record*> touchedContexts, touchedProjects;
        for (Task* t : finish) {
            t->setDone(true);
            touchedContexts.insert(t->parentContext());
            if (t->parentProject())
                touchedProjects.insert(t->parentProject());
        }
        if (Status s = ctx->save(); !s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            break;
        }
        const std::vector<Record*> before = ctx->allObjects(QStringLiteral("task"));
        const auto positions = positionsOf(before);
        // Only the clean-up in the undo stack, as after a menu command; recorded as the application
        // records it, which the clean-up's time includes.
        ctx->processPendingChanges();
        ctx->undoManager().removeAllActions();
        ctx->undoManager().setEnabled(true);
        QElapsedTimer timer;
        state.ResumeTiming();

        timer.start();
        const int n = CleanUpController::cleanUpTasks(*ctx);
        const qint64 afterCleanUp = timer.nsecsElapsed();
        const Status saved = ctx->save();
        const qint64 afterSave = timer.nsecsElapsed();

        state.PauseTiming();
        if (!saved.isOk()) {
            state.SkipWithError(qPrintable(saved.toString()));
            break;
        }
        // The clean-up as one undo step: what the stack holds, then undo and redo of it, each with the
        // change batch it sends.
        ctx->processPendingChanges();
        undoBytes = double(ctx->undoManager().approximateBytes());
        undoEntries = double(ctx->undoManager().entryCount());
        QElapsedTimer reversal;
        reversal.start();
        ctx->undo();
        undoNs += reversal.nsecsElapsed();
        reversal.restart();
        ctx->redo();
        redoNs += reversal.nsecsElapsed();
        if (n != int(finish.size())) {
            state.SkipWithError("the clean-up did not find exactly the tasks marked done");
            break;
        }
        cleanUpNs += afterCleanUp;
        saveNs += afterSave - afterCleanUp;
        cleaned = n;
        added = double(ctx->countForEntity(QStringLiteral("task"))) - double(before.size());
        const auto now = positionsOf(before);
        renumbered = 0;
        for (size_t i = 0; i < before.size(); ++i)
            renumbered += now[i] != positions[i] ? 1 : 0;
        contexts = double(touchedContexts.size());
        projects = double(touchedProjects.size());
        state.ResumeTiming();
    }
    ctx.reset();
    QFile::remove(path);

    const double iterations = state.iterations() ? double(state.iterations()) : 1.0;
    state.counters["cleaned"] = cleaned;
    state.counters["contexts"] = contexts;
    state.counters["projects"] = projects;
    // Next occurrences of the recurring tasks among them.
    state.counters["added"] = added;
    // Tasks whose position in their context or project the clean-up changed (and the save wrote).
    state.counters["renumbered"] = renumbered;
    state.counters["cleanup_ms"] = double(cleanUpNs) / 1e6 / iterations;
    state.counters["save_ms"] = double(saveNs) / 1e6 / iterations;
    state.counters["undo_ms"] = double(undoNs) / 1e6 / iterations;
    state.counters["redo_ms"] = double(redoNs) / 1e6 / iterations;
    state.counters["undo_MB"] = undoBytes / 1e6;
    state.counters["undo_values"] = undoEntries;
}
BENCHMARK(BM_CleanUpAndSave)->Unit(benchmark::kMillisecond)->Iterations(5);

// The JSON of `vyro load` for a chain of `depth` contexts, each under the one before, deepest first.
QByteArray deepChainJson(int depth)
{
    QByteArray json = "{\"contexts\": [";
    for (int i = depth - 1; i >= 0; --i) {
        json += "{\"uri\": \"c" + QByteArray::number(i) + "\", \"name\": \"Context " + QByteArray::number(i) + "\"";
        if (i > 0)
            json += ", \"parentContext\": \"c" + QByteArray::number(i - 1) + "\"";
        json += i > 0 ? "}, " : "}";
    }
    return json + "]}";
}

// What `vyro load` does with a file holding a chain of 60,000 nested contexts, after the store is
// open: read the JSON, check the document (no loops), add the records through the tracked setters, save
// into a fresh data file. Then the deepest context's path is read once.
void BM_LoadDeepChain(benchmark::State& state)
{
    const int depth = int(state.range(0));
    const QByteArray json = deepChainJson(depth);
    QTemporaryDir dir;
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const QString path = dir.filePath(QStringLiteral("chain%1.vyrodata").arg(round++));
        auto ctx = std::make_unique<ObjectContext>(managedObjectModel());
        if (Status s = ctx->addSqliteStore(path); !s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            break;
        }
        ctx->undoManager().setEnabled(false);
        state.ResumeTiming();

        auto document = recordDocumentFromJson(json, ctx->model());
        std::vector<Record*> created;
        Status s = document ? importDocument(*ctx, *document, &created) : document.status();
        if (s.isOk())
            s = ctx->save();
        if (!s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            break;
        }
        benchmark::DoNotOptimize(static_cast<Context*>(created.front())->pathName().size());

        state.PauseTiming();
        ctx.reset();
        QFile::remove(path);
        state.ResumeTiming();
    }
    state.counters["contexts"] = depth;
}
BENCHMARK(BM_LoadDeepChain)->Arg(60000)->Unit(benchmark::kMillisecond)->Iterations(3);

// Renaming the root of a chain of 2,000 contexts whose path names have all been read, reading the
// deepest path again, and saving: the paths below are forgotten and worked out again on demand, and the
// save writes one row. "file_growth" is how many bytes the data file grew by over all renames.
void BM_RenameRootOfDeepChain(benchmark::State& state)
{
    const int depth = int(state.range(0));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("rename.vyrodata"));
    auto ctx = std::make_unique<ObjectContext>(managedObjectModel());
    std::vector<Context*> chain;
    if (Status s = ctx->addSqliteStore(path); !s.isOk()) {
        state.SkipWithError(qPrintable(s.toString()));
        return;
    }
    for (int i = 0; i < depth; ++i) {
        auto* c = ctx->insertNewObject<Context>(QStringLiteral("context"));
        c->setName(QStringLiteral("Context %1").arg(i));
        if (!chain.empty())
            chain.back()->addSubcontextsObject(c);
        chain.push_back(c);
    }
    if (Status s = ctx->save(); !s.isOk()) {
        state.SkipWithError(qPrintable(s.toString()));
        return;
    }
    const qint64 before = QFileInfo(path).size();
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        for (Context* c : chain)
            benchmark::DoNotOptimize(c->pathName().size());
        state.ResumeTiming();
        chain.front()->setName(QStringLiteral("Root %1").arg(round++));
        benchmark::DoNotOptimize(chain.back()->pathName().size());
        if (Status s = ctx->save(); !s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            break;
        }
    }
    state.counters["file_growth"] = double(QFileInfo(path).size() - before);
}
BENCHMARK(BM_RenameRootOfDeepChain)->Arg(2000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    const int status = runBenchmarkMain(argc, argv, g_taskCount);
    g_fixture.reset(); // closes the work store before its folder goes
    return status;
}
