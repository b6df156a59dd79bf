#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// A number as the key of a binary tree: its four bytes, low byte first. Trees order such keys by
/// their bytes, not by their value.
class NumberKey {
public:
    static constexpr unsigned int length = 4;

    explicit NumberKey(ERLong number) {
        const ERULong bits = static_cast<ERULong>(number);
        for (unsigned int i = 0; i < length; ++i)
            bytes_[i] = static_cast<char>((bits >> (8 * i)) & 0xFF);
    }

    operator const char*() const { return bytes_; }

    static ERLong numberOf(const char* key) {
        ERULong bits = 0;
        for (unsigned int i = 0; i < length; ++i)
            bits |= static_cast<ERULong>(static_cast<unsigned char>(key[i])) << (8 * i);
        return static_cast<ERLong>(bits);
    }

private:
    char bytes_[length];
};

}  // namespace kerf
