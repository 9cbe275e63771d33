#pragma once

#include "store/value.h"

#include <QByteArray>

#include <array>
#include <bitset>
#include <optional>

// The values of one packed attribute for a run of kSlots consecutive primary keys: slot i belongs to the
// record with key first(block) + i. A slot holds a whole number (a flag as 0 or 1) or nothing (Null: no
// record with that key, or a record without a value).
//
// Encoded form: a bitmap of the slots that hold a value (bit i of byte i / 8), then every slot as a
// little-endian signed integer of 4 bytes, or of 8 when some value does not fit in 4. The width is read
// back from the length.
class PackedBlock {
public:
    static constexpr int kSlots = 256;

    static qint64 blockOfKey(qint64 key) { return key / kSlots; }
    static qint64 firstKey(qint64 block) { return block * kSlots; }

    void set(int slot, const Value& value);
    Value value(int slot) const;
    bool isEmpty() const { return m_present.none(); }

    QByteArray encode() const;
    // nullopt when `size` is none of the two encoded lengths.
    static std::optional<PackedBlock> decode(const void* data, int size);

private:
    std::array<qint64, kSlots> m_values {};
    std::bitset<kSlots> m_present;
};
