#include "exchange/textfile.h"

#include <QFile>
#include <QStringDecoder>

QString decodeText(const QByteArray& bytes)
{
    const std::optional<QStringConverter::Encoding> marked = QStringConverter::encodingForData(bytes);
    // The decoder skips the mark itself.
    QStringDecoder decoder(marked.value_or(QStringConverter::Utf8));
    return decoder.decode(bytes);
}

Result<QString> readTextFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(QStringLiteral("%1: %2").arg(path, file.errorString()));
    return decodeText(file.readAll());
}
