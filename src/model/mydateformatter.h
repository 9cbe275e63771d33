#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

#include <functional>
#include <optional>

class ModelEnvironment;

// The formatter of every date cell and field. Shows near dates as "Today", "Tomorrow", "Yesterday" or a
// weekday name (when the preference "datesUseNaturalLanguage" is on) and everything else in the
// locale's short date form; reads "+n" as n days from today, then the short date form.
//
// The locale is a parameter because QLocale::system() is what the user sees but cannot be fixed by
// QLocale::setDefault(); tests pass their own.
class MyDateFormatter {
public:
    // Reads free text ("next friday", "in 3 days") relative to ModelEnvironment::now(); nullopt when it
    // cannot.
    using NaturalLanguageReader = std::function<std::optional<QDateTime>(const QString& text)>;

    // `environment` gives the clock and the preferences; it must outlive the formatter.
    explicit MyDateFormatter(const ModelEnvironment& environment, const QLocale& locale = QLocale::system());

    // An invalid (absent) date gives the empty string.
    QString stringForObjectValue(const QDateTime& date) const;

    // nullopt: the text reads as no date, and the field rejects it. Dates read from the short form are
    // at the start of their day.
    std::optional<QDateTime> getObjectValue(const QString& text) const;

    // Extension point for natural-language input, which every formatter accepts. The reader is not
    // written yet: until it is, install it here (and once it exists, make it the constructor's default).
    // It is tried after "+n" and after the short date form, so text that reads in the user's own date
    // format always means what that format says (a reader of English numeric forms could take
    // "3/4/2026" as 4 March for a user who writes day/month).
    void setNaturalLanguageReader(NaturalLanguageReader reader);

    const QLocale& locale() const { return m_locale; }

private:
    std::optional<QDateTime> plusDays(const QString& text) const;
    std::optional<QDateTime> shortDate(const QString& text) const;

    const ModelEnvironment& m_environment;
    QLocale m_locale;
    NaturalLanguageReader m_naturalLanguage;
};
