#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/mydateformatter.h"
#include "model/sortingnilsortdescriptor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <vector>

namespace {

// Local wall time with its offset: a result with the right wall time in the wrong offset fails too.
std::string text(const QDateTime& d)
{
    return d.isValid() ? d.toOffsetFromUtc(d.offsetFromUtc()).toString(Qt::ISODate).toStdString() : "invalid";
}

std::string text(const std::optional<QDateTime>& d)
{
    return d ? text(*d) : "none";
}

// Each case names its time zone; the clock is a wall time in that zone ("2026-05-13T15:42:00") or, with
// "Z", a UTC instant.
class DatesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_hadZone = qEnvironmentVariableIsSet("TZ");
        m_zone = qgetenv("TZ");
        naturalLanguage(true);
    }

    void TearDown() override
    {
        if (m_hadZone)
            qputenv("TZ", m_zone);
        else
            qunsetenv("TZ");
        tzset();
    }

    static void useZone(const char* zone)
    {
        qputenv("TZ", zone);
        tzset();
    }

    static QDateTime parse(const char* wallTime)
    {
        return QDateTime::fromString(QString::fromLatin1(wallTime), Qt::ISODate);
    }

    void at(const char* zone, const char* now)
    {
        useZone(zone);
        const QDateTime fixed = parse(now);
        ASSERT_TRUE(fixed.isValid()) << now;
        environment.setClock([fixed] { return fixed; });
    }

    void naturalLanguage(bool on)
    {
        environment.setPreferenceReader([on](QStringView key) {
            return key == u"datesUseNaturalLanguage" ? QVariant(on) : QVariant();
        });
    }

    MyDateFormatter usFormatter() const { return MyDateFormatter(environment, QLocale(QLocale::English, QLocale::UnitedStates)); }

    ModelEnvironment environment;

private:
    bool m_hadZone = false;
    QByteArray m_zone;
};

constexpr const char* kBerlin = "Europe/Berlin";
constexpr const char* kSaoPaulo = "America/Sao_Paulo"; // 2018-11-04 began at 01:00
constexpr const char* kBeirut = "Asia/Beirut";         // 2024-03-31 began at 01:00

} // namespace

TEST_F(DatesTest, AnchorsResolveInLocalTime)
{
    struct Case {
        const char* zone;
        const char* now;
        const char* phrase;
        const char* expected;
    };
    const Case cases[] = {
        {kBerlin, "2026-05-13T15:42:00", "Today", "2026-05-13T00:00:00+02:00"},
        {kBerlin, "2026-05-13T15:42:00", "Today 00:00", "2026-05-13T00:00:00+02:00"},
        {kBerlin, "2026-05-13T15:42:00", "Today 23:59", "2026-05-13T23:59:00+02:00"},
        {kBerlin, "2026-05-13T15:42:00", "Tomorrow 00:00", "2026-05-14T00:00:00+02:00"},
        {kBerlin, "2026-05-13T15:42:00", "Tomorrow 0:00", "2026-05-14T00:00:00+02:00"},
        {kBerlin, "2026-05-13T15:42:00", "Tomorrow 23:59", "2026-05-14T23:59:00+02:00"},
        {kBerlin, "2026-05-13T15:42:00", "Yesterday 00:00", "2026-05-12T00:00:00+02:00"},
        // the clock's instant is read in local time: 22:30 UTC is already the 14th in Berlin
        {kBerlin, "2026-05-13T22:30:00Z", "Today", "2026-05-14T00:00:00+02:00"},
        {kBerlin, "2026-04-30T23:59:30", "Today 23:59", "2026-04-30T23:59:00+02:00"},
        {kBerlin, "2026-04-30T23:59:30", "Tomorrow 00:00", "2026-05-01T00:00:00+02:00"},
        {kBerlin, "2026-12-31T23:30:00", "Tomorrow 00:00", "2027-01-01T00:00:00+01:00"},
        {kBerlin, "2026-12-31T23:30:00", "Tomorrow 23:59", "2027-01-01T23:59:00+01:00"},
        {kBerlin, "2026-12-31T23:30:00", "Yesterday 00:00", "2026-12-30T00:00:00+01:00"},
        {kBerlin, "2027-01-01T00:00:00", "Yesterday 00:00", "2026-12-31T00:00:00+01:00"},
        {kBerlin, "2028-02-28T12:00:00", "Tomorrow 0:00", "2028-02-29T00:00:00+01:00"},
        // spring forward: the day has 23 hours
        {kBerlin, "2026-03-28T23:00:00", "Tomorrow 00:00", "2026-03-29T00:00:00+01:00"},
        {kBerlin, "2026-03-28T23:00:00", "Tomorrow 23:59", "2026-03-29T23:59:00+02:00"},
        {kBerlin, "2026-03-29T12:00:00", "Today 00:00", "2026-03-29T00:00:00+01:00"},
        {kBerlin, "2026-03-29T12:00:00", "Today 23:59", "2026-03-29T23:59:00+02:00"},
        {kBerlin, "2026-03-29T12:00:00", "Tomorrow 00:00", "2026-03-30T00:00:00+02:00"},
        {kBerlin, "2026-03-29T12:00:00", "Yesterday 00:00", "2026-03-28T00:00:00+01:00"},
        // fall back: the day has 25 hours
        {kBerlin, "2026-10-25T12:00:00", "Today", "2026-10-25T00:00:00+02:00"},
        {kBerlin, "2026-10-25T12:00:00", "Today 23:59", "2026-10-25T23:59:00+01:00"},
        {kBerlin, "2026-10-25T12:00:00", "Tomorrow 00:00", "2026-10-26T00:00:00+01:00"},
        {kBerlin, "2026-10-25T12:00:00", "Yesterday 00:00", "2026-10-24T00:00:00+02:00"},
        // days without a midnight start at their first moment
        {kSaoPaulo, "2018-11-04T12:00:00", "Today", "2018-11-04T01:00:00-02:00"},
        {kSaoPaulo, "2018-11-04T12:00:00", "Yesterday 00:00", "2018-11-03T00:00:00-03:00"},
        {kSaoPaulo, "2018-11-03T20:00:00", "Tomorrow 00:00", "2018-11-04T01:00:00-02:00"},
        {kBeirut, "2024-03-31T12:00:00", "Today 00:00", "2024-03-31T01:00:00+03:00"},
        {kBeirut, "2024-03-30T12:00:00", "Tomorrow 0:00", "2024-03-31T01:00:00+03:00"},
        // only the phrases as written
        {kBerlin, "2026-05-13T15:42:00", "today", "none"},
        {kBerlin, "2026-05-13T15:42:00", "Tomorrow", "none"},
        {kBerlin, "2026-05-13T15:42:00", "Today 12:00", "none"},
        {kBerlin, "2026-05-13T15:42:00", "", "none"},
    };
    for (const Case& c : cases) {
        at(c.zone, c.now);
        EXPECT_EQ(text(DateAnchors::anchor(QString::fromLatin1(c.phrase), environment.now())), c.expected)
            << c.zone << " at " << c.now << ": " << c.phrase;
    }
}

TEST_F(DatesTest, CalendarArithmeticKeepsTheLocalTimeOfDay)
{
    enum Unit { Days, Months };
    struct Case {
        const char* zone;
        const char* start;
        Unit unit;
        int n;
        const char* expected;
    };
    const Case cases[] = {
        {kBerlin, "2026-03-28T09:30:00", Days, 1, "2026-03-29T09:30:00+02:00"},
        {kBerlin, "2026-03-22T08:00:00", Days, 7, "2026-03-29T08:00:00+02:00"},
        {kBerlin, "2026-03-30T09:30:00", Days, -2, "2026-03-28T09:30:00+01:00"},
        {kBerlin, "2026-10-24T09:30:00", Days, 1, "2026-10-25T09:30:00+01:00"},
        {kBerlin, "2026-12-31T18:00:00", Days, 1, "2027-01-01T18:00:00+01:00"},
        // a UTC instant is moved by local days: 08:30 UTC is 09:30 in Berlin
        {kBerlin, "2026-03-28T08:30:00Z", Days, 1, "2026-03-29T09:30:00+02:00"},
        // 02:30 does not exist on 29 March: it moves forward by the hour that was skipped
        {kBerlin, "2026-03-28T02:30:00", Days, 1, "2026-03-29T03:30:00+02:00"},
        {kBerlin, "2026-01-29T02:30:00", Months, 2, "2026-03-29T03:30:00+02:00"},
        {kBerlin, "2026-01-31T10:00:00", Months, 1, "2026-02-28T10:00:00+01:00"},
        {kBerlin, "2028-01-31T10:00:00", Months, 1, "2028-02-29T10:00:00+01:00"},
        {kBerlin, "2026-02-15T10:00:00", Months, 2, "2026-04-15T10:00:00+02:00"},
        {kBerlin, "2026-11-15T10:00:00", Months, -1, "2026-10-15T10:00:00+02:00"},
        {kBerlin, "2026-12-31T10:00:00", Months, 2, "2027-02-28T10:00:00+01:00"},
        {kSaoPaulo, "2018-11-03T00:00:00", Days, 1, "2018-11-04T01:00:00-02:00"},
        {kSaoPaulo, "2018-11-03T12:00:00", Days, 1, "2018-11-04T12:00:00-02:00"},
    };
    for (const Case& c : cases) {
        useZone(c.zone);
        const QDateTime start = parse(c.start);
        const QDateTime moved = c.unit == Days ? DateAnchors::addCalendarDays(start, c.n)
                                               : DateAnchors::addCalendarMonths(start, c.n);
        EXPECT_EQ(text(moved), c.expected) << c.start << (c.unit == Days ? " days " : " months ") << c.n;
    }
    EXPECT_FALSE(DateAnchors::addCalendarDays(QDateTime(), 1).isValid());
}

TEST_F(DatesTest, FormatsNearDatesAsWords)
{
    // Wednesday 13 May 2026 unless a case says otherwise.
    struct Case {
        const char* now;
        bool naturalLanguage;
        const char* date; // nullptr: absent
        const char* expected;
    };
    const char* wednesday = "2026-05-13T15:42:00";
    const Case cases[] = {
        {wednesday, true, "2026-05-13T00:00:00", "Today"},
        {wednesday, true, "2026-05-13T23:59:00", "Today"},
        {wednesday, true, "2026-05-14T00:00:00", "Tomorrow"},
        {wednesday, true, "2026-05-14T23:59:59", "Tomorrow"},
        {wednesday, true, "2026-05-12T00:00:00", "Yesterday"},
        {wednesday, true, "2026-05-12T23:59:00", "Yesterday"},
        {wednesday, true, "2026-05-11T23:59:00", "5/11/26"},
        {wednesday, true, "2026-05-15T00:00:00", "Friday"},
        {wednesday, true, "2026-05-19T23:59:00", "Tuesday"},
        {wednesday, true, "2026-05-20T00:00:00", "Wednesday"}, // exactly seven days: still a name
        {wednesday, true, "2026-05-20T00:00:01", "5/20/26"},
        {wednesday, true, "2026-05-21T00:00:00", "5/21/26"},
        {wednesday, true, "2025-05-13T12:00:00", "5/13/25"},
        {wednesday, false, "2026-05-13T12:00:00", "5/13/26"},
        {wednesday, false, "2026-05-14T00:00:00", "5/14/26"},
        {wednesday, true, nullptr, ""},
        {wednesday, false, nullptr, ""},
        // The windows are 86400 seconds from each midnight, not calendar days. On the 23-hour day the
        // first hour of the next day is still "Today"; on the 25-hour day the last hour is no longer
        // "Today" and not yet "Tomorrow", so it gets its weekday name.
        {"2026-03-29T12:00:00", true, "2026-03-30T00:30:00", "Today"},
        {"2026-03-29T12:00:00", true, "2026-03-30T01:30:00", "Tomorrow"},
        {"2026-10-25T12:00:00", true, "2026-10-25T23:30:00", "Sunday"},
        {"2026-10-25T12:00:00", true, "2026-10-26T00:00:00", "Tomorrow"},
    };
    const MyDateFormatter formatter = usFormatter();
    for (const Case& c : cases) {
        at(kBerlin, c.now);
        naturalLanguage(c.naturalLanguage);
        const QDateTime date = c.date ? parse(c.date) : QDateTime();
        EXPECT_EQ(formatter.stringForObjectValue(date).toStdString(), c.expected)
            << "now " << c.now << ", date " << (c.date ? c.date : "absent") << ", words " << c.naturalLanguage;
    }
}

TEST_F(DatesTest, ReadsPlusDaysAndShortDates)
{
    struct Case {
        const char* zone;
        const char* now;
        const char* input;
        const char* expected;
    };
    const char* wednesday = "2026-05-13T15:42:00";
    const Case cases[] = {
        {kBerlin, wednesday, "+1", "2026-05-14T00:00:00+02:00"},
        {kBerlin, wednesday, "+10", "2026-05-23T00:00:00+02:00"},
        {kBerlin, wednesday, " +3 ", "2026-05-16T00:00:00+02:00"},
        {kBerlin, wednesday, "+0", "none"},
        {kBerlin, wednesday, "+", "none"},
        {kBerlin, wednesday, "+-2", "none"},
        {kBerlin, wednesday, "+x", "none"},
        {kBerlin, wednesday, "+2x", "none"},
        {kBerlin, wednesday, "++2", "none"},
        {kBerlin, wednesday, "+99999999999999999999", "none"},
        // the short form shows two-digit years; they read back within fifty years of now
        {kBerlin, wednesday, "5/20/26", "2026-05-20T00:00:00+02:00"},
        {kBerlin, wednesday, "5/20/2026", "2026-05-20T00:00:00+02:00"},
        {kBerlin, wednesday, "12/31/99", "1999-12-31T00:00:00+01:00"},
        {kBerlin, wednesday, "1/2/76", "1976-01-02T00:00:00+01:00"},
        {kBerlin, wednesday, "1/2/75", "2075-01-02T00:00:00+01:00"},
        {kBerlin, wednesday, "2/30/26", "none"},
        {kBerlin, wednesday, "tomorrow", "none"},
        {kBerlin, wednesday, "", "none"},
        // calendar days across the change to summer time, and from a day without a midnight
        {kBerlin, "2026-03-28T12:00:00", "+1", "2026-03-29T00:00:00+01:00"},
        {kBerlin, "2026-03-28T12:00:00", "+2", "2026-03-30T00:00:00+02:00"},
        {kSaoPaulo, "2018-11-03T12:00:00", "+1", "2018-11-04T01:00:00-02:00"},
        {kSaoPaulo, "2018-11-04T12:00:00", "+1", "2018-11-05T00:00:00-02:00"},
        {kSaoPaulo, "2018-11-04T12:00:00", "11/5/18", "2018-11-05T00:00:00-02:00"},
    };
    const MyDateFormatter formatter = usFormatter();
    for (const Case& c : cases) {
        at(c.zone, c.now);
        EXPECT_EQ(text(formatter.getObjectValue(QString::fromLatin1(c.input))), c.expected)
            << c.zone << " at " << c.now << ": \"" << c.input << "\"";
    }
}

TEST_F(DatesTest, NaturalLanguageReaderComesAfterPlusDaysAndTheShortForm)
{
    at(kBerlin, "2026-05-13T15:42:00");
    const QDateTime sentinel = parse("2000-01-01T12:00:00");
    QStringList seen;
    MyDateFormatter formatter = usFormatter();
    formatter.setNaturalLanguageReader([&](const QString& text) -> std::optional<QDateTime> {
        seen << text;
        return sentinel;
    });
    EXPECT_EQ(text(formatter.getObjectValue(QStringLiteral("+2"))), "2026-05-15T00:00:00+02:00");
    EXPECT_EQ(text(formatter.getObjectValue(QStringLiteral("5/20/26"))), "2026-05-20T00:00:00+02:00");
    EXPECT_TRUE(seen.isEmpty()) << seen.join(u',').toStdString();
    EXPECT_EQ(formatter.getObjectValue(QStringLiteral("+0")), sentinel);
    EXPECT_EQ(formatter.getObjectValue(QStringLiteral(" next week ")), sentinel);
    EXPECT_EQ(seen, QStringList({QStringLiteral("+0"), QStringLiteral("next week")}));
}

TEST_F(DatesTest, UndatedValuesSortLastInBothDirections)
{
    using Labelled = std::pair<const char*, Value>;
    const Value none;
    const std::vector<Labelled> values = {
        {"b", Value::date(parse("2026-05-02T09:00:00"))}, {"none1", none},
        {"a", Value::date(parse("2026-05-01T09:00:00"))}, {"none2", none},
        {"c", Value::date(parse("2026-05-03T09:00:00"))},
    };
    struct Case {
        bool ascending;
        std::vector<std::string> expected; // the undated keep their order: they compare equal
    };
    const Case cases[] = {
        {true, {"a", "b", "c", "none1", "none2"}},
        {false, {"c", "b", "a", "none1", "none2"}},
    };
    for (const Case& c : cases) {
        const SortDescriptor descriptor = sortingNilSortDescriptor(QStringLiteral("dueDate"), c.ascending);
        std::vector<Labelled> sorted = values;
        std::stable_sort(sorted.begin(), sorted.end(), [&](const Labelled& x, const Labelled& y) {
            return descriptor.compareValues(x.second, y.second) < 0;
        });
        std::vector<std::string> order;
        for (const Labelled& v : sorted)
            order.emplace_back(v.first);
        EXPECT_EQ(order, c.expected) << (c.ascending ? "ascending" : "descending");
        // Equal, not merely "not before": otherwise a second sort key would never order the undated.
        EXPECT_EQ(descriptor.compareValues(none, none), 0);
    }
}
