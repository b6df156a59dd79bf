#include "kerf/curves/line_clipping.h"

#include "kerf/curves/infinite_line.h"
#include "kerf/curves/segment.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

double draw(std::mt19937& random) { return std::uniform_real_distribution<double>(-4, 6)(random); }

// Oracle: the slabs of the axes.
TEST(LineClipping, PartOfALineInAPlaneBox) {
    std::mt19937 random(3);
    const ERMinimax2D box(0, 4, 0, 3);
    int met = 0;
    for (int i = 0; i < 2000; ++i) {
        SCOPED_TRACE(drawnFrom(3, i));
        const ERInfLine2D line(ERPoint2D(draw(random), draw(random)),
                               ERPoint2D(draw(random), draw(random)));
        const auto [first, last] =
            partInBox(line.origine(), line.dirVector(), box, -infinity, infinity);
        ERPoint2D p, q;
        const auto position = SutherCohen(line, box, p, q);
        EXPECT_EQ(position, first <= last ? SegmentCrossing : SegmentOutside);
        if (first > last) continue;
        ++met;
        expectNear(p, line.origine() + line.dirVector() * first, 1e-12);
        expectNear(q, line.origine() + line.dirVector() * last, 1e-12);
    }
    EXPECT_GT(met, 500);
}

TEST(LineClipping, LineAlongASideIsInside) {
    const ERMinimax2D box(0, 4, 0, 3);
    ERPoint2D p, q;
    EXPECT_EQ(SutherCohen(ERInfLine2D(ERVector2D(-1, 0), ERPoint2D(9, 3)), box, p, q),
              SegmentInside);
    EXPECT_EQ(p, ERPoint2D(4, 3));
    EXPECT_EQ(q, ERPoint2D(0, 3));
    EXPECT_EQ(SutherCohen(ERInfLine2D(ERVector2D(1, 1), ERPoint2D()), ERMinimax2D(), p, q),
              SegmentOutside);
    EXPECT_EQ(SutherCohen(ERInfLine2D(ERVector2D(nan, 1), ERPoint2D()), box, p, q), SegmentOutside);
}

// Oracle: the slabs of the axes that are bounded.
TEST(LineClipping, PartOfALineInABoxOfSpace) {
    std::mt19937 random(4);
    int met = 0;
    for (int i = 0; i < 4000; ++i) {
        SCOPED_TRACE(drawnFrom(4, i));
        const int x = i & 1, y = i >> 1 & 1, z = i >> 2 & 1;
        const ERMinimax3D box(0, 4, 0, 3, -1, 2);
        const ERMinimax3D bounded(x ? 0 : -infinity, x ? 4 : infinity, y ? 0 : -infinity,
                                  y ? 3 : infinity, z ? -1 : -infinity, z ? 2 : infinity);
        const ERInfLine3D line(ERPoint3D(draw(random), draw(random), draw(random)),
                               ERPoint3D(draw(random), draw(random), draw(random)));
        const auto [first, last] =
            partInBox(line.origine(), line.dirVector(), bounded, -infinity, infinity);
        const bool expected = x + y + z > 0 && first < last;
        ERSegment3D part;
        ASSERT_EQ(intersect(line, box, part, x, y, z), expected);
        if (i % 8 == 7) {
            ERSegment3D same;
            ASSERT_EQ(intersect(line, box, same), expected);
            EXPECT_EQ(same.getP2(), part.getP2());
        }
        if (!expected) continue;
        ++met;
        ERPoint3D p = part.getP1(), q = part.getP2();
        if (ERVector3D(p, q) * line.dirVector() < 0.0) swap(p, q);
        expectNear(p, line.origine() + line.dirVector() * first, 1e-11);
        expectNear(q, line.origine() + line.dirVector() * last, 1e-11);
    }
    EXPECT_GT(met, 1000);
}

TEST(LineClipping, FacesAreMetInTheirOrder) {
    ERSegment3D part;
    const ERMinimax3D box(0, 4, 0, 3, 0, 2), flat(0, 4, 0, 3, 1, 1);
    EXPECT_EQ(intersect(ERInfLine3D(ERVector3D(0, 0, -1), ERPoint3D(1, 1, 0)), box, part), 1);
    // Through an edge two faces are met in one point. Of a flat box only the two faces in its plane
    // have an extent.
    const ERInfLine3D falling(ERVector3D(1, 0, -1), ERPoint3D(0, 1, 0)),
        rising(ERVector3D(1, 0, 1), ERPoint3D(0, 1, 0)),
        level(ERVector3D(1, 0, 0), ERPoint3D(0, 1, 1));
    EXPECT_EQ(intersect(falling, box, part), 0);
    for (const ERInfLine3D& line : {rising, level}) EXPECT_EQ(intersect(line, flat, part), 0);
    EXPECT_EQ(intersect(ERInfLine3D(), box, part, 0, 0, 0), 0);
    EXPECT_EQ(part.getP1(), ERPoint3D(1, 1, 0));
    EXPECT_EQ(part.getP2(), ERPoint3D(1, 1, 2));
}

TEST(LineClipping, BorderOfAParallelogramCounts) {
    const ERPoint3D corner(1, 1, 5);
    const ERVector3D u(4, 0, 0), v(0, 2, 0);
    ERPoint3D hit;
    for (const ERPoint2D& p : grid(0, 6)) {
        const bool in = p.x() >= 1 && p.x() <= 5 && p.y() >= 1 && p.y() <= 3;
        const ERInfLine3D line(ERVector3D(0, 0, 1), p.castToPoint3D(Coord3D::CoordZ, 0.0));
        ASSERT_EQ(intersect(line, corner, u, v, hit), in) << p;
        EXPECT_TRUE(!in || hit == p.castToPoint3D(Coord3D::CoordZ, 5.0));
    }
    EXPECT_EQ(intersect(ERInfLine3D(u, corner), corner, u, v, hit), 0);
    EXPECT_EQ(intersect(ERInfLine3D(), corner, u, u, hit), 0);
}

// Only the limits of a bounded axis are looked at, reset or not.
TEST(LineClipping, LimitsOfAnUnboundedAxisDoNotMatter) {
    const ERMinimax3D slab(largest, -largest, 0, 3, -1, 2);
    ERSegment3D part;
    ASSERT_EQ(intersect(ERInfLine3D(ERVector3D(0, 0, 1), ERPoint3D(1, 1, 0)), slab, part, 0, 1, 1),
              1);
    EXPECT_EQ(part.getP1(), ERPoint3D(1, 1, -1));
    EXPECT_EQ(part.getP2(), ERPoint3D(1, 1, 2));
    EXPECT_EQ(intersect(ERInfLine3D(), ERMinimax3D(), part), 0);
    EXPECT_EQ(intersect(ERInfLine3D(), ERMinimax3D(), part, 0, 0, 1), 1);
    EXPECT_EQ(part.getP1(), ERPoint3D(0, 0, largest));
    EXPECT_EQ(part.getP2(), ERPoint3D(0, 0, -largest));
}

}  // namespace
}  // namespace kerf::test
