#include "exchange/calendartask.h"


#include <libical/ical.h>

#include <memory>
#include <vector>

namespace {

struct ComponentFree {
    void operator()(icalcomponent* c) const { icalcomponent_free(c); }
};
using ComponentPtr = std::unique_ptr<icalcomponent, ComponentFree>;

ComponentPtr parse(const QByteArray& ics)
{
    // The parser reads a C string: a NUL inside the body ends it there, which can only lose a broken tail.
    return ComponentPtr(icalparser_parse_string(ics.constData()));
}

// The task of a calendar object: its first VTODO that is not an override of one occurrence (a
// recurrence set keeps its master and overrides under one UID), else simply its first VTODO.
icalcomponent* findTodo(icalcomponent* root)
{
    switch (icalcomponent_isa(root)) {
    case ICAL_VTODO_COMPONENT: return root;
    case ICAL_VCALENDAR_COMPONENT: {
        icalcomponent* first = icalcomponent_get_first_component(root, ICAL_VTODO_COMPONENT);
        for (icalcomponent* c = first; c; c = icalcomponent_get_next_component(root, ICAL_VTODO_COMPONENT))
            if (!icalcomponent_get_first_property(c, ICAL_RECURRENCEID_PROPERTY))
                return c;
        return first;
    }
    case ICAL_XROOT_COMPONENT:
        // Several VCALENDARs in one body: the first that holds a task.
        for (icalcomponent* c = icalcomponent_get_first_component(root, ICAL_VCALENDAR_COMPONENT); c;
             c = icalcomponent_get_next_component(root, ICAL_VCALENDAR_COMPONENT))
            if (icalcomponent* todo = findTodo(c))
                return todo;
        return nullptr;
    default: return nullptr;
    }
}

QString text(const char* utf8)
{
    return utf8 ? QString::fromUtf8(utf8) : QString();
}

QDate dueDate(icalcomponent* todo)
{
    icalproperty* due = icalcomponent_get_first_property(todo, ICAL_DUE_PROPERTY);
    if (!due)
        return {};
    // Resolves a TZID against the object's VTIMEZONEs, then the system's zone database.
    const icaltimetype t = icalproperty_get_datetime_with_component(due, todo);
    if (icaltime_is_null_time(t) || !icaltime_is_valid_time(t))
        return {};
    const QDate written(t.year, t.month, t.day);
    // A floating time, or one in a zone nobody knows, is a wall time anywhere: its date as written.
    if (t.is_date || !t.zone)
        return written;
    const auto seconds = qint64(icaltime_as_timet_with_zone(t, t.zone));
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toLocalTime().date();
}

bool isCompleted(icalcomponent* todo)
{
    if (icalcomponent_get_first_property(todo, ICAL_STATUS_PROPERTY))
        return icalcomponent_get_status(todo) == ICAL_STATUS_COMPLETED;
    return icalcomponent_get_first_property(todo, ICAL_COMPLETED_PROPERTY) != nullptr;
}

void removeAll(icalcomponent* c, icalproperty_kind kind)
{
    while (icalproperty* p = icalcomponent_get_first_property(c, kind)) {
        icalcomponent_remove_property(c, p);
        icalproperty_free(p);
    }
}

// Sets the value of the component's `kind` property in place, so its parameters (LANGUAGE, ALTREP …)
// and place stay; adds the property when missing. A null value removes every such property.
void setValue(icalcomponent* c, icalproperty_kind kind, icalvalue* value)
{
    if (!value) {
        removeAll(c, kind);
        return;
    }
    icalproperty* p = icalcomponent_get_first_property(c, kind);
    if (p) {
        // One of each: a second copy would contradict the value set here.
        std::vector<icalproperty*> extras;
        for (icalproperty* e = icalcomponent_get_next_property(c, kind); e; e = icalcomponent_get_next_property(c, kind))
            extras.push_back(e);
        for (icalproperty* e : extras) {
            icalcomponent_remove_property(c, e);
            icalproperty_free(e);
        }
    } else {
        p = icalproperty_new(kind);
        icalcomponent_add_property(c, p);
    }
    icalproperty_set_value(p, value);
}

icalvalue* textValue(const QString& s, bool removeWhenEmpty = true)
{
    if (s.isEmpty() && removeWhenEmpty)
        return nullptr;
    return icalvalue_new_text(s.toUtf8().constData());
}

icaltimetype utc(const QDateTime& when)
{
    return icaltime_from_timet_with_zone(time_t(when.toSecsSinceEpoch()), 0, icaltimezone_get_utc_timezone());
}

// The parser marks what it could not read with X-LIC-ERROR properties; they are its notes, not the
// other client's data, and must not travel back to the server.
void removeParserNotes(icalcomponent* c)
{
    removeAll(c, ICAL_XLICERROR_PROPERTY);
    for (icalcomponent* child = icalcomponent_get_first_component(c, ICAL_ANY_COMPONENT); child;
         child = icalcomponent_get_next_component(c, ICAL_ANY_COMPONENT))
        removeParserNotes(child);
}

void ensureCalendarHeader(icalcomponent* calendar)
{
    if (!icalcomponent_get_first_property(calendar, ICAL_PRODID_PROPERTY))
        icalcomponent_add_property(calendar, icalproperty_new_prodid("-//Quendar//Vyro//EN"));
    if (!icalcomponent_get_first_property(calendar, ICAL_VERSION_PROPERTY))
        icalcomponent_add_property(calendar, icalproperty_new_version("2.0"));
}

// The VCALENDAR to write, owning the task to change: the existing body's when it holds one.
ComponentPtr calendarFor(const QByteArray& existing, icalcomponent** todo)
{
    ComponentPtr root = existing.size() <= kCalendarTaskBodyLimit ? parse(existing) : nullptr;
    icalcomponent* found = root ? findTodo(root.get()) : nullptr;
    ComponentPtr calendar;
    if (!found) {
        calendar.reset(icalcomponent_new_vcalendar());
        found = icalcomponent_new_vtodo();
        icalcomponent_add_component(calendar.get(), found);
    } else if (found == root.get()) {
        calendar.reset(icalcomponent_new_vcalendar());
        icalcomponent_add_component(calendar.get(), root.release());
    } else if (icalcomponent_isa(root.get()) == ICAL_XROOT_COMPONENT) {
        // Only the VCALENDAR of the task goes back: a resource holds one calendar object.
        icalcomponent* parent = icalcomponent_get_parent(found);
        icalcomponent_remove_component(root.get(), parent);
        calendar.reset(parent);
    } else {
        calendar = std::move(root);
    }
    ensureCalendarHeader(calendar.get());
    *todo = found;
    return calendar;
}

namespace key {
const QString summary = QStringLiteral("s");
const QString description = QStringLiteral("d");
const QString completed = QStringLiteral("c");
const QString priority = QStringLiteral("p");
const QString due = QStringLiteral("due");
const QString url = QStringLiteral("u");
} // namespace key

} // namespace

QJsonObject CalendarTaskFields::toJson() const
{
    QJsonObject json;
    if (!summary.isEmpty())
        json[key::summary] = summary;
    if (!description.isEmpty())
        json[key::description] = description;
    if (completed)
        json[key::completed] = true;
    if (priority != 0)
        json[key::priority] = priority;
    if (due.isValid())
        json[key::due] = due.toString(Qt::ISODate);
    if (!url.isEmpty())
        json[key::url] = url;
    return json;
}

CalendarTaskFields CalendarTaskFields::fromJson(const QJsonObject& json)
{
    CalendarTaskFields f;
    f.summary = json[key::summary].toString();
    f.description = json[key::description].toString();
    f.completed = json[key::completed].toBool();
    f.priority = json[key::priority].toInt();
    f.due = QDate::fromString(json[key::due].toString(), Qt::ISODate);
    f.url = json[key::url].toString();
    return f;
}

bool sameCalendarField(const CalendarTaskFields& a, const CalendarTaskFields& b, CalendarField field)
{
    switch (field) {
    case CalendarField::Summary: return a.summary == b.summary;
    case CalendarField::Description: return a.description == b.description;
    case CalendarField::Status: return a.completed == b.completed;
    case CalendarField::Priority: return a.priority == b.priority;
    case CalendarField::Due: return a.due == b.due;
    case CalendarField::Url: return a.url == b.url;
    }
    return true;
}

void copyCalendarField(CalendarTaskFields& into, const CalendarTaskFields& from, CalendarField field)
{
    switch (field) {
    case CalendarField::Summary: into.summary = from.summary; break;
    case CalendarField::Description: into.description = from.description; break;
    case CalendarField::Status: into.completed = from.completed; break;
    case CalendarField::Priority: into.priority = from.priority; break;
    case CalendarField::Due: into.due = from.due; break;
    case CalendarField::Url: into.url = from.url; break;
    }
}

QString calendarFieldName(CalendarField field)
{
    switch (field) {
    case CalendarField::Summary: return QStringLiteral("summary");
    case CalendarField::Description: return QStringLiteral("description");
    case CalendarField::Status: return QStringLiteral("status");
    case CalendarField::Priority: return QStringLiteral("priority");
    case CalendarField::Due: return QStringLiteral("due date");
    case CalendarField::Url: return QStringLiteral("url");
    }
    return {};
}

QString calendarFieldText(const CalendarTaskFields& fields, CalendarField field)
{
    // An absent value reads "(null)", as a missing object always has in this log.
    const auto orNull = [](const QString& s) { return s.isEmpty() ? QStringLiteral("(null)") : s; };
    switch (field) {
    case CalendarField::Summary: return orNull(fields.summary);
    case CalendarField::Description: return orNull(fields.description);
    case CalendarField::Status: return fields.completed ? QStringLiteral("completed") : QStringLiteral("needsaction");
    case CalendarField::Priority: return QString::number(fields.priority);
    case CalendarField::Due: return orNull(fields.due.toString(Qt::ISODate));
    case CalendarField::Url: return orNull(fields.url);
    }
    return {};
}

Result<CalendarTaskResource> readCalendarTask(const QByteArray& ics)
{
    if (ics.size() > kCalendarTaskBodyLimit)
        return Status::invalidArgument(QStringLiteral("the calendar entry is larger than %1 bytes").arg(kCalendarTaskBodyLimit));
    ComponentPtr root = parse(ics);
    if (!root)
        return Status::invalidArgument(QStringLiteral("the calendar entry is not iCalendar data"));
    icalcomponent* todo = findTodo(root.get());
    if (!todo)
        return Status::invalidArgument(QStringLiteral("the calendar entry holds no task"));
    CalendarTaskResource resource;
    resource.uid = text(icalcomponent_get_uid(todo));
    if (resource.uid.isEmpty())
        return Status::invalidArgument(QStringLiteral("the calendar entry has no UID"));

    CalendarTaskFields& f = resource.fields;
    if (icalproperty* p = icalcomponent_get_first_property(todo, ICAL_SUMMARY_PROPERTY))
        f.summary = text(icalproperty_get_summary(p));
    if (icalproperty* p = icalcomponent_get_first_property(todo, ICAL_DESCRIPTION_PROPERTY))
        f.description = text(icalproperty_get_description(p));
    f.completed = isCompleted(todo);
    if (icalproperty* p = icalcomponent_get_first_property(todo, ICAL_PRIORITY_PROPERTY))
        f.priority = icalproperty_get_priority(p);
    f.due = dueDate(todo);
    if (icalproperty* p = icalcomponent_get_first_property(todo, ICAL_URL_PROPERTY))
        f.url = text(icalproperty_get_url(p));
    return resource;
}

QByteArray writeCalendarTask(const QString& uid, const CalendarTaskFields& fields, const QByteArray& existing,
                             const QDateTime& now)
{
    icalcomponent* todo = nullptr;
    ComponentPtr calendar = calendarFor(existing, &todo);
    removeParserNotes(calendar.get());

    const icaltimetype stamp = utc(now);
    setValue(todo, ICAL_UID_PROPERTY, textValue(uid, false));
    setValue(todo, ICAL_DTSTAMP_PROPERTY, icalvalue_new_datetime(stamp));
    setValue(todo, ICAL_LASTMODIFIED_PROPERTY, icalvalue_new_datetime(stamp));
    setValue(todo, ICAL_SUMMARY_PROPERTY, textValue(fields.summary));
    setValue(todo, ICAL_DESCRIPTION_PROPERTY, textValue(fields.description));

    if (fields.completed) {
        setValue(todo, ICAL_STATUS_PROPERTY, icalvalue_new_status(ICAL_STATUS_COMPLETED));
        if (!icalcomponent_get_first_property(todo, ICAL_COMPLETED_PROPERTY))
            icalcomponent_add_property(todo, icalproperty_new_completed(stamp));
        if (icalcomponent_get_first_property(todo, ICAL_PERCENTCOMPLETE_PROPERTY))
            setValue(todo, ICAL_PERCENTCOMPLETE_PROPERTY, icalvalue_new_integer(100));
    } else {
        // Another open state (IN-PROCESS, CANCELLED) reads as open too and is the other client's to keep.
        if (!icalcomponent_get_first_property(todo, ICAL_STATUS_PROPERTY)
            || icalcomponent_get_status(todo) == ICAL_STATUS_COMPLETED)
            setValue(todo, ICAL_STATUS_PROPERTY, icalvalue_new_status(ICAL_STATUS_NEEDSACTION));
        removeAll(todo, ICAL_COMPLETED_PROPERTY);
        if (icalproperty* p = icalcomponent_get_first_property(todo, ICAL_PERCENTCOMPLETE_PROPERTY);
            p && icalproperty_get_percentcomplete(p) >= 100)
            removeAll(todo, ICAL_PERCENTCOMPLETE_PROPERTY);
    }

    setValue(todo, ICAL_PRIORITY_PROPERTY, fields.priority != 0 ? icalvalue_new_integer(fields.priority) : nullptr);

    // Replaced whole, so a TZID or VALUE parameter of the old date-time goes with it.
    removeAll(todo, ICAL_DUE_PROPERTY);
    if (fields.due.isValid()) {
        icaltimetype date = icaltime_null_date();
        date.year = fields.due.year();
        date.month = fields.due.month();
        date.day = fields.due.day();
        icalcomponent_add_property(todo, icalproperty_new_due(date));
        // DUE and DURATION exclude each other.
        removeAll(todo, ICAL_DURATION_PROPERTY);
    }

    setValue(todo, ICAL_URL_PROPERTY, fields.url.isEmpty() ? nullptr : icalvalue_new_uri(fields.url.toUtf8().constData()));

    char* out = icalcomponent_as_ical_string_r(calendar.get());
    QByteArray body(out);
    icalmemory_free_buffer(out);
    return body;
}
