#pragma once
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "examples/grid_cells.h"
#include "examples/inspection.h"
#include "examples/svg_picture.h"

/// A grid over the surface whose vertices carry the deviation of the points measured about them. Of a
/// trimmed surface, what the boundaries leave of it.
class DeviationMesh {
public:
    /// With about that many vertices.
    DeviationMesh(const Inspection& inspection, std::size_t size)
        : grid_(inspection.sheet(), size), cells_(inspection.sheet(), grid_) {
        for (const kerf::ERPoint2D& uv : cells_.vertices())
            points_.push_back(inspection.sheet()(uv));
        std::vector<kerf::ERPoint3D> feet;
        feet.reserve(inspection.feet().size());
        for (const Foot& foot : inspection.feet()) feet.push_back(foot.point);
        const PointTree tree(std::move(feet));
        const double radius = reach(tree);
        const Progress progress("colouring", points_.size());
        for (std::size_t i = 0; i < points_.size(); ++i) {
            const kerf::ERInfoPoint3DSurf info = inspection.sheet().PtCur(cells_.vertices()[i]);
            normals_.push_back(grid_.normal(inspection.sheet(), info) * inspection.outwards());
            deviations_.push_back(around(i, inspection, tree, radius));
            progress.show(i + 1);
        }
    }

    DeviationMesh(const DeviationMesh&) = delete;
    DeviationMesh& operator=(const DeviationMesh&) = delete;

    const SurfaceGrid& grid() const { return grid_; }
    const std::vector<kerf::ERPoint2D>& parameters() const { return cells_.vertices(); }
    const std::vector<GridCells::Face>& faces() const { return cells_.faces(); }
    const std::vector<kerf::ERPoint3D>& points() const { return points_; }
    const std::vector<kerf::ERVector3D>& normals() const { return normals_; }
    /// NaN where nothing was measured about the vertex.
    const std::vector<double>& deviations() const { return deviations_; }

private:
    // What counts as near a vertex: three times the distance of most points from their neighbours, and at
    // least a step of the grid.
    double reach(const PointTree& tree) const {
        constexpr std::size_t neighbours = 7, samples = 400;
        std::vector<double> distances;
        const std::size_t count = tree.points().size(), step = count / samples + 1;
        for (std::size_t i = 0; i < count; i += step) {
            const auto near =
                tree.nearest(tree.points()[i], std::numeric_limits<double>::max(), neighbours);
            distances.push_back(std::sqrt(near.back().distance2));
        }
        const std::size_t most = distances.size() * 9 / 10;
        std::nth_element(distances.begin(), distances.begin() + static_cast<std::ptrdiff_t>(most),
                         distances.end());
        return std::max(3 * distances[most], grid_.step());
    }

    // A mean, weighted by the distance; what lies on the other side of a thin wall does not count.
    double around(std::size_t i, const Inspection& inspection, const PointTree& tree,
                  double radius) const {
        constexpr std::size_t most = 12;
        constexpr double alike = 0.5;  // cosine between the normals
        double sum = 0.0, weights = 0.0;
        for (const PointTree::Near& near : tree.nearest(points_[i], radius, most)) {
            const Foot& foot = inspection.feet()[near.index];
            if (foot.kind == Foot::Kind::Border ||
                foot.normal * normals_[i] * inspection.outwards() < alike)
                continue;
            const double weight = 1.0 / (near.distance2 + 1e-4 * radius * radius);
            sum += weight * inspection.deviations()[near.index];
            weights += weight;
        }
        return weights > 0.0 ? sum / weights : std::numeric_limits<double>::quiet_NaN();
    }

    SurfaceGrid grid_;
    GridCells cells_;
    std::vector<kerf::ERPoint3D> points_;
    std::vector<kerf::ERVector3D> normals_;
    std::vector<double> deviations_;
};

/// Writes the mesh as a PLY file in text form: polygons on the surface, each vertex with its colour and its
/// deviation ("quality"). `limit` is the deviation that has the last colour of the scale.
/// False when the file cannot be written.
inline bool writePly(const std::string& path, const DeviationMesh& mesh, double limit) {
    std::ofstream file(path);
    file << "ply\nformat ascii 1.0\ncomment grey and quality nan: nothing measured there\n"
         << "element vertex " << mesh.points().size()
         << "\nproperty double x\nproperty double y\nproperty double z\n"
         << "property uchar red\nproperty uchar green\nproperty uchar blue\n"
         << "property float quality\nelement face " << mesh.faces().size()
         << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (std::size_t i = 0; i < mesh.points().size(); ++i) {
        const kerf::ERPoint3D& p = mesh.points()[i];
        const svgPicture::Color color = svgPicture::signedColor(mesh.deviations()[i], limit);
        char text[160];
        std::snprintf(text, sizeof text, "%.9g %.9g %.9g %u %u %u %.6g\n", p.x(), p.y(), p.z(),
                      color[0], color[1], color[2], mesh.deviations()[i]);
        file << text;
    }
    for (const GridCells::Face& face : mesh.faces()) {
        file << face.size();
        for (const std::size_t vertex : face) file << ' ' << vertex;
        file << '\n';
    }
    file.close();
    return !file.fail();
}
