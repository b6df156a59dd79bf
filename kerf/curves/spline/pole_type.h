#pragma once
#include <concepts>
#include <cstddef>
#include <optional>

#include "kerf/numerics/vector.h"
#include "kerf/values/info_point.h"
#include "kerf/values/vector_instances.h"

// What a pole is to the spline kernels: a run of doubles.
namespace kerf {

/// The element types of the kernels. A homogeneous pole counts as a point of one more dimension.
template <class E>
concept SplinePole = std::same_as<E, ERPoint2D> || std::same_as<E, ERPole2DH> ||
    std::same_as<E, ERPoint3D> || std::same_as<E, ERPole3DH>;

namespace spline {

/// Doubles in one pole: 2, 3, 3 and 4.
template <SplinePole E>
inline constexpr unsigned int dimensionOf = sizeof(E) / sizeof(double);

/// The doubles that poles consist of: they are nothing else, in the order of the coordinates.
template <SplinePole E>
const double* doubles(const E* poles) {
    return reinterpret_cast<const double*>(poles);
}
template <SplinePole E>
double* doubles(E* poles) {
    return reinterpret_cast<double*>(poles);
}

/// What an evaluation with derivatives returns.
template <SplinePole E>
struct InfoPointOf {
    using type = ERInfoPoint3DWF;
};
template <>
struct InfoPointOf<ERPoint2D> {
    using type = ERInfoPoint2D;
};
template <>
struct InfoPointOf<ERPole2DH> {
    using type = ERInfoPoint2D;
};

/// Work space: on the stack for the sizes that occur, else from the thread's block cache.
template <unsigned int OnStack>
class Scratch {
public:
    explicit Scratch(std::size_t n) {
        if (n > OnStack) data_ = large_.emplace(static_cast<unsigned int>(n)).data();
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    double* data() { return data_; }
    double& operator[](std::size_t i) { return data_[i]; }

private:
    double small_[OnStack];
    std::optional<ERVec<double>> large_;
    double* data_ = small_;
};

/// The degree up to which the kernels work on the stack.
inline constexpr unsigned int degreeOnStack = 24;

}  // namespace spline
}  // namespace kerf
