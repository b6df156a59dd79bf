#pragma once
#include <optional>

#include "kerf/curves/spline/pole_grid.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/surface.h"

namespace kerf {

class ERMinimax3D;
class ERRaySurfaceResult;

namespace ray {

/// Finds the points of a surface on a ray by cutting its Bézier patches down to those that the ray
/// meets.
///
/// A patch is dropped when the ray misses the box or the hull of its poles, seen along the ray. One that
/// is small enough is solved (ray_solve.h), any other is cut across the longer direction, or across
/// both.
/// Tolerance: a point counts within 2.2e-4 of the ray. Small is an extent below 0.1, or below 1e-12 of
///            the largest coordinate.
/// Failure:   after 64 cuts, and after 65 536 patches in all, patches are solved as they are: a surface
///            that stands along the ray would be cut without end.
/// Kept:      a point on the border between two patches is found twice.
class KERF_EXPORT Recursion {
public:
    /// Points of the surface on the line through p along Z, or along a direction, are appended to the
    /// result, as the surface's own PtCur gives them.
    Recursion(const ERAnyBoundedSurface& surface, const ERPoint3D& p, ERRaySurfaceResult& result);
    Recursion(const ERAnyBoundedSurface& surface, const ERPoint3D& p, const ERVector3D& direction,
              ERRaySurfaceResult& result);

    /// Looks at a patch whose poles mean the unit square of those ranges.
    template <GridPole E>
    void add(const ERMatrix<E>& poles, const ERLimites& u, const ERLimites& v);

    /// False when the ray passes poles in that box by so much that no patch of theirs, with positive
    /// weights, has a point on it.
    bool mayMeet(const ERMinimax3D& box) const;

private:
    struct Patch;

    void enter(const Patch& patch, int depth);
    void cut(const Patch& patch, bool alongU, bool alongV, int depth);
    void solvePatch(const Patch& patch);

    const ERAnyBoundedSurface& surface_;
    ERRaySurfaceResult& result_;
    ERPoint3D p_;
    ERVector3D direction_{0.0, 0.0, 1.0};
    std::optional<ERPmIsometrie3D> frame_;  // none where the ray is along Z as it is
    double x_, y_;                          // the ray in the frame
    double small_ = 0.0;
    unsigned int patchesLeft_;
};

}  // namespace ray
}  // namespace kerf
