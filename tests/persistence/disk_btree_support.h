#pragma once
#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "kerf/persistence/disk_btree.h"
#include "kerf/persistence/file_manager.h"
#include "tests/persistence/heap_support.h"
#include "tests/support/temporary_file.h"

// What the tests of trees share: a tree on a file, and a reader of the file's bytes.
namespace kerf::test {

using Content = std::map<std::string, ERLong>;

struct Shape {
    unsigned int keyLength = 4;
    unsigned int order = 2;
    unsigned int minOrder = 2;
    int binary = 1;
    unsigned int slots = 10;
    const char* name = "Default";
};

/// The name of a parametrised test.
inline void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.name; }

inline std::string binaryKey(unsigned int number) {
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16),
            static_cast<char>(number >> 8), static_cast<char>(number)};
}

/// A manager and a tree on one file, in the right order.
struct OpenedTree {
    OpenedTree(const TemporaryFile& onDisk, const Shape& shape, ERLong location = -1,
               int readOnly = 0)
        : manager(onDisk.path(), readOnly),
          tree(manager, shape.slots, ERBTreeOnDisk::open, shape.keyLength, shape.binary, location,
               shape.order, shape.minOrder) {}

    /// The first numbers as keys, all of the value 1.
    void fill(unsigned int count, unsigned int step = 1) {
        for (unsigned int i = 0; i < count; ++i)
            ASSERT_EQ(tree.insertKeyAndValue(binaryKey(step * i).data(), 1), 1);
    }

    ERFileManager manager;
    ERBTreeOnDisk tree;
};

inline Content contentOf(ERBTreeOnDisk& tree) {
    struct Walk {
        Content content;
        unsigned int length;
        bool binary;
    } walk{{}, tree.keyLength(), tree.ignoreNulls() != 0};
    tree.applyToKeyAndValue(
        [](const char* key, ERLong value, void* data) {
            auto& [content, length, binary] = *static_cast<Walk*>(data);
            const std::string found(key, binary ? length : strnlen(key, length));
            EXPECT_TRUE(content.empty() || content.rbegin()->first < found);
            content[found] = value;
        },
        &walk, 1);
    return walk.content;
}

/// Reads a tree from the bytes of a file, by the layout alone, and checks what must hold of it.
class RawTree {
public:
    explicit RawTree(const std::string& fileBytes) : bytes_(fileBytes) {
        EXPECT_EQ(wordAt(bytes_, 284 + 8), 1365);
        root_ = wordAt(bytes_, 284);
        keyLength_ = static_cast<std::size_t>(wordAt(bytes_, 284 + 16));
        capacity_ = 2 * static_cast<std::size_t>(wordAt(bytes_, 284 + 20));
        if (root_ != -1) visit(root_, 0);
        EXPECT_EQ(static_cast<std::size_t>(wordAt(bytes_, 284 + 12)), keys.size());
        EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end(), std::less_equal<>()));
        expectSoundHeap(bytes_, nodes);
    }

    std::vector<std::string> keys;
    std::vector<ERLong> nodes;
    int leafDepth = -1;

private:
    void visit(ERLong location, int depth) {
        nodes.push_back(location);
        const auto start = static_cast<std::size_t>(location);
        const std::size_t size = 8 + (keyLength_ + 8) * capacity_;
        ASSERT_TRUE(size > 4096 || start % 4096 + size <= 4096) << "half of it may be lost";
        const auto count = static_cast<std::size_t>(wordAt(bytes_, start));
        ASSERT_LE(count, capacity_);
        ASSERT_GE(wordAt(bytes_, start), location == root_ ? 1 : wordAt(bytes_, 284 + 24));
        const bool isLeaf = wordAt(bytes_, start + 4) == -1;
        if (isLeaf) {
            ASSERT_TRUE(leafDepth == -1 || leafDepth == depth);
            leafDepth = depth;
        }
        for (std::size_t i = 0; i <= capacity_; ++i) {
            const ERLong son = wordAt(bytes_, start + 4 + 4 * i);
            ASSERT_EQ(son == -1, isLeaf || i > count);
            if (son != -1) visit(son, depth + 1);
            if (i < count)
                keys.push_back(
                    bytes_.substr(start + 8 * capacity_ + 8 + i * keyLength_, keyLength_));
        }
    }

    const std::string& bytes_;
    ERLong root_;
    std::size_t keyLength_;
    std::size_t capacity_;
};

}  // namespace kerf::test
