#pragma once
#include <array>
#include <cstddef>

#include "kerf/persistence/internal/heap_layout.h"
#include "kerf/platform/config.h"

namespace kerf {

class ERFile;

/// Up to 32 free blocks, as they stand in a node of a file's free list; the fields lie without
/// gaps. An entry touches a block when one of them begins where the other ends.
struct FreeListNode {
    ERULong magic = heap::nodeMagic;  ///< 16 bits, and 16 bits of padding
    std::array<ERLong, heap::nodeCapacity> locations{};
    std::array<ERULong, heap::nodeCapacity> sizes{};
    ERLong count = 0;
    ERLong next = heap::firstNode;

    /// Damage: reports a node without its magic number, and limits the count to 0..32. What the
    /// file ends before reads as zeros: a node without entries, and without a next one.
    static FreeListNode read(ERFile& file, ERLong location);
    void write(ERFile& file, ERLong location) const;

    std::size_t used() const { return static_cast<std::size_t>(count); }

    /// The first entry that is large enough and whole below `end`, or -1.
    int firstFit(ERULong wanted, ERLong end) const;

    /// Takes from the front of the entry and returns where that is; a remainder too small to stand
    /// alone is added to `wanted`.
    ERLong take(int entry, ERULong& wanted);

    /// Whether add() finds a place: the block touches an entry, or there is room for a new one.
    bool takes(ERLong location, ERULong size) const;

    /// Joins the block to the first entry that it touches, or enters it in ascending order. Returns
    /// false, with nothing changed, when there is no place.
    bool add(ERLong location, ERULong size);

private:
    void removeEntry(std::size_t entry);
};

}  // namespace kerf
