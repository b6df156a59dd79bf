#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/point.h"
#include "kerf/values/vector_instances.h"

// Predicates on polygons of the plane, and the convex hull. A polygon is its points in order,
// closed from the last to the first; repeating the first point at the end makes no difference.
namespace kerf {

/// Where a point lies relative to a polygon.
enum relpos { InsidePolygon = 0, OnVertex = 1, OnEdge = 2, OutsidePolygon = 3 };

/// How p2 lies to the segment from p0 to p1: 1 to the left, -1 to the right, and for points in
/// line, -1 behind p0, 1 beyond p1, 0 on the segment, ends included. `eps` (an area, not a length)
/// bounds each test: the doubled triangle area, the products of the coordinates and the difference
/// of the squared lengths.
KERF_EXPORT int ccw(const ERPoint2D& p0, const ERPoint2D& p1, const ERPoint2D& p2, double eps);

/// 1 when the segments a b and c d meet, ends included; computed without tolerance.
KERF_EXPORT int Intersect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c,
                          const ERPoint2D& d);

/// Where p lies relative to the polygon of n points, by the even-odd rule. A point counts as on an
/// edge within an area of 1e-10 of it (see ccw), unless it lies beyond all of the edge in y or to
/// its right, and callers rely on this order of the tests. No points: outside; a polygon of two
/// points has no inside. The last argument is not read.
KERF_EXPORT relpos Inside(const ERPoint2D& p, const ERPoint2D* points, int n, int unused = 0);
KERF_EXPORT relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& points);

/// Orders directions as their angle does, from 0 to 360, without trigonometry: exact at multiples
/// of 45. The direction is from a to b; 0 when they are equal.
KERF_EXPORT double PseudoTheta(const ERPoint2D& a, const ERPoint2D& b);

/// The convex hull, counter-clockwise from its lowest point (of several the one farthest right), by
/// Graham's scan. Points within 1e-12 of each other in x and y count once. Points in line on a side
/// are kept, except on the last side, back to the first point. An empty vector when fewer than
/// three points are left; points all in line stay as they are, from the first outwards. Coordinates
/// that are not finite give some order of the points, never a failure.
KERF_EXPORT ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points);

}  // namespace kerf
