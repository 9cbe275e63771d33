#include "store/fetchrequest.h"

#include "store/record.h"

#include <algorithm>
#include <limits>

namespace {

// The order of two values under `d`.
int compareUnder(const SortDescriptor& d, const Value& a, const Value& b, bool caseInsensitive)
{
    if (a.isNull() || b.isNull()) {
        if (a.isNull() == b.isNull())
            return 0;
        if (d.nullsLast)
            return a.isNull() ? 1 : -1;
        const int c = a.isNull() ? -1 : 1;
        return d.ascending ? c : -c;
    }
    const int c = Value::compare(a, b, caseInsensitive).value_or(0);
    return d.ascending ? c : -c;
}

// Whole numbers, booleans and dates: what the one-key sort can order by a plain 64-bit key.
bool hasIntegerKey(const Value& v)
{
    return v.isIntegral() || v.kind() == Value::Kind::Date;
}

qint64 integerKey(const Value& v)
{
    return v.kind() == Value::Kind::Date ? v.dateMSecs() : v.integral();
}

// Sorts by one key per record, made by `keyOf` from each present value; `Key` orders with operator<.
// Ties keep their order or go by primary key, without a stable sort; absent values stay together at the
// end the descriptor puts them.
template <class Key, class KeyOf>
void sortByOneKey(std::vector<Record*>& records, const std::vector<Value>& values, const SortDescriptor& d, SortTies ties, KeyOf keyOf)
{
    struct Keyed {
        Key key;
        qint64 tie;
        quint32 index;
        bool operator<(const Keyed& o) const { return key < o.key ? true : (o.key < key ? false : tie < o.tie); }
    };
    const bool nullsFirst = !d.nullsLast && d.ascending;
    std::vector<Keyed> keyed;
    std::vector<Keyed> absent;
    keyed.reserve(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        const qint64 tie = ties == SortTies::ByPrimaryKey ? records[i]->primaryKey() : qint64(i);
        if (values[i].isNull())
            absent.push_back({Key{}, tie, quint32(i)});
        else
            keyed.push_back({keyOf(values[i]), tie, quint32(i)});
    }
    std::sort(keyed.begin(), keyed.end());
    if (ties == SortTies::ByPrimaryKey)
        std::sort(absent.begin(), absent.end());
    std::vector<Record*> sorted;
    sorted.reserve(records.size());
    if (nullsFirst)
        for (const Keyed& k : absent)
            sorted.push_back(records[k.index]);
    for (const Keyed& k : keyed)
        sorted.push_back(records[k.index]);
    if (!nullsFirst)
        for (const Keyed& k : absent)
            sorted.push_back(records[k.index]);
    records.swap(sorted);
}

// Text compared as Value::compare does, reversed for a descending sort. Case-insensitive keys are folded
// once per record instead of at every comparison; the folding is one to one per character, so the
// folded texts compare as the originals do without regard to case.
struct TextKey {
    QString text;
    bool descending = false;
    bool operator<(const TextKey& o) const
    {
        const int c = QString::compare(text, o.text, Qt::CaseSensitive);
        return descending ? c > 0 : c < 0;
    }
};

} // namespace

bool sortByIntegerKey(std::vector<Record*>& records, const std::vector<Value>& values, const SortDescriptor& d, SortTies ties)
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
    if (dates && numbers) // no order between the two kinds
        return false;
    sortByOneKey<qint64>(records, values, d, ties, [&d](const Value& v) {
        // negated for descending; clamped so that the negation cannot overflow
        return d.ascending ? integerKey(v) : -std::max(integerKey(v), -std::numeric_limits<qint64>::max());
    });
    return true;
}

bool sortByTextKey(std::vector<Record*>& records, const std::vector<Value>& values, const SortDescriptor& d, SortTies ties)
{
    for (const Value& v : values)
        if (!v.isNull() && v.kind() != Value::Kind::String)
            return false;
    const bool fold = d.comparison == SortDescriptor::Comparison::CaseInsensitiveCompare;
    sortByOneKey<TextKey>(records, values, d, ties, [&d, fold](const Value& v) {
        return TextKey{fold ? v.stringRef().toCaseFolded() : v.stringRef(), !d.ascending};
    });
    return true;
}

int SortDescriptor::compareValues(const Value& a, const Value& b) const
{
    return compareUnder(*this, a, b, comparison == Comparison::CaseInsensitiveCompare);
}

int SortDescriptor::compareRecords(const Record& a, const Record& b) const
{
    return compareValues(path.evaluate(a).value, path.evaluate(b).value);
}

void appendSortKeys(const Record& record, const QList<SortDescriptor>& descriptors, std::vector<Value>& keys)
{
    for (const SortDescriptor& d : descriptors) {
        Value scratch;
        keys.push_back(*d.path.evaluateRef(record, scratch).value);
    }
}

void sortRecords(std::vector<Record*>& records, const QList<SortDescriptor>& descriptors)
{
    if (descriptors.isEmpty() || records.size() < 2)
        return;
    // Read every key once per record rather than once per comparison.
    std::vector<Value> keys;
    keys.reserve(records.size() * size_t(descriptors.size()));
    for (const Record* r : records)
        appendSortKeys(*r, descriptors, keys);
    sortRecordsByKeys(records, descriptors, keys);
}

void sortRecordsByKeys(std::vector<Record*>& records, const QList<SortDescriptor>& descriptors, const std::vector<Value>& values)
{
    if (descriptors.isEmpty() || records.size() < 2)
        return;
    const size_t keys = size_t(descriptors.size());
    if (keys == 1
        && (sortByIntegerKey(records, values, descriptors.front(), SortTies::KeepOrder)
            || sortByTextKey(records, values, descriptors.front(), SortTies::KeepOrder)))
        return;
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
