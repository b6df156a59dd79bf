// Trees that are damaged, cut or full, and writes that fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "tests/persistence/disk_btree_support.h"
#include "tests/support/file_backends.h"

namespace kerf {
namespace {

using namespace test;

using Failing = TestFileBackend::Failing;
const Shape order1{4, 1, 1, 1, 10};

// --- Limits and damage

TEST(DiskBTree, WithoutRoomForASplitTheTreeStaysAsItIs) {
    const TemporaryFile file;
    { OpenedTree(file, order1).fill(30, 2); }
    const std::string sound = file.bytes();
    // A node takes 36 bytes. The rest of the file lies behind a gap.
    for (const ERLong room : {0, 36, 72, 150, 400}) {
        std::string bytes = sound;
        setWord(bytes, 4, 2147483644 - room);
        file.setBytes(bytes);
        OpenedTree opened(file, order1);
        Content expected = contentOf(opened.tree);
        int refused = 0;
        for (unsigned int i = 0; i < 30; ++i) {
            const ERLong end = opened.manager.endData();
            if (opened.tree.insertKeyAndValue(binaryKey(2 * i + 1).data(), 2)) {
                expected[binaryKey(2 * i + 1)] = 2;
            } else {
                ++refused;
                EXPECT_EQ(opened.manager.endData(), end);
            }
        }
        EXPECT_GT(refused, 0) << room;
        EXPECT_EQ(contentOf(opened.tree), expected);
        EXPECT_EQ(opened.tree.entries(), expected.size());
    }
}

TEST(DiskBTree, AnImpossibleKeyLengthOrOrderIsAnEmptyTree) {
    const TemporaryFile file;
    { OpenedTree(file, {}).tree.insertKeyAndValue("abcd", 1); }
    const std::string sound = file.bytes();
    for (const std::size_t field : {16u, 20u}) {
        for (const ERLong value : {0, -1, 2147483647, 1 << 21}) {
            std::string bytes = sound;
            setWord(bytes, 284 + field, value);
            file.setBytes(bytes);
            {
                OpenedTree opened(file, {});
                EXPECT_EQ(opened.tree.insertKeyAndValue("abcd", 1), 0);
                EXPECT_EQ(opened.tree.findValue("abcd"), -1);
                EXPECT_EQ(opened.tree.entries(), 0u);
                EXPECT_EQ(opened.tree.isEmpty(), 1);
                opened.tree.clear();
            }
            EXPECT_EQ(file.bytes(), bytes);
        }
    }
    file.setBytes(sound);
    for (const ERLong location : {-2, 0, 400, 2147483647})
        EXPECT_EQ(OpenedTree(file, {}, location).tree.contains("abcd"), 0) << location;
}

// Everything that can be done, on a file of which nothing is known.
void exerciseDamaged(const TemporaryFile& file, const std::string& bytes) {
    file.setBytes(bytes);
    try {
        OpenedTree opened(file, order1);
        // Keys have room for whatever key length the file claims.
        const auto padded = [&](unsigned int i) {
            std::string key = binaryKey(i);
            key.resize(std::max<std::size_t>(opened.tree.keyLength(), 4) % 100000000);
            return key;
        };
        opened.tree.applyToKeyAndValue([](const char*, ERLong, void*) {}, nullptr, 1);
        opened.tree.entries();
        opened.tree.height();
        for (unsigned int i = 0; i < 14; i += 3) opened.tree.findValue(padded(i).data());
        for (unsigned int i = 1; i < 30; i += 4) opened.tree.insertKeyAndValue(padded(i).data(), 1);
        for (unsigned int i = 0; i < 14; i += 2) opened.tree.remove(padded(i).data());
        opened.tree.clear();
        opened.tree.insertKeyAndValue(padded(1).data(), 1);
    } catch (const CFileException&) {
    }
}

TEST(DiskBTree, DamageAndTruncationNeverCrashOrHang) {
    const TemporaryFile file;
    { OpenedTree(file, order1).fill(14); }
    const std::string sound = file.bytes();
    for (std::size_t offset = 0; offset < sound.size(); ++offset) {
        if (offset >= 32 && offset < 270) continue;  // free-list entries that are not in use
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string bytes = sound;
            bytes[offset] = static_cast<char>(bytes[offset] ^ change);
            exerciseDamaged(file, bytes);
        }
    }
    for (std::size_t length = 1; length < sound.size(); ++length)
        exerciseDamaged(file, sound.substr(0, length));
    // Sons that lead back to the root or all to one node.
    const ERLong root = wordAt(sound, 284);
    for (const ERLong target : {root, wordAt(sound, static_cast<std::size_t>(root) + 4)}) {
        std::string bytes = sound;
        for (std::size_t node = 328; node + 32 <= bytes.size(); node += 36)
            for (std::size_t son = 0; son < 3; ++son) setWord(bytes, node + 4 + 4 * son, target);
        exerciseDamaged(file, bytes);
    }
}

TEST(DiskBTree, AReadOnlyFileKeepsItsBytesAndTheTreeItsState) {
    const TemporaryFile file;
    { OpenedTree(file, order1).fill(9); }
    const std::string before = file.bytes();
    {
        OpenedTree opened(file, order1, -1, 1);
        const Content content = contentOf(opened.tree);
        EXPECT_THROW(opened.tree.insertKeyAndValue(binaryKey(50).data(), 1), CFileException);
        EXPECT_THROW(opened.tree.remove(binaryKey(3).data()), CFileException);
        EXPECT_THROW(opened.tree.clear(), CFileException);
        EXPECT_EQ(contentOf(opened.tree), content);
        EXPECT_EQ(opened.tree.entries(), 9u);
    }
    EXPECT_EQ(file.bytes(), before);
}

// --- Failing writes

struct FailedWrite {
    const char* name;
    Failing failing;
    Shape shape;
};
class FailedWriteDiskBTree : public testing::TestWithParam<FailedWrite> {};
INSTANTIATE_TEST_SUITE_P(
    Failures, FailedWriteDiskBTree,
    testing::Values(FailedWrite{"OnceOrder1", Failing::once, {4, 1, 1, 1, 3}},
                    FailedWrite{"OnceOrder2", Failing::once, {4, 2, 2, 1, 10}},
                    FailedWrite{"FromThenOnOrder1", Failing::fromThenOn, {4, 1, 1, 1, 3}},
                    FailedWrite{"FromThenOnOrder2", Failing::fromThenOn, {4, 2, 2, 1, 10}}),
    [](const auto& failure) { return failure.param.name; });

/// Inserts and removes, knowing at each step what must be there and what may be: a change that
/// ended in an exception has happened or not.
class Worker {
public:
    Worker(Content& content, unsigned int seed) : known(content), draw(seed) {}

    void work(ERBTreeOnDisk& tree, int steps, bool growing) {
        for (int step = 0; step < steps; ++step) {
            const std::string key = binaryKey(draw(60));
            const auto value = static_cast<ERLong>(draw(1000));
            const bool isUnsure = unsure.count(key) != 0;
            const bool present = known.count(key) != 0;
            const bool inserts = draw(10) < (growing ? 8u : 2u);
            try {
                const int result =
                    inserts ? tree.insertKeyAndValue(key.data(), value) : tree.remove(key.data());
                ASSERT_TRUE(isUnsure || result == (inserts != present));
                if (!inserts)
                    known.erase(key);
                else if (result || isUnsure)
                    known[key] = result ? value : tree.findValue(key.data());
                unsure.erase(key);
            } catch (const CFileException&) {
                // A key that was there and is inserted again is not in question.
                if (present != inserts) unsure.insert(key);
            }
        }
    }

    /// Takes what the tree says of the keys in question, and compares the rest.
    void settle(ERBTreeOnDisk& tree) {
        for (const std::string& key : unsure) {
            known.erase(key);
            if (tree.contains(key.data())) known[key] = tree.findValue(key.data());
        }
        unsure.clear();
        ASSERT_EQ(contentOf(tree), known);
        for (unsigned int i = 0; i < 60; ++i)
            ASSERT_EQ(tree.findValue(binaryKey(i).data()),
                      known.count(binaryKey(i)) ? known[binaryKey(i)] : -1);
    }

private:
    Content& known;
    Draws draw;
    std::set<std::string> unsure;
};

TEST_P(FailedWriteDiskBTree, LosesNoKey) {
    const auto [name, failing, shape] = GetParam();
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile file;
    Content start;
    {
        OpenedTree opened(file, shape);
        Worker(start, 1).work(opened.tree, 60, true);
    }
    const std::string sound = file.bytes();
    for (const bool growing : {true, false}) {
        for (std::uint64_t n = 1;; ++n) {
            SCOPED_TRACE(testing::Message() << "write " << n << (growing ? ", growing" : ""));
            file.setBytes(sound);
            Content known = start;
            Worker worker(known, 17);
            {
                OpenedTree opened(file, shape);
                backend.failCall(FileCall::write, n, failing);
                ASSERT_NO_FATAL_FAILURE(worker.work(opened.tree, 60, growing));
                if (failing == Failing::once) {
                    ASSERT_NO_FATAL_FAILURE(worker.settle(opened.tree));
                }
            }
            const bool disturbed = backend.hasDisturbed();
            backend.clear();
            OpenedTree opened(file, shape);
            ASSERT_NO_FATAL_FAILURE(worker.settle(opened.tree));
            for (const bool grows : {!growing, growing})
                ASSERT_NO_FATAL_FAILURE(worker.work(opened.tree, 100, grows));
            ASSERT_NO_FATAL_FAILURE(worker.settle(opened.tree));
            for (const auto& [key, value] : Content(known))
                ASSERT_EQ(opened.tree.remove(key.data()), 1);
            ASSERT_EQ(opened.tree.isEmpty(), 1);
            if (!disturbed) break;
        }
    }
}

}  // namespace
}  // namespace kerf
