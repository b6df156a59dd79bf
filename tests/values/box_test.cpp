#include "kerf/values/box.h"

#include <array>

#include "kerf/values/pole.h"
#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

// Vectors copy boxes as memory, and files hold them as they lie there.
static_assert(sizeof(ERMinimax2D) == 32 && std::is_trivially_copyable_v<ERMinimax2D>);
static_assert(sizeof(ERMinimax3D) == 48 && std::is_trivially_copyable_v<ERMinimax3D>);

template <class Box>
typename Box::Point pointFrom(const std::array<double, Box::axes>& c) {
    return Box::Space::point(c.data());
}

template <class Box, class Coordinates>
Box boxFrom(const Coordinates& low, const Coordinates& high) {
    Box box;
    box += pointFrom<Box>(low);
    return box += pointFrom<Box>(high);
}

template <class Box>
class Boxes : public ::testing::Test {};
using BothBoxes = ::testing::Types<ERMinimax2D, ERMinimax3D>;
TYPED_TEST_SUITE(Boxes, BothBoxes);

// Small integers, so that boxes touch, coincide and hold each other; points at halves besides.
TYPED_TEST(Boxes, HoldPointsAndRelateAsIntervalsOnEveryAxis) {
    using Coordinates = std::array<double, TypeParam::axes>;
    std::mt19937 random(17);
    const auto draw = [&](unsigned int n) { return static_cast<double>(random() % n); };
    int seen[4] = {};
    for (int i = 0; i < 200000; ++i) {
        Coordinates low1, high1, low2, high2, inLow, inHigh, outLow, outHigh, c;
        bool apart = false, contains = true, within = true, isIn = true, isInner = true;
        for (unsigned int k = 0; k < TypeParam::axes; ++k) {
            high1[k] = (low1[k] = draw(4)) + draw(5);
            high2[k] = (low2[k] = draw(4)) + draw(2);
            inLow[k] = std::max(low1[k], low2[k]);
            inHigh[k] = std::min(high1[k], high2[k]);
            outLow[k] = std::min(low1[k], low2[k]);
            outHigh[k] = std::max(high1[k], high2[k]);
            c[k] = draw(14) / 2;
            apart |= inLow[k] > inHigh[k];
            contains &= low1[k] < low2[k] && high2[k] < high1[k];
            within &= low2[k] <= low1[k] && high1[k] <= high2[k];
            isIn &= low1[k] <= c[k] && c[k] <= high1[k];
            isInner &= low1[k] < c[k] && c[k] < high1[k];
        }
        const auto a = boxFrom<TypeParam>(low1, high1), b = boxFrom<TypeParam>(low2, high2);
        const auto p = pointFrom<TypeParam>(c);
        const bool overlap = !apart && !contains && !within;
        const auto expected = apart      ? BoxDisjoint
                              : contains ? BoxContains
                              : within   ? BoxWithin
                                         : BoxOverlap;
        ASSERT_EQ(RelativePosition(a, b), expected) << i;
        ASSERT_TRUE((a | b) == apart && (a << b) == within && (a >> b) == contains);
        ASSERT_TRUE((a < b) == (within || overlap) && (a > b) == (contains || overlap));
        ASSERT_TRUE(Union(a, b) == boxFrom<TypeParam>(outLow, outHigh));
        ASSERT_EQ(intersection(a, b).invalid(), apart);
        ASSERT_TRUE(apart || intersection(a, b) == boxFrom<TypeParam>(inLow, inHigh));
        ASSERT_TRUE(a.contains(p) == isIn && a.stricklyContains(p) == isInner);
        if constexpr (TypeParam::axes == 2) {
            ASSERT_EQ(a.onBorder(p), isIn && !isInner);
        }
        ++seen[expected];
    }
    for (const int count : seen) EXPECT_GT(count, 100);
}

TYPED_TEST(Boxes, AResetBoxLandsOnTheFirstPointAndNotANumberNeverWidens) {
    TypeParam box;
    box.Inflate(1e280);  // lost against the largest double
    EXPECT_TRUE(box.invalid() && Union(box, box).invalid());
    EXPECT_EQ(box.ymin(), largest);
    const auto p = pointFrom<TypeParam>({-3.0, 7.0});
    box += p;
    box.Update(TypeParam());
    box += pointFrom<TypeParam>({nan, nan});
    EXPECT_TRUE(box.MinPoint() == p && box.MaxPoint() == p);
    EXPECT_FALSE(box.contains(pointFrom<TypeParam>({nan, 7.0})));
    box += 0.5;
    EXPECT_EQ(box.ymin(), 6.5);
    box -= 1.5;
    EXPECT_EQ(box.xlength(), -2.0);
    // x alone tells a reset box.
    box.Reset();
    box.Update(pointFrom<TypeParam>({largest, 1.0}));
    EXPECT_TRUE(box.invalid());
    EXPECT_EQ(box.ymin(), 1.0);
}

// Directions are powers of two, so that every figure is exact.
TYPED_TEST(Boxes, LinesMeetTheBoxWhereTheSlabsMeet) {
    constexpr unsigned int axes = TypeParam::axes;
    using Vector = std::conditional_t<axes == 2, ERVector2D, ERVector3D>;
    std::mt19937 random(7);
    const double steps[] = {0.0, 0.0, 1.0, -1.0, 2.0, -4.0, 0.5};
    int hits = 0;
    for (int i = 0; i < 40000; ++i) {
        std::array<double, axes> place, step, high;
        for (unsigned int a = 0; a < axes; ++a) {
            place[a] = static_cast<int>(random() % 11) - 4;
            step[a] = steps[random() % 7];
            high[a] = a == 0 ? 4 : i % 3;  // flat ones among them
        }
        const auto box = boxFrom<TypeParam>(decltype(high){}, high);
        const auto p = pointFrom<TypeParam>(place);
        const Vector d(pointFrom<TypeParam>(step));
        const auto [first, last] = partInBox(p, d, box, -largest, largest);
        ASSERT_EQ(box.intersect(p, d), first <= last && d != Vector()) << i;
        hits += first <= last;
    }
    EXPECT_GT(hits, 1000);
}

TEST(Box, OnlyTheBoxInSpaceAsksWhetherItIsReset) {
    // Marked in x alone, the plane box still has a side that the line meets; the solid has not.
    const ERMinimax3D solid(largest, largest, 0, 1, 0, 1);
    EXPECT_EQ(solid.intersect(ERPoint3D(largest, 0.5, 0.5), ERVector3D(1, 0, 0)), 0);
    const ERMinimax2D plane(largest, largest, 0, 1);
    EXPECT_EQ(plane.intersect(ERPoint2D(largest, 0.5), ERVector2D(1, 0)), 1);
}

// The figures are lengths from the origin, whatever the point: callers rely on them.
TEST(Box, SquaredDistancesAreTakenFromTheOrigin) {
    const ERMinimax2D box(1, 2, 1, 2);
    EXPECT_EQ(minimumSquaredDistance(box, ERPoint2D(0, 0)), 2.0);
    EXPECT_EQ(minimumSquaredDistance(box, ERPoint2D(9, 1)), 5.0);
    EXPECT_EQ(maximumSquaredDistance(box, ERPoint2D(0, 0)), 8.0);
    EXPECT_EQ(maximumSquaredDistance(box, ERPoint2D(1.5, 1.5)), 8.0);  // as far: the maximum
    EXPECT_EQ(maximumSquaredDistance(ERMinimax3D(-1, 2, -5, 3, 1, 1), ERPoint3D()), 30.0);
}

TEST(Box, ArgumentsComeInPairsFieldsMinimaFirstAndCornersInTheirOrder) {
    const ERMinimax2D box(1, 3, 2, 5);
    const double fields[] = {1, 2, 3, 5};
    const ERPoint2D plane[] = {{1, 2}, {3, 2}, {1, 5}, {3, 5}},
                    loop[] = {{1, 2}, {3, 2}, {3, 5}, {1, 5}};
    ASSERT_EQ(box.getVertice().length(), 4u);
    for (unsigned int i = 0; i < 4; ++i) {
        EXPECT_EQ(box[static_cast<MinMax2D>(i)], fields[i]);
        EXPECT_TRUE(box.getVertice()[i] == plane[i]) << i;
    }
    EXPECT_EQ(ERMinimax2D(3, 1, 5, 2).xmin(), 3.0);  // not sorted
    EXPECT_TRUE(ERMinimax2D(ERPoint2D(3, 2), ERPoint2D(1, 5)) == box);

    const ERMinimax3D solid(1, 3, 2, 5, 7, 13);
    EXPECT_EQ(solid.diagonal(), 7.0);
    ASSERT_EQ(solid.getVertice().length(), 8u);
    for (unsigned int i = 0; i < 8; ++i) {
        const ERPoint2D& p = loop[i % 4];
        EXPECT_TRUE(solid.getVertice()[i] == ERPoint3D(p.x(), p.y(), i < 4 ? 7 : 13)) << i;
    }
}

TEST(Box, IsBuiltFromPolesAndStoredAsItsFieldsAndTakesWhatAShortFileHolds) {
    // Weighted coordinates: the points are (1, 2, 4), (3, -1, 1).
    const ERPole3DH poles[] = {{2, 4, 8, 2}, {1.5, -0.5, 0.5, 0.5}};
    EXPECT_TRUE(ERMinimax3D(ERVec<ERPole3DH>(poles, 2)) == ERMinimax3D(1, 3, -1, 2, 1, 4));
    const ERPole2DH flat[] = {{2, 4, 2}, {1.5, -0.5, 0.5}};
    EXPECT_TRUE(ERMinimax2D(ERVec<ERPole2DH>(flat, 2)) == ERMinimax2D(1, 3, -1, 2));
    EXPECT_TRUE(ERMinimax2D(ERVec<ERPoint2D>()).invalid());
    expectStoredAsItLies(ERMinimax2D(1, 3, 2, 4));
    expectStoredAsItLies(ERMinimax3D(11, 14, 12, 15, 13, 16));
    const TemporaryFile place;
    ERFile file(place.path(), createFile);
    file << ERMinimax2D(1, 3, 2, 4);
    file.SeekTo(0);
    ERMinimax3D box(11, 14, 12, 15, 13, 16);
    file >> box;
    EXPECT_TRUE(box == ERMinimax3D(1, 4, 2, 15, 3, 16));
}

}  // namespace
}  // namespace kerf
