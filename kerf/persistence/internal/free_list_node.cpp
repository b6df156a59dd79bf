#include "kerf/persistence/internal/free_list_node.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kerf/persistence/file_manager.h"

namespace kerf {

namespace {

constexpr ERULong smallestRemainder = 8;  // what is left of a free block, less goes to the caller

std::int64_t endOf(ERLong location, ERULong size) { return std::int64_t{location} + size; }

}  // namespace

// An entry that is not inside the data, or not where a block can begin (no list written here has
// one), would give away somebody else's bytes.
int FreeListNode::firstFit(ERULong wanted, ERLong end) const {
    for (int i = 0; i < count; ++i) {
        const auto entry = static_cast<std::size_t>(i);
        if (sizes[entry] >= wanted && locations[entry] >= ERFileManager::firstData &&
            locations[entry] % 4 == 0 && endOf(locations[entry], sizes[entry]) <= end)
            return i;
    }
    return -1;
}

ERLong FreeListNode::take(int entry, ERULong& wanted) {
    const auto i = static_cast<std::size_t>(entry);
    const ERLong start = locations[i];
    sizes[i] -= wanted;
    if (sizes[i] >= smallestRemainder) {
        locations[i] += static_cast<ERLong>(wanted);
    } else {
        wanted += sizes[i];  // which stays behind the count when this is the last entry
        removeEntry(entry);
    }
    return start;
}

bool FreeListNode::add(ERLong location, ERULong size) {
    const auto used = static_cast<std::size_t>(count);
    for (std::size_t i = 0; i < used; ++i) {
        if (location == endOf(locations[i], sizes[i])) {
            sizes[i] += size;
            if (i + 1 < used && endOf(locations[i], sizes[i]) == locations[i + 1]) {
                sizes[i] += sizes[i + 1];
                removeEntry(static_cast<int>(i) + 1);
            }
            return true;
        }
        if (endOf(location, size) == locations[i]) {
            locations[i] = location;
            sizes[i] += size;
            return true;
        }
    }
    if (count == capacity) return false;

    std::size_t place = used;
    for (; place > 0 && locations[place - 1] > location; --place) {
        locations[place] = locations[place - 1];
        sizes[place] = sizes[place - 1];
    }
    locations[place] = location;
    sizes[place] = size;
    ++count;
    return true;
}

void FreeListNode::removeEntry(int entry) {
    std::copy(locations.begin() + entry + 1, locations.begin() + count, locations.begin() + entry);
    std::copy(sizes.begin() + entry + 1, sizes.begin() + count, sizes.begin() + entry);
    --count;
}

}  // namespace kerf
