#include "kerf/surfaces/arc_builders.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

double offOf(const ERSurface& surface, const ERPoint3D& p) {
    double distance = nan;
    surface.SignedMinimalDistance(p, distance);
    return distance;
}

// Whether the surface holds the longer arc, with parameters in the ranges but for rounding, has the
// other one on it, and sweeps as the longer arc does in a range of angles.
template <class Surface>
void expectHolds(Surface surface, const ERLimites& angles, const ERArc3D& longer,
                 const ERArc3D& shorter) {
    SCOPED_TRACE(surface.className());
    EXPECT_NEAR(angles.amplitude(), std::fabs(longer.ufin() - longer.udeb()), 1e-11);
    EXPECT_NEAR(offOf(surface, shorter(1.0)), 0.0, 1e-11);
    constexpr double rounding = 1e-9;
    surface.setBound(ERLimites(surface.udeb() - rounding, surface.ufin() + rounding),
                     ERLimites(surface.vdeb() - rounding, surface.vfin() + rounding));
    for (const double t : {0.0, 0.3, 1.0}) {
        const ERPoint3D p = longer(ERLimites(longer.udeb(), longer.ufin())(t));
        ERPoint2D uv;
        ASSERT_EQ(surface.ProjectionNormale(p, 0.0, uv, 1), 1) << p;
        expectNear(surface(uv.x(), uv.y()), p, 1e-11);
    }
}

// Pairs of arcs are cut from surfaces of random sizes and frames, with the arcs' normals, senses,
// angular origins and order drawn too.
TEST(ArcBuilders, BuildTheSurfaceThatTheArcsWereCutFrom) {
    std::mt19937 random(29);
    const auto draw = [&](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    const auto vector = [&] { return ERVector3D(draw(-3, 3), draw(-3, 3), draw(-3, 3)); };
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(drawnFrom(29, i));
        const ERPmIsometrie3D right = ERChgRepere3D(vector(), vector(), ERPoint3D(vector()));
        const ERPmIsometrie3D frame = i % 3 == 0 ? right * ERSymetrie3D(Coord3D::CoordY) : right;
        // An arc round a Z axis at a height, from either side.
        const auto around = [&](const ERPmIsometrie3D& about, double height, double radius,
                                double sweep) {
            const ERPmIsometrie3D side =
                random() % 2 == 0 ? ERIdentity3D() : ERRotation3D(Coord3D::CoordX, pi);
            const double start = draw(-6, 6);
            return ERArc3D(about * ERTranslation3D(ERPoint3D(0, 0, height)) * side *
                               ERRotation3D(Coord3D::CoordZ, draw(0, 6)),
                           radius, start, start + (random() % 2 == 0 ? sweep : -sweep));
        };
        const double low = draw(-2, 0), high = draw(0.5, 2), r = draw(0.5, 2);
        const double longer = draw(2, 6), shorter = draw(0.1, 1.5);

        ERBoundedCone cone;
        const ERArc3D wide = around(frame, high, 2 * r, longer);
        const ERArc3D narrow = around(frame, low, r, shorter);
        ASSERT_EQ(CreateConeFrom2Arcs(wide, narrow, cone), 1);
        expectHolds(cone, cone.getBoundV(), wide, narrow);
        EXPECT_NEAR(cone.height(), high - low, 1e-12);

        ERBoundedCylinder cylinder;
        const ERArc3D equal = around(frame, low, 2 * r, shorter);
        ASSERT_EQ(CreateCylinderFrom2Arcs(equal, wide, cylinder), 1);
        expectHolds(cylinder, cylinder.getBoundV(), wide, equal);
        expectNear(cylinder.axe().getP1(), equal.center(), 1e-12);
        expectNear(cylinder.axe().getP2(), wide.center(), 1e-12);

        // Two parallels of a sphere about the frame's origin; both may lie on one side of it.
        ERBoundedSphere sphere;
        const double size = 3, latitude = draw(-1.2, 0.5), other = latitude + draw(0.2, 0.7);
        const auto parallel = [&](double at, double sweep) {
            return around(frame, size * std::sin(at), size * std::cos(at), sweep);
        };
        const ERArc3D south = parallel(latitude, longer), north = parallel(other, shorter);
        ASSERT_EQ(CreateSphereFrom2Arcs(south, north, sphere), 1);
        expectNear(sphere.center(), frame.origine(), 1e-11);
        expectHolds(sphere, sphere.getBoundU(), south, north);
        expectNear(ERPoint2D(sphere.vdeb(), sphere.vfin()), {latitude, other}, 1e-11);

        // Meridian circles, whose planes are apart by less than half a turn.
        ERBoundedTorus torus;
        const double apart = draw(0.2, 3);
        const auto meridian = [&](double longitude, double sweep) {
            return around(frame * ERRotation3D(Coord3D::CoordZ, longitude) *
                              ERTranslation3D(ERPoint3D(5, 0, 0)) *
                              ERRotation3D(Coord3D::CoordX, pi / 2),
                          0.0, r, sweep);
        };
        const ERArc3D first = meridian(0.7, longer), second = meridian(0.7 + apart, shorter);
        ASSERT_EQ(CreateTorusFrom2Arcs(first, second, torus), 1);
        expectHolds(torus, torus.getBoundV(), first, second);
        EXPECT_NEAR(torus.large_radius(), 5.0, 1e-11);
        EXPECT_NEAR(torus.getBoundU().amplitude(), apart, 1e-11);
    }
}

TEST(ArcBuilders, ConeAxisPointsToTheLargerCircle) {
    ERBoundedCone cone;
    for (const double axis : {1.0, -3.0}) {
        ASSERT_EQ(CreateBoundedCone({0, 0, axis}, {1, 1, 6}, 1, {1, 1, 2}, 3, cone), 1);
        expectNear(cone.apex(), {1, 1, 8}, 1e-14);
        expectNear(cone.direction(), {0, 0, -1}, 1e-15);
        EXPECT_EQ(cone.getBoundU(), ERLimites(2, 6));
        EXPECT_EQ(cone.NUfin(), 6.0);
        EXPECT_EQ(cone.getBoundV(), ERLimites(0, twoPi));
        EXPECT_NEAR(cone.demiAngle(), std::atan(0.5), 1e-15);
    }
    // A circle of radius 0 is the apex.
    ASSERT_EQ(CreateBoundedCone({0, 0, 1}, {0, 0, 0}, 0, {0, 0, 2}, 2, cone), 1);
    EXPECT_EQ(cone.getBoundU(), ERLimites(0, 2));
}

TEST(ArcBuilders, ArcsThatDoNotFitLeaveTheResult) {
    const auto arc = [](const ERPoint3D& centre, const ERVector3D& normal, double r) {
        return ERArc3D(centre, normal, r, 0, 1);
    };
    const ERVector3D z(0, 0, 1), x(1, 0, 0), y(0, 1, 0);
    const ERArc3D base = arc({}, z, 2), side = arc({0, 5, 0}, x, 1);
    ERBoundedCone cone(ERPmIsometrie3D(), 0.25, 1, 2);
    ERBoundedCylinder cylinder(ERPmIsometrie3D(), 1, 7, 0, 1);
    ERBoundedSphere sphere(ERPmIsometrie3D(), 7, {0, 1}, {0, 1});
    ERBoundedTorus torus(ERPmIsometrie3D(), 7, 1, 0, 1, 0, 1);
    EXPECT_EQ(CreateConeFrom2Arcs(base, arc({0, 0, 3}, z, 2), cone), 0);
    EXPECT_EQ(CreateConeFrom2Arcs(base, arc({0, 0, 0}, z, 1), cone), 0);
    EXPECT_EQ(CreateBoundedCone({}, {0, 0, 0}, 1, {0, 0, 1}, 2, cone), 0);
    EXPECT_EQ(CreateBoundedCone(z, {0, 0, 0}, nan, {0, 0, 1}, 2, cone), 0);
    for (const ERArc3D& other : {arc({0, 0, 3}, z, 2.1), base, arc({1, 0, 3}, z, 2),
                                 arc({0, 0, nan}, z, 2), arc({0, 0, 3}, x, 2)})
        EXPECT_EQ(CreateCylinderFrom2Arcs(base, other, cylinder), 0);
    for (const ERArc3D& other : {arc({}, z, 1), arc({0, 0, 3}, x, 1)})
        EXPECT_EQ(CreateSphereFrom2Arcs(base, other, sphere), 0);
    for (const ERArc3D& other : {arc({9, 0, 0}, -x, 1), arc({5, 0, 0}, y, 1.1),
                                 arc({6, 0, 0}, y, 1), arc({5, 0, 1}, y, 1)})
        EXPECT_EQ(CreateTorusFrom2Arcs(side, other, torus), 0);
    EXPECT_EQ(CreateTorusFrom2Arcs(arc({}, x, 1), arc({}, y, 1), torus), 0);
    EXPECT_EQ(cone.demiAngle(), 0.25);
    EXPECT_EQ(cylinder.radius(), 7.0);
    EXPECT_EQ(sphere.radius(), 7.0);
    EXPECT_EQ(torus.large_radius(), 7.0);
    EXPECT_EQ(CreateTorusFrom2Arcs(side, arc({5, 0, 0}, y, 1), torus), 1);
}

TEST(ArcBuilders, PlaneOfAnArcIsTheSquareAroundIt) {
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, 2), ERPoint3D(4, 5, 6));
    for (const auto& [radius, half] : {std::pair(3, 3), std::pair(0, 1), std::pair(-2, 2)}) {
        const ERBoundedPlane plane = CreateBoundedPlane(ERArc3D(frame, radius, 0, 1));
        EXPECT_EQ(plane.getMatrix().isEqual(frame), 1);
        EXPECT_EQ(plane.getBoundU(), ERLimites(-half, half));
        EXPECT_EQ(plane.getBoundV(), ERLimites(-half, half));
    }
}

}  // namespace
}  // namespace kerf::test
