// Any text through the natural-language date reader: no crash, no hang, no sanitizer report.

#include "model/naturaldatereader.h"

#include <QLocale>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QDateTime now(QDate(2026, 11, 22), QTime(10, 30));
    static const QLocale locales[] = {QLocale(QLocale::English, QLocale::UnitedStates), QLocale(QLocale::German, QLocale::Germany)};
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const QLocale& locale : locales)
        dateWithNaturalLanguageString(text, now, locale);
    return 0;
}
