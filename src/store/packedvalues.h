#pragma once

#include "store/packedblock.h"

#include <cstdint>
#include <memory>
#include <vector>

class EntityDescription;

// The packed attributes of one entity's records, kept beside the records in the blocks the data file
// stores them in, with the blocks changed since the last save marked. The context writes every change
// of a packed value here as well, so a save encodes the marked blocks without visiting a record: a
// renumbering that moves most tasks of the store then costs a few hundred block writes.
//
// A slot holds the value of a live record; a deleted record (or a key never used) reads as Null.
//
// Belongs to its ObjectContext and so to that context's thread.
class PackedValues {
public:
    explicit PackedValues(const EntityDescription& entity);

    // The packed attributes, in attribute order; `index` below is a position in this list.
    const std::vector<int>& attributes() const { return m_attributes; }
    int indexOf(int attribute) const;

    void set(int index, qint64 key, const Value& value);
    // Loading: sets without marking the block changed.
    void load(int index, qint64 key, const Value& value);

    qint64 blockCount() const { return qint64(m_changed.size()); }
    bool isChanged(qint64 block) const { return m_changed[size_t(block)]; }
    bool hasChanges() const { return m_changedCount > 0; }
    const PackedBlock& block(int index, qint64 block) const;
    // After a successful save.
    void clearChanges();

private:
    void grow(qint64 block);
    PackedBlock& slot(int index, qint64 block); // made when missing

    std::vector<int> m_attributes;
    // Per packed attribute, per block; a block is made when a value first lands in it, so keys far
    // apart cost a pointer per block between them, not a block.
    std::vector<std::vector<std::unique_ptr<PackedBlock>>> m_blocks;
    std::vector<bool> m_changed;                    // per block, for all packed attributes at once
    size_t m_changedCount = 0;
};
