// What every bounded surface does from its evaluation and its iso curves alone.
#include <cstdint>
#include <limits>

#include "kerf/curves/curve.h"
#include "kerf/platform/internal/random.h"
#include "kerf/surfaces/mesh_sink.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/box.h"
#include "kerf/values/point_list.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

namespace {

using Half = t_SmartPtr<ERAnyBoundedSurface>;

double middle(const ERLimites& range) { return range.amplitude() * 0.5 + range.start(); }

}  // namespace

ERLimites ERAnyBoundedSurface::getBoundU() const { return ERLimites(udeb(), ufin()); }
ERLimites ERAnyBoundedSurface::getBoundV() const { return ERLimites(vdeb(), vfin()); }

ERInfoPoint3DSurf ERAnyBoundedSurface::PtCur(const ERPoint2D& uv) const {
    return PtCur(uv.x(), uv.y());
}

ERPoint3D ERAnyBoundedSurface::operator()(double u, double v) const { return PtCur(u, v).point(); }

ERInfoPoint3DSurf ERAnyBoundedSurface::randomPoint() const {
    const auto drawFrom = [](const ERLimites& range) {
        return range((2 * randomDraw()) / static_cast<double>(largestRandomDraw) - 1.0);
    };
    const double v = drawFrom(getBoundV());
    return PtCur(drawFrom(getBoundU()), v);
}

ERLimites ERAnyBoundedSurface::rangeOn(const ERFiniteEntity3DWF& isoCurve, const ERLimites& whole,
                                       const ERLimites& part) {
    const ERLimites own(isoCurve.udeb(), isoCurve.ufin());
    if (!(own == ERLimites(0.0, 1.0))) return part;
    return part == whole || whole.amplitude() == 0.0 ? own : whole.ratio(part);
}

void ERAnyBoundedSurface::tessalate(ERProcessMaillage& sink) const {
    const auto draw = [&](const ERLimites& across, const ERLimites& along, unsigned int intervals,
                          auto isoCurve) {
        if (!(across.amplitude() > 0.0)) return;
        for (std::uint64_t i = 0; i <= intervals; ++i) {
            const double ratio = static_cast<double>(i) / intervals;
            const t_SmartPtr<ERFiniteEntity3DWF> curve =
                isoCurve(across.start() + ratio * across.amplitude());
            if (curve != nullptr)
                sink.addPolyline(curve->approxime(rangeOn(*curve, along, along), sink.tolerance));
        }
    };
    const ERLimites u = ERLimites(udeb(), ufin()), v = ERLimites(vdeb(), vfin());
    draw(u, getBoundV(), sink.nbIsoU, [&](double at) { return getEntityIsoU(at); });
    draw(v, getBoundU(), sink.nbIsoV, [&](double at) { return getEntityIsoV(at); });
}

const ERMatrix<ERPoint3D>& ERAnyBoundedSurface::getMatricePoint(unsigned int nU, unsigned int nV) {
    return gridOver(getBoundV(), nU, nV);
}

const ERMatrix<ERPoint3D>& ERAnyBoundedSurface::gridOver(const ERLimites& alongV, unsigned int nU,
                                                         unsigned int nV) {
    if (grid_.rows() == nU && grid_.cols() == nV) return grid_;
    ERMatrix<ERPoint3D> grid(nU, nV);
    const ERLimites boundU = getBoundU(), boundV = getBoundV();
    ERPoint3D* point = grid.data();
    const double stepsU = nU - 1.0, stepsV = nV - 1.0;
    for (unsigned int i = 0; i < nU; ++i, point += nV) {
        const t_SmartPtr<ERFiniteEntity3DWF> curve = getEntityIsoU(boundU(i / stepsU));
        if (curve == nullptr) continue;
        const ERLimites along = rangeOn(*curve, alongV, boundV);
        for (unsigned int j = 0; j < nV; ++j) point[j] = (*curve)(along(j / stepsV));
    }
    grid_ = grid;
    return grid_;
}

void ERPoint23List::Smash(const ERAnyBoundedSurface& surface, double tol) {
    // Where a chord is long beside the ranges, the least span leaves room for more points than memory.
    constexpr int mostEvaluations = 1 << 20;
    int evaluations = 0;
    const auto evaluate = [&](const ERPoint2D& uv) {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();  // never too far
        return ++evaluations <= mostEvaluations ? surface(uv) : ERPoint3D(nan, nan, nan);
    };
    smash(evaluate, surface.getBoundU(), surface.getBoundV(), tol);
}

void ERAnyBoundedSurface::ProjectPoint(const ERPoint3D&, ERRaySurfaceResult&, int) const {}

void ERAnyBoundedSurface::ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                                       ERRaySurfaceResult& result, int flag) const {
    const Half copy(ERAnyBoundedSurface::castdown(getCopy()));
    if (copy == nullptr) return;
    const ERPmIsometrie3D ray = ERChgRepere3D(direction, p);
    const unsigned int known = result.entries();
    copy->transformTo(ray);
    copy->ProjectPoint(ERPoint3D(), result, flag);
    result.transformFrom(ray, known);
}

int ERAnyBoundedSurface::ProjectionNormale(const ERPoint3D&, double, ERPoint2D&, int) const {
    return 0;
}

int ERAnyBoundedSurface::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                           ERVector3D& normal) const {
    ERPoint2D uv(0.0, 0.0);
    if (ProjectionNormale(p, 0.0, uv, 1) == 0) return 0;
    const ERInfoPoint3DSurf info = PtCur(uv);
    foot = info.point();
    normal = info.normale();
    return 1;
}

int ERAnyBoundedSurface::ReajustProjection(ERPoint3D&, ERPoint2D&, int) const { return 0; }

int ERAnyBoundedSurface::SplitInU(Half& before, Half& after) const {
    return SplitInU(before, after, middle(getBoundU()));
}

int ERAnyBoundedSurface::SplitInV(Half& before, Half& after) const {
    return SplitInV(before, after, middle(getBoundV()));
}

int ERAnyBoundedSurface::IsContinuous(int) const { return 0; }

int ERAnyBoundedSurface::GetDiscontinuitiesU(int, ERVec<double>& parameters) const {
    parameters.clear();
    return 1;
}

int ERAnyBoundedSurface::GetDiscontinuitiesV(int, ERVec<double>& parameters) const {
    parameters.clear();
    return 1;
}

void ERAnyBoundedSurface::GetNumberOfSpans(int& inU, int& inV) const {
    inU = 1;
    inV = 1;
}

void ERAnyBoundedSurface::GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const {
    boxes = ERSimpleVec2<ERMinimax3D>(1, 1);
    boxes(0, 0) = getBox();
}

}  // namespace kerf
