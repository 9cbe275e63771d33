#include "app/backups.h"

#include "store/log.h"
#include "store/sqlitestore.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QThread>

#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace {

struct CloseConnection {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

QString sqliteMessage(sqlite3* db)
{
    return db ? QString::fromUtf8(sqlite3_errmsg(db)) : QStringLiteral("out of memory");
}

// The file's bytes on the disk before it is renamed into place, so that a crash right after the
// rename cannot leave an empty backup under the real name.
bool syncFile(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

Status copyInto(sqlite3* source, const QString& sourcePath, const QString& temporary, int busyTimeoutMs)
{
    sqlite3* rawTarget = nullptr;
    const int opened = sqlite3_open_v2(QFile::encodeName(temporary).constData(), &rawTarget,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    const Connection target(rawTarget);
    if (opened != SQLITE_OK)
        return Status::ioError(QStringLiteral("Cannot write %1: %2").arg(temporary, sqliteMessage(target.get())));
    // The temporary file is thrown away on any failure: it needs no journal of its own.
    sqlite3_exec(target.get(), "PRAGMA journal_mode=OFF", nullptr, nullptr, nullptr);
    sqlite3_backup* backup = sqlite3_backup_init(target.get(), "main", source, "main");
    if (!backup)
        return Status::ioError(QStringLiteral("Cannot copy %1: %2").arg(sourcePath, sqliteMessage(target.get())));
    // All pages in one step: one read transaction of the source, so one saved state. A save that holds
    // the file's lock makes the step report busy; it is tried again, often, until the deadline. The
    // file is free to readers only between one save's commit and the next one's, which can be a short
    // gap under a busy writer: SQLite's own busy handler waits up to 100 ms between tries and can miss
    // every gap.
    const QDeadlineTimer deadline(busyTimeoutMs);
    int rc;
    for (;;) {
        rc = sqlite3_backup_step(backup, -1);
        if ((rc != SQLITE_BUSY && rc != SQLITE_LOCKED) || deadline.hasExpired())
            break;
        QThread::usleep(200);
    }
    sqlite3_backup_finish(backup);
    if (rc == SQLITE_NOTADB)
        return Status::corruption(QStringLiteral("%1 is not an SQLite file").arg(sourcePath));
    if (rc != SQLITE_DONE)
        return Status::ioError(QStringLiteral("Cannot copy %1: %2").arg(sourcePath, QString::fromUtf8(sqlite3_errstr(rc))));
    return Status::ok();
}

void automaticBackup(const QString& dataFilePath, BackupKind kind, const char* message)
{
    const QString target = backupFilePath(dataFilePath, kind);
    logLine(QLatin1String(message));
    logLine(target);
    if (Status s = copyDataFile(dataFilePath, target); !s.isOk())
        logLine(QStringLiteral("Backup failed: ") + s.message());
}

} // namespace

QString backupFilePath(const QString& dataFilePath, BackupKind kind)
{
    QLatin1StringView name = startupBackupFileName;
    switch (kind) {
    case BackupKind::Startup: name = startupBackupFileName; break;
    case BackupKind::Sync: name = syncBackupFileName; break;
    case BackupKind::CloudDisk: name = cloudDiskBackupFileName; break;
    }
    return QFileInfo(dataFilePath).dir().filePath(name);
}

Status copyDataFile(const QString& source, const QString& target, int busyTimeoutMs)
{
    if (!QFileInfo(source).isFile())
        return Status::notFound(QStringLiteral("No data file at %1").arg(source));
    // Renamed over itself, the file would be a new one under the name, and a program holding the old
    // one open would go on saving into a file nobody reads.
    if (QFileInfo(source).canonicalFilePath() == QFileInfo(target).canonicalFilePath())
        return Status::invalidArgument(QStringLiteral("%1 cannot be copied onto itself").arg(source));
    // Read-write when allowed, so that the journal of a save that was cut short is rolled back before
    // the copy rather than copied around; never created.
    sqlite3* rawSource = nullptr;
    int opened = sqlite3_open_v2(QFile::encodeName(source).constData(), &rawSource, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (opened != SQLITE_OK) {
        sqlite3_close_v2(rawSource);
        rawSource = nullptr;
        opened = sqlite3_open_v2(QFile::encodeName(source).constData(), &rawSource, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    }
    const Connection db(rawSource);
    if (opened != SQLITE_OK)
        return Status::ioError(QStringLiteral("Cannot read %1: %2").arg(source, sqliteMessage(db.get())));

    // Beside the target, so that the rename stays within one file system and is atomic.
    const QFileInfo targetInfo(target);
    QTemporaryFile temporary(targetInfo.dir().filePath(targetInfo.fileName() + QStringLiteral(".XXXXXX")));
    if (!temporary.open())
        return Status::ioError(QStringLiteral("Cannot write in %1: %2").arg(targetInfo.absolutePath(), temporary.errorString()));
    temporary.close();
    const QString temporaryPath = temporary.fileName();
    if (Status s = copyInto(db.get(), source, temporaryPath, busyTimeoutMs); !s.isOk())
        return s;
    if (!syncFile(temporaryPath))
        return Status::ioError(QStringLiteral("Cannot write %1: %2").arg(temporaryPath, QString::fromLocal8Bit(std::strerror(errno))));
    if (std::rename(QFile::encodeName(temporaryPath).constData(), QFile::encodeName(target).constData()) != 0)
        return Status::ioError(QStringLiteral("Cannot write %1: %2").arg(target, QString::fromLocal8Bit(std::strerror(errno))));
    temporary.setAutoRemove(false);
    return Status::ok();
}

void backupAtStartupAction(const QString& dataFilePath)
{
    automaticBackup(dataFilePath, BackupKind::Startup, "Backuping file at startup to...");
}

void backupAtSyncAction(const QString& dataFilePath)
{
    automaticBackup(dataFilePath, BackupKind::Sync, "Backuping file before sync to...");
}

void backupAtDotMacAction(const QString& dataFilePath)
{
    automaticBackup(dataFilePath, BackupKind::CloudDisk, "Backuping file before cloud disk syncing to...");
}

Status restoreFromDotMacBackup(const QString& dataFilePath)
{
    const QString backup = backupFilePath(dataFilePath, BackupKind::CloudDisk);
    logLine(QStringLiteral("Restoring data file from cloud disk local backup:..."));
    logLine(backup);
    Status s = copyDataFile(backup, dataFilePath);
    if (!s.isOk())
        logLine(QStringLiteral("Restore failed: ") + s.message());
    return s;
}

Status backupManually(const QString& dataFilePath, const QString& target)
{
    logLine(QStringLiteral("Backuping file manually to..."));
    logLine(target);
    Status s = copyDataFile(dataFilePath, target);
    if (!s.isOk())
        logLine(QStringLiteral("Backup failed: ") + s.message());
    return s;
}

QString manualBackupMessage(const Status& outcome)
{
    return outcome.isOk() ? QString(manualBackupSucceeded) : QString(manualBackupFailed);
}

Status checkIsDataFile(const QString& path)
{
    if (!QFileInfo(path).isFile())
        return Status::notFound(QStringLiteral("%1 does not exist or is not a file").arg(path));
    auto metadata = SqliteStore::metadataForStoreAt(path);
    if (!metadata)
        return Status::invalidArgument(QStringLiteral("%1 is not a Vyro data file (%2)").arg(path, metadata.status().message()));
    if (!metadata->contains(QLatin1String(SqliteStore::kStoreUUIDKey)))
        return Status::invalidArgument(QStringLiteral("%1 is an SQLite file, but not a Vyro data file").arg(path));
    return Status::ok();
}
