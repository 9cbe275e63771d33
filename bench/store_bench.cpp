// Object store benchmarks on a generated data file of 100,000 tasks (--tasks=N for another size):
// opening, fetching a folder's pending tasks with and without the relationship pin (with warm and with
// emptied processor caches), saving after one insert and after one change, and the peak memory of a
// fresh process that opens the file.
//
//   vyro_store_bench [--tasks=N] [benchmark flags]
//   vyro_store_bench --peak-memory PATH     open PATH in this process and print its memory figures

#include "benchmain.h"
#include "storegenerator.h"

#include "model/context.h"
#include "model/datamodel.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/predicate.h"

#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <malloc.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

int g_taskCount = 100000;

double maxResidentMB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0; // kilobytes on Linux
}

double residentMB()
{
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(f);
    }
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// User and system time of this process: on a machine shared with other work it varies far less than
// the wall-clock time.
double processCpuMs()
{
    timespec t {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

// The generated files, made once per run on first use. "pristine" is only ever opened (so every open
// reads the same file and the peak-memory child never meets a lock); "work" is the one that fetches and
// saves use and that grows as the save benchmarks add tasks.
struct Fixture {
    QTemporaryDir dir;
    QString pristinePath;
    QString workPath;
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
    GeneratorOptions options;
    options.tasks = g_taskCount;
    QElapsedTimer timer;
    timer.start();
    if (Status s = generateStore(f.pristinePath, options, &f.info); !s.isOk()) {
        f.error = s.toString();
        return f;
    }
    std::fprintf(stderr, "Generated %d tasks in %.1f s; pinned context \"%s\" holds %d tasks, %d pending\n",
                 f.info.tasks, double(timer.elapsed()) / 1000.0, qPrintable(f.info.pinnedContextPath),
                 f.info.pinnedContextTasks, f.info.pinnedContextPendingTasks);
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

// The long-lived context on the work file, as the running program holds it.
ObjectContext* workContext(benchmark::State& state)
{
    if (!fixtureReady(state))
        return nullptr;
    Fixture& f = fixture();
    if (!f.work) {
        auto ctx = std::make_unique<ObjectContext>(managedObjectModel());
        if (Status s = ctx->addSqliteStore(f.workPath); !s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            return nullptr;
        }
        f.work = std::move(ctx);
    }
    return f.work.get();
}

enum class Folder { Smallest, Pinned, Largest };

// The folder to fetch from: the pinned context, or the context (other than the Inbox) with the fewest
// or the most tasks of its own.
Context* folder(ObjectContext& ctx, Folder which)
{
    if (which == Folder::Pinned)
        return findContextByPath(ctx, fixture().info.pinnedContextPath);
    Context* best = nullptr;
    for (Record* r : ctx.allObjects(QStringLiteral("context"))) {
        auto* c = static_cast<Context*>(r);
        if (c->isInbox() || c->tasks().empty())
            continue;
        const bool better = !best || (which == Folder::Smallest ? c->tasks().size() < best->tasks().size()
                                                                : c->tasks().size() > best->tasks().size());
        if (better)
            best = c;
    }
    return best;
}

FetchRequest pendingTasksRequest(Context* context)
{
    return FetchRequest(QStringLiteral("task"), Predicate::fromFormat(QLatin1String(kContextPendingTasksFormat), {context}));
}

// The same tasks as the pending-tasks query, found without pinning the relationship to a record.
FetchRequest pendingTasksByScanRequest(Context* context)
{
    return FetchRequest(QStringLiteral("task"),
                        Predicate::fromFormat(QStringLiteral("(parentContext.pathName == %@) and (maybe==NO or maybe==NULL) and "
                                                             "((parentProject==NULL) or (parentProject.active <> 0)) and "
                                                             "(cleanedUp <> 1) and (archived == 0)"),
                                              {context->pathName()}));
}

std::vector<Record*> sorted(std::vector<Record*> records)
{
    std::sort(records.begin(), records.end());
    return records;
}

void BM_OpenStore(benchmark::State& state)
{
    if (!fixtureReady(state))
        return;
    const QString path = fixture().pristinePath;
    qint64 records = 0;
    for (auto _ : state) {
        auto ctx = std::make_unique<ObjectContext>(managedObjectModel());
        const Status s = ctx->addSqliteStore(path);
        state.PauseTiming();
        if (!s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            break;
        }
        records = ctx->countForEntity(QStringLiteral("task"));
        ctx.reset(); // closing is not part of opening
        state.ResumeTiming();
    }
    state.counters["tasks"] = double(records);
}
BENCHMARK(BM_OpenStore)->Unit(benchmark::kMillisecond)->Iterations(10);

// Runs this program with --peak-memory in a child, so the figures are those of a process that did
// nothing but open the store. The time reported is the child's own open: a first open in a fresh
// process, page faults and all. Peak figures are the largest seen, times the mean.
void BM_PeakMemoryAfterOpen(benchmark::State& state)
{
    if (!fixtureReady(state))
        return;
    const std::string command = "'/proc/" + std::to_string(getpid()) + "/exe' --peak-memory '" +
                                fixture().pristinePath.toStdString() + "'";
    std::map<std::string, double> largest;
    double cpuMs = 0;
    for (auto _ : state) {
        std::map<std::string, double> figures;
        FILE* child = popen(command.c_str(), "r");
        if (!child) {
            state.SkipWithError("cannot start the child process");
            break;
        }
        char line[256];
        while (std::fgets(line, sizeof line, child)) {
            char key[128];
            double value = 0;
            if (std::sscanf(line, "%127[a-z_]=%lf", key, &value) == 2)
                figures[key] = value;
        }
        if (pclose(child) != 0 || !figures.count("peak_rss_mb")) {
            state.SkipWithError("the child process failed");
            break;
        }
        state.SetIterationTime(figures["open_ms"] / 1000.0);
        cpuMs += figures["open_cpu_ms"];
        for (const auto& [key, value] : figures)
            largest[key] = std::max(largest[key], value);
    }
    state.counters["peak_MB"] = largest["peak_rss_mb"];
    state.counters["before_open_MB"] = largest["rss_before_open_mb"];
    state.counters["after_open_MB"] = largest["rss_after_open_mb"];
    state.counters["heap_MB"] = largest["heap_in_use_mb"];
    state.counters["open_cpu_ms"] = state.iterations() ? cpuMs / double(state.iterations()) : 0.0;
}
BENCHMARK(BM_PeakMemoryAfterOpen)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

// Pushes the store's records out of the processor caches, as other work would between two looks at a
// folder. Without it the records of a small folder stay cached from one iteration to the next and only
// a folder too big for the caches pays for memory, which hides how the cost follows the folder.
void evictCaches()
{
    static std::vector<char> buffer(size_t(256) << 20, 1); // well above the last-level cache
    for (size_t i = 0; i < buffer.size(); i += 64)
        ++buffer[i];
    benchmark::ClobberMemory();
}

enum class Cache { Warm, Cold };

// Runs `fetch` once per iteration; with Cache::Cold the caches are emptied, untimed, before each.
template <typename Fetch>
void fetchLoop(benchmark::State& state, Cache cache, Fetch&& fetch)
{
    for (auto _ : state) {
        if (cache == Cache::Cold) {
            state.PauseTiming();
            evictCaches();
            state.ResumeTiming();
        }
        auto result = fetch();
        benchmark::DoNotOptimize(result);
    }
}

void BM_PinnedFetch(benchmark::State& state, Folder which, Cache cache)
{
    ObjectContext* ctx = workContext(state);
    if (!ctx)
        return;
    Context* context = folder(*ctx, which);
    if (!context) {
        state.SkipWithError("no such folder");
        return;
    }
    const FetchRequest request = pendingTasksRequest(context);
    const auto found = ctx->executeFetchRequest(request);
    fetchLoop(state, cache, [&] { return ctx->executeFetchRequest(request); });
    state.SetLabel(context->pathName().toStdString());
    state.counters["folder_tasks"] = double(context->tasks().size());
    state.counters["found"] = found ? double(found->size()) : 0.0;
    // Time per task of the folder: flat across folder sizes when the cost follows the folder.
    state.counters["per_folder_task"] = benchmark::Counter(double(context->tasks().size()),
                                                           benchmark::Counter::kIsIterationInvariantRate |
                                                               benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(BM_PinnedFetch, smallest, Folder::Smallest, Cache::Warm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_PinnedFetch, pinned, Folder::Pinned, Cache::Warm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_PinnedFetch, largest, Folder::Largest, Cache::Warm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_PinnedFetch, smallest_cold, Folder::Smallest, Cache::Cold)->Unit(benchmark::kMicrosecond)->Iterations(20);
BENCHMARK_CAPTURE(BM_PinnedFetch, pinned_cold, Folder::Pinned, Cache::Cold)->Unit(benchmark::kMicrosecond)->Iterations(20);
BENCHMARK_CAPTURE(BM_PinnedFetch, largest_cold, Folder::Largest, Cache::Cold)->Unit(benchmark::kMicrosecond)->Iterations(20);

// The pinned context's pending tasks found by a fetch that has to look at every task.
void BM_FullScanFetch(benchmark::State& state, Cache cache)
{
    ObjectContext* ctx = workContext(state);
    if (!ctx)
        return;
    Context* context = folder(*ctx, Folder::Pinned);
    const FetchRequest request = pendingTasksByScanRequest(context);
    auto pinned = ctx->executeFetchRequest(pendingTasksRequest(context));
    auto scanned = ctx->executeFetchRequest(request);
    if (!pinned || !scanned || sorted(*pinned) != sorted(*scanned)) {
        state.SkipWithError("the scan and the pinned fetch disagree");
        return;
    }
    fetchLoop(state, cache, [&] { return ctx->executeFetchRequest(request); });
    state.SetLabel(context->pathName().toStdString());
    const qsizetype all = ctx->countForEntity(QStringLiteral("task"));
    state.counters["scanned"] = double(all);
    state.counters["found"] = double(scanned->size());
    state.counters["per_task"] = benchmark::Counter(double(all), benchmark::Counter::kIsIterationInvariantRate |
                                                                     benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(BM_FullScanFetch, warm, Cache::Warm)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_FullScanFetch, cold, Cache::Cold)->Unit(benchmark::kMicrosecond)->Iterations(20);

// The same through filteredArray over every task with the pinned predicate, as code that filters an
// array it already holds would do.
void BM_FullScanFilteredArray(benchmark::State& state)
{
    ObjectContext* ctx = workContext(state);
    if (!ctx)
        return;
    Context* context = folder(*ctx, Folder::Pinned);
    const FetchRequest request = pendingTasksRequest(context);
    size_t found = 0;
    for (auto _ : state) {
        auto result = filteredArray(ctx->allObjects(QStringLiteral("task")), *request.predicate);
        found = result.size();
        benchmark::DoNotOptimize(result);
    }
    state.SetLabel(context->pathName().toStdString());
    state.counters["found"] = double(found);
}
BENCHMARK(BM_FullScanFilteredArray)->Unit(benchmark::kMicrosecond);

// One new task in the Inbox, then a save. Only the save is timed.
void BM_SaveOneInsert(benchmark::State& state)
{
    ObjectContext* ctx = workContext(state);
    if (!ctx)
        return;
    Context* inbox = nullptr;
    for (Record* r : ctx->allObjects(QStringLiteral("context")))
        if (static_cast<Context*>(r)->isInbox())
            inbox = static_cast<Context*>(r);
    if (!inbox) {
        state.SkipWithError("no Inbox");
        return;
    }
    int n = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto* t = ctx->insertNewObject<Task>(QStringLiteral("task"));
        t->setName(QStringLiteral("Benchmark task %1 inserted into the Inbox").arg(++n));
        t->setDone(false);
        t->setCleanedUp(false);
        t->setArchived(false);
        t->setMaybe(false);
        t->setPriority(3);
        t->setEffort(1);
        t->setNewInContext(true);
        t->setParentContext(inbox);
        t->setPositionInContext(qint64(inbox->tasks().size()));
        state.ResumeTiming();
        if (Status s = ctx->save(); !s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            break;
        }
    }
}
BENCHMARK(BM_SaveOneInsert)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// One attribute of one existing task changed (a different task each time), then a save. Only the save
// is timed.
void BM_SaveOneChange(benchmark::State& state)
{
    ObjectContext* ctx = workContext(state);
    if (!ctx)
        return;
    const std::vector<Record*>& tasks = folder(*ctx, Folder::Largest)->tasks();
    size_t i = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto* t = static_cast<Task*>(tasks[i++ % tasks.size()]);
        t->setPriority(t->priority() % 5 + 1);
        state.ResumeTiming();
        if (Status s = ctx->save(); !s.isOk()) {
            state.SkipWithError(qPrintable(s.toString()));
            break;
        }
    }
}
BENCHMARK(BM_SaveOneChange)->Unit(benchmark::kMillisecond)->MinTime(1.0);

int runPeakMemory(const char* path)
{
    // The model is built before the first figure, so "before open" covers the libraries and the model.
    auto model = managedObjectModel();
    const double before = residentMB();
    QElapsedTimer timer;
    timer.start();
    const double cpuBefore = processCpuMs();
    ObjectContext ctx(model);
    const Status s = ctx.addSqliteStore(QString::fromLocal8Bit(path));
    const qint64 openNs = timer.nsecsElapsed();
    const double openCpuMs = processCpuMs() - cpuBefore;
    if (!s.isOk()) {
        std::fprintf(stderr, "%s: %s\n", path, qPrintable(s.toString()));
        return 1;
    }
    const struct mallinfo2 heap = mallinfo2();
    std::printf("peak_rss_mb=%.1f\nrss_before_open_mb=%.1f\nrss_after_open_mb=%.1f\nheap_in_use_mb=%.1f\n"
                "open_ms=%.1f\nopen_cpu_ms=%.1f\ntasks=%lld\n",
                maxResidentMB(), before, residentMB(), double(heap.uordblks + heap.hblkhd) / (1024.0 * 1024.0),
                double(openNs) / 1e6, openCpuMs, static_cast<long long>(ctx.countForEntity(QStringLiteral("task"))));
    // The figures are out; tearing down a hundred thousand records would only lengthen the run and
    // blur profiles of this mode. The file and its lock are closed properly all the same.
    ctx.removeStore();
    std::fflush(stdout);
    std::_Exit(0);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc >= 2 && std::strcmp(argv[1], "--peak-memory") == 0) {
        if (argc != 3) {
            std::fprintf(stderr, "usage: %s --peak-memory PATH\n", argv[0]);
            return 2;
        }
        return runPeakMemory(argv[2]);
    }
    const int status = runBenchmarkMain(argc, argv, g_taskCount);
    g_fixture.reset(); // closes the work store before its folder goes
    return status;
}
