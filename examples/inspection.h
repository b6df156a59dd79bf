#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <vector>

#include "examples/foot_search.h"
#include "examples/points_file.h"
#include "examples/surface_file.h"
#include "kerf/curves/infinite_line.h"
#include "kerf/surfaces/medium_plane.h"
#include "kerf/surfaces/plane.h"
#include "kerf/values/vector_instances.h"

// What a measuring room finds when it compares measured points to a surface.

/// The part of an unbounded surface that has the feet of all points; a bounded one as it is.
inline Nominal boundedPart(const Nominal& nominal, const std::vector<kerf::ERPoint3D>& points) {
    using namespace kerf;
    if (nominal.bounded() != nullptr) return nominal;
    constexpr double pi = 3.141592653589793;
    const ERLimites turn(0.0, 2.0 * pi);
    ERSurface* const surface = nominal.surface.getObject();
    // From the lowest to the highest foot along a direction, and a little more.
    const auto extent = [&](const ERPoint3D& origin, const ERVector3D& direction) {
        double low = std::numeric_limits<double>::max(), high = -low;
        for (const ERPoint3D& p : points) {
            ERPoint3D foot = p;
            ERVector3D normal;
            surface->ProjectionNormale(p, foot, normal);
            const double height = ERVector3D(origin, foot) * direction;
            low = std::min(low, height);
            high = std::max(high, height);
        }
        const double margin =
            0.01 * (high - low) + 1e-6 * std::max(std::fabs(low), std::fabs(high)) + 1e-9;
        return ERLimites(low - margin, high + margin);
    };
    const auto part = [](ERSurface* bounded, double outwards) {
        return Nominal{t_SmartPtr<ERSurface>(bounded), outwards};
    };
    if (const ERPlane* const plane = ERPlane::castdown(surface)) {
        const ERPmIsometrie3D frame = plane->getTransfo();
        const ERPoint3D origin = plane->origine();
        return part(new ERBoundedPlane(frame, extent(origin, frame >> ERVector3D(1, 0, 0)),
                                       extent(origin, frame >> ERVector3D(0, 1, 0))),
                    1.0);
    }
    if (const ERCylinder* const cylinder = ERCylinder::castdown(surface)) {
        const ERInfLine3D& axis = cylinder->axe();
        const ERLimites heights = extent(axis.origine(), axis.dirVector());
        return part(new ERBoundedCylinder(*cylinder, heights, turn), -1.0);
    }
    if (const ERCone* const cone = ERCone::castdown(surface))
        return part(new ERBoundedCone(*cone, extent(cone->apex(), cone->direction()), turn), -1.0);
    if (const ERSphere* const sphere = ERSphere::castdown(surface))
        return part(new ERBoundedSphere(*sphere, turn, ERLimites(-pi / 2, pi / 2)), 1.0);
    return part(new ERBoundedTorus(*ERTorus::castdown(surface), turn, turn), 1.0);
}

/// The feet of measured points on a surface, and their deviations: the distances from the feet,
/// positive where the normal leads, negative on the other side.
class Inspection {
public:
    /// `inwards` turns the sides over.
    Inspection(const Nominal& nominal, const std::vector<kerf::ERPoint3D>& points, bool inwards)
        : nominal_(nominal),
          part_(boundedPart(nominal, points)),
          material_(inwards ? -1.0 : 1.0),
          points_(points) {
        const FootSearch search(sheet());
        const Progress progress("projecting", points_.size());
        for (std::size_t i = 0; i < points_.size(); ++i) {
            feet_.push_back(search(points_[i]));
            ++counts_[static_cast<std::size_t>(feet_[i].kind)];
            deviations_.push_back(deviationOf(i));
            progress.show(i + 1);
        }
        summarize();
    }

    /// Those points of another inspection, against a part of its surface that has all their feet.
    Inspection(const Inspection& whole, const Nominal& part, const std::vector<std::size_t>& points)
        : nominal_(part), part_(part), material_(whole.material_) {
        for (const std::size_t i : points) {
            points_.push_back(whole.points_[i]);
            feet_.push_back(whole.feet_[i]);
            deviations_.push_back(whole.deviations_[i]);
            ++counts_[static_cast<std::size_t>(whole.feet_[i].kind)];
        }
        summarize();
    }

    const Nominal& nominal() const { return nominal_; }
    /// The surface with its limits.
    const kerf::ERAnyBoundedSurface& sheet() const { return *part_.bounded(); }
    /// What the normals of the sheet are multiplied by to lead out of the material.
    double outwards() const { return part_.outwards * material_; }
    const std::vector<kerf::ERPoint3D>& points() const { return points_; }
    const std::vector<Foot>& feet() const { return feet_; }
    const std::vector<double>& deviations() const { return deviations_; }

    std::size_t count(Foot::Kind kind) const { return counts_[static_cast<std::size_t>(kind)]; }
    double mean() const { return mean_; }
    double meanSize() const { return meanSize_; }  ///< of the deviations without their signs
    double rms() const { return rms_; }
    std::size_t worst() const { return worst_; }      ///< the largest deviation on any side
    std::size_t fattest() const { return fattest_; }  ///< the largest with its sign
    std::size_t leanest() const { return leanest_; }
    double largest() const { return std::fabs(deviations_[worst_]); }
    /// Of an unbounded surface: how far its own distances are from those of the search.
    double closedFormOff() const { return closedFormOff_; }

    /// All points, the largest deviations on any side first.
    std::vector<std::size_t> byDeviation() const {
        std::vector<std::size_t> order(points_.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return std::fabs(deviations_[a]) > std::fabs(deviations_[b]);
        });
        return order;
    }

private:
    // An unbounded surface has a distance of its own, with a sign. What lies beside the border of another
    // without being above or below it is fat.
    double deviationOf(std::size_t i) {
        constexpr double rounding = 1e-9;
        const Foot& foot = feet_[i];
        const double height = kerf::ERVector3D(foot.point, points_[i]) * foot.normal * outwards();
        const double found = height < -rounding * foot.distance ? -foot.distance : foot.distance;
        double own = 0.0;
        if (nominal_.bounded() != nullptr ||
            nominal_.surface->SignedMinimalDistance(points_[i], own) == 0)
            return found;
        own *= material_;
        closedFormOff_ = std::max(closedFormOff_, std::fabs(own - found));
        return own;
    }
    void summarize() {
        double sum = 0.0, sizes = 0.0, squares = 0.0;
        for (std::size_t i = 0; i < deviations_.size(); ++i) {
            const double deviation = deviations_[i];
            sum += deviation;
            sizes += std::fabs(deviation);
            squares += deviation * deviation;
            if (std::fabs(deviation) > std::fabs(deviations_[worst_])) worst_ = i;
            if (deviation > deviations_[fattest_]) fattest_ = i;
            if (deviation < deviations_[leanest_]) leanest_ = i;
        }
        const double count = static_cast<double>(deviations_.size());
        mean_ = sum / count;
        meanSize_ = sizes / count;
        rms_ = std::sqrt(squares / count);
    }

    Nominal nominal_;
    Nominal part_;     // of the surface, with limits
    double material_;  // -1 where it is on the side of the normal
    std::vector<kerf::ERPoint3D> points_;
    std::vector<Foot> feet_;
    std::vector<double> deviations_;
    std::array<std::size_t, 3> counts_{};
    double mean_ = 0.0, meanSize_ = 0.0, rms_ = 0.0, closedFormOff_ = 0.0;
    std::size_t worst_ = 0, fattest_ = 0, leanest_ = 0;
};

/// The plane and, in it, the line that lie best among the points.
struct FittedPlane {
    kerf::ERPlane plane;
    kerf::ERInfLine2D line;       // in the plane's frame
    kerf::ERPmIsometrie3D frame;  // of the plane
    kerf::ERVector3D along;       // the line's direction in space
    kerf::ERPoint3D middle;       // the mean of the points
    double planeRms = 0.0, lineRms = 0.0;

    explicit FittedPlane(const std::vector<kerf::ERPoint3D>& points) {
        const unsigned int size = static_cast<unsigned int>(points.size());
        kerf::GetMediumPlane(kerf::ERVec<kerf::ERPoint3D>(points.data(), size), plane, 0.0);
        frame = plane.getTransfo();
        std::vector<kerf::ERPoint2D> flat;
        kerf::ERVector3D sum;
        for (const kerf::ERPoint3D& p : points) {
            const kerf::ERPoint3D local = frame << p;
            flat.emplace_back(local.x(), local.y());
            planeRms += local.z() * local.z();
            sum += kerf::ERVector3D(p);
        }
        kerf::GetMediumLine(kerf::ERVec<kerf::ERPoint2D>(flat.data(), size), line, 0.0);
        for (const kerf::ERPoint2D& p : flat) {
            const double off = distance(line.projectPt(p), p);
            lineRms += off * off;
        }
        const double count = static_cast<double>(points.size());
        planeRms = std::sqrt(planeRms / count);
        lineRms = std::sqrt(lineRms / count);
        middle = kerf::ERPoint3D() + sum * (1.0 / count);
        const kerf::ERVector2D direction = line.dirVector();
        along = frame >> kerf::ERVector3D(direction.i(), direction.j(), 0.0);
    }
};
