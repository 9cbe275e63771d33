#pragma once

#include "app/datafilepaths.h"

#include <QObject>

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

    MainWindowController* mainWindowController() const { return m_window.get(); }
    CoreData_AppDelegate& appDelegate() const { return *m_delegate; }
    Preferences& preferences() const { return *m_preferences; }
    HideApplicationTimerController& hideTimer() const { return *m_hideTimer; }
    AutoSaveTimerController& autoSaveTimer() const { return *m_autoSaveTimer; }

private:
    void showPreferences(bool quickTags);
    void hideApplication();
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
    PreferencesWindow* m_preferencesWindow = nullptr;
    bool m_quitting = false;
};

// `vyro` without a command: checks for a display, makes the application object and runs the program.
// Returns the exit status.
int runDesktopApplication(int argc, char** argv, DataFolderOverride dataFolder);
