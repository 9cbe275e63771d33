// Files in and out on a generated data file of 100,000 tasks (--tasks=N for another size): the start-up
// backup (a consistent copy of the whole data file, renamed into place) and the import of 10,000 lines
// into a context and into a project, as the window imports the clipboard, with and without the save
// that follows.
//
//   vyro_exchange_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"
#include "storegenerator.h"

#include "app/backups.h"
#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/importcontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/listhost.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

namespace {

int g_taskCount = 100000;

// One generated data file for the whole run.
const QString& generatedDataFile()
{
    static QTemporaryDir dir;
    static const QString path = [] {
        const QString file = dir.filePath(QStringLiteral("Vyro.sql"));
        GeneratorOptions options;
        options.tasks = g_taskCount;
        if (Status s = generateStore(file, options); !s.isOk()) {
            std::fprintf(stderr, "cannot generate the store: %s\n", qPrintable(s.toString()));
            std::exit(1);
        }
        return file;
    }();
    return path;
}

void BM_StartupBackup(benchmark::State& state)
{
    const QString& data = generatedDataFile();
    std::FILE* devNull = std::fopen("/dev/null", "w");
    setLogSink(devNull);
    for (auto _ : state)
        backupAtStartupAction(data);
    setLogSink(nullptr);
    std::fclose(devNull);
    state.counters["MB"] = double(QFileInfo(data).size()) / (1024.0 * 1024.0);
}
BENCHMARK(BM_StartupBackup)->Unit(benchmark::kMillisecond);

// The program over a copy of the generated file, as the window holds it (undo on).
struct OpenProgram {
    QTemporaryDir dir;
    std::unique_ptr<Preferences> preferences;
    std::unique_ptr<CoreData_AppDelegate> delegate;
    ListHost host;
    std::unique_ptr<TabViewController> views;

    OpenProgram()
    {
        if (!copyDataFile(generatedDataFile(), dir.filePath(QStringLiteral("Vyro.sql"))).isOk())
            std::exit(1);
        preferences = std::make_unique<Preferences>(dir.filePath(QStringLiteral("prefs.ini")));
        registerDefaults(*preferences);
        delegate = std::make_unique<CoreData_AppDelegate>(*preferences, dir.path());
        if (!delegate->loadPersistentStoreCoordinator().isOk())
            std::exit(1);
        delegate->prepareStoreForWork();
        views = std::make_unique<TabViewController>(delegate->managedObjectContext(), *preferences, host);
    }
};

QString lines(int count)
{
    QString text;
    for (int i = 0; i < count; ++i)
        text += QStringLiteral("  Imported task number %1 with a few words  \n").arg(i);
    return text;
}

void importLines(benchmark::State& state, int view, bool withSave)
{
    const QString text = lines(10000);
    for (auto _ : state) {
        state.PauseTiming();
        auto program = std::make_unique<OpenProgram>();
        if (view == 0)
            program->views->contextController().selectRecord(program->views->contextController().inboxContext());
        if (view == 1) {
            const auto projects = program->delegate->managedObjectContext().allObjects(QStringLiteral("project"));
            program->views->projectController().selectRecord(projects.front());
        }
        ImportController importer(*program->views);
        state.ResumeTiming();
        auto made = importer.importTasksFromText(view, text);
        if (withSave && !program->delegate->saveAction().isOk())
            state.SkipWithError("save failed");
        state.PauseTiming();
        if (!made || *made != 10000)
            state.SkipWithError("import failed");
        program.reset();
        state.ResumeTiming();
    }
}

void BM_Import10000LinesIntoContext(benchmark::State& state) { importLines(state, 0, false); }
void BM_Import10000LinesIntoProject(benchmark::State& state) { importLines(state, 1, false); }
void BM_Import10000LinesAndSave(benchmark::State& state) { importLines(state, 0, true); }
BENCHMARK(BM_Import10000LinesIntoContext)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Import10000LinesIntoProject)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Import10000LinesAndSave)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    return runBenchmarkMain(argc, argv, g_taskCount);
}
