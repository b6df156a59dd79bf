#include "kerf/values/box_clipping.h"

#include "kerf/values/polygon.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

TEST(SegmentClipping, EverySegmentOfTheGridIsClippedToItsPartInTheBox) {
    const std::vector<ERPoint2D> points = grid(-3, 7);
    for (const ERMinimax2D& box :
         {ERMinimax2D(0, 4, 0, 3), ERMinimax2D(0, 4, 2, 2), ERMinimax2D(1, 1, 0, 3)}) {
        for (const ERPoint2D& p : points) {
            for (const ERPoint2D& q : points) {
                SCOPED_TRACE(testing::Message() << p << " to " << q);
                ERPoint2D out1 = p, out2 = q;  // outputs may be the inputs
                const auto position = SutherCohen(out1, out2, box, out1, out2);
                ASSERT_EQ(box.positionRelative(p, q), position);
                ASSERT_EQ(box.isVisible(p, q), position != SegmentOutside);
                const auto [first, last] = partInBox(p, ERVector2D(q - p), box, 0, 1);
                const bool isInside = box.contains(p) && box.contains(q);
                ASSERT_EQ(position, isInside        ? SegmentInside
                                    : first <= last ? SegmentCrossing
                                                    : SegmentOutside);
                if (first > last) continue;
                ASSERT_TRUE(isEqual(out1, p + (q - p) * first, 1e-14));
                ASSERT_TRUE(isEqual(out2, p + (q - p) * last, 1e-14));
                ASSERT_TRUE(box.contains(out1));
                ASSERT_TRUE(box.contains(out2));
            }
        }
    }
}

// Oracle: the slabs for the edges, then the crossing number of the box's centre.
ER_MINMAX_POSITION_POLYGONE exactPosition(const std::vector<ERPoint2D>& polygon,
                                          const ERMinimax2D& box) {
    const ERPoint2D centre = milieu(box.MinPoint(), box.MaxPoint());
    bool within = false, odd = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        ERPoint2D a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        const auto [first, last] = partInBox(a, ERVector2D(b - a), box, 0, 1);
        if (box.contains(a) && box.contains(b))
            within = true;
        else if (first <= last)
            return PolygonCrossing;
        if (a.y() > b.y()) std::swap(a, b);
        odd ^= a.y() <= centre.y() && b.y() > centre.y() && area(a, b, centre) > 0;
    }
    return within ? PolygonPartly : odd ? PolygonInside : PolygonOutside;
}

TEST(PolygonAgainstBox, RandomPolygonsStandAsInExactArithmetic) {
    std::mt19937 random(42);
    int seen[4] = {};
    for (int i = 0; i < 60000; ++i) {
        const ERPoint2D corner = randomGridPoint(random, 21);
        const ERMinimax2D box(corner, corner + ERPoint2D(1 + i % 2, 1 + i % 3));
        std::vector<ERPoint2D> polygon(3 + random() % 6);
        for (ERPoint2D& p : polygon)  // some are small and near the box, so that they lie in it
            p = i % 8 == 0 ? corner + randomGridPoint(random, 3) : randomGridPoint(random, 21);
        const auto expected = exactPosition(polygon, box);
        ASSERT_EQ(box.positionRelative(vectorOf(polygon)), expected) << drawnFrom(42, i);
        polygon.push_back(polygon[0]);
        // Closed by repetition.
        ASSERT_EQ(box.positionRelative(vectorOf(polygon)), expected) << drawnFrom(42, i);
        ++seen[expected];
    }
    for (const int count : seen) EXPECT_GT(count, 100);
}

// A side 1e-12 off the box does not cross it, but the box's corners count as on an edge.
TEST(PolygonAgainstBox, CornersOnTheBorderAreNeitherInNorOut) {
    const double off = 1e-12, far = 4 + off;
    const ERPoint2D polygon[] = {{-off, -off}, {far, -off}, {far, far}, {-off, far}};
    EXPECT_EQ(ERMinimax2D(0, 4, 0, 4).positionRelative(polygon, 4), PolygonCrossing);
    EXPECT_EQ(ERMinimax2D(-4, -1, 0, 4).positionRelative(polygon, 4), PolygonOutside);
    EXPECT_EQ(ERMinimax2D(1, 3, 1, 3).positionRelative(polygon, 4), PolygonInside);
}

TEST(Clipping, WildCoordinatesEnd) {
    std::mt19937 random(3);
    for (int i = 0; i < 20000; ++i) {
        ERPoint2D points[5], out1, out2;
        for (ERPoint2D& p : points) p = wildPoint(random);
        const ERMinimax2D box(points[2], points[3]);
        SutherCohen(points[0], points[1], box, out1, out2);
        box.positionRelative(points, 5);
        ASSERT_LE(convexHull(points, 5, points), 5u) << drawnFrom(3, i);
    }
}

}  // namespace
}  // namespace kerf
