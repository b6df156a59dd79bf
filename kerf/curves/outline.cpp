#include "kerf/curves/outline.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/internal/outline_pieces.h"
#include "kerf/curves/internal/planar_outline.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/segment.h"

namespace kerf {

ER_DEFINE_CLASS(ERRectangle2D, EREntity2DWF)
ER_DEFINE_CLASS(ERRegularPolygon2D, EREntity2DWF)
ER_DEFINE_CLASS(ERRectangle3D, ERPlanarEntity3DWF)
ER_DEFINE_CLASS(ERRegularPolygon3D, ERPlanarEntity3DWF)
ER_DEFINE_STORED_CLASS(ERRectangle2D, EREntity2DWF)
ER_DEFINE_STORED_CLASS(ERRegularPolygon2D, EREntity2DWF)
ER_DEFINE_STORED_CLASS(ERRectangle3D, ERPlanarEntity3DWF)
ER_DEFINE_STORED_CLASS(ERRegularPolygon3D, ERPlanarEntity3DWF)

namespace {

constexpr double pi = 3.141592653589793;
constexpr double turn = 6.283185307179586;

ERVector2D leftOf(const ERVector2D& v) { return ERVector2D(-v.j(), v.i()); }

}  // namespace

// Every outline.

ERVector2D Outline2D::auxiliary_direction() const { return leftOf(main_direction()); }

EREntity::DISTMINRES Outline2D::ProjectPt(const ERPoint2D& p, ERPoint2D& foot) const {
    double u = 0.0;
    int index = 0;
    return Project(p, foot, u, index);
}

int Outline2D::Get_Entity_Number(const ERPoint2D& p, int& index) const {
    ERPoint2D foot;
    double u = 0.0;
    return Project(p, foot, u, index) == SingleNearestPoint;
}

// Outlines of straight sides.

ERInfoPoint2D CornerOutline2D::PtCur(double u) const {
    const unsigned int n = corners_.length();
    if (n == 0) return ERInfoPoint2D();
    const double v = detail::intoRange(u, n);
    // A corner lies on the side that ends there, as in Project. A NaN is on the first side.
    const unsigned int i = v > 1.0 ? static_cast<unsigned int>(std::ceil(v)) - 1 : 0;
    const ERPoint2D* const corner = corners_.data();
    return detail::infoBetween<Space2D>(corner[i], corner[i + 1 < n ? i + 1 : 0], v - i, v);
}

ERMinimax2D CornerOutline2D::getBox() const { return ERMinimax2D(corners_); }

EREntity::DISTMINRES CornerOutline2D::Project(const ERPoint2D& p, ERPoint2D& foot, double& u,
                                              int& index) const {
    const unsigned int n = corners_.length();
    const ERPoint2D* const corner = corners_.data();
    detail::NearestFoot nearest(p);
    for (unsigned int i = 0; i < n; ++i) {
        nearest.considerSegment(corner[i], corner[i + 1 < n ? i + 1 : 0], static_cast<int>(i));
    }
    return nearest.result(foot, u, index);
}

EREntity::DISTMINRES CornerOutline2D::SignedMinimalDistance(const ERPoint2D& p,
                                                            double& distance) const {
    ERPoint2D foot;
    if (ProjectPt(p, foot) == NoFootPoint) return NoFootPoint;
    // Inside by the number of sides that a ray to the right crosses.
    const unsigned int n = corners_.length();
    const ERPoint2D* const corner = corners_.data();
    bool inside = false;
    for (unsigned int i = 0; i < n; ++i) {
        const ERPoint2D& a = corner[i];
        const ERPoint2D& b = corner[i + 1 < n ? i + 1 : 0];
        if ((a.y() > p.y()) == (b.y() > p.y())) continue;
        const double area = ERVector2D(a, b) ^ ERVector2D(a, p);
        if ((area > 0.0) == (b.y() > a.y())) inside = !inside;
    }
    const double d = kerf::distance(foot, p);
    distance = inside ? -d : d;
    return SingleNearestPoint;
}

double CornerOutline2D::distanceOf(unsigned int i, unsigned int j) const {
    const unsigned int n = corners_.length();
    return i < n && j < n ? distance(points()[i], points()[j]) : 0.0;
}

ERVector2D CornerOutline2D::directionOf(unsigned int i, unsigned int j) const {
    const unsigned int n = corners_.length();
    return i < n && j < n ? ERVector2D(points()[i], points()[j]).getnormalized() : ERVector2D();
}

template <class Flat>
void CornerOutline3D<Flat>::points(const ERVec<ERPoint3D>& corners) {
    ERVec<ERPoint2D> feet(corners.length());
    for (unsigned int i = 0; i < corners.length(); ++i) feet[i] = this->inPlane(corners[i]);
    this->flat_.points(feet);
    this->setDirty();
}

template <class Flat>
t_SmartPtr<EREntity2DWF> CornerOutline3D<Flat>::get2DEntProjectedOn(
    const ERPmIsometrie3D& t) const {
    const ERVec<ERPoint3D> corners = points();
    ERVec<ERPoint2D> images(corners.length());
    for (unsigned int i = 0; i < corners.length(); ++i) images[i] = t.Project(corners[i]);
    if (this->isSeenFlat(t)) return new Flat(images);
    return new ERPolygone2D(images);
}

template class PlanarOutline<ERRectangle2D>;
template class PlanarOutline<ERRegularPolygon2D>;
template class CornerOutline3D<ERRectangle2D>;
template class CornerOutline3D<ERRegularPolygon2D>;

// Rectangles.

ERRectangle2D::ERRectangle2D(const ERPoint2D& centre, const ERVector2D& direction, double length,
                             double width) {
    const ERVector2D d = direction.getnormalized();
    const ERVector2D h = d * (length * 0.5);
    const ERVector2D w = leftOf(d) * (width * 0.5);
    const ERPoint2D corners[4] = {centre - h - w, centre + h - w, centre + h + w, centre - h + w};
    corners_ = ERVec<ERPoint2D>(corners, 4);
}

ERPoint2D ERRectangle2D::centre() const {
    return corners_.length() < 4 ? ERPoint2D() : milieu(points()[0], points()[2]);
}

void ERRectangle2D::points(const ERVec<ERPoint2D>& corners) {
    if (corners.length() != 4) return;
    corners_ = corners;
    setDirty();
}

t_SmartPtr<EREntity3DWF> ERRectangle2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERRectangle3D(t, *this);
}

void ERRectangle2D::reverse() {
    corners_.reverse();
    setDirty();
}

void ERRectangle2D::printOn(std::ostream& os) const {
    os << "Rectangle 2D : ";
    corners_.printOn(os);
}

void ERRectangle3D::printOn(std::ostream& os) const {
    os << "Rectangle 3D : ";
    points().printOn(os);
}

// Regular polygons.

ERRegularPolygon2D::ERRegularPolygon2D(const ERPoint2D& centre, const ERVector2D& direction,
                                       double side, int n) {
    if (n < 2) return;
    const ERVector2D d = direction.getnormalized();
    const double radius = side / (2.0 * std::sin(pi / n));
    corners_ = ERVec<ERPoint2D>(static_cast<unsigned int>(n));
    ERPoint2D* const corner = corners_.data();
    for (int i = 0; i < n; ++i) {
        const double angle = i * (turn / n);
        corner[i] = centre + (d * std::cos(angle) + leftOf(d) * std::sin(angle)) * radius;
    }
}

ERPoint2D ERRegularPolygon2D::barycenter() const {
    const unsigned int n = corners_.length();
    ERPoint2D sum;
    for (unsigned int i = 0; i < n; ++i) sum += points()[i];
    return n == 0 ? sum : sum / n;
}

double ERRegularPolygon2D::outside_radius() const {
    return corners_.length() == 0 ? 0.0 : distance(points()[0], barycenter());
}

double ERRegularPolygon2D::inside_radius() const {
    return corners_.length() == 0 ? 0.0 : outside_radius() * std::cos(pi / nb_side());
}

ERVector2D ERRegularPolygon2D::main_direction() const {
    if (corners_.length() == 0) return ERVector2D();
    return ERVector2D(barycenter(), points()[0]).getnormalized();
}

ERInfoPoint2D ERRegularPolygon2D::PtCur(double u) const {
    const double n = corners_.length();
    const double v = detail::intoRange(u, n);
    return CornerOutline2D::PtCur(v >= n ? 0.0 : v);
}

void ERRegularPolygon2D::points(const ERVec<ERPoint2D>& corners) {
    corners_ = corners;
    setDirty();
}

void ERRegularPolygon2D::offset(double delta) {
    const unsigned int n = corners_.length();
    if (n < 3) return;
    const ERPoint2D centre = barycenter();
    const double outwards = delta / std::cos(pi / n);
    ERPoint2D* const corner = corners_.data();
    for (unsigned int i = 0; i < n; ++i) {
        corner[i] += ERVector2D(centre, corner[i]).getnormalized() * outwards;
    }
    setDirty();
}

t_SmartPtr<EREntity3DWF> ERRegularPolygon2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERRegularPolygon3D(t, *this);
}

void ERRegularPolygon2D::reverse() {
    const unsigned int n = corners_.length();
    if (n > 0) std::reverse(corners_.data() + 1, corners_.data() + n);
    setDirty();
}

void ERRegularPolygon2D::printOn(std::ostream& os) const {
    os << "Regular Polygon 2D : ";
    corners_.printOn(os);
}

void ERRegularPolygon3D::offset(double delta) {
    flat_.offset(delta);
    setDirty();
}

void ERRegularPolygon3D::printOn(std::ostream& os) const {
    os << "Regular Polygon 3D : ";
    points().printOn(os);
}

}  // namespace kerf
