#pragma once
#include "kerf/curves/spline/pole_type.h"
#include "kerf/values/limits.h"

// Polynomials in Bernstein form: evaluation and change of domain. The functions on doubles treat
// `poles` as one run of n poles of `dim` doubles each; t is the parameter in [0, 1], beyond which
// they extrapolate. The same functions stand for the four types of pole, on whose stored coordinates
// they work, the weight included.
namespace kerf {

/// The point at t by de Casteljau's algorithm, a + (b - a) t in this form: exact at 0, rounded at 1.
/// No poles: zeros.
KERF_EXPORT void Casteljau(const double* poles, unsigned int n, double t, unsigned int dim,
                           double* out);
/// All levels of de Casteljau's triangle one after the other: n poles, n - 1 points ... the point at
/// t, n (n + 1) / 2 elements. Each is (1 - t) a + t b, in this form.
KERF_EXPORT void CasteljauAll(const double* poles, double* triangle, unsigned int n, double t,
                              unsigned int dim);
/// The point at t by a scheme of Horner's kind with the binomials as coefficients, from the first
/// pole when t >= 0.5, else from the last. Exact at both ends. No poles: zeros. Above the degree
/// spline::highestHornerDegree, where binomials times poles leave the range of a double, it is
/// Casteljau.
KERF_EXPORT void Horner(const double* poles, unsigned int n, double t, unsigned int dim,
                        double* out);

/// Replaces the poles by those of the part over [a, b], so that it runs over [0, 1]. With a > b it is
/// turned round.
KERF_EXPORT void RedefineDomain(double* poles, unsigned int n, double a, double b,
                                unsigned int dim);

template <SplinePole E>
E Casteljau(const E* poles, unsigned int n, double t) {
    E point;
    Casteljau(spline::doubles(poles), n, t, spline::dimensionOf<E>, spline::doubles(&point));
    return point;
}
template <SplinePole E>
E Horner(const E* poles, unsigned int n, double t) {
    E point;
    Horner(spline::doubles(poles), n, t, spline::dimensionOf<E>, spline::doubles(&point));
    return point;
}
template <SplinePole E>
void RedefineDomain(E* poles, unsigned int n, double a, double b) {
    RedefineDomain(spline::doubles(poles), n, a, b, spline::dimensionOf<E>);
}

/// The point with both derivatives of the curve over `limits`, at u. Homogeneous poles: of the
/// Cartesian curve, by the quotient rule.
/// Degenerate: derivatives that the degree does not have are null, as is everything without poles.
/// Kept:       the result's parameter is t = (u - start) / (end - start), and not u. The second
///             derivative has the length of the limits as a divisor once and not squared, so it is
///             that by u only where the length is 1.
template <SplinePole E>
KERF_EXPORT typename spline::InfoPointOf<E>::type CasteljauAll(const E* poles, unsigned int n,
                                                               double u, const ERLimites& limits);

namespace spline {

inline constexpr unsigned int highestHornerDegree = 900;

/// A value with its first and second derivative, `dim` doubles each, one after the other. The
/// divisor `length` enters as in CasteljauAll: (n - 1) / length times the differences of the points
/// one level up, and (n - 2) times that for the second differences.
KERF_EXPORT void casteljauDerivatives(const double* poles, unsigned int n, double t,
                                      unsigned int dim, double length, double* out);

/// Turns the homogeneous value and derivatives, `dim` doubles each with the weight last, into the
/// Cartesian ones, dim - 1 doubles each: A / w, (A' - C w') / w, (A'' - 2 w' C' - w'' C) / w.
template <unsigned int Dim>
void divideByWeight(const double* homogeneous, double* cartesian) {
    const double* const first = homogeneous + Dim;
    const double* const second = first + Dim;
    constexpr unsigned int w = Dim - 1;
    const double reciprocal = 1.0 / homogeneous[w];
    for (unsigned int i = 0; i < w; ++i) {
        const double value = homogeneous[i] / homogeneous[w];
        const double slope = (first[i] - value * first[w]) * reciprocal;
        cartesian[i] = value;
        cartesian[w + i] = slope;
        cartesian[2 * w + i] =
            (second[i] - 2.0 * first[w] * slope - second[w] * value) * reciprocal;
    }
}

/// One level of de Casteljau's algorithm on elements of Dim doubles, in place: Count elements become
/// Count - 1. All sizes are known, so that the loops of a fixed degree unroll.
template <unsigned int Dim, unsigned int Count>
inline void casteljauLevel(double* points, double t) {
    for (unsigned int k = 0; k < (Count - 1) * Dim; ++k)
        points[k] += (points[k + Dim] - points[k]) * t;
}

/// Casteljau for a fixed dimension and number of poles, for the loops of evaluators.
template <unsigned int Dim, unsigned int Count>
inline void casteljau(const double* poles, double t, double* out) {
    double points[Count * Dim];
    for (unsigned int k = 0; k < Count * Dim; ++k) points[k] = poles[k];
    if constexpr (Count > 4) casteljauLevel<Dim, 5>(points, t);
    if constexpr (Count > 3) casteljauLevel<Dim, 4>(points, t);
    if constexpr (Count > 2) casteljauLevel<Dim, 3>(points, t);
    if constexpr (Count > 1) casteljauLevel<Dim, 2>(points, t);
    static_assert(Count >= 1 && Count <= 5);
    for (unsigned int k = 0; k < Dim; ++k) out[k] = points[k];
}

}  // namespace spline
}  // namespace kerf
