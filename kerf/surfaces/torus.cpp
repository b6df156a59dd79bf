#include "kerf/surfaces/torus.h"

#include <cmath>
#include <ostream>

#include "kerf/numerics/constants.h"

namespace kerf {

ER_DEFINE_CLASS(ERTorus, ERSurface)
ER_DEFINE_STORED_CLASS(ERTorus, ERSurface)

void ERTorus::origin(const ERPoint3D& o) {
    origin_ = o;
    setDirty();
}

void ERTorus::vect(const ERVector3D& axis) {
    axis_ = axis;
    setDirty();
}

EREntity::DISTMINRES ERTorus::SignedMinimalDistance(const ERPoint3D& p, double& distance) const {
    return SignedMinimalDistanceTorus(p, origin_, axis_, majorRadius_, minorRadius_, distance);
}

EREntity::DISTMINRES ERTorus::SignedMinimalDistanceTorus(const ERPoint3D& p,
                                                         const ERPoint3D& origin,
                                                         const ERVector3D& axis, double majorRadius,
                                                         double minorRadius, double& distance) {
    const ERVector3D across = axis ^ ERVector3D(origin, p);
    const double tube = std::fabs(minorRadius);
    if (across.norme() <= comparisonTolerance) {
        distance = std::hypot(p.z() - origin.z(), majorRadius) - tube;
        return NearestPointNotUnique;
    }
    const ERVector3D out = (across ^ axis).getnormalized();
    distance = kerf::distance(p, origin + out * std::fabs(majorRadius)) - tube;
    return SingleNearestPoint;
}

int ERTorus::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormalTorus(origin_, axis_, majorRadius_, minorRadius_, p, foot, normal);
}

int ERTorus::ProjectionNormalTorus(const ERPoint3D& origin, const ERVector3D& axis,
                                   double majorRadius, double minorRadius, ERPoint3D p,
                                   ERPoint3D& foot, ERVector3D& normal) {
    if (p == origin) return 0;
    const ERVector3D out = ((axis ^ ERVector3D(origin, p)) ^ axis).getnormalized();
    const ERPoint3D onSpine = origin + out * std::fabs(majorRadius);
    normal = ERVector3D(onSpine, p).getnormalized();
    foot = onSpine + normal * std::fabs(minorRadius);
    return 1;
}

void ERTorus::scale(double factor) {
    CleanUpTemporaries(-1);
    UnboundedSurface::scale(factor);
}

void ERTorus::offset(double k) {
    minorRadius_ += k;
    setDirty();
}

void ERTorus::printOn(std::ostream& os) const {
    os << "Torus : Major radius " << majorRadius_ << " Minor radius " << minorRadius_ << " Axis "
       << axis_ << " Origin " << origin_ << std::endl;
}

}  // namespace kerf
