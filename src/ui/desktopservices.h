#pragma once

#include "app/applicationservices.h"

#include <QList>
#include <QObject>

#include <functional>
#include <memory>

class DesktopApplication;
class GlobalHotKeys;
struct HotKey;
class DesktopNotifier;
class LauncherBadge;
class TrayIcon;
class CalendarSyncRunner;

// The desktop session's services for the running program: global hot keys, the tray and its menus, the
// launcher badge and the notifications. Each piece is chosen once, by what the session offers, and the
// program runs on without any of them.
class DesktopServices : public QObject, public ApplicationServices {
    Q_OBJECT
public:
    explicit DesktopServices(QObject* parent = nullptr);
    ~DesktopServices() override;

    // The application the hot keys, the tray and the notification clicks act on; set before it starts.
    // Its preferences are the ones the cloud-disk copy reads and writes.
    void attach(DesktopApplication& application);
    // The preferences of a program without the application object (tests).
    void usePreferences(Preferences& preferences) { m_preferences = &preferences; }

    // Ids 1 capture, 2 quick add, 3 quick type-in; each replaces what the last call registered.
    void registerHotKeys(const Preferences& preferences) override;
    // The hot keys the preferences ask for, by id; a key code of 0 or less, or one without a key, is left
    // out.
    static QList<HotKey> hotKeysFromPreferences(const Preferences& preferences);
    // The tray item shown or taken away by "showStatusBarItem": turned off and on again it is a new one.
    void buildStatusMenus() override;
    // The launcher's count and the tray icon's number, both following "showBadge".
    void updateBadge(int inboxCount) override;
    void resetBadge() override;
    bool hidesIntoTray() const override;
    void postNotification(const DesktopNotification& notification) override;
    // "Vyro.sql.startup.bkp" beside the data file.
    void backupAtStartup(const QString& dataFilePath) override;
    // The cloud-disk copy with the account of the program's preferences, waiting for it to end, with a
    // progress panel when it takes a while. Failures go to the cloud-disk report: an alert unless
    // replaced (tests answer it themselves); a cancel is only logged.
    void downloadDataFromCloudDisk(const QString& dataFilePath) override;
    void uploadDataToCloudDisk(const QString& dataFilePath) override;
    using CloudDiskReport = std::function<void(const QString& title, const QString& message)>;
    void setCloudDiskReport(CloudDiskReport report) { m_cloudDiskReport = std::move(report); }

    // The calendar sync, with the window's status line and alert.
    void doSync() override;
    void doiSync() override;
    void waitForSync() override;
    QString forgetCalendarServer() override;

    TrayIcon* trayIcon() const { return m_tray.get(); }

private:
    void hotKeyPressed(int id);
    CalendarSyncRunner* calendarSync();
    void transferWithCloudDisk(bool upload, const QString& dataFilePath);

    DesktopApplication* m_application = nullptr;
    Preferences* m_preferences = nullptr;
    // Chosen at the first registration, when the application object exists.
    std::unique_ptr<GlobalHotKeys> m_hotKeys;
    std::unique_ptr<DesktopNotifier> m_notifier;
    std::unique_ptr<LauncherBadge> m_badge;
    std::unique_ptr<TrayIcon> m_tray;
    int m_count = 0;
    bool m_noTrayLogged = false;
    CloudDiskReport m_cloudDiskReport;
    CalendarSyncRunner* m_sync = nullptr; // made at the first use, when the store is open
};
