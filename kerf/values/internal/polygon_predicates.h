#pragma once
#include <algorithm>

#include "kerf/values/box.h"
#include "kerf/values/point.h"
#include "kerf/values/polygon.h"

// The predicates of polygon.h and of boxes against polygons, edge by edge, for whoever knows which
// edges can be passed over.
namespace kerf::detail {

// ccw.
inline int orientation(double p0x, double p0y, double p1x, double p1y, double p2x, double p2y,
                       double eps) {
    const double d1x = p1x - p0x, d1y = p1y - p0y;
    const double d2x = p2x - p0x, d2y = p2y - p0y;
    const double area = d2y * d1x - d2x * d1y;
    if (area > eps) return 1;
    if (area < -eps) return -1;
    if (d2x * d1x < -eps || d2y * d1y < -eps) return -1;
    const double excess = (d1x * d1x + d1y * d1y) - (d2x * d2x + d2y * d2y);
    return excess < -eps ? 1 : 0;
}

inline int orientation(const ERPoint2D& p0, const ERPoint2D& p1, const ERPoint2D& p2, double eps) {
    return orientation(p0.x(), p0.y(), p1.x(), p1.y(), p2.x(), p2.y(), eps);
}

// Intersect.
inline int segmentsMeet(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c,
                        const ERPoint2D& d) {
    if (orientation(a, b, c, 0.0) * orientation(a, b, d, 0.0) > 0) return 0;
    return orientation(c, d, a, 0.0) * orientation(c, d, b, 0.0) < 1;
}

// The ray from p to the right, and how often the edges that it was tried on cross it.
class CrossingCount {
public:
    explicit CrossingCount(const ERPoint2D& p) : p_(p), rayEnd_(rayEndX, p.y()) {}

    // Whether the edge from a to b lies strictly above the ray, strictly below it or strictly left of
    // p.
    bool misses(const ERPoint2D& a, const ERPoint2D& b) const {
        const double y = p_.y();
        if ((a.y() < y && b.y() < y) || (a.y() > y && b.y() > y)) return true;
        return a.x() < p_.x() && b.x() < p_.x();
    }

    // What the edge from a to b decides, or OutsidePolygon when it only counts; an edge that misses
    // does neither.
    relpos add(const ERPoint2D& a, const ERPoint2D& b) {
        if (misses(a, b)) return OutsidePolygon;
        const double y = p_.y();
        if (p_.x() == b.x() && p_.y() == b.y()) return OnVertex;
        if (orientation(a, b, p_, edgeTolerance) == 0) return OnEdge;
        // Half-open: an edge's lower end does not count, so a vertex on the ray counts once.
        if (a.y() != b.y() && y > std::min(a.y(), b.y()) && segmentsMeet(a, b, p_, rayEnd_)) {
            odd_ = !odd_;
        }
        return OutsidePolygon;
    }

    // What the whole polygon tells when no edge decides.
    relpos parity() const { return odd_ ? InsidePolygon : OutsidePolygon; }

private:
    static constexpr double edgeTolerance = 1e-10;  // an area
    static constexpr double rayEndX = 1e12;

    const ERPoint2D p_;
    const ERPoint2D rayEnd_;
    bool odd_ = false;
};

// Where a box that no edge of a polygon meets stands relative to it; `position` tells what Inside
// does. A corner on the border is neither in nor out: the tolerance of Inside reaches farther than
// that of the clipping, which has none.
template <class Position>
ER_MINMAX_POSITION_POLYGONE positionByCorners(const ERMinimax2D& box, Position position) {
    ER_MINMAX_POSITION_POLYGONE result = PolygonInside;
    for (const double x : {box.xmin(), box.xmax()}) {
        for (const double y : {box.ymin(), box.ymax()}) {
            const relpos corner = position(ERPoint2D(x, y));
            if (corner == OnVertex || corner == OnEdge) return PolygonCrossing;
            if (corner == OutsidePolygon) result = PolygonOutside;
        }
    }
    return result;
}

}  // namespace kerf::detail
