#pragma once
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"

// Newton's method for one equation, for systems, and for minima. A problem is an object that gives
// a function and its derivative. A solver is set up with a problem, a limit and a tolerance; its
// Resoudre moves the start value in place and returns a status.
//
// Which to prefer:
//     ERNewtonSSolver                  one equation
//     ERNewtonMSolver                  a system, from a start near the root: the fewest evaluations
//     ERNewtonMSolverWithBackTracking  a system, from a start that may be far
//     ERNewtonMSolverEx                the minimum of a function
//
// Status of ERNewtonSSolver, ERNewtonMSolver and ERNewtonMSolverEx:
//     0  converged on function and step
//     1  converged on the function only, or the iteration stopped moving
//     2  still running when the iteration limit was reached
//     3  derivative too small beside the function, or (ERNewtonMSolverEx) no descent
//     4  singular system, or repeated growth of the residual
// ERNewtonMSolverWithBackTracking has results of its own.
//
// Failure:  nothing throws of itself, and the iteration limit bounds the work whatever the problem
//           returns, NaN included. On every exit x is the last iterate, of use even unconverged.
// Lifetime: a problem is not owned and outlives its solver.
namespace kerf {

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

    /// (f(x + h e_i) - f(x - h e_i)) * (1 / (2 h)) in column i, then symmetrised.
    /// Kept: elements (i, j) and (j, i) both take their mean, which is wrong for a system that is no
    ///       gradient. Newton's method then converges linearly.
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

    /// Converged when |f(x)| <= tol: 0 if the last step was at most tol |x|, else 1. A NaN ends with
    /// 3.
    /// Kept: at least one step is made, from a root too. Where f and f' are both 0.0 that step
    ///       divides 0 by 0 and x becomes NaN.
    int Resoudre(double& x, double tol);

    /// Switches cycle detection on, for an f and an fprime that depend on x alone. Iterates that
    /// repeat themselves up to the limit are counted without being computed; the result is the same.
    void skipRounds() { skipsCycles_ = true; }

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
    bool skipsCycles_ = false;
};

/// What the solvers of several unknowns have in common: settings, and the record of the last run.
class KERF_EXPORT NewtonVectorSolver {
public:
    void SetMaxIter(int maxIter) { maxIterations = maxIter; }
    /// Sets the flatness of the constructor.
    void SetTolerance(double tolerance) { epsilon = tolerance; }

    double GetLastCriteria() const;  ///< the Euclidean norm of the last residual
    int GetStatus() const { return status; }
    int GetIterations() const { return iterations; }

protected:
    NewtonVectorSolver(unsigned int dimension, double flatness, int maxIter);
    ~NewtonVectorSolver() = default;

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
    /// norm(f) flatness > norm(J), all elements of J taken as a vector, ends with status 3.
    ERNewtonMSolver(ERCNewtonM* problem, unsigned int dimension, double flatness, int maxIter);

    /// Converged when norm(f(x)) <= tol: 0 if the last step is at most tol norm(x), else 1. At
    /// least one step is made. The residual may grow 20 times while it is above 1e7 tol; once more
    /// ends with 4.
    int Resoudre(ERVec<double>& x, double tol);

private:
    ERCNewtonM* problem_;
};

/// Minimises H by damped Newton steps: the residual is the gradient, the Jacobian the Hessian.
/// The part t d of the Newton step d is accepted when H falls by 1e-4 t |g . d| (Armijo). Else t
/// becomes the minimiser of the parabola through both values and the slope, kept between 0.1 t and
/// 0.5 t. Where HDomaine refuses or H is not finite, t is halved. With s = max(norm(x), sqrt(n)) a
/// step is at most 200 s long. A full step that is accepted at once is doubled while it stays within
/// that length and H goes on falling.
class KERF_EXPORT ERNewtonMSolverEx : public NewtonVectorSolver {
public:
    /// The flatness is that of ERNewtonMSolver.
    ERNewtonMSolverEx(ERCNewtonH* problem, double flatness, int maxIter);

    /// Converged when norm(g) <= tol after a step: 0 and 1 as for ERNewtonMSolver. 3, with x where
    /// that iteration began, when the step does not descend, as near a maximum, or no t down to
    /// 1e-10 brings a descent. A zero gradient converges by a zero step, at a maximum too.
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
///      0  stopped by a zero gradient of M (a local minimum), or by a singular system
///      1  converged on f
///      2  converged on x
///      5  the line search stopped where the gradient of M is not zero
class KERF_EXPORT ERNewtonMSolverWithBackTracking : public NewtonVectorSolver {
public:
    /// The flatness is not used.
    ERNewtonMSolverWithBackTracking(ERCNewtonM* problem, double flatness, int maxIter);

    /// Converged on f when the largest |f_i| is below tol, or below 1.0000000000000002e-10 at the
    /// start; on x when the largest |step_i| / max(|x_i|, 1) is below 1e-9.
    int Resoudre(ERVec<double>& x, double tol);

    /// Looks along p from xold, where M is fold and its gradient g, for a sufficient decrease of M.
    /// p is first cut to the length stepMax.
    /// Returns: 0 with the accepted x and its M in f; 1, with x = xold, when the factor gets too
    ///          small.
    /// Kept:    after 1 the residual and f are those of the last trial, at most 1e-9 away from x. If
    ///          these are within the tolerance, Resoudre returns 1 with an x whose own residual may
    ///          lie above it.
    int LinearSearch(ERVec<double>& xold, double fold, ERVec<double>& g, ERVec<double>& p,
                     ERVec<double>& x, double& f, double stepMax);

private:
    ERCNewtonM* problem_;
};

}  // namespace kerf
