#pragma once
#include "kerf/core/value_vector.h"
#include "kerf/curves/bezier_curve.h"
#include "kerf/numerics/newton_solvers.h"
#include "kerf/platform/config.h"
#include "kerf/processing/convex_overlap.h"
#include "kerf/values/polynomial.h"

// Where two rational curves of the plane cross.
namespace kerf {

class ERCpoleNURBS2D;

/// The equation A(u) = B(v) of two curves for the pair of unknowns (u, v), each in [0, 1] over its
/// natural domain.
/// Degenerate: where a weight is 0, and for a curve without poles, the values are no numbers.
class KERF_EXPORT FonctionnelleIntersectionDeBezier : public ERCNewtonM {
public:
    FonctionnelleIntersectionDeBezier(const ERCpoleBezier2DR& first,
                                      const ERCpoleBezier2DR& second);

    ERVec<double> f(const ERVec<double>& x) override;
    ERMatrix<double> fprime(const ERVec<double>& x) override;

private:
    // x w, y w and w, and their derivatives.
    ERTValVector<ERPolynome> first_;
    ERTValVector<ERPolynome> second_;
    ERTValVector<ERPolynome> firstDerived_;
    ERTValVector<ERPolynome> secondDerived_;
    ERCpoleBezier2DR firstCurve_;
    ERCpoleBezier2DR secondCurve_;
    ERVec<double> work_;
};

/// Appends the parameters of the crossings, those on the first curve to one vector and those on the
/// second to the other, pair by pair. The curve with the longer polygon is halved, and the parts whose
/// hulls overlap are looked at, the left one first, until both are nearly straight: chord and polygon
/// then differ by less than 1 %. Newton's method from where the chords cross gives the pair. Where the
/// two parts may cross a second time, or it ended outside them, they are halved further, so that no
/// transversal crossing is missed.
///
/// Returns:    the length of the first vector.
/// Tolerance:  the points of a pair agree within 1e-11 of the size of the two parts. Where the curves
///             have the same direction within 1e-9 they run along each other: no crossing.
/// Degenerate: parts with parallel chords have no crossing, overlaps included; nor have curves with
///             a coordinate that is not finite. Where a weight is 0 or below, a part's hull may not
///             hold it, and a crossing may be missed.
/// Failure:    a pair for which Newton's method does not converge is left out. The work is bounded: each
///             curve is halved at most 60 times over; 131072 pairs of parts are looked at, and 8192
///             more that are nearly straight, 128 for one of these.
/// Kept:       a pair may lie outside the curves: the chords are lines without ends, and where
///             Newton's method ends is not tested. A crossing at the common end of two parts may be
///             appended by both.
KERF_EXPORT unsigned int intersect(ERCpoleBezier2DR a, ERCpoleBezier2DR b, ERVec<double>& onA,
                                   ERVec<double>& onB);

/// The same for the pieces of two NURBS curves, in the order of the pieces of the first and, for each
/// of these, of the second. The bound on the pairs of parts grows by 16 for each pair of pieces.
KERF_EXPORT unsigned int intersect(ERCpoleNURBS2D a, ERCpoleNURBS2D b, ERVec<double>& onA,
                                   ERVec<double>& onB);

/// The convex hull of the Cartesian poles, as CalculateConvexeHull gives it; of fewer than three distinct
/// poles, these.
KERF_EXPORT ERVec<ERPoint2D> convexHull(const ERCpoleBezier2DR& curve);
KERF_EXPORT ERVec<ERPoint2D> convexHull(const ERCpoleNURBS2D& curve);

}  // namespace kerf
