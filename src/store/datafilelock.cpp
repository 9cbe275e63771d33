#include "store/datafilelock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

QString native(const QString& path)
{
    return QDir::toNativeSeparators(path);
}

// "(pid 123 on host)" from a lock file's "<pid>\n<host>\n"; empty when the content names no one.
QString holderOf(int fd)
{
    char buffer[512];
    const ssize_t n = ::pread(fd, buffer, sizeof buffer - 1, 0);
    if (n <= 0)
        return {};
    const QStringList lines = QString::fromUtf8(buffer, qsizetype(n)).split(QLatin1Char('\n'));
    bool ok = false;
    const qint64 pid = lines.value(0).trimmed().toLongLong(&ok);
    if (!ok || pid <= 0)
        return {};
    const QString host = lines.value(1).trimmed();
    if (host.isEmpty() || host.size() > 255)
        return QStringLiteral(" (pid %1)").arg(pid);
    return QStringLiteral(" (pid %1 on %2)").arg(pid).arg(host);
}

} // namespace

QString DataFileLock::lockFilePath(const QString& dataFilePath)
{
    return QFileInfo(dataFilePath).absoluteFilePath() + QStringLiteral(".lock");
}

DataFileLock::DataFileLock(const QString& dataFilePath, int fd) : m_dataFilePath(dataFilePath), m_fd(fd)
{
}

DataFileLock::~DataFileLock()
{
    // Emptied first, so that the file names no holder once the hold ends; the hold itself goes with the
    // descriptor whatever the truncation does.
    [[maybe_unused]] const int truncated = ::ftruncate(m_fd, 0);
    ::close(m_fd);
}

bool DataFileLock::isHeldElsewhere(const QString& dataFilePath)
{
    const QByteArray lockPath = QFile::encodeName(lockFilePath(dataFilePath));
    int fd;
    do
        fd = ::open(lockPath.constData(), O_RDONLY | O_CLOEXEC);
    while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return false;
    // A shared hold conflicts only with an exclusive one, so two callers asking at once do not see each
    // other as holders; it is given back at once.
    int rc;
    do
        rc = ::flock(fd, LOCK_SH | LOCK_NB);
    while (rc != 0 && errno == EINTR);
    const bool held = rc != 0 && errno == EWOULDBLOCK;
    ::close(fd);
    return held;
}

Result<std::unique_ptr<DataFileLock>> DataFileLock::acquire(const QString& dataFilePath)
{
    const QString absolute = QFileInfo(dataFilePath).absoluteFilePath();
    const QByteArray lockPath = QFile::encodeName(lockFilePath(absolute));
    // Close-on-exec: a program started from this one must not go on holding the data file.
    int fd;
    do
        fd = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        if (errno == EACCES || errno == EPERM || errno == EROFS)
            return Status::ioError(QStringLiteral("Cannot create the lock file beside %1: permission denied.").arg(native(absolute)));
        return Status::ioError(QStringLiteral("Cannot create the lock file beside %1: %2").arg(native(absolute), QString::fromLocal8Bit(std::strerror(errno))));
    }
    int rc;
    do
        rc = ::flock(fd, LOCK_EX | LOCK_NB);
    while (rc != 0 && errno == EINTR);
    if (rc != 0) {
        const int error = errno;
        const QString holder = error == EWOULDBLOCK ? holderOf(fd) : QString();
        ::close(fd);
        if (error == EWOULDBLOCK)
            return Status::busy(QStringLiteral("The data file %1 is in use by another Vyro process%2. Quit it first.").arg(native(absolute), holder));
        return Status::ioError(QStringLiteral("Cannot lock the data file %1: %2").arg(native(absolute), QString::fromLocal8Bit(std::strerror(error))));
    }
    // Whatever an earlier holder left is replaced. The content is only informative: failing to write
    // it does not weaken the hold.
    const QByteArray content = QByteArray::number(qint64(::getpid())) + '\n' + QSysInfo::machineHostName().toUtf8() + '\n';
    [[maybe_unused]] const bool written =
        ::ftruncate(fd, 0) == 0 && ::pwrite(fd, content.constData(), size_t(content.size()), 0) == ssize_t(content.size());
    return std::unique_ptr<DataFileLock>(new DataFileLock(absolute, fd));
}
