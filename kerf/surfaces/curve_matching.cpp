#include "kerf/surfaces/curve_matching.h"

#include <algorithm>

#include "kerf/curves/polyline.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/box.h"

namespace kerf {

int match3DCurveOnSurface(const t_SmartPtr<ERAnyBoundedSurface>& surface,
                          t_SmartPtr<ERAnyBoundedSurface> hint,
                          t_SmartPtr<ERFiniteEntity3DWF> curve,
                          t_SmartPtr<ERFiniteEntity2DWF>& result) {
    constexpr double deviation = 0.01, relativeDeviation = 1e-9;
    constexpr double farFoot = 0.05, lostFoot = 0.5;
    if (!surface || !curve) return 0;
    // What is very large cannot be followed by points 0.01 near.
    const ERMinimax3D box = curve->getBox();
    const double extent = std::max({box.xlength(), box.ylength(), box.zlength()});
    const ERVec<ERPoint3D> points =
        curve->approxime(curve->getBound(), std::max(deviation, relativeDeviation * extent));

    ERVec<ERPoint2D> feet;
    for (const ERPoint3D& p : points) {
        ERPoint2D uv(0.0, 0.0);
        if (hint != nullptr) hint->ProjectionNormale(p, 0.0, uv, 0);
        if (surface->ProjectionNormale(p, 0.0, uv, 0) == 0) continue;
        if (!(distance(p, (*surface)(uv)) <= farFoot)) {
            ERPoint3D foot = p;
            surface->ReajustProjection(foot, uv, 0);
            if (!(distance(p, (*surface)(uv)) <= lostFoot)) continue;
        }
        feet.append(uv);
    }
    if (feet.length() < 2) return 0;
    result = new ERPolyline2D(feet);
    return 1;
}

}  // namespace kerf
