#include "kerf/curves/spline/foot_polynomial.h"

#include <algorithm>
#include <cmath>

#include "kerf/curves/spline/binomials.h"
#include "kerf/curves/spline/pole_type.h"

namespace kerf {

namespace {

constexpr double zeroOfTerms = 1e-12;
constexpr double zeroCoefficient = 1e-14;
constexpr double missedRoot = 1e-6;

// to += factor * a * b, and the same over magnitudes.
void addProduct(const double* a, unsigned int na, const double* b, unsigned int nb, double* to) {
    for (unsigned int i = 0; i < na; ++i)
        for (unsigned int j = 0; j < nb; ++j) to[i + j] += a[i] * b[j];
}

// Whether the polynomial keeps away from zero on [0, 1] by more than a missed root, as its Bernstein
// coefficients tell. Of n coefficients, the largest of size 1.
bool keepsAway(const double* c, unsigned int n) {
    constexpr unsigned int most = 3 * spline::degreeOnStack;
    if (n > most) return false;
    // b_i = sum over j <= i of C(i, j) / C(n - 1, j) c_j, by repeated sums of c_j / C(n - 1, j).
    double b[most];
    const double* const row = theCnpTableau.Cnp(n - 1);
    for (unsigned int j = 0; j < n; ++j) b[j] = c[j] / row[j];
    for (unsigned int level = 1; level < n; ++level)
        for (unsigned int i = n - 1; i >= level; --i) b[i] += b[i - 1];
    bool above = true;
    bool below = true;
    for (unsigned int i = 0; i < n; ++i) {
        above = above && b[i] > 2.0 * missedRoot;
        below = below && b[i] < -2.0 * missedRoot;
    }
    return above || below;
}

}  // namespace

bool scaledZeros(double* coefficients, unsigned int n, const ERLimites& limits, double null,
                 ERVec<double>& roots) {
    roots.clear();
    double largest = 0.0;
    for (unsigned int i = 0; i < n; ++i) largest = std::max(largest, std::fabs(coefficients[i]));
    if (!(largest > null) || !std::isfinite(largest)) return false;
    for (unsigned int i = 0; i < n; ++i) coefficients[i] /= largest;
    while (n > 1 && std::fabs(coefficients[n - 1]) <= zeroCoefficient) --n;
    if (n < 2) return true;
    if (limits.start() >= 0.0 && limits.end() <= 1.0 && keepsAway(coefficients, n)) return true;

    const ERPolynome polynomial(coefficients, n);
    const ERVec<double> found = Zeros(polynomial, limits);
    for (unsigned int i = 0; i < found.length(); ++i) {
        const double root = found[i];
        if (std::fabs(polynomial.evaluate(root)) <= missedRoot) roots.append(root);
    }
    return true;
}

FootPolynomial::FootPolynomial(const ERTValVector<ERPolynome>& polynomials, unsigned int dimension)
    : dimension_(dimension), length_(0) {
    unsigned int degree = 0;
    for (const ERPolynome& polynomial : polynomials) degree = std::max(degree, polynomial.degree());
    const unsigned int n = degree + 1;
    length_ = 3 * n - 2;
    rows_.assign(std::size_t{dimension_ + 1} * length_, 0.0);
    sizes_ = rows_;
    if (polynomials.entries() < dimension_) return;

    std::vector<double> x(n), dx(n), w(n), dw(n), slope(2 * n - 1), sizeOfSlope(2 * n - 1);
    std::vector<double> product(length_);
    const auto read = [n](const ERPolynome& polynomial, std::vector<double>& c,
                          std::vector<double>& derived) {
        std::fill(c.begin(), c.end(), 0.0);
        std::fill(derived.begin(), derived.end(), 0.0);
        const ERVec<double>& stored = polynomial.coefficients();
        for (unsigned int i = 0; i < stored.length(); ++i) c[i] = stored[i];
        for (unsigned int i = 0; i + 1 < n; ++i) derived[i] = (i + 1) * c[i + 1];
    };
    const auto magnitude = [](std::vector<double> c) {
        for (double& value : c) value = std::fabs(value);
        return c;
    };

    if (polynomials.entries() > dimension_) {
        read(polynomials[dimension_], w, dw);
    } else {
        w[0] = 1.0;
    }
    for (unsigned int k = 0; k < dimension_; ++k) {
        read(polynomials[k], x, dx);
        std::vector<double> minus = dw;
        for (double& value : minus) value = -value;
        std::fill(slope.begin(), slope.end(), 0.0);
        std::fill(sizeOfSlope.begin(), sizeOfSlope.end(), 0.0);
        addProduct(dx.data(), n, w.data(), n, slope.data());
        addProduct(x.data(), n, minus.data(), n, slope.data());
        addProduct(magnitude(dx).data(), n, magnitude(w).data(), n, sizeOfSlope.data());
        addProduct(magnitude(x).data(), n, magnitude(dw).data(), n, sizeOfSlope.data());
        addProduct(x.data(), n, slope.data(), 2 * n - 1, &rows_[0]);
        addProduct(magnitude(x).data(), n, sizeOfSlope.data(), 2 * n - 1, &sizes_[0]);
        const std::size_t at = std::size_t{1 + k} * length_;
        addProduct(w.data(), n, slope.data(), 2 * n - 1, &rows_[at]);
        addProduct(magnitude(w).data(), n, sizeOfSlope.data(), 2 * n - 1, &sizes_[at]);
    }
}

int FootPolynomial::roots(const double* point, const ERLimites& limits,
                          ERVec<double>& parameters) const {
    spline::Scratch<3 * spline::degreeOnStack> sum(length_);
    double largest = 0.0;
    double terms = 0.0;
    for (unsigned int j = 0; j < length_; ++j) {
        double value = row(0)[j];
        double size = sizes(0)[j];
        for (unsigned int k = 0; k < dimension_; ++k) {
            value -= point[k] * row(1 + k)[j];
            size += std::fabs(point[k]) * sizes(1 + k)[j];
        }
        sum[j] = value;
        largest = std::max(largest, std::fabs(value));
        terms = std::max(terms, size);
    }
    if (!std::isfinite(terms)) return 0;
    if (largest <= zeroOfTerms * terms) return -1;
    ERVec<double> found;
    scaledZeros(sum.data(), length_, limits, 0.0, found);
    for (unsigned int i = 0; i < found.length(); ++i) parameters.append(found[i]);
    return static_cast<int>(found.length());
}

}  // namespace kerf
