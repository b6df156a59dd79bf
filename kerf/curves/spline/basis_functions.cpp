#include "kerf/curves/spline/basis_functions.h"

#include <algorithm>
#include <utility>

#include "kerf/curves/spline/fixed_size.h"
#include "kerf/curves/spline/pole_type.h"

namespace kerf::spline {

namespace {

// left[j] and right[j], j from 1, are the distances of u from the j-th knot below and above.
inline void triangle(const double* knots, unsigned int span, double u, unsigned int degree,
                     double* left, double* right, double* values) {
    values[0] = 1.0;
    for (unsigned int j = 1; j <= degree; ++j) {
        left[j] = u - knots[span + 1 - j];
        right[j] = knots[span + j] - u;
        double carried = 0.0;
        for (unsigned int r = 0; r < j; ++r) {
            const double part = values[r] / (right[r + 1] + left[j - r]);
            values[r] = carried + right[r + 1] * part;
            carried = left[j - r] * part;
        }
        values[j] = carried;
    }
}

constexpr std::size_t derivativeScratch(std::size_t degree) { return (degree + 1) * (degree + 5); }

inline void derivatives(const double* knots, unsigned int span, double u, unsigned int degree,
                        unsigned int order, double* steps, double* table) {
    const std::size_t size = std::size_t{degree} + 1;
    std::fill_n(table, (std::size_t{order} + 1) * size, 0.0);

    // Above the diagonal the functions of all degrees, column by column; below it one over
    // the differences of knots by which they were divided.
    double* const left = steps + size * size;
    double* const right = left + size;
    steps[0] = 1.0;
    for (unsigned int j = 1; j <= degree; ++j) {
        left[j] = u - knots[span + 1 - j];
        right[j] = knots[span + j] - u;
        double carried = 0.0;
        for (unsigned int r = 0; r < j; ++r) {
            steps[j * size + r] = 1.0 / (right[r + 1] + left[j - r]);
            const double part = steps[r * size + j - 1] * steps[j * size + r];
            steps[r * size + j] = carried + right[r + 1] * part;
            carried = left[j - r] * part;
        }
        steps[j * size + j] = carried;
    }
    for (unsigned int r = 0; r <= degree; ++r) table[r] = steps[r * size + degree];

    const unsigned int highest = std::min(order, degree);
    double* former = right + size;
    double* current = former + size;
    for (unsigned int r = 0; r <= degree; ++r) {
        former[0] = 1.0;
        for (unsigned int k = 1; k <= highest; ++k) {
            // The functions of degree degree - k that the k-th derivative of function r is made of
            // have the numbers r - k to r, cut to those there are.
            const unsigned int lower = degree - k;
            double sum = 0.0;
            for (unsigned int j = r >= k ? 0 : k - r; j <= k && r + j <= degree; ++j) {
                const unsigned int number = r + j - k;
                double coefficient = j < k ? former[j] : 0.0;
                if (j > 0) coefficient -= former[j - 1];
                coefficient *= steps[(lower + 1) * size + number];
                current[j] = coefficient;
                sum += coefficient * steps[number * size + lower];
            }
            table[k * size + r] = sum;
            std::swap(former, current);
        }
    }
    double factor = degree;
    for (unsigned int k = 1; k <= highest; ++k) {
        for (unsigned int r = 0; r <= degree; ++r) table[k * size + r] *= factor;
        factor *= degree - k;
    }
}

}  // namespace

void basisFunctions(const double* knots, unsigned int span, double u, unsigned int degree,
                    double* values) {
    const auto ofFixedDegree = [&](auto p) {
        double left[p + 1], right[p + 1];
        triangle(knots, span, u, p, left, right, values);
    };
    if (visitFixed<1, 2, 3, 4>(degree, ofFixedDegree)) return;
    Scratch<100> work(2 * (std::size_t{degree} + 1));
    triangle(knots, span, u, degree, work.data(), work.data() + degree + 1, values);
}

void basisDerivatives(const double* knots, unsigned int span, double u, unsigned int degree,
                      unsigned int order, double* table) {
    const auto ofFixedDegree = [&](auto p) {
        double work[derivativeScratch(p)];
        derivatives(knots, span, u, p, order, work, table);
    };
    if (visitFixed<1, 2, 3, 4>(degree, ofFixedDegree)) return;
    Scratch<derivativeScratch(degreeOnStack)> work(derivativeScratch(degree));
    derivatives(knots, span, u, degree, order, work.data(), table);
}

}  // namespace kerf::spline
