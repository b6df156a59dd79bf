#include "kerf/values/point.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/platform/archive.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

const double pi = std::acos(-1.0);
const double nan = std::numeric_limits<double>::quiet_NaN();
const auto outOfRange = static_cast<Coord3D>(7);

template <class T>
std::string printed(const T& value, int width = 0) {
    std::ostringstream text;
    text << std::setw(width) << value;
    return text.str();
}

template <class T>
T someValue(double seed) {
    if constexpr (sizeof(T) == 2 * sizeof(double))
        return T(seed, -0.1 / seed);
    else
        return T(seed, -0.1 / seed, seed * seed / 3);
}

template <class T>
class PlainValue : public ::testing::Test {};
using PlainValues = ::testing::Types<ERPoint2D, ERPoint3D, ERVector2D, ERVector3D>;
TYPED_TEST_SUITE(PlainValue, PlainValues);

// Oracle: the same arithmetic on arrays of doubles.
TYPED_TEST(PlainValue, ComputesComponentByComponent) {
    constexpr unsigned int n = sizeof(TypeParam) / sizeof(double);
    using Raw = std::array<double, n>;
    const auto raw = [](const TypeParam& value) {
        Raw doubles;
        std::memcpy(&doubles, &value, sizeof doubles);
        return doubles;
    };
    const TypeParam a = someValue<TypeParam>(1.7), b = someValue<TypeParam>(-0.3);
    const Raw x = raw(a), y = raw(b);
    TypeParam sum = a, difference = a, product = a, quotient = a;
    sum += b;
    difference -= b;
    product *= 3.1;
    quotient /= 3.1;
    for (unsigned int i = 0; i < n; ++i) {
        EXPECT_EQ(raw(a + b)[i], x[i] + y[i]);
        EXPECT_EQ(raw(sum)[i], x[i] + y[i]);
        EXPECT_EQ(raw(a - b)[i], x[i] - y[i]);
        EXPECT_EQ(raw(difference)[i], x[i] - y[i]);
        EXPECT_EQ(raw(-a)[i], -x[i]);
        EXPECT_EQ(raw(a * 3.1)[i], x[i] * 3.1);
        EXPECT_EQ(raw(3.1 * a)[i], x[i] * 3.1);
        EXPECT_EQ(raw(product)[i], x[i] * 3.1);
        EXPECT_EQ(raw(quotient)[i], x[i] / 3.1);
        EXPECT_EQ(raw(TypeParam())[i], 0.0);
    }
}

TYPED_TEST(PlainValue, EqualityIsExactAndNaNEqualsNothing) {
    const TypeParam a = someValue<TypeParam>(2.0);
    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a != a);
    for (unsigned int i = 0; i < sizeof(TypeParam) / sizeof(double); ++i) {
        double doubles[3];
        TypeParam b = a;
        std::memcpy(doubles, &a, sizeof a);
        doubles[i] = std::nextafter(doubles[i], 100.0);
        std::memcpy(&b, doubles, sizeof b);
        EXPECT_TRUE(a != b);
        EXPECT_FALSE(a == b);
        doubles[i] = nan;
        std::memcpy(&b, doubles, sizeof b);
        EXPECT_TRUE(b != b);
        EXPECT_FALSE(b == b);
        EXPECT_EQ(isEqual(b, b, 1e9), 0);
    }
}

TYPED_TEST(PlainValue, ReadsBackWhatItPrintsAtAnyWidth) {
    const TypeParam a = someValue<TypeParam>(0.5);
    for (int width : {0, 12, 30}) {
        std::stringstream text;
        text << std::setprecision(17) << std::setw(width) << a << std::setw(width) << -a;
        TypeParam first, second;
        EXPECT_TRUE(text >> first >> second);
        EXPECT_EQ(first, a);
        EXPECT_EQ(second, -a);
    }
}

TYPED_TEST(PlainValue, TextThatIsNoValueFailsTheStreamAndLeavesTheValue) {
    for (const char* text :
         {"", "[", "[1", "[1,", "[a,2,3]", "[1,2", "[1,2,3", "[1,x,3]", "1e999999,,"}) {
        std::istringstream is(text);
        TypeParam value = someValue<TypeParam>(4.0);
        is >> value;
        if (std::string(text) == "[1,2,3" && sizeof(value) == 16)
            continue;  // complete in the plane
        EXPECT_TRUE(is.fail()) << text;
        EXPECT_EQ(value, someValue<TypeParam>(4.0)) << text;
    }
}

TYPED_TEST(PlainValue, IsStoredAsItsRawDoubles) {
    const test::TemporaryFile place;
    const TypeParam a = someValue<TypeParam>(1e-3), b = someValue<TypeParam>(-7.0);
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        file << a << b;
        EXPECT_EQ(static_cast<ERULong>(file.GetLength()),
                  a.binaryStoreSize() + b.binaryStoreSize());
    }
    EXPECT_EQ(place.bytes(), std::string(reinterpret_cast<const char*>(&a), sizeof a) +
                                 std::string(reinterpret_cast<const char*>(&b), sizeof b));
    ERFile file(place.path(), CFile::modeRead);
    TypeParam first, second, third = a;
    file >> first >> second;
    EXPECT_EQ(first, a);
    EXPECT_EQ(second, b);
    file >> third;  // behind the end
    EXPECT_EQ(third, TypeParam());
}

TYPED_TEST(PlainValue, GoesThroughAnArchiveInTheSameBytes) {
    const test::TemporaryFile place;
    const TypeParam a = someValue<TypeParam>(0.125);
    {
        CFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        CArchive archive(&file, CArchive::store);
        archive << a;
    }
    EXPECT_EQ(place.bytes(), std::string(reinterpret_cast<const char*>(&a), sizeof a));
    CFile file(place.path(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    TypeParam restored;
    archive >> restored;
    EXPECT_EQ(restored, a);
}

TEST(Points, PrintEachInItsBracketsWithTheWidthOnCoordinatesOnly) {
    EXPECT_EQ(printed(ERPoint2D(1, -2.5)), "[1,-2.5]");
    EXPECT_EQ(printed(ERPoint3D(1, 2, 3)), "[1,2,3]");
    EXPECT_EQ(printed(ERVector2D(1, 2)), "{1,2}");
    EXPECT_EQ(printed(ERVector3D(1, 2, 3)), "<1,2,3>");
    EXPECT_EQ(printed(ERPoint3D(1, 20, -3), 4), "[   1,  20,  -3]");
    EXPECT_EQ(printed(ERVector2D(1, 2), 3), "{  1,  2}");
}

TEST(Points, MixWithVectors) {
    const ERPoint2D p(1, 2);
    const ERVector2D v(10, 20);
    EXPECT_EQ(p + v, ERPoint2D(11, 22));
    EXPECT_EQ(p - v, ERPoint2D(-9, -18));
    ERPoint3D q(1, 2, 3);
    q += ERVector3D(1, 1, 1);
    q -= ERVector3D(0, 0, 5);
    EXPECT_EQ(q, ERPoint3D(2, 3, -1));
    EXPECT_EQ(ERVector3D(ERPoint3D(1, 1, 1), q), ERVector3D(1, 2, -2));
    EXPECT_EQ(ERVector2D(ERPoint2D(4, 3), p), ERVector2D(-3, -1));
    EXPECT_EQ(q.asVector3D(), ERVector3D(2, 3, -1));
    ERPoint2D moved(p);
    moved.scale(3);
    moved.translate(ERPoint2D(-1, 1));
    EXPECT_EQ(moved, ERPoint2D(2, 7));
    static_assert(std::is_same_v<decltype(p - p), ERPoint2D>);
    static_assert(std::is_same_v<decltype(v / 2.0), ERPoint2D>);
    static_assert(std::is_same_v<decltype(ERVector3D() / 2.0), ERPoint3D>);
    EXPECT_EQ(v / 4.0, ERPoint2D(2.5, 5));
}

TEST(Points, AxesNameCoordinates) {
    EXPECT_EQ(ERVector2D(Coord2D::CoordY), ERVector2D(0, 1));
    EXPECT_EQ(ERVector3D(Coord3D::CoordX), ERVector3D(1, 0, 0));
    EXPECT_EQ(ERVector3D(Coord3D::CoordZ), ERVector3D(0, 0, 1));
    ERPoint3D p;
    p[Coord3D::CoordY] = 4;
    p.z() = 5;
    EXPECT_EQ(p, ERPoint3D(0, 4, 5));
    EXPECT_EQ(p[Coord3D::CoordZ], 5);
}

TEST(Points, CastsOfDimensionInsertAndDropTheAxis) {
    const ERPoint2D p(1, 2);
    EXPECT_EQ(p.castToPoint3D(Coord3D::CoordX, 9), ERPoint3D(9, 1, 2));
    EXPECT_EQ(p.castToPoint3D(Coord3D::CoordY, 9), ERPoint3D(1, 9, 2));
    EXPECT_EQ(p.castToPoint3D(Coord3D::CoordZ, 9), ERPoint3D(1, 2, 9));
    for (const Coord3D axis : {Coord3D::CoordX, Coord3D::CoordY, Coord3D::CoordZ}) {
        EXPECT_EQ(p.castToPoint3D(axis, 9).castToPoint2D(axis), p);
        const ERVector2D v(3, 4);
        EXPECT_EQ(v.castToVector3D(axis, 9)[axis], 9);
        EXPECT_EQ(v.castToVector3D(axis, 9).castToVector2D(axis), v);
    }
}

TEST(Points, AnAxisOutOfRangeProjectsOnOneSideAndGivesZerosOnTheOther) {
    EXPECT_EQ(ERPoint2D(1, 2).castToPoint3D(outOfRange, 9), ERPoint3D());
    EXPECT_EQ(ERVector2D(1, 2).castToVector3D(outOfRange, 9), ERVector3D());
    EXPECT_EQ(ERPoint3D(1, 2, 3).castToPoint2D(outOfRange), ERPoint2D(1, 2));
    EXPECT_EQ(ERVector3D(1, 2, 3).castToVector2D(outOfRange), ERVector2D(1, 2));
}

TEST(Points, ToleranceIsABoxWithItsBoundary) {
    const double tol = 0.25;
    EXPECT_EQ(isEqual(ERPoint2D(0, 0), ERPoint2D(tol, tol), tol), 1);
    EXPECT_EQ(isEqual(ERPoint3D(0, 0, 0), ERPoint3D(tol, -tol, tol), tol), 1);
    EXPECT_EQ(isEqual(ERVector3D(0, 0, 0), ERVector3D(0, 0, std::nextafter(tol, 1)), tol), 0);
    EXPECT_EQ(isEqual(ERVector2D(0, 0), ERVector2D(-std::nextafter(tol, 1), 0), tol), 0);
    EXPECT_EQ(equalityTolerance, 1e-11);
}

TEST(Points, DistancesAndMidpoints) {
    EXPECT_EQ(distance(ERPoint2D(1, 1), ERPoint2D(4, 5)), 5);
    EXPECT_EQ(distance2(ERPoint3D(0, 0, 0), ERPoint3D(2, 3, 6)), 49);
    EXPECT_EQ(distance(ERPoint3D(0, 0, 0), ERPoint3D(2, 3, 6)), 7);
    EXPECT_EQ(milieu(ERPoint3D(1, 2, 3), ERPoint3D(3, 2, 1)), ERPoint3D(2, 2, 2));
    ERPoint2D a(1, 2), b(3, 4);
    swap(a, b);
    EXPECT_EQ(a, ERPoint2D(3, 4));
    EXPECT_EQ(b, ERPoint2D(1, 2));
}

// The parameter comes from one axis; c may lie off the segment.
TEST(Points, DivVectReadsTheAxisOfTheLongestExtent) {
    EXPECT_EQ(div_vect(ERPoint2D(0, 0), ERPoint2D(4, 1), ERPoint2D(1, 77)), 0.25);
    EXPECT_EQ(div_vect(ERPoint2D(0, 0), ERPoint2D(-2, 2), ERPoint2D(77, 1)), 0.5);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(-4, 3, 3), ERPoint3D(-1, 7, 7)), 0.25);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(4, 4, 1), ERPoint3D(7, 1, 7)), 0.25);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(4, 1, 4), ERPoint3D(7, 7, 1)), 0.25);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(1, 4, -4), ERPoint3D(7, 7, 1)), -0.25);
    EXPECT_TRUE(std::isnan(div_vect(ERPoint2D(), ERPoint2D(), ERPoint2D())));
}

TEST(Vectors, AxeOptimumIsTheLargestWithTiesGoingToTheLaterAxis) {
    EXPECT_EQ(ERVector3D(2, 1, 1).axeOptimum(), Coord3D::CoordX);
    EXPECT_EQ(ERVector3D(-2, 1, 1).axeOptimum(), Coord3D::CoordX);
    EXPECT_EQ(ERVector3D(1, 1, 0).axeOptimum(), Coord3D::CoordY);
    EXPECT_EQ(ERVector3D(0, -3, 2).axeOptimum(), Coord3D::CoordY);
    EXPECT_EQ(ERVector3D(1, 1, 1).axeOptimum(), Coord3D::CoordZ);
    EXPECT_EQ(ERVector3D(2, 1, 2).axeOptimum(), Coord3D::CoordZ);
    EXPECT_EQ(ERVector3D().axeOptimum(), Coord3D::CoordZ);
}

TEST(Vectors, ProductsSatisfyTheirIdentities) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> draw(-5, 5);
    for (int i = 0; i < 200; ++i) {
        const ERVector3D a(draw(random), draw(random), draw(random));
        const ERVector3D b(draw(random), draw(random), draw(random));
        const ERVector3D c = a ^ b;
        EXPECT_NEAR(c * a, 0, 1e-12);
        EXPECT_NEAR(c * b, 0, 1e-12);
        // Lagrange's identity.
        EXPECT_NEAR(norme2(c), norme2(a) * norme2(b) - (a * b) * (a * b), 1e-9);
        const ERVector2D p(a.i(), a.j()), q(b.i(), b.j());
        EXPECT_EQ(p ^ q, c.k());
    }
    EXPECT_EQ(ERVector3D(1, 0, 0) ^ ERVector3D(0, 1, 0), ERVector3D(0, 0, 1));
    EXPECT_EQ(ERVector2D(1, 0) ^ ERVector2D(0, 1), 1);
    EXPECT_EQ(ERVector2D(3, 4).norme(), 5);
    EXPECT_EQ(norme(ERVector3D(2, 3, 6)), 7);
}

TEST(Vectors, NormalizeReachesLengthOneFromEveryLengthButZero) {
    for (double length : {1.0, 1e-5, 1e-120, 1e-155, 1e-160, 1e-200, 1e-300, 1e150, 1e200, 1e307}) {
        SCOPED_TRACE(length);
        ERVector2D plane(3 * length, -4 * length);
        plane.normalize();
        EXPECT_NEAR(plane.i(), 0.6, 4e-16);
        EXPECT_NEAR(plane.j(), -0.8, 4e-16);
        const ERVector3D space = ERVector3D(2 * length, 3 * length, -6 * length).getnormalized();
        EXPECT_NEAR(space.i(), 2.0 / 7, 4e-16);
        EXPECT_NEAR(space.j(), 3.0 / 7, 4e-16);
        EXPECT_NEAR(space.k(), -6.0 / 7, 4e-16);
    }
    EXPECT_EQ(ERVector3D(0, -5e-324, 0).getnormalized(), ERVector3D(0, -1, 0));
    ERVector3D null;
    null.normalize();
    EXPECT_EQ(null, ERVector3D());
    EXPECT_EQ(ERVector2D().getnormalized(), ERVector2D());
}

TEST(Vectors, AnglesAreUnsigned) {
    for (double angle : {0.1, 1.0, 2.0, 3.0}) {
        const ERVector2D u(2, 0), v(3 * std::cos(angle), 3 * std::sin(angle));
        EXPECT_NEAR(anglePI(u, v), angle, 1e-14);
        EXPECT_NEAR(anglePI(v, u), angle, 1e-14);
        EXPECT_NEAR(anglePI(u, ERVector2D(v.i(), -v.j())), angle, 1e-14);
    }
    // In space small and nearly straight angles keep their digits.
    for (double angle : {1e-12, 1e-8, 1.0, pi - 1e-6}) {
        const ERVector3D u(0, 5, 0), v(std::sin(angle), std::cos(angle), 0);
        EXPECT_NEAR(anglePI(u, v), angle, 1e-15 + 1e-15 * angle);
    }
    EXPECT_EQ(anglePI(ERVector3D(0, 0, 1), ERVector3D(0, 0, -2)), pi);
}

// A product of unit vectors above 1 gives NaN: callers test for it, so it is not clamped away.
TEST(Vectors, ParallelVectorsOfThePlaneMayHaveNoAngle) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> draw(0.1, 1);
    int notANumber = 0;
    for (int i = 0; i < 1000; ++i) {
        const ERVector2D u(draw(random), draw(random));
        const double product = u.getnormalized() * u.getnormalized();
        EXPECT_EQ(std::isnan(anglePI(u, u)), product > 1.0);
        notANumber += product > 1.0;
    }
    EXPECT_GT(notANumber, 0);
}

TEST(CompareDouble, SortsWithTheStandardRoutine) {
    std::vector<double> values{3, -1, 0.5, -0.0, 1e300, -1e-300, 2};
    std::vector<double> expected = values;
    std::sort(expected.begin(), expected.end());
    std::qsort(values.data(), values.size(), sizeof(double), compareDouble);
    EXPECT_EQ(values, expected);
    const double zero = 0.0;
    EXPECT_EQ(compareDouble(&zero, &nan), 0);
}

}  // namespace
}  // namespace kerf
