#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/vector_instances.h"

// The plane and the line nearest to many points.
namespace kerf {

class ERInfLine2D;
class ERPlane;

/// The plane through the mean of the points with the least sum of squared deviations, where these are
/// measured along the coordinate in which the points vary least.
/// Parameter:  tol is the distance that each point may have; 0 or less allows any.
/// Degenerate: points that all coincide, or fewer than three, give some plane that holds them, with
///             its normal to either side; no points the plane of zeros.
/// Returns:    1, or 0, with the plane written too, when a distance is larger or is not a number.
/// Kept:       the normal found is reversed where its product with (points[1] - points[0]) ^
///             (points[2] - points[0]) is below 1.0, not below 0. So a triangle of an area below 0.5
///             does not tell the side: the normal then has a positive component on that coordinate.
KERF_EXPORT int GetMediumPlane(const ERVec<ERPoint3D>& points, ERPlane& result, double tol);

/// The line of the plane, likewise; it leads from points[0] towards points[1].
KERF_EXPORT int GetMediumLine(const ERVec<ERPoint2D>& points, ERInfLine2D& result, double tol);

}  // namespace kerf
