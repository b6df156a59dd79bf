#include "kerf/surfaces/bounded_sphere.h"

#include <cmath>
#include <ostream>

#include "kerf/curves/arc.h"
#include "kerf/surfaces/sphere.h"
#include "kerf/values/box.h"

namespace kerf {

ER_DEFINE_CLASS(ERBoundedSphere, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)
ER_DEFINE_STORED_CLASS(ERBoundedSphere, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)

namespace analytic {

ERPoint3D SphereShape::point(double u, double v) const {
    const double r = radius * std::cos(v);
    return ERPoint3D(r * std::cos(u), r * std::sin(u), radius * std::sin(v));
}

Jet SphereShape::jet(double u, double v) const {
    const double cu = std::cos(u), su = std::sin(u);
    const double r = radius * std::cos(v), z = radius * std::sin(v);
    Jet jet;
    jet.point = ERPoint3D(r * cu, r * su, z);
    jet.u = ERVector3D(-r * su, r * cu, 0.0);
    jet.v = ERVector3D(-z * cu, -z * su, r);
    jet.uu = ERVector3D(-r * cu, -r * su, 0.0);
    jet.uv = ERVector3D(z * su, -z * cu, 0.0);
    jet.vv = ERVector3D(-r * cu, -r * su, -z);
    return jet;
}

ERMinimax3D SphereShape::box(const ERPmIsometrie3D& frame, const ERLimites&,
                             const ERLimites&) const {
    ERMinimax3D box;
    box.Update(frame.origine());
    box.Inflate(std::fabs(radius));
    return box;
}

EREntity::DISTMINRES SphereShape::distance(const Axis& axis, const ERPoint3D& p,
                                           double& distance) const {
    return ERSphere::SignedMinimalDistanceSphere(p, axis.origin, radius, distance);
}

int SphereShape::foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot,
                      ERVector3D& normal) const {
    return ERSphere::ProjectionNormaleSphere(p, axis.origin, radius, foot, normal);
}

ERPoint2D SphereShape::parameters(const ERPoint3D& foot, const ERPoint2D& start) const {
    const double side = std::copysign(1.0, radius);
    return ERPoint2D(start.x() + turnFrom(start.x(), side * foot.x(), side * foot.y()),
                     std::atan2(side * foot.z(), std::hypot(foot.x(), foot.y())));
}

double SphereShape::perU() const { return std::fabs(radius); }

double SphereShape::perV(const ERLimites&) const { return std::fabs(radius); }

double SphereShape::offset(double distance) {
    radius += distance;
    return 0.0;
}

void SphereShape::printOn(std::ostream& os) const { os << "Rayon   " << radius << std::endl; }

}  // namespace analytic

ERBoundedSphere::ERBoundedSphere(const ERPmIsometrie3D& frame, double radius, const ERLimites& u,
                                 const ERLimites& v)
    : BoundedAnalytic(frame, {radius}, u, v) {}

ERBoundedSphere::ERBoundedSphere(const ERSphere& sphere, const ERLimites& u, const ERLimites& v)
    : ERBoundedSphere(ERTranslation3D(sphere.center()), sphere.radius(), u, v) {}

ERSphere::ERSphere(const ERBoundedSphere& sphere) : ERSphere(sphere.center(), sphere.radius()) {}

ERArc3D ERBoundedSphere::getIsoU(double u) const { return meridian(u, 0.0, radius(), getBoundV()); }

ERArc3D ERBoundedSphere::getIsoV(double v) const {
    return parallel(radius() * std::sin(v), radius() * std::cos(v), getBoundU());
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedSphere::getEntityIsoU(double u) const {
    return new ERArc3D(getIsoU(u));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedSphere::getEntityIsoV(double v) const {
    return new ERArc3D(getIsoV(v));
}

}  // namespace kerf
