#include "kerf/curves/outline.h"

#include "kerf/curves/polyline.h"
#include "kerf/values/transformed_entity.h"
#include "tests/curves/outline_checks.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

const ERRectangle2D upright(ERPoint2D(2, 1), ERVector2D(0, 3), 4, 2);
const ERRectangle2D slanted(ERPoint2D(1, -2), ERVector2D(2, 1), 5, 3);
const ERRegularPolygon2D triangle(ERPoint2D(1, 1), ERVector2D(1, 2), 3, 3);
const ERRegularPolygon2D hexagon(ERPoint2D(-1, 2), ERVector2D(1, 0), 2, 6);
const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, -1, 2), ERPoint3D(3, 1, 4));

TEST(Rectangle, CornersRunCounterClockwiseFromBehindOnTheRight) {
    const ERPoint2D expected[] = {{3, -1}, {3, 3}, {1, 3}, {1, -1}};
    for (unsigned int i = 0; i < 4; ++i) expectNear(upright.PtCur(i).point(), expected[i]);
    EXPECT_EQ(upright.length(), 4.0);
    EXPECT_EQ(upright.width(), 2.0);
    expectNear(upright.centre(), ERPoint2D(2, 1));
    expectNear(upright.auxiliary_direction(), ERVector2D(-1, 0));
    for (const auto& [u, taken] :
         {std::pair(5.0, 1.0), std::pair(-0.25, 3.75), std::pair(-8.0, 0.0), std::pair(8.0, 4.0)}) {
        EXPECT_EQ(upright.PtCur(u).point(), upright.PtCur(taken).point());
        EXPECT_EQ(upright.PtCur(u).parameter(), taken);
    }
    expectNear(upright.PtCur(0.25).point(), ERPoint2D(3, 0));
    for (const auto& [u, side] :
         {std::pair(0.0, ERVector2D(0, 4)), std::pair(0.25, ERVector2D(0, 4)),
          std::pair(1.0, ERVector2D(0, 4)), std::pair(2.0, ERVector2D(-2, 0)),
          std::pair(4.0, ERVector2D(2, 0))})
        expectNear(upright.PtCur(u).tangente(), side);
}

TEST(Rectangle, TakesFourCornersAndNoOtherNumber) {
    ERRectangle2D rectangle = upright;
    rectangle.points(vectorOf({{0, 0}, {1, 0}, {1, 1}}));
    EXPECT_EQ(rectangle.points(), upright.points());
    rectangle.points(slanted.points());
    expectNear(rectangle.centre(), ERPoint2D(1, -2));

    TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        hexagon.saveGuts(file);
    }
    ERFile file(place.path(), CFile::modeRead);
    rectangle.restoreGuts(file);
    EXPECT_EQ(rectangle.points().length(), 0u);
}

TEST(RegularPolygon, SidesAndCornersAreThoseAskedFor) {
    for (const int n : {2, 3, 4, 7, 100}) {
        const ERRegularPolygon2D polygon(ERPoint2D(3, -1), ERVector2D(1, 2), 1.5, n);
        ASSERT_EQ(polygon.nb_side(), n);
        for (int i = 0; i < n; ++i) {
            const ERPoint2D a = polygon.PtCur(i).point(), b = polygon.PtCur(i + 1).point();
            EXPECT_NEAR(distance(a, b), 1.5, 1e-13);
            EXPECT_TRUE(n == 2 || area(a, b, ERPoint2D(3, -1)) > 0.0);
        }
        expectNear(polygon.barycenter(), ERPoint2D(3, -1));
        expectNear(polygon.main_direction(), ERVector2D(1, 2).getnormalized());
        EXPECT_NEAR(std::hypot(polygon.inside_radius(), 0.75), polygon.outside_radius(), 1e-13);
    }
    for (const int n : {1, -5})
        EXPECT_EQ(ERRegularPolygon2D(ERPoint2D(), ERVector2D(1, 0), 1, n).nb_side(), 0);
}

TEST(RegularPolygon, OffsetMovesTheSides) {
    for (const double delta : {0.5, -0.3}) {
        ERRegularPolygon2D moved = hexagon;
        moved.offset(delta);
        EXPECT_NEAR(moved.inside_radius(), hexagon.inside_radius() + delta, 1e-14);
        expectNear(moved.barycenter(), hexagon.barycenter());
        for (int i = 0; i < 6; ++i) {
            double height = 0.0;
            hexagon.SignedMinimalDistance(moved.PtCur(i + 0.5).point(), height);
            EXPECT_NEAR(height, delta, 1e-14);
        }
    }
    ERRegularPolygon2D flat(ERPoint2D(), ERVector2D(1, 0), 2, 2);
    flat.offset(5.0);
    EXPECT_EQ(flat.length_side(), 2.0);
}

TEST(CornerOutline, FeetAndSidesAreTheNearest) {
    expectNearestFeet(upright, 4);
    expectNearestFeet(slanted, 4);
    expectNearestFeet(triangle, 3);
    expectNearestFeet(hexagon, 6);
}

// A corner is one point, whatever the number of its sides.
TEST(CornerOutline, MiddleIsAsNearToSeveralSidesAndACornerIsOnePoint) {
    const ERRectangle2D square(ERPoint2D(), ERVector2D(1, 0), 2, 2);
    const struct {
        ERPoint2D p;
        int found;
        ERPoint2D foot;
        double u;
        int index;
    } rows[] = {{{0, 0}, 2, {0, -1}, 0.5, 0},
                {{3, 0.5}, 1, {1, 0.5}, 1.75, 1},
                {{3, 3}, 1, {1, 1}, 2, 1},
                {{nan, 0}, 0, {1, 1}, 2, 1}};
    ERPoint2D foot;
    double u = -1.0;
    int index = -1;
    for (const auto& row : rows) {
        const EREntity::DISTMINRES found = square.Project(row.p, foot, u, index);
        EXPECT_EQ(found, row.found) << row.p;
        EXPECT_EQ(foot, row.foot) << row.p;
        EXPECT_EQ(u, row.u) << row.p;
        EXPECT_EQ(index, row.index) << row.p;
        EXPECT_EQ(square.Get_Entity_Number(row.p, index), row.found == 1) << row.p;
    }
}

TEST(CornerOutline, WithoutCornersNothingIsFound) {
    const ERRegularPolygon2D none;
    ERPoint2D foot;
    double d = 7.0;
    int index = 7;
    EXPECT_EQ(none.ProjectPt(ERPoint2D(1, 1), foot), 0);
    EXPECT_EQ(none.Get_Entity_Number(ERPoint2D(1, 1), index), 0);
    EXPECT_EQ(none.SignedMinimalDistance(ERPoint2D(1, 1), d), EREntity::NoFootPoint);
    EXPECT_EQ(d, 7.0);
    EXPECT_EQ(none.getBox().invalid(), 1);
    EXPECT_EQ(ERRegularPolygon3D(frame, none).getBox().invalid(), 1);
    for (const double measure : {none.length_side(), none.outside_radius(), none.inside_radius()})
        EXPECT_EQ(measure, 0.0);
    for (const ERPoint2D& p :
         {none.PtCur(3.5).point(), none.barycenter(), ERRectangle2D().centre()})
        EXPECT_EQ(p, ERPoint2D());
    EXPECT_TRUE(std::isnan(upright.PtCur(infinity).point().x()));
    EXPECT_LE(upright.PtCur(1e300).parameter(), 4.0);
}

template <class Outline>
void expectTurnedOver(const Outline& outline, double end) {
    Outline turned = outline;
    turned.reverse();
    expectNear(turned.main_direction(), outline.main_direction());
    for (const double u : {0.0, 0.4, 1.7, 3.0})
        expectNear(turned.PtCur(u).point(), outline.PtCur(end - u).point());
}

TEST(CornerOutline, TurnedOverKeepsItsMainDirection) {
    expectTurnedOver(slanted, 3.0);
    expectTurnedOver(hexagon, 6.0);
}

TEST(CornerOutline, IsCarriedPointByPoint) {
    expectCarriedInThePlane(slanted);
    expectCarriedInThePlane(triangle);
    expectCarriedInSpace(ERRectangle3D(frame, slanted));
    expectCarriedInSpace(ERRegularPolygon3D(frame, hexagon));
}

TEST(CornerOutline, LiesInThePlaneOfItsFrame) {
    expectPlanarTwin<ERRectangle3D>(slanted, frame);
    expectPlanarTwin<ERRegularPolygon3D>(hexagon, frame);
}

TEST(CornerOutline, IsSeenAsItselfOrAsAPolygon) {
    const ERRectangle3D rectangle(frame, slanted);
    const t_SmartPtr<EREntity2DWF> flat = rectangle.get2DEntProjectedOn(frame);
    ASSERT_STREQ(flat->className(), "ERRectangle2D");
    expectNear(ERRectangle2D::castdown(flat.getObject())->centre(), slanted.centre());
    const ERPmIsometrie3D view = ERChgRepere3D(ERVector3D(0, 0, 1), ERPoint3D(1, 1, 1));
    const t_SmartPtr<EREntity2DWF> oblique = rectangle.get2DEntProjectedOn(view);
    const ERPolygone2D* const polygon = ERPolygone2D::castdown(oblique.getObject());
    ASSERT_NE(polygon, nullptr);
    ASSERT_EQ(polygon->length(), 5u);
    for (unsigned int i = 0; i < 5; ++i) {
        expectNear((*polygon)[i], view.Project(rectangle.PtCur(i).point()));
    }
}

TEST(CornerOutline, CornersInSpaceAreTakenByTheirFeet) {
    ERRectangle3D rectangle(frame, upright);
    ERVec<ERPoint3D> corners;
    for (unsigned int i = 0; i < 4; ++i) {
        const ERPoint2D& p = slanted.points()[i];
        corners.append(frame >> p.castToPoint3D(Coord3D::CoordZ, 0.5 * i));
    }
    rectangle.points(corners);
    expectNear(rectangle.centre(), frame >> ERPoint3D(1, -2, 0));
    EXPECT_NEAR(rectangle.width(), 3.0, 1e-13);
    ERRegularPolygon3D polygon(frame, hexagon);
    polygon.offset(1.0);
    EXPECT_NEAR(polygon.length_side(), 2.0 + 2.0 / std::sqrt(3.0), 1e-13);
    expectNear(polygon.barycenter(), frame >> ERPoint3D(-1, 2, 0));
}

TEST(CornerOutline, IsRestoredToTheLastBit) {
    expectStored(slanted, 4 + 64);
    expectStored(hexagon, 4 + 96);
    expectStored(ERRectangle3D(frame, slanted), 116 + 4 + 64);
    expectStored(ERRegularPolygon3D(frame, hexagon), 116 + 4 + 96);
}

TEST(RegularPolygon, EndOfTheRangeIsItsStart) {
    for (const double u : {0.0, 3.0, 6.0, -3.0, -1e-300}) {
        EXPECT_EQ(triangle.PtCur(u).parameter(), 0.0) << u;
        EXPECT_EQ(triangle.PtCur(u).tangente(), triangle.PtCur(0.0).tangente()) << u;
    }
    EXPECT_TRUE(std::isnan(triangle.PtCur(nan).point().x()));
}

}  // namespace
}  // namespace kerf::test
