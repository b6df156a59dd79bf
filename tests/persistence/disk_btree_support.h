#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/file_manager.h"
#include "tests/support/temporary_file.h"

// What the tests of trees share: a tree on a file, and a reader of the file's bytes that knows the
// layout and nothing of the code.
namespace kerf::test {

using Content = std::map<std::string, ERLong>;

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

inline ERLong wordAt(const std::string& bytes, std::size_t offset) {
    ERULong value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= static_cast<ERULong>(static_cast<unsigned char>(bytes.at(offset + i))) << (8 * i);
    return static_cast<ERLong>(value);
}

inline void setWord(std::string& bytes, std::size_t offset, ERLong value) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes.at(offset + i) = static_cast<char>(static_cast<ERULong>(value) >> (8 * i));
}

inline std::string words(std::initializer_list<ERLong> values) {
    std::string bytes(4 * values.size(), '\0');
    std::size_t offset = 0;
    for (const ERLong value : values) {
        setWord(bytes, offset, value);
        offset += 4;
    }
    return bytes;
}

struct Shape {
    unsigned int keyLength = 4;
    unsigned int order = 2;
    unsigned int minOrder = 2;
    int binary = 1;
    unsigned int slots = 10;
};

/// A manager and a tree on one file, in the right order.
struct OpenedTree {
    OpenedTree(const TemporaryFile& onDisk, const Shape& shape,
               ERBTreeOnDisk::createMode mode = ERBTreeOnDisk::open, ERLong location = -1,
               int readOnly = 0)
        : manager(onDisk.path(), readOnly),
          tree(manager, shape.slots, mode, shape.keyLength, shape.binary, location, shape.order,
               shape.minOrder) {}

    ERFileManager manager;
    ERBTreeOnDisk tree;
};

inline Content contentOf(ERBTreeOnDisk& tree) {
    struct Walk {
        Content content;
        std::string last;
        unsigned int length;
        bool binary;
        bool ascending = true;
    } state{{}, {}, tree.keyLength(), tree.ignoreNulls() != 0};
    tree.applyToKeyAndValue(
        [](const char* key, ERLong value, void* data) {
            Walk& walk = *static_cast<Walk*>(data);
            const std::string found(key, walk.binary ? walk.length : strnlen(key, walk.length));
            if (!walk.content.empty() && !(walk.last < found)) walk.ascending = false;
            walk.content[found] = value;
            walk.last = found;
        },
        &state, 1);
    EXPECT_TRUE(state.ascending);
    return state.content;
}

/// Reads a tree from the bytes of a file, by the layout alone, and checks what must hold of it.
class RawTree {
public:
    RawTree(const std::string& fileBytes, ERLong infoLocation) : bytes(fileBytes) {
        const auto info = static_cast<std::size_t>(infoLocation);
        EXPECT_EQ(wordAt(bytes, info + 8), 1365);
        root = wordAt(bytes, info);
        entries = wordAt(bytes, info + 12);
        keyLength = static_cast<std::size_t>(wordAt(bytes, info + 16));
        capacity = static_cast<std::size_t>(2 * wordAt(bytes, info + 20));
        minOrder = wordAt(bytes, info + 24);
        if (root != -1) visit(root, 0);
        EXPECT_EQ(static_cast<std::size_t>(entries), keys.size());
        EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
        EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end());
    }

    /// Neither another node nor a free block lies on a node.
    void expectApartFromFreeSpace() const {
        std::map<ERLong, ERLong> taken;
        const auto take = [&](ERLong start, ERLong end) {
            const auto next = taken.lower_bound(start);
            EXPECT_TRUE(next == taken.end() || end <= next->first);
            EXPECT_TRUE(next == taken.begin() || std::prev(next)->second <= start);
            EXPECT_LE(end, wordAt(bytes, 4));
            taken[start] = end;
        };
        for (const ERLong node : nodes)
            take(node - 4, node - 4 + wordAt(bytes, static_cast<std::size_t>(node) - 4));
        std::size_t list = 12;
        do {
            for (std::size_t i = 0; i < static_cast<std::size_t>(wordAt(bytes, list + 260)); ++i) {
                const ERLong start = wordAt(bytes, list + 4 + 4 * i);
                take(start, start + wordAt(bytes, list + 132 + 4 * i));
            }
            list = static_cast<std::size_t>(wordAt(bytes, list + 264));
        } while (list != 12);
    }

    ERLong root;
    ERLong entries;
    std::vector<std::string> keys;
    std::vector<ERLong> nodes;
    int leafDepth = -1;

private:
    void visit(ERLong location, int depth) {
        nodes.push_back(location);
        const auto start = static_cast<std::size_t>(location);
        const ERLong count = wordAt(bytes, start);
        ASSERT_LE(static_cast<std::size_t>(count), capacity);
        ASSERT_GE(count, location == root ? 1 : minOrder);
        const bool isLeaf = wordAt(bytes, start + 4) == -1;
        if (isLeaf) {
            ASSERT_TRUE(leafDepth == -1 || leafDepth == depth);
            leafDepth = depth;
        }
        for (std::size_t i = 0; i <= static_cast<std::size_t>(count); ++i) {
            const ERLong son = wordAt(bytes, start + 4 + 4 * i);
            ASSERT_EQ(son == -1, isLeaf);
            if (!isLeaf) visit(son, depth + 1);
            if (i < static_cast<std::size_t>(count))
                keys.push_back(bytes.substr(start + 8 * capacity + 8 + i * keyLength, keyLength));
        }
        for (std::size_t i = static_cast<std::size_t>(count) + 1; i <= capacity; ++i)
            ASSERT_EQ(wordAt(bytes, start + 4 + 4 * i), -1);
    }

    const std::string& bytes;
    std::size_t keyLength;
    std::size_t capacity;
    ERLong minOrder;
};

inline std::string binaryKey(unsigned int number) {
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16),
            static_cast<char>(number >> 8), static_cast<char>(number)};
}

}  // namespace kerf::test
