#include "kerf/surfaces/plane.h"

#include <cmath>
#include <ostream>

#include "kerf/curves/circle_builders.h"

namespace kerf {

ER_DEFINE_CLASS(ERPlane, ERSurface)
ER_DEFINE_STORED_CLASS(ERPlane, ERSurface)

ERPlane::ERPlane(double a, double b, double c, double d) : normal_(a, b, c), d_(d) {
    const double length = std::hypot(a, b, c);
    if (length == 0.0) return;
    normal_ /= length;
    d_ /= length;
}

ERPlane::ERPlane(const ERPoint3D& p, const ERVector3D& normal) : normal_(normal) { lieThrough(p); }

ERPlane::ERPlane(const ERPmIsometrie3D& frame, enum Coord3D axis)
    : ERPlane(frame.origine(), frame.getVector(axis)) {}

void ERPlane::lieThrough(const ERPoint3D& p) {
    normal_.normalize();
    d_ = -(normal_ * ERVector3D(p));
}

void ERPlane::getCoefficients(double& a, double& b, double& c, double& d) const {
    a = normal_.i();
    b = normal_.j();
    c = normal_.k();
    d = d_;
}

ERPoint3D ERPlane::origine() const { return ERPoint3D(normal_ * -d_); }

ERPmIsometrie3D ERPlane::getTransfo() const { return ERChgRepere3D(normal_, origine()); }

double ERPlane::distancePt(const ERPoint3D& p) const { return normal_ * ERVector3D(p) + d_; }

ERPoint3D ERPlane::project(const ERPoint3D& p) const {
    return p - normal_ * (distancePt(p) / normal_.norme2());
}

ERVector3D ERPlane::project(const ERVector3D& v) const {
    return v - normal_ * ((normal_ * v) / normal_.norme2());
}

ERInfLine3D ERPlane::project(const ERInfLine3D& line) const {
    return ERInfLine3D(project(line.origine()), project(line.origine() + line.dirVector()));
}

ERPlane ERPlane::getOffset(double k) const { return ERPlane(origine() + normal_ * k, normal_); }

ERPlane ERPlane::getreversed() const {
    ERPlane plane(*this);
    plane.reverse();
    return plane;
}

EREntity::DISTMINRES ERPlane::SignedMinimalDistance(const ERPoint3D& p, double& distance) const {
    distance = distancePt(p);
    return SingleNearestPoint;
}

EREntity::DISTMINRES ERPlane::SignedMinimalDistancePlane(const ERPoint3D& p, const ERVector3D&,
                                                         double a, double b, double c, double d,
                                                         double& distance) {
    distance = ERVector3D(a, b, c) * ERVector3D(p) + d;
    return SingleNearestPoint;
}

int ERPlane::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    foot = project(p);
    normal = normal_;
    return 1;
}

void ERPlane::reverse() {
    normal_ = -normal_;
    d_ = -d_;
    setDirty();
}

void ERPlane::offset(double k) {
    lieThrough(origine() + normal_ * k);
    setDirty();
}

void ERPlane::printOn(std::ostream& os) const {
    os << "Plane : a=" << normal_.i() << " b=" << normal_.j() << " c=" << normal_.k() << " d=" << d_
       << std::endl;
}

int intersect(const ERPlane& plane, const ERInfLine3D& line, ERPoint3D& p) {
    const double slope = plane.getNormale() * line.dirVector();
    if (slope == 0.0) return 0;
    p = line.origine() - line.dirVector() * (plane.distancePt(line.origine()) / slope);
    return 1;
}

int BuildSlot(const ERCircle3D& c1, const ERCircle3D& c2, const ERPlane& plane, ERArc3D& a1,
              ERArc3D& a2) {
    return BuildSlot(c1, c2, plane.getTransfo(), a1, a2);
}

}  // namespace kerf
