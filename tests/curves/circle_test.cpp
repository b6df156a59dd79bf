#include "kerf/curves/circle.h"

#include <cmath>

#include "kerf/curves/ellipse.h"
#include "kerf/curves/infinite_line.h"
#include "kerf/curves/segment.h"
#include "kerf/values/orthonormal_frame.h"
#include "kerf/values/transformed_entity.h"
#include "tests/support/value_checks.h"

// Circles by themselves, and where they meet each other and lines.
namespace kerf::test {
namespace {

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, -2, 2), ERPoint3D(3, 1, -4));

// How far a point is from a circle.
double missBy(const ERCircle2D& circle, const ERPoint2D& p) {
    return std::fabs(distance(p, circle.center()) - std::fabs(circle.radius()));
}

TEST(Circle2D, DistanceIsPositiveOutside) {
    const ERCircle2D circle(ERPoint2D(1, 2), 5);
    const std::tuple<ERPoint2D, double, EREntity::DISTMINRES> rows[] = {
        {{9, 8}, 5, EREntity::SingleNearestPoint},
        {{1, 3}, -4, EREntity::SingleNearestPoint},
        {{1, 2}, -5, EREntity::NearestPointNotUnique},
        {{1 + 2e-11, 2}, -5, EREntity::SingleNearestPoint}};
    for (const auto& [p, expected, result] : rows) {
        double d = 0;
        EXPECT_EQ(circle.SignedMinimalDistance(p, d), result) << p;
        EXPECT_NEAR(d, expected, 3e-11) << p;
    }
}

TEST(Circle2D, KeepsItsSignedRadiusUnderANegativeFactor) {
    ERCircle2D circle(ERPoint2D(1, 2), 3);
    const ERPoint2D before = circle(0.4);
    circle.scale(-2);
    EXPECT_EQ(circle.diameter(), -12);
    expectNear(circle(0.4), before * -2.0);
    EXPECT_EQ(circle.getBox(), ERMinimax2D(-8, 4, -10, 2));
    circle.setDiameter(5);
    EXPECT_EQ(circle.radius(), 2.5);
}

// Oracle: the images of three points.
TEST(Circle2D, IsCarriedAsItsPointsAre) {
    const ERCircle2D circle(ERPoint2D(1, 2), 3);
    for (const ERTransfo2D& t :
         {ERTransfo2D::rotation(0.7), ERTransfo2D(Coord2D::CoordY) * ERTransfo2D::Scaling(2.5),
          ERTransfo2D(-0.5, ERPoint2D(4, 4))}) {
        for (const double u : {0.0, 1.0, 4.0}) {
            EXPECT_LE(missBy(t >> circle, t >> circle(u)), 1e-13);
            EXPECT_LE(missBy(t << circle, t << circle(u)), 1e-13);
        }
    }
}

TEST(Circles, AreRestoredToTheLastBitAndPrinted) {
    TemporaryFile place;
    const ERCircle2D flat(ERPoint2D(1, 2), 0.3);
    const ERCircle3D inSpace(flat, Coord3D::CoordZ, 4);
    {
        ERFile file(place.path(), createFile);
        flat.saveGuts(file);
        inSpace.saveGuts(file);
    }
    EXPECT_EQ(flat.binaryStoreSize(), 24u);
    EXPECT_EQ(inSpace.binaryStoreSize(), 140u);
    EXPECT_EQ(place.bytes().size(), 164u);
    ERCircle2D flatAgain;
    ERCircle3D inSpaceAgain;
    ERFile file(place.path(), CFile::modeRead);
    flatAgain.restoreGuts(file);
    inSpaceAgain.restoreGuts(file);
    EXPECT_EQ(printed(flatAgain), "Cercle2D : Centre  [1,2] Rayon  0.3\n");
    EXPECT_EQ(flatAgain(0.7), flat(0.7));
    EXPECT_EQ(printed(inSpaceAgain),
              "Cercle : Rayon   0.3\n       : Normale <0,0,1>\n       : Centre  [1,2,4]\n");
    EXPECT_EQ(inSpaceAgain(0.7), inSpace(0.7));
}

TEST(Circle3D, LiesInItsCoordinatePlane) {
    const ERCircle2D circle(ERPoint2D(1, 2), 3);
    for (const Coord3D axis : {Coord3D::CoordX, Coord3D::CoordY, Coord3D::CoordZ}) {
        const ERCircle3D lifted(circle, axis, 7);
        for (const double u : {0.0, 1.0, 4.0})
            expectNear(lifted(u), circle(u).castToPoint3D(axis, 7));
    }
}

TEST(Circle3D, SettersKeepWhatTheyDoNotSet) {
    ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(1, 2), 3));
    const ERPoint3D centre = circle.center();
    circle.setNormale(ERVector3D(0, 0, 2));
    expectNear(circle.center(), centre);
    circle.setCenter(ERPoint3D(9, 8, 7));
    expectNear(circle.normale(), ERVector3D(0, 0, 1));
    EXPECT_EQ(circle.radius(), 3);
    circle.reverse();
    EXPECT_EQ(circle.center(), ERPoint3D(9, 8, 7));
    expectNear(circle.normale(), ERVector3D(0, 0, -1));
}

// Oracle: the least distance to many points of the circle.
TEST(Circle3D, DistanceIsThatOfTheNearestPoint) {
    const ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(1, 2), 3));
    for (const ERPoint3D& inFrame : {ERPoint3D(9, 3, 2), ERPoint3D(1.5, 2, -4), ERPoint3D(1, 3, 0),
                                     ERPoint3D(4, 2, 5), ERPoint3D(1, 2, 4)}) {
        const ERPoint3D p = tilted >> inFrame;
        double nearest = largest, d = 0;
        for (int i = 0; i < 20000; ++i)
            nearest = std::min(nearest, distance(circle(i * (pi / 10000)), p));
        const double out = std::hypot(inFrame.x() - 1, inFrame.y() - 2);
        EXPECT_EQ(circle.SignedMinimalDistance(p, d),
                  out == 0 ? EREntity::NearestPointNotUnique : EREntity::SingleNearestPoint);
        EXPECT_NEAR(std::fabs(d), nearest, 1e-6);
        EXPECT_EQ(d < 0, out < 3) << inFrame;
    }
}

TEST(Circle3D, ProjectsToACircleASegmentOrAnEllipse) {
    const ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(1, 2), 3));
    const ERVector3D normal = circle.normale();
    const auto classSeenAlong = [&](const ERVector3D& axis) {
        return std::string(
            circle.get2DEntProjectedOn(ERChgRepere3D(axis, ERPoint3D(1, 1, 1)))->className());
    };
    for (const ERVector3D& axis : {normal, -normal}) EXPECT_EQ(classSeenAlong(axis), "ERCircle2D");
    EXPECT_EQ(classSeenAlong(perpendicularTo(normal)), "ERSegment2D");
    EXPECT_EQ(classSeenAlong(ERVector3D(1, 1, 1)), "EREllipse2D");
    const double former = ERCircle3D::projectionPrecision();
    EXPECT_EQ(former, 1e-10);
    ERCircle3D::SetProjectionPrecision(1.0);
    EXPECT_EQ(classSeenAlong(ERVector3D(1, 1, 1)), "ERCircle2D");
    ERCircle3D::SetProjectionPrecision(former);
}

// Oracle: the projections of its points, whose distances from the ends of the segment, or from the
// foci of the ellipse, have one sum.
TEST(Circle3D, ProjectionHoldsTheProjectedPoints) {
    const ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(1, 2), 3));
    const ERPmIsometrie3D oblique = ERChgRepere3D(ERVector3D(1, 1, 1), ERPoint3D(1, 1, 1)),
                          edgeOn =
                              ERChgRepere3D(perpendicularTo(circle.normale()), ERPoint3D(1, 1, 1));
    const ERSegment2D segment = circle.Segment2DFromProjectOn(edgeOn);
    const EREllipse2D ellipse = circle.Ellipse2DFromProjectOn(oblique);
    EXPECT_NEAR(segment.arcLength(1.0), 6.0, 1e-13);
    EXPECT_NEAR(ellipse.bigAxe(), 6.0, 1e-13);
    for (int i = 0; i < 12; ++i) {
        const ERPoint2D p = edgeOn.Project(circle(i)), q = oblique.Project(circle(i));
        EXPECT_NEAR(distance(p, segment.getP1()) + distance(p, segment.getP2()), 6.0, 1e-13);
        EXPECT_NEAR(distance(q, ellipse.focus1()) + distance(q, ellipse.focus2()), 6.0, 1e-13);
    }
}

TEST(CircleAndCircle, MeetInPointsOfBoth) {
    std::mt19937 random(11);
    int met = 0;
    for (int draw = 0; draw < 300; ++draw) {
        SCOPED_TRACE(drawnFrom(11, draw));
        const ERCircle2D a(randomGridPoint(random, 9), 0.5 + static_cast<int>(random() % 5));
        const ERCircle2D b(randomGridPoint(random, 9), 0.5 + static_cast<int>(random() % 5));
        const double d = distance(a.center(), b.center());
        const double ra = a.radius(), rb = b.radius();
        ERPoint2D p, q;
        const int found = intersect(a, b, p, q);
        EXPECT_EQ(found, d > 0 && d <= ra + rb && d >= std::fabs(ra - rb));
        if (!found) continue;
        ++met;
        if (rb > ra && std::fabs(rb - ra - d) < 1e-9) continue;  // the kept wrong side
        for (const ERPoint2D& meeting : {p, q}) {
            EXPECT_LE(missBy(a, meeting), 1e-7);
            EXPECT_LE(missBy(b, meeting), 1e-7);
        }
        EXPECT_GE(ERVector2D(a.center(), b.center()) ^ ERVector2D(a.center(), p), -1e-7);
    }
    EXPECT_GT(met, 100);
}

TEST(CircleAndCircle, ContactIsOnePointTwice) {
    const ERCircle2D two(ERPoint2D(), 2), five(ERPoint2D(), 5), off(ERPoint2D(3, 0), 2);
    ERPoint2D p, q;
    EXPECT_EQ(intersect(two, ERCircle2D(ERPoint2D(5, 0), 3 - 5e-12), p, q), 0);
    // The inner circle first: the point on its far side, which is not on the outer one.
    for (const auto& [a, b, x] : {std::tuple(two, ERCircle2D(ERPoint2D(5, 0), 3 + 5e-12), 2),
                                  std::tuple(five, off, 5), std::tuple(off, five, 1)}) {
        ASSERT_EQ(intersect(a, b, p, q), 1);
        EXPECT_EQ(p, ERPoint2D(x, 0));
        EXPECT_EQ(q, p);
    }
}

TEST(CircleAndCircle, ConcentricOnesDoNotMeet) {
    const ERCircle2D circle(ERPoint2D(1, 1), 2);
    ERPoint2D p(7, 7), q;
    for (const double x : {1.0, 1 + 0.9e-10, nan})
        EXPECT_EQ(intersect(circle, ERCircle2D(ERPoint2D(x, 1), 2), p, q), 0);
    EXPECT_EQ(p, ERPoint2D(7, 7));
}

TEST(CircleAndCircle, AnglesAreThoseOfThePoints) {
    const ERCircle2D a(ERPoint2D(1, 1), 3), b(ERPoint2D(5, 1), 3);
    ERVec<double> onA(1, 9.0), onB;
    ASSERT_EQ(intersect(a, b, onA, onB), 1);
    ASSERT_EQ(onA.length(), 3u);
    ASSERT_EQ(onB.length(), 2u);
    for (unsigned int i = 0; i < 2; ++i) expectNear(a(onA[i + 1]), b(onB[i]));
    ASSERT_EQ(intersect(a, ERCircle2D(ERPoint2D(6, 1), 2), onA, onB), 1);
    EXPECT_EQ(onB.length(), 3u);
}

// Kept: contact is told by the square of the radius. A quarter away from a circle of radius a half
// it is the foot itself, which is not on the circle.
TEST(CircleAndLine, MeetAheadAndBeforeOrTouch) {
    const struct {
        double radius, height;
        ERPoint2D ahead, before;
    } rows[] = {{5, 3, {4, 3}, {-4, 3}}, {2, 2, {0, 2}, {0, 2}}, {0.5, 0.25, {0, 0.25}, {0, 0.25}}};
    ERPoint2D p, q;
    for (const auto& row : rows) {
        const ERPoint2D centre(1, 2);
        ASSERT_EQ(intersect(ERCircle2D(centre, row.radius),
                            ERInfLine2D(ERVector2D(1, 0), ERPoint2D(0, 2 + row.height)), p, q),
                  1);
        expectNear(p, centre + row.ahead);
        expectNear(q, centre + row.before);
    }
    EXPECT_EQ(intersect(ERCircle2D(ERPoint2D(), 5), ERInfLine2D(0, 1, -5.1), p, q), 0);
    expectNear(p, ERPoint2D(1, 2.25));
}

}  // namespace
}  // namespace kerf::test
