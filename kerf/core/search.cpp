#include "kerf/core/search.h"

#include <cstddef>

namespace kerf {

int ERbsearch(const void* key, const void* base, unsigned int n, unsigned int width,
              int (*compare)(const void*, const void*), unsigned int& index) {
    const unsigned char* const elements = static_cast<const unsigned char*>(base);
    const auto order = [&](unsigned int i) {
        return compare(key, elements + static_cast<std::size_t>(i) * width);
    };
    // All elements before low are less than the key; none from high on is less.
    unsigned int low = 0;
    unsigned int high = n;
    while (low < high) {
        const unsigned int middle = low + (high - low) / 2;
        if (order(middle) > 0)
            low = middle + 1;
        else
            high = middle;
    }
    index = low;
    return low < n && order(low) == 0;
}

extern "C" int compareDouble(const void* a, const void* b) {
    return compareDouble(static_cast<const double*>(a), static_cast<const double*>(b));
}

}  // namespace kerf
