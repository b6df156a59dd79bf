#include "kerf/persistence/file_manager.h"

#include <cstdint>
#include <limits>

#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/free_list.h"

namespace kerf {

namespace {

// The header of the file:
//
//   offset  size
//        0     4  root      location of the first block ever allocated, -1 while there is none
//        4     4  end       the first offset behind all data, 280 in a new file
//        8     4  nodeSize  268, the size of a node of the free list
//       12   268            the first node of the free list
//      280                  blocks
constexpr ERLong rootField = 0;
constexpr ERLong endField = 4;
constexpr unsigned int headerWords = 3;

unsigned int openFlags(const char* name, int readOnly) {
    const unsigned int access = readOnly ? CFile::modeRead | CFile::shareDenyWrite
                                         : CFile::modeReadWrite | CFile::shareExclusive;
    return access | CFile::typeBinary | (ERFile::Exists(name) ? 0u : CFile::modeCreate);
}

}  // namespace

ERFileManager::ERFileManager(const char* name, int readOnlyMode)
    : ERFile(name, openFlags(name, readOnlyMode)), readOnly_(readOnlyMode) {
    CFileStatus status;
    if (!GetStatus(status)) return;

    if (!IsEmpty()) {
        int words[headerWords];
        SeekTo(rootField);
        if (!Read(words, headerWords)) return;
        root_ = words[0];
        end_ = words[1];
        if (words[2] == nodeSize) listManager_ = std::make_unique<ERListManager>(this, 0);
        return;
    }
    end_ = firstData;
    const int words[headerWords] = {root_, end_, nodeSize};
    SeekTo(rootField);
    Write(words, headerWords);
    listManager_ = std::make_unique<ERListManager>(this, 1);
}

ERFileManager::~ERFileManager() {
    while (!trees_.empty()) trees_.back()->leaveFile();
}

ERLong ERFileManager::allocate(ERULong size) {
    return listManager_ == nullptr ? -1 : keepAsRoot(listManager_->allocate(size));
}

ERLong ERFileManager::allocateUnwritten(ERULong size, ERULong& blockSize) {
    if (listManager_ == nullptr) return -1;
    return keepAsRoot(listManager_->allocateUnwritten(size, blockSize));
}

ERLong ERFileManager::keepAsRoot(ERLong location) {
    if (root_ == -1 && location != -1) writeWord(rootField, root_, location);
    return location;
}

void ERFileManager::deallocate(ERLong location) {
    if (location == -1 || location == root_ || listManager_ == nullptr) return;
    listManager_->deallocate(location);
}

ERLong ERFileManager::allocateAtEnd(ERULong size) {
    if (!hasRoomAtEnd(size)) return -1;
    const ERLong start = end_;
    writeWord(endField, end_, static_cast<ERLong>(static_cast<ERULong>(start) + size));
    return start;
}

int ERFileManager::deallocateFromEnd(ERLong location, ERULong size) {
    if (std::int64_t{location} + size < end_) return 0;
    writeWord(endField, end_, location);
    return 1;
}

// An end inside the header is damage: nothing is ever allocated behind it.
bool ERFileManager::hasRoomAtEnd(ERULong size) const {
    return end_ >= firstData && std::int64_t{end_} + size <= std::numeric_limits<ERLong>::max();
}

// The field changes when the file has: after a failed write the old value is written again by
// whatever comes next.
void ERFileManager::writeWord(ERLong offset, ERLong& field, ERLong value) {
    SeekTo(offset);
    Write(static_cast<int>(value));
    field = value;
}

void ERFileManager::readErr() {}

void ERFileManager::writeErr() {}

void ERFileManager::seekErr() {}

}  // namespace kerf
