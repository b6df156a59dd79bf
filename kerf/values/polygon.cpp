#include "kerf/values/polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "kerf/values/internal/polygon_predicates.h"

namespace kerf {

using detail::CrossingCount;
using detail::orientation;

namespace {

constexpr double samePointTolerance = 1e-12;
constexpr unsigned int fewPoints = 32;  // whose hull is found on the stack
constexpr unsigned int fewToSort = 512;
// How far inside a point clearly lies, relative to the extent of all: far beyond what rounding does to
// areas and angles.
constexpr double clearlyInside = 1e-7;
constexpr double noEdgeTolerance = 1e-11;
constexpr double onEdgeTolerance = 1e-5;  // an area
constexpr double sameCornerSquared = 0.01;

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

// Points far from the hull, told by the octagon of the points that lie farthest in eight directions.
class Middle {
public:
    Middle(const ERPoint2D* points, unsigned int n) {
        constexpr unsigned int directions = 8;  // from the east, counter-clockwise
        const ERPoint2D* far[directions];
        std::fill_n(far, directions, points);
        double east = points->x(), west = east, north = points->y(), south = north;
        double northEast = east + north, southWest = northEast;
        double southEast = east - north, northWest = southEast;
        const auto more = [](bool farther, double& best, double value, const ERPoint2D*& at,
                             const ERPoint2D* p) {
            if (!farther) return;
            best = value;
            at = p;
        };
        for (const ERPoint2D* p = points; p != points + n; ++p) {
            const double x = p->x(), y = p->y(), sum = x + y, difference = x - y;
            more(x > east, east, x, far[0], p);
            more(sum > northEast, northEast, sum, far[1], p);
            more(y > north, north, y, far[2], p);
            more(difference < northWest, northWest, difference, far[3], p);
            more(x < west, west, x, far[4], p);
            more(sum < southWest, southWest, sum, far[5], p);
            more(y < south, south, y, far[6], p);
            more(difference > southEast, southEast, difference, far[7], p);
        }
        const double size = std::max(east - west, north - south);
        if (!(size > 0.0) || !std::isfinite(size)) return;
        const double margin = clearlyInside * size + samePointTolerance;
        // A point has one of four farthest points in each of its quadrants when it lies in this box.
        left_ = std::max(far[3]->x(), far[5]->x()) + margin;
        right_ = std::min(far[1]->x(), far[7]->x()) - margin;
        bottom_ = std::max(far[5]->y(), far[7]->y()) + margin;
        top_ = std::min(far[1]->y(), far[3]->y()) - margin;
        for (unsigned int i = 0; i < directions; ++i) {
            const ERPoint2D &a = *far[i], &b = *far[(i + 1) % directions];
            const double dx = b.x() - a.x(), dy = b.y() - a.y();
            const double reach = std::fabs(dx) + std::fabs(dy);
            if (reach > 0.0) sides_[count_++] = {a.x(), a.y(), dx, dy, margin * reach};
        }
    }

    bool holds(double x, double y) const {
        if (x > left_ && x < right_ && y > bottom_ && y < top_) return true;
        for (unsigned int i = 0; i < count_; ++i) {
            const Side& s = sides_[i];
            if (!(s.dx * (y - s.y) - s.dy * (x - s.x) > s.margin)) return false;
        }
        return count_ > 0;
    }

private:
    struct Side {
        double x, y, dx, dy, margin;
    };

    double left_ = 0.0, right_ = 0.0, bottom_ = 0.0, top_ = 0.0;
    unsigned int count_ = 0;
    Side sides_[8];
};

// Sorts by angle, in time that does not grow faster than the number while angles are spread.
void sortByAngle(HullPoint* first, unsigned int n) {
    if (n <= fewToSort) {
        std::sort(first, first + n, comesFirst);
        return;
    }
    // The pivot is the lowest point, so the angles go from 0 to 180.
    const unsigned int buckets = n / 2;
    const double scale = buckets / 180.0;
    const auto bucketOf = [&](const HullPoint& p) {
        const double bucket = p.theta * scale;
        return bucket < buckets ? static_cast<unsigned int>(bucket) : buckets - 1;
    };
    std::vector<unsigned int> ends(buckets, 0);
    for (const HullPoint* p = first; p != first + n; ++p) ++ends[bucketOf(*p)];
    unsigned int start = 0;
    for (unsigned int& end : ends) start += std::exchange(end, start);
    const std::unique_ptr<HullPoint[]> sorted(new HullPoint[n]);
    for (const HullPoint* p = first; p != first + n; ++p) sorted[ends[bucketOf(*p)]++] = *p;
    start = 0;
    for (const unsigned int end : ends) {
        if (end - start > 1) std::sort(&sorted[start], &sorted[0] + end, comesFirst);
        start = end;
    }
    std::copy_n(sorted.get(), n, first);
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
    const auto add = [&](const ERPoint2D& p) {
        const double dx = p.x() - pivot->x(), dy = p.y() - pivot->y();
        const double reach = std::fabs(dx) + std::fabs(dy);
        *end++ = {orderable(pseudoAngle(dx, dy, reach)), orderable(reach), p.x(), p.y()};
    };
    if (n <= fewPoints) {
        for (const ERPoint2D* p = points; p != points + n; ++p) {
            if (p != pivot) add(*p);
        }
    } else {
        const Middle middle(points, n);
        for (const ERPoint2D* p = points; p != points + n; ++p) {
            if (p != pivot && !middle.holds(p->x(), p->y())) add(*p);
        }
    }
    sortByAngle(fan + 1, static_cast<unsigned int>(end - fan) - 1);
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

bool hasLength(const ERPoint2D& a, const ERPoint2D& b) {
    return std::fabs(b.x() - a.x()) > noEdgeTolerance || std::fabs(b.y() - a.y()) > noEdgeTolerance;
}

// The foot of p on the line through a and b, which differ.
ERPoint2D footOnLine(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    const ERVector2D d(a, b);
    return a + d * (ERVector2D(a, p) * d / (d * d));
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

unsigned int findProjection(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon, ERPoint2D& result,
                            double offset) {
    const ERPoint2D* const points = polygon.data();
    const unsigned int n = polygon.length();
    const ERPoint2D from(p);  // which may be the result
    unsigned int edge = ~0U;
    double best = std::numeric_limits<double>::max();
    for (unsigned int i = 0; i < n; ++i) {
        const ERPoint2D &a = points[i], &b = points[i + 1 < n ? i + 1 : 0];
        if (!hasLength(a, b)) continue;
        const ERPoint2D foot = footOnLine(from, a, b);
        const double error = std::fabs(distance(foot, from) - std::fabs(offset));
        if (error < best && orientation(a, b, foot, onEdgeTolerance) == 0) {
            best = error;
            result = foot;
            edge = i;
        }
    }
    return edge;
}

int findAllProjections(const ERPoint2D& p, const ERVec<ERPoint2D>& polyline,
                       ERVec<ERPoint2D>& points, ERVec<double>& params, double tol) {
    // Copies, since the results may go to the same vector.
    const ERVec<ERPoint2D> vertices(polyline);
    const ERPoint2D from(p);
    const unsigned int before = points.length();
    unsigned int previous = 0;
    int sideOfPrevious = 0;
    for (unsigned int i = 0; i + 1 < vertices.length(); ++i) {
        const ERPoint2D &a = vertices[i], &b = vertices[i + 1];
        if (!hasLength(a, b)) continue;
        ERPoint2D foot = footOnLine(from, a, b);
        const double dx = b.x() - a.x(), dy = b.y() - a.y();
        double u =
            std::fabs(dx) > std::fabs(dy) ? (foot.x() - a.x()) / dx : (foot.y() - a.y()) / dy;
        const int side = u < 0.0 ? -1 : u > 1.0 ? 1 : 0;
        bool found = u >= 0.0 && u <= 1.0;
        if (sideOfPrevious == 1 && side == -1) {
            const ERPoint2D onPrevious = footOnLine(a, vertices[previous], vertices[previous + 1]);
            if (distance2(onPrevious, a) < sameCornerSquared) {
                foot = a;
                u = 0.0;
                found = true;
            }
        }
        if (found && !(tol > 0.0 && distance2(foot, from) > tol * tol)) {
            points.append(foot);
            params.append(u + i);
        }
        previous = i;
        sideOfPrevious = side;
    }
    return points.length() > before;
}

}  // namespace kerf
