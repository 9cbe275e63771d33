#include "store/packedvalues.h"

#include "store/entitydescription.h"

#include <algorithm>

PackedValues::PackedValues(const EntityDescription& entity)
{
    for (int a = 0; a < int(entity.attributes().size()); ++a)
        if (entity.packedAttributes() >> a & 1)
            m_attributes.push_back(a);
    m_blocks.resize(m_attributes.size());
}

int PackedValues::indexOf(int attribute) const
{
    const auto it = std::find(m_attributes.begin(), m_attributes.end(), attribute);
    return it == m_attributes.end() ? -1 : int(it - m_attributes.begin());
}

void PackedValues::grow(qint64 block)
{
    if (block < blockCount())
        return;
    for (auto& blocks : m_blocks)
        blocks.resize(size_t(block) + 1);
    m_changed.resize(size_t(block) + 1);
}

void PackedValues::set(int index, qint64 key, const Value& value)
{
    const qint64 b = PackedBlock::blockOfKey(key);
    grow(b);
    slot(index, b).set(int(key - PackedBlock::firstKey(b)), value);
    if (!m_changed[size_t(b)]) {
        m_changed[size_t(b)] = true;
        ++m_changedCount;
    }
}

void PackedValues::load(int index, qint64 key, const Value& value)
{
    const qint64 b = PackedBlock::blockOfKey(key);
    grow(b);
    slot(index, b).set(int(key - PackedBlock::firstKey(b)), value);
}

PackedBlock& PackedValues::slot(int index, qint64 block)
{
    auto& held = m_blocks[size_t(index)][size_t(block)];
    if (!held)
        held = std::make_unique<PackedBlock>();
    return *held;
}

const PackedBlock& PackedValues::block(int index, qint64 block) const
{
    static const PackedBlock empty;
    const auto& held = m_blocks[size_t(index)][size_t(block)];
    return held ? *held : empty;
}

void PackedValues::clearChanges()
{
    std::fill(m_changed.begin(), m_changed.end(), false);
    m_changedCount = 0;
}
