#pragma once
#include "kerf/curves/spline/knot_vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/vector_instances.h"

// Edits of the data of a NURBS surface: a grid of homogeneous poles and the knots of one direction. Rows
// go with the knots in u, columns with those in v. Each row, or column, counts as one pole of a curve,
// and the functions have the limits of those for curves (spline/knot_insertion.h): where poles and
// knots do not fit each other, nothing happens.
namespace kerf {

/// Inserts the knot so many times, up to multiplicity degree + 1; the surface stays. Outside the domain
/// nothing happens.
KERF_EXPORT void BoehmInU(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double u,
                          unsigned int times);
KERF_EXPORT void BoehmInV(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double v,
                          unsigned int times);

/// The same for knots in ascending order, in one pass.
KERF_EXPORT void BoehmInU(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots,
                          const ERVec<double>& inserted);

/// Cuts the surface to [a, b], or to what of it lies in the domain, and clamps it there. Nothing
/// happens unless that has a length.
KERF_EXPORT void ReduceDomainInU(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double a,
                                 double b);
KERF_EXPORT void ReduceDomainInV(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double a,
                                 double b);

/// Carries the first polynomials on down to a and the last up to b, where these lie outside the domain;
/// the outer degree + 1 knots become a and b. An end that is not finite is left alone.
KERF_EXPORT void IncreaseDomainInU(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double a,
                                   double b);
KERF_EXPORT void IncreaseDomainInV(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, double a,
                                   double b);

/// Clamps the knots that are marked as not clamped at the ends of their domain, and drops the knots and
/// poles outside: the surface over the domain stays.
/// Failure: data that do not fit each other stay as they are, and "Error\n" goes to the debug output.
/// Returns: 1.
KERF_EXPORT int CreateCompatibleSurfaceData(ERMatrix<ERPole3DH>& poles, ERKnotVector& knotsU,
                                            ERKnotVector& knotsV);

/// The position of the surface before the division by its weight; zeros where poles and knots do not
/// fit each other.
KERF_EXPORT ERPole3DH CalOnNurbs_H(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knotsU,
                                   const ERKnotVector& knotsV, double u, double v);

}  // namespace kerf
