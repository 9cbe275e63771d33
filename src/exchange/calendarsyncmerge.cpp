#include "exchange/calendarsyncmerge.h"

#include "lists/taskcreation.h"
#include "model/context.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <QCryptographicHash>

namespace {

QString hashed(const QString& text, int length)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1).toHex().left(length));
}

QString calendarTitle(const Context* context)
{
    return QLatin1Char('@') + context->name();
}

} // namespace

CalendarSyncMerge::CalendarSyncMerge(ObjectContext& context, SyncState& state, const RemoteSnapshot& remote,
                                     Settings settings, SyncLog log)
    : m_context(context), m_state(state), m_remote(remote), m_settings(std::move(settings)), m_log(std::move(log))
{
}

CalendarSyncMerge::~CalendarSyncMerge() = default;

QString CalendarSyncMerge::collectionHrefFor(const QString& home, const QString& contextSyncID)
{
    QString base = home;
    if (!base.endsWith(QLatin1Char('/')))
        base += QLatin1Char('/');
    return base + QStringLiteral("vyro-") + hashed(contextSyncID, 20) + QLatin1Char('/');
}

QString CalendarSyncMerge::resourceHrefFor(const QString& collectionHref, const QString& uid)
{
    return collectionHref + hashed(uid, 32) + QStringLiteral(".ics");
}

void CalendarSyncMerge::pushLog(const QString& line)
{
    m_log(line);
}

void CalendarSyncMerge::pullLog(const QString& line)
{
    m_pullLines.append(line);
}

CalendarTaskFields CalendarSyncMerge::fieldsOf(const Task* task) const
{
    return calendarFieldsForTask(*task, m_settings.projectNameMode);
}

Context* CalendarSyncMerge::contextOfCollection(const QString& href) const
{
    const QString* syncID = m_state.calendarAt(href);
    return syncID ? m_contexts.value(*syncID) : nullptr;
}

QList<SyncWrite> CalendarSyncMerge::run()
{
    for (Record* record : m_context.allObjects(QStringLiteral("task"))) {
        auto* task = static_cast<Task*>(record);
        if (!task->syncID().isEmpty())
            m_tasks.insert(task->syncID(), task);
    }
    for (Record* record : m_context.allObjects(QStringLiteral("context"))) {
        auto* context = static_cast<Context*>(record);
        if (context->synchronizable() && context->syncID().isEmpty())
            context->setSyncID(context->defaultSyncID());
        if (!context->syncID().isEmpty())
            m_contexts.insert(context->syncID(), context);
    }

    // The server's side first, so that what is pushed is the merged task; its lines are logged after
    // the push, in the order a sync reports.
    pullCalendars();
    pullTasks();

    QList<SyncWrite> writes;
    pushLog(QStringLiteral("We want to push all records..."));
    pushLog(QStringLiteral("Pushing contexts..."));
    pushContexts(writes);
    pushLeftovers(writes);

    m_log(QStringLiteral("We want to pull changes..."));
    m_log(QStringLiteral("...for calendars..."));
    m_log(QStringLiteral("...and we are allowed to do that!"));
    for (const QString& line : std::as_const(m_pullLines))
        m_log(line);
    return writes;
}

void CalendarSyncMerge::pullCalendars()
{
    pullLog(QStringLiteral("Pulling calendars = contexts..."));
    QSet<QString> present;
    for (const CalDavCollection& collection : m_remote.collections) {
        present.insert(collection.href);
        const QString* syncID = m_state.calendarAt(collection.href);
        if (!syncID) {
            if (!collection.displayName.startsWith(QLatin1Char('@')) || m_state.detached.contains(collection.href))
                continue;
            // A collection named after one of our contexts is that context's, found again after the
            // state was lost.
            Context* own = nullptr;
            for (Context* context : std::as_const(m_contexts)) {
                if (collectionHrefFor(m_state.home, context->syncID()) == collection.href)
                    own = context;
            }
            pullLog(QStringLiteral("Pulling calendar..."));
            if (!own) {
                pullLog(QStringLiteral("Adding calendar..."));
                own = m_context.insertNewObject<Context>(QStringLiteral("context"));
                own->setName(QStringLiteral("NONAME"));
                own->setIsInbox(false);
                own->setSynchronizable(true);
                own->setSyncID(collection.href);
                m_contexts.insert(own->syncID(), own);
                ++m_pulled;
            } else {
                pullLog(QStringLiteral("Updating calendar..."));
            }
            pullLog(QStringLiteral("Change title = %1").arg(collection.displayName));
            if (own->name() != collection.displayName.mid(1)) {
                own->setName(collection.displayName.mid(1));
                ++m_pulled;
            }
            m_state.calendars.insert(own->syncID(), {collection.href, collection.displayName, QString(), QString()});
            pullLog(QStringLiteral("Accepted changes for calendar..."));
            continue;
        }
        SyncedCalendar& known = m_state.calendars[*syncID];
        if (collection.displayName == known.title)
            continue;
        pullLog(QStringLiteral("Pulling calendar..."));
        Context* context = m_contexts.value(*syncID);
        if (!collection.displayName.startsWith(QLatin1Char('@')) || !context) {
            pullLog(QStringLiteral("Refused changes for calendar %1: its name does not begin with @").arg(collection.displayName));
            continue;
        }
        pullLog(QStringLiteral("Updating calendar..."));
        pullLog(QStringLiteral("Change title = %1").arg(collection.displayName));
        if (context->name() != known.title.mid(1))
            pullLog(QStringLiteral("The context \"%1\" was renamed here and on the server; the server's name wins").arg(context->name()));
        context->setName(collection.displayName.mid(1));
        known.title = collection.displayName;
        ++m_pulled;
        pullLog(QStringLiteral("Accepted changes for calendar..."));
    }
    // A calendar deleted on the server is refused: its context stays and gets a new calendar.
    for (auto it = m_state.calendars.begin(); it != m_state.calendars.end();) {
        if (present.contains(it->href)) {
            ++it;
            continue;
        }
        pullLog(QStringLiteral("Deleting calendar"));
        pullLog(QStringLiteral("Refused the deletion of the calendar %1: its context stays").arg(it->title));
        it = m_state.calendars.erase(it);
    }
}

void CalendarSyncMerge::pullTasks()
{
    pullLog(QStringLiteral("****"));
    pullLog(QStringLiteral("We want to pull changes..."));
    pullLog(QStringLiteral("...for tasks..."));
    pullLog(QStringLiteral("Pulling tasks..."));
    for (auto it = m_remote.tasks.cbegin(); it != m_remote.tasks.cend(); ++it)
        pullTask(it.key(), it.value());
    const QStringList known = m_state.tasks.keys();
    for (const QString& uid : known) {
        if (!m_remote.tasks.contains(uid))
            pullDeletion(uid, m_state.tasks.value(uid));
    }
}

Task* CalendarSyncMerge::addTask(const QString& uid, const RemoteTask& remote, Context* context)
{
    pullLog(QStringLiteral("Calendar found!"));
    NewTask values;
    values.name = QStringLiteral("NONAME");
    values.context = context;
    Task* task = addNewTask(m_context, values);
    task->setSyncID(uid);
    pullLog(QStringLiteral("Setting properties..."));
    pullLog(QStringLiteral("Task added to the calendar"));
    for (CalendarField field : kCalendarFields)
        pullCalendarField(*task, field, remote.fields, [this](const QString& line) { pullLog(line); });
    m_tasks.insert(uid, task);
    ++m_pulled;
    return task;
}

void CalendarSyncMerge::pullTask(const QString& uid, const RemoteTask& remote)
{
    const auto baseIt = m_state.tasks.constFind(uid);
    const bool hasBase = baseIt != m_state.tasks.cend();
    if (hasBase && !remote.fresh)
        return;
    Context* context = contextOfCollection(remote.collection);
    if (!context)
        return;
    pullLog(QStringLiteral("Pulling task %1").arg(remote.fields.summary));
    Task* task = m_tasks.value(uid);
    const auto log = [this](const QString& line) { pullLog(line); };

    if (!task) {
        if (hasBase) {
            pullLog(QStringLiteral("Updating task..."));
            pullLog(QStringLiteral("Have to add task..."));
            pullLog(QStringLiteral("\"%1\" was deleted here and changed on the server since; the server's task is kept").arg(remote.fields.summary));
        } else {
            pullLog(QStringLiteral("Adding task..."));
        }
        task = addTask(uid, remote, context);
        m_state.tasks.insert(uid, {remote.href, remote.etag, context->syncID(), remote.body, fieldsOf(task), remote.fields});
        pullLog(QStringLiteral("Accepted changes for task..."));
        return;
    }

    pullLog(QStringLiteral("Updating task..."));
    const CalendarTaskFields before = fieldsOf(task);
    CalendarTaskFields pending = before; // the local side's base once the pull is done
    if (hasBase) {
        const SyncedTask& base = *baseIt;
        for (CalendarField field : kCalendarFields) {
            if (sameCalendarField(remote.fields, base.remote, field))
                continue;
            if (!sameCalendarField(before, base.local, field))
                pullLog(QStringLiteral("\"%1\": %2 changed here (%3) and on the server (%4); the server's value wins")
                            .arg(task->name(), calendarFieldName(field), calendarFieldText(before, field),
                                 calendarFieldText(remote.fields, field)));
            pullCalendarField(*task, field, remote.fields, log);
            ++m_pulled;
        }
        // What changed here alone stays a change to push: its base stays the old value.
        pending = fieldsOf(task);
        for (CalendarField field : kCalendarFields) {
            if (sameCalendarField(remote.fields, base.remote, field) && !sameCalendarField(before, base.local, field))
                copyCalendarField(pending, base.local, field);
        }
    } else {
        // Known here and there without a base (the state was forgotten): the server's fields win.
        for (CalendarField field : kCalendarFields) {
            if (!sameCalendarField(before, remote.fields, field)) {
                pullCalendarField(*task, field, remote.fields, log);
                ++m_pulled;
            }
        }
        pending = fieldsOf(task);
    }
    QString calendar = context->syncID();
    if (task->parentContext() != context) {
        if (hasBase && baseIt->calendar == context->syncID()) {
            // Moved here since the last sync, not on the server: the push moves the resource.
            calendar = baseIt->calendar;
        } else {
            pullLog(QStringLiteral("Change calendar = %1").arg(calendarTitle(context)));
            task->moveToContext(context);
            ++m_pulled;
        }
    }
    m_state.tasks.insert(uid, {remote.href, remote.etag, calendar, remote.body, pending, remote.fields});
    pullLog(QStringLiteral("Accepted changes for task..."));
}

void CalendarSyncMerge::pullDeletion(const QString& uid, const SyncedTask& base)
{
    Task* task = m_tasks.value(uid);
    if (!task) {
        m_state.tasks.remove(uid);
        return;
    }
    pullLog(QStringLiteral("Deleting task..."));
    pullLog(QStringLiteral("Fetching the task..."));
    pullLog(QStringLiteral("Task to delete found... %1").arg(task->name()));
    Context* context = task->parentContext();
    if (!context || !context->synchronizable()) {
        m_state.tasks.remove(uid);
        pullLog(QStringLiteral("Accepted changes for task..."));
        return;
    }
    if (fieldsOf(task) != base.local) {
        // Changed here since the last sync: the change is kept, and the push sends the task again.
        pullLog(QStringLiteral("\"%1\" was deleted on the server and changed here since; it is kept and sent again").arg(task->name()));
        m_state.tasks.remove(uid);
        return;
    }
    pullLog(QStringLiteral("Before deleting..."));
    m_context.deleteObject(task);
    m_tasks.remove(uid);
    m_state.tasks.remove(uid);
    ++m_pulled;
    pullLog(QStringLiteral("Calendar synchronizable, task deleted..."));
    pullLog(QStringLiteral("Accepted changes for task..."));
}

void CalendarSyncMerge::pushContexts(QList<SyncWrite>& writes)
{
    for (Record* record : m_context.allObjects(QStringLiteral("context"))) {
        auto* context = static_cast<Context*>(record);
        if (!context->synchronizable())
            continue;
        pushLog(QStringLiteral("Pushing context..."));
        pushLog(context->name());
        const QString title = calendarTitle(context);
        auto calendar = m_state.calendars.find(context->syncID());
        if (calendar == m_state.calendars.end()) {
            const QString href = collectionHrefFor(m_state.home, context->syncID());
            SyncWrite make;
            make.kind = SyncWrite::Kind::MakeCalendar;
            make.href = href;
            make.displayName = title;
            make.calendar = context->syncID();
            writes.append(make);
            calendar = m_state.calendars.insert(context->syncID(), {href, title, QString(), QString()});
            // Tasks remembered in a calendar that is no more go as new resources.
            for (auto it = m_state.tasks.begin(); it != m_state.tasks.end();) {
                if (it->calendar == context->syncID() && !m_remote.tasks.contains(it.key()))
                    it = m_state.tasks.erase(it);
                else
                    ++it;
            }
        } else if (calendar->title != title) {
            SyncWrite rename;
            rename.kind = SyncWrite::Kind::RenameCalendar;
            rename.href = calendar->href;
            rename.displayName = title;
            rename.calendar = context->syncID();
            writes.append(rename);
        }
        pushLog(QStringLiteral("Pushing context tasks..."));
        const SyncedCalendar target = *calendar;
        for (Record* member : context->tasks()) {
            auto* task = static_cast<Task*>(member);
            if (isPushedBySyncMode(*task, m_settings.syncTasksMode))
                pushTask(task, context, target, writes);
        }
    }
}

void CalendarSyncMerge::pushTask(Task* task, Context* context, const SyncedCalendar& calendar, QList<SyncWrite>& writes)
{
    if (task->syncID().isEmpty()) {
        task->setSyncID(task->defaultSyncID());
        pushLog(task->name());
        m_tasks.insert(task->syncID(), task);
    }
    const QString uid = task->syncID();
    m_pushed.insert(uid);
    const CalendarTaskFields local = fieldsOf(task);
    const auto base = m_state.tasks.constFind(uid);

    SyncWrite put;
    put.kind = SyncWrite::Kind::Put;
    put.uid = uid;
    if (base == m_state.tasks.cend()) {
        put.href = CalendarSyncMerge::resourceHrefFor(calendar.href, uid);
        put.body = writeCalendarTask(uid, local, QByteArray(), m_settings.now);
        put.next = {put.href, QString(), context->syncID(), put.body, local, local};
        writes.append(put);
        return;
    }
    // Only what changed here goes out; the rest of the resource stays as the server has it.
    CalendarTaskFields merged = base->remote;
    for (CalendarField field : kCalendarFields) {
        if (!sameCalendarField(local, base->local, field))
            copyCalendarField(merged, local, field);
    }
    const bool moved = base->calendar != context->syncID();
    if (merged == base->remote && !moved) {
        m_state.tasks[uid].local = local;
        return;
    }
    if (base->etag.isEmpty()) {
        // The server never told this resource's ETag; writing it blind could overwrite a change made
        // there. The next listing tells it.
        pushLog(QStringLiteral("\"%1\" is left for the next sync: its version on the server is not known yet").arg(task->name()));
        return;
    }
    put.body = writeCalendarTask(uid, merged, base->body, m_settings.now);
    if (moved) {
        // A new resource in the other calendar, then the old one deleted: never a moment without it.
        put.href = CalendarSyncMerge::resourceHrefFor(calendar.href, uid);
        put.next = {put.href, QString(), context->syncID(), put.body, local, merged};
        writes.append(put);
        SyncWrite remove;
        remove.kind = SyncWrite::Kind::Delete;
        remove.href = base->href;
        remove.ifMatch = base->etag;
        remove.movedUid = uid;
        writes.append(remove);
        return;
    }
    put.href = base->href;
    put.ifMatch = base->etag;
    put.next = {put.href, QString(), context->syncID(), put.body, local, merged};
    writes.append(put);
}

void CalendarSyncMerge::pushLeftovers(QList<SyncWrite>& writes)
{
    // Calendars of contexts deleted here or no longer synchronizable.
    QSet<QString> droppedCalendars;
    for (auto it = m_state.calendars.begin(); it != m_state.calendars.end();) {
        Context* context = m_contexts.value(it.key());
        if (context && context->synchronizable()) {
            ++it;
            continue;
        }
        bool changedThere = false;
        if (!context && m_remote.changedCollections.contains(it->href)) {
            for (const RemoteTask& remote : m_remote.tasks)
                changedThere = changedThere || (remote.collection == it->href && remote.fresh);
        }
        if (changedThere) {
            pushLog(QStringLiteral("The calendar %1 changed on the server after its context was deleted here; it stays there, no longer synced").arg(it->title));
            m_state.detached.append(it->href);
        } else {
            SyncWrite remove;
            remove.kind = SyncWrite::Kind::DeleteCalendar;
            remove.href = it->href;
            remove.calendar = it.key();
            writes.append(remove);
        }
        droppedCalendars.insert(it.key());
        it = m_state.calendars.erase(it);
    }
    for (auto it = m_state.tasks.begin(); it != m_state.tasks.end();) {
        if (m_pushed.contains(it.key())) {
            ++it;
            continue;
        }
        if (it->etag.isEmpty()) {
            // As for a write: never delete a version not seen. The next listing tells it.
            pushLog(QStringLiteral("%1 is left for the next sync: its version on the server is not known yet").arg(it->href));
            ++it;
        } else if (!droppedCalendars.contains(it->calendar)) {
            SyncWrite remove;
            remove.kind = SyncWrite::Kind::Delete;
            remove.href = it->href;
            remove.ifMatch = it->etag;
            remove.uid = it.key();
            writes.append(remove);
            ++it;
        } else {
            it = m_state.tasks.erase(it);
        }
    }
}
