#include "kerf/core/block_cache.h"

#include <limits>
#include <new>

namespace kerf {

namespace {

// The heap aligns for 16 bytes by itself on most platforms; where it does not, it is asked to.
constexpr bool heapAlignsBlocks = __STDCPP_DEFAULT_NEW_ALIGNMENT__ >= alignof(ERVecBlock);
constexpr std::align_val_t blockAlignment{alignof(ERVecBlock)};

}  // namespace

ERVecBlock* allocateBlock(unsigned capacity) {
    if (capacity > std::numeric_limits<std::size_t>::max() / 2 - sizeof(ERVecBlock)) return nullptr;
    const std::size_t size = sizeof(ERVecBlock) + capacity;
    void* memory = heapAlignsBlocks ? ::operator new(size, std::nothrow)
                                    : ::operator new(size, blockAlignment, std::nothrow);
    if (!memory) return nullptr;
    auto* block = ::new (memory) ERVecBlock{{-1}, capacity, 0, nullptr};
    block->data = block + 1;
    return block;
}

void releaseBlock(ERVecBlock* block) {
    if (heapAlignsBlocks)
        ::operator delete(block);
    else
        ::operator delete(block, blockAlignment);
}

ERVecRepCache::ERVecRepCache(unsigned byteLimit, unsigned countLimit, unsigned buckets)
    : byteLimit_(byteLimit),
      countLimit_(countLimit),
      bucketCount_(buckets),
      buckets_(new (std::nothrow) FreeList* [buckets] {}) {
    KERF_CHECK_ARGUMENT(buckets > 0);
}

ERVecRepCache::~ERVecRepCache() {
    flush();
    delete[] buckets_;
}

// A list that is asked for moves to the front of its bucket: a thread works with few capacities at
// a time, so the search ends at the first link however many capacities it has ever used.
ERVecRepCache::FreeList* ERVecRepCache::listOf(unsigned capacity) {
    if (!buckets_) return nullptr;
    // Capacities are multiples of 64 unless the policy was changed.
    FreeList** const bucket = buckets_ + (capacity / 64 + capacity % 64) % bucketCount_;
    if (*bucket && (*bucket)->capacity == capacity) return *bucket;
    for (FreeList** link = bucket; FreeList* list = *link; link = &list->next) {
        if (list->capacity != capacity) continue;
        *link = list->next;
        list->next = *bucket;
        return *bucket = list;
    }
    auto* list = new (std::nothrow) FreeList{capacity, 0, nullptr, *bucket};
    if (list) *bucket = list;
    return list;
}

ERVecBlock* ERVecRepCache::getRep(unsigned capacity) {
    FreeList* list = capacity > largestCapacity ? nullptr : listOf(capacity);
    if (!list || !list->head) {
        ++misses_;
        return nullptr;
    }
    ERVecBlock* block = list->head;
    list->head = static_cast<ERVecBlock*>(block->data);
    --list->length;
    block->data = block + 1;
    ++hits_;
    cachedBytes_ -= capacity;
    --cachedCount_;
    return block;
}

void ERVecRepCache::free(ERVecBlock* block) {
    if (cachedCount_ > countLimit_ || cachedBytes_ > byteLimit_) flush();
    FreeList* list = block->capacity > largestCapacity ? nullptr : listOf(block->capacity);
    if (!list) {
        releaseBlock(block);
        return;
    }
    block->data = list->head;
    list->head = block;
    ++list->length;
    cachedBytes_ += block->capacity;
    ++cachedCount_;
}

void ERVecRepCache::flush() {
    for (unsigned b = 0; buckets_ && b < bucketCount_; ++b) {
        while (FreeList* list = buckets_[b]) {
            while (ERVecBlock* block = list->head) {
                list->head = static_cast<ERVecBlock*>(block->data);
                releaseBlock(block);
            }
            buckets_[b] = list->next;
            delete list;
        }
    }
    cachedBytes_ = 0;
    cachedCount_ = 0;
}

}  // namespace kerf
