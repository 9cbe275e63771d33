#include "store/fetchrequest.h"

#include "store/record.h"

#include <algorithm>

int SortDescriptor::compareValues(const Value& a, const Value& b) const
{
    if (comparator)
        return comparator(a, b, ascending);
    int c;
    if (a.isNull() || b.isNull()) {
        c = a.isNull() == b.isNull() ? 0 : (a.isNull() ? -1 : 1);
    } else {
        c = Value::compare(a, b, comparison == Comparison::CaseInsensitiveCompare).value_or(0);
    }
    return ascending ? c : -c;
}

int SortDescriptor::compareRecords(const Record& a, const Record& b) const
{
    return compareValues(path.evaluate(a).value, path.evaluate(b).value);
}

void sortRecords(std::vector<Record*>& records, const QList<SortDescriptor>& descriptors)
{
    if (descriptors.isEmpty() || records.size() < 2)
        return;
    // Read every key once per record rather than once per comparison.
    const size_t keys = size_t(descriptors.size());
    std::vector<Value> values(records.size() * keys);
    for (size_t r = 0; r < records.size(); ++r)
        for (size_t k = 0; k < keys; ++k)
            values[r * keys + k] = descriptors[qsizetype(k)].path.evaluate(*records[r]).value;
    std::vector<size_t> order(records.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](size_t x, size_t y) {
        for (size_t k = 0; k < keys; ++k) {
            const int c = descriptors[qsizetype(k)].compareValues(values[x * keys + k], values[y * keys + k]);
            if (c != 0)
                return c < 0;
        }
        return false;
    });
    std::vector<Record*> sorted;
    sorted.reserve(records.size());
    for (size_t i : order)
        sorted.push_back(records[i]);
    records.swap(sorted);
}
