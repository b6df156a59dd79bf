#include "kerf/persistence/disk_btree.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "kerf/core/string.h"
#include "tests/persistence/disk_btree_support.h"
#include "tests/support/file_backends.h"

namespace kerf {
namespace {

using namespace test;

// --- Layout

TEST(DiskBTree, TheFirstKeyMakesTheseBytes) {
    const TemporaryFile file;
    {
        OpenedTree opened(file, {3, 1, 5, 0, 10});
        EXPECT_EQ(opened.tree.baseLocation(), 284);
        EXPECT_EQ(opened.tree.insertKeyAndValue("ab", 77), 1);
        EXPECT_EQ(opened.tree.extraLocation(-5), -1);
        EXPECT_EQ(opened.tree.extraLocation(6), -5);
    }
    // The block is rounded up to 4; the bytes behind the node are not written.
    EXPECT_EQ(file.bytes().substr(280), words({44, /*info*/ 328, 6, 1365, 1, 3, 1, 1, -1, 0, 0,
                                               /*node*/ 36, 1, -1, -1, -1, 77, 0}) +
                                            std::string("ab\0\0\0\0", 6));
    EXPECT_EQ(file.bytes().substr(0, 8), words({284, 280 + 44 + 36}));
}

TEST(DiskBTree, AFullLeafSplitsByWhereTheKeyBelongs) {
    struct Case {
        const char *key, *left, *up, *right;
    };
    // Order 2: in front of the middle, in the middle, behind it.
    for (const Case& c :
         {Case{"a", "ab", "d", "fh"}, Case{"c", "bc", "d", "fh"}, Case{"e", "bd", "e", "fh"},
          Case{"g", "bd", "f", "gh"}, Case{"i", "bd", "f", "hi"}}) {
        const TemporaryFile file;
        {
            OpenedTree opened(file, {1, 2, 2, 0, 10});
            for (const char* key : {"b", "d", "f", "h"}) opened.tree.insertKeyAndValue(key, *key);
            EXPECT_EQ(opened.tree.height(), 1);
            opened.tree.insertKeyAndValue(c.key, *c.key);
        }
        const std::string bytes = file.bytes();
        const auto keysOf = [&](ERLong node) {
            const auto start = static_cast<std::size_t>(node);
            return bytes.substr(start + 40, static_cast<std::size_t>(wordAt(bytes, start)));
        };
        const auto root = static_cast<std::size_t>(wordAt(bytes, 284));
        EXPECT_EQ(keysOf(wordAt(bytes, 284)), c.up);
        EXPECT_EQ(keysOf(wordAt(bytes, root + 4)), c.left);
        EXPECT_EQ(keysOf(wordAt(bytes, root + 8)), c.right);
        EXPECT_EQ(wordAt(bytes, root + 4), 328);  // the old node keeps the left half
    }
}

TEST(DiskBTree, ReservedWordsAreKeptAsRead) {
    const TemporaryFile file;
    { OpenedTree(file, {}).tree.insertKeyAndValue("abcd", 1); }
    std::string bytes = file.bytes();
    const std::string reserved = words({111, 222, 0x7001});
    file.setBytes(bytes.replace(284 + 28, 12, reserved));
    { OpenedTree(file, {}).tree.insertKeyAndValue("abce", 1); }
    EXPECT_EQ(file.bytes().substr(284 + 28, 12), reserved);
}

// The form without an info record: the file's root block has the root's location and nothing else.
TEST(DiskBTree, ATreeOfTheOlderFormIsReadAndWritten) {
    const TemporaryFile file;
    const Shape shape{5, 2, 2, 0, 10};
    {
        ERFileManager manager(file.path(), 0);
        manager.allocate(4);
        ERBTreeOnDisk tree(manager, 10, ERBTreeOnDisk::create, 5, 0, -1, 2, 2);
        for (const char* key : {"one", "two", "three", "four", "five", "six"})
            tree.insertKeyAndValue(key, static_cast<ERLong>(std::strlen(key)));
        EXPECT_EQ(tree.baseLocation(), 292);
    }
    std::string bytes = file.bytes();
    setWord(bytes, 284, wordAt(bytes, 292));
    file.setBytes(bytes);
    {
        OpenedTree opened(file, shape);
        EXPECT_EQ(opened.tree.version(), 0);
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

// --- Behaviour

TEST(DiskBTree, StringKeysAreComparedUpToTheirLength) {
    const TemporaryFile file;
    OpenedTree opened(file, {6, 10, 7, 0, 10});
    EXPECT_EQ(opened.tree.height(), 0);
    EXPECT_EQ(opened.tree.minOrder(), 7u);
    EXPECT_EQ(opened.tree.insertKeyAndValue("ring", 8), 1);
    EXPECT_EQ(opened.tree.insertKeyAndValue("ring", 9), 0);
    EXPECT_EQ(opened.tree.insertKeyAndValue("ringlet", 3), 1);
    EXPECT_EQ(opened.tree.findValue("ring"), 8);
    EXPECT_EQ(opened.tree.findValue("ringleader"), 3);
    EXPECT_EQ(opened.tree.findValue("rin"), -1);
    ERLong value = 5;
    ERCString key("kept");
    EXPECT_EQ(opened.tree.findKeyAndValue("a", key, value), 0);
    EXPECT_EQ(opened.tree.removeKeyAndValue("a", key, value), 0);
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(key == "kept");
    EXPECT_EQ(opened.tree.findKeyAndValue("ringlets", key, value), 1);
    EXPECT_TRUE(key == "ringle");
    EXPECT_EQ(opened.tree.findKey("ring", key), 1);
    EXPECT_TRUE(key == "ring");
    EXPECT_EQ(opened.tree.removeKeyAndValue("ringlet", key, value), 1);
    EXPECT_TRUE(key == "ringle");
    EXPECT_EQ(opened.tree.remove("ring"), 1);
    EXPECT_EQ(opened.manager.endData(), 324);  // nothing is left behind
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
    Content expected;
    auto opened = std::make_unique<OpenedTree>(file, shape);
    for (int step = 0; step < 12000; ++step) {
        std::string key = std::to_string(draw(1500));
        if (shape.binary) key.resize(shape.keyLength, draw(2) == 0 ? '\0' : '\xE9');
        const bool present = expected.count(key) != 0;
        const bool grows = draw(10) < ((step / 3000) % 2 == 0 ? 8u : 2u);
        const auto value = static_cast<ERLong>(draw(1000000));
        ERLong old = -7;
        if (draw(10) == 0) {
            ASSERT_EQ(opened->tree.replaceValue(key.c_str(), value, old), present);
            ASSERT_EQ(old, present ? expected[key] : -7);
            if (present) expected[key] = value;
        } else if (grows) {
            ASSERT_EQ(opened->tree.insertKeyAndValue(key.c_str(), value), !present);
            expected.emplace(key, value);
        } else {
            ASSERT_EQ(opened->tree.removeKeyAndValue(key.c_str(), old), present);
            ASSERT_EQ(old, present ? expected[key] : -7);
            expected.erase(key);
        }
        ASSERT_EQ(opened->tree.findValue(key.c_str()), expected.count(key) ? expected[key] : -1);
        if (step % 1000 != 999) continue;
        ASSERT_EQ(opened->tree.entries(), expected.size());
        ASSERT_EQ(contentOf(opened->tree), expected);
        const int height = opened->tree.height();
        opened = nullptr;
        const std::string bytes = file.bytes();
        const RawTree raw(bytes);
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
    OpenedTree opened(file, {});
    opened.fill(60);
    opened.tree.extraLocation(12);
    opened.tree.clear();
    EXPECT_EQ(opened.tree.isEmpty(), 1);
    EXPECT_EQ(opened.tree.entries(), 0u);
    EXPECT_EQ(opened.tree.extraLocation(-1), -1);
    EXPECT_EQ(wordAt(file.bytes(), 284), -1);
    // What was freed is one block or was given back to the end of the file.
    EXPECT_LE(wordAt(file.bytes(), 12 + 260), 1);
    opened.fill(60);
}

// --- Cost

class DiskBTreeCost : public testing::Test {
protected:
    TestFileBackend backend;
    ScopedFileBackend scope{backend};
    TemporaryFile file;
};

TEST_F(DiskBTreeCost, AWalkThatMayWriteWritesTheNodeAfterEachCall) {
    OpenedTree opened(file, {});
    opened.fill(30);
    const std::string before = file.bytes();
    int calls = 0;
    for (const int readOnly : {1, 0}) {
        backend.resetCounts();
        opened.tree.applyToKeyAndValue(
            [](const char*, ERLong, void* data) { ++*static_cast<int*>(data); }, &calls, readOnly);
        EXPECT_EQ(backend.calls(FileCall::write), readOnly ? 0u : 30u);
    }
    EXPECT_EQ(calls, 60);
    EXPECT_EQ(file.bytes(), before);
}

TEST_F(DiskBTreeCost, WorkOnAWarmTreeCostsOneWriteAChange) {
    OpenedTree opened(file, {4, 10, 10, 1, 1000});
    backend.resetCounts();
    for (unsigned int i = 0; i < 3000; ++i)
        opened.tree.insertKeyAndValue(binaryKey(i * 2654435761u).data(), 1);
    EXPECT_LE(backend.transferCalls(), 3000u * 3 / 2);
    backend.resetCounts();
    for (unsigned int i = 0; i < 3000; ++i)
        ASSERT_EQ(opened.tree.findValue(binaryKey(i * 2654435761u).data()), 1);
    EXPECT_EQ(backend.transferCalls(), 0u);
}

// A new cache gets the block size 8: no node is kept any more, and nothing else changes.
TEST_F(DiskBTreeCost, CacheCountMakesACacheThatHoldsNoNode) {
    OpenedTree opened(file, {});
    opened.fill(8);
    EXPECT_EQ(opened.tree.height(), 2);
    EXPECT_EQ(opened.tree.cacheCount(10), 10u);
    for (const unsigned int reads : {0u, 1u, 1u}) {
        backend.resetCounts();
        opened.tree.findValue(binaryKey(0).data());
        EXPECT_EQ(backend.calls(FileCall::read), reads);
        opened.tree.cacheCount(50);
    }
    EXPECT_EQ(opened.tree.cacheCount(50), 50u);
    for (unsigned int i = 8; i < 200; ++i)
        ASSERT_EQ(opened.tree.insertKeyAndValue(binaryKey(i).data(), 1), 1);
    for (unsigned int i = 0; i < 200; i += 2) ASSERT_EQ(opened.tree.remove(binaryKey(i).data()), 1);
    EXPECT_EQ(contentOf(opened.tree).size(), 100u);
}

}  // namespace
}  // namespace kerf
