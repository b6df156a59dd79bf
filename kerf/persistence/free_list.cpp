#include "kerf/persistence/free_list.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "kerf/persistence/file_manager.h"
#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

constexpr ERULong nodeMagic = 588;
constexpr ERULong sizeWordBytes = 4;
constexpr ERULong smallestRemainder = 8;  // what is left of a free block, less goes to the caller

// The whole block for so many bytes of data: a size word, and the data rounded up to 4. Answers
// false when that is more than any file can hold.
bool blockSizeFor(ERULong size, ERULong& blockSize) {
    if (size > static_cast<ERULong>(std::numeric_limits<ERLong>::max())) return false;
    blockSize = (size + 7) & ~ERULong{3};
    return true;
}

std::int64_t endOf(ERLong location, ERULong size) { return std::int64_t{location} + size; }

}  // namespace

ERLMan::~ERLMan() = default;

// --- One node in memory

// The first entry that is large enough. An entry that is not inside the data (no list written here
// has one) would give away somebody else's bytes.
int ERListManager::Node::firstFit(ERULong wanted, ERLong end) const {
    for (int i = 0; i < count; ++i) {
        const auto entry = static_cast<std::size_t>(i);
        if (sizes[entry] >= wanted && locations[entry] >= ERFileManager::firstData &&
            endOf(locations[entry], sizes[entry]) <= end)
            return i;
    }
    return -1;
}

// Takes from the front of the entry; a remainder too small to stand alone makes `wanted` grow.
ERLong ERListManager::Node::take(int entry, ERULong& wanted) {
    const auto i = static_cast<std::size_t>(entry);
    const ERLong start = locations[i];
    const ERULong remainder = sizes[i] - wanted;
    if (remainder >= smallestRemainder) {
        locations[i] += static_cast<ERLong>(wanted);
        sizes[i] = remainder;
    } else {
        wanted += remainder;
        removeEntry(entry);
    }
    return start;
}

// Answers whether the block found a place: joined to an entry that it touches, or as a new entry
// in ascending order.
bool ERListManager::Node::add(ERLong location, ERULong size) {
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

void ERListManager::Node::removeEntry(int entry) {
    std::copy(locations.begin() + entry + 1, locations.begin() + count, locations.begin() + entry);
    std::copy(sizes.begin() + entry + 1, sizes.begin() + count, sizes.begin() + entry);
    --count;
}

// --- The chain

// Stands around every change of the list. An operation that an exception ends leaves a node in
// memory of which nobody knows how much is in the file: the next one starts from the file, at the
// head.
class ERListManager::Operation {
public:
    explicit Operation(ERListManager& changed) : list(changed) {
        if (list.unsettled) list.readNode(ERFileManager::firstNode);
        list.unsettled = true;
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    void done() { list.unsettled = false; }

private:
    ERListManager& list;
};

ERListManager::ERListManager(ERFileManager* managedFile, int create)
    : file(managedFile), current(ERFileManager::firstNode) {
    if (create) {
        node.magic = nodeMagic;
        node.next = ERFileManager::firstNode;
        writeNode();
    } else {
        readNode(current);
    }
}

ERListManager::ERListManager(const ERListManager&) = default;

ERListManager& ERListManager::operator=(const ERListManager&) = default;

ERListManager::~ERListManager() = default;

ERLong ERListManager::allocate(ERULong size) {
    ERULong wanted = 0;
    if (!blockSizeFor(size, wanted)) return -1;
    Operation operation(*this);
    const Space space = take(wanted, SizeWord::written, EmptyNode::removed);
    operation.done();
    return space.start == -1 ? -1 : space.start + static_cast<ERLong>(sizeWordBytes);
}

ERLong ERListManager::allocateUnwritten(ERULong size, ERULong& blockSize) {
    ERULong wanted = 0;
    if (!blockSizeFor(size, wanted)) return -1;
    Operation operation(*this);
    const Space space = take(wanted, SizeWord::leftToCaller, EmptyNode::removed);
    operation.done();
    if (space.start == -1) return -1;
    blockSize = space.size;
    return space.start + static_cast<ERLong>(sizeWordBytes);
}

// One round of the list, then the end of the file. The size word goes out before the list or the
// end of the data show the block as taken: when a write fails the block is still free.
ERListManager::Space ERListManager::take(ERULong wanted, SizeWord sizeWord, EmptyNode emptyNode) {
    const ERLong start = current;
    ERLong stepsLeft = nodesPossible();
    int entry = node.firstFit(wanted, file->endData());
    while (entry == -1 && !nextLeadsTo(start, stepsLeft)) {
        advance();
        entry = node.firstFit(wanted, file->endData());
    }
    if (entry == -1) {
        if (!file->hasRoomAtEnd(wanted)) return {-1, 0};
        if (sizeWord == SizeWord::written) writeHeader(file->endData(), wanted);
        return {file->allocateAtEnd(wanted), wanted};
    }
    const ERLong location = node.take(entry, wanted);
    if (sizeWord == SizeWord::written) writeHeader(location, wanted);
    const bool isOnlyNode =
        current == ERFileManager::firstNode && node.next == ERFileManager::firstNode;
    if (node.count == 0 && !isOnlyNode && emptyNode == EmptyNode::removed)
        deleteNode();
    else
        writeNode();
    return {location, wanted};
}

void ERListManager::deallocate(ERLong location) {
    constexpr ERLong firstBlock = ERFileManager::firstData + static_cast<ERLong>(sizeWordBytes);
    if (location < firstBlock || location >= file->endData()) return;
    const ERLong start = location - static_cast<ERLong>(sizeWordBytes);
    const ERULong size = readHeader(start);
    if (size == 0 || size % 4 != 0 || endOf(start, size) > file->endData()) return;
    Operation operation(*this);
    addToFreeList(start, size);
    operation.done();
}

void ERListManager::addToFreeList(ERLong location, ERULong size) {
    if (file->deallocateFromEnd(location, size)) return;
    const ERLong start = current;
    ERLong stepsLeft = nodesPossible();
    while (!node.add(location, size)) {
        if (nextLeadsTo(start, stepsLeft)) return extendFreeList(location, size);
        advance();
    }
    writeNode();
}

// Neither location nor size is used: the block that made the list grow is lost to the file, and the
// new node serves the blocks after it. Stored files rely on it.
void ERListManager::extendFreeList(ERLong, ERULong) {
    // On a sound list every node is full here, so that none can be emptied by this; on a damaged
    // one removing a node could come back to extend the list without end.
    const ERLong location =
        take(ERFileManager::nodeSize, SizeWord::leftToCaller, EmptyNode::kept).start;
    if (location == -1) return;

    // The new node lies on the block's size word. It is complete before the chain leads to it.
    const ERLong predecessor = current;
    Node extended = node;
    extended.next = location;
    const ERLong next = node.next;
    node = Node();
    node.magic = nodeMagic;
    node.next = next;
    current = location;
    writeNode();
    std::swap(node, extended);
    current = predecessor;
    writeNode();
    std::swap(node, extended);
    current = location;
}

// Takes the current node, which is empty, out of the chain. The head keeps its place: what follows
// it moves there.
void ERListManager::deleteNode() {
    const ERLong next = node.next;
    if (current == ERFileManager::firstNode) {
        if (!holdsNode(next)) return writeNode();
        readNode(next);
        current = ERFileManager::firstNode;
        writeNode();
        return addToFreeList(next, ERFileManager::nodeSize);
    }
    const ERLong removed = current;
    const Node emptied = node;
    ERLong stepsLeft = nodesPossible();
    advance(ERFileManager::firstNode);
    while (node.next != removed) {
        if (nextLeadsTo(ERFileManager::firstNode, stepsLeft)) {
            // Nothing leads to it: the chain is damaged, and the node stays.
            node = emptied;
            current = removed;
            return writeNode();
        }
        advance();
    }
    node.next = next;
    writeNode();
    addToFreeList(removed, ERFileManager::nodeSize);
}

// --- Nodes and blocks in the file

// How many nodes the file can hold: a walk with more steps is in a loop.
ERLong ERListManager::nodesPossible() const {
    return std::min(file->endData(), file->GetLength()) / ERFileManager::nodeSize + 1;
}

bool ERListManager::holdsNode(ERLong location) const {
    return location == ERFileManager::firstNode ||
           (location >= ERFileManager::firstData &&
            endOf(location, ERFileManager::nodeSize) <= file->endData());
}

// Whether a walk of the list that began at `start` ends with the node in hand.
bool ERListManager::nextLeadsTo(ERLong start, ERLong& stepsLeft) const {
    return node.next == start || !holdsNode(node.next) || --stepsLeft <= 0;
}

void ERListManager::advance() { advance(node.next); }

void ERListManager::advance(ERLong location) {
    if (location != current) readNode(location);
}

// A node of the free list, 67 words without gaps:
//
//   offset  size
//        0     2  magic      588
//        2     2  padding    0 in a new node, not read
//        4   128  locations  32 starts of free blocks, ascending
//      132   128  sizes      32 sizes of free blocks
//      260     4  count      entries in use
//      264     4  next       location of the next node; the chain comes back to 12
//
// What the file ends before reads as 0, which is a node without entries and without a next.
void ERListManager::readNode(ERLong location) {
    std::array<unsigned int, sizeof(Node) / sizeof(unsigned int)> words{};
    file->SeekTo(location);
    file->Read(words.data(), static_cast<unsigned int>(words.size()));
    static_assert(sizeof(Node) == ERFileManager::nodeSize && sizeof(words) == sizeof(Node));
    std::memcpy(static_cast<void*>(&node), words.data(), sizeof node);
    current = location;
    if ((node.magic & 0xFFFF) != nodeMagic) outputDebugText("BAD MAGIC NUMBER");
    node.count = std::clamp(node.count, 0, ERLong{capacity});
}

void ERListManager::writeNode() {
    std::array<unsigned int, sizeof(Node) / sizeof(unsigned int)> words;
    std::memcpy(words.data(), &node, sizeof node);
    file->SeekTo(current);
    file->Write(words.data(), static_cast<unsigned int>(words.size()));
}

// A block begins with its size:
//
//   offset      size
//    L - 4         4  size of the whole block, these 4 bytes included
//        L  size - 4  the caller's data; L is its location
ERULong ERListManager::readHeader(ERLong location) {
    unsigned int size = 0;
    file->SeekTo(location);
    return file->Read(size) ? size : 0;
}

void ERListManager::writeHeader(ERLong location, ERULong size) {
    file->SeekTo(location);
    file->Write(static_cast<unsigned int>(size));
}

}  // namespace kerf
