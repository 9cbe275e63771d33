#pragma once

#include "store/status.h"
#include "store/value.h"

#include <QStringList>

#include <utility>
#include <vector>

class EntityDescription;
class Record;

// What a key path reads: an attribute value, or a record when it ends on a to-one relationship.
struct KeyValue {
    Value value;
    Record* record = nullptr;
    bool isRecord = false;
    bool isNull() const { return isRecord ? record == nullptr : value.isNull(); }
};

// The same without copying: `value` points at the record's own stored value, or at the caller's
// scratch value for counts and computed keys (and at a static Null when the path reads nothing).
struct KeyRef {
    const Value* value;
    Record* record = nullptr;
    bool isRecord = false;
    bool isNull() const { return isRecord ? record == nullptr : value->isNull(); }
};

// A dotted key path: "name", "parentProject.active", "tasks.@count". Attributes and derived keys end a
// path; to-one relationships lead on to the next component; "@count" counts a to-many relationship or
// a derived count. A path through an absent to-one record reads Null.
//
// A path is bound lazily to the entity of the first record it is read on, and rebound when read on a
// record of another entity. Binding writes to the path, so a path (and the predicate or sort
// descriptor that holds it) belongs to one thread, like the records it reads.
class KeyPath {
public:
    KeyPath() = default;
    explicit KeyPath(const QString& text);

    const QString& text() const { return m_text; }
    // Checks that the path exists on `entity`.
    Status validate(const EntityDescription& entity) const;
    // Reads the path; Null when it does not exist on the record's entity.
    KeyValue evaluate(const Record& record) const;
    KeyRef evaluateRef(const Record& record, Value& scratch) const;
    // The attribute index when the whole path is one attribute of `entity`, else -1.
    int singleAttribute(const EntityDescription& entity) const;
    // The relationship index when the whole path is one to-one relationship of `entity`, else -1.
    int singleToOneRelationship(const EntityDescription& entity) const;
    // When the path is a to-one relationship of `entity` followed by an attribute of its destination
    // ("parentProject.active"): the relationship index and the attribute index. {-1, -1} otherwise.
    std::pair<int, int> relatedAttribute(const EntityDescription& entity) const;

private:
    struct Step {
        enum class Kind { Attribute, ToOne, ToManyCount, DerivedValue, DerivedCount };
        Kind kind;
        int index;
    };
    bool bind(const EntityDescription& entity) const;

    QString m_text;
    QStringList m_components;
    mutable const EntityDescription* m_boundEntity = nullptr;
    mutable bool m_boundOk = false;
    mutable QString m_bindError;
    mutable std::vector<Step> m_steps;
};
