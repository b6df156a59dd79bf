#include "kerf/processing/curve_segment.h"

#include <algorithm>
#include <vector>

#include "kerf/numerics/vector.h"
#include "kerf/values/info_point.h"
#include "kerf/values/limits.h"

namespace kerf {

namespace {

// From corner to corner: halving a piece with a corner in it brings polygon and chord together no faster
// than the tolerance shrinks.
double lengthOf(const ERFiniteEntity2DWF& curve, double tolerance) {
    const ERLimites bound = curve.getBound();
    ERVec<double> jumps;
    curve.GetDiscontinuities(1, jumps);
    std::vector<double> corners = {bound.start()};
    for (const double u : jumps)
        if (bound.strictlyInBound(u)) corners.push_back(u);
    if (corners.size() == 1) return curve.arcLength(tolerance);
    corners.push_back(bound.end());
    std::sort(corners.begin(), corners.end());
    double length = 0.0;
    for (std::size_t i = 1; i < corners.size(); ++i)
        length += curve.arcLength(ERLimites(corners[i - 1], corners[i]), tolerance);
    return length;
}

}  // namespace

CurveSegment2D::CurveSegment2D(const t_SmartPtr<ERFiniteEntity2DWF>& curve, double lengthTolerance,
                               double scale)
    : curve_(curve) {
    if (!curve_) return;
    const double start = curve_->udeb(), end = curve_->ufin();
    start_ = curve_->firstPt() * scale;
    end_ = curve_->lastPt() * scale;
    // The derivative by the parameter points against the travel of a clockwise arc.
    const double along = start > end ? -1.0 : 1.0;
    startTangent_ = curve_->PtCur(start).tangente().getnormalized() * along;
    endTangent_ = curve_->PtCur(end).tangente().getnormalized() * along;
    length_ = lengthOf(*curve_, lengthTolerance) * scale;
}

t_SmartPtr<ERFiniteEntity2DWF> CurveSegment2D::curveInChain() const {
    if (!curve_ || isReversed() == 0) return curve_;
    const t_SmartPtr<ERFiniteEntity2DWF> turned(*curve_);
    if (turned.getObject() != nullptr) turned->reverse();
    return turned;
}

}  // namespace kerf
