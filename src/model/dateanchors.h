#pragma once

#include <QDateTime>
#include <QStringView>

#include <optional>

// The named dates of the model ("Today", "Today 23:59", "Tomorrow 00:00", ...), each resolved from `now`
// (the model's clock, ModelEnvironment::now()) in the local time zone, and the calendar arithmetic that moves
// dates by days and months. Every result is in local time.
//
// "Today" is the start of today, the same instant as "Today 00:00", everywhere in the program. That keeps
// a task that starts today out of the future list (its start date is not after "Today"), and gives new
// tasks and the "+n" date input a time of midnight rather than the moment they were made.
//
// A day starts at QDate::startOfDay(): in a zone whose clocks jump forward at midnight, that is the
// first moment that exists on the day (01:00, say), never an invalid date.
namespace DateAnchors {

QDateTime today(const QDateTime& now); // == todayStart(now)
QDateTime todayStart(const QDateTime& now);
QDateTime todayEnd(const QDateTime& now); // 23:59:00
QDateTime tomorrowStart(const QDateTime& now);
QDateTime tomorrowEnd(const QDateTime& now); // 23:59:00
QDateTime yesterdayStart(const QDateTime& now);

// "Today", "Today 00:00", "Today 23:59", "Tomorrow 00:00", "Tomorrow 0:00", "Tomorrow 23:59",
// "Yesterday 00:00", written exactly so; anything else is nullopt.
std::optional<QDateTime> anchor(QStringView phrase, const QDateTime& now);

// The local wall time `time` on `date`. A time that the clocks skip on that day (02:30 on the day
// summer time starts) is read with the offset in force before the jump, so it lands as far after the
// jump as it was after its start: 02:30 becomes 03:30.
QDateTime localDateTime(QDate date, QTime time);

// Move by calendar days or months keeping the local time of day, so a daylight-saving change between
// the two dates does not shift the hour. A time of day that does not exist on the target day moves
// forward by the size of the jump, as localDateTime() does; a time that occurs twice there (the hour the
// clocks go back) becomes one of its two occurrences. Months keep the day of the month where the target
// month has it and otherwise take its last day (31 January + 1 month = 28 or 29 February). The input
// may be in UTC or carry an offset; it is read as local time first.
QDateTime addCalendarDays(const QDateTime& date, qint64 days);
QDateTime addCalendarMonths(const QDateTime& date, int months);

// Where a date format has a two-digit year ("M/d/yy"): the position of its "yy", else -1.
qsizetype twoDigitYearAt(const QString& format);

} // namespace DateAnchors
