#include "kerf/numerics/complex_roots.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <vector>

namespace kerf {
namespace {

using Complex = std::complex<double>;

struct Found {
    unsigned int first;
    std::vector<Complex> roots;
};

Found find(const std::vector<double>& c, double tolerance = 1e-9, double iterations = 80.0) {
    const std::size_t n = c.size();
    std::vector<double> re(n, 77.0), im(n, 77.0), work(n);
    const auto degree = static_cast<unsigned int>(n - 1);
    Found found{
        complexRoots(c.data(), degree, tolerance, iterations, re.data(), im.data(), work.data()),
        {}};
    EXPECT_LE(found.first, degree);
    for (unsigned int i = 0; i < n; ++i) {
        if (i >= found.first && i < degree)
            found.roots.emplace_back(re[i], im[i]);
        else
            EXPECT_TRUE(re[i] == 77.0 && im[i] == 77.0)
                << "entry " << i << " was not to be written";
    }
    return found;
}

// The coefficients of the product of all x - root; roots that are not real come with their
// conjugates.
std::vector<double> multiplyOut(const std::vector<Complex>& roots) {
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
double worstMiss(const std::vector<Complex>& chosen, std::vector<Complex> found) {
    double worst = chosen.size() == found.size() ? 0.0 : INFINITY;
    for (const Complex& root : chosen) {
        if (found.empty()) break;
        const auto nearest = std::min_element(found.begin(), found.end(), [&](auto a, auto b) {
            return std::abs(a - root) < std::abs(b - root);
        });
        worst = std::max(worst, std::abs(*nearest - root));
        found.erase(nearest);
    }
    return worst;
}

TEST(ComplexRoots, FindTheRootsThatAPolynomialWasMadeFrom) {
    const std::vector<std::vector<Complex>> cases = {
        {0.5},
        {-2, 3},
        {{1, 2}, {1, -2}},
        {1, 2, 3},
        {0, 0, 0, 1.5, {-1, 4}, {-1, -4}},
        {{0, 1}, {0, -1}, {0, 2}, {0, -2}, -1},
        {1e-3, 1, 1e3, 1e6},
        {1, 2, 3, 4, 5, 6, 7, 8, 9, 10},  // integer coefficients, so exact ones
    };
    for (const auto& chosen : cases) {
        const Found found = find(multiplyOut(chosen));
        EXPECT_EQ(found.first, 0u);
        EXPECT_LE(worstMiss(chosen, found.roots), 1e-13) << chosen.size() << " roots";
    }
}

// Roots at least 0.15 apart within radius 2; their condition at degree 12 is below 1e6.
TEST(ComplexRoots, FindRandomRootsThatAreApart) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> coordinate(-1.4, 1.4);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<Complex> chosen;
        while (chosen.size() < 11) {
            Complex z(coordinate(random), coordinate(random));
            if (random() % 2) z = z.real();
            if (z.imag() != 0.0 && std::fabs(z.imag()) < 0.1) continue;
            if (std::any_of(chosen.begin(), chosen.end(),
                            [&](auto a) { return std::abs(a - z) < 0.15; }))
                continue;
            chosen.push_back(z);
            if (z.imag() != 0.0) chosen.push_back(std::conj(z));
        }
        const Found found = find(multiplyOut(chosen));
        EXPECT_LE(worstMiss(chosen, found.roots), 1e-8) << "trial " << trial;
        // What was real is exactly real, and pairs are exactly conjugate.
        const auto isReal = [](const Complex& z) { return z.imag() == 0.0; };
        EXPECT_EQ(std::count_if(found.roots.begin(), found.roots.end(), isReal),
                  std::count_if(chosen.begin(), chosen.end(), isReal));
        for (const Complex& z : found.roots)
            EXPECT_EQ(std::count(found.roots.begin(), found.roots.end(), std::conj(z)), 1);
    }
}

TEST(ComplexRoots, NullRootsAreExactAndComeLast) {
    const Found found = find({0, 0, -6, 11, -6, 1});
    ASSERT_EQ(found.roots.size(), 5u);
    EXPECT_EQ(found.roots[3], 0.0);
    EXPECT_EQ(found.roots[4], 0.0);
    EXPECT_EQ(find({0, 0, 0, 4}).roots, std::vector<Complex>(3, 0.0));
}

TEST(ComplexRoots, QuadraticsDoNotCancel) {
    // Roots 1e-9 and 1e9 of nearly the same sum of digits as the discriminant.
    const Found wide = find({1, -(1e9 + 1e-9), 1});
    ASSERT_EQ(wide.roots.size(), 2u);
    EXPECT_NEAR(wide.roots[0].real() * 1e9, 1.0, 1e-15);
    EXPECT_NEAR(wide.roots[1].real() / 1e9, 1.0, 1e-15);
    // A discriminant of 1 that 94906267^2 loses in a double.
    const double b = 94906267.0, a = 94906266.0, c = 94906268.0;
    const Found close = find({c, -2 * b, a});
    ASSERT_EQ(close.roots.size(), 2u);
    EXPECT_EQ(close.roots[0], 1.0);
    EXPECT_NEAR(close.roots[1].real(), c / a, 1e-15);
    EXPECT_EQ(find({4, -4, 1}).roots, std::vector<Complex>(2, 2.0));
}

TEST(ComplexRoots, RootsOfAnyMagnitudeAreFound) {
    for (const double scale : {1e-300, 1e-5, 1e5, 1e300}) {
        const Found found = find({-6 * scale, 11 * scale, -6 * scale, scale});
        EXPECT_LE(worstMiss({1, 2, 3}, found.roots), 1e-14) << scale;
    }
    for (const double r : {1e-40, 1e-10, 1e10, 1e40}) {  // x^4 = r^4
        const Found found = find({-std::pow(r, 4), 0, 0, 0, 1});
        EXPECT_LE(worstMiss({r, -r, {0, r}, {0, -r}}, found.roots), 1e-14 * r) << r;
    }
}

// Roots of the random polynomials lie about the unit circle. Each has to be one to within rounding:
// the value is small beside the sum of the terms, of which each may be off by a bit.
TEST(ComplexRoots, HighDegreesGiveNothingButRoots) {
    std::mt19937 random(9);
    std::uniform_real_distribution<double> coefficient(-1.0, 1.0);
    for (const unsigned int degree : {40u, 200u, 1000u}) {
        std::vector<double> c(degree + 1);
        for (double& a : c) a = coefficient(random);
        const Found found = find(c);
        EXPECT_GE(found.roots.size(), degree <= 200 ? degree : 50);
        for (const Complex& z : found.roots) {
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

TEST(ComplexRoots, MultipleRootsAreFoundAsFarAsTheyAreDetermined) {
    // m-fold roots are determined to the m-th root of the precision.
    EXPECT_LE(worstMiss({1, 1, 3, 4}, find(multiplyOut({1, 1, 3, 4})).roots), 1e-6);
    EXPECT_LE(worstMiss({2, 2, 2, 2, 2}, find(multiplyOut({2, 2, 2, 2, 2})).roots), 1e-2);
}

TEST(ComplexRoots, BadCoefficientsAndLimitsGiveNoRoot) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(find({1, nan, 2, 1}).first, 3u);
    EXPECT_EQ(find({INFINITY, 1, 2, 1}).first, 3u);
    EXPECT_EQ(find({1, 2, 3, 0}).first, 3u);
    EXPECT_EQ(find({5}).first, 0u);
    EXPECT_EQ(find({0, -6, 11, -6, 1, 1}, 1e-9, 0.0).first, 4u)
        << "the null root needs no iteration";
    EXPECT_EQ(find({-6, 11, -6, 1}, 1e-9, nan).first, 3u);
}

}  // namespace
}  // namespace kerf
