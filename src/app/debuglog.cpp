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
    return std::freopen(QFile::encodeName(logPath).constData(), "a", stderr) != nullptr;
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
