#pragma once
#include <cstddef>
#include <cstdint>

#include "kerf/platform/config.h"

namespace kerf {

/// What the nodes of a tree have in common: their sizes, and how keys are compared and copied.
/// Binary keys are keyLength bytes, string keys end at a byte 0 or after keyLength bytes.
class KERF_EXPORT TreeShape {
public:
    using Compare = int (*)(const char*, const char*, unsigned int);

    TreeShape() = default;
    TreeShape(ERULong keyLength, ERULong order, bool binaryKeys);

    /// (keyLength + 8) * order * 2 + 8 bytes; 0 when that is more than 4 MiB, or a size is 0.
    unsigned int nodeSize() const { return nodeSize_; }
    ERULong keyLength() const { return keyLength_; }
    /// The most keys that a node holds.
    int capacity() const { return static_cast<int>(2 * order_); }

    Compare compare() const { return compare_; }
    void setCompare(Compare comparison);

    int compareKeys(const char* a, const char* b) const {
        if (!ranksKeys_) return compare_(a, b, keyLength_);
        const std::uint32_t first = rankOf(a);
        const std::uint32_t second = rankOf(b);
        return first < second ? -1 : first > second;
    }
    /// Whether keys are four bytes in the order of their ranks.
    bool ranksKeys() const { return ranksKeys_; }
    /// A number that orders four bytes as memcmp does.
    static std::uint32_t rankOf(const char* key) {
        const auto byte = [key](int i) {
            return static_cast<std::uint32_t>(static_cast<unsigned char>(key[i]));
        };
        return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
    }

    /// The bytes of the key before its end.
    ERULong lengthOf(const char* key) const;
    /// Copies the key; a string is followed by zeros up to keyLength.
    void copyKey(char* target, const char* key) const;

private:
    ERULong keyLength_ = 0;
    ERULong order_ = 0;
    bool binaryKeys_ = false;
    unsigned int nodeSize_ = 0;
    Compare compare_ = nullptr;
    bool ranksKeys_ = false;
};

}  // namespace kerf
