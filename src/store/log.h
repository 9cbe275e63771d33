#pragma once

#include <QString>
#include <QStringList>

#include <cstdio>

// The program's log: single lines, no levels. Lines go to standard error unless a log file was chosen
// (the desktop program reopens standard error on "debug.log" at entry; the command line keeps standard
// error for its own messages and writes the log to the file instead).
void logLine(const QString& line);

// Several lines in one write (a trace that belongs together).
void logLines(const QStringList& lines);

// Sends the log to `file` (not owned; nullptr means standard error again).
void setLogSink(std::FILE* file);
