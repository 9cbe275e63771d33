#pragma once

#include "app/datafilepaths.h"

#include <QObject>
#include <QVariantMap>

#include <functional>
#include <memory>

class ApplicationServices;
class AutoSaveTimerController;
class CoreData_AppDelegate;
class Dialogs;
class HideApplicationTimerController;
class MainWindowController;
class Preferences;
class PreferencesWindow;
class QuickAddWindow;
class QuickTypeInWindow;
class Task;
class TaskReminderController;

// The running desktop program: the start-up sequence in its fixed order, the activation rules, the two
// timers and the quit sequence. It owns the preferences, the data and the main window for the run.
class DesktopApplication : public QObject {
    Q_OBJECT
public:
    // `services` and `dialogs` must outlive the object; nullptr takes the do-nothing services and the
    // message boxes.
    DesktopApplication(DataFolderOverride dataFolder, ApplicationServices* services = nullptr, Dialogs* dialogs = nullptr,
                       std::unique_ptr<Preferences> preferences = nullptr);
    ~DesktopApplication() override;

    // The start-up steps up to the window on show. False when the data cannot be opened: the reason has
    // been shown and logged, and the program ends.
    bool applicationDidFinishLaunching();

    void applicationDidBecomeActive();
    void applicationDidResignActive();
    // The quit sequence; false when it was cancelled (the program goes on, the changes stay pending).
    bool applicationShouldTerminate();
    // Runs the quit sequence and, when it goes ahead, ends the event loop.
    void quit();

    // Saves the store; a failure is logged and otherwise ignored (menu save, focus loss, auto-save).
    void saveAction();

    // The ways in from the desktop session (the bus, hot keys, tray, notifications, a second start).
    // Each does nothing before the window is up.
    // Reopen: the main window to the front, taking the keyboard.
    void reopen();
    // The hot-key commands; each entry window's command is a toggle.
    void showQuickAddWindow();
    void showQuickTypeInWindow();
    void addAppContentToVyro();
    // A link handed to the program (the get-URL event) and a file handed to it.
    void getUrl(const QString& url);
    void openFile(const QString& path);
    // The cross-process request for a new Inbox task; saves. nullptr when it made no task.
    Task* newInboxTask(const QVariantMap& userInfo);
    // The two services: selected text into the Inbox, a task link opened.
    void putServiceStringToVyroInbox(const QString& text);
    void openVyroLinkAndSwitchToItem(const QString& text);
    // A click on one of our notifications, with the notification's click context (a task's URI or empty).
    void notificationWasClicked(const QString& clickContext);

    // Hides the windows into the tray when the session shows one, else minimises the main window.
    void hideApplication();

    MainWindowController* mainWindowController() const { return m_window.get(); }
    // The entry windows once shown; nullptr before.
    QuickAddWindow* quickAddWindow() const { return m_quickAdd.get(); }
    QuickTypeInWindow* quickTypeInWindow() const { return m_quickTypeIn.get(); }
    TaskReminderController* reminders() const { return m_reminders.get(); }
    CoreData_AppDelegate& appDelegate() const { return *m_delegate; }
    Preferences& preferences() const { return *m_preferences; }
    HideApplicationTimerController& hideTimer() const { return *m_hideTimer; }
    AutoSaveTimerController& autoSaveTimer() const { return *m_autoSaveTimer; }

private:
    void showPreferences(bool quickTags);
    // The Inbox's open tasks to the badge.
    void updateBadge();
    void reportFirstPaint();

    DataFolderOverride m_dataFolder;
    std::unique_ptr<ApplicationServices> m_ownServices;
    std::unique_ptr<Dialogs> m_ownDialogs;
    ApplicationServices* m_services;
    Dialogs* m_dialogs;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<CoreData_AppDelegate> m_delegate;
    std::unique_ptr<MainWindowController> m_window;
    std::unique_ptr<HideApplicationTimerController> m_hideTimer;
    std::unique_ptr<AutoSaveTimerController> m_autoSaveTimer;
    std::unique_ptr<TaskReminderController> m_reminders;
    PreferencesWindow* m_preferencesWindow = nullptr;
    std::unique_ptr<QuickAddWindow> m_quickAdd;
    std::unique_ptr<QuickTypeInWindow> m_quickTypeIn;
    bool m_quitting = false;
};

// `vyro` without a command: checks for a display, makes the application object and runs the program.
// Returns the exit status.
// `uris` (links and "file:" URIs) are opened once the window is up. When another instance holds the
// application's name on the session bus, they are handed to it (or it is brought forward) instead and
// the program ends with 0.
int runDesktopApplication(int argc, char** argv, DataFolderOverride dataFolder, const QStringList& uris = {});
