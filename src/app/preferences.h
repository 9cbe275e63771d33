#pragma once

#include <QAnyStringView>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

// The user's preference domain "com.quendar.Vyro", kept as an INI file.
//
// Reads follow the absent-value rules the rest of the program relies on: a key without a value reads
// false, 0, 0.0, a null string, an empty list or an invalid QVariant. Values written by an earlier run
// come back from the file as text ("true", "5", "0.9123217"); the typed readers convert that text, so a
// value reads the same before and after a restart.
//
// Lists are kept as text by the INI form: an object that is a list of numbers comes back as a list of
// their texts, and a one-element list as a plain string. Maps keep their value types.
class Preferences
{
public:
    // "$XDG_CONFIG_HOME/com.quendar.Vyro.ini".
    static QString defaultFilePath();

    Preferences();
    explicit Preferences(const QString& filePath);

    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    QString filePath() const;

    bool hasKey(QAnyStringView key) const;
    // True when the domain holds no key at all (the first run).
    bool isDomainEmpty() const;

    bool boolForKey(QAnyStringView key) const;
    int integerForKey(QAnyStringView key) const;
    double floatForKey(QAnyStringView key) const;
    // A null QString when absent; an empty, non-null one when the stored value is "". Numbers and
    // booleans read as their text; a list or a map reads as null.
    QString stringForKey(QAnyStringView key) const;
    QVariant objectForKey(QAnyStringView key) const;
    // Empty when absent. A plain string reads as a one-element list.
    QStringList stringListForKey(QAnyStringView key) const;

    void setBool(QAnyStringView key, bool value);
    void setInteger(QAnyStringView key, int value);
    void setFloat(QAnyStringView key, double value);
    void setString(QAnyStringView key, const QString& value);
    void setObject(QAnyStringView key, const QVariant& value);
    void setStringList(QAnyStringView key, const QStringList& value);
    void removeKey(QAnyStringView key);

    // Writes pending changes to the file; false when the file could not be read or written.
    bool sync();

private:
    QSettings m_settings;
};
