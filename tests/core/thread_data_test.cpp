#include "kerf/core/thread_data.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace kerf {
namespace {

TEST(ThreadData, TheWorkAreaGrowsAndGivesTheFormerOneToTheCache) {
    kerfThreadLocalData& data = threadData();
    void* const area = data.scratch(10);  // 80 bytes: a block of 128
    ASSERT_NE(area, nullptr);
    EXPECT_EQ(data.scratch(16), area);
    const unsigned int cached = data.blockCache()->cachedCount();
    EXPECT_NE(data.scratch(17), area);
    EXPECT_EQ(data.blockCache()->cachedCount(), cached + 1);
    EXPECT_EQ(data.scratch(0x80000000u), nullptr);  // more than a block can have
}

TEST(ThreadData, GoesWithItsThreadAndTakesTheHelperAlong) {
    struct Helper : CNoTrackObject {
        explicit Helper(std::vector<bool>& sees) : sees_(sees) {}
        ~Helper() override { sees_.push_back(threadDataUnlessGone() != nullptr); }
        std::vector<bool>& sees_;
    };
    std::vector<bool> sees;
    std::thread([&] {
        threadData().ownHelper(std::make_unique<Helper>(sees));
        threadData().ownHelper(std::make_unique<Helper>(sees));
        EXPECT_EQ(sees.size(), 1u) << "the former one is replaced";
    }).join();
    EXPECT_EQ(sees, (std::vector<bool>{true, true}));
}

TEST(BlockCache, KeepsBlocksByCapacityWithinItsLimits) {
    ERVecRepCache cache(1000, 100, 3);
    ERVecBlock* const small = allocateBlock(128);
    cache.free(small);
    EXPECT_EQ(cache.getRep(192), nullptr);
    EXPECT_EQ(cache.getRep(128), small);
    EXPECT_EQ(small->data, small + 1);
    cache.free(small);
    cache.free(allocateBlock(ERVecRepCache::largestCapacity + 64));  // too large to be kept
    EXPECT_EQ(cache.cachedBytes(), 128u);
    cache.free(allocateBlock(1024));  // over the limit: flushed before the next one is added
    cache.free(allocateBlock(192));
    EXPECT_EQ(cache.cachedCount(), 1u);
    EXPECT_EQ(cache.cachedBytes(), 192u);
}

#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 33)
TEST(BlockCache, FlushingFreesTheBlocks) {
    constexpr unsigned int blocks = 200, capacity = 2048;
    ERVecRepCache cache(~0u, ~0u, 3);
    for (unsigned int i = 0; i < blocks; ++i) cache.free(allocateBlock(capacity));
    const auto inUse = ::mallinfo2().uordblks;
    cache.flush();
    if (inUse < blocks * capacity) GTEST_SKIP() << "another allocator, which does not count";
    EXPECT_LT(::mallinfo2().uordblks + (blocks / 2) * capacity, inUse);
}
#endif

}  // namespace
}  // namespace kerf
