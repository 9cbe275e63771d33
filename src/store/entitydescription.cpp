#include "store/entitydescription.h"

#include "store/log.h"
#include "store/record.h"

EntityDescription::EntityDescription(QString name, Factory factory)
    : m_name(std::move(name)), m_factory(std::move(factory))
{
}

int EntityDescription::addAttribute(const QString& name, AttributeType type)
{
    m_attributes.push_back({name, type});
    return int(m_attributes.size()) - 1;
}

void EntityDescription::setAttributeStorage(int attribute, AttributeStorage storage)
{
    auto& a = m_attributes[size_t(attribute)];
    a.storage = a.type == AttributeType::Integer || a.type == AttributeType::Bool ? storage : AttributeStorage::Column;
    const std::uint64_t bit = std::uint64_t(1) << attribute;
    m_packed = a.storage == AttributeStorage::Packed ? m_packed | bit : m_packed & ~bit;
}

int EntityDescription::addRelationship(RelationshipDescription relationship)
{
    m_slots.push_back(relationship.toMany ? m_toManyCount++ : m_toOneCount++);
    m_relationships.push_back(std::move(relationship));
    return int(m_relationships.size()) - 1;
}

void EntityDescription::addDerivedKey(DerivedKeyDescription key)
{
    m_derived.push_back(std::move(key));
}

int EntityDescription::attributeIndex(QStringView name) const
{
    for (size_t i = 0; i < m_attributes.size(); ++i)
        if (m_attributes[i].name == name)
            return int(i);
    return -1;
}

int EntityDescription::relationshipIndex(QStringView name) const
{
    for (size_t i = 0; i < m_relationships.size(); ++i)
        if (m_relationships[i].name == name)
            return int(i);
    return -1;
}

int EntityDescription::derivedKeyIndex(QStringView name) const
{
    for (size_t i = 0; i < m_derived.size(); ++i)
        if (m_derived[i].name == name)
            return int(i);
    return -1;
}

std::unique_ptr<Record> EntityDescription::makeRecord() const
{
    if (m_factory)
        return m_factory(*this);
    return std::make_unique<Record>(*this);
}

EntityDescription& DataModel::addEntity(QString name, EntityDescription::Factory factory)
{
    m_entities.push_back(std::make_unique<EntityDescription>(std::move(name), std::move(factory)));
    m_entities.back()->m_model = this;
    m_entities.back()->m_index = int(m_entities.size()) - 1;
    return *m_entities.back();
}

bool DataModel::finalize()
{
    bool ok = true;
    for (auto& entity : m_entities) {
        // A record marks its changed properties in 64-bit masks: bit i for attribute i, then one bit per
        // relationship.
        const size_t properties = entity->m_attributes.size() + entity->m_relationships.size();
        if (properties > kMaxProperties) {
            logLine(QStringLiteral("Data model: entity %1 has %2 attributes and relationships; at most %3 fit its change mask")
                        .arg(entity->name())
                        .arg(properties)
                        .arg(kMaxProperties));
            ok = false;
        }
        for (auto& rel : entity->m_relationships) {
            rel.destination = this->entity(rel.destinationEntity);
            if (!rel.destination) {
                logLine(QStringLiteral("Data model: relationship %1.%2 names an unknown entity %3")
                            .arg(entity->name(), rel.name, rel.destinationEntity));
                ok = false;
                continue;
            }
            if (rel.inverse.isEmpty())
                continue;
            rel.inverseIndex = rel.destination->relationshipIndex(rel.inverse);
            if (rel.inverseIndex < 0) {
                logLine(QStringLiteral("Data model: relationship %1.%2 names an unknown inverse %3")
                            .arg(entity->name(), rel.name, rel.inverse));
                ok = false;
            }
        }
    }
    return ok;
}

const EntityDescription* DataModel::entity(QStringView name) const
{
    for (const auto& e : m_entities)
        if (e->name() == name)
            return e.get();
    return nullptr;
}

int DataModel::entityIndex(const EntityDescription* entity) const
{
    return entity && entity->m_model == this ? entity->m_index : -1;
}
