#include "kerf/values/polynomial.h"

#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;

ERPolynome polynomial(const std::vector<double>& c) {
    return ERPolynome(c.data(), static_cast<unsigned int>(c.size()));
}
ERPolynome2Var polynomial2(const std::vector<double>& c, unsigned int inU, unsigned int inV) {
    return ERPolynome2Var(c.data(), inU, inV);
}

ERPolynome fromRoots(const std::vector<double>& roots, ERPolynome p = polynomial({1})) {
    for (const double root : roots) p *= polynomial({-root, 1});
    return p;
}

std::vector<double> byChain(const ERPolynome& p, const ERLimites& limits) {
    const ERVec<double> roots = Zeros(p, limits);
    return {roots.begin(), roots.end()};
}
std::vector<double> byGeneralMethod(const ERPolynome& p, const ERLimites& limits) {
    const ERVec<double> roots = Zeros1(p, limits);
    std::vector<double> sorted(roots.begin(), roots.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

TEST(Polynomial, DegreeIsThatOfTheLastStoredCoefficient) {
    ERPolynome p = polynomial({1, 2, 1e-12, -1e-12});
    const ERPolynome before = p;
    p.reduce(1e-13);
    EXPECT_EQ(p, before);
    p.reduce(1e-12);
    EXPECT_EQ(p, polynomial({1, 2}));
    EXPECT_EQ(before.degree(), 3u) << "copies are independent";
    EXPECT_EQ(ERPolynome(polyConstant, 7).evaluate(infinity), 7.0);

    ERPolynome2Var q = polynomial2({1, 2, 3, 4, 5, 6}, 2, 3);
    q.adjustDegree(3, 1);
    EXPECT_EQ(q, polynomial2({1, 2, 4, 5, 0, 0, 0, 0}, 4, 2));
    q.reduce(2);
    EXPECT_EQ(q, polynomial2({1, 2, 4, 5}, 2, 2));
    q = polynomial2({1, 0, 2, 0}, 2, 2);
    q.reduce(0);
    EXPECT_EQ(q, polynomial2({1, 2}, 2, 1));
}

// Oracle: the arithmetic of the values, on integers that doubles hold exactly.
template <class P, class... X>
void expectArithmeticOfTheValues(const P& p, const P& q, X... x) {
    P sum = p, difference = p, product = p;
    sum += q;
    difference -= q;
    product *= q;
    EXPECT_EQ(sum.evaluate(x...), p.evaluate(x...) + q.evaluate(x...));
    EXPECT_EQ(difference.evaluate(x...), p.evaluate(x...) - q.evaluate(x...));
    EXPECT_EQ(product.evaluate(x...), p.evaluate(x...) * q.evaluate(x...));
    EXPECT_EQ((p / 4).evaluate(x...), p.evaluate(x...) / 4);
}

TEST(Polynomial, CompositionAndDerivativesKeepEveryCoefficient) {
    const ERPolynome p = polynomial({7, 6, 5, 4}), q = polynomial({-1, 2});
    for (const double x : {-3.0, 0.0, 2.0}) {
        expectArithmeticOfTheValues(p, q, x);
        EXPECT_EQ(p(q).evaluate(x), p.evaluate(q.evaluate(x)));
    }
    const ERTValVector<ERPolynome> all = getAllDerivate(p);
    ASSERT_EQ(all.entries(), 4u);
    EXPECT_EQ(all[1], polynomial({6, 10, 12}));
    EXPECT_EQ(all[3], polynomial({24}));
    EXPECT_EQ(p.getDerived(3), polynomial({24}));
    EXPECT_EQ(p.getDerived(4), polynomial({0}));
    ERPolynome cancelled = p;
    const ERPolynome& itself = cancelled;
    cancelled -= itself;
    EXPECT_EQ(cancelled, ERPolynome(polyDegree, 3));
}

TEST(Polynomial2Var, WorksInEachVariableAsInOne) {
    // (1 + 2 v + 3 v^2) + u (4 + 5 v + 6 v^2)
    const ERPolynome2Var p = polynomial2({1, 2, 3, 4, 5, 6}, 2, 3);
    const ERPolynome2Var q = polynomial2({-1, 0, 2, 7, 1, 3, 0, 5, 4, 1, 1, 1}, 4, 3);
    const ERPolynome x = polynomial({1, 2}), y = polynomial({0, -1, 1});
    for (const double u : {-2.0, 0.0, 3.0}) {
        for (const double v : {-1.0, 2.0}) expectArithmeticOfTheValues(p, q, u, v);
        EXPECT_EQ(q(x, y).evaluate(u), q.evaluate(x.evaluate(u), y.evaluate(u)));
    }
    EXPECT_EQ(p.getDerived(1, 1), polynomial2({5, 12}, 1, 2));
    EXPECT_EQ(getAllDerivate(p)[4], p.getDerived(1, 1));
}

TEST(Polynomial, IsStoredAsItsCoefficientsAndWorksAfterAnyDamage) {
    const TemporaryFile place;
    const ERPolynome p = polynomial({1, -2.5, 3});
    const ERPolynome2Var q = polynomial2({1, 2, 3, 4, 5, 6}, 2, 3);
    ERPolynome inOne = polynomial({9});
    ERPolynome2Var inTwo;
    {
        ERFile file(place.path(), createFile);
        file << p << q;
        file.SeekTo(0);
        file >> inOne >> inTwo;
        EXPECT_EQ(inOne, p);
        EXPECT_EQ(inTwo, q);
    }
    const std::vector<std::vector<int>> damaged = {
        {}, {-8, 0, 0}, {0x7FFFFFF8, 0, 0}, {5, 0, 40, 0, 0}, {-1, -1, 8, 0, 0}};
    for (const std::vector<int>& words : damaged) {
        place.setBytes({reinterpret_cast<const char*>(words.data()), 4 * words.size()});
        ERFile file(place.path(), CFile::modeRead);
        inTwo = ERPolynome2Var(polyConstant, 4);
        file >> inOne;
        file.SeekTo(0);
        file >> inTwo;
        EXPECT_LE(inOne.degree(), 2u);
        EXPECT_EQ(inTwo.evaluate(2, 3), 0.0);
    }
}

TEST(Zeros, OfAConstantIsMinusOneOrNone) {
    const ERLimites unit(0, 1);
    ERVec<double> roots(3, 5.0);
    EXPECT_EQ(Zeros(ERPolynome(), unit, roots), 0xFFFFFFFF);
    EXPECT_EQ(ZerosMethode1(ERPolynome(), unit, roots), 0xFFFFFFFF);
    EXPECT_EQ(ZerosMethode1(ERPolynome(polyDegree, 3), unit, roots), 0u) << "stored degree 3";
    EXPECT_THAT(byChain(ERPolynome(), unit), ElementsAre(0, 1));
}

// Oracle: the factors. Roots lie at least 0.1 apart, or in one cluster of half of them 0.05 apart, so
// that slopes there stay far above the errors of the coefficients; the general method takes up to
// eight.
TEST(Zeros, OfProductsOfLinearFactorsAreAllFound) {
    const ERLimites limits(-1.9, 2.1);
    for (unsigned int degree = 3; degree <= 15; ++degree) {
        for (unsigned int seed = 0; seed < 40; ++seed) {
            SCOPED_TRACE(testing::Message() << "degree " << degree << ", seed " << seed);
            std::mt19937 random(100 * degree + seed);
            std::uniform_real_distribution<double> wide(-2.0, 2.0), narrow(0.2, 0.8);
            const bool clustered = seed % 2 == 1;
            std::vector<double> chosen, inside;
            while (chosen.size() < degree) {
                const bool inCluster = clustered && chosen.size() < degree / 2;
                const double r = inCluster ? narrow(random) : wide(random);
                const double apart = inCluster ? 0.05 : 0.1;
                const auto close = [&](double other) { return std::fabs(other - r) < apart; };
                if (std::any_of(chosen.begin(), chosen.end(), close)) continue;
                chosen.push_back(r);
                if (limits.inBound(r)) inside.push_back(r);
            }
            std::sort(inside.begin(), inside.end());
            const ERPolynome p = fromRoots(chosen);
            EXPECT_THAT(byChain(p, limits), Pointwise(DoubleNear(1e-4), inside));
            if (degree > 8) continue;
            EXPECT_THAT(byGeneralMethod(p, limits), Pointwise(DoubleNear(1e-8), inside));
        }
    }
}

// On [0, 1] the first derivative is zero at 0 alone. Newton's method runs from the middle to the root
// at 5 and cannot leave the start 0, so that only the second end leads to the root.
TEST(Zeros, AreNotTheStartsThatASearchCannotLeave) {
    const ERPolynome p = polynomial({-12.5, 0, 0.5, 0, 0, 0, 0, 0, 25, 0, -1});
    EXPECT_THAT(byChain(p, ERLimites(0, 1)), Pointwise(DoubleNear(1e-12), {std::pow(0.5, 0.125)}));
}

TEST(Zeros, AreTheSameInTheArraysOfTheCaller) {
    const ERLimites limits(-1, 2);
    const std::vector<double> samples[] = {{},     {0},        {3},       {-1, 2},
                                           {0, 0}, {2, -3, 1}, {0, 0, 0}, {1, -4, 0, 3, 1, -1}};
    for (const std::vector<double>& c : samples) {
        SCOPED_TRACE(testing::Message() << c.size() << " coefficients");
        const auto n = static_cast<unsigned int>(c.size());
        std::vector<double> roots(rootsRoom(n)), work(rootsWork(n));
        roots.resize(Zeros(c.data(), n, limits, roots.data(), work.data()));
        EXPECT_EQ(roots, byChain(polynomial(c), limits));
    }
}

TEST(Zeros, OnALimitAreIncludedOnceAndNullLeadingCoefficientsDoNotCount) {
    const ERPolynome p = fromRoots({1, 2, 3, 4}), linear = polynomial({-1.5, 1});
    EXPECT_THAT(byGeneralMethod(p, ERLimites(1, 3)), ElementsAre(1, 2, 3));
    EXPECT_THAT(byChain(p, ERLimites(1, 3)), Pointwise(DoubleNear(1e-14), {1, 2, 3}));
    EXPECT_EQ(Zeros(linear, ERLimites(2, 1)).length(), 0u) << "reversed limits";
    EXPECT_THAT(byGeneralMethod(polynomial({2, -3, 1, 1e-10, -9e-11, 1e-12}), ERLimites(-1e9, 1e9)),
                ElementsAre(1, 2));
    // The chain of derivatives passes through a constant and a linear polynomial of higher degree.
    EXPECT_THAT(byChain(polynomial({2, -3, 1, 0, 0}), ERLimites(0, 5)),
                Pointwise(DoubleNear(1e-14), {1, 2}));
}

// By the chain each root stands once, be it only nearly one; by the general method as often as its
// multiplicity, and not at all when rounding has moved the pair off the real axis.
TEST(Zeros, OfMultipleRootsDifferBetweenTheMethods) {
    const ERPolynome touching = polynomial({0.25, -1, 1}),
                     raised = polynomial({0.25 + 1e-12, -1, 1});
    EXPECT_THAT(byGeneralMethod(touching, ERLimites(0, 1)), ElementsAre(0.5, 0.5));
    EXPECT_THAT(byGeneralMethod(raised, ERLimites(0, 1)), ElementsAre());
    EXPECT_THAT(byChain(raised, ERLimites(0, 1)), ElementsAre(0.5));
}

TEST(Zeros, OfHostilePolynomialsEnd) {
    std::mt19937 random(1);
    std::vector<double> wild(1001);
    for (double& c : wild)
        c = std::ldexp(random() % 2 ? 1.0 : -1.0, static_cast<int>(random() % 1800) - 900);
    const ERLimites wide(-10, 10), undefined(nan, nan);
    for (const std::vector<double>& c :
         {wild, {infinity, 1, -infinity, nan}, {1e308, -1e308, 1e308, -1e308}, {1e-320, 1e-300}}) {
        for (const double r : byChain(polynomial(c), wide)) EXPECT_EQ(wide.inBound(r), 1);
        for (const double r : byGeneralMethod(polynomial(c), wide)) EXPECT_EQ(wide.inBound(r), 1);
        EXPECT_THAT(byChain(polynomial(c), undefined), ElementsAre());
    }
}

}  // namespace
}  // namespace kerf
