// Regions against Boost.Geometry, GEOS and CGAL: points in a polygon of 1500 edges, polylines cut to it,
// convex hulls. Each subject is measured on the same polygons and points.
#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "benchmarks/counting_heap.h"
#include "benchmarks/draw.h"
#include "kerf/processing/raster.h"
#include "kerf/processing/region.h"
#include "kerf/values/polygon.h"

#ifdef KERF_HAS_BOOST
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/linestring.hpp>
#include <boost/geometry/geometries/multi_linestring.hpp>
#include <boost/geometry/geometries/multi_point.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#endif
#ifdef KERF_HAS_GEOS
#include <geos_c.h>
#endif
#ifdef KERF_HAS_CGAL
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/ch_graham_andrew.h>
#endif

namespace {

using namespace kerf;

constexpr unsigned int seed = 37;
constexpr unsigned int edgeCount = 1500;
constexpr unsigned int probeCount = 4096;
constexpr unsigned int lineCount = 64;
constexpr unsigned int lineLength = 200;
constexpr unsigned int hullPoints = 100000;

using Points = std::vector<ERPoint2D>;

// A wavy outline about the origin, between 0.5 and 1 away from it.
Points outline() {
    Draw draw(seed);
    Points points;
    for (unsigned int i = 0; i < edgeCount; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / edgeCount;
        const double r = 0.75 + 0.2 * std::sin(9.0 * angle) + draw(-0.01, 0.01);
        points.emplace_back(r * std::cos(angle), r * std::sin(angle));
    }
    return points;
}

Points probes() {
    Draw draw(seed + 1);
    Points points(probeCount);
    for (ERPoint2D& p : points) p = ERPoint2D(draw(-1.0, 1.0), draw(-1.0, 1.0));
    return points;
}

// Spirals of 200 points that cross the outline many times.
std::vector<Points> lines() {
    Draw draw(seed + 2);
    std::vector<Points> all(lineCount, Points(lineLength));
    for (Points& line : all) {
        const double start = draw(0.0, 6.0), turns = draw(5.0, 15.0);
        for (unsigned int i = 0; i < lineLength; ++i) {
            const double angle = start + 2.0 * std::numbers::pi * turns * i / lineLength;
            const double r = 0.4 + 0.6 * i / lineLength;
            line[i] = ERPoint2D(r * std::cos(angle), r * std::sin(angle));
        }
    }
    return all;
}

Points cloud(bool onCircle) {
    Draw draw(seed + 3);
    Points points(hullPoints);
    for (ERPoint2D& p : points) {
        const double angle = draw(0.0, 2.0 * std::numbers::pi);
        p = onCircle ? ERPoint2D(std::cos(angle), std::sin(angle))
                     : ERPoint2D(draw(0.0, 1.0), draw(0.0, 1.0));
    }
    return points;
}

ERVec<ERPoint2D> vectorOf(const Points& points) {
    return ERVec<ERPoint2D>(points.data(), static_cast<unsigned int>(points.size()));
}

ERRegion2D region() {
    ERRegion2D made(1, 1);
    made.Add(vectorOf(outline()));
    return made;
}

// Points in the region.

template <class Find>
void findAll(benchmark::State& state, Find find) {
    const Points all = probes();
    unsigned int inside = 0;
    for (const ERPoint2D& p : all) inside += find(p);
    const unsigned long before = heapCalls;
    for (auto _ : state)
        for (const ERPoint2D& p : all) benchmark::DoNotOptimize(find(p));
    state.counters["heap"] = static_cast<double>(heapCalls - before);
    state.counters["inside"] = inside;
    state.SetItemsProcessed(state.iterations() * probeCount);
}

void PointInRegion(benchmark::State& state) {
    const ERRegion2D domain = region();
    findAll(state, [&](const ERPoint2D& p) {
        int contour = 0;
        return domain.CheckPoint(p, contour) == InRegion;
    });
}
BENCHMARK(PointInRegion);

void PointInRegionByRaster(benchmark::State& state) {
    const ERRegion2D domain = region();
    const ERRegion2DGrid raster(domain);
    findAll(state, [&](const ERPoint2D& p) {
        const ERRegion2DGrid::STATE cell = raster.inside(p);
        int contour = 0;
        return cell == ERRegion2DGrid::CellPartial ? domain.CheckPoint(p, contour) == InRegion
                                                   : cell == ERRegion2DGrid::CellInside;
    });
}
BENCHMARK(PointInRegionByRaster);

// The floor: the crossing number over all edges, without tolerance.
void PointInPolygonByHand(benchmark::State& state) {
    const Points points = outline();
    findAll(state, [&](const ERPoint2D& p) {
        bool odd = false;
        for (std::size_t i = 0, j = points.size() - 1; i < points.size(); j = i++) {
            const ERPoint2D &a = points[j], &b = points[i];
            if ((a.y() > p.y()) == (b.y() > p.y())) continue;
            odd ^= p.x() < (b.x() - a.x()) * (p.y() - a.y()) / (b.y() - a.y()) + a.x();
        }
        return odd;
    });
}
BENCHMARK(PointInPolygonByHand);

void DrawRaster(benchmark::State& state) {
    const ERRegion2D domain = region();
    for (auto _ : state) {
        const ERRegion2DGrid raster(domain);
        benchmark::DoNotOptimize(raster.get(0, 0));
    }
}
BENCHMARK(DrawRaster);

// Polylines cut to the region.

template <class Cut>
void cutAll(benchmark::State& state, const Cut& cut) {
    double length = 0.0;
    for (unsigned int i = 0; i < lineCount; ++i) length += cut(i);
    unsigned int next = 0;
    for (auto _ : state) benchmark::DoNotOptimize(cut(next++ % lineCount));
    state.counters["length"] = length;
}

void CutPolyline(benchmark::State& state) {
    const ERRegion2D domain = region();
    std::vector<ERVec<ERPoint2D>> all;
    for (const Points& line : lines()) all.push_back(vectorOf(line));
    cutAll(state, [&](unsigned int i) {
        ERTValVector<ERVec<ERPoint2D>> pieces;
        domain.Intersect(all[i], pieces, nullptr);
        double length = 0.0;
        for (const ERVec<ERPoint2D>& piece : pieces)
            for (unsigned int k = 1; k < piece.length(); ++k)
                length += distance(piece[k - 1], piece[k]);
        return length;
    });
}
BENCHMARK(CutPolyline);

// Convex hulls; the argument tells whether the points lie on a circle or in a square.

template <class Hull>
void hullOf(benchmark::State& state, Hull hull) {
    std::size_t corners = 0;
    for (auto _ : state) benchmark::DoNotOptimize(corners = hull());
    state.counters["corners"] = static_cast<double>(corners);
    state.SetItemsProcessed(state.iterations() * hullPoints);
}

void ConvexHull(benchmark::State& state) {
    const ERVec<ERPoint2D> points = vectorOf(cloud(state.range(0) != 0));
    hullOf(state, [&] { return CalculateConvexeHull(points).length(); });
}
BENCHMARK(ConvexHull)->Arg(0)->Arg(1);

#ifdef KERF_HAS_BOOST
namespace bg = boost::geometry;
using BoostPoint = bg::model::d2::point_xy<double>;
using BoostPolygon = bg::model::polygon<BoostPoint, false>;

BoostPolygon boostOutline() {
    BoostPolygon polygon;
    for (const ERPoint2D& p : outline()) bg::append(polygon, BoostPoint(p.x(), p.y()));
    bg::correct(polygon);
    return polygon;
}

void PointInRegionByBoost(benchmark::State& state) {
    const BoostPolygon polygon = boostOutline();
    findAll(state,
            [&](const ERPoint2D& p) { return bg::within(BoostPoint(p.x(), p.y()), polygon); });
}
BENCHMARK(PointInRegionByBoost);

void CutPolylineByBoost(benchmark::State& state) {
    const BoostPolygon polygon = boostOutline();
    std::vector<bg::model::linestring<BoostPoint>> all(lineCount);
    const std::vector<Points> given = lines();
    for (unsigned int i = 0; i < lineCount; ++i)
        for (const ERPoint2D& p : given[i]) bg::append(all[i], BoostPoint(p.x(), p.y()));
    cutAll(state, [&](unsigned int i) {
        bg::model::multi_linestring<bg::model::linestring<BoostPoint>> pieces;
        bg::intersection(all[i], polygon, pieces);
        return static_cast<double>(bg::length(pieces));
    });
}
BENCHMARK(CutPolylineByBoost);

void ConvexHullByBoost(benchmark::State& state) {
    bg::model::multi_point<BoostPoint> points;
    for (const ERPoint2D& p : cloud(state.range(0) != 0))
        bg::append(points, BoostPoint(p.x(), p.y()));
    hullOf(state, [&] {
        BoostPolygon hull;
        bg::convex_hull(points, hull);
        return hull.outer().size() - 1;
    });
}
BENCHMARK(ConvexHullByBoost)->Arg(0)->Arg(1);
#endif

#ifdef KERF_HAS_GEOS
// The geometries are deleted when the program ends.
GEOSContextHandle_t geos() {
    static const GEOSContextHandle_t context = GEOS_init_r();
    return context;
}

GEOSCoordSequence* geosSequence(const Points& points, bool closed) {
    const auto n = static_cast<unsigned int>(points.size());
    GEOSCoordSequence* const sequence = GEOSCoordSeq_create_r(geos(), n + (closed ? 1 : 0), 2);
    for (unsigned int i = 0; i < n + (closed ? 1 : 0); ++i)
        GEOSCoordSeq_setXY_r(geos(), sequence, i, points[i % n].x(), points[i % n].y());
    return sequence;
}

GEOSGeometry* geosOutline() {
    return GEOSGeom_createPolygon_r(
        geos(), GEOSGeom_createLinearRing_r(geos(), geosSequence(outline(), true)), nullptr, 0);
}

void PointInRegionByGeos(benchmark::State& state) {
    const GEOSPreparedGeometry* const prepared = GEOSPrepare_r(geos(), geosOutline());
    findAll(state, [&](const ERPoint2D& p) {
        GEOSGeometry* const point = GEOSGeom_createPointFromXY_r(geos(), p.x(), p.y());
        const bool inside = GEOSPreparedContains_r(geos(), prepared, point) == 1;
        GEOSGeom_destroy_r(geos(), point);
        return inside;
    });
}
BENCHMARK(PointInRegionByGeos);

void CutPolylineByGeos(benchmark::State& state) {
    const GEOSGeometry* const polygon = geosOutline();
    std::vector<GEOSGeometry*> all;
    for (const Points& line : lines())
        all.push_back(GEOSGeom_createLineString_r(geos(), geosSequence(line, false)));
    cutAll(state, [&](unsigned int i) {
        GEOSGeometry* const pieces = GEOSIntersection_r(geos(), all[i], polygon);
        double length = 0.0;
        GEOSLength_r(geos(), pieces, &length);
        GEOSGeom_destroy_r(geos(), pieces);
        return length;
    });
}
BENCHMARK(CutPolylineByGeos);

void ConvexHullByGeos(benchmark::State& state) {
    const GEOSGeometry* const points =
        GEOSGeom_createLineString_r(geos(), geosSequence(cloud(state.range(0) != 0), false));
    hullOf(state, [&] {
        GEOSGeometry* const hull = GEOSConvexHull_r(geos(), points);
        const int corners = GEOSGetNumCoordinates_r(geos(), hull) - 1;
        GEOSGeom_destroy_r(geos(), hull);
        return static_cast<std::size_t>(corners);
    });
}
BENCHMARK(ConvexHullByGeos)->Arg(0)->Arg(1);
#endif

#ifdef KERF_HAS_CGAL
void ConvexHullByCgal(benchmark::State& state) {
    using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
    std::vector<Kernel::Point_2> points;
    for (const ERPoint2D& p : cloud(state.range(0) != 0)) points.emplace_back(p.x(), p.y());
    hullOf(state, [&] {
        std::vector<Kernel::Point_2> hull;
        CGAL::ch_graham_andrew(points.begin(), points.end(), std::back_inserter(hull));
        return hull.size();
    });
}
BENCHMARK(ConvexHullByCgal)->Arg(0)->Arg(1);
#endif

}  // namespace
