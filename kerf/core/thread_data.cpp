#include "kerf/core/thread_data.h"

#include <cstdint>
#include <mutex>

namespace kerf {

namespace {

constexpr unsigned int cachedBytesLimit = 0x1FA000;
constexpr unsigned int cachedBlocksLimit = 10000;
constexpr unsigned int cacheBuckets = 20;

// In a program that links the library statically, this is built before the program's own static
// objects and destroyed after them: a list among them still gives its links back to the pools.
#if defined(__GNUC__)
[[gnu::init_priority(101)]]
#endif
CThreadLocal<kerfThreadLocalData>
    allThreadsData;

KERF_NEAR_THREAD_LOCAL constinit thread_local kerfThreadLocalData* thisThreadsData = nullptr;
constinit thread_local bool thisThreadsDataIsGone = false;

// Never destroyed: a thread may build its data while the process ends.
CriticalSection& construction() {
    static CriticalSection& section = *new CriticalSection;
    return section;
}

}  // namespace

kerfThreadLocalData::kerfThreadLocalData() {
    const std::lock_guard lock(construction());
    ERMemPool::resetSizeCounter();
    pools_ = std::make_unique<ERMemPool[]>(poolCount);
    cache_ = std::make_unique<ERVecRepCache>(cachedBytesLimit, cachedBlocksLimit, cacheBuckets);
    thisThreadsData = this;
    thisThreadsDataIsGone = false;
}

kerfThreadLocalData::~kerfThreadLocalData() {
    helper_.reset();
    if (scratchBlock_ != nullptr) {
        if (cache_ != nullptr)
            cache_->free(scratchBlock_);
        else
            releaseBlock(scratchBlock_);
    }
    thisThreadsData = nullptr;
    thisThreadsDataIsGone = true;
    cache_.reset();
}

void* kerfThreadLocalData::scratch(unsigned int n) {
    const std::uint64_t bytes = static_cast<std::uint64_t>(n) * 8;
    if (scratchBlock_ != nullptr && bytes <= scratchBlock_->capacity) return scratchBlock_->data;
    constexpr std::uint64_t step = 64;
    const std::uint64_t capacity = (bytes + step - 1) / step * step;
    if (capacity > UINT32_MAX) return nullptr;
    if (scratchBlock_ != nullptr) cache_->free(scratchBlock_);
    scratchBlock_ = cache_->getRep(static_cast<unsigned int>(capacity));
    if (scratchBlock_ == nullptr)
        scratchBlock_ = allocateBlock(static_cast<unsigned int>(capacity));
    return scratchBlock_ == nullptr ? nullptr : scratchBlock_->data;
}

kerfThreadLocalData& threadData() {
    kerfThreadLocalData* const data = thisThreadsData;
    return data != nullptr ? *data : *allThreadsData.GetData();
}

kerfThreadLocalData* threadDataUnlessGone() {
    kerfThreadLocalData* const data = thisThreadsData;
    if (data != nullptr) [[likely]]
        return data;
    return thisThreadsDataIsGone ? nullptr : allThreadsData.GetData();
}

}  // namespace kerf
