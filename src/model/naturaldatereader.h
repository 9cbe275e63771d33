#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

#include <optional>

// Reads a typed date ("tomorrow", "next friday at 10am", "Jan 5", "in 3 days", "2026-12-24 17:00",
// "12/24/26") relative to `now`, in local time. docs/date-reader.md lists every form it accepts, what
// each gives, and what it rejects.
//
// The whole text must read: surrounding white space is ignored, anything left over ("tomorrow blah")
// gives nullopt, and so do texts longer than 200 characters. Words are English, in any case; only the
// numeric short form ("12/24/26" in en_US, "24.12.26" in de_DE) follows `locale`.
//
// A date without a time is at the start of its day, the same instant as the model's "Today" on that
// day; a time that the clocks skip moves forward by the size of the jump.
//
// A bare number ("12", "2008") never reads as a date: the quick-entry line relies on "#12" giving none.
std::optional<QDateTime> dateWithNaturalLanguageString(const QString& text, const QDateTime& now,
                                                       const QLocale& locale = QLocale::system());

