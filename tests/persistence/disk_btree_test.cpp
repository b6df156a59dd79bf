#include "kerf/persistence/disk_btree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kerf/core/string.h"
#include "kerf/persistence/file_manager.h"
#include "tests/persistence/disk_btree_support.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using namespace test;

// --- Layout

TEST(DiskBTree, TheFirstKeyMakesTheseBytes) {
    const TemporaryFile file;
    const Shape shape{3, 1, 5, 0, 10};
    {
        OpenedTree opened(file, shape);
        EXPECT_EQ(opened.tree.baseLocation(), 284);
        EXPECT_EQ(opened.tree.insertKeyAndValue("ab", 77), 1);
        EXPECT_EQ(opened.tree.extraLocation(-5), -1);
        EXPECT_EQ(opened.tree.extraLocation(6), -5);
    }
    const std::string data = words({44, /*info*/ 328, 6, 1365, 1, 3, 1, 1, -1, 0, 0,
                                    /*node*/ 36, 1, -1, -1, -1, 77, 0}) +
                             std::string("ab\0\0\0\0", 6) + std::string(2, '\0');
    // The block is rounded up to 4; the bytes behind the node are not written.
    EXPECT_EQ(file.bytes().substr(280), data.substr(0, data.size() - 2));
    EXPECT_EQ(wordAt(file.bytes(), 0), 284);
    EXPECT_EQ(wordAt(file.bytes(), 4), 280 + 44 + 36);
}

TEST(DiskBTree, AFullLeafSplitsByWhereTheKeyBelongs) {
    struct Case {
        const char* present;
        char key;
        const char* left;
        char up;
        const char* right;
    };
    // Order 2: in front of the middle, in the middle, behind it.
    for (const Case& c : {Case{"bdfh", 'a', "ab", 'd', "fh"}, Case{"bdfh", 'c', "bc", 'd', "fh"},
                          Case{"bdfh", 'e', "bd", 'e', "fh"}, Case{"bdfh", 'g', "bd", 'f', "gh"},
                          Case{"bdfh", 'i', "bd", 'f', "hi"}}) {
        const TemporaryFile file;
        {
            OpenedTree opened(file, {1, 2, 2, 0, 10});
            for (const char* key = c.present; *key; ++key)
                opened.tree.insertKeyAndValue(std::string(1, *key).c_str(), *key);
            EXPECT_EQ(opened.tree.height(), 1);
            opened.tree.insertKeyAndValue(std::string(1, c.key).c_str(), c.key);
            EXPECT_EQ(opened.tree.height(), 2);
        }
        const std::string bytes = file.bytes();
        const auto keysOf = [&](ERLong node) {
            const auto start = static_cast<std::size_t>(node);
            return bytes.substr(start + 40, static_cast<std::size_t>(wordAt(bytes, start)));
        };
        const auto root = static_cast<std::size_t>(wordAt(bytes, 284));
        EXPECT_EQ(keysOf(static_cast<ERLong>(root)), std::string(1, c.up));
        EXPECT_EQ(keysOf(wordAt(bytes, root + 4)), c.left);
        EXPECT_EQ(keysOf(wordAt(bytes, root + 8)), c.right);
        EXPECT_EQ(wordAt(bytes, root + 4), 328);  // the old node keeps the left half
        RawTree(bytes, 284).expectApartFromFreeSpace();
    }
}

TEST(DiskBTree, ANodeOfOrderTenSplitsAtTheTwentyFirstKey) {
    const TemporaryFile file;
    OpenedTree opened(file, {4, 10, 10, 1, 10});
    for (unsigned int i = 0; i < 20; ++i) opened.tree.insertKeyAndValue(binaryKey(i).data(), 1);
    EXPECT_EQ(opened.tree.height(), 1);
    opened.tree.insertKeyAndValue(binaryKey(20).data(), 1);
    EXPECT_EQ(opened.tree.height(), 2);
}

// --- Behaviour

TEST(DiskBTree, AnEmptyTreeFindsNothing) {
    const TemporaryFile file;
    OpenedTree opened(file, {4, 10, 7, 0, 10});
    ERLong value = 5;
    ERCString key("kept");
    EXPECT_EQ(opened.tree.findValue("a"), -1);
    EXPECT_EQ(opened.tree.contains("a"), 0);
    EXPECT_EQ(opened.tree.findKeyAndValue("a", key, value), 0);
    EXPECT_EQ(opened.tree.replaceValue("a", 1, value), 0);
    EXPECT_EQ(opened.tree.removeKeyAndValue("a", key, value), 0);
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(key == "kept");
    EXPECT_EQ(opened.tree.isEmpty(), 1);
    EXPECT_EQ(opened.tree.height(), 0);
    EXPECT_EQ(opened.tree.entries(), 0u);
    EXPECT_EQ(opened.tree.minOrder(), 7u);
    EXPECT_EQ(opened.tree.version(), 1365);
}

TEST(DiskBTree, AKeyComesInOnceAndLeavesNothingBehind) {
    const TemporaryFile file;
    OpenedTree opened(file, {6, 10, 10, 0, 10});
    const ERLong emptyEnd = opened.manager.endData();
    EXPECT_EQ(opened.tree.insertKeyAndValue("ring", 8), 1);
    EXPECT_EQ(opened.tree.insertKeyAndValue("ring", 9), 0);
    EXPECT_EQ(opened.tree.insertKeyAndValue("ringlet", 3), 1);  // kept, and compared, to 6 bytes
    EXPECT_EQ(opened.tree.findValue("ring"), 8);
    EXPECT_EQ(opened.tree.findValue("ringle"), 3);
    EXPECT_EQ(opened.tree.findValue("ringleader"), 3);
    EXPECT_EQ(opened.tree.findValue("rin"), -1);
    EXPECT_EQ(opened.tree.occurrencesOf("ring"), 1u);

    ERLong value = 0;
    ERCString key;
    EXPECT_EQ(opened.tree.replaceValue("ring", 10, value), 1);
    EXPECT_EQ(value, 8);
    EXPECT_EQ(opened.tree.findKeyAndValue("ringlets", key, value), 1);
    EXPECT_TRUE(key == "ringle");
    EXPECT_EQ(opened.tree.findKey("ring", key), 1);
    EXPECT_TRUE(key == "ring");

    EXPECT_EQ(opened.tree.removeKeyAndValue("ringlet", key, value), 1);
    EXPECT_TRUE(key == "ringle");
    EXPECT_EQ(opened.tree.remove("ring"), 1);
    EXPECT_EQ(opened.tree.remove("ring"), 0);
    EXPECT_EQ(opened.tree.isEmpty(), 1);
    EXPECT_EQ(wordAt(file.bytes(), 284), -1);
    EXPECT_EQ(opened.manager.endData(), emptyEnd);
}

struct NamedShape {
    const char* name;
    Shape shape;
};
class RandomDiskBTree : public testing::TestWithParam<NamedShape> {};
INSTANTIATE_TEST_SUITE_P(Shapes, RandomDiskBTree,
                         testing::Values(NamedShape{"Order1", {4, 1, 1, 1, 10}},
                                         NamedShape{"Order2", {4, 2, 2, 1, 3}},
                                         NamedShape{"Order3Minimum1", {5, 3, 1, 1, 1}},
                                         NamedShape{"Order10", {4, 10, 10, 1, 10}},
                                         NamedShape{"StringsWithoutCache", {7, 2, 2, 0, 0}}),
                         [](const auto& shape) { return shape.param.name; });

TEST_P(RandomDiskBTree, AgreesWithAMap) {
    const Shape shape = GetParam().shape;
    const TemporaryFile file;
    Draws draw(2024);
    std::map<std::string, ERLong> expected;
    auto opened = std::make_unique<OpenedTree>(file, shape);
    const auto randomKey = [&] {
        std::string key = shape.binary ? std::string(shape.keyLength, '\0') : std::string();
        const unsigned int number = draw(1500);
        const std::string digits = std::to_string(number * 7919 % 1500);
        key.insert(0, digits);
        key.resize(shape.binary ? shape.keyLength : std::min<std::size_t>(key.size(), 7));
        return key;
    };
    for (int step = 0; step < 12000; ++step) {
        const std::string key = randomKey();
        const bool present = expected.count(key) != 0;
        const bool grows = draw(10) < ((step / 3000) % 2 == 0 ? 8u : 2u);
        const auto value = static_cast<ERLong>(draw(1000000));
        if (draw(10) == 0) {
            ERLong old = -7;
            ASSERT_EQ(opened->tree.replaceValue(key.c_str(), value, old), present);
            ASSERT_EQ(old, present ? expected[key] : -7);
            if (present) expected[key] = value;
        } else if (grows) {
            ASSERT_EQ(opened->tree.insertKeyAndValue(key.c_str(), value), !present);
            expected.emplace(key, value);
        } else {
            ERLong removed = -7;
            ASSERT_EQ(opened->tree.removeKeyAndValue(key.c_str(), removed), present);
            ASSERT_EQ(removed, present ? expected[key] : -7);
            expected.erase(key);
        }
        ASSERT_EQ(opened->tree.findValue(key.c_str()), expected.count(key) ? expected[key] : -1);
        if (step % 1000 != 999) continue;
        ASSERT_EQ(opened->tree.entries(), expected.size());
        ASSERT_EQ(contentOf(opened->tree), expected);
        const int height = opened->tree.height();
        opened = nullptr;
        const std::string bytes = file.bytes();
        const RawTree raw(bytes, 284);
        raw.expectApartFromFreeSpace();
        ASSERT_EQ(raw.leafDepth + 1, height);
        ASSERT_EQ(raw.keys.size(), expected.size());
        ASSERT_FALSE(HasFailure());
        opened = std::make_unique<OpenedTree>(file, Shape{99, 77, 5, 0, shape.slots});
    }
    for (const auto& [key, value] : expected) ASSERT_EQ(opened->tree.remove(key.c_str()), 1);
    EXPECT_EQ(opened->tree.isEmpty(), 1);
    EXPECT_EQ(wordAt(file.bytes(), 284), -1);
}

TEST(DiskBTree, ClearFreesEveryNode) {
    const TemporaryFile file;
    OpenedTree opened(file, {4, 2, 2, 1, 10});
    for (unsigned int i = 0; i < 60; ++i) opened.tree.insertKeyAndValue(binaryKey(i).data(), 1);
    opened.tree.extraLocation(12);
    opened.tree.clear();
    EXPECT_EQ(opened.tree.isEmpty(), 1);
    EXPECT_EQ(opened.tree.entries(), 0u);
    EXPECT_EQ(opened.tree.extraLocation(-1), -1);
    EXPECT_EQ(wordAt(file.bytes(), 284), -1);
    // What was freed is one block or was given back to the end of the file.
    EXPECT_LE(wordAt(file.bytes(), 12 + 260), 1);
    for (unsigned int i = 0; i < 60; ++i)
        EXPECT_EQ(opened.tree.insertKeyAndValue(binaryKey(i).data(), 1), 1);
}

TEST(DiskBTree, ReservedWordsAreKeptAsRead) {
    const TemporaryFile file;
    { OpenedTree(file, {4, 2, 2, 1, 10}).tree.insertKeyAndValue("abcd", 1); }
    std::string bytes = file.bytes();
    setWord(bytes, 284 + 28, 111);
    setWord(bytes, 284 + 32, 222);
    setWord(bytes, 284 + 36, 0x7001);
    file.setBytes(bytes);
    { OpenedTree(file, {4, 2, 2, 1, 10}).tree.insertKeyAndValue("abce", 1); }
    EXPECT_EQ(file.bytes().substr(284 + 28, 12), words({111, 222, 0x7001}));
}

// The form without an info record: the file's root block has the root's location and nothing else.
TEST(DiskBTree, ATreeOfTheOlderFormIsReadAndWritten) {
    const TemporaryFile file;
    const Shape shape{5, 2, 2, 0, 10};
    ERLong root = 0;
    {
        ERFileManager manager(file.path(), 0);
        manager.allocate(4);
        ERBTreeOnDisk tree(manager, 10, ERBTreeOnDisk::create, 5, 0, -1, 2, 2);
        for (const char* key : {"one", "two", "three", "four", "five", "six"})
            tree.insertKeyAndValue(key, static_cast<ERLong>(std::strlen(key)));
        root = wordAt(file.bytes(), static_cast<std::size_t>(tree.baseLocation()));
    }
    std::string bytes = file.bytes();
    setWord(bytes, 284, root);
    file.setBytes(bytes);
    {
        OpenedTree opened(file, shape);
        EXPECT_EQ(opened.tree.version(), 0);
        EXPECT_EQ(opened.tree.baseLocation(), 284);
        EXPECT_EQ(opened.tree.findValue("three"), 5);
        EXPECT_EQ(opened.tree.entries(), 6u);
        for (const char* key : {"seven", "eight", "nine", "ten", "eleve", "a", "b", "c", "d"})
            EXPECT_EQ(opened.tree.insertKeyAndValue(key, 1), 1);
        EXPECT_EQ(opened.tree.entries(), 15u);
    }
    EXPECT_EQ(file.bytes().substr(288, 44), bytes.substr(288, 44));
    OpenedTree opened(file, shape);
    EXPECT_EQ(opened.tree.remove("one"), 1);
    EXPECT_EQ(opened.tree.entries(), 14u);
    EXPECT_EQ(opened.tree.findValue("nine"), 1);
}

TEST(DiskBTree, AWalkThatMayWriteWritesTheNodeAfterEachCall) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile file;
    OpenedTree opened(file, {4, 2, 2, 1, 10});
    for (unsigned int i = 0; i < 30; ++i) opened.tree.insertKeyAndValue(binaryKey(i).data(), 1);
    const std::string before = file.bytes();
    int calls = 0;
    const auto count = [](const char*, ERLong, void* data) { ++*static_cast<int*>(data); };
    backend.resetCounts();
    opened.tree.applyToKeyAndValue(count, &calls, 1);
    EXPECT_EQ(backend.calls(FileCall::write), 0u);
    opened.tree.applyToKeyAndValue(count, &calls, 0);
    EXPECT_EQ(backend.calls(FileCall::write), 30u);
    EXPECT_EQ(calls, 60);
    EXPECT_EQ(file.bytes(), before);
}

TEST(DiskBTree, AComparisonOfTheCallersOrdersTheKeys) {
    const TemporaryFile file;
    OpenedTree opened(file, {4, 1, 1, 1, 10});
    opened.tree.setComparison(
        [](const char* a, const char* b, unsigned int n) { return std::memcmp(b, a, n); });
    for (unsigned int i = 0; i < 30; ++i) opened.tree.insertKeyAndValue(binaryKey(i).data(), 1);
    std::vector<std::string> keys;
    opened.tree.applyToKeyAndValue(
        [](const char* key, ERLong, void* data) {
            static_cast<std::vector<std::string>*>(data)->emplace_back(key, 4);
        },
        &keys, 1);
    ASSERT_EQ(keys.size(), 30u);
    EXPECT_TRUE(std::is_sorted(keys.rbegin(), keys.rend()));
    for (const std::string& key : keys) EXPECT_EQ(opened.tree.remove(key.data()), 1);
}

// --- Cost

TEST(DiskBTree, WorkOnAWarmTreeCostsOneWriteAChange) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile file;
    OpenedTree opened(file, {4, 10, 10, 1, 1000});
    constexpr unsigned int count = 3000;
    backend.resetCounts();
    Draws draw(3);
    std::vector<unsigned int> numbers(count);
    for (unsigned int i = 0; i < count; ++i) numbers[i] = i * 2654435761u;
    for (const unsigned int n : numbers) opened.tree.insertKeyAndValue(binaryKey(n).data(), 1);
    EXPECT_LE(backend.transferCalls(), count * 3 / 2);
    backend.resetCounts();
    for (const unsigned int n : numbers) ASSERT_EQ(opened.tree.findValue(binaryKey(n).data()), 1);
    EXPECT_EQ(backend.transferCalls(), 0u);
}

// A new cache gets the block size 8: no node is kept any more, and nothing else changes.
TEST(DiskBTree, CacheCountMakesACacheThatHoldsNoNode) {
    TestFileBackend backend;
    const ScopedFileBackend scope(backend);
    const TemporaryFile file;
    OpenedTree opened(file, {4, 2, 2, 1, 10});
    for (unsigned int i = 0; i < 8; ++i) opened.tree.insertKeyAndValue(binaryKey(i).data(), 1);
    EXPECT_EQ(opened.tree.height(), 2);
    EXPECT_EQ(opened.tree.cacheCount(10), 10u);
    backend.resetCounts();
    opened.tree.findValue(binaryKey(0).data());
    EXPECT_EQ(backend.calls(FileCall::read), 0u);

    EXPECT_EQ(opened.tree.cacheCount(50), 10u);
    EXPECT_EQ(opened.tree.cacheCount(50), 50u);
    for (int i = 0; i < 2; ++i) {
        backend.resetCounts();
        opened.tree.findValue(binaryKey(0).data());
        EXPECT_EQ(backend.calls(FileCall::read), 1u);
    }
    for (unsigned int i = 8; i < 200; ++i)
        ASSERT_EQ(opened.tree.insertKeyAndValue(binaryKey(i).data(), 1), 1);
    for (unsigned int i = 0; i < 200; i += 2) ASSERT_EQ(opened.tree.remove(binaryKey(i).data()), 1);
    EXPECT_EQ(contentOf(opened.tree).size(), 100u);
}

}  // namespace
}  // namespace kerf
