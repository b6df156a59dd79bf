#pragma once
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

// Files and archives are little-endian whatever the host. This is the one place that knows the
// host's own order.
namespace kerf {

constexpr bool hostIsLittleEndian = std::endian::native == std::endian::little;
static_assert(hostIsLittleEndian || std::endian::native == std::endian::big);

/// Converts values in place from the host's order to the file's or back; does nothing on a
/// little-endian host.
template <class T>
void swapToLittleEndian([[maybe_unused]] T* values, [[maybe_unused]] std::size_t count) {
    if constexpr (!hostIsLittleEndian && sizeof(T) > 1) {
        for (std::size_t i = 0; i < count; ++i) {
            unsigned char bytes[sizeof(T)];
            std::memcpy(bytes, values + i, sizeof(T));
            std::reverse(bytes, bytes + sizeof(T));
            std::memcpy(values + i, bytes, sizeof(T));
        }
    }
}

}  // namespace kerf
