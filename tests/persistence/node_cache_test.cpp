#include "kerf/persistence/node_cache.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

#include "kerf/core/file.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

constexpr unsigned int blockSize = 12;
using Block = std::array<char, blockSize>;

class NodeCache : public testing::Test {
protected:
    NodeCache() : scope(backend) {
        file.Open(onDisk.path(), CFile::modeCreate | CFile::modeReadWrite);
        for (int i = 0; i < 40; ++i) file.Write(content(i).data(), blockSize);
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
    Block block{};
};

// Oracle: every entry in use gets older, and the first of the oldest is given up.
TEST_F(NodeCache, KeepsAndDropsTheBlocksThatScanningTheAgesWould) {
    struct Entry {
        ERLong location;
        unsigned int age;
    };
    std::array<Block, 40> expected;
    for (int i = 0; i < 40; ++i) expected[static_cast<std::size_t>(i)] = content(i);
    for (const unsigned int slots : {0u, 1u, 2u, 3u, 10u}) {
        std::mt19937 random(slots);
        ERCacheManager cache(&file, blockSize, slots);
        std::vector<Entry> model;
        for (int step = 0; step < 3000; ++step) {
            const int i = static_cast<int>(random() % (random() % 4 == 0 ? 40 : 6));
            for (Entry& entry : model) ++entry.age;
            auto used = std::find_if(model.begin(), model.end(),
                                     [&](const Entry& entry) { return entry.location == at(i); });
            const bool hit = used != model.end();
            if (!hit && model.size() < std::max(slots, 1u))
                used = model.insert(model.end(), Entry{});
            else if (!hit)
                used = std::max_element(model.begin(), model.end(),
                                        [](auto& a, auto& b) { return a.age < b.age; });
            *used = {at(i), 0};
            Block& stored = expected[static_cast<std::size_t>(i)];
            backend.resetCounts();
            if (random() % 3 == 0) {
                stored.fill(static_cast<char>(random()));
                ASSERT_EQ(cache.write(at(i), stored.data()), 1);
                ASSERT_EQ(backend.transferCalls(), 1u);
            } else {
                ASSERT_EQ(cache.read(at(i), block.data()), 1);
                ASSERT_EQ(block, stored);
                ASSERT_EQ(backend.transferCalls(), hit ? 0u : 1u);
            }
            ASSERT_EQ(cache.used(), model.size());
            for (unsigned int slot = 0; slot < cache.used(); ++slot) {
                ASSERT_EQ(cache.age(slot), model[slot].age);
                ASSERT_EQ(cache.location(slot), model[slot].location);
            }
        }
    }
}

}  // namespace
}  // namespace kerf
