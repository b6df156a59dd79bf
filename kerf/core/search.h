#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// Binary search for `key` in n sorted elements of `width` bytes at `base`. `compare` gets the key and
/// an element and returns a negative number, 0 or a positive one.
/// Returns: 1 and the index of the first of equal elements, or 0 and the index, 0 to n, at which the
///          key can be inserted.
KERF_EXPORT int ERbsearch(const void* key, const void* base, unsigned int n, unsigned int width,
                          int (*compare)(const void*, const void*), unsigned int& index);

/// -1, 0 or 1 in the order of the two doubles; 0 when one is a NaN. This form has C linkage, for
/// ERbsearch and std::qsort.
extern "C" KERF_EXPORT int compareDouble(const void* a, const void* b);

inline int compareDouble(const double* a, const double* b) { return (*a > *b) - (*a < *b); }

}  // namespace kerf
