#include "kerf/processing/curve_segment.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/ellipse.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/segment.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

using Curve = t_SmartPtr<ERFiniteEntity2DWF>;
using Piece = t_SmartPtr<CurveSegment2D>;

Piece piece(const Curve& curve) { return new CurveSegment2D(curve); }

Curve arc(double start, double end) { return new ERArc2D(ERPoint2D(1, 2), 50.0, start, end); }

std::vector<Curve> everyKind() {
    const Curve corner = new ERPolyline2D(
        vectorOf(std::vector<ERPoint2D>{ERPoint2D(0, 0), ERPoint2D(30, 0), ERPoint2D(30, 40)}));
    return {new ERSegment2D(ERPoint2D(1, 2), ERPoint2D(7, -6)),
            arc(0.3, 2.0),
            arc(2.0, 0.3),
            new ERArcEllipse2D(40.0, 20.0, 0.4, ERPoint2D(3, 1), 0.2, 2.5),
            corner,
            new ERCpoleNURBS2D(arc(0.5, 4.0)->ConvertToNurbs())};
}

// Oracle: the curve's points near its ends, and the length of a fine polygon.
TEST(CurveSegment, IsTheCurveInItsDirection) {
    for (const Curve& curve : everyKind()) {
        SCOPED_TRACE(curve->className());
        const double scale = 4.0;
        const CurveSegment2D segment(curve, 1e-4, scale);
        const double u = curve->udeb(), v = curve->ufin(), step = 1e-7 * (v - u);
        EXPECT_EQ(segment.first(), (*curve)(u)*scale);
        EXPECT_EQ(segment.last(), (*curve)(v)*scale);
        expectNear(segment.firstT(), ERVector2D((*curve)(u), (*curve)(u + step)).getnormalized(),
                   1e-5);
        expectNear(segment.lastT(), ERVector2D((*curve)(v - step), (*curve)(v)).getnormalized(),
                   1e-5);
        const ERVec<ERPoint2D> fine = curve->approxime(40001);
        double length = 0.0;
        for (unsigned int i = 1; i < fine.length(); ++i) length += distance(fine[i - 1], fine[i]);
        EXPECT_NEAR(segment.length(), scale * length, scale * 1e-4);
    }
}

TEST(CurveSegment, OfTheCurveRunBackwardsIsTheSame) {
    for (const Curve& curve : everyKind()) {
        SCOPED_TRACE(curve->className());
        ERChainerProcessor processor;
        const Piece first = piece(curve);
        EXPECT_EQ(processor.insert(first), 1);
        first->reverse();
        const Curve back = first->curveInChain();
        EXPECT_NE(back, curve);
        EXPECT_EQ(back->firstPt(), curve->lastPt());
        first->reverse();
        EXPECT_EQ(first->curveInChain(), curve);
        EXPECT_EQ(processor.insert(piece(back)), 0);
    }
}

TEST(CurveSegment, OfTheOtherHalfOfACircleIsAnother) {
    ERChainerProcessor processor;
    EXPECT_EQ(processor.insert(piece(arc(0.0, pi))), 1);
    EXPECT_EQ(processor.insert(piece(arc(2 * pi, pi))), 1);
    ASSERT_EQ(processor.nbchains(), 1);
    const ERChainedMetaSeg2D& circle = *processor.getAt(0);
    EXPECT_EQ(circle.entries(), 2u);
    expectNear(circle.first(), circle.last(), 1e-9);
    EXPECT_NEAR(circle.length(), 100 * pi, 1e-9);
}

TEST(CurveSegment, WithoutACurveIsAPoint) {
    CurveSegment2D none{Curve()};
    none.reverse();
    EXPECT_EQ(none.curveInChain(), nullptr);
    EXPECT_EQ(none.length(), 0.0);
    EXPECT_EQ(none.firstT(), ERVector2D());
}

}  // namespace
}  // namespace kerf::test
