// What a trimmed surface asks its region: here, since regions stand above surfaces.
#include <cmath>
#include <cstdint>

#include "kerf/core/value_vector.h"
#include "kerf/processing/region.h"
#include "kerf/surfaces/mesh_sink.h"
#include "kerf/surfaces/trimmed_surface.h"

namespace kerf {

void ERTrimmedSurface::ConstructRegion2D() const {
    constexpr double madeLast = -1.0;
    // Counted, so that a program may hold the region by a smart pointer.
    const auto owner =
        std::make_shared<t_SmartPtr<ERRegion2D>>(new ERRegion2D(nbBounds(), isOutTrimmed()));
    ERRegion2D& region = **owner;
    const Boundary outer = getOutBnd();
    if (outer != nullptr) region.Add(outer->getBound2DasPolyline(madeLast));
    for (const Boundary& boundary : trim_.boundaries)
        if (!(boundary == outer)) region.Add(boundary->getBound2DasPolyline(madeLast));
    *region_ = std::shared_ptr<ERRegion2D>(owner, &region);
}

ERRegion2D* ERTrimmedSurface::GetRegion() const {
    if (*region_ == nullptr) ConstructRegion2D();
    return region_->get();
}

int ERTrimmedSurface::isInBound(const ERPoint2D& uv) const {
    if (!base_ || !base_->getBoundU().inBound(uv.x()) || !base_->getBoundV().inBound(uv.y()))
        return 0;
    int contour = 0;
    return GetRegion()->CheckPoint(uv, contour) != OutOfRegion;
}

ER_MINMAX_POSITION_POLYGONE ERTrimmedSurface::PositionFenetre(const ERMinimax2D& box) const {
    return nbBounds() == 0 ? PolygonPartly : GetRegion()->IsInDomain(box);
}

// The parts in the region of the iso curves at equal steps of one parameter, over the whole base.
void ERTrimmedSurface::drawSlices(ERProcessMaillage& sink, bool ofConstantU) const {
    constexpr double onBoxEdge = 1e-11, offSlice = 1e-9, extension = 0.1;
    const ERLimites u = base_->getBoundU(), v = base_->getBoundV();
    const ERLimites across = ofConstantU ? u : v, along = ofConstantU ? v : u;
    const ERAnyBoundedSurface& maker = *makerOfIsoCurves();
    const ERLimites whole = ofConstantU ? maker.getBoundV() : maker.getBoundU();
    const ERMinimax2D box = GetRegion()->getBox();
    const unsigned int axis = ofConstantU ? 0 : 1;
    const auto pairAt = [=](double slice, double other) {
        return ofConstantU ? ERPoint2D(slice, other) : ERPoint2D(other, slice);
    };
    const auto sliceOf = [=](const ERPoint2D& uv) { return ofConstantU ? uv.x() : uv.y(); };
    const auto otherOf = [=](const ERPoint2D& uv) { return ofConstantU ? uv.y() : uv.x(); };

    const unsigned int asked = ofConstantU ? sink.nbIsoU : sink.nbIsoV;
    const unsigned int intervals = asked == 0 ? 1 : asked;
    for (std::uint64_t i = 0; i <= intervals; ++i) {
        const double at = across(static_cast<double>(i) / intervals);
        if (std::fabs(at - box.lower(axis)) <= onBoxEdge ||
            std::fabs(at - box.upper(axis)) <= onBoxEdge)
            continue;
        ERVec<ERPoint2D> segment(2);
        segment[0] = pairAt(at, along.start() - extension * along.amplitude());
        segment[1] = pairAt(at, along.end() + extension * along.amplitude());
        ERTValVector<ERVec<ERPoint2D>> pieces;
        GetRegion()->Intersect(segment, pieces, nullptr);
        if (pieces.entries() == 0) continue;
        const t_SmartPtr<ERFiniteEntity3DWF> curve =
            ofConstantU ? base_->getEntityIsoU(at) : base_->getEntityIsoV(at);
        if (!curve) continue;
        for (const ERVec<ERPoint2D>& piece : pieces) {
            const ERPoint2D first = piece[0], last = piece.last();
            if (!(std::fabs(sliceOf(first) - at) <= offSlice) ||
                !(std::fabs(sliceOf(last) - at) <= offSlice) || !(otherOf(first) < otherOf(last)))
                continue;
            const ERLimites part(otherOf(first), otherOf(last));
            sink.addPolyline(curve->approxime(rangeOn(*curve, whole, part), sink.tolerance));
        }
    }
}

void ERTrimmedSurface::tessalate(ERProcessMaillage& sink) const {
    if (!base_) return;
    if (nbBounds() == 0) return base_->tessalate(sink);
    for (const Boundary& boundary : trim_.boundaries) {
        const ERVec<ERPoint3D> points = boundary->smash(sink.tolerance);
        if (points.length() > 0) sink.addPolyline(points);
    }
    drawSlices(sink, true);
    drawSlices(sink, false);
}

}  // namespace kerf
