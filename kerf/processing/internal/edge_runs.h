#pragma once
#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "kerf/values/box.h"
#include "kerf/values/point.h"
#include "kerf/values/polygon.h"
#include "kerf/values/vector_instances.h"

// The contours of a region, and boxes over runs of their edges, by which most edges are passed over
// without a look at them.
namespace kerf::detail {

/// What a question is about: an edge matters unless it lies strictly on one side of all this. A limit
/// that is no number excludes nothing.
struct Reach {
    double left, right, bottom, top;

    /// What crosses the ray from p to the right, or p itself.
    static Reach ofRay(const ERPoint2D& p) {
        return {p.x(), std::numeric_limits<double>::infinity(), p.y(), p.y()};
    }
    static Reach ofBox(const ERMinimax2D& box) {
        return {box.xmin(), box.xmax(), box.ymin(), box.ymax()};
    }
};

/// Boxes over runs of 8 edges of a closed polygon, over 8 such runs, and so on.
class EdgeRuns {
public:
    static constexpr unsigned int fanOut = 8;

    /// Of n > 0 points and as many edges, the last from the last point to the first.
    EdgeRuns(const ERPoint2D* points, unsigned int n);

    /// Calls look(first, end) for runs of edges in their order, until it returns true. Runs are left out
    /// when none of their edges matters; a coordinate that is no number makes the box of its run
    /// infinite. Returns what `look` returned last.
    template <class Look>
    bool visit(const Reach& reach, Look look) const {
        return visit(reach, look, static_cast<unsigned int>(levels_.size()) - 1, 0);
    }

private:
    /// Side by side, since eight are compared at once.
    struct Boxes {
        double left[fanOut], right[fanOut], bottom[fanOut], top[fanOut];

        /// A bit for each that may matter.
        unsigned int entered(const Reach& reach) const;
    };

    template <class Look>
    bool visit(const Reach& reach, const Look& look, unsigned int level, unsigned int at) const {
        unsigned int entered = levels_[level][at].entered(reach);
        for (; entered != 0; entered &= entered - 1) {
            const unsigned int child =
                at * fanOut + static_cast<unsigned int>(std::countr_zero(entered));
            if (level > 0) {
                if (child >= levels_[level - 1].size()) return false;
                if (visit(reach, look, level - 1, child)) return true;
            } else {
                const unsigned int first = child * fanOut;
                if (first >= edges_) return false;
                if (look(first, std::min(edges_ - first, fanOut) + first)) return true;
            }
        }
        return false;
    }

    unsigned int edges_;
    std::vector<std::vector<Boxes>> levels_;  // from the runs of edges up to a single one
};

#if defined(__GNUC__)
// In vector registers, which GCC leaves alone at our level of optimisation.
inline unsigned int EdgeRuns::Boxes::entered(const Reach& reach) const {
    using TwoDoubles = double __attribute__((vector_size(16)));
    using TwoMasks = long long __attribute__((vector_size(16)));
    const auto load = [](const double* from) {
        TwoDoubles two;
        std::memcpy(&two, from, sizeof two);
        return two;
    };
    TwoMasks passed = {0, 0};
    for (unsigned int k = 0; k < fanOut; k += 2) {
        const TwoMasks here = (load(right + k) < reach.left) | (load(left + k) > reach.right) |
                              (load(top + k) < reach.bottom) | (load(bottom + k) > reach.top);
        passed |= here & TwoMasks{1LL << k, 2LL << k};
    }
    return static_cast<unsigned int>(passed[0] | passed[1]) ^ 0xFFU;
}
#else
inline unsigned int EdgeRuns::Boxes::entered(const Reach& reach) const {
    unsigned int bits = 0;
    for (unsigned int k = 0; k < fanOut; ++k) {
        const bool passed = right[k] < reach.left || left[k] > reach.right ||
                            top[k] < reach.bottom || bottom[k] > reach.top;
        bits |= static_cast<unsigned int>(!passed) << k;
    }
    return bits;
}
#endif

/// A closed polygon with its box. The runs of its edges are built by the first question after as many
/// edges were walked as that costs.
class Contour {
public:
    explicit Contour(const ERVec<ERPoint2D>& points);
    Contour(const Contour& other) : Contour(other.points_) {}
    Contour(Contour&&) = default;
    Contour& operator=(Contour&&) = default;

    const ERVec<ERPoint2D>& points() const { return points_; }
    const ERMinimax2D& box() const { return box_; }

    /// What Inside tells of p, which is a pair of numbers.
    relpos position(const ERPoint2D& p) const;
    /// What box.positionRelative tells.
    ER_MINMAX_POSITION_POLYGONE position(const ERMinimax2D& box) const;

    /// As EdgeRuns::visit; may leave out nothing.
    template <class Look>
    bool visit(const Reach& reach, Look look) const {
        if (const EdgeRuns* const runs = askedFor()) return runs->visit(reach, look);
        return look(0U, points_.length());
    }

private:
    /// The runs, or null while walking over all edges is cheaper.
    const EdgeRuns* askedFor() const;

    ERVec<ERPoint2D> points_;
    ERMinimax2D box_;
    ERMinimax2D reach_;  // the box; the whole plane where a coordinate is no number
    mutable unsigned int walks_ = 0;
    mutable std::unique_ptr<EdgeRuns> runs_;
};

/// The array of contours that regions share.
class Contours : public std::vector<Contour> {};

}  // namespace kerf::detail
