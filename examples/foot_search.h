#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

#include "examples/point_tree.h"
#include "kerf/surfaces/offset_surface.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/box.h"
#include "kerf/values/surface_info_point.h"

/// A grid of points of a surface, at about equal steps in space.
struct SurfaceGrid {
    unsigned int nU = 2, nV = 2;
    double lengthU = 0.0, lengthV = 0.0;  // of the longest of some curves along u and v
    kerf::ERLimites rangeU, rangeV;

    SurfaceGrid(const kerf::ERAnyBoundedSurface& surface, std::size_t points)
        : rangeU(surface.getBoundU()), rangeV(surface.getBoundV()) {
        // One of them may shrink to a point.
        constexpr int curves = 5, steps = 64;
        for (int k = 0; k < curves; ++k) {
            const double share = static_cast<double>(k) / (curves - 1);
            double alongU = 0.0, alongV = 0.0;
            for (int i = 0; i < steps; ++i) {
                const double a = static_cast<double>(i) / steps, b = (i + 1.0) / steps;
                alongU += distance(surface(u(a), v(share)), surface(u(b), v(share)));
                alongV += distance(surface(u(share), v(a)), surface(u(share), v(b)));
            }
            lengthU = std::max(lengthU, alongU);
            lengthV = std::max(lengthV, alongV);
        }
        const double wanted = static_cast<double>(points);
        constexpr double least = 8.0;
        const double ratio = lengthV > 0.0 && lengthU > 0.0 ? lengthU / lengthV : 1.0;
        const double along = std::clamp(std::sqrt(wanted * ratio), least, wanted / least);
        nU = static_cast<unsigned int>(along);
        nV = static_cast<unsigned int>(wanted / along);
    }
    double u(double share) const {
        return rangeU.start() + share * (rangeU.end() - rangeU.start());
    }
    double v(double share) const {
        return rangeV.start() + share * (rangeV.end() - rangeV.start());
    }
    double u(unsigned int i) const { return u(static_cast<double>(i) / (nU - 1)); }
    double v(unsigned int j) const { return v(static_cast<double>(j) / (nV - 1)); }
    std::size_t size() const { return std::size_t{nU} * nV; }
    kerf::ERPoint2D parameters(std::size_t index) const {
        return {u(static_cast<unsigned int>(index / nV)), v(static_cast<unsigned int>(index % nV))};
    }
    /// The normal, also where the surface shrinks to a point along one parameter: there, that beside it.
    kerf::ERVector3D normal(const kerf::ERAnyBoundedSurface& surface,
                            const kerf::ERInfoPoint3DSurf& info) const {
        constexpr double small = 1e-6;
        const double widthU = u(1.0) - u(0.0), widthV = v(1.0) - v(0.0);
        if (info.tangenteU().norme() * widthU > small * lengthU &&
            info.tangenteV().norme() * widthV > small * lengthV)
            return info.normale();
        const kerf::ERPoint2D beside(std::clamp(info.parameter().x(), u(small), u(1.0 - small)),
                                     std::clamp(info.parameter().y(), v(small), v(1.0 - small)));
        return surface.PtCur(beside).normale();
    }
    /// How far apart neighbours are, in the mean along each parameter.
    double step() const { return std::max(lengthU / (nU - 1), lengthV / (nV - 1)); }
    std::vector<kerf::ERPoint3D> points(const kerf::ERAnyBoundedSurface& surface) const {
        std::vector<kerf::ERPoint3D> all;
        all.reserve(size());
        for (unsigned int i = 0; i < nU; ++i)
            for (unsigned int j = 0; j < nV; ++j) all.push_back(surface(u(i), v(j)));
        return all;
    }
};

/// Where a point belongs on a surface.
struct Foot {
    enum class Kind {
        Projection,  // found by ProjectionNormale
        Search,      // found from the nearest points of a grid
        Border       // no foot, but the nearest point of the border
    };
    Kind kind = Kind::Projection;
    kerf::ERPoint2D uv;
    kerf::ERPoint3D point;
    kerf::ERVector3D normal;
    double distance = 0.0;
};

/// Finds the nearest point of a bounded surface. ProjectionNormale is asked first. Where it finds
/// nothing, or a point of a grid over the surface tells that something nearer may lie elsewhere, as on
/// the other side of a thin edge, the search starts from such points; it stays within the limits, so
/// that it ends on the border where there is no foot.
/// Lifetime: the surface outlives it.
class FootSearch {
public:
    explicit FootSearch(const kerf::ERAnyBoundedSurface& surface)
        : surface_(surface), grid_(surface, gridPoints), tree_(grid_.points(surface)) {
        kerf::ERMinimax3D box;
        for (const kerf::ERPoint3D& p : tree_.points()) box.Update(p);
        size_ = box.diagonal();
        closed_ = {isClosed(true), isClosed(false)};
        for (unsigned int i = 0; i < grid_.nU; ++i) {
            for (unsigned int j = 0; j < grid_.nV; ++j) {
                if (i > 0) step_ = std::max(step_, distance(gridPoint(i, j), gridPoint(i - 1, j)));
                if (j > 0) step_ = std::max(step_, distance(gridPoint(i, j), gridPoint(i, j - 1)));
            }
        }
        // An offset surface has the normals of its base, and so the parameters of its feet.
        base_ = &surface;
        while (const auto* const offset =
                   kerf::EROffsetSurface::castdown(const_cast<kerf::ERAnyBoundedSurface*>(base_))) {
            held_ = offset->getBaseSurface();
            base_ = held_.getObject();
        }
        reach_ = 1e-9 * size_;
        if (base_ != &surface)
            for (std::size_t i = 0; i < grid_.size(); ++i)
                reach_ =
                    std::max(reach_, distance(tree_.points()[i], (*base_)(grid_.parameters(i))));
    }

    Foot operator()(const kerf::ERPoint3D& p) const {
        const double bound = std::sqrt(tree_.nearest(p).distance2);
        const double rounding = 1e-9 * (size_ + bound);
        std::vector<Cell> seen;
        std::optional<Foot> best;
        kerf::ERPoint2D uv;
        if (base_->ProjectionNormale(p, bound + reach_, uv, 1) != 0) {
            const Foot foot = footAt(p, uv, Foot::Kind::Projection);
            if (foot.distance <= bound + rounding) {
                best = foot;
                seen.push_back(cellOf(uv));
            }
        }
        // Any nearer point of the surface has one of the grid within a step. Of those, not all are
        // looked at where they are many.
        constexpr std::size_t most = 60, starts = 6;
        const double radius = (best ? best->distance : bound) + step_;
        for (const PointTree::Near& near : tree_.nearest(p, radius, most)) {
            const kerf::ERPoint2D start = grid_.parameters(near.index);
            const Cell cell = cellOf(start);
            if (seen.size() == starts) break;
            if (std::any_of(seen.begin(), seen.end(),
                            [&](const Cell& other) { return areNeighbours(cell, other); }))
                continue;
            seen.push_back(cell);
            const Foot foot = descend(p, start);
            if (!best || foot.distance < best->distance - rounding) best = foot;
        }
        return *best;
    }

private:
    static constexpr std::size_t gridPoints = 20000;

    Foot footAt(const kerf::ERPoint3D& p, const kerf::ERPoint2D& uv, Foot::Kind kind) const {
        const kerf::ERInfoPoint3DSurf info = surface_.PtCur(uv);
        return {kind, uv, info.point(), grid_.normal(surface_, info), distance(info.point(), p)};
    }

    const kerf::ERPoint3D& gridPoint(unsigned int i, unsigned int j) const {
        return tree_.points()[std::size_t{i} * grid_.nV + j];
    }
    bool isClosed(bool inU) const {
        double widest = 0.0;
        for (int k = 0; k < 7; ++k) {
            const double share = k / 6.0;
            widest = std::max(widest, inU ? distance(surface_(grid_.u(0.0), grid_.v(share)),
                                                     surface_(grid_.u(1.0), grid_.v(share)))
                                          : distance(surface_(grid_.u(share), grid_.v(0.0)),
                                                     surface_(grid_.u(share), grid_.v(1.0))));
        }
        return widest <= 1e-9 * size_;
    }

    struct Cell {
        double u, v;  // in steps of the grid
    };
    Cell cellOf(const kerf::ERPoint2D& uv) const {
        return {(uv.x() - grid_.u(0.0)) / (grid_.u(1.0) - grid_.u(0.0)) * (grid_.nU - 1),
                (uv.y() - grid_.v(0.0)) / (grid_.v(1.0) - grid_.v(0.0)) * (grid_.nV - 1)};
    }
    bool areNeighbours(const Cell& a, const Cell& b) const {
        constexpr double near = 3.0;
        const auto apart = [](double x, double y, unsigned int count, bool closed) {
            const double steps = std::fabs(x - y);
            return closed ? std::min(steps, std::fabs(count - 1 - steps)) : steps;
        };
        return apart(a.u, b.u, grid_.nU, closed_[0]) < near &&
               apart(a.v, b.v, grid_.nV, closed_[1]) < near;
    }

    using Shares = std::array<double, 2>;  // of the ranges of u and v

    kerf::ERPoint2D parameters(const Shares& at) const { return {grid_.u(at[0]), grid_.v(at[1])}; }
    double squared(const kerf::ERPoint3D& p, const Shares& at) const {
        return kerf::ERVector3D(p, surface_(parameters(at))).norme2();
    }

    // Half the squared distance from a point: its derivatives by the shares.
    struct Slope {
        Shares gradient;
        std::array<bool, 2> isSlanted;  // not only by rounding
        double uu, uv, vv;

        Slope(const kerf::ERPoint3D& p, const kerf::ERInfoPoint3DSurf& info, double widthU,
              double widthV) {
            constexpr double rounding = 1e-9;
            const kerf::ERVector3D gap(p, info.point());
            const auto& table = info.derivatives();
            const kerf::ERVector3D du = kerf::ERVector3D(table(0, 1)) * widthU;
            const kerf::ERVector3D dv = kerf::ERVector3D(table(1, 0)) * widthV;
            gradient = {du * gap, dv * gap};
            isSlanted = {std::fabs(gradient[0]) > rounding * du.norme() * gap.norme(),
                         std::fabs(gradient[1]) > rounding * dv.norme() * gap.norme()};
            uu = du * du + kerf::ERVector3D(table(0, 2)) * gap * (widthU * widthU);
            uv = du * dv + kerf::ERVector3D(table(1, 1)) * gap * (widthU * widthV);
            vv = dv * dv + kerf::ERVector3D(table(2, 0)) * gap * (widthV * widthV);
            if (!(uu > 0.0 && vv > 0.0 && uu * vv > uv * uv)) {
                uu = du * du;
                vv = dv * dv;
                uv = du * dv;
            }
            const double ridge = 1e-14 * (uu + vv);  // for a point in which a direction is lost
            uu += ridge;
            vv += ridge;
        }
        // Newton's, or Gauss's where the second derivatives lead nowhere, along what is not stopped.
        Shares step(const std::array<bool, 2>& stops) const {
            if (stops[0] && stops[1]) return {0.0, 0.0};
            if (stops[0]) return {0.0, -gradient[1] / vv};
            if (stops[1]) return {-gradient[0] / uu, 0.0};
            const double determinant = uu * vv - uv * uv;
            return {(gradient[1] * uv - gradient[0] * vv) / determinant,
                    (gradient[0] * uv - gradient[1] * uu) / determinant};
        }
    };

    // Takes as much of the step as comes nearer; false when nothing does, or hardly anything is left.
    bool advance(const kerf::ERPoint3D& p, Shares& at, Shares step, double& least) const {
        constexpr int mostHalvings = 40;
        constexpr double smallest = 1e-14;
        for (int k = 0; k < mostHalvings; ++k) {
            const Shares next = {std::clamp(at[0] + step[0], 0.0, 1.0),
                                 std::clamp(at[1] + step[1], 0.0, 1.0)};
            const double found = squared(p, next);
            if (found < least) {
                const double moved = std::fabs(next[0] - at[0]) + std::fabs(next[1] - at[1]);
                at = next;
                least = found;
                return moved >= smallest;
            }
            step = {step[0] / 2, step[1] / 2};
        }
        return false;
    }

    // From the start to the nearest point about it, within the limits. Where a closed surface ends it
    // is entered again at the other end, once.
    Foot descend(const kerf::ERPoint3D& p, const kerf::ERPoint2D& start) const {
        constexpr int mostSteps = 80;
        const double widthU = grid_.u(1.0) - grid_.u(0.0), widthV = grid_.v(1.0) - grid_.v(0.0);
        Shares at = {(start.x() - grid_.u(0.0)) / widthU, (start.y() - grid_.v(0.0)) / widthV};
        std::array<bool, 2> wentRound{};
        double least = squared(p, at);
        bool onBorder = false;
        for (int i = 0; i < mostSteps; ++i) {
            const Slope slope(p, surface_.PtCur(parameters(at)), widthU, widthV);
            std::array<bool, 2> stops{};
            bool goesRound = false;
            for (std::size_t k = 0; k < 2; ++k) {
                stops[k] = (at[k] <= 0.0 && slope.gradient[k] > 0.0) ||
                           (at[k] >= 1.0 && slope.gradient[k] < 0.0);
                if (!stops[k] || !closed_[k] || wentRound[k]) continue;
                at[k] = at[k] <= 0.0 ? 1.0 : 0.0;
                wentRound[k] = goesRound = true;
            }
            if (goesRound) continue;
            onBorder = (stops[0] && slope.isSlanted[0]) || (stops[1] && slope.isSlanted[1]);
            if (!advance(p, at, slope.step(stops), least)) break;
        }
        return footAt(p, parameters(at), onBorder ? Foot::Kind::Border : Foot::Kind::Search);
    }

    const kerf::ERAnyBoundedSurface& surface_;
    SurfaceGrid grid_;
    PointTree tree_;
    const kerf::ERAnyBoundedSurface* base_ = nullptr;
    kerf::t_SmartPtr<kerf::ERAnyBoundedSurface> held_;  // base_, where it is not the surface
    double size_ = 0.0;
    double reach_ = 0.0;            // how far the surface is from its base
    double step_ = 0.0;             // at most, between neighbours of the grid
    std::array<bool, 2> closed_{};  // along u, along v
};
