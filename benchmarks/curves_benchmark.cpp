// Curves of poles against two libraries and a hand-written floor: evaluation, crossings, approximation,
// length, projection. Every measurement of one subject is made on the same curves and arguments.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "benchmarks/counting_heap.h"
#include "benchmarks/draw.h"
#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/processing/bezier_intersection.h"
#include "kerf/values/box.h"

#ifdef KERF_HAS_SISL
#include <sisl.h>
#endif
#ifdef KERF_HAS_OCCT
#include <Extrema_ExtPC.hxx>
#include <GCPnts_AbscissaPoint.hxx>
#include <GCPnts_QuasiUniformDeflection.hxx>
#include <GeomAdaptor_Curve.hxx>
#include <Geom_BSplineCurve.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#endif

namespace {

using namespace kerf;

constexpr unsigned int seed = 31;
constexpr unsigned int degree = 3;
constexpr unsigned int poleCount = 20;
constexpr unsigned int parameterCount = 4096;

// One curve in space in the forms of all.
struct SpaceCurve {
    std::vector<double> weighted;  // x w, y w, z w, w
    std::vector<double> knots;

    SpaceCurve() {
        Draw draw(seed);
        for (unsigned int i = 0; i < poleCount; ++i) {
            const double w = draw(0.5, 2.0), angle = 0.7 * i;
            const double point[] = {std::cos(angle) + draw(-0.2, 0.2),
                                    std::sin(angle) + draw(-0.2, 0.2), 0.2 * i};
            for (const double c : point) weighted.push_back(c * w);
            weighted.push_back(w);
        }
        for (unsigned int i = 0; i < poleCount + degree + 1; ++i)
            knots.push_back(std::clamp(static_cast<double>(i) - degree, 0.0, end()));
    }
    static double end() { return poleCount - degree; }

    ERCpoleNURBS3D kerf() const {
        ERVec<ERPole3DH> poles;
        for (std::size_t i = 0; i < weighted.size(); i += 4)
            poles.append(ERPole3DH(ERPoint3D(weighted[i], weighted[i + 1], weighted[i + 2]),
                                   weighted[i + 3]));
        return ERCpoleNURBS3D(
            poles, ERKnotVector(degree, knots.data(), static_cast<unsigned int>(knots.size())));
    }
#ifdef KERF_HAS_SISL
    SISLCurve* sisl() {
        return newCurve(poleCount, degree + 1, knots.data(), weighted.data(), 2, 3, 1);
    }
#endif
#ifdef KERF_HAS_OCCT
    Handle(Geom_BSplineCurve) occt() const {
        const int inner = static_cast<int>(poleCount - degree + 1);
        TColgp_Array1OfPnt poles(1, poleCount);
        TColStd_Array1OfReal weights(1, poleCount), places(1, inner);
        TColStd_Array1OfInteger multiplicities(1, inner);
        for (unsigned int i = 0; i < poleCount; ++i) {
            const double* const p = &weighted[std::size_t{4} * i];
            const int at = static_cast<int>(i) + 1;
            poles(at) = gp_Pnt(p[0] / p[3], p[1] / p[3], p[2] / p[3]);
            weights(at) = p[3];
        }
        for (int i = 1; i <= inner; ++i) {
            places(i) = i - 1;
            multiplicities(i) = i == 1 || i == inner ? static_cast<int>(degree) + 1 : 1;
        }
        return new Geom_BSplineCurve(poles, weights, places, multiplicities, degree);
    }
#endif
};

std::vector<double> parameters(bool ascending) {
    Draw draw(seed + 1);
    std::vector<double> all(parameterCount);
    for (double& u : all) u = draw(0.0, SpaceCurve::end());
    if (ascending) std::sort(all.begin(), all.end());
    return all;
}

// Evaluation of the point and two derivatives; the argument tells whether parameters ascend.

template <class Evaluate>
void evaluateAll(benchmark::State& state, Evaluate evaluate) {
    const std::vector<double> all = parameters(state.range(0) != 0);
    for (const double u : all) evaluate(u);
    const unsigned long before = heapCalls;
    for (auto _ : state)
        for (const double u : all) evaluate(u);
    state.counters["heap"] = static_cast<double>(heapCalls - before);
    state.SetItemsProcessed(state.iterations() * parameterCount);
}

// The floor: the span by truncation, since the knots are whole numbers; powers of the parameter; one
// division.
void EvaluateByHand(benchmark::State& state) {
    const ERCpoleNURBS3D curve = SpaceCurve().kerf();
    std::vector<double> c;
    for (unsigned int span = 0; span < poleCount - degree; ++span) {
        const ERTValVector<ERPolynome> power = curve.getSpanPower(static_cast<int>(span));
        for (unsigned int i = 0; i <= degree; ++i)
            for (unsigned int k = 0; k < 4; ++k) c.push_back(power[k][i]);
    }
    evaluateAll(state, [&](double u) {
        const unsigned int span = std::min(static_cast<unsigned int>(u), poleCount - degree - 1);
        const double t = u - span;
        const double* const a = &c[std::size_t{16} * span];
        double value[4], first[4], second[4], result[9];
        for (unsigned int k = 0; k < 4; ++k) {
            value[k] = ((a[12 + k] * t + a[8 + k]) * t + a[4 + k]) * t + a[k];
            first[k] = (3.0 * a[12 + k] * t + 2.0 * a[8 + k]) * t + a[4 + k];
            second[k] = 6.0 * a[12 + k] * t + 2.0 * a[8 + k];
        }
        const double inverse = 1.0 / value[3];
        for (unsigned int k = 0; k < 3; ++k) {
            result[k] = value[k] * inverse;
            result[3 + k] = (first[k] - first[3] * result[k]) * inverse;
            result[6 + k] =
                (second[k] - 2.0 * first[3] * result[3 + k] - second[3] * result[k]) * inverse;
        }
        benchmark::DoNotOptimize(result);
    });
}
BENCHMARK(EvaluateByHand)->Arg(0)->Arg(1);

void Evaluate(benchmark::State& state) {
    const ERCpoleNURBS3D curve = SpaceCurve().kerf();
    evaluateAll(state, [&](double u) {
        ERInfoPoint3DWF info = curve.PtCur(u);
        benchmark::DoNotOptimize(info);
    });
}
BENCHMARK(Evaluate)->Arg(0)->Arg(1);

#ifdef KERF_HAS_SISL
void EvaluateBySisl(benchmark::State& state) {
    SpaceCurve forms;
    SISLCurve* const curve = forms.sisl();
    int left = 0;
    evaluateAll(state, [&](double u) {
        double derived[9];
        int status = 0;
        s1221(curve, 2, u, &left, derived, &status);
        benchmark::DoNotOptimize(derived);
    });
    freeCurve(curve);
}
BENCHMARK(EvaluateBySisl)->Arg(0)->Arg(1);
#endif

#ifdef KERF_HAS_OCCT
void EvaluateByOcct(benchmark::State& state) {
    const GeomAdaptor_Curve curve(SpaceCurve().occt());
    evaluateAll(state, [&](double u) {
        gp_Pnt point;
        gp_Vec first, second;
        curve.D2(u, point, first, second);
        benchmark::DoNotOptimize(point);
        benchmark::DoNotOptimize(first);
        benchmark::DoNotOptimize(second);
    });
}
BENCHMARK(EvaluateByOcct)->Arg(0)->Arg(1);
#endif

// Crossings.

ERVec<ERPole2DH> planePoles(Draw& draw, unsigned int n) {
    ERVec<ERPole2DH> poles;
    for (unsigned int i = 0; i < n; ++i) {
        const double w = draw(0.5, 2.0), x = draw(0.0, 1.0), y = draw(0.0, 1.0);
        poles.append(ERPole2DH(ERPoint2D(x * w, y * w), w));
    }
    return poles;
}
template <class Curve, class Make>
std::vector<Curve> planeCurves(unsigned int pairs, unsigned int poles, Make make) {
    Draw draw(seed + 2);
    std::vector<Curve> curves;
    for (unsigned int i = 0; i < 2 * pairs; ++i) curves.push_back(make(planePoles(draw, poles)));
    return curves;
}
std::vector<ERCpoleBezier2DR> bezierCurves() {
    return planeCurves<ERCpoleBezier2DR>(
        96, 4, [](const ERVec<ERPole2DH>& poles) { return ERCpoleBezier2DR(poles); });
}
std::vector<ERCpoleNURBS2D> nurbsCurves() {
    return planeCurves<ERCpoleNURBS2D>(
        24, 12, [](const ERVec<ERPole2DH>& poles) { return ERCpoleNURBS2D(poles, 3); });
}

struct Crossing {
    double u, v;
};

// Oracle: where polylines of 2000 sides on the two curves cross at an angle of at least 0.02.
template <class Curve>
std::vector<Crossing> sampledCrossings(const Curve& a, const Curve& b) {
    constexpr unsigned int sides = 2000;
    const ERVec<ERPoint2D> p = a.approxime(sides + 1), q = b.approxime(sides + 1);
    std::vector<Crossing> crossings;
    for (unsigned int i = 0; i < sides; ++i) {
        const ERMinimax2D box(p[i], p[i + 1]);
        for (unsigned int j = 0; j < sides; ++j) {
            if (std::max(q[j].x(), q[j + 1].x()) < box.xmin() ||
                std::min(q[j].x(), q[j + 1].x()) > box.xmax() ||
                std::max(q[j].y(), q[j + 1].y()) < box.ymin() ||
                std::min(q[j].y(), q[j + 1].y()) > box.ymax()) {
                continue;
            }
            const ERVector2D d(p[i], p[i + 1]), e(q[j], q[j + 1]), w(p[i], q[j]);
            const double s = (w ^ e) / (d ^ e), t = (w ^ d) / (d ^ e);
            if (s >= 0 && s < 1 && t >= 0 && t < 1 &&
                std::fabs(d ^ e) > 0.02 * d.norme() * e.norme())
                crossings.push_back({a.getBound()((i + s) / sides), b.getBound()((j + t) / sides)});
        }
    }
    return crossings;
}

// The same for all pairs, once for each kind of curve: it takes longer than what is measured.
template <class Curve>
const std::vector<std::vector<Crossing>>& allSampledCrossings(const std::vector<Curve>& curves) {
    static const auto all = [&] {
        std::vector<std::vector<Crossing>> found;
        for (std::size_t i = 0; i < curves.size(); i += 2)
            found.push_back(sampledCrossings(curves[i], curves[i + 1]));
        return found;
    }();
    return all;
}

// find(i) gives the crossings of curves i and i + 1.
template <class Curve, class Find>
void crossAll(benchmark::State& state, const std::vector<Curve>& curves, Find find) {
    double missed = 0.0, all = 0.0;
    for (std::size_t i = 0; i < curves.size(); i += 2) {
        const std::vector<Crossing> found = find(i);
        for (const Crossing& c : allSampledCrossings(curves)[i / 2]) {
            ++all;
            missed += std::none_of(found.begin(), found.end(), [&](const Crossing& f) {
                return std::fabs(f.u - c.u) < 0.01 && std::fabs(f.v - c.v) < 0.01;
            });
        }
    }
    for (auto _ : state)
        for (std::size_t i = 0; i < curves.size(); i += 2) benchmark::DoNotOptimize(find(i));
    state.counters["missed"] = missed;
    state.counters["crossings"] = all;
    state.SetItemsProcessed(state.iterations() * static_cast<long>(curves.size() / 2));
}

template <class Curve>
void crossByKerf(benchmark::State& state, const std::vector<Curve>& curves) {
    crossAll(state, curves, [&](std::size_t i) {
        ERVec<double> u, v;
        intersect(curves[i], curves[i + 1], u, v);
        std::vector<Crossing> found;
        for (unsigned int k = 0; k < u.length(); ++k) found.push_back({u[k], v[k]});
        return found;
    });
    const unsigned long before = heapCalls;
    for (std::size_t i = 0; i < curves.size(); i += 2) {
        ERVec<double> u, v;
        intersect(curves[i], curves[i + 1], u, v);
    }
    state.counters["heap"] = static_cast<double>(heapCalls - before);
}
void CrossBezier(benchmark::State& state) { crossByKerf(state, bezierCurves()); }
void CrossNurbs(benchmark::State& state) { crossByKerf(state, nurbsCurves()); }
BENCHMARK(CrossBezier);
BENCHMARK(CrossNurbs);

#ifdef KERF_HAS_SISL
SISLCurve* sislOf(const ERCpoleNURBS2D& curve) {
    std::vector<double> poles, knots;
    for (unsigned int i = 0; i < curve.nbPoles(); ++i) {
        const ERPole2DH& p = curve.poles()[i];
        for (const double c : {p.x(), p.y(), p.weigth()}) poles.push_back(c);
    }
    const ERKnotVector vector = curve.knotVector();
    for (unsigned int i = 0; i < vector.length(); ++i) knots.push_back(vector[i]);
    return newCurve(static_cast<int>(curve.nbPoles()), degree + 1, knots.data(), poles.data(), 2, 2,
                    1);
}
template <class Curve>
void crossBySisl(benchmark::State& state, const std::vector<Curve>& curves) {
    std::vector<SISLCurve*> forms;
    for (const Curve& curve : curves) forms.push_back(sislOf(curve.ConvertToNurbs()));
    crossAll(state, curves, [&](std::size_t i) {
        int count = 0, lines = 0, status = 0;
        double *u = nullptr, *v = nullptr;
        SISLIntcurve** line = nullptr;
        s1857(forms[i], forms[i + 1], 1e-9, 1e-9, &count, &u, &v, &lines, &line, &status);
        std::vector<Crossing> found;
        for (int k = 0; k < count; ++k) found.push_back({u[k], v[k]});
        std::free(u);
        std::free(v);
        if (line != nullptr) freeIntcrvlist(line, lines);
        return found;
    });
    for (SISLCurve* const curve : forms) freeCurve(curve);
}
void CrossBezierBySisl(benchmark::State& state) { crossBySisl(state, bezierCurves()); }
void CrossNurbsBySisl(benchmark::State& state) { crossBySisl(state, nurbsCurves()); }
BENCHMARK(CrossBezierBySisl);
BENCHMARK(CrossNurbsBySisl);
#endif

// Approximation by a polygon within 1e-3 and 1e-5: the argument is the exponent.

double tolerance(const benchmark::State& state) {
    return std::pow(10.0, -static_cast<double>(state.range(0)));
}

// The largest distance of the curve from the sides of the polygon.
double deviation(const ERCpoleNURBS3D& curve, const std::vector<ERPoint3D>& polygon) {
    double largest = 0.0;
    std::size_t side = 0;
    for (unsigned int i = 0; i <= 100000; ++i) {
        const ERPoint3D p = curve(SpaceCurve::end() * i / 100000);
        const auto away = [&](std::size_t k) {
            const ERVector3D chord(polygon[k], polygon[k + 1]), to(polygon[k], p);
            const double t = std::clamp((to * chord) / chord.norme2(), 0.0, 1.0);
            return distance(p, polygon[k] + ERPoint3D(chord * t));
        };
        while (side + 2 < polygon.size() && away(side + 1) <= away(side)) ++side;
        largest = std::max(largest, away(side));
    }
    return largest;
}

void Approximate(benchmark::State& state) {
    const ERCpoleNURBS3D curve = SpaceCurve().kerf();
    const double tol = tolerance(state);
    const ERVec<ERPoint3D> points = curve.approxime(curve.getBound(), tol);
    for (auto _ : state) benchmark::DoNotOptimize(curve.approxime(curve.getBound(), tol));
    state.counters["points"] = points.length();
    state.counters["deviation"] =
        deviation(curve, std::vector<ERPoint3D>(points.data(), points.data() + points.length()));
}
BENCHMARK(Approximate)->Arg(3)->Arg(5);

#ifdef KERF_HAS_SISL
void ApproximateBySisl(benchmark::State& state) {
    SpaceCurve forms;
    SISLCurve* const curve = forms.sisl();
    std::vector<ERPoint3D> points;
    for (auto _ : state) {
        double* found = nullptr;
        int count = 0, status = 0;
        s1613(curve, tolerance(state), &found, &count, &status);
        points.clear();
        for (int i = 0; i < count; ++i)
            points.emplace_back(found[3 * i], found[3 * i + 1], found[3 * i + 2]);
        std::free(found);
    }
    state.counters["points"] = static_cast<double>(points.size());
    state.counters["deviation"] = deviation(forms.kerf(), points);
    freeCurve(curve);
}
BENCHMARK(ApproximateBySisl)->Arg(3)->Arg(5);
#endif

#ifdef KERF_HAS_OCCT
void ApproximateByOcct(benchmark::State& state) {
    SpaceCurve forms;
    const GeomAdaptor_Curve curve(forms.occt());
    std::vector<ERPoint3D> points;
    for (auto _ : state) {
        const GCPnts_QuasiUniformDeflection found(curve, tolerance(state));
        points.clear();
        for (int i = 1; i <= found.NbPoints(); ++i) {
            const gp_Pnt p = found.Value(i);
            points.emplace_back(p.X(), p.Y(), p.Z());
        }
    }
    state.counters["points"] = static_cast<double>(points.size());
    state.counters["deviation"] = deviation(forms.kerf(), points);
}
BENCHMARK(ApproximateByOcct)->Arg(3)->Arg(5);
#endif

// Length with an error below 1e-6, and kerf's for the tolerance 1e-6 too. Half of a tolerance goes to each
// half of the curve, and below 1e-8 the halving ends: the error is smallest for this one.

constexpr double lengthTolerance = 1e-6;
constexpr double fineTolerance = 3e-4;

// Oracle: Simpson's rule with 200 000 steps.
double exactLength(const ERCpoleNURBS3D& curve) {
    constexpr unsigned int steps = 200000;
    double sum = 0.0;
    for (unsigned int i = 0; i <= steps; ++i) {
        const double speed = curve.PtCur(SpaceCurve::end() * i / steps).tangente().norme();
        sum += speed * (i == 0 || i == steps ? 1.0 : i % 2 == 0 ? 2.0 : 4.0);
    }
    return sum * SpaceCurve::end() / steps / 3.0;
}

template <class Measure>
void measureLength(benchmark::State& state, Measure measure) {
    double length = measure();
    const unsigned long before = heapCalls;
    for (auto _ : state) benchmark::DoNotOptimize(length = measure());
    state.counters["heap"] = static_cast<double>(heapCalls - before);
    state.counters["error"] = std::fabs(length - exactLength(SpaceCurve().kerf()));
}
void Length(benchmark::State& state) {
    const ERCpoleNURBS3D curve = SpaceCurve().kerf();
    const double tol = state.range(0) != 0 ? fineTolerance : lengthTolerance;
    measureLength(state, [&] { return curve.arcLength(tol); });
}
BENCHMARK(Length)->ArgName("fine")->Arg(0)->Arg(1);

#ifdef KERF_HAS_SISL
void LengthBySisl(benchmark::State& state) {
    SpaceCurve forms;
    SISLCurve* const curve = forms.sisl();
    measureLength(state, [&] {
        double length = 0.0;
        int status = 0;
        s1240(curve, lengthTolerance, &length, &status);
        return length;
    });
    freeCurve(curve);
}
BENCHMARK(LengthBySisl);
#endif

#ifdef KERF_HAS_OCCT
void LengthByOcct(benchmark::State& state) {
    const GeomAdaptor_Curve curve(SpaceCurve().occt());
    measureLength(state, [&] { return GCPnts_AbscissaPoint::Length(curve, lengthTolerance); });
}
BENCHMARK(LengthByOcct);
#endif

// Projection of 1000 points.

std::vector<ERPoint3D> measuredPoints() {
    Draw draw(seed + 3);
    const ERCpoleNURBS3D curve = SpaceCurve().kerf();
    std::vector<ERPoint3D> points;
    for (unsigned int i = 0; i < 1000; ++i) {
        const ERPoint3D p = curve(draw(0.0, SpaceCurve::end()));
        const double x = draw(-0.3, 0.3), y = draw(-0.3, 0.3);
        points.push_back(p + ERPoint3D(x, y, draw(-0.3, 0.3)));
    }
    return points;
}

// project(p) gives the distance of the nearest foot.
template <class Project>
void projectAll(benchmark::State& state, Project project) {
    const ERCpoleNURBS3D curve = SpaceCurve().kerf();
    const std::vector<ERPoint3D> points = measuredPoints();
    const ERVec<ERPoint3D> samples = curve.approxime(10001);
    double farther = 0.0;
    for (const ERPoint3D& p : points) {
        const double ends = std::min(distance(p, curve.firstPt()), distance(p, curve.lastPt()));
        const double found = std::min(ends, project(p));
        farther += std::any_of(samples.begin(), samples.end(), [&](const ERPoint3D& sample) {
            return distance(p, sample) < found - 1e-9;
        });
    }
    const unsigned long before = heapCalls;
    for (auto _ : state)
        for (const ERPoint3D& p : points) benchmark::DoNotOptimize(project(p));
    state.counters["heap"] = static_cast<double>(heapCalls - before);
    state.counters["farther"] = farther;
    state.SetItemsProcessed(state.iterations() * static_cast<long>(points.size()));
}

void Project(benchmark::State& state) {
    const ERCpoleNURBS3D curve = SpaceCurve().kerf();
    projectAll(state, [&](const ERPoint3D& p) {
        ERVec<double> feet;
        curve.ProjectPoint(p, feet, 1.0);
        double nearest = HUGE_VAL;
        for (unsigned int i = 0; i < feet.length(); ++i)
            nearest = std::min(nearest, distance(p, curve(feet[i])));
        return nearest;
    });
}
BENCHMARK(Project);

#ifdef KERF_HAS_SISL
void ProjectBySisl(benchmark::State& state) {
    SpaceCurve forms;
    SISLCurve* const curve = forms.sisl();
    projectAll(state, [&](const ERPoint3D& p) {
        double point[] = {p.x(), p.y(), p.z()};
        int count = 0, lines = 0, status = 0, left = 0;
        double *u = nullptr, nearest = HUGE_VAL;
        SISLIntcurve** line = nullptr;
        s1953(curve, point, 3, 1e-9, 1e-9, &count, &u, &lines, &line, &status);
        for (int i = 0; i < count; ++i) {
            double at[3];
            s1221(curve, 0, u[i], &left, at, &status);
            nearest = std::min(nearest, distance(p, ERPoint3D(at[0], at[1], at[2])));
        }
        std::free(u);
        if (line != nullptr) freeIntcrvlist(line, lines);
        return nearest;
    });
    freeCurve(curve);
}
BENCHMARK(ProjectBySisl);
#endif

#ifdef KERF_HAS_OCCT
void ProjectByOcct(benchmark::State& state) {
    const GeomAdaptor_Curve curve(SpaceCurve().occt());
    Extrema_ExtPC extrema;
    extrema.Initialize(curve, 0.0, SpaceCurve::end());
    projectAll(state, [&](const ERPoint3D& p) {
        extrema.Perform(gp_Pnt(p.x(), p.y(), p.z()));
        double nearest = HUGE_VAL;
        if (extrema.IsDone())
            for (int i = 1; i <= extrema.NbExt(); ++i)
                nearest = std::min(nearest, std::sqrt(extrema.SquareDistance(i)));
        return nearest;
    });
}
BENCHMARK(ProjectByOcct);
#endif

}  // namespace
