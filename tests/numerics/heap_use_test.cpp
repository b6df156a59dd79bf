#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "kerf/numerics/eigen.h"
#include "kerf/numerics/internal/newton_iteration.h"
#include "kerf/numerics/linear_solvers.h"
#include "kerf/numerics/newton_solvers.h"

namespace {

// Of this program and of the library.
unsigned long heapCalls = 0;

void* take(std::size_t size) {
    ++heapCalls;
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* const memory = take(size)) return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace kerf {
namespace {

// The intersections of a sphere, a plane and a cylinder, with derivatives by differences.
class Intersection : public ERCNewtonMDelta {
public:
    Intersection() : ERCNewtonMDelta(1e-7) {}
    ERVec<double> f(const ERVec<double>& x) override {
        ERVec<double> values(3);
        values[0] = x[0] * x[0] + x[1] * x[1] + x[2] * x[2] - 9;
        values[1] = x[0] + x[1] - x[2];
        values[2] = x[0] * x[0] + x[1] * x[1] - 5;
        return values;
    }
};

TEST(HeapUse, SolversNeedNoHeapOnceWarm) {
    Intersection problem;
    const auto work = [&problem] {
        for (const unsigned int n : {3u, 40u}) {
            ERMatrix<double> a(n, n, 1.0);
            for (unsigned int i = 0; i < n; ++i) a(i, i) = 2.0 + i;
            const ERLUDecomp lu(a);
            EXPECT_GT(solve(ERLUDecomp(lu), ERVec<double>(n, 1.0))[0], 0.0);
        }
        ERVec<double> x(3, 2.0), y(3, 2.0);
        x[1] = y[1] = -0.5;
        ERNewtonMSolver full(&problem, 3, 1e-10, 50);
        ERNewtonMSolverWithBackTracking damped(&problem, 1e-10, 50);
        EXPECT_LE(full.Resoudre(x, 1e-12), 1);
        EXPECT_LE(damped.Resoudre(y, 1e-12), 2);
        Mgc::Eigen eigen(4);
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) eigen.Matrix(i, j) = 1.0 / (1 + i + j);
        EXPECT_TRUE(eigen.IncrSortEigenStuff4());
    };
    work();
    const unsigned long before = heapCalls;
    work();
    EXPECT_EQ(heapCalls, before);
}

TEST(HeapUse, SystemsOnTheStackNeedNoHeapAtAll) {
    struct {
        void f(const double* x, double* y) { y[0] = x[0] * x[0] - 2, y[1] = x[0] - 2 * x[1]; }
        void fprime(const double* x, double* j) { j[0] = 2 * x[0], j[1] = 0, j[2] = 1, j[3] = -2; }
    } system;
    double x[] = {3, 2};
    const unsigned long before = heapCalls;
    const newton::Result result = newton::solveOnStack(system, x, 1e-12, 50, 1e-12);
    EXPECT_EQ(heapCalls, before);
    EXPECT_LE(result.status, 1);
    EXPECT_NEAR(x[1] * x[1], 0.5, 1e-12);
}

}  // namespace
}  // namespace kerf
