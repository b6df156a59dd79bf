#pragma once
#include <utility>
#include <vector>

#include "kerf/values/polygon.h"
#include "tests/support/value_checks.h"

// Where points lie to polygons, exact for coordinates that are small integers or halves of them.
namespace kerf::test {

// The scalar product of b - a and d - c.
inline double dot(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, const ERPoint2D& d) {
    return (b.x() - a.x()) * (d.x() - c.x()) + (b.y() - a.y()) * (d.y() - c.y());
}

inline bool onSegment(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    return area(a, b, p) == 0 && dot(p, a, p, b) <= 0;
}

// Exact tests for the border, in the order in which the edges come, since a polygon that touches itself
// may have a vertex on another edge; and the crossing number by signed areas.
inline relpos exactInside(const ERPoint2D& p, const std::vector<ERPoint2D>& polygon) {
    if (p == polygon[0]) return OnVertex;
    bool odd = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        ERPoint2D a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        if (p == b) return OnVertex;
        if (onSegment(a, b, p)) return OnEdge;
        if (a.y() > b.y()) std::swap(a, b);
        if (a.y() <= p.y() && p.y() < b.y() && area(a, b, p) > 0) odd = !odd;
    }
    return odd ? InsidePolygon : OutsidePolygon;
}

}  // namespace kerf::test
