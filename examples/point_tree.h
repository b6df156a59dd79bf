#pragma once
#include <algorithm>
#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "kerf/values/point.h"

/// Points in a k-d tree, the medians in the middle of their ranges (Bentley 1975): which of many
/// points are near.
class PointTree {
public:
    struct Near {
        double distance2;
        std::size_t index;  // of the point, as given
        friend bool operator<(const Near& a, const Near& b) { return a.distance2 < b.distance2; }
    };

    explicit PointTree(std::vector<kerf::ERPoint3D> points)
        : points_(std::move(points)), order_(points_.size()), axes_(points_.size()) {
        std::iota(order_.begin(), order_.end(), std::size_t{0});
        build(0, order_.size());
    }
    const std::vector<kerf::ERPoint3D>& points() const { return points_; }

    /// There is at least one point.
    Near nearest(const kerf::ERPoint3D& p) const {
        Near best{std::numeric_limits<double>::max(), 0};
        visit(p, best.distance2, [&](const Near& found) {
            best = found;
            return found.distance2;
        });
        return best;
    }
    /// At most `count` points no farther than that, the nearest first.
    std::vector<Near> nearest(const kerf::ERPoint3D& p, double radius, std::size_t count) const {
        std::vector<Near> found;  // a heap, the farthest first
        visit(p, radius * radius, [&](const Near& near) {
            if (found.size() == count) {
                std::pop_heap(found.begin(), found.end());
                found.pop_back();
            }
            found.push_back(near);
            std::push_heap(found.begin(), found.end());
            return found.size() == count ? found.front().distance2 : radius * radius;
        });
        std::sort_heap(found.begin(), found.end());
        return found;
    }

private:
    static double at(const kerf::ERPoint3D& p, unsigned char axis) {
        return axis == 0 ? p.x() : axis == 1 ? p.y() : p.z();
    }

    void build(std::size_t first, std::size_t end) {
        if (end - first < 2) return;
        unsigned char widest = 0;
        double width = -1.0;
        for (unsigned char axis = 0; axis < 3; ++axis) {
            double low = std::numeric_limits<double>::max(), high = -low;
            for (std::size_t i = first; i < end; ++i) {
                low = std::min(low, at(points_[order_[i]], axis));
                high = std::max(high, at(points_[order_[i]], axis));
            }
            if (high - low <= width) continue;
            width = high - low;
            widest = axis;
        }
        const std::size_t middle = first + (end - first) / 2;
        const auto place = [&](std::size_t i) {
            return order_.begin() + static_cast<std::ptrdiff_t>(i);
        };
        std::nth_element(place(first), place(middle), place(end),
                         [&](std::size_t a, std::size_t b) {
                             return at(points_[a], widest) < at(points_[b], widest);
                         });
        axes_[middle] = widest;
        build(first, middle);
        build(middle + 1, end);
    }

    // Calls visitor(near), which returns the bound from then on, for points below the bound.
    template <class Visitor>
    void visit(const kerf::ERPoint3D& p, double bound2, Visitor&& visitor) const {
        descend(p, 0, order_.size(), bound2, visitor);
    }
    template <class Visitor>
    void descend(const kerf::ERPoint3D& p, std::size_t first, std::size_t end, double& bound2,
                 Visitor& visitor) const {
        if (first == end) return;
        const std::size_t middle = first + (end - first) / 2;
        const kerf::ERPoint3D& here = points_[order_[middle]];
        const double distance2 = kerf::ERVector3D(here, p).norme2();
        if (distance2 <= bound2) bound2 = visitor(Near{distance2, order_[middle]});
        const double beyond = at(p, axes_[middle]) - at(here, axes_[middle]);
        const auto before = [&] { descend(p, first, middle, bound2, visitor); };
        const auto after = [&] { descend(p, middle + 1, end, bound2, visitor); };
        beyond < 0.0 ? before() : after();
        if (beyond * beyond > bound2) return;
        beyond < 0.0 ? after() : before();
    }

    std::vector<kerf::ERPoint3D> points_;
    std::vector<std::size_t> order_;
    std::vector<unsigned char> axes_;  // across which the range around that place is cut
};
