#include <cstdint>
#include <cstring>

#include "kerf/persistence/disk_btree.h"
#include "kerf/platform/byte_order.h"

namespace kerf {

// A node, one block of (keyLength + 8) * order * 2 + 8 bytes:
//
//           offset                  size
//                0                     4  counter  number of keys
//                4   4 * (2 * order + 1)  sons     locations, -1 when none
//    8 * order + 8         4 * 2 * order  items    the value of each key
//   16 * order + 8 keyLength * 2 * order  keys     ascending

namespace {

constexpr std::size_t wordSize = sizeof(ERLong);
constexpr int firstSonWord = 1;

// The order of four bytes as memcmp sees it.
std::uint32_t orderOfBytes(const char* key) {
    const auto byte = [key](int i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(key[i]));
    };
    return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

}  // namespace

ERLong ERDiskTreeNode::word(int i) const {
    ERLong value;
    std::memcpy(&value, block + static_cast<std::size_t>(i) * wordSize, wordSize);
    swapToLittleEndian(&value, 1);
    return value;
}

void ERDiskTreeNode::setWord(int i, ERLong value) {
    swapToLittleEndian(&value, 1);
    std::memcpy(block + static_cast<std::size_t>(i) * wordSize, &value, wordSize);
}

bool ERDiskTreeNode::hasSoundCounter() const { return word(0) >= 0 && word(0) <= tree->capacity(); }

int ERDiskTreeNode::counter() const { return hasSoundCounter() ? word(0) : 0; }

ERLong ERDiskTreeNode::sons(int i) const { return word(firstSonWord + i); }

void ERDiskTreeNode::setSon(int i, ERLong location) { setWord(firstSonWord + i, location); }

ERLong ERDiskTreeNode::items(int i) const { return word(firstSonWord + tree->capacity() + 1 + i); }

void ERDiskTreeNode::setItem(int i, ERLong value) {
    setWord(firstSonWord + tree->capacity() + 1 + i, value);
}

char* ERDiskTreeNode::keys(int i) const {
    const std::size_t words = static_cast<std::size_t>(2 * tree->capacity() + 2);
    return block + words * wordSize + static_cast<std::size_t>(i) * tree->info.keyLength;
}

void ERDiskTreeNode::setKey(int i, const char* key, ERLong value) {
    tree->copyKey(keys(i), key);
    setItem(i, value);
}

void ERDiskTreeNode::initialize() {
    std::memset(block, 0, tree->nodeSize);
    for (int i = 0; i <= tree->capacity(); ++i) setSon(i, -1);
}

int ERDiskTreeNode::binarySearch(const char* key, Compare compare) const {
    const unsigned int length = tree->info.keyLength;
    const int count = counter();
    if (length == sizeof(std::uint32_t) && compare == ERBTreeOnDisk::compareBytes)
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
    const std::uint32_t wanted = orderOfBytes(key);
    const char* const first = keys(0);
    int low = 0;
    for (int left = count; left > 0;) {
        const int half = left / 2;
        if (orderOfBytes(first + 4 * (low + half)) < wanted) {
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
    const int firstItem = firstSonWord + tree->capacity() + 1;
    std::memmove(keys(to), source.keys(from), number * tree->info.keyLength);
    std::memmove(block + static_cast<std::size_t>(firstItem + to) * wordSize,
                 source.block + static_cast<std::size_t>(firstItem + from) * wordSize,
                 number * wordSize);
}

void ERDiskTreeNode::copySons(const ERDiskTreeNode& source, int from, int to, int count) {
    std::memmove(block + static_cast<std::size_t>(firstSonWord + to) * wordSize,
                 source.block + static_cast<std::size_t>(firstSonWord + from) * wordSize,
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
    for (int i = count + 1; i <= tree->capacity(); ++i) setSon(i, -1);
    setCounter(count);
}

}  // namespace kerf
