#include "exchange/webdavclient.h"

#include <QBuffer>
#include <QFile>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <memory>

namespace {

const QByteArray kPropfindBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    "<D:propfind xmlns:D=\"DAV:\"><D:prop><D:getlastmodified/></D:prop></D:propfind>";

WebDavOutcome outcomeOf(QNetworkReply* reply)
{
    WebDavOutcome outcome;
    outcome.httpStatus = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const auto error = reply->error();
    // Errors below 100 are the transport's: refused, timed out, closed midway. Whatever status line
    // came before, the transfer did not happen.
    if (error != QNetworkReply::NoError && (int(error) < 100 || outcome.httpStatus == 0)) {
        outcome.kind = WebDavOutcome::Kind::NoAnswer;
        outcome.detail = (error == QNetworkReply::OperationCanceledError || error == QNetworkReply::TimeoutError)
                             ? QStringLiteral("%1 did not answer in time").arg(reply->url().host())
                             : reply->errorString();
        return outcome;
    }
    const int code = outcome.httpStatus;
    outcome.detail = QStringLiteral("HTTP %1 %2").arg(code).arg(
        reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
    if (code >= 200 && code < 300)
        outcome.kind = WebDavOutcome::Kind::Ok;
    else if (code == 404)
        outcome.kind = WebDavOutcome::Kind::NotFound;
    else if (code == 401 || code == 403)
        outcome.kind = WebDavOutcome::Kind::Unauthorized;
    else if (code == 412)
        outcome.kind = WebDavOutcome::Kind::PreconditionFailed;
    else
        outcome.kind = WebDavOutcome::Kind::Failed;
    return outcome;
}

QString lastModifiedIn(const QByteArray& multistatus)
{
    QXmlStreamReader xml(multistatus);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("getlastmodified")
            && xml.namespaceUri() == QLatin1String("DAV:"))
            return xml.readElementText().trimmed();
    }
    return {};
}

} // namespace

QDateTime parseHttpDate(const QString& text)
{
    // "Sun, 06 Nov 1994 08:49:37 GMT"; servers always send GMT here.
    QString plain = text.trimmed();
    if (plain.endsWith(QLatin1String(" GMT")))
        plain.chop(4);
    QDateTime date = QLocale::c().toDateTime(plain, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss"));
    if (!date.isValid())
        return {};
    date.setTimeZone(QTimeZone::utc());
    return date;
}

WebDavClient::WebDavClient(QUrl base, QString user, QString password, QObject* parent)
    : QObject(parent), m_base(std::move(base)), m_user(std::move(user)), m_password(std::move(password)),
      m_network(new QNetworkAccessManager(this))
{
    if (!m_base.path().endsWith(QLatin1Char('/')))
        m_base.setPath(m_base.path() + QLatin1Char('/'));
    // Credentials go with every request, so a PUT body is never sent twice for a challenge.
    m_network->setAutoDeleteReplies(false);
}

WebDavClient::~WebDavClient() = default;

QUrl WebDavClient::urlFor(const QString& path) const
{
    QUrl url = m_base;
    QString relative = path;
    while (relative.startsWith(QLatin1Char('/')))
        relative.remove(0, 1);
    url.setPath(m_base.path() + relative);
    return url;
}

void WebDavClient::abort()
{
    for (QNetworkReply* reply : m_network->findChildren<QNetworkReply*>())
        if (reply->isRunning())
            reply->abort();
}

QUrl WebDavClient::resolve(const QString& href) const
{
    return m_base.resolved(QUrl::fromEncoded(href.toUtf8()));
}

QNetworkReply* WebDavClient::send(const QByteArray& verb, const QString& path, QIODevice* body, const Headers& headers)
{
    return sendTo(verb, urlFor(path), body, headers);
}

QNetworkReply* WebDavClient::sendTo(const QByteArray& verb, const QUrl& url, QIODevice* body, const Headers& headers)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(m_timeoutMs);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!m_user.isEmpty()) {
        const QByteArray pair = (m_user + QLatin1Char(':') + m_password).toUtf8();
        request.setRawHeader("Authorization", "Basic " + pair.toBase64());
    }
    for (const auto& [name, value] : headers)
        request.setRawHeader(name, value);
    if (body)
        request.setHeader(QNetworkRequest::ContentLengthHeader, body->size());
    return m_network->sendCustomRequest(request, verb, body);
}

void WebDavClient::watch(QNetworkReply* reply, std::function<void(QNetworkReply*, WebDavOutcome)> finish)
{
    connect(reply, &QNetworkReply::finished, this, [reply, finish = std::move(finish)] {
        const WebDavOutcome outcome = outcomeOf(reply);
        reply->deleteLater();
        finish(reply, outcome);
    });
}

void WebDavClient::lastModified(const QString& path, DateDone done)
{
    auto* body = new QBuffer;
    body->setData(kPropfindBody);
    body->open(QIODevice::ReadOnly);
    QNetworkReply* reply = send("PROPFIND", path, body,
                                {{"Depth", "0"}, {"Content-Type", "application/xml; charset=utf-8"}});
    body->setParent(reply);
    watch(reply, [done = std::move(done)](QNetworkReply* reply, WebDavOutcome outcome) {
        if (outcome.isOk() && outcome.httpStatus != 207) {
            // A plain web server answers PROPFIND like a GET.
            outcome.kind = WebDavOutcome::Kind::NotWebDav;
            done(outcome, {});
            return;
        }
        if (outcome.kind == WebDavOutcome::Kind::Failed
            && (outcome.httpStatus == 405 || outcome.httpStatus == 501))
            outcome.kind = WebDavOutcome::Kind::NotWebDav;
        if (!outcome.isOk()) {
            done(outcome, {});
            return;
        }
        done(outcome, parseHttpDate(lastModifiedIn(reply->readAll())));
    });
}

void WebDavClient::makeCollection(const QString& path, Done done)
{
    watch(send("MKCOL", path, nullptr), [done = std::move(done)](QNetworkReply*, WebDavOutcome outcome) {
        if (outcome.httpStatus == 405)
            outcome.kind = WebDavOutcome::Kind::Ok;
        done(outcome);
    });
}

void WebDavClient::get(const QString& path, const QString& localFile, Done done)
{
    auto file = std::make_shared<QFile>(localFile);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        WebDavOutcome outcome{WebDavOutcome::Kind::Failed, 0, file->errorString()};
        QMetaObject::invokeMethod(this, [done, outcome] { done(outcome); }, Qt::QueuedConnection);
        return;
    }
    QNetworkReply* reply = send("GET", path, nullptr);
    auto written = std::make_shared<qint64>(0);
    auto writeFailed = std::make_shared<bool>(false);
    connect(reply, &QNetworkReply::readyRead, this, [reply, file, written, writeFailed] {
        const QByteArray chunk = reply->readAll();
        if (file->write(chunk) != chunk.size())
            *writeFailed = true;
        *written += chunk.size();
    });
    watch(reply, [done = std::move(done), file, written, writeFailed](QNetworkReply* reply, WebDavOutcome outcome) {
        const QByteArray rest = reply->readAll();
        if (file->write(rest) != rest.size())
            *writeFailed = true;
        *written += rest.size();
        const bool flushed = file->flush();
        file->close();
        if (!outcome.isOk()) {
            done(outcome);
            return;
        }
        const QVariant announced = reply->header(QNetworkRequest::ContentLengthHeader);
        if (announced.isValid() && announced.toLongLong() != *written) {
            outcome.kind = WebDavOutcome::Kind::NoAnswer;
            outcome.detail = QStringLiteral("the transfer ended after %1 of %2 bytes").arg(*written).arg(announced.toLongLong());
        } else if (*writeFailed || !flushed) {
            outcome.kind = WebDavOutcome::Kind::Failed;
            outcome.detail = QStringLiteral("could not write %1: %2").arg(file->fileName(), file->errorString());
        }
        done(outcome);
    });
}

void WebDavClient::put(const QString& path, const QString& localFile, Done done)
{
    auto* file = new QFile(localFile);
    if (!file->open(QIODevice::ReadOnly)) {
        WebDavOutcome outcome{WebDavOutcome::Kind::Failed, 0, file->errorString()};
        delete file;
        QMetaObject::invokeMethod(this, [done, outcome] { done(outcome); }, Qt::QueuedConnection);
        return;
    }
    QNetworkReply* reply = send("PUT", path, file, {{"Content-Type", "application/octet-stream"}});
    file->setParent(reply);
    watch(reply, [done = std::move(done)](QNetworkReply*, const WebDavOutcome& outcome) { done(outcome); });
}

void WebDavClient::move(const QString& from, const QString& to, Done done)
{
    const QByteArray destination = urlFor(to).toEncoded();
    watch(send("MOVE", from, nullptr, {{"Destination", destination}, {"Overwrite", "T"}}),
          [done = std::move(done)](QNetworkReply*, const WebDavOutcome& outcome) { done(outcome); });
}

void WebDavClient::remove(const QString& path, Done done)
{
    watch(send("DELETE", path, nullptr), [done = std::move(done)](QNetworkReply*, WebDavOutcome outcome) {
        if (outcome.kind == WebDavOutcome::Kind::NotFound)
            outcome.kind = WebDavOutcome::Kind::Ok;
        done(outcome);
    });
}

void WebDavClient::request(const QByteArray& verb, const QUrl& url, const QByteArray& body, const Headers& headers,
                           std::function<void(const Reply&)> done)
{
    QBuffer* buffer = nullptr;
    if (!body.isNull()) {
        buffer = new QBuffer;
        buffer->setData(body);
        buffer->open(QIODevice::ReadOnly);
    }
    QNetworkReply* reply = sendTo(verb, url, buffer, headers);
    if (buffer)
        buffer->setParent(reply);
    watch(reply, [done = std::move(done)](QNetworkReply* reply, const WebDavOutcome& outcome) {
        // An aborted reply (timed out) is closed: nothing to read.
        const QByteArray body = reply->isOpen() ? reply->readAll() : QByteArray();
        done(Reply{outcome, body, reply->rawHeader("ETag"), reply->rawHeader("Location")});
    });
}
