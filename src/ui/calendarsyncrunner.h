#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class DesktopApplication;
class QMessageBox;
class SyncController;

// The window's side of the calendar sync: starts it from the toolbar, the background and quit, shows
// its progress in the status line and busy indicator, and its message in the "Syncing status" alert.
class CalendarSyncRunner : public QObject {
    Q_OBJECT
public:
    explicit CalendarSyncRunner(DesktopApplication& application, QObject* parent = nullptr);
    ~CalendarSyncRunner() override;

    void sync();
    // After the running sync when there is one, else now; nothing when the sync runs it by itself.
    void afterSync();
    // Runs the event loop (the window keeps painting) until the sync and the after-sync command ended,
    // and the sync's alert, when one is up, was closed: for quitting.
    void waitUntilIdle();
    // Forgets the state of the sync with the server, after the running sync; the message for the user.
    QString forget();

    // Where the message goes instead of an alert (tests).
    using Report = std::function<void(const QString& title, const QString& message)>;
    void setReport(Report report) { m_report = std::move(report); }

private:
    void finished(const QString& message);

    DesktopApplication& m_application;
    SyncController* m_controller;
    Report m_report;
    QPointer<QMessageBox> m_alert;
    bool m_afterSyncPending = false;
};
