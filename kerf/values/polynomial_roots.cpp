#include <cmath>
#include <utility>

#include "kerf/numerics/complex_roots.h"
#include "kerf/numerics/constants.h"
#include "kerf/values/polynomial.h"

namespace kerf {

namespace {

// A leading coefficient up to this is taken as 0 by the general method.
constexpr double nullCoefficient = 1e-10;
constexpr double finderTolerance = 1e-9;
constexpr double finderIterations = 80.0;

// A product of the values at both ends below this opens a search.
constexpr double searchedProduct = 1e-9;

constexpr int newtonIterations = 100;
constexpr double newtonEpsilon = 2.2250738585072014e-308;
constexpr double newtonTolerance = 1e-15;

constexpr unsigned int everywhere = 0xFFFFFFFF;

bool isNull(double value) { return std::fabs(value - 0.0) <= comparisonTolerance; }

// p(x) = 0 for the coefficients of p and of its derivative.
class Equation : public ERCNewtonS {
public:
    Equation(const double* p, const double* derivative, unsigned int degree)
        : p_(p), derivative_(derivative), degree_(degree) {}
    double f(double x) override { return evaluatePolynomial(p_, degree_ + 1, x); }
    double fprime(double x) override { return evaluatePolynomial(derivative_, degree_, x); }

private:
    const double* p_;
    const double* derivative_;
    unsigned int degree_;
};

// Looks for a root in [a, b] by Newton's method, from the middle, then from each end. A start where
// the derivative is zero and no step can be made is no root on that account. (A step too small to
// change x is another matter: it converges, at a root whose value may be all rounding.)
bool findRoot(ERNewtonSSolver& solver, Equation& p, double a, double b, double& root) {
    const ERLimites interval(a, b);
    for (const double start : {(a + b) * 0.5, a, b}) {
        root = start;
        solver.Resoudre(root, newtonTolerance);
        if (solver.GetIterations() == 0 && !isNull(p.f(start))) continue;
        if (interval.inBound(root)) return true;
    }
    return false;
}

// A list of values in the caller's array.
class ValueList {
public:
    explicit ValueList(double* room) : values_(room) {}

    void clear() { count_ = 0; }
    void append(double value) { values_[count_++] = value; }
    void appendNew(double value) {
        if (count_ == 0 || value != values_[count_ - 1]) append(value);
    }

    unsigned int count() const { return count_; }
    const double* begin() const { return values_; }
    const double* end() const { return values_ + count_; }

private:
    double* values_;
    unsigned int count_ = 0;
};

// The limits, and in between what lies there of the given values.
void makeBreakpoints(const ERLimites& limits, const ValueList& inner, ValueList& breakpoints) {
    breakpoints.clear();
    breakpoints.append(limits.start());
    for (const double value : inner)
        if (limits.strictlyInBound(value)) breakpoints.append(value);
    breakpoints.append(limits.end());
}

// The roots of p between consecutive breakpoints, which hold all roots of its derivative in their
// range.
void findRoots(const ValueList& breakpoints, Equation& p, ValueList& roots) {
    ERNewtonSSolver solver(&p, newtonEpsilon, newtonIterations);
    solver.skipRounds();
    roots.clear();
    double a = *breakpoints.begin();
    double valueA = p.f(a);
    if (isNull(valueA)) roots.appendNew(a);
    for (const double* next = breakpoints.begin() + 1; next != breakpoints.end(); ++next) {
        const double b = *next;
        const double valueB = p.f(b);
        if (isNull(valueB)) {
            roots.appendNew(b);
        } else if (!isNull(valueA) && valueA * valueB < searchedProduct) {
            double root;
            if (findRoot(solver, p, a, b, root)) roots.appendNew(root);
        }
        a = b;
        valueA = valueB;
    }
}

// The derivative of that order. The factors come in the order in which one derivative after the other
// multiplies by them: the bits are those of getAllDerivate.
void derive(const double* c, unsigned int n, unsigned int order, double* derivative) {
    for (unsigned int k = 0; k + order < n; ++k) {
        double value = c[k + order];
        for (unsigned int factor = k + order; factor > k; --factor) value *= factor;
        derivative[k] = value;
    }
}

// No derivative is searched, which would test the limits.
void findLinearRoots(const double* c, unsigned int n, const ERLimites& limits, ValueList& roots) {
    if (isNull(evaluatePolynomial(c, n, limits.start()))) roots.append(limits.start());
    if (n == 2) {
        const double root = -c[0] / c[1];
        if (limits.strictlyInBound(root)) roots.appendNew(root);
    }
    if (isNull(evaluatePolynomial(c, n, limits.end()))) roots.appendNew(limits.end());
}

}  // namespace

ERVec<double> Zeros1(const ERPolynome& p, const ERLimites& limits) {
    ERVec<double> roots;
    const double* const c = p.coefficients().data();
    unsigned int degree = p.degree();
    while (degree > 0 && std::fabs(c[degree] - 0.0) <= nullCoefficient) --degree;
    if (degree == 0) return roots;

    ERVec<double> re(degree + 1);
    ERVec<double> im(degree + 1);
    ERVec<double> work(degree + 1);
    const double* const x = re.data();
    const double* const y = im.data();
    unsigned int i = complexRoots(c, degree, finderTolerance, finderIterations, re.data(),
                                  im.data(), work.data());
    for (; i < degree; ++i)
        if (y[i] == 0.0 && limits.inBound(x[i])) roots.append(x[i]);
    return roots;
}

unsigned int Zeros(const ERPolynome& p, const ERLimites& limits, ERVec<double>& roots) {
    if (p.degree() != 0) {
        roots = Zeros1(p, limits);
        return roots.length();
    }
    roots.clear();
    const bool null = p.coefficients().length() == 0 || p[0] == 0.0;
    return null ? everywhere : 0;
}

unsigned int ZerosMethode1(const ERPolynome& p, const ERLimites& limits, ERVec<double>& roots) {
    return Zeros(p, limits, roots);
}

// An interval has one root at most, so that each derivative adds one breakpoint at most to the three
// that the first one may have: n + 1 in the end.
unsigned int Zeros(const double* c, unsigned int n, const ERLimites& limits, double* roots,
                   double* work) {
    ValueList found(roots);
    if (n <= 2) {
        findLinearRoots(c, n, limits, found);
        return found.count();
    }

    double* derivative = work;
    double* next = work + n;
    ValueList breakpoints(next + n);
    derive(c, n, n - 2, derivative);
    found.append(-derivative[0] / derivative[1]);
    for (unsigned int degree = 2; degree < n; ++degree) {
        derive(c, n, n - 1 - degree, next);
        makeBreakpoints(limits, found, breakpoints);
        Equation equation(next, derivative, degree);
        findRoots(breakpoints, equation, found);
        std::swap(derivative, next);
    }
    return found.count();
}

ERVec<double> Zeros(const ERPolynome& p, const ERLimites& limits) {
    const unsigned int n = p.coefficients().length();
    ERVec<double> roots(rootsRoom(n));
    ERVec<double> work(rootsWork(n));
    roots.troncat(Zeros(p.coefficients().data(), n, limits, roots.data(), work.data()));
    return roots;
}

}  // namespace kerf
