#pragma once

#include "store/entitydescription.h"
#include "store/status.h"
#include "store/value.h"

#include <cstdint>
#include <memory>
#include <vector>

class ObjectContext;

// One record of an entity, living once in memory in its ObjectContext (identity map). Records are made
// only by the context (insertNewObject or loading) and owned by it; pointers stay valid for the
// context's whole life, also after the record is deleted (undo may bring it back).
//
// Every change goes through setPrimitiveValue / setToOne, which tell the context (change batch, undo,
// save). Relationship inverses are kept in step: setting a task's parentContext also moves the task
// between the two contexts' task sets. Entity classes of the model derive from Record and add typed
// accessors and setters with side effects.
//
// Threads: a record belongs to the thread of its context (the main thread for the program's one
// context); nothing here locks, and even reading a record while another thread changes it is a race.
class Record {
public:
    explicit Record(const EntityDescription& entity);
    virtual ~Record();
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    const EntityDescription& entity() const { return *m_entity; }
    ObjectContext* managedObjectContext() const { return m_context; }
    // Permanent from insertion; never reused within a store.
    qint64 primaryKey() const { return m_primaryKey; }
    // "x-coredata://<store UUID>/<entity>/p<primary key>"
    QString uri() const;
    bool isDeleted() const { return m_deleted; }

    const Value& primitiveValue(int attribute) const { return m_values[size_t(attribute)]; }
    // Asks the processor to start loading the record's first values and its links: a loop over many
    // records calls this a few records ahead of the one it reads. Only the first two cache lines of
    // values (the first eight attributes, where the flags that queries test lie): asking for all of
    // them measured slower in every such loop, most likely more loads in flight than the processor
    // keeps. Asking past a short array is harmless: a prefetch never faults.
    void prefetch() const
    {
        const Value* values = m_values.get();
        __builtin_prefetch(values);
        __builtin_prefetch(values + 64 / sizeof(Value));
        __builtin_prefetch(m_toOne.get());
    }
    void setPrimitiveValue(int attribute, Value value);

    // Read in every pass over many records, so only asserted: every caller takes the index from the
    // entity's own description.
    Record* toOne(int relationship) const
    {
        Q_ASSERT(!m_entity->relationships()[size_t(relationship)].toMany);
        return m_toOne[size_t(m_entity->slotOfRelationship(relationship))];
    }
    void setToOne(int relationship, Record* target);
    // Empty (and logged) for an index that is no to-many relationship.
    const std::vector<Record*>& toMany(int relationship) const;
    // Edits of a to-many relationship go through the inverse to-one side, so both stay in step.
    void addToMany(int relationship, Record* member);
    void removeFromMany(int relationship, Record* member);

    // Key-value access by name: attributes and derived keys ("x" of a to-one relationship gives Null).
    Value valueForKey(QStringView key) const;
    // Changes an attribute by name, through the entity's own setter where it has one (with its side
    // effects). Unknown keys and values of the wrong kind are refused.
    Status setValueForKey(QStringView key, const Value& value);
    // Changes a to-one relationship by name (nullptr clears it), through the entity's own setter.
    Status setRecordForKey(QStringView key, Record* target);

protected:
    // The entity classes route keys with side effects to their setters; the rest are stored as they are.
    // `value` already suits the attribute's type.
    virtual void storeValueForKey(int attribute, const Value& value) { setPrimitiveValue(attribute, value); }
    virtual void storeRecordForKey(int relationship, Record* target) { setToOne(relationship, target); }

private:
    friend class ObjectContext;
    friend class SqliteStore;

    // Untracked writes for loading from a file.
    void loadValue(int attribute, Value value) { m_values[size_t(attribute)] = std::move(value); }
    void linkToOne(int relationship, Record* target); // sets the slot and the inverse, untracked
    void removeFromInverse(int relationship, Record* target);

    // What a pass over many records reads comes first, in the object's first cache line (with the
    // virtual table pointer): passes load only that line ahead of use.
    const EntityDescription* m_entity;
    std::unique_ptr<Value[]> m_values;
    std::unique_ptr<Record*[]> m_toOne;
    std::unique_ptr<std::vector<Record*>[]> m_toMany;
    qint64 m_primaryKey = 0;
    ObjectContext* m_context = nullptr;
    bool m_deleted = false;
    bool m_savedInStore = false;
    bool m_dirty = false;
    // Stored columns changed since the last save: bit i for attribute i, bit (attributes + k) for the
    // k-th to-one relationship. A save writes only these.
    std::uint64_t m_changedColumns = 0;
    // What the context's open change batch holds of this record.
    struct BatchEntry {
        bool touched = false;
        bool inserted = false;
        bool deleted = false;
        std::uint64_t mask = 0; // bit i: attribute i; bit (attributes + j): relationship j
    };
    BatchEntry m_batch;
};

// Checks that `value` suits an attribute of `type` (Null suits every type).
bool valueFitsAttribute(const Value& value, AttributeType type);
