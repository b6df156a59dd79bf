#pragma once
#include <cstddef>
#include <cstring>

#include "kerf/persistence/internal/tree_shape.h"
#include "kerf/platform/config.h"
#include "kerf/platform/internal/byte_order.h"

namespace kerf {

class ERBTreeOnDisk;

/// One node of a tree: a view of bytes that lie as in the file. It owns nothing, and may view
/// nothing at all.
///
///           offset                  size
///                0                     4  counter  number of keys
///                4   4 * (2 * order + 1)  sons     locations, -1 when there is none
///    8 * order + 8         4 * 2 * order  items    the value of each key
///   16 * order + 8 keyLength * 2 * order  keys     ascending
///
/// The son at i leads to the keys between those at i - 1 and i. Positions of keys are from 0 up to
/// 2 * order - 1, those of sons up to 2 * order.
class KERF_EXPORT ERDiskTreeNode {
public:
    using Compare = TreeShape::Compare;

    ERDiskTreeNode(const ERBTreeOnDisk* tree, char* bytes);
    ERDiskTreeNode(const TreeShape& shape, char* bytes) : shape_(&shape), block_(bytes) {}

    explicit operator bool() const { return block_ != nullptr; }
    const TreeShape& shape() const { return *shape_; }
    char* bytes() const { return block_; }
    void copyFrom(const ERDiskTreeNode& source) {
        std::memcpy(block_, source.block_, shape_->nodeSize());
    }

    /// The number of keys: 0 when the stored one is not within 0 to 2 * order.
    int counter() const { return hasSoundCounter() ? word(0) : 0; }
    bool hasSoundCounter() const { return word(0) >= 0 && word(0) <= shape_->capacity(); }
    ERLong sons(int i) const { return word(firstSonWord + i); }
    ERLong items(int i) const { return word(firstSonWord + shape_->capacity() + 1 + i); }
    /// keyLength bytes.
    char* keys(int i) const {
        const std::size_t words = 2 * static_cast<std::size_t>(shape_->capacity()) + 2;
        return block_ + words * wordSize + static_cast<std::size_t>(i) * shape_->keyLength();
    }
    bool isLeaf() const { return sons(0) == -1; }

    /// The position of the first key that is >= key; counter() when there is none.
    int binarySearch(const char* key, Compare compare) const;
    /// As above, in the tree's own order.
    int positionOf(const char* key) const {
        return shape_->ranksKeys() ? searchRanks(key) : binarySearch(key, shape_->compare());
    }
    bool hasKeyAt(int position, const char* key) const {
        return position < counter() && shape_->compareKeys(keys(position), key) == 0;
    }

    /// No keys, no sons, and zeros elsewhere.
    void initialize();
    /// Puts the key in at the position, and rightSon after it. The node must not be full.
    void insert(const char* key, ERLong value, int position, ERLong rightSon);
    /// Takes out the key at the position, and one of the two sons beside it.
    void removeAt(int position, int son);
    /// Takes out the keys from `count` on, and the sons after them.
    void keepFirst(int count);

    void setCounter(int count) { setWord(0, count); }
    void setSon(int i, ERLong location) { setWord(firstSonWord + i, location); }
    void setItem(int i, ERLong value);
    void setKey(int i, const char* key, ERLong value);
    /// Copies keys with their values, or sons, from a node that may be this one.
    void copyKeys(const ERDiskTreeNode& source, int from, int to, int count);
    void copySons(const ERDiskTreeNode& source, int from, int to, int count);

private:
    static constexpr std::size_t wordSize = sizeof(ERLong);
    static constexpr int firstSonWord = 1;

    ERLong word(int i) const {
        ERLong value;
        std::memcpy(&value, block_ + static_cast<std::size_t>(i) * wordSize, wordSize);
        swapToLittleEndian(&value, 1);
        return value;
    }
    void setWord(int i, ERLong value);
    void moveWords(const ERDiskTreeNode& source, int from, int to, int count);
    int searchRanks(const char* key) const;

    const TreeShape* shape_;
    char* block_;
};

}  // namespace kerf
