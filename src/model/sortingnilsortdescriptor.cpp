#include "model/sortingnilsortdescriptor.h"

SortDescriptor sortingNilSortDescriptor(const QString& key, bool ascending)
{
    return SortDescriptor(key, ascending, [](const Value& a, const Value& b, bool inAscendingOrder) {
        if (a.isNull())
            return b.isNull() ? 0 : 1;
        if (b.isNull())
            return -1;
        const int c = Value::compare(a, b).value_or(0);
        return inAscendingOrder ? c : -c;
    });
}
