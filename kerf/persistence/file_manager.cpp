#include "kerf/persistence/file_manager.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "kerf/persistence/free_list.h"
#include "kerf/persistence/internal/heap_layout.h"

namespace kerf {

static_assert(ERFileManager::firstData == heap::firstData);

namespace {

unsigned int accessFlags(int readOnly) {
    const unsigned int access = readOnly ? CFile::modeRead | CFile::shareDenyWrite
                                         : CFile::modeReadWrite | CFile::shareExclusive;
    return access | CFile::typeBinary;
}

// Without truncation: another process may have made the file after the question whether it exists,
// and what the system said of it may be wrong.
constexpr unsigned int creation = CFile::modeCreate | CFile::modeNoTruncate;

}  // namespace

ERFileManager::ERFileManager(const char* name, int readOnlyMode)
    : ERFileManager(name, readOnlyMode,
                    ERFile::Exists(name) ? Missing::isFailure : Missing::isCreated) {}

ERFileManager::ERFileManager(const char* name, int readOnlyMode, Missing missing)
    : ERFile(name, accessFlags(readOnlyMode) | (missing == Missing::isCreated ? creation : 0u)),
      readOnly_(readOnlyMode) {
    CFileStatus status;
    if (!GetStatus(status)) return;

    if (!IsEmpty()) {
        int words[heap::headerWords];
        SeekTo(heap::rootField);
        if (!Read(words, heap::headerWords)) return;
        root_ = words[0];
        end_ = words[1];
        if (words[2] == heap::nodeSize) listManager_ = std::make_unique<ERListManager>(this, 0);
        return;
    }
    end_ = firstData;
    const int words[heap::headerWords] = {root_, end_, heap::nodeSize};
    SeekTo(heap::rootField);
    Write(words, heap::headerWords);
    listManager_ = std::make_unique<ERListManager>(this, 1);
}

ERFileManager::~ERFileManager() {
    while (!listeners_.empty()) {
        FileEndListener* const last = listeners_.back();
        listeners_.pop_back();
        last->fileEnds();
    }
}

void ERFileManager::addListener(FileEndListener& listener) { listeners_.push_back(&listener); }

void ERFileManager::removeListener(FileEndListener& listener) { std::erase(listeners_, &listener); }

ERLong ERFileManager::rootOffset() const { return heap::firstNode; }

ERLong ERFileManager::allocate(ERULong size) {
    return listManager_ == nullptr ? -1 : keepAsRoot(listManager_->allocate(size));
}

ERLong ERFileManager::allocateUnwritten(ERULong size, ERULong& blockSize) {
    if (listManager_ == nullptr) return -1;
    return keepAsRoot(listManager_->allocateUnwritten(size, blockSize));
}

ERLong ERFileManager::allocateWithinPage(ERULong size) {
    if (size > static_cast<ERULong>(heap::pageSize) || listManager_ == nullptr)
        return allocate(size);
    ERLong location = listManager_->allocate(size);
    if (location != -1 && heap::crossesPage(location, size)) {
        listManager_->deallocate(location);
        location = carveWithinPage(size);
        if (location == -1) location = listManager_->allocate(size);
    }
    return keepAsRoot(location);
}

// Takes a block of twice the size, in which a block of that size lies within a page, and gives back
// what comes before and after it. What comes before it is too small to be found by the next request
// of the same size, and crosses no page itself. So such blocks do not become more and more, as they
// would if whole blocks were tried and given back.
ERLong ERFileManager::carveWithinPage(ERULong size) {
    constexpr ERULong sizeWord = heap::sizeWordBytes;
    constexpr ERULong smallestBlock = heap::smallestFree;
    const ERULong wanted = (size + sizeWord + 3) & ~ERULong{3};
    ERULong taken = 0;
    const ERLong front = listManager_->allocateUnwritten(2 * wanted - sizeWord, taken);
    if (front == -1) return -1;
    ERULong before = 0;
    const auto locationAfter = [&](ERULong bytes) { return front + static_cast<ERLong>(bytes); };
    while ((before > 0 && before < smallestBlock) || heap::crossesPage(locationAfter(before), size))
        before += sizeWord;
    const ERULong after = taken - before - wanted;
    const bool givesAfter = after >= smallestBlock;

    const ERLong location = locationAfter(before);
    writeSizeWord(location, givesAfter ? wanted : wanted + after);
    if (givesAfter) {
        writeSizeWord(locationAfter(before + wanted), after);
        listManager_->deallocate(locationAfter(before + wanted));
    }
    if (before > 0) {
        writeSizeWord(front, before);
        listManager_->deallocate(front);
    }
    return location;
}

void ERFileManager::writeSizeWord(ERLong location, ERULong blockSize) {
    SeekTo(location - static_cast<ERLong>(sizeof blockSize));
    Write(static_cast<unsigned int>(blockSize));
}

ERLong ERFileManager::keepAsRoot(ERLong location) {
    if (root_ == -1 && location != -1) writeWord(heap::rootField, root_, location);
    return location;
}

void ERFileManager::deallocate(ERLong location) {
    if (location == -1 || location == root_ || listManager_ == nullptr) return;
    listManager_->deallocate(location);
}

void ERFileManager::deallocateUnwritten(ERLong location, ERULong blockSize) {
    if (location == -1 || location == root_ || listManager_ == nullptr) return;
    listManager_->deallocateUnwritten(location, blockSize);
}

ERLong ERFileManager::allocateAtEnd(ERULong size) {
    if (!hasRoomAtEnd(size)) return -1;
    const ERLong start = end_;
    writeWord(heap::endField, end_, static_cast<ERLong>(static_cast<ERULong>(start) + size));
    return start;
}

int ERFileManager::deallocateFromEnd(ERLong location, ERULong size) {
    if (heap::endOf(location, size) < end_) return 0;
    writeWord(heap::endField, end_, location);
    return 1;
}

// An end inside the header is damage: nothing is ever allocated there.
bool ERFileManager::hasRoomAtEnd(ERULong size) const {
    return end_ >= firstData && heap::endOf(end_, size) <= std::numeric_limits<ERLong>::max();
}

// The field follows the file: after a write that failed it has its old value, which the next change
// of the field starts from.
void ERFileManager::writeWord(ERLong offset, ERLong& field, ERLong value) {
    SeekTo(offset);
    Write(static_cast<int>(value));
    field = value;
}

void ERFileManager::readErr() {}

void ERFileManager::writeErr() {}

void ERFileManager::seekErr() {}

}  // namespace kerf
