#include "store/recorddocument.h"

#include "store/objectcontext.h"
#include "store/record.h"

#include <QHash>
#include <QSet>

namespace {

// The value as the attribute stores it, or nullopt when it does not fit.
std::optional<Value> coerce(const Value& value, AttributeType type)
{
    if (!valueFitsAttribute(value, type))
        return std::nullopt;
    if (type == AttributeType::Bool && value.kind() == Value::Kind::Integer) {
        if (value.toInteger() != 0 && value.toInteger() != 1)
            return std::nullopt;
        return Value::boolean(value.toInteger() != 0);
    }
    if (type == AttributeType::Integer && value.kind() == Value::Kind::Bool)
        return Value::integer(value.toInteger());
    if (type == AttributeType::Double && value.kind() == Value::Kind::Integer)
        return Value::real(value.toDouble());
    return value;
}

QString typeName(AttributeType type)
{
    switch (type) {
    case AttributeType::Bool: return QStringLiteral("a boolean");
    case AttributeType::Integer: return QStringLiteral("an integer");
    case AttributeType::Double: return QStringLiteral("a number");
    case AttributeType::String: return QStringLiteral("a text");
    case AttributeType::Date: return QStringLiteral("a date");
    }
    return {};
}

} // namespace

Status importDocument(ObjectContext& context, const RecordDocument& document, std::vector<Record*>* created)
{
    const DataModel& model = context.model();
    QHash<QString, qsizetype> byId;
    for (qsizetype i = 0; i < qsizetype(document.records.size()); ++i) {
        const DocumentRecord& r = document.records[size_t(i)];
        if (!model.entity(r.entity))
            return Status::invalidArgument(QStringLiteral("%1: unknown entity \"%2\"").arg(r.location, r.entity));
        if (r.id.isEmpty())
            continue;
        if (byId.contains(r.id))
            return Status::invalidArgument(QStringLiteral("%1: the id \"%2\" is already used by %3")
                                               .arg(r.location, r.id, document.records[size_t(byId.value(r.id))].location));
        byId.insert(r.id, i);
    }

    // Check everything first; resolved references: index into the document, or an existing record.
    struct Link {
        int relationship;
        qsizetype inDocument = -1;
        Record* existing = nullptr;
    };
    std::vector<std::vector<std::pair<int, Value>>> values(document.records.size());
    std::vector<std::vector<Link>> links(document.records.size());
    for (size_t i = 0; i < document.records.size(); ++i) {
        const DocumentRecord& r = document.records[i];
        const EntityDescription& entity = *model.entity(r.entity);
        QSet<QString> seen;
        for (const auto& [key, value] : r.attributes) {
            if (seen.contains(key))
                return Status::invalidArgument(QStringLiteral("%1.%2: given twice").arg(r.location, key));
            seen.insert(key);
            const int a = entity.attributeIndex(key);
            // Derived values (a folder's path name in files of older releases) follow from the others.
            if (a < 0 && entity.derivedKeyIndex(key) >= 0)
                continue;
            if (a < 0) {
                const int rel = entity.relationshipIndex(key);
                if (rel >= 0 && entity.relationships()[size_t(rel)].toMany)
                    return Status::invalidArgument(QStringLiteral("%1.%2: a to-many relationship is made from its inverse \"%3\"; leave it out")
                                                       .arg(r.location, key, entity.relationships()[size_t(rel)].inverse));
                return Status::invalidArgument(QStringLiteral("%1.%2: %3 has no such attribute").arg(r.location, key, entity.name()));
            }
            const AttributeType type = entity.attributes()[size_t(a)].type;
            auto v = coerce(value, type);
            if (!v)
                return Status::invalidArgument(QStringLiteral("%1.%2: must be %3").arg(r.location, key, typeName(type)));
            values[i].emplace_back(a, std::move(*v));
        }
        for (const auto& [key, ref] : r.relationships) {
            if (seen.contains(key))
                return Status::invalidArgument(QStringLiteral("%1.%2: given twice").arg(r.location, key));
            seen.insert(key);
            const int rel = entity.relationshipIndex(key);
            if (rel < 0)
                return Status::invalidArgument(QStringLiteral("%1.%2: %3 has no such relationship").arg(r.location, key, entity.name()));
            const auto& desc = entity.relationships()[size_t(rel)];
            if (desc.toMany)
                return Status::invalidArgument(QStringLiteral("%1.%2: a to-many relationship is made from its inverse \"%3\"; leave it out")
                                                   .arg(r.location, key, desc.inverse));
            Link link {rel};
            if (ref.isEmpty()) {
                // an explicit "no record"
            } else if (byId.contains(ref)) {
                link.inDocument = byId.value(ref);
                if (document.records[size_t(link.inDocument)].entity != desc.destinationEntity)
                    return Status::invalidArgument(QStringLiteral("%1.%2: \"%3\" is a %4, not a %5")
                                                       .arg(r.location, key, ref, document.records[size_t(link.inDocument)].entity, desc.destinationEntity));
            } else if (Record* existing = context.objectWithURI(ref)) {
                if (&existing->entity() != desc.destination)
                    return Status::invalidArgument(QStringLiteral("%1.%2: \"%3\" is a %4, not a %5")
                                                       .arg(r.location, key, ref, existing->entity().name(), desc.destinationEntity));
                link.existing = existing;
            } else {
                return Status::invalidArgument(QStringLiteral("%1.%2: no record \"%3\" in the file or the store").arg(r.location, key, ref));
            }
            links[i].push_back(link);
        }
    }

    // A tree relationship (parent of the same entity) must not loop within the document. Each record's
    // chain of parents is followed once: up to a record already cleared, or back into the chain.
    auto isTreeLink = [&](size_t i, const Link& l) {
        return l.inDocument >= 0 && document.records[size_t(l.inDocument)].entity == document.records[i].entity;
    };
    QSet<int> treeRelationships;
    for (size_t i = 0; i < links.size(); ++i)
        for (const Link& l : links[i])
            if (isTreeLink(i, l))
                treeRelationships.insert(l.relationship);
    for (int rel : treeRelationships) {
        auto parentOf = [&](size_t i) -> qsizetype {
            for (const Link& l : links[i])
                if (l.relationship == rel && isTreeLink(i, l))
                    return l.inDocument;
            return -1;
        };
        enum : char { Unseen, InChain, Cleared };
        std::vector<char> state(document.records.size(), Unseen);
        std::vector<size_t> chain;
        for (size_t i = 0; i < document.records.size(); ++i) {
            chain.clear();
            qsizetype current = qsizetype(i);
            while (current >= 0 && state[size_t(current)] == Unseen) {
                state[size_t(current)] = InChain;
                chain.push_back(size_t(current));
                current = parentOf(size_t(current));
            }
            if (current >= 0 && state[size_t(current)] == InChain) {
                const DocumentRecord& r = document.records[size_t(current)];
                return Status::invalidArgument(QStringLiteral("%1.%2: the records form a loop")
                                                   .arg(r.location, model.entity(r.entity)->relationships()[size_t(rel)].name));
            }
            for (size_t c : chain)
                state[c] = Cleared;
        }
    }

    std::vector<Record*> made;
    made.reserve(document.records.size());
    for (const DocumentRecord& r : document.records)
        made.push_back(context.insertNewObject(r.entity));
    for (size_t i = 0; i < made.size(); ++i) {
        for (auto& [index, value] : values[i])
            made[i]->setPrimitiveValue(index, std::move(value));
        for (const Link& link : links[i])
            made[i]->setToOne(link.relationship, link.inDocument >= 0 ? made[size_t(link.inDocument)] : link.existing);
    }
    if (created)
        *created = std::move(made);
    return Status::ok();
}
