#pragma once
#include <cstddef>
#include <new>

#include "kerf/platform/config.h"

// Pools of small objects: items of one size cut from chunks of 4096 bytes. Freed items wait in a list
// to be used again. The links of all lists come from here.
//
// Item sizes are those of a build with 4-byte pointers, on every platform: the pool that serves a
// request, and the item size of that pool, do not depend on the pointer. chunkSlotSize gives the bytes
// that such an item takes in this build.
//
// Threads: a pool belongs to one thread at a time and takes no lock.
namespace kerf {

class ERMemPool;

/// The bytes of one slot of a chunk, for a pointer ("word") of wordSize bytes:
///
///     pointer to the chunk   1 word
///     item                   itemSize bytes for a word of 4, 4 more for a word of 8: it begins with
///                            the object's header, a word, and the object follows
///
/// The slot is rounded up so that the object is aligned to two words, or to one word when it is
/// smaller than two.
constexpr std::size_t chunkSlotSize(std::size_t itemSize, std::size_t wordSize = sizeof(void*)) {
    const std::size_t natural = wordSize + itemSize + (wordSize - 4);
    const std::size_t alignment = itemSize >= 4 + 2 * wordSize ? 2 * wordSize : wordSize;
    return (natural + alignment - 1) / alignment * alignment;
}

/// The number of slots in a chunk for items of that size; 0 when not even one fits.
constexpr unsigned int chunkSlots(std::size_t itemSize, std::size_t wordSize = sizeof(void*)) {
    constexpr std::size_t chunkSize = 4096;
    const std::size_t header = 16 + 4 * wordSize;
    if (itemSize > chunkSize) return 0;
    return static_cast<unsigned int>((chunkSize - header) / chunkSlotSize(itemSize, wordSize));
}

/// A chunk: one allocation of 4096 bytes, with this header first and the slots after it. Each slot is
/// a pointer to the chunk and then the item. A free item holds the pointer to the next one.
class KERF_EXPORT ERChunk {
public:
    static constexpr std::size_t size = 4096;

    /// An empty chunk for items of that size, placed before `next`, which may be null, in its chain.
    ERChunk(unsigned int itemSize, ERChunk* next, ERMemPool* pool);
    ERChunk(const ERChunk&) = delete;
    ERChunk& operator=(const ERChunk&) = delete;

    /// The item size plus 4, which is a slot in a build with 4-byte pointers. In this build a slot
    /// takes chunkSlotSize(itemSize()) bytes.
    unsigned int sizeOfBlock() const { return itemSize_ + 4; }
    /// 1 when p lies in one of the slots, used or not.
    int IsInBound(const void* p) const;
    /// An item for use, or null. The last slot of a chunk stays unused, unless it is the only one.
    void* GetNextFreeItem() {
        if (freeItems_ == nullptr) return carve();
        FreeLink* const item = freeItems_;
        freeItems_ = item->next;
        ++live_;
        return item;
    }
    /// Takes an item back. A chunk without an item in use unlinks and deletes itself.
    void FreeItem(void* item) {
        freeItems_ = ::new (item) FreeLink{freeItems_};
        if (--live_ == 0) unlinkAndDelete();
    }
    ERChunk* GetPrevious() const { return previous_; }
    ERChunk* GetNext() const { return next_; }
    /// Takes the chunk out of the pool's chain and frees it, even with items in use.
    void unlinkAndDelete();

    unsigned int itemSize() const { return itemSize_; }
    unsigned int capacity() const { return capacity_; }  ///< slots
    unsigned int used() const { return used_; }          ///< slots that were ever used
    /// Items in use, those waiting in the pool included.
    unsigned int live() const { return live_; }
    ERMemPool* pool() const { return pool_; }

    /// The chunk that an item of any chunk belongs to.
    static ERChunk* of(void* item) { return static_cast<ERChunk**>(item)[-1]; }

    static void* operator new(std::size_t) { return ::operator new(size); }
    static void operator delete(void* chunk) { ::operator delete(chunk); }

private:
    friend class ERMemPool;

    struct FreeLink {
        FreeLink* next;
    };

    // An item in a slot that was never used.
    void* carve() {
        const bool full = capacity_ > 1 ? used_ + 1 == capacity_ : used_ == capacity_;
        if (full) return nullptr;
        unsigned char* const slot = slots() + used_ * chunkSlotSize(itemSize_);
        ++used_;
        ++live_;
        return ::new (slot) ERChunk* {this} + 1;
    }
    unsigned char* slots() { return reinterpret_cast<unsigned char*>(this + 1); }

    unsigned int itemSize_;
    unsigned int capacity_;
    unsigned int used_ = 0;
    unsigned int live_ = 0;
    ERChunk* next_;
    ERChunk* previous_ = nullptr;
    FreeLink* freeItems_ = nullptr;
    ERMemPool* pool_;
};

static_assert(sizeof(ERChunk) == 16 + 4 * sizeof(void*));

/// A pool of items of one size. Freed items wait for the next request. When more of them wait than a
/// limit allows, all go back to their chunks, and chunks without an item in use are freed.
/// Failure: without memory, the exception of the general heap.
class KERF_EXPORT ERMemPool {
public:
    static constexpr unsigned int unlimited = 0xFFFFFFFFu;

    /// A pool for objects of `size` bytes that are made by `new (pool) X`: its items are 4 bytes
    /// larger, for the header of the object. At least one item must fit a chunk. At most `maxFree`
    /// freed items wait: none for 0, all for `unlimited`.
    ERMemPool(unsigned int size, unsigned int maxFree);
    /// The next pool of a thread's array: the pools built after resetSizeCounter() have items of 4, 8,
    /// 12 ... bytes in the order of their construction. At most 1024 freed items wait.
    ERMemPool();
    ~ERMemPool() { purge(); }
    ERMemPool(const ERMemPool&) = delete;
    ERMemPool& operator=(const ERMemPool&) = delete;

    /// An uninitialised item, aligned for a pointer.
    void* alloc() {
        if (freeList_ == nullptr) return allocFromChunks();
        ERChunk::FreeLink* const item = freeList_;
        freeList_ = item->next;
        --freeCount_;
        return item;
    }

    /// Takes back an item of this pool.
    void free(void* item) {
        if (maxFree_ == 0) {
            ERChunk::of(item)->FreeItem(item);
            return;
        }
        freeList_ = ::new (item) ERChunk::FreeLink{freeList_};
        if (++freeCount_ > maxFree_) collateFreeSpace();
    }

    /// Gives all waiting items back to their chunks.
    void collateFreeSpace();
    /// Frees every chunk: objects still in use are gone without a call of their destructors. The pool
    /// can be used again.
    void purge();

    unsigned int itemSize() const { return itemSize_; }
    unsigned int maxFree() const { return maxFree_; }
    unsigned int freeCount() const { return freeCount_; }  ///< waiting items
    ERChunk* chunks() const { return chunks_; }            ///< the newest chunk or null

    /// Makes the default constructor begin again with items of 4 bytes.
    /// Threads: neither this nor the default constructor may run in two threads at once.
    static void resetSizeCounter();

    static ERMemPool* m_sLastPool;  ///< nothing in the library reads or sets it
    static int debug_MemPool;       ///< positive: collateFreeSpace writes to the debug output

private:
    friend class ERChunk;

    void* allocFromChunks();
    void addChunk();
    void unbindChunk(ERChunk* chunk);

    static unsigned int sizeCounter;

    ERChunk* chunks_ = nullptr;
    unsigned int itemSize_;
    unsigned int maxFree_;
    unsigned int freeCount_ = 0;
    ERChunk::FreeLink* freeList_ = nullptr;
};

/// The base of small objects: `new` takes them from the pools of the calling thread. Objects of 188
/// bytes and more come from the general heap, and so do those of a thread that is ending and has no
/// pools any more. Objects that are as large as two words are aligned to two words, 16 or 8 bytes.
/// Lifetime: an object must be deleted before the thread that made it ends.
/// Threads:  any thread may delete it, while no other thread uses the pool that it came from.
class KERF_EXPORT ERMemoryPool {
public:
    /// The pools of a thread, at the indices 0 to poolCount - 1.
    static constexpr unsigned int poolCount = 48;
    /// The index of the pool for objects of that size; poolCount and more stand for the heap.
    static constexpr std::size_t poolIndex(std::size_t objectSize) { return objectSize / 4 + 1; }

    static void* operator new(std::size_t objectSize);
    /// Room for `count` objects in one block.
    static void* operator new(std::size_t objectSize, int count);
    /// From that pool, whose items must be large enough.
    static void* operator new([[maybe_unused]] std::size_t objectSize, ERMemPool& pool) {
        KERF_CHECK_ARGUMENT(objectSize + 4 <= pool.itemSize());
        return withHeader(pool.alloc());
    }

    static void operator delete(void* object) {
        if (object == nullptr) return;
        void** const header = static_cast<void**>(object) - 1;
        if (ERChunk* const chunk = static_cast<ERChunk*>(*header))
            chunk->pool()->free(header);
        else
            releaseToHeap(object);
    }
    static void operator delete(void* object, int) { operator delete(object); }
    static void operator delete(void* object, ERMemPool&) { operator delete(object); }

private:
    // The word before an object: its chunk, or null for the general heap.
    static void* withHeader(void* item) { return ::new (item) void* {ERChunk::of(item)} + 1; }
    static void* allocateFromHeap(std::size_t objectSize);
    static void releaseToHeap(void* object);
};

}  // namespace kerf
