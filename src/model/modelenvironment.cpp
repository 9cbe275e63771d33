#include "model/modelenvironment.h"

#include "store/objectcontext.h"
#include "store/record.h"

ModelEnvironment& ModelEnvironment::of(const ObjectContext& context)
{
    if (auto* environment = static_cast<ModelEnvironment*>(context.environment()))
        return *environment;
    // Made on first use: the context is logically unchanged by it.
    auto& owner = const_cast<ObjectContext&>(context);
    owner.setEnvironment(std::make_unique<ModelEnvironment>());
    return *static_cast<ModelEnvironment*>(owner.environment());
}

ModelEnvironment& ModelEnvironment::of(const Record& record)
{
    return of(*record.managedObjectContext());
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

const Predicate& ModelEnvironment::predicateTemplate(const QString& format)
{
    auto it = m_templates.find(format);
    if (it == m_templates.end())
        it = m_templates.emplace(format, Predicate::templateFromFormat(format)).first;
    return it->second;
}
