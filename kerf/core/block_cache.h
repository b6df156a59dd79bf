#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "kerf/platform/config.h"

// The memory of the vectors: the header that every block starts with, the two functions through
// which all blocks come from the heap and go back to it, and the cache in which a thread keeps its
// free ones.
namespace kerf {

/// The header of a vector's block; the data follows directly, aligned to 16 bytes.
/// Threads: a block belongs to one thread at a time, so the count is loaded and stored, never changed
///          by an atomic operation: an increment costs what that of an int costs. Several threads at
///          once count only the global empty block. Relaxed atomics make that defined, and updates
///          that are lost do no harm: the count starts far from both ends.
struct alignas(16) ERVecBlock {
    std::atomic<std::int32_t> referenceCount;  ///< owners minus one; -1 in a fresh block
    std::uint32_t capacity;                    ///< bytes available
    std::uint32_t length;                      ///< bytes in use
    void* data;  ///< the first data byte; in the cache, the next free block of the same capacity
};

/// A block of that capacity from the heap, without owner, of length 0, with undefined contents.
/// Returns null when there is no memory for it or its size does not fit the address space.
KERF_EXPORT ERVecBlock* allocateBlock(unsigned int capacity);

/// Gives a block of allocateBlock back to the heap.
KERF_EXPORT void releaseBlock(ERVecBlock* block);

/// The free blocks of one thread, in a list for each capacity. The last block freed is the first one
/// given out, since it is most likely still in the processor's cache. The limits are compared before
/// a block is added, so both can be exceeded by one block.
/// Threads: takes no lock; a block may come from any thread.
class KERF_EXPORT ERVecRepCache {
public:
    /// Blocks of a larger capacity are not kept.
    static constexpr unsigned int largestCapacity = 0x20000;

    /// `buckets` (at least 1) is the size of the table from capacity to list.
    ERVecRepCache(unsigned int byteLimit, unsigned int countLimit, unsigned int buckets);
    ~ERVecRepCache();  ///< frees all kept blocks
    ERVecRepCache(const ERVecRepCache&) = delete;
    ERVecRepCache& operator=(const ERVecRepCache&) = delete;

    /// Takes a free block of exactly that capacity out of the cache; returns null when there is none.
    /// Counts a hit or a miss.
    ERVecBlock* getRep(unsigned int capacity);

    /// Keeps a block that has no owner any more, or frees it when it is too large. Flushes first when
    /// the blocks or bytes kept exceed their limit.
    void free(ERVecBlock* block);

    /// Frees all kept blocks and their lists; hits and misses stay.
    void flush();

    unsigned int byteLimit() const { return byteLimit_; }
    unsigned int countLimit() const { return countLimit_; }
    unsigned int cachedBytes() const { return cachedBytes_; }
    unsigned int cachedCount() const { return cachedCount_; }
    unsigned int hits() const { return hits_; }
    unsigned int misses() const { return misses_; }

private:
    struct FreeList {
        unsigned int capacity;
        unsigned int length;
        ERVecBlock* head;
        FreeList* next;  // in the same bucket
    };

    // The list for a capacity, made if there is none yet; null when there is no memory for it.
    FreeList* listOf(unsigned int capacity) {
        // Capacities are multiples of 64, unless a program changed the policy. The product spreads
        // them over 32 bits; read as a fraction of 2^32 it selects the bucket without a division.
        const std::uint32_t hash = (capacity / 64 + capacity % 64 * 2048) * 0x9E3779B1u;
        const std::size_t index =
            static_cast<std::size_t>(std::uint64_t{hash} * bucketCount_ >> 32);
        FreeList** const bucket = &buckets_[index];
        FreeList* const front = *bucket;
        return front && front->capacity == capacity ? front : bringToFront(bucket, capacity);
    }
    FreeList* bringToFront(FreeList** bucket, unsigned int capacity);

    [[maybe_unused]] int reserved_ = -1;
    unsigned int byteLimit_;
    unsigned int countLimit_;
    unsigned int cachedBytes_ = 0;
    unsigned int cachedCount_ = 0;
    unsigned int hits_ = 0;
    unsigned int misses_ = 0;
    unsigned int bucketCount_;
    FreeList** buckets_;  // owned
};

inline ERVecBlock* ERVecRepCache::getRep(unsigned int capacity) {
    FreeList* const list = capacity > largestCapacity ? nullptr : listOf(capacity);
    if (!list || !list->head) {
        ++misses_;
        return nullptr;
    }
    ERVecBlock* const block = list->head;
    list->head = static_cast<ERVecBlock*>(block->data);
    --list->length;
    block->data = block + 1;
    ++hits_;
    cachedBytes_ -= capacity;
    --cachedCount_;
    return block;
}

inline void ERVecRepCache::free(ERVecBlock* block) {
    if (cachedCount_ > countLimit_ || cachedBytes_ > byteLimit_) flush();
    FreeList* const list = block->capacity > largestCapacity ? nullptr : listOf(block->capacity);
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

}  // namespace kerf
