#include "kerf/values/point.h"

#include <array>
#include <bit>

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

const auto outOfRange = static_cast<Coord3D>(7);

template <class T>
using Raw = std::array<double, sizeof(T) / sizeof(double)>;
template <class T>
Raw<T> raw(const T& value) {
    return std::bit_cast<Raw<T>>(value);
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
    const TypeParam a = someValue<TypeParam>(1.7), b = someValue<TypeParam>(-0.3);
    TypeParam sum = a, difference = a, product = a, quotient = a;
    sum += b;
    difference -= b;
    product *= 3.1;
    quotient /= 3.1;
    EXPECT_TRUE(sum == TypeParam(a + b) && difference == TypeParam(a - b));
    EXPECT_TRUE(product == TypeParam(a * 3.1) && product == TypeParam(3.1 * a));
    for (unsigned int i = 0; i < raw(a).size(); ++i) {
        const double x = raw(a)[i], y = raw(b)[i];
        EXPECT_EQ(raw(sum)[i], x + y);
        EXPECT_EQ(raw(difference)[i], x - y);
        EXPECT_EQ(raw<TypeParam>(-a)[i], -x);
        EXPECT_EQ(raw(product)[i], x * 3.1);
        EXPECT_EQ(raw(quotient)[i], x / 3.1);
    }
}

TYPED_TEST(PlainValue, EqualityIsExactOrABoxWithItsBoundaryAndNaNEqualsNothing) {
    const TypeParam a;
    EXPECT_TRUE(a == a && !(a != a));
    for (unsigned int i = 0; i < raw(a).size(); ++i) {
        for (const double off : {1e-300, -0.25, std::nextafter(0.25, 1), nan}) {
            Raw<TypeParam> doubles = raw(a);
            doubles[i] = off;
            const auto b = std::bit_cast<TypeParam>(doubles);
            EXPECT_TRUE(a != b && !(a == b));
            EXPECT_EQ(b == b, !std::isnan(off));
            EXPECT_EQ(isEqual(a, b, 0.25), std::fabs(off) <= 0.25);
        }
    }
}

TYPED_TEST(PlainValue, ReadsBackWhatItPrintsAtAnyWidthAndNothingElse) {
    const TypeParam a = someValue<TypeParam>(0.5);
    std::stringstream printedTwice;
    printedTwice << std::setprecision(17) << a << std::setw(30) << -a;
    TypeParam first, second;
    EXPECT_TRUE((printedTwice >> first >> second) && first == a && second == -a);
    for (const char* text : {"", "[", "[1,", "[a,2,3]", "[1,2", "[1,x,3]", "1e999999,,"}) {
        std::istringstream is(text);
        TypeParam value = a;
        EXPECT_FALSE(is >> value) << text;
        EXPECT_EQ(value, a) << text;
    }
}

TYPED_TEST(PlainValue, IsStoredAsItsRawDoubles) {
    expectStoredAsItLies(someValue<TypeParam>(1e-3));
    const TemporaryFile place;
    ERFile empty(place.path(), createFile);
    TypeParam value = someValue<TypeParam>(1);
    empty >> value;
    EXPECT_EQ(value, TypeParam());
}

TEST(Points, MixWithVectorsAndPrintEachInTheirBracketsWithTheWidthOnCoordinatesOnly) {
    EXPECT_EQ(printed(ERPoint2D(1, -2.5)) + printed(ERVector3D(1, 2, 3)), "[1,-2.5]<1,2,3>");
    EXPECT_EQ(printed(ERPoint3D(1, 20, -3), 4), "[   1,  20,  -3]");
    EXPECT_EQ(printed(ERVector2D(1, 2), 3), "{  1,  2}");
    const ERPoint2D p(1, 2);
    const ERVector2D v(10, 20);
    EXPECT_TRUE(p + v == ERPoint2D(11, 22) && p - v == ERPoint2D(-9, -18));
    EXPECT_EQ(ERVector3D(ERPoint3D(1, 1, 1), ERPoint3D(2, 3, -1)), ERVector3D(1, 2, -2));
    static_assert(std::is_same_v<decltype(v / 2.0), ERPoint2D>);
    static_assert(std::is_same_v<decltype(ERVector3D() / 2.0), ERPoint3D>);
    EXPECT_EQ(distance(p, ERPoint2D(4, 6)) + distance2(ERPoint3D(), ERPoint3D(2, 3, 6)), 54);
}

TEST(Points, CastsOfDimensionInsertAndDropTheAxis) {
    const ERPoint2D p(1, 2);
    const ERVector2D v(3, 4);
    const ERPoint3D raised[] = {{9, 1, 2}, {1, 9, 2}, {1, 2, 9}};
    for (int k = 0; k < 3; ++k) {
        const auto axis = static_cast<Coord3D>(k);
        EXPECT_EQ(p.castToPoint3D(axis, 9), raised[k]);
        EXPECT_EQ(raised[k].castToPoint2D(axis), p);
        EXPECT_EQ(v.castToVector3D(axis, 9)[axis], 9);
        EXPECT_EQ(v.castToVector3D(axis, 9).castToVector2D(axis), v);
        EXPECT_EQ(ERVector3D(axis)[axis], 1);
    }
    // An axis out of range projects along z on one side and gives zeros on the other.
    EXPECT_EQ(p.castToPoint3D(outOfRange, 9), ERPoint3D());
    EXPECT_EQ(v.castToVector3D(outOfRange, 9), ERVector3D());
    EXPECT_EQ(ERPoint3D(1, 2, 3).castToPoint2D(outOfRange), p);
    EXPECT_EQ(ERVector3D(3, 4, 5).castToVector2D(outOfRange), v);
}

// The parameter comes from one axis; c may lie off the segment.
TEST(Points, DivVectReadsTheAxisOfTheLongestExtent) {
    EXPECT_EQ(div_vect(ERPoint2D(0, 0), ERPoint2D(-2, 2), ERPoint2D(77, 1)), 0.5);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(-4, 3, 3), ERPoint3D(-1, 7, 7)), 0.25);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(4, 4, 1), ERPoint3D(7, 1, 7)), 0.25);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(4, 1, 4), ERPoint3D(7, 7, 1)), 0.25);
    EXPECT_EQ(div_vect(ERPoint3D(0, 0, 0), ERPoint3D(1, 4, -4), ERPoint3D(7, 7, 1)), -0.25);
    EXPECT_TRUE(std::isnan(div_vect(ERPoint2D(), ERPoint2D(), ERPoint2D())));
}

TEST(Vectors, AxeOptimumIsTheLargestWithTiesGoingToTheLaterAxis) {
    EXPECT_EQ(ERVector3D(-2, 1, 1).axeOptimum(), Coord3D::CoordX);
    EXPECT_EQ(ERVector3D(0, -3, 2).axeOptimum(), Coord3D::CoordY);
    EXPECT_EQ(ERVector3D(2, 1, 2).axeOptimum(), Coord3D::CoordZ);
    EXPECT_EQ(ERVector3D().axeOptimum(), Coord3D::CoordZ);
}

TEST(Vectors, ProductsSatisfyTheirIdentities) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> draw(-5, 5);
    for (int i = 0; i < 200; ++i) {
        const ERVector3D a(draw(random), draw(random), draw(random)), b(draw(random), 1, i);
        const ERVector3D c = a ^ b;
        EXPECT_NEAR(c * a, 0, 1e-9);
        // Lagrange's identity.
        EXPECT_NEAR(norme2(c), norme2(a) * norme2(b) - (a * b) * (a * b), 1e-9 * norme2(b));
        EXPECT_EQ(ERVector2D(a.i(), a.j()) ^ ERVector2D(b.i(), b.j()), c.k());
    }
    EXPECT_EQ(ERVector3D(3, 0, 0) ^ ERVector3D(0, 1, 0), ERVector3D(0, 0, 3));
}

TEST(Vectors, NormalizeReachesLengthOneFromEveryLengthButZero) {
    for (double length : {1.0, 1e-120, 1e-155, 1e-160, 1e-300, 1e150, 1e307}) {
        SCOPED_TRACE(length);
        ERVector2D plane(3 * length, -4 * length);
        plane.normalize();
        EXPECT_TRUE(isEqual(plane, ERVector2D(0.6, -0.8), 4e-16));
        const ERVector3D space = ERVector3D(2 * length, 3 * length, -6 * length).getnormalized();
        EXPECT_TRUE(isEqual(space, ERVector3D(2, 3, -6) * (1.0 / 7), 4e-16));
    }
    EXPECT_EQ(ERVector3D(0, -5e-324, 0).getnormalized(), ERVector3D(0, -1, 0));
    EXPECT_EQ(ERVector3D().getnormalized(), ERVector3D());
}

TEST(Vectors, AnglesAreUnsignedAndInSpaceKeepTheirDigits) {
    for (double angle : {1e-12, 1e-8, 1.0, 2.0, pi - 1e-6}) {
        const double c = std::cos(angle), s = std::sin(angle);
        const double inPlane = anglePI(ERVector2D(2, 0), ERVector2D(3 * c, -3 * s));
        EXPECT_NEAR(inPlane, angle, s > 0.5 ? 1e-14 : 1e-7);
        EXPECT_NEAR(anglePI(ERVector3D(0, 5, 0), ERVector3D(s, c, 0)), angle,
                    1e-15 + 1e-15 * angle);
    }
    EXPECT_EQ(anglePI(ERVector3D(0, 0, 1), ERVector3D(0, 0, -2)), pi);
}

// A product of unit vectors above 1 gives NaN: callers test for it, so it is not clamped away.
TEST(Vectors, ParallelVectorsOfThePlaneMayHaveNoAngle) {
    int notANumber = 0;
    for (int i = 0; i < 1000; ++i) {
        const ERVector2D u(1 + 0.1 * i, 2);
        const double product = u.getnormalized() * u.getnormalized();
        EXPECT_EQ(std::isnan(anglePI(u, u)), product > 1.0);
        notANumber += product > 1.0;
    }
    EXPECT_GT(notANumber, 0);
}

}  // namespace
}  // namespace kerf
