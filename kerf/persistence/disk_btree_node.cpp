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

// For the numbers of an object tree: the same result without a call for each key, and without a
// branch that the processor would have to guess.
int ERDiskTreeNode::searchRanks(const char* key) const {
    const std::uint32_t wanted = TreeShape::rankOf(key);
    const char* first = keys(0);
    const char* const begin = first;
    int left = counter();
    if (left == 0) return 0;
    while (left > 1) {
        const int half = left / 2;
        const char* const middle = first + 4 * static_cast<std::ptrdiff_t>(half);
        first = TreeShape::rankOf(middle - 4) < wanted ? middle : first;
        left -= half;
    }
    return static_cast<int>((first - begin) / 4) + (TreeShape::rankOf(first) < wanted ? 1 : 0);
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
