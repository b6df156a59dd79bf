#include "kerf/persistence/free_list.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "kerf/persistence/file_manager.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

/// The heap by its definition, over the bytes of a file: every search walks from node to node, and
/// nothing is remembered but the location of the node used last.
class WalkedHeap {
public:
    explicit WalkedHeap(const std::string& file) : bytes(file.begin(), file.end()) {}

    std::string file() const { return {bytes.begin(), bytes.end()}; }
    ERLong end() const { return word(4); }

    ERLong allocate(ERLong size) {
        const ERLong start = take((size + 7) & ~3, true);
        if (word(0) == -1) setWord(0, start + 4);
        return start + 4;
    }

    void deallocate(ERLong location) {
        if (location != word(0)) free(location - 4, word(location - 4));
    }

private:
    struct Node {
        ERLong magic = 588, starts[32] = {}, sizes[32] = {}, count = 0, next = 0;

        void remove(int entry) {
            --count;
            for (int i = entry; i < count; ++i) starts[i] = starts[i + 1], sizes[i] = sizes[i + 1];
        }

        bool add(ERLong start, ERLong size) {
            for (int i = 0; i < count; ++i) {
                if (starts[i] + sizes[i] == start) {
                    sizes[i] += size;
                    if (i + 1 < count && starts[i] + sizes[i] == starts[i + 1]) {
                        sizes[i] += sizes[i + 1];
                        remove(i + 1);
                    }
                    return true;
                }
                if (start + size == starts[i]) {
                    starts[i] = start;
                    sizes[i] += size;
                    return true;
                }
            }
            if (count == 32) return false;
            int i = count++;
            for (; i > 0 && starts[i - 1] > start; --i)
                starts[i] = starts[i - 1], sizes[i] = sizes[i - 1];
            starts[i] = start;
            sizes[i] = size;
            return true;
        }
    };
    static_assert(sizeof(Node) == 268);

    ERLong word(ERLong at) const {
        ERLong value;
        std::memcpy(&value, &bytes.at(static_cast<std::size_t>(at)), 4);
        return value;
    }
    void setWord(ERLong at, ERLong value) { put(at, &value, 4); }
    void put(ERLong at, const void* data, std::size_t size) {
        const auto offset = static_cast<std::size_t>(at);
        if (bytes.size() < offset + size) bytes.resize(offset + size);
        std::memcpy(&bytes[offset], data, size);
    }
    Node node(ERLong at) const {
        Node read;
        std::memcpy(&read, &bytes.at(static_cast<std::size_t>(at)), sizeof read);
        return read;
    }

    ERLong take(ERLong wanted, bool writeSize) {
        const ERLong begun = current;
        for (;;) {
            Node n = node(current);
            int i = 0;
            while (i < n.count && n.sizes[i] < wanted) ++i;
            if (i < n.count) return takeFrom(n, i, wanted, writeSize);
            if (n.next == begun) break;
            current = n.next;
        }
        const ERLong start = end();
        setWord(4, start + wanted);
        if (writeSize) setWord(start, wanted);
        return start;
    }

    ERLong takeFrom(Node& n, int i, ERLong wanted, bool writeSize) {
        const ERLong start = n.starts[i];
        if (n.sizes[i] - wanted < 8) {
            wanted = std::exchange(n.sizes[i], n.sizes[i] - wanted);
            n.remove(i);
        } else {
            n.sizes[i] -= wanted;
            n.starts[i] += wanted;
        }
        if (writeSize) setWord(start, wanted);
        if (n.count == 0 && (current != 12 || n.next != 12))
            unlink(n.next);
        else
            put(current, &n, sizeof n);
        return start;
    }

    void free(ERLong start, ERLong size) {
        if (start + size >= end()) return setWord(4, start);
        const ERLong begun = current;
        for (;;) {
            Node n = node(current);
            if (n.add(start, size)) return put(current, &n, sizeof n);
            if (n.next == begun) break;
            current = n.next;
        }
        const ERLong added = take(268, false);  // for the blocks after this one
        Node n;
        n.next = word(current + 264);
        setWord(current + 264, added);
        put(added, &n, sizeof n);
        current = added;
    }

    void unlink(ERLong next) {
        if (current == 12) {
            const Node n = node(next);
            put(12, &n, sizeof n);
            return free(next, 268);
        }
        const ERLong removed = current;
        for (current = 12; word(current + 264) != removed;) current = word(current + 264);
        setWord(current + 264, next);
        free(removed, 268);
    }

    std::vector<char> bytes;
    ERLong current = 12;
};

/// The manager and the walked heap, given the same work.
struct Compared {
    void allocate(std::size_t size) {
        blocks.push_back(manager.allocate(static_cast<ERULong>(size)));
        ASSERT_EQ(blocks.back(), walked.allocate(static_cast<ERLong>(size)));
    }
    void deallocate() {
        std::swap(blocks.at(draw(blocks.size())), blocks.back());
        manager.deallocate(blocks.back());
        walked.deallocate(blocks.back());
        blocks.pop_back();
        ASSERT_EQ(manager.endData(), walked.end());
    }
    int nodes() const { return static_cast<int>(freeList(walked.file()).size()); }
    /// What a block holds is nobody's affair here and stays unwritten, up to the file's end.
    void expectEqualFiles() const {
        std::string expected = walked.file(), written = file.bytes();
        expected.resize(std::max(expected.size(), written.size()));
        written.resize(expected.size());
        ASSERT_TRUE(written == expected);
        expectSoundHeap(written, blocks);
    }

    Draws draw{1};
    TemporaryFile file;
    ERFileManager manager{file.path(), 0};
    WalkedHeap walked{file.bytes()};
    ERLong root = manager.allocate(4) + walked.allocate(4);
    std::vector<ERLong> blocks;  // all but the root
};

TEST(FreeList, RandomWorkWritesWhatAWalkWrites) {
    int mostNodes = 0, timesShorter = 0;
    for (const unsigned int kind : {1u, 2u, 3u, 4u}) {
        Compared heap;
        int lastNodes = 1;
        for (int step = 0; step < 12000; ++step) {
            // From mostly allocating to mostly freeing and back.
            const bool grows = heap.draw(10) < ((step / 2000) % 2 == 0 ? 8u : 2u);
            if (!grows && !heap.blocks.empty())
                heap.deallocate();
            else if (kind <= 2)  // fits exactly, so that nodes become empty
                heap.allocate(kind * 12);
            else
                heap.allocate(kind == 3 ? 12u << heap.draw(3)
                                        : heap.draw(heap.draw(20) == 0 ? 3000 : 90));
            ASSERT_FALSE(HasFatalFailure()) << kind << ' ' << step;
            if (step % 400 != 399) continue;
            ASSERT_NO_FATAL_FAILURE(heap.expectEqualFiles());
            const int nodes = heap.nodes();
            mostNodes = std::max(mostNodes, nodes);
            timesShorter += nodes < lastNodes;
            lastNodes = nodes;
        }
    }
    EXPECT_GT(mostNodes, 20);
    EXPECT_GT(timesShorter, 10);
}

// Every second block is freed: none touches another, and the list grows to its longest. Then all
// kinds of work on it.
TEST(FreeList, ThousandsOfNodesAreSearchedInTheirOrder) {
    Compared heap;
    std::vector<ERLong> apart;
    for (unsigned i = 0; i < 70000; ++i) {
        heap.allocate(8 + i % 7 * 4);
        heap.allocate(4);
        apart.push_back(heap.blocks.back());
        heap.blocks.pop_back();
    }
    while (!heap.blocks.empty()) ASSERT_NO_FATAL_FAILURE(heap.deallocate());
    heap.blocks = apart;
    ASSERT_NO_FATAL_FAILURE(heap.expectEqualFiles());
    EXPECT_GT(heap.nodes(), 2000);
    for (int step = 0; step < 19000; ++step) {
        const unsigned kind = step < 3000 ? heap.draw(8) : step < 13000 ? 1 : 7;
        if (kind > 2)
            heap.deallocate();
        else
            heap.allocate(heap.draw(kind == 0 ? 400 : 40));
        if (step % 1000 == 999) heap.expectEqualFiles();
        ASSERT_FALSE(HasFatalFailure()) << step;
    }
}

TEST(FreeList, EachNodeIsReadOnceByWhicheverCopyWorks) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile file;
    {
        ERFileManager manager(file.path(), 0);
        std::vector<ERLong> freed;
        for (int i = 0; i < 2001; ++i) freed.push_back(manager.allocate(i % 2 == 0 ? 4 : 12));
        for (std::size_t i = 1; i < freed.size(); i += 2) manager.deallocate(freed[i]);
    }
    const std::size_t nodes = freeList(file.bytes()).size();
    ASSERT_GT(nodes, 25u);
    ERFileManager manager(file.path(), 0);
    ERListManager list(&manager, 0), assigned(&manager, 0);
    backend.resetCounts();
    const ERLong large = list.allocate(100);
    EXPECT_EQ(backend.calls(FileCall::read), nodes - 1);
    assigned = ERListManager(list);
    assigned.allocate(4);
    backend.resetCounts();
    assigned.allocate(100);  // from the end, after a whole round: the size word and the end
    EXPECT_EQ(backend.transferCalls(), 2u);
    assigned.allocate(4);
    backend.resetCounts();
    assigned.deallocate(large);  // its size word, and a node
    EXPECT_EQ(backend.transferCalls(), 2u);
    EXPECT_EQ(backend.calls(FileCall::write), 1u);
}

}  // namespace
}  // namespace kerf
