#pragma once
#include <type_traits>

// Loops unrolled for the sizes that occur.
namespace kerf::spline {

/// Calls visit with n as a constant when it is one of Sizes. Returns whether it was.
template <unsigned int... Sizes, class Visit>
inline bool visitFixed(unsigned int n, Visit visit) {
    return ((n == Sizes && (visit(std::integral_constant<unsigned int, Sizes>()), true)) || ...);
}

}  // namespace kerf::spline
