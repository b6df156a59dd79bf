#include "kerf/values/polynomial.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

constexpr unsigned int everywhere = 0xFFFFFFFF;
const double nan = std::numeric_limits<double>::quiet_NaN();

ERPolynome polynomial(const std::vector<double>& c) {
    return ERPolynome(c.data(), static_cast<unsigned int>(c.size()));
}

ERPolynome fromRoots(const std::vector<double>& roots) {
    ERPolynome p(polyConstant, 1.0);
    for (const double root : roots) p *= polynomial({-root, 1});
    return p;
}

std::vector<double> values(const ERVec<double>& v) {
    return std::vector<double>(v.data(), v.data() + v.length());
}

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
    EXPECT_EQ(ERPolynome().degree(), 0u);
    EXPECT_EQ(ERPolynome().evaluate(3), 0.0);
    EXPECT_EQ(ERPolynome(polyDegree, 4), polynomial({0, 0, 0, 0, 0}));
    EXPECT_EQ(ERPolynome(polyConstant, 7).evaluate(100), 7.0);

    ERPolynome p = polynomial({1, 2, 1e-12, -1e-12});
    const ERPolynome before = p;
    EXPECT_EQ(p.degree(), 3u);
    p.reduce(1e-13);
    EXPECT_EQ(p, before);
    p.reduce(1e-12);
    EXPECT_EQ(p, polynomial({1, 2}));
    EXPECT_EQ(before.degree(), 3u) << "copies are independent";
    p.adjustDegree(3);
    EXPECT_EQ(p, polynomial({1, 2, 0, 0}));
    EXPECT_FALSE(p == polynomial({1, 2}));
    p.adjustDegree(0);
    EXPECT_EQ(p, polynomial({1}));
    p.reduce(1);
    EXPECT_EQ(p, ERPolynome());
    p = polynomial({1, nan});
    p.reduce(1e300);
    EXPECT_EQ(p.degree(), 1u);
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
    ERPolynome p = polynomial({1, 2});
    p += p;
    p *= p;
    p *= 0.5;
    EXPECT_EQ(p, polynomial({2, 8, 8}));
    p -= p;
    EXPECT_EQ(p, ERPolynome(polyDegree, 2)) << "cancelled coefficients stay";
}

TEST(Polynomial, DerivativesOfEachOrder) {
    const ERPolynome p = polynomial({7, 6, 5, 4});
    const std::vector<ERPolynome> expected = {p, polynomial({6, 10, 12}), polynomial({10, 24}),
                                              polynomial({24})};
    const ERTValVector<ERPolynome> all = getAllDerivate(p);
    ASSERT_EQ(all.entries(), 4u);
    for (unsigned int k = 0; k < 4; ++k) {
        EXPECT_EQ(all[k], expected[k]);
        EXPECT_EQ(p.getDerived(k), expected[k]);
    }
    EXPECT_EQ(p.getDerived(4), polynomial({0}));
    EXPECT_EQ(getAllDerivate(ERPolynome()).entries(), 1u);

    ERCNewtonSPolynome equation(p, expected[1]);
    EXPECT_EQ(equation.f(2), 7 + 12 + 20 + 32);
    EXPECT_EQ(equation.fprime(2), 6 + 20 + 48);
}

TEST(Polynomial, IsStoredAsItsCoefficients) {
    const test::TemporaryFile place;
    const ERPolynome p = polynomial({1, -2.5, 3});
    const double grid[] = {1, 2, 3, 4, 5, 6};
    const ERPolynome2Var q(grid, 2, 3);
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        file << p << q;
        EXPECT_EQ(static_cast<ERULong>(file.GetLength()),
                  p.binaryStoreSize() + q.binaryStoreSize());
    }
    {
        ERFile file(place.path(), CFile::modeRead);
        ERPolynome restored = polynomial({9});
        ERPolynome2Var restored2;
        file >> restored >> restored2;
        EXPECT_EQ(restored, p);
        EXPECT_EQ(restored2, q);
    }
    std::ostringstream text;
    text << p;
    EXPECT_EQ(text.str(), "(3)[1,-2.5,3]\n");
}

TEST(Polynomial, DamagedFilesRestoreAPolynomialThatWorks) {
    const test::TemporaryFile place;
    const auto word = [](std::uint32_t value) {
        std::string bytes;
        for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> (8 * i));
        return bytes;
    };
    const std::string eight(8, '\0');
    for (const std::string& bytes :
         {std::string(), word(0xFFFFFFF8u) + eight, word(0x7FFFFFF8u) + eight, word(16) + eight,
          word(5) + word(0) + word(40) + eight,
          word(0xFFFFFFFFu) + word(0xFFFFFFFFu) + word(8) + eight, word(3) + word(0) + word(0)}) {
        place.setBytes(bytes);
        ERPolynome p = polynomial({1, 2, 3});
        ERPolynome2Var q(polyConstant, 4);
        ERFile file(place.path(), CFile::modeRead);
        file >> p;
        file.SeekTo(0);
        file >> q;
        EXPECT_LE(p.degree(), 2u);
        EXPECT_EQ(q.evaluate(2, 3), 0.0);
        q += ERPolynome2Var(polyConstant, 1);
        EXPECT_EQ(q.evaluate(2, 3), 1.0);
    }
}

TEST(Polynomial2Var, WorksInEachVariableAsInOne) {
    const double c[] = {1, 2, 3, 4, 5, 6};  // (1 + 2 v + 3 v^2) + u (4 + 5 v + 6 v^2)
    const ERPolynome2Var p(c, 2, 3);
    EXPECT_EQ(p.degreeU(), 1u);
    EXPECT_EQ(p.degreeV(), 2u);
    EXPECT_EQ(p(1, 2), 6.0);
    EXPECT_EQ(p[1][0], 4.0);
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
    for (unsigned int i = 0; i < 4; ++i)
        for (unsigned int j = 0; j < 3; ++j) EXPECT_EQ(all[3 * i + j], q.getDerived(i, j));

    ERPolynome2Var changed = p;
    changed.adjustDegree(3, 1);
    const double cut[] = {1, 2, 4, 5, 0, 0, 0, 0};
    EXPECT_EQ(changed, ERPolynome2Var(cut, 4, 2));
    changed.reduce(2);
    const double reduced[] = {1, 2, 4, 5};
    EXPECT_EQ(changed, ERPolynome2Var(reduced, 2, 2));
    changed.reduce(5);
    EXPECT_EQ(changed, ERPolynome2Var());
    EXPECT_EQ(changed.evaluate(1, 1), 0.0);
}

TEST(Zeros, OfAConstantIsMinusOneOrNone) {
    const ERLimites unit(0, 1);
    for (const auto method :
         {static_cast<unsigned int (*)(const ERPolynome&, const ERLimites&, ERVec<double>&)>(Zeros),
          ZerosMethode1}) {
        ERVec<double> roots(3, 5.0);
        EXPECT_EQ(method(ERPolynome(polyConstant, 0.0), unit, roots), everywhere);
        EXPECT_EQ(roots.length(), 0u);
        EXPECT_EQ(method(ERPolynome(), unit, roots), everywhere);
        EXPECT_EQ(method(ERPolynome(polyConstant, 1e-300), unit, roots), 0u);
        EXPECT_EQ(method(ERPolynome(polyConstant, nan), unit, roots), 0u);
        EXPECT_EQ(method(ERPolynome(polyDegree, 3), unit, roots), 0u) << "stored degree 3";
        roots.append(5.0);
        EXPECT_EQ(method(polynomial({-1, 2}), unit, roots), 1u);
        EXPECT_EQ(values(roots), std::vector<double>{0.5});
    }
    EXPECT_EQ(values(Zeros(ERPolynome(polyConstant, 0.0), unit)), (std::vector<double>{0, 1}));
    EXPECT_EQ(values(Zeros(ERPolynome(), ERLimites(2, 2))), std::vector<double>{2});
    EXPECT_EQ(Zeros(ERPolynome(polyConstant, 1.0), unit).length(), 0u);
}

struct Published {
    const char* name;
    std::vector<double> coefficients;
    ERLimites limits;
    std::vector<double> roots;
};

// Chebyshev polynomials: closed form, cos((2 k + 1) pi / 2 n). The others: the elimination
// polynomials of planar curve pairs of the Python package bezier
// (tests/functional/curve_intersections.json, commit cf18953a, Apache-2.0), with all their real
// roots within the limits in 30-digit arithmetic.
const std::vector<Published> published = {
    {"Chebyshev 5",
     {0, 5, 0, -20, 0, 16},
     {-1, 1},
     {-0.9510565162951535, -0.5877852522924731, 0.0, 0.5877852522924731, 0.9510565162951535}},
    {"Chebyshev 12",
     {1, 0, -72, 0, 840, 0, -3584, 0, 6912, 0, -6144, 0, 2048},
     {0, 1},
     {0.1305261922200516, 0.3826834323650898, 0.6087614290087207, 0.7933533402912352,
      0.9238795325112867, 0.9914448613738104}},
    {"bezier 5", {1, -12, 16}, {0, 1}, {0.09549150281252629, 0.6545084971874737}},
    {"bezier 15",
     {1231, 6213, -18405, 13905, -3726, 486},
     {-1, 2},
     {-0.1367750984247189, 0.8587897065534015, 1.3257857245500262}},
    {"bezier 16",
     {4, -28, 25, 13, -16, 4},
     {-2, 1},
     {-1.2595600563645235, 0.17072782629577715, 0.873452854150878}},
    {"bezier 20",
     {-1691, 13512, -29760, 17920},
     {0, 2},
     {0.20998193826534545, 0.4482997212940395, 1.0024326261549008}},
    {"bezier 26",
     {2718441, -10007712, 35492904, -89404128, 118148976, -141239040, 219477760, -215449600,
      92550400, -14592000, 2304000},
     {0, 1},
     {0.6666077520083393, 0.9725947698747117}},
    {"bezier 28",
     {40, -4280, -66551, -170260, 491504, -404620, 228094, -51020, 10024, -540, 9},
     {0, 1},
     {0.00826238406154377, 0.8877064436020611}},
};

TEST(Zeros, OfBothMethodsAreThePublishedOnes) {
    for (const Published& sample : published) {
        SCOPED_TRACE(sample.name);
        const ERPolynome p = polynomial(sample.coefficients);
        expectNear(sorted(Zeros1(p, sample.limits)), sample.roots, 1e-15);
        // Newton's method ends where the value drowns in its rounding errors, about 1e-10 of
        // "bezier 26".
        expectNear(values(Zeros(p, sample.limits)), sample.roots, 1e-12);
    }
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
            if (std::none_of(chosen.begin(), chosen.end(), close)) chosen.push_back(r);
        }
        std::copy_if(chosen.begin(), chosen.end(), std::back_inserter(inside),
                     [&](double r) { return limits.inBound(r); });
        std::sort(inside.begin(), inside.end());
        ERPolynome p = fromRoots(chosen);
        p *= polynomial({3, 1, 1});  // two roots that are not real
        SCOPED_TRACE(testing::Message() << "trial " << trial);
        // Slopes at the roots are above 1e-4, errors of the coefficients below 1e-13.
        expectNear(sorted(Zeros1(p, limits)), inside, 1e-9);
        const std::vector<double> byChain = values(Zeros(p, limits));
        if (byChain.size() < inside.size()) {
            ++lost;
            EXPECT_EQ((inside.size() - byChain.size()) % 2, 0u)
                << "a lost extremum takes two roots";
        } else {
            expectNear(byChain, inside, 1e-9);
        }
    }
    // Where Newton's method leaves an interval from all three starts the chain goes on without its
    // root.
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
    EXPECT_EQ(values(Zeros(polynomial({-1, 1}), ERLimites(0, 1))), std::vector<double>{1});
    EXPECT_EQ(values(Zeros(polynomial({-1, 1}), ERLimites(1, 2))), std::vector<double>{1});
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
    const double inf = std::numeric_limits<double>::infinity();
    const ERLimites wide(-10, 10);
    std::vector<double> wild(1001);
    std::mt19937 random(1);
    for (double& c : wild)
        c = std::ldexp(random() % 2 ? 1.0 : -1.0, static_cast<int>(random() % 1800) - 900);
    const std::vector<ERPolynome> samples = {polynomial(wild),
                                             ERPolynome(polyDegree, 1000),
                                             polynomial({nan, 1, 1}),
                                             polynomial({1, 1, 1, nan}),
                                             polynomial({inf, 1, -inf}),
                                             polynomial({1e308, -1e308, 1e308, -1e308}),
                                             polynomial({1e-320, 1e-310, 1e-300}),
                                             polynomial({-1e300, 0, 0, 0, 0, 1})};
    for (const ERPolynome& p : samples) {
        ERVec<double> roots;
        const unsigned int count = Zeros(p, wide, roots);
        EXPECT_EQ(count, roots.length());
        for (const double r : roots) EXPECT_EQ(wide.inBound(r), 1);
        for (const double r : Zeros(p, wide)) EXPECT_EQ(wide.inBound(r), 1);
        EXPECT_EQ(Zeros(p, ERLimites(nan, nan)).length(), 0u);
        EXPECT_EQ(Zeros(p, ERLimites(nan, nan), roots), 0u);
    }
}

}  // namespace
}  // namespace kerf
