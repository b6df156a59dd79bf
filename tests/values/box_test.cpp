#include "kerf/values/box.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/platform/archive.h"
#include "kerf/values/pole.h"

namespace kerf {
namespace {

// Vectors copy boxes as memory, and files hold them as they lie there.
static_assert(sizeof(ERMinimax2D) == 32 && std::is_trivially_copyable_v<ERMinimax2D>);
static_assert(sizeof(ERMinimax3D) == 48 && std::is_trivially_copyable_v<ERMinimax3D>);

constexpr double largest = std::numeric_limits<double>::max();

template <class Box>
Box boxFrom(const std::array<int, Box::axes>& low, const std::array<int, Box::axes>& high) {
    if constexpr (Box::axes == 2) {
        return Box(low[0], high[0], low[1], high[1]);
    } else {
        return Box(low[0], high[0], low[1], high[1], low[2], high[2]);
    }
}

template <class Box>
typename Box::Point pointFrom(const std::array<double, Box::axes>& c) {
    return Box::Space::point(c.data());
}

// Boxes with corners on a small integer grid as the sets of the half-integer points in them: two
// such boxes relate as their sets do.
template <class Box>
struct SampledBoxes {
    static constexpr unsigned int axes = Box::axes;
    static constexpr int top = axes == 2 ? 4 : 2;  // corners at 0 to top
    static constexpr int samples = 2 * top + 1;
    static constexpr std::size_t total =
        axes == 2 ? samples * samples : samples * samples * samples;
    using Set = std::bitset<total>;

    std::vector<Box> boxes;
    std::vector<Set> closed, open;
    std::vector<typename Box::Point> points;

    SampledBoxes() {
        for (std::size_t s = 0; s < total; ++s) points.push_back(pointFrom<Box>(sample(s)));
        std::array<int, axes> low{}, high{};
        grow(0, low, high);
    }

    static std::array<double, axes> sample(std::size_t s) {
        std::array<double, axes> c;
        for (double& x : c) {
            x = static_cast<double>(s % samples) / 2;
            s /= samples;
        }
        return c;
    }

    void grow(unsigned int axis, std::array<int, axes>& low, std::array<int, axes>& high) {
        if (axis == axes) {
            Set in, inner;
            for (std::size_t s = 0; s < total; ++s) {
                const auto c = sample(s);
                bool isIn = true, isInner = true;
                for (unsigned int a = 0; a < axes; ++a) {
                    isIn = isIn && low[a] <= c[a] && c[a] <= high[a];
                    isInner = isInner && low[a] < c[a] && c[a] < high[a];
                }
                in[s] = isIn;
                inner[s] = isInner;
            }
            boxes.push_back(boxFrom<Box>(low, high));
            closed.push_back(in);
            open.push_back(inner);
            return;
        }
        for (low[axis] = 0; low[axis] <= top; ++low[axis]) {
            for (high[axis] = low[axis]; high[axis] <= top; ++high[axis]) grow(axis + 1, low, high);
        }
    }
};

template <class Box>
class Boxes : public ::testing::Test {};
using BothBoxes = ::testing::Types<ERMinimax2D, ERMinimax3D>;
TYPED_TEST_SUITE(Boxes, BothBoxes);

TYPED_TEST(Boxes, RelateAsTheSetsOfTheirPoints) {
    const SampledBoxes<TypeParam> all;
    for (std::size_t i = 0; i < all.boxes.size(); ++i) {
        const TypeParam& a = all.boxes[i];
        for (std::size_t k = 0; k < all.boxes.size(); ++k) {
            const TypeParam& b = all.boxes[k];
            const auto common = all.closed[i] & all.closed[k];
            RELATIVE_BOX_POSITION expected = BoxOverlap;
            if (common.none()) {
                expected = BoxDisjoint;
            } else if ((all.closed[k] & ~all.open[i]).none()) {
                expected = BoxContains;
            } else if ((all.closed[i] & ~all.closed[k]).none()) {
                expected = BoxWithin;
            }
            ASSERT_EQ(RelativePosition(a, b), expected) << i << " " << k;
            ASSERT_EQ(a | b, expected == BoxDisjoint);
            ASSERT_EQ(a << b, expected == BoxWithin);
            ASSERT_EQ(a >> b, expected == BoxContains);
            ASSERT_EQ(a < b, expected == BoxWithin || expected == BoxOverlap);
            ASSERT_EQ(a > b, expected == BoxContains || expected == BoxOverlap);

            const TypeParam shared = intersection(a, b);
            ASSERT_EQ(shared.invalid(), common.none());
            const TypeParam both = Union(a, b);
            TypeParam ofPoints;
            for (std::size_t s = 0; s < all.points.size(); ++s) {
                ASSERT_TRUE(!common[s] || shared.contains(all.points[s]));
                if (all.closed[i][s] || all.closed[k][s]) ofPoints += all.points[s];
            }
            ASSERT_TRUE(both == ofPoints);
            ASSERT_TRUE(common.none() ||
                        (shared.contains(shared.MinPoint()) && a.contains(shared.MinPoint()) &&
                         b.contains(shared.MaxPoint())));
        }
    }
}

TYPED_TEST(Boxes, HoldThePointsOfTheirSets) {
    const SampledBoxes<TypeParam> all;
    for (std::size_t i = 0; i < all.boxes.size(); ++i) {
        for (std::size_t s = 0; s < all.points.size(); ++s) {
            ASSERT_EQ(all.boxes[i].contains(all.points[s]), all.closed[i][s]);
            ASSERT_EQ(all.boxes[i].stricklyContains(all.points[s]), all.open[i][s]);
            if constexpr (TypeParam::axes == 2) {
                ASSERT_EQ(all.boxes[i].onBorder(all.points[s]),
                          all.closed[i][s] && !all.open[i][s]);
            }
        }
    }
}

TYPED_TEST(Boxes, AResetBoxLandsOnTheFirstPoint) {
    TypeParam box;
    EXPECT_TRUE(box.invalid());
    for (unsigned int axis = 0; axis < TypeParam::axes; ++axis) {
        EXPECT_EQ(box.lower(axis), largest);
        EXPECT_EQ(box.upper(axis), -largest);
    }
    EXPECT_TRUE(Union(box, box).invalid());
    box.Inflate(1e280);  // lost against the largest double
    EXPECT_TRUE(box.invalid());

    const auto p = pointFrom<TypeParam>({-3.0, 7.0});
    box += p;
    EXPECT_FALSE(box.invalid());
    EXPECT_TRUE(box.MinPoint() == p && box.MaxPoint() == p);
    box.Update(TypeParam());
    EXPECT_TRUE(box.MinPoint() == p && box.MaxPoint() == p);
    box.Reset();
    EXPECT_TRUE(box == TypeParam());
}

TYPED_TEST(Boxes, OnlyXTellsAResetBox) {
    TypeParam box;
    box.Update(pointFrom<TypeParam>({largest, 1.0}));
    EXPECT_TRUE(box.invalid());
    EXPECT_EQ(box.ymin(), 1.0);
}

TYPED_TEST(Boxes, InflateAndShrink) {
    const auto p = pointFrom<TypeParam>({1.0, 2.0});
    TypeParam box;
    box += p;
    box += 0.5;
    EXPECT_EQ(box.xlength(), 1.0);
    EXPECT_EQ(box.ymin(), 1.5);
    EXPECT_EQ(box.ymax(), 2.5);
    EXPECT_FALSE((box + pointFrom<TypeParam>({3.0, 2.0})) == box);
    box -= 0.5;
    EXPECT_TRUE(box.MinPoint() == p && box.MaxPoint() == p);
    box.Inflate(-1.0);
    EXPECT_EQ(box.xlength(), -2.0);
}

TYPED_TEST(Boxes, NotANumberNeverWidens) {
    TypeParam box;
    box += pointFrom<TypeParam>({1.0, 2.0});
    const TypeParam before = box;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    box += pointFrom<TypeParam>({nan, nan});
    EXPECT_TRUE(box == before);
    EXPECT_FALSE(box != before);
    EXPECT_FALSE(box.contains(pointFrom<TypeParam>({nan, 2.0})));
}

// Oracle: the slabs of the axes. Directions are powers of two, so that every figure is exact.
TYPED_TEST(Boxes, LinesMeetTheBoxWhereTheSlabsMeet) {
    constexpr unsigned int axes = TypeParam::axes;
    std::mt19937 random(7);
    std::uniform_int_distribution<int> place(-4, 6), choice(0, 6);
    const double steps[] = {0.0, 0.0, 1.0, -1.0, 2.0, -4.0, 0.5};
    int hits = 0;
    for (int i = 0; i < 40000; ++i) {
        std::array<double, axes> p, d;
        for (double& c : p) c = place(random);
        for (double& c : d) c = steps[choice(random)];
        std::array<int, axes> low{}, high{};
        for (unsigned int a = 0; a < axes; ++a)
            high[a] = a == 0 ? 4 : i % 3;  // flat ones among them

        double first = -largest, last = largest;
        bool moves = false;
        for (unsigned int a = 0; a < axes; ++a) {
            if (d[a] == 0.0) {
                if (p[a] < low[a] || p[a] > high[a]) last = -largest, first = largest;
                continue;
            }
            moves = true;
            const double t1 = (low[a] - p[a]) / d[a], t2 = (high[a] - p[a]) / d[a];
            first = std::max(first, std::min(t1, t2));
            last = std::min(last, std::max(t1, t2));
        }
        const bool expected = moves && first <= last;
        hits += expected;
        const TypeParam box = boxFrom<TypeParam>(low, high);
        if constexpr (axes == 2) {
            ASSERT_EQ(box.intersect(ERPoint2D(p[0], p[1]), ERVector2D(d[0], d[1])), expected) << i;
        } else {
            ASSERT_EQ(box.intersect(ERPoint3D(p[0], p[1], p[2]), ERVector3D(d[0], d[1], d[2])),
                      expected)
                << i;
        }
    }
    EXPECT_GT(hits, 1000);
}

TEST(Box, OnlyTheBoxInSpaceAsksWhetherItIsReset) {
    ERMinimax3D solid;
    EXPECT_EQ(solid.intersect(ERPoint3D(0, 0, 0), ERVector3D(1, 0, 0)), 0);
    // Marked in x alone, the plane box still has a side that the line meets; the solid has not.
    solid.Garnir(largest, largest, 0, 1, 0, 1);
    EXPECT_EQ(solid.intersect(ERPoint3D(largest, 0.5, 0.5), ERVector3D(1, 0, 0)), 0);
    const ERMinimax2D plane(largest, largest, 0, 1);
    EXPECT_EQ(plane.intersect(ERPoint2D(largest, 0.5), ERVector2D(1, 0)), 1);
}

TEST(Box, BoxesThatTouchAreNotApart) {
    const ERMinimax2D a(0, 1, 0, 1), edge(1, 2, 0, 1), corner(1, 2, 1, 2);
    EXPECT_EQ(a | edge, 0);
    EXPECT_EQ(a | corner, 0);
    EXPECT_TRUE(intersection(a, edge) == ERMinimax2D(1, 1, 0, 1));
    EXPECT_TRUE(intersection(a, corner) == ERMinimax2D(1, 1, 1, 1));
    EXPECT_TRUE(intersection(a, ERMinimax2D(1.5, 2, 0, 1)).invalid());
}

// The figures are lengths from the origin, whatever the point: callers rely on them.
TEST(Box, SquaredDistancesAreTakenFromTheOrigin) {
    const ERMinimax2D box(1, 2, 1, 2);
    EXPECT_EQ(minimumSquaredDistance(box, ERPoint2D(0, 0)), 2.0);
    EXPECT_EQ(minimumSquaredDistance(box, ERPoint2D(1.5, 1.5)), 4.5);
    EXPECT_EQ(minimumSquaredDistance(box, ERPoint2D(9, 1)), 5.0);
    EXPECT_EQ(maximumSquaredDistance(box, ERPoint2D(0, 0)), 8.0);
    EXPECT_EQ(maximumSquaredDistance(box, ERPoint2D(5, 0)), 5.0);
    EXPECT_EQ(maximumSquaredDistance(box, ERPoint2D(1.5, 1.5)), 8.0);  // as far: the maximum
    const ERMinimax3D solid(-1, 2, -5, 3, 1, 1);
    EXPECT_EQ(minimumSquaredDistance(solid, ERPoint3D(0, 0, 0)), 1.0);
    EXPECT_EQ(maximumSquaredDistance(solid, ERPoint3D(0, 0, 0)), 4.0 + 25.0 + 1.0);
}

TEST(Box, ArgumentsComeInPairsAndFieldsMinimaFirst) {
    const ERMinimax2D box(1, 3, 2, 5);
    const double fields[] = {1, 2, 3, 5};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(box[static_cast<MinMax2D>(i)], fields[i]);
    EXPECT_EQ(box.DiametreBoule(), std::sqrt(13.0));
    EXPECT_EQ(ERMinimax2D(3, 1, 5, 2).xmin(), 3.0);  // not sorted
    EXPECT_TRUE(ERMinimax2D(ERPoint2D(3, 2), ERPoint2D(1, 5)) == box);

    const ERMinimax3D solid(1, 2, 3, 5, 7, 9);
    EXPECT_TRUE(solid.MinPoint() == ERPoint3D(1, 3, 7));
    EXPECT_TRUE(solid.MaxPoint() == ERPoint3D(2, 5, 9));
    EXPECT_EQ(solid.zlength(), 2.0);
    EXPECT_EQ(solid.diagonal(), 3.0);
}

TEST(Box, CornersComeInTheirOrder) {
    const ERVec<ERPoint2D> flat = ERMinimax2D(1, 3, 2, 5).getVertice();
    ASSERT_EQ(flat.length(), 4u);
    const ERPoint2D plane[] = {{1, 2}, {3, 2}, {1, 5}, {3, 5}};
    for (unsigned int i = 0; i < 4; ++i) EXPECT_TRUE(flat[i] == plane[i]) << i;

    const ERVec<ERPoint3D> solid = ERMinimax3D(1, 3, 2, 5, 7, 9).getVertice();
    ASSERT_EQ(solid.length(), 8u);
    const ERPoint2D loop[] = {{1, 2}, {3, 2}, {3, 5}, {1, 5}};
    for (unsigned int i = 0; i < 8; ++i) {
        const ERPoint2D& p = loop[i % 4];
        EXPECT_TRUE(solid[i] == ERPoint3D(p.x(), p.y(), i < 4 ? 7 : 9)) << i;
    }
}

TEST(Box, VectorsOfPointsAndPoles) {
    const ERPoint2D points[] = {{1, 5}, {-2, 3}, {0, 9}};
    EXPECT_TRUE(ERMinimax2D(ERVec<ERPoint2D>(points, 3)) == ERMinimax2D(-2, 1, 3, 9));
    EXPECT_TRUE(ERMinimax2D(ERVec<ERPoint2D>()).invalid());
    ERMinimax2D box(0, 1, 0, 1);
    box.Update(ERVec<ERPoint2D>(points, 1));
    EXPECT_TRUE(box == ERMinimax2D(0, 1, 0, 5));

    // Weighted coordinates: the points are (1, 2), (3, -1).
    const ERPole2DH poles[] = {{2, 4, 2}, {1.5, -0.5, 0.5}};
    EXPECT_TRUE(ERMinimax2D(ERVec<ERPole2DH>(poles, 2)) == ERMinimax2D(1, 3, -1, 2));
    const ERPole3DH poles3[] = {{2, 4, 8, 2}, {1.5, -0.5, 0.5, 0.5}};
    EXPECT_TRUE(ERMinimax3D(ERVec<ERPole3DH>(poles3, 2)) == ERMinimax3D(1, 3, -1, 2, 1, 4));
    const ERPoint3D points3[] = {{1, 5, 0}, {-2, 3, 4}};
    EXPECT_TRUE(ERMinimax3D(ERVec<ERPoint3D>(points3, 2)) == ERMinimax3D(-2, 1, 3, 5, 0, 4));
}

TEST(Box, IsStoredAsItsFields) {
    const std::string path = ::testing::TempDir() + "kerf_box_test.bin";
    const ERMinimax2D flat(1, 3, 2, 4);
    const ERMinimax3D solid(11, 14, 12, 15, 13, 16);
    {
        ERFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
        file << flat << solid;
        ASSERT_EQ(file.GetLength(),
                  static_cast<ERLong>(flat.binaryStoreSize() + solid.binaryStoreSize()));
        file.SeekTo(0);
        double fields[10];
        ASSERT_TRUE(file.Read(fields, 10));
        for (int i = 0; i < 4; ++i) EXPECT_EQ(fields[i], i + 1);
        for (int i = 0; i < 6; ++i) EXPECT_EQ(fields[4 + i], i + 11);

        file.SeekTo(0);
        ERMinimax2D flatBack;
        ERMinimax3D solidBack;
        file >> flatBack >> solidBack;
        EXPECT_TRUE(flatBack == flat);
        EXPECT_TRUE(solidBack == solid);
        file.SeekTo(32 + 16);  // four doubles left
        file >> solidBack;
        EXPECT_TRUE(solidBack == ERMinimax3D(13, 16, 14, 15, 15, 16));
    }
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
        CArchive storing(&file, CArchive::store);
        storing << solid;
        storing.Close();
        EXPECT_EQ(file.GetLength(), 48);
        file.Seek(0, CFile::begin);
        CArchive loading(&file, CArchive::load);
        ERMinimax3D back;
        loading >> back;
        EXPECT_TRUE(back == solid);
    }
    std::remove(path.c_str());
}

}  // namespace
}  // namespace kerf
