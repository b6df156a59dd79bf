#include "kerf/persistence/disk_btree.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kerf/core/string.h"
#include "tests/persistence/disk_btree_support.h"
#include "tests/support/file_backends.h"

namespace kerf {
namespace {

using namespace test;

using Failing = TestFileBackend::Failing;
const Shape order1{4, 1, 1, 1, 3, "Order1"};
const Shape order2{4, 2, 2, 1, 3, "Order2"};

class DiskBTree : public testing::Test {
protected:
    TestFileBackend backend;
    ScopedFileBackend scope{backend};
    TemporaryFile file;
};

// --- Layout

TEST_F(DiskBTree, TheFirstKeyMakesTheseBytesAndReservedWordsStay) {
    const Shape shape{3, 1, 5, 0, 10};
    {
        OpenedTree opened(file, shape);
        EXPECT_EQ(opened.tree.baseLocation(), 284);
        EXPECT_EQ(opened.tree.insertKeyAndValue("ab", 77), 1);
        opened.tree.extraLocation(6);
    }
    // The block is rounded up to 4; the bytes after the node are not written.
    std::string bytes = file.bytes();
    EXPECT_EQ(bytes.substr(0, 8), words({284, 280 + 44 + 36}));
    EXPECT_EQ(bytes.substr(280), words({44, /*info*/ 328, 6, 1365, 1, 3, 1, 1, -1, 0, 0,
                                        /*node*/ 36, 1, -1, -1, -1, 77, 0}) +
                                     std::string("ab\0\0\0\0", 6));
    const std::string reserved = words({111, 222, 0x7000});
    file.setBytes(bytes.replace(284 + 28, 12, reserved));
    OpenedTree(file, shape).tree.insertKeyAndValue("abc", 1);
    EXPECT_EQ(file.bytes().substr(284 + 28, 12), reserved);
}

// The form without an info record: the file's root block has the root's location and nothing else.
TEST_F(DiskBTree, ATreeOfTheOlderFormIsReadAndWritten) {
    const Shape shape{5, 2, 2, /*binary, which is not believed*/ 1, 10};
    {
        ERFileManager manager(file.path(), 0);
        manager.allocate(4);
        ERBTreeOnDisk tree(manager, 10, ERBTreeOnDisk::create, 5, 0, -1, 2, 2);
        for (const char* key : {"one", "two", "three", "four", "five", "six"})
            tree.insertKeyAndValue(key, *key);
    }
    std::string bytes = file.bytes();
    setWord(bytes, 284, wordAt(bytes, 292));
    file.setBytes(bytes);
    {
        OpenedTree opened(file, shape);
        EXPECT_EQ(opened.tree.version(), 0);
        EXPECT_EQ(opened.tree.ignoreNulls(), 0);
        EXPECT_EQ(opened.tree.findValue("three"), 't');
        for (const char* key : {"seven", "eight", "nine", "ten", "eleve", "a", "b", "c", "d"})
            EXPECT_EQ(opened.tree.insertKeyAndValue(key, 1), 1);
    }
    EXPECT_EQ(OpenedTree(file, shape).tree.entries(), 15u);
}

// --- Behaviour

TEST_F(DiskBTree, StringKeysAreComparedUpToTheirLength) {
    OpenedTree opened(file, {6, 10, 7, 0, 10});
    EXPECT_EQ(opened.tree.insertKeyAndValue("ring", 8), 1);
    EXPECT_EQ(opened.tree.insertKeyAndValue("ringlet", 3), 1);
    EXPECT_EQ(opened.tree.findValue("ringleader"), 3);
    EXPECT_EQ(opened.tree.findValue("rin"), -1);
    ERLong value = 5;
    ERCString key;
    EXPECT_EQ(opened.tree.findKeyAndValue("ringlets", key, value), 1);
    EXPECT_STREQ(key, "ringle");
    EXPECT_EQ(value, 3);
}

class RandomDiskBTree : public testing::TestWithParam<Shape> {};
INSTANTIATE_TEST_SUITE_P(Shapes, RandomDiskBTree,
                         testing::Values(order1, order2, Shape{4, 170, 170, 1, 3, "AlmostAPage"},
                                         Shape{4, 171, 3, 1, 3, "MoreThanAPage"},
                                         Shape{5, 3, 1, 1, 1, "Order3Minimum1"},
                                         Shape{4, 10, 10, 1, 10, "Order10"},
                                         Shape{7, 2, 2, 0, 0, "StringsWithoutCache"}),
                         testing::PrintToStringParamName());

TEST_P(RandomDiskBTree, AgreesWithAMap) {
    const Shape shape = GetParam();
    const TemporaryFile file;
    Draws draw(2024);
    SCOPED_TRACE("seed 2024");
    Content expected;
    const auto keyOf = [&](unsigned int number) {
        std::string key = std::to_string(number);
        if (shape.binary) key.resize(shape.keyLength, draw(2) == 0 ? '\0' : '\xE9');
        return key;
    };
    auto opened = std::make_unique<OpenedTree>(file, shape);
    for (int step = 0; step < 12000; ++step) {
        const std::string key = keyOf(draw(1500));
        const bool present = expected.count(key) != 0;
        const bool grows = draw(10) < ((step / 3000) % 2 == 0 ? 8u : 2u);
        const auto value = static_cast<ERLong>(draw(1000000));
        ERLong old = -7;
        if (draw(10) == 0) {
            ASSERT_EQ(opened->tree.replaceValue(key.c_str(), value, old), present);
            ASSERT_EQ(old, present ? expected[key] : -7);
            if (present) expected[key] = value;
        } else if (grows && draw(2) == 0) {
            const DiskTreePosition place = opened->tree.seek(key.c_str());
            ASSERT_EQ(place.isFound(), present);
            const std::string other = keyOf(draw(1500));
            if (draw(3) == 0 && opened->tree.remove(other.c_str())) expected.erase(other);
            ASSERT_EQ(opened->tree.insertAt(place, value), expected.emplace(key, value).second);
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
    opened->tree.extraLocation(12);
    opened->tree.clear();
    EXPECT_EQ(opened->tree.entries(), 0u);
    EXPECT_EQ(opened->tree.extraLocation(-1), -1);
    const std::string bytes = file.bytes();
    EXPECT_EQ(RawTree(bytes).keys.size(), 0u);
}

// --- Cost

// A cache made later gets the block size 8, which no node has.
TEST_F(DiskBTree, WarmNodesAreNotReadUntilCacheCountMakesACacheThatHoldsNone) {
    OpenedTree opened(file, {4, 10, 10, 1, 1000});
    backend.resetCounts();
    opened.fill(3000, 2654435761u);
    EXPECT_LE(backend.transferCalls(), 3000u * 3 / 2);
    EXPECT_EQ(opened.tree.cacheCount(1000), 1000u);
    backend.resetCounts();
    EXPECT_EQ(contentOf(opened.tree).size(), 3000u);
    EXPECT_EQ(backend.transferCalls(), 0u);
    const auto height = static_cast<unsigned int>(opened.tree.height());
    EXPECT_EQ(opened.tree.cacheCount(2000), 1000u);
    opened.tree.findValue(binaryKey(1).data());
    EXPECT_EQ(backend.calls(FileCall::read), height - 1);
}

// --- Damage

TEST_F(DiskBTree, AStoredCountThatIsTooSmallStaysAtZero) {
    OpenedTree(file, order1).fill(3);
    std::string bytes = file.bytes();
    setWord(bytes, 284 + 12, 0);
    file.setBytes(bytes);
    OpenedTree opened(file, order1);
    EXPECT_EQ(opened.tree.remove(binaryKey(1).data()), 1);
    EXPECT_EQ(opened.tree.entries(), 0u);
}

TEST_F(DiskBTree, AnInfoRecordLiesWholeAfterTheRootOfTheData) {
    {
        ERFileManager manager(file.path(), 0);
        const ERLong root = manager.allocate(40);
        const ERLong second = manager.allocate(40);
        EXPECT_FALSE(ERBTreeOnDisk::canHaveInfoAt(manager, root));
        EXPECT_TRUE(ERBTreeOnDisk::canHaveInfoAt(manager, second));
        for (const ERLong location : {-1, 0, second + 4, 2147483647})
            EXPECT_FALSE(ERBTreeOnDisk::canHaveInfoAt(manager, location)) << location;
    }
    std::string bytes = file.bytes();
    setWord(bytes, 4, -8);
    file.setBytes(bytes);
    OpenedTree negativeEnd(file, order1, 328);
    EXPECT_FALSE(ERBTreeOnDisk::canHaveInfoAt(negativeEnd.manager, 328));
    EXPECT_EQ(negativeEnd.tree.insertKeyAndValue(binaryKey(1).data(), 1), 0);
}

// --- Failing writes

// The change that met the failure has happened or not; all others are there.
class DiskBTreeFaults : public DiskBTree, public testing::WithParamInterface<Shape> {};
INSTANTIATE_TEST_SUITE_P(Shapes, DiskBTreeFaults, testing::Values(order1, order2),
                         testing::PrintToStringParamName());

TEST_P(DiskBTreeFaults, AFailedWriteLosesNoKey) {
    OpenedTree(file, GetParam()).fill(24, 2);
    const std::string sound = file.bytes();
    for (const Failing failing : {Failing::once, Failing::fromThenOn}) {
        for (const bool growing : {true, false}) {
            bool reached = true;
            for (std::uint64_t n = 1; reached; ++n) {
                SCOPED_TRACE(testing::Message() << "write " << n << (growing ? ", growing" : ""));
                file.setBytes(sound);
                Content expected;
                std::string key;
                try {
                    OpenedTree opened(file, GetParam());
                    ERBTreeOnDisk& tree = opened.tree;
                    expected = contentOf(tree);
                    backend.failCall(FileCall::write, n, failing);
                    for (unsigned int i = 0; i < 24; ++i) {
                        key = binaryKey(i * 17 % 24 * 2 + growing);
                        growing ? tree.insertKeyAndValue(key.data(), 2) : tree.remove(key.data());
                        growing ? expected[key] = 2 : expected.erase(key);
                    }
                } catch (const CFileException&) {
                }
                reached = backend.hasDisturbed();
                backend.clear();
                OpenedTree opened(file, GetParam());
                const bool uncached = failing == Failing::once;
                if (uncached) opened.tree.cacheCount(1);
                Content found = contentOf(opened.tree);
                const Content all = found;
                found.erase(key);
                expected.erase(key);
                ASSERT_EQ(found, expected);
                std::vector<std::string> keys;
                for (const auto& entry : all) keys.push_back(entry.first);
                if (uncached) std::shuffle(keys.begin(), keys.end(), std::mt19937_64(n));
                for (const std::string& each : keys) ASSERT_EQ(opened.tree.remove(each.data()), 1);
                ASSERT_EQ(opened.tree.isEmpty(), 1);
            }
        }
    }
}

}  // namespace
}  // namespace kerf
