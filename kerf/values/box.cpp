#include "kerf/values/box.h"

#include <algorithm>

#include "kerf/numerics/vector_impl.h"
#include "kerf/platform/archive.h"

namespace kerf {

KERF_INSTANTIATE_SIMPLE_VECTOR(ERMinimax3D)
KERF_INSTANTIATE_SIMPLE_GRID(ERMinimax3D)

namespace {

template <class Box, class Point>
void widenByAll(Box& box, const ERVec<Point>& points) {
    const unsigned int count = points.length();
    const Point* const first = points.data();
    // A local box stays in registers; through `box` every store might change the points.
    Box widened = box;
    for (unsigned int i = 0; i < count; ++i) widened.Update(first[i].castToPoint());
    box = widened;
}

// Where the line crosses the plane of a face, the other coordinates must lie within the box.
template <class Space>
int lineMeetsBox(const typename Space::Point& through, const typename Space::Vector& along,
                 const AxisAlignedBox<Space>& box) {
    const auto p = Space::coordinates(through), direction = Space::coordinates(along);
    for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
        if (direction[axis] == 0.0) continue;
        for (const double face : {box.lower(axis), box.upper(axis)}) {
            const double t = (p[axis] - face) / direction[axis];
            bool hit = true;
            for (unsigned int other = 0; other < Space::dimension && hit; ++other) {
                if (other == axis) continue;
                const double c = p[other] - direction[other] * t;
                hit = box.lower(other) <= c && c <= box.upper(other);
            }
            if (hit) return 1;
        }
    }
    return 0;
}

}  // namespace

ERMinimax2D::ERMinimax2D(const ERPoint2D& a, const ERPoint2D& b) {
    set(0, std::min(a.x(), b.x()), std::max(a.x(), b.x()));
    set(1, std::min(a.y(), b.y()), std::max(a.y(), b.y()));
}

ERMinimax2D::ERMinimax2D(const ERVec<ERPole2DH>& poles) { widenByAll(*this, poles); }
ERMinimax3D::ERMinimax3D(const ERVec<ERPole3DH>& poles) { widenByAll(*this, poles); }

void ERMinimax2D::Update(const ERVec<ERPoint2D>& points) { widenByAll(*this, points); }
void ERMinimax3D::Update(const ERVec<ERPoint3D>& points) { widenByAll(*this, points); }

ERVec<ERPoint2D> ERMinimax2D::getVertice() const {
    const ERPoint2D corners[] = {ERPoint2D(xmin(), ymin()), ERPoint2D(xmax(), ymin()),
                                 ERPoint2D(xmin(), ymax()), ERPoint2D(xmax(), ymax())};
    return ERVec<ERPoint2D>(corners, 4);
}

ERVec<ERPoint3D> ERMinimax3D::getVertice() const {
    const ERPoint3D corners[] = {
        ERPoint3D(xmin(), ymin(), zmin()), ERPoint3D(xmax(), ymin(), zmin()),
        ERPoint3D(xmax(), ymax(), zmin()), ERPoint3D(xmin(), ymax(), zmin()),
        ERPoint3D(xmin(), ymin(), zmax()), ERPoint3D(xmax(), ymin(), zmax()),
        ERPoint3D(xmax(), ymax(), zmax()), ERPoint3D(xmin(), ymax(), zmax())};
    return ERVec<ERPoint3D>(corners, 8);
}

int ERMinimax2D::onBorder(const ERPoint2D& p) const {
    const double x = p.x(), y = p.y();
    if ((x == xmin() || x == xmax()) && ymin() <= y && y <= ymax()) return 1;
    return (y == ymin() || y == ymax()) && xmin() <= x && x <= xmax();
}

int ERMinimax2D::intersect(const ERPoint2D& p, const ERVector2D& direction) const {
    return lineMeetsBox<Space2D>(p, direction, *this);
}

int ERMinimax3D::intersect(const ERPoint3D& p, const ERVector3D& direction) const {
    return invalid() ? 0 : lineMeetsBox<Space3D>(p, direction, *this);
}

CArchive& operator<<(CArchive& archive, ERMinimax3D box) {
    return archive << box.xmin() << box.ymin() << box.zmin() << box.xmax() << box.ymax()
                   << box.zmax();
}

CArchive& operator>>(CArchive& archive, ERMinimax3D& box) {
    double xmin = 0, ymin = 0, zmin = 0, xmax = 0, ymax = 0, zmax = 0;
    archive >> xmin >> ymin >> zmin >> xmax >> ymax >> zmax;
    box.Garnir(xmin, xmax, ymin, ymax, zmin, zmax);
    return archive;
}

}  // namespace kerf
