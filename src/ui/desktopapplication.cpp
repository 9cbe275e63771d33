#include "ui/desktopapplication.h"

#include "app/applicationservices.h"
#include "app/autosavetimercontroller.h"
#include "app/coredataappdelegate.h"
#include "app/debuglog.h"
#include "app/hideapplicationtimercontroller.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "capture/inboxservices.h"
#include "capture/quicksilverobserver.h"
#include "capture/urlcontrollers.h"
#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/taskremindercontroller.h"
#include "model/context.h"
#include "model/modelenvironment.h"
#include "platform/applicationbus.h"
#include "model/task.h"
#include "platform/displaycheck.h"
#include "platform/instanceclient.h"
#include "ui/desktopbushandler.h"
#include "ui/desktopservices.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "ui/dialogs.h"
#include "ui/firstpaint.h"
#include "ui/foldertreeview.h"
#include "ui/icons.h"
#include "ui/mainwindow.h"
#include "ui/mainwindowcontroller.h"
#include "ui/preferenceswindow.h"
#include "ui/quickaddwindow.h"
#include "ui/quicktypeinwindow.h"
#include "ui/tasktableview.h"
#include "ui/versioncheckalerts.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>

#include <chrono>

#include <cstdio>

DesktopApplication::DesktopApplication(DataFolderOverride dataFolder, ApplicationServices* services, Dialogs* dialogs,
                                       std::unique_ptr<Preferences> preferences)
    : m_dataFolder(std::move(dataFolder)), m_preferences(std::move(preferences))
{
    if (!services)
        m_ownServices = std::make_unique<ApplicationServices>();
    if (!dialogs)
        m_ownDialogs = std::make_unique<Dialogs>();
    m_services = services ? services : m_ownServices.get();
    m_dialogs = dialogs ? dialogs : m_ownDialogs.get();
    if (!m_preferences)
        m_preferences = std::make_unique<Preferences>();
    m_hideTimer = std::make_unique<HideApplicationTimerController>(*m_preferences, [this] { hideApplication(); });
    m_autoSaveTimer = std::make_unique<AutoSaveTimerController>(*m_preferences, [this] { saveAction(); });
}

DesktopApplication::~DesktopApplication()
{
    // The window and the reminders observe the store the delegate owns.
    m_reminders.reset();
    delete m_preferencesWindow;
    m_quickAdd.reset();
    m_quickTypeIn.reset();
    m_window.reset();
}

bool DesktopApplication::applicationDidFinishLaunching()
{
    logLine(QStringLiteral("=========================="));
    logLine(QStringLiteral("Vyro started. Version:"));
    logLine(CoreData_AppDelegate::versionStringForBundle());

    registerDefaults(*m_preferences);
    m_preferences->sync();
    m_services->registerHotKeys(*m_preferences);
    m_services->buildStatusMenus();

    m_delegate = std::make_unique<CoreData_AppDelegate>(*m_preferences, m_dataFolder);
    if (m_preferences->boolForKey("dotMac14SyncingEnabled"))
        m_services->downloadDataFromCloudDisk(m_delegate->currentDataFilePath());
    if (Status opened = m_delegate->loadPersistentStoreCoordinator(); !opened.isOk()) {
        logLine(opened.message());
        m_dialogs->warn(nullptr, QStringLiteral("Vyro"), opened.message());
        return false;
    }
    ObjectContext& store = m_delegate->managedObjectContext();
    m_services->backupAtStartup(m_delegate->currentDataFilePath());

    // The window and its lists: the toolbar, the last used view.
    m_window = std::make_unique<MainWindowController>(*m_delegate, *m_preferences, *m_services, *m_dialogs);
    m_window->setQuitHandler([this] { quit(); });
    // With a tray to come back from, closing the window only hides the program, which goes on working.
    m_window->setCloseHandler([this] {
        if (m_services->hidesIntoTray())
            hideApplication();
        else
            quit();
    });
    m_window->setSaveHandler([this] { saveAction(); });
    m_window->setPreferencesHandler([this](bool quickTags) { showPreferences(quickTags); });
    m_window->setQuickEntryHandlers([this] { showQuickAddWindow(); }, [this] { showQuickTypeInWindow(); });
    TabViewController& views = m_window->views();
    connect(&ModelEnvironment::of(store), &ModelEnvironment::inboxCountHasChanged, this, &DesktopApplication::updateBadge);

    views.projectController().repairOldProjects();
    m_delegate->prepareStoreForWork(); // the Inbox, "All tasks", no next-action folder, the clean-up pass
    updateBadge();

    m_window->restoreWindowState();
    m_window->restoreSelectedObjects();
    m_window->selectLastUsedTab();
    for (const QString& message : m_delegate->repairMessages())
        m_dialogs->warn(&m_window->window(), QStringLiteral("Vyro"), message);
    m_window->bringAppToFront();
    m_window->focusTaskTable();

    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (m_quitting)
            return;
        if (state == Qt::ApplicationActive)
            applicationDidBecomeActive();
        else if (state == Qt::ApplicationInactive)
            applicationDidResignActive();
    });
    m_autoSaveTimer->activateTimer();
    m_reminders = std::make_unique<TaskReminderController>(store, *m_preferences, [this](const DesktopNotification& notice) {
        if (m_window)
            m_window->postNotification(notice);
    });
    m_reminders->start();
    // The other views' lists are arranged once the window is on screen, so switching is immediate.
    afterFirstPaint(this, [this] {
        if (m_window)
            m_window->attachAllTables();
    });
    // In the background: the question, if any, comes when the answer arrives.
    if (m_preferences->boolForKey(PreferenceKey::checkVersionOnStartup))
        m_window->versionCheck().checkQuietly();
    if (qEnvironmentVariableIsSet("VYRO_REPORT_FIRST_PAINT"))
        reportFirstPaint();
    return true;
}

// A measuring aid for the start-up benchmark: once the window's first repaint is through, the wall-clock
// time goes to standard output and the program quits as the user would.
void DesktopApplication::reportFirstPaint()
{
    afterFirstPaint(this, [this] {
        const qint64 ns = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
        std::printf("first-paint-ns %lld\n", static_cast<long long>(ns));
        std::fflush(stdout);
        quit();
    });
}

void DesktopApplication::applicationDidBecomeActive()
{
    if (m_preferences->boolForKey("hideApplicationIfWindowNotActive"))
        m_hideTimer->stopTimer();
}

void DesktopApplication::applicationDidResignActive()
{
    if (!m_window)
        return;
    TabViewController& views = m_window->views();
    if (m_preferences->boolForKey("cleanUpWhenWindowLostsFocus"))
        views.performCleanUpAction();
    if (m_preferences->boolForKey("autoSaveWhenWindowLostsFocus"))
        saveAction();
    if (m_preferences->boolForKey("syncWhenWindowLostsFocus")) {
        m_services->doSync();
        if (m_preferences->boolForKey("iSyncWhenWindowLostsFocus") || m_preferences->boolForKey("iSyncWhenSyncing"))
            m_services->doiSync();
    }
    if (m_preferences->boolForKey("hideApplicationIfWindowNotActive"))
        m_hideTimer->activateTimer();
}

bool DesktopApplication::applicationShouldTerminate()
{
    if (!m_window)
        return true;
    if (m_preferences->boolForKey("syncWhenQuittingApp")) {
        m_services->doSync();
        if (m_preferences->boolForKey("iSyncWhenQuittingApp") || m_preferences->boolForKey("iSyncWhenSyncing"))
            m_services->doiSync();
    }
    m_services->waitForSync(); // also one started before, which must not be cut off
    m_window->saveWindowState();
    m_window->saveLastUsedTab();
    m_window->saveSelectedObjects();
    m_preferences->sync();
    m_services->resetBadge();

    if (!m_window->commitEditing())
        return false;
    ObjectContext& store = m_delegate->managedObjectContext();
    if (store.hasChanges()) {
        if (Status saved = m_delegate->saveAction(); !saved.isOk()) {
            logLine(QStringLiteral("Could not save at quit: %1").arg(saved.message()));
            m_dialogs->warn(&m_window->window(), QStringLiteral("Vyro"), saved.message());
            if (!m_dialogs->confirm(&m_window->window(), QStringLiteral("Vyro"),
                                    QStringLiteral("Could not save changes while quitting. Quit anyway?"),
                                    QStringLiteral("Quit anyway"), QStringLiteral("Cancel")))
                return false;
        }
    }
    if (m_preferences->boolForKey("dotMac14SyncingEnabled") && !m_preferences->boolForKey("dotMacWaitingForFirstSync"))
        m_services->uploadDataToCloudDisk(m_delegate->currentDataFilePath());
    return true;
}

void DesktopApplication::quit()
{
    if (m_quitting || !applicationShouldTerminate())
        return;
    m_quitting = true;
    m_hideTimer->stopTimer();
    m_autoSaveTimer->stopTimer();
    if (m_window)
        m_window->window().hide();
    QCoreApplication::quit();
}

void DesktopApplication::saveAction()
{
    if (!m_delegate || !m_delegate->hasStore())
        return;
    if (Status saved = m_delegate->saveAction(); !saved.isOk())
        logLine(QStringLiteral("Could not save: %1").arg(saved.message()));
}

void DesktopApplication::reopen()
{
    if (m_window)
        m_window->bringAppToFront();
}

void DesktopApplication::showQuickAddWindow()
{
    if (!m_window)
        return;
    if (!m_quickAdd)
        m_quickAdd = std::make_unique<QuickAddWindow>(m_window->views(), *m_preferences, m_delegate->managedObjectContext(),
                                                      &m_window->window());
    m_quickAdd->toggle();
}

void DesktopApplication::showQuickTypeInWindow()
{
    if (!m_window)
        return;
    if (!m_quickTypeIn)
        m_quickTypeIn = std::make_unique<QuickTypeInWindow>(m_window->views(), *m_preferences, m_delegate->managedObjectContext(),
                                                            &m_window->window());
    m_quickTypeIn->toggle();
}

void DesktopApplication::addAppContentToVyro()
{
    // The capture scripts that ask the front application for its item are not part of this program yet;
    // the hot key and the command are in place for them and say so in the log.
    logLine(QStringLiteral("Capture from the front application: no capture scripts are installed"));
}

void DesktopApplication::getUrl(const QString& url)
{
    if (m_window)
        handleGetURL(m_window->views(), url);
}

void DesktopApplication::openFile(const QString& path)
{
    if (m_window)
        ::openFile(m_window->views().contextTasks(), path);
}

Task* DesktopApplication::newInboxTask(const QVariantMap& userInfo)
{
    if (!m_window)
        return nullptr;
    return QuickSilverObserver(m_window->views().contextTasks(), *m_preferences).observerNotification(userInfo);
}

void DesktopApplication::putServiceStringToVyroInbox(const QString& text)
{
    if (m_window)
        ::putServiceStringToVyroInbox(m_window->views().contextTasks(), text);
}

void DesktopApplication::openVyroLinkAndSwitchToItem(const QString& text)
{
    if (m_window)
        ::openVyroLinkAndSwitchToItem(m_window->views(), text);
}

void DesktopApplication::notificationWasClicked(const QString& clickContext)
{
    if (!m_window || clickContext.isEmpty())
        return;
    m_window->bringAppToFront();
    Record* record = m_delegate->managedObjectContext().objectWithURI(clickContext);
    if (!record || record->isDeleted() || record->entity().name() != QLatin1String("task"))
        return;
    auto* task = static_cast<Task*>(record);
    if (!task->parentContext())
        return;
    m_window->views().contextController().switchToGivenContext(task->parentContext(), task, true);
    if (FolderTreeView* tree = m_window->folderPane(TaskView::Contexts))
        tree->showListSelection();
    m_window->table(TaskView::Contexts).showListSelection();
}

void DesktopApplication::updateBadge()
{
    Context* inbox = m_window ? m_window->views().contextController().inboxContext() : nullptr;
    m_services->updateBadge(inbox ? int(inbox->pendingTasksCount()) : 0);
}

void DesktopApplication::hideApplication()
{
    if (!m_window)
        return;
    // Without a tray to come back from, a hidden window could not be found again: it is minimised.
    if (m_services->hidesIntoTray()) {
        for (QWidget* window : QApplication::topLevelWidgets())
            if (window->isVisible() && window->isWindow())
                window->hide();
    } else {
        m_window->window().showMinimized();
    }
}

void DesktopApplication::showPreferences(bool quickTags)
{
    if (!m_preferencesWindow) {
        PreferencesWindowServices services;
        services.saveStore = [this] {
            saveAction();
            return !m_delegate->managedObjectContext().hasChanges();
        };
        services.currentDataFilePath = [this] { return m_delegate->currentDataFilePath(); };
        services.rebuildStatusMenu = [this] { m_services->buildStatusMenus(); };
        services.rebuildQuickTagsMenu = [this] { m_window->rebuildQuickTagsMenu(); };
        services.updateBadge = [this] { updateBadge(); };
        services.forgetCalendarServer = [this] { return m_services->forgetCalendarServer(); };
        services.askQuestion = [this](const QString& title, const QString& text, const QString& yes, const QString& no) {
            return m_dialogs->confirm(&m_window->window(), title, text, yes, no);
        };
        m_preferencesWindow = new PreferencesWindow(*m_preferences, services, &m_window->window());
        connect(m_preferencesWindow, &PreferencesWindow::preferenceChanged, this, [this](const QString& key) {
            if (key.endsWith(QLatin1String("KeyboardShortcut")))
                m_services->registerHotKeys(*m_preferences);
            if (key == QLatin1String("showStatusBarItem"))
                m_services->buildStatusMenus();
            if (key == QLatin1String("showBadge"))
                updateBadge();
            if (key == QLatin1String("reminderHourForDueDates") && m_reminders)
                m_reminders->reschedule();
            if (key == QLatin1String("autoSave") || key == QLatin1String("autoSaveAfterMinutes")) {
                m_autoSaveTimer->stopTimer();
                m_autoSaveTimer->activateTimer();
            }
        });
    }
    if (quickTags)
        m_preferencesWindow->customizeQuickTags();
    else
        m_preferencesWindow->showPreferences();
}

int runDesktopApplication(int argc, char** argv, DataFolderOverride dataFolder, const QStringList& uris)
{
    if (const QString message = missingDisplayMessage(); !message.isEmpty()) {
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
        return 1;
    }
    // From here on every log line, and whatever a library prints, goes to the debug log.
    redirectStandardErrorToDebugLog(debugLogFilePath());
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vyro"));
    QApplication::setOrganizationDomain(QStringLiteral("quendar.com"));
    QApplication::setApplicationVersion(CoreData_AppDelegate::versionStringForBundle());
    QApplication::setDesktopFileName(QStringLiteral("com.quendar.Vyro"));
    QApplication::setQuitOnLastWindowClosed(false);
    chooseIconTheme();
    QApplication::setWindowIcon(vyroIcon(QStringLiteral("vyro")));

    DesktopServices services;
    DesktopApplication vyro(std::move(dataFolder), &services);
    services.attach(vyro);
    // One instance per session: the name is claimed before the data is opened, so a second start hands
    // its request over without touching the data file. Requests that come in while the data is being
    // opened wait for the event loop.
    DesktopBusHandler handler(vyro);
    ApplicationBus bus(handler);
    switch (bus.claim()) {
    case ApplicationBus::Claim::Claimed:
        break;
    case ApplicationBus::Claim::Taken: {
        InstanceClient running;
        const bool handed = uris.isEmpty() ? running.activate() : running.open(uris);
        if (handed)
            return 0;
        logLine(QStringLiteral("Another Vyro owns the session bus name but did not answer: %1").arg(running.errorString()));
        std::fprintf(stderr, "vyro: another Vyro is running but does not answer: %s\n", running.errorString().toLocal8Bit().constData());
        return 1;
    }
    case ApplicationBus::Claim::NoBus:
        // Without a session bus the program runs alone: nothing can reach it, nothing else is there.
        logLine(QStringLiteral("No session bus; other processes cannot reach this Vyro: %1").arg(bus.errorString()));
        break;
    }
    if (!vyro.applicationDidFinishLaunching())
        return 1;
    if (!uris.isEmpty())
        handler.open(uris);
    return QApplication::exec();
}
