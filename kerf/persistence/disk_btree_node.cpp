#include <cstring>

#include "kerf/persistence/disk_btree.h"

namespace kerf {

// A node, one block of (keyLength + 8) * order * 2 + 8 bytes:
//
//           offset                  size
//                0                     4  counter  number of keys
//                4   4 * (2 * order + 1)  sons     locations, -1 when none
//    8 * order + 8         4 * 2 * order  items    the value of each key
//   16 * order + 8 keyLength * 2 * order  keys     ascending

void ERDiskTreeNode::setWord(int i, ERLong value) {
    swapToLittleEndian(&value, 1);
    std::memcpy(block_ + static_cast<std::size_t>(i) * wordSize, &value, wordSize);
}

void ERDiskTreeNode::setSon(int i, ERLong location) { setWord(firstSonWord + i, location); }

void ERDiskTreeNode::setItem(int i, ERLong value) {
    setWord(firstSonWord + tree_->capacity() + 1 + i, value);
}

void ERDiskTreeNode::setKey(int i, const char* key, ERLong value) {
    tree_->copyKey(keys(i), key);
    setItem(i, value);
}

void ERDiskTreeNode::initialize() {
    std::memset(block_, 0, tree_->nodeSize_);
    for (int i = 0; i <= tree_->capacity(); ++i) setSon(i, -1);
}

int ERDiskTreeNode::binarySearch(const char* key, Compare compare) const {
    const unsigned int length = tree_->info_.keyLength;
    const int count = counter();
    if (length == sizeof(ERULong) && compare == ERBTreeOnDisk::compareBytes)
        return searchFourBytes(key, count);
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

// The numbers of an object tree: the same answer without a call for each key.
int ERDiskTreeNode::searchFourBytes(const char* key, int count) const {
    const ERULong wanted = ERBTreeOnDisk::orderOfBytes(key);
    const char* const first = keys(0);
    int low = 0;
    for (int left = count; left > 0;) {
        const int half = left / 2;
        if (ERBTreeOnDisk::orderOfBytes(first + 4 * (low + half)) < wanted) {
            low += half + 1;
            left -= half + 1;
        } else {
            left = half;
        }
    }
    return low;
}

// Ranges may overlap when the source is this node.
void ERDiskTreeNode::copyKeys(const ERDiskTreeNode& source, int from, int to, int count) {
    const auto number = static_cast<std::size_t>(count);
    const int firstItem = firstSonWord + tree_->capacity() + 1;
    std::memmove(keys(to), source.keys(from), number * tree_->info_.keyLength);
    std::memmove(block_ + static_cast<std::size_t>(firstItem + to) * wordSize,
                 source.block_ + static_cast<std::size_t>(firstItem + from) * wordSize,
                 number * wordSize);
}

void ERDiskTreeNode::copySons(const ERDiskTreeNode& source, int from, int to, int count) {
    std::memmove(block_ + static_cast<std::size_t>(firstSonWord + to) * wordSize,
                 source.block_ + static_cast<std::size_t>(firstSonWord + from) * wordSize,
                 static_cast<std::size_t>(count) * wordSize);
}

void ERDiskTreeNode::insert(const char* key, ERLong value, int position, ERLong rightSon) {
    const int behind = counter() - position;
    copyKeys(*this, position, position + 1, behind);
    copySons(*this, position + 1, position + 2, behind);
    setKey(position, key, value);
    setSon(position + 1, rightSon);
    setCounter(position + behind + 1);
}

// Takes out a key and the son before it (son = position) or behind it (son = position + 1).
void ERDiskTreeNode::removeAt(int position, int son) {
    const int count = counter();
    copyKeys(*this, position + 1, position, count - position - 1);
    copySons(*this, son + 1, son, count - son);
    setSon(count, -1);
    setCounter(count - 1);
}

void ERDiskTreeNode::keepFirst(int count) {
    for (int i = count + 1; i <= tree_->capacity(); ++i) setSon(i, -1);
    setCounter(count);
}

}  // namespace kerf
