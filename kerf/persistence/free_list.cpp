#include "kerf/persistence/free_list.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <unordered_set>

#include "kerf/persistence/file_manager.h"
#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

constexpr ERULong nodeMagic = 588;
constexpr ERULong sizeWordBytes = 4;

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

// --- The chain

// Stands around every change of the list. An operation that an exception ends leaves a node in
// memory of which nobody knows how much is in the file: the next one starts from the file, at the
// head. At the head the list is mirrored, too.
class ERListManager::Operation {
public:
    explicit Operation(ERListManager& changed) : list(changed) {
        if (list.unsettled) {
            list.mirror.forget();
            list.readNode(ERFileManager::firstNode);
        }
        list.unsettled = true;
        if (list.mirror.isUnknown())
            list.mirrorList();
        else if (list.mirror.isRing() && list.mirror.nodesEnd() > list.file->endData())
            list.mirror.giveUp();  // a damaged list: part of it was freed with the end of the data
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
    const int entry = goToSpace(wanted);
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
    if (!addToNode(location, size)) return extendFreeList(location, size);
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
    FreeListNode added;
    added.magic = nodeMagic;
    added.next = node.next;
    writeNode(location, added);
    node.next = location;
    writeNode();
    node = added;
    current = location;
    mirror.insertNext(location, added);
}

// Takes the current node, which is empty, out of the chain. The head keeps its place: what follows
// it moves there.
void ERListManager::deleteNode() {
    const ERLong next = node.next;
    if (current == ERFileManager::firstNode) {
        if (!holdsNode(next)) return writeNode();
        if (mirror.isRing())
            node = mirror.nextNode();
        else
            readNode(next);
        current = ERFileManager::firstNode;
        writeNode();
        mirror.removeNext();
        return addToFreeList(next, ERFileManager::nodeSize);
    }
    const ERLong removed = current;
    if (!goToPredecessor()) return writeNode();
    node.next = next;
    writeNode();
    mirror.removeNext();
    addToFreeList(removed, ERFileManager::nodeSize);
}

// --- Round the list, in memory where it is a ring, else in the file

// Reads the list from the current node on, which is the head. Two nodes that begin in the same
// stretch of a node's length are one, or overlap: such a list is no ring, and is not followed
// further, so that what is mirrored is never more than what the file has.
void ERListManager::mirrorList() {
    mirror.forget();
    const FreeListNode head = node;
    ERLong stepsLeft = nodesPossible();
    std::unordered_set<ERLong> stretches;
    mirror.append(current, node);
    while (!nextLeadsTo(ERFileManager::firstNode, stepsLeft) &&
           stretches.insert(node.next / ERFileManager::nodeSize).second) {
        advance();
        mirror.append(current, node);
    }
    if (node.next == ERFileManager::firstNode)
        mirror.close();
    else
        mirror.giveUp();
    node = head;
    current = ERFileManager::firstNode;
}

// Goes to the first node with a free block that is large enough, starting with the current one, and
// answers its entry; -1, at the last node, when there is none.
int ERListManager::goToSpace(ERULong wanted) {
    if (mirror.isRing()) {
        const int entry = mirror.goToSpace(wanted, file->endData());
        showMirrored();
        return entry;
    }
    const ERLong start = current;
    ERLong stepsLeft = nodesPossible();
    int entry = node.firstFit(wanted, file->endData());
    while (entry == -1 && !nextLeadsTo(start, stepsLeft)) {
        advance();
        entry = node.firstFit(wanted, file->endData());
    }
    return entry;
}

// Goes to the first node that takes the block, starting with the current one, and adds it there;
// answers false, at the last node, when none does.
bool ERListManager::addToNode(ERLong location, ERULong size) {
    if (mirror.isRing()) {
        const bool found = mirror.goToTaker(location, size);
        showMirrored();
        return found && node.add(location, size);
    }
    const ERLong start = current;
    ERLong stepsLeft = nodesPossible();
    while (!node.add(location, size)) {
        if (nextLeadsTo(start, stepsLeft)) return false;
        advance();
    }
    return true;
}

// Goes to the node whose next is the current one, which is not the head. Stays and answers false
// when nothing leads to it: the chain is damaged.
bool ERListManager::goToPredecessor() {
    if (mirror.isRing()) {
        mirror.goToPrevious();
        showMirrored();
        return true;
    }
    const ERLong location = current;
    const FreeListNode atLocation = node;
    ERLong stepsLeft = nodesPossible();
    advance(ERFileManager::firstNode);
    while (node.next != location) {
        if (nextLeadsTo(ERFileManager::firstNode, stepsLeft)) {
            node = atLocation;
            current = location;
            return false;
        }
        advance();
    }
    return true;
}

void ERListManager::showMirrored() {
    if (current == mirror.location()) return;
    current = mirror.location();
    node = mirror.node();
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
    std::array<unsigned int, sizeof(FreeListNode) / sizeof(unsigned int)> words{};
    file->SeekTo(location);
    file->Read(words.data(), static_cast<unsigned int>(words.size()));
    static_assert(sizeof(FreeListNode) == ERFileManager::nodeSize &&
                  sizeof(words) == sizeof(FreeListNode));
    std::memcpy(static_cast<void*>(&node), words.data(), sizeof node);
    current = location;
    if ((node.magic & 0xFFFF) != nodeMagic) outputDebugText("BAD MAGIC NUMBER");
    node.count = std::clamp(node.count, 0, ERLong{FreeListNode::capacity});
}

void ERListManager::writeNode() {
    writeNode(current, node);
    mirror.update(node);
}

void ERListManager::writeNode(ERLong location, const FreeListNode& written) {
    std::array<unsigned int, sizeof(FreeListNode) / sizeof(unsigned int)> words;
    std::memcpy(words.data(), &written, sizeof written);
    file->SeekTo(location);
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
