#include "kerf/curves/circle_builders.h"

#include <cmath>

#include "tests/support/value_checks.h"

// Circles and arcs from points.
namespace kerf::test {
namespace {

const ERArc2D untouched(ERPoint2D(7, 7), 7, 1, 2);

bool isUntouched(const ERArc2D& arc) {
    return arc.center() == untouched.center() && arc.radius() == 7 && arc.udeb() == 1;
}

// Built from its answer.
TEST(GetCircle, FindsTheCircleThatThePointsWereTakenFrom) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> angle(0, 2), place(-10, 10);
    for (int draw = 0; draw < 200; ++draw) {
        SCOPED_TRACE(drawnFrom(5, draw));
        const ERCircle2D circle(ERPoint2D(place(random), place(random)), 2 + angle(random));
        const double a = angle(random), b = a + 0.5 + angle(random), c = b + 0.5 + angle(random);
        ERPoint2D centre;
        double radius = 0;
        ASSERT_EQ(GetCircle(circle(a), circle(c), circle(b), centre, radius), 1);
        expectNear(centre, circle.center(), 1e-11);
        EXPECT_NEAR(radius, circle.radius(), 1e-11);
        const ERCircle3D inSpace(ERChgRepere3D(ERVector3D(1, 2, place(random)), ERPoint3D(1, 2, 3)),
                                 circle);
        ERPoint3D centreInSpace;
        ERVector3D normal;
        ASSERT_EQ(GetCircle(inSpace(a), inSpace(b), inSpace(c), centreInSpace, normal, radius), 1);
        expectNear(centreInSpace, inSpace.center(), 1e-10);
        EXPECT_NEAR(std::fabs(normal * inSpace.normale()), 1, 1e-12);
        EXPECT_NEAR(radius, circle.radius(), 1e-10);
    }
}

TEST(GetCircle, PointsInLineHaveNone) {
    const ERPoint2D a(1, 1), b(2, 2);
    for (const auto& [p1, p2, p3] : {std::tuple(a, a, ERPoint2D(4, 5)), std::tuple(a, b, a),
                                     std::tuple(a, b, ERPoint2D(5, 5))}) {
        ERPoint2D centre(7, 7);
        ERPoint3D centreInSpace(7, 7, 7);
        ERVector3D normal;
        double radius = 0, radiusInSpace = 0;
        ERArc2D arc(untouched);
        EXPECT_EQ(GetCircle(p1, p2, p3, centre, radius), 0);
        EXPECT_EQ(radius, largest);
        EXPECT_EQ(centre, ERPoint2D(7, 7));
        const auto lift = [](const ERPoint2D& p) {
            return p.castToPoint3D(Coord3D::CoordZ, p.x());
        };
        EXPECT_EQ(GetCircle(lift(p1), lift(p2), lift(p3), centreInSpace, normal, radiusInSpace), 0);
        EXPECT_EQ(radiusInSpace, largest);
        EXPECT_EQ(centreInSpace, ERPoint3D(7, 7, 7));
        EXPECT_EQ(Arc3Points(arc, p1, p2, p3), 0);
        EXPECT_TRUE(isUntouched(arc));
    }
}

TEST(Arc3Points, IsCounterClockwiseInThePlane) {
    ERArc2D arc;
    ASSERT_EQ(Arc3Points(arc, ERPoint2D(1, 0), ERPoint2D(0, -1), ERPoint2D(0, 1)), 1);
    expectNear(arc.center(), ERPoint2D(0, 0));
    EXPECT_NEAR(arc.udeb(), 0, 1e-15);
    EXPECT_NEAR(arc.ufin(), pi / 2, 1e-15);
    ASSERT_EQ(Arc3Points(arc, ERPoint2D(0, 1), ERPoint2D(0, -1), ERPoint2D(1, 0)), 1);
    EXPECT_NEAR(arc.ufin(), 2 * pi, 1e-15);
}

TEST(Arc3Points, PassesTheSecondPointInSpace) {
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, -2, 2), ERPoint3D(3, 1, -4));
    const ERCircle3D circle(frame, ERCircle2D(ERPoint2D(1, 2), 3));
    for (const double middle : {0.3, 2.0, 5.0}) {
        const ERPoint3D a = circle(0), b = circle(middle), c = circle(1.5);
        ERArc3D arc;
        ASSERT_EQ(Arc3Points(arc, a, b, c), 1);
        expectNear(arc.firstPt(), a, 1e-12);
        expectNear(arc.lastPt(), c, 1e-12);
        ERVec<double> feet;
        ASSERT_EQ(arc.ProjectPoint(b, feet, 0), 1);
        expectNear(arc(feet[0]), b, 1e-12);
    }
}

TEST(Arc2PointsCenter, RunsFromTheFirstToTheSecond) {
    const ERPoint2D centre(1, 1);
    const ERCircle2D circle(centre, 2);
    for (const double from : {-3.0, -1.0, 0.5, 3.0}) {
        for (const double to : {-2.5, -0.5, 1.0, 2.5}) {
            ERArc2D direct, clockwise;
            ASSERT_EQ(Arc2PointsCenter(direct, circle(from), circle(to), centre, 0), 1);
            ASSERT_EQ(Arc2PointsCenter(clockwise, circle(from), circle(to), centre, 1), 1);
            for (const ERArc2D& arc : {direct, clockwise}) {
                expectNear(arc.firstPt(), circle(from));
                expectNear(arc.lastPt(), circle(to));
                EXPECT_LT(arc.getBound().amplitude(), 2 * pi);
            }
            EXPECT_EQ(direct.isDirect(), 1);
            EXPECT_EQ(clockwise.isDirect(), 0);
        }
    }
    // An end at or past a whole turn takes a turn off both angles.
    for (const auto& [end, udeb, ufin] : {std::tuple(ERPoint2D(1, 0), -1.5 * pi, 0.0),
                                          std::tuple(ERPoint2D(0, -1), pi / 2, 1.5 * pi)}) {
        ERArc2D arc;
        ASSERT_EQ(Arc2PointsCenter(arc, ERPoint2D(0, 1), end, ERPoint2D(), 0), 1);
        EXPECT_DOUBLE_EQ(arc.udeb(), udeb);
        EXPECT_DOUBLE_EQ(arc.ufin(), ufin);
    }
}

TEST(Arc2PointsCenter, EqualPointsGiveATurnAndUnequalRadiiNothing) {
    ERArc2D arc(untouched);
    EXPECT_EQ(Arc2PointsCenter(arc, ERPoint2D(2, 0), ERPoint2D(0, 2 + 1.1e-9), ERPoint2D(), 0), 0);
    EXPECT_EQ(Arc2PointsCenter(arc, ERPoint2D(2, 0), ERPoint2D(0, nan), ERPoint2D(), 0), 0);
    EXPECT_TRUE(isUntouched(arc));
    EXPECT_EQ(Arc2PointsCenter(arc, ERPoint2D(2, 0), ERPoint2D(0, 2 + 0.8e-9), ERPoint2D(), 0), 1);
    EXPECT_NEAR(arc.radius(), 2 + 0.4e-9, 1e-15);
    ASSERT_EQ(Arc2PointsCenter(arc, ERPoint2D(0, 2), ERPoint2D(0, 2), ERPoint2D(), 1), 1);
    EXPECT_EQ(arc.udeb(), 0);
    EXPECT_EQ(arc.ufin(), 2 * pi);
}

TEST(ArcCenterStartEnd, GivesBothWaysRound) {
    const ERPoint3D centre(1, 2, 3), start(4, 2, 3), end(1, 2 + 3 * 0.6, 3 + 3 * 0.8);
    ERArc3D shorter, longer;
    ASSERT_EQ(ArcCenterStartEnd(shorter, longer, centre, start, end, 1e-9), 1);
    for (const auto& [arc, quarters] : {std::pair(shorter, 1), std::pair(longer, 3)}) {
        expectNear(arc.firstPt(), start);
        expectNear(arc.lastPt(), end);
        EXPECT_NEAR(arc.arcLength(0), quarters * 3 * pi / 2, 1e-13);
    }
    for (const auto& [badEnd, tol] : {std::pair(ERPoint3D(-2, 2, 3), 1e-9), std::pair(start, 1e-9),
                                      std::pair(ERPoint3D(1, 2, 6.1), 0.05)})
        EXPECT_EQ(ArcCenterStartEnd(shorter, longer, centre, start, badEnd, tol), 0) << badEnd;
    EXPECT_EQ(ArcCenterStartEnd(shorter, longer, centre, start, ERPoint3D(1, 2, 6.1), 0.2), 1);
    EXPECT_NEAR(shorter.radius(), 3.05, 1e-14);
}

// The ends of the half circles are joined by two tangents, on the right there and back.
TEST(BuildSlot, EndsJoinAlongTheTangents) {
    const ERCircle2D c1(ERPoint2D(1, 2), 0.5), c2(ERPoint2D(4, 6), 0.5);
    ERArc2D a1, a2;
    ASSERT_EQ(BuildSlot(c1, c2, a1, a2), 1);
    const ERVector2D along(0.6, 0.8);
    for (const auto& [from, to, direction] : {std::tuple{a1.lastPt(), a2.firstPt(), along},
                                              std::tuple{a2.lastPt(), a1.firstPt(), -along}}) {
        expectNear(ERVector2D(from, to), direction * 5.0);
    }
    expectNear(a2(0.5 * (a2.udeb() + a2.ufin())), c2.center() + along * 0.5);
    EXPECT_EQ(BuildSlot(c1, ERCircle2D(ERPoint2D(4, 6), 0.5 + 2e-11), a1, a2), 0);
    EXPECT_EQ(BuildSlot(c1, c1, a1, a2), 0);

    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, -2, 2), ERPoint3D(3, 1, -4));
    ERArc3D b1, b2;
    ASSERT_EQ(BuildSlot(ERCircle3D(frame, c1), ERCircle3D(frame, c2), frame, b1, b2), 1);
    expectNear(b1.firstPt(), frame >> a1.firstPt().castToPoint3D(Coord3D::CoordZ, 0));
    expectNear(b2.lastPt(), frame >> a2.lastPt().castToPoint3D(Coord3D::CoordZ, 0));
}

}  // namespace
}  // namespace kerf::test
