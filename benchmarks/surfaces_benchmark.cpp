// A rational bicubic B-spline surface with 10 by 10 poles against two libraries and a hand-written floor:
// evaluation, grids, nets, cuts; feet and rays by themselves. Every measurement of one subject is made on
// the same surface and arguments.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "benchmarks/counting_heap.h"
#include "kerf/surfaces/bezier_patches.h"
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/mesh_sink.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/ray_result.h"

#ifdef KERF_HAS_SISL
#include <sisl.h>
#endif
#ifdef KERF_HAS_OCCT
#include <GeomAdaptor_Surface.hxx>
#include <Geom_BSplineSurface.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColStd_Array2OfReal.hxx>
#include <TColgp_Array2OfPnt.hxx>
#endif

namespace {

using namespace kerf;

constexpr unsigned int seed = 37;
constexpr unsigned int degree = 3;
constexpr unsigned int poleCount = 10;  // in each direction
constexpr unsigned int pairCount = 2048;
constexpr unsigned int spans = poleCount - degree;

double drawn(std::mt19937& generator, double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(generator);
}

struct Forms {
    ERMatrix<ERPole3DH> poles{poleCount, poleCount};
    std::vector<double> knots;

    Forms() {
        std::mt19937 generator(seed);
        for (unsigned int i = 0; i < poleCount; ++i) {
            for (unsigned int j = 0; j < poleCount; ++j) {
                const double w = drawn(generator, 0.5, 2.0), z = drawn(generator, -1.0, 1.0);
                poles(i, j) = ERPole3DH(ERPoint3D(i * w, j * w, z * w), w);
            }
        }
        for (unsigned int i = 0; i < poleCount + degree + 1; ++i)
            knots.push_back(std::clamp(static_cast<double>(i) - degree, 0.0, 1.0 * spans));
    }
    ERSpoleNURBS3D kerf() const {
        const ERKnotVector vector(degree, knots.data(), static_cast<unsigned int>(knots.size()));
        return ERSpoleNURBS3D(poles, vector, vector);
    }
    ERSpoleBezier3DR bezier() const {
        return ERSpoleBezier3DR(ERMatrix<ERPole3DH>(poles.data(), degree + 1, degree + 1),
                                ERLimites(0, spans), ERLimites(0, spans));
    }
#ifdef KERF_HAS_SISL
    SISLSurf* sisl() {
        std::vector<double> weighted;  // u runs fastest
        for (unsigned int j = 0; j < poleCount; ++j) {
            for (unsigned int i = 0; i < poleCount; ++i) {
                const ERPole3DH& p = poles(i, j);
                for (const double c : {p.x(), p.y(), p.z(), p.weigth()}) weighted.push_back(c);
            }
        }
        return newSurf(poleCount, poleCount, degree + 1, degree + 1, knots.data(), knots.data(),
                       weighted.data(), 2, 3, 1);
    }
#endif
#ifdef KERF_HAS_OCCT
    Handle(Geom_BSplineSurface) occt() const {
        const int inner = static_cast<int>(spans + 1);
        TColgp_Array2OfPnt points(1, poleCount, 1, poleCount);
        TColStd_Array2OfReal weights(1, poleCount, 1, poleCount);
        TColStd_Array1OfReal places(1, inner);
        TColStd_Array1OfInteger multiplicities(1, inner);
        for (unsigned int i = 0; i < poleCount; ++i) {
            for (unsigned int j = 0; j < poleCount; ++j) {
                const ERPoint3D p = std::as_const(poles)(i, j).castToPoint();
                const int row = static_cast<int>(i) + 1, col = static_cast<int>(j) + 1;
                points(row, col) = gp_Pnt(p.x(), p.y(), p.z());
                weights(row, col) = std::as_const(poles)(i, j).weigth();
            }
        }
        for (int i = 1; i <= inner; ++i) {
            places(i) = i - 1;
            multiplicities(i) = i == 1 || i == inner ? static_cast<int>(degree) + 1 : 1;
        }
        return new Geom_BSplineSurface(points, weights, places, places, multiplicities,
                                       multiplicities, degree, degree);
    }
#endif
};

// At random parameters.
template <class Evaluate>
void evaluateAll(benchmark::State& state, Evaluate evaluate) {
    std::mt19937 generator(seed + 1);
    std::vector<ERPoint2D> pairs;
    for (unsigned int i = 0; i < pairCount; ++i) {
        const double u = drawn(generator, 0.0, spans);
        pairs.emplace_back(u, drawn(generator, 0.0, spans));
    }
    for (const ERPoint2D& uv : pairs) evaluate(uv.x(), uv.y());
    const unsigned long before = heapCalls;
    for (auto _ : state)
        for (const ERPoint2D& uv : pairs) evaluate(uv.x(), uv.y());
    state.counters["heap"] = static_cast<double>(heapCalls - before);
    state.SetItemsProcessed(state.iterations() * pairCount);
}

// The floor: the patch by truncation, since the knots are whole numbers; powers of the parameters; one
// division.
class PowerForm {
public:
    explicit PowerForm(const ERSpoleNURBS3D& surface) : c_(spans * spans * 64) {
        Nurbs3DToBezier3DRDecomposer patches(surface);
        for (unsigned int i = 0; i < spans; ++i)
            for (unsigned int j = 0; j < spans; ++j)
                toPowers(patches.Bezier(i, j)->poles(), patch(i, j));
    }

    template <unsigned int Orders>
    void evaluate(double u, double v, double* result) const {
        const unsigned int i = std::min(static_cast<unsigned int>(u), spans - 1);
        const unsigned int j = std::min(static_cast<unsigned int>(v), spans - 1);
        const double s = u - i, t = v - j;
        const double* const a = &c_[(std::size_t{i} * spans + j) * 64];
        double lines[Orders][16], value[Orders][Orders][4];
        derive<Orders, 16>(a, s, lines[0]);
        for (unsigned int order = 0; order < Orders; ++order)
            derive<Orders, 4>(lines[order], t, value[order][0]);
        const double inverse = 1.0 / value[0][0][3];
        double* const point = result;
        for (unsigned int k = 0; k < 3; ++k) point[k] = value[0][0][k] * inverse;
        if constexpr (Orders == 3) {
            const auto quotient = [&](unsigned int a0, unsigned int b0, double* to, auto lower) {
                for (unsigned int k = 0; k < 3; ++k)
                    to[k] = (value[a0][b0][k] - value[a0][b0][3] * point[k] - lower(k)) * inverse;
            };
            const double wu = value[1][0][3], wv = value[0][1][3];
            double *su = result + 3, *sv = result + 6;
            quotient(1, 0, su, [](unsigned int) { return 0.0; });
            quotient(0, 1, sv, [](unsigned int) { return 0.0; });
            quotient(2, 0, result + 9, [&](unsigned int k) { return 2.0 * wu * su[k]; });
            quotient(0, 2, result + 12, [&](unsigned int k) { return 2.0 * wv * sv[k]; });
            quotient(1, 1, result + 15, [&](unsigned int k) { return wu * sv[k] + wv * su[k]; });
        }
    }

private:
    double* patch(unsigned int i, unsigned int j) { return &c_[(std::size_t{i} * spans + j) * 64]; }

    static void toPowers(const ERMatrix<ERPole3DH>& poles, double* to) {
        constexpr double powers[4][4] = {
            {1, 0, 0, 0}, {-3, 3, 0, 0}, {3, -6, 3, 0}, {-1, 3, -3, 1}};
        std::fill_n(to, 64, 0.0);
        for (unsigned int a = 0; a < 4; ++a)
            for (unsigned int b = 0; b < 4; ++b)
                for (unsigned int i = 0; i < 4; ++i)
                    for (unsigned int j = 0; j < 4; ++j) {
                        const ERPole3DH& p = poles(i, j);
                        const double coordinates[] = {p.x(), p.y(), p.z(), p.weigth()};
                        for (unsigned int k = 0; k < 4; ++k)
                            to[(a * 4 + b) * 4 + k] += powers[a][i] * powers[b][j] * coordinates[k];
                    }
    }
    template <unsigned int Orders, unsigned int Width>
    static void derive(const double* a, double t, double* out) {
        for (unsigned int k = 0; k < Width; ++k) {
            const double p = a[k], q = a[Width + k], r = a[2 * Width + k], s = a[3 * Width + k];
            out[k] = ((s * t + r) * t + q) * t + p;
            if constexpr (Orders == 3) {
                out[Width + k] = (3.0 * s * t + 2.0 * r) * t + q;
                out[2 * Width + k] = 6.0 * s * t + 2.0 * r;
            }
        }
    }

    std::vector<double> c_;
};

void EvaluateByHand(benchmark::State& state) {
    const PowerForm form(Forms().kerf());
    evaluateAll(state, [&](double u, double v) {
        double result[18];
        form.evaluate<3>(u, v, result);
        benchmark::DoNotOptimize(result);
    });
}
BENCHMARK(EvaluateByHand);

void Evaluate(benchmark::State& state) {
    const ERSpoleNURBS3D surface = Forms().kerf();
    evaluateAll(state, [&](double u, double v) {
        ERInfoPoint3DSurf info = surface.PtCur(u, v);
        benchmark::DoNotOptimize(info);
    });
}
BENCHMARK(Evaluate);

void EvaluateBezier(benchmark::State& state) {
    const ERSpoleBezier3DR surface = Forms().bezier();
    evaluateAll(state, [&](double u, double v) {
        ERInfoPoint3DSurf info = surface.PtCur(u, v);
        benchmark::DoNotOptimize(info);
    });
}
BENCHMARK(EvaluateBezier);

#ifdef KERF_HAS_SISL
void EvaluateBySisl(benchmark::State& state) {
    Forms forms;
    SISLSurf* const surface = forms.sisl();
    int leftU = 0, leftV = 0;
    evaluateAll(state, [&](double u, double v) {
        double uv[] = {u, v}, derived[18], normal[3];
        int status = 0;
        s1421(surface, 2, uv, &leftU, &leftV, derived, normal, &status);
        benchmark::DoNotOptimize(derived);
    });
    freeSurf(surface);
}
BENCHMARK(EvaluateBySisl);
#endif

#ifdef KERF_HAS_OCCT
void EvaluateByOcct(benchmark::State& state) {
    const GeomAdaptor_Surface surface(Forms().occt());
    evaluateAll(state, [&](double u, double v) {
        gp_Pnt point;
        gp_Vec d[5];
        surface.D2(u, v, point, d[0], d[1], d[2], d[3], d[4]);
        benchmark::DoNotOptimize(point);
        benchmark::DoNotOptimize(d);
    });
}
BENCHMARK(EvaluateByOcct);
#endif

void PointByHand(benchmark::State& state) {
    const PowerForm form(Forms().kerf());
    evaluateAll(state, [&](double u, double v) {
        double result[3];
        form.evaluate<1>(u, v, result);
        benchmark::DoNotOptimize(result);
    });
}
BENCHMARK(PointByHand);

void Point(benchmark::State& state) {
    const ERSpoleNURBS3D surface = Forms().kerf();
    evaluateAll(state, [&](double u, double v) {
        ERPoint3D point = surface(u, v);
        benchmark::DoNotOptimize(point);
    });
}
BENCHMARK(Point);

void PointBezier(benchmark::State& state) {
    const ERSpoleBezier3DR surface = Forms().bezier();
    evaluateAll(state, [&](double u, double v) {
        ERPoint3D point = surface(u, v);
        benchmark::DoNotOptimize(point);
    });
}
BENCHMARK(PointBezier);

#ifdef KERF_HAS_OCCT
void PointByOcct(benchmark::State& state) {
    const GeomAdaptor_Surface surface(Forms().occt());
    evaluateAll(state, [&](double u, double v) {
        gp_Pnt point;
        surface.D0(u, v, point);
        benchmark::DoNotOptimize(point);
    });
}
BENCHMARK(PointByOcct);
#endif

// 100 by 100 points at equal steps of the parameters.

constexpr unsigned int side = 100;

template <class Make>
void makeGrids(benchmark::State& state, Make make) {
    for (auto _ : state) make();
    state.SetItemsProcessed(state.iterations() * side * side);
}

void GridByHand(benchmark::State& state) {
    const PowerForm form(Forms().kerf());
    std::vector<double> points(3 * side * side);
    makeGrids(state, [&] {
        for (unsigned int i = 0; i < side; ++i)
            for (unsigned int j = 0; j < side; ++j)
                form.evaluate<1>(spans * (i / (side - 1.0)), spans * (j / (side - 1.0)),
                                 &points[3 * (std::size_t{i} * side + j)]);
        benchmark::DoNotOptimize(points.data());
    });
}
BENCHMARK(GridByHand);

template <class Surface>
void gridOf(benchmark::State& state, Surface surface) {
    makeGrids(state, [&] {
        surface.CleanUpTemporaries(0);  // drops the spans too
        benchmark::DoNotOptimize(std::as_const(surface.getMatricePoint(side, side)).data());
    });
}
void Grid(benchmark::State& state) { gridOf(state, Forms().kerf()); }
void GridBezier(benchmark::State& state) { gridOf(state, Forms().bezier()); }
BENCHMARK(Grid);
BENCHMARK(GridBezier);

#ifdef KERF_HAS_SISL
void GridBySisl(benchmark::State& state) {
    Forms forms;
    SISLSurf* const surface = forms.sisl();
    std::vector<double> steps, points(3 * side * side), normals(3 * side * side);
    for (unsigned int i = 0; i < side; ++i) steps.push_back(spans * (i / (side - 1.0)));
    makeGrids(state, [&] {
        int status = 0;
        s1506(surface, 0, side, steps.data(), side, steps.data(), points.data(), normals.data(),
              &status);
        benchmark::DoNotOptimize(points.data());
    });
    freeSurf(surface);
}
BENCHMARK(GridBySisl);
#endif

// The net of 10 and 10 curves within 1e-3; per point of its polylines.
void Net(benchmark::State& state) {
    class Counted : public ERProcessMaillage {
    public:
        void addPolyline(const ERVec<ERPoint3D>& polyline) override { points += polyline.length(); }
        unsigned long points = 0;
    };
    const ERSpoleNURBS3D surface = Forms().kerf();
    Counted sink;
    sink.tolerance = 1e-3;
    sink.nbIsoU = sink.nbIsoV = 9;
    for (auto _ : state) surface.tessalate(sink);
    state.SetItemsProcessed(static_cast<long>(sink.points));
}
BENCHMARK(Net);

// What projections ask for again and again.

void SplitNurbs(benchmark::State& state) {
    const ERSpoleNURBS3D surface = Forms().kerf();
    t_SmartPtr<ERSpoleNURBS3D> before, after;
    for (auto _ : state) benchmark::DoNotOptimize(surface.SplitInU(before, after, 3.3));
}
BENCHMARK(SplitNurbs);

void SplitBezier(benchmark::State& state) {
    const ERSpoleBezier3DR surface = Forms().bezier();
    t_SmartPtr<ERSpoleBezier3DR> before, after;
    for (auto _ : state) benchmark::DoNotOptimize(surface.SplitInV(before, after, 3.5));
}
BENCHMARK(SplitBezier);

void AllPatches(benchmark::State& state) {
    const ERSpoleNURBS3D surface = Forms().kerf();
    for (auto _ : state) {
        Nurbs3DToBezier3DRDecomposer patches(surface);
        for (unsigned int i = 0; i < spans; ++i)
            for (unsigned int j = 0; j < spans; ++j)
                benchmark::DoNotOptimize(patches.Bezier(i, j)->getBox());
    }
    state.SetItemsProcessed(state.iterations() * spans * spans);
}
BENCHMARK(AllPatches);

// Feet: 900 points near the surface, off it by 0.01 to 5 % of its size, 100 points farther off, up to the
// size, and 100 000 near ones. What halves and grids cost is paid before. The argument scales the surface:
// the larger it is, the more it is halved.

void feet(benchmark::State& state, int count, double nearest, double farthest) {
    ERSpoleNURBS3D surface = Forms().kerf();
    surface.scale(static_cast<double>(state.range(0)));
    const double size = surface.getBox().diagonal();
    std::mt19937 generator(seed + 3);
    std::vector<ERPoint3D> points;
    for (int i = 0; i < count; ++i) {
        const double u = drawn(generator, 0.0, spans), v = drawn(generator, 0.0, spans);
        const double side = drawn(generator, -1.0, 1.0) < 0.0 ? -size : size;
        const ERInfoPoint3DSurf info = surface.PtCur(u, v);
        points.push_back(info.point() +
                         info.normale() * (side * drawn(generator, nearest, farthest)));
    }
    ERPoint2D uv;
    int found = 0;
    for (const ERPoint3D& p : points) found += surface.ProjectionNormale(p, size, uv, 0);
    const unsigned long before = heapCalls;
    for (auto _ : state)
        for (const ERPoint3D& p : points)
            benchmark::DoNotOptimize(surface.ProjectionNormale(p, size, uv, 0));
    state.counters["found"] = found;
    state.counters["heap"] = static_cast<double>(heapCalls - before);
    state.SetItemsProcessed(state.iterations() * count);
}

void FeetNear(benchmark::State& state) { feet(state, 900, 0.0001, 0.05); }
BENCHMARK(FeetNear)->Arg(1)->Arg(10)->Arg(100);
void FeetFar(benchmark::State& state) { feet(state, 100, 0.2, 1.0); }
BENCHMARK(FeetFar)->Arg(1)->Arg(10)->Arg(100);
void FeetOfMany(benchmark::State& state) { feet(state, 100000, 0.0001, 0.05); }
BENCHMARK(FeetOfMany)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);

void Rays(benchmark::State& state) {
    const ERSpoleNURBS3D surface = Forms().kerf();
    std::mt19937 generator(seed + 4);
    ERRaySurfaceResult result;
    unsigned int met = 0;
    const ERVector3D direction(0.2, -0.3, 1.0);
    for (auto _ : state) {
        const double x = drawn(generator, 1.0, 8.0);
        surface.ProjectPoint(ERPoint3D(x, drawn(generator, 1.0, 8.0), 0.0), direction, result, 0);
        met += result.entries();
        result.filtre([](ERInfoPoint3DSurf*, void*) { return 1; }, nullptr);
    }
    state.counters["met"] = benchmark::Counter(met, benchmark::Counter::kAvgIterations);
}
BENCHMARK(Rays);

}  // namespace
