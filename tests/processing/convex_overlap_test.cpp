#include "kerf/processing/convex_overlap.h"

#include "kerf/values/polygon.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

int overlap(const std::vector<ERPoint2D>& a, const std::vector<ERPoint2D>& b) {
    const int result = intersect(vectorOf(a), vectorOf(b));
    EXPECT_EQ(intersect(vectorOf(b), vectorOf(a)), result);
    return result;
}

TEST(ConvexOverlap, CountsTheBorderOfPolygonsOfAnyDirectionAndSize) {
    const std::vector<ERPoint2D> square{{0, 0}, {4, 0}, {4, 4}, {0, 4}};
    const std::vector<ERPoint2D> inner{{1, 1}, {1, 2}, {2, 2}, {2, 1}};  // clockwise
    EXPECT_EQ(overlap(square, inner), 1);
    EXPECT_EQ(overlap({square.rbegin(), square.rend()}, inner), 1);
    EXPECT_EQ(overlap(square, {{-1, 1}, {5, 1}, {5, 2}, {-1, 2}}), 1);  // a cross
    EXPECT_EQ(overlap(square, {{4, 4}, {5, 4}, {5, 5}}), 1);
    EXPECT_EQ(overlap(square, {{4, 1}, {6, 0}, {6, 2}}), 1);
    EXPECT_EQ(overlap(square, {{5, 1}, {6, 0}, {6, 2}}), 0);
    EXPECT_EQ(overlap(square, {{4.9, 3.9}, {5, 5}, {3.5, 5}}), 0);  // past a corner, boxes overlap
    EXPECT_EQ(overlap(square, {{-1, 2}, {5, 3}}), 1);
    EXPECT_EQ(overlap(square, {{2, 2}}), 1);
    EXPECT_EQ(overlap(square, {{4, 2}}), 1);
    EXPECT_EQ(overlap(square, {{5, 2}}), 0);
    EXPECT_EQ(overlap({{0, 0}, {2, 2}}, {{0, 2}, {2, 0}}), 1);
    EXPECT_EQ(overlap({{0, 0}, {2, 2}}, {{3, 3}, {4, 4}}), 0);
    EXPECT_EQ(overlap({{1, 1}}, {{1, 1}}), 1);
    EXPECT_EQ(overlap(square, {}), 0);
}

// Oracle: the whole test, of which that of hulls leaves out what an edge settles. At every scale, for
// the tolerance of an edge is an area.
TEST(ConvexOverlap, IsTheSameWhenAnEdgeSettlesThatHullsAreApart) {
    std::mt19937 random(2);
    int apart = 0;
    for (int i = 0; i < 20000; ++i) {
        SCOPED_TRACE(drawnFrom(2, i));
        const double scale = std::pow(10.0, -(i % 8));
        const auto hull = [&](double shift) {
            std::uniform_real_distribution<double> in(0.0, scale);
            ERVec<ERPoint2D> points;
            const unsigned int n = 1 + static_cast<unsigned int>(random() % 6);
            for (unsigned int k = 0; k < n; ++k) {
                const double x = in(random);
                points.append(ERPoint2D(x + shift, in(random)));
            }
            points.resize(detail::hullCorners(points.data(), n, points.data()));
            return points;
        };
        const ERVec<ERPoint2D> a = hull(0.0),
                               b = hull(scale * 0.2501 * static_cast<double>(random() % 5));
        const int expected = intersect(a, b);
        apart += 1 - expected;
        ASSERT_EQ(detail::hullsOverlap(a.data(), a.length(), b.data(), b.length()), expected == 1);
    }
    EXPECT_GT(apart, 5000);
    EXPECT_LT(apart, 15000);
}

}  // namespace
}  // namespace kerf::test
