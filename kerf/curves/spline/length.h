#pragma once
#include "kerf/platform/config.h"

// The length of curves of poles by halving: the mean of the chord and of the polygon, which are a lower
// and an upper bound, where they differ by tol or less. Half of tol goes to each half. Below 1e-8, for a
// difference that rounding leaves and for one that is not a number the mean is taken at once, and so it
// is after 60 halvings.
//
// The functions take n poles of `dim` doubles, of which the last one is a weight in rational curves.
namespace kerf::spline {

/// Of a Bézier curve in the plane or in space: dim 2 or 3, one more when rational.
KERF_EXPORT double bezierLength(const double* poles, unsigned int n, unsigned int dim,
                                bool rational, double tol);

/// Of a rational B-spline whose knots are clamped: halved in the middle of its parameters, and from a
/// single polynomial on as a Bézier curve.
KERF_EXPORT double splineLength(const double* poles, unsigned int n, unsigned int dim,
                                const double* knots, unsigned int degree, double tol);

}  // namespace kerf::spline
