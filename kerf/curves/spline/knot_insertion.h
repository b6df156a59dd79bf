#pragma once
#include "kerf/curves/spline/knot_vector.h"
#include "kerf/curves/spline/pole_type.h"

// Knots put in and taken out of a B-spline, and what follows from this: common knots, cuts and
// extensions. A B-spline of degree p with n poles has n + p + 1 knots and the domain [K[p], K[n]].
//
// Poles, knots and degree are given apart and must fit each other (ERKnotVector::fits); where they do
// not, nothing happens. Rational poles are worked on in their stored coordinates.
namespace kerf {

/// Where a knot u would go. `low` is the knot at or below u, `high` the next one, each with the
/// position of its first copy and its multiplicity; span is the position of low's last copy.
/// Kept: strictly between the two, lowMultiplicity is 0. On the run that holds position
///       length - degree (the last one of a clamped vector) it steps back, so that u is `high`.
KERF_EXPORT void PrepareBoehm(ERKnotVector& knots, double u, unsigned int degree, double& low,
                              unsigned int& lowPosition, unsigned int& lowMultiplicity,
                              double& high, unsigned int& highPosition,
                              unsigned int& highMultiplicity, unsigned int& span);

/// Inserts the knot u so many times, up to multiplicity degree + 1; the curve stays. Outside the
/// domain nothing happens.
/// Source: Boehm's algorithm; Piegl and Tiller, The NURBS Book, A5.1.
template <SplinePole E>
KERF_EXPORT void Boehm(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double u,
                       unsigned int times);

/// Inserts into each of two curves of one degree and one domain the knots that only the other has,
/// or has more often, up to multiplicity degree + 1. Linear in the knots.
template <SplinePole E>
KERF_EXPORT void CoincideBoehm(ERVec<E>& poles1, ERKnotVector& knots1, ERVec<E>& poles2,
                               ERKnotVector& knots2, unsigned int degree);

/// Cuts the curve to [a, b], or to what of it lies in the domain, and clamps it there. Nothing
/// happens unless that has a length.
template <SplinePole E>
KERF_EXPORT void ReduceDomain(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double a,
                              double b);

/// Carries the first polynomial on down to a and the last up to b, where these lie outside the
/// domain; the first and last degree + 1 knots become a and b. Knots that are not clamped are
/// clamped before. An end that is not finite is left alone.
template <SplinePole E>
KERF_EXPORT void IncreaseDomain(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double a,
                                double b);

/// Takes out one copy of the knot u, which lies inside the domain, without regard to how far the
/// curve moves; when it can be taken out exactly, the curve stays. The new poles are worked out from
/// both sides, with the mean where they meet: of the two ends of a break (multiplicity degree + 1);
/// at multiplicity degree of the pole after the joint and its value from the left. Nothing happens
/// when u is no knot.
template <SplinePole E>
KERF_EXPORT void ReduceMul(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double u);

namespace spline {

// The same on plain arrays, for poles of any dimension: a row of a grid of poles is one pole of
// cols * dim doubles.

/// Whether degree, knots and poles make a curve: right in number, knots ascending, a domain that is
/// not empty.
KERF_EXPORT bool isCurve(const double* knots, unsigned int length, unsigned int n,
                         unsigned int degree);

/// Inserts m knots in ascending order, in one pass. What lies outside the domain or would exceed
/// multiplicity degree + 1 is passed over. newPoles takes up to n + m poles, newKnots as many knots
/// more; neither may overlap the old ones. Returns how many were inserted.
KERF_EXPORT unsigned int insertKnots(const double* poles, unsigned int n, unsigned int dim,
                                     const double* knots, unsigned int degree,
                                     const double* inserted, unsigned int m, double* newPoles,
                                     double* newKnots);

/// Moves the first or last `degree` poles of a clamped curve so that its end goes to a or b; the
/// caller moves the knots.
KERF_EXPORT void extendStart(double* poles, unsigned int dim, const double* knots,
                             unsigned int degree, double a);
KERF_EXPORT void extendEnd(double* poles, unsigned int n, unsigned int dim, const double* knots,
                           unsigned int degree, double b);

/// Takes out the knot at position `last`, the last copy of s inside the domain; n - 1 poles remain.
/// The caller takes out the knot.
KERF_EXPORT void removeKnot(double* poles, unsigned int n, unsigned int dim, const double* knots,
                            unsigned int degree, unsigned int last, unsigned int s);

/// The degree + 1 Bézier poles of the polynomial on a span that is not empty, knots[span] to
/// knots[span + 1]. `poles` is the whole array.
KERF_EXPORT void bezierPolesOfSpan(const double* poles, unsigned int dim, const double* knots,
                                   unsigned int degree, unsigned int span, double* bezier);

}  // namespace spline
}  // namespace kerf
