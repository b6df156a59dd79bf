#include "kerf/curves/spline/degree_elevation.h"  // first, so that it proves it needs nothing before it

#include "tests/curves/spline/spline_checks.h"

namespace kerf {
namespace {

using test::drawnBelow;
using test::maxDifference;
using test::Random;
using test::randomPoles;

template <class E>
class DegreeElevation : public ::testing::Test {};
TYPED_TEST_SUITE(DegreeElevation, test::PoleTypes);

TYPED_TEST(DegreeElevation, OfBezierPolesIsUndoneByReduction) {
    Random random(61);
    for (unsigned int n : {1u, 2u, 3u, 4u, 7u, 12u}) {
        SCOPED_TRACE(n);
        const auto poles = randomPoles<TypeParam>(n, random);
        auto raised = poles;
        BezierIncreaseDegree(raised, 3);
        BezierIncreaseDegree(raised);
        ASSERT_EQ(raised.length(), n + 4);
        for (double t : {0.0, 0.3, 1.0})
            EXPECT_LE(maxDifference(test::bernsteinSum(raised, t), test::bernsteinSum(poles, t)),
                      1e-14);
        for (int k = 0; k < 4; ++k) EXPECT_EQ(BezierDecreaseDegree(raised), 1);
        EXPECT_LE(maxDifference(raised, poles), 1e-11);
    }
    ERVec<TypeParam> none;
    BezierIncreaseDegree(none, 3);
    EXPECT_EQ(none.length(), 0u);
}

// A true cubic and a true quadratic cannot be reduced, but are.
TEST(DegreeReduction, TellsWhenItIsNotExact) {
    const ERPoint2D cubic[] = {{0, 0}, {1, 3}, {2, -3}, {3, 0}};
    ERVec<ERPoint2D> poles(cubic, 4);
    EXPECT_EQ(BezierDecreaseDegree(poles), 0);
    const ERPoint2D quadratic[] = {{0, 0}, {1.5, 0}, {3, 0}};  // (1.5, 4.5) and (1.5, -4.5)
    EXPECT_TRUE(poles == ERVec<ERPoint2D>(quadratic, 3));
    poles[1] = ERPoint2D(1.5, 3e-12);
    EXPECT_EQ(BezierDecreaseDegree(poles), 1);  // within the tolerance: E is 6e-12 from the end
    EXPECT_EQ(BezierDecreaseDegree(poles), 0);
    EXPECT_EQ(poles, ERVec<ERPoint2D>(1, ERPoint2D(1.5, 0)));
    EXPECT_EQ(BezierDecreaseDegree(poles), 0);
    EXPECT_EQ(poles.length(), 1u);

    // The Cartesian points are compared: these weights differ, the line stays the same point.
    const ERPole2DH point[] = {{1, 1, 1}, {4, 4, 4}};
    ERVec<ERPole2DH> rational(point, 2);
    EXPECT_EQ(BezierDecreaseDegree(rational), 1);
    EXPECT_EQ(rational[0], ERPole2DH(2.5, 2.5, 2.5));
}

// Oracle: the definition of both curves; the multiplicities of the knots.
TYPED_TEST(DegreeElevation, OfASplineLeavesTheCurve) {
    Random random(67);
    for (int round = 0; round < 60; ++round) {
        const unsigned int degree = drawnBelow(5, random);
        const auto before = test::randomSpline<TypeParam>(degree, random, round % 4 != 0);
        auto after = before;
        Prautzsch(after.poles, after.knots, degree);
        after.degree = degree + 1;
        SCOPED_TRACE(testing::Message() << "round " << round << "\n" << before.knots);
        ASSERT_EQ(after.knots.degree(), degree + 1);
        ASSERT_TRUE(after.knots.fits(after.poles.length()));
        EXPECT_LE(test::maxDistance(before, after, before.start(), before.end()), 1e-13);
        if (before.knots.isUnclamped() == 0) {
            auto knots = before.knots;
            knots.incDegree(1);
            EXPECT_TRUE(after.knots.getVec() == knots.getVec());
        }
    }
}

// Knots that stand more often than their poles are read, outside and inside.
TEST(DegreeElevationOfASpline, DropsWhatNothingReads) {
    const double values[] = {0, 0, 0, 1, 1, 1, 2, 2, 2, 2};
    test::Spline<ERPoint2D> before;
    Random random(71);
    before.degree = 1;
    before.knots = ERKnotVector(1, values, 10);
    before.poles = randomPoles<ERPoint2D>(8, random);
    auto after = before;
    Prautzsch(after.poles, after.knots, 1);
    after.degree = 2;
    EXPECT_EQ(after.knots.length(), 9u);
    EXPECT_LE(test::maxDistance(before, after, 0, 2), 1e-14);
}

}  // namespace
}  // namespace kerf
