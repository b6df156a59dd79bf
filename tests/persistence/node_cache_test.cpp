#include "kerf/persistence/node_cache.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "kerf/core/file.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::FileCall;
using test::ScopedFileBackend;
using test::TemporaryFile;
using test::TestFileBackend;

constexpr unsigned int blockSize = 12;
using Block = std::array<char, blockSize>;

class NodeCache : public testing::Test {
protected:
    NodeCache() : scope(backend) {
        file.Open(onDisk.path(), CFile::modeCreate | CFile::modeReadWrite);
        for (int i = 0; i < 40; ++i) {
            const Block block = content(i);
            file.Write(block.data(), blockSize);
        }
        backend.resetCounts();
    }

    static Block content(int i) {
        Block block;
        block.fill(static_cast<char>(i + 1));
        return block;
    }
    static ERLong at(int i) { return i * static_cast<ERLong>(blockSize); }

    TestFileBackend backend;
    ScopedFileBackend scope;
    TemporaryFile onDisk;
    ERFile file;
};

// The description of the cache, step by step: every entry in use gets older, the first of the
// oldest is given up.
class ModelCache {
public:
    explicit ModelCache(unsigned int count) : slots(count) {}

    bool use(ERLong location) {
        std::size_t slot = ages.size();
        for (std::size_t i = 0; i < ages.size(); ++i) {
            ++ages[i];
            if (locations[i] == location) slot = i;
        }
        const bool hit = slot < ages.size();
        if (!hit) {
            if (ages.size() < slots) {
                ages.push_back(0);
                locations.push_back(location);
            } else {
                slot = 0;
                for (std::size_t i = 1; i < ages.size(); ++i)
                    if (ages[i] > ages[slot]) slot = i;
            }
        }
        ages[slot] = 0;
        locations[slot] = location;
        return hit;
    }

    unsigned int slots;
    std::vector<unsigned int> ages;
    std::vector<ERLong> locations;
};

TEST_F(NodeCache, KeepsAndDropsTheBlocksThatScanningTheAgesWould) {
    for (const unsigned int slots : {1u, 2u, 3u, 10u}) {
        std::mt19937 random(slots);
        ERCacheManager cache(&file, blockSize, slots);
        ModelCache model(slots);
        std::array<Block, 40> expected;
        for (int i = 0; i < 40; ++i) {
            expected[static_cast<std::size_t>(i)] = content(i);
            file.SeekTo(at(i));
            file.Write(content(i).data(), blockSize);
        }
        for (int step = 0; step < 3000; ++step) {
            const int i = static_cast<int>(random() % (random() % 4 == 0 ? 40 : 6));
            Block& block = expected[static_cast<std::size_t>(i)];
            const bool hit = model.use(at(i));
            backend.resetCounts();
            if (random() % 3 == 0) {
                block.fill(static_cast<char>(random()));
                ASSERT_EQ(cache.write(at(i), block.data()), 1);
                ASSERT_EQ(backend.calls(FileCall::write), 1u);
                ASSERT_EQ(backend.calls(FileCall::read), 0u);
            } else {
                Block target{};
                ASSERT_EQ(cache.read(at(i), target.data()), 1);
                ASSERT_EQ(target, block);
                ASSERT_EQ(backend.calls(FileCall::read), hit ? 0u : 1u);
            }
            ASSERT_EQ(cache.used(), model.ages.size());
            for (unsigned int slot = 0; slot < cache.used(); ++slot) {
                ASSERT_EQ(cache.age(slot), model.ages[slot]);
                ASSERT_EQ(cache.location(slot), model.locations[slot]);
            }
        }
    }
}

TEST_F(NodeCache, FreeSlotsComeFirstAndThenTheFirstOfTheOldest) {
    ERCacheManager cache(&file, blockSize, 3);
    EXPECT_EQ(cache.LRU(), 0u);
    EXPECT_EQ(cache.ageAndFindSlot(at(1)), -1);
    EXPECT_EQ(cache.getFreeSlot(), 0u);
    EXPECT_EQ(cache.getFreeSlot(), 1u);
    EXPECT_EQ(cache.getFreeSlot(), 2u);
    EXPECT_EQ(cache.getFreeSlot(), 0u);  // all of one age
    cache.invalidate();
    EXPECT_EQ(cache.used(), 0u);
    Block block;
    for (int i : {4, 5, 6, 4}) cache.read(at(i), block.data());
    EXPECT_EQ(cache.LRU(), 1u);
    EXPECT_EQ(cache.ageAndFindSlot(at(6)), 2);
    EXPECT_EQ(cache.age(2), 2u);
}

TEST_F(NodeCache, ABlockThatTheFileDoesNotHoldWholeIsNotKept) {
    ERCacheManager cache(&file, blockSize, 2);
    Block block = content(9);
    EXPECT_EQ(cache.read(at(39) + 4, block.data()), 0);
    EXPECT_EQ(block, content(9));
    EXPECT_EQ(cache.read(at(39) + 4, block.data()), 0);
    file.SeekTo(at(40));
    file.Write(content(40).data(), blockSize);
    EXPECT_EQ(cache.read(at(39) + 4, block.data()), 1);
    EXPECT_EQ(block[0], content(39)[0]);
    EXPECT_EQ(block[blockSize - 1], content(40)[0]);
}

TEST_F(NodeCache, AfterAFailureTheFileIsAskedAgain) {
    ERCacheManager cache(&file, blockSize, 2);
    Block block;
    cache.read(at(1), block.data());
    backend.failCall(FileCall::write, 1);
    EXPECT_THROW(cache.write(at(1), content(30).data()), CFileException);
    EXPECT_EQ(cache.read(at(1), block.data()), 1);
    EXPECT_EQ(block, content(1));
    EXPECT_EQ(backend.calls(FileCall::read), 2u);

    backend.failCall(FileCall::read, 1);
    EXPECT_THROW(cache.read(at(2), block.data()), CFileException);
    EXPECT_EQ(cache.read(at(2), block.data()), 1);
    EXPECT_EQ(block, content(2));
}

TEST_F(NodeCache, ForgettingABlockLeavesItsSlotInLine) {
    ERCacheManager cache(&file, blockSize, 2);
    Block block;
    cache.read(at(1), block.data());
    cache.read(at(2), block.data());
    cache.invalidate(at(1));
    cache.invalidate(at(7));
    EXPECT_EQ(cache.location(0), -1);
    EXPECT_EQ(cache.age(0), 1u);
    cache.read(at(3), block.data());
    EXPECT_EQ(cache.location(0), at(3));
    EXPECT_EQ(cache.location(1), at(2));
}

TEST_F(NodeCache, WithoutSlotsItKeepsOneBlock) {
    ERCacheManager cache(&file, blockSize, 0);
    for (int i : {3, 4, 3}) {
        const char* const block = cache.peek(at(i));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::memcmp(block, content(i).data(), blockSize), 0);
    }
    EXPECT_EQ(cache.used(), 1u);
}

}  // namespace
}  // namespace kerf
