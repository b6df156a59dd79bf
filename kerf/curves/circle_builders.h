#pragma once
#include "kerf/curves/arc.h"
#include "kerf/platform/config.h"

// Circles and arcs from points. Each function returns 1, or 0 with the arcs it is given as they
// were.
namespace kerf {

/// The circle through three points.
/// Failure: points in line, to the last bit, give 0 and the largest double as radius.
KERF_EXPORT int GetCircle(const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& p3,
                          ERPoint2D& centre, double& radius);
/// The same in space. About the normal, of length 1, the points follow each other counter-clockwise.
KERF_EXPORT int GetCircle(const ERPoint3D& p1, const ERPoint3D& p2, const ERPoint3D& p3,
                          ERPoint3D& centre, ERVector3D& normal, double& radius);

/// The arc from p1 to p3 on the circle through the three points; 0 when they are in line.
/// Kept: in the plane it is always counter-clockwise, so p2 may lie off it.
KERF_EXPORT int Arc3Points(ERArc2D& arc, const ERPoint2D& p1, const ERPoint2D& p2,
                           const ERPoint2D& p3);
/// In space it passes p2: it is counter-clockwise about the normal of GetCircle.
KERF_EXPORT int Arc3Points(ERArc3D& arc, const ERPoint3D& p1, const ERPoint3D& p2,
                           const ERPoint3D& p3);

/// The counter-clockwise arc about c from a to b, starting in [-2 pi, pi] and ending before 2 pi;
/// with a flag other than 0 the clockwise one, which is the reverse of that from b to a. Its radius is
/// the mean of both distances; 0 when these differ by more than 1e-9.
/// Kept: equal points give a whole turn, counter-clockwise from 0 whatever the flag and the points.
KERF_EXPORT int Arc2PointsCenter(ERArc2D& arc, ERPoint2D a, ERPoint2D b, ERPoint2D c, int flag);

/// Both arcs about the centre from start to end: the shorter one, about (start - centre) ^ (end -
/// centre), then the longer one, about the opposite normal. Their radius is the mean of both
/// distances; 0 when these differ by more than tol, or when the directions are parallel.
KERF_EXPORT int ArcCenterStartEnd(ERArc3D& shorter, ERArc3D& longer, const ERPoint3D& centre,
                                  const ERPoint3D& start, const ERPoint3D& end, double tol);

/// The half circles that end a slot: each on its circle, on the side away from the other one,
/// counter-clockwise. The segment on the right of the way from c1 to c2 joins the end of the first to
/// the start of the second. 0 when the radii differ by more than 1e-11, or the centres by no more.
KERF_EXPORT int BuildSlot(const ERCircle2D& c1, const ERCircle2D& c2, ERArc2D& a1, ERArc2D& a2);
/// The same in the plane z = 0 of a frame, on which the centres are dropped.
KERF_EXPORT int BuildSlot(const ERCircle3D& c1, const ERCircle3D& c2, const ERPmIsometrie3D& frame,
                          ERArc3D& a1, ERArc3D& a2);

}  // namespace kerf
