#include "kerf/surfaces/cylinder.h"

#include <cmath>
#include <ostream>

#include "kerf/numerics/constants.h"

namespace kerf {

ER_DEFINE_CLASS(ERCylinder, ERSurface)
ER_DEFINE_STORED_CLASS(ERCylinder, ERSurface)

void ERCylinder::radius(double r) {
    radius_ = r;
    setDirty();
}

EREntity::DISTMINRES ERCylinder::SignedMinimalDistance(const ERPoint3D& p, double& distance) const {
    return SignedMinimalDistanceCylinder(p, axis_, radius_, distance);
}

EREntity::DISTMINRES ERCylinder::SignedMinimalDistanceCylinder(const ERPoint3D& p,
                                                               const ERInfLine3D& axis,
                                                               double radius, double& distance) {
    const double toAxis = kerf::distance(axis, p);
    distance = toAxis - std::fabs(radius);
    return toAxis <= comparisonTolerance ? SingleNearestPoint : NearestPointNotUnique;
}

int ERCylinder::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormaleCylinder(p, axis_, radius_, foot, normal);
}

// The nearer of the two points in which the circle normal to the axis meets its diameter through p.
// That the diameter only touches a circle is told by its distance from the centre, which is zero,
// and the square of the radius.
int ERCylinder::ProjectionNormaleCylinder(const ERPoint3D& p, const ERInfLine3D& axis,
                                          double radius, ERPoint3D& foot, ERVector3D& normal) {
    const ERPoint3D onAxis = axis.projectPt(p);
    if (onAxis == p) return 0;
    const bool touches = radius * radius <= comparisonTolerance;
    normal = touches ? ERVector3D() : ERVector3D(onAxis, p).getnormalized();
    foot = onAxis + normal * std::fabs(radius);
    return 1;
}

void ERCylinder::scale(double factor) {
    CleanUpTemporaries(-1);
    UnboundedSurface::scale(factor);
}

void ERCylinder::offset(double k) { radius(radius_ + k); }

void ERCylinder::printOn(std::ostream& os) const {
    os << "Cylinder : Radius " << radius_ << " Axis " << axis_ << std::endl;
}

}  // namespace kerf
