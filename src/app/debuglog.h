#pragma once

#include <QString>

#include <cstdio>

// The desktop program's entry step: standard error is reopened in append mode on the debug log, so
// every log line (and anything a library prints) lands there.
bool redirectStandardErrorToDebugLog(const QString& logPath);

// The command line keeps standard error for its own messages and appends the log lines to the debug
// log for as long as this object lives.
class DebugLogFile {
public:
    explicit DebugLogFile(const QString& logPath);
    ~DebugLogFile();
    DebugLogFile(const DebugLogFile&) = delete;
    DebugLogFile& operator=(const DebugLogFile&) = delete;

private:
    std::FILE* m_file = nullptr;
};
