#include "kerf/values/box.h"

#include "kerf/values/pole.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

// Vectors copy boxes as memory, and files hold them as they lie there.
static_assert(sizeof(ERMinimax2D) == 32 && std::is_trivially_copyable_v<ERMinimax2D>);
static_assert(sizeof(ERMinimax3D) == 48 && std::is_trivially_copyable_v<ERMinimax3D>);

template <class T>
class Boxes : public ::testing::Test {
protected:
    using Point = typename T::Point;

    static T boxOf(std::initializer_list<Point> points) {
        T box;
        for (const Point& p : points) box += p;
        return box;
    }
    // A point of small integers, so that boxes touch, coincide and hold each other.
    Point draw(unsigned int n) {
        return drawn<Point>([&] { return static_cast<double>(random() % n); });
    }
    static Point all(double x) {
        return drawn<Point>([x] { return x; });
    }
    std::mt19937 random{17};
};
using BothBoxes = ::testing::Types<ERMinimax2D, ERMinimax3D>;
TYPED_TEST_SUITE(Boxes, BothBoxes);

TYPED_TEST(Boxes, HoldPointsAndRelateAsIntervalsOnEveryAxis) {
    int seen[4] = {};
    for (int i = 0; i < 200000; ++i) {
        const auto low1 = this->draw(4), low2 = this->draw(4);
        const auto high1 = low1 + this->draw(5), high2 = low2 + this->draw(2);
        const auto p = this->draw(14) / 2;
        const TypeParam a = this->boxOf({low1, high1}), b = this->boxOf({low2, high2});
        const TypeParam common = intersection(a, b);
        bool apart = false, contains = true, within = true, isIn = true, isInner = true;
        bool isCommon = true;
        for (unsigned int k = 0; k < TypeParam::axes; ++k) {
            const double low = std::max(a.lower(k), b.lower(k)), x = raw(p)[k];
            const double high = std::min(a.upper(k), b.upper(k));
            apart |= low > high;
            isCommon &= common.lower(k) == low && common.upper(k) == high;
            contains &= a.lower(k) < b.lower(k) && b.upper(k) < a.upper(k);
            within &= b.lower(k) <= a.lower(k) && a.upper(k) <= b.upper(k);
            isIn &= a.lower(k) <= x && x <= a.upper(k);
            isInner &= a.lower(k) < x && x < a.upper(k);
        }
        const auto expected = apart      ? BoxDisjoint
                              : contains ? BoxContains
                              : within   ? BoxWithin
                                         : BoxOverlap;
        const auto drawn = [i] { return drawnFrom(17, i); };
        const bool overlap = expected == BoxOverlap, isOnBorder = isIn && !isInner;
        ASSERT_EQ(RelativePosition(a, b), expected) << drawn();
        ASSERT_EQ(a | b, apart) << drawn();
        ASSERT_EQ(a << b, within) << drawn();
        ASSERT_EQ(a >> b, contains) << drawn();
        ASSERT_EQ(a < b, within || overlap) << drawn();
        ASSERT_EQ(a > b, contains || overlap) << drawn();
        ASSERT_EQ(Union(a, b), this->boxOf({low1, high1, low2, high2})) << drawn();
        ASSERT_TRUE(apart ? common.invalid() : isCommon) << drawn();
        ASSERT_EQ(a.contains(p), isIn) << drawn();
        ASSERT_EQ(a.stricklyContains(p), isInner) << drawn();
        if constexpr (TypeParam::axes == 2) {
            ASSERT_EQ(a.onBorder(p), isOnBorder) << drawn();
        }
        ++seen[expected];
    }
    for (const int count : seen) EXPECT_GT(count, 100);
}

TYPED_TEST(Boxes, AResetBoxLandsOnTheFirstPointAndNotANumberNeverWidens) {
    TypeParam box;
    box.Inflate(1e280);  // lost against the largest double
    EXPECT_TRUE(box.invalid());
    EXPECT_TRUE(Union(box, box).invalid());
    const auto p = this->all(7.0);
    box += p;
    box.Update(TypeParam());
    box += this->all(nan);
    EXPECT_EQ(box.MinPoint(), p);
    EXPECT_EQ(box.MaxPoint(), p);
}

// Directions are powers of two, so that every figure is exact; some boxes are flat.
TYPED_TEST(Boxes, LinesMeetTheBoxWhereTheSlabsMeet) {
    using Vector = typename TypeParam::Space::Vector;
    const double steps[] = {0.0, 0.0, 1.0, -1.0, 2.0, -4.0, 0.5};
    for (int i = 0; i < 40000; ++i) {
        auto high = this->all(i % 3);
        high.x() = 4;
        const TypeParam box = this->boxOf({this->all(0), high});
        const auto p = this->draw(11) - this->all(4);
        const auto d = drawn<Vector>([&] { return steps[this->random() % 7]; });
        const auto [first, last] = partInBox(p, d, box, -largest, largest);
        const bool meets = first <= last && d != Vector();
        ASSERT_EQ(box.intersect(p, d), meets) << drawnFrom(17, i);
    }
}

// Kept: the figures are lengths from the origin, whatever the point.
TEST(Box, SquaredDistancesAreTakenFromTheOrigin) {
    const ERMinimax2D box(1, 2, 1, 2);
    EXPECT_EQ(minimumSquaredDistance(box, ERPoint2D(9, 1)), 5.0);
    EXPECT_EQ(maximumSquaredDistance(box, ERPoint2D(1.5, 1.5)), 8.0);  // as far: the maximum
}

TEST(Box, ArgumentsComeInPairsAndFieldsMinimaFirst) {
    EXPECT_EQ(raw(ERMinimax2D(1, 3, 2, 5)), (Raw<ERMinimax2D>{1, 2, 3, 5}));
    EXPECT_EQ(raw(ERMinimax3D(1, 3, 2, 5, 7, 13)), (Raw<ERMinimax3D>{1, 2, 7, 3, 5, 13}));
    EXPECT_TRUE(ERMinimax3D(largest, largest, 0, 1, 0, 1).invalid());  // the minimum in x tells
}

TEST(Box, CornersComeInRowsInThePlaneAndInLoopsInSpace) {
    const ERMinimax2D box(1, 3, 2, 5);
    const ERMinimax3D solid(1, 3, 2, 5, 7, 13);
    EXPECT_EQ(printed(box.getVertice()), printed(vectorOf({{1, 2}, {3, 2}, {1, 5}, {3, 5}})));
    const ERVec<ERPoint3D> corners = solid.getVertice();
    const ERPoint2D loop[] = {{1, 2}, {3, 2}, {3, 5}, {1, 5}};
    for (unsigned int i = 0; i < 8; ++i)
        EXPECT_EQ(corners[i], loop[i % 4].castToPoint3D(Coord3D::CoordZ, i < 4 ? 7 : 13));
}

TEST(Box, OfPolesIsThatOfTheirCartesianPoints) {
    // The weighted coordinates of (1, 2, 4) and (3, -1, 1).
    const ERPole3DH poles[] = {{2, 4, 8, 2}, {1.5, -0.5, 0.5, 0.5}};
    EXPECT_EQ(ERMinimax3D(ERVec<ERPole3DH>(poles, 2)), ERMinimax3D(1, 3, -1, 2, 1, 4));
    EXPECT_TRUE(ERMinimax2D(ERVec<ERPoint2D>()).invalid());
}

}  // namespace
}  // namespace kerf
