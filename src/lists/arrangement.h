#pragma once

#include "lists/listobserver.h"
#include "store/fetchrequest.h"
#include "store/record.h"

#include <algorithm>
#include <functional>
#include <span>
#include <vector>

// The order of a list: its sort keys in turn, then the primary key, so that no two records tie. A
// record placed alone by binary search then lands exactly where a sort of the whole list puts it.
bool precedesInListOrder(const Record& a, const Record& b, const QList<SortDescriptor>& sort);
// Sorts `records`, whose keys (appendSortKeys, in the same order) are `keys`, in list order; as fast as
// the store's sort, with one integer key sorted as plain numbers.
void sortInListOrder(std::vector<Record*>& records, const QList<SortDescriptor>& sort, const std::vector<Value>& keys);

// The rows of a list and the steps by which they change, told to an observer. Replacing the rows whole
// is a reset; update() places again only the records it is given, each with one step: a removal, an
// insertion at its sorted place, or a move.
template <class T>
class Arrangement {
public:
    // More records placed again at once than this makes a reset: one model reset is cheaper for a view
    // than thousands of row steps.
    static constexpr size_t kMostSteps = 1024;

    const std::vector<T*>& rows() const { return m_rows; }
    ListObserver* observer() const { return m_observer; }
    void setObserver(ListObserver* observer) { m_observer = observer; }

    void reset(std::vector<T*> rows)
    {
        const ListChange change{ListChange::Kind::Reset};
        will(change);
        m_rows = std::move(rows);
        did(change);
    }

    // Places `touched` again (each at most once; the others keep their order under `sort`): those that
    // `shows` refuses leave, the others go to their place.
    void update(std::span<T* const> touched, const std::function<bool(T*)>& shows, const QList<SortDescriptor>& sort)
    {
        if (touched.empty())
            return;
        std::vector<T*> byAddress(touched.begin(), touched.end());
        std::sort(byAddress.begin(), byAddress.end());
        auto isTouched = [&](T* r) {
            if (byAddress.size() <= 8)
                return std::find(byAddress.begin(), byAddress.end(), r) != byAddress.end();
            return std::binary_search(byAddress.begin(), byAddress.end(), r);
        };
        auto less = [&sort](const T* a, const T* b) { return precedesInListOrder(*a, *b, sort); };

        // The rows left alone, in order, and the touched ones on show with their rows.
        std::vector<T*> kept;
        kept.reserve(m_rows.size());
        std::vector<std::pair<T*, int>> present;
        for (size_t i = 0; i < m_rows.size(); ++i) {
            if (isTouched(m_rows[i]))
                present.emplace_back(m_rows[i], int(i));
            else
                kept.push_back(m_rows[i]);
        }
        std::vector<T*> shown;
        for (T* r : byAddress)
            if (shows(r))
                shown.push_back(r);
        std::sort(shown.begin(), shown.end(), less);

        if (present.size() + shown.size() > kMostSteps) {
            std::vector<T*> merged(kept.size() + shown.size());
            std::merge(kept.begin(), kept.end(), shown.begin(), shown.end(), merged.begin(), less);
            reset(std::move(merged));
            return;
        }

        // Leaving rows, from the bottom up so that the rows above keep their numbers; neighbours go as
        // one range.
        std::vector<std::pair<T*, int>> staying;
        std::vector<int> leaving;
        for (const auto& p : present) {
            if (std::binary_search(shown.begin(), shown.end(), p.first, less))
                staying.push_back(p);
            else
                leaving.push_back(p.second);
        }
        for (size_t end = leaving.size(); end > 0;) {
            size_t begin = end - 1;
            while (begin > 0 && leaving[begin - 1] == leaving[begin] - 1)
                --begin;
            const int first = leaving[begin];
            const int last = leaving[end - 1];
            const ListChange change{ListChange::Kind::Remove, first, last};
            will(change);
            m_rows.erase(m_rows.begin() + first, m_rows.begin() + last + 1);
            did(change);
            for (auto& s : staying)
                if (s.second > last)
                    s.second -= last - first + 1;
            end = begin;
        }

        // Each placed record goes right after the record that comes before it in the final order;
        // taken in that order, every predecessor already stands where it will stay.
        int lastPlaced = -1;
        for (size_t j = 0; j < shown.size(); ++j) {
            T* r = shown[j];
            const auto at = std::lower_bound(kept.begin(), kept.end(), r, less);
            const bool afterPlaced = j > 0 && std::lower_bound(kept.begin(), kept.end(), shown[j - 1], less) == at;
            int before = -1;
            if (afterPlaced) {
                before = lastPlaced;
            } else if (at != kept.begin()) {
                T* predecessor = *(at - 1);
                int i = std::max(lastPlaced + 1, 0);
                while (m_rows[size_t(i)] != predecessor)
                    ++i;
                before = i;
            }
            auto self = std::find_if(staying.begin(), staying.end(), [r](const auto& s) { return s.first == r; });
            if (self == staying.end()) {
                const int row = before + 1;
                const ListChange change{ListChange::Kind::Insert, row, row};
                will(change);
                m_rows.insert(m_rows.begin() + row, r);
                did(change);
                for (auto& s : staying)
                    if (s.second >= row)
                        ++s.second;
                lastPlaced = row;
                continue;
            }
            const int from = self->second;
            staying.erase(self);
            if (from == before + 1) {
                lastPlaced = from;
                continue;
            }
            const int to = from < before ? before : before + 1;
            const ListChange change{ListChange::Kind::Move, from, from, to};
            will(change);
            if (from < to)
                std::rotate(m_rows.begin() + from, m_rows.begin() + from + 1, m_rows.begin() + to + 1);
            else
                std::rotate(m_rows.begin() + to, m_rows.begin() + from, m_rows.begin() + from + 1);
            did(change);
            for (auto& s : staying) {
                if (from < to && s.second > from && s.second <= to)
                    --s.second;
                else if (to < from && s.second >= to && s.second < from)
                    ++s.second;
            }
            lastPlaced = to;
        }
    }

    // Tells the observer of rows whose records changed in place: each record with its changed keys.
    void reportUpdates(std::vector<std::pair<T*, std::uint64_t>> changed)
    {
        if (!m_observer || changed.empty() || m_rows.empty())
            return;
        std::sort(changed.begin(), changed.end());
        std::vector<std::pair<int, std::uint64_t>> rows;
        for (size_t i = 0; i < m_rows.size(); ++i) {
            const auto at = std::lower_bound(changed.begin(), changed.end(), std::pair<T*, std::uint64_t>{m_rows[i], 0});
            std::uint64_t keys = 0;
            for (auto it = at; it != changed.end() && it->first == m_rows[i]; ++it)
                keys |= it->second;
            if (at != changed.end() && at->first == m_rows[i])
                rows.emplace_back(int(i), keys);
        }
        for (const auto& [row, keys] : rows) {
            const ListChange change{ListChange::Kind::Update, row, row, 0, keys};
            will(change);
            did(change);
        }
    }

private:
    void will(const ListChange& change)
    {
        if (m_observer)
            m_observer->listWillChange(change);
    }
    void did(const ListChange& change)
    {
        if (m_observer)
            m_observer->listDidChange(change);
    }

    std::vector<T*> m_rows;
    ListObserver* m_observer = nullptr;
};
