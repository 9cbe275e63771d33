#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

// One property of a WebDAV answer, reduced to what the calendar protocol reads: its text (getetag,
// displayname, calendar-data, …), the hrefs it holds (current-user-principal, calendar-home-set) and
// the names of its child elements (resourcetype) with their "name" attributes (the comps of
// supported-calendar-component-set).
struct DavProperty {
    struct Child {
        QString key;       // "{namespace}name"
        QString nameValue; // the element's "name" attribute, empty when none
    };
    QString text; // the direct text, unchanged (calendar data keeps its whitespace)
    QStringList hrefs;
    QList<Child> children;

    bool hasChild(const QString& key) const;
};

// One DAV:response: its href as written, the response-wide status (0 when the response carries
// propstats instead), the properties found (2xx propstats) and the status of each one that was not.
struct DavResponse {
    QString href;
    int status = 0;
    QHash<QString, DavProperty> properties;
    QHash<QString, int> failedProperties;

    const DavProperty* property(const QString& key) const;
    QString text(const QString& key) const;
};

struct DavMultistatus {
    QList<DavResponse> responses;
    QString syncToken; // the top-level DAV:sync-token of a sync-collection answer
};

// Property keys in "{namespace}name" form.
namespace DavKey {
inline const QString kDav = QStringLiteral("DAV:");
inline const QString kCalDav = QStringLiteral("urn:ietf:params:xml:ns:caldav");
inline const QString kCalendarServer = QStringLiteral("http://calendarserver.org/ns/");
inline QString dav(const char* name) { return QLatin1Char('{') + kDav + QLatin1Char('}') + QLatin1String(name); }
inline QString calDav(const char* name) { return QLatin1Char('{') + kCalDav + QLatin1Char('}') + QLatin1String(name); }
} // namespace DavKey

// Reads a 207 Multi-Status body. False (and `error` set) when the XML is not well formed or holds no
// DAV:multistatus.
bool parseMultistatus(const QByteArray& xml, DavMultistatus& out, QString* error = nullptr);

// The code of a status line ("HTTP/1.1 404 Not Found" gives 404); 0 when it reads as none.
int statusCodeOf(const QString& statusLine);

// The path part of an href as the server wrote it: a full URL is cut to its encoded path (and
// query); a path is kept as it is.
QString hrefPath(const QString& href);

// Whether two hrefs name the same resource: equal paths once a trailing "/" is ignored.
bool sameHref(const QString& a, const QString& b);
