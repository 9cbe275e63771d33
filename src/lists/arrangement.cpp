#include "lists/arrangement.h"

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
    if (count == 1
        && (sortByIntegerKey(records, keys, sort.front(), SortTies::ByPrimaryKey)
            || sortByTextKey(records, keys, sort.front(), SortTies::ByPrimaryKey)))
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
