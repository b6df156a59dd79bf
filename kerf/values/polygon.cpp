#include "kerf/values/polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "kerf/values/internal/polygon_predicates.h"

namespace kerf {

using detail::CrossingCount;
using detail::orientation;

namespace {

constexpr double samePointTolerance = 1e-12;
constexpr unsigned int fewPoints = 32;  // whose hull is found on the stack

inline bool equal(const ERPoint2D& a, const ERPoint2D& b) {
    return a.x() == b.x() && a.y() == b.y();
}

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

// Without constructors, so that an array on the stack costs nothing.
struct HullPoint {
    double theta;
    double reach;  // |dx| + |dy| from the pivot: on one ray it orders as the distance does
    double x, y;
};

// Room for n of them, on the stack when they are few.
class Fan {
public:
    explicit Fan(unsigned int n) : many_(n > fewPoints ? n : 0) {}
    HullPoint* data() { return many_.empty() ? few_ : many_.data(); }

private:
    std::vector<HullPoint> many_;
    HullPoint few_[fewPoints];
};

// What is not a number comes last, so that sorting has an order on all.
inline double orderable(double value) {
    return std::isnan(value) ? std::numeric_limits<double>::infinity() : value;
}

inline bool comesFirst(const HullPoint& a, const HullPoint& b) {
    return a.theta < b.theta || (a.theta == b.theta && a.reach < b.reach);
}

inline bool samePoint(const HullPoint& a, const HullPoint& b) {
    return std::fabs(a.x - b.x) <= samePointTolerance && std::fabs(a.y - b.y) <= samePointTolerance;
}

// The hull of n points, left at the front of `fan`, which has room for n. Returns the number of
// corners.
unsigned int grahamScan(const ERPoint2D* points, unsigned int n, HullPoint* fan) {
    if (n < 3) return 0;
    const ERPoint2D* pivot = points;
    for (const ERPoint2D* p = points + 1; p != points + n; ++p) {
        if (p->y() < pivot->y() || (p->y() == pivot->y() && p->x() > pivot->x())) pivot = p;
    }

    HullPoint* end = fan;
    *end++ = {0.0, 0.0, pivot->x(), pivot->y()};
    for (const ERPoint2D* p = points; p != points + n; ++p) {
        if (p == pivot) continue;
        const double dx = p->x() - pivot->x(), dy = p->y() - pivot->y();
        const double reach = std::fabs(dx) + std::fabs(dy);
        *end++ = {orderable(pseudoAngle(dx, dy, reach)), orderable(reach), p->x(), p->y()};
    }
    std::sort(fan + 1, end, comesFirst);
    end = std::unique(fan, end, samePoint);
    if (end - fan < 3) return 0;

    // The stack grows over the front of the fan, never past the point in hand.
    HullPoint* top = fan + 1;
    for (const HullPoint* next = fan + 2; next != end; ++next) {
        const HullPoint p = *next;
        while (top > fan + 1 &&
               orientation(top->x, top->y, (top - 1)->x, (top - 1)->y, p.x, p.y, 0.0) >= 0) {
            --top;
        }
        *++top = p;
    }
    return static_cast<unsigned int>(top - fan) + 1;
}

void writeCorners(const HullPoint* fan, unsigned int size, ERPoint2D* corners) {
    for (unsigned int i = 0; i < size; ++i) corners[i] = ERPoint2D(fan[i].x, fan[i].y);
}

}  // namespace

int ccw(const ERPoint2D& p0, const ERPoint2D& p1, const ERPoint2D& p2, double eps) {
    return orientation(p0, p1, p2, eps);
}

int Intersect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, const ERPoint2D& d) {
    return detail::segmentsMeet(a, b, c, d);
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
    return crossings.parity();
}

relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& points) {
    return Inside(p, points.data(), static_cast<int>(points.length()));
}

double PseudoTheta(const ERPoint2D& a, const ERPoint2D& b) {
    const double dx = b.x() - a.x(), dy = b.y() - a.y();
    return pseudoAngle(dx, dy, std::fabs(dx) + std::fabs(dy));
}

unsigned int convexHull(const ERPoint2D* points, unsigned int n, ERPoint2D* hull) {
    Fan fan(n);
    const unsigned int size = grahamScan(points, n, fan.data());
    writeCorners(fan.data(), size, hull);
    return size;
}

ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points) {
    const unsigned int n = points.length();
    Fan fan(n);
    const unsigned int size = grahamScan(std::as_const(points).data(), n, fan.data());
    ERVec<ERPoint2D> hull(size);
    if (size > 0) writeCorners(fan.data(), size, hull.data());
    return hull;
}

}  // namespace kerf
