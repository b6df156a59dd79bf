#pragma once
#include "kerf/core/smart_pointer.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/processing/chainer.h"
#include "kerf/values/point.h"

// Curves as segments of the chainer.
namespace kerf {

/// A curve of any family, to be chained: its ends, its unit tangents in the direction of travel and its arc
/// length. isReversed() tells whether its chain runs it from its end to its start.
///
/// It has no place in the registry: `dynamic_cast<const CurveSegment2D*>` tells it from other segments.
/// Ownership:  shares the curve.
/// Lifetime:   reads the curve once. A curve that changes afterwards needs a new segment.
/// Degenerate: a tangent is zero where the curve's derivative is; such a segment equals no other. Without
///             a curve all is zero.
class KERF_EXPORT CurveSegment2D : public ERChainerSeg2D {
public:
    /// Parameter: lengthTolerance is that of arcLength, in the unit of the curve. Ends and length are
    ///            multiplied by `scale`, the number of units of the chainer in one of the curve: the
    ///            comparison sets a squared distance against a length, so a drawing should have a size of
    ///            1e8 or 1e9 in the unit in which it is chained. A power of 2 rounds nothing. The tolerance
    ///            of the processor is in that unit too.
    explicit CurveSegment2D(const t_SmartPtr<ERFiniteEntity2DWF>& curve,
                            double lengthTolerance = 1e-4, double scale = 1.0);

    const t_SmartPtr<ERFiniteEntity2DWF>& curve() const { return curve_; }
    /// The curve as its chain runs it: itself, or a reversed copy.
    t_SmartPtr<ERFiniteEntity2DWF> curveInChain() const;

    double length() const override { return length_; }
    ERPoint2D getExt1() const override { return start_; }
    ERPoint2D getExt2() const override { return end_; }
    ERVector2D getTan1() const override { return startTangent_; }
    ERVector2D getTan2() const override { return endTangent_; }

private:
    t_SmartPtr<ERFiniteEntity2DWF> curve_;
    ERPoint2D start_, end_;
    ERVector2D startTangent_, endTangent_;
    double length_ = 0.0;
};

}  // namespace kerf
