#pragma once
#include <cstdlib>

namespace kerf {

/// The largest number that randomDraw returns, on every platform.
constexpr int largestRandomDraw = 32767;

/// The standard library's draw cut to 15 bits: 0 to 32767, seeded by std::srand.
inline int randomDraw() { return std::rand() & largestRandomDraw; }

}  // namespace kerf
