#pragma once
#include <cstdint>

#include "kerf/platform/config.h"

// What stands where in a file that is a heap of blocks.
//
// The file:
//
//   offset  size
//        0     4  root      location of the first block ever allocated, -1 while there is none
//        4     4  end       the first offset past all data, 280 in a new file
//        8     4  nodeSize  268, the size of a node of the free list
//       12   268            the first node of the free list
//      280                  blocks
//
// A block with location L:
//
//   offset      size
//    L - 4         4  size of the whole block, these 4 bytes included
//        L  size - 4  the caller's data
//
// A node of the free list, 67 words without gaps. All but the first take the place of a block and
// begin on its size word:
//
//   offset  size
//        0     2  magic      588
//        2     2  padding    0 in a new node, not read
//        4   128  locations  32 starts of free blocks, ascending
//      132   128  sizes      32 sizes of free blocks
//      260     4  count      entries in use
//      264     4  next       location of the next node; the last leads back to 12
namespace kerf::heap {

constexpr ERLong rootField = 0;
constexpr ERLong endField = 4;
constexpr unsigned int headerWords = 3;

constexpr ERLong firstNode = 12;
constexpr ERLong nodeSize = 268;
constexpr ERULong nodeMagic = 588;
constexpr int nodeCapacity = 32;

constexpr ERLong sizeWordBytes = 4;
constexpr ERLong firstData = firstNode + nodeSize;
constexpr ERLong firstLocation = firstData + sizeWordBytes;  // the least that a block can have
constexpr ERULong smallestFree = 8;  // a block that leaves less of a free one takes all of it

// A process that is killed may leave a write half done, but only where a page ends.
constexpr ERLong pageSize = 4096;
constexpr bool crossesPage(ERLong start, ERULong size) {
    return start % pageSize + std::int64_t{size} > pageSize;
}

// Past the range: 64 bits, for a damaged file may name any start and any size.
constexpr std::int64_t endOf(ERLong start, ERULong size) { return std::int64_t{start} + size; }

}  // namespace kerf::heap
