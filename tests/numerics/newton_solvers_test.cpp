#include "kerf/numerics/newton_solvers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "kerf/core/thread_data.h"

namespace kerf {
namespace {

using ::testing::DoubleEq;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Values = std::vector<double>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double tiny = std::numeric_limits<double>::min();

ERVec<double> vec(const Values& v) { return {v.data(), static_cast<unsigned int>(v.size())}; }
Values values(const ERVec<double>& v) { return {v.begin(), v.end()}; }

struct Equation : ERCNewtonS {
    std::function<double(double)> function, derivative;
    Values evaluated;  // where f was called, in order

    Equation(std::function<double(double)> f0, std::function<double(double)> f1)
        : function(std::move(f0)), derivative(std::move(f1)) {}
    double f(double x) override {
        evaluated.push_back(x);
        return function(x);
    }
    double fprime(double x) override { return derivative(x); }
};

Equation squareMinus(double c) {
    return {[c](double x) { return x * x - c; }, [](double x) { return 2 * x; }};
}

TEST(ScalarNewton, VisitsTheHeronIteratesOfASquareRoot) {
    Equation problem = squareMinus(2);
    ERNewtonSSolver solver(&problem, tiny, 100);
    double x = 1;
    // |f| falls to 4.5e-12 four steps on, while that step is still 2e-6.
    EXPECT_EQ(solver.Resoudre(x, 1e-10), 1);
    EXPECT_THAT(problem.evaluated, ElementsAre(1.0, 1.5, DoubleEq(17.0 / 12), DoubleEq(577.0 / 408),
                                               DoubleEq(665857.0 / 470832)));
    EXPECT_EQ(x, problem.evaluated.back());
    EXPECT_EQ(solver.GetIterations(), 4);
    EXPECT_EQ(solver.Resoudre(x, 1e-10), 0);
    EXPECT_EQ(solver.GetIterations(), 1);
}

TEST(ScalarNewton, StopsAtAFlatDerivative) {
    Equation parabola = squareMinus(-1);
    double x = 0;
    EXPECT_EQ(ERNewtonSSolver(&parabola, tiny, 50).Resoudre(x, 1e-9), 3);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(parabola.evaluated.size(), 1u);

    // The guard lets |f| epsilon = |f'| through: f = 4, f' = 0.5.
    Equation slow([](double t) { return t; }, [](double) { return 0.5; });
    for (double epsilon : {0.125, 0.1250001}) {
        double t = 4;
        EXPECT_EQ(ERNewtonSSolver(&slow, epsilon, 1).Resoudre(t, 1e-9), epsilon == 0.125 ? 2 : 3);
        EXPECT_EQ(t, epsilon == 0.125 ? -4 : 4);
    }
}

TEST(ScalarNewton, EndsAtItsLimit) {
    // x^3 - 2 x + 2 from 0 goes round 0, 1, 0, 1, ...
    Equation cycle([](double x) { return x * x * x - 2 * x + 2; },
                   [](double x) { return 3 * x * x - 2; });
    double x = 0;
    EXPECT_EQ(ERNewtonSSolver(&cycle, tiny, 5).Resoudre(x, 1e-9), 2);
    EXPECT_THAT(cycle.evaluated, ElementsAre(0.0, 1.0, 0.0, 1.0, 0.0, 1.0));
    EXPECT_EQ(x, 1);
    for (int limit : {0, -1}) {
        x = 7;
        ERNewtonSSolver solver(&cycle, tiny, limit);
        EXPECT_EQ(solver.Resoudre(x, 1e-9), 2);
        EXPECT_EQ(x, 7);
        EXPECT_EQ(solver.GetIterations(), 0);
    }
}

TEST(ScalarNewton, EndsWithThreeAtANaN) {
    Equation logarithm([](double x) { return std::log(x); }, [](double x) { return 1 / x; });
    double x = 3;
    EXPECT_EQ(ERNewtonSSolver(&logarithm, tiny, 50).Resoudre(x, 1e-9), 3);
    EXPECT_NEAR(x, 3 - 3 * std::log(3), 1e-14);
    Equation noSlope([](double t) { return t; }, [](double) { return nan; });
    EXPECT_EQ(ERNewtonSSolver(&noSlope, tiny, 50).Resoudre(x, 1e-9), 3);
}

struct System : ERCNewtonM {
    std::function<Values(const Values&)> function, derivative;  // the Jacobian row by row
    std::vector<Values> evaluated;

    System(std::function<Values(const Values&)> f0, std::function<Values(const Values&)> f1)
        : function(std::move(f0)), derivative(std::move(f1)) {}
    ERVec<double> f(const ERVec<double>& x) override {
        evaluated.push_back(values(x));
        return vec(function(evaluated.back()));
    }
    ERMatrix<double> fprime(const ERVec<double>& x) override {
        const Values j = derivative(values(x));
        return {j.data(), static_cast<unsigned int>(j.size()) / std::max(1u, x.length()),
                x.length()};
    }
    Values path() const {  // of the first unknown
        Values firsts;
        for (const Values& x : evaluated) firsts.push_back(x[0]);
        return firsts;
    }
};

// x^2 + y^2 = 5, x y = 2: through (2, 1).
System circleAndHyperbola() {
    return {[](const Values& x) {
                return Values{x[0] * x[0] + x[1] * x[1] - 5, x[0] * x[1] - 2};
            },
            [](const Values& x) {
                return Values{2 * x[0], 2 * x[1], x[1], x[0]};
            }};
}

System constant(const Values& f, const Values& jacobian) {
    return {[f](const Values&) { return f; }, [jacobian](const Values&) { return jacobian; }};
}

TEST(VectorNewton, MakesFullStepsToTheRoot) {
    System problem = circleAndHyperbola();
    ERNewtonMSolver solver(&problem, 2, 1e-12, 1);
    ERVec<double> x = vec({3, 1});
    const ERVec<double> start = x;
    // J = (6 2; 1 3), f = (5, 1): the step is (13/16, 1/16).
    EXPECT_EQ(solver.Resoudre(x, 1e-12), 2);
    EXPECT_THAT(values(x), ElementsAre(DoubleEq(2.1875), DoubleEq(0.9375)));
    EXPECT_EQ(values(start), (Values{3, 1}));
    EXPECT_NEAR(solver.GetLastCriteria(),
                std::hypot(2.1875 * 2.1875 + 0.9375 * 0.9375 - 5, 2.1875 * 0.9375 - 2), 1e-14);

    solver.SetMaxIter(50);
    EXPECT_LE(solver.Resoudre(x, 1e-12), 1);
    EXPECT_NEAR(x[0], 2, 1e-14);
    EXPECT_NEAR(x[1], 1, 1e-14);
    EXPECT_EQ(solver.Resoudre(x, 1e-12), 0);
    EXPECT_EQ(solver.GetIterations(), 1);
    solver.SetMaxIter(0);
    EXPECT_EQ(solver.Resoudre(x, 1e-12), 2);
    EXPECT_EQ(solver.GetIterations(), 0);
}

TEST(VectorNewton, FailsOnASingularSystem) {
    System problem = constant({1, 1}, {1, 2, 2, 4});
    ERVec<double> x = vec({5, 6});
    // Looked at before the size of the derivative, which would end with 3.
    EXPECT_EQ(ERNewtonMSolver(&problem, 2, 1e30, 9).Resoudre(x, 1e-9), 4);
    EXPECT_EQ(values(x), (Values{5, 6}));
    System tall = constant({1, 1}, {1, 2});
    ERVec<double> one = vec({1});
    EXPECT_EQ(ERNewtonMSolver(&tall, 1, tiny, 9).Resoudre(one, 1e-9), 4);
}

TEST(VectorNewton, StopsAtAFlatJacobian) {
    System problem = constant({3, 4}, {0.03, 0, 0, 0.04});  // norms 5 and 0.05
    for (double epsilon : {0.0099, 0.0101}) {
        ERNewtonMSolver solver(&problem, 2, 0, 1);
        solver.SetTolerance(epsilon);
        ERVec<double> x = vec({0, 0});
        EXPECT_EQ(solver.Resoudre(x, 1e-9), epsilon < 0.01 ? 2 : 3);
        EXPECT_EQ(solver.GetIterations(), epsilon < 0.01 ? 1 : 0);
    }
}

TEST(VectorNewton, FailsAtTheTwentyFirstGrowthOfTheResidual) {
    // The cube root sends x to -2 x: the residual grows to 2^(k/3) in step k. The first residual
    // that counts as growth is the second, or the first above 1e7 tol.
    System root([](const Values& x) { return Values{std::cbrt(x[0])}; },
                [](const Values& x) { return Values{std::pow(std::cbrt(x[0]), -2) / 3}; });
    ERNewtonMSolver solver(&root, 1, 0, 1000);
    ERVec<double> x = vec({1});
    EXPECT_EQ(solver.Resoudre(x, 1e-9), 4);
    EXPECT_EQ(solver.GetIterations(), 22);
    EXPECT_NEAR(x[0], std::ldexp(1, 22), 1);
    x = vec({1});
    EXPECT_EQ(solver.Resoudre(x, 0.9), 4);
    EXPECT_EQ(solver.GetIterations(), 70 + 20);  // 2^(69.43 / 3) = 0.9e7

    // Growths add up over a cycle of residuals 1, 2, 1, 2, ..., each against the one before.
    System cycle([](const Values& v) { return Values{v[0] * v[0] * v[0] - 2 * v[0] + 2}; },
                 [](const Values& v) { return Values{3 * v[0] * v[0] - 2}; });
    ERNewtonMSolver round(&cycle, 1, 0, 1000);
    x = vec({0});
    EXPECT_EQ(round.Resoudre(x, 1e-9), 4);
    EXPECT_EQ(round.GetIterations(), 42);
}

TEST(VectorNewton, TakesNaNsAndNoUnknownsInItsStride) {
    System poisoned = constant({nan}, {1});
    ERVec<double> x = vec({1});
    EXPECT_EQ(ERNewtonMSolver(&poisoned, 1, tiny, 30).Resoudre(x, 1e-9), 2);
    EXPECT_EQ(poisoned.evaluated.size(), 31u);
    System nothing = constant({}, {});
    ERVec<double> none;
    EXPECT_EQ(ERNewtonMSolver(&nothing, 0, tiny, 30).Resoudre(none, 1e-9), 0);
}

TEST(DifferenceProblems, TheJacobianIsSymmetrisedWhateverTheSystem) {
    struct Problem : ERCNewtonMDelta {
        using ERCNewtonMDelta::ERCNewtonMDelta;
        ERVec<double> f(const ERVec<double>& x) override {
            if (identity) return x;
            return vec({x[0] + 10 * x[1], 2 * x[0] + x[1] + x[2], 5 * x[2]});
        }
        bool identity = false;
    } problem(0.5);
    EXPECT_EQ(values(problem.fprime(vec({1, 2, 3}))), (Values{1, 6, 0, 6, 1, 0.5, 0, 0.5, 5}));
    problem.identity = true;
    problem.SetIncrement(0.25);
    EXPECT_EQ(problem.GetIncrement(), 0.25);
    EXPECT_EQ(values(problem.fprime(vec({1, 2}))), (Values{1, 0, 0, 1}));
    EXPECT_EQ(problem.fprime(ERVec<double>()).rows(), 0u);
}

// A minimisation whose gradient and Hessian are given, right or not.
struct Minimum : ERCNewtonH {
    std::function<double(const Values&)> height;
    std::function<Values(const Values&)> gradient, hessian;
    std::function<bool(const Values&)> domain = [](const Values&) { return true; };
    Values evaluated, asked;  // first unknowns where H and HDomaine were called

    Minimum(std::function<double(const Values&)> h0, std::function<Values(const Values&)> h1,
            std::function<Values(const Values&)> h2)
        : ERCNewtonH(1e-4),
          height(std::move(h0)),
          gradient(std::move(h1)),
          hessian(std::move(h2)) {}
    ERVec<double> f(const ERVec<double>& x) override { return vec(gradient(values(x))); }
    ERMatrix<double> fprime(const ERVec<double>& x) override {
        return {hessian(values(x)).data(), x.length(), x.length()};
    }
    double H(const ERVec<double>& x) override {
        evaluated.push_back(x[0]);
        return height(values(x));
    }
    int HDomaine(const ERVec<double>& x) override {
        asked.push_back(x[0]);
        return domain(values(x));
    }
};

Minimum power(int n, double hessian) {
    return {[n](const Values& x) { return std::pow(x[0], n); },
            [n](const Values& x) { return Values{n * std::pow(x[0], n - 1)}; },
            [hessian](const Values&) { return Values{hessian}; }};
}

TEST(Minimiser, DampsAndLengthensItsSteps) {
    struct Case {
        const char* name;
        Minimum problem;
        double start;
        Values path;  // of the evaluations of H in one iteration
        double end;
    };
    Case cases[] = {
        {"full step", power(2, 2), 1, {1, 0, -1}, 0},
        {"half a step, by the parabola", power(2, 1), 1, {1, -1, 0}, 0},
        {"a tenth at least", power(4, 0.04), 1, {1, -99, -9, 0}, 0},
        {"doubled while H falls", power(2, 8), 1, {1, 0.75, 0.5, 0, -1}, 0},
        {"doubled up to 200", power(1, 1 / 100.0), 0, {0, -100, -200}, -200},
        {"cut to 200", power(1, 1 / 1000.0), 0, {0, -200}, -200},
        {"cut to 200 |x|", power(1, 1 / 3000.0), -10, {-10, -2010}, -2010},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        ERNewtonMSolverEx solver(&c.problem, 0, 1);
        ERVec<double> x = vec({c.start});
        solver.Resoudre(x, -1.0);
        EXPECT_EQ(solver.GetIterations(), 1);
        ASSERT_EQ(c.problem.evaluated.size(), c.path.size());
        for (size_t i = 0; i < c.path.size(); ++i)
            EXPECT_NEAR(c.problem.evaluated[i], c.path[i], 1e-9 * std::fabs(c.path[i]) + 1e-12)
                << i;
        EXPECT_NEAR(x[0], c.end, 1e-9 * std::fabs(c.end) + 1e-12);
    }
}

TEST(Minimiser, UsesHOnlyInsideTheDomainAndWhereItIsFinite) {
    // x - log x from 3: d = -6, so that 3 and a quarter of the way from there are tried.
    Minimum problem([](const Values& x) { return x[0] - std::log(x[0]); },
                    [](const Values& x) { return Values{1 - 1 / x[0]}; },
                    [](const Values& x) { return Values{1 / (x[0] * x[0])}; });
    for (bool guarded : {true, false}) {
        SCOPED_TRACE(guarded);
        if (guarded)
            problem.domain = [](const Values& x) { return x[0] > 0; };
        else
            problem.domain = [](const Values&) { return true; };
        problem.evaluated.clear();
        problem.asked.clear();
        ERVec<double> x = vec({3});
        EXPECT_LE(ERNewtonMSolverEx(&problem, 0, 50).Resoudre(x, 1e-12), 1);
        EXPECT_NEAR(x[0], 1, 1e-9);
        ASSERT_GE(problem.asked.size(), 4u);
        problem.asked.resize(4);
        EXPECT_THAT(problem.asked, ElementsAre(3.0, DoubleNear(-3, 1e-14), DoubleNear(0, 1e-14),
                                               DoubleNear(1.5, 1e-14)));
        if (guarded) {
            EXPECT_NEAR(problem.evaluated[1], 1.5, 1e-14);
        }
    }
}

TEST(Minimiser, ReportsWhyItStops) {
    const auto solve = [](Minimum problem, double start, double epsilon, int limit, double tol,
                          double end) {
        ERVec<double> x = vec({start});
        const int status = ERNewtonMSolverEx(&problem, epsilon, limit).Resoudre(x, tol);
        EXPECT_EQ(x[0], end);
        return status;
    };
    EXPECT_EQ(solve(power(2, 2), 1, 0, 9, 1e-9, 0), 1) << "gradient null after a long step";
    EXPECT_EQ(solve(power(2, 2), 0, 0, 9, 1e-9, 0), 0) << "from the minimum";
    EXPECT_EQ(solve(power(2, 1e20), 1, 0, 9, 1e-9, 1), 1) << "unmoved";
    EXPECT_EQ(solve(power(2, 4), 1, 0, 1, 1e-9, 0), 1) << "doubled onto the minimum";
    EXPECT_EQ(solve(power(2, 2), 1, 0, 0, 1e-9, 1), 2) << "limit 0";
    EXPECT_EQ(solve(power(1, 1), 1, 0, 1, 1e-9, -127), 2) << "limit 1, after seven doublings";
    EXPECT_EQ(solve(power(2, -2), 1, 0, 9, 1e-9, 1), 3) << "a direction uphill";
    EXPECT_EQ(solve(power(2, 2), 1, 1.1, 9, 1e-9, 1), 3) << "2 epsilon above 2";
    EXPECT_EQ(solve(power(2, 0), 1, 0, 9, 1e-9, 1), 4) << "singular";
    EXPECT_EQ(solve(power(2, nan), 1, 0, 9, 1e-9, 1), 3) << "NaN";

    Minimum walled = power(2, 2);
    walled.domain = [](const Values& x) { return x[0] == 1; };
    ERVec<double> x = vec({1});
    EXPECT_EQ(ERNewtonMSolverEx(&walled, 0, 9).Resoudre(x, 1e-9), 3);
    EXPECT_EQ(x[0], 1);
    EXPECT_EQ(walled.asked.size(), 1u + 34u);  // t = 1 down to 2^-33, the last above 1e-10
    walled.domain = [](const Values&) { return false; };
    walled.evaluated.clear();
    EXPECT_EQ(ERNewtonMSolverEx(&walled, 0, 9).Resoudre(x, 1e-9), 3);
    EXPECT_THAT(walled.evaluated, IsEmpty());
}

TEST(BackTracking, ConvergesWhereFullStepsDiverge) {
    System arc([](const Values& x) { return Values{std::atan(x[0])}; },
               [](const Values& x) { return Values{1 / (1 + x[0] * x[0])}; });
    ERNewtonMSolverWithBackTracking solver(&arc, tiny, 50);
    ERVec<double> x = vec({20});
    // The last step is below 1e-9, so that it is tried, found good and not made.
    EXPECT_EQ(solver.Resoudre(x, 1e-12), 1);
    EXPECT_LT(std::fabs(arc.path().back()), 1e-12);
    EXPECT_GT(std::fabs(x[0]), 1e-12);
    EXPECT_NEAR(x[0], 0, 1e-9);

    System curves = circleAndHyperbola();
    ERNewtonMSolverWithBackTracking both(&curves, tiny, 50);
    x = vec({3, 1});
    EXPECT_EQ(both.Resoudre(x, 1e-13), 1);
    EXPECT_NEAR(x[0], 2, 1e-13);
    EXPECT_NEAR(x[1], 1, 1e-13);
    EXPECT_THAT(curves.evaluated[1], ElementsAre(DoubleEq(2.1875), DoubleEq(0.9375)));
}

TEST(BackTracking, ReportsWhyItStops) {
    const auto solve = [](System problem, const Values& start, double tol, int limit) {
        ERVec<double> x = vec(start);
        return ERNewtonMSolverWithBackTracking(&problem, tiny, limit).Resoudre(x, tol);
    };
    EXPECT_EQ(solve(constant({1e-10}, {1}), {7}, 0, 9), 1) << "converged from the start";
    EXPECT_EQ(solve(constant({}, {}), {}, 0, 9), 1) << "no unknowns";
    EXPECT_EQ(solve(constant({1, 1}, {1, 2, 2, 4}), {0, 0}, 1e-9, 9), 0) << "singular";
    EXPECT_EQ(solve(circleAndHyperbola(), {3, 1}, 1e-13, 1), -1);
    EXPECT_EQ(solve(circleAndHyperbola(), {3, 1}, 1e-13, 0), -1);
    EXPECT_EQ(solve(constant({nan}, {1}), {0}, 1e-9, 9), 5);
    EXPECT_EQ(solve(constant({1}, {nan}), {0}, 1e-9, 9), 5);

    // 1 + |x| does not fall from 0 on, whatever its slope is said to be: the gradient of M, the
    // slope itself, is at most 1e-6 max(M, 1/2) or it is not.
    for (double slope : {4e-7, 6e-7}) {
        System wall([](const Values& x) { return Values{1 + std::fabs(x[0])}; },
                    [slope](const Values&) { return Values{slope}; });
        EXPECT_EQ(solve(wall, {0}, 1e-9, 9), slope < 5e-7 ? 0 : 5);
    }

    // A step that is not below 1e-9 of x before rounding, and is after it.
    System line([](const Values& x) { return Values{(x[0] - 1.5) - 1.50000001e-9}; },
                [](const Values&) { return Values{1}; });
    EXPECT_EQ(solve(line, {1.5}, 0, 9), 2);
}

// Answers M = 0.5, -1.0 ... of a script, whatever x, as residuals.
struct Script : System {
    explicit Script(const Values& merits)
        : System(
              [this, merits](const Values&) {
                  return Values{std::sqrt(2 * merits.at(evaluated.size() - 1))};
              },
              nullptr) {}
};

TEST(LineSearch, ChoosesItsFactorsFromTheValuesSeen) {
    const double start = 0.5;
    // The minimiser of -2 t^3 + 3 t^2 - t, the cubic through 0, 0 at 1/2 and 0 at 1 with slope -1.
    const double cubic = (6 - std::sqrt(12)) / 12;
    struct Case {
        const char* name;
        Values merits, factors;
    };
    const Case cases[] = {
        {"accepted at once", {start - 1e-3}, {1}},
        {"parabola, cubic", {start, start, 0}, {1, 0.5, cubic}},
        // 100 t^3 - t has its minimum at 0.0577.
        {"floor, cubic over its cap, floor", {start + 99, start, 1e6, 0}, {1, 0.1, 0.05, 0.005}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Script script(c.merits);
        ERNewtonMSolverWithBackTracking solver(&script, tiny, 9);
        ERVec<double> origin = vec({0}), gradient = vec({-1}), direction = vec({1}), x;
        double merit = 0;
        EXPECT_EQ(solver.LinearSearch(origin, start, gradient, direction, x, merit, 10), 0);
        EXPECT_NEAR(merit, c.merits.back(), 1e-15);
        ASSERT_EQ(script.evaluated.size(), c.factors.size());
        for (size_t i = 0; i < c.factors.size(); ++i)
            EXPECT_NEAR(script.path()[i], c.factors[i], 1e-12) << i;
        EXPECT_EQ(x[0], script.path().back());
    }
}

TEST(LineSearch, CutsTheStepAndComesBackWhenItGetsTooSmall) {
    System problem([](const Values& x) { return Values{2 + std::fabs(x[0] - 3)}; }, nullptr);
    ERNewtonMSolverWithBackTracking solver(&problem, tiny, 9);
    ERVec<double> start = vec({3}), gradient = vec({-1}), direction = vec({1000}), x;
    double merit = 0;
    EXPECT_EQ(solver.LinearSearch(start, 2, gradient, direction, x, merit, 5), 1);
    EXPECT_EQ(direction[0], 5);
    EXPECT_EQ(problem.path().front(), 8);
    EXPECT_EQ(x[0], 3);
    // What is left in the residual is the last trial's, less than 1e-9 * 3 away.
    EXPECT_GT(solver.GetLastCriteria(), 2);
    EXPECT_LT(problem.path().back(), 3 + 3e-9);

    // A step that is too small from the first is tried all the same.
    problem.evaluated.clear();
    direction = vec({1e-10});
    EXPECT_EQ(solver.LinearSearch(start, 2, gradient, direction, x, merit, 5), 1);
    EXPECT_EQ(problem.path(), Values{3 + 1e-10});
    EXPECT_EQ(x[0], 3);
}

TEST(LineSearch, EndsWithoutADescent) {
    const double inf = std::numeric_limits<double>::infinity();
    const double extremes[] = {0, 1, -1, 1e-300, 1e300, -1e300, inf, nan};
    for (double slope : extremes)
        for (double step : extremes)
            for (double value : extremes) {
                System problem = constant({value}, {});
                ERNewtonMSolverWithBackTracking solver(&problem, tiny, 9);
                ERVec<double> start = vec({0}), gradient = vec({slope}), p = vec({step}), x;
                double merit = 0;
                solver.LinearSearch(start, 0.25, gradient, p, x, merit, inf);
                EXPECT_LT(problem.evaluated.size(), 1200u) << slope << ' ' << step << ' ' << value;
            }
}

}  // namespace
}  // namespace kerf
