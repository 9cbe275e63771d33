#pragma once

#include "store/status.h"

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QJsonObject>
#include <QString>

// What one VTODO says of a task, in the terms the sync compares: the properties the program maps and
// nothing else. `priority` is the iCalendar value (0 none, 1 highest … 9 lowest).
struct CalendarTaskFields {
    QString summary;
    QString description;
    bool completed = false;
    int priority = 0;
    QDate due;   // invalid: none
    QString url; // empty: none

    bool operator==(const CalendarTaskFields&) const = default;

    // For the sync state kept in the data file.
    QJsonObject toJson() const;
    static CalendarTaskFields fromJson(const QJsonObject& json);
};

// The mapped properties, one by one: the unit in which the sync merges changes of both sides.
enum class CalendarField { Summary, Description, Status, Priority, Due, Url };
inline constexpr CalendarField kCalendarFields[] = {CalendarField::Summary, CalendarField::Description,
                                                    CalendarField::Status,  CalendarField::Priority,
                                                    CalendarField::Due,     CalendarField::Url};
bool sameCalendarField(const CalendarTaskFields& a, const CalendarTaskFields& b, CalendarField field);
// Copies one field from `from` into `into`.
void copyCalendarField(CalendarTaskFields& into, const CalendarTaskFields& from, CalendarField field);
// "summary", "description", "status", "priority", "due date", "url": the names of the log lines.
QString calendarFieldName(CalendarField field);
// The field's value as the log shows it.
QString calendarFieldText(const CalendarTaskFields& fields, CalendarField field);

// A calendar object resource read for the sync.
struct CalendarTaskResource {
    QString uid;
    CalendarTaskFields fields;
};

// The largest body the sync reads; anything bigger is refused unread.
inline constexpr qsizetype kCalendarTaskBodyLimit = 1 << 20;

// Reads the first VTODO of an iCalendar body. InvalidArgument, with a message for the user, when the
// body is too large, is not iCalendar, holds no VTODO, or its VTODO has no UID.
Result<CalendarTaskResource> readCalendarTask(const QByteArray& ics);

// The body to write for a task: `existing` (the server's current body, or empty for a new resource)
// with the mapped properties set from `fields` and UID set to `uid`; every other property and
// component (VALARM, CATEGORIES, X- properties, VTIMEZONE, other VTODOs of a recurrence set …) kept as
// it was. DTSTAMP and LAST-MODIFIED are set to `now`; COMPLETED is set to `now` when the task becomes
// completed (kept when it already was) and removed with NEEDS-ACTION. DUE is written as a DATE value.
// A `existing` body that cannot be read is replaced by a new one.
QByteArray writeCalendarTask(const QString& uid, const CalendarTaskFields& fields, const QByteArray& existing,
                             const QDateTime& now);
