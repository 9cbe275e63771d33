#pragma once

#include <QString>

#include <vector>

class ObjectContext;
class Record;

// Finds records of one entity by name the way the quick-entry lookups do ("name BEGINSWITH[c] %@",
// and "name LIKE[c] %@" without wildcards, i.e. equal without regard to case), answering the first
// match in the store's order, without scanning every record for every line. Rebuilt whenever the
// store changed since it was last built.
class NameIndex {
public:
    NameIndex(const ObjectContext& context, QString entity);

    Record* firstWithPrefix(const QString& prefix);
    Record* firstEqual(const QString& name);

private:
    void refresh();
    template <typename Matches>
    Record* firstFrom(const QString& folded, const Matches& matches);
    size_t earliest(size_t from, size_t to) const; // over [from, to), not empty

    const ObjectContext& m_context;
    QString m_entity;
    quint64 m_builtAt = ~quint64(0);
    struct Entry {
        QString folded;
        size_t order;
        Record* record;
    };
    std::vector<Entry> m_sorted; // by folded name
    // m_earliest[k][i]: the entry with the smallest store order among m_sorted[i .. i + 2^k), so the
    // first match of any run of names costs two lookups.
    std::vector<std::vector<size_t>> m_earliest;
};
