#include "kerf/numerics/internal/newton_iteration.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kerf/numerics/newton_solvers.h"
#include "tests/numerics/vector_checks.h"

namespace kerf {
namespace {

using namespace test;

// N coupled equations; the path holds all that f and fprime were called with.
template <unsigned int N>
struct Coupled {
    double square, product, constant;
    Values path = {};

    void f(const double* x, double* values) {
        path.insert(path.end(), x, x + N);
        for (unsigned int i = 0; i < N; ++i)
            values[i] = square * x[i] * x[i] + product * x[i] * x[(i + 1) % N] - constant;
    }
    void fprime(const double* x, double* rows) {
        path.insert(path.end(), x, x + N);
        std::fill(rows, rows + N * N, 0.0);
        for (unsigned int i = 0; i < N; ++i) {
            const unsigned int next = (i + 1) % N;
            rows[N * i + i] += 2 * square * x[i] + product * x[next];
            rows[N * i + next] += product * x[i];
        }
    }
};

template <unsigned int N>
struct OnVectors : ERCNewtonM {
    Coupled<N> system;

    explicit OnVectors(const Coupled<N>& given) : system(given) {}
    ERVec<double> f(const ERVec<double>& x) override {
        ERVec<double> values(N);
        system.f(x.data(), values.data());
        return values;
    }
    Matrix fprime(const ERVec<double>& x) override {
        Matrix rows(N, N);
        system.fprime(x.data(), rows.data());
        return rows;
    }
};

bool sameBits(const Values& a, const Values& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

// Oracle: ERNewtonMSolver on the same system. Returns how often each status came up.
template <unsigned int N>
Values expectIteratesOfVectors() {
    const unsigned int seed = 41;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> draw(-2.0, 2.0);
    Values statuses(5);
    for (int trial = 0; trial < 2000; ++trial) {
        SCOPED_TRACE(testing::Message() << N << " unknowns, seed " << seed << ", trial " << trial);
        // Some have no root, some a singular start, some are flat beside a large epsilon.
        Coupled<N> system{draw(random), draw(random), std::exp(4 * draw(random))};
        const double epsilon = trial % 5 == 0 ? 0.5 : 1e-12, tol = trial % 2 == 0 ? 1e-9 : 1e-16;
        double x[N];
        for (double& element : x) element = trial % 7 == 0 ? 0.0 : draw(random);
        ERVec<double> start(x, N);
        OnVectors<N> problem(system);
        ERNewtonMSolver solver(&problem, N, epsilon, 60);

        const newton::Result result = newton::solveOnStack(system, x, epsilon, 60, tol);
        EXPECT_EQ(solver.Resoudre(start, tol), result.status);
        EXPECT_EQ(solver.GetIterations(), result.iterations);
        EXPECT_TRUE(sameBits(Values(x, x + N), listOf(start)));
        EXPECT_TRUE(sameBits(system.path, problem.system.path));
        EXPECT_TRUE(sameBits({result.residualNorm}, {solver.GetLastCriteria()}));
        statuses[static_cast<std::size_t>(result.status)] += 1;
    }
    return statuses;
}

TEST(NewtonOnTheStack, VisitsTheIteratesOfTheSolverOnVectors) {
    for (const Values& statuses : {expectIteratesOfVectors<2>(), expectIteratesOfVectors<3>()})
        for (const double count : statuses) EXPECT_GT(count, 0) << "a status was never tried";
}

// x^2 = 1/4 and y = 0 for x in [0, 1]: x is put back into it.
struct Bounded : ERCNewtonM {
    void f(double* x, double* values) {
        x[0] = std::clamp(x[0], 0.0, 1.0);
        values[0] = x[0] * x[0] - 0.25;
        values[1] = x[1];
    }
    void fprime(double* x, double* rows) {
        rows[0] = 2 * x[0];
        rows[1] = rows[2] = 0.0;
        rows[3] = 1.0;
    }
    ERVec<double> f(const ERVec<double>& x) override {
        ERVec<double> values(2);
        f(const_cast<ERVec<double>&>(x).data(), values.data());
        return values;
    }
    Matrix fprime(const ERVec<double>& x) override {
        Matrix rows(2, 2);
        fprime(const_cast<ERVec<double>&>(x).data(), rows.data());
        return rows;
    }
};

TEST(NewtonOnTheStack, StepsFromWhereTheProblemHasPutX) {
    Bounded problem;
    double x[] = {5.0, 0.0};
    newton::solveOnStack<2>(problem, x, 1e-12, 1, 1e-12);
    EXPECT_EQ(x[0], 1 - 0.75 / 2);
    ERVec<double> start(2);
    start[0] = 5.0;
    ERNewtonMSolver(&problem, 2, 1e-12, 1).Resoudre(start, 1e-12);
    EXPECT_EQ(start[0], x[0]);
}

}  // namespace
}  // namespace kerf
