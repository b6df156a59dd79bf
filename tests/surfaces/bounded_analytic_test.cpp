#include "kerf/surfaces/bounded_analytic.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
#include "kerf/surfaces/cone.h"
#include "kerf/surfaces/cylinder.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/plane.h"
#include "kerf/surfaces/sphere.h"
#include "kerf/surfaces/torus.h"
#include "kerf/values/box.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/surface_contract.h"

namespace kerf::test {
namespace {

const ERPmIsometrie3D tilted =
    ERChgRepere3D(ERVector3D(1, 2, 0.5), ERVector3D(-1, 1, 1), ERPoint3D(3, -1, 2));
const ERPmIsometrie3D mirrored = ERSymetrie3D(ERVector3D(1, -2, 0.5)) * tilted;

template <class Surface>
Surface reversed(Surface surface) {
    surface.reverse();
    return surface;
}

// The contract that every bounded surface keeps.

std::vector<SurfaceSample> samples() {
    constexpr unsigned int turned = NoRay | ReversingExchangesNothing | BoxIsLarge;
    constexpr unsigned int across = turned | EstimatesAreAcross;
    const ERLimites heights(-1, 2), above(0.5, 3), angles(0.3, 2.5), before(-9, -5);
    return {
        surfaceSample("UnitSquare", ERBoundedPlane(), NoRay),
        surfaceSample("TiltedRectangle", ERBoundedPlane(tilted, heights, above), NoRay),
        surfaceSample("ReversedRectangle", reversed(ERBoundedPlane(mirrored, heights, above)),
                      NoRay),
        surfaceSample("CylinderOnItsAxes", ERBoundedCylinder(ERPmIsometrie3D(), 2, 1.5, 0.3, 2.5),
                      NoRay | ReversingExchangesNothing),
        surfaceSample("WholeCylinder", ERBoundedCylinder(tilted, 2, 1.5, 0, twoPi), turned),
        surfaceSample("MirroredCylinder", ERBoundedCylinder(mirrored, 1.5, heights, before),
                      turned),
        surfaceSample("ReversedCylinder", reversed(ERBoundedCylinder(tilted, 1.5, heights, angles)),
                      turned),
        surfaceSample("CylinderOfNegativeRadius", ERBoundedCylinder(tilted, -1.5, heights, angles),
                      turned),
        surfaceSample("WholeCone", ERBoundedCone(tilted, 0.4, 1, 3), across),
        surfaceSample("MirroredCone", ERBoundedCone(mirrored, 0.7, above, before), across),
        surfaceSample("ReversedCone", reversed(ERBoundedCone(tilted, 0.4, above, angles)), across),
        surfaceSample("ConeThroughItsApex", ERBoundedCone(tilted, 0.4, heights, angles), across),
        surfaceSample("PartOfASphere", ERBoundedSphere(tilted, 2, angles, ERLimites(-0.5, 1.2)),
                      turned),
        surfaceSample("WholeMirroredSphere",
                      ERBoundedSphere(mirrored, 2, ERLimites(-pi, pi), ERLimites(-pi / 2, pi / 2)),
                      turned),
        surfaceSample("ReversedSphere",
                      reversed(ERBoundedSphere(tilted, 2, ERLimites(-0.5, 1.2), angles)), turned),
        surfaceSample("SphereOfNegativeRadius",
                      ERBoundedSphere(tilted, -2, angles, ERLimites(-0.5, 1.2)), turned),
        surfaceSample("PartOfATorus", ERBoundedTorus(tilted, 5, 2, 0.3, 2.5, -1, 3), across),
        surfaceSample("WholeMirroredTorus",
                      ERBoundedTorus(mirrored, 5, 2, ERLimites(0, twoPi), ERLimites(0, twoPi)),
                      across | FootIsMeasuredFromTheCorner),
        surfaceSample("ReversedTorus", reversed(ERBoundedTorus(tilted, 5, 2, -1, 3, 0.3, 2.5)),
                      across),
        surfaceSample("TorusOfNegativeRadii",
                      ERBoundedTorus(tilted, -5, -2, ERLimites(0.3, 2.5), before), across),
    };
}

INSTANTIATE_TEST_SUITE_P(BoundedAnalytic, SurfaceContract, ::testing::ValuesIn(samples()),
                         nameOfSurface);

// Where the parameters lie.

TEST(BoundedAnalytic, ParametersAreTheStatedCoordinatesOfTheFrame) {
    const double cone = std::atan(0.5);
    const ERBoundedTorus torus(tilted, 5, 2, 0, 1, 0, 1);
    const auto expectAt = [](const ERAnyBoundedSurface& surface, double u, double v,
                             const ERPoint3D& local) {
        expectNear(tilted << surface(u, v), local, 1e-14);
    };
    expectAt(ERBoundedPlane(tilted, {0, 1}, {0, 1}), 3, -4, {3, -4, 0});
    expectAt(ERBoundedCylinder(tilted, 1, 2, 0, 1), 7, pi / 2, {0, 2, 7});
    expectAt(ERBoundedCone(tilted, cone, 1, 2), 4, pi / 2, {0, 2, 4});
    expectAt(ERBoundedCone(tilted, cone, 1, 2), -4, 0, {-2, 0, -4});
    expectAt(ERBoundedSphere(tilted, 2, {0, 1}, {0, 1}), pi / 2, 0, {0, 2, 0});
    expectAt(ERBoundedSphere(tilted, 2, {0, 1}, {0, 1}), 3, pi / 2, {0, 0, 2});
    expectAt(torus, pi / 2, pi / 2, {0, 5, 2});
    expectAt(torus, 0, pi, {3, 0, 0});
    expectNear(torus.GetSpine()(pi / 2), tilted >> ERPoint3D(0, 5, 0), 1e-14);
}

TEST(BoundedAnalytic, ConstructorsSetTheRangesTheyName) {
    // A half height; a segment's own length; heights in any order.
    const ERBoundedCylinder byHeight(tilted, 2.5, 1, -1, 4);
    EXPECT_EQ(byHeight.getBoundU(), ERLimites(-2.5, 2.5));
    EXPECT_EQ(byHeight.NUfin(), 2.5);
    EXPECT_EQ(byHeight.getBoundV(), ERLimites(-1, 4));
    const ERSegment3D segment({1, 1, 0}, {1, 1, 6});
    const ERBoundedCylinder about(segment, 2);
    EXPECT_EQ(about.axe().getP1(), segment.getP1());
    EXPECT_EQ(about.axe().getP2(), segment.getP2());
    EXPECT_EQ(about.getBoundV(), ERLimites(0, twoPi));
    EXPECT_EQ(about.NUdeb(), -3.0);
    const ERBoundedCone cone(ERCone({0, 0, 1}, {0, 0, 1}, 0.5), {9, 9, 6}, {-9, 0, 3});
    EXPECT_EQ(cone.getBoundU(), ERLimites(2, 5));
    EXPECT_EQ(cone.getBoundV(), ERLimites(0, twoPi));
    EXPECT_EQ(cone.NUfin(), 5.0);

    // Kept: the form of six numbers leaves the natural ranges.
    ERBoundedTorus byNumbers(tilted, 5, 2, 1, 2, 3, 4);
    EXPECT_EQ(byNumbers.getBoundU(), ERLimites(1, 2));
    EXPECT_EQ(byNumbers.getBoundV(), ERLimites(3, 4));
    EXPECT_EQ(byNumbers.NUfin(), 1.0);
    EXPECT_EQ(byNumbers.NVdeb(), 0.0);
    byNumbers.adjust();
    EXPECT_EQ(byNumbers.NVdeb(), 3.0);
    EXPECT_EQ(ERBoundedTorus(tilted, 5, 2, {1, 2}, {3, 4}).NVdeb(), 3.0);
}

// From a bounded surface to the one without limits and back: every point of the second lies on the
// first.
TEST(BoundedAnalytic, ComesFromAndGoesToItsUnboundedClass) {
    const ERLimites u(0.5, 2), v(-1, 1.2);
    const auto expectSame = [&](const auto& bounded, const auto& unbounded) {
        using Bounded = std::decay_t<decltype(bounded)>;
        const Bounded back(unbounded, u, v);
        EXPECT_EQ(back.getBoundU(), u);
        EXPECT_EQ(back.getBoundV(), v);
        for (const double t : {0.0, 0.4, 1.0}) {
            double distance = nan;
            unbounded.SignedMinimalDistance(bounded(u(t), v(1 - t)), distance);
            EXPECT_NEAR(distance, 0.0, 1e-14) << bounded.className();
            bounded.SignedMinimalDistance(back(u(t), v(1 - t)), distance);
            EXPECT_NEAR(distance, 0.0, 1e-14) << bounded.className();
        }
    };
    const ERBoundedPlane plane(tilted, u, v);
    const ERBoundedCylinder cylinder(tilted, 2, u, v);
    const ERBoundedCone cone(tilted, 0.4, 0.5, 2);
    const ERBoundedSphere sphere(tilted, 2, u, v);
    const ERBoundedTorus torus(tilted, 5, 2, u, v);
    expectSame(plane, ERPlane(plane));
    expectSame(cylinder, ERCylinder(cylinder));
    expectSame(cone, ERCone(cone));
    expectSame(sphere, ERSphere(sphere));
    expectSame(torus, ERTorus(torus));
}

// Feet, in the frame of the surface.

TEST(BoundedAnalytic, DistancesAndNormalsIgnoreTheRanges) {
    const ERBoundedTorus torus(tilted, 5, 2, 0, 0.1, 0, 0.1);
    const ERPoint3D p = tilted >> ERPoint3D(-8, 0, 0);
    double distance = nan;
    EXPECT_EQ(torus.SignedMinimalDistance(p, distance), EREntity::SingleNearestPoint);
    EXPECT_NEAR(distance, 1.0, 1e-14);
    ERPoint3D foot;
    ERVector3D normal;
    EXPECT_EQ(torus.ProjectionNormale(p, foot, normal), 1);
    expectNear(tilted << foot, {-7, 0, 0}, 1e-14);
    EXPECT_NEAR(torus.dist2(tilted >> ERPoint3D(-8, 0, 3)), std::pow(std::sqrt(18) - 2, 2), 1e-13);
    // On the axis the height is read along the z axis of space, for the distance and its square.
    EXPECT_NEAR(ERBoundedTorus(ERPmIsometrie3D(), 4, 2, 0, 1, 0, 1).dist2({0, 0, 3}), 9.0, 1e-14);
    const ERPoint3D centre = ERBoundedSphere(tilted, 2, {0, 1}, {0, 1}).center();
    EXPECT_EQ(ERBoundedSphere(tilted, 2, {0, 1}, {0, 1}).ProjectionNormale(centre, foot, normal),
              0);
}

TEST(BoundedAnalytic, RandomFeetAreFoundAtTheirParameters) {
    std::mt19937 random(11);
    const auto draw = [&](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(drawnFrom(11, i));
        const ERPmIsometrie3D& frame = i % 2 == 0 ? tilted : mirrored;
        // Angles start anywhere and go up to nearly a turn on; a torus up to half of one in u.
        const double start = draw(-20, 20), low = draw(0.5, 2);
        const ERLimites angle(start, start + draw(1, 6)), half(start, start + draw(1, 3)),
            height(low, low + draw(0.5, 3)), latitude(draw(-1.5, 0), draw(0.1, 1.5));
        const double r = draw(0.5, 2) * (i % 3 == 0 ? -1 : 1);
        const auto expectFound = [&](const ERAnyBoundedSurface& surface) {
            const double u = surface.getBoundU()(draw(0.01, 0.99));
            const double v = surface.getBoundV()(draw(0.01, 0.99));
            const ERInfoPoint3DSurf info = surface.PtCur(u, v);
            ERPoint2D uv;
            ASSERT_EQ(surface.ProjectionNormale(info.point() + info.normale() * draw(-0.1, 0.1),
                                                0.0, uv, 1),
                      1)
                << surface.className();
            expectNear(uv, {u, v}, 1e-11);
        };
        expectFound(ERBoundedPlane(frame, height, angle));
        expectFound(ERBoundedCylinder(frame, r, height, angle));
        expectFound(ERBoundedCone(frame, 0.6, height, angle));
        expectFound(ERBoundedSphere(frame, r, angle, latitude));
        expectFound(ERBoundedTorus(frame, draw(3, 5), r, half, angle));
    }
}

TEST(BoundedAnalytic, HeightsHaveNoSignAndOnlyTheFlagRefuses) {
    const ERBoundedCone cone(ERPmIsometrie3D(), pi / 4, 2, 3);
    const ERBoundedCylinder cylinder(ERPmIsometrie3D(), 1, ERLimites(2, 3), ERLimites(0, twoPi));
    const auto found = [](const ERAnyBoundedSurface& surface, const ERPoint3D& p, int flag) {
        ERPoint2D uv(-7, -7);
        const int result = surface.ProjectionNormale(p, 0.0, uv, flag);
        return std::pair(result, uv);
    };
    const auto expectFound = [&](const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                                 const ERPoint2D& uv) {
        EXPECT_EQ(found(surface, p, 0).first, 1);
        expectNear(found(surface, p, 0).second, uv, 1e-14);
        const bool within =
            surface.getBoundU().inBound(uv.x()) && surface.getBoundV().inBound(uv.y());
        EXPECT_EQ(found(surface, p, 1).first, within ? 1 : 0);
        if (!within) {
            EXPECT_EQ(found(surface, p, 1).second, ERPoint2D(-7, -7));
        }
    };
    expectFound(cone, {5, 0, 5}, {5, 0});
    expectFound(cone, {0, 2.5, 2.5}, {2.5, pi / 2});
    // Kept: below the first end a foot is counted upwards, on the cone's other nappe too, where a
    // direction is that of the parameter.
    expectFound(cone, {1.5, 0, 1.5}, {2.5, 0});
    expectFound(cone, {0, 2, -2}, {6, 3 * pi / 2});
    EXPECT_EQ(found(cone, {3, 0, 1}, 0).first, 0);
    EXPECT_EQ(found(cone, {3, 0, 1.0000001}, 0).first, 1);
    expectFound(cylinder, {0, 5, 1.25}, {2.75, pi / 2});
    expectFound(cylinder, {0, 5, -1}, {5, pi / 2});

    const ERBoundedPlane square;
    expectFound(square, {0.25, 0.5, 9}, {0.25, 0.5});
    expectFound(square, {-3, 2, 9}, {-3, 2});
    const ERBoundedSphere quarter(ERPmIsometrie3D(), 1, ERLimites(0, 1), ERLimites(0, 1));
    expectFound(quarter, {-3, 0, -3}, {pi, -pi / 4});
}

TEST(BoundedAnalytic, AnglesOfATorusAreCountedFromItsCornerAndNeverWrapped) {
    const auto at = [](double u, double v) {
        return ERBoundedTorus(ERPmIsometrie3D(), 5, 2, 0, 1, 0, 1)(u, v);
    };
    const auto found = [&](const ERLimites& u, const ERLimites& v, const ERPoint3D& p, int flag) {
        ERPoint2D uv(-7, -7);
        return ERBoundedTorus(ERPmIsometrie3D(), 5, 2, u, v).ProjectionNormale(p, 0.0, uv, flag) ==
                       1
                   ? uv
                   : ERPoint2D(-7, -7);
    };
    const ERPoint2D none(-7, -7);
    expectNear(found({1, 3}, {2, 4}, at(2, 3), 1), {2, 3}, 1e-14);
    // The first angles that are equal: a turn further than the range is not looked at.
    EXPECT_EQ(found({8, 9}, {2, 4}, at(7.5, 3), 1), none);
    expectNear(found({7, 9}, {8, 12}, at(8, 9), 1), {8, 9}, 1e-13);
    EXPECT_EQ(found({0, 6}, {0, 6}, at(4, 3), 1), none);  // half a turn at most in u
    expectNear(found({0, 6}, {0, 6}, at(3, 5), 1), {3, 5}, 1e-14);
    EXPECT_EQ(found({0, 1}, {0, 1}, at(2, 0.5), 0), none);  // whatever the flag
    EXPECT_EQ(found({0, 1}, {0, 1}, at(0.5, 2), 0), none);
    // Rounding below a corner does not lead a turn on.
    EXPECT_EQ(found({2, 3}, {1, 4}, at(2, 1), 1).x(), 2.0);
    EXPECT_EQ(found({2, 3}, {1, 4}, at(2 - 1e-13, 1 - 1e-13), 1), ERPoint2D(2, 1));
}

// Boxes and estimates.

ERMinimax3D sampledBox(const ERAnyBoundedSurface& surface, int n = 200) {
    ERMinimax3D box;
    for (int i = 0; i <= n; ++i)
        for (int j = 0; j <= n; ++j)
            box.Update(
                surface(surface.getBoundU()(i / double(n)), surface.getBoundV()(j / double(n))));
    return box;
}

TEST(BoundedAnalytic, BoxesOfConeAndSphereIgnoreRanges) {
    const ERBoundedSphere quarter(tilted, 2, ERLimites(0, 1.5), ERLimites(0, 1.5));
    ERMinimax3D whole(quarter.center().x() - 2, quarter.center().x() + 2, quarter.center().y() - 2,
                      quarter.center().y() + 2, quarter.center().z() - 2, quarter.center().z() + 2);
    EXPECT_EQ(quarter.getBox(), whole);
    const double halfAngle = std::atan(0.5);
    ERBoundedCone part = ERBoundedCone(ERPmIsometrie3D(), halfAngle, 2, 4);
    part.redefineDomainV(ERLimites(0, 0.1));
    expectNear(part.getBox().MinPoint(), {-2, -2, 2}, 1e-14);
    expectNear(part.getBox().MaxPoint(), {2, 2, 4}, 1e-14);
    // Kept: the radii count with their signs.
    const ERBoundedCone below(ERPmIsometrie3D(), halfAngle, -4, 2);
    expectNear(below.getBox().MinPoint(), {-1, -1, -4}, 1e-14);
}

// X and Y are exact; in Z an extreme that v does not pass is 13 too low or 7 too high.
TEST(BoundedAnalytic, BoxOfATorusIsTightBesideItsAxis) {
    std::mt19937 random(3);
    const auto draw = [&](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    for (int i = 0; i < 150; ++i) {
        SCOPED_TRACE(drawnFrom(3, i));
        const double u = draw(-30, 30), v = draw(-30, 30);
        const double R = draw(3, 5) * (i % 3 == 1 ? -1 : 1),
                     r = draw(0.5, 2) * (i % 5 == 1 ? -1 : 1);
        const ERLimites inV(v, v + draw(0.1, 8));
        const ERBoundedTorus torus(ERPmIsometrie3D(), R, r, ERLimites(u, u + draw(0.1, 8)), inV);
        const ERMinimax3D box = torus.getBox(), sampled = sampledBox(torus);
        const double sagitta = 8 * std::pow(8.0 / 200, 2) / 4;
        for (unsigned int axis : {0u, 1u}) {
            EXPECT_LE(box.lower(axis), sampled.lower(axis) + 1e-12);
            EXPECT_NEAR(box.lower(axis), sampled.lower(axis), sagitta);
            EXPECT_GE(box.upper(axis), sampled.upper(axis) - 1e-12);
            EXPECT_NEAR(box.upper(axis), sampled.upper(axis), sagitta);
        }
        // Whether v passes angle + turns.
        const auto passes = [&](double angle) {
            return std::floor((inV.end() - angle) / twoPi) > std::floor((v - angle) / twoPi);
        };
        const double top = std::copysign(pi / 2, r);
        EXPECT_NEAR(box.zmax(), sampled.zmax() + (passes(top) ? 0.0 : 7.0), sagitta);
        EXPECT_NEAR(box.zmin(), sampled.zmin() - (passes(-top) ? 0.0 : 13.0), sagitta);
    }
    // The frame's axes carry the corners, so the margin goes with the axis.
    const ERBoundedTorus ring(ERChgRepere3D(ERVector3D(0, 1, 0), ERVector3D(0, 0, 1), {}), 5, 1, 0,
                              twoPi, -0.1, 0.1);
    expectNear(ring.getBox().MinPoint(), {-13 - std::sin(0.1), -6, -6}, 1e-12);
    expectNear(ring.getBox().MaxPoint(), {7 + std::sin(0.1), 6, 6}, 1e-12);
}

TEST(BoundedAnalytic, EstimatesAreTheStatedProducts) {
    const ERLimites u(1, 3), v(2, 7);
    const auto expectEstimates = [](const ERAnyBoundedSurface& surface, double inU, double inV) {
        EXPECT_NEAR(surface.upperEstimateInU(), inU, 1e-13) << surface.className();
        EXPECT_NEAR(surface.upperEstimateInV(), inV, 1e-13) << surface.className();
    };
    expectEstimates(ERBoundedPlane(tilted, u, v), 2, 5);
    expectEstimates(ERBoundedPlane(tilted, {3, 1}, v), 2, 5);
    expectEstimates(ERBoundedCylinder(tilted, -4, u, v), 2, 20);
    expectEstimates(ERBoundedCone(tilted, std::atan(0.5), {-4, 2}, v), 6, 10);
    expectEstimates(ERBoundedSphere(tilted, 4, u, v), 8, 20);
    // Kept: the radii stand crosswise.
    expectEstimates(ERBoundedTorus(tilted, 10, 4, u, v), 8, 70);
}

// What changes a surface.

TEST(BoundedAnalytic, SplitsKeepTheirNaturalRangesAndTakeTheEnds) {
    const ERBoundedCylinder cylinder(tilted, 1.5, ERLimites(1, 3), ERLimites(0, 2));
    t_SmartPtr<ERAnyBoundedSurface> before, after;
    for (const double out : {0.5, 3.5, nan, infinity}) {
        EXPECT_EQ(cylinder.SplitInU(before, after, out), 0);
        EXPECT_TRUE(before == nullptr && after == nullptr);
    }
    ASSERT_EQ(cylinder.SplitInU(before, after, 1.0), 1);
    EXPECT_EQ(before->getBoundU(), ERLimites(1, 1));
    EXPECT_EQ(after->getBoundU(), ERLimites(1, 3));
    ASSERT_EQ(cylinder.SplitInV(before, after, 2.0), 1);
    EXPECT_EQ(after->getBoundV(), ERLimites(2, 2));
    EXPECT_EQ(after->getBoundU(), ERLimites(1, 3));
    EXPECT_EQ(ERBoundedCylinder::castdown(*after).NVdeb(), 0.0);
    EXPECT_EQ(
        ERBoundedCylinder(tilted, 1, ERLimites(3, 1), ERLimites(0, 1)).SplitInU(before, after, 2.0),
        0);
}

// Oracle: the distance from the surface before.
TEST(BoundedAnalytic, OffsetMovesEveryPointByTheDistanceAndDropsTheGrid) {
    const ERLimites u(1, 3), v(-1, 2);
    const auto expectMoved = [&](auto surface) {
        const auto before = surface;
        surface.getMatricePoint(3, 3);
        surface.offset(0.25);
        EXPECT_EQ(surface.isDirty(), 1);
        const ERMatrix<ERPoint3D> grid = surface.getMatricePoint(3, 3);
        for (unsigned int i = 0; i < 9; ++i) {
            double distance = nan;
            before.SignedMinimalDistance(grid.asVector()[i], distance);
            EXPECT_NEAR(distance, 0.25, 1e-13) << surface.className();
        }
        EXPECT_EQ(surface.getBoundU(), before.getBoundU());
    };
    expectMoved(ERBoundedPlane(mirrored, u, v));
    expectMoved(ERBoundedCylinder(tilted, 2, u, v));
    expectMoved(ERBoundedSphere(tilted, 2, u, ERLimites(-1, 1)));
    expectMoved(ERBoundedTorus(tilted, 5, 2, u, v));
    ERBoundedCone cone(tilted, 0.4, 1, 3);
    expectMoved(cone);
    cone.offset(0.25);
    EXPECT_EQ(cone.demiAngle(), 0.4);
    expectNear(cone.apex(), tilted >> ERPoint3D(0, 0, -0.25 / std::sin(0.4)), 1e-14);
}

TEST(BoundedAnalytic, ReversingTurnsAPlaneOverAndExchangesRangesAlone) {
    for (const ERPmIsometrie3D& frame : {tilted, mirrored}) {
        ERBoundedPlane plane(frame, ERLimites(0, 2), ERLimites(5, 9));
        const ERVector3D normal = plane.getNormale();
        const ERPoint3D point = plane(1, 7);
        plane.reverse();
        expectNear(plane.getNormale(), -normal, 1e-15);
        expectNear(plane(7, 1), point, 1e-14);
        EXPECT_EQ(plane.getMatrix().isDirect(), frame.isDirect());
    }
    ERBoundedCylinder cylinder(tilted, 2, ERLimites(0, 2), ERLimites(5, 9));
    const ERPoint3D point = cylinder(1, 7);
    cylinder.getMatricePoint(3, 3);
    cylinder.reverse();
    EXPECT_EQ(cylinder.getBoundU(), ERLimites(5, 9));
    EXPECT_EQ(cylinder.NVfin(), 2.0);
    EXPECT_EQ(cylinder(1, 7), point);
    expectNear(cylinder.getMatricePoint(3, 3)(0, 0), cylinder(5, 0), 1e-13);
}

// The extras of each class.

TEST(BoundedAnalytic, AxesHeightsAndRadiiCanBeReadAndSet) {
    ERBoundedCylinder cylinder(tilted, 2, 1.5, 0, 1);
    cylinder.getMatricePoint(2, 2);
    cylinder.diameter(8);
    EXPECT_EQ(cylinder.radius(), 4.0);
    EXPECT_NEAR(distance(cylinder.getMatricePoint(2, 2)(0, 0), cylinder.axe().getP1()), 4.0, 1e-14);
    EXPECT_EQ(cylinder.getArc(0.5).radius(), 4.0);
    cylinder.redefineDomainU(ERLimites(1, 3));
    cylinder.height(10);
    EXPECT_EQ(cylinder.getBoundU(), ERLimites(-3, 7));
    EXPECT_EQ(cylinder.NUfin(), 7.0);
    expectNear(cylinder.axe().getP2(), tilted >> ERPoint3D(0, 0, 7), 1e-14);
    const ERSegment3D moved({1, 2, 3}, {1, 2, 9});
    cylinder.axe(moved);
    EXPECT_EQ(cylinder.axe().getP1(), moved.getP1());
    EXPECT_EQ(cylinder.axe().getP2(), moved.getP2());
    EXPECT_EQ(cylinder.getBoundV(), ERLimites(0, 1));

    ERBoundedCone cone(tilted, std::atan(0.5), 2, 6);
    EXPECT_EQ(cone.height(), 4.0);
    EXPECT_NEAR(cone.radius(-6), -3.0, 1e-14);
    EXPECT_NEAR(cone.diameter(6), 6.0, 1e-14);
    EXPECT_NEAR(cone.topBase().radius(), 3.0, 1e-14);
    expectNear(cone.bottomBase()(1.0), cone(2, 1.0), 1e-14);
    expectNear(cone.axe().getP1(), tilted >> ERPoint3D(0, 0, 2), 1e-14);
    cone.axe(moved);
    EXPECT_EQ(cone.getBoundU(), ERLimites(2, 8));
    expectNear(cone.axe().getP1(), moved.getP1(), 1e-15);
    expectNear(cone.axe().getP2(), moved.getP2(), 1e-15);
    expectNear(cone.direction(), {0, 0, 1}, 1e-15);

    ERBoundedTorus torus(tilted, 5, 2, 0, 1, 0, 1);
    torus.getMatricePoint(2, 2);
    torus.small_radius(3);
    expectNear(torus.getMatricePoint(2, 2)(0, 0), tilted >> ERPoint3D(8, 0, 0), 1e-14);
    EXPECT_EQ(torus.GetSpine().ufin(), 1.0);
    const ERBoundedSphere sphere(tilted, 2, {0, 1}, {0, 0.5});
    EXPECT_EQ(sphere.diameter(), 4.0);
    EXPECT_EQ(sphere.getIsoU(0.3).ufin(), 0.5);
    EXPECT_EQ(sphere.getIsoV(0.3).ufin(), 1.0);
}

TEST(BoundedAnalytic, DegenerateAxesAndLengthsAreSurvived) {
    for (const double bad : {0.0, nan, infinity, 1e15, -1e300}) {
        const ERLimites range(bad, -bad);
        const ERSegment3D axis({bad, 1, 2}, {bad, 1, 2});
        ERBoundedCylinder cylinder(axis, bad);
        cylinder.height(bad);
        ERBoundedCone cone(ERPmIsometrie3D(), bad, bad, -bad);
        cone.axe(axis);
        cone.offset(bad);
        const ERBoundedSphere sphere(tilted, bad, range, range);
        const ERBoundedTorus torus(tilted, bad, bad, bad, -bad, -bad, bad);
        const ERBoundedPlane plane(tilted, range, range);
        for (const ERAnyBoundedSurface* surface : std::initializer_list<const ERAnyBoundedSurface*>{
                 &cylinder, &cone, &sphere, &torus, &plane}) {
            surface->getBox();
            surface->PtCur(0.5, bad);
            ERPoint2D uv;
            surface->ProjectionNormale(ERPoint3D(1, 2, 3), bad, uv, 0);
        }
        EXPECT_GE(cylinder.Convert2Nurbs().nbPolesU() + torus.Convert2Nurbs().nbPolesU() +
                      sphere.ConvertToNurbs().nbPolesU(),
                  0u);
    }
}

// The NURBS form runs where the surface does, at the parameters of straight lines too.
TEST(BoundedAnalytic, NurbsFormHasTheRangesAndDegrees) {
    const ERSpoleNURBS3D cone = ERBoundedCone(tilted, 0.4, 1, 3).Convert2Nurbs();
    EXPECT_EQ(cone.degreeU(), 1u);
    EXPECT_EQ(cone.degreeV(), 2u);
    expectNear(cone(2.2, 0), ERBoundedCone(tilted, 0.4, 1, 3)(2.2, 0), 1e-14);
    const ERBoundedPlane plane(tilted, ERLimites(4, -1), ERLimites(0, 1));
    EXPECT_EQ(plane.Convert2Nurbs().getBoundU(), ERLimites(4, -1));
    expectNear(plane.Convert2Nurbs()(3, 0.2), plane(3, 0.2), 1e-14);
    // A torus of 500 turns both ways would have sixteen million poles.
    EXPECT_EQ(ERBoundedTorus(tilted, 5, 2, 0, 3141, 0, 3141).Convert2Nurbs().isDummy(), 1);
    EXPECT_EQ(ERBoundedTorus(tilted, 5, 2, 0, 3141, 0, 1).Convert2Nurbs().isDummy(), 0);
}

TEST(BoundedAnalytic, RecordsAreTheRangesTheFrameAndTheLengths) {
    const ERBoundedTorus torus(tilted, 5, 2, 1, 2, 3, 4);
    const std::string bytes = recordOf(torus);
    ASSERT_EQ(bytes.size(), 196u);
    double numbers[8], radii[2];
    std::memcpy(numbers, bytes.data(), sizeof(numbers));
    std::memcpy(radii, bytes.data() + 180, sizeof(radii));
    EXPECT_THAT(numbers, ::testing::ElementsAre(0, 1, 0, 1, 1, 2, 3, 4));
    EXPECT_THAT(radii, ::testing::ElementsAre(5, 2));
    EXPECT_EQ(recordOf(ERBoundedPlane()).size(), 180u);
    EXPECT_EQ(recordOf(ERBoundedCone()).size(), 188u);
    EXPECT_THAT(printed(torus), ::testing::StartsWith("ERBoundedTorus"));
}

}  // namespace
}  // namespace kerf::test
