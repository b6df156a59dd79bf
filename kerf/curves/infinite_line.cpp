#include "kerf/curves/infinite_line.h"

#include <cmath>
#include <iomanip>
#include <ostream>

#include "kerf/curves/segment.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {

ER_DEFINE_CLASS(ERInfLine2D, EREntity2DWF)
ER_DEFINE_CLASS(ERInfLine3D, EREntity3DWF)
ER_DEFINE_STORED_CLASS(ERInfLine2D, EREntity2DWF)
ER_DEFINE_STORED_CLASS(ERInfLine3D, EREntity3DWF)

namespace {

// Where the common perpendicular of two lines meets them, as lengths from their origins.
struct NearestLengths {
    double onFirst, onSecond;
};

// False for parallel directions. The product of equal ones may round to something else than 1, so
// these are compared bit by bit.
template <class Space>
bool nearestLengths(const InfiniteLine<Space>& a, const InfiniteLine<Space>& b,
                    NearestLengths& lengths) {
    const auto& d1 = a.dirVector();
    const auto& d2 = b.dirVector();
    if (d1 == d2 || d1 == -d2) return false;
    const double c = d1 * d2;
    const double s = c * c - 1.0;
    if (s == 0.0) return false;
    const typename Space::Vector w(a.origine(), b.origine());
    lengths.onFirst = (c * (d2 * w) - d1 * w) / s;
    lengths.onSecond = (d2 * w - c * (d1 * w)) / s;
    return true;
}

template <class Space>
int directionsAreNormal(const InfiniteLine<Space>& a, const InfiniteLine<Space>& b, double tol) {
    return std::fabs(a.dirVector() * b.dirVector()) <= tol;
}

}  // namespace

template <class Space>
InfiniteLine<Space>::InfiniteLine(const Vector& direction, const Point& origin)
    : direction_(direction), origin_(origin) {}

template <class Space>
void InfiniteLine<Space>::takeFootOfOrigin() {
    origin_ += direction_ * (Vector(origin_, Point()) * direction_);
}

template <class Space>
typename Space::Point InfiniteLine<Space>::projectPt(const Point& p) const {
    return origin_ + direction_ * (Vector(origin_, p) * direction_);
}

template <class Space>
void InfiniteLine<Space>::reverse() {
    direction_ = -direction_;
    this->setDirty();
}

template <class Space>
void InfiniteLine<Space>::scale(double factor) {
    origin_.scale(factor);
    this->setDirty();
}

template <class Space>
void InfiniteLine<Space>::translate(const Point& t) {
    origin_.translate(t);
    this->setDirty();
}

template class InfiniteLine<Space2D>;
template class InfiniteLine<Space3D>;

// In the plane.

ERInfLine2D::ERInfLine2D() : InfiniteLine(ERVector2D(1.0, 0.0), ERPoint2D()) {}

ERInfLine2D::ERInfLine2D(const ERVector2D& direction, const ERPoint2D& p)
    : InfiniteLine(direction.getnormalized(), p) {
    takeFootOfOrigin();
}

ERInfLine2D::ERInfLine2D(const ERPoint2D& a, const ERPoint2D& b)
    : ERInfLine2D(ERVector2D(a, b), a) {}

ERInfLine2D::ERInfLine2D(double a, double b, double c)
    : InfiniteLine(ERVector2D(-b, a), ERPoint2D()) {
    if (a == 0.0 && b == 0.0) return;
    double length = direction_.norme();
    if (length == 0.0 || std::isinf(length)) length = std::hypot(a, b);
    if (length != 1.0) {
        direction_ /= length;
        c /= length;
    }
    origin_ = std::fabs(a) < std::fabs(b) ? ERPoint2D(0.0, -c / b) : ERPoint2D(-c / a, 0.0);
    takeFootOfOrigin();
}

ERInfLine2D::ERInfLine2D(const ERSegment2D& segment)
    : ERInfLine2D(segment.getP1(), segment.getP2()) {}

ERInfLine2D ERInfLine2D::parallele(double k) const {
    // The direction to the last bit: normalised anew it might no longer count as parallel.
    ERInfLine2D line(*this);
    line.origin_ += normalVector() * k;
    line.takeFootOfOrigin();
    return line;
}

void ERInfLine2D::offset(double k) {
    const ERInfLine2D line = parallele(k);
    direction_ = line.direction_;
    origin_ = line.origin_;
    setDirty();
}

int ERInfLine2D::isParallelTo(const ERInfLine2D& other, double tol) const {
    return directionsAreNormal(*this, other, tol);
}

void ERInfLine2D::transformFrom(const ERTransfo2D& transformation) {
    carry([&](const auto& value) { return transformation >> value; });
}

void ERInfLine2D::transformTo(const ERTransfo2D& transformation) {
    carry([&](const auto& value) { return transformation << value; });
}

EREntity::DISTMINRES ERInfLine2D::SignedMinimalDistance(const ERPoint2D& p,
                                                        double& distance) const {
    distance = direction_.j() * (p.x() - origin_.x()) - direction_.i() * (p.y() - origin_.y());
    return SingleNearestPoint;
}

t_SmartPtr<EREntity3DWF> ERInfLine2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERInfLine3D(*this, t);
}

void ERInfLine2D::printOn(std::ostream& os) const {
    const std::streamsize precision = os.precision(3);
    os << std::setw(5) << "InfLine2D" << std::setw(5) << " O" << origin_ << std::setw(5) << " V"
       << direction_ << " (  " << a() << " *x + " << b() << " *y + " << c() << " = 0 )"
       << std::endl;
    os.precision(precision);
}

// In space.

ERInfLine3D::ERInfLine3D() : InfiniteLine(ERVector3D(0.0, 0.0, 1.0), ERPoint3D()) {}

ERInfLine3D::ERInfLine3D(const ERVector3D& direction, const ERPoint3D& p)
    : InfiniteLine(direction.getnormalized(), p) {
    takeFootOfOrigin();
}

ERInfLine3D::ERInfLine3D(const ERPoint3D& a, const ERPoint3D& b)
    : ERInfLine3D(ERVector3D(a, b), a) {}

ERInfLine3D::ERInfLine3D(const ERSegment3D& segment)
    : ERInfLine3D(segment.getP1(), segment.getP2()) {}

ERInfLine3D::ERInfLine3D(const ERInfLine2D& line, const ERPmIsometrie3D& t)
    : ERInfLine3D(t >> line.dirVector().castToVector3D(Coord3D::CoordZ, 0.0),
                  t >> line.origine().castToPoint3D(Coord3D::CoordZ, 0.0)) {}

ERInfLine3D::ERInfLine3D(const ERInfLine2D& line, enum Coord3D axis, double value)
    : ERInfLine3D(line.dirVector().castToVector3D(axis, 0.0),
                  line.origine().castToPoint3D(axis, value)) {}

int ERInfLine3D::IsParallelTo(const ERInfLine3D& other, double tol) const {
    return directionsAreNormal(*this, other, tol);
}

void ERInfLine3D::transformFrom(const ERPmSimilitude3D& transformation) {
    carry([&](const auto& value) { return transformation >> value; });
}

void ERInfLine3D::transformFrom(const ERPmIsometrie3D& transformation) {
    carry([&](const auto& value) { return transformation >> value; });
}

void ERInfLine3D::transformTo(const ERPmSimilitude3D& transformation) {
    carry([&](const auto& value) { return transformation << value; });
}

void ERInfLine3D::transformTo(const ERPmIsometrie3D& transformation) {
    carry([&](const auto& value) { return transformation << value; });
}

EREntity::DISTMINRES ERInfLine3D::SignedMinimalDistance(const ERPoint3D& p,
                                                        double& distance) const {
    distance = kerf::distance(*this, p);
    return NearestPointUnsigned;
}

t_SmartPtr<EREntity2DWF> ERInfLine3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return new ERInfLine2D((t << direction_).castToVector2D(Coord3D::CoordZ), t.Project(origin_));
}

void ERInfLine3D::printOn(std::ostream& os) const {
    os << "Droite Infinie Org=" << origin_ << " Vec=" << direction_;
}

// How lines lie to each other and to points.

int intersect(const ERInfLine2D& a, const ERInfLine2D& b, ERPoint2D& p) {
    NearestLengths lengths;
    if (!nearestLengths(a, b, lengths)) return 0;
    p = a.origine() + a.dirVector() * lengths.onFirst;
    return 1;
}

int intersect(const ERInfLine3D& a, const ERInfLine3D& b, ERPoint3D& pa, ERPoint3D& pb) {
    NearestLengths lengths;
    if (!nearestLengths(a, b, lengths)) return 0;
    pa = a.origine() + a.dirVector() * lengths.onFirst;
    pb = b.origine() + b.dirVector() * lengths.onSecond;
    return 1;
}

int Coplanar(const ERInfLine3D& a, const ERInfLine3D& b) {
    ERPoint3D pa, pb;
    return intersect(a, b, pa, pb) == 0 || distance(pa, pb) == 0.0;
}

int operator||(const ERInfLine2D& a, const ERInfLine2D& b) { return a.isParallelTo(b, 0.0); }
int operator||(const ERInfLine3D& a, const ERInfLine3D& b) { return a.IsParallelTo(b, 0.0); }

double distance(const ERInfLine2D& line, const ERPoint2D& p) {
    return distance(p, line.projectPt(p));
}

double distance(const ERInfLine3D& line, const ERPoint3D& p) {
    return distance(p, line.projectPt(p));
}

double distance(const ERInfLine3D& a, const ERInfLine3D& b) {
    ERPoint3D pa, pb;
    if (intersect(a, b, pa, pb) == 0) return distance(a, b.origine());
    return distance(pa, pb);
}

}  // namespace kerf
