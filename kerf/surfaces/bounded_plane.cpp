#include "kerf/surfaces/bounded_plane.h"

#include "kerf/curves/segment.h"
#include "kerf/surfaces/plane.h"
#include "kerf/values/box.h"
#include "kerf/values/carried_frame.h"

namespace kerf {

ER_DEFINE_CLASS(ERBoundedPlane, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)
ER_DEFINE_STORED_CLASS(ERBoundedPlane, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)

namespace analytic {

Jet PlaneShape::jet(double u, double v) const {
    Jet jet;
    jet.point = point(u, v);
    jet.u = ERVector3D(1.0, 0.0, 0.0);
    jet.v = ERVector3D(0.0, 1.0, 0.0);
    return jet;
}

ERMinimax3D PlaneShape::box(const ERPmIsometrie3D& frame, const ERLimites& u,
                            const ERLimites& v) const {
    ERMinimax3D box;
    for (const double atU : {u.start(), u.end()})
        for (const double atV : {v.start(), v.end()}) box.Update(frame >> point(atU, atV));
    return box;
}

EREntity::DISTMINRES PlaneShape::distance(const Axis& axis, const ERPoint3D& p,
                                          double& distance) const {
    distance = axis.direction * ERVector3D(axis.origin, p);
    return EREntity::SingleNearestPoint;
}

int PlaneShape::foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot,
                     ERVector3D& normal) const {
    return ERPlane(axis.origin, axis.direction).ProjectionNormale(p, foot, normal);
}

ERPoint2D PlaneShape::parameters(const ERPoint3D& foot, const ERPoint2D&) const {
    return ERPoint2D(foot.x(), foot.y());
}

}  // namespace analytic

ERBoundedPlane::ERBoundedPlane(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v)
    : BoundedAnalytic(frame, {}, u, v) {}

ERBoundedPlane::ERBoundedPlane(const ERPlane& plane, const ERLimites& u, const ERLimites& v)
    : ERBoundedPlane(plane.getTransfo(), u, v) {}

ERPlane::ERPlane(const ERBoundedPlane& plane) : ERPlane(plane.getMatrix(), Coord3D::CoordZ) {}

ERSegment3D ERBoundedPlane::getIsoU(double u) const { return straightAlongV(u); }

ERSegment3D ERBoundedPlane::getIsoV(double v) const { return straightAlongU(v); }

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedPlane::getEntityIsoU(double u) const {
    return new ERSegment3D(getIsoU(u));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedPlane::getEntityIsoV(double v) const {
    return new ERSegment3D(getIsoV(v));
}

void ERBoundedPlane::reverse() {
    // Z turns over too: the handedness stays. The family drops the grid, but here, transposed, it is
    // that of the new axes. NOLINTNEXTLINE(bugprone-parent-virtual-call)
    ERBoundedSurface::reverse();
    const LinearMap exchange(0.0, 1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, -1.0);
    setMatrix(frameOf(axes() * exchange, origin()));
}

}  // namespace kerf
