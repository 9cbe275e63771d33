#pragma once

#include "exchange/caldavclient.h"
#include "exchange/calendartaskmapping.h"
#include "exchange/syncstate.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

class Context;
class ObjectContext;
class Task;

// One task resource as the server holds it now. `fresh` resources were read in this sync (their body
// and fields are the server's current ones); the others are unchanged since the last sync and carry
// the fields the state remembers.
struct RemoteTask {
    QString href;
    QString etag;
    QString collection;
    QByteArray body;
    CalendarTaskFields fields;
    bool fresh = false;
};

// Everything the sync read from the server before it changes anything.
struct RemoteSnapshot {
    QList<CalDavCollection> collections;    // the calendar collections that hold tasks
    QHash<QString, RemoteTask> tasks;       // by UID, in the collections that are contexts' (or become ones)
    QSet<QString> changedCollections;       // hrefs of collections whose resources were read again
};

// One request that carries a change of the store to the server, with what the state becomes when the
// server took it.
struct SyncWrite {
    enum class Kind { MakeCalendar, RenameCalendar, DeleteCalendar, Put, Delete };
    Kind kind = Kind::Put;
    QString href;
    QString ifMatch;      // Put with none: the resource must be new
    QByteArray body;      // Put
    QString displayName;  // MakeCalendar, RenameCalendar
    QString calendar;     // the context's syncID (calendar writes)
    QString uid;          // Put and Delete: the state entry the write settles (empty: none)
    QString movedUid;     // Delete of a moved task's old resource: only once its new one is written
    SyncedTask next;      // Put: the state entry after it succeeded (its etag from the answer)
};

// The merge at the heart of a sync, on the main thread, between the store, the last sync's state and
// what the server holds now. Each mapped field of a task is compared with its own side's base: a field
// changed on one side only goes to the other; changed on both, the server's value wins and both are
// logged. The rules beyond that:
// - A task deleted here whose resource was not changed on the server is deleted there; one changed
//   there since is brought back here (the change is kept, not the deletion).
// - A resource deleted on the server deletes its task here when the task's context is synchronizable
//   and the task was not changed here since; a task changed here is sent again as a new resource.
//   A task of a context that is not synchronizable is never deleted.
// - A calendar added on the server whose name begins with "@" becomes a context; others are left
//   alone. A calendar deleted on the server is made again for its context (its tasks follow the rule
//   above); one renamed to a name without "@" keeps its context as it is.
// - A task that no longer goes to the server (its context made not synchronizable, or "syncTasksMode"
//   leaves it out) has its resource deleted there, after what the server changed in it was pulled.
// - A context deleted here (or made not synchronizable) has its calendar deleted on the server unless
//   something in it changed there since the last sync; then the calendar stays and is no longer synced.
class CalendarSyncMerge {
public:
    struct Settings {
        int syncTasksMode = 0;
        int projectNameMode = 0;
        QDateTime now;
    };

    // The store changes happen in `run`; `state` becomes what holds once no write is needed, and each
    // write carries its own share. Log lines go to `log` in the order of a sync: the push, then the pull.
    CalendarSyncMerge(ObjectContext& context, SyncState& state, const RemoteSnapshot& remote, Settings settings,
                      SyncLog log);
    ~CalendarSyncMerge();

    QList<SyncWrite> run();
    // How many store changes came from the server (tasks and contexts added, changed or deleted).
    int pulledChanges() const { return m_pulled; }

    // Where the collection of a context that has none yet goes, and where a new resource goes in it:
    // names made from the syncIDs, so that a sync repeated after a lost state finds its own resources.
    static QString collectionHrefFor(const QString& home, const QString& contextSyncID);
    static QString resourceHrefFor(const QString& collectionHref, const QString& uid);

private:
    void pullCalendars();
    void pullTasks();
    void pullTask(const QString& uid, const RemoteTask& remote);
    void pullDeletion(const QString& uid, const SyncedTask& base);
    Task* addTask(const QString& uid, const RemoteTask& remote, Context* context);
    void pushContexts(QList<SyncWrite>& writes);
    void pushTask(Task* task, Context* context, const SyncedCalendar& calendar, QList<SyncWrite>& writes);
    void pushLeftovers(QList<SyncWrite>& writes);
    Context* contextOfCollection(const QString& href) const;
    CalendarTaskFields fieldsOf(const Task* task) const;
    void pushLog(const QString& line);
    void pullLog(const QString& line);

    ObjectContext& m_context;
    SyncState& m_state;
    const RemoteSnapshot& m_remote;
    Settings m_settings;
    SyncLog m_log;
    QStringList m_pullLines;
    QHash<QString, Task*> m_tasks;       // by syncID
    QHash<QString, Context*> m_contexts; // by syncID
    QSet<QString> m_pushed;              // UIDs of the tasks that go to the server
    int m_pulled = 0;
};
