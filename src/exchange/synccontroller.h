#pragma once

#include "exchange/caldavclient.h"
#include "exchange/calendarsyncmerge.h"
#include "exchange/keyringpassword.h"
#include "exchange/syncstate.h"

#include <QLatin1StringView>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

class ObjectContext;
class Preferences;
class QProcess;

// The calendar server's account: an address and a user name from the preferences (or the command
// line); the password from the keyring, or VYRO_CALDAV_PASSWORD for scripts and tests.
struct CalendarAccount {
    QString server;
    QString user;
};
inline constexpr QLatin1StringView calendarPasswordVariable{"VYRO_CALDAV_PASSWORD"};
CalendarAccount calendarAccountFrom(const Preferences& preferences);
KeyringEntry calendarKeyringEntry(const CalendarAccount& account);

// Texts of the sync that the user sees.
namespace SyncText {
inline constexpr QLatin1StringView title{"Syncing status"};
inline constexpr QLatin1StringView button{"OK"};
inline constexpr QLatin1StringView disabled{"The calendar server is not set up. Failed to synchronize!"};
inline constexpr QLatin1StringView registrationFailed{"Failed to synchronize. Registration of the calendar server client failed."};
inline constexpr QLatin1StringView failed{"Syncing failed."};
inline constexpr QLatin1StringView forgetTitle{"Calendar server"};
inline constexpr QLatin1StringView forgotten{"Vyro unregistered successfuly.\nPlease remove all old entries from the calendar server before syncing again.\nOtherwise some duplicates of your Vyro entries may be created."};
inline constexpr QLatin1StringView notRegistered{"Vyro was not registered in the calendar server."};
inline constexpr QLatin1StringView startingSession{"Starting session..."};
inline constexpr QLatin1StringView sending{"Sending changes..."};
inline constexpr QLatin1StringView afterSyncFinished{"After-sync command finished."};
} // namespace SyncText

// One whole exchange of the synchronizable contexts and their tasks with the calendar server. The
// network work runs from the event loop and never blocks it; the store changes are made on the main
// thread in one step of undo ("Sync"), between reading the server and writing to it:
//   1. back up the data file; read the account and the state of the last sync;
//   2. find the calendar home (once per server), list its calendars, and read what changed in each
//      since the last sync (by collection tag and sync token, else by ETag);
//   3. merge (CalendarSyncMerge): the server's changes into the store, the store's into writes;
//   4. write, each resource with If-Match on the version merged; a resource changed on the server
//      in the meantime (412) is read and merged once more, in another pass;
//   5. save the store and the state, then run the after-sync command when asked to.
// A failure before step 3 changes nothing; after it, what was written and merged is kept and the
// rest is left for the next sync, which finishes the work.
class SyncController : public QObject
{
    Q_OBJECT
public:
    enum class Outcome { Synced, Failed };

    SyncController(ObjectContext& context, Preferences& preferences, QString dataFilePath, QObject* parent = nullptr);
    ~SyncController() override;

    // The account to use instead of the preferences' (the command line's options; not kept).
    void setAccount(const CalendarAccount& account) { m_accountOverride = account; }
    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }
    bool isRunning() const { return m_running; }
    // True from doiSync() until its `afterSyncFinished`.
    bool isAfterSyncRunning() const;

    // Starts a sync; `finished` follows. A sync asked for while one runs is logged and dropped.
    void doSync();
    // Forgets the stored state of the sync with the server (its calendars and tasks stay on both
    // sides) and the password in the keyring. Answers the message for the user.
    QString unregisterSyncClient();
    // Runs the after-sync command ("afterSyncCommand": a program and its arguments, never through a
    // shell) with a time limit, and logs its outcome.
    void doiSync();

    // What the last sync did, for the command line.
    struct Counts {
        int pulled = 0;
        int written = 0;
        int failedWrites = 0;
        int conflicts = 0;
    };
    const Counts& counts() const { return m_counts; }

Q_SIGNALS:
    void statusLineChanged(const QString& line);
    void busyChanged(bool busy);
    // `message` is for the "Syncing status" alert; empty when there is nothing to tell.
    void finished(SyncController::Outcome outcome, const QString& message);
    void afterSyncFinished();

private:
    struct Pass;
    void log(const QString& line) const;
    void start(const QString& password);
    void discover();
    void readServer();
    // `uids`: what the state knows of the collection's resources, href -> UID.
    void readCollection(const CalDavCollection& collection, const QHash<QString, QString>& uids);
    void collectionRead();
    void merge();
    void write();
    void writeStage();
    void written(const SyncWrite& write, const WebDavOutcome& outcome, const QString& etag);
    void refreshTokens();
    // Whether a listing holds nothing but the versions the state knows (the ones just written among
    // them): then its tag and token may be kept. Takes the ETags of writes answered without one.
    bool onlyKnownVersions(const QString& collection, const CalDavChanges& changes);
    void commit();
    void fail(const QString& name, const QString& reason);
    void end(Outcome outcome);

    ObjectContext& m_context;
    Preferences& m_preferences;
    QString m_dataFilePath;
    std::optional<CalendarAccount> m_accountOverride;
    int m_timeoutMs = 30000;
    bool m_running = false;
    CalendarAccount m_account;
    SyncState m_state;
    QPointer<CalDavClient> m_client;
    std::unique_ptr<Pass> m_pass;
    int m_passes = 0;
    bool m_rediscovered = false;
    QString m_message;
    QStringList m_problems;
    Counts m_counts;
    QPointer<QProcess> m_afterSync;
};
