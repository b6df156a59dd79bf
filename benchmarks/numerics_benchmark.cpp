// Dense solvers, roots, transformations and the best fit, against Eigen and against the plain loop.
// Eigen is used in its dynamic sizes where the sizes of the systems come with the data.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <random>
#include <utility>
#include <vector>

#include "kerf/numerics/complex_roots.h"
#include "kerf/numerics/constants.h"
#include "kerf/numerics/eigen.h"
#include "kerf/numerics/internal/elimination.h"
#include "kerf/numerics/linear_solvers.h"
#include "kerf/processing/best_fit.h"
#include "kerf/values/polynomial.h"
#include "kerf/values/transformation_3d.h"

#ifdef KERF_HAS_EIGEN
#include <Eigen/Dense>
#include <unsupported/Eigen/Polynomials>
#endif

namespace {

using kerf::ERMatrix;
using kerf::ERPmIsometrie3D;
using kerf::ERPmSimilitude3D;
using kerf::ERPoint3D;
using kerf::ERVec;
using kerf::ERVector3D;
using kerf::pi;

constexpr unsigned int seed = 20;

class Draw {
public:
    double operator()() { return distribution(generator); }

private:
    std::mt19937 generator{seed};
    std::uniform_real_distribution<double> distribution{-1.0, 1.0};
};

// The largest difference between the expected values and those found, as a counter.
void countError(benchmark::State& state, double error) { state.counters["error"] = error; }

// Linear systems: decomposition and solution for one right-hand side.

struct LinearSystem {
    ERMatrix<double> matrix;
    ERVec<double> right;

    explicit LinearSystem(unsigned int n) : matrix(n, n), right(n) {
        Draw draw;
        for (unsigned int i = 0; i < n; ++i) {
            for (unsigned int j = 0; j < n; ++j) matrix(i, j) = draw();
            right[i] = draw();
        }
    }
};

void SolveLinearSystem(benchmark::State& state) {
    const LinearSystem system(static_cast<unsigned int>(state.range(0)));
    for (auto _ : state) {
        const kerf::ERLUDecomp lu(system.matrix);
        ERVec<double> x = solve(lu, system.right);
        benchmark::DoNotOptimize(x);
    }
}
BENCHMARK(SolveLinearSystem)->Arg(3)->Arg(6)->Arg(20);

#ifdef KERF_HAS_EIGEN
void SolveLinearSystemByEigen(benchmark::State& state) {
    const Eigen::Index n = state.range(0);
    const LinearSystem system(static_cast<unsigned int>(n));
    Eigen::MatrixXd matrix(n, n);
    Eigen::VectorXd right(n);
    for (Eigen::Index i = 0; i < n; ++i) {
        for (Eigen::Index j = 0; j < n; ++j)
            matrix(i, j) =
                system.matrix(static_cast<unsigned int>(i), static_cast<unsigned int>(j));
        right[i] = system.right[static_cast<unsigned int>(i)];
    }
    for (auto _ : state) {
        const Eigen::PartialPivLU<Eigen::MatrixXd> lu(matrix);
        Eigen::VectorXd x = lu.solve(right);
        benchmark::DoNotOptimize(x);
    }
}
BENCHMARK(SolveLinearSystemByEigen)->Arg(3)->Arg(6)->Arg(20);
#endif

// The same in arrays, with the size known when compiling.

template <unsigned int n>
void SolveLinearSystemInArrays(benchmark::State& state) {
    const LinearSystem system(n);
    for (auto _ : state) {
        double factors[n * n], x[n];
        int order[n], exchanges = 0;
        std::copy_n(system.matrix.asVector().data(), n * n, factors);
        benchmark::DoNotOptimize(
            kerf::eliminate<n>(factors, order, exchanges, kerf::singularPivot));
        for (unsigned int i = 0; i < n; ++i)
            x[i] = system.right[static_cast<unsigned int>(order[i])];
        kerf::substitute<n>(factors, x);
        benchmark::DoNotOptimize(x);
    }
}
BENCHMARK_TEMPLATE(SolveLinearSystemInArrays, 3);
BENCHMARK_TEMPLATE(SolveLinearSystemInArrays, 6);

#ifdef KERF_HAS_EIGEN
template <int n>
void SolveFixedLinearSystemByEigen(benchmark::State& state) {
    const LinearSystem system(n);
    const Eigen::Matrix<double, n, n> matrix =
        Eigen::Map<const Eigen::Matrix<double, n, n, Eigen::RowMajor>>(
            system.matrix.asVector().data());
    const Eigen::Matrix<double, n, 1> right =
        Eigen::Map<const Eigen::Matrix<double, n, 1>>(system.right.data());
    for (auto _ : state) {
        const Eigen::PartialPivLU<Eigen::Matrix<double, n, n>> lu(matrix);
        Eigen::Matrix<double, n, 1> x = lu.solve(right);
        benchmark::DoNotOptimize(x);
    }
}
BENCHMARK_TEMPLATE(SolveFixedLinearSystemByEigen, 3);
BENCHMARK_TEMPLATE(SolveFixedLinearSystemByEigen, 6);
#endif

// Symmetric eigensystems: values in ascending order, and vectors. The solver is made once.

std::vector<double> symmetricMatrix(int n) {
    Draw draw;
    std::vector<double> elements(static_cast<std::size_t>(n * n));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j)
            elements[static_cast<std::size_t>(i * n + j)] =
                elements[static_cast<std::size_t>(j * n + i)] = draw();
    return elements;
}

void SymmetricEigensystem(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<double> elements = symmetricMatrix(n);
    std::vector<const double*> rows;
    for (int i = 0; i < n; ++i) rows.push_back(&elements[static_cast<std::size_t>(i * n)]);
    kerf::Mgc::Eigen solver(n);
    for (auto _ : state) {
        solver.SetMatrix(rows.data());
        benchmark::DoNotOptimize(n == 3 ? solver.IncrSortEigenStuff3()
                                        : solver.IncrSortEigenStuff4());
        benchmark::DoNotOptimize(solver.GetEigenvalue());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(SymmetricEigensystem)->Arg(3)->Arg(4);

#ifdef KERF_HAS_EIGEN
void SymmetricEigensystemByEigen(benchmark::State& state) {
    const Eigen::Index n = state.range(0);
    const std::vector<double> elements = symmetricMatrix(static_cast<int>(n));
    const Eigen::MatrixXd matrix = Eigen::Map<const Eigen::MatrixXd>(elements.data(), n, n);
    Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(n);
    for (auto _ : state) {
        solver.compute(matrix);
        benchmark::DoNotOptimize(solver.eigenvalues().data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(SymmetricEigensystemByEigen)->Arg(3)->Arg(4);
#endif

// The best fit of points that were turned, shifted and measured with some noise.

struct PairedPoints {
    std::vector<ERPoint3D> measured, nominal;

    explicit PairedPoints(std::size_t n) {
        Draw draw;
        const ERPmIsometrie3D motion =
            kerf::ERTranslation3D(ERPoint3D(300, -20, 55)) *
            kerf::ERRotation3D(ERVector3D(1, 2, -0.5), kerf::ERRadian(0.7));
        for (std::size_t i = 0; i < n; ++i) {
            measured.emplace_back(100 * draw(), 60 * draw(), 20 * draw());
            nominal.push_back((motion >> measured.back()) +
                              ERPoint3D(0.01 * draw(), 0.01 * draw(), 0.01 * draw()));
        }
    }
};

template <class Solver>
void fill(Solver& solver, const PairedPoints& pairs) {
    solver.reset(static_cast<int>(pairs.measured.size()));
    for (std::size_t i = 0; i < pairs.measured.size(); ++i)
        solver.add_point(pairs.measured[i], pairs.nominal[i]);
}

template <class Solver>
void solveRepeatedly(benchmark::State& state, Solver& solver) {
    fill(solver, PairedPoints(static_cast<std::size_t>(state.range(0))));
    ERPmIsometrie3D motion;
    for (auto _ : state) benchmark::DoNotOptimize(solver.solve(motion));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BestFitInClosedForm(benchmark::State& state) {
    kerf::ERPointSetBestFitSolver1 solver;
    solveRepeatedly(state, solver);
    state.counters["rms"] = solver.get_deviation();
}
BENCHMARK(BestFitInClosedForm)->Arg(10)->Arg(1000)->Arg(1000000);

void BestFitByNewton(benchmark::State& state) {
    kerf::ERPointSetBestFitSolver solver(1);
    solveRepeatedly(state, solver);
    state.counters["rms"] = solver.get_deviation();
}
BENCHMARK(BestFitByNewton)->Arg(10)->Arg(1000)->Arg(1000000);

void BestFitAboutALockedAxis(benchmark::State& state) {
    kerf::ERPointSetBestFitSolver1 solver;
    solver.lock_axis(ERVector3D(1, 2, -0.5));
    solveRepeatedly(state, solver);
}
BENCHMARK(BestFitAboutALockedAxis)->Arg(10)->Arg(1000)->Arg(1000000);

#ifdef KERF_HAS_EIGEN
Eigen::Matrix3Xd columnsOf(const std::vector<ERPoint3D>& points) {
    Eigen::Matrix3Xd matrix(3, static_cast<Eigen::Index>(points.size()));
    for (Eigen::Index i = 0; i < matrix.cols(); ++i) {
        const ERPoint3D& p = points[static_cast<std::size_t>(i)];
        matrix.col(i) << p.x(), p.y(), p.z();
    }
    return matrix;
}

void BestFitByEigen(benchmark::State& state) {
    const Eigen::Index n = state.range(0);
    const PairedPoints pairs(static_cast<std::size_t>(n));
    const Eigen::Matrix3Xd from = columnsOf(pairs.measured), to = columnsOf(pairs.nominal);
    Eigen::Matrix4d motion;
    for (auto _ : state) {
        motion = Eigen::umeyama(from, to, false);
        benchmark::DoNotOptimize(motion.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    const Eigen::Matrix3Xd images =
        (motion.topLeftCorner<3, 3>() * from).colwise() + motion.topRightCorner<3, 1>();
    state.counters["rms"] = std::sqrt((images - to).squaredNorm() / static_cast<double>(n));
}
BENCHMARK(BestFitByEigen)->Arg(10)->Arg(1000)->Arg(1000000);
#endif

#ifdef KERF_HAS_EIGEN
// The floor of any fit: each point is read once, by sums that keep up with the memory.
void ReadThePairsOnce(benchmark::State& state) {
    const PairedPoints pairs(static_cast<std::size_t>(state.range(0)));
    const Eigen::Matrix3Xd from = columnsOf(pairs.measured), to = columnsOf(pairs.nominal);
    for (auto _ : state) {
        benchmark::DoNotOptimize(from.sum());
        benchmark::DoNotOptimize(to.sum());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReadThePairsOnce)->Arg(10)->Arg(1000)->Arg(1000000);
#endif

// Each transformation on a million points in place, against the loop that one would write for just
// this transformation.

constexpr std::size_t million = 1000000;

std::vector<ERPoint3D> manyPoints() {
    Draw draw;
    std::vector<ERPoint3D> points(million);
    for (ERPoint3D& p : points) p = ERPoint3D(100 * draw(), 60 * draw(), 20 * draw());
    return points;
}

// Factors near 1 keep the values in range however often they are applied.
constexpr double factor = 1.0001;
const ERVector3D axis(1, 2, -0.5);
const ERPoint3D shift(3, -2, 5);

enum Kind { Translation, Rotation, Workplane, Scaling, Similitude, Symmetry };

ERPmSimilitude3D transformation(Kind kind) {
    const ERPmIsometrie3D turn = kerf::ERRotation3D(axis, kerf::ERRadian(0.7));
    switch (kind) {
        case Translation:
            return kerf::ERTranslation3D(shift);
        case Rotation:
            return turn;
        case Workplane:
            return kerf::ERTranslation3D(shift) * turn;
        case Scaling:
            return kerf::ERScaling3D(factor);
        case Similitude:
            return kerf::ERSimilitude3D(turn.getMatrix(), shift, factor);
        case Symmetry:
            return kerf::ERSymetrie3D(kerf::Coord3D::CoordY);
    }
    return ERPmSimilitude3D();
}

template <Kind kind>
void TransformFrom(benchmark::State& state) {
    std::vector<ERPoint3D> points = manyPoints();
    const ERPmSimilitude3D t = transformation(kind);
    for (auto _ : state) {
        t.TransFrom(points.data(), static_cast<unsigned int>(points.size()));
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(million));
}

template <Kind kind>
void TransformTo(benchmark::State& state) {
    std::vector<ERPoint3D> points = manyPoints();
    const ERPmSimilitude3D t = transformation(kind);
    for (auto _ : state) {
        t.TransTo(points.data(), static_cast<unsigned int>(points.size()));
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(million));
}

struct PlainPoint {
    double x, y, z;
};

template <Kind kind>
constexpr bool turns = kind == Rotation || kind == Workplane || kind == Similitude;
template <Kind kind>
constexpr bool shifts = kind == Translation || kind == Workplane || kind == Similitude;
template <Kind kind>
constexpr bool scales = kind == Scaling || kind == Similitude;

template <Kind kind, class Map>
void applyPlainLoop(benchmark::State& state, Map map) {
    std::vector<PlainPoint> points;
    for (const ERPoint3D& p : manyPoints()) points.push_back({p.x(), p.y(), p.z()});
    for (auto _ : state) {
        for (PlainPoint& p : points) p = map(p);
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(million));
}

template <Kind kind, bool transposed>
auto plainTurn() {
    const ERMatrix<double> matrix = transformation(kind).getMatrix();
    std::array<double, 9> m{};
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c)
            m[3 * r + c] = transposed ? matrix(c, r) : matrix(r, c);
    return [m](const PlainPoint& p) {
        return PlainPoint{m[0] * p.x + m[1] * p.y + m[2] * p.z,
                          m[3] * p.x + m[4] * p.y + m[5] * p.z,
                          m[6] * p.x + m[7] * p.y + m[8] * p.z};
    };
}

template <Kind kind>
void TransformFromByPlainLoop(benchmark::State& state) {
    const auto turn = plainTurn<kind, false>();
    const PlainPoint t{shift.x(), shift.y(), shift.z()};
    applyPlainLoop<kind>(state, [=](PlainPoint p) {
        if constexpr (scales<kind>) p = {factor * p.x, factor * p.y, factor * p.z};
        if constexpr (turns<kind>) p = turn(p);
        if constexpr (kind == Symmetry) p.y = -p.y;
        if constexpr (shifts<kind>) p = {p.x + t.x, p.y + t.y, p.z + t.z};
        return p;
    });
}

template <Kind kind>
void TransformToByPlainLoop(benchmark::State& state) {
    const auto turnBack = plainTurn<kind, true>();
    const PlainPoint t{shift.x(), shift.y(), shift.z()};
    applyPlainLoop<kind>(state, [=](PlainPoint p) {
        if constexpr (shifts<kind>) p = {p.x - t.x, p.y - t.y, p.z - t.z};
        if constexpr (turns<kind>) p = turnBack(p);
        if constexpr (kind == Symmetry) p.y = -p.y;
        if constexpr (scales<kind>) p = {p.x / factor, p.y / factor, p.z / factor};
        return p;
    });
}

#define TRANSFORMATION_BENCHMARKS(kind)                 \
    BENCHMARK_TEMPLATE(TransformFrom, kind);            \
    BENCHMARK_TEMPLATE(TransformFromByPlainLoop, kind); \
    BENCHMARK_TEMPLATE(TransformTo, kind);              \
    BENCHMARK_TEMPLATE(TransformToByPlainLoop, kind)
TRANSFORMATION_BENCHMARKS(Translation);
TRANSFORMATION_BENCHMARKS(Rotation);
TRANSFORMATION_BENCHMARKS(Workplane);
TRANSFORMATION_BENCHMARKS(Scaling);
TRANSFORMATION_BENCHMARKS(Similitude);
TRANSFORMATION_BENCHMARKS(Symmetry);

// All real roots of the Chebyshev polynomials, which lie between -1 and 1 and are known.

std::vector<double> chebyshev(int degree) {
    std::vector<double> former = {1.0}, current = {0.0, 1.0};
    for (int n = 1; n < degree; ++n) {
        std::vector<double> next(current.size() + 1);
        for (std::size_t i = 0; i < current.size(); ++i) next[i + 1] = 2 * current[i];
        for (std::size_t i = 0; i < former.size(); ++i) next[i] -= former[i];
        former = std::exchange(current, next);
    }
    return current;
}

// The largest distance of the roots found from the true ones; infinite when the count is wrong.
double rootError(int degree, std::vector<double> roots) {
    if (roots.size() != static_cast<std::size_t>(degree)) return INFINITY;
    std::sort(roots.begin(), roots.end());
    double error = 0.0;
    for (int i = 0; i < degree; ++i)
        error = std::max(error, std::fabs(roots[static_cast<std::size_t>(i)] +
                                          std::cos(pi * (i + 0.5) / degree)));
    return error;
}

template <class Find>
void findRealRoots(benchmark::State& state, Find find) {
    const int degree = static_cast<int>(state.range(0));
    const std::vector<double> c = chebyshev(degree);
    const kerf::ERPolynome p(c.data(), static_cast<unsigned int>(c.size()));
    const kerf::ERLimites limits(-1.0, 1.0);
    ERVec<double> roots;
    for (auto _ : state) {
        find(p, limits, roots);
        benchmark::DoNotOptimize(roots);
    }
    std::vector<double> found;
    for (unsigned int i = 0; i < roots.length(); ++i) found.push_back(std::as_const(roots)[i]);
    countError(state, rootError(degree, found));
}

void RealRoots(benchmark::State& state) {
    findRealRoots(state, [](const kerf::ERPolynome& p, const kerf::ERLimites& limits,
                            ERVec<double>& roots) { Zeros(p, limits, roots); });
}
BENCHMARK(RealRoots)->Arg(3)->Arg(6)->Arg(12);

void RealRootsBetweenExtrema(benchmark::State& state) {
    findRealRoots(state, [](const kerf::ERPolynome& p, const kerf::ERLimites& limits,
                            ERVec<double>& roots) { roots = Zeros(p, limits); });
}
BENCHMARK(RealRootsBetweenExtrema)->Arg(3)->Arg(6)->Arg(12);

// The roots of T + 2, with T a Chebyshev polynomial, lie on an ellipse. Of an even degree
// none is real.
std::vector<double> polynomialWithoutRealRoots(int degree) {
    std::vector<double> c = chebyshev(degree);
    c[0] += 2.0;
    return c;
}

void RootsOffTheAxis(benchmark::State& state) {
    const int degree = static_cast<int>(state.range(0));
    const std::vector<double> c = polynomialWithoutRealRoots(degree);
    std::vector<double> re(c.size()), im(c.size()), work(c.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(kerf::complexRoots(c.data(), static_cast<unsigned int>(degree),
                                                    1e-9, 80, re.data(), im.data(), work.data()));
        benchmark::ClobberMemory();
    }
    // Of each root z there is T(z) = cos(n acos z).
    double error = 0.0;
    for (int i = 0; i < degree; ++i) {
        const std::complex<double> z(re[static_cast<std::size_t>(i)],
                                     im[static_cast<std::size_t>(i)]);
        error = std::max(error, std::abs(std::cos(std::acos(z) * double(degree)) + 2.0));
    }
    countError(state, error);
}
BENCHMARK(RootsOffTheAxis)->Arg(6)->Arg(12);

#ifdef KERF_HAS_EIGEN
void RootsOffTheAxisByEigen(benchmark::State& state) {
    const std::vector<double> c = polynomialWithoutRealRoots(static_cast<int>(state.range(0)));
    const Eigen::VectorXd coefficients =
        Eigen::Map<const Eigen::VectorXd>(c.data(), static_cast<Eigen::Index>(c.size()));
    Eigen::PolynomialSolver<double, Eigen::Dynamic> solver;
    for (auto _ : state) {
        solver.compute(coefficients);
        benchmark::DoNotOptimize(solver.roots().data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(RootsOffTheAxisByEigen)->Arg(6)->Arg(12);
#endif

void ComplexRoots(benchmark::State& state) {
    const int degree = static_cast<int>(state.range(0));
    const std::vector<double> c = chebyshev(degree);
    std::vector<double> re(c.size()), im(c.size()), work(c.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(kerf::complexRoots(c.data(), static_cast<unsigned int>(degree),
                                                    1e-9, 80, re.data(), im.data(), work.data()));
        benchmark::ClobberMemory();
    }
    re.pop_back();
    countError(state, rootError(degree, re));
}
BENCHMARK(ComplexRoots)->Arg(3)->Arg(6)->Arg(12);

#ifdef KERF_HAS_EIGEN
void RootsByEigen(benchmark::State& state) {
    const int degree = static_cast<int>(state.range(0));
    const std::vector<double> c = chebyshev(degree);
    const Eigen::VectorXd coefficients =
        Eigen::Map<const Eigen::VectorXd>(c.data(), static_cast<Eigen::Index>(c.size()));
    Eigen::PolynomialSolver<double, Eigen::Dynamic> solver;
    std::vector<double> roots;
    for (auto _ : state) {
        solver.compute(coefficients);
        roots.clear();
        solver.realRoots(roots);
        benchmark::DoNotOptimize(roots.data());
        benchmark::ClobberMemory();
    }
    countError(state, rootError(degree, roots));
}
BENCHMARK(RootsByEigen)->Arg(3)->Arg(6)->Arg(12);
#endif

}  // namespace
