#include "model/dateanchors.h"
#include "model/modelenvironment.h"
#include "model/naturaldatereader.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

namespace {

// Local wall time with its offset, so a right wall time in the wrong offset fails too.
std::string text(const std::optional<QDateTime>& d)
{
    if (!d)
        return "none";
    return d->isValid() ? d->toOffsetFromUtc(d->offsetFromUtc()).toString(Qt::ISODate).toStdString() : "invalid";
}

constexpr const char* kBerlin = "Europe/Berlin";
constexpr const char* kSaoPaulo = "America/Sao_Paulo"; // 2018-11-04 began at 01:00

// Wednesday 13 May 2026 in Berlin: the "now" of docs/date-reader.md.
constexpr const char* kWednesday = "2026-05-13T15:42:00";

const QLocale kUS(QLocale::English, QLocale::UnitedStates);
const QLocale kGerman(QLocale::German, QLocale::Germany);

class NaturalDateReaderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_hadZone = qEnvironmentVariableIsSet("TZ");
        m_zone = qgetenv("TZ");
        useZone(kBerlin);
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

    // A wall time in the current zone.
    static QDateTime wall(const char* time) { return QDateTime::fromString(QString::fromLatin1(time), Qt::ISODate); }

    static std::string read(const QString& typed, const char* now = kWednesday, const QLocale& locale = kUS)
    {
        return text(dateWithNaturalLanguageString(typed, wall(now), locale));
    }

    static std::string read(const char* typed, const char* now = kWednesday, const QLocale& locale = kUS)
    {
        return read(QString::fromUtf8(typed), now, locale);
    }

private:
    bool m_hadZone = false;
    QByteArray m_zone;
};

struct Case {
    const char* typed;
    const char* expected;
};

} // namespace

// Every row of docs/date-reader.md, in its order.
TEST_F(NaturalDateReaderTest, ReadsEveryDocumentedForm)
{
    const Case cases[] = {
        {"today", "2026-05-13T00:00:00+02:00"},
        {"tomorrow", "2026-05-14T00:00:00+02:00"},
        {"yesterday", "2026-05-12T00:00:00+02:00"},
        {"now", "2026-05-13T15:42:00+02:00"},
        {"tonight", "2026-05-13T20:00:00+02:00"},
        {"friday", "2026-05-15T00:00:00+02:00"},
        {"fri", "2026-05-15T00:00:00+02:00"},
        {"Fri", "2026-05-15T00:00:00+02:00"},
        {"wednesday", "2026-05-20T00:00:00+02:00"},
        {"wed", "2026-05-20T00:00:00+02:00"},
        {"next friday", "2026-05-15T00:00:00+02:00"},
        {"this wednesday", "2026-05-13T00:00:00+02:00"},
        {"this friday", "2026-05-15T00:00:00+02:00"},
        {"last friday", "2026-05-08T00:00:00+02:00"},
        {"last wednesday", "2026-05-06T00:00:00+02:00"},
        {"in 3 days", "2026-05-16T00:00:00+02:00"},
        {"in 2 weeks", "2026-05-27T00:00:00+02:00"},
        {"in 1 month", "2026-06-13T00:00:00+02:00"},
        {"in 1 year", "2027-05-13T00:00:00+02:00"},
        {"in a day", "2026-05-14T00:00:00+02:00"},
        {"in 1 days", "2026-05-14T00:00:00+02:00"},
        {"in a week", "2026-05-20T00:00:00+02:00"},
        {"3 days from now", "2026-05-16T00:00:00+02:00"},
        {"a week from now", "2026-05-20T00:00:00+02:00"},
        {"2 days ago", "2026-05-11T00:00:00+02:00"},
        {"+3", "2026-05-16T00:00:00+02:00"},
        {"+0", "2026-05-13T00:00:00+02:00"},
        {"next week", "2026-05-20T00:00:00+02:00"},
        {"next month", "2026-06-13T00:00:00+02:00"},
        {"next year", "2027-05-13T00:00:00+02:00"},
        {"last week", "2026-05-06T00:00:00+02:00"},
        {"last month", "2026-04-13T00:00:00+02:00"},
        {"last year", "2025-05-13T00:00:00+02:00"},
        {"in 2 hours", "2026-05-13T17:42:00+02:00"},
        {"in an hour", "2026-05-13T16:42:00+02:00"},
        {"in 30 minutes", "2026-05-13T16:12:00+02:00"},
        {"in 30 mins", "2026-05-13T16:12:00+02:00"},
        {"90 minutes ago", "2026-05-13T14:12:00+02:00"},
        {"Jan 5", "2027-01-05T00:00:00+01:00"},
        {"January 5", "2027-01-05T00:00:00+01:00"},
        {"Jan. 5", "2027-01-05T00:00:00+01:00"},
        {"5 January", "2027-01-05T00:00:00+01:00"},
        {"5 Jan", "2027-01-05T00:00:00+01:00"},
        {"5th of January", "2027-01-05T00:00:00+01:00"},
        {"Jan 5th", "2027-01-05T00:00:00+01:00"},
        {"January 5th", "2027-01-05T00:00:00+01:00"},
        {"May 13", "2026-05-13T00:00:00+02:00"},
        {"May 12", "2027-05-12T00:00:00+02:00"},
        {"Sept 3", "2026-09-03T00:00:00+02:00"},
        {"Feb 29", "2028-02-29T00:00:00+01:00"},
        {"January 5, 2027", "2027-01-05T00:00:00+01:00"},
        {"Jan 5 2027", "2027-01-05T00:00:00+01:00"},
        {"Jan 5th, 2027", "2027-01-05T00:00:00+01:00"},
        {"5 Jan 2027", "2027-01-05T00:00:00+01:00"},
        {"5 Jan 27", "2027-01-05T00:00:00+01:00"},
        {"Jan 5, 27", "2027-01-05T00:00:00+01:00"},
        {"2026-12-24", "2026-12-24T00:00:00+01:00"},
        {"2026-12-24 17:00", "2026-12-24T17:00:00+01:00"},
        {"2026-12-24T17:00", "2026-12-24T17:00:00+01:00"},
        {"2026-12-24T17:00:30", "2026-12-24T17:00:30+01:00"},
        {"2026-12-24T17:00Z", "2026-12-24T18:00:00+01:00"},
        {"2026-12-24T17:00+05:30", "2026-12-24T12:30:00+01:00"},
        {"2026-12-24 17:00-0500", "2026-12-24T23:00:00+01:00"},
        {"12/24/26", "2026-12-24T00:00:00+01:00"},
        {"12/24/2026", "2026-12-24T00:00:00+01:00"},
        // de_DE rows: NaturalDateReaderTest.ShortFormFollowsTheLocale
        {"10:30", "2026-05-13T10:30:00+02:00"},
        {"17:00", "2026-05-13T17:00:00+02:00"},
        {"5pm", "2026-05-13T17:00:00+02:00"},
        {"5 PM", "2026-05-13T17:00:00+02:00"},
        {"10am", "2026-05-13T10:00:00+02:00"},
        {"10 am", "2026-05-13T10:00:00+02:00"},
        {"3:15 pm", "2026-05-13T15:15:00+02:00"},
        {"3:15pm", "2026-05-13T15:15:00+02:00"},
        {"17:00:30", "2026-05-13T17:00:30+02:00"},
        {"noon", "2026-05-13T12:00:00+02:00"},
        {"12pm", "2026-05-13T12:00:00+02:00"},
        {"midnight", "2026-05-13T00:00:00+02:00"},
        {"12am", "2026-05-13T00:00:00+02:00"},
        {"0:00", "2026-05-13T00:00:00+02:00"},
        {"23:59", "2026-05-13T23:59:00+02:00"},
        {"tomorrow 10am", "2026-05-14T10:00:00+02:00"},
        {"friday at 17:00", "2026-05-15T17:00:00+02:00"},
        {"next friday at 3:15 pm", "2026-05-15T15:15:00+02:00"},
        {"in 3 days at 9am", "2026-05-16T09:00:00+02:00"},
        {"Jan 5 10:30", "2027-01-05T10:30:00+01:00"},
        {"Jan 5 at 10:30", "2027-01-05T10:30:00+01:00"},
        {"Jan 5 2027 10am", "2027-01-05T10:00:00+01:00"},
        {"tomorrow midnight", "2026-05-14T00:00:00+02:00"},
        {"noon tomorrow", "2026-05-14T12:00:00+02:00"},
        {"12pm tomorrow", "2026-05-14T12:00:00+02:00"},
        {"Today 00:00", "2026-05-13T00:00:00+02:00"},
        {"Today 23:59", "2026-05-13T23:59:00+02:00"},
        {"Tomorrow 00:00", "2026-05-14T00:00:00+02:00"},
        {"Tomorrow 0:00", "2026-05-14T00:00:00+02:00"},
        {"Tomorrow 23:59", "2026-05-14T23:59:00+02:00"},
        {"Yesterday 00:00", "2026-05-12T00:00:00+02:00"},
        // case and white space
        {"  TOMORROW\t", "2026-05-14T00:00:00+02:00"},
        {"Next  FRIDAY   at 5PM", "2026-05-15T17:00:00+02:00"},
        {"\xc2\xa0today\xc2\xa0", "2026-05-13T00:00:00+02:00"}, // no-break spaces
    };
    for (const Case& c : cases)
        EXPECT_EQ(read(c.typed), c.expected) << c.typed;
}

// The named dates the other parts of the model use must be the instants DateAnchors gives, also on days
// with a clock change and on a day whose midnight does not exist. This goes through the overload that
// reads the model's clock.
TEST_F(NaturalDateReaderTest, NamedDatesAreTheModelsAnchors)
{
    struct Now {
        const char* zone;
        const char* now;
    };
    const Now nows[] = {
        {kBerlin, kWednesday},
        {kBerlin, "2026-12-31T23:30:00"},
        {kBerlin, "2026-03-28T23:00:00"},
        {kBerlin, "2026-03-29T12:00:00"},
        {kBerlin, "2026-10-25T12:00:00"},
        {kSaoPaulo, "2018-11-03T20:00:00"},
        {kSaoPaulo, "2018-11-04T12:00:00"},
    };
    const char* phrases[] = {"Today 23:59", "Tomorrow 00:00", "Tomorrow 0:00", "Today 00:00", "Yesterday 00:00",
                             "Tomorrow 23:59"};
    for (const Now& n : nows) {
        useZone(n.zone);
        const QDateTime fixed = wall(n.now);
        for (const char* phrase : phrases) {
            const QString typed = QString::fromLatin1(phrase);
            const auto expected = DateAnchors::anchor(typed, fixed);
            ASSERT_TRUE(expected) << phrase;
            EXPECT_EQ(text(dateWithNaturalLanguageString(typed, fixed, kUS)), text(expected)) << n.now << ": " << phrase;
            EXPECT_EQ(text(dateWithNaturalLanguageString(typed.toLower(), fixed, kUS)), text(expected)) << n.now << ": " << phrase;
        }
        EXPECT_EQ(text(dateWithNaturalLanguageString(QStringLiteral("today"), fixed, kUS)), text(DateAnchors::today(fixed))) << n.now;
    }
}

TEST_F(NaturalDateReaderTest, ReadsEveryDayAndMonthName)
{
    // "this <day>" from Wednesday 13 May 2026 falls in 13..19 May.
    const Case weekdays[] = {
        {"monday", "2026-05-18"}, {"mon", "2026-05-18"},    {"tuesday", "2026-05-19"}, {"tue", "2026-05-19"},
        {"tues", "2026-05-19"},   {"wednesday", "2026-05-13"}, {"wed", "2026-05-13"}, {"thursday", "2026-05-14"},
        {"thu", "2026-05-14"},    {"thur", "2026-05-14"},   {"thurs", "2026-05-14"},   {"friday", "2026-05-15"},
        {"fri", "2026-05-15"},    {"saturday", "2026-05-16"}, {"sat", "2026-05-16"},  {"sunday", "2026-05-17"},
        {"sun", "2026-05-17"},
    };
    for (const Case& c : weekdays)
        EXPECT_EQ(read(QStringLiteral("this ") + QString::fromLatin1(c.typed)).substr(0, 10), c.expected) << c.typed;

    const Case months[] = {
        {"january", "2027-01-01"}, {"jan", "2027-01-01"}, {"february", "2027-02-01"}, {"feb", "2027-02-01"},
        {"march", "2027-03-01"},   {"mar", "2027-03-01"}, {"april", "2027-04-01"},    {"apr", "2027-04-01"},
        {"may", "2027-05-01"},     {"june", "2027-06-01"}, {"jun", "2027-06-01"},     {"july", "2027-07-01"},
        {"jul", "2027-07-01"},     {"august", "2027-08-01"}, {"aug", "2027-08-01"},   {"september", "2027-09-01"},
        {"sep", "2027-09-01"},     {"sept", "2027-09-01"}, {"october", "2027-10-01"}, {"oct", "2027-10-01"},
        {"november", "2027-11-01"}, {"nov", "2027-11-01"}, {"december", "2027-12-01"}, {"dec", "2027-12-01"},
    };
    for (const Case& c : months)
        EXPECT_EQ(read(QString::fromLatin1(c.typed) + QStringLiteral(" 1 2027")).substr(0, 10), c.expected) << c.typed;
}

TEST_F(NaturalDateReaderTest, CalendarEdges)
{
    struct DatedCase {
        const char* now;
        const char* typed;
        const char* expected;
    };
    const DatedCase cases[] = {
        {"2026-12-31T18:00:00", "tomorrow", "2027-01-01T00:00:00+01:00"},
        {"2026-12-31T18:00:00", "next month", "2027-01-31T00:00:00+01:00"},
        {"2026-12-31T18:00:00", "Jan 5", "2027-01-05T00:00:00+01:00"},
        {"2026-12-31T18:00:00", "Dec 31", "2026-12-31T00:00:00+01:00"},
        {"2026-12-31T18:00:00", "Dec 30", "2027-12-30T00:00:00+01:00"},
        {"2026-12-31T18:00:00", "friday", "2027-01-01T00:00:00+01:00"}, // 31 Dec 2026 is a Thursday
        {"2027-01-01T09:00:00", "yesterday", "2026-12-31T00:00:00+01:00"},
        {"2027-01-01T09:00:00", "last thursday", "2026-12-31T00:00:00+01:00"},
        // months keep the day where they can, else take their last
        {"2027-01-31T12:00:00", "in 1 month", "2027-02-28T00:00:00+01:00"},
        {"2028-01-31T12:00:00", "in 1 month", "2028-02-29T00:00:00+01:00"},
        {"2026-03-31T12:00:00", "last month", "2026-02-28T00:00:00+01:00"},
        {"2028-02-29T12:00:00", "in 1 year", "2029-02-28T00:00:00+01:00"},
        // leap days: the next one, across 2100, which has none
        {"2028-02-29T12:00:00", "Feb 29", "2028-02-29T00:00:00+01:00"},
        {"2028-03-01T12:00:00", "Feb 29", "2032-02-29T00:00:00+01:00"},
        {"2096-03-01T12:00:00", "Feb 29", "2104-02-29T00:00:00+01:00"},
        // weekdays from a Friday (2026-05-15) and a Sunday (2026-05-17)
        {"2026-05-15T08:00:00", "friday", "2026-05-22T00:00:00+02:00"},
        {"2026-05-15T08:00:00", "next friday", "2026-05-22T00:00:00+02:00"},
        {"2026-05-15T08:00:00", "this friday", "2026-05-15T00:00:00+02:00"},
        {"2026-05-15T08:00:00", "last friday", "2026-05-08T00:00:00+02:00"},
        {"2026-05-15T08:00:00", "last thurs", "2026-05-14T00:00:00+02:00"},
        {"2026-05-17T08:00:00", "monday", "2026-05-18T00:00:00+02:00"},
        {"2026-05-17T08:00:00", "sun", "2026-05-24T00:00:00+02:00"},
        {"2026-05-17T08:00:00", "last sunday", "2026-05-10T00:00:00+02:00"},
        {"2026-05-17T08:00:00", "last saturday", "2026-05-16T00:00:00+02:00"},
        // the day is the local one: 22:30 UTC is already the 14th in Berlin
        {"2026-05-13T22:30:00Z", "today", "2026-05-14T00:00:00+02:00"},
        {"2026-05-13T22:30:00Z", "now", "2026-05-14T00:30:00+02:00"},
    };
    for (const DatedCase& c : cases)
        EXPECT_EQ(read(c.typed, c.now), c.expected) << c.now << ": " << c.typed;
}

TEST_F(NaturalDateReaderTest, DaylightSavingChanges)
{
    struct ZonedCase {
        const char* zone;
        const char* now;
        const char* typed;
        const char* expected;
    };
    const ZonedCase cases[] = {
        // spring forward in Berlin: 29 March 2026, 02:00 -> 03:00
        {kBerlin, "2026-03-28T12:00:00", "tomorrow 10:00", "2026-03-29T10:00:00+02:00"},
        {kBerlin, "2026-03-28T12:00:00", "tomorrow", "2026-03-29T00:00:00+01:00"},
        {kBerlin, "2026-03-28T12:00:00", "2026-03-29 02:30", "2026-03-29T03:30:00+02:00"},
        {kBerlin, "2026-03-28T12:00:00", "tomorrow 2:30am", "2026-03-29T03:30:00+02:00"},
        // with an offset the text names an instant: 00:30 UTC, still winter time
        {kBerlin, "2026-03-28T12:00:00", "2026-03-29T02:30+02:00", "2026-03-29T01:30:00+01:00"},
        {kBerlin, "2026-03-22T12:00:00", "in 1 week at 9am", "2026-03-29T09:00:00+02:00"},
        // hours are elapsed time: 01:30 + 2 hours is 04:30 on this day
        {kBerlin, "2026-03-29T01:30:00", "in 2 hours", "2026-03-29T04:30:00+02:00"},
        // fall back: 25 October 2026
        {kBerlin, "2026-10-24T12:00:00", "tomorrow 12:00", "2026-10-25T12:00:00+01:00"},
        {kBerlin, "2026-10-24T12:00:00", "tomorrow 23:59", "2026-10-25T23:59:00+01:00"},
        // a day without a midnight starts at its first moment
        {kSaoPaulo, "2018-11-03T12:00:00", "tomorrow", "2018-11-04T01:00:00-02:00"},
        {kSaoPaulo, "2018-11-03T12:00:00", "tomorrow midnight", "2018-11-04T01:00:00-02:00"},
        {kSaoPaulo, "2018-11-03T12:00:00", "2018-11-04 0:00", "2018-11-04T01:00:00-02:00"},
        {kSaoPaulo, "2018-11-03T12:00:00", "2018-11-04 00:30", "2018-11-04T01:30:00-02:00"},
        {kSaoPaulo, "2018-11-03T12:00:00", "Nov 4, 2018 at 10am", "2018-11-04T10:00:00-02:00"},
    };
    for (const ZonedCase& c : cases) {
        useZone(c.zone);
        EXPECT_EQ(read(c.typed, c.now), c.expected) << c.zone << " at " << c.now << ": " << c.typed;
    }
}

TEST_F(NaturalDateReaderTest, ShortFormFollowsTheLocale)
{
    struct LocaleCase {
        const QLocale& locale;
        const char* typed;
        const char* expected;
    };
    const LocaleCase cases[] = {
        {kGerman, "24.12.26", "2026-12-24T00:00:00+01:00"},
        {kGerman, "24.12.2026", "2026-12-24T00:00:00+01:00"},
        {kGerman, "24.12.26 10:00", "2026-12-24T10:00:00+01:00"},
        {kGerman, "24.12.99", "2099-12-24T00:00:00+01:00"},
        {kGerman, "24.12.00", "2000-12-24T00:00:00+01:00"},
        {kGerman, "12/24/26", "none"},
        {kGerman, "31.02.26", "none"},
        // ISO and English words read in every locale
        {kGerman, "2026-12-24", "2026-12-24T00:00:00+01:00"},
        {kGerman, "tomorrow", "2026-05-14T00:00:00+02:00"},
        {kGerman, "morgen", "none"},
        {kUS, "24.12.26", "none"},
        {kUS, "12/24/26 5pm", "2026-12-24T17:00:00+01:00"},
        {kUS, "1/5/27", "2027-01-05T00:00:00+01:00"},
        {kUS, "2/30/26", "none"},
        {kUS, "12/24", "none"},
        // a short form written with spaces of its own
        {QLocale(QLocale::Korean, QLocale::SouthKorea), "26. 12. 24.", "2026-12-24T00:00:00+01:00"},
    };
    for (const LocaleCase& c : cases)
        EXPECT_EQ(read(c.typed, kWednesday, c.locale), c.expected) << c.locale.name().toStdString() << ": " << c.typed;
}

TEST_F(NaturalDateReaderTest, RejectsWhatItCannotReadCompletely)
{
    const char* rejected[] = {
        "", "   ", "\t",
        // bare numbers: quick entry's "#12" and the "2008" of "#Jan 5, 2008"
        "12", "2008", "0012", " 7 ",
        // left over text, or missing separation
        "tomorrow blah", "blah tomorrow", "tomorrow10am", "tomorrow,", "today today", "10am 11am",
        // no such day or date
        "Feb 30", "Apr 31", "Jan 32", "Jan 0", "2026-13-01", "2026-02-30", "2026-1-5", "26-12-24",
        // times
        "24:00", "10:60", "10:5", "10 : 30", "23:59:60", "13pm", "0am", "15:00 pm", "10", "at", "at 10am",
        // counts and units
        "in 3", "3 days", "in days", "in -3 days", "in 10001 days", "+", "+-2", "+x", "-3", "+ 3", "in 10000 years",
        // phrases that carry their own time, or are not forms at all
        "tonight at 9pm", "now 10:00", "in 2 hours at 10am", "this week", "next weeks", "next monday week",
        "last", "next",
        // offsets only after an ISO date and time; "T" only before a clock time
        "tomorrow 17:00Z", "2026-12-24Z", "2026-12-24T17:00+15:00", "2026-12-24T17:00 Z", "2026-12-24T5pm",
        "2026-12-24 T17:00", "2026-12-24T", "Jan 5,", "Jan 5, 202",
        // huge numbers
        "99999999999999999999", "+99999999999999999999", "in 99999999999999999999 days",
        "Jan 99999999999999999999", "99999999999999999999:00",
        // other characters and words
        "#12", "morgen", "tom\xc3\xb6rrow", "\xef\xbf\xbd", "to-morrow", "tomorrow!",
    };
    for (const char* typed : rejected)
        EXPECT_EQ(read(typed), "none") << '"' << typed << '"';

    const QChar loneSurrogate(char16_t(0xD800));
    EXPECT_EQ(read(QStringLiteral("tomorrow") + loneSurrogate), "none");
    EXPECT_EQ(read(QString(loneSurrogate) + QStringLiteral("12")), "none");

    // 200 characters in all are read; one more is not, surrounding space included.
    EXPECT_EQ(read(QString(192, u' ') + QStringLiteral("tomorrow")), "2026-05-14T00:00:00+02:00");
    EXPECT_EQ(read(QString(193, u' ') + QStringLiteral("tomorrow")), "none");
    EXPECT_EQ(read(QStringLiteral("1/").repeated(100)), "none");

    EXPECT_EQ(text(dateWithNaturalLanguageString(QStringLiteral("tomorrow"), QDateTime(), kUS)), "none");
}
