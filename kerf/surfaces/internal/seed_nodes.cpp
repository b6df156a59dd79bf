#include "kerf/surfaces/internal/seed_nodes.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "kerf/curves/spline/pole_type.h"

namespace kerf {

namespace {

constexpr unsigned int blockSide = 8;
constexpr unsigned int mostSeeds = 80;
constexpr unsigned int fewestSeeds = 10;
// Of the largest grid that seedCount gives.
constexpr unsigned int blocksOnStack = 100;

}  // namespace

unsigned int seedCount(unsigned int degree, unsigned int poles) {
    const std::int64_t n = 4 * std::int64_t{degree} * (std::int64_t{poles} - degree) + 4;
    if (n >= mostSeeds) return mostSeeds;
    return n <= fewestSeeds ? fewestSeeds : static_cast<unsigned int>(n);
}

SeedNodes::SeedNodes(const ERMatrix<ERPoint3D>& grid) : grid_(grid) {
    const unsigned int endRow = std::max(rows(), 1u) - 1, endCol = std::max(cols(), 1u) - 1;
    const ERPoint3D* const points = std::as_const(grid_).data();
    for (unsigned int i = 1; i < endRow; i += blockSide) {
        for (unsigned int j = 1; j < endCol; j += blockSide) {
            Block block{i, std::min(i + blockSide, endRow), j, std::min(j + blockSide, endCol), {}};
            for (unsigned int row = i; row < block.lastRow; ++row)
                for (unsigned int col = j; col < block.lastCol; ++col)
                    block.box.Update(points[std::size_t{row} * cols() + col]);
            blocks_.push_back(block);
        }
    }
}

void SeedNodes::scan(const Block& block, const ERPoint3D& p, Node& nearest) const {
    const ERPoint3D* const points = grid_.data();
    const std::size_t stride = cols();
    for (unsigned int i = block.firstRow; i < block.lastRow; ++i) {
        const ERPoint3D* const row = points + i * stride;
        for (unsigned int j = block.firstCol; j < block.lastCol; ++j) {
            const double x = row[j].x() - p.x(), y = row[j].y() - p.y(), z = row[j].z() - p.z();
            const double d = x * x + y * y + z * z;
            if (d > nearest.distance2 || !(d < std::numeric_limits<double>::max())) continue;
            if (d == nearest.distance2 && std::pair(i, j) > std::pair(nearest.i, nearest.j))
                continue;
            nearest = {i, j, d};
        }
    }
}

bool SeedNodes::nearest(const ERPoint3D& p, Node& node) const {
    node = {0, 0, std::numeric_limits<double>::max()};
    spline::Scratch<blocksOnStack> bounds(blocks_.size());
    std::size_t first = 0;
    for (std::size_t k = 0; k < blocks_.size(); ++k) {
        bounds[k] = distance2(blocks_[k].box, p);
        if (bounds[k] < bounds[first]) first = k;
    }
    // The nearest box first, so that most of the others need not be looked at.
    if (!blocks_.empty()) scan(blocks_[first], p, node);
    for (std::size_t k = 0; k < blocks_.size(); ++k)
        if (k != first && bounds[k] <= node.distance2) scan(blocks_[k], p, node);
    return node.distance2 < std::numeric_limits<double>::max();
}

}  // namespace kerf
