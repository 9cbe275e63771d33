#include "store/log.h"

namespace {
std::FILE* g_sink = nullptr;
}

void setLogSink(std::FILE* file)
{
    g_sink = file;
}

void logLine(const QString& line)
{
    std::FILE* out = g_sink ? g_sink : stderr;
    // One write per line: standard error is unbuffered and a log file is opened line-buffered, so the
    // line is on disk (in the kernel's hands) when this returns.
    QByteArray bytes = line.toUtf8();
    bytes.append('\n');
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), out);
}

void logLines(const QStringList& lines)
{
    if (lines.isEmpty())
        return;
    std::FILE* out = g_sink ? g_sink : stderr;
    QByteArray bytes = lines.join(QLatin1Char('\n')).toUtf8();
    bytes.append('\n');
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), out);
}
