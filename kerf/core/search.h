#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// Binary search for `key` in n sorted elements of `width` bytes at `base`. `compare` gets the key
/// and an element and answers negative, 0 or positive. Answers 1 with the index of the first of
/// equal elements, or 0 with the index (0 to n) at which the key can be inserted.
KERF_EXPORT int ERbsearch(const void* key, const void* base, unsigned int n, unsigned int width,
                          int (*compare)(const void*, const void*), unsigned int& index);

/// -1, 0 or 1 in the plain order of the two doubles; 0 when one is a NaN. This form has plain
/// linkage and serves ERbsearch and the standard sorting routine.
extern "C" KERF_EXPORT int compareDouble(const void* a, const void* b);

inline int compareDouble(const double* a, const double* b) { return (*a > *b) - (*a < *b); }

}  // namespace kerf
