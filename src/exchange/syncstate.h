#pragma once

#include "exchange/calendartask.h"
#include "store/status.h"

#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>

class ObjectContext;

// What the last sync with the calendar server agreed on: the base against which the next sync tells a
// change made here from one made on the server. It lives in the data file's metadata, so a restored or
// downloaded data file carries the state that belongs to its own records.
//
// For each task both sides are kept: `local` is the task as it was pushed (after what the sync pulled
// into it), `remote` what the server's resource said. The two differ where the mapping is not
// symmetric (priority 0 goes out as 9 and comes back as 3), and comparing each side with its own base
// keeps such a field from looking changed on every sync.
struct SyncedTask {
    QString href;
    QString etag;     // empty: not known (the server sent none); the next listing tells it
    QString calendar; // the syncID of the context whose collection holds it
    QByteArray body;  // the resource as last read or written, so a write keeps what other clients added
    CalendarTaskFields local;
    CalendarTaskFields remote;
};

struct SyncedCalendar {
    QString href;
    QString title;     // the display name both sides last agreed on ("@" + the context's name)
    QString ctag;      // the collection's state at the last sync; empty: read it whole next time
    QString syncToken;
};

struct SyncState {
    QString server;
    QString user;
    QString home; // the calendar home found by discovery
    QHash<QString, SyncedCalendar> calendars; // by the context's syncID
    QHash<QString, SyncedTask> tasks;         // by the task's syncID (the resource's UID)
    QStringList detached; // hrefs of calendars no longer synced, never made contexts again

    bool isEmpty() const { return calendars.isEmpty() && tasks.isEmpty(); }
    // The calendar whose collection is at `href`, or nullptr.
    const QString* calendarAt(const QString& href) const;

    QJsonObject toJson() const;
    static SyncState fromJson(const QJsonObject& json);
};

// The metadata key of the data file that holds the state.
inline constexpr QLatin1StringView kSyncStateKey{"calendarSyncState"};

// An empty state when the file holds none; Corruption when what it holds does not read.
Result<SyncState> loadSyncState(const ObjectContext& context);
// Writes the state into the data file at once (it is not part of the pending changes).
Status saveSyncState(ObjectContext& context, const SyncState& state);
// Whether the data file holds a state, and forgetting it.
bool hasSyncState(const ObjectContext& context);
Status forgetSyncState(ObjectContext& context);
