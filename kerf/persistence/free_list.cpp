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
    explicit Operation(ERListManager& changed) : list_(changed) {
        if (list_.unsettled_) {
            list_.mirror_.forget();
            list_.readNode(ERFileManager::firstNode);
        }
        list_.unsettled_ = true;
        if (list_.mirror_.isUnknown())
            list_.mirrorList();
        else if (list_.mirror_.isRing() && list_.mirror_.nodesEnd() > list_.file_->endData())
            list_.mirror_
                .giveUp();  // a damaged list: part of it was freed with the end of the data
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    void done() { list_.unsettled_ = false; }

private:
    ERListManager& list_;
};

ERListManager::ERListManager(ERFileManager* managedFile, int create)
    : file_(managedFile), current_(ERFileManager::firstNode) {
    if (create) {
        node_.magic = nodeMagic;
        node_.next = ERFileManager::firstNode;
        writeNode();
    } else {
        readNode(current_);
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
        if (!file_->hasRoomAtEnd(wanted)) return {-1, 0};
        if (sizeWord == SizeWord::written) writeHeader(file_->endData(), wanted);
        return {file_->allocateAtEnd(wanted), wanted};
    }
    const ERLong location = node_.take(entry, wanted);
    if (sizeWord == SizeWord::written) writeHeader(location, wanted);
    const bool isOnlyNode =
        current_ == ERFileManager::firstNode && node_.next == ERFileManager::firstNode;
    if (node_.count == 0 && !isOnlyNode && emptyNode == EmptyNode::removed)
        deleteNode();
    else
        writeNode();
    return {location, wanted};
}

void ERListManager::deallocate(ERLong location) {
    constexpr ERLong firstBlock = ERFileManager::firstData + static_cast<ERLong>(sizeWordBytes);
    if (location < firstBlock || location >= file_->endData()) return;
    const ERLong start = location - static_cast<ERLong>(sizeWordBytes);
    const ERULong size = readHeader(start);
    if (size == 0 || size % 4 != 0 || endOf(start, size) > file_->endData()) return;
    Operation operation(*this);
    addToFreeList(start, size);
    operation.done();
}

void ERListManager::addToFreeList(ERLong location, ERULong size) {
    if (file_->deallocateFromEnd(location, size)) return;
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
    added.next = node_.next;
    writeNode(location, added);
    node_.next = location;
    writeNode();
    node_ = added;
    current_ = location;
    mirror_.insertNext(location, added);
}

// Takes the current node, which is empty, out of the chain. The head keeps its place: what follows
// it moves there.
void ERListManager::deleteNode() {
    const ERLong next = node_.next;
    if (current_ == ERFileManager::firstNode) {
        if (!holdsNode(next)) return writeNode();
        if (mirror_.isRing())
            node_ = mirror_.nextNode();
        else
            readNode(next);
        current_ = ERFileManager::firstNode;
        writeNode();
        mirror_.removeNext();
        return addToFreeList(next, ERFileManager::nodeSize);
    }
    const ERLong removed = current_;
    if (!goToPredecessor()) return writeNode();
    node_.next = next;
    writeNode();
    mirror_.removeNext();
    addToFreeList(removed, ERFileManager::nodeSize);
}

// --- Round the list, in memory where it is a ring, else in the file

// Reads the list from the current node on, which is the head. Two nodes that begin in the same
// stretch of a node's length are one, or overlap: such a list is no ring, and is not followed
// further, so that what is mirrored is never more than what the file has.
void ERListManager::mirrorList() {
    mirror_.forget();
    const FreeListNode head = node_;
    ERLong stepsLeft = nodesPossible();
    std::unordered_set<ERLong> stretches;
    mirror_.append(current_, node_);
    while (!nextLeadsTo(ERFileManager::firstNode, stepsLeft) &&
           stretches.insert(node_.next / ERFileManager::nodeSize).second) {
        advance();
        mirror_.append(current_, node_);
    }
    if (node_.next == ERFileManager::firstNode)
        mirror_.close();
    else
        mirror_.giveUp();
    node_ = head;
    current_ = ERFileManager::firstNode;
}

// Goes to the first node with a free block that is large enough, starting with the current one, and
// answers its entry; -1, at the last node, when there is none.
int ERListManager::goToSpace(ERULong wanted) {
    if (mirror_.isRing()) {
        const int entry = mirror_.goToSpace(wanted, file_->endData());
        showMirrored();
        return entry;
    }
    const ERLong start = current_;
    ERLong stepsLeft = nodesPossible();
    int entry = node_.firstFit(wanted, file_->endData());
    while (entry == -1 && !nextLeadsTo(start, stepsLeft)) {
        advance();
        entry = node_.firstFit(wanted, file_->endData());
    }
    return entry;
}

// Goes to the first node that takes the block, starting with the current one, and adds it there;
// answers false, at the last node, when none does.
bool ERListManager::addToNode(ERLong location, ERULong size) {
    if (mirror_.isRing()) {
        const bool found = mirror_.goToTaker(location, size);
        showMirrored();
        return found && node_.add(location, size);
    }
    const ERLong start = current_;
    ERLong stepsLeft = nodesPossible();
    while (!node_.add(location, size)) {
        if (nextLeadsTo(start, stepsLeft)) return false;
        advance();
    }
    return true;
}

// Goes to the node whose next is the current one, which is not the head. Stays and answers false
// when nothing leads to it: the chain is damaged.
bool ERListManager::goToPredecessor() {
    if (mirror_.isRing()) {
        mirror_.goToPrevious();
        showMirrored();
        return true;
    }
    const ERLong location = current_;
    const FreeListNode atLocation = node_;
    ERLong stepsLeft = nodesPossible();
    advance(ERFileManager::firstNode);
    while (node_.next != location) {
        if (nextLeadsTo(ERFileManager::firstNode, stepsLeft)) {
            node_ = atLocation;
            current_ = location;
            return false;
        }
        advance();
    }
    return true;
}

void ERListManager::showMirrored() {
    if (current_ == mirror_.location()) return;
    current_ = mirror_.location();
    node_ = mirror_.node();
}

// --- Nodes and blocks in the file

// How many nodes the file can hold: a walk with more steps is in a loop.
ERLong ERListManager::nodesPossible() const {
    return std::min(file_->endData(), file_->GetLength()) / ERFileManager::nodeSize + 1;
}

bool ERListManager::holdsNode(ERLong location) const {
    return location == ERFileManager::firstNode ||
           (location >= ERFileManager::firstData &&
            endOf(location, ERFileManager::nodeSize) <= file_->endData());
}

// Whether a walk of the list that began at `start` ends with the node in hand.
bool ERListManager::nextLeadsTo(ERLong start, ERLong& stepsLeft) const {
    return node_.next == start || !holdsNode(node_.next) || --stepsLeft <= 0;
}

void ERListManager::advance() { advance(node_.next); }

void ERListManager::advance(ERLong location) {
    if (location != current_) readNode(location);
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
    file_->SeekTo(location);
    file_->Read(words.data(), static_cast<unsigned int>(words.size()));
    static_assert(sizeof(FreeListNode) == ERFileManager::nodeSize &&
                  sizeof(words) == sizeof(FreeListNode));
    std::memcpy(static_cast<void*>(&node_), words.data(), sizeof node_);
    current_ = location;
    if ((node_.magic & 0xFFFF) != nodeMagic) outputDebugText("BAD MAGIC NUMBER");
    node_.count = std::clamp(node_.count, 0, ERLong{FreeListNode::capacity});
}

void ERListManager::writeNode() {
    writeNode(current_, node_);
    mirror_.update(node_);
}

void ERListManager::writeNode(ERLong location, const FreeListNode& written) {
    std::array<unsigned int, sizeof(FreeListNode) / sizeof(unsigned int)> words;
    std::memcpy(words.data(), &written, sizeof written);
    file_->SeekTo(location);
    file_->Write(words.data(), static_cast<unsigned int>(words.size()));
}

// A block begins with its size:
//
//   offset      size
//    L - 4         4  size of the whole block, these 4 bytes included
//        L  size - 4  the caller's data; L is its location
ERULong ERListManager::readHeader(ERLong location) {
    unsigned int size = 0;
    file_->SeekTo(location);
    return file_->Read(size) ? size : 0;
}

void ERListManager::writeHeader(ERLong location, ERULong size) {
    file_->SeekTo(location);
    file_->Write(static_cast<unsigned int>(size));
}

}  // namespace kerf
