#include "kerf/curves/polyline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <type_traits>

#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/segment.h"
#include "kerf/values/point_list.h"

namespace kerf {

ER_DEFINE_CLASS(ERPolyline2D, ERFiniteEntity2DWF)
ER_DEFINE_CLASS(ERPolyline3D, ERFiniteEntity3DWF)
ER_DEFINE_CLASS(ERPolygone2D, ERPolyline2D)
ER_DEFINE_CLASS(ERPolygone3D, ERPolyline3D)
ER_DEFINE_STORED_CLASS(ERPolyline2D, ERFiniteEntity2DWF)
ER_DEFINE_STORED_CLASS(ERPolyline3D, ERFiniteEntity3DWF)
ER_DEFINE_STORED_CLASS(ERPolygone2D, ERPolyline2D)
ER_DEFINE_STORED_CLASS(ERPolygone3D, ERPolyline3D)

template <class Space>
double Polyline<Space>::ufin() const {
    const unsigned int n = this->length();
    return n > 0 ? n - 1 : 0.0;
}

template <class Space>
int Polyline<Space>::isClosed() const {
    const auto closer = [](double a, double b) { return std::fabs(a - b) < equalityTolerance; };
    if (this->length() == 0) return 0;
    const auto a = Space::coordinates(this->first());
    const auto b = Space::coordinates(this->last());
    return std::equal(a.begin(), a.end(), b.begin(), closer);
}

template <class Space>
void Polyline<Space>::close() {
    if (this->length() == 0 || isClosed()) return;
    const Point start = vertices().first();
    this->append(start);
}

// The segment on which u lies; needs two vertices. A NaN is on the first.
template <class Space>
unsigned int Polyline<Space>::segmentAt(double u) const {
    const unsigned int last = this->length() - 2;
    if (!(u > 0.0)) return 0;
    return u < last ? static_cast<unsigned int>(u) : last;
}

template <class Space>
typename Space::InfoPoint Polyline<Space>::PtCur(double u) const {
    const unsigned int n = this->length();
    const Point* const p = vertices().data();
    if (n < 2) {
        using Vector = typename Space::Vector;
        return typename Space::InfoPoint(u, 1, n == 0 ? Point() : *p, Vector(), Vector());
    }
    const unsigned int i = segmentAt(u);
    return detail::infoBetween<Space>(p[i], p[i + 1], u - i, u);
}

template <class Space>
typename Space::Box Polyline<Space>::getBox() const {
    return typename Space::Box(vertices());
}

template <class Space>
void Polyline<Space>::prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                                    double) const {
    const double start = limits.start();
    const double end = limits.end();
    list.append((*this)(start), start);
    const unsigned int n = this->length();
    if (n > 2 && start < end) {
        const Point* const p = vertices().data();
        for (unsigned int i = start < 1.0 ? 1 : segmentAt(start) + 1; i < n - 1 && i < end; ++i) {
            if (i > start) list.append(p[i], i);
        }
    }
    list.append((*this)(end), end);
}

template <class Space>
ERVec<typename Space::Point> Polyline<Space>::approxime(const ERLimites& limits, double tol) const {
    typename Space::PointList list;
    prepareApprox(list, limits, tol);
    return list.toVec();
}

// The length from vertex 0 to u, negative before it; needs two vertices.
template <class Space>
double Polyline<Space>::lengthUpTo(double u) const {
    const Point* const p = vertices().data();
    const unsigned int segment = segmentAt(u);
    double length = (u - segment) * distance(p[segment], p[segment + 1]);
    for (unsigned int i = 0; i < segment; ++i) length += distance(p[i], p[i + 1]);
    return length;
}

template <class Space>
double Polyline<Space>::arcLength(ERLimites limits, double) const {
    if (this->length() < 2) return 0.0;
    return std::fabs(lengthUpTo(limits.end()) - lengthUpTo(limits.start()));
}

template <class Space>
double Polyline<Space>::arcLength(double) const {
    return this->length() < 2 ? 0.0 : lengthUpTo(ufin());
}

template <class Space>
int Polyline<Space>::splitAt(t_SmartPtr<typename Space::Curve>& left,
                             t_SmartPtr<typename Space::Curve>& right, double u) const {
    using Whole = std::conditional_t<Space::dimension == 2, ERPolyline2D, ERPolyline3D>;
    const unsigned int n = this->length();
    if (n == 0 || !getBound().inBound(u)) return 0;
    // Where u is a vertex it ends one part and starts the other; else a new point does.
    const auto before = static_cast<unsigned int>(u);
    const bool atVertex = before == u;
    const Point* const p = vertices().data();
    Vertices start(p, before + 1);
    Vertices end(p + before, n - before);
    if (!atVertex) {
        const Point middle = (*this)(u);
        start.append(middle);
        end[0] = middle;
    }
    const t_SmartPtr<typename Space::Curve> first(new Whole(start));
    const t_SmartPtr<typename Space::Curve> second(new Whole(end));
    left = first;
    right = second;
    return 1;
}

template <class Space>
typename Space::Nurbs Polyline<Space>::ConvertToNurbs() const {
    using Pole = typename Space::Pole;
    const unsigned int n = this->length();
    if (n == 0) return typename Space::Nurbs();
    ERVec<Pole> poles(n);
    for (unsigned int i = 0; i < n; ++i) poles[i] = Pole(vertices()[i], 1.0);
    if (n == 1) return typename Space::Nurbs(poles);
    ERVec<double> knots(n + 2);
    for (unsigned int i = 0; i < n; ++i) knots[i + 1] = i;
    knots[n + 1] = ufin();
    return typename Space::Nurbs(poles, ERKnotVector(1, knots));
}

template <class Space>
int Polyline<Space>::ProjectPoint(const Point& p, ERVec<double>& parameters, double) const {
    using Vector = typename Space::Vector;
    const unsigned int n = this->length();
    const unsigned int found = parameters.length();
    const Point* const v = vertices().data();
    double least = std::numeric_limits<double>::infinity();
    const auto consider = [&](const Point& foot, double u) {
        const double squared = distance2(foot, p);
        if (!(squared < std::numeric_limits<double>::infinity()) || squared > least) return;
        if (squared < least) parameters.troncat(found);
        least = squared;
        parameters.append(u);
    };
    // The vertices apart, so that a foot on one has one distance and one parameter.
    for (unsigned int i = 0; i < n; ++i) {
        consider(v[i], i);
        if (i + 1 == n) break;
        const Vector side(v[i], v[i + 1]);
        const double t = (Vector(v[i], p) * side) / side.norme2();
        if (t > 0.0 && t < 1.0) consider(v[i] + side * t, i + t);
    }
    return static_cast<int>(parameters.length());
}

template <class Space>
int Polyline<Space>::IsContinuous(int order) const {
    return order < 1 || this->length() <= 2;
}

template <class Space>
int Polyline<Space>::GetDiscontinuities(int order, ERVec<double>& parameters) const {
    parameters.clear();
    if (IsContinuous(order)) return 1;
    const unsigned int n = this->length();
    parameters.resize(n - 2);
    for (unsigned int i = 1; i + 1 < n; ++i) parameters[i - 1] = i;
    return 1;
}

template <class Space>
void Polyline<Space>::reverse() {
    Vertices::reverse();
    this->setDirty();
}

template <class Space>
void Polyline<Space>::cleanUp() {
    Point* const p = vertices().data();
    Point* const end = std::unique(p, p + this->length());
    this->troncat(static_cast<unsigned int>(end - p));
    this->setDirty();
}

template class Polyline<Space2D>;
template class Polyline<Space3D>;

namespace {

ERVec<ERPoint3D> lifted(const ERVec<ERPoint2D>& points, const ERPmIsometrie3D& t) {
    ERVec<ERPoint3D> images(points.length());
    for (unsigned int i = 0; i < points.length(); ++i) {
        images[i] = points[i].castToPoint3D(Coord3D::CoordZ, 0.0);
    }
    return t >> images;
}

ERVec<ERPoint2D> projected(const ERVec<ERPoint3D>& points, const ERPmIsometrie3D& t) {
    ERVec<ERPoint2D> images(points.length());
    for (unsigned int i = 0; i < points.length(); ++i) images[i] = t.Project(points[i]);
    return images;
}

}  // namespace

t_SmartPtr<EREntity3DWF> ERPolyline2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERPolyline3D(lifted(*this, t));
}

t_SmartPtr<EREntity3DWF> ERPolygone2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERPolygone3D(lifted(*this, t));
}

t_SmartPtr<EREntity2DWF> ERPolyline3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return new ERPolyline2D(projected(*this, t));
}

t_SmartPtr<EREntity2DWF> ERPolygone3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return new ERPolygone2D(projected(*this, t));
}

void ERPolyline2D::printOn(std::ostream& os) const {
    os << "Polyline 2D : ";
    vertices().printOn(os);
}

void ERPolyline3D::printOn(std::ostream& os) const {
    os << "Polyline 3D : ";
    vertices().printOn(os);
}

}  // namespace kerf
