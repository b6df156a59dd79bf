#include <cmath>
#include <utility>

#include "kerf/numerics/complex_roots.h"
#include "kerf/values/polynomial.h"

namespace kerf {

namespace {

// A leading coefficient up to this is taken as 0 by the general method.
constexpr double nullCoefficient = 1e-10;
constexpr double finderTolerance = 1e-9;
constexpr double finderIterations = 80.0;

// A value up to this is 0, and a product of the values at both ends below the other opens a search.
constexpr double nullValue = 1e-11;
constexpr double searchedProduct = 1e-9;

constexpr int newtonIterations = 100;
constexpr double newtonEpsilon = 2.2250738585072014e-308;
constexpr double newtonTolerance = 1e-15;

constexpr unsigned int everywhere = 0xFFFFFFFF;

bool isNull(double value) { return std::fabs(value - 0.0) <= nullValue; }

// Looks for a root in [a, b] by Newton's method, from the middle, then from each end.
bool findRoot(ERNewtonSSolver& solver, double a, double b, double& root) {
    const ERLimites interval(a, b);
    for (const double start : {(a + b) * 0.5, a, b}) {
        root = start;
        solver.Resoudre(root, newtonTolerance);
        if (interval.inBound(root)) return true;
    }
    return false;
}

// A list of values whose room is made once.
class ValueList {
public:
    explicit ValueList(unsigned int room) : values_(room), elements_(values_.data()) {}

    void clear() { count_ = 0; }
    void append(double value) {
        KERF_CHECK_ARGUMENT(count_ < values_.length());
        elements_[count_++] = value;
    }
    void appendNew(double value) {
        if (count_ == 0 || value != elements_[count_ - 1]) append(value);
    }

    const double* begin() const { return elements_; }
    const double* end() const { return elements_ + count_; }

    // The values as a vector, after which nothing more can be appended.
    const ERVec<double>& finish() {
        values_.troncat(count_);
        return values_;
    }

private:
    ERVec<double> values_;
    double* elements_;
    unsigned int count_ = 0;
};

// The limits, and in between what lies there of the given values.
void makeJoints(const ERLimites& limits, const ValueList& inner, ValueList& joints) {
    joints.clear();
    joints.append(limits.start());
    for (const double value : inner)
        if (limits.strictlyInBound(value)) joints.append(value);
    joints.append(limits.end());
}

// The roots of p between consecutive joints, which hold all roots of its derivative in their range.
void findRoots(const ValueList& joints, const ERPolynome& p, const ERPolynome& derivative,
               ValueList& roots) {
    ERCNewtonSPolynome equation(p, derivative);
    ERNewtonSSolver solver(&equation, newtonEpsilon, newtonIterations);
    solver.skipRounds();
    roots.clear();
    double a = *joints.begin();
    double valueA = p.evaluate(a);
    if (isNull(valueA)) roots.appendNew(a);
    for (const double* joint = joints.begin() + 1; joint != joints.end(); ++joint) {
        const double b = *joint;
        const double valueB = p.evaluate(b);
        if (isNull(valueB)) {
            roots.appendNew(b);
        } else if (!isNull(valueA) && valueA * valueB < searchedProduct) {
            double root;
            if (findRoot(solver, a, b, root)) roots.appendNew(root);
        }
        a = b;
        valueA = valueB;
    }
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

ERVec<double> Zeros(const ERPolynome& p, const ERLimites& limits) {
    const ERTValVector<ERPolynome> derivatives = getAllDerivate(p);
    const unsigned int n = p.degree();

    // An interval has one root at most, so that each derivative adds one joint at most to the three
    // that the first one may have.
    ValueList roots(n + 2);
    ValueList joints(n + 2);
    if (n > 0) {
        const ERPolynome& linear = derivatives[n - 1];
        roots.append(-linear[0] / linear[1]);
    }
    for (unsigned int k = n; k-- > 1;) {
        makeJoints(limits, roots, joints);
        findRoots(joints, derivatives[k - 1], derivatives[k], roots);
    }
    if (n > 1) return roots.finish();

    // No derivative was searched, which would have tested the limits.
    ValueList result(n + 2);
    if (isNull(p.evaluate(limits.start()))) result.append(limits.start());
    for (const double root : roots)
        if (limits.strictlyInBound(root)) result.appendNew(root);
    if (isNull(p.evaluate(limits.end()))) result.appendNew(limits.end());
    return result.finish();
}

}  // namespace kerf
