#pragma once
#include <vector>

#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/vector_instances.h"

namespace kerf {

/// The points of a grid along one direction of a surface from which the search for a foot starts:
/// 4 degree (poles - degree) + 4, at most 80, and 10 where that is below 11.
KERF_EXPORT unsigned int seedCount(unsigned int degree, unsigned int poles);

/// The inner nodes of a grid of points, in blocks of 8 by 8 with a box each.
class KERF_EXPORT SeedNodes {
public:
    explicit SeedNodes(const ERMatrix<ERPoint3D>& grid);

    struct Node {
        unsigned int i, j;
        double distance2;
    };
    /// Finds the inner node nearest to p, of several the first, row by row. False when no distance is a
    /// number below the largest double.
    bool nearest(const ERPoint3D& p, Node& node) const;

    unsigned int rows() const { return grid_.rows(); }
    unsigned int cols() const { return grid_.cols(); }
    std::size_t bytes() const {
        return grid_.length() * sizeof(ERPoint3D) + blocks_.size() * sizeof(Block);
    }

private:
    struct Block {
        unsigned int firstRow, lastRow, firstCol, lastCol;  // the ends past the last
        ERMinimax3D box;
    };
    void scan(const Block& block, const ERPoint3D& p, Node& nearest) const;

    ERMatrix<ERPoint3D> grid_;
    std::vector<Block> blocks_;
};

/// The squared distance of p from a box, 0 inside. Rounded as that of a point of the box is, term by
/// term, so that it is never above it.
inline double distance2(const ERMinimax3D& box, const ERPoint3D& p) {
    const double c[] = {p.x(), p.y(), p.z()};
    double sum = 0.0;
    for (unsigned int axis = 0; axis < 3; ++axis) {
        // Written so that no branch is needed.
        const double below = box.lower(axis) - c[axis], above = c[axis] - box.upper(axis);
        double d = below > above ? below : above;
        d = d > 0.0 ? d : 0.0;
        sum += d * d;
    }
    return sum;
}

}  // namespace kerf
