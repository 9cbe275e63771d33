#pragma once

#include "store/value.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class DataModel;
class EntityDescription;
class Record;

enum class AttributeType { Bool, Integer, Double, String, Date };

// Where the data file keeps an attribute's values.
enum class AttributeStorage {
    Column, // a column of the entity's table
    // Integers and flags only: packed with the same attribute of the records whose keys lie near, a
    // block of them per row of a side table. For values that are rewritten thousands at a time (the
    // natural-order positions, the clean-up flag): a save then writes a few blocks instead of thousands
    // of whole rows.
    Packed,
};

struct AttributeDescription {
    QString name;
    AttributeType type;
    AttributeStorage storage = AttributeStorage::Column;
};

// What deleting the source record does to the records of a relationship.
enum class DeleteRule {
    Nullify, // the related records lose their link to the deleted one
    Cascade, // the related records are deleted too
};

struct RelationshipDescription {
    QString name;
    QString destinationEntity;
    bool toMany = false;
    QString inverse; // empty: no inverse (the store still never leaves a dangling link, see ObjectContext)
    DeleteRule deleteRule = DeleteRule::Nullify;

    // Filled in by DataModel::finalize().
    const EntityDescription* destination = nullptr;
    int inverseIndex = -1;
};

// A computed key that predicates and key paths may read besides the stored ones ("pendingTasks.@count").
struct DerivedKeyDescription {
    QString name;
    std::function<Value(const Record&)> value;           // for plain keys
    std::function<qint64(const Record&)> count;          // for "@count"; may be empty
};

// Told of every tracked change to a record of the entity, right after it: setters, undo and redo, not
// loading. For counts that the model keeps in step itself instead of counting again.
struct ChangeHooks {
    std::function<void(Record& record, int attribute, const Value& oldValue)> attributeChanged;
    std::function<void(Record& record, int relationship, Record* oldTarget, Record* newTarget)> toOneChanged;
    // The record was deleted, or brought back by undo or redo.
    std::function<void(Record& record, bool deleted)> deletedChanged;
    // deleteObject is about to cut the record's links: the record is still whole, and what the hook
    // changes belongs to the same undo step.
    std::function<void(Record& record)> willDelete;
};

// One entity of the data model, immutable once its DataModel is finalized. Attributes and relationships are addressed by index; the index of a
// property is its position in the order it was added, so record classes can use enums for speed.
// To-one and to-many relationships are numbered among all relationships; each record keeps separate
// slots for its to-one and to-many relationships (toOneSlot / toManySlot).
class EntityDescription {
public:
    using Factory = std::function<std::unique_ptr<Record>(const EntityDescription&)>;

    EntityDescription(QString name, Factory factory = {});

    const QString& name() const { return m_name; }

    int addAttribute(const QString& name, AttributeType type);
    // Only integer and boolean attributes can be packed; others keep their column.
    void setAttributeStorage(int attribute, AttributeStorage storage);
    // Bit i set for each packed attribute i.
    std::uint64_t packedAttributes() const { return m_packed; }
    int addRelationship(RelationshipDescription relationship);
    void addDerivedKey(DerivedKeyDescription key);
    void setChangeHooks(ChangeHooks hooks) { m_hooks = std::move(hooks); }
    const ChangeHooks& changeHooks() const { return m_hooks; }

    const std::vector<AttributeDescription>& attributes() const { return m_attributes; }
    const std::vector<RelationshipDescription>& relationships() const { return m_relationships; }
    const std::vector<DerivedKeyDescription>& derivedKeys() const { return m_derived; }

    int attributeIndex(QStringView name) const;      // -1 when unknown
    int relationshipIndex(QStringView name) const;   // -1 when unknown
    int derivedKeyIndex(QStringView name) const;     // -1 when unknown

    int toOneCount() const { return m_toOneCount; }
    int toManyCount() const { return m_toManyCount; }
    int slotOfRelationship(int relationshipIndex) const { return m_slots[size_t(relationshipIndex)]; }

    std::unique_ptr<Record> makeRecord() const;

private:
    friend class DataModel;
    QString m_name;
    Factory m_factory;
    std::vector<AttributeDescription> m_attributes;
    std::vector<RelationshipDescription> m_relationships;
    std::vector<DerivedKeyDescription> m_derived;
    std::vector<int> m_slots;
    int m_toOneCount = 0;
    int m_toManyCount = 0;
    std::uint64_t m_packed = 0;
    ChangeHooks m_hooks;
    // The model that holds the entity and its place there.
    const DataModel* m_model = nullptr;
    int m_index = -1;
};

// The entities of a store. Built once, on one thread, and finalized (which resolves destinations and
// inverses and checks the entities); from then on the model and its EntityDescriptions are immutable
// and may be read from any thread, shared by every context that uses it.
class DataModel {
public:
    // Attributes and relationships of one entity together: a record's change masks have 64 bits.
    static constexpr size_t kMaxProperties = 64;

    EntityDescription& addEntity(QString name, EntityDescription::Factory factory = {});
    // Resolves relationship destinations and inverses; returns false (and logs a line per fault) on an
    // inconsistent model: an unknown destination or inverse, an entity with more than kMaxProperties
    // attributes and relationships.
    bool finalize();

    const EntityDescription* entity(QStringView name) const;
    const std::vector<std::unique_ptr<EntityDescription>>& entities() const { return m_entities; }
    int entityIndex(const EntityDescription* entity) const;

private:
    std::vector<std::unique_ptr<EntityDescription>> m_entities;
};
