#pragma once

#include "store/record.h"

#include <cstddef>
#include <memory>

// Visits the live records of a list in order, loading the ones a little further on ahead of use: the
// records of a folder, or of a whole entity, lie anywhere in memory, and a pass over many of them waits
// for memory more than it computes. The distances are tuned here, once, for every such pass.
//
// `records` is a random-access list of Record* or std::unique_ptr<Record>; `visit` takes a Record&.
namespace recordwalk_detail {
inline Record* pointer(Record* r) { return r; }
inline Record* pointer(const std::unique_ptr<Record>& r) { return r.get(); }
} // namespace recordwalk_detail

template <typename Records, typename Visit>
void forEachLiveRecord(const Records& records, Visit visit)
{
    using recordwalk_detail::pointer;
    const size_t n = records.size();
    for (size_t i = 0; i < n; ++i) {
        // The record itself first, and once it is in, the values and links it points at.
        if (i + 16 < n)
            __builtin_prefetch(pointer(records[i + 16]));
        if (i + 8 < n)
            pointer(records[i + 8])->prefetch();
        Record* r = pointer(records[i]);
        if (!r->isDeleted())
            visit(*r);
    }
}
