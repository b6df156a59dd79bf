#include "kerf/persistence/internal/free_list_node.h"

#include <algorithm>
#include <cstring>

#include "kerf/core/file.h"
#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

using Words = std::array<unsigned int, heap::nodeSize / sizeof(unsigned int)>;
static_assert(sizeof(Words) == heap::nodeSize && sizeof(FreeListNode) == heap::nodeSize);

}  // namespace

FreeListNode FreeListNode::read(ERFile& file, ERLong location) {
    Words words{};
    file.SeekTo(location);
    file.Read(words.data(), static_cast<unsigned int>(words.size()));
    FreeListNode node;
    std::memcpy(static_cast<void*>(&node), words.data(), sizeof node);
    if ((node.magic & 0xFFFF) != heap::nodeMagic) outputDebugText("BAD MAGIC NUMBER");
    node.count = std::clamp(node.count, 0, heap::nodeCapacity);
    return node;
}

void FreeListNode::write(ERFile& file, ERLong location) const {
    Words words;
    std::memcpy(words.data(), this, sizeof *this);
    file.SeekTo(location);
    file.Write(words.data(), static_cast<unsigned int>(words.size()));
}

// An entry outside the data, or where no block can begin, is damage: handing it out would give away
// bytes that belong to others.
int FreeListNode::firstFit(ERULong wanted, ERLong end) const {
    for (std::size_t i = 0; i < used(); ++i)
        if (sizes[i] >= wanted && locations[i] >= heap::firstData && locations[i] % 4 == 0 &&
            heap::endOf(locations[i], sizes[i]) <= end)
            return static_cast<int>(i);
    return -1;
}

ERLong FreeListNode::take(int entry, ERULong& wanted) {
    const auto i = static_cast<std::size_t>(entry);
    const ERLong start = locations[i];
    sizes[i] -= wanted;
    if (sizes[i] >= heap::smallestFree) {
        locations[i] += static_cast<ERLong>(wanted);
    } else {
        wanted += sizes[i];
        removeEntry(i);
    }
    return start;
}

bool FreeListNode::takes(ERLong location, ERULong size) const {
    if (count < heap::nodeCapacity) return true;
    for (std::size_t i = 0; i < used(); ++i)
        if (location == heap::endOf(locations[i], sizes[i]) ||
            heap::endOf(location, size) == locations[i])
            return true;
    return false;
}

bool FreeListNode::add(ERLong location, ERULong size) {
    for (std::size_t i = 0; i < used(); ++i) {
        if (location == heap::endOf(locations[i], sizes[i])) {
            sizes[i] += size;
            if (i + 1 < used() && heap::endOf(locations[i], sizes[i]) == locations[i + 1]) {
                sizes[i] += sizes[i + 1];
                removeEntry(i + 1);
            }
            return true;
        }
        if (heap::endOf(location, size) == locations[i]) {
            locations[i] = location;
            sizes[i] += size;
            return true;
        }
    }
    if (count == heap::nodeCapacity) return false;

    std::size_t place = used();
    for (; place > 0 && locations[place - 1] > location; --place) {
        locations[place] = locations[place - 1];
        sizes[place] = sizes[place - 1];
    }
    locations[place] = location;
    sizes[place] = size;
    ++count;
    return true;
}

void FreeListNode::removeEntry(std::size_t entry) {
    const auto removed = static_cast<std::ptrdiff_t>(entry);
    std::copy(locations.begin() + removed + 1, locations.begin() + count,
              locations.begin() + removed);
    std::copy(sizes.begin() + removed + 1, sizes.begin() + count, sizes.begin() + removed);
    --count;
}

}  // namespace kerf
