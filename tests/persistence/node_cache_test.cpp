#include "kerf/persistence/internal/node_cache.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

// Oracle: every entry in use gets older, and the first of the oldest is given up.
TEST(NodeCache, KeepsAndDropsTheBlocksThatScanningTheAgesWould) {
    constexpr unsigned int blockSize = 12;
    struct Entry {
        ERLong location;
        unsigned int age;
    };
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile onDisk;
    ERFile file(onDisk.path(), CFile::modeCreate | CFile::modeReadWrite);
    std::vector<std::string> expected(40, std::string(blockSize, 'a'));
    for (const std::string& block : expected) file.Write(block.data(), blockSize);
    for (const unsigned int slots : {0u, 1u, 2u, 3u, 10u}) {
        Draws draw(slots);
        ERCacheManager cache(&file, blockSize, slots);
        std::vector<Entry> model;
        for (int step = 0; step < 3000; ++step) {
            const unsigned int i = draw(draw(4) == 0 ? 40 : 6);
            const auto location = static_cast<ERLong>(i * blockSize);
            for (Entry& entry : model) ++entry.age;
            auto used = std::find_if(model.begin(), model.end(), [&](const Entry& entry) {
                return entry.location == location;
            });
            const bool hit = used != model.end();
            if (!hit && model.size() < std::max(slots, 1u))
                used = model.insert(model.end(), Entry{});
            else if (!hit)
                used = std::max_element(model.begin(), model.end(),
                                        [](auto& a, auto& b) { return a.age < b.age; });
            *used = {location, 0};
            backend.resetCounts();
            if (draw(3) == 0) {
                expected[i].assign(blockSize, static_cast<char>(draw(256)));
                ASSERT_EQ(cache.write(location, expected[i].data()), 1);
                ASSERT_EQ(backend.calls(FileCall::write), 1u);
            } else {
                std::string block(blockSize, '?');
                ASSERT_EQ(cache.read(location, block.data()), 1);
                ASSERT_EQ(block, expected[i]);
                ASSERT_EQ(backend.calls(FileCall::read), hit ? 0u : 1u);
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
