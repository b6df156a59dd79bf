#include "kerf/persistence/file_manager.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "kerf/platform/sinks.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::FileCall;
using test::ScopedFileBackend;
using test::TemporaryFile;
using test::TestFileBackend;

using Failing = TestFileBackend::Failing;

class OpenedManager : public ERFileManager {
public:
    using ERFileManager::allocateAtEnd;
    using ERFileManager::deallocateFromEnd;
    using ERFileManager::ERFileManager;
    using ERFileManager::rootOffset;
};

ERLong wordAt(const std::string& bytes, std::size_t offset) {
    ERULong value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= static_cast<ERULong>(static_cast<unsigned char>(bytes.at(offset + i))) << (8 * i);
    return static_cast<ERLong>(value);
}

void setWord(std::string& bytes, std::size_t offset, ERLong value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes.at(offset + i) = static_cast<char>(static_cast<ERULong>(value) >> (8 * i));
}

/// Repeatable draws.
class Draws {
public:
    explicit Draws(unsigned int seed) : engine(seed) {}
    /// 0 to below - 1.
    unsigned int operator()(std::size_t below) {
        return static_cast<unsigned int>(engine() % below);
    }

private:
    std::mt19937 engine;
};

struct FreeNode {
    std::size_t location;
    std::vector<std::pair<ERLong, ERLong>> entries;  // start, size
    ERLong next;
};

FreeNode freeNode(const std::string& bytes, std::size_t location) {
    FreeNode node{location, {}, wordAt(bytes, location + 264)};
    for (std::size_t i = 0; i < static_cast<std::size_t>(wordAt(bytes, location + 260)); ++i)
        node.entries.emplace_back(wordAt(bytes, location + 4 + 4 * i),
                                  wordAt(bytes, location + 132 + 4 * i));
    return node;
}

std::vector<FreeNode> freeList(const std::string& bytes) {
    std::vector<FreeNode> nodes;
    std::size_t location = 12;
    do {
        nodes.push_back(freeNode(bytes, location));
        location = static_cast<std::size_t>(nodes.back().next);
    } while (location != 12 && nodes.size() < 10000);
    return nodes;
}

// What must hold of every heap: the nodes form a ring, entries ascend, and nothing that is free,
// allocated or a node overlaps anything else.
void expectSoundHeap(const std::string& bytes, const std::set<ERLong>& allocated) {
    const ERLong end = wordAt(bytes, 4);
    std::map<ERLong, ERLong> taken;  // start to end
    const auto take = [&](ERLong start, ERLong size, const char* what) {
        ASSERT_GE(start, 280) << what;
        ASSERT_GT(size, 0) << what;
        ASSERT_LE(start + size, end) << what;
        const auto next = taken.lower_bound(start);
        if (next != taken.end()) {
            ASSERT_LE(start + size, next->first) << what << " at " << start;
        }
        if (next != taken.begin()) {
            ASSERT_LE(std::prev(next)->second, start) << what << " at " << start;
        }
        taken[start] = start + size;
    };
    for (const FreeNode& node : freeList(bytes)) {
        ASSERT_EQ(wordAt(bytes, node.location) & 0xFFFF, 588);
        if (node.location != 12) take(static_cast<ERLong>(node.location), 268, "node");
        ERLong last = 0;
        for (const auto& [start, size] : node.entries) {
            EXPECT_GT(start, last);
            last = start;
            take(start, size, "free block");
        }
    }
    for (const ERLong location : allocated)
        take(location - 4, wordAt(bytes, static_cast<std::size_t>(location) - 4), "block");
}

std::string newHeap() {
    std::string bytes(280, '\0');
    setWord(bytes, 0, -1);
    setWord(bytes, 4, 280);
    setWord(bytes, 8, 268);
    setWord(bytes, 12, 588);
    setWord(bytes, 12 + 264, 12);
    return bytes;
}

TEST(FileManager, ANewFileIsItsHeaderAndAnEmptyNode) {
    const TemporaryFile file;
    OpenedManager manager(file.path(), 0);
    EXPECT_EQ(file.bytes(), newHeap());
    EXPECT_EQ(manager.start(), -1);
    EXPECT_EQ(manager.endData(), 280);
    EXPECT_EQ(manager.rootOffset(), 12);
    EXPECT_EQ(manager.isReadOnly(), 0);
}

TEST(FileManager, TheFirstBlockIsTheRootAndStays) {
    const TemporaryFile file;
    ERFileManager manager(file.path(), 0);
    EXPECT_EQ(manager.allocate(1), 284);
    std::string expected = newHeap();
    setWord(expected, 0, 284);
    setWord(expected, 4, 288);
    expected += std::string("\x08\0\0\0", 4);
    EXPECT_EQ(file.bytes(), expected);

    manager.deallocate(284);
    manager.deallocate(-1);
    EXPECT_EQ(file.bytes(), expected);
    EXPECT_EQ(manager.allocate(0), 292);  // a lone size word
    EXPECT_EQ(manager.endData(), 292);
}

TEST(FileManager, FreedBlocksMergeAndAreTakenFirstFit) {
    const TemporaryFile file;
    ERFileManager manager(file.path(), 0);
    std::vector<ERLong> blocks;
    for (int i = 0; i < 8; ++i) blocks.push_back(manager.allocate(48));  // 52 bytes each
    const auto entries = [&] { return freeNode(file.bytes(), 12).entries; };
    const auto start = [&](std::size_t i) { return blocks[i] - 4; };
    using Entries = std::vector<std::pair<ERLong, ERLong>>;

    const ERLong end = manager.endData();
    manager.deallocate(blocks[7]);  // at the end: no entry
    EXPECT_EQ(manager.endData(), end - 52);
    EXPECT_EQ(wordAt(file.bytes(), 4), end - 52);
    EXPECT_TRUE(entries().empty());

    manager.deallocate(blocks[5]);
    manager.deallocate(blocks[1]);
    manager.deallocate(blocks[3]);
    EXPECT_EQ(entries(), (Entries{{start(1), 52}, {start(3), 52}, {start(5), 52}}));
    manager.deallocate(blocks[2]);  // touches both
    EXPECT_EQ(entries(), (Entries{{start(1), 156}, {start(5), 52}}));
    manager.deallocate(blocks[4]);
    EXPECT_EQ(entries(), (Entries{{start(1), 260}}));

    EXPECT_EQ(manager.allocate(148), blocks[1]);  // 152 of 260 leave 108
    EXPECT_EQ(entries(), (Entries{{start(1) + 152, 108}}));
    const ERLong rest = manager.allocate(100);  // 104 of 108: the rest is too small to stand alone
    EXPECT_EQ(rest, blocks[1] + 152);
    EXPECT_EQ(wordAt(file.bytes(), static_cast<std::size_t>(rest) - 4), 108);
    EXPECT_TRUE(entries().empty());
}

// The 33rd separate block makes the list grow, and is lost.
TEST(FileManager, AFullListGrowsByANodeAndAnEmptyNodeIsRemoved) {
    const TemporaryFile file;
    ERFileManager manager(file.path(), 0);
    manager.allocate(4);
    std::vector<ERLong> blocks;
    for (int i = 0; i < 80; ++i) blocks.push_back(manager.allocate(12));
    for (std::size_t i = 0; i < 66; i += 2) manager.deallocate(blocks[i]);

    auto nodes = freeList(file.bytes());
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[0].entries.size(), 32u);
    EXPECT_TRUE(nodes[1].entries.empty());
    const std::string bytes = file.bytes();
    EXPECT_EQ(static_cast<ERLong>(nodes[1].location), manager.endData() - 268);
    EXPECT_EQ(bytes.substr(nodes[1].location + 4, 260), std::string(260, '\0'));

    manager.deallocate(blocks[70]);
    nodes = freeList(file.bytes());
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[1].entries.size(), 1u);

    // Taking it empties the second node, whose own block was the last of the file.
    const ERLong end = manager.endData();
    EXPECT_EQ(manager.allocate(12), blocks[70]);
    EXPECT_EQ(freeList(file.bytes()).size(), 1u);
    EXPECT_EQ(manager.endData(), end - 268);

    // The lost block is not handed out again: the 32 others are, then the end is used.
    std::set<ERLong> again;
    for (int i = 0; i < 32; ++i) again.insert(manager.allocate(12));
    EXPECT_EQ(again.size(), 32u);
    EXPECT_EQ(again.count(blocks[64]), 0u);
    EXPECT_EQ(manager.allocate(12), end - 268 + 4);
}

TEST(FileManager, AnEmptiedHeadTakesOverTheNextNode) {
    const TemporaryFile file;
    std::vector<ERLong> blocks;
    {
        ERFileManager manager(file.path(), 0);
        manager.allocate(4);
        for (int i = 0; i < 80; ++i) blocks.push_back(manager.allocate(12));
        for (std::size_t i = 0; i < 66; i += 2) manager.deallocate(blocks[i]);
        manager.deallocate(blocks[70]);
        manager.allocate(4000);  // the last block, so that the second node lies in front of it
    }
    ERFileManager manager(file.path(), 0);  // begins at the head
    for (int i = 0; i < 32; ++i) manager.allocate(12);
    const auto nodes = freeList(file.bytes());
    ASSERT_EQ(nodes.size(), 1u);
    using Entries = std::vector<std::pair<ERLong, ERLong>>;
    EXPECT_EQ(nodes[0].entries, (Entries{{blocks[70] - 4, 16}, {blocks[79] + 12, 268}}));
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

TEST(FileManager, RandomWorkKeepsBlocksApartAndTheirBytes) {
    Draws draw(71);
    const TemporaryFile file;
    std::map<ERLong, std::string> blocks;
    auto manager = std::make_unique<ERFileManager>(file.path(), 0);
    manager->allocate(20);
    for (int step = 0; step < 4000; ++step) {
        // Phases of growing and of shrinking, so that the list becomes long and short again.
        const bool grows = draw(10) < ((step / 500) % 2 == 0 ? 8u : 2u);
        if (grows || blocks.empty()) {
            const ERULong size = draw(10) == 0 ? draw(2000) : draw(60);
            const ERLong location = manager->allocate(size);
            ASSERT_NE(location, -1);
            std::string content(size, static_cast<char>(draw(256)));
            manager->SeekTo(location);
            manager->Write(content.data(), size);
            ASSERT_TRUE(blocks.emplace(location, content).second);
        } else {
            auto victim = blocks.begin();
            std::advance(victim, draw(blocks.size()));
            manager->deallocate(victim->first);
            blocks.erase(victim);
        }
        if (step % 400 == 399) {
            manager = nullptr;
            const std::string bytes = file.bytes();
            std::set<ERLong> locations;
            for (const auto& [location, content] : blocks) {
                locations.insert(location);
                ASSERT_EQ(bytes.substr(static_cast<std::size_t>(location), content.size()),
                          content);
            }
            ASSERT_NO_FATAL_FAILURE(expectSoundHeap(bytes, locations));
            manager = std::make_unique<ERFileManager>(file.path(), 0);
        }
    }
}

TEST(FileManager, TheEndOfTheDataMovesUpAndDown) {
    const TemporaryFile file;
    OpenedManager manager(file.path(), 0);
    EXPECT_EQ(manager.allocateAtEnd(100), 280);
    EXPECT_EQ(wordAt(file.bytes(), 4), 380);
    EXPECT_EQ(manager.deallocateFromEnd(300, 79), 0);
    EXPECT_EQ(manager.endData(), 380);
    EXPECT_EQ(manager.deallocateFromEnd(300, 80), 1);
    EXPECT_EQ(wordAt(file.bytes(), 4), 300);
}

TEST(FileManager, NothingIsAllocatedPastTheLargestLocation) {
    const TemporaryFile file;
    std::string bytes = newHeap();
    setWord(bytes, 0, 284);
    setWord(bytes, 4, 2147483600);
    file.setBytes(bytes);
    OpenedManager manager(file.path(), 0);
    ERULong blockSize = 7;
    for (ERULong size : {44u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF9u, 0xFFFFFFFFu}) {
        EXPECT_EQ(manager.allocate(size), -1) << size;
        EXPECT_EQ(manager.allocateUnwritten(size, blockSize), -1) << size;
        EXPECT_EQ(manager.allocateAtEnd(size + 4 < size ? size : size + 4), -1) << size;
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

TEST(FileManager, AReadOnlyFileIsReadAndRefusesToBeWritten) {
    const TemporaryFile file;
    file.setBytes(newHeap());
    ERFileManager manager(file.path(), 1);
    EXPECT_EQ(manager.isReadOnly(), 1);
    EXPECT_THROW(manager.allocate(8), CFileException);
    EXPECT_EQ(manager.endData(), 280);
    EXPECT_EQ(file.bytes(), newHeap());
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

TEST(FileManager, ABlockForOneWriteCostsOneWriteOfItsOwn) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile file;
    ERFileManager manager(file.path(), 0);
    manager.allocate(4);
    backend.resetCounts();
    ERULong blockSize = 0;
    const ERLong atEnd = manager.allocateUnwritten(21, blockSize);
    EXPECT_EQ(blockSize, 28u);
    EXPECT_EQ(backend.transferCalls(), 1u);
    manager.SeekTo(atEnd - 4);
    manager.Write(static_cast<unsigned int>(blockSize));
    manager.allocate(4);
    manager.deallocate(atEnd);
    backend.resetCounts();
    EXPECT_EQ(manager.allocateUnwritten(20, blockSize), atEnd);
    EXPECT_EQ(blockSize, 28u);  // the remainder of 4 goes along
    EXPECT_EQ(backend.transferCalls(), 1u);
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
        std::vector<ERLong> blocks;
        for (ERULong size : {4u, 12u, 200u, 12u, 12u, 264u, 30u}) {
            const ERLong location = manager.allocate(size);
            if (location == -1) continue;
            ASSERT_GE(location, 284);
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
    ASSERT_EQ(freeList(sound).size(), 3u);
    const TemporaryFile file;
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < 12; ++i) offsets.push_back(i);
    for (const FreeNode& node : freeList(sound))
        for (std::size_t i = 0; i < 268; ++i)
            if (i < 16 || i > 250 || i % 16 < 4) offsets.push_back(node.location + i);
    for (const std::size_t offset : offsets) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string bytes = sound;
            bytes[offset] = static_cast<char>(bytes[offset] ^ change);
            file.setBytes(bytes);
            ASSERT_NO_FATAL_FAILURE(exerciseDamaged(file.path(), known)) << offset;
        }
    }
    for (std::size_t length = 1; length < sound.size(); length += length < 300 ? 1 : 37) {
        file.setBytes(sound.substr(0, length));
        ASSERT_NO_FATAL_FAILURE(exerciseDamaged(file.path(), known)) << length;
    }
    // A chain that goes round without coming back to where the search began.
    std::string ring = sound;
    const auto nodes = freeList(sound);
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
