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
    double d = 0;
    EXPECT_EQ(circle.SignedMinimalDistance(ERPoint2D(9, 8), d), EREntity::SingleNearestPoint);
    EXPECT_EQ(d, 5);
    EXPECT_EQ(circle.SignedMinimalDistance(ERPoint2D(1, 3), d), EREntity::SingleNearestPoint);
    EXPECT_EQ(d, -4);
    EXPECT_EQ(circle.SignedMinimalDistance(ERPoint2D(1, 2), d), EREntity::NearestPointNotUnique);
    EXPECT_EQ(d, -5);
    EXPECT_EQ(circle.SignedMinimalDistance(ERPoint2D(1 + 2e-11, 2), d),
              EREntity::SingleNearestPoint);
}

TEST(Circle2D, KeepsItsSignedRadiusUnderANegativeFactor) {
    ERCircle2D circle(ERPoint2D(1, 2), 3);
    const ERPoint2D before = circle(0.4);
    circle.scale(-2);
    EXPECT_EQ(circle.radius(), -6);
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

TEST(Circles, PrintTheirMeasures) {
    EXPECT_EQ(printed(ERCircle2D(ERPoint2D(1, 2), 3)), "Cercle2D : Centre  [1,2] Rayon  3\n");
    EXPECT_EQ(printed(ERCircle3D(ERCircle2D(ERPoint2D(1, 2), 3), Coord3D::CoordZ, 4)),
              "Cercle : Rayon   3\n       : Normale <0,0,1>\n       : Centre  [1,2,4]\n");
}

TEST(Circles, AreRestoredToTheLastBit) {
    TemporaryFile place;
    const ERCircle2D flat(ERPoint2D(0.1, 0.2), 0.3);
    const ERCircle3D inSpace(tilted, flat);
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
    EXPECT_EQ(flatAgain(0.7), flat(0.7));
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
    expectNear(circle.normale(), ERVector3D(0, 0, 1));
    circle.setCenter(ERPoint3D(9, 8, 7));
    EXPECT_EQ(circle.center(), ERPoint3D(9, 8, 7));
    expectNear(circle.normale(), ERVector3D(0, 0, 1));
    EXPECT_EQ(circle.radius(), 3);
    circle.reverse();
    EXPECT_EQ(circle.center(), ERPoint3D(9, 8, 7));
    expectNear(circle.normale(), ERVector3D(0, 0, -1));
}

// Oracle: the least distance to many points of the circle.
TEST(Circle3D, DistanceIsThatOfTheNearestPoint) {
    const ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(1, 2), 3));
    for (const ERPoint3D& inFrame :
         {ERPoint3D(9, 3, 2), ERPoint3D(1.5, 2, -4), ERPoint3D(1, 3, 0), ERPoint3D(4, 2, 5)}) {
        const ERPoint3D p = tilted >> inFrame;
        double nearest = largest, d = 0;
        for (int i = 0; i < 20000; ++i)
            nearest = std::min(nearest, distance(circle(i * (pi / 10000)), p));
        EXPECT_EQ(circle.SignedMinimalDistance(p, d), EREntity::SingleNearestPoint);
        EXPECT_NEAR(std::fabs(d), nearest, 1e-6);
        const bool inside = std::hypot(inFrame.x() - 1, inFrame.y() - 2) < 3;
        EXPECT_EQ(d < 0, inside) << inFrame;
    }
    double d = 0;
    EXPECT_EQ(circle.SignedMinimalDistance(tilted >> ERPoint3D(1, 2, 4), d),
              EREntity::NearestPointNotUnique);
    EXPECT_NEAR(d, -5, 1e-13);
}

TEST(Circle3D, ProjectsToACircleASegmentOrAnEllipse) {
    const ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(1, 2), 3));
    const ERVector3D normal = circle.normale();
    const auto classSeenAlong = [&](const ERVector3D& axis) {
        return std::string(
            circle.get2DEntProjectedOn(ERChgRepere3D(axis, ERPoint3D(1, 1, 1)))->className());
    };
    EXPECT_EQ(classSeenAlong(normal), "ERCircle2D");
    EXPECT_EQ(classSeenAlong(-normal), "ERCircle2D");
    EXPECT_EQ(classSeenAlong(perpendicularTo(normal)), "ERSegment2D");
    EXPECT_EQ(classSeenAlong(ERVector3D(1, 1, 1)), "EREllipse2D");
    const double former = ERCircle3D::projectionPrecision();
    EXPECT_EQ(former, 1e-10);
    ERCircle3D::SetProjectionPrecision(1.0);
    EXPECT_EQ(classSeenAlong(ERVector3D(1, 1, 1)), "ERCircle2D");
    ERCircle3D::SetProjectionPrecision(former);
}

// Oracle: the projections of its points, which are on the segment and reach both ends, or on the
// ellipse by the sum of their distances from the foci.
TEST(Circle3D, ProjectionHoldsTheProjectedPoints) {
    const ERCircle3D circle(tilted, ERCircle2D(ERPoint2D(1, 2), 3));
    const auto seen = [](const ERPmIsometrie3D& t, const ERPoint3D& p) {
        return (t << p).castToPoint2D(Coord3D::CoordZ);
    };
    const ERPmIsometrie3D edgeOn =
        ERChgRepere3D(perpendicularTo(circle.normale()), ERPoint3D(1, 1, 1));
    const ERSegment2D segment = circle.Segment2DFromProjectOn(edgeOn);
    EXPECT_NEAR(segment.arcLength(1.0), 6.0, 1e-13);
    const ERPmIsometrie3D oblique = ERChgRepere3D(ERVector3D(1, 1, 1), ERPoint3D(1, 1, 1));
    const EREllipse2D ellipse = circle.Ellipse2DFromProjectOn(oblique);
    for (int i = 0; i < 12; ++i) {
        const ERPoint2D onSegment = seen(edgeOn, circle(i));
        EXPECT_NEAR(distance(segment.getP1(), onSegment) + distance(onSegment, segment.getP2()),
                    6.0, 1e-13);
        const ERPoint2D p = seen(oblique, circle(i));
        EXPECT_NEAR(distance(p, ellipse.focus1()) + distance(p, ellipse.focus2()), ellipse.bigAxe(),
                    1e-13);
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
    ERPoint2D p, q;
    ASSERT_EQ(intersect(ERCircle2D(ERPoint2D(), 2), ERCircle2D(ERPoint2D(5, 0), 3 - 5e-12), p, q),
              0);
    ASSERT_EQ(intersect(ERCircle2D(ERPoint2D(), 2), ERCircle2D(ERPoint2D(5, 0), 3 + 5e-12), p, q),
              1);
    EXPECT_EQ(p, ERPoint2D(2, 0));
    EXPECT_EQ(q, p);
    ASSERT_EQ(intersect(ERCircle2D(ERPoint2D(), 5), ERCircle2D(ERPoint2D(3, 0), 2), p, q), 1);
    EXPECT_EQ(p, ERPoint2D(5, 0));
    // The inner circle first: the point on its far side, which is not on the outer one.
    ASSERT_EQ(intersect(ERCircle2D(ERPoint2D(3, 0), 2), ERCircle2D(ERPoint2D(), 5), p, q), 1);
    EXPECT_EQ(p, ERPoint2D(1, 0));
}

TEST(CircleAndCircle, ConcentricOnesDoNotMeet) {
    const ERCircle2D circle(ERPoint2D(1, 1), 2);
    ERPoint2D p(7, 7), q(8, 8);
    EXPECT_EQ(intersect(circle, circle, p, q), 0);
    EXPECT_EQ(intersect(circle, ERCircle2D(ERPoint2D(1 + 0.9e-10, 1), 2), p, q), 0);
    EXPECT_EQ(p, ERPoint2D(7, 7));
    EXPECT_EQ(intersect(circle, ERCircle2D(ERPoint2D(nan, 1), 2), p, q), 0);
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

TEST(CircleAndLine, MeetAheadAndBefore) {
    const ERCircle2D circle(ERPoint2D(1, 2), 5);
    ERPoint2D p, q;
    ASSERT_EQ(intersect(circle, ERInfLine2D(ERVector2D(1, 0), ERPoint2D(0, 5)), p, q), 1);
    expectNear(p, ERPoint2D(5, 5));
    expectNear(q, ERPoint2D(-3, 5));
    EXPECT_EQ(intersect(circle, ERInfLine2D(ERVector2D(1, 0), ERPoint2D(0, 7.1)), p, q), 0);
    expectNear(p, ERPoint2D(5, 5));
}

TEST(CircleAndLine, ContactIsToldByTheSquareOfTheRadius) {
    ERPoint2D p, q;
    ASSERT_EQ(intersect(ERCircle2D(ERPoint2D(), 2), ERInfLine2D(0, 1, -2), p, q), 1);
    EXPECT_EQ(p, q);
    EXPECT_EQ(p, ERPoint2D(0, 2));
    // A quarter away from a circle of radius a half: the foot itself, which is not on the circle.
    ASSERT_EQ(intersect(ERCircle2D(ERPoint2D(), 0.5), ERInfLine2D(0, 1, -0.25), p, q), 1);
    EXPECT_EQ(p, ERPoint2D(0, 0.25));
    EXPECT_EQ(q, ERPoint2D(0, 0.25));
}

}  // namespace
}  // namespace kerf::test
