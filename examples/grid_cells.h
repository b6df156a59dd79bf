#pragma once
#include <array>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include "examples/foot_search.h"
#include "kerf/processing/region.h"
#include "kerf/surfaces/trimmed_surface.h"

/// The trimmed surface that it is; null for any other.
inline kerf::ERTrimmedSurface* trimmedOf(const kerf::ERAnyBoundedSurface& surface) {
    return kerf::ERTrimmedSurface::castdown(const_cast<kerf::ERAnyBoundedSurface*>(&surface));
}

/// The cells of a grid over a surface, as polygons in (u, v). Those of a trimmed surface are cut where their
/// edges meet a boundary: what a boundary does within a cell, between two of its edges, is a straight line,
/// and one that enters and leaves by the same edge is not seen.
class GridCells {
public:
    using Face = std::vector<std::size_t>;  // the vertices, as they follow each other around it

    GridCells(const kerf::ERAnyBoundedSurface& surface, const SurfaceGrid& grid) : grid_(grid) {
        kerf::ERTrimmedSurface* const trimmed = trimmedOf(surface);
        const bool cuts = trimmed != nullptr && trimmed->nbBounds() > 0;
        std::vector<bool> isInside(grid.size(), true);
        for (std::size_t i = 0; cuts && i < grid.size(); ++i)
            isInside[i] = trimmed->isInBound(grid.parameters(i)) != 0;
        const kerf::ERRegion2D* const region = cuts ? trimmed->GetRegion() : nullptr;
        for (std::size_t i = 0; i + 1 < grid.nU; ++i) {
            for (std::size_t j = 0; j + 1 < grid.nV; ++j) {
                const std::size_t first = i * grid.nV + j, next = first + grid.nV;
                addCell({first, next, next + 1, first + 1}, isInside, region);
            }
        }
    }

    const std::vector<kerf::ERPoint2D>& vertices() const { return vertices_; }
    const std::vector<Face>& faces() const { return faces_; }

private:
    void addCell(const std::array<std::size_t, 4>& corners, const std::vector<bool>& isInside,
                 const kerf::ERRegion2D* region) {
        Face face;
        // From each corner that stays, on to the next ones, until the boundary is met.
        for (std::size_t k = 0; k < 4; ++k) {
            const std::size_t before = corners[(k + 3) % 4], corner = corners[k],
                              after = corners[(k + 1) % 4];
            if (!isInside[corner]) continue;
            if (!isInside[before]) face.push_back(crossing(corner, before, *region));
            face.push_back(vertexOf(corner, corner, grid_.parameters(corner)));
            if (!isInside[after]) face.push_back(crossing(corner, after, *region));
        }
        const bool isOpposite = isInside[corners[0]] == isInside[corners[2]] &&
                                isInside[corners[1]] == isInside[corners[3]] &&
                                isInside[corners[0]] != isInside[corners[1]];
        if (isOpposite) {
            faces_.emplace_back(face.begin(), face.begin() + 3);
            faces_.emplace_back(face.begin() + 3, face.end());
        } else if (face.size() >= 3) {
            faces_.push_back(face);
        }
    }

    // A corner is the edge from itself to itself.
    std::size_t vertexOf(std::size_t from, std::size_t to, const kerf::ERPoint2D& uv) {
        const auto [found, isNew] = indices_.try_emplace({from, to}, vertices_.size());
        if (isNew) vertices_.push_back(uv);
        return found->second;
    }
    // Where the edge from a corner inside to one outside leaves the region.
    std::size_t crossing(std::size_t inside, std::size_t outside, const kerf::ERRegion2D& region) {
        kerf::ERVec<kerf::ERPoint2D> edge;
        edge.append(grid_.parameters(inside));
        edge.append(grid_.parameters(outside));
        kerf::ERTValVector<kerf::ERVec<kerf::ERPoint2D>> parts;
        region.Intersect(edge, parts, nullptr);
        // A part may end, and the next begin, at a vertex that the edge only passes.
        kerf::ERPoint2D at = edge[0];
        for (unsigned int i = 0; i < parts.entries() && parts[i][0] == at; ++i)
            at = parts[i][parts[i].length() - 1];
        return vertexOf(inside, outside, at);
    }

    const SurfaceGrid& grid_;
    std::vector<kerf::ERPoint2D> vertices_;
    std::vector<Face> faces_;
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> indices_;
};
