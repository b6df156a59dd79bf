#pragma once
#include <algorithm>
#include <limits>

#include "kerf/numerics/internal/elimination.h"
#include "kerf/numerics/vector_arithmetic.h"

// Newton's method with full steps, written once for any storage of its vectors. ERNewtonMSolver
// runs it on vectors of the library. Where the number of unknowns is known, solveOnStack runs it
// without a heap request and visits the same iterates, bit by bit.
namespace kerf::newton {

/// As newton_solvers.h describes them.
enum Status {
    converged = 0,
    convergedOnFunction = 1,
    running = 2,
    flatDerivative = 3,
    noDescent = 3,
    failed = 4
};

// A residual may grow now and then while it shrinks from far. A growth counts while the residual is
// above this multiple of the tolerance, and so many of them are forgiven.
constexpr double growthScale = 1e7;
constexpr int forgivenGrowths = 20;

/// The settings of a run and what it has come to, in the fields of the solver.
struct Run {
    const double& epsilon;
    const int& maxIterations;
    int& status;
    int& iterations;
};

/// The status of an iterate whose residual is within the tolerance.
inline Status stepTest(double step, double size, double tol) {
    return step <= tol * size ? converged : convergedOnFunction;
}

/// Factors the derivative at x; `size` is the norm of the residual there.
/// Returns: running, or what ends the iteration.
template <class Storage>
Status factorDerivative(Storage& storage, double size, double epsilon) {
    if (!storage.factor()) return failed;
    return size * epsilon > storage.derivativeNorm() ? flatDerivative : running;
}

/// The iteration of ERNewtonMSolver. The storage holds x, the former x, the residual and the factored
/// derivative. A problem may move x in evaluate() and factor(), to keep it in its domain. Members:
///     remember()        makes x the former x
///     evaluate()        computes the residual at x and returns its norm
///     factor()          computes and factors the derivative at x; false when it is singular
///     derivativeNorm()  the norm of all elements of the derivative
///     step()            moves x by the step that factors and residual give
///     stepLength()      the distance of x from the former x
///     size()            the norm of x
///     isUnmoved()       whether x equals the former x exactly
template <class Storage>
void iterate(Storage& storage, Run run, double tol) {
    storage.remember();
    double residual = storage.evaluate();
    double former = std::numeric_limits<double>::max();
    int growths = 0;
    run.iterations = 0;
    run.status = running;
    while (run.iterations < run.maxIterations && run.status == running) {
        run.status = factorDerivative(storage, residual, run.epsilon);
        if (run.status != running) break;
        ++run.iterations;
        storage.step();
        residual = storage.evaluate();
        if (former < residual && tol * growthScale < residual && ++growths > forgivenGrowths)
            run.status = failed;
        former = residual;
        if (residual <= tol) run.status = stepTest(storage.stepLength(), storage.size(), tol);
        if (run.status == running && storage.isUnmoved()) run.status = convergedOnFunction;
        storage.remember();
    }
}

/// N equations for N unknowns in arrays.
template <unsigned int N, class System>
class StackStorage {
public:
    StackStorage(System& system, double* x) : system_(system), x_(x) {}

    void remember() { std::copy_n(x_, N, former_); }
    double evaluate() {
        system_.f(x_, residual_);
        return residualNorm();
    }
    double residualNorm() const { return norm(residual_, N); }
    bool factor() {
        system_.fprime(x_, derivative_);
        std::copy_n(derivative_, N * N, factors_);
        int exchanges = 0;
        return eliminate<N>(factors_, order_, exchanges, singularPivot) != 0;
    }
    double derivativeNorm() const { return norm(derivative_, N * N); }
    void step() {
        double step[N];
        for (unsigned int i = 0; i < N; ++i) step[i] = residual_[order_[i]];
        substitute<N>(factors_, step);
        moveAlong(x_, -1.0, step, x_, N);
    }
    double stepLength() const { return distance(x_, former_, N); }
    double size() const { return norm(x_, N); }
    bool isUnmoved() const { return std::equal(x_, x_ + N, former_); }

private:
    System& system_;
    double* x_;
    double former_[N];
    double residual_[N];
    double derivative_[N * N];
    double factors_[N * N];
    int order_[N];
};

struct Result {
    int status;  ///< as of ERNewtonMSolver
    int iterations;
    double residualNorm;  ///< of the last residual
};

/// ERNewtonMSolver(system, N, epsilon, maxIterations).Resoudre(x, tol), on the stack.
/// Parameter: the system has two members. f(x, values) computes the N values at x, and
///            fprime(x, rows) the N by N derivatives row by row. Either may take x as a double* and
///            move it.
template <unsigned int N, class System>
Result solveOnStack(System& system, double (&x)[N], double epsilon, int maxIterations, double tol) {
    Result result{};
    StackStorage<N, System> storage(system, x);
    iterate(storage, {epsilon, maxIterations, result.status, result.iterations}, tol);
    result.residualNorm = storage.residualNorm();
    return result;
}

}  // namespace kerf::newton
