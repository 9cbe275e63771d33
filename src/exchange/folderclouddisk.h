#pragma once

#include "exchange/clouddisk.h"

#include <QObject>

// The cloud disk as a local folder that a sync client keeps: plain files, replaced by rename so the
// sync client never picks up half a file. The folder itself must exist; the subfolders are made.
class FolderCloudDisk : public CloudDisk
{
public:
    explicit FolderCloudDisk(QString folder);

    void check(std::function<void(const Answer&)> done) override;
    void remoteFile(std::function<void(const Answer&, const RemoteFile&)> done) override;
    void download(const QString& localFile, std::function<void(const Answer&)> done) override;
    void upload(const QString& localFile, std::function<void(const Answer&)> done) override;
    QString location() const override;
    // Copies are made at once, whole or not at all: only the calls after this one answer Cancelled.
    void cancel() override { m_cancelled = true; }

private:
    void answer(const std::function<void(const Answer&)>& done, const Answer& answer);

    QString m_folder;
    bool m_cancelled = false;
    QObject m_context; // for answering from the event loop
};
