#include "kerf/values/polygon.h"

#include "tests/support/polygon_oracle.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

void expectExactlyInside(const std::vector<ERPoint2D>& polygon,
                         const std::vector<ERPoint2D>& probes) {
    ERVec<ERPoint2D> points = vectorOf(polygon), closed = points;
    closed.append(points[0], 1);
    for (const ERPoint2D& p : probes) {
        const int expected = exactInside(p, polygon);
        ASSERT_EQ(Inside(p, points), expected) << p;
        ASSERT_EQ(Inside(p, closed), expected) << p;
    }
}

TEST(Inside, IsExactForEveryQuadrangleOfAGridAndForRandomPolygons) {
    const std::vector<ERPoint2D> corners = grid(0, 4, 2), near = grid(-1, 5), wide = grid(-1, 13);
    for (std::size_t i = 0; i < 9 * 9 * 9 * 9; ++i) {
        expectExactlyInside(
            {corners[i % 9], corners[i / 9 % 9], corners[i / 81 % 9], corners[i / 729]}, near);
    }
    std::mt19937 random(5);
    for (int i = 0; i < 400; ++i) {
        SCOPED_TRACE(drawnFrom(5, i));
        std::vector<ERPoint2D> polygon(3 + static_cast<std::size_t>(i % 11));
        for (ERPoint2D& p : polygon) p = randomGridPoint(random, 13);
        expectExactlyInside(polygon, wide);
    }
}

// Kept: the exact tests come first, so the tolerance of an edge reaches to its left only.
TEST(Inside, TheToleranceOfAnEdgeReachesToItsLeftOnly) {
    const ERPoint2D square[] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    EXPECT_EQ(Inside(ERPoint2D(1 - 1e-11, 0.5), square, 4), OnEdge);
    EXPECT_EQ(Inside(ERPoint2D(1e-11, 0.5), square, 4), InsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(0, 0), square, 0), OutsidePolygon);
}

TEST(Ccw, ItsToleranceIsAnArea) {
    const ERPoint2D a(0, 0), b(4, 0);
    EXPECT_EQ(ccw(a, b, ERPoint2D(2, 0.25), 1.0), 0);  // area 1: on the bound
    EXPECT_EQ(ccw(a, b, ERPoint2D(2, 0.2501), 1.0), 1);
    EXPECT_EQ(ccw(a, b, ERPoint2D(-0.26, 0), 1.0), -1);
    EXPECT_EQ(ccw(a, b, ERPoint2D(4.12, 0), 1.0), 0);  // 4.12^2 < 17
    EXPECT_EQ(ccw(a, b, ERPoint2D(4.13, 0), 1.0), 1);
}

// Oracle: gift wrapping over exact areas, from the same pivot; of points in line the nearest comes
// next. Those in line with the pivot on the way back to it are then dropped.
std::vector<ERPoint2D> wrap(std::vector<ERPoint2D> points) {
    std::sort(points.begin(), points.end(), [](const ERPoint2D& a, const ERPoint2D& b) {
        return a.y() != b.y() ? a.y() < b.y() : a.x() > b.x();
    });
    points.erase(std::unique(points.begin(), points.end()), points.end());
    const ERPoint2D pivot = points[0];
    const bool inLine = std::all_of(points.begin(), points.end(), [&](const ERPoint2D& p) {
        return area(pivot, points.back(), p) == 0;
    });
    // All lie in one direction of the pivot, in the order of their distances.
    if (inLine) return points.size() < 3 ? std::vector<ERPoint2D>() : points;
    std::vector<ERPoint2D> hull = {pivot};
    for (ERPoint2D before = pivot, at = pivot;;) {
        const ERPoint2D* next = nullptr;
        for (const ERPoint2D& p : points) {
            if (p == at) continue;
            if (area(before, at, p) == 0 && dot(before, at, at, p) < 0) continue;  // back
            const double side = next == nullptr ? -1 : area(at, *next, p);
            if (side < 0 || (side == 0 && dot(at, p, at, p) < dot(at, *next, at, *next))) next = &p;
        }
        before = at;
        at = *next;
        if (at == pivot) break;
        hull.push_back(at);
    }
    while (area(hull[hull.size() - 2], hull.back(), pivot) == 0) hull.pop_back();
    return hull;
}

TEST(ConvexHull, IsThatOfGiftWrapping) {
    std::mt19937 random(19);
    for (unsigned int i = 0; i < 20000; ++i) {
        const unsigned int size = 2 + i % 14;  // small grids are full of repeated points and lines
        // On both sides of the number up to which no memory is taken.
        std::vector<ERPoint2D> points(1 + static_cast<std::size_t>(random() % 24) * (1 + i % 2));
        for (ERPoint2D& p : points) p = randomGridPoint(random, size);
        const std::vector<ERPoint2D> expected = wrap(points);
        const ERVec<ERPoint2D> given = vectorOf(points), hull = CalculateConvexeHull(given);
        ASSERT_EQ(hull, vectorOf(expected)) << drawnFrom(19, static_cast<int>(i));
        ASSERT_EQ(given, vectorOf(points));
        // In place.
        points.resize(convexHull(points.data(), given.length(), points.data()));
        ASSERT_EQ(points, expected) << drawnFrom(19, static_cast<int>(i));
    }
}

// Many points: those in the middle are left out, the others sorted in buckets.
TEST(ConvexHull, OfManyPointsIsThatOfGiftWrapping) {
    std::mt19937 random(23);
    for (int i = 0; i < 12; ++i) {
        std::vector<ERPoint2D> points(3000);
        for (ERPoint2D& p : points) {
            p = randomGridPoint(random, i % 2 == 0 ? 40 : 5000);
            if (i % 4 > 1) p.y() = p.x() * p.x();  // all are corners
            if (i > 8) p = p - ERPoint2D(1e9, 3e8);
        }
        const ERVec<ERPoint2D> hull = CalculateConvexeHull(vectorOf(points));
        ASSERT_EQ(hull, vectorOf(wrap(points))) << drawnFrom(23, i);
    }
}

TEST(ConvexHull, PointsCloserThanTheToleranceCountOnce) {
    const double off = 1e-12;
    const ERPoint2D near[] = {{4, 0}, {4, off}, {0, 3}, {off, 3}, {0, 0}, {off, 0}, {0, off}};
    EXPECT_EQ(CalculateConvexeHull(ERVec<ERPoint2D>(near, 6)).length(), 3u);
    EXPECT_EQ(CalculateConvexeHull(ERVec<ERPoint2D>()).length(), 0u);
}

// Oracle: where the distance to p is least along the line of the edge, by ternary search.
double leastDistanceAt(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    double from = -50, to = 51;
    for (int i = 0; i < 200; ++i) {
        const double u = from + (to - from) / 3, v = to - (to - from) / 3;
        (distance2(a + (b - a) * u, p) > distance2(a + (b - a) * v, p) ? from : to) =
            distance2(a + (b - a) * u, p) > distance2(a + (b - a) * v, p) ? u : v;
    }
    return (from + to) / 2;
}

TEST(Projections, AreTheFeetOnTheEdgesFoundBySearch) {
    std::mt19937 random(29);
    for (int draw = 0; draw < 300; ++draw) {
        SCOPED_TRACE(drawnFrom(29, draw));
        std::vector<ERPoint2D> vertices(3 + random() % 4);
        for (ERPoint2D& v : vertices) v = randomGridPoint(random, 40);
        const ERPoint2D p = randomGridPoint(random, 40) + ERPoint2D(0.37, 0.59);
        const double offset = draw % 3 - 1.0 + draw % 2 * 9.0, reach = draw % 4 * 7.0;
        unsigned int nearest = ~0U;
        double bestError = 1e9;
        std::vector<double> expected;
        int previous = 0;
        for (unsigned int i = 0; i < vertices.size(); ++i) {
            const ERPoint2D a = vertices[i], b = vertices[(i + 1) % vertices.size()];
            if (a == b) continue;
            const double u = leastDistanceAt(p, a, b);
            const int side = u < 0 ? -1 : u > 1 ? 1 : 0;
            const double far = distance(a + (b - a) * u, p), toCorner = distance(a, p);
            if (side == 0 && std::fabs(far - std::fabs(offset)) < bestError - 1e-9) {
                bestError = std::fabs(far - std::fabs(offset));
                nearest = i;
            }
            if (i + 1 < vertices.size()) {
                if (side == 0 && (reach == 0 || far <= reach)) expected.push_back(u + i);
                if (side == -1 && previous == 1 && (reach == 0 || toCorner <= reach))
                    expected.push_back(i);
            }
            previous = side;
        }

        ERPoint2D foot(-7, -7);
        ASSERT_EQ(findProjection(p, vectorOf(vertices), foot, offset), nearest);
        if (nearest == ~0U)
            EXPECT_EQ(foot, ERPoint2D(-7, -7));
        else
            EXPECT_NEAR(std::fabs(distance(foot, p) - std::fabs(offset)), bestError, 1e-6);

        ERVec<ERPoint2D> feet{ERPoint2D()};
        ERVec<double> params;
        ASSERT_EQ(findAllProjections(p, vectorOf(vertices), feet, params, reach),
                  !expected.empty());
        ASSERT_EQ(params.length(), expected.size());
        ASSERT_EQ(feet.length(), expected.size() + 1);  // appended
        for (unsigned int i = 0; i < params.length(); ++i) {
            ASSERT_NEAR(params[i], expected[i], 1e-5);
            const unsigned int edge = static_cast<unsigned int>(expected[i]);
            const ERPoint2D a = vertices[edge], b = vertices[edge + 1];
            expectNear(feet[i + 1], a + (b - a) * (params[i] - edge), 1e-9);
        }
    }
}

TEST(Projections, CornersEndsAndShortEdges) {
    const ERPoint2D vertices[] = {{0, 0}, {4, 0}, {4, 1e-12}, {4, 4}};
    const ERVec<ERPoint2D> line(vertices, 4);
    ERVec<ERPoint2D> feet;
    ERVec<double> params;
    // Beyond the corner: the short edge is passed over. At the common end both edges count.
    EXPECT_EQ(findAllProjections(ERPoint2D(5, -1), line, feet, params, 1.5), 1);
    EXPECT_EQ(findAllProjections(ERPoint2D(4, 0), ERVec<ERPoint2D>{{0, 0}, {4, 0}, {4, 4}}, feet,
                                 params, -1.0),
              1);
    EXPECT_EQ(params, (ERVec<double>{2, 1, 1}));
    EXPECT_EQ(feet[0], vertices[2]);
    // The first point is no corner; the limit is passed; no edges; no number.
    EXPECT_EQ(findAllProjections(ERPoint2D(-1, -1), line, feet, params, 0.0), 0);
    EXPECT_EQ(findAllProjections(ERPoint2D(2, 3), line, feet, params, 1.0), 0);
    EXPECT_EQ(findAllProjections(ERPoint2D(2, 3), ERVec<ERPoint2D>(1), feet, params, 0.0), 0);
    EXPECT_EQ(findAllProjections(ERPoint2D(nan, 3), line, feet, params, 0.0), 0);
    ERPoint2D result(1, infinity);
    EXPECT_EQ(findProjection(result, line, result, 0.0), ~0U);
    EXPECT_EQ(findProjection(ERPoint2D(1, 2), ERVec<ERPoint2D>(), result, 0.0), ~0U);
    EXPECT_EQ(result, ERPoint2D(1, infinity));
}

}  // namespace
}  // namespace kerf
