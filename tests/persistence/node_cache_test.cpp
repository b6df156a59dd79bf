#include "kerf/persistence/internal/node_cache.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/platform/exceptions.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

constexpr unsigned int blockSize = 12;

// A file of forty blocks, each of one character, behind a backend that counts and disturbs.
class NodeCache : public testing::Test {
protected:
    NodeCache() {
        for (const std::string& block : blocks) file.Write(block.data(), blockSize);
    }
    static ERLong locationOf(std::size_t i) { return static_cast<ERLong>(i * blockSize); }
    static std::string readThrough(ERCacheManager& cache, std::size_t i) {
        std::string block(blockSize, '?');
        EXPECT_EQ(cache.read(locationOf(i), block.data()), 1);
        return block;
    }

    TestFileBackend backend;
    const ScopedFileBackend scope{backend};
    const TemporaryFile onDisk;
    ERFile file{onDisk.path(), CFile::modeCreate | CFile::modeReadWrite};
    std::vector<std::string> blocks = std::vector<std::string>(40, std::string(blockSize, 'a'));
};

// Oracle: a list in the order of last use.
TEST_F(NodeCache, KeepsTheBlocksThatWereUsedLast) {
    for (const unsigned int slots : {0u, 2u, 10u}) {
        SCOPED_TRACE(testing::Message() << slots << " slots, which are the seed too");
        Draws draw(slots);
        ERCacheManager cache(&file, blockSize, slots);
        std::list<std::size_t> held;
        for (int step = 0; step < 3000; ++step) {
            const std::size_t i = draw(draw(4) == 0 ? 40 : 6);
            if (draw(100) == 0) {
                cache.invalidate();
                held.clear();
            }
            const bool hit = std::erase(held, i) != 0;
            held.push_front(i);
            if (held.size() > std::max(slots, 1u)) held.pop_back();
            backend.resetCounts();
            if (draw(3) == 0) {
                blocks[i].assign(blockSize, static_cast<char>(draw(256)));
                ASSERT_EQ(cache.write(locationOf(i), blocks[i].data()), 1);
            } else {
                ASSERT_EQ(readThrough(cache, i), blocks[i]);
                ASSERT_EQ(backend.calls(FileCall::read), hit ? 0u : 1u);
            }
            ASSERT_EQ(cache.location(cache.LRU()), locationOf(held.back()));
        }
    }
}

TEST_F(NodeCache, ForgetsABlockWhoseWriteFailedHalfway) {
    ERCacheManager cache(&file, blockSize, 4);
    readThrough(cache, 3);
    backend.fillDeviceAfter(blockSize / 2);
    EXPECT_THROW(cache.write(locationOf(3), std::string(blockSize, 'b').data()), CFileException);
    backend.clear();
    EXPECT_EQ(readThrough(cache, 3), "bbbbbbaaaaaa");
}

TEST_F(NodeCache, TakesNoSlotForWhatCannotBeRead) {
    ERCacheManager cache(&file, blockSize, 10);
    std::string block(blockSize, '?');
    for (const ERLong location : {-1, 469, 480, 2147483647})
        EXPECT_EQ(cache.read(location, block.data()), 0) << location;
    backend.failCall(FileCall::read, 1);
    EXPECT_THROW(cache.read(0, block.data()), CFileException);
    EXPECT_EQ(cache.used(), 0u);
    EXPECT_EQ(block, std::string(blockSize, '?'));
}

TEST_F(NodeCache, HoldsNoMoreThanTheFileDoesWhereBlocksOverlap) {
    ERCacheManager cache(&file, blockSize, 1000);
    for (ERLong location = 0; location <= 468; ++location) ASSERT_NE(cache.peek(location), nullptr);
    EXPECT_LE(cache.used(), 41u);
}

}  // namespace
}  // namespace kerf
