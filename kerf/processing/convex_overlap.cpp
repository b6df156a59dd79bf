#include "kerf/processing/convex_overlap.h"

#include <cmath>

#include "kerf/values/polygon.h"

namespace kerf {

namespace {

constexpr double samePoint = 1e-12;
// A vertex this far from a polygon is on no edge of it for Inside, whose tolerance is an area of
// 1e-10: of the points with a smaller area, only those within 2e-5 of the edge pass its other tests.
constexpr double clearDistance = 3e-5;
// What rounding can add to the difference of two products, relative to their size.
constexpr double roundingOfArea = 1e-15;

// Whether an edge of the first, counter-clockwise polygon keeps all of the second at a distance.
bool separates(const ERPoint2D* polygon, unsigned int n, const ERPoint2D* other, unsigned int m) {
    for (unsigned int i = 0; i < n; ++i) {
        const ERPoint2D& a = polygon[i];
        const ERPoint2D& b = polygon[i + 1 < n ? i + 1 : 0];
        const double dx = b.x() - a.x(), dy = b.y() - a.y();
        const double reach2 = clearDistance * clearDistance * (dx * dx + dy * dy);
        bool apart = true;
        for (unsigned int j = 0; j < m && apart; ++j) {
            const double left = dx * (other[j].y() - a.y());
            const double right = dy * (other[j].x() - a.x());
            const double area = right - left;
            apart = area > roundingOfArea * (std::fabs(left) + std::fabs(right)) &&
                    area * area > reach2;
        }
        if (apart) return true;
    }
    return false;
}

bool anyInside(const ERPoint2D* points, unsigned int n, const ERPoint2D* polygon, unsigned int m) {
    for (unsigned int i = 0; i < n; ++i) {
        if (Inside(points[i], polygon, static_cast<int>(m)) != OutsidePolygon) return true;
    }
    return false;
}

bool polygonsOverlap(const ERPoint2D* polygon1, unsigned int n1, const ERPoint2D* polygon2,
                     unsigned int n2) {
    if (anyInside(polygon1, n1, polygon2, n2) || anyInside(polygon2, n2, polygon1, n1)) return true;
    for (unsigned int i = 0; i < n1; ++i) {
        const ERPoint2D& a = polygon1[i];
        const ERPoint2D& b = polygon1[i + 1 < n1 ? i + 1 : 0];
        for (unsigned int j = 0; j < n2; ++j) {
            if (Intersect(a, b, polygon2[j], polygon2[j + 1 < n2 ? j + 1 : 0])) return true;
        }
    }
    return false;
}

}  // namespace

int intersect(const ERVec<ERPoint2D>& polygon1, const ERVec<ERPoint2D>& polygon2) {
    return polygonsOverlap(polygon1.data(), polygon1.length(), polygon2.data(), polygon2.length());
}

namespace detail {

bool hullsOverlap(const ERPoint2D* hull1, unsigned int n1, const ERPoint2D* hull2,
                  unsigned int n2) {
    return !separates(hull1, n1, hull2, n2) && !separates(hull2, n2, hull1, n1) &&
           polygonsOverlap(hull1, n1, hull2, n2);
}

unsigned int hullCorners(const ERPoint2D* points, unsigned int n, ERPoint2D* hull) {
    const unsigned int corners = convexHull(points, n, hull);
    if (corners > 0 || n == 0) return corners;
    hull[0] = points[0];
    for (unsigned int i = 1; i < n; ++i) {
        if (isEqual(points[i], points[0], samePoint)) continue;
        hull[1] = points[i];
        return 2;
    }
    return 1;
}

}  // namespace detail
}  // namespace kerf
