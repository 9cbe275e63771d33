#include "platform/memfd.h"

#include <cerrno>
#include <cstring>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

MemoryFile MemoryFile::withContent(const char* name, const QByteArray& content)
{
    MemoryFile file;
    file.m_fd = ::memfd_create(name, MFD_CLOEXEC);
    if (file.m_fd < 0)
        return file;
    qint64 written = 0;
    while (written < content.size()) {
        const ssize_t n = ::write(file.m_fd, content.constData() + written, size_t(content.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            ::close(file.m_fd);
            file.m_fd = -1;
            return file;
        }
        written += n;
    }
    return file;
}

MemoryFile::~MemoryFile()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

MemoryFile& MemoryFile::operator=(MemoryFile&& other) noexcept
{
    if (this != &other) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = other.m_fd;
        other.m_fd = -1;
    }
    return *this;
}

ReadResult readWholeDescriptor(int fd, qint64 limit)
{
    ReadResult result;
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        result.error = QString::fromLocal8Bit(std::strerror(errno));
        return result;
    }
    // Only regular files (memory files are) have a start to read from; a pipe or a socket could keep
    // the reader waiting on the sender.
    if (!S_ISREG(info.st_mode)) {
        result.error = QStringLiteral("the descriptor is not a file");
        return result;
    }
    if (info.st_size > limit) {
        result.error = QStringLiteral("more than %1 bytes").arg(limit);
        return result;
    }
    QByteArray bytes(qsizetype(info.st_size), Qt::Uninitialized);
    qint64 got = 0;
    while (got < bytes.size()) {
        const ssize_t n = ::pread(fd, bytes.data() + got, size_t(bytes.size() - got), off_t(got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            result.error = QString::fromLocal8Bit(std::strerror(errno));
            return result;
        }
        if (n == 0)
            break;
        got += n;
    }
    bytes.truncate(qsizetype(got));
    result.bytes = std::move(bytes);
    return result;
}
