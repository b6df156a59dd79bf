#include "kerf/curves/rounded_slot.h"

#include "kerf/curves/nurbs_curve.h"
#include "tests/curves/outline_checks.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

const ERRoundedSlot2D level(ERPoint2D(0, 0), ERPoint2D(4, 0), 1.0);
const ERRoundedSlot2D slanted(ERPoint2D(-2, 1), ERPoint2D(1, 3), 1.5);
const ERRoundedSlot2D disc(ERPoint2D(1, 1), ERPoint2D(1, 1), 2.0);
const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, -1, 2), ERPoint3D(3, 1, 4));

TEST(RoundedSlot, PiecesFollowEachOther) {
    const std::pair<double, ERPoint2D> expected[] = {
        {0.0, {0, -1}}, {0.25, {1, -1}}, {1.0, {4, -1}}, {1.5, {5, 0}},
        {2.0, {4, 1}},  {2.5, {2, 1}},   {3.0, {0, 1}},  {3.5, {-1, 0}},
        {4.0, {0, -1}}, {5.5, {5, 0}},   {-0.5, {-1, 0}}};
    for (const auto& [u, p] : expected) expectNear(level.PtCur(u).point(), p);
    const double h = std::sqrt(0.5);
    expectNear(level.PtCur(1.75).point(), ERPoint2D(4 + h, h));  // by the angle
    EXPECT_EQ(level.PtCur(5.5).parameter(), 1.5);
    EXPECT_EQ(level.length(), 4.0);
    EXPECT_EQ(level.diameter(), 2.0);
    EXPECT_EQ(level.center(), ERPoint2D(2, 0));
    expectNear(slanted.auxiliary_direction(), ERVector2D(-2, 3).getnormalized());
}

// Oracle: central differences.
TEST(RoundedSlot, DerivativesAreThoseOfDifferences) {
    const double step = 1e-4;
    for (const double u : {0.4, 1.2, 1.9, 2.5, 3.3}) {
        const auto info = slanted.PtCur(u);
        const ERPoint2D before = slanted.PtCur(u - step).point(), here = info.point(),
                        after = slanted.PtCur(u + step).point();
        expectNear(info.tangente(), ERVector2D(before, after) * (0.5 / step), 1e-5);
        expectNear(info.secondDerivative(),
                   (ERVector2D(here, after) - ERVector2D(before, here)) * (1 / (step * step)),
                   1e-5);
    }
}

TEST(RoundedSlot, FeetAreTheNearest) {
    expectNearestFeet(level, 4);
    expectNearestFeet(slanted, 4);
    expectNearestFeet(disc, 4);
    expectNearestFeet(ERRoundedSlot2D(ERPoint2D(-2, 1), ERPoint2D(1, 3), -1.5), 4);
}

TEST(RoundedSlot, PointsOfTheAxisHaveMoreThanOneFoot) {
    ERPoint2D foot;
    double u = 0.0, d = 0.0;
    int index = -1;
    EXPECT_EQ(level.Project(ERPoint2D(1, 0), foot, u, index), 2);
    EXPECT_EQ(foot, ERPoint2D(1, -1));
    EXPECT_EQ(index, 0);
    EXPECT_EQ(disc.Project(ERPoint2D(1, 1), foot, u, index), 2);
    EXPECT_EQ(disc.SignedMinimalDistance(ERPoint2D(1, 1), d), EREntity::SingleNearestPoint);
    EXPECT_EQ(d, -2.0);
    EXPECT_EQ(level.Get_Entity_Number(ERPoint2D(1, 0), index), 0);
    EXPECT_EQ(level.Get_Entity_Number(ERPoint2D(9, 1), index), 1);
    EXPECT_EQ(index, 1);
    // Without a radius the two sides are the same points.
    const ERRoundedSlot2D line(ERPoint2D(0, 0), ERPoint2D(4, 0), 0.0);
    EXPECT_EQ(line.Project(ERPoint2D(1, 3), foot, u, index), 1);
    EXPECT_EQ(foot, ERPoint2D(1, 0));
    EXPECT_EQ(line.Project(ERPoint2D(nan, 3), foot, u, index), 0);
}

TEST(RoundedSlot, ApproximationKeepsToTheTolerance) {
    for (const double tol : {0.1, 1e-3, 1e-5}) {
        const ERVec<ERPoint2D> points = slanted.approxime(ERLimites(0, 4), tol);
        EXPECT_EQ(points.first(), slanted.PtCur(0).point());
        expectNear(points.last(), points.first());
        for (unsigned int i = 0; i + 1 < points.length(); ++i) {
            EXPECT_GT(distance(points[i], points[i + 1]), 0.0);
            double d = 0.0;
            slanted.SignedMinimalDistance(points[i], d);
            EXPECT_NEAR(d, 0.0, 1e-14);
            slanted.SignedMinimalDistance(milieu(points[i], points[i + 1]), d);
            EXPECT_GE(d, -tol);
        }
        // Each chord of a half circle has at most the sagitta tol, and not much less than a quarter.
        const double chords = pi / std::acos(1 - tol / 1.5);
        EXPECT_GE(points.length(), chords);
        EXPECT_LE(points.length(), 2 * chords + 8);
    }
    const ERVec<ERPoint2D> part = level.approxime(ERLimites(-1.0, 0.5), 0.1);
    ASSERT_EQ(part.length(), 2u);
    expectNear(part[1], ERPoint2D(2, -1));
    for (const auto& [from, to, n] :
         {std::tuple(2.5, 2.5, 1u), std::tuple(3.0, 2.0, 0u), std::tuple(nan, nan, 0u)})
        EXPECT_EQ(level.approxime(ERLimites(from, to), 0.1).length(), n);
    // Part of a half circle keeps to its own points.
    const ERVec<ERPoint2D> tip = level.approxime(ERLimites(1.5, 1.75), 1e-3);
    for (unsigned int i = 0; i < tip.length(); ++i) EXPECT_NEAR(distance(tip[i], {4, 0}), 1, 1e-14);
    for (unsigned int i = 0; i < tip.length(); ++i) EXPECT_GE(tip[i].y(), -1e-14);
}

TEST(RoundedSlot, IsCarried) {
    expectCarriedInThePlane(slanted);
    expectCarriedInThePlane(disc);
    expectCarriedInSpace(ERRoundedSlot3D(frame, slanted));
    expectPlanarTwin<ERRoundedSlot3D>(slanted, frame);
}

TEST(RoundedSlot, IsChangedByItsSetters) {
    ERRoundedSlot2D slot = level;
    slot.center1(ERPoint2D(0, 2));
    slot.center2(ERPoint2D(0, 5));
    slot.diameter(6.0);
    EXPECT_EQ(slot.getBox(), ERMinimax2D(-3, 3, -1, 8));
    ERRoundedSlot3D inSpace(frame, level);
    inSpace.center1(frame >> ERPoint3D(0, 2, 7));
    inSpace.center2(frame >> ERPoint3D(0, 5, -1));
    inSpace.radius(3.0);
    expectNear(inSpace.center(), frame >> ERPoint3D(0, 3.5, 0));
    EXPECT_NEAR(inSpace.length(), 3.0, 1e-14);
    expectNear(inSpace.approxime(ERLimites(0, 0.5), 1.0)[0], frame >> ERPoint3D(3, 2, 0));
}

// Oracle: the frame's own projection of points.
TEST(RoundedSlot, IsSeenAsItselfOrAsACurveOfDegreeTwo) {
    const ERRoundedSlot3D slot(frame, slanted);
    const t_SmartPtr<EREntity2DWF> flat = slot.get2DEntProjectedOn(frame);
    ASSERT_STREQ(flat->className(), "ERRoundedSlot2D");
    expectNear(ERRoundedSlot2D::castdown(flat.getObject())->center2(), slanted.center2());
    for (const ERVector3D& axis : {ERVector3D(0, 0, 1), ERVector3D(1, 1, 0)}) {
        const ERPmIsometrie3D view = ERChgRepere3D(axis, ERPoint3D(1, 1, 1));
        const t_SmartPtr<EREntity2DWF> oblique = slot.get2DEntProjectedOn(view);
        const ERCpoleNURBS2D* const curve = ERCpoleNURBS2D::castdown(oblique.getObject());
        ASSERT_NE(curve, nullptr);
        EXPECT_EQ(curve->isClosed(1e-14), 1);
        // Joints and tips have the same parameter; sides too, half circles by another rule.
        for (const double u : {0.0, 0.3, 1.0, 1.5, 2.0, 2.6, 3.0, 3.5, 4.0}) {
            expectNear((*curve)(u), view.Project(slot.PtCur(u).point()), 1e-13);
        }
        for (const double u : {1.2, 1.8, 3.1, 3.9}) {
            double least = largest;
            for (int k = 0; k <= 4000; ++k) {
                least = std::min(least,
                                 distance((*curve)(u), view.Project(slot.PtCur(k * 1e-3).point())));
            }
            EXPECT_LE(least, 3e-3);  // half the distance of two samples
        }
    }
}

TEST(RoundedSlot, IsRestoredToTheLastBit) {
    expectStored(slanted, 40);
    expectStored(ERRoundedSlot3D(frame, slanted), 116 + 40);
    EXPECT_EQ(printed(level), "Rounded Slot 2D : C1=[0,0] C2=[4,0] R=1\n");
}

}  // namespace
}  // namespace kerf::test
