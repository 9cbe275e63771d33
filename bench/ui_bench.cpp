// The window on the generated store of 100,000 tasks (--tasks=N for another size), on the offscreen
// platform: switching views, one keystroke in the search field of the to-complete view ("All tasks"),
// marking one task done in that view (about 60,000 rows shown: the store change, the model's update and
// the repaint), scrolling its table by one page, and the peak memory of the process. Each step is timed
// up to the end of the repaint it causes. The time from process start to the first painted window is
// measured on the real program by bench/ui_startup.sh.
//
//   QT_QPA_PLATFORM=offscreen vyro_ui_bench [--tasks=N] [benchmark flags]

#include "benchmain.h"
#include "storegenerator.h"

#include "app/applicationservices.h"
#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/alltasksarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/smartfolder.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "ui/dialogs.h"
#include "ui/maintoolbar.h"
#include "ui/mainwindow.h"
#include "ui/mainwindowcontroller.h"
#include "ui/tasktableview.h"

#include <QApplication>
#include <QFont>
#include <QLineEdit>
#include <QScrollBar>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <memory>

namespace {

int g_taskCount = 100000;

struct Fixture {
    QTemporaryDir dir;
    std::unique_ptr<Preferences> preferences;
    std::unique_ptr<CoreData_AppDelegate> delegate;
    ApplicationServices services;
    Dialogs dialogs;
    std::unique_ptr<MainWindowController> window;
    QString error;
};

std::unique_ptr<Fixture> g_fixture;

// Lets the window process what the step posted, the repaint included.
void settle()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

Fixture* fixture(benchmark::State& state)
{
    if (!g_fixture) {
        g_fixture = std::make_unique<Fixture>();
        Fixture& f = *g_fixture;
        GeneratorOptions options;
        options.tasks = g_taskCount;
        if (Status s = generateStore(f.dir.filePath(QStringLiteral("Vyro.sql")), options); !s.isOk()) {
            f.error = s.toString();
        } else {
            f.preferences = std::make_unique<Preferences>(f.dir.filePath(QStringLiteral("prefs.ini")));
            registerDefaults(*f.preferences);
            f.delegate = std::make_unique<CoreData_AppDelegate>(*f.preferences, f.dir.path());
            if (Status s = f.delegate->loadPersistentStoreCoordinator(); !s.isOk()) {
                f.error = s.toString();
            } else {
                f.delegate->prepareStoreForWork();
                f.window = std::make_unique<MainWindowController>(*f.delegate, *f.preferences, f.services, f.dialogs);
                f.window->restoreWindowState();
                f.window->window().resize(1280, 800);
                f.window->restoreSelectedObjects();
                f.window->selectLastUsedTab();
                f.window->window().show();
                settle();
            }
        }
    }
    if (!g_fixture->error.isEmpty()) {
        state.SkipWithError(qPrintable(g_fixture->error));
        return nullptr;
    }
    return g_fixture.get();
}

// The to-complete view with "All tasks", no search, in the given time mode.
void showAllTasks(Fixture& f)
{
    TabViewController& views = f.window->views();
    f.window->toolbar().searchField()->clear();
    for (SmartFolder* folder : views.smartFolderController().arrangedObjects())
        if (folder->isAllPending())
            views.smartFolderController().setSelectedFolder(folder);
    views.selectAllTasksTab();
    views.allTasks().updatePredicate();
    f.window->table(TaskView::ToComplete).showListSelection();
    settle();
}

void BM_SwitchView(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    TabViewController& views = f->window->views();
    int next = 0;
    for (auto _ : state) {
        views.selectTab(TaskView(next));
        settle();
        next = (next + 1) % kTaskViewCount;
    }
    state.counters["views"] = kTaskViewCount;
}
BENCHMARK(BM_SwitchView)->Unit(benchmark::kMillisecond);

void BM_SearchKeystroke(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    showAllTasks(*f);
    QLineEdit* search = f->window->toolbar().searchField();
    // One key typed, one key taken back: each is one keystroke that filters the list again.
    const QString texts[] = {QStringLiteral("re"), QStringLiteral("r")};
    int i = 0;
    search->setText(texts[1]);
    settle();
    size_t shown = 0;
    for (auto _ : state) {
        search->setText(texts[i++ % 2]);
        settle();
        shown = f->window->views().allTasks().arrangedObjects().size();
    }
    state.counters["shown"] = double(shown);
    search->clear();
    settle();
}
BENCHMARK(BM_SearchKeystroke)->Unit(benchmark::kMillisecond);


void BM_MarkOneTaskDone(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    showAllTasks(*f);
    TasksArrayController& list = f->window->views().allTasks();
    TaskTableView& table = f->window->table(TaskView::ToComplete);
    if (list.arrangedObjects().size() < 20) {
        state.SkipWithError("too few tasks on show");
        return;
    }
    // A row on screen, so that its repaint is part of the step.
    list.selectObject(list.arrangedObjects()[10]);
    table.showListSelection();
    settle();
    for (auto _ : state) {
        list.markAsDone(); // toggles: done, then open again
        settle();
    }
    state.counters["rows"] = double(list.arrangedObjects().size());
}
BENCHMARK(BM_MarkOneTaskDone)->Unit(benchmark::kMillisecond);

void BM_ScrollOnePage(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    showAllTasks(*f);
    QScrollBar* bar = f->window->table(TaskView::ToComplete).verticalScrollBar();
    bar->setValue(bar->maximum() / 2);
    settle();
    int step = 0;
    for (auto _ : state) {
        bar->triggerAction(step++ % 2 ? QAbstractSlider::SliderPageStepSub : QAbstractSlider::SliderPageStepAdd);
        settle();
    }
    state.counters["rows"] = double(f->window->views().allTasks().arrangedObjects().size());
}
BENCHMARK(BM_ScrollOnePage)->Unit(benchmark::kMillisecond);

// Reported once the other steps have run: the most the process ever held.
void BM_PeakMemory(benchmark::State& state)
{
    Fixture* f = fixture(state);
    if (!f)
        return;
    for (auto _ : state)
        settle();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_MB"] = double(usage.ru_maxrss) / 1024.0;
}
BENCHMARK(BM_PeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("TZ")) // as the program itself does
        qputenv("TZ", ":/etc/localtime");
    QApplication app(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    const int status = runBenchmarkMain(argc, argv, g_taskCount);
    g_fixture.reset();
    return status;
}
