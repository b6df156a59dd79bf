#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/point.h"
#include "kerf/values/vector_instances.h"

// Predicates on polygons of the plane, feet of points on them, and the convex hull. A polygon is its points in order,
// closed from the last to the first; repeating the first point at the end makes no difference.
namespace kerf {

/// Where a point lies relative to a polygon.
enum relpos { InsidePolygon = 0, OnVertex = 1, OnEdge = 2, OutsidePolygon = 3 };

/// How p2 lies to the segment from p0 to p1: 1 to the left, -1 to the right. For points in line: -1
/// before p0, 1 past p1, 0 on the segment, ends included.
/// Tolerance: `eps`, an area and not a length, bounds each test: the doubled triangle area, the
///            products of the coordinates and the difference of the squared lengths.
KERF_EXPORT int ccw(const ERPoint2D& p0, const ERPoint2D& p1, const ERPoint2D& p2, double eps);

/// 1 when the segments a b and c d meet, ends included; computed without tolerance.
KERF_EXPORT int Intersect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c,
                          const ERPoint2D& d);

/// Where p lies relative to the polygon of n points, by the even-odd rule. The last argument is not
/// read.
/// Tolerance: p counts as on an edge within an area of 1e-10 of it (see ccw).
/// Degenerate: no points: outside. A polygon of two points has no inside.
/// Kept: a point past both ends of the edge in y, or to the right of both, is never on the edge,
///       however near: these tests come first and are exact.
KERF_EXPORT relpos Inside(const ERPoint2D& p, const ERPoint2D* points, int n, int unused = 0);
KERF_EXPORT relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& points);

/// Orders directions as their angle does, from 0 to 360, without trigonometry: exact at multiples
/// of 45. The direction is from a to b; 0 when they are equal.
KERF_EXPORT double PseudoTheta(const ERPoint2D& a, const ERPoint2D& b);

/// The convex hull, counter-clockwise from its lowest point (of several the one farthest right), by
/// Graham's scan.
/// Tolerance: points within 1e-12 of each other in x and y count once.
/// Degenerate: nothing when fewer than three points are left; points all in line stay as they are,
///             from the first outwards. Coordinates that are not finite give some order of the
///             points, never a failure.
/// Kept: points in line on a side stay, except on the last side, back to the first point.
KERF_EXPORT ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points);

/// The same for an array of n points: writes the corners to `hull`, which has room for n and may be
/// the array itself. Up to 32 points take no memory from the heap.
/// Returns: the number of corners.
KERF_EXPORT unsigned int convexHull(const ERPoint2D* points, unsigned int n, ERPoint2D* hull);

/// Of the feet of p on the edges of the polygon, that of which the distance to p is nearest to |offset|.
/// Edges shorter than 1e-11 in x and y have none.
/// Tolerance: a foot counts as on its edge within an area of 1e-5 (see ccw).
/// Returns:   the index of the edge, which is that of its first point, and of equal ones the first;
///            all ones, with `result` as it was, when p has no foot.
KERF_EXPORT unsigned int findProjection(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon,
                                        ERPoint2D& result, double offset);

/// Appends the feet of p on the edges of the polyline, which is not closed, and their parameters: the
/// index of the edge plus the part of it, 0 to 1, up to the foot. Edges shorter than 1e-11 in x and y
/// are passed over. Beyond a convex corner, past one edge and before the next, the corner is the
/// foot, with the index of the second edge. A positive `tol` leaves out what is farther from p.
/// Degenerate: a polyline of fewer than two points has no feet, nor has a point that is not finite.
/// Returns:    1 when something was appended.
/// Kept:       a foot on the common end of two edges is appended by both. The first point and the last
///             are no corners.
KERF_EXPORT int findAllProjections(const ERPoint2D& p, const ERVec<ERPoint2D>& polyline,
                                   ERVec<ERPoint2D>& points, ERVec<double>& params, double tol);

}  // namespace kerf
