#include "kerf/core/memory_pool.h"

#include <cstdint>
#include <functional>
#include <limits>

#include "kerf/core/thread_data.h"
#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

constexpr unsigned int waitingItemsOfThreadPools = 1024;

// The header of a block from the general heap. Two words, so that the object keeps the alignment of
// the heap.
constexpr std::size_t heapHeader = 2 * sizeof(void*);

}  // namespace

static_assert(chunkSlots(4, 4) == 508);
static_assert(ERMemoryPool::poolIndex(184) == 47 && ERMemoryPool::poolIndex(188) == 48);
static_assert(ERMemoryPool::poolCount == kerfThreadLocalData::poolCount);
static_assert(sizeof(ERChunk) % (2 * sizeof(void*)) == 0);

ERChunk::ERChunk(unsigned int itemSize, ERChunk* next, ERMemPool* pool)
    : itemSize_(itemSize), capacity_(chunkSlots(itemSize)), next_(next), pool_(pool) {
    if (next != nullptr) next->previous_ = this;
}

int ERChunk::IsInBound(const void* p) const {
    const void* const first = this + 1;
    const void* const end =
        static_cast<const unsigned char*>(first) + capacity_ * chunkSlotSize(itemSize_);
    const std::less<const void*> before;
    return !before(p, first) && before(p, end);
}

void ERChunk::unlinkAndDelete() {
    pool_->unbindChunk(this);
    delete this;
}

ERMemPool* ERMemPool::m_sLastPool = nullptr;
int ERMemPool::debug_MemPool = 0;
unsigned int ERMemPool::sizeCounter = 0;

ERMemPool::ERMemPool(unsigned int size, unsigned int maxFree)
    : itemSize_(size + 4), maxFree_(maxFree) {
    KERF_CHECK_ARGUMENT(size <= ERChunk::size && chunkSlots(itemSize_) > 0);
}

ERMemPool::ERMemPool() : itemSize_(++sizeCounter * 4), maxFree_(waitingItemsOfThreadPools) {}

void ERMemPool::resetSizeCounter() { sizeCounter = 0; }

void* ERMemPool::allocFromChunks() {
    if (chunks_ == nullptr) addChunk();
    void* item = chunks_->GetNextFreeItem();
    if (item == nullptr) {
        addChunk();
        item = chunks_->GetNextFreeItem();
    }
    return item;
}

void ERMemPool::addChunk() { chunks_ = new ERChunk(itemSize_, chunks_, this); }

void ERMemPool::unbindChunk(ERChunk* chunk) {
    if (chunk->previous_ != nullptr)
        chunk->previous_->next_ = chunk->next_;
    else if (chunks_ == chunk)
        chunks_ = chunk->next_;
    if (chunk->next_ != nullptr) chunk->next_->previous_ = chunk->previous_;
}

void ERMemPool::collateFreeSpace() {
    if (debug_MemPool > 0) outputDebugText("Garbage Collecting ");
    ERChunk::FreeLink* item = freeList_;
    freeList_ = nullptr;
    freeCount_ = 0;
    while (item != nullptr) {
        ERChunk::FreeLink* const next = item->next;
        ERChunk::of(item)->FreeItem(item);
        item = next;
    }
    if (debug_MemPool > 0) outputDebugText("done\n");
}

void ERMemPool::purge() {
    while (chunks_ != nullptr) {
        ERChunk* const next = chunks_->next_;
        delete chunks_;
        chunks_ = next;
    }
    freeList_ = nullptr;
    freeCount_ = 0;
}

void* ERMemoryPool::operator new(std::size_t objectSize) {
    const std::size_t index = poolIndex(objectSize);
    kerfThreadLocalData* const data = index < poolCount ? threadDataUnlessGone() : nullptr;
    if (data == nullptr) return allocateFromHeap(objectSize);
    return withHeader(data->pool(static_cast<unsigned int>(index)).alloc());
}

void* ERMemoryPool::operator new(std::size_t objectSize, int count) {
    KERF_CHECK_ARGUMENT(count >= 0);
    const std::size_t objects = static_cast<std::size_t>(count);
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    const bool wraps = objects != 0 && objectSize > most / objects;
    return operator new(wraps ? most : (objectSize * objects));
}

void* ERMemoryPool::allocateFromHeap(std::size_t objectSize) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    // A size that would wrap goes to the heap without the header, and the heap refuses it.
    const std::size_t blockSize =
        objectSize > most - heapHeader ? objectSize : objectSize + heapHeader;
    unsigned char* const block = static_cast<unsigned char*>(::operator new(blockSize));
    return ::new (block + heapHeader - sizeof(void*)) void* {nullptr} + 1;
}

void ERMemoryPool::releaseToHeap(void* object) {
    ::operator delete(static_cast<unsigned char*>(object) - heapHeader);
}

}  // namespace kerf
