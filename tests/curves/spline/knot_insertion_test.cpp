#include "kerf/curves/spline/knot_insertion.h"  // first, so that it proves it needs nothing before it

#include <limits>

#include "kerf/curves/spline/bernstein.h"
#include "kerf/curves/spline/degree_elevation.h"
#include "tests/curves/spline/spline_checks.h"

namespace kerf {
namespace {

using test::drawn;
using test::drawnBelow;
using test::maxDifference;
using test::maxDistance;
using test::Random;
using test::randomSpline;
using test::Spline;

// Poles lie within 2, and insertion takes convex combinations only.
constexpr double tight = 1e-13;

template <class E>
class KnotInsertion : public ::testing::Test {};
TYPED_TEST_SUITE(KnotInsertion, test::PoleTypes);

// A knot or any other parameter of the domain.
template <class E>
double drawnParameter(const Spline<E>& s, Random& random) {
    if (random() % 2 == 0)
        return s.knots[s.degree + drawnBelow(s.poles.length() - s.degree + 1, random)];
    return drawn(random, s.start(), s.end());
}

template <class E>
unsigned int multiplicity(const Spline<E>& s, double u) {
    const ERKnot knot(s.knots, u);
    return knot.error() ? 0 : knot.multiplicity();
}

// Oracle: the curve by its definition, before and after.
TYPED_TEST(KnotInsertion, LeavesTheCurveAndStopsAtFullMultiplicity) {
    Random random(31);
    for (int round = 0; round < 120; ++round) {
        const auto before = randomSpline<TypeParam>(drawnBelow(6, random), random, round % 3 != 0);
        auto after = before;
        const double u = drawnParameter(before, random);
        const unsigned int times = drawnBelow(9, random), s = multiplicity(before, u);
        SCOPED_TRACE(testing::Message()
                     << "round " << round << ", u = " << u << ", " << times << " times\n"
                     << before.knots);
        Boehm(after.poles, after.knots, after.degree, u, times);
        const unsigned int inserted = std::min(times, after.degree + 1 - s);
        EXPECT_EQ(after.poles.length(), before.poles.length() + inserted);
        EXPECT_TRUE(after.knots.fits(after.poles.length()));
        EXPECT_EQ(multiplicity(after, u), s + inserted);
        EXPECT_LE(maxDistance(before, after, before.start(), before.end()), tight);
    }
}

TYPED_TEST(KnotInsertion, MakesKnotsCommon) {
    Random random(37);
    for (int round = 0; round < 60; ++round) {
        const unsigned int degree = 1 + drawnBelow(4, random);
        auto a = randomSpline<TypeParam>(degree, random);
        auto b = randomSpline<TypeParam>(degree, random);
        b.knots.reparametrize(a.knots.limites());
        ERVec<double> aligned(b.knots.getVec());  // exactly the same ends, and a common inner knot
        std::fill_n(aligned.data(), degree + 1, a.start());
        std::fill_n(aligned.data() + b.poles.length(), degree + 1, a.end());
        b.knots.setKnots(aligned);
        const double common = 0.5 * (a.start() + a.end());
        Boehm(a.poles, a.knots, degree, common, 1);
        Boehm(b.poles, b.knots, degree, common, degree);
        const auto a0 = a, b0 = b;
        CoincideBoehm(a.poles, a.knots, b.poles, b.knots, degree);
        EXPECT_TRUE(a.knots.getVec() == b.knots.getVec());
        EXPECT_TRUE(a.knots.fits(a.poles.length()));
        EXPECT_EQ(b.poles.length(), a.poles.length());
        EXPECT_LE(maxDistance(a0, a, a.start(), a.end()), tight);
        EXPECT_LE(maxDistance(b0, b, a.start(), a.end()), tight);
    }
}

TYPED_TEST(KnotInsertion, CutsToAnyPartOfTheDomainAndExtendsBack) {
    Random random(41);
    for (int round = 0; round < 80; ++round) {
        const auto whole =
            randomSpline<TypeParam>(1 + drawnBelow(4, random), random, round % 3 != 0);
        double a = drawnParameter(whole, random), b = drawnParameter(whole, random);
        if (a > b) std::swap(a, b);
        if (a == b || round % 7 == 0) a = whole.start() - 1, b = whole.end() + 1;
        SCOPED_TRACE(testing::Message() << "round " << round << " " << a << " " << b);
        auto part = whole;
        ReduceDomain(part.poles, part.knots, part.degree, a, b);
        const double from = std::max(a, whole.start()), to = std::min(b, whole.end());
        ASSERT_TRUE(part.knots.fits(part.poles.length()));
        EXPECT_EQ(part.knots.isUnclamped(), 0);
        EXPECT_EQ(part.knots.first(), from);
        EXPECT_EQ(part.knots.last(), to);
        EXPECT_LE(maxDistance(whole, part, from, to), tight);

        // The part's first and last polynomial, carried on: the whole in its own spans there.
        auto longer = part;
        const double low = from - 0.3, high = to + 0.4;
        IncreaseDomain(longer.poles, longer.knots, longer.degree, low, high);
        EXPECT_EQ(longer.knots.first(), low);
        EXPECT_EQ(longer.knots.last(), high);
        EXPECT_TRUE(longer.knots.fits(longer.poles.length()));
        // Extrapolation magnifies the rounding by the powers of its ratio.
        double shortest = 1e300;
        for (unsigned int i = 1; i < part.knots.length(); ++i)
            if (const double span = part.knots[i] - part.knots[i - 1]; span > 0)
                shortest = std::min(shortest, span);
        const double growth = std::pow(2 + 2 / shortest, 2 * part.degree);
        for (double u : {low, low + 0.1, from, to + 0.2, high}) {
            const double side = u <= from ? from : std::nextafter(to, from);
            EXPECT_LE(maxDifference(longer.at(u), part.at(u, side)), 1e-14 * growth) << u;
        }
        EXPECT_LE(maxDistance(part, longer, from, to), 1e-14 * growth);
    }
}

// Oracle: what was inserted comes out again, down to the poles.
TYPED_TEST(KnotInsertion, IsUndoneByRemoval) {
    Random random(43);
    int removed = 0;
    for (int round = 0; round < 150; ++round) {
        const auto before =
            randomSpline<TypeParam>(1 + drawnBelow(5, random), random, round % 3 != 0);
        auto after = before;
        const double u = drawnParameter(before, random);
        if (!(before.start() < u && u < before.end())) continue;
        const unsigned int s = multiplicity(before, u);
        const unsigned int times = 1 + drawnBelow(before.degree + 1, random);
        Boehm(after.poles, after.knots, after.degree, u, times);
        for (unsigned int m = multiplicity(after, u); m > s; --m, ++removed)
            ReduceMul(after.poles, after.knots, after.degree, u);
        EXPECT_TRUE(after.knots.getVec() == before.knots.getVec());
        // Each removal may divide by a small ratio of spans.
        EXPECT_LE(maxDifference(after.poles, before.poles), 1e-9)
            << "round " << round << " degree " << before.degree;
    }
    EXPECT_GT(removed, 100);
}

TEST(KnotRemoval, TakesTheMeanOfTheTwoSides) {
    const double broken[] = {0, 0, 0, 1, 1, 1, 2, 2, 2};
    const ERPoint2D six[] = {{0, 0}, {1, 2}, {2, 0}, {4, 0}, {5, 2}, {6, 0}};
    ERVec<ERPoint2D> poles(six, 6);
    ERKnotVector knots(2, broken, 9);
    ReduceMul(poles, knots, 2, 1.0);  // a break: the mean of its two ends
    const ERPoint2D five[] = {{0, 0}, {1, 2}, {3, 0}, {5, 2}, {6, 0}};
    EXPECT_TRUE(poles == ERVec<ERPoint2D>(five, 5));
    ReduceMul(poles, knots, 2, 1.0);  // the joint goes; its successor is drawn to (5, -2)
    const ERPoint2D four[] = {{0, 0}, {1, 2}, {5, 0}, {6, 0}};
    EXPECT_TRUE(poles == ERVec<ERPoint2D>(four, 4));
    ReduceMul(poles, knots, 2,
              1.0);  // the last one: the polynomials of the two pieces, at the middle
    const ERPoint2D three[] = {
        {0, 0}, {3, 2}, {6, 0}};  // (2, 4) from the left, (4, 0) from the right
    EXPECT_TRUE(poles == ERVec<ERPoint2D>(three, 3)) << poles;
    ReduceMul(poles, knots, 2, 1.0);
    ReduceMul(poles, knots, 2, 0.0);
    EXPECT_EQ(poles.length(), 3u);
    EXPECT_EQ(knots.length(), 6u);
}

TEST(KnotPreparation, BracketsTheKnotAndStepsBackFromTheLast) {
    const double values[] = {0, 0, 0, 1, 2, 2, 3, 3, 3};
    ERKnotVector knots(2, values, 9);
    // u; the knot below with its position and multiplicity, the one above with its own, the span.
    const std::vector<double> cases[] = {{0.5, 0, 0, 0, 1, 3, 1, 2}, {1, 1, 3, 1, 2, 4, 2, 3},
                                         {2, 2, 4, 2, 3, 6, 3, 5},   {2.5, 2, 4, 0, 3, 6, 3, 5},
                                         {3, 2, 4, 2, 3, 6, 3, 5},   {0, 0, 0, 3, 1, 3, 1, 2}};
    for (const auto& expected : cases) {
        const double u = expected[0];
        double low, high;
        unsigned int at, multiplicity, highAt, highMultiplicity, span;
        PrepareBoehm(knots, u, 2, low, at, multiplicity, high, highAt, highMultiplicity, span);
        const std::vector<double> found{u,
                                        low,
                                        double(at),
                                        double(multiplicity),
                                        high,
                                        double(highAt),
                                        double(highMultiplicity),
                                        double(span)};
        EXPECT_EQ(found, expected);
    }
}

// Oracle: the curve's definition at the parameters of the span.
TYPED_TEST(KnotInsertion, GivesTheBezierPolesOfASpan) {
    Random random(47);
    for (int round = 0; round < 60; ++round) {
        const auto s = randomSpline<TypeParam>(drawnBelow(7, random), random, round % 2 == 0);
        const unsigned int span = s.knots.FindSpan(drawnParameter(s, random));
        ERVec<TypeParam> bezier(s.degree + 1);
        spline::bezierPolesOfSpan(spline::doubles(s.poles.data()), spline::dimensionOf<TypeParam>,
                                  s.knots.data(), s.degree, span, spline::doubles(bezier.data()));
        const double a = s.knots[span], b = s.knots[span + 1];
        for (double t : {0.0, 0.2, 0.7, 1.0})
            EXPECT_LE(
                maxDifference(Casteljau(bezier.data(), s.degree + 1, t), s.at(a + t * (b - a), a)),
                tight);
    }
}

// Grids: one pole is a whole row, and many knots go in at once.
TEST(KnotInsertionInRows, EqualsThatOfEachColumn) {
    Random random(53);
    const auto s = randomSpline<ERPole3DH>(3, random);
    ERVec<double> doubled;
    for (unsigned int i = 0; i < s.poles.length(); ++i)
        for (unsigned int k = 0; k < 8; ++k) doubled.append(spline::doubles(&s.poles[i])[k % 4]);
    const double inserted[] = {s.start(), s.start() + 0.1, s.start() + 0.1, s.end(), 1e9};
    ERVec<double> rows(doubled.length() + 5 * 8), knots(s.knots.length() + 5);
    EXPECT_EQ(spline::insertKnots(doubled.data(), s.poles.length(), 8, s.knots.data(), 3, inserted,
                                  5, rows.data(), knots.data()),
              2u);
    auto single = s;
    Boehm(single.poles, single.knots, 3, inserted[1], 2);
    for (unsigned int i = 0; i < single.poles.length(); ++i)
        for (unsigned int k = 0; k < 8; ++k)
            EXPECT_EQ(rows[i * 8 + k], spline::doubles(&single.poles[i])[k % 4]);
    knots.troncat(single.knots.length());
    EXPECT_EQ(knots, single.knots.getVec());
}

TYPED_TEST(KnotInsertion, DoesNothingOnDataThatMakeNoCurve) {
    Random random(59);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const double values[] = {0, 1, 1, 2, nan, -3, inf, 2};
    for (int round = 0; round < 2000; ++round) {
        ERVec<double> knots;
        for (unsigned int n = drawnBelow(12, random); n-- > 0;) knots.append(values[random() % 8]);
        if (round % 2 == 0) std::sort(knots.data(), knots.data() + knots.length(), std::less<>());
        const unsigned int degree = round % 50 == 0 ? 0xFFFFFFFF : drawnBelow(5, random);
        Spline<TypeParam> s;
        s.knots = ERKnotVector(degree, knots);
        s.poles = test::randomPoles<TypeParam>(drawnBelow(9, random), random);
        if (round % 4 == 0 && knots.length() > degree)
            s.poles = test::randomPoles<TypeParam>(knots.length() - degree - 1, random);
        const bool isCurve =
            spline::isCurve(knots.data(), knots.length(), s.poles.length(), degree);
        const double u = values[random() % 8], v = values[random() % 8];
        auto t = s;
        const auto unchanged = [&] {
            return t.poles == s.poles && t.knots.getVec() == s.knots.getVec();
        };
        Boehm(t.poles, t.knots, degree, u, 0);
        EXPECT_TRUE(unchanged());
        Boehm(t.poles, t.knots, degree, u, 4000000000u);
        ReduceMul(t.poles, t.knots, degree, v);
        auto other = t;
        CoincideBoehm(t.poles, t.knots, other.poles, other.knots, degree);
        IncreaseDomain(t.poles, t.knots, degree, u, v);
        ReduceDomain(t.poles, t.knots, degree, u, v);
        Prautzsch(t.poles, t.knots, degree);
        EXPECT_TRUE(isCurve || unchanged());
    }
}

}  // namespace
}  // namespace kerf
