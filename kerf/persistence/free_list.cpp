#include "kerf/persistence/free_list.h"

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/internal/free_list_chain.h"
#include "kerf/persistence/internal/free_list_mirror.h"
#include "kerf/persistence/internal/heap_layout.h"
#include "kerf/platform/exceptions.h"

namespace kerf {

namespace {

// The whole block for so many bytes of data: a size word, and the data rounded up to 4. False when
// no file can hold that much.
bool blockSizeFor(ERULong size, ERULong& blockSize) {
    if (size > static_cast<ERULong>(std::numeric_limits<ERLong>::max())) return false;
    blockSize = (size + 7) & ~ERULong{3};
    return true;
}

}  // namespace

ERLMan::~ERLMan() = default;

// --- The list

// What the handles on one list share.
class ERListManager::List {
public:
    enum class SizeWord { written, leftToCaller };
    struct Space {
        ERLong start;
        ERULong size;
    };

    List(ERFileManager& file, bool create);

    Space allocate(ERULong wanted, SizeWord sizeWord);
    void deallocate(ERLong location);
    void giveBack(const Space& space);

private:
    class Change;
    enum class EmptyNode { removed, kept };

    Space take(ERULong wanted, SizeWord sizeWord, EmptyNode emptyNode);
    void addToFreeList(ERLong location, ERULong size);
    void extendFreeList();
    void lowerEnd(ERLong formerEnd);
    ERLong takeForNode(std::vector<Space>& setAside);
    void deleteNode();

    void startAt(const FreeListNode& first);
    void readAll();
    void leaveUnsoundMirror();
    void writeNode(const FreeListNode& node);
    ERULong readHeader(ERLong start);
    void writeHeader(ERLong start, ERULong size);

    // Invariants, between any two changes:
    // - The current node of chain_ is what the file holds at its location.
    // - Before the list is read, which the first change does, chain_ stands at the first node.
    //   Afterwards it is a FreeListMirror for as long as the list is sound.
    // - unsettled_ is false, but after a change that an exception ended. Nobody knows then how much
    //   of it is in the file, the two above need not hold, and the next change reads the list anew.
    ERFileManager& file_;
    std::unique_ptr<FreeListChain> chain_;
    bool isRead_ = false;
    bool unsettled_ = false;
};

// Stands around every change. One that finds the list unsettled starts from the file.
class ERListManager::List::Change {
public:
    explicit Change(List& changed) : list_(changed) {
        if (list_.unsettled_) list_.startAt(FreeListNode::read(list_.file_, heap::firstNode));
        list_.unsettled_ = true;
        if (!list_.isRead_) list_.readAll();
        list_.leaveUnsoundMirror();
    }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    void done() { list_.unsettled_ = false; }

private:
    List& list_;
};

ERListManager::List::List(ERFileManager& file, bool create) : file_(file) {
    FreeListNode first;
    if (create)
        first.write(file, heap::firstNode);
    else
        first = FreeListNode::read(file, heap::firstNode);
    startAt(first);
}

void ERListManager::List::startAt(const FreeListNode& first) {
    chain_ = std::make_unique<FreeListInFile>(file_, heap::firstNode, first);
    isRead_ = false;
}

// Stands at the first node, before and after.
void ERListManager::List::readAll() {
    auto mirror = FreeListMirror::of({file_, chain_->location(), chain_->node()});
    if (mirror != nullptr) chain_ = std::move(mirror);
    isRead_ = true;
}

void ERListManager::List::leaveUnsoundMirror() {
    if (chain_->isSound(file_.endData())) return;
    chain_ = std::make_unique<FreeListInFile>(file_, chain_->location(), chain_->node());
}

ERListManager::List::Space ERListManager::List::allocate(ERULong wanted, SizeWord sizeWord) {
    Change change(*this);
    const Space space = take(wanted, sizeWord, EmptyNode::removed);
    change.done();
    return space;
}

// From the list, else from the end of the file. The size word is written before the list or the end
// of the data show the block as taken: when a write fails the block is still free.
ERListManager::List::Space ERListManager::List::take(ERULong wanted, SizeWord sizeWord,
                                                     EmptyNode emptyNode) {
    const int entry = chain_->seekSpace(wanted, file_.endData());
    if (entry == -1) {
        if (!file_.hasRoomAtEnd(wanted)) return {-1, 0};
        if (sizeWord == SizeWord::written) writeHeader(file_.endData(), wanted);
        return {file_.allocateAtEnd(wanted), wanted};
    }
    FreeListNode node = chain_->node();
    const ERLong start = node.take(entry, wanted);
    if (sizeWord == SizeWord::written) writeHeader(start, wanted);
    const bool isOnlyNode = chain_->location() == heap::firstNode && node.next == heap::firstNode;
    if (node.count > 0 || isOnlyNode || emptyNode == EmptyNode::kept) {
        writeNode(node);
    } else {
        chain_->update(node);
        deleteNode();
    }
    return {start, wanted};
}

void ERListManager::List::deallocate(ERLong location) {
    if (location < heap::firstLocation || location >= file_.endData()) return;
    const ERLong start = location - heap::sizeWordBytes;
    const ERULong size = readHeader(start);
    if (size == 0 || size % 4 != 0 || heap::endOf(start, size) > file_.endData()) return;
    giveBack({start, size});
}

void ERListManager::List::giveBack(const Space& space) {
    Change change(*this);
    addToFreeList(space.start, space.size);
    change.done();
}

void ERListManager::List::addToFreeList(ERLong location, ERULong size) {
    if (file_.deallocateFromEnd(location, size)) return;
    if (!chain_->seekTaker(location, size)) return extendFreeList();
    FreeListNode node = chain_->node();
    node.add(location, size);
    writeNode(node);
}

// Links a new node after the current one. The block that made the list grow is not entered in it.
void ERListManager::List::extendFreeList() {
    const ERLong formerEnd = file_.endData();
    std::vector<Space> setAside;
    const ERLong location = takeForNode(setAside);
    if (location == -1) return;

    // The new node lies on the block's size word. It is complete before the chain leads to it.
    FreeListNode former = chain_->node();
    FreeListNode added;
    added.next = former.next;
    try {
        added.write(file_, location);
    } catch (const CFileException&) {
        lowerEnd(formerEnd);
        throw;
    }
    former.next = location;
    writeNode(former);
    chain_->insertNext(location, added);
    leaveUnsoundMirror();
    for (const Space& space : setAside) addToFreeList(space.start, space.size);
}

// Gives back what was taken from the end of the file for a node that could not be written: on a full
// disk each new try would take more.
void ERListManager::List::lowerEnd(ERLong formerEnd) {
    const ERLong end = file_.endData();
    if (end <= formerEnd) return;
    try {
        file_.deallocateFromEnd(formerEnd, static_cast<ERULong>(end - formerEnd));
    } catch (const CFileException&) {
        // The blocks are lost; the caller hears of the failure that came first.
    }
}

// Takes the space of a new node. It lies within one page where such a block can be had: a killed
// process then never leaves half a node. Blocks that cross a page are set aside meanwhile; the new
// node has room for them.
ERLong ERListManager::List::takeForNode(std::vector<Space>& setAside) {
    constexpr std::size_t mostSetAside = 8;
    for (;;) {
        // On a sound list every node is full, so this empties none. On a damaged one, to remove an
        // empty node could lead back here without end.
        const Space space = take(heap::nodeSize, SizeWord::leftToCaller, EmptyNode::kept);
        if (space.start == -1) break;
        if (!heap::crossesPage(space.start, heap::nodeSize) || setAside.size() == mostSetAside)
            return space.start;
        setAside.push_back(space);
    }
    if (setAside.empty()) return -1;
    const ERLong location = setAside.back().start;
    setAside.pop_back();
    return location;
}

// Takes the current node, which is empty, out of the chain. The first node keeps its place: the
// content of the one after it moves there.
void ERListManager::List::deleteNode() {
    const FreeListNode empty = chain_->node();
    ERLong removed = chain_->location();
    FreeListNode kept;
    if (removed == heap::firstNode) {
        if (!chain_->readNext(kept)) return writeNode(empty);
        removed = empty.next;
    } else {
        if (!chain_->seekPredecessor()) return writeNode(empty);
        kept = chain_->node();
        kept.next = empty.next;
    }
    writeNode(kept);
    chain_->removeNext();
    addToFreeList(removed, heap::nodeSize);
}

// --- Nodes and size words

void ERListManager::List::writeNode(const FreeListNode& node) {
    node.write(file_, chain_->location());
    chain_->update(node);
}

ERULong ERListManager::List::readHeader(ERLong start) {
    unsigned int size = 0;
    file_.SeekTo(start);
    return file_.Read(size) ? size : 0;
}

void ERListManager::List::writeHeader(ERLong start, ERULong size) {
    file_.SeekTo(start);
    file_.Write(static_cast<unsigned int>(size));
}

// --- The handle

ERListManager::ERListManager(ERFileManager* file, int create)
    : list_(std::make_shared<List>(*file, create != 0)) {}

ERListManager::ERListManager(const ERListManager&) = default;

ERListManager& ERListManager::operator=(const ERListManager&) = default;

ERListManager::~ERListManager() = default;

ERLong ERListManager::allocate(ERULong size) {
    ERULong wanted = 0;
    if (!blockSizeFor(size, wanted)) return -1;
    const ERLong start = list_->allocate(wanted, List::SizeWord::written).start;
    return start == -1 ? -1 : start + heap::sizeWordBytes;
}

ERLong ERListManager::allocateUnwritten(ERULong size, ERULong& blockSize) {
    ERULong wanted = 0;
    if (!blockSizeFor(size, wanted)) return -1;
    const List::Space space = list_->allocate(wanted, List::SizeWord::leftToCaller);
    if (space.start == -1) return -1;
    blockSize = space.size;
    return space.start + heap::sizeWordBytes;
}

void ERListManager::deallocate(ERLong location) { list_->deallocate(location); }

void ERListManager::deallocateUnwritten(ERLong location, ERULong blockSize) {
    list_->giveBack({location - heap::sizeWordBytes, blockSize});
}

}  // namespace kerf
