#include "kerf/curves/segment.h"

#include <limits>
#include <ostream>

#include "kerf/curves/nurbs_curve.h"

namespace kerf {

ER_DEFINE_CLASS(ERSegment2D, ERFiniteEntity2DWF)
ER_DEFINE_CLASS(ERSegment3D, ERFiniteEntity3DWF)
ER_DEFINE_STORED_CLASS(ERSegment2D, ERFiniteEntity2DWF)
ER_DEFINE_STORED_CLASS(ERSegment3D, ERFiniteEntity3DWF)

namespace {

// The segment of the space whose points are Points.
template <class Point>
struct SegmentOf;
template <>
struct SegmentOf<ERPoint2D> {
    using Type = ERSegment2D;
};
template <>
struct SegmentOf<ERPoint3D> {
    using Type = ERSegment3D;
};

template <class Point>
auto newSegment(const Point& p1, const Point& p2) {
    return new typename SegmentOf<Point>::Type(p1, p2);
}

}  // namespace

template <class Space>
void Segment<Space>::setP1(const Point& p) {
    p1_ = p;
    this->setDirty();
}

template <class Space>
void Segment<Space>::setP2(const Point& p) {
    p2_ = p;
    this->setDirty();
}

template <class Space>
typename Space::Vector Segment<Space>::dirVector() const {
    return Vector(p1_, p2_).getnormalized();
}

template <class Space>
typename Space::InfoPoint Segment<Space>::PtCur(double u) const {
    return detail::infoBetween<Space>(p1_, p2_, u, u);
}

template <class Space>
typename Space::Point Segment<Space>::operator()(double u) const {
    return detail::pointBetween(p1_, p2_, u);
}

template <class Space>
typename Space::Box Segment<Space>::getBox() const {
    typename Space::Box box;
    box.Update(p1_);
    box.Update(p2_);
    return box;
}

template <class Space>
ERVec<typename Space::Point> Segment<Space>::approxime(int) const {
    const Point ends[2] = {p1_, p2_};
    return ERVec<Point>(ends, 2);
}

template <class Space>
double Segment<Space>::arcLength(ERLimites limits, double) const {
    return distance((*this)(limits.start()), (*this)(limits.end()));
}

template <class Space>
double Segment<Space>::arcLength(double) const {
    return distance(this->firstPt(), this->lastPt());
}

template <class Space>
int Segment<Space>::splitAt(t_SmartPtr<typename Space::Curve>& left,
                            t_SmartPtr<typename Space::Curve>& right, double u) const {
    const Point middle = (*this)(u);
    const t_SmartPtr<typename Space::Curve> first(newSegment(p1_, middle));
    const t_SmartPtr<typename Space::Curve> second(newSegment(middle, p2_));
    left = first;
    right = second;
    return 1;
}

template <class Space>
typename Space::Nurbs Segment<Space>::ConvertToNurbs() const {
    using Pole = typename Space::Pole;
    const Pole poles[2] = {Pole(p1_, 1.0), Pole(p2_, 1.0)};
    return typename Space::Nurbs(ERVec<Pole>(poles, 2), 1);
}

template <class Space>
void Segment<Space>::reverse() {
    swap(p1_, p2_);
    this->setDirty();
}

template <class Space>
int Segment<Space>::isClosed() const {
    return 0;
}

template <class Space>
typename Space::Point Segment<Space>::footOnLine(const Point& p) const {
    const Vector d = dirVector();
    return p1_ + d * (Vector(p1_, p) * d);
}

template <class Space>
int Segment<Space>::ProjectPoint(const Point& p, ERVec<double>& parameters, double& height) const {
    const Vector d = dirVector();
    const double k = Vector(p1_, p) * d;
    const double t = k / distance(p1_, p2_);
    if (t >= 0.0 && t <= 1.0) parameters.append(t);
    height = distance(p1_ + d * k, p);
    return static_cast<int>(parameters.length());
}

template class Segment<Space2D>;
template class Segment<Space3D>;

ERVector2D ERSegment2D::normalVector() const {
    const ERVector2D d = dirVector();
    return ERVector2D(-d.j(), d.i());
}

ERVector2D ERSegment2D::normal(double) const { return normalVector(); }

t_SmartPtr<EREntity3DWF> ERSegment2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERSegment3D(t >> p1_.castToPoint3D(Coord3D::CoordZ, 0.0),
                           t >> p2_.castToPoint3D(Coord3D::CoordZ, 0.0));
}

void ERSegment2D::printOn(std::ostream& os) const {
    os << "Segment 2D : P1=" << p1_ << " P2=" << p2_ << std::endl;
}

EREntity::DISTMINRES ERSegment3D::SignedMinimalDistance(const ERPoint3D& p,
                                                        double& distance) const {
    const ERPoint3D foot = footOnLine(p);
    const double t = div_vect(p1_, p2_, foot);
    const ERPoint3D& nearest = t > 1.0 ? p2_ : t >= 0.0 ? foot : p1_;
    distance = kerf::distance(nearest, p);
    return SingleNearestPoint;
}

unsigned int ERSegment3D::intersectWithPlanZ(double z, ERVec<double>& parameters) const {
    const ERVector3D e = dirVector();
    if (e.k() == 0.0) return 0;
    const double t = (z - p1_.z()) / e.k();
    if (t >= 0.0 && t <= 1.0) parameters.append(t);
    return parameters.length();
}

t_SmartPtr<EREntity2DWF> ERSegment3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return new ERSegment2D(t.Project(p1_), t.Project(p2_));
}

void ERSegment3D::printOn(std::ostream& os) const {
    os << "Segment 3D : P1=" << p1_ << " P2=" << p2_ << std::endl;
}

}  // namespace kerf
