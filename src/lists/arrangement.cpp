#include "lists/arrangement.h"

#include <limits>

namespace {

bool hasIntegerKey(const Value& v)
{
    return v.isIntegral() || v.kind() == Value::Kind::Date;
}

qint64 integerKey(const Value& v)
{
    return v.kind() == Value::Kind::Date ? v.dateMSecs() : v.integral();
}

// One key whose values are all whole numbers, or all dates, or absent: sorted as plain numbers with the
// primary key after them. False (nothing done) for other keys.
bool sortByIntegerKey(std::vector<Record*>& records, const std::vector<Value>& values, const SortDescriptor& d)
{
    bool dates = false;
    bool numbers = false;
    for (const Value& v : values) {
        if (v.isNull())
            continue;
        if (!hasIntegerKey(v))
            return false;
        (v.kind() == Value::Kind::Date ? dates : numbers) = true;
    }
    if (dates && numbers)
        return false;
    struct Keyed {
        qint64 key;
        qint64 primaryKey;
        Record* record;
        bool operator<(const Keyed& o) const { return key != o.key ? key < o.key : primaryKey < o.primaryKey; }
    };
    const bool nullsFirst = !d.nullsLast && d.ascending;
    std::vector<Keyed> keyed;
    std::vector<Keyed> absent;
    keyed.reserve(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i].isNull())
            absent.push_back({0, records[i]->primaryKey(), records[i]});
        else // negated for descending; clamped so that the negation cannot overflow
            keyed.push_back({d.ascending ? integerKey(values[i]) : -std::max(integerKey(values[i]), -std::numeric_limits<qint64>::max()),
                             records[i]->primaryKey(), records[i]});
    }
    std::sort(keyed.begin(), keyed.end());
    std::sort(absent.begin(), absent.end());
    size_t out = 0;
    if (nullsFirst)
        for (const Keyed& k : absent)
            records[out++] = k.record;
    for (const Keyed& k : keyed)
        records[out++] = k.record;
    if (!nullsFirst)
        for (const Keyed& k : absent)
            records[out++] = k.record;
    return true;
}

} // namespace

bool precedesInListOrder(const Record& a, const Record& b, const QList<SortDescriptor>& sort)
{
    for (const SortDescriptor& d : sort) {
        Value scratchA;
        Value scratchB;
        const int c = d.compareValues(*d.path.evaluateRef(a, scratchA).value, *d.path.evaluateRef(b, scratchB).value);
        if (c != 0)
            return c < 0;
    }
    return a.primaryKey() < b.primaryKey();
}

void sortInListOrder(std::vector<Record*>& records, const QList<SortDescriptor>& sort, const std::vector<Value>& keys)
{
    if (records.size() < 2)
        return;
    const size_t count = size_t(sort.size());
    if (count == 1 && sortByIntegerKey(records, keys, sort.front()))
        return;
    std::vector<size_t> order(records.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](size_t x, size_t y) {
        for (size_t k = 0; k < count; ++k) {
            const int c = sort[qsizetype(k)].compareValues(keys[x * count + k], keys[y * count + k]);
            if (c != 0)
                return c < 0;
        }
        return records[x]->primaryKey() < records[y]->primaryKey();
    });
    std::vector<Record*> sorted;
    sorted.reserve(records.size());
    for (size_t i : order)
        sorted.push_back(records[i]);
    records.swap(sorted);
}
