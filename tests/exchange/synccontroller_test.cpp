#include "exchange/synccontroller.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "support/calendarpeer.h"
#include "support/cannedhttpserver.h"
#include "support/logcapture.h"
#include "support/modelfixture.h"
#include "support/radicaleserver.h"
#include "support/testprocesses.h"

#include <QEventLoop>
#include <QTimer>

namespace {

// A task as the server holds it, with the name of its calendar.
struct ServerTask {
    QString calendar;
    QString href;
    QString etag;
    QByteArray body;
    CalendarTaskFields fields;
};

// Sync against a Radicale of the test's own: a store with the model, the program's preferences in a
// file, and a client of the test's own to play the other side (another program on the same server).
class SyncTest : public ModelFixture {
protected:
    void SetUp() override
    {
        ensureApplication();
        ModelFixture::SetUp();
        if (!server.start()) {
            if (!RadicaleServer::isInstalled())
                GTEST_SKIP() << server.error().toStdString();
            FAIL() << server.error().toStdString();
        }
        qputenv(calendarPasswordVariable.data(), "secret");
        prefs = std::make_unique<Preferences>(path(QStringLiteral("prefs.ini")));
        prefs->setString(PreferenceKey::calendarServer, server.url().toString());
        prefs->setString(PreferenceKey::calendarUser, QStringLiteral("alice"));
        other = std::make_unique<CalDavClient>(server.url(), QStringLiteral("alice"), QStringLiteral("secret"));
        work = newContext(QStringLiteral("Work"));
        work->setSynchronizable(true);
        garden = newProject(QStringLiteral("Garden"));
    }
    void TearDown() override { qunsetenv(calendarPasswordVariable.data()); }

    // One sync to its end; the message of its alert (empty when none).
    QString sync(SyncController::Outcome expected = SyncController::Outcome::Synced)
    {
        SyncController controller(*context, *prefs, dataFilePath());
        controller.setTimeout(5000);
        QEventLoop loop;
        std::optional<SyncController::Outcome> outcome;
        QString message;
        QObject::connect(&controller, &SyncController::finished, &loop, [&](SyncController::Outcome o, const QString& m) {
            outcome = o;
            message = m;
            loop.quit();
        });
        QObject::connect(&controller, &SyncController::statusLineChanged, &loop, [&](const QString& line) {
            if (line == QLatin1String("Sending changes...") && m_beforeWrites) {
                auto hook = std::exchange(m_beforeWrites, {});
                hook();
            }
        });
        log = loggedBy([&] {
            controller.doSync();
            if (!outcome) {
                QTimer::singleShot(120000, &loop, &QEventLoop::quit);
                loop.exec();
            }
        });
        counts = controller.counts();
        EXPECT_EQ(outcome, expected) << message.toStdString() << "\n" << log.join(u'\n').toStdString();
        return message;
    }
    // Runs once, inside the next sync, after it merged and before it writes.
    void beforeWrites(std::function<void()> hook) { m_beforeWrites = std::move(hook); }

    // Every task resource on the server, by UID.
    QHash<QString, ServerTask> serverTasks()
    {
        QHash<QString, ServerTask> tasks;
        for (const PeerTask& t : tasksOnServer(*other, server.homeHref()))
            tasks.insert(t.task.uid, {t.calendar, t.href, t.etag, t.body, t.task.fields});
        return tasks;
    }
    QStringList calendarNames()
    {
        const auto [listed, collections] = await<QList<CalDavCollection>>(
            [&](auto done) { other->listCollections(server.homeHref(), done); });
        QStringList names;
        for (const CalDavCollection& c : collections)
            names << c.displayName;
        names.sort();
        return names;
    }
    // The other program's edit of a resource: its fields changed, the rest of its body kept.
    void editOnServer(const QString& uid, const std::function<void(CalendarTaskFields&)>& edit, QByteArray extra = {})
    {
        const ServerTask task = serverTasks().value(uid);
        ASSERT_FALSE(task.href.isEmpty()) << uid.toStdString();
        CalendarTaskFields fields = task.fields;
        edit(fields);
        QByteArray body = writeCalendarTask(uid, fields, task.body, QDateTime::currentDateTimeUtc());
        if (!extra.isEmpty())
            body.replace("END:VTODO", extra + "END:VTODO");
        const auto [outcome, etag] = await<QString>([&](auto done) { other->putResource(task.href, body, task.etag, done); });
        ASSERT_TRUE(outcome.isOk()) << outcome.detail.toStdString();
    }
    void putOnServer(const QString& href, const QByteArray& body)
    {
        const auto [outcome, etag] = await<QString>([&](auto done) { other->putResource(href, body, QString(), done); });
        ASSERT_TRUE(outcome.isOk()) << href.toStdString() << outcome.detail.toStdString();
    }
    void deleteOnServer(const QString& uid)
    {
        const ServerTask task = serverTasks().value(uid);
        ASSERT_TRUE(awaitDone([&](auto done) { other->deleteResource(task.href, QString(), done); }).isOk());
    }
    QString makeCalendarOnServer(const QString& name)
    {
        const QString href = server.homeHref() + name.mid(name.startsWith(u'@') ? 1 : 0).toLower() + u'/';
        EXPECT_TRUE(awaitDone([&](auto done) { other->makeCalendar(href, name, done); }).isOk());
        return href;
    }
    static QByteArray todo(const QString& uid, const QString& summary)
    {
        CalendarTaskFields fields;
        fields.summary = summary;
        return writeCalendarTask(uid, fields, {}, QDateTime::currentDateTimeUtc());
    }
    Task* taskNamed(const QString& name) const
    {
        for (Record* r : context->allObjects(QStringLiteral("task")))
            if (static_cast<Task*>(r)->name() == name)
                return static_cast<Task*>(r);
        return nullptr;
    }
    Context* contextNamed(const QString& name) const
    {
        for (Record* r : context->allObjects(QStringLiteral("context")))
            if (static_cast<Context*>(r)->name() == name)
                return static_cast<Context*>(r);
        return nullptr;
    }

    RadicaleServer server;
    std::unique_ptr<Preferences> prefs;
    std::unique_ptr<CalDavClient> other;
    Context* work = nullptr;
    Project* garden = nullptr;
    QStringList log;
    SyncController::Counts counts;

private:
    std::function<void()> m_beforeWrites;
};

TEST_F(SyncTest, TasksGoToTheServerWithEveryMappedFieldAndANoChangeSyncWritesNothing)
{
    Context* privateContext = newContext(QStringLiteral("Private"));
    Task* call = addTask(QStringLiteral("Call Bob"), work, garden);
    call->setContent(QStringLiteral("about the fence"));
    call->setPriority(1);
    call->setDueDate(QDateTime(QDate(2026, 11, 30), QTime(0, 0)));
    call->setUrl(QStringLiteral("https://example.org/fence"));
    Task* done = addTask(QStringLiteral("Paid"), work);
    done->setDone(true);
    addTask(QStringLiteral("Secret"), privateContext);
    save();

    EXPECT_EQ(sync(), QString());
    EXPECT_EQ(calendarNames(), QStringList{QStringLiteral("@Work")});
    const QHash<QString, ServerTask> onServer = serverTasks();
    ASSERT_EQ(onServer.size(), 2);
    const ServerTask pushed = onServer.value(call->syncID());
    EXPECT_EQ(pushed.fields.summary, QStringLiteral("Call Bob [Garden]"));
    EXPECT_EQ(pushed.fields.description, QStringLiteral("about the fence"));
    EXPECT_EQ(pushed.fields.priority, 1);
    EXPECT_EQ(pushed.fields.due, QDate(2026, 11, 30));
    EXPECT_EQ(pushed.fields.url, QStringLiteral("https://example.org/fence"));
    EXPECT_FALSE(pushed.fields.completed);
    EXPECT_TRUE(onServer.value(done->syncID()).fields.completed);
    EXPECT_TRUE(log.contains(QStringLiteral("Sync start!")));
    EXPECT_TRUE(log.contains(QStringLiteral("Finished syncing")));
    EXPECT_TRUE(QFileInfo::exists(path(QStringLiteral("Vyro.sql.sync.bkp"))));

    const int puts = server.requestCount(QStringLiteral("PUT"));
    EXPECT_EQ(sync(), QString());
    EXPECT_EQ(server.requestCount(QStringLiteral("PUT")), puts);
    EXPECT_EQ(counts.written, 0);
    EXPECT_EQ(counts.pulled, 0);
}

TEST_F(SyncTest, ChangesMadeOnTheServerArriveAndWhatOtherProgramsAddedStays)
{
    Task* call = addTask(QStringLiteral("Call Bob"), work);
    call->setRecurMode(0);
    call->setRecurNumber(1);
    call->setDueDate(QDateTime(QDate(2026, 11, 25), QTime(0, 0)));
    Task* paid = addTask(QStringLiteral("Paid"), work);
    save();
    ASSERT_EQ(sync(), QString());

    editOnServer(call->syncID(), [](CalendarTaskFields& f) {
        f.summary = QStringLiteral("[garden] Call Robert");
        f.completed = true;
        f.priority = 5;
        f.description = QStringLiteral("ask about the fence");
    }, "X-OTHER-APP:kept\r\nBEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:soon\r\nTRIGGER:-PT15M\r\nEND:VALARM\r\n");
    deleteOnServer(paid->syncID());
    const QString home = makeCalendarOnServer(QStringLiteral("@Home"));
    putOnServer(home + QStringLiteral("water.ics"), todo(QStringLiteral("water-uid"), QStringLiteral("Water the plants")));
    const QString holidays = makeCalendarOnServer(QStringLiteral("Holidays"));
    putOnServer(holidays + QStringLiteral("trip.ics"), todo(QStringLiteral("trip-uid"), QStringLiteral("Book the trip")));

    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(call->name(), QStringLiteral("Call Robert"));
    EXPECT_EQ(call->parentProject(), garden);
    EXPECT_TRUE(call->done());
    EXPECT_EQ(call->priority(), 2);
    EXPECT_EQ(call->content(), QStringLiteral("ask about the fence"));
    EXPECT_NE(taskNamed(QStringLiteral("Call Robert")), nullptr);
    int occurrences = 0;
    for (Record* r : context->allObjects(QStringLiteral("task")))
        occurrences += static_cast<Task*>(r)->name() == QLatin1String("Call Robert") ? 1 : 0;
    EXPECT_EQ(occurrences, 2) << "the next occurrence of the completed recurring task";
    EXPECT_EQ(taskNamed(QStringLiteral("Paid")), nullptr);
    Context* homeContext = contextNamed(QStringLiteral("Home"));
    ASSERT_NE(homeContext, nullptr);
    EXPECT_TRUE(homeContext->synchronizable());
    ASSERT_NE(taskNamed(QStringLiteral("Water the plants")), nullptr);
    EXPECT_EQ(taskNamed(QStringLiteral("Water the plants"))->parentContext(), homeContext);
    EXPECT_EQ(contextNamed(QStringLiteral("Holidays")), nullptr);
    EXPECT_EQ(taskNamed(QStringLiteral("Book the trip")), nullptr);

    // Our next write of that task keeps the other program's alarm and property.
    call->setName(QStringLiteral("Call Robert today"));
    save();
    ASSERT_EQ(sync(), QString());
    const ServerTask written = serverTasks().value(call->syncID());
    EXPECT_EQ(written.fields.summary, QStringLiteral("Call Robert today [Garden]"));
    EXPECT_TRUE(written.body.contains("X-OTHER-APP:kept"));
    EXPECT_TRUE(written.body.contains("BEGIN:VALARM"));
}

TEST_F(SyncTest, EditsOnBothSidesBetweenTwoSyncsAreAllKept)
{
    Task* a = addTask(QStringLiteral("A"), work);
    Task* b = addTask(QStringLiteral("B"), work);
    Task* c = addTask(QStringLiteral("C"), work);
    Task* d = addTask(QStringLiteral("D"), work);
    Task* e = addTask(QStringLiteral("E"), work);
    save();
    ASSERT_EQ(sync(), QString());
    const QString dID = d->syncID();

    a->setName(QStringLiteral("A here"));
    b->setContent(QStringLiteral("B's note here"));
    c->setName(QStringLiteral("C here"));
    context->deleteObject(d);
    e->setContent(QStringLiteral("E's note here"));
    save();
    editOnServer(a->syncID(), [](CalendarTaskFields& f) { f.description = QStringLiteral("A's note there"); });
    editOnServer(b->syncID(), [](CalendarTaskFields& f) { f.summary = QStringLiteral("B there"); });
    editOnServer(c->syncID(), [](CalendarTaskFields& f) { f.summary = QStringLiteral("C there"); });
    editOnServer(dID, [](CalendarTaskFields& f) { f.priority = 1; });
    deleteOnServer(e->syncID());

    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(a->name(), QStringLiteral("A here"));
    EXPECT_EQ(a->content(), QStringLiteral("A's note there"));
    EXPECT_EQ(b->name(), QStringLiteral("B there"));
    EXPECT_EQ(b->content(), QStringLiteral("B's note here"));
    EXPECT_EQ(c->name(), QStringLiteral("C there")) << "changed on both sides: the server's value wins";
    ASSERT_NE(taskNamed(QStringLiteral("D")), nullptr) << "deleted here, changed there: the change is kept";
    EXPECT_EQ(taskNamed(QStringLiteral("D"))->priority(), 1);
    EXPECT_FALSE(e->isDeleted()) << "deleted there, changed here: the change is kept";
    EXPECT_TRUE(log.join(u'\n').contains(QStringLiteral("the server's value wins")));

    ASSERT_EQ(sync(), QString());
    const QHash<QString, ServerTask> onServer = serverTasks();
    EXPECT_EQ(onServer.value(a->syncID()).fields.summary, QStringLiteral("A here"));
    EXPECT_EQ(onServer.value(a->syncID()).fields.description, QStringLiteral("A's note there"));
    EXPECT_EQ(onServer.value(b->syncID()).fields.description, QStringLiteral("B's note here"));
    EXPECT_EQ(onServer.value(e->syncID()).fields.description, QStringLiteral("E's note here"));
    EXPECT_EQ(onServer.size(), 5);
}

TEST_F(SyncTest, AChangeOnTheServerDuringTheSyncIsMergedNotOverwritten)
{
    Task* a = addTask(QStringLiteral("A"), work);
    save();
    ASSERT_EQ(sync(), QString());
    a->setName(QStringLiteral("A here"));
    save();
    beforeWrites([&] { editOnServer(a->syncID(), [](CalendarTaskFields& f) { f.description = QStringLiteral("meanwhile"); }); });
    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(counts.conflicts, 1);
    EXPECT_EQ(a->content(), QStringLiteral("meanwhile"));
    const ServerTask onServer = serverTasks().value(a->syncID());
    EXPECT_EQ(onServer.fields.summary, QStringLiteral("A here"));
    EXPECT_EQ(onServer.fields.description, QStringLiteral("meanwhile"));
}

TEST_F(SyncTest, OnlyWhatTheModeLetsThroughGoesAndOtherContextsKeepTheirTasks)
{
    Context* errands = newContext(QStringLiteral("Errands"));
    errands->setSynchronizable(true);
    Task* next = addTask(QStringLiteral("Next"), work);
    next->setNextAction(true);
    Task* later = addTask(QStringLiteral("Later"), work);
    Task* kept = addTask(QStringLiteral("Milk"), errands);
    save();
    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(serverTasks().size(), 3);

    prefs->setInteger(PreferenceKey::syncTasksMode, 3);
    errands->setSynchronizable(false);
    save();
    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(serverTasks().keys(), QList<QString>{next->syncID()});
    EXPECT_EQ(calendarNames(), QStringList{QStringLiteral("@Work")});
    EXPECT_FALSE(later->isDeleted());
    EXPECT_FALSE(kept->isDeleted());
}

TEST_F(SyncTest, MovesBetweenCalendarsFollowTheRules)
{
    Context* errands = newContext(QStringLiteral("Errands"));
    errands->setSynchronizable(true);
    Task* milk = addTask(QStringLiteral("Milk"), work);
    Task* trip = addTask(QStringLiteral("Trip"), work);
    save();
    ASSERT_EQ(sync(), QString());

    milk->moveToContext(errands);
    save();
    ASSERT_EQ(sync(), QString());
    QHash<QString, ServerTask> onServer = serverTasks();
    EXPECT_EQ(onServer.size(), 2);
    EXPECT_EQ(onServer.value(milk->syncID()).calendar, QStringLiteral("@Errands"));

    // Another program moves a task into a calendar that is none of ours: the task goes here.
    const QString holidays = makeCalendarOnServer(QStringLiteral("Holidays"));
    const ServerTask moving = onServer.value(trip->syncID());
    putOnServer(holidays + QStringLiteral("trip.ics"), moving.body);
    ASSERT_TRUE(awaitDone([&](auto done) { other->deleteResource(moving.href, QString(), done); }).isOk());
    ASSERT_EQ(sync(), QString());
    EXPECT_TRUE(trip->isDeleted() || taskNamed(QStringLiteral("Trip")) == nullptr);
}

TEST_F(SyncTest, FailuresGiveTheirMessageAndTheNextSyncFinishesTheWork)
{
    Task* a = addTask(QStringLiteral("A"), work);
    save();

    qputenv(calendarPasswordVariable.data(), "wrong");
    EXPECT_TRUE(sync(SyncController::Outcome::Failed).startsWith(SyncText::registrationFailed));
    qputenv(calendarPasswordVariable.data(), "secret");
    ASSERT_EQ(sync(), QString());

    // Entries another program wrote that do not read are named and left alone.
    const QHash<QString, ServerTask> onServer = serverTasks();
    const QString collection = onServer.value(a->syncID()).href.section(u'/', 0, -2) + u'/';
    CalendarTaskFields huge;
    huge.summary = QStringLiteral("Huge");
    huge.description = QString(kCalendarTaskBodyLimit, u'x');
    putOnServer(collection + QStringLiteral("huge.ics"), writeCalendarTask(QStringLiteral("huge-uid"), huge, {}, QDateTime::currentDateTimeUtc()));
    putOnServer(collection + QStringLiteral("journal.ics"),
                "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:x\r\nBEGIN:VJOURNAL\r\nUID:journal-uid\r\nDTSTAMP:20260101T000000Z\r\n"
                "SUMMARY:a journal entry\r\nEND:VJOURNAL\r\nEND:VCALENDAR\r\n");
    putOnServer(collection + QStringLiteral("good.ics"), todo(QStringLiteral("good-uid"), QStringLiteral("Good")));
    const QString message = sync();
    EXPECT_EQ(taskNamed(QStringLiteral("Huge")), nullptr);
    EXPECT_TRUE(message.contains(QStringLiteral("huge.ics")) && message.contains(QStringLiteral("journal.ics")))
        << message.toStdString();
    EXPECT_NE(taskNamed(QStringLiteral("Good")), nullptr);

    // The server goes away in the middle: what was merged stays, nothing is lost, the next sync sends it.
    a->setName(QStringLiteral("A renamed"));
    save();
    beforeWrites([&] { server.kill(); });
    EXPECT_TRUE(sync(SyncController::Outcome::Failed).startsWith(SyncText::failed));
    EXPECT_EQ(a->name(), QStringLiteral("A renamed"));
    ASSERT_TRUE(server.restart()) << server.error().toStdString();
    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(serverTasks().value(a->syncID()).fields.summary, QStringLiteral("A renamed"));
}

TEST_F(SyncTest, ForgettingTheServerTellsWhetherThereWasOne)
{
    addTask(QStringLiteral("A"), work);
    save();
    SyncController controller(*context, *prefs, dataFilePath());
    EXPECT_EQ(controller.unregisterSyncClient(), QString(SyncText::notRegistered));
    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(controller.unregisterSyncClient(), QString(SyncText::forgotten));
    // Synced again from nothing: no duplicates on either side.
    ASSERT_EQ(sync(), QString());
    EXPECT_EQ(serverTasks().size(), 1);
    EXPECT_EQ(context->allObjects(QStringLiteral("task")).size(), 1u);
}

TEST_F(SyncTest, TwoSyncsNeverMergeIntoOneStoreAtOnce)
{
    addTask(QStringLiteral("A"), work);
    save();
    SyncController window(*context, *prefs, dataFilePath());
    std::optional<QString> refused;
    SyncController command(*context, *prefs, dataFilePath());
    QObject::connect(&command, &SyncController::finished, [&](SyncController::Outcome, const QString& m) { refused = m; });
    window.doSync();
    command.doSync();
    EXPECT_EQ(refused, QStringLiteral("A sync is already running."));
    QEventLoop loop;
    QObject::connect(&window, &SyncController::finished, &loop, &QEventLoop::quit);
    if (window.isRunning())
        loop.exec();
    EXPECT_EQ(serverTasks().size(), 1);
    EXPECT_EQ(sync(), QString()) << "free again once the first ended";
}

TEST_F(SyncTest, WithoutAServerNothingHappens)
{
    prefs->setString(PreferenceKey::calendarServer, QString());
    EXPECT_EQ(sync(SyncController::Outcome::Failed), QString(SyncText::disabled));
    EXPECT_TRUE(log.contains(QStringLiteral("Sync manaager is disabled!!!!!")));
}

// A server that fails at one step of the reading: the message names the failure, and the store and
// the sync's state are as they were.
TEST_F(ModelFixture, EachFailureOfTheServerGivesItsMessageAndChangesNothing)
{
    ensureApplication();
    using Answer = CannedHttpServer::Answer;
    const Answer principal{"207 Multi-Status", {}, CannedHttpServer::multistatus({{"/", "<d:current-user-principal><d:href>/p/</d:href></d:current-user-principal>"}})};
    const Answer homeSet{"207 Multi-Status", {}, CannedHttpServer::multistatus({{"/p/", "<cal:calendar-home-set><d:href>/home/</d:href></cal:calendar-home-set>"}})};
    const Answer calendars{"207 Multi-Status", {}, CannedHttpServer::multistatus({
        {"/home/", "<d:resourcetype><d:collection/></d:resourcetype>"},
        {"/home/work/", "<d:resourcetype><d:collection/><cal:calendar/></d:resourcetype><d:displayname>@Work</d:displayname>"
                        "<cs:getctag>1</cs:getctag><d:sync-token>t1</d:sync-token>"}})};
    const Answer error{"500 Internal Server Error", {}, {}};
    const Answer forbidden{"403 Forbidden", {}, {}};
    const Answer hangs{};
    struct Case {
        const char* what;
        QHash<QByteArray, Answer> answers;
        QLatin1StringView message;
        const char* detail;
    };
    const QList<Case> cases{
        {"an error at discovery", {{"PROPFIND /", error}}, SyncText::registrationFailed, "HTTP 500"},
        {"refused at discovery", {{"PROPFIND /", forbidden}}, SyncText::registrationFailed, "refused the user name or password"},
        {"no answer at discovery", {{"PROPFIND /", hangs}}, SyncText::registrationFailed, "did not answer"},
        {"an error listing the calendars", {{"PROPFIND /", principal}, {"PROPFIND /p/", homeSet}, {"PROPFIND /home/", error}}, SyncText::failed, "HTTP 500"},
        {"the home keeps missing", {{"PROPFIND /", principal}, {"PROPFIND /p/", homeSet}}, SyncText::failed, "no calendars at this address"},
        {"an error reading a calendar's changes", {{"PROPFIND /", principal}, {"PROPFIND /p/", homeSet}, {"PROPFIND /home/", calendars}, {"REPORT /home/work/", error}},
         SyncText::failed, "HTTP 500"},
        {"no answer reading a calendar's changes", {{"PROPFIND /", principal}, {"PROPFIND /p/", homeSet}, {"PROPFIND /home/", calendars}, {"REPORT /home/work/", hangs}},
         SyncText::failed, "did not answer"},
    };
    Context* work = newContext(QStringLiteral("Work"));
    work->setSynchronizable(true);
    addTask(QStringLiteral("A"), work);
    save();
    Preferences prefs(path(QStringLiteral("prefs.ini")));
    for (const Case& row : cases) {
        SCOPED_TRACE(row.what);
        CannedHttpServer server(row.answers);
        prefs.setString(PreferenceKey::calendarServer, server.url().toString());
        SyncController controller(*context, prefs, dataFilePath());
        controller.setTimeout(300);
        QEventLoop loop;
        QString message;
        QObject::connect(&controller, &SyncController::finished, &loop, [&](SyncController::Outcome, const QString& m) {
            message = m;
            loop.quit();
        });
        loggedBy([&] {
            controller.doSync();
            if (controller.isRunning())
                loop.exec();
        });
        EXPECT_TRUE(message.startsWith(row.message) && message.contains(QLatin1String(row.detail))) << message.toStdString();
        EXPECT_FALSE(context->hasChanges());
        EXPECT_FALSE(hasSyncState(*context));
        EXPECT_EQ(context->allObjects(QStringLiteral("context")).size(), 1u);
    }
}

} // namespace
