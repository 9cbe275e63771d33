#include "model/sortingnilsortdescriptor.h"

SortDescriptor sortingNilSortDescriptor(const QString& key, bool ascending)
{
    return SortDescriptor(key, ascending, SortDescriptor::Comparison::Compare, true);
}
