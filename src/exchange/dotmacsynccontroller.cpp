#include "exchange/dotmacsynccontroller.h"

#include "app/backups.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "store/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

QDateTime toSeconds(const QDateTime& date)
{
    // HTTP dates have whole seconds; the local file's fraction must not make it look newer or older.
    if (!date.isValid())
        return date;
    QDateTime whole = date.toUTC();
    whole.setTime(QTime(whole.time().hour(), whole.time().minute(), whole.time().second()));
    return whole;
}

} // namespace

DotMacSyncController::DotMacSyncController(QString dataFilePath, Preferences& preferences,
                                           std::unique_ptr<CloudDisk> disk, Report report)
    : m_dataFilePath(std::move(dataFilePath)), m_preferences(preferences), m_disk(std::move(disk)),
      m_report(std::move(report))
{
}

DotMacSyncController::~DotMacSyncController() = default;

void DotMacSyncController::fail(const QString& message, Done done)
{
    if (m_report)
        m_report(QString(CloudDiskText::title), message);
    done(Outcome::Failed);
}

void DotMacSyncController::cancel()
{
    if (m_cancelled)
        return;
    m_cancelled = true;
    logLine(QStringLiteral("Cloud disk transfer cancelled by the user."));
    m_disk->cancel();
}

bool DotMacSyncController::stopped(const CloudDisk::Answer& answer, const Done& done)
{
    if (!m_cancelled && answer.failure != CloudDisk::Failure::Cancelled)
        return false;
    logLine(QStringLiteral("Cloud disk transfer stopped; the data file and the cloud disk copy are as they were."));
    done(Outcome::Cancelled);
    return true;
}

void DotMacSyncController::begin(bool upload, std::function<void()> next, Done done)
{
    logLine(upload ? QStringLiteral("Cloud disk uploading...") : QStringLiteral("Cloud disk downloading..."));
    m_disk->check([this, upload, next = std::move(next), done](const CloudDisk::Answer& answer) {
        if (stopped(answer, done))
            return;
        switch (answer.failure) {
        case CloudDisk::Failure::None:
            next();
            return;
        case CloudDisk::Failure::BadLogin:
            logLine(QStringLiteral("Bad cloud disk login"));
            fail(QString(CloudDiskText::badLogin), done);
            return;
        case CloudDisk::Failure::NoService:
            logLine(QStringLiteral("No cloud disk (%1)").arg(answer.detail));
            fail(QString(CloudDiskText::notEnabled), done);
            return;
        case CloudDisk::Failure::NoAccess:
        case CloudDisk::Failure::Transfer:
        case CloudDisk::Failure::Cancelled:
            logLine((upload ? QStringLiteral("Error checking cloud disk, canceling connection (%1)")
                            : QStringLiteral("Error checking cloud disk (%1)")).arg(answer.detail));
            fail(QString(CloudDiskText::accessError), done);
            return;
        }
    });
}

void DotMacSyncController::downloadDataFromDotMac(Done done)
{
    begin(false, [this, done] {
        m_disk->remoteFile([this, done](const CloudDisk::Answer& answer, const CloudDisk::RemoteFile& remote) {
            if (stopped(answer, done))
                return;
            if (!answer.isOk()) {
                logLine(QStringLiteral("Cloud disk transaction error, canceling connection. (%1)").arg(answer.detail));
                fail(QString(CloudDiskText::accessError), done);
                return;
            }
            if (!remote.exists) {
                logLine(QStringLiteral("No data file on the cloud disk yet at %1").arg(m_disk->location()));
                done(Outcome::NothingToDo);
                return;
            }
            logLine(m_dataFilePath);
            const QFileInfo localInfo(m_dataFilePath);
            const QDateTime local = localInfo.isFile() ? localInfo.lastModified().toUTC() : QDateTime();
            logLines({QStringLiteral("Local file modification date:"), local.toString(Qt::ISODate),
                      QStringLiteral("Cloud disk file modification date:"), remote.lastModified.toString(Qt::ISODate)});
            const bool waiting = m_preferences.boolForKey(PreferenceKey::dotMacWaitingForFirstSync);
            // A remote copy without a date is taken only when there is no local file to compare.
            const bool remoteIsNewer = !local.isValid()
                || (remote.lastModified.isValid() && toSeconds(local) < toSeconds(remote.lastModified));
            if (!remoteIsNewer && !waiting) {
                done(Outcome::NothingToDo);
                return;
            }
            logLine(QStringLiteral("Downloading newer file from cloud disk account...."));
            // Beside the data file, so that the rename that puts it in place is atomic; on a computer
            // that never ran the program the folder is not there yet.
            QDir().mkpath(QFileInfo(m_dataFilePath).absolutePath());
            // Scratch files of downloads that never ended (the program was killed). Were another download
            // on the same file still running, its rename would fail and leave the data file as it was.
            const QFileInfo dataInfo(m_dataFilePath);
            for (const QFileInfo& stale : dataInfo.dir().entryInfoList({dataInfo.fileName() + QLatin1String(".download-*")}, QDir::Files))
                QFile::remove(stale.filePath());
            const QString scratch = m_dataFilePath + QLatin1String(".download-")
                                    + QUuid::createUuid().toString(QUuid::WithoutBraces);
            const QDateTime remoteDate = remote.lastModified;
            m_disk->download(scratch, [this, scratch, remoteDate, done](const CloudDisk::Answer& fetched) {
                if (m_cancelled || !fetched.isOk())
                    QFile::remove(scratch);
                if (stopped(fetched, done))
                    return;
                if (!fetched.isOk()) {
                    logLine(QStringLiteral("Download error. (%1)").arg(fetched.detail));
                    fail(QString(CloudDiskText::downloadError), done);
                    return;
                }
                replaceDataFile(scratch, remoteDate, done);
            });
        });
    }, done);
}

void DotMacSyncController::replaceDataFile(const QString& downloaded, const QDateTime& remoteDate, Done done)
{
    const Status isDataFile = checkIsDataFile(downloaded);
    if (!isDataFile.isOk()) {
        QFile::remove(downloaded);
        logLine(QStringLiteral("Download error. (the cloud disk copy is not a data file: %1)").arg(isDataFile.message()));
        fail(QString(CloudDiskText::downloadError), done);
        return;
    }
    if (QFileInfo(m_dataFilePath).isFile())
        backupAtDotMacAction(m_dataFilePath);
    // A journal left by a save that never finished belongs to the old file; SQLite would play it back
    // into the new one.
    if (QFileInfo::exists(m_dataFilePath + QLatin1String("-journal"))) {
        QFile::remove(downloaded);
        logLine(QStringLiteral("Download error. (%1-journal is still there: the data file was not closed cleanly)").arg(m_dataFilePath));
        fail(QString(CloudDiskText::downloadError), done);
        return;
    }
    if (std::rename(QFile::encodeName(downloaded).constData(), QFile::encodeName(m_dataFilePath).constData()) != 0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        QFile::remove(downloaded);
        logLine(QStringLiteral("Download error. (%1)").arg(reason));
        fail(QString(CloudDiskText::downloadError), done);
        return;
    }
    // The local file takes the remote date: the same copy on both sides has equal dates.
    if (remoteDate.isValid()) {
        QFile placed(m_dataFilePath);
        if (placed.open(QIODevice::ReadWrite))
            placed.setFileTime(remoteDate, QFileDevice::FileModificationTime);
    }
    m_preferences.setBool(PreferenceKey::dotMacWaitingForFirstSync, false);
    m_preferences.sync();
    logLine(QStringLiteral("Download finished."));
    done(Outcome::Transferred);
}

void DotMacSyncController::uploadDataToDotMac(Done done)
{
    begin(true, [this, done] {
        // A consistent copy of the data file goes up, never a file caught in the middle of a save.
        auto snapshot = std::make_shared<QTemporaryDir>();
        const QString copy = snapshot->filePath(QStringLiteral("Vyro.sql"));
        const Status copied = snapshot->isValid() ? copyDataFile(m_dataFilePath, copy)
                                                  : Status::ioError(QStringLiteral("no temporary folder"));
        if (!copied.isOk()) {
            logLine(QStringLiteral("Upload error. (%1)").arg(copied.toString()));
            fail(QString(CloudDiskText::uploadError), done);
            return;
        }
        m_disk->upload(copy, [this, snapshot, done](const CloudDisk::Answer& answer) {
            // A cancel that came after the new copy was put in place changes nothing: it is there.
            if (!answer.isOk() && stopped(answer, done))
                return;
            if (!answer.isOk()) {
                logLine(QStringLiteral("Upload error. (%1)").arg(answer.detail));
                fail(QString(CloudDiskText::uploadError), done);
                return;
            }
            logLine(QStringLiteral("Upload finished."));
            done(Outcome::Transferred);
        });
    }, done);
}
