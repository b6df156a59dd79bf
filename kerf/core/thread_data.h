#pragma once
#include <cstddef>
#include <memory>
#include <utility>

#include "kerf/core/block_cache.h"
#include "kerf/core/memory_pool.h"
#include "kerf/platform/config.h"
#include "kerf/platform/thread_storage.h"

namespace kerf {

/// What each thread keeps for itself, built on first use in the thread and torn down at its end: the
/// cache of free vector blocks, a scratch area, and the pools of small objects. No lock is needed for
/// any of it; only the building runs under one critical section of the process, since the pools take
/// their item sizes from a shared counter.
class KERF_EXPORT kerfThreadLocalData : public CNoTrackObject {
public:
    static constexpr unsigned int poolCount = 48;

    kerfThreadLocalData();
    ~kerfThreadLocalData() override;
    kerfThreadLocalData(const kerfThreadLocalData&) = delete;
    kerfThreadLocalData& operator=(const kerfThreadLocalData&) = delete;

    /// The cache of free vector blocks; null once the thread is being torn down.
    ERVecRepCache* blockCache() { return cache_.get(); }

    /// The pool for items of (index + 1) * 4 bytes; index below poolCount.
    ERMemPool& pool(unsigned int index) {
        KERF_CHECK_ARGUMENT(index < poolCount);
        return pools_[index];
    }

    /// A work area for n elements of 8 bytes, kept from one call to the next while it is large enough.
    /// Its contents are lost when it grows. Null when memory is out.
    void* scratch(unsigned int n);

    /// Hands over an object that is destroyed with the thread's data; replaces a former one.
    void ownHelper(std::unique_ptr<CNoTrackObject> object) { helper_ = std::move(object); }

private:
    std::unique_ptr<ERVecRepCache> cache_;
    ERVecBlock* scratchBlock_ = nullptr;
    std::unique_ptr<CNoTrackObject> helper_;
    std::unique_ptr<ERMemPool[]> pools_;
};

/// The calling thread's data, built when it is not there yet.
KERF_EXPORT kerfThreadLocalData& threadData();

/// The same, or null when the data is gone already: for what may run at the thread's end, where data
/// built anew would outlive the thread.
KERF_EXPORT kerfThreadLocalData* threadDataUnlessGone();

}  // namespace kerf
