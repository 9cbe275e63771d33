#include "capture/nameindex.h"

#include "store/objectcontext.h"
#include "store/record.h"

#include <algorithm>

NameIndex::NameIndex(const ObjectContext& context, QString entity) : m_context(context), m_entity(std::move(entity))
{
}

void NameIndex::refresh()
{
    if (m_builtAt == m_context.changeCount())
        return;
    m_sorted.clear();
    const std::vector<Record*> records = m_context.allObjects(m_entity);
    for (size_t i = 0; i < records.size(); ++i)
        m_sorted.push_back({records[i]->valueForKey(u"name").toString().toCaseFolded(), i, records[i]});
    std::sort(m_sorted.begin(), m_sorted.end(), [](const Entry& a, const Entry& b) { return a.folded < b.folded; });
    const size_t n = m_sorted.size();
    m_earliest.assign(1, std::vector<size_t>(n));
    for (size_t i = 0; i < n; ++i)
        m_earliest[0][i] = i;
    for (size_t k = 1; (size_t(1) << k) <= n; ++k) {
        const std::vector<size_t>& half = m_earliest[k - 1];
        std::vector<size_t> level(n - (size_t(1) << k) + 1);
        for (size_t i = 0; i < level.size(); ++i) {
            const size_t a = half[i], b = half[i + (size_t(1) << (k - 1))];
            level[i] = m_sorted[a].order < m_sorted[b].order ? a : b;
        }
        m_earliest.push_back(std::move(level));
    }
    m_builtAt = m_context.changeCount();
}

size_t NameIndex::earliest(size_t from, size_t to) const
{
    size_t k = 0;
    while ((size_t(2) << k) <= to - from)
        ++k;
    const size_t a = m_earliest[k][from], b = m_earliest[k][to - (size_t(1) << k)];
    return m_sorted[a].order < m_sorted[b].order ? a : b;
}

template <typename Matches>
Record* NameIndex::firstFrom(const QString& folded, const Matches& matches)
{
    refresh();
    // The matches are one run of the sorted names, starting where the text would be inserted.
    const auto begin = std::lower_bound(m_sorted.begin(), m_sorted.end(), folded, [](const Entry& e, const QString& key) { return e.folded < key; });
    const auto end = std::partition_point(begin, m_sorted.end(), [&](const Entry& e) { return matches(e.folded); });
    if (begin == end)
        return nullptr;
    return m_sorted[earliest(size_t(begin - m_sorted.begin()), size_t(end - m_sorted.begin()))].record;
}

Record* NameIndex::firstWithPrefix(const QString& prefix)
{
    const QString folded = prefix.toCaseFolded();
    return firstFrom(folded, [&](const QString& name) { return name.startsWith(folded); });
}

Record* NameIndex::firstEqual(const QString& name)
{
    const QString folded = name.toCaseFolded();
    return firstFrom(folded, [&](const QString& candidate) { return candidate == folded; });
}
