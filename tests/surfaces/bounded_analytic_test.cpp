#include "kerf/surfaces/bounded_analytic.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
#include "kerf/surfaces/cone.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/values/box.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/surface_contract.h"

namespace kerf::test {
namespace {

const ERPmIsometrie3D tilted =
    ERChgRepere3D(ERVector3D(1, 2, 0.5), ERVector3D(-1, 1, 1), ERPoint3D(3, -1, 2));
const ERPmIsometrie3D mirror = ERSymetrie3D(ERVector3D(1, -2, 0.5));
const ERPmIsometrie3D mirrored = mirror * tilted;

template <class Surface>
Surface reversed(Surface surface) {
    surface.reverse();
    return surface;
}

// The contract that every bounded surface keeps.

std::vector<SurfaceSample> samples() {
    std::vector<SurfaceSample> all;
    // Each surface as it is, and reversed in a mirrored frame.
    const auto add = [&](const std::string& name, const auto& surface, unsigned int exceptions) {
        all.push_back(surfaceSample(name, surface, exceptions));
        auto image = reversed(surface);
        image.transformFrom(mirror);
        all.push_back(surfaceSample("Reversed" + name + "InAMirror", image, exceptions));
    };
    constexpr unsigned int turned = NoRay | ReversingExchangesNothing | BoxIsLarge;
    constexpr unsigned int across = turned | EstimatesAreAcross;
    const ERLimites heights(-1, 2), above(0.5, 3), angles(0.3, 2.5), before(-9, -6.5),
        latitudes(-0.5, 1.2);
    add("Rectangle", ERBoundedPlane(tilted, heights, above), NoRay);
    add("Cylinder", ERBoundedCylinder(tilted, 1.5, heights, before), turned);
    add("CylinderOfNegativeRadius", ERBoundedCylinder(tilted, -1.5, heights, angles), turned);
    add("Cone", ERBoundedCone(tilted, 0.4, above, angles), across);
    add("ConeThroughItsApex", ERBoundedCone(tilted, 0.4, heights, angles), across);
    add("Sphere", ERBoundedSphere(tilted, 2, ERLimites(-1, 1), latitudes), turned);
    add("SphereOfNegativeRadius", ERBoundedSphere(tilted, -2, ERLimites(0.3, 1.5), latitudes),
        turned);
    add("Torus", ERBoundedTorus(tilted, 5, 2, 0.3, 2.5, -1, 2), across);
    add("TorusOfNegativeRadii", ERBoundedTorus(tilted, -5, -2, angles, before), across);
    const ERLimites turn(0, twoPi);
    all.push_back(surfaceSample("CylinderOnItsAxes",
                                ERBoundedCylinder(ERPmIsometrie3D(), 2, 1.5, 0.3, 2.5),
                                NoRay | ReversingExchangesNothing));
    all.push_back(surfaceSample("WholeCone", ERBoundedCone(tilted, 0.4, 1, 3), across));
    all.push_back(surfaceSample(
        "WholeSphere", ERBoundedSphere(tilted, 2, turn, ERLimites(-pi / 2, pi / 2)), turned));
    all.push_back(surfaceSample("WholeTorus", ERBoundedTorus(tilted, 5, 2, turn, turn),
                                across | FootIsMeasuredFromTheCorner));
    return all;
}

INSTANTIATE_TEST_SUITE_P(BoundedAnalytic, SurfaceContract, ::testing::ValuesIn(samples()),
                         nameOfSurface);

// Where the parameters lie.

TEST(BoundedAnalytic, ParametersAreTheStatedCoordinatesOfTheFrame) {
    const double angle = std::atan(0.5);
    const auto expectAt = [](const ERAnyBoundedSurface& surface, double u, double v,
                             const ERPoint3D& local) {
        expectNear(tilted << surface(u, v), local, 1e-14);
    };
    expectAt(ERBoundedPlane(tilted, {0, 1}, {0, 1}), 3, -4, {3, -4, 0});
    expectAt(ERBoundedCylinder(tilted, 1, 2, 0, 1), 7, pi / 2, {0, 2, 7});
    expectAt(ERBoundedCone(tilted, angle, 1, 2), 4, pi / 2, {0, 2, 4});
    expectAt(ERBoundedCone(tilted, angle, 1, 2), -4, 0, {-2, 0, -4});
    expectAt(ERBoundedSphere(tilted, 2, {0, 1}, {0, 1}), pi / 2, pi / 6, {0, std::sqrt(3), 1});
    expectAt(ERBoundedTorus(tilted, 5, 2, 0, 1, 0, 1), pi / 2, pi / 2, {0, 5, 2});
    expectAt(ERBoundedTorus(tilted, 5, 2, 0, 1, 0, 1), 0, pi, {3, 0, 0});
}

TEST(BoundedAnalytic, ConstructorsSetTheRangesTheyName) {
    const auto expectRanges = [](const ERBoundedSurface& surface, const ERLimites& u,
                                 const ERLimites& v, bool naturalToo = true) {
        EXPECT_EQ(surface.getBoundU(), u);
        EXPECT_EQ(surface.getBoundV(), v);
        const ERLimites unit(0, 1);
        EXPECT_EQ(ERLimites(surface.NUdeb(), surface.NUfin()), naturalToo ? u : unit);
        EXPECT_EQ(ERLimites(surface.NVdeb(), surface.NVfin()), naturalToo ? v : unit);
    };
    const ERLimites turn(0, twoPi);
    // A half height; a segment's own length; heights in any order.
    expectRanges(ERBoundedCylinder(tilted, 2.5, 1, -1, 4), {-2.5, 2.5}, {-1, 4});
    expectRanges(ERBoundedCylinder(ERSegment3D({1, 1, 0}, {1, 1, 6}), 2), {-3, 3}, turn);
    expectRanges(ERBoundedCone(tilted, 0.5, 1, 2), {1, 2}, turn);
    expectRanges(ERBoundedCone(ERCone({0, 0, 1}, {0, 0, 1}, 0.5), {9, 9, 6}, {-9, 0, 3}), {2, 5},
                 turn);
    expectRanges(ERBoundedTorus(tilted, 5, 2, {1, 2}, {3, 4}), {1, 2}, {3, 4});
    // Kept: the form of six numbers leaves the natural ranges.
    expectRanges(ERBoundedTorus(tilted, 5, 2, 1, 2, 3, 4), {1, 2}, {3, 4}, false);
}

// Feet, in the frame of the surface.

TEST(BoundedAnalytic, HeightsHaveNoSignAndOnlyTheFlagRefuses) {
    const auto found = [](const ERAnyBoundedSurface& surface, const ERPoint3D& p, int flag) {
        ERPoint2D uv(-7, -7);
        const int result = surface.ProjectionNormale(p, 0.0, uv, flag);
        EXPECT_EQ(result, uv == ERPoint2D(-7, -7) ? 0 : 1);
        return uv;
    };
    const ERPoint2D none(-7, -7);
    const auto expectFound = [&](const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                                 const ERPoint2D& uv, bool within) {
        expectNear(found(surface, p, 0), uv, 1e-14);
        expectNear(found(surface, p, 1), within ? uv : none, 1e-14);
    };
    const ERBoundedCone cone(ERPmIsometrie3D(), pi / 4, 2, 3);
    expectFound(cone, {5, 0, 5}, {5, 0}, false);
    expectFound(cone, {0, 2.5, 2.5}, {2.5, pi / 2}, true);
    // Kept: below the first end a foot is counted upwards, on the cone's other nappe too, where a
    // direction is that of the parameter.
    expectFound(cone, {1.5, 0, 1.5}, {2.5, 0}, true);
    expectFound(cone, {0, 2, -2}, {6, 3 * pi / 2}, false);
    EXPECT_EQ(found(cone, {3, 0, 1}, 0), none);
    const ERBoundedCylinder cylinder(ERPmIsometrie3D(), 1, ERLimites(2, 3), ERLimites(0, twoPi));
    expectFound(cylinder, {0, 5, 1.25}, {2.75, pi / 2}, true);
    expectFound(cylinder, {0, 5, -1}, {5, pi / 2}, false);
    expectFound(ERBoundedPlane(), {0.25, 0.5, 9}, {0.25, 0.5}, true);
    expectFound(ERBoundedPlane(), {-3, 2, 9}, {-3, 2}, false);
    expectFound(ERBoundedSphere(ERPmIsometrie3D(), 1, {0, 1}, {0, 1}), {-3, 0, -3}, {pi, -pi / 4},
                false);

    // A torus refuses whatever the flag. Angles are counted from its corner, half a turn at most in
    // u, a whole one in v, and a turn further than the range is not looked at.
    const auto onTorus = [&](const ERLimites& u, const ERLimites& v, double atU, double atV) {
        const ERBoundedTorus torus(ERPmIsometrie3D(), 5, 2, u, v);
        const ERPoint3D p = torus(atU, atV);
        EXPECT_EQ(found(torus, p, 0), found(torus, p, 1));
        return found(torus, p, 0);
    };
    expectNear(onTorus({1, 3}, {2, 4}, 2, 3), {2, 3}, 1e-14);
    expectNear(onTorus({7, 9}, {8, 12}, 8, 9), {8, 9}, 1e-13);
    expectNear(onTorus({0, 6}, {0, 6}, 3, 5), {3, 5}, 1e-14);
    EXPECT_EQ(onTorus({0, 6}, {0, 6}, 4, 3), none);
    EXPECT_EQ(onTorus({8, 9}, {2, 4}, 7.5, 3), none);
    EXPECT_EQ(onTorus({0, 1}, {0, 1}, 0.5, 2), none);
    // Rounding below a corner does not lead a turn on.
    EXPECT_EQ(onTorus({2, 3}, {1, 4}, 2 - 1e-13, 1 - 1e-13), ERPoint2D(2, 1));
}

// Boxes and estimates.

TEST(BoundedAnalytic, BoxesOfConeAndSphereIgnoreRanges) {
    const auto expectBox = [](const ERAnyBoundedSurface& surface, const ERPoint3D& low,
                              const ERPoint3D& high) {
        expectNear(surface.getBox().MinPoint(), low, 1e-12);
        expectNear(surface.getBox().MaxPoint(), high, 1e-12);
    };
    const ERVector3D two(2, 2, 2);
    expectBox(ERBoundedSphere(tilted, 2, ERLimites(0, 1.5), ERLimites(0, 1.5)),
              tilted.origine() - two, tilted.origine() + two);
    const double angle = std::atan(0.5);
    expectBox(ERBoundedCone(ERPmIsometrie3D(), angle, {2, 4}, {0, 0.1}), {-2, -2, 2}, {2, 2, 4});
    // Kept: the radii count with their signs.
    expectBox(ERBoundedCone(ERPmIsometrie3D(), angle, -4, 2), {-1, -1, -4}, {1, 1, 2});
    // The margin of a torus goes with its axis.
    expectBox(ERBoundedTorus(ERChgRepere3D(ERVector3D(0, 1, 0), ERVector3D(0, 0, 1), {}), 5, 1, 0,
                             twoPi, -0.1, 0.1),
              {-13 - std::sin(0.1), -6, -6}, {7 + std::sin(0.1), 6, 6});
    // Kept: a reversed range passes no extreme, as it holds no angle.
    expectBox(ERBoundedTorus(ERPmIsometrie3D(), 5, 1, pi, 0, 0, 0), {-6, 0, -13}, {6, 0, 7});
}

// X and Y are exact; in Z an extreme that v does not pass is 13 too low or 7 too high.
TEST(BoundedAnalytic, BoxOfATorusIsTightBesideItsAxis) {
    std::mt19937 random(3);
    const auto draw = [&](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    constexpr int n = 100;
    for (int i = 0; i < 100; ++i) {
        SCOPED_TRACE(drawnFrom(3, i));
        const double R = draw(3, 5) * (i % 3 == 1 ? -1 : 1), u = draw(-30, 30);
        const double r = draw(0.5, 2) * (i % 5 == 1 ? -1 : 1), v = draw(-30, 30);
        const ERLimites inU(u, u + draw(0.1, 8)), inV(v, v + draw(0.1, 8));
        const ERBoundedTorus torus(ERPmIsometrie3D(), R, r, inU, inV);
        const ERMinimax3D box = torus.getBox();
        ERMinimax3D sampled;
        for (int k = 0; k < (n + 1) * (n + 1); ++k)
            sampled.Update(torus(inU(k / (n + 1) / double(n)), inV(k % (n + 1) / double(n))));
        // Whether v passes angle + turns.
        const auto passes = [&](double angle) {
            return std::floor((inV.end() - angle) / twoPi) > std::floor((v - angle) / twoPi);
        };
        const double top = std::copysign(pi / 2, r), sagitta = 7 * std::pow(8.0 / n, 2) / 4;
        for (unsigned int axis = 0; axis < 3; ++axis) {
            const double below = axis < 2 || passes(-top) ? 0.0 : 13.0;
            const double above = axis < 2 || passes(top) ? 0.0 : 7.0;
            EXPECT_LE(box.lower(axis), sampled.lower(axis) - below + 1e-12);
            EXPECT_NEAR(box.lower(axis), sampled.lower(axis) - below, sagitta);
            EXPECT_GE(box.upper(axis), sampled.upper(axis) + above - 1e-12);
            EXPECT_NEAR(box.upper(axis), sampled.upper(axis) + above, sagitta);
        }
    }
}

TEST(BoundedAnalytic, EstimatesAreTheStatedProducts) {
    const ERLimites u(1, 3), v(2, 7);
    const auto expectEstimates = [](const ERAnyBoundedSurface& surface, double inU, double inV) {
        EXPECT_NEAR(surface.upperEstimateInU(), inU, 1e-13) << surface.className();
        EXPECT_NEAR(surface.upperEstimateInV(), inV, 1e-13) << surface.className();
    };
    expectEstimates(ERBoundedPlane(tilted, {3, 1}, v), 2, 5);
    expectEstimates(ERBoundedCylinder(tilted, -4, u, v), 2, 20);
    expectEstimates(ERBoundedCone(tilted, std::atan(0.5), {-4, 2}, v), 6, 10);
    expectEstimates(ERBoundedSphere(tilted, 4, u, v), 8, 20);
    // Kept: the radii stand crosswise.
    expectEstimates(ERBoundedTorus(tilted, 10, 4, u, v), 8, 70);
}

// What changes a surface.

TEST(BoundedAnalytic, SplitsKeepTheirNaturalRangesAndTakeTheEnds) {
    const ERLimites u(1, 3), v(0, 2);
    const ERBoundedCylinder cylinder(tilted, 1.5, u, v);
    t_SmartPtr<ERAnyBoundedSurface> before, after;
    for (const double out : {0.5, 3.5, nan}) EXPECT_EQ(cylinder.SplitInU(before, after, out), 0);
    EXPECT_EQ(ERBoundedCylinder(tilted, 1, ERLimites(3, 1), v).SplitInU(before, after, 2.0), 0);
    EXPECT_TRUE(before == nullptr && after == nullptr);
    ASSERT_EQ(cylinder.SplitInU(before, after, 1.0), 1);
    EXPECT_EQ(before->getBoundU(), ERLimites(1, 1));
    EXPECT_EQ(after->getBoundU(), u);
    ASSERT_EQ(cylinder.SplitInV(before, after, 2.0), 1);
    EXPECT_EQ(after->getBoundV(), ERLimites(2, 2));
    EXPECT_EQ(ERBoundedCylinder::castdown(*after).NVdeb(), 0.0);
}

TEST(BoundedAnalytic, LengthsThatAreParametersAreScaledInBothPairsOfRanges) {
    ERBoundedPlane plane;
    ERBoundedCone cone(tilted, 0.4, ERLimites(0, 1), ERLimites(0, 1));
    for (ERBoundedSurface* surface : std::initializer_list<ERBoundedSurface*>{&plane, &cone}) {
        surface->setBound(ERLimites(2, 3), ERLimites(2, 3));
        surface->scale(-2);
        EXPECT_EQ(surface->NUfin(), -2);
        EXPECT_EQ(surface->NVfin(), surface == &plane ? -2 : 1);
    }
}

// Oracle: the distance from the surface before.
TEST(BoundedAnalytic, OffsetMovesEveryPointByTheDistanceAndDropsTheGrid) {
    const ERLimites u(1, 3), v(-1, 1);
    const auto expectMoved = [&](auto surface) {
        const auto before = surface;
        surface.getMatricePoint(3, 3);
        surface.offset(0.25);
        EXPECT_EQ(surface.isDirty(), 1);
        for (const ERPoint3D& p : surface.getMatricePoint(3, 3)) {
            double distance = nan;
            before.SignedMinimalDistance(p, distance);
            EXPECT_NEAR(distance, 0.25, 1e-13) << surface.className();
        }
        EXPECT_EQ(surface.getBoundU(), u);
    };
    expectMoved(ERBoundedPlane(mirrored, u, v));
    expectMoved(ERBoundedCylinder(tilted, 2, u, v));
    expectMoved(ERBoundedSphere(tilted, 2, u, v));
    expectMoved(ERBoundedTorus(tilted, 5, 2, u, v));
    expectMoved(ERBoundedCone(tilted, 0.4, u, v));
}

TEST(BoundedAnalytic, ReversingTurnsAPlaneOverAndExchangesRangesAlone) {
    for (const ERPmIsometrie3D& frame : {tilted, mirrored}) {
        const ERBoundedPlane plane(frame, ERLimites(0, 2), ERLimites(5, 9));
        expectNear(reversed(plane).getNormale(), -plane.getNormale(), 1e-15);
        EXPECT_EQ(reversed(plane).getMatrix().isDirect(), frame.isDirect());
    }
    // Kept: of the others a parameter measures what it did.
    const ERBoundedCylinder cylinder(tilted, 2, ERLimites(0, 2), ERLimites(5, 9));
    EXPECT_EQ(reversed(cylinder).getBoundU(), ERLimites(5, 9));
    EXPECT_EQ(reversed(cylinder)(1, 7), cylinder(1, 7));
}

// The extras of each class.

TEST(BoundedAnalytic, AxesHeightsAndRadiiCanBeReadAndSet) {
    const ERSegment3D moved({1, 2, 3}, {1, 2, 9});
    const auto expectAxis = [](const ERSegment3D& axis, const ERPoint3D& p1, const ERPoint3D& p2) {
        expectNear(axis.getP1(), p1, 1e-14);
        expectNear(axis.getP2(), p2, 1e-14);
    };
    ERBoundedCylinder cylinder(tilted, 2, 1.5, 0, 1);
    cylinder.getMatricePoint(2, 2);
    cylinder.diameter(8);
    EXPECT_EQ(cylinder.radius(), 4.0);
    EXPECT_NEAR(distance(cylinder.getMatricePoint(2, 2)(0, 0), cylinder.axe().getP1()), 4.0, 1e-14);
    cylinder.redefineDomainU(ERLimites(1, 3));
    cylinder.height(10);
    EXPECT_EQ(cylinder.NUdeb(), -3.0);
    expectAxis(cylinder.axe(), tilted >> ERPoint3D(0, 0, -3), tilted >> ERPoint3D(0, 0, 7));
    cylinder.axe(moved);
    expectAxis(cylinder.axe(), moved.getP1(), moved.getP2());
    EXPECT_EQ(cylinder.getBoundU(), ERLimites(-3, 3));
    EXPECT_EQ(cylinder.getBoundV(), ERLimites(0, 1));

    ERBoundedCone cone(tilted, std::atan(0.5), 2, 6);
    EXPECT_EQ(cone.height(), 4.0);
    EXPECT_NEAR(cone.diameter(-6), -6.0, 1e-14);
    EXPECT_NEAR(cone.topBase().radius(), 3.0, 1e-14);
    expectNear(cone.bottomBase()(1.0), cone(2, 1.0), 1e-14);
    cone.axe(moved);
    EXPECT_EQ(cone.getBoundU(), ERLimites(2, 8));
    expectAxis(cone.axe(), moved.getP1(), moved.getP2());

    ERBoundedTorus torus(tilted, 5, 2, 0, 1, 0, 1);
    torus.getMatricePoint(2, 2);
    torus.small_radius(3);
    expectNear(torus.getMatricePoint(2, 2)(0, 0), tilted >> ERPoint3D(8, 0, 0), 1e-14);
    EXPECT_NEAR(torus.dist2(tilted >> ERPoint3D(0, 9, 0)), 1.0, 1e-13);
    expectNear(torus.GetSpine()(pi / 2), tilted >> ERPoint3D(0, 5, 0), 1e-14);
    EXPECT_EQ(torus.GetSpine().ufin(), 1.0);
}

// The NURBS form runs where the surface does, at the parameters of straight lines too.
TEST(BoundedAnalytic, NurbsFormHasTheRangesAndDegrees) {
    const ERSpoleNURBS3D cone = ERBoundedCone(tilted, 0.4, 1, 3).ConvertToNurbs();
    EXPECT_EQ(cone.degreeU(), 1u);
    EXPECT_EQ(cone.degreeV(), 2u);
    expectNear(cone(2.2, 0), ERBoundedCone(tilted, 0.4, 1, 3)(2.2, 0), 1e-14);
    const ERBoundedPlane plane(tilted, ERLimites(4, -1), ERLimites(0, 1));
    EXPECT_EQ(plane.Convert2Nurbs().getBoundU(), ERLimites(4, -1));
    expectNear(plane.Convert2Nurbs()(3, 0.2), plane(3, 0.2), 1e-14);
    // A torus of 500 turns both ways would have sixteen million poles.
    const auto isDummy = [](double umax, double vmax) {
        return ERBoundedTorus(tilted, 5, 2, 0, umax, 0, vmax).Convert2Nurbs().isDummy();
    };
    EXPECT_EQ(isDummy(3141, 1), 0);
    EXPECT_EQ(isDummy(-1e300, 1), 0);
    EXPECT_EQ(isDummy(3141, 3141), 1);
    EXPECT_EQ(isDummy(1, infinity), 1);
    EXPECT_EQ(isDummy(nan, 1), 1);
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
    EXPECT_THAT(printed(torus), ::testing::StartsWith("ERBoundedTorus"));
}

}  // namespace
}  // namespace kerf::test
