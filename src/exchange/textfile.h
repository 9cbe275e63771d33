#pragma once

#include "store/status.h"

#include <QByteArray>
#include <QString>

// Text as it comes from a file or the clipboard: a byte-order mark (UTF-8, UTF-16 or UTF-32, either
// byte order) says the encoding and is dropped; without one the bytes are read as UTF-8.
QString decodeText(const QByteArray& bytes);

// The whole of a text file, decoded as above; an error names the file and the reason.
Result<QString> readTextFile(const QString& path);
