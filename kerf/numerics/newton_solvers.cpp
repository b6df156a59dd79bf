#include "kerf/numerics/newton_solvers.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "kerf/numerics/internal/elimination.h"
#include "kerf/numerics/internal/newton_iteration.h"
#include "kerf/numerics/linear_solvers.h"
#include "kerf/numerics/vector_arithmetic.h"

namespace kerf {

using newton::convergedOnFunction;
using newton::flatDerivative;
using newton::noDescent;
using newton::running;
using newton::stepTest;

namespace {

enum BackTrackingStatus {
    iterationLimit = -1,
    stationary = 0,
    functionConverged = 1,
    stepConverged = 2,
    spuriousStop = 5
};

// The share of the predicted decrease that a damped step has to bring (Armijo's condition).
constexpr double sufficientDecrease = 1e-4;
// A rejected factor is multiplied by something in this range.
constexpr double strongestDamping = 0.1;
constexpr double weakestDamping = 0.5;

constexpr double smallestFactor = 1e-10;
// The longest step of a minimisation, relative to the size of x, and its square.
constexpr double longestStep = 200.0;
constexpr double longestStep2 = 40000.0;

constexpr double longestSearch = 100.0;
constexpr double startTolerance = 1.0000000000000002e-10;
constexpr double gradientTolerance = 1e-6;
constexpr double stepTolerance = 1e-9;

double norm(const ERVec<double>& v) { return kerf::norm(v.data(), v.length()); }

double dot(const ERVec<double>& u, const ERVec<double>& v) {
    return kerf::dot(u.data(), v.data(), u.length());
}

void scale(ERVec<double>& v, double factor) { kerf::scale(v.data(), factor, v.length()); }

// result = x + t d.
void moveAlong(ERVec<double>& result, const ERVec<double>& x, double t, const ERVec<double>& d) {
    if (result.length() != x.length()) result = x;
    double* const to = result.data();
    kerf::moveAlong(x.data(), t, d.data(), to, x.length());
}

ERVec<double> transposedProduct(const ERMatrix<double>& m, const ERVec<double>& v) {
    ERVec<double> product(m.cols());
    double* const sums = product.data();
    const double* row = m.data();
    const double* const factors = v.data();
    for (unsigned int r = 0; r < m.rows(); ++r, row += m.cols())
        axpy(factors[r], row, sums, m.cols());
    return product;
}

bool magnitudesBelow(const ERVec<double>& v, double bound) {
    return std::all_of(v.begin(), v.end(), [bound](double e) { return std::fabs(e) < bound; });
}

double relativeTo(double x) { return std::max(std::fabs(x), 1.0); }

// The largest |step_i| / max(|x_i|, 1); NaN as soon as one of them is.
double largestRelative(const ERVec<double>& step, const ERVec<double>& x) {
    const double* const s = step.data();
    const double* const at = x.data();
    const unsigned int n = x.length();
    double largest = 0.0;
    for (unsigned int i = 0; i < n; ++i) {
        const double ratio = std::fabs(s[i]) / relativeTo(at[i]);
        if (ratio > largest || std::isnan(ratio)) largest = ratio;
    }
    return largest;
}

// A function of one value, read as the vectors of a function of several are.
struct SingleValue {
    double value;
    unsigned int length() const { return 1; }
    const double* data() const { return &value; }
};

// (f(x + h e_i) - f(x - h e_i)) * (1 / (2 h)) in column i, for each axis i.
template <class Function>
ERMatrix<double> centralDifferences(const ERVec<double>& x, double h, Function f) {
    const unsigned int n = x.length();
    const double factor = 1.0 / (2.0 * h);
    ERMatrix<double> derivatives;
    // Written through [], not through a pointer: the vector that f returns may share this block.
    ERVec<double> point = x;
    for (unsigned int i = 0; i < n; ++i) {
        const double centre = std::as_const(point)[i];
        point[i] = centre + h;
        const auto right = f(point);
        point[i] = centre - h;
        const auto left = f(point);
        point[i] = centre;
        if (i == 0) derivatives = ERMatrix<double>(right.length(), n);
        KERF_CHECK_ARGUMENT(right.length() == derivatives.rows());
        KERF_CHECK_ARGUMENT(left.length() == derivatives.rows());
        double* const column = derivatives.data() + i;
        const double* const r = right.data();
        const double* const l = left.data();
        for (unsigned int k = 0; k < derivatives.rows(); ++k)
            column[std::size_t{k} * n] = (r[k] - l[k]) * factor;
    }
    return derivatives;
}

// Whether |f| epsilon <= |derivative|. The first test mostly spares the product: with the usual
// epsilons it is subnormal, and the processor takes long over it.
bool isSteep(double f, double derivative, double epsilon) {
    return (std::fabs(f) < std::fabs(derivative) && epsilon <= 1.0) ||
           std::fabs(f) * epsilon <= std::fabs(derivative);
}

// The factored derivative: ERLUDecomp without its vectors for few unknowns.
class Factors {
public:
    // False when the derivative is singular.
    bool factor(const ERMatrix<double>& derivative) {
        n_ = derivative.rows() == derivative.cols() ? derivative.rows() : 0;
        if (n_ == 0 || n_ > fewUnknowns) {
            n_ = 0;
            many_.emplace(derivative);
            return !many_->isSingular();
        }
        std::copy_n(derivative.data(), std::size_t{n_} * n_, few_);
        int exchanges = 0;
        return eliminate(few_, n_, n_, order_, exchanges, singularPivot) != 0;
    }

    ERVec<double> solve(const ERVec<double>& right) const {
        if (n_ == 0) return kerf::solve(*many_, right);
        KERF_CHECK_ARGUMENT(right.length() >= n_);
        double x[fewUnknowns];
        for (unsigned int i = 0; i < n_; ++i) {
            const auto from = static_cast<unsigned int>(order_[i]);
            x[i] = from < right.length() ? right[from] : 0.0;
        }
        substitute(few_, n_, n_, x);
        return ERVec<double>(x, n_);
    }

private:
    static constexpr unsigned int fewUnknowns = 6;
    unsigned int n_ = 0;  // of few_; 0 when many_ counts
    double few_[fewUnknowns * fewUnknowns];
    int order_[fewUnknowns];
    std::optional<ERLUDecomp> many_;
};

// The storage of newton::iterate on vectors of the library. The vectors are those of a solver, which
// a problem may look at while the iteration runs.
class VectorStorage {
public:
    VectorStorage(ERCNewtonM& problem, ERVec<double>& x, ERVec<double>& former,
                  ERVec<double>& residual, ERMatrix<double>& jacobian)
        : problem_(problem), x_(x), former_(former), residual_(residual), jacobian_(jacobian) {}

    void remember() { former_ = x_; }
    double evaluate() {
        residual_ = problem_.f(x_);
        return norm(residual_);
    }
    bool factor() {
        jacobian_ = problem_.fprime(x_);
        return factors_.factor(jacobian_);
    }
    double derivativeNorm() const { return norm(jacobian_); }
    // The solution d of J d = residual.
    ERVec<double> solution() const {
        ERVec<double> d = factors_.solve(residual_);
        KERF_CHECK_ARGUMENT(d.length() == x_.length());
        return d;
    }
    void step() { moveAlong(x_, x_, -1.0, solution()); }
    double stepLength() const {
        return distance(std::as_const(x_).data(), std::as_const(former_).data(), x_.length());
    }
    double size() const { return norm(x_); }
    bool isUnmoved() const { return x_ == former_; }

private:
    ERCNewtonM& problem_;
    ERVec<double>& x_;
    ERVec<double>& former_;
    ERVec<double>& residual_;
    ERMatrix<double>& jacobian_;
    Factors factors_;
};

// Cycle detection. Where the tolerance is below the rounding of f, the iterates end up repeating a
// few values until the limit. Each iterate follows from the one before alone, so a whole number of
// cycles can be left out without changing the last iterate. A cycle shows when an iterate equals an
// earlier one; that one is replaced by the latest after 1, 2, 3 ... iterations.
class CycleDetector {
public:
    explicit CycleDetector(double start) : earlier_(start) {}

    // How many of the next `remaining` iterations need not be made, x being the latest iterate.
    int skipped(double x, int remaining) {
        ++age_;
        // By its bits: of a zero the sign counts too.
        if (std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(earlier_))
            return remaining - remaining % age_;
        if (age_ == oldest_) {
            earlier_ = x;
            age_ = 0;
            ++oldest_;
        }
        return 0;
    }

private:
    double earlier_;
    int age_ = 0;  // iterations since `earlier`
    int oldest_ = 1;
};

}  // namespace

ERCNewtonS::~ERCNewtonS() = default;

double ERCNewtonSDelta::fprime(double x) { return (f(x + h) - f(x - h)) * 0.5 / h; }

ERCNewtonM::~ERCNewtonM() = default;

ERMatrix<double> ERCNewtonMDelta::fprime(const ERVec<double>& x) {
    ERMatrix<double> derivatives =
        centralDifferences(x, h, [this](const ERVec<double>& point) { return f(point); });
    const unsigned int n = x.length();
    double* const elements = derivatives.data();
    const unsigned int square = std::min(derivatives.rows(), derivatives.cols());
    for (unsigned int i = 1; i < square; ++i) {
        for (unsigned int j = 0; j < i; ++j) {
            double& below = elements[std::size_t{i} * n + j];
            double& above = elements[std::size_t{j} * n + i];
            below = above = (below + above) * 0.5;
        }
    }
    return derivatives;
}

ERVec<double> ERCNewtonH::f(const ERVec<double>& x) {
    return centralDifferences(x, h,
                              [this](const ERVec<double>& point) { return SingleValue{H(point)}; })
        .asVector();
}

int ERCNewtonH::HDomaine(const ERVec<double>&) { return 1; }

ERNewtonSSolver::ERNewtonSSolver(ERCNewtonS* problem, double epsilon, int maxIter)
    : status_(running), problem_(problem), maxIterations_(maxIter), epsilon_(epsilon) {}

int ERNewtonSSolver::Resoudre(double& x, double tol) {
    double at = x;
    double value = problem_->f(at);
    iterations_ = 0;
    status_ = running;
    CycleDetector cycles(at);
    while (iterations_ < maxIterations_ && status_ == running) {
        derivative_ = problem_->fprime(at);
        if (!isSteep(value, derivative_, epsilon_)) {
            status_ = flatDerivative;
            break;
        }
        ++iterations_;
        const double from = at;
        at -= value / derivative_;
        value = problem_->f(at);
        if (std::fabs(value) <= tol)
            status_ = stepTest(std::fabs(from - at), std::fabs(at), tol);
        else if (skipsCycles_)
            iterations_ += cycles.skipped(at, maxIterations_ - iterations_);
    }
    previousX_ = x = at;
    lastF_ = value;
    return status_;
}

NewtonVectorSolver::NewtonVectorSolver(unsigned int dimension, double flatness, int maxIter)
    : status(running),
      previousX(dimension),
      residual(dimension),
      maxIterations(maxIter),
      jacobian(dimension, dimension),
      epsilon(flatness) {}

double NewtonVectorSolver::GetLastCriteria() const { return norm(residual); }

ERNewtonMSolver::ERNewtonMSolver(ERCNewtonM* problem, unsigned int dimension, double flatness,
                                 int maxIter)
    : NewtonVectorSolver(dimension, flatness, maxIter), problem_(problem) {}

int ERNewtonMSolver::Resoudre(ERVec<double>& x, double tol) {
    VectorStorage storage(*problem_, x, previousX, residual, jacobian);
    newton::iterate(storage, {epsilon, maxIterations, status, iterations}, tol);
    return status;
}

ERNewtonMSolverEx::ERNewtonMSolverEx(ERCNewtonH* problem, double flatness, int maxIter)
    : NewtonVectorSolver(0, flatness, maxIter), problem_(problem) {}

int ERNewtonMSolverEx::Resoudre(ERVec<double>& x, double tol) {
    VectorStorage storage(*problem_, x, previousX, residual, jacobian);
    storage.remember();
    double value = 0.0;
    const bool usable = evaluate(x, value);
    double size = storage.evaluate();
    iterations = 0;
    status = running;
    while (iterations < maxIterations && status == running) {
        status = newton::factorDerivative(storage, size, epsilon);
        if (status != running) break;

        ERVec<double> direction = storage.solution();
        scale(direction, -1.0);
        const double slope = dot(residual, direction);
        const bool atRest = slope == 0.0 && size <= tol;
        if (!usable || !(slope < 0.0 || atRest)) {
            status = noDescent;
            break;
        }
        const double scale2 = std::max(dot(x, x), static_cast<double>(x.length()));
        const double length2 = dot(direction, direction);
        if (length2 > longestStep2 * scale2)
            scale(direction, longestStep * std::sqrt(scale2) / std::sqrt(length2));
        if (!search(previousX, value, direction, dot(residual, direction), longestStep2 * scale2, x,
                    value)) {
            x = previousX;
            status = noDescent;
            break;
        }
        ++iterations;
        size = storage.evaluate();
        if (size <= tol) status = stepTest(storage.stepLength(), storage.size(), tol);
        if (status == running && storage.isUnmoved()) status = convergedOnFunction;
        storage.remember();
    }
    return status;
}

// False, with H not called or its value not finite, where H is of no use.
bool ERNewtonMSolverEx::evaluate(const ERVec<double>& x, double& value) {
    if (problem_->HDomaine(x) == 0) return false;
    value = problem_->H(x);
    return std::isfinite(value);
}

// The line search: x = from + t d with `value` its H, or false when no t brings a descent.
bool ERNewtonMSolverEx::search(const ERVec<double>& from, double start, const ERVec<double>& d,
                               double slope, double longest2, ERVec<double>& x, double& value) {
    double t = 1.0;
    for (;;) {
        if (t < smallestFactor) return false;
        moveAlong(x, from, t, d);
        double next = weakestDamping * t;
        if (evaluate(x, value)) {
            if (value <= start + sufficientDecrease * t * slope) break;
            const double parabola = -slope * t * t / (2.0 * (value - start - t * slope));
            if (parabola < next) next = std::max(parabola, strongestDamping * t);
        }
        t = next;
    }
    if (t != 1.0) return true;

    const double length2 = dot(d, d);
    ERVec<double> further;
    double furtherValue = 0.0;
    while (4.0 * t * t * length2 <= longest2) {
        moveAlong(further, from, 2.0 * t, d);
        if (!evaluate(further, furtherValue) || !(furtherValue < value)) break;
        t *= 2.0;
        x = further;
        value = furtherValue;
    }
    return true;
}

ERNewtonMSolverWithBackTracking::ERNewtonMSolverWithBackTracking(ERCNewtonM* problem,
                                                                 double flatness, int maxIter)
    : NewtonVectorSolver(0, flatness, maxIter), problem_(problem) {}

int ERNewtonMSolverWithBackTracking::Resoudre(ERVec<double>& x, double tol) {
    previousX = x;
    iterations = 0;
    residual = problem_->f(x);
    double merit = 0.5 * dot(residual, residual);
    if (magnitudesBelow(residual, startTolerance)) return status = functionConverged;

    const double dimension = x.length();
    const double stepMax = longestSearch * std::max(norm(x), dimension);
    while (iterations < maxIterations) {
        ++iterations;
        jacobian = problem_->fprime(x);
        const ERLUDecomp lu(jacobian);
        if (lu.isSingular()) return status = stationary;
        ERVec<double> gradient = transposedProduct(jacobian, residual);
        ERVec<double> step = solve(lu, residual);
        KERF_CHECK_ARGUMENT(step.length() == x.length());
        scale(step, -1.0);

        const int stopped = LinearSearch(previousX, merit, gradient, step, x, merit, stepMax);
        if (magnitudesBelow(residual, tol)) return status = functionConverged;
        if (stopped) {
            const double scaleOfMerit = std::max(merit, 0.5 * dimension);
            double* const g = gradient.data();
            const double* const at = x.data();
            for (unsigned int i = 0; i < x.length(); ++i)
                g[i] = g[i] * relativeTo(at[i]) / scaleOfMerit;
            return status =
                       magnitudesBelow(gradient, gradientTolerance) ? stationary : spuriousStop;
        }
        moveAlong(step, x, -1.0, previousX);
        if (largestRelative(step, x) < stepTolerance) return status = stepConverged;
        previousX = x;
    }
    return status = iterationLimit;
}

int ERNewtonMSolverWithBackTracking::LinearSearch(ERVec<double>& xold, double fold,
                                                  ERVec<double>& g, ERVec<double>& p,
                                                  ERVec<double>& x, double& f, double stepMax) {
    const double length = norm(p);
    if (length > stepMax) scale(p, stepMax / length);
    const double slope = dot(g, p);
    const double smallest = stepTolerance / largestRelative(p, xold);

    double lambda = 1.0;
    double formerLambda = 0.0;
    double formerF = 0.0;
    for (bool first = true;; first = false) {
        moveAlong(x, xold, lambda, p);
        residual = problem_->f(x);
        f = 0.5 * dot(residual, residual);
        // Negated, so that it also ends a search among infinities and NaNs.
        if (!(lambda >= smallest && lambda > 0.0)) {
            x = xold;
            return 1;
        }
        if (f <= fold + sufficientDecrease * lambda * slope) return 0;

        double next = 0.0;
        if (first) {
            next = -slope / (2.0 * (f - fold - slope));
            // On a descent this is about a half at most; without one it may exceed lambda.
            if (!(next < lambda)) next = weakestDamping * lambda;
        } else {
            const double r1 = f - fold - lambda * slope;
            const double r2 = formerF - fold - formerLambda * slope;
            const double q1 = r1 / (lambda * lambda);
            const double q2 = r2 / (formerLambda * formerLambda);
            const double a = (q1 - q2) / (lambda - formerLambda);
            const double b = (-formerLambda * q1 + lambda * q2) / (lambda - formerLambda);
            if (a == 0.0) {
                next = -slope / (2.0 * b);
            } else {
                const double disc = b * b - 3.0 * a * slope;
                if (disc < 0.0)
                    next = weakestDamping * lambda;
                else if (b <= 0.0)
                    next = (-b + std::sqrt(disc)) / (3.0 * a);
                else
                    next = -slope / (b + std::sqrt(disc));
            }
            if (!(next <= weakestDamping * lambda)) next = weakestDamping * lambda;
        }
        formerLambda = lambda;
        formerF = f;
        lambda = std::max(next, strongestDamping * lambda);
    }
}

}  // namespace kerf
