#include "kerf/curves/spline/foot_polynomial.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kerf/curves/spline/bernstein.h"
#include "kerf/curves/spline/binomials.h"
#include "kerf/curves/spline/pole_type.h"
#include "kerf/curves/spline/power_form.h"

namespace kerf {

namespace {

constexpr double zeroOfTerms = 1e-12;
constexpr double zeroCoefficient = 1e-14;
constexpr double missedRoot = 1e-6;
// The largest coefficient of a usable power form, for a largest Bernstein coefficient of 1.
constexpr double usablePower = 1e6;
constexpr double rootAtEnd = 1e-11;
constexpr double noiseOfValue = 1e-14;
constexpr double sameRoot = 1e-6;
constexpr unsigned int maxDepth = 45;
constexpr unsigned int maxSplits = 2000;
constexpr unsigned int coefficientsOnStack = 3 * spline::degreeOnStack;

// to += a * b, and the same over magnitudes.
void addProduct(const double* a, unsigned int na, const double* b, unsigned int nb, double* to) {
    for (unsigned int i = 0; i < na; ++i)
        for (unsigned int j = 0; j < nb; ++j) to[i + j] += a[i] * b[j];
}
void addProductSize(const double* a, unsigned int na, const double* b, unsigned int nb,
                    double* to) {
    for (unsigned int i = 0; i < na; ++i)
        for (unsigned int j = 0; j < nb; ++j) to[i + j] += std::fabs(a[i]) * std::fabs(b[j]);
}

double largestOf(const double* values, unsigned int n) {
    double largest = 0.0;
    for (unsigned int i = 0; i < n; ++i) largest = std::max(largest, std::fabs(values[i]));
    return largest;
}

// Whether the polynomial keeps away from zero on [0, 1], as its Bernstein coefficients tell.
bool keepsAway(const double* b, unsigned int n, double distance) {
    return std::all_of(b, b + n, [=](double c) { return c > distance; }) ||
           std::all_of(b, b + n, [=](double c) { return c < -distance; });
}

// The same for n coefficients of powers, the largest of size 1.
bool powerKeepsAway(const double* c, unsigned int n, double distance) {
    if (n > coefficientsOnStack) return false;
    // b_i = sum over j <= i of C(i, j) / C(n - 1, j) c_j, by repeated sums of c_j / C(n - 1, j).
    double b[coefficientsOnStack];
    const double* const row = theCnpTableau.Cnp(n - 1);
    for (unsigned int j = 0; j < n; ++j) b[j] = c[j] / row[j];
    for (unsigned int level = 1; level < n; ++level)
        for (unsigned int i = n - 1; i >= level; --i) b[i] += b[i - 1];
    return keepsAway(b, n, distance);
}

// Finds the sign changes of a polynomial on [0, 1] by halving, and adds those to the roots that are
// not among them.
class SignChanges {
public:
    SignChanges(unsigned int n, double largest, ERVec<double>& roots)
        : n_(n), noise_(noiseOfValue * n * largest), roots_(roots) {}

    void find(const double* b, double start, double end, unsigned int depth) {
        int first = 0, last = 0;
        unsigned int changes = 0;
        for (unsigned int i = 0; i < n_; ++i) {
            const int sign = signOf(b[i]);
            if (sign == 0) continue;
            if (first == 0) first = sign;
            if (last != 0 && sign != last) ++changes;
            last = sign;
        }
        if (changes == 0) return;
        if (changes == 1 || depth == maxDepth || splitsLeft_ == 0) {
            if (first != last && !isKnown(start, end)) add(bisected(b, start, end, first));
            return;
        }
        --splitsLeft_;
        spline::Scratch<2 * coefficientsOnStack> halves(std::size_t{2} * n_);
        double* const left = halves.data();
        double* const right = left + n_;
        std::copy_n(b, n_, right);
        for (unsigned int level = 0; level < n_; ++level) {
            left[level] = right[0];
            for (unsigned int i = 0; i + 1 < n_ - level; ++i)
                right[i] = 0.5 * right[i] + 0.5 * right[i + 1];
        }
        const double middle = 0.5 * (start + end);
        find(left, start, middle, depth + 1);
        if (signOf(right[0]) == 0 && lastSign(left) != firstSign(right)) addNew(middle);
        find(right, middle, end, depth + 1);
    }

    void addNew(double root) {
        if (!isKnown(root, root)) add(root);
    }

private:
    int signOf(double value) const { return value > noise_ ? 1 : value < -noise_ ? -1 : 0; }
    int firstSign(const double* b) const {
        int sign = 0;
        for (unsigned int i = 0; i < n_ && sign == 0; ++i) sign = signOf(b[i]);
        return sign;
    }
    int lastSign(const double* b) const {
        int sign = 0;
        for (unsigned int i = n_; i-- > 0 && sign == 0;) sign = signOf(b[i]);
        return sign;
    }

    bool isKnown(double start, double end) const {
        const double* const known = roots_.data();
        return std::any_of(known, known + roots_.length(), [=](double root) {
            return root >= start - sameRoot && root <= end + sameRoot;
        });
    }

    void add(double root) {
        if (!isKnown(root, root)) roots_.append(root);
    }

    // The root of the part with these coefficients, whose sign is `first` at its start.
    double bisected(const double* b, double start, double end, int first) const {
        double low = 0.0, high = 1.0;
        for (unsigned int i = 0; i < 52; ++i) {
            const double middle = 0.5 * (low + high);
            double value = 0.0;
            Horner(b, n_, middle, 1, &value);
            ((value > 0.0) == (first > 0) ? low : high) = middle;
        }
        return start + (end - start) * low;
    }

    unsigned int n_;
    double noise_;
    unsigned int splitsLeft_ = maxSplits;
    ERVec<double>& roots_;
};

}  // namespace

bool scaledZeros(double* coefficients, unsigned int n, const ERLimites& limits, double null,
                 ERVec<double>& roots) {
    roots.clear();
    const double largest = largestOf(coefficients, n);
    if (!(largest > null) || !std::isfinite(largest)) return false;
    for (unsigned int i = 0; i < n; ++i) coefficients[i] /= largest;
    while (n > 1 && std::fabs(coefficients[n - 1]) <= zeroCoefficient) --n;
    if (n < 2) return true;
    if (limits.start() >= 0.0 && limits.end() <= 1.0 &&
        powerKeepsAway(coefficients, n, 2.0 * missedRoot)) {
        return true;
    }
    spline::Scratch<rootsRoom(coefficientsOnStack)> found(rootsRoom(n));
    spline::Scratch<rootsWork(coefficientsOnStack)> work(rootsWork(n));
    const unsigned int count = Zeros(coefficients, n, limits, found.data(), work.data());
    for (unsigned int i = 0; i < count; ++i) {
        if (std::fabs(evaluatePolynomial(coefficients, n, found[i])) <= missedRoot)
            roots.append(found[i]);
    }
    return true;
}

bool bernsteinZeros(const double* coefficients, unsigned int n, double null, ERVec<double>& roots) {
    roots.clear();
    const double largest = largestOf(coefficients, n);
    if (!(largest > null) || !std::isfinite(largest)) return false;
    if (n < 2) return true;
    spline::Scratch<coefficientsOnStack> power(n);
    double largestPower = std::numeric_limits<double>::infinity();
    if (n - 1 <= TableauDePascal::lastFiniteRow) {
        std::copy_n(coefficients, n, power.data());
        spline::bernsteinToPower(power.data(), n, 1);
        largestPower = largestOf(power.data(), n);
    }
    if (largestPower <= usablePower * largest) {
        if (keepsAway(coefficients, n, 2.0 * missedRoot * largestPower)) return true;
        scaledZeros(power.data(), n, ERLimites(0.0, 1.0), 0.0, roots);
    } else {
        if (std::fabs(coefficients[0]) <= rootAtEnd * largest) roots.append(0.0);
        if (std::fabs(coefficients[n - 1]) <= rootAtEnd * largest) roots.append(1.0);
    }
    SignChanges(n, largest, roots).find(coefficients, 0.0, 1.0, 0);
    std::sort(roots.data(), roots.data() + roots.length());
    return true;
}

FootRows::FootRows(unsigned int dimension, unsigned int length)
    : dimension_(dimension),
      length_(length),
      rows_(std::size_t{dimension + 1} * length),
      sizes_(std::size_t{dimension + 1} * length),
      origin_(dimension) {}

void FootRows::setOrigin(unsigned int k, double origin) {
    if (std::isfinite(origin)) origin_[k] = origin;
}

void FootRows::addCoordinate(unsigned int k, const double* x, const double* derivedX,
                             const double* w, const double* derivedW, unsigned int n) {
    if (n < 2) return;
    const unsigned int m = n - 1, length = 2 * n - 2;
    std::vector<double> slope(length), size(length), minus(derivedW, derivedW + m);
    for (double& value : minus) value = -value;
    addProduct(derivedX, m, w, n, slope.data());
    addProduct(x, n, minus.data(), m, slope.data());
    addProductSize(derivedX, m, w, n, size.data());
    addProductSize(x, n, minus.data(), m, size.data());
    addProduct(x, n, slope.data(), length, row(0));
    addProductSize(x, n, size.data(), length, sizes(0));
    addProduct(w, n, slope.data(), length, row(1 + k));
    addProductSize(w, n, size.data(), length, sizes(1 + k));
}

int FootRows::sumFor(const double* point, double* sum) const {
    double largest = 0.0;
    double terms = 0.0;
    for (unsigned int j = 0; j < length_; ++j) {
        double value = row(0)[j];
        double size = sizes(0)[j];
        for (unsigned int k = 0; k < dimension_; ++k) {
            const double p = point[k] - origin_[k];
            value -= p * row(1 + k)[j];
            size += std::fabs(p) * sizes(1 + k)[j];
        }
        sum[j] = value;
        largest = std::max(largest, std::fabs(value));
        terms = std::max(terms, size);
    }
    if (!std::isfinite(terms)) return 0;
    return largest <= zeroOfTerms * terms ? -1 : 1;
}

namespace {

unsigned int highestDegree(const ERTValVector<ERPolynome>& polynomials) {
    unsigned int degree = 0;
    for (const ERPolynome& polynomial : polynomials) degree = std::max(degree, polynomial.degree());
    return degree;
}

int appended(const ERVec<double>& found, ERVec<double>& parameters) {
    for (unsigned int i = 0; i < found.length(); ++i) parameters.append(found[i]);
    return static_cast<int>(found.length());
}

}  // namespace

FootPolynomial::FootPolynomial(const ERTValVector<ERPolynome>& polynomials, unsigned int dimension)
    : FootRows(dimension, std::max(3 * highestDegree(polynomials), 1U)) {
    if (polynomials.entries() < dimension) return;
    const unsigned int n = highestDegree(polynomials) + 1;
    std::vector<double> x(n), derivedX(n), w(n), derivedW(n);
    const auto read = [](const ERPolynome& polynomial, std::vector<double>& c) {
        std::fill(c.begin(), c.end(), 0.0);
        const ERVec<double>& stored = polynomial.coefficients();
        for (unsigned int i = 0; i < stored.length(); ++i) c[i] = stored[i];
    };
    const auto derive = [n](const std::vector<double>& c, std::vector<double>& derived) {
        for (unsigned int i = 0; i + 1 < n; ++i) derived[i] = (i + 1) * c[i + 1];
    };
    if (polynomials.entries() > dimension) {
        read(polynomials[dimension], w);
    } else {
        w[0] = 1.0;
    }
    derive(w, derivedW);
    for (unsigned int k = 0; k < dimension; ++k) {
        read(polynomials[k], x);
        setOrigin(k, x[0] / w[0]);
        for (unsigned int i = 0; i < n; ++i) x[i] -= origin(k) * w[i];
        derive(x, derivedX);
        addCoordinate(k, x.data(), derivedX.data(), w.data(), derivedW.data(), n);
    }
}

int FootPolynomial::roots(const double* point, const ERLimites& limits,
                          ERVec<double>& parameters) const {
    spline::Scratch<coefficientsOnStack> sum(length());
    const int kind = sumFor(point, sum.data());
    if (kind != 1) return kind;
    ERVec<double> found;
    scaledZeros(sum.data(), length(), limits, 0.0, found);
    return appended(found, parameters);
}

// A Bernstein coefficient times its binomial multiplies as that of a power does.
BezierFootPolynomial::BezierFootPolynomial(const double* poles, unsigned int n,
                                           unsigned int dimension)
    : FootRows(dimension, std::max(3 * (n - 1), 1U)) {
    if (n < 2) return;
    if (length() - 1 > TableauDePascal::lastFiniteRow) {
        sizes(0)[0] = std::numeric_limits<double>::infinity();
        return;
    }
    const unsigned int stride = dimension + 1;
    const double* const ofPoles = theCnpTableau.Cnp(n - 1);
    const double* const ofDerived = theCnpTableau.Cnp(n - 2);
    // Coordinate k of the poles, counted from an origin.
    const auto read = [&](unsigned int k, double from, std::vector<double>& c,
                          std::vector<double>& derived) {
        const auto value = [&](std::size_t i) {
            const double* const pole = poles + i * stride;
            return from == 0.0 ? pole[k] : pole[k] - from * pole[dimension];
        };
        for (unsigned int i = 0; i < n; ++i) c[i] = ofPoles[i] * value(i);
        for (unsigned int i = 0; i + 1 < n; ++i)
            derived[i] = ofDerived[i] * (n - 1) * (value(i + 1) - value(i));
    };
    std::vector<double> x(n), derivedX(n), w(n), derivedW(n);
    read(dimension, 0.0, w, derivedW);
    for (unsigned int k = 0; k < dimension; ++k) {
        setOrigin(k, poles[k] / poles[dimension]);
        read(k, origin(k), x, derivedX);
        addCoordinate(k, x.data(), derivedX.data(), w.data(), derivedW.data(), n);
    }
    const double* const binomials = theCnpTableau.Cnp(length() - 1);
    for (unsigned int i = 0; i <= dimension; ++i)
        for (unsigned int j = 0; j < length(); ++j) {
            row(i)[j] /= binomials[j];
            sizes(i)[j] /= binomials[j];
        }
}

int BezierFootPolynomial::roots(const double* point, ERVec<double>& parameters) const {
    spline::Scratch<coefficientsOnStack> sum(length());
    const int kind = sumFor(point, sum.data());
    if (kind != 1) return kind;
    ERVec<double> found;
    bernsteinZeros(sum.data(), length(), 0.0, found);
    return appended(found, parameters);
}

}  // namespace kerf
