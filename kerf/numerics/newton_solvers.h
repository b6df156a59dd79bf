#pragma once
#include <optional>

#include "kerf/numerics/matrix.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"

// Newton's method for one equation, for systems, and for minima. The problem is an object that
// gives a function and its derivative; the solver is an object set up with a limit and a tolerance,
// and its Resoudre moves the start value in place and answers a status.
//
// Status of ERNewtonSSolver, ERNewtonMSolver and ERNewtonMSolverEx:
//     0  converged on function and step
//     1  converged on the function only, or the iteration stopped moving
//     2  still running when the iteration limit was reached
//     3  derivative too small beside the function, or (ERNewtonMSolverEx) no descent
//     4  singular system, or repeated growth of the residual
// ERNewtonMSolverWithBackTracking has results of its own.
//
// Failure: nothing throws of itself, and the iteration limit bounds the work whatever the problem
//          answers, NaN included. On every exit x is the last iterate, of use even unconverged.
// Threads: a solver and its problem are used by one thread at a time.
// Owners:  a problem is not owned and outlives its solver.
namespace kerf {

class ERLUDecomp;

/// One equation f(x) = 0.
class KERF_EXPORT ERCNewtonS {
public:
    virtual double f(double x) = 0;
    virtual double fprime(double x) = 0;
    virtual ~ERCNewtonS();
};

/// One equation without a derivative: (f(x + h) - f(x - h)) * 0.5 / h stands for it.
class KERF_EXPORT ERCNewtonSDelta : public ERCNewtonS {
public:
    explicit ERCNewtonSDelta(double increment) : h(increment) {}
    double fprime(double x) override;

protected:
    double h;
};

/// n equations f(x) = 0 for n unknowns; fprime(x)(i, j) is the derivative of f_i by x_j.
class KERF_EXPORT ERCNewtonM {
public:
    virtual ERVec<double> f(const ERVec<double>& x) = 0;
    virtual ERMatrix<double> fprime(const ERVec<double>& x) = 0;
    virtual ~ERCNewtonM();
};

/// A system whose f is the gradient of some function, with the Jacobian by central differences.
class KERF_EXPORT ERCNewtonMDelta : public ERCNewtonM {
public:
    explicit ERCNewtonMDelta(double increment) : h(increment) {}

    /// (f(x + h e_i) - f(x - h e_i)) * (1 / (2 h)) in column i, then symmetrised: elements (i, j)
    /// and (j, i) both take their mean. This is right for gradients and wrong for any other system;
    /// callers rely on the symmetry.
    ERMatrix<double> fprime(const ERVec<double>& x) override;

    void SetIncrement(double increment) { h = increment; }
    double GetIncrement() const { return h; }

protected:
    double h;
};

/// A function H to be minimised. Without overrides f is its gradient and fprime its Hessian, both
/// by central differences: H is then evaluated up to 2 h from x along each axis, in the domain or
/// not. An override of f alone gives a Hessian by differences of that gradient.
class KERF_EXPORT ERCNewtonH : public ERCNewtonMDelta {
public:
    explicit ERCNewtonH(double increment) : ERCNewtonMDelta(increment) {}
    ERVec<double> f(const ERVec<double>& x) override;
    virtual double H(const ERVec<double>& x) = 0;
    /// 0 where x lies outside the domain of H, else 1.
    virtual int HDomaine(const ERVec<double>& x);
};

/// Newton's method for one equation.
class KERF_EXPORT ERNewtonSSolver {
public:
    /// epsilon guards against a flat derivative: |f| epsilon > |f'| ends with status 3.
    ERNewtonSSolver(ERCNewtonS* problem, double epsilon, int maxIter);

    /// Converged when |f(x)| <= tol: 0 if the last step was at most tol |x|, else 1. At least one
    /// step is made, from a root too. Where f and f' are both 0.0 that step divides 0 by 0 and x
    /// becomes NaN: callers test where the result lies. A NaN ends with 3.
    int Resoudre(double& x, double tol);

    /// Counts iterations that would go round earlier ones up to the limit without making them: for
    /// an f and an fprime that depend on x alone. The result is the same.
    void skipRounds() { skipsRounds_ = true; }

    int GetStatus() const { return status_; }  ///< of the last Resoudre
    int GetIterations() const { return iterations_; }

private:
    int status_;
    int iterations_ = 0;
    ERCNewtonS* problem_;
    double previousX_ = 0.0;
    double lastF_ = 0.0;
    int maxIterations_;
    double derivative_ = 0.0;
    double epsilon_;
    bool skipsRounds_ = false;
};

/// What the solvers of several unknowns have in common: settings, and the record of the last run.
class KERF_EXPORT NewtonVectorSolver {
public:
    void SetMaxIter(int maxIter) { maxIterations = maxIter; }
    /// Sets the epsilon of the constructor.
    void SetTolerance(double tolerance) { epsilon = tolerance; }

    double GetLastCriteria() const;  ///< the Euclidean norm of the last residual
    int GetStatus() const { return status; }
    int GetIterations() const { return iterations; }

protected:
    NewtonVectorSolver(unsigned int dimension, double epsilon, int maxIter);
    ~NewtonVectorSolver() = default;

    /// The derivative at x, kept in `jacobian`, and factored; nothing, with the status set, when it
    /// is singular or too small beside a residual of that size.
    std::optional<ERLUDecomp> factorDerivative(ERCNewtonM& problem, const ERVec<double>& x,
                                               double size);

    int status;
    int iterations = 0;
    ERVec<double> previousX;
    ERVec<double> residual;
    int maxIterations;
    ERMatrix<double> jacobian;
    double epsilon;
};

/// Newton's method for a system, with full steps.
class KERF_EXPORT ERNewtonMSolver : public NewtonVectorSolver {
public:
    /// epsilon: norm(f) epsilon > norm(J), all elements of J taken as a vector, ends with status 3.
    ERNewtonMSolver(ERCNewtonM* problem, unsigned int dimension, double epsilon, int maxIter);

    /// Converged when norm(f(x)) <= tol: 0 if the last step is at most tol norm(x), else 1. At
    /// least one step is made. Growth of the residual counts while it is above 1e7 tol; the 21st
    /// ends with 4.
    int Resoudre(ERVec<double>& x, double tol);

private:
    ERCNewtonM* problem_;
};

/// Minimises H by damped Newton steps: the residual is the gradient, the Jacobian the Hessian.
/// Damping: t d, with d the Newton step, is accepted when H falls by 1e-4 t |g . d| (Armijo). Else
///          t becomes the minimiser of the parabola through both values and the slope, kept
///          between 0.1 t and 0.5 t. Where HDomaine refuses or H is not finite, t is halved.
/// Length:  with s = max(norm(x), sqrt(n)) a step is at most 200 s long. A full step accepted at
///          once is doubled while it stays within that and H falls on.
class KERF_EXPORT ERNewtonMSolverEx : public NewtonVectorSolver {
public:
    /// epsilon as for ERNewtonMSolver.
    ERNewtonMSolverEx(ERCNewtonH* problem, double epsilon, int maxIter);

    /// Converged when norm(g) <= tol after a step: 0 and 1 as for ERNewtonMSolver. 3, with x where
    /// that iteration began, when the step does not descend, as near a maximum, or no t down to
    /// 1e-10 brings a descent. A null gradient, be it at a maximum, converges by a null step.
    int Resoudre(ERVec<double>& x, double tol);

private:
    bool evaluate(const ERVec<double>& x, double& value);
    bool search(const ERVec<double>& from, double start, const ERVec<double>& d, double slope,
                double longest2, ERVec<double>& x, double& value);

    ERCNewtonH* problem_;
};

/// Newton's method for a system made globally convergent by a line search on M = f . f / 2, after
/// Numerical Recipes, section 9.7. Results:
///     -1  iteration limit
///      0  stopped by a null gradient of M (a local minimum), or by a singular system
///      1  converged on f
///      2  converged on x
///      5  the line search stopped where the gradient of M is not null
class KERF_EXPORT ERNewtonMSolverWithBackTracking : public NewtonVectorSolver {
public:
    /// epsilon is not used.
    ERNewtonMSolverWithBackTracking(ERCNewtonM* problem, double epsilon, int maxIter);

    /// Converged on f when the largest |f_i| is below tol, or below 1.0000000000000002e-10 at the
    /// start; on x when the largest |step_i| / max(|x_i|, 1) is below 1e-9.
    int Resoudre(ERVec<double>& x, double tol);

    /// Looks along p from xold, where M is fold and its gradient g, for a sufficient decrease of M.
    /// p is first cut to the length stepMax. Answers 0 with the accepted x and its M in f; or 1
    /// when the factor gets too small, with x = xold. The residual and f are then still those of
    /// the last trial, at most 1e-9 away, and Resoudre takes them for converged if they are:
    /// callers rely on that result.
    int LinearSearch(ERVec<double>& xold, double fold, ERVec<double>& g, ERVec<double>& p,
                     ERVec<double>& x, double& f, double stepMax);

private:
    ERCNewtonM* problem_;
};

}  // namespace kerf
