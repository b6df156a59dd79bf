#include "kerf/values/polygon.h"

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

int sign(double value) { return value > 0 ? 1 : value < 0 ? -1 : 0; }

// The scalar product of b - a and d - c.
double dot(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, const ERPoint2D& d) {
    return (b.x() - a.x()) * (d.x() - c.x()) + (b.y() - a.y()) * (d.y() - c.y());
}

bool onSegment(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    return area(a, b, p) == 0 && dot(p, a, p, b) <= 0;
}

TEST(Ccw, IsExactOnAGridAndItsToleranceIsAnArea) {
    const std::vector<ERPoint2D> points = grid(0, 4);
    for (const ERPoint2D& a : points)
        for (const ERPoint2D& b : points)
            for (const ERPoint2D& p : points) {
                int expected = sign(area(a, b, p));
                if (expected == 0 && !onSegment(a, b, p)) expected = dot(a, b, a, p) < 0 ? -1 : 1;
                ASSERT_EQ(ccw(a, b, p, 1e-10), expected);
            }
    const ERPoint2D a(0, 0), b(4, 0);
    const std::pair<ERPoint2D, int> cases[] = {{{2, 0.25}, 0},  // area 1: on the bound
                                               {{2, 0.2501}, 1}, {{2, -0.2501}, -1},
                                               {{-0.25, 0}, 0},  {{-0.26, 0}, -1},
                                               {{4.12, 0}, 0},  // 4.12^2 < 17
                                               {{4.13, 0}, 1}};
    for (const auto& [p, expected] : cases) EXPECT_EQ(ccw(a, b, p, 1.0), expected) << p;
}

bool segmentsTouch(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, const ERPoint2D& d) {
    // A segment of one point meets another only at that one's ends.
    if (c == d) return c == a || c == b;
    if (a == b) return a == c || a == d;
    return onSegment(a, b, c) || onSegment(a, b, d) || onSegment(c, d, a) || onSegment(c, d, b) ||
           (sign(area(a, b, c)) * sign(area(a, b, d)) < 0 &&
            sign(area(c, d, a)) * sign(area(c, d, b)) < 0);
}

TEST(Intersect, IsExactOnAGrid) {
    const std::vector<ERPoint2D> points = grid(0, 3);
    for (const ERPoint2D& a : points)
        for (const ERPoint2D& b : points)
            for (const ERPoint2D& c : points)
                for (const ERPoint2D& d : points)
                    ASSERT_EQ(Intersect(a, b, c, d), segmentsTouch(a, b, c, d)) << a << b << c << d;
    // A published hard pair: JTS Topology Suite, RobustLineIntersectorTest.java.
    EXPECT_EQ(Intersect({11335.229832925092, 4254.81399998397}, {11335.571, 3628.053},
                        {11335.571, 3628}, {11335.23, 4254.814}),
              1);
}

// Oracle: exact tests for the border, in the order in which the edges come, since a polygon that
// touches itself may have a vertex on another edge; and the crossing number by signed areas.
int exactInside(const ERPoint2D& p, const std::vector<ERPoint2D>& polygon) {
    if (p == polygon[0]) return OnVertex;
    bool odd = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        ERPoint2D a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        if (p == b) return OnVertex;
        if (onSegment(a, b, p)) return OnEdge;
        if (a.y() > b.y()) std::swap(a, b);
        if (a.y() <= p.y() && p.y() < b.y() && area(a, b, p) > 0) odd = !odd;
    }
    return odd ? InsidePolygon : OutsidePolygon;
}

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
        std::vector<ERPoint2D> polygon(3 + static_cast<std::size_t>(i % 11));
        for (ERPoint2D& p : polygon) p = randomGridPoint(random, 13);
        expectExactlyInside(polygon, wide);
    }
}

TEST(Inside, TakesFewPointsAndReachesToTheLeftOfAnEdgeOnly) {
    const ERPoint2D points[] = {{0, 0}, {4, 2}, {0, 0}};
    EXPECT_EQ(Inside(ERPoint2D(0, 0), ERVec<ERPoint2D>()), OutsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(0, 0), points, 1), OnVertex);
    EXPECT_EQ(Inside(ERPoint2D(2, 1), points, 3, 1), OnEdge);  // the last is not read
    // The tolerance comes after the exact skips.
    const ERPoint2D square[] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    EXPECT_EQ(Inside(ERPoint2D(1 - 1e-11, 0.5), square, 4), OnEdge);
    EXPECT_EQ(Inside(ERPoint2D(1e-11, 0.5), square, 4), InsidePolygon);
}

TEST(PseudoTheta, OrdersDirectionsAsTheirAngles) {
    const ERPoint2D centre(0.5, -2);
    double before = -1.0;
    for (int degrees = 0; degrees < 360; ++degrees) {
        const double angle = degrees * pi / 180.0;
        const double theta =
            PseudoTheta(centre, centre + ERPoint2D(3 * std::cos(angle), 3 * std::sin(angle)));
        EXPECT_GT(theta, before) << degrees;
        EXPECT_NEAR(theta, degrees, degrees % 45 ? 4.1 : 1e-12);  // the largest departure is 4.07
        before = theta;
    }
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
        std::vector<ERPoint2D> points(1 + static_cast<std::size_t>(random() % 24));
        for (ERPoint2D& p : points) p = randomGridPoint(random, size);
        const std::vector<ERPoint2D> expected = wrap(points);
        const ERVec<ERPoint2D> given = vectorOf(points), hull = CalculateConvexeHull(given);
        ASSERT_EQ(hull, vectorOf(expected)) << i;
        ASSERT_EQ(given, vectorOf(points));
    }
    const double off = 1e-12;  // closer than the tolerance: counts once
    const ERPoint2D near[] = {{4, 0}, {4, off}, {0, 3}, {off, 3}, {0, 0}, {off, 0}, {0, off}};
    EXPECT_EQ(CalculateConvexeHull(ERVec<ERPoint2D>(near, 6)).length(), 3u);
    EXPECT_EQ(CalculateConvexeHull(ERVec<ERPoint2D>()).length(), 0u);
}

TEST(PolygonPredicates, WildCoordinatesEnd) {
    std::mt19937 random(29);
    for (int i = 0; i < 3000; ++i) {
        ERVec<ERPoint2D> given(static_cast<unsigned int>(i % 60));
        for (ERPoint2D& p : given) p = wildPoint(random);
        const ERVec<ERPoint2D> hull = CalculateConvexeHull(given);
        ASSERT_LE(hull.length(), given.length());
        Inside(wildPoint(random), given);
    }
}

}  // namespace
}  // namespace kerf
