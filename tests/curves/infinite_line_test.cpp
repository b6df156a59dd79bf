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
    EXPECT_EQ(line.SignedMinimalDistance(ERPoint2D(9, -1), d), EREntity::SingleNearestPoint);
    EXPECT_EQ(d, 2.0);
    line.SignedMinimalDistance(ERPoint2D(9, 4), d);
    EXPECT_EQ(d, -3.0);
    EXPECT_EQ(distance(line, ERPoint2D(9, 4)), 3.0);
    const ERInfLine3D upright;
    for (const double x : {-3.0, 3.0}) {
        EXPECT_EQ(upright.SignedMinimalDistance(ERPoint3D(x, 4, 8), d), 4);
        EXPECT_EQ(d, 5.0);
    }
}

// Kept: the product of the directions is compared with 0.
TEST(InfiniteLine, ParallelMeansAtRightAngles) {
    const ERInfLine2D x, y(ERVector2D(0, 1), ERPoint2D(3, 0));
    EXPECT_EQ(x.isParallelTo(y, 1e-9), 1);
    EXPECT_EQ(x.isParallelTo(x, 1e-9), 0);
    EXPECT_TRUE(x || y);
    EXPECT_FALSE(x || x);
    const ERInfLine3D z, v(ERVector3D(1, 1, 0), ERPoint3D());
    EXPECT_EQ(z.IsParallelTo(v, 0.0), 1);
    EXPECT_TRUE(z || v);
    EXPECT_FALSE(z || z);
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

TEST(InfiniteLine, IsStoredAndPrinted) {
    const ERInfLine2D flat(ERVector2D(1, 0), ERPoint2D(0, 1.23456));
    EXPECT_EQ(printed(flat), "InfLine2D    O[0,1.23]    V{1,0} (  0 *x + -1 *y + 1.23 = 0 )\n");
    EXPECT_EQ(printed(ERInfLine3D()), "Droite Infinie Org=[0,0,0] Vec=<0,0,1>");
    const ERInfLine3D line(ERPoint3D(1, 2, 3), ERPoint3D(4, 3, -1));
    TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        line.saveGuts(file);
        flat.saveGuts(file);
    }
    EXPECT_EQ(place.bytes().size(), 48u + 32u);
    EXPECT_EQ(line.binaryStoreSize() + flat.binaryStoreSize(), 48u + 32u);
    ERFile file(place.path(), CFile::modeRead);
    ERInfLine3D restored;
    ERInfLine2D restoredFlat;
    restored.restoreGuts(file);
    restoredFlat.restoreGuts(file);
    EXPECT_EQ(restored.origine(), line.origine());
    EXPECT_EQ(restored.dirVector(), line.dirVector());
    EXPECT_EQ(restoredFlat.origine(), flat.origine());
    EXPECT_EQ(t_SmartPtr<ERInfLine2D>(flat.getCopy())->c(), flat.c());
}

}  // namespace
}  // namespace kerf::test
