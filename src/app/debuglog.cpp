#include "app/debuglog.h"

#include "store/log.h"

#include <QDir>
#include <QFileInfo>

namespace {
void ensureFolder(const QString& logPath)
{
    QDir().mkpath(QFileInfo(logPath).absolutePath());
}
}

bool redirectStandardErrorToDebugLog(const QString& logPath)
{
    ensureFolder(logPath);
    if (!std::freopen(QFile::encodeName(logPath).constData(), "a", stderr))
        return false;
    // Reopened on a file, the stream would be fully buffered: the lines of a running program would
    // reach the log only in 4 KiB blocks, and the last of them never after a crash.
    std::setvbuf(stderr, nullptr, _IONBF, 0);
    return true;
}

DebugLogFile::DebugLogFile(const QString& logPath)
{
    ensureFolder(logPath);
    m_file = std::fopen(QFile::encodeName(logPath).constData(), "a");
    if (m_file)
        std::setvbuf(m_file, nullptr, _IOLBF, 4096);
    // Without a log file the lines go to standard error rather than nowhere.
    setLogSink(m_file);
}

DebugLogFile::~DebugLogFile()
{
    setLogSink(nullptr);
    if (m_file)
        std::fclose(m_file);
}
