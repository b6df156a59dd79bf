#include "kerf/persistence/internal/tree_shape.h"

#include <cstring>

namespace kerf {

namespace {

constexpr std::uint64_t largestNode = 4u << 20;

int compareBytes(const char* a, const char* b, unsigned int length) {
    return std::memcmp(a, b, length);
}

int compareText(const char* a, const char* b, unsigned int length) {
    return std::strncmp(a, b, length);
}

}  // namespace

TreeShape::TreeShape(ERULong keyLength, ERULong order, bool binaryKeys)
    : keyLength_(keyLength), order_(order), binaryKeys_(binaryKeys) {
    setCompare(binaryKeys ? compareBytes : compareText);
    if (keyLength == 0 || order == 0 || keyLength > largestNode || order > largestNode) return;
    const std::uint64_t bytes = (std::uint64_t{keyLength} + 8) * order * 2 + 8;
    if (bytes <= largestNode) nodeSize_ = static_cast<unsigned int>(bytes);
}

void TreeShape::setCompare(Compare comparison) {
    compare_ = comparison;
    ranksKeys_ = keyLength_ == sizeof(std::uint32_t) && comparison == compareBytes;
}

ERULong TreeShape::lengthOf(const char* key) const {
    const void* const terminator = binaryKeys_ ? nullptr : std::memchr(key, 0, keyLength_);
    return terminator == nullptr ? keyLength_
                                 : static_cast<ERULong>(static_cast<const char*>(terminator) - key);
}

void TreeShape::copyKey(char* target, const char* key) const {
    const ERULong length = lengthOf(key);
    std::memcpy(target, key, length);
    std::memset(target + length, 0, keyLength_ - length);
}

}  // namespace kerf
