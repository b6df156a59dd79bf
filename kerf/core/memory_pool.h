#pragma once
#include <cstddef>
#include <new>

#include "kerf/platform/config.h"

// Pools of small objects: fixed-size items carved out of chunks of 4096 bytes, recycled through a
// list of waiting items. The links of all lists come from here.
//
// Sizes are named as for a 4-byte pointer, whatever the pointer of the build: a request, the index
// of its pool and the item size of that pool are the same everywhere. What an item really takes in
// its chunk follows from the build's word through chunkSlotSize.
namespace kerf {

class ERMemPool;

/// The bytes that a chunk spends on one item: the back pointer, then the item, whose header word
/// grows with the word. An object behind that header is aligned to two words if it can be that
/// large, so to 16 bytes with a word of 8 and to 8 bytes with a word of 4.
constexpr std::size_t chunkSlotSize(std::size_t itemSize, std::size_t wordSize = sizeof(void*)) {
    const std::size_t natural = wordSize + itemSize + (wordSize - 4);
    const std::size_t alignment = itemSize >= 4 + 2 * wordSize ? 2 * wordSize : wordSize;
    return (natural + alignment - 1) / alignment * alignment;
}

/// The slots of a chunk for items of that size; 0 when not even one fits.
constexpr unsigned int chunkSlots(std::size_t itemSize, std::size_t wordSize = sizeof(void*)) {
    constexpr std::size_t chunkSize = 4096;
    const std::size_t header = 16 + 4 * wordSize;
    if (itemSize > chunkSize) return 0;
    return static_cast<unsigned int>((chunkSize - header) / chunkSlotSize(itemSize, wordSize));
}

/// A chunk: one allocation of 4096 bytes that starts with this header, the slots behind it. Each
/// slot is a pointer back to the chunk, followed by the item. A free item holds the link to the
/// next one.
class KERF_EXPORT ERChunk {
public:
    static constexpr std::size_t size = 4096;

    /// An empty chunk for items of that size, put in front of `next` (null for none) in its chain.
    ERChunk(unsigned int itemSize, ERChunk* next, ERMemPool* pool);
    ERChunk(const ERChunk&) = delete;
    ERChunk& operator=(const ERChunk&) = delete;

    /// The item size plus 4: an item and its back pointer as for a 4-byte pointer. What they take
    /// in this build is chunkSlotSize(itemSize()).
    unsigned int sizeOfBlock() const { return itemSize_ + 4; }
    /// 1 when p lies between the first slot and the end of the last, used or not.
    int IsInBound(const void* p) const;
    /// An item for use, or null. A chunk leaves its last slot unused, unless it is the only one.
    void* GetNextFreeItem() {
        if (freeItems_ == nullptr) return carve();
        FreeLink* const item = freeItems_;
        freeItems_ = item->next;
        ++live_;
        return item;
    }
    /// Takes an item back. The chunk unlinks and deletes itself with its last item in use.
    void FreeItem(void* item) {
        freeItems_ = ::new (item) FreeLink{freeItems_};
        if (--live_ == 0) unlinkAndDelete();
    }
    ERChunk* GetPrevious() const { return previous_; }
    ERChunk* GetNext() const { return next_; }
    /// Leaves the chain of the pool and frees the chunk, whatever is still in use.
    void unlinkAndDelete();

    unsigned int itemSize() const { return itemSize_; }
    unsigned int capacity() const { return capacity_; }  ///< slots
    unsigned int used() const { return used_; }          ///< slots ever carved
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

    // An item from the slots that were never used.
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

/// A pool of items of one size. Freed items wait for the next request; when more than a limit wait,
/// all of them go back to their chunks, and chunks without an item in use go back to the heap.
///
/// A pool belongs to one thread at a time and takes no lock. Running out of memory comes as the
/// exception of the general heap.
class KERF_EXPORT ERMemPool {
public:
    static constexpr unsigned int unlimited = 0xFFFFFFFFu;

    /// A pool for objects of `size` bytes that are made by `new (pool) X`: its items are 4 bytes
    /// larger, for the header of the object. At least one item must fit a chunk. Of freed items,
    /// `maxFree` may wait: 0 lets none wait, `unlimited` all.
    ERMemPool(unsigned int size, unsigned int maxFree);
    /// The next pool of a thread's array: items of 4, 8, 12 ... bytes in the order of construction
    /// since resetSizeCounter(), 1024 waiting items.
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
    /// Frees every chunk, whatever is still in use: objects of this pool are gone without their
    /// destructors. The pool can be used on.
    void purge();

    unsigned int itemSize() const { return itemSize_; }
    unsigned int maxFree() const { return maxFree_; }
    unsigned int freeCount() const { return freeCount_; }  ///< waiting items
    ERChunk* chunks() const { return chunks_; }            ///< the newest chunk or null

    /// Starts the item sizes of the default constructor again at 4. Not to be called by two threads
    /// at a time, nor beside the default constructor.
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

/// Base class of small objects: new takes them from the pools of the calling thread, or from the
/// general heap from 188 bytes on, and where a thread that ends has no pools any more. Objects are
/// aligned to two words (16 or 8 bytes).
///
/// An object may be deleted in any thread that has no concurrent user of the pool it came from, and
/// must not outlive the thread that made it.
class KERF_EXPORT ERMemoryPool {
public:
    /// The pools of a thread, at the indices 0 to poolCount - 1.
    static constexpr unsigned int poolCount = 48;
    /// The index of the pool for objects of that size; from poolCount on they come from the heap.
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
