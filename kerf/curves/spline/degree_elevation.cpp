#include "kerf/curves/spline/degree_elevation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kerf/curves/spline/knot_insertion.h"

namespace kerf {

namespace {

using spline::dimensionOf;
using spline::doubles;

constexpr double reductionTolerance = 1e-11;

// On the Cartesian coordinates; a NaN agrees with nothing.
template <SplinePole E>
bool agree(const double* a, const double* b) {
    constexpr unsigned int dim = dimensionOf<E>;
    constexpr unsigned int coordinates = E::isRational() != 0 ? dim - 1 : dim;
    const double wa = E::isRational() != 0 ? a[dim - 1] : 1.0;
    const double wb = E::isRational() != 0 ? b[dim - 1] : 1.0;
    for (unsigned int k = 0; k < coordinates; ++k)
        if (!(std::fabs(a[k] / wa - b[k] / wb) <= reductionTolerance)) return false;
    return true;
}

template <unsigned int Dim>
void extrapolate(const double* from, const double* through, double factor, double* to) {
    for (unsigned int k = 0; k < Dim; ++k) to[k] = from[k] + (through[k] - from[k]) * factor;
}

// Clamped with no knot more often than its poles are read.
template <SplinePole E>
void normalise(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree) {
    const double start = knots[degree], end = knots[poles.length()];
    if (ERKnot(knots).multiplicity() != degree + 1 ||
        ERKnot(knots, knots.last()).multiplicity() != degree + 1)
        ReduceDomain(poles, knots, degree, start, end);
    for (unsigned int last = knots.length() - 1; last > degree; --last)
        if (knots[last] < end && knots[last - degree - 1] == knots[last])
            ReduceMul(poles, knots, degree, knots[last]);
}

}  // namespace

void BezierIncreaseDegree(double* poles, unsigned int n, unsigned int k, unsigned int dim) {
    if (n == 0) return;
    for (unsigned int count = n; count < n + k; ++count) {
        const double step = 1.0 / count;
        double alpha = 0.0;
        for (unsigned int i = count; i > 0; --i) {
            double* const pole = poles + std::size_t{i} * dim;
            const double* const before = pole - dim;
            for (unsigned int c = 0; c < dim; ++c)
                pole[c] = before[c] + (pole[c] - before[c]) * alpha;
            alpha += step;
        }
    }
}

template <SplinePole E>
int BezierDecreaseDegree(ERVec<E>& poles) {
    constexpr unsigned int dim = dimensionOf<E>;
    if (poles.length() < 2) return 0;
    const unsigned int m = poles.length() - 1;
    const unsigned int half = m / 2;
    ERVec<E> result(m);
    const double* const p = doubles(std::as_const(poles).data());
    double* const q = doubles(result.data());
    const auto fromLeft = [&](unsigned int i, double* to) {
        extrapolate<dim>(q + std::size_t{i - 1} * dim, p + std::size_t{i} * dim,
                         static_cast<double>(m) / (m - i), to);
    };
    std::copy_n(p, dim, q);
    std::copy_n(p + std::size_t{m} * dim, dim, q + std::size_t{m - 1} * dim);
    for (unsigned int i = 1; i < half; ++i) fromLeft(i, q + std::size_t{i} * dim);
    for (unsigned int i = m - 1; i-- > half;)
        extrapolate<dim>(q + (std::size_t{i} + 1) * dim, p + (std::size_t{i} + 1) * dim,
                         static_cast<double>(m) / (i + 1), q + std::size_t{i} * dim);

    double other[dim];
    if (half > 0)
        fromLeft(half, other);
    else
        std::copy_n(p, dim, other);
    double* const middle = q + std::size_t{half} * dim;
    const bool exact = agree<E>(middle, other);
    if (m % 2 == 1)
        for (unsigned int k = 0; k < dim; ++k) middle[k] = (middle[k] + other[k]) * 0.5;
    poles = result;
    return exact ? 1 : 0;
}

template <SplinePole E>
ERVec<E> Prautzsch(const ERVec<E>& poles, unsigned int degree, unsigned int i) {
    const unsigned int period = degree + 1;
    ERVec<E> doubled;
    if (period == 0) return poles;
    doubled.capacity(poles.length() + poles.length() / period + 1);
    for (unsigned int position = 0; position < poles.length(); ++position)
        doubled.append(poles[position], position >= i && (position - i) % period == 0 ? 2 : 1);
    return doubled;
}

template <SplinePole E>
void Prautzsch(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree) {
    if (!spline::isCurve(knots.data(), knots.length(), poles.length(), degree)) return;
    ERVec<E> source(poles);
    ERKnotVector sourceKnots(degree, knots.getVec());
    normalise(source, sourceKnots, degree);

    ERVec<E> sum = Prautzsch(source, degree, 0);
    ERKnotVector sumKnots = sourceKnots.GetPrautzsch(0);
    for (unsigned int i = 1; i <= degree; ++i) {
        ERVec<E> summand = Prautzsch(source, degree, i);
        ERKnotVector summandKnots = sourceKnots.GetPrautzsch(i);
        CoincideBoehm(sum, sumKnots, summand, summandKnots, degree + 1);
        if (sum.length() != summand.length()) return;
        E* const to = sum.data();
        const E* const from = std::as_const(summand).data();
        for (unsigned int k = 0; k < sum.length(); ++k) to[k] += from[k];
    }
    E* const result = sum.data();
    for (unsigned int k = 0; k < sum.length(); ++k) result[k] /= degree + 1.0;
    poles = sum;
    knots = sumKnots;
}

#define KERF_DEGREE_ELEVATION(E)                                                          \
    template KERF_EXPORT int BezierDecreaseDegree(ERVec<E>&);                             \
    template KERF_EXPORT ERVec<E> Prautzsch(const ERVec<E>&, unsigned int, unsigned int); \
    template KERF_EXPORT void Prautzsch(ERVec<E>&, ERKnotVector&, unsigned int);
KERF_DEGREE_ELEVATION(ERPoint2D)
KERF_DEGREE_ELEVATION(ERPole2DH)
KERF_DEGREE_ELEVATION(ERPoint3D)
KERF_DEGREE_ELEVATION(ERPole3DH)

}  // namespace kerf
