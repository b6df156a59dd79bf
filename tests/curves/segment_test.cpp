#include "kerf/curves/segment.h"

#include "kerf/curves/nurbs_curve.h"
#include "tests/curves/curve_contract.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

constexpr unsigned int exceptions = SplitKeepsNoParameters | CountIsIgnored;

INSTANTIATE_TEST_SUITE_P(
    Segments, PlaneCurveContract,
    ::testing::Values(sampleOf<Space2D>("Segment", ERSegment2D({1, 2}, {-3, 5}), exceptions),
                      sampleOf<Space2D>("SegmentAlongX", ERSegment2D({7, 1}, {2, 1}), exceptions),
                      sampleOf<Space2D>("PointSegment", ERSegment2D({3, 4}, {3, 4}), exceptions)),
    nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(
    Segments, SpaceCurveContract,
    ::testing::Values(sampleOf<Space3D>("Segment", ERSegment3D({1, 2, 3}, {-3, 5, 4}), exceptions),
                      sampleOf<Space3D>("PointSegment", ERSegment3D({3, 4, 5}, {3, 4, 5}),
                                        exceptions)),
    nameOfSample<SpaceCurveSample>);

TEST(Segment, TwoPointsApproximateIt) {
    const ERSegment2D segment({0, 0}, {4, 2});
    for (const int n : {17, 1, 0, -1}) EXPECT_EQ(segment.approxime(n).length(), 2u);
    EXPECT_EQ(segment.approxime(ERLimites(0.25, 2.0), 1e-9).length(), 2u);
    expectNear(segment.normal(nan), ERVector2D(-1, 2).getnormalized());
}

TEST(Segment, FootOutsideLeavesAHeightOverTheLine) {
    const ERSegment2D segment({1, 1}, {5, 1});
    ERVec<double> parameters(1, 9.0);
    double height = 0.0;
    EXPECT_EQ(segment.ProjectPoint(ERPoint2D(2, 4), parameters, height), 2);
    EXPECT_EQ(parameters[1], 0.25);
    EXPECT_EQ(height, 3.0);
    EXPECT_EQ(segment.ProjectPoint(ERPoint2D(8, -1), parameters, height), 2);
    EXPECT_EQ(height, 2.0);
    const ERSegment3D point({1, 1, 1}, {1, 1, 1});
    EXPECT_EQ(point.ProjectPoint(ERPoint3D(1, 1, 5), parameters, height), 2);
    EXPECT_EQ(height, 4.0);
}

// What the segment declares does not replace what the frame calls.
TEST(Segment, FrameKeepsItsOwnClosureAndProjection) {
    const ERSegment2D segment({1, 1}, {1, 1});
    const ERFiniteEntity2DWF& curve = segment;
    EXPECT_EQ(segment.isClosed(), 0);
    EXPECT_EQ(curve.isClosed(0.0), 1);
    ERVec<double> parameters;
    EXPECT_EQ(curve.ProjectPoint(ERPoint2D(1, 1), parameters, 1.0), 0);
    EXPECT_EQ(curve.intersectWith(ERPoint2D(1, 1), ERVector2D(1, 0), parameters), 0u);
    double distance = 7.0;
    EXPECT_EQ(ERSegment2D({0, 0}, {1, 0}).SignedMinimalDistance(ERPoint2D(0, 1), distance),
              EREntity::NoFootPoint);
    EXPECT_EQ(distance, 7.0);
}

// Oracle: the nearest of many points of the segment.
TEST(Segment, DistanceInSpaceIsTheLeastToItsPoints) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> draw(-3, 3);
    const auto point = [&] { return ERPoint3D(draw(random), draw(random), draw(random)); };
    for (int i = 0; i < 200; ++i) {
        const ERSegment3D segment(point(), point());
        const ERPoint3D p = point();
        double least = largest, found = -1.0;
        for (int k = 0; k <= 2000; ++k) least = std::min(least, distance(segment(k / 2000.0), p));
        EXPECT_EQ(segment.SignedMinimalDistance(p, found), EREntity::SingleNearestPoint);
        // The nearest sample is within half a step of the foot, along the segment.
        const double step = distance(segment.getP1(), segment.getP2()) / 4000;
        EXPECT_LE(found, least + 1e-12) << drawnFrom(5, i);
        EXPECT_GE(found, least - step) << drawnFrom(5, i);
    }
    double found = 0.0;
    ERSegment3D({1, 1, 1}, {1, 1, 1}).SignedMinimalDistance(ERPoint3D(1, 4, 5), found);
    EXPECT_EQ(found, 5.0);
}

TEST(Segment, CrossingsWithPlanesAreLengthsUpToOne) {
    ERVec<double> lengths(1, 9.0);
    const ERSegment3D upright({0, 0, 0}, {0, 0, 4});
    EXPECT_EQ(upright.intersectWithPlanZ(0.75, lengths), 2u);
    EXPECT_EQ(lengths[1], 0.75);
    EXPECT_EQ(upright.intersectWithPlanZ(2.0, lengths), 2u);
    EXPECT_EQ(ERSegment3D({0, 0, 5}, {1, 0, 5}).intersectWithPlanZ(5.0, lengths), 0u);
}

TEST(Segment, PrintsBothEnds) {
    EXPECT_EQ(printed(ERSegment2D({1, 2}, {3, 4})), "Segment 2D : P1=[1,2] P2=[3,4]\n");
    EXPECT_EQ(printed(ERSegment3D({1, 2, 3}, {4, 5, 6})), "Segment 3D : P1=[1,2,3] P2=[4,5,6]\n");
}

}  // namespace
}  // namespace kerf::test
