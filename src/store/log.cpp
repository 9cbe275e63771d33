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
    const QByteArray bytes = line.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), out);
    std::fputc('\n', out);
    std::fflush(out);
}
