#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

// What of an infinite line lies in a box.
namespace kerf {

class ERInfLine2D;
class ERInfLine3D;
class ERSegment3D;

/// Clips the line against the box: the line is cut to the projections of the box's corners, in its
/// own direction, and the segment is clipped by its outcodes.
/// Returns: SegmentCrossing or SegmentInside when out1 to out2 is the part in the box. A line parallel
///          to a side gives SegmentInside.
///          SegmentOutside when nothing lies in the box or the projections are not finite; the
///          outputs hold no result.
KERF_EXPORT ER_MINMAX_POSITION_SEGMENT SutherCohen(const ERInfLine2D& line, const ERMinimax2D& box,
                                                   ERPoint2D& out1, ERPoint2D& out2);

/// The part of the line in the box, from its first hit of a face to its last: lower faces in the
/// order of z, y and x, then upper ones. An axis of which the flag is 0 is unbounded: it has no end
/// faces, and its limits are not looked at. Faces without extent are passed over.
/// Returns 1, or 0 with `result` as it was when there are no two hits apart, by more than 1e-11 in
/// some coordinate.
/// Kept:      a reset box is not looked for. Bounded on every axis it is missed; bounded on one alone
///            it is met at the largest numbers.
/// Tolerance: none on the faces. A line that rounding carries past the edge it meets misses.
KERF_EXPORT int intersect(const ERInfLine3D& line, const ERMinimax3D& box, ERSegment3D& result,
                          int boundX, int boundY, int boundZ);
KERF_EXPORT int intersect(const ERInfLine3D& line, const ERMinimax3D& box, ERSegment3D& result);

/// Where the line meets the parallelogram of that corner and these edges, border included. What is
/// tested are the lengths along each edge, so the edges should be at right angles. Returns 1, or 0
/// with `hit` undefined.
/// Tolerance: none; a line whose product with the normal is exactly 0 is parallel.
KERF_EXPORT int intersect(const ERInfLine3D& line, const ERPoint3D& corner, const ERVector3D& edgeU,
                          const ERVector3D& edgeV, ERPoint3D& hit);

}  // namespace kerf
