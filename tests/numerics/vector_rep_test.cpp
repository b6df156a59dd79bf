#include "kerf/numerics/vector_rep.h"

#include <gtest/gtest.h>

namespace kerf {
namespace {

TEST(VecRep, SizesBeyond32BitsGiveNull) {
    EXPECT_EQ(ERVecRep::getRep(0xFFFFFFC1, 1), nullptr);  // the capacity would wrap
    EXPECT_EQ(ERVecRep::getRep(0x80000000, 2, "value"), nullptr);
}

// The cache alone.
class BlockCache : public ::testing::Test {
protected:
    ERVecRepCache cache{0x1FA000, 10000, 20};
};

TEST_F(BlockCache, FlushesAtTheReturnAfterALimitIsExceeded) {
    for (int i = 0; i < 10001; ++i) cache.free(allocateBlock(64));
    EXPECT_EQ(cache.cachedCount(), 10001u);
    cache.free(allocateBlock(64));
    EXPECT_EQ(cache.cachedCount(), 1u);

    cache.flush();
    for (int i = 0; i < 16; ++i) cache.free(allocateBlock(0x20000));  // 2097152 bytes: too many
    EXPECT_EQ(cache.cachedCount(), 16u);
    cache.free(allocateBlock(131136));  // too large to be kept, but looked at the limits first
    EXPECT_EQ(cache.cachedCount(), 0u);
    EXPECT_EQ(cache.cachedBytes(), 0u);
}

}  // namespace
}  // namespace kerf
