#pragma once
#include <cstdint>

#include "kerf/platform/config.h"

namespace kerf {

/// What a binaryStoreSize returns for so many bytes; all ones, which no file has room for, when 32
/// bits do not hold them.
constexpr ERULong storeSizeFrom(std::uint64_t bytes) {
    return bytes < 0xFFFFFFFFu ? static_cast<ERULong>(bytes) : 0xFFFFFFFFu;
}

/// The sum of sizes, none of them negative, in the same way.
template <class... Sizes>
constexpr ERULong storeSizeSum(Sizes... sizes) {
    return storeSizeFrom((std::uint64_t{0} + ... + static_cast<std::uint64_t>(sizes)));
}

}  // namespace kerf
