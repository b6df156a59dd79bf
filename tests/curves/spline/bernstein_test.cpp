#include "kerf/curves/spline/bernstein.h"  // first, so that it proves it needs nothing before it

#include <limits>

#include "tests/curves/spline/spline_checks.h"

namespace kerf {
namespace {

using test::bernsteinSum;
using test::maxDifference;
using test::Random;
using test::randomPoles;

template <class E>
class Bernstein : public ::testing::Test {};
TYPED_TEST_SUITE(Bernstein, test::PoleTypes);

// Oracle: the definition in long double. Rounding grows with the number of levels, and beyond [0, 1]
// with the size of the terms, (2 |t| + 1)^p.
TYPED_TEST(Bernstein, EvaluationEqualsTheSumThatDefinesIt) {
    Random random(3);
    for (unsigned int n : {1u, 2u, 3u, 4u, 5u, 6u, 12u, 50u}) {
        const auto poles = randomPoles<TypeParam>(n, random);
        for (double t : {0.0, 0.3, 0.499999, 0.8, 1.0, -0.25, 1.25}) {
            SCOPED_TRACE(testing::Message() << n << " poles, t = " << t);
            const double tolerance = 1e-15 * n * (t < 0 || t > 1 ? std::pow(1.5, n) : 1.0);
            const TypeParam expected = bernsteinSum(poles, t);
            EXPECT_LE(maxDifference(Casteljau(poles.data(), n, t), expected), tolerance);
            EXPECT_LE(maxDifference(Horner(poles.data(), n, t), expected), tolerance);
        }
        EXPECT_EQ(Casteljau(poles.data(), n, 0.0), poles[0]);
        EXPECT_EQ(Horner(poles.data(), n, 0.0), poles[0]);
        EXPECT_EQ(Horner(poles.data(), n, 1.0), poles[n - 1]);
    }
}

TYPED_TEST(Bernstein, EvaluationOfAThousandPolesOrNoneStaysFinite) {
    Random random(5);
    const auto poles = randomPoles<TypeParam>(1200, random);
    for (unsigned int n : {901u, 902u, 1030u, 1200u})
        for (double t : {0.0, 0.01, 0.5, 0.7}) {
            const auto a = Casteljau(poles.data(), n, t), b = Horner(poles.data(), n, t);
            EXPECT_LE(maxDifference(a, b), 1e-12) << n << " " << t;
        }
    EXPECT_EQ(Casteljau(poles.data(), 0, 0.5), TypeParam());
    EXPECT_EQ(Horner(poles.data(), 0, 0.5), TypeParam());
}

// The poles of a cubic with a closed form, as whole numbers: exact in every step at t = 1/4.
TEST(BernsteinTriangle, HoldsAllLevels) {
    const double poles[] = {0, 64, 64, 128};
    double triangle[10];
    CasteljauAll(poles, triangle, 4, 0.25, 1);
    const double expected[] = {0, 64, 64, 128, 16, 64, 80, 28, 68, 38};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(triangle[i], expected[i]) << i;
}

TYPED_TEST(Bernstein, DomainIsRedefinedToAnyPart) {
    Random random(9);
    const std::pair<double, double> parts[] = {{0, 1},      {0.2, 0.7}, {0.7, 0.2},
                                               {-0.3, 1.4}, {0.4, 0},   {1, 0},
                                               {-0.5, 0},   {0, 0},     {0.6, 0.6}};
    for (unsigned int n : {1u, 2u, 4u, 8u})
        for (const auto& [a, b] : parts) {
            SCOPED_TRACE(testing::Message() << n << " poles, [" << a << ", " << b << "]");
            const auto poles = randomPoles<TypeParam>(n, random);
            auto part = poles;
            RedefineDomain(part.data(), n, a, b);
            // Turned round, the first step goes beyond the part: by a / b.
            const double tolerance = a > b && b > 0 ? 1e-15 * std::pow(2 * a / b + 1, n) : 1e-12;
            for (double t : {0.0, 0.35, 0.9, 1.0})
                EXPECT_LE(maxDifference(Casteljau(part.data(), n, t),
                                        bernsteinSum(poles, a + t * (b - a))),
                          tolerance);
            EXPECT_TRUE(part == poles || a != 0 || b != 1);
        }
}

// The derivatives of sum P_i B_i by t, from the definition: differences of the poles.
template <class E>
E derivative(ERVec<E> poles, double t, unsigned int order) {
    for (; order > 0; --order) {
        if (poles.length() < 2) return E();
        ERVec<E> differences(poles.length() - 1);
        for (unsigned int i = 0; i < differences.length(); ++i)
            differences[i] = (poles[i + 1] - poles[i]) * (poles.length() - 1.0);
        poles = differences;
    }
    return bernsteinSum(poles, t);
}

template <class E, class Info>
void expectDerivatives(const ERVec<E>& poles, double u, const ERLimites& limits, const Info& info) {
    const double t = limits.ratio(u);
    const double length = limits.amplitude();
    using Point = std::decay_t<decltype(info.point())>;
    using Vector = std::decay_t<decltype(info.tangente())>;
    const E a = derivative(poles, t, 0), da = derivative(poles, t, 1) / length;
    const E dda = derivative(poles, t, 2) / length;  // once
    Point c = a.castToPoint();
    Vector first(da.thePoint()), second(dda.thePoint());
    if constexpr (E::isRational() != 0) {
        first = Vector((da.thePoint() - c * da.weigth()) / a.weigth());
        second = Vector((dda.thePoint() - Point(first) * (2 * da.weigth()) - c * dda.weigth()) /
                        a.weigth());
    }
    EXPECT_TRUE(isEqual(info.point(), c, 1e-13));
    EXPECT_TRUE(isEqual(info.tangente(), first, 1e-11));
    EXPECT_TRUE(isEqual(info.secondDerivative(), second, 1e-10));
    EXPECT_EQ(info.parameter(), t);
}

// Oracle: the hodographs; the length of the limits divides the second derivative once.
TYPED_TEST(Bernstein, DerivativesFollowTheHodographsAndTheQuotientRule) {
    Random random(13);
    for (unsigned int n : {1u, 2u, 3u, 4u, 9u, 30u})
        for (const auto& limits : {ERLimites(0, 1), ERLimites(2, 6)}) {
            SCOPED_TRACE(testing::Message() << n << " poles over " << limits);
            auto poles = randomPoles<TypeParam>(n, random);
            for (unsigned int i = 0; i < n; ++i) poles[i] *= 1.0 / n;  // so that tolerances hold
            for (double ratio : {0.0, 0.3, 1.0}) {
                const double u = limits(ratio);
                expectDerivatives(poles, u, limits, CasteljauAll(poles.data(), n, u, limits));
            }
        }
    const auto none = CasteljauAll(static_cast<const TypeParam*>(nullptr), 0, 0.5, ERLimites(0, 1));
    EXPECT_EQ(none.tangente().norme(), 0.0);
}

TYPED_TEST(Bernstein, NumbersThatAreNoneDoNoHarm) {
    Random random(17);
    using Limits = std::numeric_limits<double>;
    auto poles = randomPoles<TypeParam>(4, random);
    for (double t : {Limits::quiet_NaN(), Limits::infinity(), 1e308, 5e-324}) {
        Casteljau(poles.data(), 4, t);
        Horner(poles.data(), 4, t);
        CasteljauAll(poles.data(), 4, t, ERLimites(1, 1));
        auto part = poles;
        RedefineDomain(part.data(), 4, t, 0.0);
        RedefineDomain(part.data(), 4, t, t);
    }
}

}  // namespace
}  // namespace kerf
