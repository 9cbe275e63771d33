#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The most a command's standard input may carry between processes (the command line's own limit for
// what it reads is smaller); anything longer is refused unread.
inline constexpr qint64 kMaxCommandInput = qint64(512) << 20;

// An anonymous file in memory (memfd), for passing bytes between processes by descriptor when they are
// too many for one bus message. The descriptor is closed with the object; a process that was sent it
// holds its own copy.
class MemoryFile {
public:
    MemoryFile() = default;
    // A memory file holding `content`; invalid when the system refuses one.
    static MemoryFile withContent(const char* name, const QByteArray& content);
    ~MemoryFile();
    MemoryFile(MemoryFile&& other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }
    MemoryFile& operator=(MemoryFile&& other) noexcept;
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    bool isValid() const { return m_fd >= 0; }
    int descriptor() const { return m_fd; }

private:
    int m_fd = -1;
};

// The whole content of a received file descriptor, read from its start whatever its offset (a memory
// file shares its offset with the sender's copy). Refused, with the reason in `error`, past `limit`.
struct ReadResult {
    std::optional<QByteArray> bytes;
    QString error;
    explicit operator bool() const { return bytes.has_value(); }
    QByteArray& operator*() { return *bytes; }
};
ReadResult readWholeDescriptor(int fd, qint64 limit);
