#include "model/dateanchors.h"

namespace {

QDate localToday(const QDateTime& now)
{
    return now.toLocalTime().date();
}

const QTime kEndOfDay(23, 59);

} // namespace

namespace DateAnchors {

QDateTime today(const QDateTime& now)
{
    return todayStart(now);
}

QDateTime todayStart(const QDateTime& now)
{
    return localToday(now).startOfDay();
}

QDateTime todayEnd(const QDateTime& now)
{
    return localDateTime(localToday(now), kEndOfDay);
}

QDateTime tomorrowStart(const QDateTime& now)
{
    return localToday(now).addDays(1).startOfDay();
}

QDateTime tomorrowEnd(const QDateTime& now)
{
    return localDateTime(localToday(now).addDays(1), kEndOfDay);
}

QDateTime yesterdayStart(const QDateTime& now)
{
    return localToday(now).addDays(-1).startOfDay();
}

std::optional<QDateTime> anchor(QStringView phrase, const QDateTime& now)
{
    if (phrase == u"Today" || phrase == u"Today 00:00")
        return todayStart(now);
    if (phrase == u"Today 23:59")
        return todayEnd(now);
    if (phrase == u"Tomorrow 00:00" || phrase == u"Tomorrow 0:00")
        return tomorrowStart(now);
    if (phrase == u"Tomorrow 23:59")
        return tomorrowEnd(now);
    if (phrase == u"Yesterday 00:00")
        return yesterdayStart(now);
    return std::nullopt;
}

QDateTime localDateTime(QDate date, QTime time)
{
    const QDateTime direct(date, time);
    // Depending on the Qt version a skipped wall time gives an invalid date or one Qt moved itself;
    // either way the rule below decides, so the result does not change with the library.
    if (direct.isValid() && direct.date() == date && direct.time() == time)
        return direct;
    const QDateTime wall(date, time, Qt::UTC);
    const int offsetBefore = wall.addDays(-1).toLocalTime().offsetFromUtc();
    return wall.addSecs(-offsetBefore).toLocalTime();
}

QDateTime addCalendarDays(const QDateTime& date, qint64 days)
{
    if (!date.isValid())
        return {};
    const QDateTime local = date.toLocalTime();
    if (days == 0)
        return local; // rebuilding it could pick the other occurrence of a doubled hour
    const QDate target = local.date().addDays(days);
    return target.isValid() ? localDateTime(target, local.time()) : QDateTime();
}

QDateTime addCalendarMonths(const QDateTime& date, int months)
{
    if (!date.isValid())
        return {};
    const QDateTime local = date.toLocalTime();
    if (months == 0)
        return local;
    const QDate target = local.date().addMonths(months);
    return target.isValid() ? localDateTime(target, local.time()) : QDateTime();
}

qsizetype twoDigitYearAt(const QString& format)
{
    for (qsizetype i = 0; i < format.size(); ++i) {
        if (format[i] != u'y')
            continue;
        qsizetype end = i;
        while (end < format.size() && format[end] == u'y')
            ++end;
        if (end - i == 2)
            return i;
        i = end;
    }
    return -1;
}

} // namespace DateAnchors
