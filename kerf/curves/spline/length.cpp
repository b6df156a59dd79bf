#include "kerf/curves/spline/length.h"

#include <algorithm>
#include <cmath>

#include "kerf/curves/spline/knot_insertion.h"
#include "kerf/curves/spline/pole_type.h"

namespace kerf::spline {

namespace {

constexpr double finestLength = 1e-8;
constexpr double rounding = 1e-15;  // of the polygon
constexpr unsigned int maxHalvings = 60;

// Whether the mean of the chord and the polygon is the length. Each pole is divided by its weight once.
template <unsigned int Dim, bool Rational>
inline bool isSettled(const double* poles, unsigned int n, double tol, unsigned int depth,
                      double& mean) {
    constexpr unsigned int axes = Rational ? Dim - 1 : Dim;
    double first[axes], former[axes];
    double polygon = 0.0, square = 0.0;
    for (unsigned int i = 0; i < n; ++i) {
        const double* const pole = poles + std::size_t{i} * Dim;
        const double scale = Rational ? 1.0 / pole[axes] : 1.0;
        double side = 0.0;
        square = 0.0;
        for (unsigned int k = 0; k < axes; ++k) {
            const double c = Rational ? pole[k] * scale : pole[k];
            if (i == 0) first[k] = former[k] = c;
            side += (c - former[k]) * (c - former[k]);
            square += (c - first[k]) * (c - first[k]);
            former[k] = c;
        }
        polygon += std::sqrt(side);
    }
    const double chord = std::sqrt(square);
    mean = (polygon + chord) * 0.5;
    return tol < finestLength || depth == maxHalvings ||
           !(polygon - chord > std::max(tol, rounding * polygon));
}

// The length of poles that are not settled. Both halves are looked at before one is gone into, since
// the two do not wait for each other. Count is n, or 0 for any n.
template <unsigned int Dim, bool Rational, unsigned int Count>
double halvedLength(const double* poles, unsigned int anyCount, double tol, unsigned int depth) {
    const unsigned int n = Count > 0 ? Count : anyCount;
    const std::size_t size = std::size_t{n} * Dim;
    Scratch<2 * Dim*(Count > 0 ? Count : degreeOnStack + 1)> halves(2 * size);
    double* const left = halves.data();
    double* const right = left + size;
    std::copy_n(poles, size, right);
    for (unsigned int level = 0; level < n; ++level) {
        for (unsigned int k = 0; k < Dim; ++k) left[level * Dim + k] = right[k];
        for (unsigned int k = 0; k < (n - 1 - level) * Dim; ++k)
            right[k] = right[k] * 0.5 + right[k + Dim] * 0.5;
    }
    double first = 0.0, second = 0.0;
    const bool firstSettled = isSettled<Dim, Rational>(left, n, tol * 0.5, depth + 1, first);
    const bool secondSettled = isSettled<Dim, Rational>(right, n, tol * 0.5, depth + 1, second);
    if (!firstSettled) first = halvedLength<Dim, Rational, Count>(left, n, tol * 0.5, depth + 1);
    if (!secondSettled) second = halvedLength<Dim, Rational, Count>(right, n, tol * 0.5, depth + 1);
    return first + second;
}

template <unsigned int Dim, bool Rational>
double lengthOf(const double* poles, unsigned int n, double tol, unsigned int depth) {
    double mean = 0.0;
    if (isSettled<Dim, Rational>(poles, n, tol, depth, mean)) return mean;
    switch (n) {
        case 3:
            return halvedLength<Dim, Rational, 3>(poles, n, tol, depth);
        case 4:
            return halvedLength<Dim, Rational, 4>(poles, n, tol, depth);
        default:
            return halvedLength<Dim, Rational, 0>(poles, n, tol, depth);
    }
}

template <unsigned int Dim>
double lengthOf(const double* poles, unsigned int n, const double* knots, unsigned int degree,
                double tol, unsigned int depth) {
    if (n == degree + 1) return lengthOf<Dim, true>(poles, n, tol, depth);
    double mean = 0.0;
    if (isSettled<Dim, true>(poles, n, tol, depth, mean)) return mean;
    const double middle = (knots[0] + knots[n + degree]) * 0.5;
    if (!(knots[0] < middle && middle < knots[n + degree])) return mean;

    const unsigned int times = degree + 1, room = n + times;
    constexpr unsigned int onStack = 40;
    Scratch<onStack> inserted(times);
    std::fill_n(inserted.data(), times, middle);
    Scratch<onStack * Dim> newPoles(std::size_t{room} * Dim);
    Scratch<2 * onStack> newKnots(room + times);
    const unsigned int count = insertKnots(poles, n, Dim, knots, degree, inserted.data(), times,
                                           newPoles.data(), newKnots.data());
    const double* const first = newKnots.data();
    const auto [lower, upper] = std::equal_range(first, first + n + times + count, middle);
    const auto left = static_cast<unsigned int>(lower - first);
    const auto right = static_cast<unsigned int>(upper - first) - times;
    return lengthOf<Dim>(newPoles.data(), left, first, degree, tol * 0.5, depth + 1) +
           lengthOf<Dim>(newPoles.data() + std::size_t{right} * Dim, n + count - right,
                         first + right, degree, tol * 0.5, depth + 1);
}

}  // namespace

double bezierLength(const double* poles, unsigned int n, unsigned int dim, bool rational,
                    double tol) {
    if (n == 0) return 0.0;
    if (dim == 2) return lengthOf<2, false>(poles, n, tol, 0);
    if (dim == 4) return lengthOf<4, true>(poles, n, tol, 0);
    return rational ? lengthOf<3, true>(poles, n, tol, 0) : lengthOf<3, false>(poles, n, tol, 0);
}

double splineLength(const double* poles, unsigned int n, unsigned int dim, const double* knots,
                    unsigned int degree, double tol) {
    if (n == 0) return 0.0;
    return dim == 3 ? lengthOf<3>(poles, n, knots, degree, tol, 0)
                    : lengthOf<4>(poles, n, knots, degree, tol, 0);
}

}  // namespace kerf::spline
