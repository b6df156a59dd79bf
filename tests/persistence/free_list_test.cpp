#include "kerf/persistence/free_list.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <ostream>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kerf/persistence/file_manager.h"
#include "kerf/platform/exceptions.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

/// The heap by its definition, in memory: every search walks along the ring of nodes from the one
/// used last.
class WalkedHeap {
public:
    explicit WalkedHeap(const std::string& bytes) : ring(freeList(bytes)), end(wordAt(bytes, 4)) {}

    ERLong allocate(ERLong size) { return take((size + 7) & ~3) + 4; }
    void deallocate(ERLong location) { free(location - 4, sizes.at(location - 4)); }

    std::vector<FreeNode> ring;
    std::unordered_map<ERLong, ERLong> sizes;  // by the start of the block
    ERLong end;
    std::size_t timesCrossing = 0;

private:
    using Entries = std::vector<std::pair<ERLong, ERLong>>;

    bool goOn(std::size_t begun) {
        const std::size_t next = (current_ + 1) % ring.size();
        if (next == begun) return false;
        current_ = next;
        return true;
    }

    ERLong take(ERLong wanted) {
        const std::size_t begun = current_;
        do {
            Entries& entries = ring[current_].entries;
            for (auto entry = entries.begin(); entry != entries.end(); ++entry)
                if (entry->first >= 280 && entry->second >= wanted)
                    return takeFrom(entries, entry, wanted);
        } while (goOn(begun));
        sizes[end] = wanted;
        return std::exchange(end, end + wanted);
    }

    ERLong takeFrom(Entries& entries, Entries::iterator entry, ERLong wanted) {
        const auto [start, size] = *entry;
        const ERLong taken = size - wanted < 8 ? size : wanted;
        sizes[start] = taken;
        if (taken < size)
            *entry = {start + taken, size - taken};
        else
            entries.erase(entry);
        if (entries.empty() && ring.size() > 1) removeNode();
        return start;
    }

    // The first node never goes: it takes over what the second one has.
    void removeNode() {
        if (current_ == 0) ring[0].entries = ring[1].entries;
        const std::size_t removed = std::max<std::size_t>(current_, 1);
        const auto location = static_cast<ERLong>(ring[removed].location);
        ring.erase(ring.begin() + static_cast<std::ptrdiff_t>(removed));
        current_ = removed - 1;
        free(location, 268);
    }

    void free(ERLong start, ERLong size) {
        if (start + size >= end) {
            end = start;
            return;
        }
        const std::size_t begun = current_;
        do {
            if (add(ring[current_].entries, start, size)) return;
        } while (goOn(begun));
        // The new node is for the blocks after this one, and for those that cross a page.
        std::vector<ERLong> crossing;
        ERLong location = take(268);
        for (; location / 4096 != (location + 267) / 4096 && crossing.size() < 8;
             location = take(268))
            crossing.push_back(location);
        ring.insert(ring.begin() + static_cast<std::ptrdiff_t>(++current_),
                    FreeNode{static_cast<std::size_t>(location), {}});
        for (const ERLong block : crossing) free(block, sizes.at(block));
        timesCrossing += crossing.size();
    }

    static bool add(Entries& entries, ERLong start, ERLong size) {
        const auto next = std::lower_bound(entries.begin(), entries.end(), std::pair(start, size));
        const bool touchesNext = next != entries.end() && start + size == next->first;
        const auto former = next == entries.begin() ? entries.end() : std::prev(next);
        if (former != entries.end() && former->first + former->second == start) {
            former->second += size + (touchesNext ? next->second : 0);
            if (touchesNext) entries.erase(next);
        } else if (touchesNext) {
            *next = {start, size + next->second};
        } else if (entries.size() < 32) {
            entries.insert(next, {start, size});
        } else {
            return false;
        }
        return true;
    }

    std::size_t current_ = 0;
};

// Whatever a change needs is in memory while the list is sound. An entry that lies on the first node
// is damage: such a list is worked on in the file, and no request meets the entry.
struct Start {
    const char* name;
    std::string bytes;
};

void PrintTo(const Start& start, std::ostream* out) { *out << start.name; }

Start soundHeap() { return {"InMemory", newHeap()}; }

Start damagedFirstNode() {
    std::string bytes = newHeap();
    setWord(bytes, 16, /*start*/ 16), setWord(bytes, 144, /*size*/ 4), setWord(bytes, 272, 1);
    return {"InFile", bytes};
}

Start damagedSecondNode() {
    std::string bytes = newHeap();
    const std::string second = damagedFirstNode().bytes.substr(12);
    setWord(bytes, 4, 548), setWord(bytes, 276, 280);
    return {"InFileFirstNodeEmpty", bytes + second};
}

/// The list manager, by two handles in turn, and the walked heap, given the same work.
struct Compared {
    explicit Compared(const Start& begun, unsigned int seed) : start(begun), draw(seed) {
        allocate(4);  // never freed, so that the heap does not become empty
        blocks.clear();
    }

    void allocate(unsigned int size) {
        blocks.push_back(handle().allocate(size));
        ASSERT_EQ(blocks.back(), walked.allocate(static_cast<ERLong>(size)));
    }
    void deallocate() {
        std::swap(blocks.at(draw(blocks.size())), blocks.back());
        handle().deallocate(blocks.back());
        walked.deallocate(blocks.back());
        blocks.pop_back();
        ASSERT_EQ(manager.endData(), walked.end);
    }
    void expectEqualFiles() const {
        const std::string bytes = file.bytes();
        ASSERT_TRUE(freeList(bytes) == walked.ring);
        ASSERT_EQ(wordAt(bytes, 4), walked.end);
        for (const ERLong block : blocks)
            ASSERT_EQ(wordAt(bytes, static_cast<std::size_t>(block - 4)),
                      walked.sizes.at(block - 4));
        if (start.bytes == newHeap()) expectSoundHeap(bytes, blocks);
    }

    const Start& start;
    Draws draw;
    const TemporaryFile file{start.bytes};
    ERFileManager manager{file.path(), 0};
    ERListManager list{&manager, 0}, copy{list};
    WalkedHeap walked{start.bytes};
    std::vector<ERLong> blocks;  // all but the first

private:
    ERListManager& handle() { return draw(2) == 0 ? list : copy; }
};

// Every second block is freed: none touches another, and the list grows to its longest.
void makeHundredsOfNodes(Compared& heap) {
    std::vector<ERLong> apart;
    for (unsigned int i = 0; i < 16000; ++i) {
        heap.allocate(8 + i % 7 * 4);
        heap.allocate(4);
        apart.push_back(heap.blocks.back());
        heap.blocks.pop_back();
    }
    while (!heap.blocks.empty()) ASSERT_NO_FATAL_FAILURE(heap.deallocate());
    heap.blocks = apart;
    EXPECT_GT(heap.walked.ring.size(), 400u);
}

class FreeList : public testing::TestWithParam<Start> {
protected:
    // From mostly allocating to mostly freeing and back.
    void work(Compared& heap, unsigned int kind, int steps) {
        std::size_t lastNodes = heap.walked.ring.size();
        for (int step = 0; step < steps; ++step) {
            const bool grows = heap.draw(10) < ((step / 2000) % 2 == 0 ? 8u : 2u);
            if (!grows && !heap.blocks.empty())
                heap.deallocate();
            else if (kind <= 2)  // fits exactly, so that nodes become empty
                heap.allocate(kind * 12);
            else
                heap.allocate(kind == 3 ? 12u << heap.draw(3)
                                        : heap.draw(heap.draw(20) == 0 ? 3000 : 90));
            if (step % 800 == 799) heap.expectEqualFiles();
            ASSERT_FALSE(HasFatalFailure()) << "step " << step;
            const std::size_t nodes = heap.walked.ring.size();
            timesShorter_ += nodes < std::exchange(lastNodes, nodes);
        }
    }

    std::size_t timesShorter_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Lists, FreeList,
                         testing::Values(soundHeap(), damagedFirstNode(), damagedSecondNode()),
                         [](const auto& start) { return start.param.name; });

TEST_P(FreeList, RandomWorkWritesWhatAWalkWrites) {
    for (const unsigned int kind : {1u, 2u, 3u, 4u}) {
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", seed " << kind);
        Compared heap(GetParam(), /*seed=*/kind);
        ASSERT_NO_FATAL_FAILURE(work(heap, kind, 8000));
    }
    EXPECT_GT(timesShorter_, 10u);
}

TEST_F(FreeList, RandomWorkOnHundredsOfNodesWritesWhatAWalkWrites) {
    const Start start = soundHeap();
    Compared heap(start, /*seed=*/1);
    makeHundredsOfNodes(heap);
    work(heap, 4, 8000);
    EXPECT_GT(heap.walked.timesCrossing, 10u);
}

// A heap with one full node, and one block at 284. The free blocks are as large as a node and lie
// across the ends of the first `crossing` pages; the others are small.
std::string fullNode(ERLong crossing, ERLong end) {
    std::string bytes = newHeap() + words({8});
    setWord(bytes, 4, end), setWord(bytes, 272, 32);
    for (ERLong i = 0; i < 32; ++i) {
        const std::size_t entry = 4 * static_cast<std::size_t>(i);
        setWord(bytes, 16 + entry, i < crossing ? 4096 * i + 3996 : 4096 * crossing + 400 + 16 * i);
        setWord(bytes, 144 + entry, i < crossing ? 268 : 8);
    }
    return bytes;
}

// What the list grows to when the block at 284 is freed.
std::vector<FreeNode> grownList(const std::string& bytes) {
    const TemporaryFile file(bytes);
    ERFileManager(file.path(), 0).deallocate(284);
    return freeList(file.bytes());
}

TEST_F(FreeList, ANodeCrossesAPageWhenNoOtherBlockCanBeHad) {
    const auto nodes = grownList(fullNode(/*crossing=*/1, /*end=*/0x7FFFFFF8));
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[1], (FreeNode{3996, {}}));
}

TEST_F(FreeList, ANodeTriesEightBlocksAndGivesThemBack) {
    const auto nodes = grownList(fullNode(/*crossing=*/32, /*end=*/200000));
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[0].entries.size(), 23u);
    EXPECT_EQ(nodes[1].location, 8u * 4096 + 3996);
    EXPECT_EQ(nodes[1].entries.size(), 8u);
    EXPECT_EQ(nodes[1].entries[7], std::pair(7 * 4096 + 3996, 268));
}

TEST_F(FreeList, ANodeThatADiskHasNoRoomForMovesTheEndNoFurther) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    for (const ERLong end : {2000, 3996}) {  // one node there, or a second one past the page
        SCOPED_TRACE(testing::Message() << "end " << end);
        const TemporaryFile file(fullNode(/*crossing=*/0, end));
        ERFileManager manager(file.path(), 0);
        backend.limitLength(end);
        for (int i = 0; i < 3; ++i) EXPECT_THROW(manager.deallocate(284), CFileException);
        EXPECT_EQ(manager.endData(), end);
        EXPECT_EQ(wordAt(file.bytes(), 4), end);
        backend.clear();
        manager.deallocate(284);
        EXPECT_EQ(freeList(file.bytes()).size(), 2u);
    }
}

// The first write is the size word, the second the end of the data.
TEST_F(FreeList, ABlockAtTheEndWhoseWriteFailsIsNotTaken) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    for (const std::uint64_t n : {1u, 2u}) {
        SCOPED_TRACE(testing::Message() << "write " << n);
        const TemporaryFile file;
        ERFileManager manager(file.path(), 0);
        manager.allocate(4);
        backend.failCall(FileCall::write, n);
        EXPECT_THROW(manager.allocate(20), CFileException);
        EXPECT_EQ(manager.endData(), 288);
        EXPECT_EQ(wordAt(file.bytes(), 4), 288);
        EXPECT_EQ(manager.allocate(20), 292);
    }
}

}  // namespace
}  // namespace kerf
