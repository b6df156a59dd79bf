#include "kerf/numerics/vector_rep.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/core/thread_data.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::TemporaryFile;

// A block with one owner, let go at the end.
class Owner {
public:
    explicit Owner(ERVecRep* rep) : rep_(rep) { rep_->addReference(); }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { rep_->removeReference(); }
    ERVecRep* operator->() const { return rep_; }
    ERVecRep* get() const { return rep_; }

private:
    ERVecRep* rep_;
};

std::string contents(const ERVecRep& rep) {
    return std::string(static_cast<const char*>(rep.data), rep.length);
}
std::string contents(const Owner& owner) { return contents(*owner.get()); }

ERVecRep* repOf(const std::string& bytes) {
    return ERVecRep::getRep(bytes.data(), static_cast<unsigned>(bytes.size()));
}

void freeRep(ERVecRep* rep) {
    rep->addReference();
    rep->removeReference();
}

class CapacityPolicy : public ::testing::Test {
protected:
    ~CapacityPolicy() override {
        ERVecRep::initialCapacity(64);
        ERVecRep::resizeIncrement(64);
        ERVecRep::maxWaste(64);
    }
};

TEST_F(CapacityPolicy, SettersAnswerTheFormerValueAndRule) {
    EXPECT_EQ(ERVecRep::initialCapacity(100), 64u);
    EXPECT_EQ(ERVecRep::resizeIncrement(30), 64u);
    EXPECT_EQ(ERVecRep::maxWaste(7), 64u);
    EXPECT_EQ(ERVecRep::getInitialCapacity(), 100u);
    EXPECT_EQ(ERVecRep::getResizeIncrement(), 30u);
    EXPECT_EQ(ERVecRep::getMaxWaste(), 7u);
    EXPECT_EQ(ERVecRep::adjustCapacity(100), 100u);
    EXPECT_EQ(ERVecRep::adjustCapacity(101), 130u);
    EXPECT_EQ(ERVecRep::adjustCapacity(131), 160u);

    const Owner odd(ERVecRep::getRep(131, 0));
    EXPECT_EQ(odd->capacity, 160u);
}

TEST(VecRep, CloneKeepsTheLengthWhateverTheCapacity) {
    const Owner from(repOf("abcdef"));
    const Owner larger(ERVecRep::clone(from.get(), 200));
    EXPECT_EQ(contents(larger), "abcdef");
    EXPECT_EQ(larger->capacity, 256u);
    const Owner shorter(ERVecRep::clone(from.get(), 2));
    EXPECT_EQ(shorter->length, 6u);
    EXPECT_EQ(contents(shorter).substr(0, 2), "ab");
    const Owner same(from->duplicate());
    EXPECT_EQ(contents(same), "abcdef");
    EXPECT_NE(same.get(), from.get());
}

TEST(VecRep, SizesBeyond32BitsAnswerNull) {
    EXPECT_EQ(ERVecRep::getRep(0xFFFFFFFF, 1), nullptr);
    EXPECT_EQ(ERVecRep::getRep(0xFFFFFFC1, 1), nullptr);  // the capacity would wrap
    const double value = 1;
    EXPECT_EQ(ERVecRep::getRep(0x20000001, 8, &value), nullptr);
    const Owner small(repOf("x"));
    EXPECT_EQ(ERVecRep::clone(small.get(), ERVecRep::maxBytes), nullptr);
    EXPECT_EQ(ERVecRep::replace(small.get(), 0, 0, nullptr, ERVecRep::maxBytes - 1), nullptr);
    EXPECT_EQ(ERVecRep::polyInsert(small.get(), 0, ERVecRep::maxBytes - 1, 1), nullptr);
    EXPECT_EQ(contents(small), "x");
}

// Oracle: the same edit of a string.
TEST(VecRep, ReplaceEditsAsAStringWould) {
    std::mt19937 random(20240501);
    for (int round = 0; round < 2000; ++round) {
        const auto upTo = [&](std::size_t n) { return static_cast<unsigned>(random() % (n + 1)); };
        std::string expected;
        for (unsigned i = upTo(200); i > 0; --i) expected += static_cast<char>('a' + random() % 26);
        const Owner rep(repOf(expected));
        std::optional<Owner> second;
        if (random() % 3 == 0) second.emplace(rep.get());
        const std::string before = expected;

        const unsigned pos = upTo(expected.size());
        const unsigned removed = upTo(100);
        std::string inserted(upTo(150), 'Z');
        const char* src = inserted.data();
        if (random() % 4 == 0) {  // from the block itself
            const unsigned from = upTo(expected.size());
            inserted = expected.substr(from, upTo(expected.size() - from));
            src = static_cast<const char*>(rep->data) + from;
        }
        expected.replace(pos, removed, inserted);

        ERVecRep* result =
            ERVecRep::replace(rep.get(), pos, removed, src, static_cast<unsigned>(inserted.size()));
        ASSERT_EQ(contents(*result), expected) << "round " << round;
        ASSERT_TRUE(!second || result != rep.get());
        if (result != rep.get()) {
            ASSERT_EQ(contents(rep), before);
            ASSERT_EQ(result->capacity, ERVecRep::adjustCapacity(result->length));
            freeRep(result);
        }
    }
}

TEST(VecRep, ReplaceStaysInPlaceOnlyWithinTheMaximalWaste) {
    const Owner rep(ERVecRep::getRep(256, 0));
    EXPECT_EQ(ERVecRep::replace(rep.get(), 0, 64, nullptr, 0), rep.get());
    EXPECT_EQ(rep->length, 192u);
    ERVecRep* rebuilt = ERVecRep::replace(rep.get(), 0, 1, nullptr, 0);
    EXPECT_NE(rebuilt, rep.get());
    EXPECT_EQ(rebuilt->capacity, 192u);
    freeRep(rebuilt);
}

TEST(VecRep, PolyEditsOfPartialPeriodsStayInTheBlock) {
    const Owner rep(repOf("abcdefghij"));
    const Owner inserted(ERVecRep::polyInsert(rep.get(), 8, 1, 3));
    EXPECT_EQ(inserted->length, 11u);
    EXPECT_EQ(contents(inserted).substr(0, 8) + contents(inserted).substr(9), "abcdefghij");
    rep->polyRemove(1, 2, 3);
    EXPECT_EQ(contents(rep), "adgj");
    rep->polyRemove(4, 2, 3);
    EXPECT_EQ(contents(rep), "adgj");
    const Owner whole(repOf("abcdef"));
    whole->polyRemove(2, 3, 3);
    EXPECT_EQ(contents(whole), "ab");
}

TEST(VecRep, EmptyBlockHasNoRoomAndIsNeverFreed) {
    ERVecRep* empty = ERVecRep::empty();
    EXPECT_EQ(empty->capacity, 0u);
    EXPECT_NE(empty->data, nullptr);
    const int before = empty->referenceCount;
    empty->addReference();
    EXPECT_EQ(empty->referenceCount, before + 1);
    EXPECT_TRUE(empty->isShared());
    empty->removeReference();
    EXPECT_EQ(empty->referenceCount, before);
}

TEST(VecRepFile, IsTheLengthAndTheBytes) {
    const TemporaryFile temporary;
    const Owner rep(repOf("kerf"));
    {
        ERFile file(temporary.path(), ERFile::modeCreate | ERFile::modeReadWrite);
        rep->saveGuts(file);
    }
    EXPECT_EQ(temporary.bytes(), std::string("\4\0\0\0kerf", 8));
    EXPECT_EQ(rep->binaryStoreSize(), 8u);
    ERFile file(temporary.path(), ERFile::modeRead);
    const Owner restored(ERVecRep::getRep(file));
    EXPECT_EQ(contents(restored), "kerf");
    EXPECT_EQ(file.CurOffset(), 8);
}

TEST(VecRepFile, DamagedLengthsReadAsNothing) {
    for (const std::string& bytes :
         {std::string("\5\0\0\0kerf", 8), std::string("\xFF\xFF\xFF\xFFkerf", 8),
          std::string("\0\0\0\x80kerf", 8), std::string("\xFF\xFF\xFF\x7Fkerf", 8),
          std::string("\4\0\0", 3), std::string()}) {
        const TemporaryFile temporary;
        temporary.setBytes(bytes);
        ERFile file(temporary.path(), ERFile::modeRead);
        const Owner rep(ERVecRep::getRep(file));
        EXPECT_EQ(rep->length, 0u);
    }
}

// Blocks as the heap gives them, with which the cache is tried alone.
ERVecBlock* block(unsigned capacity) {
    ERVecBlock* made = allocateBlock(capacity);
    made->length = 0;
    return made;
}

TEST(BlockCache, CountsHitsMissesBytesAndBlocks) {
    ERVecRepCache cache(0x1FA000, 10000, 20);
    EXPECT_EQ(cache.getRep(64), nullptr);
    ERVecBlock* first = block(64);
    ERVecBlock* second = block(64);
    ERVecBlock* other = block(128);
    for (ERVecBlock* b : {first, second, other}) cache.free(b);
    EXPECT_EQ(cache.cachedBytes(), 256u);
    EXPECT_EQ(cache.cachedCount(), 3u);

    EXPECT_EQ(cache.getRep(192), nullptr);
    EXPECT_EQ(cache.getRep(64), second);  // last in, first out
    EXPECT_EQ(second->data, second + 1);
    EXPECT_EQ(cache.getRep(64), first);
    EXPECT_EQ(cache.getRep(64), nullptr);
    EXPECT_EQ(cache.hits(), 2u);
    EXPECT_EQ(cache.misses(), 3u);
    EXPECT_EQ(cache.cachedBytes(), 128u);
    EXPECT_EQ(cache.cachedCount(), 1u);
    releaseBlock(first);
    releaseBlock(second);
}

TEST(BlockCache, Keeps131072BytesAndNotMore) {
    ERVecRepCache cache(0x1FA000, 10000, 20);
    ERVecBlock* largest = block(131072);
    cache.free(largest);
    cache.free(block(131136));
    EXPECT_EQ(cache.cachedCount(), 1u);
    EXPECT_EQ(cache.cachedBytes(), 131072u);
    EXPECT_EQ(cache.getRep(131136), nullptr);
    EXPECT_EQ(cache.misses(), 1u);
    EXPECT_EQ(cache.getRep(131072), largest);
    releaseBlock(largest);
}

TEST(BlockCache, FlushesAtTheReturnAfterALimitIsExceeded) {
    ERVecRepCache cache(0x1FA000, 10000, 20);
    for (int i = 0; i < 10001; ++i) cache.free(block(64));
    EXPECT_EQ(cache.cachedCount(), 10001u);
    cache.free(block(64));
    EXPECT_EQ(cache.cachedCount(), 1u);
    EXPECT_EQ(cache.cachedBytes(), 64u);

    cache.flush();
    for (int i = 0; i < 16; ++i) cache.free(block(0x20000));  // 2097152 bytes, over the limit
    EXPECT_EQ(cache.cachedCount(), 16u);
    cache.free(block(131136));  // too large to be kept, but looked at the limits first
    EXPECT_EQ(cache.cachedCount(), 0u);
    EXPECT_EQ(cache.cachedBytes(), 0u);
}

TEST(BlockCache, BlockFreedOnAnotherThreadJoinsThatThreadsCache) {
    ERVecRep* rep = ERVecRep::getRep(1000, 0);
    std::thread([rep] {
        const unsigned before = threadData().blockCache()->cachedCount();
        freeRep(rep);
        EXPECT_EQ(threadData().blockCache()->cachedCount(), before + 1);
        const Owner reused(ERVecRep::getRep(1000, 0));
        EXPECT_EQ(reused.get(), rep);
    }).join();
}

}  // namespace
}  // namespace kerf
