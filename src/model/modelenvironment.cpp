#include "model/modelenvironment.h"

ModelEnvironment& ModelEnvironment::instance()
{
    static ModelEnvironment environment;
    return environment;
}

QDateTime ModelEnvironment::now() const
{
    return m_clock ? m_clock() : QDateTime::currentDateTime();
}

void ModelEnvironment::setClock(std::function<QDateTime()> clock)
{
    m_clock = std::move(clock);
}

bool ModelEnvironment::boolPreference(QStringView key) const
{
    if (!m_preferences)
        return false;
    const QVariant v = m_preferences(key);
    if (v.typeId() == QMetaType::QString)
        return v.toString() == QLatin1String("true") || v.toString().toInt() != 0;
    return v.toBool();
}

int ModelEnvironment::integerPreference(QStringView key) const
{
    return m_preferences ? m_preferences(key).toInt() : 0;
}

void ModelEnvironment::setPreferenceReader(std::function<QVariant(QStringView)> reader)
{
    m_preferences = std::move(reader);
}

void ModelEnvironment::postInboxCountHasChanged(Record* object)
{
    Q_EMIT inboxCountHasChanged(object);
}
