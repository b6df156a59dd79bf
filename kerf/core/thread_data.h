#pragma once
#include <cstddef>
#include <memory>
#include <utility>

#include "kerf/core/block_cache.h"
#include "kerf/core/memory_pool.h"
#include "kerf/platform/config.h"
#include "kerf/platform/thread_storage.h"

namespace kerf {

/// What each thread has of its own: the cache of free vector blocks, a work area, and the pools of
/// small objects.
/// Lifetime: built on first use in the thread and destroyed when the thread ends.
/// Threads:  needs no lock. Only its construction runs under a lock of the process, since the pools
///           take their item sizes from a shared counter.
class KERF_EXPORT kerfThreadLocalData : public CNoTrackObject {
public:
    static constexpr unsigned int poolCount = 48;

    kerfThreadLocalData();
    ~kerfThreadLocalData() override;
    kerfThreadLocalData(const kerfThreadLocalData&) = delete;
    kerfThreadLocalData& operator=(const kerfThreadLocalData&) = delete;

    /// The cache of free vector blocks; null while the data is being destroyed.
    ERVecRepCache* blockCache() { return cache_.get(); }

    /// The pool for items of (index + 1) * 4 bytes; index below poolCount.
    ERMemPool& pool(unsigned int index) {
        KERF_CHECK_ARGUMENT(index < poolCount);
        return pools_[index];
    }

    /// A work area for n elements of 8 bytes. The same area is returned as long as it is large enough; a
    /// larger one replaces it, without its contents. Null when there is no memory.
    void* scratch(unsigned int n);

    /// Takes over an object that is destroyed with the thread's data, and destroys a former one.
    void ownHelper(std::unique_ptr<CNoTrackObject> object) { helper_ = std::move(object); }

private:
    std::unique_ptr<ERVecRepCache> cache_;
    ERVecBlock* scratchBlock_ = nullptr;
    std::unique_ptr<CNoTrackObject> helper_;
    std::unique_ptr<ERMemPool[]> pools_;
};

/// The calling thread's data, built if there is none yet.
KERF_EXPORT kerfThreadLocalData& threadData();

/// The same, but null when the data has been destroyed already: for code that may run at the end of a
/// thread, where data built anew would never be destroyed.
KERF_EXPORT kerfThreadLocalData* threadDataUnlessGone();

}  // namespace kerf
