#include "app/preferences.h"

#include <QStandardPaths>

#include <cmath>
#include <limits>

namespace {

// Booleans and numbers written by an earlier run are read back from the INI file as text; any other
// text reads as its leading integer ("false" as 0).
bool isTrueText(const QString& text)
{
    return text.compare(u"true", Qt::CaseInsensitive) == 0 || text.compare(u"yes", Qt::CaseInsensitive) == 0;
}

// The integer at the start of the text ("12", " -3", "5.7" → 5, "8 min" → 8); 0 when there is none.
// Out-of-range values are clamped.
int leadingInteger(const QString& text)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text.at(i) == u'-' || text.at(i) == u'+')) {
        negative = text.at(i) == u'-';
        ++i;
    }
    qint64 value = 0;
    for (; i < text.size() && text.at(i) >= u'0' && text.at(i) <= u'9'; ++i) {
        value = value * 10 + (text.at(i).unicode() - u'0');
        if (value > qint64(std::numeric_limits<int>::max()) + 1)
            break;
    }
    if (negative)
        value = -value;
    if (value > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    if (value < std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    return int(value);
}

// Truncates toward zero, as the text form "5.7" reads 5; clamped to the int range.
int truncatedToInt(double number)
{
    if (std::isnan(number))
        return 0;
    if (number >= double(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    if (number <= double(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    return int(number);
}

bool isNumberType(const QVariant& value)
{
    switch (value.metaType().id()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

bool isTextType(const QVariant& value)
{
    const int id = value.metaType().id();
    return id == QMetaType::QString || id == QMetaType::QByteArray;
}

} // namespace

QString Preferences::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/com.quendar.Vyro.ini");
}

Preferences::Preferences()
    : Preferences(defaultFilePath())
{
}

Preferences::Preferences(const QString& filePath)
    : m_settings(filePath, QSettings::IniFormat)
{
}

QString Preferences::filePath() const
{
    return m_settings.fileName();
}

bool Preferences::hasKey(QAnyStringView key) const
{
    return m_settings.contains(key);
}

bool Preferences::isDomainEmpty() const
{
    return m_settings.allKeys().isEmpty();
}

bool Preferences::boolForKey(QAnyStringView key) const
{
    const QVariant value = m_settings.value(key);
    if (value.metaType().id() == QMetaType::Bool)
        return value.toBool();
    if (isNumberType(value))
        return value.toDouble() != 0.0;
    if (isTextType(value)) {
        const QString text = value.toString().trimmed();
        if (isTrueText(text))
            return true;
        return leadingInteger(text) != 0;
    }
    return false;
}

int Preferences::integerForKey(QAnyStringView key) const
{
    const QVariant value = m_settings.value(key);
    if (value.metaType().id() == QMetaType::Bool)
        return value.toBool() ? 1 : 0;
    if (value.metaType().id() == QMetaType::Double || value.metaType().id() == QMetaType::Float)
        return truncatedToInt(value.toDouble());
    if (isNumberType(value))
        return value.toInt();
    if (isTextType(value)) {
        const QString text = value.toString().trimmed();
        if (isTrueText(text))
            return 1;
        return leadingInteger(text);
    }
    return 0;
}

double Preferences::floatForKey(QAnyStringView key) const
{
    const QVariant value = m_settings.value(key);
    if (value.metaType().id() == QMetaType::Bool)
        return value.toBool() ? 1.0 : 0.0;
    if (isNumberType(value))
        return value.toDouble();
    if (isTextType(value)) {
        const QString text = value.toString().trimmed();
        if (isTrueText(text))
            return 1.0;
        bool ok = false;
        const double number = text.toDouble(&ok);
        return ok ? number : double(leadingInteger(text));
    }
    return 0.0;
}

QString Preferences::stringForKey(QAnyStringView key) const
{
    const QVariant value = m_settings.value(key);
    if (isTextType(value) || isNumberType(value) || value.metaType().id() == QMetaType::Bool) {
        const QString text = value.toString();
        return text.isNull() ? QStringLiteral("") : text;
    }
    return QString();
}

QVariant Preferences::objectForKey(QAnyStringView key) const
{
    return m_settings.value(key);
}

QStringList Preferences::stringListForKey(QAnyStringView key) const
{
    const QVariant value = m_settings.value(key);
    if (!value.isValid())
        return {};
    if (value.metaType().id() == QMetaType::QStringList || value.metaType().id() == QMetaType::QVariantList
        || isTextType(value))
        return value.toStringList();
    return {};
}

void Preferences::setBool(QAnyStringView key, bool value)
{
    m_settings.setValue(key, value);
}

void Preferences::setInteger(QAnyStringView key, int value)
{
    m_settings.setValue(key, value);
}

void Preferences::setFloat(QAnyStringView key, double value)
{
    m_settings.setValue(key, value);
}

void Preferences::setString(QAnyStringView key, const QString& value)
{
    m_settings.setValue(key, value);
}

void Preferences::setObject(QAnyStringView key, const QVariant& value)
{
    m_settings.setValue(key, value);
}

void Preferences::setStringList(QAnyStringView key, const QStringList& value)
{
    m_settings.setValue(key, value);
}

void Preferences::removeKey(QAnyStringView key)
{
    m_settings.remove(key);
}

bool Preferences::sync()
{
    m_settings.sync();
    return m_settings.status() == QSettings::NoError;
}
