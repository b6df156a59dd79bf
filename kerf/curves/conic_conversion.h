#pragma once
#include "kerf/curves/nurbs_curve.h"
#include "kerf/platform/config.h"

// Conics as NURBS curves of degree 2, exact but for rounding.
namespace kerf {

class ERArc2D;
class ERArc3D;
class ERArcEllipse2D;
class ERArcEllipse3D;
class ERCircle2D;
class ERCircle3D;

/// Three arcs of 120 degrees with 7 poles on [0, 3]. The curve starts and ends at 30 degrees.
KERF_EXPORT ERCpoleNURBS2D Convert(const ERCircle2D& circle);
KERF_EXPORT ERCpoleNURBS3D Convert(const ERCircle3D& circle);

/// The arc in n equal pieces on [0, n], in the direction of travel, with 2 n + 1 poles: one piece
/// below 120 degrees, two up to 270, else four for each turn begun.
/// Degenerate: equal angles give three equal poles. Over 1000 turns whole turns are left out. Angles
///             that are not finite give no pole.
KERF_EXPORT ERCpoleNURBS2D Convert(const ERArc2D& arc);
KERF_EXPORT ERCpoleNURBS3D Convert(const ERArc3D& arc);
KERF_EXPORT ERCpoleNURBS2D Convert(const ERArcEllipse2D& arc);
KERF_EXPORT ERCpoleNURBS3D Convert(const ERArcEllipse3D& arc);

/// The conic that leaves p0 along t0 and comes to p2 along t2, the tangents meeting in p1: as one
/// piece its poles p0, p1, p2 have the weights 1, w, 1. A negative w is the complement, w > 1 a
/// hyperbola, w = 1 a parabola, w = 0 the chord. Of n pieces, 2 n + 1 poles on [0, n]: one piece for
/// w >= 1, or for w > 0 and more than 60 degrees at p1; four for w < 0 and more than 90 degrees;
/// else two.
/// Failure: parallel tangents, w <= -1 and what is not finite give no pole.
KERF_EXPORT ERCpoleNURBS2D MakeOpenConic(const ERPoint2D& p0, const ERVector2D& t0,
                                         const ERPoint2D& p2, const ERVector2D& t2, double w);
/// The same with the weight for which the conic goes through p; past both tangents it is the other
/// branch of the hyperbola that does.
/// Failure: no pole, too, for p on a tangent or past one of them alone.
KERF_EXPORT ERCpoleNURBS2D MakeOpenConic(const ERPoint2D& p0, const ERVector2D& t0,
                                         const ERPoint2D& p2, const ERVector2D& t2,
                                         const ERPoint2D& p);

}  // namespace kerf
