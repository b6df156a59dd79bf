#include "kerf/processing/internal/edge_runs.h"

#include <cmath>
#include <limits>

#include "kerf/values/internal/polygon_predicates.h"

namespace kerf::detail {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr unsigned int edgesWorthRuns = 24;
constexpr unsigned int walksWorthRuns = 4;  // over all edges: building takes about as long

// Both ends of an interval that grows. What is not a number makes it infinite.
void widen(double& low, double& high, double from, double to) {
    if (std::isnan(from) || std::isnan(to)) {
        low = -infinity;
        high = infinity;
        return;
    }
    low = std::min(low, from);
    high = std::max(high, to);
}

}  // namespace

EdgeRuns::EdgeRuns(const ERPoint2D* points, unsigned int n) : edges_(n) {
    const auto addLevel = [&](unsigned int runs) -> std::vector<Boxes>& {
        Boxes empty;
        std::fill_n(empty.left, fanOut, infinity);
        std::fill_n(empty.right, fanOut, -infinity);
        std::fill_n(empty.bottom, fanOut, infinity);
        std::fill_n(empty.top, fanOut, -infinity);
        return levels_.emplace_back((runs - 1) / fanOut + 1, empty);
    };
    unsigned int runs = (n - 1) / fanOut + 1;
    {
        std::vector<Boxes>& boxes = addLevel(runs);
        for (unsigned int run = 0; run < runs; ++run) {
            Boxes& b = boxes[run / fanOut];
            const unsigned int k = run % fanOut, first = run * fanOut;
            // Both ends of each edge: one point more than there are edges.
            const unsigned int count = std::min(n - first, fanOut);
            for (unsigned int i = 0; i <= count; ++i) {
                const ERPoint2D& p = points[i < n - first ? first + i : 0];
                widen(b.left[k], b.right[k], p.x(), p.x());
                widen(b.bottom[k], b.top[k], p.y(), p.y());
            }
        }
    }
    while (runs > fanOut) {
        const std::size_t below = levels_.size() - 1;
        const unsigned int children = runs;
        runs = (children - 1) / fanOut + 1;
        std::vector<Boxes>& boxes = addLevel(runs);
        for (unsigned int child = 0; child < children; ++child) {
            const unsigned int run = child / fanOut, i = child % fanOut;
            const Boxes& from = levels_[below][run];
            Boxes& b = boxes[run / fanOut];
            const unsigned int k = run % fanOut;
            widen(b.left[k], b.right[k], from.left[i], from.right[i]);
            widen(b.bottom[k], b.top[k], from.bottom[i], from.top[i]);
        }
    }
}

Contour::Contour(const ERVec<ERPoint2D>& points) : points_(points), box_(points) {
    double left = box_.xmin(), right = box_.xmax(), bottom = box_.ymin(), top = box_.ymax();
    const ERPoint2D* const p = points_.data();
    for (unsigned int i = 0; i < points_.length(); ++i) {
        widen(left, right, p[i].x(), p[i].x());
        widen(bottom, top, p[i].y(), p[i].y());
    }
    reach_.Garnir(left, right, bottom, top);
}

const EdgeRuns* Contour::askedFor() const {
    if (runs_ != nullptr || points_.length() < edgesWorthRuns) return runs_.get();
    if (walks_ < walksWorthRuns) {
        ++walks_;
        return nullptr;
    }
    runs_ = std::make_unique<EdgeRuns>(points_.data(), points_.length());
    return runs_.get();
}

relpos Contour::position(const ERPoint2D& p) const {
    const double x = p.x(), y = p.y();
    if (reach_.ymax() < y || reach_.ymin() > y || reach_.xmax() < x) return OutsidePolygon;
    const EdgeRuns* const runs = askedFor();
    if (runs == nullptr) return Inside(p, points_);

    const ERPoint2D* const points = points_.data();
    const unsigned int last = points_.length() - 1;
    if (points[0].x() == x && points[0].y() == y) return OnVertex;
    CrossingCount crossings(p);
    relpos decided = OutsidePolygon;
    runs->visit(Reach::ofRay(p), [&](unsigned int first, unsigned int end) {
        for (unsigned int i = first; i < end; ++i) {
            const ERPoint2D& next = points[i < last ? i + 1 : 0];
            if (crossings.misses(points[i], next) || (i == last && points[last] == next)) continue;
            decided = crossings.add(points[i], next);
            if (decided != OutsidePolygon) return true;
        }
        return false;
    });
    return decided != OutsidePolygon ? decided : crossings.parity();
}

ER_MINMAX_POSITION_POLYGONE Contour::position(const ERMinimax2D& box) const {
    const ERPoint2D* const points = points_.data();
    const unsigned int n = points_.length();
    bool edgeInBox = false;
    const bool crossing = visit(Reach::ofBox(box), [&](unsigned int first, unsigned int end) {
        for (unsigned int i = first; i < end; ++i) {
            const ERPoint2D& next = points[i + 1 < n ? i + 1 : 0];
            const ER_MINMAX_POSITION_SEGMENT edge = box.positionRelative(points[i], next);
            if (edge == SegmentCrossing) return true;
            if (edge == SegmentInside) edgeInBox = true;
        }
        return false;
    });
    if (crossing) return PolygonCrossing;
    if (edgeInBox) return PolygonPartly;
    return positionByCorners(box, [this](const ERPoint2D& corner) { return position(corner); });
}

}  // namespace kerf::detail
