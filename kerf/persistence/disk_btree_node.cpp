#include "kerf/persistence/disk_btree_node.h"

#include "kerf/persistence/disk_btree.h"

namespace kerf {

ERDiskTreeNode::ERDiskTreeNode(const ERBTreeOnDisk* tree, char* bytes)
    : ERDiskTreeNode(tree->shape_, bytes) {}

void ERDiskTreeNode::setWord(int i, ERLong value) {
    swapToLittleEndian(&value, 1);
    std::memcpy(block_ + static_cast<std::size_t>(i) * wordSize, &value, wordSize);
}

void ERDiskTreeNode::setItem(int i, ERLong value) {
    setWord(firstSonWord + shape_->capacity() + 1 + i, value);
}

void ERDiskTreeNode::setKey(int i, const char* key, ERLong value) {
    shape_->copyKey(keys(i), key);
    setItem(i, value);
}

void ERDiskTreeNode::initialize() {
    std::memset(block_, 0, shape_->nodeSize());
    for (int i = 0; i <= shape_->capacity(); ++i) setSon(i, -1);
}

int ERDiskTreeNode::binarySearch(const char* key, Compare compare) const {
    const unsigned int length = shape_->keyLength();
    const int count = counter();
    if (shape_->ranksKeys(compare)) return searchFourBytes(key, count);
    if (count == 0 || compare(keys(0), key, length) >= 0) return 0;
    if (compare(keys(count - 1), key, length) < 0) return count;
    int low = 0;
    int high = count - 1;
    while (high - low > 1) {
        const int middle = low + (high - low) / 2;
        (compare(keys(middle), key, length) < 0 ? low : high) = middle;
    }
    return high;
}

// For the numbers of an object tree: the same result without a call for each key.
int ERDiskTreeNode::searchFourBytes(const char* key, int count) const {
    const std::uint32_t wanted = TreeShape::rankOf(key);
    const char* const first = keys(0);
    int low = 0;
    for (int left = count; left > 0;) {
        const int half = left / 2;
        if (TreeShape::rankOf(first + 4 * (low + half)) < wanted) {
            low += half + 1;
            left -= half + 1;
        } else {
            left = half;
        }
    }
    return low;
}

void ERDiskTreeNode::moveWords(const ERDiskTreeNode& source, int from, int to, int count) {
    std::memmove(block_ + static_cast<std::size_t>(to) * wordSize,
                 source.block_ + static_cast<std::size_t>(from) * wordSize,
                 static_cast<std::size_t>(count) * wordSize);
}

void ERDiskTreeNode::copyKeys(const ERDiskTreeNode& source, int from, int to, int count) {
    const int firstItem = firstSonWord + shape_->capacity() + 1;
    std::memmove(keys(to), source.keys(from),
                 static_cast<std::size_t>(count) * shape_->keyLength());
    moveWords(source, firstItem + from, firstItem + to, count);
}

void ERDiskTreeNode::copySons(const ERDiskTreeNode& source, int from, int to, int count) {
    moveWords(source, firstSonWord + from, firstSonWord + to, count);
}

void ERDiskTreeNode::insert(const char* key, ERLong value, int position, ERLong rightSon) {
    const int after = counter() - position;
    copyKeys(*this, position, position + 1, after);
    copySons(*this, position + 1, position + 2, after);
    setKey(position, key, value);
    setSon(position + 1, rightSon);
    setCounter(position + after + 1);
}

void ERDiskTreeNode::removeAt(int position, int son) {
    const int count = counter();
    copyKeys(*this, position + 1, position, count - position - 1);
    copySons(*this, son + 1, son, count - son);
    setSon(count, -1);
    setCounter(count - 1);
}

void ERDiskTreeNode::keepFirst(int count) {
    for (int i = count + 1; i <= shape_->capacity(); ++i) setSon(i, -1);
    setCounter(count);
}

}  // namespace kerf
