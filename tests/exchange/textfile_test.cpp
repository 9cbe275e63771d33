#include "exchange/textfile.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

// Each encoding a text file may come in, with and without its mark.
TEST(TextFile, ByteOrderMarkSaysTheEncoding)
{
    const QString text = QStringLiteral("Äpfel kaufen\nCall Zoë ☎");
    auto withMark = [&](QStringConverter::Encoding encoding) {
        QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
        return QByteArray(encoder.encode(text));
    };
    const struct {
        const char* name;
        QByteArray bytes;
    } cases[] = {
        {"UTF-8 without mark", text.toUtf8()},
        {"UTF-8 with mark", withMark(QStringConverter::Utf8)},
        {"UTF-16 LE", withMark(QStringConverter::Utf16LE)},
        {"UTF-16 BE", withMark(QStringConverter::Utf16BE)},
        {"UTF-32 LE", withMark(QStringConverter::Utf32LE)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(decodeText(c.bytes), text);
    }
    EXPECT_EQ(decodeText(QByteArray()), QString());
    EXPECT_FALSE(readTextFile(QStringLiteral("/nonexistent/vyro-import.txt")).isOk());
}
