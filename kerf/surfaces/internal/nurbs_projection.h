#pragma once
#include <memory>
#include <optional>
#include <vector>

#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/seed_nodes.h"
#include "kerf/surfaces/nurbs_surface.h"

namespace kerf {

/// What a pole surface keeps for the projections on it.
struct PoleSurfaceProjectionData {
    struct Shape {
        double deviation;                      // of the poles from their medium plane
        double largest;                        // absolute coordinate of a pole
        bool weightsArePositive;               // so that the surface lies in the box of its poles
        ERPmIsometrie3D frame;                 // of that plane
        std::optional<ERVec<ERPoint2D>> hull;  // in the frame; where the surface is flat
        std::vector<ERMinimax3D>
            cover;  // boxes in the frame that hold the surface; empty before made
    };

    std::unique_ptr<ERSpoleNURBS3D> unitForm;  // of a Bézier surface
    std::optional<Shape> shape;
    std::optional<SeedNodes> seeds;
    t_SmartPtr<ERSpoleNURBS3D> before, after;  // the halves that projections enter
    std::size_t halvesBytes = 0;               // of all halves below, where the projections began
};

/// The search for the foot of a point on a NURBS surface.
class KERF_EXPORT NurbsProjection {
public:
    /// Parameter: the tolerance says how far from the surface's box the point may lie. The flag is that
    ///            of ReajustProjection.
    NurbsProjection(const ERPoint3D& p, double tolerance, int flag);

    /// Halves the surface until it is nearly flat and not much longer than wide, and takes the nearest
    /// of the feet on the parts, of equal ones the first. Returns whether there is one.
    bool project(const ERSpoleNURBS3D& surface, ERPoint2D& uv);
    /// Takes the nearest of many points of the surface and moves on from there to a foot. Returns
    /// whether that has one.
    bool projectWhole(const ERSpoleNURBS3D& surface, ERPoint2D& uv) const;

    /// Whether the surface and all its parts lie in the boxes of their poles: no weight is zero or less.
    static bool boxesBound(const ERSpoleNURBS3D& surface) {
        return shapeOf(surface).weightsArePositive;
    }

private:
    using Data = PoleSurfaceProjectionData;
    using Half = t_SmartPtr<ERSpoleNURBS3D>;
    struct Foot {
        ERPoint2D uv;
        double distance2;
    };
    struct Halves;

    static Data& dataOf(const ERSpoleNURBS3D& surface);
    static Data::Shape& shapeOf(const ERSpoleNURBS3D& surface);
    static std::vector<ERMinimax3D> makeCover(const ERSpoleNURBS3D& surface,
                                              const ERPmIsometrie3D& frame);
    bool isApart(const ERSpoleNURBS3D& surface, double boxMargin, double reach) const;
    bool passesTheHull(const Data::Shape& shape) const;
    double distanceOfCover2(const ERSpoleNURBS3D& surface) const;
    bool isFarther(const ERSpoleNURBS3D& surface, double farthest2) const;

    bool descend(const ERSpoleNURBS3D& surface, int depth, double farthest2, Foot& foot);
    bool intoHalves(const Halves& halves, int depth, double farthest2, Foot& foot);
    bool split(const ERSpoleNURBS3D& surface, bool alongU, Halves& halves);
    bool solve(const ERSpoleNURBS3D& surface, Foot& foot) const;

    bool seed(const ERSpoleNURBS3D& surface, double& s, double& t) const;
    SeedNodes makeSeeds(const ERSpoleNURBS3D& surface) const;
    struct ColumnFunctions;

    ERPoint3D p_;
    double tolerance_;
    int flag_;
    // Of project() alone.
    Data* root_ = nullptr;
    bool boxesBound_ = false;
    double slack_ = 0.0;
    unsigned int halvesLeft_ = 0;
};

}  // namespace kerf
