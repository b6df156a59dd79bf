#include "kerf/persistence/free_list.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kerf/persistence/file_manager.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

/// The heap by its definition, in memory: every search walks the ring of nodes from the one used
/// last.
class WalkedHeap {
public:
    ERLong allocate(ERLong size) { return take((size + 7) & ~3) + 4; }
    void deallocate(ERLong location) { free(location - 4, sizes.at(location - 4)); }

    std::vector<FreeNode> ring{{12, {}}};
    std::unordered_map<ERLong, ERLong> sizes;  // by the start of the block
    ERLong end = 280;

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
                if (entry->second >= wanted) return takeFrom(entries, entry, wanted);
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
        // The new node is for the blocks after this one.
        const FreeNode added{static_cast<std::size_t>(take(268)), {}};
        ring.insert(ring.begin() + static_cast<std::ptrdiff_t>(++current_), added);
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

/// The manager and the walked heap, given the same work.
struct Compared {
    void allocate(unsigned int size) {
        blocks.push_back(manager.allocate(size));
        ASSERT_EQ(blocks.back(), walked.allocate(static_cast<ERLong>(size)));
    }
    void deallocate() {
        std::swap(blocks.at(draw(blocks.size())), blocks.back());
        manager.deallocate(blocks.back());
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
        expectSoundHeap(bytes, blocks);
    }

    Draws draw{1};
    TemporaryFile file;
    ERFileManager manager{file.path(), 0};
    WalkedHeap walked;
    ERLong root = manager.allocate(4) + walked.allocate(4);
    std::vector<ERLong> blocks;  // all but the root
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

TEST(FreeList, RandomWorkWritesWhatAWalkWrites) {
    std::size_t timesShorter = 0;
    for (const unsigned int kind : {1u, 2u, 3u, 4u, 5u}) {
        Compared heap;
        if (kind == 5) makeHundredsOfNodes(heap);
        std::size_t lastNodes = heap.walked.ring.size();
        for (int step = 0; step < 8000; ++step) {
            // From mostly allocating to mostly freeing and back.
            const bool grows = heap.draw(10) < ((step / 2000) % 2 == 0 ? 8u : 2u);
            if (!grows && !heap.blocks.empty())
                heap.deallocate();
            else if (kind <= 2)  // fits exactly, so that nodes become empty
                heap.allocate(kind * 12);
            else
                heap.allocate(kind == 3 ? 12u << heap.draw(3)
                                        : heap.draw(heap.draw(20) == 0 ? 3000 : 90));
            if (step % 800 == 799) heap.expectEqualFiles();
            ASSERT_FALSE(HasFatalFailure()) << kind << ' ' << step;
            const std::size_t nodes = heap.walked.ring.size();
            timesShorter += nodes < std::exchange(lastNodes, nodes);
        }
    }
    EXPECT_GT(timesShorter, 10u);
}

}  // namespace
}  // namespace kerf
