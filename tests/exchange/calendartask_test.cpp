#include "exchange/calendartask.h"

#include "support/storefixture.h"

#include <QJsonDocument>
#include <QTimeZone>

static std::ostream& operator<<(std::ostream& os, const CalendarTaskFields& f)
{
    return os << QJsonDocument(f.toJson()).toJson(QJsonDocument::Compact).toStdString();
}

namespace {

const QDateTime kNow(QDate(2026, 11, 22), QTime(9, 30), Qt::UTC);
const QString kUid = QStringLiteral("x-coredata://A1/task/p7");

QByteArray crlf(const char* text)
{
    return QByteArray(text).replace("\n", "\r\n");
}

// The content lines of a body, unfolded.
QStringList linesOf(const QByteArray& body)
{
    QByteArray unfolded = body;
    unfolded.replace("\r\n ", "").replace("\r\n\t", "");
    return QString::fromUtf8(unfolded).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
}

QStringList linesStartingWith(const QByteArray& body, const QString& prefix)
{
    QStringList out;
    for (const QString& line : linesOf(body))
        if (line.startsWith(prefix))
            out << line;
    return out;
}

CalendarTaskFields readFields(const QByteArray& body)
{
    auto read = readCalendarTask(body);
    EXPECT_TRUE(read.isOk()) << read.status().toString().toStdString() << "\n" << body.toStdString();
    return read ? read->fields : CalendarTaskFields{};
}

CalendarTaskFields everyField()
{
    CalendarTaskFields f;
    // Long enough to be folded, with characters that are escaped or take several bytes.
    f.summary = QStringLiteral("Rückruf bei Müller, Köln; wegen Änderung der Gartenplanung für den Frühling [Garten]");
    f.description = QStringLiteral("first line\nsecond, with a comma; and \\ a backslash");
    f.completed = true;
    f.priority = 5;
    f.due = QDate(2026, 12, 3);
    f.url = QStringLiteral("https://example.org/a?b=c,d;e");
    return f;
}

const QByteArray kOtherClient = crlf(R"(BEGIN:VCALENDAR
PRODID:-//Mozilla.org/NONSGML Mozilla Calendar V1.1//EN
VERSION:2.0
BEGIN:VTIMEZONE
TZID:Europe/Berlin
BEGIN:STANDARD
TZOFFSETFROM:+0200
TZOFFSETTO:+0100
TZNAME:CET
DTSTART:19701025T030000
END:STANDARD
END:VTIMEZONE
BEGIN:VTODO
CREATED:20261101T080000Z
LAST-MODIFIED:20261101T080000Z
DTSTAMP:20261101T080000Z
UID:1f3c5d2e-7a41-4b7e-9d0c-2a4c1e0b9f11
SUMMARY;LANGUAGE=de:Hecke schneiden\, vorne
CATEGORIES:Garden,Errands
PRIORITY:1
STATUS:IN-PROCESS
PERCENT-COMPLETE:40
X-MOZ-GENERATION:3
X-FOO;X-PARAM=1:bar
DTSTART;TZID=Europe/Berlin:20261120T090000
DUE;TZID=Europe/Berlin:20261130T180000
DESCRIPTION:Use the long shears.\nTake gloves.
URL:https://example.org/hedge
BEGIN:VALARM
ACTION:DISPLAY
TRIGGER;VALUE=DURATION:-PT15M
DESCRIPTION:Default Mozilla Description
END:VALARM
END:VTODO
BEGIN:VTODO
UID:1f3c5d2e-7a41-4b7e-9d0c-2a4c1e0b9f11
RECURRENCE-ID;TZID=Europe/Berlin:20261207T180000
SUMMARY:Hecke schneiden (override)
END:VTODO
END:VCALENDAR
)");

TEST(CalendarTask, WrittenFieldsReadBackUnchanged)
{
    const CalendarTaskFields full = everyField();
    CalendarTaskFields open = full;
    open.completed = false;
    open.priority = 1;
    CalendarTaskFields bare;
    bare.summary = QStringLiteral("x");
    const QByteArray fullBody = writeCalendarTask(kUid, full, {}, kNow);
    const struct {
        const char* name;
        CalendarTaskFields fields;
        QByteArray existing;
    } cases[] = {
        {"every field, new body", full, {}},
        {"open, priority 1", open, {}},
        {"nothing but a summary", bare, {}},
        {"nothing at all", {}, {}},
        // Over a body that has every field: each empty field must take the property away.
        {"emptied over a full body", {}, fullBody},
        {"summary only over a full body", bare, fullBody},
        {"over another client's body", full, kOtherClient},
        {"emptied over another client's body", {}, kOtherClient},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QByteArray body = writeCalendarTask(kUid, c.fields, c.existing, kNow);
        auto read = readCalendarTask(body);
        ASSERT_TRUE(read.isOk()) << read.status().toString().toStdString() << "\n" << body.toStdString();
        EXPECT_EQ(read->uid, kUid);
        EXPECT_EQ(read->fields, c.fields) << body.toStdString();
        // Every line ends in CRLF.
        EXPECT_TRUE(body.endsWith("END:VCALENDAR\r\n"));
        EXPECT_FALSE(QByteArray(body).replace("\r\n", "").contains('\n'));
        EXPECT_EQ(linesStartingWith(body, QStringLiteral("DTSTAMP")), QStringList{QStringLiteral("DTSTAMP:20261122T093000Z")});
        EXPECT_EQ(linesStartingWith(body, QStringLiteral("LAST-MODIFIED")), QStringList{QStringLiteral("LAST-MODIFIED:20261122T093000Z")});
    }
}

TEST(CalendarTask, AnotherClientsPropertiesAndComponentsSurviveAWrite)
{
    CalendarTaskFields f;
    f.summary = QStringLiteral("Cut the hedge");
    f.due = QDate(2026, 12, 1);
    const QByteArray body = writeCalendarTask(QStringLiteral("1f3c5d2e-7a41-4b7e-9d0c-2a4c1e0b9f11"), f, kOtherClient, kNow);
    const QStringList lines = linesOf(body);
    // The parser takes a list of categories apart into one property each, and drops a VALUE parameter
    // that names the default type: the same data, written differently.
    for (const char* kept : {"PRODID:-//Mozilla.org/NONSGML Mozilla Calendar V1.1//EN", "TZID:Europe/Berlin",
                             "CATEGORIES:Garden", "CATEGORIES:Errands", "X-MOZ-GENERATION:3", "X-FOO;X-PARAM=1:bar",
                             "CREATED:20261101T080000Z", "DTSTART;TZID=Europe/Berlin:20261120T090000", "BEGIN:VALARM",
                             "TRIGGER:-PT15M", "DESCRIPTION:Default Mozilla Description",
                             "RECURRENCE-ID;TZID=Europe/Berlin:20261207T180000", "SUMMARY:Hecke schneiden (override)",
                             // The open state of the other client stays, and so does the parameter of the summary.
                             "STATUS:IN-PROCESS", "PERCENT-COMPLETE:40", "SUMMARY;LANGUAGE=de:Cut the hedge"})
        EXPECT_TRUE(lines.contains(QString::fromUtf8(kept))) << kept << "\n" << body.toStdString();
    for (const char* gone : {"PRIORITY", "URL", "DESCRIPTION:Use", "DUE;TZID"})
        EXPECT_TRUE(linesStartingWith(body, QString::fromUtf8(gone)).isEmpty()) << gone;
    EXPECT_EQ(linesStartingWith(body, QStringLiteral("DUE")), QStringList{QStringLiteral("DUE;VALUE=DATE:20261201")});
    EXPECT_EQ(linesStartingWith(body, QStringLiteral("BEGIN:VTODO")).size(), 2);
    EXPECT_EQ(linesStartingWith(body, QStringLiteral("PRODID")).size(), 1);
    EXPECT_EQ(linesStartingWith(body, QStringLiteral("BEGIN:VCALENDAR")).size(), 1);
}

TEST(CalendarTask, CompletedStampSetKeptAndRemoved)
{
    const QByteArray doneEarlier = crlf("BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:-//x//y//EN\nBEGIN:VTODO\nUID:u\n"
                                        "STATUS:COMPLETED\nCOMPLETED:20250101T120000Z\nPERCENT-COMPLETE:100\nEND:VTODO\nEND:VCALENDAR\n");
    const QByteArray openEarlier = crlf("BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:-//x//y//EN\nBEGIN:VTODO\nUID:u\n"
                                        "STATUS:NEEDS-ACTION\nPERCENT-COMPLETE:60\nEND:VTODO\nEND:VCALENDAR\n");
    const struct {
        const char* name;
        QByteArray existing;
        bool completed;
        QStringList status, stamp, percent;
    } cases[] = {
        {"new, completed", {}, true, {"STATUS:COMPLETED"}, {"COMPLETED:20261122T093000Z"}, {}},
        {"new, open", {}, false, {"STATUS:NEEDS-ACTION"}, {}, {}},
        {"becomes completed", openEarlier, true, {"STATUS:COMPLETED"}, {"COMPLETED:20261122T093000Z"}, {"PERCENT-COMPLETE:100"}},
        {"stays completed", doneEarlier, true, {"STATUS:COMPLETED"}, {"COMPLETED:20250101T120000Z"}, {"PERCENT-COMPLETE:100"}},
        {"reopened", doneEarlier, false, {"STATUS:NEEDS-ACTION"}, {}, {}},
        {"stays open", openEarlier, false, {"STATUS:NEEDS-ACTION"}, {}, {"PERCENT-COMPLETE:60"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CalendarTaskFields f;
        f.summary = QStringLiteral("t");
        f.completed = c.completed;
        const QByteArray body = writeCalendarTask(QStringLiteral("u"), f, c.existing, kNow);
        EXPECT_EQ(linesStartingWith(body, QStringLiteral("STATUS")), c.status);
        EXPECT_EQ(linesStartingWith(body, QStringLiteral("COMPLETED")), c.stamp);
        EXPECT_EQ(linesStartingWith(body, QStringLiteral("PERCENT-COMPLETE")), c.percent);
        EXPECT_EQ(readFields(body).completed, c.completed);
    }
}

TEST(CalendarTask, DueDateTimesReadAsTheLocalDay)
{
    auto localDay = [](int hour, const QTimeZone& zone) {
        return QDateTime(QDate(2026, 11, 30), QTime(hour, 30), zone).toLocalTime().date();
    };
    const QByteArray kiritimatiZone = "BEGIN:VTIMEZONE\nTZID:Line Islands\nBEGIN:STANDARD\nDTSTART:19700101T000000\n"
                                      "TZOFFSETFROM:+1400\nTZOFFSETTO:+1400\nEND:STANDARD\nEND:VTIMEZONE\n";
    const struct {
        const char* name;
        QByteArray due;
        QByteArray zones;
        QDate expected;
    } cases[] = {
        {"date", "DUE;VALUE=DATE:20261130", {}, QDate(2026, 11, 30)},
        {"floating date-time: as written", "DUE:20261130T233000", {}, QDate(2026, 11, 30)},
        {"UTC", "DUE:20261130T233000Z", {}, localDay(23, QTimeZone::utc())},
        // Late in the day west of everybody, early in the day east of everybody: another local day
        // almost anywhere.
        {"zone from the system", "DUE;TZID=Pacific/Honolulu:20261130T233000", {}, localDay(23, QTimeZone("Pacific/Honolulu"))},
        {"zone of the body", "DUE;TZID=Line Islands:20261130T003000", kiritimatiZone, localDay(0, QTimeZone(14 * 3600))},
        {"unknown zone: as written", "DUE;TZID=Nowhere/Town:20261130T233000", {}, QDate(2026, 11, 30)},
        {"none", {}, {}, QDate()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QByteArray body = "BEGIN:VCALENDAR\nVERSION:2.0\n" + c.zones + "BEGIN:VTODO\nUID:u\n";
        if (!c.due.isEmpty())
            body += c.due + "\n";
        body += "END:VTODO\nEND:VCALENDAR\n";
        const CalendarTaskFields read = readFields(crlf(body.constData()));
        EXPECT_EQ(read.due, c.expected);
        if (!read.due.isValid())
            continue;
        // Written back as the day alone: no zone, no time.
        const QByteArray written = writeCalendarTask(QStringLiteral("u"), read, crlf(body.constData()), kNow);
        EXPECT_EQ(linesStartingWith(written, QStringLiteral("DUE")),
                  QStringList{QStringLiteral("DUE;VALUE=DATE:") + c.expected.toString(QStringLiteral("yyyyMMdd"))});
        EXPECT_EQ(readFields(written).due, c.expected);
    }
}

TEST(CalendarTask, UnreadableBodiesAreRefused)
{
    QByteArray huge = crlf("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:u\nDESCRIPTION:");
    huge += QByteArray(kCalendarTaskBodyLimit, 'a') + crlf("\nEND:VTODO\nEND:VCALENDAR\n");
    const struct {
        const char* name;
        QByteArray body;
        const char* message;
    } cases[] = {
        {"too large", huge, "larger"},
        {"empty", {}, "not iCalendar"},
        {"not iCalendar", "<html><body>Login</body></html>", "not iCalendar"},
        {"cut off", crlf("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:u\nSUMMARY:a\n"), "not iCalendar"},
        {"an event only", crlf("BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VEVENT\nUID:u\nSUMMARY:Party\nEND:VEVENT\nEND:VCALENDAR\n"), "no task"},
        {"no UID", crlf("BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VTODO\nSUMMARY:a\nEND:VTODO\nEND:VCALENDAR\n"), "no UID"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto read = readCalendarTask(c.body);
        ASSERT_FALSE(read.isOk());
        EXPECT_EQ(read.status().code(), Status::Code::InvalidArgument);
        EXPECT_TRUE(read.status().message().contains(QString::fromUtf8(c.message))) << read.status().message().toStdString();
        // Written over, such a body gives a task with the calendar header (new but for the one without a UID).
        CalendarTaskFields f;
        f.summary = QStringLiteral("s");
        const QByteArray written = writeCalendarTask(QStringLiteral("v"), f, c.body, kNow);
        EXPECT_EQ(readFields(written), f);
        EXPECT_EQ(linesStartingWith(written, QStringLiteral("PRODID")), QStringList{QStringLiteral("PRODID:-//Quendar//Vyro//EN")});
        EXPECT_EQ(linesStartingWith(written, QStringLiteral("VERSION")), QStringList{QStringLiteral("VERSION:2.0")});
    }
}

TEST(CalendarTask, OtherClientsBodiesRead)
{
    // Written the way a command-line client writes: LF line endings, a folded summary, no VTIMEZONE.
    const QByteArray cli = "BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:-//todo//cli//EN\nBEGIN:VTODO\nUID:b0a2@host\n"
                           "SUMMARY:Ask the landlord about the heating\\, the windows and the\n  broken door\n"
                           "COMPLETED:20261120T101500Z\nDUE;VALUE=DATE:20261129\nPRIORITY:9\nDTSTAMP:20261120T101500Z\n"
                           "END:VTODO\nEND:VCALENDAR\n";
    const QByteArray bare = crlf("BEGIN:VTODO\nUID:bare\nSUMMARY:Bare\nSTATUS:COMPLETED\nEND:VTODO\n");
    const QByteArray xlicNoise = crlf("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:n\nSUMMARY:Noisy\nthis line is broken\nEND:VTODO\nEND:VCALENDAR\n");
    CalendarTaskFields thunderbird;
    thunderbird.summary = QStringLiteral("Hecke schneiden, vorne");
    thunderbird.description = QStringLiteral("Use the long shears.\nTake gloves.");
    thunderbird.priority = 1;
    thunderbird.due = QDateTime(QDate(2026, 11, 30), QTime(18, 0), QTimeZone("Europe/Berlin")).toLocalTime().date();
    thunderbird.url = QStringLiteral("https://example.org/hedge");
    CalendarTaskFields landlord;
    landlord.summary = QStringLiteral("Ask the landlord about the heating, the windows and the broken door");
    landlord.completed = true; // COMPLETED without a STATUS
    landlord.priority = 9;
    landlord.due = QDate(2026, 11, 29);
    const struct {
        const char* name;
        QByteArray body;
        QString uid;
        CalendarTaskFields fields;
    } cases[] = {
        {"calendar program (master, not the override)", kOtherClient, QStringLiteral("1f3c5d2e-7a41-4b7e-9d0c-2a4c1e0b9f11"), thunderbird},
        {"command-line client", cli, QStringLiteral("b0a2@host"), landlord},
        {"bare VTODO", bare, QStringLiteral("bare"), {QStringLiteral("Bare"), {}, true, 0, {}, {}}},
        {"line the parser cannot read", xlicNoise, QStringLiteral("n"), {QStringLiteral("Noisy"), {}, false, 0, {}, {}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto read = readCalendarTask(c.body);
        ASSERT_TRUE(read.isOk()) << read.status().toString().toStdString();
        EXPECT_EQ(read->uid, c.uid);
        EXPECT_EQ(read->fields, c.fields);
        // What the parser noted about the body is not sent back; a bare task gains its VCALENDAR.
        const QByteArray written = writeCalendarTask(c.uid, c.fields, c.body, kNow);
        EXPECT_FALSE(written.contains("X-LIC-ERROR"));
        EXPECT_TRUE(written.startsWith("BEGIN:VCALENDAR\r\n"));
        EXPECT_EQ(readFields(written), c.fields);
    }
}

TEST(CalendarTask, FieldsKeptAsJsonAndComparedOneByOne)
{
    const CalendarTaskFields full = everyField();
    for (const CalendarTaskFields& f : {CalendarTaskFields{}, full})
        EXPECT_EQ(CalendarTaskFields::fromJson(f.toJson()), f);

    const CalendarTaskFields empty;
    for (CalendarField field : kCalendarFields) {
        SCOPED_TRACE(calendarFieldName(field).toStdString());
        EXPECT_FALSE(sameCalendarField(empty, full, field));
        CalendarTaskFields copy;
        copyCalendarField(copy, full, field);
        EXPECT_TRUE(sameCalendarField(copy, full, field));
        // Only that field moved.
        int same = 0;
        for (CalendarField other : kCalendarFields)
            same += sameCalendarField(copy, empty, other);
        EXPECT_EQ(same, 5);
    }
    EXPECT_EQ(calendarFieldText(full, CalendarField::Status), QStringLiteral("completed"));
    EXPECT_EQ(calendarFieldText(empty, CalendarField::Status), QStringLiteral("needsaction"));
    EXPECT_EQ(calendarFieldText(full, CalendarField::Due), QStringLiteral("2026-12-03"));
}

} // namespace
