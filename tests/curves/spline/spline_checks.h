#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "kerf/curves/spline/knot_vector.h"
#include "kerf/curves/spline/pole_type.h"

// Random splines, and what their definition says about them, in long double.
namespace kerf::test {

using PoleTypes = ::testing::Types<ERPoint2D, ERPole2DH, ERPoint3D, ERPole3DH>;
using Random = std::mt19937;

inline double drawn(Random& random, double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
}

inline unsigned int drawnBelow(unsigned int bound, Random& random) {
    return static_cast<unsigned int>(random() % bound);
}

template <class E>
ERVec<E> randomPoles(unsigned int n, Random& random) {
    constexpr unsigned int dim = spline::dimensionOf<E>;
    ERVec<E> poles(n);
    double* const values = spline::doubles(poles.data());
    for (unsigned int k = 0; k < n * dim; ++k) values[k] = drawn(random, -1, 1);
    if constexpr (E::isRational() != 0)
        for (unsigned int i = 0; i < n; ++i) poles[i].weigth() = drawn(random, 0.5, 2);
    return poles;
}

template <class E>
double maxDifference(const E& a, const E& b) {
    double greatest = 0;
    for (unsigned int k = 0; k < spline::dimensionOf<E>; ++k) {
        const double difference = std::fabs(spline::doubles(&a)[k] - spline::doubles(&b)[k]);
        if (!(difference <= greatest)) greatest = difference;
    }
    return greatest;
}
template <class E>
double maxDifference(const ERVec<E>& a, const ERVec<E>& b) {
    if (a.length() != b.length()) return 1e300;
    double greatest = 0;
    for (unsigned int i = 0; i < a.length(); ++i)
        greatest = std::max(greatest, maxDifference(a[i], b[i]));
    return greatest;
}

// A linear combination in long double.
template <class E, class Weight>
E combination(const E* poles, unsigned int n, Weight weight) {
    E sum;
    for (unsigned int k = 0; k < spline::dimensionOf<E>; ++k) {
        long double value = 0;
        for (unsigned int i = 0; i < n; ++i)
            value += weight(i) * static_cast<long double>(spline::doubles(poles + i)[k]);
        spline::doubles(&sum)[k] = static_cast<double>(value);
    }
    return sum;
}

// The sum of C(p, i) t^i (1 - t)^(p - i) P_i.
template <class E>
E bernsteinSum(const ERVec<E>& poles, double t) {
    const int p = static_cast<int>(poles.length()) - 1;
    return combination(poles.data(), poles.length(), [&](unsigned int i) {
        long double binomial = 1;
        for (unsigned int j = 1; j <= i; ++j)
            binomial = binomial * (p - static_cast<int>(j) + 1) / j;
        return binomial * std::pow(static_cast<long double>(t), static_cast<int>(i)) *
               std::pow(1 - static_cast<long double>(t), p - static_cast<int>(i));
    });
}

// The recursive definition of a basis function and its derivative of that order, for u in the span
// that begins at that position; 0 / 0 counts as 0.
inline long double basis(const std::vector<double>& knots, unsigned int i, unsigned int degree,
                         unsigned int span, long double u, unsigned int order = 0) {
    if (degree == 0) return order == 0 && i == span ? 1 : 0;
    const auto k = [&](unsigned int at) { return static_cast<long double>(knots[at]); };
    long double sum = 0;
    const long double left = k(i + degree) - k(i), right = k(i + degree + 1) - k(i + 1);
    const unsigned int lower = degree - 1;
    if (left > 0)
        sum += (order == 0 ? (u - k(i)) * basis(knots, i, lower, span, u)
                           : degree * basis(knots, i, lower, span, u, order - 1)) /
               left;
    if (right > 0)
        sum += (order == 0 ? (k(i + degree + 1) - u) * basis(knots, i + 1, lower, span, u)
                           : -1.0L * degree * basis(knots, i + 1, lower, span, u, order - 1)) /
               right;
    return sum;
}

template <class E>
struct Spline {
    ERVec<E> poles;
    ERKnotVector knots;
    unsigned int degree = 0;

    double start() const { return knots[degree]; }
    double end() const { return knots[poles.length()]; }
    // By the definition, in the span that holds `side`, which decides at a break.
    E at(double u, double side) const {
        const std::vector<double> all(knots.data(), knots.data() + knots.length());
        unsigned int span = degree;
        for (unsigned int i = degree; i < poles.length(); ++i)
            if (all[i] < all[i + 1] && all[i] <= side) span = i;
        return combination(poles.data(), poles.length(), [&](unsigned int i) {
            return i + degree < span || i > span ? 0.0L : basis(all, i, degree, span, u);
        });
    }
    E at(double u) const { return at(u, u); }
};

// Inner knots with multiplicities from 1 to degree + 1, and ends clamped or not.
template <class E>
Spline<E> randomSpline(unsigned int degree, Random& random, bool clamped = true,
                       unsigned int highestMultiplicity = 0) {
    ERVec<double> knots;
    double at = drawn(random, -2, 2);
    const auto advance = [&] { return at += drawn(random, 0.2, 1.5); };
    const unsigned int most = highestMultiplicity > 0 ? highestMultiplicity : degree + 1;
    if (clamped)
        knots.append(at, degree + 1);
    else
        for (unsigned int i = 0; i <= degree; ++i) knots.append(advance());
    for (unsigned int inner = drawnBelow(5, random); inner-- > 0;)
        knots.append(advance(), 1 + drawnBelow(most, random));
    if (clamped)
        knots.append(advance(), degree + 1);
    else
        for (unsigned int i = 0; i <= degree; ++i) knots.append(advance());
    Spline<E> spline;
    spline.degree = degree;
    spline.knots = ERKnotVector(degree, knots);
    spline.poles = randomPoles<E>(knots.length() - degree - 1, random);
    return spline;
}

// The greatest distance of two splines over [a, b], each taken in its own span.
template <class E>
double maxDistance(const Spline<E>& s, const Spline<E>& t, double a, double b) {
    double greatest = 0;
    for (int i = 0; i < 40; ++i) {
        const double u = a + (b - a) * (i + 0.5) / 40;
        greatest = std::max(greatest, maxDifference(s.at(u), t.at(u)));
    }
    return greatest;
}

}  // namespace kerf::test
