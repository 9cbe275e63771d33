#include "store/record.h"

#include "store/check.h"
#include "store/objectcontext.h"

#include <algorithm>

Record::Record(const EntityDescription& entity)
    : m_entity(&entity),
      m_values(new Value[entity.attributes().size()]),
      m_toOne(new Record*[size_t(entity.toOneCount())]()),
      m_toMany(entity.toManyCount() > 0 ? new std::vector<Record*>[size_t(entity.toManyCount())] : nullptr)
{
}

Record::~Record() = default;

QString Record::uri() const
{
    return m_context ? m_context->uriForRecord(*this) : QString();
}

void Record::setPrimitiveValue(int attribute, Value value)
{
    Value& slot = m_values[size_t(attribute)];
    if (slot == value)
        return;
    Value old = std::exchange(slot, std::move(value));
    if (m_context)
        m_context->didChangeAttribute(this, attribute, std::move(old));
}

const std::vector<Record*>& Record::toMany(int relationship) const
{
    static const std::vector<Record*> none;
    if (!VYRO_CHECK(relationship >= 0 && size_t(relationship) < m_entity->relationships().size()
                    && m_entity->relationships()[size_t(relationship)].toMany))
        return none;
    return m_toMany[size_t(m_entity->slotOfRelationship(relationship))];
}

void Record::removeFromInverse(int relationship, Record* target)
{
    const auto& rel = m_entity->relationships()[size_t(relationship)];
    if (!target || rel.inverseIndex < 0)
        return;
    auto& members = target->m_toMany[size_t(rel.destination->slotOfRelationship(rel.inverseIndex))];
    // Searched from the back: emptying a set (deleting a context with all its tasks) goes backwards and so
    // stays linear.
    auto it = std::find(members.rbegin(), members.rend(), this);
    if (it != members.rend())
        members.erase(std::next(it).base());
}

void Record::linkToOne(int relationship, Record* target)
{
    const auto& rel = m_entity->relationships()[size_t(relationship)];
    Record*& slot = m_toOne[size_t(m_entity->slotOfRelationship(relationship))];
    removeFromInverse(relationship, slot);
    slot = target;
    if (target && rel.inverseIndex >= 0)
        target->m_toMany[size_t(rel.destination->slotOfRelationship(rel.inverseIndex))].push_back(this);
}

void Record::setToOne(int relationship, Record* target)
{
    Record* old = toOne(relationship);
    if (old == target)
        return;
    linkToOne(relationship, target);
    if (m_context)
        m_context->didChangeToOne(this, relationship, old, target);
}

void Record::addToMany(int relationship, Record* member)
{
    const auto& rel = m_entity->relationships()[size_t(relationship)];
    if (!VYRO_CHECK(rel.toMany && rel.inverseIndex >= 0 && member && &member->entity() == rel.destination))
        return;
    member->setToOne(rel.inverseIndex, this);
}

void Record::removeFromMany(int relationship, Record* member)
{
    const auto& rel = m_entity->relationships()[size_t(relationship)];
    if (!VYRO_CHECK(rel.toMany && rel.inverseIndex >= 0 && member && &member->entity() == rel.destination))
        return;
    if (member->toOne(rel.inverseIndex) == this)
        member->setToOne(rel.inverseIndex, nullptr);
}

Value Record::valueForKey(QStringView key) const
{
    const int a = m_entity->attributeIndex(key);
    if (a >= 0)
        return m_values[size_t(a)];
    const int d = m_entity->derivedKeyIndex(key);
    if (d >= 0 && m_entity->derivedKeys()[size_t(d)].value)
        return m_entity->derivedKeys()[size_t(d)].value(*this);
    return {};
}

bool valueFitsAttribute(const Value& value, AttributeType type)
{
    switch (value.kind()) {
    case Value::Kind::Null: return true;
    case Value::Kind::Bool: return type == AttributeType::Bool || type == AttributeType::Integer;
    case Value::Kind::Integer:
        return type == AttributeType::Integer || type == AttributeType::Double || type == AttributeType::Bool;
    case Value::Kind::Double: return type == AttributeType::Double;
    case Value::Kind::String: return type == AttributeType::String;
    case Value::Kind::Date: return type == AttributeType::Date;
    }
    return false;
}

Status Record::setValueForKey(QStringView key, const Value& value)
{
    const int a = m_entity->attributeIndex(key);
    if (a < 0)
        return Status::invalidArgument(QStringLiteral("%1 has no attribute \"%2\"").arg(m_entity->name(), key));
    const AttributeType type = m_entity->attributes()[size_t(a)].type;
    if (!valueFitsAttribute(value, type))
        return Status::invalidArgument(QStringLiteral("%1.%2 does not take that kind of value").arg(m_entity->name(), key));
    // Store booleans as booleans and integers as integers whatever form they came in.
    Value v = value;
    if (type == AttributeType::Bool && v.kind() == Value::Kind::Integer)
        v = Value::boolean(v.toInteger() != 0);
    else if (type == AttributeType::Integer && v.kind() == Value::Kind::Bool)
        v = Value::integer(v.toInteger());
    else if (type == AttributeType::Double && v.kind() == Value::Kind::Integer)
        v = Value::real(v.toDouble());
    storeValueForKey(a, v);
    return Status::ok();
}

Status Record::setRecordForKey(QStringView key, Record* target)
{
    const int r = m_entity->relationshipIndex(key);
    if (r < 0 || m_entity->relationships()[size_t(r)].toMany)
        return Status::invalidArgument(QStringLiteral("%1 has no to-one relationship \"%2\"").arg(m_entity->name(), key));
    const auto& rel = m_entity->relationships()[size_t(r)];
    if (target && &target->entity() != rel.destination)
        return Status::invalidArgument(QStringLiteral("%1.%2 must be a %3").arg(m_entity->name(), key, rel.destinationEntity));
    if (target && target->managedObjectContext() != m_context)
        return Status::invalidArgument(QStringLiteral("%1.%2: the record belongs to another store").arg(m_entity->name(), key));
    storeRecordForKey(r, target);
    return Status::ok();
}
