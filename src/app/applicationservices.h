#pragma once

#include <QString>

class Preferences;
struct DesktopNotification;

// The steps of start-up, activation and quit that belong to the desktop session and to the exchange
// with other machines: global hot keys, the status menu and badge, the cloud-disk copy, the backups and
// the calendar sync. The application drives them in its fixed order; each has a do-nothing default
// here, so a session without the service (or a program that does not have it yet) runs the same
// sequence.
class ApplicationServices {
public:
    virtual ~ApplicationServices() = default;

    // The three global hot keys from their preferences (0 or less: none). Called again when they change.
    virtual void registerHotKeys(const Preferences&) {}
    virtual void buildStatusMenus() {}
    virtual void updateBadge(int /*inboxCount*/) {}
    virtual void resetBadge() {}
    // Whether hiding the program can hide its windows into a tray item the user sees (else it minimises).
    virtual bool hidesIntoTray() const { return false; }
    // A notice for the desktop's notification service; the window's status line shows it as well.
    virtual void postNotification(const DesktopNotification&) {}
    // Before the data file is opened, when the cloud-disk copy is on.
    virtual void downloadDataFromCloudDisk(const QString& /*dataFilePath*/) {}
    // After the store opened.
    virtual void backupAtStartup(const QString& /*dataFilePath*/) {}
    // At quit, after the last save, when the cloud-disk copy is on and the first download happened.
    virtual void uploadDataToCloudDisk(const QString& /*dataFilePath*/) {}
    // The calendar sync runs from the event loop; waitForSync lets it (and the after-sync command) end
    // first, as quitting must.
    virtual void doSync() {}
    virtual void doiSync() {}
    virtual void waitForSync() {}
    // Forgets the calendar sync's state; answers the message for the user.
    virtual QString forgetCalendarServer() { return {}; }
};
