#include "kerf/persistence/internal/node_cache.h"

#include <algorithm>
#include <cstring>

#include "kerf/core/file.h"

namespace kerf {

// Why a list in the order of last use finds the slot of the greatest age: every read and write
// makes all used slots older by 1 and one of them 0, so that two slots used at different calls
// differ, and the one used earlier is the older. Only getFreeSlot, called from outside, gives slots
// without a use; they come in rising order, join the list at its new end, and so the oldest of the
// list is still the first of the oldest.

ERCacheManager::ERCacheManager(ERFile* file, unsigned int blockSize, unsigned int slots)
    : file_(file), slots_(std::max(slots, 1u)), blockSize_(blockSize) {}

ERCacheManager::~ERCacheManager() = default;

const char* ERCacheManager::peek(ERLong location) {
    const int held = ageAndFindSlot(location);
    if (held != -1) {
        touch(static_cast<unsigned int>(held));
        return block(static_cast<unsigned int>(held));
    }
    if (location < 0 || std::int64_t{location} + blockSize_ > file_->GetLength()) return nullptr;
    const unsigned int slot = emptySlot();
    file_->SeekTo(location);
    if (!file_->Read(block(slot), blockSize_)) return nullptr;
    keep(slot, location);
    return block(slot);
}

int ERCacheManager::read(ERLong location, void* target) {
    const char* const source = peek(location);
    if (source == nullptr) return 0;
    std::memcpy(target, source, blockSize_);
    return 1;
}

// After a write that failed it is not known what the file has there: no slot holds the block then.
int ERCacheManager::write(ERLong location, const void* source) {
    const int held = ageAndFindSlot(location);
    const unsigned int slot = held != -1 ? static_cast<unsigned int>(held) : emptySlot();
    if (held != -1) release(slot);
    file_->SeekTo(location);
    file_->Write(static_cast<const char*>(source), blockSize_);
    std::memcpy(block(slot), source, blockSize_);
    keep(slot, location);
    return 1;
}

void ERCacheManager::invalidate() {
    slotOf_.clear();
    entries_.clear();
    newest_ = oldest_ = none;
}

void ERCacheManager::invalidate(ERLong location) {
    const unsigned int slot = slotOf_.find(location);
    if (slot != none) release(slot);
}

unsigned int ERCacheManager::LRU() const { return oldest_ == none ? 0 : oldest_; }

int ERCacheManager::ageAndFindSlot(ERLong location) {
    ++clock_;
    return static_cast<int>(slotOf_.find(location));
}

unsigned int ERCacheManager::getFreeSlot() {
    if (isFull()) return LRU();
    const unsigned int slot = emptySlot();
    addEntry();
    return slot;
}

// Blocks that overlap, to which a damaged file may lead, take no more memory than the file has
// bytes.
bool ERCacheManager::isFull() const {
    return used() >= slots_ || std::int64_t{used()} * blockSize_ > file_->GetLength();
}

unsigned int ERCacheManager::age(unsigned int slot) const {
    KERF_CHECK_ARGUMENT(slot < used());
    return static_cast<unsigned int>(clock_ - entries_[slot].lastUse);
}

ERLong ERCacheManager::location(unsigned int slot) const {
    KERF_CHECK_ARGUMENT(slot < used());
    return entries_[slot].location;
}

// A slot that holds nothing. Unless something is kept in it, it is the next to be given again.
unsigned int ERCacheManager::emptySlot() {
    if (isFull()) {
        release(LRU());
        return LRU();
    }
    const std::size_t needed = std::size_t{used() + 1} * blockSize_;
    if (buffer_.size() < needed)
        buffer_.resize(
            std::min(std::max(needed, 2 * buffer_.size()), std::size_t{slots_} * blockSize_));
    return used();
}

void ERCacheManager::keep(unsigned int slot, ERLong location) {
    if (slot == used()) addEntry();
    touch(slot);
    assign(slot, location);
}

void ERCacheManager::addEntry() {
    entries_.push_back({-1, none, none, clock_});
    linkNewest(used() - 1);
}

void ERCacheManager::touch(unsigned int slot) {
    entries_[slot].lastUse = clock_;
    if (slot == newest_) return;
    unlink(slot);
    linkNewest(slot);
}

void ERCacheManager::unlink(unsigned int slot) {
    const Entry& entry = entries_[slot];
    (entry.newer == none ? newest_ : entries_[entry.newer].older) = entry.older;
    (entry.older == none ? oldest_ : entries_[entry.older].newer) = entry.newer;
}

void ERCacheManager::linkNewest(unsigned int slot) {
    entries_[slot].newer = none;
    entries_[slot].older = newest_;
    (newest_ == none ? oldest_ : entries_[newest_].newer) = slot;
    newest_ = slot;
}

void ERCacheManager::release(unsigned int slot) {
    if (entries_[slot].location == -1) return;
    slotOf_.erase(entries_[slot].location, slot);
    entries_[slot].location = -1;
}

void ERCacheManager::assign(unsigned int slot, ERLong location) {
    slotOf_.insert(location, slot);
    entries_[slot].location = location;
}

char* ERCacheManager::block(unsigned int slot) {
    return buffer_.data() + std::size_t{slot} * blockSize_;
}

}  // namespace kerf
