#include "kerf/numerics/vector_rep.h"

#include <gtest/gtest.h>

namespace kerf {
namespace {

TEST(VecRep, CapacitiesFollowThePolicy) {
    EXPECT_EQ(ERVecRep::initialCapacity(100), 64u);
    EXPECT_EQ(ERVecRep::resizeIncrement(30), 64u);
    EXPECT_EQ(ERVecRep::maxWaste(7), 64u);
    EXPECT_EQ(ERVecRep::adjustCapacity(100), 100u);
    EXPECT_EQ(ERVecRep::adjustCapacity(101), 130u);
    ERVecRep::initialCapacity(64);
    ERVecRep::resizeIncrement(64);
    EXPECT_EQ(ERVecRep::maxWaste(64), 7u);
}

TEST(VecRep, SizesBeyond32BitsAnswerNull) {
    EXPECT_EQ(ERVecRep::getRep(0xFFFFFFFF, 1), nullptr);
    EXPECT_EQ(ERVecRep::getRep(0xFFFFFFC1, 1), nullptr);  // the capacity would wrap
    ERVecRep* const small = ERVecRep::getRep("x", 1);
    small->addReference();
    EXPECT_EQ(ERVecRep::clone(small, ERVecRep::maxBytes), nullptr);
    EXPECT_EQ(ERVecRep::replace(small, 0, 0, nullptr, ERVecRep::maxBytes - 1), nullptr);
    EXPECT_EQ(ERVecRep::polyInsert(small, 0, ERVecRep::maxBytes - 1, 1), nullptr);
    EXPECT_EQ(small->length, 1u);
    small->removeReference();
}

// The cache alone.
class BlockCache : public ::testing::Test {
protected:
    ERVecRepCache cache{0x1FA000, 10000, 20};
};

TEST_F(BlockCache, GivesTheLastBlockOfTheCapacityFirst) {
    ERVecBlock* const first = allocateBlock(64);
    ERVecBlock* const second = allocateBlock(64);
    for (ERVecBlock* block : {first, second, allocateBlock(128)}) cache.free(block);
    EXPECT_EQ(cache.cachedBytes(), 256u);
    EXPECT_EQ(cache.getRep(192), nullptr);
    EXPECT_EQ(cache.getRep(64), second);
    EXPECT_EQ(second->data, second + 1);
    EXPECT_EQ(cache.getRep(64), first);
    EXPECT_EQ(cache.getRep(64), nullptr);
    EXPECT_EQ(cache.cachedBytes(), 128u);
    releaseBlock(first);
    releaseBlock(second);
}

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
