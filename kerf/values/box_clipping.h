#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

// Clipping of a segment against a box of the plane.
namespace kerf {

/// Clips the segment from a to b against the box, by outcodes after Cohen and Sutherland. The
/// points may be the same objects. A crossing counts only where its computed coordinate lies in the
/// box exactly: a segment that rounding carries past the corner it meets is outside.
/// Returns: SegmentInside when both ends lie in the box, border included; out1 = a, out2 = b.
///          SegmentCrossing when out1 to out2 is the part in the box, in the direction from a to b.
///          The two are equal when the segment only touches a corner.
///          SegmentOutside when nothing lies in the box; the outputs hold no result.
KERF_EXPORT ER_MINMAX_POSITION_SEGMENT SutherCohen(const ERPoint2D& a, const ERPoint2D& b,
                                                   const ERMinimax2D& box, ERPoint2D& out1,
                                                   ERPoint2D& out2);

}  // namespace kerf
