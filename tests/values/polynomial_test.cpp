#include "kerf/values/polynomial.h"

#include <algorithm>

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

ERPolynome polynomial(const std::vector<double>& c) {
    return ERPolynome(c.data(), static_cast<unsigned int>(c.size()));
}

ERPolynome fromRoots(const std::vector<double>& roots, ERPolynome p = polynomial({1})) {
    for (const double root : roots) p *= polynomial({-root, 1});
    return p;
}

std::vector<double> values(const ERVec<double>& v) { return {v.begin(), v.end()}; }

std::vector<double> sorted(const ERVec<double>& v) {
    std::vector<double> result = values(v);
    std::sort(result.begin(), result.end());
    return result;
}

void expectNear(const std::vector<double>& found, const std::vector<double>& expected,
                double tolerance) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], expected[i], tolerance);
}

TEST(Polynomial, DegreeIsThatOfTheLastStoredCoefficient) {
    ERPolynome p = polynomial({1, 2, 1e-12, -1e-12});
    const ERPolynome before = p;
    p.reduce(1e-13);
    EXPECT_EQ(p, before);
    p.reduce(1e-12);
    EXPECT_EQ(p, polynomial({1, 2}));
    EXPECT_EQ(before.degree(), 3u) << "copies are independent";
    p.adjustDegree(3);
    EXPECT_EQ(p, polynomial({1, 2, 0, 0}));
    p.reduce(2);
    EXPECT_EQ(p, ERPolynome());
    p = polynomial({1, nan});
    p.reduce(1e300);
    EXPECT_EQ(p.degree(), 1u);
    EXPECT_EQ(ERPolynome(polyConstant, 7).evaluate(infinity), 7.0);
    EXPECT_EQ(polynomial({1, -2}).evaluate(infinity), -infinity);
    EXPECT_EQ(ERPolynome2Var(polyConstant, 7).evaluate(infinity, infinity), 7.0);
}

// Oracle: the arithmetic of the values, on integers that doubles hold exactly.
TEST(Polynomial, ArithmeticIsThatOfTheValues) {
    const std::vector<ERPolynome> samples = {ERPolynome(), polynomial({3}), polynomial({-1, 2}),
                                             polynomial({0, 0, 1}), polynomial({5, -4, 3, -2})};
    for (const ERPolynome& p : samples) {
        for (const ERPolynome& q : samples) {
            ERPolynome sum = p, difference = p, product = p;
            sum += q;
            difference -= q;
            product *= q;
            EXPECT_EQ(product.degree(), p.degree() + q.degree());
            EXPECT_EQ(p(q).degree(), p.degree() * q.degree());
            for (const double x : {-3.0, 0.0, 1.0, 2.0}) {
                EXPECT_EQ(sum.evaluate(x), p.evaluate(x) + q.evaluate(x));
                EXPECT_EQ(difference.evaluate(x), p.evaluate(x) - q.evaluate(x));
                EXPECT_EQ(product.evaluate(x), p.evaluate(x) * q.evaluate(x));
                EXPECT_EQ(p(q).evaluate(x), p.evaluate(q.evaluate(x)));
                EXPECT_EQ((p / 4).evaluate(x), p.evaluate(x) / 4);
            }
        }
    }
    const ERPolynome cubic = polynomial({7, 6, 5, 4});
    const ERTValVector<ERPolynome> all = getAllDerivate(cubic);
    EXPECT_TRUE(all.entries() == 4 && all[0] == cubic && all[1] == polynomial({6, 10, 12}));
    EXPECT_EQ(cubic.getDerived(2), polynomial({10, 24}));
    EXPECT_EQ(cubic.getDerived(4), polynomial({0}));
    ERPolynome p = polynomial({1, 2});
    p += p;
    p *= p;
    p *= 0.5;
    EXPECT_EQ(p, polynomial({2, 8, 8}));
    p -= p;
    EXPECT_EQ(p, ERPolynome(polyDegree, 2)) << "cancelled coefficients stay";
}

TEST(Polynomial, IsStoredAsItsCoefficientsAndWorksAfterAnyDamage) {
    const TemporaryFile place;
    const ERPolynome p = polynomial({1, -2.5, 3});
    const double table[] = {1, 2, 3, 4, 5, 6};
    const ERPolynome2Var q(table, 2, 3);
    ERPolynome inOne = polynomial({9});
    ERPolynome2Var inTwo;
    {
        ERFile file(place.path(), createFile);
        file << p << q;
        const auto length = static_cast<ERULong>(file.GetLength());
        EXPECT_EQ(length, p.binaryStoreSize() + q.binaryStoreSize());
        file.SeekTo(0);
        file >> inOne >> inTwo;
        EXPECT_TRUE(inOne == p && inTwo == q);
    }
    EXPECT_EQ(printed(p), "(3)[1,-2.5,3]\n");

    const std::vector<std::vector<int>> damaged = {{},         {-8, 0, 0},       {0x7FFFFFF8, 0, 0},
                                                   {16, 0, 0}, {5, 0, 40, 0, 0}, {-1, -1, 8, 0, 0},
                                                   {3, 0, 0}};
    for (const std::vector<int>& words : damaged) {
        place.setBytes({reinterpret_cast<const char*>(words.data()), 4 * words.size()});
        ERFile file(place.path(), CFile::modeRead);
        inTwo = ERPolynome2Var(polyConstant, 4);
        file >> inOne;
        file.SeekTo(0);
        file >> inTwo;
        EXPECT_LE(inOne.degree(), 2u);
        inTwo += ERPolynome2Var(polyConstant, 1);
        EXPECT_EQ(inTwo.evaluate(2, 3), 1.0);
    }
}

TEST(Polynomial2Var, WorksInEachVariableAsInOne) {
    const double c[] = {1, 2, 3, 4, 5, 6};  // (1 + 2 v + 3 v^2) + u (4 + 5 v + 6 v^2)
    const ERPolynome2Var p(c, 2, 3);
    EXPECT_EQ(p.evaluate(10, 2), 17 + 10 * 38);

    const double d[] = {-1, 0, 2, 7, 1, 3, 0, 5, 4, 1, 1, 1};
    const ERPolynome2Var q(d, 4, 3);
    const ERPolynome x = polynomial({1, 2}), y = polynomial({0, -1, 1});
    for (const double u : {-2.0, 0.0, 3.0}) {
        for (const double v : {-1.0, 2.0}) {
            ERPolynome2Var sum = p, difference = p, product = p;
            sum += q;
            difference -= q;
            product *= q;
            EXPECT_EQ(sum.evaluate(u, v), p.evaluate(u, v) + q.evaluate(u, v));
            EXPECT_EQ(difference.evaluate(u, v), p.evaluate(u, v) - q.evaluate(u, v));
            EXPECT_EQ(product.evaluate(u, v), p.evaluate(u, v) * q.evaluate(u, v));
            EXPECT_EQ((p / 2).evaluate(u, v), p.evaluate(u, v) / 2);
        }
        EXPECT_EQ(q(x, y).evaluate(u), q.evaluate(x.evaluate(u), y.evaluate(u)));
    }
    EXPECT_EQ(q(x, y).degree(), 3u * 1 + 2u * 2);

    const double byUV[] = {5, 12};
    EXPECT_EQ(p.getDerived(1, 1), ERPolynome2Var(byUV, 1, 2));
    EXPECT_EQ(p.getDerived(2, 0), ERPolynome2Var(polyConstant, 0));
    const ERTValVector<ERPolynome2Var> all = getAllDerivate(q);
    ASSERT_EQ(all.entries(), 12u);
    for (unsigned int i = 0; i < 12; ++i) EXPECT_EQ(all[i], q.getDerived(i / 3, i % 3));
    ERPolynome2Var changed = p;
    changed.adjustDegree(3, 1);
    const double cut[] = {1, 2, 4, 5, 0, 0, 0, 0};
    EXPECT_EQ(changed, ERPolynome2Var(cut, 4, 2));
    changed.reduce(2);
    EXPECT_EQ(changed, ERPolynome2Var(cut, 2, 2));
    changed.adjustDegree(1, 3);
    changed.reduce(5);
    EXPECT_EQ(changed, ERPolynome2Var());
}

TEST(Zeros, OfAConstantIsMinusOneOrNone) {
    const ERLimites unit(0, 1);
    using Method = unsigned int (*)(const ERPolynome&, const ERLimites&, ERVec<double>&);
    for (const Method method : {static_cast<Method>(Zeros), static_cast<Method>(ZerosMethode1)}) {
        ERVec<double> roots(3, 5.0);
        EXPECT_EQ(method(ERPolynome(), unit, roots), 0xFFFFFFFF);
        EXPECT_EQ(roots.length(), 0u);
        EXPECT_EQ(method(ERPolynome(polyConstant, 1e-300), unit, roots), 0u);
        EXPECT_EQ(method(ERPolynome(polyConstant, nan), unit, roots), 0u);
        EXPECT_EQ(method(ERPolynome(polyDegree, 3), unit, roots), 0u) << "stored degree 3";
    }
    EXPECT_EQ(values(Zeros(ERPolynome(), unit)), (std::vector<double>{0, 1}));
    EXPECT_EQ(values(Zeros(ERPolynome(), ERLimites(2, 2))), std::vector<double>{2});
}

TEST(Zeros, OfRandomRootsAreTheChosenOnesWithinTheLimits) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> root(-2.0, 2.0);
    const ERLimites limits(-1, 1.5);
    int lost = 0;
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<double> chosen, inside;
        while (chosen.size() < 2 + static_cast<std::size_t>(trial % 6)) {
            const double r = root(random);
            const auto close = [&](double other) { return std::fabs(other - r) < 0.1; };
            if (std::any_of(chosen.begin(), chosen.end(), close)) continue;
            chosen.push_back(r);
            if (limits.inBound(r)) inside.push_back(r);
        }
        std::sort(inside.begin(), inside.end());
        const ERPolynome p = fromRoots(chosen, polynomial({3, 1, 1}));  // two that are not real
        SCOPED_TRACE(testing::Message() << "trial " << trial);
        // Slopes at the roots are above 1e-4, errors of the coefficients below 1e-13.
        expectNear(sorted(Zeros1(p, limits)), inside, 1e-9);
        // Where Newton's method leaves an interval from all three starts the chain goes on without
        // its root; a lost extremum takes two roots.
        const std::vector<double> byChain = values(Zeros(p, limits));
        EXPECT_EQ((inside.size() - byChain.size()) % 2, 0u);
        if (byChain.size() < inside.size())
            ++lost;
        else
            expectNear(byChain, inside, 1e-9);
    }
    EXPECT_LE(lost, 3);
}

TEST(Zeros, OnALimitAreIncludedOnce) {
    const ERPolynome p = fromRoots({1, 2, 3, 4});
    for (const ERLimites& limits : {ERLimites(1, 3), ERLimites(1, 3.5), ERLimites(0.5, 3)}) {
        std::vector<double> expected = {1, 2, 3};
        EXPECT_EQ(sorted(Zeros1(p, limits)), expected);
        expectNear(values(Zeros(p, limits)), expected, 1e-14);
    }
    EXPECT_EQ(values(Zeros(p, ERLimites(2, 2))), std::vector<double>{2});
    EXPECT_EQ(Zeros(polynomial({-1.5, 1}), ERLimites(2, 1)).length(), 0u) << "reversed limits";
    EXPECT_EQ(Zeros1(polynomial({-1.5, 1}), ERLimites(2, 1)).length(), 0u);
}

TEST(Zeros, NullLeadingCoefficientsDoNotCount) {
    const ERPolynome p = polynomial({2, -3, 1, 1e-10, -9e-11, 1e-12});
    EXPECT_EQ(sorted(Zeros1(p, ERLimites(-1e9, 1e9))), (std::vector<double>{1, 2}));
    EXPECT_EQ(Zeros1(polynomial({2, 1e-10}), ERLimites(-1e12, 1e12)).length(), 0u);
    EXPECT_EQ(Zeros1(polynomial({-2, 1.1e-10}), ERLimites(0, 1e12)).length(), 1u);
    // The chain of derivatives passes through a constant and a linear polynomial of higher degree.
    expectNear(values(Zeros(polynomial({2, -3, 1, 0, 0}), ERLimites(0, 5))), {1, 2}, 1e-14);
}

TEST(Zeros, OfMultipleRootsDifferBetweenTheMethods) {
    // By chain each root stands once, by the general method as often as its multiplicity, and not
    // at all when rounding has moved the pair off the real axis.
    const ERLimites unit(0, 1);
    EXPECT_EQ(values(Zeros1(polynomial({0.25, -1, 1}), unit)), (std::vector<double>{0.5, 0.5}));
    EXPECT_EQ(values(Zeros(polynomial({0.25, -1, 1}), unit)), (std::vector<double>{0.5}));
    const ERPolynome raised = polynomial({0.25 + 1e-12, -1, 1});
    EXPECT_EQ(Zeros1(raised, unit).length(), 0u);
    EXPECT_EQ(values(Zeros(raised, unit)), (std::vector<double>{0.5})) << "within 1e-11 of 0";

    // Above 1e-11 the product test decides: a null Newton start beside the extremum ends anywhere.
    EXPECT_EQ(Zeros(polynomial({0.25 + 1e-8, -1, 1}), unit).length(), 0u);
    expectNear(values(Zeros(fromRoots({0.25, 0.25, 0.75}), unit)), {0.25, 0.75}, 1e-7);
}

TEST(Zeros, OfHostilePolynomialsEnd) {
    std::mt19937 random(1);
    std::vector<double> wild(1001);
    for (double& c : wild)
        c = std::ldexp(random() % 2 ? 1.0 : -1.0, static_cast<int>(random() % 1800) - 900);
    for (const std::vector<double>& c : {wild,
                                         std::vector<double>(1001),
                                         {nan, 1, 1},
                                         {1, 1, 1, nan},
                                         {infinity, 1, -infinity},
                                         {1e308, -1e308, 1e308, -1e308},
                                         {1e-320, 1e-310, 1e-300},
                                         {-1e300, 0, 0, 0, 0, 1}}) {
        const ERLimites wide(-10, 10);
        ERVec<double> roots;
        const unsigned int count = Zeros(polynomial(c), wide, roots);
        EXPECT_EQ(count, roots.length());
        for (const double r : roots) EXPECT_EQ(wide.inBound(r), 1);
        for (const double r : Zeros(polynomial(c), wide)) EXPECT_EQ(wide.inBound(r), 1);
        EXPECT_EQ(Zeros(polynomial(c), ERLimites(nan, nan)).length(), 0u);
        EXPECT_EQ(Zeros(polynomial(c), ERLimites(nan, nan), roots), 0u);
    }
}

}  // namespace
}  // namespace kerf
