#include "exchange/synccontroller.h"

#include "app/backups.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <QProcess>
#include <QTimer>

namespace {

// Requests in flight at once: enough to keep a server busy, few enough not to flood it.
constexpr int kWritesInFlight = 6;
// Passes of one sync: the first, and the ones that merge resources changed on the server meanwhile.
constexpr int kMaxPasses = 3;
// How long the after-sync command may run.
constexpr int kAfterSyncLimitMs = 5 * 60 * 1000;

QString outcomeText(const WebDavOutcome& outcome)
{
    switch (outcome.kind) {
    case WebDavOutcome::Kind::Unauthorized:
        return QStringLiteral("The calendar server refused the user name or password (%1).").arg(outcome.detail);
    case WebDavOutcome::Kind::NoAnswer:
        return QStringLiteral("The calendar server did not answer: %1.").arg(outcome.detail);
    case WebDavOutcome::Kind::NotFound:
        return QStringLiteral("The calendar server has no calendars at this address (%1).").arg(outcome.detail);
    case WebDavOutcome::Kind::NotWebDav:
        return QStringLiteral("This address is not a calendar server (%1).").arg(outcome.detail);
    default:
        return QStringLiteral("The calendar server answered %1.").arg(outcome.detail);
    }
}

QString writeName(SyncWrite::Kind kind)
{
    switch (kind) {
    case SyncWrite::Kind::MakeCalendar: return QStringLiteral("MKCALENDAR");
    case SyncWrite::Kind::RenameCalendar: return QStringLiteral("PROPPATCH");
    case SyncWrite::Kind::DeleteCalendar:
    case SyncWrite::Kind::Delete: return QStringLiteral("DELETE");
    case SyncWrite::Kind::Put: return QStringLiteral("PUT");
    }
    return {};
}

// A resource the sync did not read again: as the state knows it.
RemoteTask unchangedRemote(const SyncedTask& base, const QString& collection)
{
    return {base.href, base.etag, collection, base.body, base.remote, false};
}

// What the state knows of each collection's resources: collection href -> (resource href -> UID).
QHash<QString, QHash<QString, QString>> resourcesByCollection(const SyncState& state)
{
    QHash<QString, QHash<QString, QString>> resources;
    for (auto it = state.tasks.cbegin(); it != state.tasks.cend(); ++it)
        resources[it->href.left(it->href.lastIndexOf(QLatin1Char('/')) + 1)].insert(it->href, it.key());
    return resources;
}

// The stores a sync runs on now, whichever controller runs it: two syncs must never merge into the
// same store at once.
QSet<const ObjectContext*>& storesSyncing()
{
    static QSet<const ObjectContext*> stores;
    return stores;
}

} // namespace

CalendarAccount calendarAccountFrom(const Preferences& preferences)
{
    return {preferences.stringForKey(PreferenceKey::calendarServer).trimmed(),
            preferences.stringForKey(PreferenceKey::calendarUser).trimmed()};
}

KeyringEntry calendarKeyringEntry(const CalendarAccount& account)
{
    return {account.user + QLatin1Char('@') + account.server, QString(calendarPasswordVariable),
            QStringLiteral("the calendar server")};
}

// What one pass of a sync has read and still has to write.
struct SyncController::Pass {
    RemoteSnapshot remote;
    int reading = 0;
    QHash<QString, QString> readTokens; // collection href -> the token its changes were read from
    QList<QList<SyncWrite>> stages;
    QList<SyncWrite> queue;
    int inFlight = 0;
    bool retry = false;
    QSet<QString> writtenCollections;
    QSet<QString> unwrittenTasks; // UIDs whose PUT did not go through
    QSet<QString> deletedHrefs;
};

SyncController::SyncController(ObjectContext& context, Preferences& preferences, QString dataFilePath, QObject* parent)
    : QObject(parent), m_context(context), m_preferences(preferences), m_dataFilePath(std::move(dataFilePath))
{
}

SyncController::~SyncController()
{
    if (m_running)
        storesSyncing().remove(&m_context);
}

void SyncController::log(const QString& line) const
{
    logLine(line);
}

void SyncController::doSync()
{
    if (m_running) {
        log(QStringLiteral("A sync is already running; this one is dropped"));
        return;
    }
    if (storesSyncing().contains(&m_context)) {
        // Another controller's (the window's, or a command's sent to the running program).
        log(QStringLiteral("A sync is already running; this one is dropped"));
        Q_EMIT finished(Outcome::Failed, QStringLiteral("A sync is already running."));
        return;
    }
    storesSyncing().insert(&m_context);
    m_running = true;
    m_message.clear();
    m_problems.clear();
    m_counts = {};
    m_passes = 0;
    m_rediscovered = false;
    log(QStringLiteral("-------------------"));
    log(QStringLiteral("Sync start!"));
    backupAtSyncAction(m_dataFilePath);

    m_account = m_accountOverride.value_or(calendarAccountFrom(m_preferences));
    const QUrl server(m_account.server);
    if (m_account.server.isEmpty() || !server.isValid()
        || (server.scheme() != QLatin1String("http") && server.scheme() != QLatin1String("https"))) {
        log(QStringLiteral("Sync manaager is disabled!!!!!"));
        m_message = QString(SyncText::disabled);
        end(Outcome::Failed);
        return;
    }
    log(QStringLiteral("Sync manager is enabled"));
    log(QStringLiteral("Trying to get the sync client com.quendar.Vyro...."));
    if (m_account.user.isEmpty()) {
        start(QString());
        return;
    }
    readKeyringPassword(calendarKeyringEntry(m_account), [this, guard = QPointer(this)](Result<QString> password) {
        if (!guard)
            return;
        if (!password) {
            log(QStringLiteral("...but the registration of the sync client failed!"));
            m_message = QString(SyncText::registrationFailed) + QLatin1Char('\n') + password.status().message();
            end(Outcome::Failed);
            return;
        }
        start(*password);
    });
}

void SyncController::start(const QString& password)
{
    Result<SyncState> state = loadSyncState(m_context);
    if (!state) {
        fail(QStringLiteral("StateError"), state.status().message());
        return;
    }
    m_state = std::move(*state);
    if (m_state.server != m_account.server || m_state.user != m_account.user) {
        if (!m_state.isEmpty())
            log(QStringLiteral("Another calendar server or user than at the last sync: syncing from the start"));
        m_state = SyncState();
        m_state.server = m_account.server;
        m_state.user = m_account.user;
    }
    delete m_client;
    m_client = new CalDavClient(QUrl(m_account.server), m_account.user, password, this);
    m_client->setTimeout(m_timeoutMs);
    Q_EMIT busyChanged(true);
    if (m_state.home.isEmpty())
        discover();
    else
        readServer();
}

void SyncController::discover()
{
    m_client->discoverCalendarHome([this, guard = QPointer(this)](const WebDavOutcome& outcome, const QString& home) {
        if (!guard)
            return;
        if (!outcome.isOk() || home.isEmpty()) {
            log(QStringLiteral("...but the registration of the sync client failed!"));
            log(QStringLiteral("Discovery at %1: %2").arg(m_account.server, outcome.detail));
            m_message = QString(SyncText::registrationFailed) + QLatin1Char('\n') + outcomeText(outcome);
            end(Outcome::Failed);
            return;
        }
        log(QStringLiteral("Calendar home: %1").arg(home));
        m_state.home = home;
        readServer();
    });
}

void SyncController::readServer()
{
    ++m_passes;
    if (m_passes == 1) {
        log(QStringLiteral("Sync client is there!"));
        Q_EMIT statusLineChanged(QString(SyncText::startingSession));
    }
    m_pass = std::make_unique<Pass>();
    m_client->listCollections(m_state.home, [this, guard = QPointer(this)](const WebDavOutcome& outcome,
                                                                          const QList<CalDavCollection>& collections) {
        if (!guard)
            return;
        if (outcome.kind == WebDavOutcome::Kind::NotFound && m_passes == 1 && !m_rediscovered) {
            // The home moved (or the server was set up anew): find it again, once.
            log(QStringLiteral("The calendar home %1 is gone; looking for it again").arg(m_state.home));
            m_state.home.clear();
            m_passes = 0;
            m_rediscovered = true;
            discover();
            return;
        }
        if (!outcome.isOk()) {
            fail(QStringLiteral("NetworkError"), outcomeText(outcome));
            return;
        }
        m_pass->reading = 1; // until every read below has been started
        const QHash<QString, QHash<QString, QString>> resources = resourcesByCollection(m_state);
        for (const CalDavCollection& collection : collections) {
            if (!collection.isCalendar || !collection.holdsTasks)
                continue;
            const bool known = m_state.calendarAt(collection.href) != nullptr;
            const bool wanted = known || (collection.displayName.startsWith(QLatin1Char('@'))
                                          && !m_state.detached.contains(collection.href));
            if (!wanted)
                continue;
            m_pass->remote.collections.append(collection);
            readCollection(collection, resources.value(collection.href));
        }
        collectionRead();
    });
}

void SyncController::readCollection(const CalDavCollection& collection, const QHash<QString, QString>& uids)
{
    const QString* syncID = m_state.calendarAt(collection.href);
    const SyncedCalendar* known = syncID ? &m_state.calendars[*syncID] : nullptr;
    const auto keepUnchanged = [this, collection](const QHash<QString, QString>& unchanged) {
        for (auto it = unchanged.cbegin(); it != unchanged.cend(); ++it)
            m_pass->remote.tasks.insert(it.value(), unchangedRemote(m_state.tasks[it.value()], collection.href));
    };
    if (known && !known->ctag.isEmpty() && known->ctag == collection.ctag) {
        keepUnchanged(uids);
        return;
    }
    m_pass->remote.changedCollections.insert(collection.href);
    const QString token = known ? known->syncToken : QString();
    ++m_pass->reading;
    m_client->changesSince(collection.href, token, [this, guard = QPointer(this), collection, uids, keepUnchanged, token](
                                                       const WebDavOutcome& outcome, const CalDavChanges& changes) {
        if (!guard || !m_pass)
            return;
        if (!outcome.isOk()) {
            fail(QStringLiteral("NetworkError"), outcomeText(outcome));
            return;
        }
        m_pass->readTokens.insert(collection.href, token);
        QHash<QString, QString> unchanged = uids;
        QStringList toFetch;
        if (changes.complete) {
            QSet<QString> listed;
            for (const CalDavResource& resource : changes.changed)
                listed.insert(resource.href);
            for (auto it = unchanged.begin(); it != unchanged.end();) {
                if (!listed.contains(it.key()))
                    it = unchanged.erase(it); // gone from the server
                else
                    ++it;
            }
        } else {
            for (const QString& href : changes.removed)
                unchanged.remove(href);
        }
        for (const CalDavResource& resource : changes.changed) {
            const QString uid = unchanged.value(resource.href);
            if (!uid.isEmpty() && m_state.tasks[uid].etag == resource.etag && !resource.etag.isEmpty())
                continue;
            unchanged.remove(resource.href);
            toFetch.append(resource.href);
            // A resource that cannot be read again stays as the state knows it, never taken as deleted.
            if (!uid.isEmpty())
                m_pass->remote.tasks.insert(uid, unchangedRemote(m_state.tasks[uid], collection.href));
        }
        keepUnchanged(unchanged);
        if (const QString* syncID = m_state.calendarAt(collection.href)) {
            m_state.calendars[*syncID].ctag = collection.ctag;
            m_state.calendars[*syncID].syncToken = changes.syncToken;
        }
        if (toFetch.isEmpty()) {
            collectionRead();
            return;
        }
        m_client->fetchResources(collection.href, toFetch, [this, guard, collection](const WebDavOutcome& outcome,
                                                                                      const QList<CalDavResource>& resources) {
            if (!guard || !m_pass)
                return;
            if (!outcome.isOk()) {
                fail(QStringLiteral("NetworkError"), outcomeText(outcome));
                return;
            }
            for (const CalDavResource& resource : resources) {
                Result<CalendarTaskResource> read = readCalendarTask(resource.body);
                if (!read) {
                    log(QStringLiteral("Refused changes for task... %1: %2").arg(resource.href, read.status().message()));
                    m_problems.append(QStringLiteral("%1: %2").arg(resource.href, read.status().message()));
                    continue;
                }
                const auto existing = m_pass->remote.tasks.constFind(read->uid);
                if (existing != m_pass->remote.tasks.cend() && existing->fresh && existing->href != resource.href) {
                    log(QStringLiteral("Two calendar entries have the UID %1 (%2 and %3); the first is used")
                            .arg(read->uid, existing->href, resource.href));
                    continue;
                }
                m_pass->remote.tasks.insert(read->uid, {resource.href, resource.etag, collection.href, resource.body,
                                                        read->fields, true});
            }
            collectionRead();
        });
    });
}

void SyncController::collectionRead()
{
    if (!m_pass || --m_pass->reading > 0)
        return;
    merge();
}

void SyncController::merge()
{
    m_context.undoManager().beginUndoGrouping(QStringLiteral("Sync"));
    CalendarSyncMerge merger(m_context, m_state, m_pass->remote,
                             {m_preferences.integerForKey(PreferenceKey::syncTasksMode),
                              m_preferences.integerForKey(PreferenceKey::syncTaskProjectNameMode),
                              QDateTime::currentDateTimeUtc()},
                             [this](const QString& line) { log(line); });
    const QList<SyncWrite> writes = merger.run();
    m_context.undoManager().endUndoGrouping();
    m_counts.pulled += merger.pulledChanges();

    // Calendars first, then the resources in them, then what goes away (the old resource of a moved
    // task only once the new one is there).
    QList<SyncWrite> calendars, resources, removals;
    for (const SyncWrite& write : writes) {
        switch (write.kind) {
        case SyncWrite::Kind::MakeCalendar:
        case SyncWrite::Kind::RenameCalendar: calendars.append(write); break;
        case SyncWrite::Kind::Put: resources.append(write); break;
        case SyncWrite::Kind::Delete:
            (write.uid.isEmpty() ? removals : resources).append(write);
            break;
        case SyncWrite::Kind::DeleteCalendar: removals.append(write); break;
        }
    }
    m_pass->stages = {calendars, resources, removals};
    Q_EMIT statusLineChanged(QString(SyncText::sending));
    write();
}

void SyncController::write()
{
    while (m_pass->queue.isEmpty() && !m_pass->stages.isEmpty())
        m_pass->queue = m_pass->stages.takeFirst();
    if (m_pass->queue.isEmpty()) {
        refreshTokens();
        return;
    }
    writeStage();
}

void SyncController::writeStage()
{
    while (m_pass->inFlight < kWritesInFlight && !m_pass->queue.isEmpty()) {
        const SyncWrite next = m_pass->queue.takeFirst();
        if (!next.movedUid.isEmpty() && m_pass->unwrittenTasks.contains(next.movedUid)) {
            log(QStringLiteral("%1 stays: the task's new resource was not written").arg(next.href));
            continue;
        }
        ++m_pass->inFlight;
        auto answered = [this, guard = QPointer(this), next](const WebDavOutcome& outcome, const QString& etag = QString()) {
            if (!guard || !m_pass)
                return;
            --m_pass->inFlight;
            written(next, outcome, etag);
            if (m_pass->inFlight == 0 && m_pass->queue.isEmpty())
                write();
            else
                writeStage();
        };
        switch (next.kind) {
        case SyncWrite::Kind::MakeCalendar:
            m_client->makeCalendar(next.href, next.displayName, answered);
            break;
        case SyncWrite::Kind::RenameCalendar:
            m_client->setDisplayName(next.href, next.displayName, answered);
            break;
        case SyncWrite::Kind::Put:
            m_client->putResource(next.href, next.body, next.ifMatch,
                                  [answered](const WebDavOutcome& outcome, const QString& etag) { answered(outcome, etag); });
            break;
        case SyncWrite::Kind::Delete:
        case SyncWrite::Kind::DeleteCalendar:
            m_client->deleteResource(next.href, next.ifMatch, answered);
            break;
        }
    }
    if (m_pass->inFlight == 0 && m_pass->queue.isEmpty())
        write(); // every write left in the stage was skipped
}

void SyncController::written(const SyncWrite& write, const WebDavOutcome& outcome, const QString& etag)
{
    const QString collection = write.href.left(write.href.lastIndexOf(QLatin1Char('/')) + 1);
    if (!outcome.isOk() && write.kind == SyncWrite::Kind::Put)
        m_pass->unwrittenTasks.insert(write.uid);
    if (outcome.kind == WebDavOutcome::Kind::PreconditionFailed) {
        // Changed on the server since it was read: the next pass reads it and merges again.
        log(QStringLiteral("%1 changed on the server during the sync; merging it once more").arg(write.href));
        ++m_counts.conflicts;
        m_pass->retry = true;
        if (const QString* syncID = m_state.calendarAt(collection))
            m_state.calendars[*syncID].ctag.clear();
        return;
    }
    if (!outcome.isOk()) {
        log(QStringLiteral("%1 %2 failed: %3").arg(writeName(write.kind), write.href, outcome.detail));
        ++m_counts.failedWrites;
        if (m_message.isEmpty())
            m_message = QString(SyncText::failed) + QLatin1Char('\n') + outcomeText(outcome)
                        + QStringLiteral("\nWhat was not sent is sent with the next sync.");
        if (write.kind == SyncWrite::Kind::MakeCalendar)
            m_state.calendars.remove(write.calendar);
        return;
    }
    ++m_counts.written;
    switch (write.kind) {
    case SyncWrite::Kind::MakeCalendar:
    case SyncWrite::Kind::DeleteCalendar:
        break;
    case SyncWrite::Kind::RenameCalendar:
        if (m_state.calendars.contains(write.calendar))
            m_state.calendars[write.calendar].title = write.displayName;
        break;
    case SyncWrite::Kind::Put: {
        SyncedTask next = write.next;
        next.etag = etag;
        m_state.tasks.insert(write.uid, next);
        m_pass->writtenCollections.insert(collection);
        break;
    }
    case SyncWrite::Kind::Delete:
        if (!write.uid.isEmpty())
            m_state.tasks.remove(write.uid);
        m_pass->writtenCollections.insert(collection);
        m_pass->deletedHrefs.insert(write.href);
        break;
    }
}

void SyncController::refreshTokens()
{
    // The collections written to: their new tag and token are kept only when nothing but these writes
    // happened since they were read, so that the next sync need not read them again for its own writes.
    QList<QString> written = m_pass->writtenCollections.values();
    for (auto it = written.begin(); it != written.end();) {
        const QString* syncID = m_state.calendarAt(*it);
        if (!syncID) {
            it = written.erase(it);
            continue;
        }
        m_state.calendars[*syncID].ctag.clear();
        if (!m_pass->readTokens.contains(*it) && !m_state.calendars[*syncID].syncToken.isEmpty())
            m_pass->readTokens.insert(*it, m_state.calendars[*syncID].syncToken);
        ++it;
    }
    if (written.isEmpty() || m_pass->retry) {
        commit();
        return;
    }
    m_client->listCollections(m_state.home, [this, guard = QPointer(this), written](const WebDavOutcome& outcome,
                                                                                    const QList<CalDavCollection>& collections) {
        if (!guard || !m_pass)
            return;
        if (!outcome.isOk()) {
            commit();
            return;
        }
        QHash<QString, QString> ctags;
        for (const CalDavCollection& collection : collections)
            ctags.insert(collection.href, collection.ctag);
        auto remaining = std::make_shared<int>(int(written.size()));
        for (const QString& href : written) {
            // From the token it was read with; a calendar made in this sync is listed whole.
            const QString token = m_pass->readTokens.value(href);
            const auto done = [this, guard, remaining] {
                if (guard && m_pass && --*remaining == 0)
                    commit();
            };
            m_client->changesSince(href, token, [this, guard, href, ctag = ctags.value(href), done](
                                                    const WebDavOutcome& outcome, const CalDavChanges& changes) {
                if (!guard || !m_pass)
                    return;
                if (const QString* syncID = m_state.calendarAt(href); syncID && outcome.isOk() && onlyKnownVersions(href, changes)) {
                    m_state.calendars[*syncID].ctag = ctag;
                    m_state.calendars[*syncID].syncToken = changes.syncToken;
                }
                done();
            });
        }
    });
}

bool SyncController::onlyKnownVersions(const QString& collection, const CalDavChanges& changes)
{
    QHash<QString, SyncedTask*> byHref;
    for (SyncedTask& task : m_state.tasks) {
        if (task.href.startsWith(collection))
            byHref.insert(task.href, &task);
    }
    bool known = true;
    if (changes.complete) {
        // A whole listing tells deletions by what it leaves out.
        QSet<QString> listed;
        for (const CalDavResource& resource : changes.changed)
            listed.insert(resource.href);
        for (auto it = byHref.cbegin(); it != byHref.cend(); ++it)
            known = known && listed.contains(it.key());
    }
    for (const CalDavResource& resource : changes.changed) {
        SyncedTask* task = byHref.value(resource.href);
        if (!task) {
            known = false;
        } else if (task->etag.isEmpty()) {
            task->etag = resource.etag; // our write, answered without its ETag
        } else if (task->etag != resource.etag) {
            known = false;
        }
    }
    for (const QString& removed : changes.removed)
        known = known && m_pass->deletedHrefs.contains(removed);
    return known;
}

void SyncController::commit()
{
    if (m_pass->retry && m_passes < kMaxPasses) {
        readServer();
        return;
    }
    log(QStringLiteral("Commiting changes"));
    log(QStringLiteral("Commited changes"));
    log(QStringLiteral("Saving the model..."));
    // The records before the state that describes them: a state ahead of the file could take a task
    // pulled but never saved for one deleted here, and delete it on the server.
    if (Status s = m_context.save(); !s.isOk()) {
        log(QStringLiteral("Saving after the sync failed: ") + s.message());
        m_message = QString(SyncText::failed) + QLatin1Char('\n') + s.message();
        end(Outcome::Failed);
        return;
    }
    if (Status s = saveSyncState(m_context, m_state); !s.isOk()) {
        log(QStringLiteral("The sync state was not written: ") + s.message());
        if (m_message.isEmpty())
            m_message = QString(SyncText::failed) + QLatin1Char('\n') + s.message();
    }
    log(QStringLiteral("Finished syncing"));
    if (m_message.isEmpty() && m_pass->retry)
        m_message = QString(SyncText::failed)
                    + QStringLiteral("\nSome tasks kept changing on the calendar server during the sync; sync again to send them.");
    if (m_message.isEmpty() && !m_problems.isEmpty()) {
        QStringList shown = m_problems.mid(0, 5);
        if (m_problems.size() > shown.size())
            shown.append(QStringLiteral("… and %1 more").arg(m_problems.size() - shown.size()));
        m_message = QStringLiteral("Some calendar entries could not be read and were left as they are:\n") + shown.join(QLatin1Char('\n'));
    }
    const Outcome outcome = m_counts.failedWrites > 0 || m_pass->retry ? Outcome::Failed : Outcome::Synced;
    // Started before the end is told, so whoever waits for the end sees it running.
    if (m_preferences.boolForKey(PreferenceKey::iSyncWhenSyncing))
        doiSync();
    end(outcome);
}

void SyncController::fail(const QString& name, const QString& reason)
{
    if (!m_running)
        return;
    log(QStringLiteral("SyncController: Caught %1: %2").arg(name, reason));
    m_message = QString(SyncText::failed) + QLatin1Char('\n') + reason;
    log(QStringLiteral("Canceled syncing"));
    end(Outcome::Failed);
}

void SyncController::end(Outcome outcome)
{
    storesSyncing().remove(&m_context);
    m_pass.reset();
    if (m_client) {
        m_client->deleteLater();
        m_client = nullptr;
    }
    m_running = false;
    Q_EMIT busyChanged(false);
    log(QStringLiteral("-------------------"));
    Q_EMIT finished(outcome, m_message);
}

QString SyncController::unregisterSyncClient()
{
    log(QStringLiteral("Trying to unregister the client..."));
    if (!hasSyncState(m_context)) {
        log(QStringLiteral("No client was registered!"));
        return QString(SyncText::notRegistered);
    }
    if (Status s = forgetSyncState(m_context); !s.isOk()) {
        log(QStringLiteral("The sync state was not forgotten: ") + s.message());
        return QString(SyncText::failed) + QLatin1Char('\n') + s.message();
    }
    log(QStringLiteral("Client unregistered!"));
    return QString(SyncText::forgotten);
}

bool SyncController::isAfterSyncRunning() const
{
    return m_afterSync && m_afterSync->state() != QProcess::NotRunning;
}

void SyncController::doiSync()
{
    QStringList command = QProcess::splitCommand(m_preferences.stringForKey(PreferenceKey::afterSyncCommand));
    if (command.isEmpty()) {
        log(QStringLiteral("No after-sync command is set"));
        return;
    }
    if (m_afterSync) {
        log(QStringLiteral("The after-sync command still runs; not started again"));
        return;
    }
    Q_EMIT busyChanged(true);
    auto* process = new QProcess(this);
    m_afterSync = process;
    process->setProgram(command.takeFirst());
    process->setArguments(command);
    process->setProcessChannelMode(QProcess::MergedChannels);
    auto* limit = new QTimer(process);
    limit->setSingleShot(true);
    connect(limit, &QTimer::timeout, process, [this, process] {
        log(QStringLiteral("The after-sync command ran too long and was stopped"));
        process->kill();
    });
    connect(process, &QProcess::finished, this, [this, process](int code, QProcess::ExitStatus status) {
        const QString output = QString::fromLocal8Bit(process->readAll()).trimmed();
        if (!output.isEmpty())
            log(QStringLiteral("output = %1").arg(output));
        log(QStringLiteral("exit = %1").arg(status == QProcess::NormalExit ? QString::number(code) : QStringLiteral("crashed")));
        process->deleteLater();
        Q_EMIT busyChanged(false);
        Q_EMIT statusLineChanged(QString(SyncText::afterSyncFinished));
        Q_EMIT afterSyncFinished();
    });
    connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        log(QStringLiteral("error = %1").arg(process->errorString()));
        process->deleteLater();
        Q_EMIT busyChanged(false);
        Q_EMIT statusLineChanged(QString(SyncText::afterSyncFinished));
        Q_EMIT afterSyncFinished();
    });
    limit->start(kAfterSyncLimitMs);
    process->start();
}
