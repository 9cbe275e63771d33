#include "exchange/caldavclient.h"

#include "exchange/davmultistatus.h"

#include <memory>

namespace {

using Kind = WebDavOutcome::Kind;

// Hrefs per calendar-multiget: large enough for few round trips, small enough for any server's limit
// on request and answer sizes.
constexpr int kMultigetBatch = 100;

const QByteArray kXmlHead = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
const QByteArray kNamespaces = " xmlns:D=\"DAV:\" xmlns:C=\"urn:ietf:params:xml:ns:caldav\""
                               " xmlns:CS=\"http://calendarserver.org/ns/\"";

QByteArray escaped(const QString& text)
{
    return text.toHtmlEscaped().toUtf8();
}

QByteArray propfindBody(const QByteArray& props)
{
    return kXmlHead + "<D:propfind" + kNamespaces + "><D:prop>" + props + "</D:prop></D:propfind>";
}

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool isSuccess(int status)
{
    return status >= 200 && status < 300;
}

// A response that stands for a member the server could not give (a multistatus entry with its own
// non-2xx status).
bool isMissing(const DavResponse& response)
{
    return response.status != 0 && !isSuccess(response.status);
}

bool isCollection(const DavResponse& response)
{
    const DavProperty* type = response.property(DavKey::dav("resourcetype"));
    return type && type->hasChild(DavKey::dav("collection"));
}

QString firstHref(const DavMultistatus& answer, const QString& key)
{
    for (const DavResponse& response : answer.responses) {
        const DavProperty* property = response.property(key);
        if (property && !property->hrefs.isEmpty() && !property->hrefs.first().isEmpty())
            return hrefPath(property->hrefs.first());
    }
    return {};
}

// XML turns the CRLF line ends of calendar data into LF on reading; iCalendar wants them back.
QByteArray withCrLf(const QString& text)
{
    QByteArray data = text.toUtf8();
    data.replace("\r\n", "\n");
    data.replace('\n', "\r\n");
    return data;
}

WebDavOutcome failed(const QString& detail)
{
    return WebDavOutcome{Kind::Failed, 0, detail};
}

} // namespace

struct CalDavClient::FetchState {
    QUrl collection;
    QStringList hrefs;
    qsizetype next = 0;
    QList<CalDavResource> fetched;
    Answer<QList<CalDavResource>> done;
};

CalDavClient::CalDavClient(QUrl server, QString user, QString password, QObject* parent)
    : QObject(parent), m_dav(new WebDavClient(std::move(server), std::move(user), std::move(password), this))
{
}

CalDavClient::~CalDavClient() = default;

void CalDavClient::setTimeout(int milliseconds)
{
    m_dav->setTimeout(milliseconds);
}

void CalDavClient::davRequest(const QByteArray& verb, const QUrl& url, const QByteArray& depth, const QByteArray& body,
                              std::function<void(const WebDavOutcome&, const DavMultistatus&)> done)
{
    WebDavClient::Headers headers{{"Content-Type", "application/xml; charset=utf-8"}};
    if (!depth.isEmpty())
        headers.append(std::pair<QByteArray, QByteArray>("Depth", depth));
    m_dav->request(verb, url, body, headers, [verb, done = std::move(done)](const WebDavClient::Reply& reply) {
        WebDavOutcome outcome = reply.outcome;
        DavMultistatus answer;
        if (outcome.kind == Kind::Failed && verb == "PROPFIND" && (outcome.httpStatus == 405 || outcome.httpStatus == 501))
            outcome.kind = Kind::NotWebDav;
        if (!outcome.isOk()) {
            done(outcome, answer);
            return;
        }
        if (outcome.httpStatus != 207) {
            // A plain web server answers PROPFIND like a GET.
            outcome.kind = Kind::NotWebDav;
            done(outcome, answer);
            return;
        }
        QString error;
        if (!parseMultistatus(reply.body, answer, &error)) {
            outcome.kind = Kind::Failed;
            outcome.detail = error;
        }
        done(outcome, answer);
    });
}

void CalDavClient::findPrincipal(const QUrl& url, std::function<void(const WebDavOutcome&, const QString&)> done)
{
    davRequest("PROPFIND", url, "0", propfindBody("<D:current-user-principal/>"),
               [done = std::move(done)](const WebDavOutcome& outcome, const DavMultistatus& answer) {
                   done(outcome, outcome.isOk() ? firstHref(answer, DavKey::dav("current-user-principal")) : QString());
               });
}

void CalDavClient::findHome(const QString& principalHref, Answer<QString> done)
{
    davRequest("PROPFIND", m_dav->resolve(principalHref), "0", propfindBody("<C:calendar-home-set/>"),
               [principalHref, done = std::move(done)](WebDavOutcome outcome, const DavMultistatus& answer) {
                   if (!outcome.isOk()) {
                       done(outcome, {});
                       return;
                   }
                   const QString home = firstHref(answer, DavKey::calDav("calendar-home-set"));
                   if (home.isEmpty())
                       outcome = failed(QStringLiteral("the principal %1 names no calendar home").arg(principalHref));
                   done(outcome, home);
               });
}

void CalDavClient::discoverCalendarHome(Answer<QString> done)
{
    const QUrl address = m_dav->urlFor(QString());
    findPrincipal(address, [this, address, done = std::move(done)](const WebDavOutcome& outcome, const QString& principal) {
        if (!principal.isEmpty()) {
            findHome(principal, done);
            return;
        }
        if (outcome.kind == Kind::Unauthorized || outcome.kind == Kind::NoAnswer) {
            done(outcome, {});
            return;
        }
        const QString path = address.path(QUrl::FullyEncoded);
        if (path.isEmpty() || path == QLatin1String("/")) {
            discoverWellKnown(outcome, std::move(done));
            return;
        }
        // A server that answers but names no principal keeps its calendars right at the address.
        done(outcome, outcome.isOk() ? path : QString());
    });
}

void CalDavClient::discoverWellKnown(const WebDavOutcome& rootOutcome, Answer<QString> done)
{
    const QUrl wellKnown = m_dav->resolve(QStringLiteral("/.well-known/caldav"));
    // Without a principal, the address that answered is the home: the redirect's target, else the
    // root; when neither answered, the root's failure is the one to report.
    auto settle = [this, rootOutcome, done](const WebDavOutcome& outcome, const QString& principal, const QString& answered) {
        if (!principal.isEmpty())
            findHome(principal, done);
        else if (outcome.isOk() && !answered.isEmpty())
            done(outcome, answered);
        else if (rootOutcome.isOk())
            done(rootOutcome, m_dav->urlFor(QString()).path(QUrl::FullyEncoded));
        else if (outcome.kind == Kind::Unauthorized || outcome.kind == Kind::NoAnswer)
            done(outcome, {});
        else
            done(rootOutcome, {});
    };
    // The well-known address is usually a redirect to the server's real context path. Redirects are
    // followed by hand (one hop), and only on the same server: the credentials go with every request.
    m_dav->request("PROPFIND", wellKnown, propfindBody("<D:current-user-principal/>"),
                   {{"Depth", "0"}, {"Content-Type", "application/xml; charset=utf-8"}},
                   [this, wellKnown, settle](const WebDavClient::Reply& reply) {
                       const int status = reply.outcome.httpStatus;
                       if (isRedirect(status) && !reply.location.isEmpty()) {
                           const QUrl target = wellKnown.resolved(QUrl::fromEncoded(reply.location));
                           if (target.host() == wellKnown.host() && target.port() == wellKnown.port()
                               && target.scheme() == wellKnown.scheme()) {
                               findPrincipal(target, [target, settle](const WebDavOutcome& outcome, const QString& principal) {
                                   settle(outcome, principal, target.path(QUrl::FullyEncoded));
                               });
                               return;
                           }
                       }
                       DavMultistatus answer;
                       const bool read = reply.outcome.isOk() && status == 207 && parseMultistatus(reply.body, answer);
                       settle(reply.outcome, read ? firstHref(answer, DavKey::dav("current-user-principal")) : QString(), QString());
                   });
}

void CalDavClient::listCollections(const QString& homeHref, Answer<QList<CalDavCollection>> done)
{
    const QByteArray props = "<D:resourcetype/><D:displayname/><CS:getctag/><D:sync-token/>"
                             "<C:supported-calendar-component-set/>";
    davRequest("PROPFIND", m_dav->resolve(homeHref), "1", propfindBody(props),
               [homeHref, done = std::move(done)](const WebDavOutcome& outcome, const DavMultistatus& answer) {
                   QList<CalDavCollection> collections;
                   if (!outcome.isOk()) {
                       done(outcome, collections);
                       return;
                   }
                   for (const DavResponse& response : answer.responses) {
                       if (isMissing(response) || sameHref(response.href, homeHref) || !isCollection(response))
                           continue;
                       CalDavCollection collection;
                       collection.href = hrefPath(response.href);
                       if (!collection.href.endsWith(QLatin1Char('/')))
                           collection.href += QLatin1Char('/');
                       collection.displayName = response.text(DavKey::dav("displayname")).trimmed();
                       collection.ctag = response.text(QLatin1Char('{') + DavKey::kCalendarServer + QLatin1String("}getctag")).trimmed();
                       collection.syncToken = response.text(DavKey::dav("sync-token")).trimmed();
                       collection.isCalendar = response.property(DavKey::dav("resourcetype"))->hasChild(DavKey::calDav("calendar"));
                       // A calendar that does not say which components it takes takes them all.
                       const DavProperty* components = response.property(DavKey::calDav("supported-calendar-component-set"));
                       bool tasks = !components || components->children.isEmpty();
                       if (components) {
                           for (const DavProperty::Child& child : components->children)
                               if (child.key == DavKey::calDav("comp") && child.nameValue.compare(QLatin1String("VTODO"), Qt::CaseInsensitive) == 0)
                                   tasks = true;
                       }
                       collection.holdsTasks = collection.isCalendar && tasks;
                       collections << collection;
                   }
                   done(outcome, collections);
               });
}

void CalDavClient::listResources(const QString& collectionHref, Answer<QList<CalDavResource>> done)
{
    davRequest("PROPFIND", m_dav->resolve(collectionHref), "1", propfindBody("<D:resourcetype/><D:getetag/>"),
               [collectionHref, done = std::move(done)](const WebDavOutcome& outcome, const DavMultistatus& answer) {
                   QList<CalDavResource> resources;
                   if (outcome.isOk()) {
                       for (const DavResponse& response : answer.responses) {
                           if (isMissing(response) || sameHref(response.href, collectionHref) || isCollection(response))
                               continue;
                           resources << CalDavResource{hrefPath(response.href), response.text(DavKey::dav("getetag")).trimmed(), {}};
                       }
                   }
                   done(outcome, resources);
               });
}

void CalDavClient::changesSince(const QString& collectionHref, const QString& syncToken, Answer<CalDavChanges> done)
{
    const QByteArray token = syncToken.isEmpty() ? QByteArray("<D:sync-token/>")
                                                 : "<D:sync-token>" + escaped(syncToken) + "</D:sync-token>";
    const QByteArray body = kXmlHead + "<D:sync-collection" + kNamespaces + ">" + token
                            + "<D:sync-level>1</D:sync-level><D:prop><D:getetag/></D:prop></D:sync-collection>";
    davRequest("REPORT", m_dav->resolve(collectionHref), "0", body,
               [this, collectionHref, syncToken, done = std::move(done)](const WebDavOutcome& outcome, const DavMultistatus& answer) {
                   const int status = outcome.httpStatus;
                   if (!outcome.isOk()) {
                       // An expired or unknown token: start over with the initial sync, which lists
                       // everything and hands out a fresh token.
                       if (!syncToken.isEmpty() && (status == 403 || status == 409)) {
                           changesSince(collectionHref, QString(), done);
                           return;
                       }
                       // No such REPORT here: a plain listing says the same, without a token.
                       if (status == 400 || status == 403 || status == 409 || status == 501 || status == 405
                           || outcome.kind == Kind::NotWebDav) {
                           listResources(collectionHref, [done](const WebDavOutcome& outcome, const QList<CalDavResource>& all) {
                               CalDavChanges changes;
                               changes.changed = all;
                               changes.complete = true;
                               done(outcome, changes);
                           });
                           return;
                       }
                       done(outcome, {});
                       return;
                   }
                   CalDavChanges changes;
                   changes.syncToken = answer.syncToken;
                   changes.complete = syncToken.isEmpty();
                   for (const DavResponse& response : answer.responses) {
                       if (sameHref(response.href, collectionHref))
                           continue; // the collection's own entry (a truncated answer's 507)
                       if (response.status == 404) {
                           changes.removed << hrefPath(response.href);
                           continue;
                       }
                       if (isMissing(response) || isCollection(response))
                           continue;
                       const DavProperty* etag = response.property(DavKey::dav("getetag"));
                       if (etag)
                           changes.changed << CalDavResource{hrefPath(response.href), etag->text.trimmed(), {}};
                   }
                   done(outcome, changes);
               });
}

void CalDavClient::fetchResources(const QString& collectionHref, const QStringList& hrefs, Answer<QList<CalDavResource>> done)
{
    auto state = std::make_shared<FetchState>();
    state->collection = m_dav->resolve(collectionHref);
    state->hrefs = hrefs;
    state->done = std::move(done);
    if (hrefs.isEmpty()) {
        // Answers always come from the event loop, never from inside the call.
        QMetaObject::invokeMethod(this, [state] { state->done(WebDavOutcome{}, {}); }, Qt::QueuedConnection);
        return;
    }
    fetchBatch(state);
}

void CalDavClient::fetchBatch(const std::shared_ptr<FetchState>& state)
{
    QByteArray body = kXmlHead + "<C:calendar-multiget" + kNamespaces + "><D:prop><D:getetag/><C:calendar-data/></D:prop>";
    const qsizetype end = std::min(state->next + kMultigetBatch, state->hrefs.size());
    for (qsizetype i = state->next; i < end; ++i)
        body += "<D:href>" + escaped(state->hrefs.at(i)) + "</D:href>";
    body += "</C:calendar-multiget>";
    state->next = end;
    davRequest("REPORT", state->collection, "1", body, [this, state](const WebDavOutcome& outcome, const DavMultistatus& answer) {
        if (!outcome.isOk()) {
            state->done(outcome, {});
            return;
        }
        for (const DavResponse& response : answer.responses) {
            const DavProperty* data = response.property(DavKey::calDav("calendar-data"));
            if (isMissing(response) || !data)
                continue;
            state->fetched << CalDavResource{hrefPath(response.href), response.text(DavKey::dav("getetag")).trimmed(),
                                             withCrLf(data->text)};
        }
        if (state->next < state->hrefs.size())
            fetchBatch(state);
        else
            state->done(outcome, state->fetched);
    });
}

void CalDavClient::makeCalendar(const QString& href, const QString& displayName, Done done)
{
    const QByteArray body = kXmlHead + "<C:mkcalendar" + kNamespaces + "><D:set><D:prop><D:displayname>" + escaped(displayName)
                            + "</D:displayname><C:supported-calendar-component-set><C:comp name=\"VTODO\"/>"
                              "</C:supported-calendar-component-set></D:prop></D:set></C:mkcalendar>";
    m_dav->request("MKCALENDAR", m_dav->resolve(href), body, {{"Content-Type", "application/xml; charset=utf-8"}},
                   [done = std::move(done)](const WebDavClient::Reply& reply) { done(reply.outcome); });
}

void CalDavClient::setDisplayName(const QString& href, const QString& displayName, Done done)
{
    const QByteArray body = kXmlHead + "<D:propertyupdate" + kNamespaces + "><D:set><D:prop><D:displayname>"
                            + escaped(displayName) + "</D:displayname></D:prop></D:set></D:propertyupdate>";
    davRequest("PROPPATCH", m_dav->resolve(href), {}, body,
               [done = std::move(done)](WebDavOutcome outcome, const DavMultistatus& answer) {
                   // A 207 can still refuse the change, property by property.
                   for (const DavResponse& response : answer.responses) {
                       for (auto it = response.failedProperties.cbegin(); it != response.failedProperties.cend(); ++it) {
                           outcome.kind = it.value() == 403 ? Kind::Unauthorized : Kind::Failed;
                           outcome.detail = QStringLiteral("%1 refused with status %2").arg(it.key()).arg(it.value());
                       }
                   }
                   done(outcome);
               });
}

void CalDavClient::putResource(const QString& href, const QByteArray& body, const QString& ifMatch, Answer<QString> done)
{
    WebDavClient::Headers headers{{"Content-Type", "text/calendar; charset=utf-8"}};
    if (ifMatch.isEmpty())
        headers.append(std::pair<QByteArray, QByteArray>("If-None-Match", "*"));
    else
        headers.append(std::pair<QByteArray, QByteArray>("If-Match", ifMatch.toUtf8()));
    m_dav->request("PUT", m_dav->resolve(href), body, headers, [done = std::move(done)](const WebDavClient::Reply& reply) {
        done(reply.outcome, reply.outcome.isOk() ? QString::fromUtf8(reply.etag) : QString());
    });
}

void CalDavClient::deleteResource(const QString& href, const QString& ifMatch, Done done)
{
    WebDavClient::Headers headers;
    if (!ifMatch.isEmpty())
        headers.append(std::pair<QByteArray, QByteArray>("If-Match", ifMatch.toUtf8()));
    m_dav->request("DELETE", m_dav->resolve(href), QByteArray(), headers, [done = std::move(done)](const WebDavClient::Reply& reply) {
        WebDavOutcome outcome = reply.outcome;
        if (outcome.kind == Kind::NotFound)
            outcome.kind = Kind::Ok;
        done(outcome);
    });
}
