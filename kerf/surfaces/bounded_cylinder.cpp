#include "kerf/surfaces/bounded_cylinder.h"

#include <cmath>
#include <ostream>

#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"
#include "kerf/numerics/constants.h"
#include "kerf/surfaces/cylinder.h"
#include "kerf/values/box.h"

namespace kerf {

ER_DEFINE_CLASS(ERBoundedCylinder, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)
ER_DEFINE_STORED_CLASS(ERBoundedCylinder, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)

namespace analytic {

ERPoint3D CylinderShape::point(double u, double v) const {
    return ERPoint3D(radius * std::cos(v), radius * std::sin(v), u);
}

Jet CylinderShape::jet(double u, double v) const {
    const double x = radius * std::cos(v), y = radius * std::sin(v);
    Jet jet;
    jet.point = ERPoint3D(x, y, u);
    jet.u = ERVector3D(0.0, 0.0, 1.0);
    jet.v = ERVector3D(-y, x, 0.0);
    jet.vv = ERVector3D(-x, -y, 0.0);
    return jet;
}

ERMinimax3D CylinderShape::box(const ERPmIsometrie3D& frame, const ERLimites& u,
                               const ERLimites& v) const {
    const ERMinimax2D section = ERArc2D(ERPoint2D(), radius, v.start(), v.end()).getBox();
    return frame >> ERMinimax3D(section.xmin(), section.xmax(), section.ymin(), section.ymax(),
                                u.start(), u.end());
}

EREntity::DISTMINRES CylinderShape::distance(const Axis& axis, const ERPoint3D& p,
                                             double& distance) const {
    return ERCylinder::SignedMinimalDistanceCylinder(p, ERInfLine3D(axis.direction, axis.origin),
                                                     radius, distance);
}

int CylinderShape::foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot,
                        ERVector3D& normal) const {
    return ERCylinder::ProjectionNormaleCylinder(p, ERInfLine3D(axis.direction, axis.origin),
                                                 radius, foot, normal);
}

ERPoint2D CylinderShape::parameters(const ERPoint3D& foot, const ERPoint2D& start) const {
    const double side = std::copysign(1.0, radius);
    return ERPoint2D(start.x() + std::fabs(foot.z() - start.x()),
                     start.y() + turnFrom(start.y(), side * foot.x(), side * foot.y()));
}

double CylinderShape::perV(const ERLimites&) const { return std::fabs(radius); }

double CylinderShape::offset(double distance) {
    radius += distance;
    return 0.0;
}

void CylinderShape::printOn(std::ostream& os) const { os << "Rayon   " << radius << std::endl; }

}  // namespace analytic

ERBoundedCylinder::ERBoundedCylinder(const ERPmIsometrie3D& frame, double halfHeight, double radius,
                                     ERRadian start, ERRadian end)
    : ERBoundedCylinder(frame, radius, ERLimites(-halfHeight, halfHeight), ERLimites(start, end)) {}

ERBoundedCylinder::ERBoundedCylinder(const ERPmIsometrie3D& frame, double radius,
                                     const ERLimites& u, const ERLimites& v)
    : BoundedAnalytic(frame, {radius}, u, v) {}

ERBoundedCylinder::ERBoundedCylinder(const ERSegment3D& axis, double radius)
    : BoundedAnalytic(ERPmIsometrie3D(), {radius}, ERLimites(), ERLimites(0.0, twoPi)) {
    axe(axis);
}

ERBoundedCylinder::ERBoundedCylinder(const ERCylinder& cylinder, const ERLimites& u,
                                     const ERLimites& v)
    : ERBoundedCylinder(ERChgRepere3D(cylinder.axe().dirVector(), cylinder.axe().origine()),
                        cylinder.radius(), u, v) {}

ERCylinder::ERCylinder(const ERBoundedCylinder& cylinder)
    : ERCylinder(ERInfLine3D(cylinder.getNormale(), cylinder.getMatrix().origine()),
                 cylinder.radius()) {}

ERSegment3D ERBoundedCylinder::axe() const { return alongAxis(); }

void ERBoundedCylinder::axe(const ERSegment3D& axis) {
    const double half = 0.5 * distance(axis.getP1(), axis.getP2());
    setMatrix(ERChgRepere3D(axis.dirVector(), milieu(axis.getP1(), axis.getP2())));
    redefineDomainU(ERLimites(-half, half));
}

ERArc3D ERBoundedCylinder::getArc(double u) const { return parallel(u, radius(), getBoundV()); }

void ERBoundedCylinder::height(double h) {
    const double middle = getBoundU()(0.5);
    redefineDomainU(ERLimites(middle - 0.5 * h, middle + 0.5 * h));
}

void ERBoundedCylinder::radius(double r) {
    change([&] { shape_.radius = r; });
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCylinder::getEntityIsoU(double u) const {
    return new ERArc3D(getArc(u));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCylinder::getEntityIsoV(double v) const {
    return new ERSegment3D(straightAlongU(v));
}

}  // namespace kerf
