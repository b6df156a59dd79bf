#include "kerf/surfaces/surface.h"

#include <cstdlib>

#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/mesh_sink.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/values/box.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/value_checks.h"

// The bodies that families inherit, on the family that overrides the fewest of them.
namespace kerf::test {
namespace {

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, 2, 2), ERPoint3D(3, -1, 2));
const ERBoundedPlane plane(tilted, ERLimites(0.5, 2), ERLimites(-1, 1));

TEST(BoundedSurface, NaturalRangesFollowWhenTheyAreAdjusted) {
    ERBoundedPlane surface(tilted, ERLimites(0, 4), ERLimites(0, 3));
    surface.getMatricePoint(2, 2);
    const auto expectRanges = [&](const ERLimites& naturalU, const ERLimites& naturalV,
                                  const ERLimites& u, const ERLimites& v) {
        EXPECT_EQ(ERLimites(surface.NUdeb(), surface.NUfin()), naturalU);
        EXPECT_EQ(ERLimites(surface.NVdeb(), surface.NVfin()), naturalV);
        EXPECT_EQ(surface.getBoundU(), u);
        EXPECT_EQ(surface.getBoundV(), v);
        expectNear(surface.getMatricePoint(2, 2)(0, 1), surface(u.start(), v.end()));
    };
    surface.setBound({1, 2}, {1, 3});
    expectRanges({0, 4}, {0, 3}, {1, 2}, {1, 3});
    surface.reverse();
    expectRanges({0, 3}, {0, 4}, {1, 3}, {1, 2});
    surface.redefineDomainU({1.5, 2});
    expectRanges({1.5, 2}, {1, 2}, {1.5, 2}, {1, 2});
    surface.redefineDomainV({2, 3});
    expectRanges({1.5, 2}, {2, 3}, {1.5, 2}, {2, 3});
    ERLimites v(0, 1);
    surface.redefinedDomain({0, 1}, v);
    expectRanges({0, 1}, {0, 1}, {0, 1}, {0, 1});
}

TEST(BoundedSurface, GridIsSharedWithCopiesAndKeptForOneSize) {
    ERBoundedPlane surface = plane;
    const ERPoint3D* const grid = surface.getMatricePoint(3, 2).data();
    ERBoundedPlane copy = surface, assigned;
    assigned = surface;
    EXPECT_EQ(copy.getMatricePoint(3, 2).data(), grid);
    EXPECT_EQ(assigned.getMatricePoint(3, 2).data(), grid);
    assigned.CleanUpTemporaries(-1);
    EXPECT_NE(assigned.getMatricePoint(3, 2).data(), grid);
    copy.translate(ERPoint3D(1, 0, 0));
    expectNear(surface.getMatricePoint(3, 2)(2, 1), surface(2, 1));
    EXPECT_EQ(surface.getMatricePoint(3, 4).cols(), 4u);
    EXPECT_EQ(surface.getMatricePoint(2, 4).rows(), 2u);
    // Kept: a single row has a parameter that is not a number.
    const ERMatrix<ERPoint3D> row = surface.getMatricePoint(1, 2);
    ASSERT_EQ(row.length(), 2u);
    EXPECT_TRUE(std::isnan(row(0, 0).x()));
}

TEST(BoundedSurface, EmptyOrReversedRangesHaveNoIsoCurvesAcross) {
    struct Counter : ERProcessMaillage {
        void addPolyline(const ERVec<ERPoint3D>&) override { ++lines; }
        int lines = 0;
    } sink;
    sink.nbIsoU = 4;
    sink.nbIsoV = 2;
    sink.tolerance = 1.0;
    ERBoundedPlane(tilted, ERLimites(1, 1), ERLimites(0, 1)).tessalate(sink);
    EXPECT_EQ(sink.lines, 3);
    ERBoundedPlane(tilted, ERLimites(0, 1), ERLimites(1, 0)).tessalate(sink);
    EXPECT_EQ(sink.lines, 8);
}

TEST(BoundedSurface, RandomPointsReachBelowTheRectangle) {
    const auto draw = [] { return 2 * (std::rand() & 32767) / 32767.0 - 1.0; };
    bool below = false;
    for (unsigned int seed = 1; seed < 50; ++seed) {
        std::srand(seed);
        const double v = -1.0 + 2.0 * draw(), u = 0.5 + 1.5 * draw();
        std::srand(seed);
        EXPECT_EQ(plane.randomPoint().parameter(), ERPoint2D(u, v));
        below = below || u < 0.5;
    }
    EXPECT_TRUE(below);
}

TEST(BoundedSurface, DefaultsFindNothing) {
    ERPoint3D p(1, 2, 3), foot(7, 7, 7);
    ERPoint2D uv(7, 7);
    ERVector3D normal(7, 7, 7);
    double distance = 7.0;
    EXPECT_EQ(plane.ERAnyBoundedSurface::ProjectionNormale(p, 1.0, uv, 0), 0);
    EXPECT_EQ(plane.ERSurface::ProjectionNormale(p, foot, normal), 0);
    EXPECT_EQ(plane.ERSurface::SignedMinimalDistance(p, distance), EREntity::NoFootPoint);
    EXPECT_EQ(plane.ReajustProjection(p, uv, 0), 0);
    EXPECT_EQ(distance, 7.0);
    EXPECT_EQ(uv, ERPoint2D(7, 7));
    EXPECT_EQ(foot, ERPoint3D(7, 7, 7));
    EXPECT_EQ(plane.IsContinuous(0), 0);
    ERVec<double> jumpsU(2, 1.0), jumpsV(2, 1.0);
    EXPECT_EQ(plane.GetDiscontinuitiesU(0, jumpsU), 1);
    EXPECT_EQ(plane.GetDiscontinuitiesV(0, jumpsV), 1);
    EXPECT_EQ(jumpsU.length() + jumpsV.length(), 0u);
    ERSimpleVec2<ERMinimax3D> boxes;
    plane.GetSpanBoxes(boxes);
    ASSERT_EQ(boxes.length(), 1u);
    EXPECT_EQ(boxes(0, 0), plane.getBox());
}

TEST(BoundedSurface, FootComesFromItsParametersWithinTheRanges) {
    ERPoint3D foot(7, 7, 7);
    ERVector3D normal;
    const auto project = [&](double u, double v) {
        return plane.ERAnyBoundedSurface::ProjectionNormale(tilted >> ERPoint3D(u, v, 5), foot,
                                                            normal);
    };
    EXPECT_EQ(project(2.5, 0), 0);
    EXPECT_EQ(foot, ERPoint3D(7, 7, 7));
    EXPECT_EQ(project(1, 0.5), 1);
    expectNear(foot, plane(1, 0.5));
    expectNear(normal, plane.getNormale());
    expectNear(plane.ERAnyBoundedSurface::operator()(3, 4), plane(3, 4));
}

// Gives the ray's frame away: its one solution is the point at (1, 0).
class Pierced : public ERBoundedPlane {
public:
    Pierced(const ERBoundedPlane& other, bool copies) : ERBoundedPlane(other), copies_(copies) {}
    Pierced* getCopy() const override { return copies_ ? new Pierced(*this) : nullptr; }
    using ERBoundedPlane::ProjectPoint;
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const override {
        EXPECT_EQ(p, ERPoint3D());
        EXPECT_EQ(flag, 3);
        ERInfoPoint3DSurf info = PtCur(1.0, 0.0);
        result.AddPointSolution(info);
    }

private:
    bool copies_;
};

TEST(RaySurfaceResult, RaysWorkInTheirFrameAndGiveBackTheSurfacesOwn) {
    ERRaySurfaceResult result;
    ERInfoPoint3DSurf earlier = plane.PtCur(0.5, 0.5);
    result.AddPointSolution(earlier);
    for (const bool copies : {false, true}) {
        EXPECT_EQ(result.entries(), 1u);
        Pierced(plane, copies).ProjectPoint(ERPoint3D(1, 2, 3), ERVector3D(0, 1, 1), result, 3);
    }
    ASSERT_EQ(result.entries(), 2u);
    EXPECT_EQ(result.at(0).point(), earlier.point());
    expectNear(result.at(1).point(), plane(1.0, 0.0), 1e-12);
    expectNear(result.at(1).tangenteV(), plane.PtCur(1.0, 0.0).tangenteV(), 1e-12);
}

TEST(RaySurfaceResult, PointsAreVisitedInOrderAndFiltered) {
    ERRaySurfaceResult result;
    const auto add = [&](double u) {
        ERInfoPoint3DSurf info = plane.PtCur(u, 0.0);
        result.AddPointSolution(info);
    };
    for (int i = 0; i < 6; ++i) add(i);
    result.filtre([](ERInfoPoint3DSurf* info,
                     void*) { return static_cast<int>(info->parameter().x()) % 3 == 0 ? -1 : 0; },
                  nullptr);
    std::vector<double> seen;
    result.apply(
        [](ERInfoPoint3DSurf* info, void* list) {
            static_cast<std::vector<double>*>(list)->push_back(info->parameter().x());
        },
        &seen);
    EXPECT_EQ(seen, (std::vector<double>{1, 2, 4, 5}));
    result.filtre([](ERInfoPoint3DSurf*, void*) { return 1; }, nullptr);
    EXPECT_EQ(result.entries(), 0u);
    add(7);
    EXPECT_EQ(result.at(0).parameter().x(), 7.0);
}

}  // namespace
}  // namespace kerf::test
