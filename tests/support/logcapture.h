#pragma once

#include "store/log.h"

#include <QFile>
#include <QStringList>

#include <cstdio>

// The log lines written while `run` runs.
template <class Run>
QStringList loggedBy(Run run)
{
    std::FILE* log = std::tmpfile();
    setLogSink(log);
    run();
    setLogSink(nullptr);
    std::rewind(log);
    QFile f;
    f.open(log, QIODevice::ReadOnly);
    const QStringList lines = QString::fromUtf8(f.readAll()).split(u'\n', Qt::SkipEmptyParts);
    f.close();
    std::fclose(log);
    return lines;
}
