#include "store/keypath.h"

#include "store/entitydescription.h"
#include "store/record.h"

KeyPath::KeyPath(const QString& text) : m_text(text), m_components(text.split(QLatin1Char('.')))
{
}

bool KeyPath::bind(const EntityDescription& entity) const
{
    if (m_boundEntity == &entity)
        return m_boundOk;
    m_boundEntity = &entity;
    m_steps.clear();
    m_boundOk = false;
    const EntityDescription* current = &entity;
    for (qsizetype i = 0; i < m_components.size(); ++i) {
        const QString& component = m_components[i];
        const bool last = i == m_components.size() - 1;
        const bool countNext = i + 1 < m_components.size() && m_components[i + 1] == QLatin1String("@count");
        auto fail = [&](const QString& why) {
            m_bindError = QStringLiteral("key path \"%1\" on %2: %3").arg(m_text, entity.name(), why);
            return false;
        };
        if (!current)
            return fail(QStringLiteral("\"%1\" follows a value that has no keys").arg(component));
        if (const int a = current->attributeIndex(component); a >= 0) {
            if (!last)
                return fail(QStringLiteral("attribute \"%1\" has no keys below it").arg(component));
            m_steps.push_back({Step::Kind::Attribute, a});
            current = nullptr;
            continue;
        }
        if (const int r = current->relationshipIndex(component); r >= 0) {
            const auto& rel = current->relationships()[size_t(r)];
            if (rel.toMany) {
                if (!countNext || i + 2 != m_components.size())
                    return fail(QStringLiteral("to-many relationship \"%1\" can only be counted (@count)").arg(component));
                m_steps.push_back({Step::Kind::ToManyCount, r});
                break;
            }
            m_steps.push_back({Step::Kind::ToOne, r});
            current = rel.destination;
            continue;
        }
        if (const int d = current->derivedKeyIndex(component); d >= 0) {
            if (countNext && i + 2 == m_components.size() && current->derivedKeys()[size_t(d)].count) {
                m_steps.push_back({Step::Kind::DerivedCount, d});
                break;
            }
            if (!last || !current->derivedKeys()[size_t(d)].value)
                return fail(QStringLiteral("\"%1\" cannot be read that way").arg(component));
            m_steps.push_back({Step::Kind::DerivedValue, d});
            current = nullptr;
            continue;
        }
        return fail(QStringLiteral("%1 has no key \"%2\"").arg(current->name(), component));
    }
    m_boundOk = !m_steps.empty();
    if (!m_boundOk)
        m_bindError = QStringLiteral("empty key path");
    return m_boundOk;
}

Status KeyPath::validate(const EntityDescription& entity) const
{
    if (bind(entity))
        return Status::ok();
    return Status::invalidArgument(m_bindError);
}

KeyValue KeyPath::evaluate(const Record& record) const
{
    Value scratch;
    const KeyRef ref = evaluateRef(record, scratch);
    return {*ref.value, ref.record, ref.isRecord};
}

KeyRef KeyPath::evaluateRef(const Record& record, Value& scratch) const
{
    static const Value null;
    // Most keys are one attribute of the record itself.
    if (m_boundEntity == &record.entity() && m_boundOk && m_steps.size() == 1 && m_steps[0].kind == Step::Kind::Attribute)
        return {&record.primitiveValue(m_steps[0].index)};
    KeyRef out {&null};
    if (!bind(record.entity()))
        return out;
    const Record* current = &record;
    for (const Step& step : m_steps) {
        switch (step.kind) {
        case Step::Kind::Attribute:
            out.value = &current->primitiveValue(step.index);
            return out;
        case Step::Kind::ToOne: {
            Record* next = current->toOne(step.index);
            if (!next) {
                // An absent record: the path ends here. A path ending on the relationship itself reads
                // as a NULL record, any longer one as a NULL value.
                out.isRecord = &step == &m_steps.back();
                return out;
            }
            current = next;
            break;
        }
        case Step::Kind::ToManyCount:
            scratch = Value::integer(qint64(current->toMany(step.index).size()));
            out.value = &scratch;
            return out;
        case Step::Kind::DerivedValue:
            scratch = current->entity().derivedKeys()[size_t(step.index)].value(*current);
            out.value = &scratch;
            return out;
        case Step::Kind::DerivedCount:
            scratch = Value::integer(current->entity().derivedKeys()[size_t(step.index)].count(*current));
            out.value = &scratch;
            return out;
        }
    }
    // Ended on a to-one relationship that is set.
    out.isRecord = true;
    out.record = const_cast<Record*>(current);
    return out;
}

int KeyPath::singleToOneRelationship(const EntityDescription& entity) const
{
    if (!bind(entity) || m_steps.size() != 1 || m_steps[0].kind != Step::Kind::ToOne)
        return -1;
    return m_steps[0].index;
}

int KeyPath::singleAttribute(const EntityDescription& entity) const
{
    if (!bind(entity) || m_steps.size() != 1 || m_steps[0].kind != Step::Kind::Attribute)
        return -1;
    return m_steps[0].index;
}

std::pair<int, int> KeyPath::relatedAttribute(const EntityDescription& entity) const
{
    if (!bind(entity) || m_steps.size() != 2 || m_steps[0].kind != Step::Kind::ToOne || m_steps[1].kind != Step::Kind::Attribute)
        return {-1, -1};
    return {m_steps[0].index, m_steps[1].index};
}
