#include "kerf/surfaces/bounded_cone.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"
#include "kerf/numerics/constants.h"
#include "kerf/surfaces/cone.h"
#include "kerf/values/box.h"

namespace kerf {

ER_DEFINE_CLASS(ERBoundedCone, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)
ER_DEFINE_STORED_CLASS(ERBoundedCone, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)

namespace analytic {

ERPoint3D ConeShape::point(double u, double v) const {
    const double r = u * std::tan(halfAngle);
    return ERPoint3D(r * std::cos(v), r * std::sin(v), u);
}

Jet ConeShape::jet(double u, double v) const {
    const double slope = std::tan(halfAngle);
    const double x = slope * std::cos(v), y = slope * std::sin(v);
    Jet jet;
    jet.point = ERPoint3D(u * x, u * y, u);
    jet.u = ERVector3D(x, y, 1.0);
    jet.v = ERVector3D(-u * y, u * x, 0.0);
    jet.vv = ERVector3D(-u * x, -u * y, 0.0);
    jet.uv = ERVector3D(-y, x, 0.0);
    return jet;
}

ERMinimax3D ConeShape::box(const ERPmIsometrie3D& frame, const ERLimites& u,
                           const ERLimites&) const {
    const double slope = std::tan(halfAngle);
    const double m = std::max(slope * u.start(), slope * u.end());
    return frame >>
           ERMinimax3D(-m, m, -m, m, std::min(u.start(), u.end()), std::max(u.start(), u.end()));
}

EREntity::DISTMINRES ConeShape::distance(const Axis& axis, const ERPoint3D& p,
                                         double& distance) const {
    return ERCone::SignedMinimalDistanceCone(p, axis.origin, axis.direction, std::fabs(halfAngle),
                                             distance);
}

int ConeShape::foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot,
                    ERVector3D& normal) const {
    return ERCone::ProjectionNormaleCone(axis.direction, axis.origin, std::fabs(halfAngle), p, foot,
                                         normal);
}

ERPoint2D ConeShape::parameters(const ERPoint3D& foot, const ERPoint2D& start) const {
    // Below the apex the radius is negative.
    const double side = std::copysign(1.0, foot.z()) * std::copysign(1.0, halfAngle);
    return ERPoint2D(start.x() + std::fabs(foot.z() - start.x()),
                     start.y() + turnFrom(start.y(), side * foot.x(), side * foot.y()));
}

double ConeShape::perV(const ERLimites& u) const {
    return std::max(std::fabs(u.start()), std::fabs(u.end())) * std::fabs(std::tan(halfAngle));
}

double ConeShape::offset(double distance) { return -(distance / std::sin(halfAngle)); }

void ConeShape::printOn(std::ostream& os) const { os << "Demi angle   " << halfAngle << std::endl; }

}  // namespace analytic

namespace {

// The heights of two points above the apex, the lower one first.
ERLimites heightsOf(const ERCone& cone, const ERPoint3D& a, const ERPoint3D& b) {
    const double atA = cone.direction() * ERVector3D(cone.apex(), a);
    const double atB = cone.direction() * ERVector3D(cone.apex(), b);
    return ERLimites(std::min(atA, atB), std::max(atA, atB));
}

}  // namespace

ERBoundedCone::ERBoundedCone(const ERPmIsometrie3D& frame, ERRadian halfAngle, double umin,
                             double umax)
    : ERBoundedCone(frame, halfAngle, ERLimites(umin, umax), ERLimites(0.0, twoPi)) {}

ERBoundedCone::ERBoundedCone(const ERPmIsometrie3D& frame, ERRadian halfAngle, const ERLimites& u,
                             const ERLimites& v)
    : BoundedAnalytic(frame, {halfAngle}, u, v) {}

ERBoundedCone::ERBoundedCone(const ERCone& cone, const ERPoint3D& a, const ERPoint3D& b)
    : ERBoundedCone(cone, heightsOf(cone, a, b), ERLimites(0.0, twoPi)) {}

ERBoundedCone::ERBoundedCone(const ERCone& cone, const ERLimites& u, const ERLimites& v)
    : ERBoundedCone(ERChgRepere3D(cone.direction(), cone.apex()), cone.demiAngle(), u, v) {}

ERCone::ERCone(const ERBoundedCone& cone)
    : ERCone(cone.apex(), cone.direction(), cone.demiAngle()) {}

double ERBoundedCone::radius(double h) const { return std::tan(shape_.halfAngle) * h; }

ERSegment3D ERBoundedCone::axe() const { return alongAxis(); }

void ERBoundedCone::axe(const ERSegment3D& axis) {
    const ERVector3D direction = axis.dirVector();
    const double start = udeb();
    setMatrix(ERChgRepere3D(direction, axis.getP1() - direction * start));
    redefineDomainU(ERLimites(start, start + distance(axis.getP1(), axis.getP2())));
}

ERArc3D ERBoundedCone::sectionAt(double u) const { return parallel(u, radius(u), getBoundV()); }

ERArc3D ERBoundedCone::bottomBase() const { return sectionAt(udeb()); }

ERArc3D ERBoundedCone::topBase() const { return sectionAt(ufin()); }

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCone::getEntityIsoU(double u) const {
    return new ERArc3D(sectionAt(u));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCone::getEntityIsoV(double v) const {
    return new ERSegment3D(straightAlongU(v));
}

}  // namespace kerf
