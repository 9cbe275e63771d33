#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

// What became of one WebDAV request. `NoAnswer` covers refused connections, timeouts and connections
// dropped mid-transfer; `Unauthorized` is a 401 or 403 after the credentials were offered;
// `PreconditionFailed` a 412 (an If-Match or If-None-Match that did not hold).
struct WebDavOutcome {
    enum class Kind { Ok, NotFound, Unauthorized, NotWebDav, NoAnswer, PreconditionFailed, Failed };
    Kind kind = Kind::Ok;
    int httpStatus = 0;
    QString detail; // for the log: the server's status line or the network error
    bool isOk() const { return kind == Kind::Ok; }
};

// A small WebDAV client over QtNetwork. Paths are relative to the base URL and not encoded; every
// request completes through its callback on the caller's thread, from its event loop, never blocking
// it. A request that sees no progress for `timeoutMs` is aborted and answers NoAnswer.
class WebDavClient : public QObject
{
    Q_OBJECT
public:
    using Headers = QList<std::pair<QByteArray, QByteArray>>;
    // A whole answer held in memory: for the small requests of the calendar protocol.
    struct Reply {
        WebDavOutcome outcome;
        QByteArray body;
        QByteArray etag;     // the ETag header, as sent
        QByteArray location; // the Location header of a redirect, as sent; redirects are never followed
    };
    using Done = std::function<void(const WebDavOutcome&)>;
    using DateDone = std::function<void(const WebDavOutcome&, const QDateTime& lastModified)>;

    WebDavClient(QUrl base, QString user, QString password, QObject* parent = nullptr);
    ~WebDavClient() override;

    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }
    QUrl urlFor(const QString& path) const;

    // PROPFIND, depth 0, asking for getlastmodified. The date is invalid when the server gave none.
    void lastModified(const QString& path, DateDone done);
    // MKCOL; a collection that already exists (405) counts as made.
    void makeCollection(const QString& path, Done done);
    // GET into `localFile`, which is created or truncated; a body shorter than announced fails.
    void get(const QString& path, const QString& localFile, Done done);
    // PUT of the whole of `localFile`.
    void put(const QString& path, const QString& localFile, Done done);
    // MOVE with overwrite.
    void move(const QString& from, const QString& to, Done done);
    // DELETE; a missing resource counts as deleted.
    void remove(const QString& path, Done done);

    // Any request to `url` (on the same server; see resolve) with an in-memory body and answer.
    void request(const QByteArray& verb, const QUrl& url, const QByteArray& body, const Headers& headers,
                 std::function<void(const Reply&)> done);
    // Aborts every request still running: each answers NoAnswer, from the event loop.
    void abort();

    // An href the server gave (an absolute path, already encoded) as a URL on the base's server.
    QUrl resolve(const QString& href) const;

private:
    QNetworkReply* send(const QByteArray& verb, const QString& path, QIODevice* body, const Headers& headers = {});
    QNetworkReply* sendTo(const QByteArray& verb, const QUrl& url, QIODevice* body, const Headers& headers);
    void watch(QNetworkReply* reply, std::function<void(QNetworkReply*, WebDavOutcome)> finish);

    QUrl m_base;
    QString m_user;
    QString m_password;
    int m_timeoutMs = 30000;
    QNetworkAccessManager* m_network;
};

// The text of a getlastmodified value (RFC 1123 date); invalid when it does not read as one.
QDateTime parseHttpDate(const QString& text);
