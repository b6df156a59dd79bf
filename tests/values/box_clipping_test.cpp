#include "kerf/values/box_clipping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <utility>
#include <vector>

namespace kerf {
namespace {

using Int = std::int64_t;

struct IntPoint {
    Int x, y;
    bool operator==(const IntPoint&) const = default;
};

struct IntBox {
    Int xmin, xmax, ymin, ymax;
    ERMinimax2D box() const {
        return ERMinimax2D(static_cast<double>(xmin), static_cast<double>(xmax),
                           static_cast<double>(ymin), static_cast<double>(ymax));
    }
    bool holds(const IntPoint& p) const {
        return xmin <= p.x && p.x <= xmax && ymin <= p.y && p.y <= ymax;
    }
};

ERPoint2D asPoint(const IntPoint& p) {
    return ERPoint2D(static_cast<double>(p.x), static_cast<double>(p.y));
}

struct Fraction {
    Int num, den;  // den > 0
    bool operator<(const Fraction& o) const { return num * o.den < o.num * den; }
    double value() const { return static_cast<double>(num) / static_cast<double>(den); }
};

// Oracle: the parameters between which the segment is in the box, in exact fractions.
std::optional<std::pair<Fraction, Fraction>> partInBox(const IntPoint& a, const IntPoint& b,
                                                       const IntBox& box) {
    Fraction first{0, 1}, last{1, 1};
    const Int p[] = {a.x, a.y}, d[] = {b.x - a.x, b.y - a.y};
    const Int low[] = {box.xmin, box.ymin}, high[] = {box.xmax, box.ymax};
    for (int axis = 0; axis < 2; ++axis) {
        if (d[axis] == 0) {
            if (p[axis] < low[axis] || p[axis] > high[axis]) return std::nullopt;
            continue;
        }
        const Int sign = d[axis] > 0 ? 1 : -1;
        const Fraction in{sign * ((sign > 0 ? low : high)[axis] - p[axis]), sign * d[axis]};
        const Fraction out{sign * ((sign > 0 ? high : low)[axis] - p[axis]), sign * d[axis]};
        first = std::max(first, in);
        last = std::min(last, out);
    }
    if (last < first) return std::nullopt;
    return std::pair(first, last);
}

class SegmentAgainstBox : public ::testing::TestWithParam<IntBox> {};
INSTANTIATE_TEST_SUITE_P(Boxes, SegmentAgainstBox,
                         ::testing::Values(IntBox{0, 4, 0, 3}, IntBox{0, 4, 2, 2},
                                           IntBox{1, 1, 0, 3}, IntBox{2, 2, 2, 2}));

TEST_P(SegmentAgainstBox, EverySegmentOfTheGridIsClippedToItsPartInTheBox) {
    const IntBox& ints = GetParam();
    const ERMinimax2D box = ints.box();
    std::vector<IntPoint> grid;
    for (Int x = -3; x <= 7; ++x) {
        for (Int y = -3; y <= 6; ++y) grid.push_back({x, y});
    }
    for (const IntPoint& a : grid) {
        for (const IntPoint& b : grid) {
            SCOPED_TRACE(::testing::Message() << a.x << "," << a.y << " to " << b.x << "," << b.y);
            const ERPoint2D p = asPoint(a), q = asPoint(b);
            ERPoint2D out1, out2;
            const auto position = SutherCohen(p, q, box, out1, out2);
            ASSERT_EQ(box.positionRelative(p, q), position);
            ASSERT_EQ(box.isVisible(p, q), position != SegmentOutside);
            if (ints.holds(a) && ints.holds(b)) {
                ASSERT_EQ(position, SegmentInside);
                ASSERT_TRUE(out1 == p && out2 == q);
                continue;
            }
            const auto part = partInBox(a, b, ints);
            ASSERT_EQ(position, part ? SegmentCrossing : SegmentOutside);
            if (!part) continue;
            const ERPoint2D in = p + (q - p) * part->first.value();
            const ERPoint2D out = p + (q - p) * part->second.value();
            ASSERT_TRUE(isEqual(out1, in, 1e-14) && isEqual(out2, out, 1e-14));
            ASSERT_TRUE(box.contains(out1) && box.contains(out2));
        }
    }
}

TEST(SegmentClipping, OutputsMayBeTheInputs) {
    ERPoint2D a(-2, 1), b(8, 6);
    EXPECT_EQ(SutherCohen(a, b, ERMinimax2D(0, 4, 0, 4), a, b), SegmentCrossing);
    EXPECT_TRUE(a == ERPoint2D(0, 2) && b == ERPoint2D(4, 4));
}

TEST(SegmentClipping, CornersAreMetTwiceInOnePoint) {
    ERPoint2D p, q;
    EXPECT_EQ(SutherCohen(ERPoint2D(-1, 1), ERPoint2D(1, -1), ERMinimax2D(0, 4, 0, 4), p, q),
              SegmentCrossing);
    EXPECT_TRUE(p == ERPoint2D(0, 0) && q == p);
}

// Published polylines clipped against a box: lineclip's test.js (ISC), edge by edge.
TEST(SegmentClipping, PublishedEdges) {
    const ERMinimax2D box(0, 30, 0, 30);
    const struct {
        ERPoint2D a, b, in, out;
    } edges[] = {
        {{-10, 10}, {10, 10}, {0, 10}, {10, 10}}, {{10, 10}, {10, -10}, {10, 10}, {10, 0}},
        {{20, -10}, {20, 10}, {20, 0}, {20, 10}}, {{20, 10}, {40, 10}, {20, 10}, {30, 10}},
        {{40, 20}, {20, 20}, {30, 20}, {20, 20}}, {{20, 20}, {20, 40}, {20, 20}, {20, 30}}};
    for (const auto& edge : edges) {
        ERPoint2D in, out;
        EXPECT_EQ(SutherCohen(edge.a, edge.b, box, in, out), SegmentCrossing);
        EXPECT_TRUE(in == edge.in && out == edge.out);
    }
    EXPECT_FALSE(box.isVisible(ERPoint2D(10, -10), ERPoint2D(20, -10)));
    EXPECT_FALSE(box.isVisible(ERPoint2D(40, 10), ERPoint2D(40, 20)));
}

// Oracle: fractions for the edges, then the crossing number of the box's centre, in coordinates
// scaled by two so that it is an integer.
ER_MINMAX_POSITION_POLYGONE exactPosition(const std::vector<IntPoint>& polygon, const IntBox& box) {
    bool within = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const IntPoint& a = polygon[i];
        const IntPoint& b = polygon[(i + 1) % polygon.size()];
        if (box.holds(a) && box.holds(b)) {
            within = true;
        } else if (partInBox(a, b, box)) {
            return PolygonCrossing;
        }
    }
    if (within) return PolygonPartly;
    const IntPoint centre{box.xmin + box.xmax, box.ymin + box.ymax};
    bool odd = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        IntPoint a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        if (a.y > b.y) std::swap(a, b);
        if (2 * a.y > centre.y || 2 * b.y <= centre.y) continue;
        const Int side = (b.x - a.x) * (centre.y - 2 * a.y) - (b.y - a.y) * (centre.x - 2 * a.x);
        if (side > 0) odd = !odd;
    }
    return odd ? PolygonInside : PolygonOutside;
}

TEST(PolygonAgainstBox, RandomPolygonsStandAsInExactArithmetic) {
    std::mt19937 random(42);
    std::uniform_int_distribution<Int> coordinate(0, 20);
    std::uniform_int_distribution<std::size_t> corners(3, 8);
    int seen[4] = {};
    for (int i = 0; i < 60000; ++i) {
        const Int x = coordinate(random), y = coordinate(random);
        const IntBox box{x, x + 1 + i % 2, y, y + 1 + i % 3};
        std::vector<IntPoint> polygon(corners(random));
        // Some are small and near the box, so that they lie in it.
        for (IntPoint& p : polygon) {
            p = i % 8 == 0 ? IntPoint{x + coordinate(random) / 7, y + coordinate(random) / 7}
                           : IntPoint{coordinate(random), coordinate(random)};
        }
        const auto expected = exactPosition(polygon, box);
        ERVec<ERPoint2D> points;
        for (const IntPoint& p : polygon) points.append(asPoint(p), 1);
        ASSERT_EQ(box.box().positionRelative(points), expected) << i;
        points.append(asPoint(polygon[0]), 1);
        ASSERT_EQ(box.box().positionRelative(points), expected) << i;  // closed by repetition
        ++seen[expected];
    }
    for (const int count : seen) EXPECT_GT(count, 100);
}

TEST(PolygonAgainstBox, PolygonsOfFewPoints) {
    const ERMinimax2D box(0, 4, 0, 4);
    const ERPoint2D points[] = {{1, 1}, {2, 3}, {9, 9}};
    EXPECT_EQ(box.positionRelative(ERVec<ERPoint2D>()), PolygonOutside);
    EXPECT_EQ(box.positionRelative(points, 1), PolygonPartly);
    EXPECT_EQ(box.positionRelative(points, 2), PolygonPartly);
    EXPECT_EQ(box.positionRelative(points, 3), PolygonCrossing);
    EXPECT_EQ(box.positionRelative(points + 2, 1), PolygonOutside);
}

// A side of the polygon 1e-12 off the box does not cross it, but its corners count as on an edge.
TEST(PolygonAgainstBox, CornersOnTheBorderOfThePolygonAreNotInside) {
    const double off = 1e-12;
    const ERPoint2D polygon[] = {
        {-off, -off}, {4 + off, -off}, {4 + off, 4 + off}, {-off, 4 + off}};
    EXPECT_EQ(ERMinimax2D(0, 4, 0, 4).positionRelative(polygon, 4), PolygonOutside);
    EXPECT_EQ(ERMinimax2D(1, 3, 1, 3).positionRelative(polygon, 4), PolygonInside);
}

TEST(Clipping, WildCoordinatesEnd) {
    const double wild[] = {std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity(),
                           1.7e308,
                           -1.7e308,
                           5e-324,
                           1.0};
    const ERMinimax2D box(0, 1, 0, 1);
    std::mt19937 random(3);
    std::uniform_int_distribution<int> pick(0, 6);
    for (int i = 0; i < 20000; ++i) {
        ERPoint2D points[5];
        for (ERPoint2D& p : points) p = ERPoint2D(wild[pick(random)], wild[pick(random)]);
        ERPoint2D out1, out2;
        const int position = SutherCohen(points[0], points[1], box, out1, out2);
        ASSERT_TRUE(position >= SegmentOutside && position <= SegmentInside);
        const int polygon = box.positionRelative(points, 5);
        ASSERT_TRUE(polygon >= PolygonOutside && polygon <= PolygonPartly);
        ERMinimax2D(points[0], points[1]).positionRelative(points, 5);
    }
}

TEST(OrthogonalDirections, MakeARightHandedFrame) {
    std::mt19937 random(11);
    std::normal_distribution<double> component;
    std::uniform_real_distribution<double> exponent(-120, 120);
    std::vector<ERVector3D> directions;
    for (const double x : {-1.0, 0.0, 1.0}) {  // every tie between the components
        for (const double y : {-1.0, 0.0, 1.0}) {
            for (const double z : {-1.0, 0.0, 1.0}) {
                if (x != 0 || y != 0 || z != 0) directions.emplace_back(x, y, z);
            }
        }
    }
    for (int i = 0; i < 5000; ++i) {
        const double size = std::pow(10.0, exponent(random));
        directions.emplace_back(size * component(random), size * component(random),
                                size * component(random));
    }
    for (const ERVector3D& dir : directions) {
        ERVector3D first, second;
        GetOrthogonalDirections(dir, first, second);
        const ERVector3D u = dir.getnormalized();
        ASSERT_NEAR(first.norme(), 1.0, 1e-15);
        ASSERT_NEAR(second.norme(), 1.0, 1e-15);
        ASSERT_NEAR(first * second, 0.0, 1e-15);
        ASSERT_TRUE(isEqual(first ^ second, u, 1e-15));
    }
}

TEST(OrthogonalDirections, TheChoiceIsFixed) {
    ERVector3D first, second;
    const ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    GetOrthogonalDirections(z, first, second);
    EXPECT_TRUE(first == x && second == y);
    GetOrthogonalDirections(y * 2.0, first, second);
    EXPECT_TRUE(first == z && second == x);
    GetOrthogonalDirections(x, first, second);
    EXPECT_TRUE(first == y && second == z);
    // Equal components: z decides first, then y.
    GetOrthogonalDirections(ERVector3D(1, 0, 1), first, second);
    EXPECT_TRUE(isEqual(second, y, 1e-15));
    GetOrthogonalDirections(ERVector3D(0, 0, 0), first, second);
    EXPECT_TRUE(std::isnan(first.i()) && std::isnan(second.k()));
}

}  // namespace
}  // namespace kerf
