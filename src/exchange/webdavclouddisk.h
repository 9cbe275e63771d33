#pragma once

#include "exchange/clouddisk.h"
#include "exchange/webdavclient.h"

// The cloud disk on a WebDAV share: the remote file sits under the server address.
class WebDavCloudDisk : public CloudDisk
{
public:
    WebDavCloudDisk(const QUrl& server, const QString& user, const QString& password, int timeoutMs = 30000);

    void check(std::function<void(const Answer&)> done) override;
    void remoteFile(std::function<void(const Answer&, const RemoteFile&)> done) override;
    void download(const QString& localFile, std::function<void(const Answer&)> done) override;
    void upload(const QString& localFile, std::function<void(const Answer&)> done) override;
    QString location() const override;
    void cancel() override;

private:
    // The answer as the caller gets it: once cancelled, every answer is Cancelled.
    Answer told(Answer answer) const;
    // True, with `done` answered Cancelled from the event loop, when no request should start.
    bool refused(const std::function<void(const Answer&)>& done);
    void makeFolders(QStringList pending, std::function<void(const Answer&)> done);

    WebDavClient m_client;
    bool m_cancelled = false;
};
