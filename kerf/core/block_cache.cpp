#include "kerf/core/block_cache.h"

#include <limits>
#include <new>

namespace kerf {

namespace {

// Most heaps align to 16 bytes anyway; where one does not, the alignment is requested.
constexpr bool heapAlignsBlocks = __STDCPP_DEFAULT_NEW_ALIGNMENT__ >= alignof(ERVecBlock);
constexpr std::align_val_t blockAlignment{alignof(ERVecBlock)};

}  // namespace

ERVecBlock* allocateBlock(unsigned int capacity) {
    const std::uint64_t wanted = sizeof(ERVecBlock) + std::uint64_t{capacity};
    if (wanted > std::numeric_limits<std::ptrdiff_t>::max()) return nullptr;
    const auto size = static_cast<std::size_t>(wanted);
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

ERVecRepCache::ERVecRepCache(unsigned int byteLimit, unsigned int countLimit, unsigned int buckets)
    : byteLimit_(byteLimit),
      countLimit_(countLimit),
      bucketCount_(buckets),
      buckets_(new FreeList* [buckets] {}) {
    KERF_CHECK_ARGUMENT(buckets > 0);
}

ERVecRepCache::~ERVecRepCache() {
    flush();
    delete[] buckets_;
}

// Moves the list to the front of its bucket. A thread works with few capacities at a time, so the
// next search mostly ends at the first list, however many capacities were ever used.
ERVecRepCache::FreeList* ERVecRepCache::bringToFront(FreeList** bucket, unsigned int capacity) {
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

void ERVecRepCache::flush() {
    for (unsigned int b = 0; b < bucketCount_; ++b) {
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
