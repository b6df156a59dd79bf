#include "kerf/persistence/file_manager.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "kerf/platform/sinks.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

using Failing = TestFileBackend::Failing;

TEST(FileManager, TheFirstBlockOfANewFileIsTheRootAndStays) {
    const TemporaryFile file;
    ERFileManager manager(file.path(), 0);
    std::string expected = newHeap();
    EXPECT_EQ(file.bytes(), expected);
    EXPECT_EQ(manager.allocate(1), 284);
    expected.replace(0, 8, words({284, 288}));
    expected += words({8});
    manager.deallocate(284);
    EXPECT_EQ(file.bytes(), expected);
    EXPECT_EQ(manager.allocate(0), 292);  // a lone size word
    EXPECT_EQ(manager.endData(), 292);
}

TEST(FileManager, DeallocateLeavesAloneWhatIsNoBlock) {
    const TemporaryFile file;
    ERFileManager manager(file.path(), 0);
    manager.allocate(12);
    const ERLong block = manager.allocate(28);
    manager.allocate(12);
    manager.SeekTo(block);
    manager.Write(6);           // no multiple of 4
    manager.Write(1000000000);  // behind the end
    manager.Write(-8);
    const std::string before = file.bytes();
    for (ERLong location : {0, 12, 280, 283, block + 4, block + 8, block + 12, manager.endData(),
                            manager.endData() + 4, 2147483647, -5})
        manager.deallocate(location);
    EXPECT_EQ(file.bytes(), before);
}

TEST(FileManager, NothingIsAllocatedPastTheLargestLocation) {
    const TemporaryFile file;
    std::string bytes = newHeap();
    bytes.replace(0, 8, words({284, 2147483600}));
    file.setBytes(bytes);
    ERFileManager manager(file.path(), 0);
    ERULong blockSize = 7;
    for (ERULong size : {44u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF9u, 0xFFFFFFFFu}) {
        EXPECT_EQ(manager.allocate(size), -1) << size;
        EXPECT_EQ(manager.allocateUnwritten(size, blockSize), -1) << size;
    }
    EXPECT_EQ(file.bytes(), bytes);
    EXPECT_EQ(manager.allocate(40), 2147483604);
    EXPECT_EQ(manager.endData(), 2147483644);
    EXPECT_EQ(manager.allocate(0), -1);
    manager.deallocate(2147483604);
    EXPECT_EQ(manager.endData(), 2147483600);
}

TEST(FileManager, AFileThatIsNoHeapAllocatesNothingAndStaysAsItIs) {
    std::string otherNodeSize = newHeap();
    setWord(otherNodeSize, 8, 272);
    std::string endInHeader = newHeap();
    setWord(endInHeader, 4, 100);
    for (const std::string& bytes :
         {std::string("short"), std::string(11, '\xFF'), otherNodeSize, endInHeader}) {
        const TemporaryFile file;
        file.setBytes(bytes);
        ERFileManager manager(file.path(), 0);
        EXPECT_EQ(manager.allocate(8), -1);
        manager.deallocate(284);
        EXPECT_EQ(file.bytes(), bytes);
    }
}

TEST(FileManager, ANodeWithoutItsMagicIsReportedAndUsed) {
    const TemporaryFile file;
    std::string bytes = newHeap();
    setWord(bytes, 12, 0x01024D);
    file.setBytes(bytes);
    std::string text;
    const DebugTextSink former = setDebugTextSink([&](const char* line) { text += line; });
    text.clear();
    {
        ERFileManager manager(file.path(), 0);
        EXPECT_EQ(manager.allocate(8), 284);
    }
    setDebugTextSink(former);
    EXPECT_EQ(text, "BAD MAGIC NUMBER");
}

// A heap whose list has three nodes, with some blocks still allocated.
std::vector<ERLong> makeFragmented(const char* path) {
    ERFileManager manager(path, 0);
    manager.allocate(4);
    std::vector<ERLong> blocks, kept;
    for (int i = 0; i < 150; ++i) blocks.push_back(manager.allocate(12));
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (i % 2 == 0 && i < 140)
            manager.deallocate(blocks[i]);
        else
            kept.push_back(blocks[i]);
    return kept;
}

// Allocates and frees in turn; answers nothing, and must come back.
void exerciseDamaged(const char* path, const std::vector<ERLong>& known) {
    try {
        ERFileManager manager(path, 0);
        const bool isAligned = manager.endData() % 4 == 0;
        std::vector<ERLong> blocks;
        for (ERULong size : {4u, 12u, 200u, 12u, 12u, 264u, 30u}) {
            const ERLong location = manager.allocate(size);
            if (location == -1) continue;
            ASSERT_GE(location, 284);
            ASSERT_TRUE(location % 4 == 0 || !isAligned);  // whatever the list says
            ASSERT_LE(std::int64_t{location} + size, manager.endData());
            blocks.push_back(location);
        }
        for (std::size_t i = 0; i < known.size(); i += 7) manager.deallocate(known[i]);
        for (const ERLong location : blocks) manager.deallocate(location);
        manager.allocate(12);
    } catch (const CFileException&) {
    }
}

TEST(FileManager, DamageAndTruncationNeverCrashOrHang) {
    const TemporaryFile original;
    const std::vector<ERLong> known = makeFragmented(original.path());
    const std::string sound = original.bytes();
    const TemporaryFile file;
    const auto nodes = freeList(sound);
    for (std::size_t offset = 0; offset < sound.size(); ++offset) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string bytes = sound;
            bytes[offset] = static_cast<char>(bytes[offset] ^ change);
            file.setBytes(bytes);
            ASSERT_NO_FATAL_FAILURE(exerciseDamaged(file.path(), known)) << offset;
        }
    }
    for (std::size_t length = 1; length < sound.size(); ++length) {
        file.setBytes(sound.substr(0, length));
        ASSERT_NO_FATAL_FAILURE(exerciseDamaged(file.path(), known)) << length;
    }
    // A chain that goes round without coming back to where the search began.
    std::string ring = sound;
    setWord(ring, nodes[2].location + 264, static_cast<ERLong>(nodes[1].location));
    file.setBytes(ring);
    exerciseDamaged(file.path(), known);
}

// Whatever write fails: blocks never overlap afterwards, neither for the object that met the
// failure nor for the next one.
TEST(FileManager, FailedWritesLoseSpaceAtMost) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile original;
    const std::vector<ERLong> kept = makeFragmented(original.path());
    const std::string sound = original.bytes();
    const TemporaryFile file;
    for (const Failing failing : {Failing::once, Failing::fromThenOn}) {
        for (std::uint64_t n = 1;; ++n) {
            SCOPED_TRACE(testing::Message() << "write " << n);
            file.setBytes(sound);
            std::set<ERLong> blocks(kept.begin(), kept.end());
            const auto work = [&](ERFileManager& manager, unsigned int seed) {
                Draws draw(seed);
                for (int step = 0; step < 120; ++step) {
                    try {
                        if (draw(3) != 0) {
                            const ERLong location = manager.allocate(draw(4) * 12);
                            ASSERT_NE(location, -1);
                            ASSERT_TRUE(blocks.insert(location).second);
                        } else {
                            auto victim = blocks.begin();
                            std::advance(victim, draw(blocks.size()));
                            const ERLong location = *victim;
                            blocks.erase(victim);  // freed or lost, when the call fails
                            manager.deallocate(location);
                        }
                    } catch (const CFileException&) {
                    }
                }
            };
            {
                ERFileManager manager(file.path(), 0);
                backend.failCall(FileCall::write, n, failing);
                ASSERT_NO_FATAL_FAILURE(work(manager, 5));
            }
            const bool disturbed = backend.hasDisturbed();
            backend.clear();
            {
                ERFileManager manager(file.path(), 0);
                ASSERT_NO_FATAL_FAILURE(expectSoundHeap(file.bytes(), blocks));
                ASSERT_NO_FATAL_FAILURE(work(manager, 6));
            }
            ASSERT_NO_FATAL_FAILURE(expectSoundHeap(file.bytes(), blocks));
            if (!disturbed) break;
        }
    }
}

}  // namespace
}  // namespace kerf
