#include "kerf/numerics/newton_solvers.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>

#include "tests/numerics/vector_checks.h"

namespace kerf {
namespace {

using namespace test;
using ::testing::DoubleNear;
using ::testing::Pointwise;

auto near(const Values& expected) { return Pointwise(DoubleNear(1e-9), expected); }

// A system or a minimisation, with derivatives that are given, right or not. H and its domain
// depend on the first unknown.
struct Problem : ERCNewtonH {
    using Function = std::function<Values(const Values&)>;
    Function residual, jacobian;
    std::function<double(double)> height;
    std::function<bool(double)> domain = [](double) { return true; };
    Values path, heightPath;  // first unknowns where f and H were called

    Problem(Function f0, Function f1)
        : ERCNewtonH(0), residual(std::move(f0)), jacobian(std::move(f1)) {}
    ERVec<double> f(const ERVec<double>& x) override {
        if (x.length() > 0) path.push_back(x[0]);
        return vecOf(residual(listOf(x)));
    }
    Matrix fprime(const ERVec<double>& x) override {
        const Values j = jacobian(listOf(x));
        const unsigned int cols = x.length();
        return {j.data(), cols == 0 ? 0 : static_cast<unsigned int>(j.size()) / cols, cols};
    }
    double H(const ERVec<double>& x) override {
        heightPath.push_back(x[0]);
        return height(x[0]);
    }
    int HDomaine(const ERVec<double>& x) override { return domain(x[0]); }
};

// x^2 + y^2 = 5, x y = 2: through (2, 1).
const Problem circleAndHyperbola(
    [](const Values& x) {
        return Values{x[0] * x[0] + x[1] * x[1] - 5, x[0] * x[1] - 2};
    },
    [](const Values& x) {
        return Values{2 * x[0], 2 * x[1], x[1], x[0]};
    });

Problem constant(const Values& f, const Values& jacobian) {
    return {[f](const Values&) { return f; }, [jacobian](const Values&) { return jacobian; }};
}

Problem scalar(const std::function<double(double)>& f,
               const std::function<double(double)>& derivative) {
    return {[f](const Values& x) { return Values{f(x[0])}; },
            [derivative](const Values& x) { return Values{derivative(x[0])}; }};
}

struct Equation : ERCNewtonS {
    Problem problem;

    Equation(const Problem& given) : problem(given) {}
    double f(double x) override { return problem.f(vecOf({x}))[0]; }
    double fprime(double x) override { return problem.fprime(vecOf({x}))(0, 0); }
};

Problem squareMinus(double c) {
    return scalar([c](double x) { return x * x - c; }, [](double x) { return 2 * x; });
}

// Into a cycle of two, and of a few values around a root that is not quite reached.
TEST(ScalarNewton, SkippedCyclesEndWhereAllIterationsDo) {
    const Problem cubic = scalar([](double x) { return x * x * x - 2 * x + 2; },
                                 [](double x) { return 3 * x * x - 2; });
    for (const auto& [problem, start] : {std::pair(cubic, 0.1), {cubic, 0.0}, {squareMinus(2), 9}})
        for (int limit = 0; limit < 60; ++limit) {
            SCOPED_TRACE(testing::Message() << "from " << start << ", limit " << limit);
            Equation whole = problem, skipping = problem;
            ERNewtonSSolver everyStep(&whole, 0, limit), fewer(&skipping, 0, limit);
            fewer.skipRounds();
            double x = start, y = start;
            EXPECT_EQ(everyStep.Resoudre(x, 0), fewer.Resoudre(y, 0));
            EXPECT_EQ(x, y);
            EXPECT_EQ(everyStep.GetIterations(), fewer.GetIterations());
            if (limit >= 30) {
                EXPECT_LT(skipping.problem.path.size(), whole.problem.path.size());
            }
        }
}

TEST(ScalarNewton, AFlatRootIsLeftByAStepToNaN) {
    Equation square = squareMinus(0);
    double x = 0;
    EXPECT_EQ(ERNewtonSSolver(&square, 0, 9).Resoudre(x, 1e-9), 3);
    EXPECT_TRUE(std::isnan(x));
}

struct Case {
    const char* name;
    Problem problem;
    Values start;
    double epsilon, tol;
    int limit, status, iterations;
};

template <class Solver>
void expectStops(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Problem problem = c.problem;
        ERVec<double> x = vecOf(c.start);
        Solver solver(&problem, c.epsilon, c.limit);
        EXPECT_EQ(solver.Resoudre(x, c.tol), c.status);
        EXPECT_EQ(solver.GetIterations(), c.iterations);
        if (c.iterations == 0) {
            EXPECT_EQ(listOf(x), c.start);
        }
    }
}

TEST(VectorNewton, TellsWhyItStops) {
    // The cube root sends x to -2 x: the residual grows to 2^(k/3) in step k.
    const Problem root = scalar([](double x) { return std::cbrt(x); },
                                [](double x) { return std::pow(std::cbrt(x), -2) / 3; });
    const Problem norms5And005 = constant({3, 4}, {0.03, 0, 0, 0.04});
    struct Solver : ERNewtonMSolver {
        Solver(Problem* given, double flatness, int limit)
            : ERNewtonMSolver(given, 2, flatness, limit) {}
    };
    expectStops<Solver>({
        {"from the root", circleAndHyperbola, {2, 1}, 0, 1e-9, 50, 0, 1},
        {"limit 0", circleAndHyperbola, {3, 1}, 0, 1e-9, 0, 2, 0},
        {"singular before flat", constant({1, 1}, {1, 2, 2, 4}), {5, 6}, 1e30, 1e-9, 9, 4, 0},
        {"tall", constant({1, 1}, {1, 2}), {1}, 0, 1e-9, 9, 4, 0},
        {"hardly not flat", norms5And005, {0, 0}, 0.0099, 1e-9, 1, 2, 1},
        {"flat", norms5And005, {0, 0}, 0.0101, 1e-9, 1, 3, 0},
        // Growth counts from the second residual on, or from the first above 1e7 tol:
        // 2^(69.43 / 3) = 0.9e7. The 21st ends.
        {"growth", root, {1}, 0, 1e-9, 1000, 4, 22},
        {"late growth", root, {1}, 0, 0.9, 1000, 4, 70 + 20},
        {"NaN", constant({NAN}, {1}), {1}, 0, 1e-9, 30, 2, 30},
        {"no unknowns", constant({}, {}), {}, 0, 1e-9, 30, 0, 1},
    });
}

TEST(Differences, TheJacobianIsSymmetrisedWhateverTheSystem) {
    struct : ERCNewtonMDelta {
        using ERCNewtonMDelta::ERCNewtonMDelta;
        ERVec<double> f(const ERVec<double>& x) override {
            if (x.length() == 2) return x;  // a share of the solver's own block
            return vecOf({x[0] + 10 * x[1], 2 * x[0] + x[1] + x[2], 5 * x[2]});
        }
    } problem(0.5);
    EXPECT_EQ(listOf(problem.fprime(vecOf({1, 2, 3}))), (Values{1, 6, 0, 6, 1, 0.5, 0, 0.5, 5}));
    EXPECT_EQ(listOf(problem.fprime(vecOf({1, 2}))), (Values{1, 0, 0, 1}));
}

TEST(Differences, StandForAllDerivativesOfAMinimum) {
    struct : ERCNewtonH {
        using ERCNewtonH::ERCNewtonH;
        double H(const ERVec<double>& x) override {
            return x[0] * x[0] + x[0] * x[1] + x[1] * x[1] - 3 * x[1];
        }
    } problem(0.5);  // of a quadratic form they are exact
    ERVec<double> x = vecOf({4, 9});
    EXPECT_EQ(ERNewtonMSolverEx(&problem, 0, 1).Resoudre(x, 1e-12), 1);
    EXPECT_THAT(listOf(x), near({-1, 2}));
}

Problem power(int n, double hessian) {
    Problem problem = scalar([n](double x) { return n * std::pow(x, n - 1); },
                             [hessian](double) { return hessian; });
    problem.height = [n](double x) { return std::pow(x, n); };
    return problem;
}

TEST(Minimiser, DampsAndLengthensItsSteps) {
    // x - log x from 3: d = -6, and H is of no use at 0 and before.
    Problem logarithmic =
        scalar([](double x) { return 1 - 1 / x; }, [](double x) { return 1 / (x * x); });
    logarithmic.height = [](double x) { return x - std::log(x); };
    Problem guarded = logarithmic;
    guarded.domain = [](double x) { return x > 0; };
    const struct {
        const char* name;
        Problem problem;
        Values path;  // of the evaluations of H in one iteration
        double end;
    } cases[] = {
        {"full step", power(2, 2), {1, 0, -1}, 0},
        {"half a step, by the parabola", power(2, 1), {1, -1, 0}, 0},
        {"a tenth at least", power(4, 0.04), {1, -99, -9, 0}, 0},
        {"doubled while H falls", power(2, 8), {1, 0.75, 0.5, 0, -1}, 0},
        {"doubled up to 200", power(1, 1 / 100.0), {0, -100, -200}, -200},
        {"doubled no further than 200", power(1, 1 / 60.0), {0, -60, -120}, -120},
        {"cut to 200", power(1, 1 / 1000.0), {0, -200}, -200},
        {"halved where H is not finite", logarithmic, {3, -3, 0, 1.5}, 1.5},
        {"halved outside the domain", guarded, {3, 1.5}, 1.5},
        {"cut to 200 |x|", power(1, 1 / 3000.0), {-10, -2010}, -2010},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Problem problem = c.problem;
        ERVec<double> x = vecOf({c.path[0]});
        ERNewtonMSolverEx(&problem, 0, 1).Resoudre(x, -1.0);
        EXPECT_THAT(problem.heightPath, near(c.path));
        EXPECT_NEAR(x[0], c.end, 1e-9);
    }
}

TEST(Minimiser, TellsWhyItStops) {
    Problem walled = power(2, 2);
    walled.domain = [](double x) { return x == 1; };
    expectStops<ERNewtonMSolverEx>({
        {"zero gradient after a long step", power(2, 2), {1}, 0, 1e-9, 9, 1, 1},
        {"from the minimum", power(2, 2), {0}, 0, 1e-9, 9, 0, 1},
        {"unmoved", power(2, 1e20), {1}, 0, 1e-9, 9, 1, 1},
        {"limit 1", power(1, 1), {1}, 0, 1e-9, 1, 2, 1},
        {"a direction uphill", power(2, -2), {1}, 0, 1e-9, 9, 3, 0},
        {"2 epsilon above 2", power(2, 2), {1}, 1.1, 1e-9, 9, 3, 0},
        {"singular", power(2, 0), {1}, 0, 1e-9, 9, 4, 0},
        {"NaN", power(2, NAN), {1}, 0, 1e-9, 9, 3, 0},
        {"no descent down to t = 1e-10", walled, {1}, 0, 1e-9, 9, 3, 0},
    });
}

TEST(BackTracking, ConvergesWhereFullStepsDiverge) {
    Problem arc =
        scalar([](double x) { return std::atan(x); }, [](double x) { return 1 / (1 + x * x); });
    ERVec<double> x = vecOf({20});
    // The last step is below 1e-9, so that it is tried, found good and not made.
    EXPECT_EQ(ERNewtonMSolverWithBackTracking(&arc, 0, 50).Resoudre(x, 1e-12), 1);
    EXPECT_LT(std::fabs(arc.path.back()), 1e-12);
    EXPECT_GT(std::fabs(x[0]), 1e-12);
    EXPECT_NEAR(x[0], 0, 1e-9);
}

TEST(BackTracking, TellsWhyItStops) {
    // A step that is not below 1e-9 of x before rounding, and is after it.
    const Problem line =
        scalar([](double x) { return (x - 1.5) - 1.50000001e-9; }, [](double) { return 1; });
    expectStops<ERNewtonMSolverWithBackTracking>({
        {"converged from the start", constant({1e-10}, {1}), {7}, 0, 0, 9, 1, 0},
        {"limit 1", circleAndHyperbola, {3, 1}, 0, 1e-13, 1, -1, 1},
        {"singular", constant({1, 1}, {1, 2, 2, 4}), {0, 0}, 0, 1e-9, 9, 0, 1},
        {"f is NaN", constant({NAN}, {1}), {0}, 0, 1e-9, 9, 5, 1},
        {"J is NaN", constant({1}, {NAN}), {0}, 0, 1e-9, 9, 5, 1},
        {"converged on x", line, {1.5}, 0, 0, 9, 2, 1},
    });
}

struct Search {
    double start, merit, slope, step, longest;
    ERVec<double> x = {};

    int operator()(Problem& problem) {
        ERNewtonMSolverWithBackTracking solver(&problem, 0, 9);
        ERVec<double> from = vecOf({start}), gradient = vecOf({slope}), direction = vecOf({step});
        return solver.LinearSearch(from, merit, gradient, direction, x, merit, longest);
    }
};

TEST(LineSearch, LeavesTheResidualOfItsLastTrial) {
    Problem problem([](const Values& x) { return Values{2 + std::fabs(x[0] - 3)}; }, nullptr);
    Search search{3, 2, -1, 1000, 5};
    EXPECT_EQ(search(problem), 1);
    EXPECT_EQ(problem.path.front(), 8) << "the step is cut to 5";
    EXPECT_EQ(search.x[0], 3);
    // That of a point less than 1e-9 * 3 away.
    EXPECT_GT(search.merit, 2);
    EXPECT_LT(problem.path.back(), 3 + 3e-9);
}

}  // namespace
}  // namespace kerf
