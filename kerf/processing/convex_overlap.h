#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/point.h"
#include "kerf/values/vector_instances.h"

// Whether two convex polygons overlap.
namespace kerf {

/// 1 when the polygons share a point, borders included, else 0. Each is closed from its last point to
/// its first, in either direction; one and two points are a point and a segment.
/// Tolerance: a vertex counts as on an edge of the other as Inside tells: within an area of 1e-10.
/// Degenerate: a polygon without points overlaps nothing.
KERF_EXPORT int intersect(const ERVec<ERPoint2D>& polygon1, const ERVec<ERPoint2D>& polygon2);

namespace detail {

/// The same for two arrays of corners as hullCorners gives them, settled sooner where an edge clearly
/// keeps one hull from the other.
KERF_EXPORT bool hullsOverlap(const ERPoint2D* hull1, unsigned int n1, const ERPoint2D* hull2,
                              unsigned int n2);

/// The convex hull as kerf::convexHull finds it; where fewer than three points are distinct, these.
/// `hull` has room for n. Returns the number of corners.
KERF_EXPORT unsigned int hullCorners(const ERPoint2D* points, unsigned int n, ERPoint2D* hull);

}  // namespace detail
}  // namespace kerf
