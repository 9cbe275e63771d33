#pragma once

#include "store/fetchrequest.h"

// Orders by `key` with absent values last in both directions: the start-date and due-date columns keep
// their undated tasks at the bottom whichever way they are sorted. Present values compare as usual, in
// the given direction; two absent values are equal.
SortDescriptor sortingNilSortDescriptor(const QString& key, bool ascending);
