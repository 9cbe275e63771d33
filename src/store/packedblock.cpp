#include "store/packedblock.h"

#include <QtEndian>

#include <cstring>
#include <limits>

namespace {
constexpr int kBitmapBytes = PackedBlock::kSlots / 8;

int encodedSize(int width)
{
    return kBitmapBytes + PackedBlock::kSlots * width;
}
} // namespace

void PackedBlock::set(int slot, const Value& value)
{
    const bool present = !value.isNull();
    m_present.set(size_t(slot), present);
    m_values[size_t(slot)] = present ? value.toInteger() : 0;
}

Value PackedBlock::value(int slot) const
{
    return m_present.test(size_t(slot)) ? Value::integer(m_values[size_t(slot)]) : Value();
}

QByteArray PackedBlock::encode() const
{
    int width = 4;
    for (qint64 v : m_values)
        if (v < std::numeric_limits<qint32>::min() || v > std::numeric_limits<qint32>::max())
            width = 8;
    QByteArray out(encodedSize(width), Qt::Uninitialized);
    auto* bytes = reinterpret_cast<uchar*>(out.data());
    std::memset(bytes, 0, kBitmapBytes);
    for (int i = 0; i < kSlots; ++i)
        if (m_present.test(size_t(i)))
            bytes[i / 8] |= uchar(1u << (i % 8));
    uchar* slots = bytes + kBitmapBytes;
    for (int i = 0; i < kSlots; ++i) {
        if (width == 4)
            qToLittleEndian(qint32(m_values[size_t(i)]), slots + 4 * i);
        else
            qToLittleEndian(m_values[size_t(i)], slots + 8 * i);
    }
    return out;
}

std::optional<PackedBlock> PackedBlock::decode(const void* data, int size)
{
    const int width = size == encodedSize(4) ? 4 : size == encodedSize(8) ? 8 : 0;
    if (width == 0)
        return std::nullopt;
    const auto* bytes = static_cast<const uchar*>(data);
    const uchar* slots = bytes + kBitmapBytes;
    PackedBlock block;
    for (int i = 0; i < kSlots; ++i) {
        if (!(bytes[i / 8] >> (i % 8) & 1))
            continue;
        block.m_present.set(size_t(i));
        block.m_values[size_t(i)] = width == 4 ? qint64(qFromLittleEndian<qint32>(slots + 4 * i))
                                               : qFromLittleEndian<qint64>(slots + 8 * i);
    }
    return block;
}
