#include "kerf/curves/circle.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/outline.h"
#include "kerf/curves/rounded_slot.h"
#include "tests/support/value_checks.h"

// The outlines as curves.
namespace kerf::test {
namespace {

const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, -1, 2), ERPoint3D(3, 1, 4));

template <class Outline>
void expectSamePoints(const Outline& outline, int pieces) {
    const auto curve = outline.composite_curve();
    EXPECT_EQ(curve.getBound(), ERLimites(0.0, pieces));
    EXPECT_EQ(curve.isClosed(1e-13), 1);
    for (double u = 0.0; u < pieces; u += 0.17) {
        expectNear(curve(u), outline.PtCur(u).point(), 1e-13);
    }
}

TEST(OutlineCurve, TracesTheOutlineByTheSameParameter) {
    const ERRectangle2D rectangle(ERPoint2D(1, -2), ERVector2D(2, 1), 5, 3);
    const ERRegularPolygon2D hexagon(ERPoint2D(-1, 2), ERVector2D(1, 3), 2, 6);
    const ERRoundedSlot2D slot(ERPoint2D(-2, 1), ERPoint2D(1, 3), 1.5);
    expectSamePoints(rectangle, 4);
    expectSamePoints(hexagon, 6);
    expectSamePoints(slot, 4);
    expectSamePoints(ERRoundedSlot2D(ERPoint2D(1, 1), ERPoint2D(1, 1), 2), 4);
    expectSamePoints(ERRectangle3D(frame, rectangle), 4);
    expectSamePoints(ERRegularPolygon3D(frame, hexagon), 6);
    expectSamePoints(ERRoundedSlot3D(frame, slot), 4);
    EXPECT_NEAR(slot.composite_curve().arcLength(1e-9), 2 * std::sqrt(13.0) + 3 * pi, 1e-12);
    EXPECT_EQ(ERRegularPolygon2D().composite_curve().entries(), 0);
}

TEST(OutlineCurve, CirclesOfAPolygonTouchSidesAndCorners) {
    const ERRegularPolygon2D hexagon(ERPoint2D(-1, 2), ERVector2D(1, 3), 2, 6);
    EXPECT_NEAR(hexagon.outside_circle().radius(), 2.0, 1e-14);
    EXPECT_NEAR(hexagon.inside_circle().radius(), std::sqrt(3.0), 1e-14);
    const ERRegularPolygon3D inSpace(frame, hexagon);
    expectNear(inSpace.inside_circle().center(), frame >> ERPoint3D(-1, 2, 0));
    EXPECT_NEAR(inSpace.outside_circle().radius(), 2.0, 1e-14);
}

}  // namespace
}  // namespace kerf::test
