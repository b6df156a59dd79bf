#include "kerf/surfaces/sphere.h"

#include <cmath>
#include <ostream>

#include "kerf/numerics/constants.h"

namespace kerf {

ER_DEFINE_CLASS(ERSphere, ERSurface)
ER_DEFINE_STORED_CLASS(ERSphere, ERSurface)

void ERSphere::center(const ERPoint3D& c) {
    centre_ = c;
    setDirty();
}

EREntity::DISTMINRES ERSphere::SignedMinimalDistance(const ERPoint3D& p, double& distance) const {
    return SignedMinimalDistanceSphere(p, centre_, radius_, distance);
}

EREntity::DISTMINRES ERSphere::SignedMinimalDistanceSphere(const ERPoint3D& p,
                                                           const ERPoint3D& centre, double radius,
                                                           double& distance) {
    const double toCentre = kerf::distance(p, centre);
    distance = toCentre - std::fabs(radius);
    return toCentre <= comparisonTolerance ? NearestPointNotUnique : SingleNearestPoint;
}

int ERSphere::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormaleSphere(p, centre_, radius_, foot, normal);
}

int ERSphere::ProjectionNormaleSphere(const ERPoint3D& p, const ERPoint3D& centre, double radius,
                                      ERPoint3D& foot, ERVector3D& normal) {
    if (p == centre) return 0;
    normal = ERVector3D(centre, p).getnormalized();
    foot = centre + normal * std::fabs(radius);
    return 1;
}

int ERSphere::project(const ERPoint3D& p, ERPoint3D& foot) const {
    ERVector3D normal;
    return ProjectionNormale(p, foot, normal);
}

void ERSphere::offset(double k) {
    radius_ += k;
    setDirty();
}

void ERSphere::printOn(std::ostream& os) const {
    os << "Sphere : Centre " << centre_ << " Radius " << radius_ << std::endl;
}

}  // namespace kerf
