#include "kerf/numerics/complex_roots.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <random>
#include <vector>

namespace kerf {
namespace {

using Complex = std::complex<double>;
using Roots = std::vector<Complex>;

Roots find(const std::vector<double>& c, double iterations = 80.0, double tolerance = 1e-9) {
    const std::size_t n = c.size();
    std::vector<double> re(n, 77.0), im(n, 77.0), work(n);
    const auto degree = static_cast<unsigned int>(n - 1);
    const unsigned int first =
        complexRoots(c.data(), degree, tolerance, iterations, re.data(), im.data(), work.data());
    EXPECT_LE(first, degree);
    Roots roots;
    for (unsigned int i = 0; i < n; ++i) {
        if (first <= i && i < degree) {
            roots.emplace_back(re[i], im[i]);
        } else {
            EXPECT_EQ(re[i], 77.0) << i << " was not to be written";
            EXPECT_EQ(im[i], 77.0) << i << " was not to be written";
        }
    }
    return roots;
}

// The coefficients of the product of all x - root; roots that are not real come with their
// conjugates.
std::vector<double> multiplyOut(const Roots& roots) {
    std::vector<std::complex<long double>> c{1.0L};
    for (const Complex& root : roots) {
        c.insert(c.begin(), 0.0L);
        for (std::size_t i = 0; i + 1 < c.size(); ++i)
            c[i] -= std::complex<long double>(root) * c[i + 1];
    }
    std::vector<double> real;
    for (const auto& a : c) real.push_back(static_cast<double>(a.real()));
    return real;
}

// The largest distance from a chosen root to the nearest one found that is not taken yet.
double worstMiss(const Roots& chosen, Roots found) {
    if (chosen.size() != found.size()) return INFINITY;
    double worst = 0.0;
    for (const Complex& root : chosen) {
        const auto nearest = std::min_element(found.begin(), found.end(), [&](auto a, auto b) {
            return std::abs(a - root) < std::abs(b - root);
        });
        worst = std::max(worst, std::abs(*nearest - root));
        found.erase(nearest);
    }
    return worst;
}

TEST(ComplexRoots, FindTheRootsThatAPolynomialWasMadeFrom) {
    const struct {
        Roots roots;
        double tolerance;
    } cases[] = {
        {{0.5}, 0},
        {{{1, 2}, {1, -2}}, 1e-15},
        {{0, 0, 0, 1.5, {-1, 4}, {-1, -4}}, 1e-14},
        {{1e-3, 1, 1e3, 1e6}, 1e-13},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 1e-13},  // integer coefficients, so exact ones
        // m-fold roots are determined to the m-th root of the precision.
        {{1, 1, 3, 4}, 1e-6},
        {{2, 2, 2, 2, 2}, 1e-2},
    };
    for (const auto& known : cases)
        EXPECT_LE(worstMiss(known.roots, find(multiplyOut(known.roots))), known.tolerance)
            << known.roots[0] << " and others";
}

TEST(ComplexRoots, QuadraticsDoNotCancel) {
    // Roots 1e-9 and 1e9 of nearly the same sum of digits as the discriminant.
    const Roots wide = find({1, -(1e9 + 1e-9), 1});
    ASSERT_EQ(wide.size(), 2u);
    EXPECT_NEAR(wide[0].real() * 1e9, 1.0, 1e-15);
    EXPECT_NEAR(wide[1].real() / 1e9, 1.0, 1e-15);
    // A double holds neither square nor product of the discriminant, 1.375^2, exactly.
    const Roots close = find({94906268.375, -189812534.0, 94906265.625});
    ASSERT_EQ(close.size(), 2u);
    EXPECT_NEAR(close[0].real(), 1.0, 1e-15);
    EXPECT_NEAR(close[1].real(), 94906268.375 / 94906265.625, 1e-15);
}

TEST(ComplexRoots, CoefficientsThatAreNotFiniteGiveNoRoot) {
    EXPECT_EQ(find({1, std::nan(""), 2, 1}), Roots());
    EXPECT_EQ(find({INFINITY, 1, 2, 1}), Roots());
}

TEST(ComplexRoots, RootsOfAnyMagnitudeAreFound) {
    for (const double scale : {1e-300, 1e300})
        EXPECT_LE(worstMiss({1, 2, 3}, find({-6 * scale, 11 * scale, -6 * scale, scale})), 1e-14);
    for (const double r : {1e-40, 1e-10, 1e10, 1e40})
        EXPECT_LE(worstMiss({r, -r, {0, r}, {0, -r}}, find({-std::pow(r, 4), 0, 0, 0, 1})),
                  1e-14 * r);
    // Those near the ends have squares that overflow on the way.
    for (int exponent = -100; exponent <= 100; ++exponent) {
        const double r = std::pow(10.0, exponent);
        EXPECT_LE(worstMiss({2 * r, {r, r}, {r, -r}}, find({-4 * r * r * r, 6 * r * r, -4 * r, 1})),
                  1e-14 * r)
            << r;
    }
}

// Roots of random polynomials lie about the unit circle. Each has to be one to within rounding:
// the value is small beside the sum of the terms, of which each may be off by a bit.
TEST(ComplexRoots, HighDegreesGiveNothingButRoots) {
    const unsigned int seed = 9;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coefficient(-1.0, 1.0);
    for (const unsigned int degree : {40u, 200u, 1000u}) {
        SCOPED_TRACE(testing::Message() << "degree " << degree << ", seed " << seed);
        std::vector<double> c(degree + 1);
        for (double& a : c) a = coefficient(random);
        const Roots found = find(c);
        ASSERT_GE(found.size(), degree > 200 ? 50 : degree);
        for (const Complex& z : found) {
            EXPECT_EQ(std::count(found.begin(), found.end(), std::conj(z)), 1);
            const bool outside = std::abs(z) > 1.0;
            const Complex w = outside ? 1.0 / z : z;
            Complex value = 0.0;
            double terms = 0.0;
            for (unsigned int i = 0; i <= degree; ++i) {
                const double a = c[outside ? i : degree - i];
                value = value * w + a;
                terms = terms * std::abs(w) + std::fabs(a);
            }
            EXPECT_LE(std::abs(value), 1e-13 * degree * terms) << z;
        }
    }
}

// The steps form a cycle, which a tolerance of zero never ends.
TEST(ComplexRoots, TheSearchEndsUnderALimitWithoutEnd) {
    const std::vector<double> c = {0x1.45p+820, 0x1.3fp+233,   0x1.a8p-420, 0x1.31p-861,
                                   -0x1.12p-35, -0x1.3e8p+270, 0x1.a8p-73,  -0x1.af8p+729};
    EXPECT_LE(find(c, INFINITY, 0.0).size(), 7u);
}

}  // namespace
}  // namespace kerf
