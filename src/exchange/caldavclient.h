#pragma once

#include "exchange/webdavclient.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

struct DavMultistatus;

// One collection under the user's calendar home.
struct CalDavCollection {
    QString href;        // absolute path as the server gives it, ending in "/"
    QString displayName; // DAV:displayname, empty when none
    QString ctag;        // CS:getctag, empty when the server keeps none
    QString syncToken;   // DAV:sync-token, empty when the server offers no sync-collection REPORT
    bool isCalendar = false;      // resourcetype holds CALDAV:calendar
    bool holdsTasks = false;      // a calendar whose supported-calendar-component-set allows VTODO (or is not given)
};

// One calendar object resource. `body` is empty when only listed (href and ETag).
struct CalDavResource {
    QString href;
    QString etag;
    QByteArray body;
};

// What changed in a collection since a sync token. When the token was refused (expired, unknown) or
// the server offers none, `complete` is true and `changed` lists every resource of the collection:
// what is not in it is gone.
struct CalDavChanges {
    QList<CalDavResource> changed; // href and ETag only
    QStringList removed;           // hrefs
    QString syncToken;             // the token to ask with next time; empty when none
    bool complete = false;
};

// The calendar protocol (RFC 4791, RFC 6578, RFC 6764 discovery) over WebDavClient. Every call answers
// once through its callback from the event loop; nothing blocks. Hrefs are absolute paths as the
// server writes them.
class CalDavClient : public QObject
{
    Q_OBJECT
public:
    template <typename T>
    using Answer = std::function<void(const WebDavOutcome&, T)>;
    using Done = std::function<void(const WebDavOutcome&)>;

    // `server` is any address of the server: the calendar home itself, a principal, or the root (where
    // /.well-known/caldav is tried).
    CalDavClient(QUrl server, QString user, QString password, QObject* parent = nullptr);
    ~CalDavClient() override;

    void setTimeout(int milliseconds);

    // current-user-principal, then calendar-home-set. A server that names no principal has its
    // address taken as the home.
    void discoverCalendarHome(Answer<QString> done);
    // PROPFIND depth 1 on the home: its collections (the home itself left out).
    void listCollections(const QString& homeHref, Answer<QList<CalDavCollection>> done);
    // PROPFIND depth 1 for getetag: every resource of the collection, without bodies.
    void listResources(const QString& collectionHref, Answer<QList<CalDavResource>> done);
    // sync-collection REPORT from `syncToken` (empty: the initial sync). A token the server refuses
    // (expired, unknown) starts over with the initial sync, complete and with a fresh token; a server
    // without the REPORT is listed with listResources, complete and without a token.
    void changesSince(const QString& collectionHref, const QString& syncToken, Answer<CalDavChanges> done);
    // calendar-multiget in batches: the bodies and ETags of `hrefs`. Resources that went away meanwhile
    // are left out of the answer.
    void fetchResources(const QString& collectionHref, const QStringList& hrefs, Answer<QList<CalDavResource>> done);
    // MKCALENDAR for VTODO with the display name.
    void makeCalendar(const QString& href, const QString& displayName, Done done);
    // PROPPATCH of DAV:displayname.
    void setDisplayName(const QString& href, const QString& displayName, Done done);
    // PUT of text/calendar. With `ifMatch` empty the resource must not exist yet (If-None-Match: *),
    // else its ETag must still be `ifMatch`; a 412 answers PreconditionFailed. Answers the new ETag
    // when the server sent one (empty otherwise: it is then read with the next listing).
    void putResource(const QString& href, const QByteArray& body, const QString& ifMatch, Answer<QString> done);
    // DELETE with If-Match (none when empty); a resource already gone counts as deleted.
    void deleteResource(const QString& href, const QString& ifMatch, Done done);

private:
    struct FetchState;

    // PROPFIND, REPORT or PROPPATCH whose answer must be a 207 Multi-Status; any other success is
    // NotWebDav.
    void davRequest(const QByteArray& verb, const QUrl& url, const QByteArray& depth, const QByteArray& body,
                    std::function<void(const WebDavOutcome&, const DavMultistatus&)> done);
    void findPrincipal(const QUrl& url, std::function<void(const WebDavOutcome&, const QString&)> done);
    void findHome(const QString& principalHref, Answer<QString> done);
    void discoverWellKnown(const WebDavOutcome& rootOutcome, Answer<QString> done);
    void fetchBatch(const std::shared_ptr<FetchState>& state);

    WebDavClient* m_dav;
};
