#include "kerf/curves/infinite_line.h"

#include "kerf/curves/segment.h"
#include "kerf/values/transformed_entity.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

template <class Line, class Vector, class Point>
void expectLine(const Line& line, const Vector& direction, const Point& origin) {
    expectNear(line.dirVector(), direction);
    expectNear(line.origine(), origin);
}

TEST(InfiniteLine, OriginIsTheFootOfTheCoordinateOrigin) {
    expectLine(ERInfLine2D(), ERVector2D(1, 0), ERPoint2D());
    expectLine(ERInfLine2D(ERVector2D(7, 0), ERPoint2D(3, 4)), ERVector2D(1, 0), ERPoint2D(0, 4));
    expectLine(ERInfLine2D(ERPoint2D(2, 0), ERPoint2D(0, 2)), ERVector2D(-1, 1).getnormalized(),
               ERPoint2D(1, 1));
    expectLine(ERInfLine2D(ERSegment2D({5, 2}, {5, 9})), ERVector2D(0, 1), ERPoint2D(5, 0));
    expectLine(ERInfLine3D(), ERVector3D(0, 0, 1), ERPoint3D());
    expectLine(ERInfLine3D(ERPoint3D(1, 2, 7), ERPoint3D(1, 2, 9)), ERVector3D(0, 0, 1),
               ERPoint3D(1, 2, 0));
    expectLine(ERInfLine3D(ERSegment3D({4, 5, 6}, {3, 5, 6})), ERVector3D(-1, 0, 0),
               ERPoint3D(0, 5, 6));
}

TEST(InfiniteLine, EquationIsTakenAsNormalised) {
    expectLine(ERInfLine2D(0.0, 1.0, -2.0), ERVector2D(-1, 0), ERPoint2D(0, 2));
    const ERInfLine2D line(0.6, -0.8, 3.0);
    EXPECT_NEAR(line.a(), 0.6, 1e-15);
    EXPECT_NEAR(line.b(), -0.8, 1e-15);
    EXPECT_NEAR(line.c(), 3.0, 1e-14);
    for (const double x : {-4.0, 7.0}) {
        EXPECT_NEAR(distance(line, ERPoint2D(x, (3.0 + 0.6 * x) / 0.8)), 0.0, 1e-14);
    }
    // Kept: another length of (a, b) brings the line nearer.
    expectLine(ERInfLine2D(0.0, 2.0, -4.0), ERVector2D(-1, 0), ERPoint2D(0, 1));
    EXPECT_EQ(ERInfLine2D(0.0, 0.0, 5.0).dirVector(), ERVector2D());
    expectLine(ERInfLine2D(0.0, 1e-200, 0.0), ERVector2D(-1, 0), ERPoint2D());
}

TEST(InfiniteLine, ParallelsLieToTheLeft) {
    ERInfLine2D line(ERPoint2D(0, 1), ERPoint2D(4, 1));
    expectLine(line.parallele(2.0), ERVector2D(1, 0), ERPoint2D(0, 3));
    line.offset(-4.0);
    expectLine(line, ERVector2D(1, 0), ERPoint2D(0, -3));
    expectNear(line.normalVector(), ERVector2D(0, 1));
    line.reverse();
    expectLine(line, ERVector2D(-1, 0), ERPoint2D(0, -3));
}

TEST(InfiniteLine, DistanceHasTheSignOfTheSideInThePlaneAlone) {
    const ERInfLine2D line(ERPoint2D(0, 1), ERPoint2D(4, 1));
    double d = 0.0;
    for (const double y : {-1.0, 4.0}) {
        EXPECT_EQ(line.SignedMinimalDistance(ERPoint2D(9, y), d), EREntity::SingleNearestPoint);
        EXPECT_EQ(d, 1 - y);
        EXPECT_EQ(distance(line, ERPoint2D(9, y)), std::fabs(1 - y));
        EXPECT_EQ(ERInfLine3D().SignedMinimalDistance(ERPoint3D(std::copysign(3, y), 4, 8), d), 4);
        EXPECT_EQ(d, 5.0);
    }
}

// Kept: the product of the directions is compared with 0.
TEST(InfiniteLine, ParallelMeansAtRightAngles) {
    const auto expectParallelToOther = [](const auto& line, const auto& other) {
        EXPECT_TRUE(line || other);
        EXPECT_FALSE(line || line);
    };
    const ERInfLine2D x, nearlyY(ERVector2D(1e-10, 1), ERPoint2D(3, 0));
    expectParallelToOther(x, ERInfLine2D(ERVector2D(0, 1), ERPoint2D(3, 0)));
    expectParallelToOther(ERInfLine3D(), ERInfLine3D(ERVector3D(1, 1, 0), ERPoint3D()));
    EXPECT_EQ(x.isParallelTo(nearlyY, 1e-9), 1);
    EXPECT_EQ(x.isParallelTo(nearlyY, 1e-11), 0);
}

// Oracle: the problem is built from its answer.
TEST(InfiniteLine, LinesMeetWhereTheyWereLaid) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> draw(-5, 5);
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(drawnFrom(11, i));
        const ERPoint3D meeting(draw(random), draw(random), draw(random));
        const ERVector3D d1 = ERVector3D(draw(random), draw(random), draw(random)).getnormalized();
        const ERVector3D d2 = ERVector3D(draw(random), draw(random), draw(random)).getnormalized();
        const ERVector3D gap = (d1 ^ d2).getnormalized() * draw(random);
        const double tol = 1e-11 / std::pow((d1 ^ d2).norme(), 2);
        const ERInfLine3D a(d1, meeting + d1 * draw(random));
        const ERInfLine3D b(d2, meeting + gap + d2 * draw(random));
        ERPoint3D pa, pb;
        ASSERT_EQ(intersect(a, b, pa, pb), 1);
        expectNear(pa, meeting, tol);
        expectNear(pb, meeting + gap, tol);
        EXPECT_NEAR(distance(a, b), gap.norme(), tol);

        const ERVector2D e1(d1.i(), d1.j()), e2(d2.i(), d2.j());
        const ERPoint2D here(meeting.x(), meeting.y());
        ERPoint2D p;
        ASSERT_EQ(intersect(ERInfLine2D(e1, here), ERInfLine2D(e2, here), p), 1);
        expectNear(p, here, 1e-11 / std::pow(e1.getnormalized() ^ e2.getnormalized(), 2));
    }
}

TEST(InfiniteLine, ParallelLinesDoNotMeet) {
    // Directions whose square rounds to something else than 1.
    for (int i = 1; i < 200; ++i) {
        const ERVector3D d(i, 1.0 / i, 3.0);
        const ERInfLine3D a(d, ERPoint3D(1, 2, 3)),
            b(-d, ERPoint3D(1, 2, 3) + (d ^ ERVector3D(1, 0, 0)).getnormalized() * 2.0);
        ERPoint3D pa(8, 8, 8), pb;
        ASSERT_EQ(intersect(a, b, pa, pb), 0);
        ASSERT_EQ(intersect(a, a, pa, pb), 0);
        EXPECT_EQ(pa, ERPoint3D(8, 8, 8));
        EXPECT_EQ(Coplanar(a, b), 1);
        EXPECT_NEAR(distance(a, b), 2.0, 1e-12);
        EXPECT_NEAR(distance(a, a), 0.0, 1e-15);
        const ERInfLine2D flat(ERVector2D(i, 1.0 / i), ERPoint2D(1, 2));
        ERPoint2D p;
        ASSERT_EQ(intersect(flat, flat.parallele(1.0), p), 0);
    }
    const ERInfLine3D x(ERVector3D(1, 0, 0), ERPoint3D()), y(ERVector3D(0, 1, 0), ERPoint3D());
    EXPECT_EQ(Coplanar(x, y), 1);
    EXPECT_EQ(Coplanar(x, ERInfLine3D(ERVector3D(0, 1, 0), ERPoint3D(0, 0, 1e-100))), 0);
}

// Oracle: the images of points of the line.
template <class Line, class Transformation>
void expectCarried(const Line& line, const Transformation& t) {
    const Line from = t >> line, to = t << line;
    for (const double s : {-2.0, 5.0}) {
        const auto p = line.origine() + line.dirVector() * s;
        EXPECT_NEAR(distance(from, t >> p), 0.0, 1e-12);
        EXPECT_NEAR(distance(to, t << p), 0.0, 1e-12);
    }
    EXPECT_NEAR(from.dirVector().norme(), 1.0, 1e-15);
    EXPECT_GT(from.dirVector() * (t >> line.dirVector()), 0.0);
    EXPECT_GT(to.dirVector() * (t << line.dirVector()), 0.0);
}

TEST(InfiniteLine, IsCarriedWithItsDirection) {
    const ERInfLine2D flat(ERPoint2D(1, 2), ERPoint2D(4, 3));
    expectCarried(flat, ERTransfo2D::rotation(1.2) * ERTransfo2D::Scaling(3.0));
    expectCarried(flat, ERTransfo2D(Coord2D::CoordY) * ERTransfo2D(ERVector2D(1, 5)));
    const ERInfLine3D line(ERPoint3D(1, 2, 3), ERPoint3D(4, 3, -1));
    expectCarried(line, ERRotation3D(ERVector3D(1, 2, 3), 0.4) * ERScaling3D(-2.5));
    expectCarried(line, ERChgRepere3D(ERVector3D(1, 2, 3), ERPoint3D(5, 0, 1)));

    ERInfLine2D moved = flat;
    moved.translate(ERPoint2D(3, 1));
    EXPECT_EQ(moved.origine(), flat.origine() + ERPoint2D(3, 1));  // no foot any more
    moved.scale(2.0);
    EXPECT_EQ(moved.origine(), (flat.origine() + ERPoint2D(3, 1)) * 2.0);
    EXPECT_EQ(moved.dirVector(), flat.dirVector());
}

TEST(InfiniteLine, GoesToSpaceAndBack) {
    const ERInfLine2D flat(ERPoint2D(1, 2), ERPoint2D(4, 3));
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, -1, 2), ERPoint3D(3, 1, 4));
    const t_SmartPtr<EREntity3DWF> lifted = flat.get3DEquiv(frame);
    const ERInfLine3D* const line = ERInfLine3D::castdown(lifted.getObject());
    ASSERT_NE(line, nullptr);
    EXPECT_NEAR(distance(*line, frame >> ERPoint3D(7, 4, 0)), 0.0, 1e-13);
    const t_SmartPtr<EREntity2DWF> back = line->get2DEntProjectedOn(frame);
    const ERInfLine2D* const projected = ERInfLine2D::castdown(back.getObject());
    ASSERT_NE(projected, nullptr);
    expectLine(*projected, flat.dirVector(), flat.origine());

    expectLine(ERInfLine3D(flat, Coord3D::CoordY, 6.0),
               ERVector3D(flat.dirVector().i(), 0, flat.dirVector().j()),
               ERPoint3D(flat.origine().x(), 6, flat.origine().y()));
    const t_SmartPtr<EREntity2DWF> point = ERInfLine3D().get2DEntProjectedOn(ERIdentity3D());
    EXPECT_EQ(ERInfLine2D::castdown(point.getObject())->dirVector(), ERVector2D());
}

template <class Line>
void expectStored(const Line& line, unsigned int bytes, const std::string& text) {
    TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        line.saveGuts(file);
    }
    EXPECT_EQ(place.bytes().size(), bytes);
    EXPECT_EQ(line.binaryStoreSize(), bytes);
    ERFile file(place.path(), CFile::modeRead);
    Line restored;
    restored.restoreGuts(file);
    for (const Line& same : {restored, *t_SmartPtr<Line>(line.getCopy())}) {
        EXPECT_EQ(same.origine(), line.origine());
        EXPECT_EQ(same.dirVector(), line.dirVector());
        EXPECT_EQ(printed(same), text);
    }
}

TEST(InfiniteLine, IsStoredAndPrinted) {
    expectStored(ERInfLine2D(ERVector2D(1, 0), ERPoint2D(0, 1.23456)), 32,
                 "InfLine2D    O[0,1.23]    V{1,0} (  0 *x + -1 *y + 1.23 = 0 )\n");
    expectStored(ERInfLine3D(ERVector3D(0, 2, 0), ERPoint3D(1, 2, 3)), 48,
                 "Droite Infinie Org=[1,0,3] Vec=<0,1,0>");
}

// Normalised twice the direction may lose a bit, and the line no longer is parallel to itself.
TEST(InfiniteLine, OfASegmentIsTheLineThroughItsEnds) {
    for (int i = 1; i < 200; ++i) {
        const ERPoint2D a(1, 2), b(i, 1.0 / i);
        ASSERT_EQ(ERInfLine2D(ERSegment2D(a, b)).dirVector(), ERInfLine2D(a, b).dirVector()) << i;
        const ERPoint3D c(1, 2, 3), d(i, 1.0 / i, 7);
        ASSERT_EQ(ERInfLine3D(ERSegment3D(c, d)).dirVector(), ERInfLine3D(c, d).dirVector()) << i;
    }
}

}  // namespace
}  // namespace kerf::test
