#include "kerf/curves/polyline.h"

#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/box.h"
#include "kerf/values/transformed_entity.h"
#include "tests/curves/curve_contract.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

using ::testing::ElementsAre;

ERVec<ERPoint2D> zigzag() { return vectorOf({{0, 0}, {4, 0}, {4, 3}, {1, 2}, {1, 2}, {-2, 5}}); }
ERVec<ERPoint3D> spiral(int n) {
    ERVec<ERPoint3D> points;
    for (int i = 0; i < n; ++i) points.append(ERPoint3D(std::cos(i), std::sin(i), 0.3 * i));
    return points;
}
template <class T>
std::vector<T> listed(const ERVec<T>& values) {
    return std::vector<T>(values.data(), values.data() + values.length());
}

constexpr unsigned int parts = SplitKeepsNoParameters;

INSTANTIATE_TEST_SUITE_P(
    Polylines, PlaneCurveContract,
    ::testing::Values(
        sampleOf<Space2D>("Polyline", ERPolyline2D(zigzag()), parts),
        sampleOf<Space2D>("TwoVertices", ERPolyline2D(vectorOf({{1, 2}, {5, -1}})), parts),
        sampleOf<Space2D>("Polygone", ERPolygone2D(vectorOf({{0, 0}, {4, 0}, {4, 3}, {1, 2}})),
                          parts)),
    nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(
    Polylines, SpaceCurveContract,
    ::testing::Values(sampleOf<Space3D>("Polyline", ERPolyline3D(spiral(9)), parts),
                      sampleOf<Space3D>("Polygone", ERPolygone3D(spiral(8)), parts)),
    nameOfSample<SpaceCurveSample>);

TEST(Polyline, ParameterCountsTheVertices) {
    const ERPolyline2D line(zigzag());
    EXPECT_EQ(line.ufin(), 5.0);
    for (unsigned int i = 0; i < 6; ++i) EXPECT_EQ(line(i), zigzag()[i]);
    for (const auto& [u, p] : {std::pair(1.5, ERPoint2D(4, 1.5)), std::pair(-0.5, ERPoint2D(-2, 0)),
                               std::pair(6.0, ERPoint2D(-5, 8))})
        EXPECT_EQ(line(u), p);
    EXPECT_EQ(line.PtCur(1.5).tangente(), ERVector2D(0, 3));
    EXPECT_EQ(line.PtCur(3.25).tangente(), ERVector2D());  // between equal vertices
}

TEST(Polyline, FewVerticesAreHarmless) {
    for (unsigned int n : {0u, 1u}) {
        const ERPolyline2D line(ERVec<ERPoint2D>(n, ERPoint2D(3, 4)));
        const ERPoint2D expected = n == 0 ? ERPoint2D() : ERPoint2D(3, 4);
        EXPECT_EQ(line.ufin(), 0.0);
        EXPECT_EQ(line.firstPt(), expected);
        EXPECT_EQ(line(infinity), expected);
        EXPECT_EQ(line.arcLength(1.0), 0.0);
        EXPECT_EQ(line.arcLength(ERLimites(-1, 1), 1.0), 0.0);
        EXPECT_EQ(line.getBox().invalid(), n == 0);
        EXPECT_EQ(line.isClosed(), static_cast<int>(n));
        EXPECT_EQ(line.ConvertToNurbs().nbPoles(), n);
        EXPECT_EQ(line.approxime(ERLimites(0, 5), 0.0).length(), 2u);
        ERVec<double> found;
        EXPECT_EQ(line.ProjectPoint(ERPoint2D(1, 1), found, 1.0), static_cast<int>(n));
        EXPECT_EQ(line.GetDiscontinuities(1, found), 1);
        EXPECT_EQ(found.length(), 0u);
        t_SmartPtr<ERFiniteEntity2DWF> left, right;
        EXPECT_EQ(line.splitAt(left, right, 0.0), static_cast<int>(n));
    }
    EXPECT_EQ(ERPolygone2D(ERVec<ERPoint2D>()).length(), 0u);
}

TEST(Polyline, ApproximationIsTheVerticesBetweenTheLimits) {
    const ERPolyline2D line(zigzag());
    EXPECT_THAT(listed(line.approxime(ERLimites(0.5, 3.0), 0.0)),
                ElementsAre(ERPoint2D(2, 0), ERPoint2D(4, 0), ERPoint2D(4, 3), ERPoint2D(1, 2)));
    EXPECT_EQ(line.approxime(ERLimites(-1e300, 1e300), 0.0).length(), 6u);
    EXPECT_EQ(line.approxime(ERLimites(4.0, 1.0), 0.0).length(), 2u);
    EXPECT_NEAR(line.arcLength(ERLimites(0.5, 3.0), 1.0), 5.0 + std::sqrt(10.0), 1e-14);
    EXPECT_NEAR(line.arcLength(ERLimites(-0.25, -0.5), 1.0), 1.0, 1e-14);
}

TEST(Polyline, SplitRepeatsNoVertex) {
    const ERPolyline2D line(zigzag());
    t_SmartPtr<ERFiniteEntity2DWF> left, right;
    for (const unsigned int u : {0u, 2u, 5u}) {
        ASSERT_EQ(line.splitAt(left, right, u), 1);
        EXPECT_EQ(ERPolyline2D::castdown(left.getObject())->length(), u + 1);
        EXPECT_EQ(ERPolyline2D::castdown(right.getObject())->length(), 6 - u);
    }
    const ERFiniteEntity2DWF* const held = left;
    for (const double u : {-0.1, 5.1, nan}) EXPECT_EQ(line.splitAt(left, right, u), 0);
    EXPECT_EQ(left.getObject(), held);
}

// Oracle: many points of the polyline.
TEST(Polyline, FeetAreTheNearestPoints) {
    const ERPolyline2D line(zigzag());
    for (const ERPoint2D& p : grid(-4, 7)) {
        ERVec<double> found;
        ASSERT_GE(line.ProjectPoint(p, found, 0.0), 1);
        double least = largest;
        for (int k = 0; k <= 5000; ++k) least = std::min(least, distance(line(k / 1000.0), p));
        for (unsigned int i = 0; i < found.length(); ++i) {
            EXPECT_LE(distance(line(found[i]), p), least + 1e-12) << p;
            for (unsigned int k = 0; k < i; ++k) EXPECT_NE(found[i], found[k]) << p;
        }
    }
    ERVec<double> found(1, 7.0);
    EXPECT_EQ(line.ProjectPoint(ERPoint2D(5, -1), found, 0.0), 2);  // a corner, once
    EXPECT_THAT(listed(found), ElementsAre(7.0, 1.0));
    found.clear();
    // Half way between two sides of a U.
    const ERPolyline2D u(vectorOf({{0, 0}, {8, 0}, {8, 2}, {0, 2}}));
    EXPECT_EQ(u.ProjectPoint(ERPoint2D(2, 1), found, 0.0), 2);
    EXPECT_THAT(listed(found), ElementsAre(0.25, 2.75));
    found.clear();
    EXPECT_EQ(u.ProjectPoint(ERPoint2D(nan, 1), found, 0.0), 0);
    EXPECT_EQ(u.ProjectPoint(ERPoint2D(infinity, 1), found, 0.0), 0);
}

TEST(Polyline, InnerVerticesAreJumps) {
    const ERPolyline2D line(zigzag());
    ERVec<double> jumps(3, 9.0);
    EXPECT_EQ(line.GetDiscontinuities(0, jumps), 1);
    EXPECT_EQ(jumps.length(), 0u);
    line.GetDiscontinuities(1, jumps);
    EXPECT_THAT(listed(jumps), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(line.IsContinuous(0), 1);
    EXPECT_EQ(line.IsContinuous(1), 0);
    EXPECT_EQ(ERPolyline2D(vectorOf({{0, 0}, {1, 1}})).IsContinuous(2), 1);
}

TEST(Polyline, CleaningDropsRepeatedNeighbours) {
    ERPolyline2D line(vectorOf({{1, 1}, {1, 1}, {2, 0}, {1, 1}, {1, 1}, {1, 1}}));
    const ERPolyline2D before = line;
    line.cleanUp();
    EXPECT_THAT(listed(line), ElementsAre(ERPoint2D(1, 1), ERPoint2D(2, 0), ERPoint2D(1, 1)));
    EXPECT_EQ(before.length(), 6u);
    EXPECT_EQ(line.isDirty(), 1);
}

TEST(Polyline, ClosureIsStrictlyWithinTheTolerance) {
    for (const auto& [x, y, closed] :
         {std::tuple(0.9e-11, -0.9e-11, 1), std::tuple(0.0, 1e-11, 0), std::tuple(1e-11, 0.0, 0)})
        EXPECT_EQ(ERPolyline2D(vectorOf({{0, 0}, {4, 0}, {x, y}})).isClosed(), closed);
}

TEST(Polygone, ClosesAnOpenList) {
    const ERPolygone2D open(zigzag());
    EXPECT_EQ(open.length(), 7u);
    EXPECT_EQ(open.isClosed(), 1);
    EXPECT_EQ(open.isClosed(0.0), 1);
    EXPECT_EQ(ERPolygone2D(open).length(), 7u);
    EXPECT_EQ(ERPolygone2D(static_cast<const ERVec<ERPoint2D>&>(open)).length(), 7u);
    EXPECT_EQ(open.binaryStoreSize(), 4u + 7u * 16u);
    const ERPolygone2D image = ERTransfo2D(ERVector2D(1, 0)) >> open;
    EXPECT_EQ(image[6], ERPoint2D(1, 0));
    const t_SmartPtr<EREntity3DWF> lifted = open.get3DEquiv(ERIdentity3D());
    ASSERT_STREQ(lifted->className(), "ERPolygone3D");
    EXPECT_STREQ(lifted->get2DEntProjectedOn(ERIdentity3D())->className(), "ERPolygone2D");
    EXPECT_EQ(printed(ERPolygone2D(vectorOf({{1, 2}}))), "Polyline 2D : (1)[[1,2]]\n");
}

}  // namespace
}  // namespace kerf::test
