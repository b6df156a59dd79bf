#include "kerf/values/polygon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace kerf {
namespace {

using Int = std::int64_t;

struct IntPoint {
    Int x, y;
    bool operator==(const IntPoint&) const = default;
};

ERPoint2D asPoint(const IntPoint& p) {
    return ERPoint2D(static_cast<double>(p.x), static_cast<double>(p.y));
}

std::vector<ERPoint2D> asPoints(const std::vector<IntPoint>& ints) {
    std::vector<ERPoint2D> points;
    for (const IntPoint& p : ints) points.push_back(asPoint(p));
    return points;
}

ERVec<ERPoint2D> asVector(const std::vector<IntPoint>& ints) {
    const std::vector<ERPoint2D> points = asPoints(ints);
    return ERVec<ERPoint2D>(points.data(), static_cast<unsigned int>(points.size()));
}

std::vector<IntPoint> grid(Int first, Int last, Int step) {
    std::vector<IntPoint> points;
    for (Int x = first; x <= last; x += step) {
        for (Int y = first; y <= last; y += step) points.push_back({x, y});
    }
    return points;
}

// Twice the signed area: its sign is the exact orientation.
Int area(const IntPoint& a, const IntPoint& b, const IntPoint& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

int sign(Int value) { return value > 0 ? 1 : value < 0 ? -1 : 0; }

bool onSegment(const IntPoint& a, const IntPoint& b, const IntPoint& p) {
    return area(a, b, p) == 0 && std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) &&
           std::min(a.y, b.y) <= p.y && p.y <= std::max(a.y, b.y);
}

TEST(Ccw, IsExactOnAGrid) {
    const std::vector<IntPoint> points = grid(0, 4, 1);
    for (const IntPoint& a : points) {
        for (const IntPoint& b : points) {
            for (const IntPoint& p : points) {
                int expected = sign(area(a, b, p));
                if (expected == 0 && !onSegment(a, b, p)) {
                    const Int ahead = (b.x - a.x) * (p.x - a.x) + (b.y - a.y) * (p.y - a.y);
                    expected = ahead < 0 ? -1 : 1;
                }
                ASSERT_EQ(ccw(asPoint(a), asPoint(b), asPoint(p), 0.0), expected);
                ASSERT_EQ(ccw(asPoint(a), asPoint(b), asPoint(p), 1e-10), expected);
            }
        }
    }
}

TEST(Ccw, TheToleranceIsAnArea) {
    const ERPoint2D a(0, 0), b(4, 0);
    EXPECT_EQ(ccw(a, b, ERPoint2D(2, 0.25), 1.0), 0);  // area 1: on the bound
    EXPECT_EQ(ccw(a, b, ERPoint2D(2, 0.2501), 1.0), 1);
    EXPECT_EQ(ccw(a, b, ERPoint2D(2, -0.2501), 1.0), -1);
    EXPECT_EQ(ccw(a, b, ERPoint2D(-0.25, 0), 1.0), 0);
    EXPECT_EQ(ccw(a, b, ERPoint2D(-0.26, 0), 1.0), -1);
    EXPECT_EQ(ccw(a, b, ERPoint2D(4.12, 0), 1.0), 0);  // 4.12^2 < 17
    EXPECT_EQ(ccw(a, b, ERPoint2D(4.13, 0), 1.0), 1);
}

bool segmentsTouch(const IntPoint& a, const IntPoint& b, const IntPoint& c, const IntPoint& d) {
    if (onSegment(a, b, c) || onSegment(a, b, d) || onSegment(c, d, a) || onSegment(c, d, b)) {
        return true;
    }
    return sign(area(a, b, c)) * sign(area(a, b, d)) < 0 &&
           sign(area(c, d, a)) * sign(area(c, d, b)) < 0;
}

TEST(Intersect, IsExactOnAGrid) {
    const std::vector<IntPoint> points = grid(0, 3, 1);
    for (const IntPoint& a : points) {
        for (const IntPoint& b : points) {
            for (const IntPoint& c : points) {
                for (const IntPoint& d : points) {
                    bool expected = segmentsTouch(a, b, c, d);
                    // A segment of one point meets another only at that one's ends.
                    if (a == b) expected = a == c || a == d;
                    if (c == d) expected = c == a || c == b;
                    ASSERT_EQ(Intersect(asPoint(a), asPoint(b), asPoint(c), asPoint(d)), expected)
                        << a.x << a.y << " " << b.x << b.y << " " << c.x << c.y << " " << d.x
                        << d.y;
                }
            }
        }
    }
}

// Published pairs: JTS Topology Suite, RobustLineIntersectorTest.java; flatten-js.
TEST(Intersect, PublishedPairs) {
    const struct {
        ERPoint2D a, b, c, d;
        int expected;
    } pairs[] = {{{10, 10}, {20, 20}, {20, 10}, {10, 20}, 1},
                 {{10, 10}, {20, 10}, {22, 10}, {30, 10}, 0},
                 {{10, 10}, {20, 10}, {15, 10}, {30, 10}, 1},
                 {{190, 50}, {120, 100}, {120, 100}, {50, 150}, 1},
                 {{180, 200}, {160, 180}, {220, 240}, {140, 160}, 1},
                 {{30, 10}, {30, 30}, {10, 10}, {90, 11}, 1},
                 {{10, 30}, {10, 0}, {11, 90}, {10, 10}, 1},
                 {{0, 0}, {2, 2}, {0.5, 1.5}, {-2, -4}, 0},
                 {{11335.229832925092, 4254.81399998397},
                  {11335.571, 3628.053},
                  {11335.571, 3628},
                  {11335.23, 4254.814},
                  1}};
    for (const auto& pair : pairs) {
        EXPECT_EQ(Intersect(pair.a, pair.b, pair.c, pair.d), pair.expected);
        EXPECT_EQ(Intersect(pair.d, pair.c, pair.a, pair.b), pair.expected);
    }
}

// Oracle: exact tests for the border, in the order in which the edges come, since a polygon that
// touches itself may have a vertex on another edge; and the crossing number by signed areas.
int exactInside(const IntPoint& p, const std::vector<IntPoint>& polygon) {
    const std::size_t n = polygon.size();
    if (p == polygon[0]) return OnVertex;
    bool odd = false;
    for (std::size_t i = 0; i < n; ++i) {
        IntPoint a = polygon[i], b = polygon[(i + 1) % n];
        if (p == b) return OnVertex;
        if (onSegment(a, b, p)) return OnEdge;
        if (a.y > b.y) std::swap(a, b);
        if (a.y <= p.y && p.y < b.y && area(a, b, p) > 0) odd = !odd;
    }
    return odd ? InsidePolygon : OutsidePolygon;
}

void expectExactlyInside(const std::vector<IntPoint>& polygon,
                         const std::vector<IntPoint>& probes) {
    std::vector<ERPoint2D> points = asPoints(polygon);
    const int n = static_cast<int>(points.size());
    points.push_back(points[0]);
    for (const IntPoint& p : probes) {
        const int expected = exactInside(p, polygon);
        ASSERT_EQ(Inside(asPoint(p), points.data(), n), expected) << p.x << "," << p.y;
        ASSERT_EQ(Inside(asPoint(p), points.data(), n + 1), expected) << p.x << "," << p.y;
    }
}

TEST(Inside, IsExactForEveryTriangleOfAGrid) {
    const std::vector<IntPoint> corners = grid(0, 6, 2), probes = grid(-1, 7, 1);
    for (const IntPoint& a : corners) {
        for (const IntPoint& b : corners) {
            for (const IntPoint& c : corners) expectExactlyInside({a, b, c}, probes);
        }
    }
}

TEST(Inside, IsExactForEveryQuadrangleOfAGrid) {
    const std::vector<IntPoint> corners = grid(0, 4, 2), probes = grid(0, 5, 1);
    for (const IntPoint& a : corners) {
        for (const IntPoint& b : corners) {
            for (const IntPoint& c : corners) {
                for (const IntPoint& d : corners) expectExactlyInside({a, b, c, d}, probes);
            }
        }
    }
}

TEST(Inside, IsExactForRandomPolygons) {
    std::mt19937 random(5);
    std::uniform_int_distribution<Int> coordinate(0, 12);
    const std::vector<IntPoint> probes = grid(-1, 13, 1);
    for (int i = 0; i < 400; ++i) {
        std::vector<IntPoint> polygon(5 + static_cast<std::size_t>(i % 9));
        for (IntPoint& p : polygon) p = {coordinate(random), coordinate(random)};
        expectExactlyInside(polygon, probes);
    }
}

TEST(Inside, PolygonsOfFewPoints) {
    const ERPoint2D points[] = {{0, 0}, {4, 2}, {0, 0}};
    EXPECT_EQ(Inside(ERPoint2D(0, 0), ERVec<ERPoint2D>()), OutsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(0, 0), points, 1), OnVertex);
    EXPECT_EQ(Inside(ERPoint2D(-1, 0), points, 1), OutsidePolygon);
    for (const int n : {2, 3}) {
        EXPECT_EQ(Inside(ERPoint2D(2, 1), points, n), OnEdge);
        EXPECT_EQ(Inside(ERPoint2D(4, 2), points, n), OnVertex);
        EXPECT_EQ(Inside(ERPoint2D(0, 1), points, n), OutsidePolygon);
    }
    EXPECT_EQ(Inside(ERPoint2D(2, 1), points, 2, 1), OnEdge);  // the last argument is not read
}

// The exact skips come first: the tolerance reaches to the left of an edge, nowhere else.
TEST(Inside, TheToleranceComesAfterTheSkips) {
    const ERPoint2D square[] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    const double off = 1e-11;
    EXPECT_EQ(Inside(ERPoint2D(-off, 0.5), square, 4), OnEdge);
    EXPECT_EQ(Inside(ERPoint2D(1 - off, 0.5), square, 4), OnEdge);
    EXPECT_EQ(Inside(ERPoint2D(-2e-10, 0.5), square, 4), OutsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(1 - 2e-10, 0.5), square, 4), InsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(off, 0.5), square, 4), InsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(1 + off, 0.5), square, 4), OutsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(0.5, off), square, 4), InsidePolygon);
    EXPECT_EQ(Inside(ERPoint2D(0.5, -off), square, 4), OutsidePolygon);
}

// Published locations: JTS Topology Suite, AbstractPointInRingTest.java (comb, repeated points).
TEST(Inside, PublishedLocations) {
    const std::vector<IntPoint> comb = {{0, 0},   {0, 10},  {4, 5},   {6, 10}, {7, 5},   {9, 10},
                                        {10, 5},  {13, 5},  {15, 10}, {16, 3}, {17, 10}, {18, 3},
                                        {25, 10}, {30, 10}, {30, 0},  {15, 0}, {14, 5},  {13, 0},
                                        {9, 0},   {8, 5},   {6, 0},   {0, 0}};
    const std::vector<IntPoint> repeated = {{0, 0},  {0, 10}, {2, 5},  {2, 5}, {2, 5},
                                            {3, 10}, {6, 10}, {8, 5},  {8, 5}, {10, 10},
                                            {10, 5}, {10, 5}, {10, 0}, {0, 0}};
    const struct {
        const std::vector<IntPoint>& polygon;
        IntPoint p;
        relpos expected;
    } cases[] = {{comb, {0, 0}, OnVertex},         {comb, {0, 1}, OnEdge},
                 {comb, {4, 5}, OnVertex},         {comb, {8, 5}, OnVertex},
                 {comb, {11, 5}, OnEdge},          {comb, {30, 5}, OnEdge},
                 {comb, {22, 7}, OnEdge},          {comb, {1, 5}, InsidePolygon},
                 {comb, {5, 5}, InsidePolygon},    {comb, {1, 7}, InsidePolygon},
                 {comb, {12, 10}, OutsidePolygon}, {comb, {16, 5}, OutsidePolygon},
                 {comb, {35, 5}, OutsidePolygon},  {repeated, {2, 5}, OnVertex},
                 {repeated, {0, 1}, OnEdge},       {repeated, {1, 5}, InsidePolygon},
                 {repeated, {3, 5}, InsidePolygon}};
    for (const auto& c : cases) {
        EXPECT_EQ(Inside(asPoint(c.p), asVector(c.polygon)), c.expected) << c.p.x << "," << c.p.y;
    }
}

TEST(PseudoTheta, OrdersDirectionsAsTheirAngles) {
    const ERPoint2D centre(0.5, -2);
    EXPECT_EQ(PseudoTheta(centre, centre), 0.0);
    double before = -1.0;
    for (int degrees = 0; degrees < 360; ++degrees) {
        const double angle = degrees * std::acos(-1.0) / 180.0;
        const double theta =
            PseudoTheta(centre, centre + ERPoint2D(3 * std::cos(angle), 3 * std::sin(angle)));
        EXPECT_GT(theta, before) << degrees;
        EXPECT_NEAR(theta, degrees, 4.1);  // the largest departure from the angle is 4.07
        before = theta;
    }
    const ERPoint2D o(0, 0);
    const ERPoint2D eighths[] = {{1, 0},  {1, 1},   {0, 1},  {-1, 1},
                                 {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(PseudoTheta(o, eighths[i]), 45.0 * i);
}

// Oracle: gift wrapping over exact areas, from the same pivot; of points in line the nearest comes
// next. Those in line with the pivot on the way back to it are then dropped.
std::vector<IntPoint> wrap(std::vector<IntPoint> points) {
    const auto order = [](const IntPoint& a, const IntPoint& b) {
        return a.y != b.y ? a.y < b.y : a.x > b.x;
    };
    std::sort(points.begin(), points.end(), order);
    points.erase(std::unique(points.begin(), points.end()), points.end());
    const IntPoint pivot = points[0];
    const auto distance = [](const IntPoint& a, const IntPoint& b) {
        return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
    };
    const bool inLine = std::all_of(points.begin(), points.end(), [&](const IntPoint& p) {
        return area(pivot, points.back(), p) == 0;
    });
    if (inLine) {
        std::sort(points.begin(), points.end(), [&](const IntPoint& a, const IntPoint& b) {
            return distance(pivot, a) < distance(pivot, b);
        });
        return points.size() < 3 ? std::vector<IntPoint>() : points;
    }
    std::vector<IntPoint> hull = {pivot};
    for (IntPoint before = pivot, at = pivot;;) {
        const IntPoint* next = nullptr;
        for (const IntPoint& p : points) {
            if (p == at) continue;
            if (area(before, at, p) == 0 &&
                (at.x - before.x) * (p.x - at.x) + (at.y - before.y) * (p.y - at.y) < 0) {
                continue;  // back along the side
            }
            const Int side = next == nullptr ? -1 : area(at, *next, p);
            if (side < 0 || (side == 0 && distance(at, p) < distance(at, *next))) next = &p;
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
    for (int i = 0; i < 20000; ++i) {
        const Int size = 1 + i % 7;  // small grids are full of repeated points and points in line
        std::uniform_int_distribution<Int> x(-size, size), y(-(i % 3) * size, size);
        std::vector<IntPoint> points(1 + static_cast<std::size_t>(random() % 24));
        for (IntPoint& p : points) p = {x(random), y(random)};
        const std::vector<IntPoint> expected = wrap(points);
        const ERVec<ERPoint2D> hull = CalculateConvexeHull(asVector(points));
        ASSERT_EQ(hull.length(), expected.size()) << i;
        for (unsigned int k = 0; k < hull.length(); ++k) {
            ASSERT_TRUE(hull[k] == asPoint(expected[k])) << i << " corner " << k;
        }
    }
}

TEST(ConvexHull, PointsInLineStayButOnTheLastSide) {
    const std::vector<IntPoint> frame = {{0, 0}, {1, 0}, {2, 0}, {2, 1},
                                         {2, 2}, {1, 2}, {0, 2}, {0, 1}};
    const ERVec<ERPoint2D> given = asVector(frame);
    const ERVec<ERPoint2D> hull = CalculateConvexeHull(given);
    const ERPoint2D expected[] = {{2, 0}, {2, 1}, {2, 2}, {1, 2}, {0, 2}, {0, 1}, {0, 0}};
    ASSERT_EQ(hull.length(), 7u);
    for (unsigned int i = 0; i < 7; ++i) EXPECT_TRUE(hull[i] == expected[i]) << i;
    for (unsigned int i = 0; i < 8; ++i) EXPECT_TRUE(given[i] == asPoint(frame[i]));
}

TEST(ConvexHull, PointsCloserThanTheToleranceCountOnce) {
    const double off = 1e-12;
    const ERPoint2D triangle[] = {{0, 0}, {off, 0}, {4, 0}, {4, off}, {0, 3}, {off, 3}};
    EXPECT_EQ(CalculateConvexeHull(ERVec<ERPoint2D>(triangle, 6)).length(), 3u);
    const ERPoint2D spot[] = {{0, 0}, {off, 0}, {0, off}, {0, 0}};
    EXPECT_EQ(CalculateConvexeHull(ERVec<ERPoint2D>(spot, 4)).length(), 0u);
    EXPECT_EQ(CalculateConvexeHull(ERVec<ERPoint2D>()).length(), 0u);
}

TEST(ConvexHull, HoldsItsPointsAtEveryScale) {
    std::mt19937 random(23);
    std::normal_distribution<double> normal;
    for (const double scale : {1e-3, 1.0, 1e6, 1e150}) {
        std::vector<ERPoint2D> points;
        for (int i = 0; i < 2000; ++i) {
            points.emplace_back(scale * normal(random), scale * normal(random));
        }
        const ERVec<ERPoint2D> hull = CalculateConvexeHull(
            ERVec<ERPoint2D>(points.data(), static_cast<unsigned int>(points.size())));
        ASSERT_GE(hull.length(), 3u);
        for (unsigned int i = 0; i < hull.length(); ++i) {
            const ERPoint2D& a = hull[i];
            const ERPoint2D& b = hull[(i + 1) % hull.length()];
            for (const ERPoint2D& p : points) {
                const ERPoint2D d = (b - a) / scale, e = (p - a) / scale;
                ASSERT_GE(d.x() * e.y() - d.y() * e.x(), -1e-14);
            }
        }
    }
}

TEST(PolygonPredicates, WildCoordinatesEnd) {
    const double wild[] = {std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity(),
                           1.7e308,
                           -1.7e308,
                           5e-324,
                           0.0,
                           1.0,
                           -2.0};
    std::mt19937 random(29);
    std::uniform_int_distribution<int> pick(0, 8);
    for (int i = 0; i < 3000; ++i) {
        std::vector<ERPoint2D> points(static_cast<std::size_t>(i % 60));
        for (ERPoint2D& p : points) p = ERPoint2D(wild[pick(random)], wild[pick(random)]);
        const ERVec<ERPoint2D> given(points.data(), static_cast<unsigned int>(points.size()));
        const ERVec<ERPoint2D> hull = CalculateConvexeHull(given);
        ASSERT_LE(hull.length(), given.length());
        for (unsigned int k = 0; k < hull.length(); ++k) {  // every corner is one of the points
            ASSERT_TRUE(std::any_of(points.begin(), points.end(), [&](const ERPoint2D& p) {
                return std::memcmp(&p, &hull[k], sizeof p) == 0;
            }));
        }
        const ERPoint2D p(wild[pick(random)], wild[pick(random)]);
        const int position = Inside(p, given);
        ASSERT_TRUE(position >= InsidePolygon && position <= OutsidePolygon);
    }
}

}  // namespace
}  // namespace kerf
