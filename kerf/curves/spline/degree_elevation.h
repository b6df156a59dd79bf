#pragma once
#include "kerf/curves/spline/knot_vector.h"
#include "kerf/curves/spline/pole_type.h"

// The degree of Bézier curves up and down, and that of B-splines up. Rational poles are worked on in
// their stored coordinates.
namespace kerf {

/// Raises the degree of n poles of `dim` doubles by k, in place. The array has room for n + k poles,
/// the last ones copies of the last pole.
KERF_EXPORT void BezierIncreaseDegree(double* poles, unsigned int n, unsigned int k,
                                      unsigned int dim);

/// The same on a vector, which grows by k. Without poles nothing happens.
template <SplinePole E>
void BezierIncreaseDegree(ERVec<E>& poles, unsigned int k) {
    const unsigned int n = poles.length();
    if (n == 0 || k == 0) return;
    poles.append(E(poles.last()), k);
    BezierIncreaseDegree(spline::doubles(poles.data()), n, k, spline::dimensionOf<E>);
}
template <SplinePole E>
void BezierIncreaseDegree(ERVec<E>& poles) {
    BezierIncreaseDegree(poles, 1);
}

/// Lowers the degree by one, from both ends towards the middle. Both ends stay; of two poles the mean
/// is left.
/// Returns: 1 when the two estimates in the middle agree within 1e-11 in every Cartesian coordinate,
///          so that the curve stays; else 0. The degree is lowered in both cases. Fewer than two
///          poles are left alone: 0.
template <SplinePole E>
KERF_EXPORT int BezierDecreaseDegree(ERVec<E>& poles);

/// The poles with the ones at i, i + degree + 1, i + 2 (degree + 1) ... standing twice: they go with
/// the knots of ERKnotVector::GetPrautzsch.
template <SplinePole E>
KERF_EXPORT ERVec<E> Prautzsch(const ERVec<E>& poles, unsigned int degree, unsigned int i);

/// Raises the degree of a B-spline by one: the mean of degree + 1 curves, each with every
/// (degree + 1)-th pole and knot doubled, on common knots. Knots that are not clamped are clamped
/// before, and copies of a knot beyond degree + 1 dropped. Nothing happens when poles, knots and
/// degree do not fit each other.
/// Source: H. Prautzsch, Degree elevation of B-spline curves, CAGD 1 (1984). Linear in the poles.
template <SplinePole E>
KERF_EXPORT void Prautzsch(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree);

}  // namespace kerf
