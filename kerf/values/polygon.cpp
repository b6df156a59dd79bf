#include "kerf/values/polygon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace kerf {

namespace {

const double edgeTolerance = 1e-10;  // an area
const double rayEndX = 1e12;
const double samePointTolerance = 1e-12;

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

inline int segmentsMeet(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c,
                        const ERPoint2D& d) {
    if (orientation(a, b, c, 0.0) * orientation(a, b, d, 0.0) > 0) return 0;
    return orientation(c, d, a, 0.0) * orientation(c, d, b, 0.0) < 1;
}

inline bool equal(const ERPoint2D& a, const ERPoint2D& b) {
    return a.x() == b.x() && a.y() == b.y();
}

// The ray from p to the right, and how often the edges that it was tried on cross it.
class CrossingCount {
public:
    explicit CrossingCount(const ERPoint2D& p) : p_(p), rayEnd_(rayEndX, p.y()) {}

    // What the edge from a to b decides, or OutsidePolygon when it only counts.
    relpos add(const ERPoint2D& a, const ERPoint2D& b) {
        const double y = p_.y();
        if ((a.y() < y && b.y() < y) || (a.y() > y && b.y() > y)) return OutsidePolygon;
        if (a.x() < p_.x() && b.x() < p_.x()) return OutsidePolygon;
        if (equal(p_, b)) return OnVertex;
        if (orientation(a, b, p_, edgeTolerance) == 0) return OnEdge;
        // Half-open: an edge's lower end does not count, so a vertex on the ray counts once.
        if (a.y() != b.y() && y > std::min(a.y(), b.y()) && segmentsMeet(a, b, p_, rayEnd_)) {
            odd_ = !odd_;
        }
        return OutsidePolygon;
    }

    bool odd() const { return odd_; }

private:
    const ERPoint2D p_;
    const ERPoint2D rayEnd_;
    bool odd_ = false;
};

// `reach` is |dx| + |dy|.
inline double pseudoAngle(double dx, double dy, double reach) {
    double t = reach == 0.0 ? 0.0 : dy / reach;
    if (dx < 0.0) {
        t = 2.0 - t;
    } else if (dy < 0.0) {
        t = 4.0 + t;
    }
    return t * 90.0;
}

struct HullPoint {
    double theta;
    double reach;  // |dx| + |dy| from the pivot: on one ray it orders as the distance does
    ERPoint2D point;
};

// What is not a number comes last, so that sorting has an order on all.
inline double orderable(double value) {
    return std::isnan(value) ? std::numeric_limits<double>::infinity() : value;
}

inline bool samePoint(const ERPoint2D& a, const ERPoint2D& b) {
    return std::fabs(a.x() - b.x()) <= samePointTolerance &&
           std::fabs(a.y() - b.y()) <= samePointTolerance;
}

}  // namespace

int ccw(const ERPoint2D& p0, const ERPoint2D& p1, const ERPoint2D& p2, double eps) {
    return orientation(p0, p1, p2, eps);
}

int Intersect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, const ERPoint2D& d) {
    return segmentsMeet(a, b, c, d);
}

relpos Inside(const ERPoint2D& p, const ERPoint2D* points, int n, int) {
    if (n <= 0) return OutsidePolygon;
    const ERPoint2D& first = points[0];
    const ERPoint2D& last = points[n - 1];
    if (equal(p, first)) return OnVertex;

    CrossingCount crossings(p);
    for (int i = 1; i < n; ++i) {
        // Most edges lie whole on one side of the ray: pass over runs of them.
        const double y = p.y(), from = points[i - 1].y();
        if (from < y) {
            while (i < n && points[i].y() < y) ++i;
        } else if (from > y) {
            while (i < n && points[i].y() > y) ++i;
        }
        if (i == n) break;
        const relpos decided = crossings.add(points[i - 1], points[i]);
        if (decided != OutsidePolygon) return decided;
    }
    if (n > 1 && !equal(first, last)) {
        const relpos decided = crossings.add(last, first);
        if (decided != OutsidePolygon) return decided;
    }
    return crossings.odd() ? InsidePolygon : OutsidePolygon;
}

relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& points) {
    return Inside(p, points.data(), static_cast<int>(points.length()));
}

double PseudoTheta(const ERPoint2D& a, const ERPoint2D& b) {
    const double dx = b.x() - a.x(), dy = b.y() - a.y();
    return pseudoAngle(dx, dy, std::fabs(dx) + std::fabs(dy));
}

ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points) {
    const unsigned int n = points.length();
    if (n < 3) return ERVec<ERPoint2D>();
    const ERPoint2D* const given = std::as_const(points).data();

    const ERPoint2D* pivot = given;
    for (const ERPoint2D* p = given + 1; p != given + n; ++p) {
        if (p->y() < pivot->y() || (p->y() == pivot->y() && p->x() > pivot->x())) pivot = p;
    }

    std::vector<HullPoint> fan;
    fan.reserve(n);
    fan.push_back({0.0, 0.0, *pivot});
    for (const ERPoint2D* p = given; p != given + n; ++p) {
        if (p == pivot) continue;
        const double dx = p->x() - pivot->x(), dy = p->y() - pivot->y();
        const double reach = std::fabs(dx) + std::fabs(dy);
        fan.push_back({orderable(pseudoAngle(dx, dy, reach)), orderable(reach), *p});
    }
    std::sort(fan.begin() + 1, fan.end(), [](const HullPoint& a, const HullPoint& b) {
        return a.theta < b.theta || (a.theta == b.theta && a.reach < b.reach);
    });
    fan.erase(std::unique(fan.begin(), fan.end(),
                          [](const HullPoint& kept, const HullPoint& next) {
                              return samePoint(kept.point, next.point);
                          }),
              fan.end());

    // The stack grows over the front of the fan, never past the point in hand.
    std::size_t size = std::min<std::size_t>(fan.size(), 2);
    for (std::size_t i = 2; i < fan.size(); ++i) {
        const ERPoint2D p = fan[i].point;
        while (size > 2 && orientation(fan[size - 1].point, fan[size - 2].point, p, 0.0) >= 0) {
            --size;
        }
        fan[size++].point = p;
    }
    if (size < 3) return ERVec<ERPoint2D>();

    ERVec<ERPoint2D> hull(static_cast<unsigned int>(size));
    ERPoint2D* const corner = hull.data();
    for (std::size_t i = 0; i < size; ++i) corner[i] = fan[i].point;
    return hull;
}

}  // namespace kerf
