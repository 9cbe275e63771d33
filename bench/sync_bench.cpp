// The calendar sync against a Radicale of its own on loopback: the first sync of 5,000 tasks in 50
// synchronizable contexts (every calendar made, every task written), a sync with nothing changed on
// either side, and a sync after 10 tasks changed here. Needs radicale; exits 77 with a note without it.
// --tasks=N changes the number of tasks (the contexts stay 50).
//
// Radicale keeps its files in /dev/shm when there is one: on disk each of its writes waits for several
// fsyncs (9 to 19 ms a PUT on the machine these figures come from, whatever the client), which would
// measure the disk rather than the sync.
//
//   vyro_sync_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/synccontroller.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/task.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "support/radicaleserver.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>

namespace {

int g_taskCount = 5000;
constexpr int kContexts = 50;

// A server, a data file with the tasks, and the preferences that point the one at the other.
QString serverFolder()
{
    return QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm") : QDir::tempPath();
}

struct Setup {
    RadicaleServer server{serverFolder()};
    QTemporaryDir dir;
    std::unique_ptr<ObjectContext> store;
    std::unique_ptr<Preferences> preferences;
    std::vector<Task*> tasks;

    Setup()
    {
        if (!server.start()) {
            std::fprintf(stderr, "%s\n", qPrintable(server.error()));
            std::exit(RadicaleServer::isInstalled() ? 1 : 77);
        }
        store = std::make_unique<ObjectContext>(managedObjectModel());
        if (Status s = store->addSqliteStore(dir.filePath(QStringLiteral("Vyro.sql"))); !s.isOk()) {
            std::fprintf(stderr, "%s\n", qPrintable(s.toString()));
            std::exit(1);
        }
        std::vector<Context*> contexts;
        for (int i = 0; i < kContexts; ++i) {
            auto* context = store->insertNewObject<Context>(QStringLiteral("context"));
            context->setName(QStringLiteral("Context %1").arg(i + 1));
            context->setSynchronizable(true);
            contexts.push_back(context);
        }
        for (int i = 0; i < g_taskCount; ++i) {
            auto* task = store->insertNewObject<Task>(QStringLiteral("task"));
            task->setName(QStringLiteral("Task number %1 with a name of ordinary length").arg(i + 1));
            task->setContent(i % 3 == 0 ? QStringLiteral("A note of a line or two, as many tasks have.") : QString());
            task->setPriority(i % 4);
            if (i % 2 == 0)
                task->setDueDate(QDateTime(QDate(2026, 12, 1).addDays(i % 60), QTime(0, 0)));
            contexts[size_t(i % kContexts)]->addTasksObject(task);
            tasks.push_back(task);
        }
        static_cast<void>(store->save());
        preferences = std::make_unique<Preferences>(dir.filePath(QStringLiteral("prefs.ini")));
        preferences->setString(PreferenceKey::calendarServer, server.url().toString());
        preferences->setString(PreferenceKey::calendarUser, QStringLiteral("alice"));
        qputenv(calendarPasswordVariable.data(), "secret");
    }

    void sync(benchmark::State& state)
    {
        SyncController controller(*store, *preferences, dir.filePath(QStringLiteral("Vyro.sql")));
        QEventLoop loop;
        SyncController::Outcome outcome = SyncController::Outcome::Failed;
        QString message;
        QObject::connect(&controller, &SyncController::finished, &loop, [&](SyncController::Outcome o, const QString& m) {
            outcome = o;
            message = m;
            loop.quit();
        });
        controller.doSync();
        if (controller.isRunning())
            loop.exec();
        if (outcome != SyncController::Outcome::Synced)
            state.SkipWithError(qPrintable(QStringLiteral("the sync failed: ") + message));
        state.counters["written"] = controller.counts().written;
    }
};

void BM_FirstSync(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto setup = std::make_unique<Setup>();
        state.ResumeTiming();
        setup->sync(state);
        state.PauseTiming();
        setup.reset(); // the server's shutdown is not the sync's
        state.ResumeTiming();
    }
}

void BM_SyncWithNothingChanged(benchmark::State& state)
{
    Setup setup;
    setup.sync(state);
    for (auto _ : state)
        setup.sync(state);
}

void BM_SyncAfterTenChanges(benchmark::State& state)
{
    Setup setup;
    setup.sync(state);
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        ++round;
        for (int i = 0; i < 10; ++i) {
            Task* task = setup.tasks[size_t((i * 487 + round) % int(setup.tasks.size()))];
            task->setName(task->name() + QStringLiteral(" (changed)"));
        }
        static_cast<void>(setup.store->save());
        state.ResumeTiming();
        setup.sync(state);
    }
}

BENCHMARK(BM_FirstSync)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_SyncWithNothingChanged)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_SyncAfterTenChanges)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    setLogSink(std::fopen("/dev/null", "w"));
    return runBenchmarkMain(argc, argv, g_taskCount);
}
