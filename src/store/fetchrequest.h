#pragma once

#include "store/keypath.h"
#include "store/predicate.h"

#include <QList>
#include <QString>

#include <optional>
#include <vector>

class Record;

// Orders records by one key path. Absent values come first in ascending order (and last in descending
// order) unless `nullsLast` keeps them at the bottom either way; numbers compare as numbers, text as text
// (optionally without regard to case), dates as instants; values of mixed kinds count as equal.
struct SortDescriptor {
    enum class Comparison { Compare, CaseInsensitiveCompare };

    SortDescriptor(const QString& key, bool ascending = true, Comparison comparison = Comparison::Compare, bool nullsLast = false)
        : path(key), ascending(ascending), comparison(comparison), nullsLast(nullsLast)
    {
    }

    const QString& key() const { return path.text(); }
    int compareRecords(const Record& a, const Record& b) const;
    int compareValues(const Value& a, const Value& b) const;

    KeyPath path;
    bool ascending = true;
    Comparison comparison = Comparison::Compare;
    bool nullsLast = false;
};

// Stable sort of records by the descriptors in order (sortedArrayUsingDescriptors).
void sortRecords(std::vector<Record*>& records, const QList<SortDescriptor>& descriptors);

// The same in two steps, for a caller that reads each record's keys while the record is at hand (in a
// filter pass, say): appendSortKeys for every record in order, then sortRecordsByKeys.
void appendSortKeys(const Record& record, const QList<SortDescriptor>& descriptors, std::vector<Value>& keys);
void sortRecordsByKeys(std::vector<Record*>& records, const QList<SortDescriptor>& descriptors, const std::vector<Value>& keys);

// Sorting by one key whose values (`values`, beside `records`) are all whole numbers, or all dates, or
// absent, without a comparison call per pair; equal keys keep their order or go by primary key. Answers
// false, doing nothing, for any other key.
enum class SortTies { KeepOrder, ByPrimaryKey };
bool sortByIntegerKey(std::vector<Record*>& records, const std::vector<Value>& values, const SortDescriptor& d, SortTies ties);
// The same for text keys (every present value a string), compared as the descriptor says; false, with
// nothing sorted, for other values.
bool sortByTextKey(std::vector<Record*>& records, const std::vector<Value>& values, const SortDescriptor& d, SortTies ties);

struct FetchRequest {
    FetchRequest() = default;
    explicit FetchRequest(const QString& entityName, std::optional<Predicate> predicate = std::nullopt)
        : entityName(entityName), predicate(std::move(predicate))
    {
    }

    QString entityName;
    std::optional<Predicate> predicate;
    QList<SortDescriptor> sortDescriptors;
    int fetchLimit = 0; // 0: no limit
};
