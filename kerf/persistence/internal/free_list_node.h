#pragma once
#include <array>

#include "kerf/platform/config.h"

namespace kerf {

/// Up to 32 free blocks, as they stand in a node of a file's free list; the fields lie without
/// gaps. An entry touches a block when one of them begins where the other ends.
struct FreeListNode {
    static constexpr int capacity = 32;

    ERULong magic = 0;  // 16 bits, and 16 bits of padding
    std::array<ERLong, capacity> locations{};
    std::array<ERULong, capacity> sizes{};
    ERLong count = 0;
    ERLong next = 0;

    /// The first entry that is large enough and whole below `end`, or -1.
    int firstFit(ERULong wanted, ERLong end) const;

    /// Takes from the front of the entry and answers where that is; a remainder too small to stand
    /// alone makes `wanted` grow.
    ERLong take(int entry, ERULong& wanted);

    /// Answers whether the block found a place: joined to the first entry that it touches, or as a
    /// new entry in ascending order.
    bool add(ERLong location, ERULong size);

private:
    void removeEntry(int entry);
};

}  // namespace kerf
