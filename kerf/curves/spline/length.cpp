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

template <unsigned int Dim, bool Rational>
inline double distanceOf(const double* a, const double* b) {
    constexpr unsigned int axes = Rational ? Dim - 1 : Dim;
    double sum = 0.0;
    for (unsigned int k = 0; k < axes; ++k) {
        const double step = Rational ? b[k] / b[axes] - a[k] / a[axes] : b[k] - a[k];
        sum += step * step;
    }
    return std::sqrt(sum);
}

// Whether the mean of the chord and the polygon, written to `mean`, is the length.
template <unsigned int Dim, bool Rational>
bool isSettled(const double* poles, unsigned int n, double tol, unsigned int depth, double& mean) {
    double polygon = 0.0;
    for (unsigned int i = 1; i < n; ++i) {
        const double* const pole = poles + std::size_t{i} * Dim;
        polygon += distanceOf<Dim, Rational>(pole - Dim, pole);
    }
    const double chord = distanceOf<Dim, Rational>(poles, poles + (std::size_t{n} - 1) * Dim);
    mean = (polygon + chord) * 0.5;
    return tol < finestLength || depth == maxHalvings ||
           !(polygon - chord > std::max(tol, rounding * polygon));
}

template <unsigned int Dim, bool Rational>
double lengthOf(const double* poles, unsigned int n, double tol, unsigned int depth) {
    double mean = 0.0;
    if (isSettled<Dim, Rational>(poles, n, tol, depth, mean)) return mean;
    const std::size_t size = std::size_t{n} * Dim;
    Scratch<2 * Dim*(degreeOnStack + 1)> halves(2 * size);
    double* const left = halves.data();
    double* const right = left + size;
    std::copy_n(poles, size, right);
    for (std::size_t last = size; last > 0; last -= Dim) {
        for (unsigned int k = 0; k < Dim; ++k) left[size - last + k] = right[k];
        for (std::size_t k = 0; k + Dim < last; ++k)
            right[k] = right[k] * 0.5 + right[k + Dim] * 0.5;
    }
    return lengthOf<Dim, Rational>(left, n, tol * 0.5, depth + 1) +
           lengthOf<Dim, Rational>(right, n, tol * 0.5, depth + 1);
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
