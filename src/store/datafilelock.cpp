#include "store/datafilelock.h"

#include <QDir>
#include <QFileInfo>

DataFileLock::DataFileLock(const QString& dataFilePath, std::unique_ptr<QLockFile> lock)
    : m_dataFilePath(dataFilePath), m_lock(std::move(lock))
{
}

DataFileLock::~DataFileLock()
{
    m_lock->unlock();
}

Result<std::unique_ptr<DataFileLock>> DataFileLock::acquire(const QString& dataFilePath)
{
    const QString absolute = QFileInfo(dataFilePath).absoluteFilePath();
    auto lock = std::make_unique<QLockFile>(absolute + QStringLiteral(".lock"));
    // Staleness is decided by whether the owning process still runs, never by the lock's age: the
    // desktop program holds its data file for days.
    lock->setStaleLockTime(0);
    if (lock->tryLock(0))
        return std::unique_ptr<DataFileLock>(new DataFileLock(absolute, std::move(lock)));
    switch (lock->error()) {
    case QLockFile::LockFailedError: {
        qint64 pid = 0;
        QString host, app;
        lock->getLockInfo(&pid, &host, &app);
        return Status::busy(QStringLiteral("The data file %1 is in use by another Vyro process (pid %2). Quit it first.")
                                .arg(QDir::toNativeSeparators(absolute)).arg(pid));
    }
    case QLockFile::PermissionError:
        return Status::ioError(QStringLiteral("Cannot create the lock file beside %1: permission denied.").arg(QDir::toNativeSeparators(absolute)));
    default:
        return Status::ioError(QStringLiteral("Cannot lock the data file %1.").arg(QDir::toNativeSeparators(absolute)));
    }
}
