#include "model/mydateformatter.h"

#include "model/dateanchors.h"
#include "model/modelenvironment.h"

namespace {

constexpr qint64 kDayMSecs = 86400 * 1000LL;
constexpr qint64 kWeekMSecs = 7 * kDayMSecs;

// Qt reads a two-digit year as 19yy. Put it instead in the century that brings it within fifty years of
// the current year, so that "3/4/26", which is how the short form shows 4 March 2026, reads back as 2026.
QDate intoCurrentCentury(QDate date, const QDateTime& now)
{
    const int first = now.toLocalTime().date().year() - 50;
    const int year = first + ((date.year() - first) % 100 + 100) % 100;
    return QDate(year, date.month(), date.day());
}

} // namespace

MyDateFormatter::MyDateFormatter(const ModelEnvironment& environment, const QLocale& locale)
    : m_environment(environment), m_locale(locale)
{
}

void MyDateFormatter::setNaturalLanguageReader(NaturalLanguageReader reader)
{
    m_naturalLanguage = std::move(reader);
}

QString MyDateFormatter::stringForObjectValue(const QDateTime& date) const
{
    if (!date.isValid())
        return QString();
    const QDate day = date.toLocalTime().date();
    if (!m_environment.boolPreference(u"datesUseNaturalLanguage"))
        return m_locale.toString(day, QLocale::ShortFormat);

    // The windows are fixed lengths from each midnight, not calendar days: on the day the clocks go
    // forward "Today" reaches into the first hour of tomorrow, and on the day they go back its last hour
    // is not "Today" but falls through to the weekday name.
    const qint64 d = date.toMSecsSinceEpoch();
    const QDateTime now = m_environment.now();
    const qint64 fromToday = d - DateAnchors::todayStart(now).toMSecsSinceEpoch();
    if (fromToday >= 0 && fromToday < kDayMSecs)
        return QStringLiteral("Today");
    const qint64 fromTomorrow = d - DateAnchors::tomorrowStart(now).toMSecsSinceEpoch();
    if (fromTomorrow >= 0 && fromTomorrow < kDayMSecs)
        return QStringLiteral("Tomorrow");
    const qint64 fromYesterday = d - DateAnchors::yesterdayStart(now).toMSecsSinceEpoch();
    if (fromYesterday >= 0 && fromYesterday < kDayMSecs)
        return QStringLiteral("Yesterday");
    // Closed at seven days on purpose: midnight a week from today still shows today's weekday.
    if (fromToday > 0 && fromToday <= kWeekMSecs)
        return m_locale.dayName(day.dayOfWeek(), QLocale::LongFormat);
    return m_locale.toString(day, QLocale::ShortFormat);
}

std::optional<QDateTime> MyDateFormatter::getObjectValue(const QString& text) const
{
    const QString trimmed = text.trimmed();
    if (auto date = plusDays(trimmed))
        return date;
    if (auto date = shortDate(trimmed))
        return date;
    if (m_naturalLanguage)
        return m_naturalLanguage(trimmed);
    return std::nullopt;
}

// "+n" with n a positive whole number: midnight n calendar days from today. Anything else after the
// plus ("+", "+0", "+-2", "+x") is left to the other readers.
std::optional<QDateTime> MyDateFormatter::plusDays(const QString& text) const
{
    if (text.size() < 2 || text[0] != u'+')
        return std::nullopt;
    const QStringView digits = QStringView(text).mid(1);
    for (QChar c : digits)
        if (c < u'0' || c > u'9')
            return std::nullopt;
    bool ok = false;
    const qint64 n = digits.toLongLong(&ok);
    if (!ok || n <= 0)
        return std::nullopt;
    // The day's start rather than today() moved by n days: where today began after a skipped midnight
    // (01:00), the target day still starts at its own first moment.
    const QDate day = DateAnchors::today(m_environment.now()).date().addDays(n);
    if (!day.isValid())
        return std::nullopt;
    return day.startOfDay();
}

// The locale's short date form; where that has a two-digit year, a four-digit year is accepted too.
std::optional<QDateTime> MyDateFormatter::shortDate(const QString& text) const
{
    QString format = m_locale.dateFormat(QLocale::ShortFormat);
    const qsizetype yy = DateAnchors::twoDigitYearAt(format);
    QDate date = m_locale.toDate(text, format);
    if (date.isValid() && yy >= 0) {
        date = intoCurrentCentury(date, m_environment.now());
    } else if (!date.isValid() && yy >= 0) {
        format.replace(yy, 2, QStringLiteral("yyyy"));
        date = m_locale.toDate(text, format);
    }
    if (!date.isValid())
        return std::nullopt;
    return date.startOfDay();
}
