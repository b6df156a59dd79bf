#include "kerf/curves/circle.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/values/box.h"

namespace kerf {

ER_DEFINE_CLASS(ERCircle2D, EREntity2DWF)
ER_DEFINE_CLASS(ERCircle3D, ERPlanarEntity3DWF)
ER_DEFINE_STORED_CLASS(ERCircle2D, EREntity2DWF)
ER_DEFINE_STORED_CLASS(ERCircle3D, ERPlanarEntity3DWF)

double ERCircle3D::precisionProj = 1e-10;

namespace {

constexpr double contactTolerance = 1e-11;

// The frame of the plane where a coordinate has a value, its first two axes the other coordinates.
ERPmIsometrie3D coordinatePlane(enum Coord3D axis, double value) {
    return ERChgRepere3D(ERVector2D(1.0, 0.0).castToVector3D(axis, 0.0),
                         ERVector2D(0.0, 1.0).castToVector3D(axis, 0.0),
                         ERPoint2D().castToPoint3D(axis, value));
}

EREntity::DISTMINRES resultAt(double distanceToCentre) {
    return distanceToCentre <= contactTolerance ? EREntity::NearestPointNotUnique
                                                : EREntity::SingleNearestPoint;
}

}  // namespace

void ERCircle2D::setCenter(const ERPoint2D& centre) {
    centre_ = centre;
    setDirty();
}

void ERCircle2D::setRadius(double radius) {
    radius_ = radius;
    setDirty();
}

ERPoint2D ERCircle2D::operator()(double u) const {
    return ERPoint2D(centre_.x() + radius_ * std::cos(u), centre_.y() + radius_ * std::sin(u));
}

ERMinimax2D ERCircle2D::getBox() const {
    const ERPoint2D r(radius_, radius_);
    return ERMinimax2D(centre_ - r, centre_ + r);
}

EREntity::DISTMINRES ERCircle2D::SignedMinimalDistance(const ERPoint2D& p, double& distance) const {
    const double d = kerf::distance(p, centre_);
    distance = d - std::fabs(radius_);
    return resultAt(d);
}

t_SmartPtr<EREntity3DWF> ERCircle2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERCircle3D(t, *this);
}

void ERCircle2D::scale(double factor) {
    centre_ *= factor;
    radius_ *= factor;
    setDirty();
}

void ERCircle2D::translate(const ERPoint2D& t) {
    centre_ += t;
    setDirty();
}

void ERCircle2D::transformFrom(const ERTransfo2D& transformation) {
    centre_ = transformation >> centre_;
    radius_ *= transformation.factHomo();
    setDirty();
}

void ERCircle2D::transformTo(const ERTransfo2D& transformation) {
    centre_ = transformation << centre_;
    radius_ /= transformation.factHomo();
    setDirty();
}

void ERCircle2D::printOn(std::ostream& os) const {
    os << "Cercle2D : Centre  " << centre_ << " Rayon  " << radius_ << std::endl;
}

ERCircle3D::ERCircle3D(const ERPoint3D& centre, const ERVector3D& normal, double radius)
    : ERCircle3D(ERChgRepere3D(normal, centre), radius) {}

ERCircle3D::ERCircle3D(const ERPmIsometrie3D& frame, const double& radius)
    : Planar(frame, ERCircle2D(ERPoint2D(), radius)) {}

ERCircle3D::ERCircle3D(const ERCircle2D& circle, enum Coord3D axis, double value)
    : Planar(coordinatePlane(axis, value), circle) {}

void ERCircle3D::setCenter(const ERPoint3D& centre) {
    setTransfo(ERTranslation3D(centre) * getRepere().get_rotation_matrix());
    flat_.setCenter(ERPoint2D());
    setDirty();
}

void ERCircle3D::setNormale(const ERVector3D& normal) {
    setTransfo(ERChgRepere3D(normal, center()));
    flat_.setCenter(ERPoint2D());
    setDirty();
}

void ERCircle3D::setRadius(double radius) {
    flat_.setRadius(radius);
    setDirty();
}

ERMinimax3D ERCircle3D::getBox() const { return transform(flat_.getBox()); }

EREntity::DISTMINRES ERCircle3D::SignedMinimalDistance(const ERPoint3D& p, double& distance) const {
    const ERPoint3D inFrame = local(p);
    const double d = kerf::distance(inFrame.castToPoint2D(Coord3D::CoordZ), flat_.center());
    const double gap = d - std::fabs(radius());
    const double length = std::hypot(gap, inFrame.z());
    distance = gap < 0.0 ? -length : length;
    return resultAt(d);
}

int ERCircle3D::Project2DWillBeCircle(const ERPmIsometrie3D& t) const {
    return norme(t.getVector(Coord3D::CoordZ) ^ normale()) <= precisionProj;
}

int ERCircle3D::Project2DWillBeSegment(const ERPmIsometrie3D& t) const {
    return std::fabs(t.getVector(Coord3D::CoordZ) * normale()) <= precisionProj;
}

int ERCircle3D::Project2DWillBeEllipse(const ERPmIsometrie3D& t) const {
    return !Project2DWillBeCircle(t) && !Project2DWillBeSegment(t);
}

void ERCircle3D::printOn(std::ostream& os) const {
    os << "Cercle : Rayon   " << radius() << std::endl;
    os << "       : Normale " << normale() << std::endl;
    os << "       : Centre  " << center() << std::endl;
}

int intersect(const ERCircle2D& c1, const ERCircle2D& c2, ERPoint2D& p, ERPoint2D& q) {
    const double r1 = std::fabs(c1.radius()), r2 = std::fabs(c2.radius());
    const double d = distance(c1.center(), c2.center());
    if (r1 + r2 < d || r2 + d < r1 || r1 + d < r2) return 0;
    if (!(d > 1e-10)) return 0;
    const ERVector2D u = ERVector2D(c1.center(), c2.center()).getnormalized();
    const auto same = [](double a, double b) { return std::fabs(a - b) <= contactTolerance; };
    if (same(d, r1 + r2) || same(r1 + d, r2) || same(r2 + d, r1)) {
        p = q = c1.center() + u * r1;
        return 1;
    }
    const double k = (d * d + r1 * r1 - r2 * r2) / d * 0.5;
    const double h = std::sqrt(std::max(0.0, r1 * r1 - k * k));
    const ERPoint2D middle = c1.center() + u * k;
    const ERVector2D half = ERVector2D(-u.j(), u.i()) * h;
    p = middle + half;
    q = middle - half;
    return 1;
}

int intersect(const ERCircle2D& c1, const ERCircle2D& c2, ERVec<double>& onFirst,
              ERVec<double>& onSecond) {
    ERPoint2D p, q;
    if (!intersect(c1, c2, p, q)) return 0;
    const auto append = [&](const ERPoint2D& point) {
        const ERVector2D fromFirst(c1.center(), point), fromSecond(c2.center(), point);
        onFirst.append(std::atan2(fromFirst.j(), fromFirst.i()));
        onSecond.append(std::atan2(fromSecond.j(), fromSecond.i()));
    };
    append(p);
    if (!(q == p)) append(q);
    return 1;
}

}  // namespace kerf
