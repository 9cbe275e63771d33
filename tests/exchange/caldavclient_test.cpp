#include "exchange/caldavclient.h"

#include "exchange/davmultistatus.h"
#include "support/awaitanswer.h"
#include "support/cannedhttpserver.h"
#include "support/radicaleserver.h"
#include "support/testprocesses.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QHash>
#include <QSet>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace {

using Kind = WebDavOutcome::Kind;

QByteArray todo(const QString& uid, const QString& summary)
{
    return QStringLiteral("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Vyro//Tests//EN\r\nBEGIN:VTODO\r\nUID:%1\r\n"
                          "DTSTAMP:20260101T120000Z\r\nSUMMARY:%2\r\nEND:VTODO\r\nEND:VCALENDAR\r\n")
        .arg(uid, summary)
        .toUtf8();
}

QSet<QString> hrefsOf(const QList<CalDavResource>& resources)
{
    QSet<QString> hrefs;
    for (const CalDavResource& resource : resources)
        hrefs.insert(resource.href);
    return hrefs;
}

QString etagOf(const QList<CalDavResource>& resources, const QString& href)
{
    for (const CalDavResource& resource : resources)
        if (resource.href == href)
            return resource.etag;
    return {};
}

// One server for the suite; every test works in calendars of its own under alice's home.
class CalDavClientTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ensureApplication();
        s_server = new RadicaleServer;
        s_started = s_server->start();
    }
    static void TearDownTestSuite()
    {
        delete s_server;
        s_server = nullptr;
    }
    void SetUp() override
    {
        if (!s_started) {
            if (!RadicaleServer::isInstalled())
                GTEST_SKIP() << s_server->error().toStdString();
            FAIL() << s_server->error().toStdString();
        }
        m_client = std::make_unique<CalDavClient>(s_server->url(), QStringLiteral("alice"), QStringLiteral("secret"));
    }

    // A new VTODO calendar named after the running test, under alice's home.
    QString makeTaskCalendar(const QString& suffix = {})
    {
        const QString href = QStringLiteral("/alice/%1%2/")
                                 .arg(QString::fromUtf8(::testing::UnitTest::GetInstance()->current_test_info()->name()), suffix);
        const WebDavOutcome made = awaitDone([&](auto done) { m_client->makeCalendar(href, QStringLiteral("Tasks"), done); });
        EXPECT_TRUE(made.isOk()) << made.detail.toStdString();
        return href;
    }

    QString put(const QString& href, const QByteArray& body, const QString& ifMatch = {})
    {
        const auto [outcome, etag] = await<QString>([&](auto done) { m_client->putResource(href, body, ifMatch, done); });
        EXPECT_TRUE(outcome.isOk()) << href.toStdString() << ": " << outcome.detail.toStdString();
        return etag;
    }

    static RadicaleServer* s_server;
    static bool s_started;
    std::unique_ptr<CalDavClient> m_client;
};

RadicaleServer* CalDavClientTest::s_server = nullptr;
bool CalDavClientTest::s_started = false;

TEST_F(CalDavClientTest, FindsTheCalendarHomeFromAnyAddressOfTheServer)
{
    makeTaskCalendar();
    const QString calendar = QStringLiteral("/alice/FindsTheCalendarHomeFromAnyAddressOfTheServer/");
    for (const QString& path : {QStringLiteral("/"), QString(), QStringLiteral("/alice/"), QStringLiteral("/alice"), calendar}) {
        QUrl address = s_server->url();
        address.setPath(path);
        CalDavClient client(address, QStringLiteral("alice"), QStringLiteral("secret"));
        const auto [outcome, home] = await<QString>([&](auto done) { client.discoverCalendarHome(done); });
        EXPECT_TRUE(outcome.isOk()) << path.toStdString() << ": " << outcome.detail.toStdString();
        EXPECT_EQ(home, s_server->homeHref()) << "from " << path.toStdString();
    }
}

TEST_F(CalDavClientTest, ListsTheHomesCollectionsWithWhatTheyHold)
{
    const QString tasks = QStringLiteral("/alice/listed%20tasks/");
    const QString events = QStringLiteral("/alice/listed-events/");
    const QString contacts = QStringLiteral("/alice/listed-contacts/");
    ASSERT_TRUE(awaitDone([&](auto done) { m_client->makeCalendar(tasks, QStringLiteral("@Home & <Office>"), done); }).isOk());
    // Collections of other kinds, made the way other clients make them.
    WebDavClient dav(s_server->url(), QStringLiteral("alice"), QStringLiteral("secret"));
    auto make = [&](const QByteArray& verb, const QString& href, const QByteArray& body) {
        const auto [outcome, unused] = await<int>([&](auto answer) {
            dav.request(verb, dav.resolve(href), body, {}, [answer](const WebDavClient::Reply& reply) { answer(reply.outcome, 0); });
        });
        EXPECT_TRUE(outcome.isOk()) << href.toStdString() << ": " << outcome.detail.toStdString();
    };
    make("MKCALENDAR", events, "<C:mkcalendar xmlns:D=\"DAV:\" xmlns:C=\"urn:ietf:params:xml:ns:caldav\"><D:set><D:prop>"
                               "<C:supported-calendar-component-set><C:comp name=\"VEVENT\"/></C:supported-calendar-component-set>"
                               "</D:prop></D:set></C:mkcalendar>");
    make("MKCOL", contacts, "<D:mkcol xmlns:D=\"DAV:\" xmlns:A=\"urn:ietf:params:xml:ns:carddav\"><D:set><D:prop><D:resourcetype>"
                            "<D:collection/><A:addressbook/></D:resourcetype></D:prop></D:set></D:mkcol>");

    auto list = [&] {
        const auto [outcome, collections] = await<QList<CalDavCollection>>([&](auto done) { m_client->listCollections(s_server->homeHref(), done); });
        EXPECT_TRUE(outcome.isOk()) << outcome.detail.toStdString();
        QHash<QString, CalDavCollection> byHref;
        for (const CalDavCollection& collection : collections)
            byHref.insert(collection.href, collection);
        return byHref;
    };
    const auto before = list();
    EXPECT_FALSE(before.contains(s_server->homeHref()));
    struct Expected {
        QString href;
        std::optional<QString> displayName; // none: the server's choice (Radicale names it by its path)
        bool isCalendar;
        bool holdsTasks;
    };
    for (const Expected& row : {Expected{tasks, QStringLiteral("@Home & <Office>"), true, true},
                                Expected{events, std::nullopt, true, false}, Expected{contacts, std::nullopt, false, false}}) {
        ASSERT_TRUE(before.contains(row.href)) << row.href.toStdString();
        const CalDavCollection& got = before[row.href];
        if (row.displayName)
            EXPECT_EQ(got.displayName, *row.displayName) << row.href.toStdString();
        EXPECT_EQ(got.isCalendar, row.isCalendar) << row.href.toStdString();
        EXPECT_EQ(got.holdsTasks, row.holdsTasks) << row.href.toStdString();
    }
    EXPECT_FALSE(before[tasks].ctag.isEmpty());
    EXPECT_FALSE(before[tasks].syncToken.isEmpty());

    put(tasks + QStringLiteral("one.ics"), todo(QStringLiteral("one"), QStringLiteral("One")));
    const auto after = list();
    EXPECT_NE(after[tasks].ctag, before[tasks].ctag);
    EXPECT_NE(after[tasks].syncToken, before[tasks].syncToken);

    ASSERT_TRUE(awaitDone([&](auto done) { m_client->setDisplayName(tasks, QStringLiteral("Renamed"), done); }).isOk());
    EXPECT_EQ(list()[tasks].displayName, QStringLiteral("Renamed"));
}

// Each step runs on the same resource, in order.
TEST_F(CalDavClientTest, PutHoldsOnlyWhenTheEtagStillDoes)
{
    const QString calendar = makeTaskCalendar();
    const QString href = calendar + QStringLiteral("task%201.ics");
    QString current;
    QString previous;
    struct Step {
        const char* what;
        std::function<QString()> ifMatch;
        Kind expected;
    };
    const QList<Step> steps{
        {"create", [] { return QString(); }, Kind::Ok},
        {"create again", [] { return QString(); }, Kind::PreconditionFailed},
        {"update with a made-up etag", [] { return QStringLiteral("\"stale\""); }, Kind::PreconditionFailed},
        {"update with the current etag", [&] { return current; }, Kind::Ok},
        {"update with the replaced etag", [&] { return previous; }, Kind::PreconditionFailed},
        {"update with the new etag", [&] { return current; }, Kind::Ok},
    };
    int revision = 0;
    for (const Step& step : steps) {
        const QByteArray body = todo(QStringLiteral("task-1"), QStringLiteral("Revision %1").arg(++revision));
        const auto [outcome, etag] = await<QString>([&](auto done) { m_client->putResource(href, body, step.ifMatch(), done); });
        EXPECT_EQ(outcome.kind, step.expected) << step.what << ": " << outcome.detail.toStdString();
        if (outcome.isOk()) {
            // The server answers the new ETag, quoted, and it is the one its listings give.
            ASSERT_FALSE(etag.isEmpty()) << step.what;
            EXPECT_TRUE(etag.startsWith(QLatin1Char('"'))) << etag.toStdString();
            EXPECT_NE(etag, current) << step.what;
            previous = current;
            current = etag;
        } else {
            EXPECT_TRUE(etag.isEmpty()) << step.what;
        }
    }
    const auto [listed, resources] = await<QList<CalDavResource>>([&](auto done) { m_client->listResources(calendar, done); });
    ASSERT_TRUE(listed.isOk());
    EXPECT_EQ(etagOf(resources, href), current);
}

TEST_F(CalDavClientTest, ChangesSinceATokenNameWhatChangedAndWhatWent)
{
    const QString calendar = makeTaskCalendar();
    const QString a = calendar + QStringLiteral("a.ics");
    const QString b = calendar + QStringLiteral("b%20b.ics");
    const QString c = calendar + QStringLiteral("c.ics");
    put(a, todo(QStringLiteral("a"), QStringLiteral("A")));
    put(b, todo(QStringLiteral("b"), QStringLiteral("B")));

    const auto [initialOutcome, initial] = await<CalDavChanges>([&](auto done) { m_client->changesSince(calendar, QString(), done); });
    ASSERT_TRUE(initialOutcome.isOk()) << initialOutcome.detail.toStdString();
    EXPECT_TRUE(initial.complete);
    EXPECT_EQ(hrefsOf(initial.changed), (QSet<QString>{a, b}));
    EXPECT_TRUE(initial.removed.isEmpty());
    ASSERT_FALSE(initial.syncToken.isEmpty());

    const QString newA = put(a, todo(QStringLiteral("a"), QStringLiteral("A changed")), etagOf(initial.changed, a));
    const QString newC = put(c, todo(QStringLiteral("c"), QStringLiteral("C")));
    ASSERT_TRUE(awaitDone([&](auto done) { m_client->deleteResource(b, etagOf(initial.changed, b), done); }).isOk());

    const auto [outcome, changes] = await<CalDavChanges>([&](auto done) { m_client->changesSince(calendar, initial.syncToken, done); });
    ASSERT_TRUE(outcome.isOk()) << outcome.detail.toStdString();
    EXPECT_FALSE(changes.complete);
    EXPECT_EQ(hrefsOf(changes.changed), (QSet<QString>{a, c}));
    EXPECT_EQ(etagOf(changes.changed, a), newA);
    EXPECT_EQ(etagOf(changes.changed, c), newC);
    EXPECT_EQ(changes.removed, QStringList{b});
    EXPECT_NE(changes.syncToken, initial.syncToken);

    const auto [quiet, none] = await<CalDavChanges>([&](auto done) { m_client->changesSince(calendar, changes.syncToken, done); });
    ASSERT_TRUE(quiet.isOk());
    EXPECT_TRUE(none.changed.isEmpty() && none.removed.isEmpty() && !none.complete);

    // A token the server does not know (expired, or from another server) gives the whole collection.
    const QString bogus = changes.syncToken.left(changes.syncToken.lastIndexOf(QLatin1Char('/')) + 1) + QStringLiteral("0000");
    const auto [refused, all] = await<CalDavChanges>([&](auto done) { m_client->changesSince(calendar, bogus, done); });
    ASSERT_TRUE(refused.isOk()) << refused.detail.toStdString();
    EXPECT_TRUE(all.complete);
    EXPECT_EQ(hrefsOf(all.changed), (QSet<QString>{a, c}));
    EXPECT_FALSE(all.syncToken.isEmpty());
}

TEST_F(CalDavClientTest, FetchesManyResourcesInBatches)
{
    const QString calendar = makeTaskCalendar();
    // Written straight into the server's storage: hundreds of PUTs would only slow the test down.
    const QString folder = s_server->storageFolder() + QStringLiteral("/collection-root") + calendar;
    QStringList hrefs;
    for (int i = 0; i < 250; ++i) {
        const QString name = QStringLiteral("task-%1.ics").arg(i);
        QFile file(folder + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << file.fileName().toStdString();
        file.write(todo(QStringLiteral("task-%1").arg(i), QStringLiteral("Task number %1").arg(i)));
        hrefs << calendar + name;
    }
    hrefs.insert(120, calendar + QStringLiteral("gone-meanwhile.ics"));
    const int reportsBefore = s_server->requestCount(QStringLiteral("REPORT"));

    const auto [outcome, resources] = await<QList<CalDavResource>>([&](auto done) { m_client->fetchResources(calendar, hrefs, done); });
    ASSERT_TRUE(outcome.isOk()) << outcome.detail.toStdString();
    EXPECT_EQ(s_server->requestCount(QStringLiteral("REPORT")) - reportsBefore, 3);
    ASSERT_EQ(resources.size(), 250);
    for (const CalDavResource& resource : resources) {
        const QString number = resource.href.section(QLatin1Char('-'), 1).section(QLatin1Char('.'), 0, 0);
        EXPECT_FALSE(resource.etag.isEmpty()) << resource.href.toStdString();
        EXPECT_TRUE(resource.body.contains("UID:task-" + number.toUtf8())) << resource.href.toStdString();
        EXPECT_TRUE(resource.body.contains("\r\nSUMMARY:Task number " + number.toUtf8() + "\r\n")) << resource.href.toStdString();
        EXPECT_FALSE(resource.body.contains("\r\r")) << resource.href.toStdString();
    }
    const auto [none, nothing] = await<QList<CalDavResource>>([&](auto done) { m_client->fetchResources(calendar, {}, done); });
    EXPECT_TRUE(none.isOk() && nothing.isEmpty());
}

TEST_F(CalDavClientTest, DeleteHoldsOnlyWhenTheEtagStillDoes)
{
    const QString calendar = makeTaskCalendar();
    const QString href = calendar + QStringLiteral("doomed.ics");
    const QString etag = put(href, todo(QStringLiteral("doomed"), QStringLiteral("Doomed")));
    struct Step {
        const char* what;
        QString ifMatch;
        Kind expected;
    };
    for (const Step& step : {Step{"stale etag", QStringLiteral("\"stale\""), Kind::PreconditionFailed}, Step{"current etag", etag, Kind::Ok},
                             Step{"already gone", etag, Kind::Ok}, Step{"already gone, unconditional", QString(), Kind::Ok}}) {
        const WebDavOutcome outcome = awaitDone([&](auto done) { m_client->deleteResource(href, step.ifMatch, done); });
        EXPECT_EQ(outcome.kind, step.expected) << step.what << ": " << outcome.detail.toStdString();
    }
    const auto [listed, resources] = await<QList<CalDavResource>>([&](auto done) { m_client->listResources(calendar, done); });
    ASSERT_TRUE(listed.isOk());
    EXPECT_TRUE(resources.isEmpty());
}

TEST_F(CalDavClientTest, AWrongPasswordIsUnauthorized)
{
    CalDavClient client(s_server->url(), QStringLiteral("alice"), QStringLiteral("wrong"));
    EXPECT_EQ(await<QString>([&](auto done) { client.discoverCalendarHome(done); }).first.kind, Kind::Unauthorized);
    // Not taken for a refused sync token.
    EXPECT_EQ(await<CalDavChanges>([&](auto done) { client.changesSince(QStringLiteral("/alice/x/"), QStringLiteral("t"), done); }).first.kind,
              Kind::Unauthorized);
}

TEST(CalDavClientDown, AServerThatIsGoneGivesNoAnswer)
{
    ensureApplication();
    RadicaleServer server;
    if (!server.start()) {
        if (!RadicaleServer::isInstalled())
            GTEST_SKIP() << server.error().toStdString();
        FAIL() << server.error().toStdString();
    }
    CalDavClient client(server.url(), QStringLiteral("alice"), QStringLiteral("secret"));
    const auto [up, home] = await<QString>([&](auto done) { client.discoverCalendarHome(done); });
    ASSERT_TRUE(up.isOk()) << up.detail.toStdString();
    server.kill();
    EXPECT_EQ(await<QString>([&](auto done) { client.discoverCalendarHome(done); }).first.kind, Kind::NoAnswer);
    EXPECT_EQ(await<CalDavChanges>([&](auto done) { client.changesSince(home, QString(), done); }).first.kind, Kind::NoAnswer);
}

QByteArray multistatus(const QByteArray& href, const QByteArray& prop)
{
    return CannedHttpServer::multistatus({{href, prop}});
}

TEST(CalDavClientDown, AServerThatHangsGivesNoAnswerAfterTheTimeout)
{
    ensureApplication();
    CannedHttpServer server({{"PROPFIND /", CannedHttpServer::Answer{}}});
    CalDavClient client(server.url(), QString(), QString());
    client.setTimeout(200);
    EXPECT_EQ(await<QString>([&](auto done) { client.discoverCalendarHome(done); }).first.kind, Kind::NoAnswer);
}

TEST(CalDavDiscovery, TheWellKnownAddressIsFollowedWhenTheRootNamesNoPrincipal)
{
    ensureApplication();
    const CannedHttpServer::Answer noPrincipal{"207 Multi-Status", {}, multistatus("/", "")};
    const CannedHttpServer::Answer redirect{"301 Moved Permanently", "Location: /dav/\r\n", {}};
    const CannedHttpServer::Answer principal{"207 Multi-Status", {}, multistatus("/dav/", "<d:current-user-principal><d:href>/dav/principals/bob/</d:href></d:current-user-principal>")};
    const CannedHttpServer::Answer home{"207 Multi-Status", {},
                                    multistatus("/dav/principals/bob/", "<cal:calendar-home-set><d:href>/dav/calendars/bob%40example/</d:href></cal:calendar-home-set>")};
    struct Case {
        const char* what;
        QHash<QByteArray, CannedHttpServer::Answer> answers;
        WebDavOutcome::Kind kind;
        QString home;
    };
    const QList<Case> cases{
        {"redirect to the context path", {{"PROPFIND /", noPrincipal}, {"PROPFIND /.well-known/caldav", redirect}, {"PROPFIND /dav/", principal},
                                          {"PROPFIND /dav/principals/bob/", home}},
         Kind::Ok, QStringLiteral("/dav/calendars/bob%40example/")},
        {"no principal anywhere: the address is the home", {{"PROPFIND /", noPrincipal}}, Kind::Ok, QStringLiteral("/")},
        {"root refused, well-known redirects to a server without principals", {{"PROPFIND /.well-known/caldav", redirect}, {"PROPFIND /dav/", noPrincipal}},
         Kind::Ok, QStringLiteral("/dav/")},
        {"nothing answers", {}, Kind::NotFound, QString()},
    };
    for (const Case& row : cases) {
        CannedHttpServer server(row.answers);
        CalDavClient client(server.url(), QString(), QString());
        const auto [outcome, found] = await<QString>([&](auto done) { client.discoverCalendarHome(done); });
        EXPECT_EQ(outcome.kind, row.kind) << row.what << ": " << outcome.detail.toStdString() << " after " << server.asked.join(", ").toStdString();
        EXPECT_EQ(found, row.home) << row.what;
    }
}

TEST(DavMultistatus, ReadsAnswersWhateverTheirPrefixes)
{
    // Default namespace for DAV:, a full URL as href, calendar data in CDATA, one property refused.
    const QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<multistatus xmlns=\"DAV:\" xmlns:x=\"urn:ietf:params:xml:ns:caldav\">\n"
        " <response><href>https://example.org:8443/cal/a%20b.ics</href>\n"
        "  <propstat><prop><getetag>\"1\"</getetag><x:calendar-data><![CDATA[BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n]]></x:calendar-data></prop>"
        "<status>HTTP/1.1 200 OK</status></propstat>\n"
        "  <propstat><prop><displayname/></prop><status>HTTP/1.1 404 Not Found</status></propstat></response>\n"
        " <response><href>/cal/gone.ics</href><status>HTTP/1.1 404 Not Found</status></response>\n"
        " <sync-token>urn:token:7</sync-token>\n"
        "</multistatus>";
    DavMultistatus answer;
    ASSERT_TRUE(parseMultistatus(xml, answer));
    ASSERT_EQ(answer.responses.size(), 2);
    const DavResponse& first = answer.responses[0];
    EXPECT_EQ(hrefPath(first.href), QStringLiteral("/cal/a%20b.ics"));
    EXPECT_EQ(first.text(DavKey::dav("getetag")), QStringLiteral("\"1\""));
    EXPECT_EQ(first.text(DavKey::calDav("calendar-data")), QStringLiteral("BEGIN:VCALENDAR\nEND:VCALENDAR\n"));
    EXPECT_EQ(first.property(DavKey::dav("displayname")), nullptr);
    EXPECT_EQ(first.failedProperties.value(DavKey::dav("displayname")), 404);
    EXPECT_EQ(answer.responses[1].status, 404);
    EXPECT_EQ(answer.syncToken, QStringLiteral("urn:token:7"));

    for (const QByteArray& broken : {QByteArray("<multistatus xmlns=\"DAV:\"><response>"), QByteArray("<html><body>Hi</body></html>"), QByteArray()})
        EXPECT_FALSE(parseMultistatus(broken, answer)) << broken.constData();
}

TEST(DavMultistatus, HrefsAreTheSameByTheirDecodedPaths)
{
    struct Row {
        const char* a;
        const char* b;
        bool same;
    };
    for (const Row& row : {Row{"/alice/", "/alice", true}, Row{"/dav/bob%40example/", "/dav/bob@example/", true},
                           Row{"http://h:1/alice/cal/", "/alice/cal/", true}, Row{"/alice/cal/", "/alice/cal2/", false},
                           Row{"/alice/cal%20x/", "/alice/cal x", true}})
        EXPECT_EQ(sameHref(QString::fromUtf8(row.a), QString::fromUtf8(row.b)), row.same) << row.a << " vs " << row.b;
}

} // namespace
