#include "exchange/webdavclouddisk.h"

#include <QUuid>

namespace {

CloudDisk::Answer answerOf(const WebDavOutcome& outcome, CloudDisk::Failure otherwise)
{
    using Kind = WebDavOutcome::Kind;
    CloudDisk::Answer answer{CloudDisk::Failure::None, outcome.detail};
    switch (outcome.kind) {
    case Kind::Ok: break;
    case Kind::Unauthorized: answer.failure = CloudDisk::Failure::BadLogin; break;
    case Kind::NoAnswer: answer.failure = CloudDisk::Failure::NoAccess; break;
    case Kind::NotFound:
    case Kind::NotWebDav:
    case Kind::PreconditionFailed:
    case Kind::Failed: answer.failure = otherwise; break;
    }
    return answer;
}

} // namespace

WebDavCloudDisk::WebDavCloudDisk(const QUrl& server, const QString& user, const QString& password, int timeoutMs)
    : m_client(server, user, password)
{
    m_client.setTimeout(timeoutMs);
}

QString WebDavCloudDisk::location() const
{
    return m_client.urlFor(cloudDiskFilePath).toString(QUrl::RemoveUserInfo);
}

CloudDisk::Answer WebDavCloudDisk::told(Answer answer) const
{
    if (m_cancelled)
        return {Failure::Cancelled, QStringLiteral("cancelled")};
    return answer;
}

bool WebDavCloudDisk::refused(const std::function<void(const Answer&)>& done)
{
    if (!m_cancelled)
        return false;
    QMetaObject::invokeMethod(&m_client, [this, done] { done(told({})); }, Qt::QueuedConnection);
    return true;
}

void WebDavCloudDisk::cancel()
{
    m_cancelled = true;
    // Not from inside the caller's own call: the aborted requests answer from the event loop.
    QMetaObject::invokeMethod(&m_client, [this] { m_client.abort(); }, Qt::QueuedConnection);
}

void WebDavCloudDisk::check(std::function<void(const Answer&)> done)
{
    if (refused(done))
        return;
    m_client.lastModified(QString(), [this, done = std::move(done)](const WebDavOutcome& outcome, const QDateTime&) {
        // The share's root answers PROPFIND on any WebDAV server; anything else is not one.
        done(told(answerOf(outcome, Failure::NoService)));
    });
}

void WebDavCloudDisk::remoteFile(std::function<void(const Answer&, const RemoteFile&)> done)
{
    if (refused([done](const Answer& answer) { done(answer, RemoteFile{}); }))
        return;
    m_client.lastModified(cloudDiskFilePath, [this, done = std::move(done)](const WebDavOutcome& outcome, const QDateTime& date) {
        if (outcome.kind == WebDavOutcome::Kind::NotFound) {
            done(told({}), RemoteFile{});
            return;
        }
        done(told(answerOf(outcome, Failure::NoAccess)), RemoteFile{outcome.isOk(), date});
    });
}

void WebDavCloudDisk::download(const QString& localFile, std::function<void(const Answer&)> done)
{
    if (refused(done))
        return;
    m_client.get(cloudDiskFilePath, localFile, [this, done = std::move(done)](const WebDavOutcome& outcome) {
        Answer answer = answerOf(outcome, Failure::Transfer);
        if (!answer.isOk())
            answer.failure = Failure::Transfer;
        done(told(answer));
    });
}

void WebDavCloudDisk::makeFolders(QStringList pending, std::function<void(const Answer&)> done)
{
    if (pending.isEmpty()) {
        done(told({}));
        return;
    }
    if (refused(done))
        return;
    const QString next = pending.takeFirst();
    m_client.makeCollection(next, [this, pending, done = std::move(done)](const WebDavOutcome& outcome) mutable {
        if (!outcome.isOk()) {
            done(told({Failure::Transfer, outcome.detail}));
            return;
        }
        makeFolders(std::move(pending), std::move(done));
    });
}

void WebDavCloudDisk::upload(const QString& localFile, std::function<void(const Answer&)> done)
{
    QStringList folders;
    QString path;
    for (const QString& part : QString(cloudDiskFolderPath).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        path += QLatin1Char('/') + part;
        folders << path;
    }
    const QString scratch = cloudDiskFilePath + QLatin1String(".upload-")
                            + QUuid::createUuid().toString(QUuid::WithoutBraces);
    auto fail = [this, scratch, done](const WebDavOutcome& outcome) {
        // Best effort: a scratch file left behind is harmless, the real file is untouched. A cancelled
        // upload does not wait for the clean-up.
        if (m_cancelled) {
            done(told({}));
            return;
        }
        m_client.remove(scratch, [this, done, outcome](const WebDavOutcome&) { done(told({Failure::Transfer, outcome.detail})); });
    };
    makeFolders(folders, [this, localFile, scratch, fail, done](const Answer& made) {
        if (!made.isOk()) {
            done(made);
            return;
        }
        m_client.put(scratch, localFile, [this, scratch, fail, done](const WebDavOutcome& put) {
            if (!put.isOk() || m_cancelled) {
                fail(put);
                return;
            }
            m_client.move(scratch, cloudDiskFilePath, [fail, done](const WebDavOutcome& moved) {
                if (!moved.isOk()) {
                    fail(moved);
                    return;
                }
                // Cancelled too late: the new file is in place, which the caller must be told.
                done(Answer{});
            });
        });
    });
}
