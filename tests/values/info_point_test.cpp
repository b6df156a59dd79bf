#include "kerf/values/info_point.h"

#include "kerf/values/surface_info_point.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

TEST(InfoPoint, TellsNormalAndRadiusOfACircleAndAHelix) {
    const double r = 2.5, pitch = 0.5;
    for (double u : {0.0, 0.4, 2.0, 5.0}) {
        const double c = std::cos(u), s = std::sin(u);
        const ERInfoPoint2D circle(u, -1, {r * c, r * s}, {-r * s, r * c}, {-r * c, -r * s});
        EXPECT_NEAR(circle.radius(), r, 1e-14);
        // To the left of the direction of travel, though the sense says otherwise: the centre.
        EXPECT_TRUE(isEqual(circle.normale(), ERVector2D(-c, -s), 1e-15));
        const ERInfoPoint3DWF helix(u, 1, {}, {-r * s, r * c, pitch}, {-r * c, -r * s, 0});
        EXPECT_NEAR(helix.radius(), (r * r + pitch * pitch) / r, 1e-14);
        EXPECT_TRUE(isEqual(helix.normale(), ERVector3D(-c, -s, 0), 1e-15));
    }
}

TEST(InfoPoint, AStraightEvaluationHasTheLargestRadiusAndSingularitiesAreExact) {
    for (const double bend : {1e-11, 1.1e-11})
        EXPECT_EQ(ERInfoPoint2D(0, 1, {}, {1, 0}, {0, bend}).radius() == largest, bend == 1e-11);
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {1e-100, 0, 0}, {1, 0, 0}).isTgteSingular(), 0);
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {1, 0, 0}, {1, 1e-20, 0}).isNormSingular(), 0);
}

// The inserted value goes into the derivatives too; only the point is translated. The frame takes x
// to y and y to -x.
TEST(InfoPoint, APlanePointIsCarriedIntoSpace) {
    const ERPmIsometrie3D frame =
        ERTranslation3D(ERPoint3D(100, 200, 300)) * ERRotation3D(Coord3D::CoordZ, pi / 2);
    const ERInfoPoint2D planar(0.25, -1, {1, 2}, {3, 4}, {5, 6});
    const ERInfoPoint3DWF carried(planar, frame, Coord3D::CoordY, 9.0);
    expectNear(carried.point(), ERPoint3D(91, 201, 302));
    expectNear(carried.tangente(), ERVector3D(-9, 3, 4));
    expectNear(carried.secondDerivative(), ERVector3D(-9, 5, 6));
    EXPECT_EQ(carried.parameter(), 0.25);
    EXPECT_EQ(carried.sense(), -1);
}

// Derivatives: the point, u, uu, v, uv, vv.
ERInfoPoint3DSurf surfacePoint(const ERPoint3D& p, const ERVector3D& u, const ERVector3D& uu,
                               const ERVector3D& v, const ERVector3D& uv, const ERVector3D& vv) {
    const ERPoint3D none,
        table[] = {p,    ERPoint3D(u),  ERPoint3D(uu), ERPoint3D(v), ERPoint3D(uv),
                   none, ERPoint3D(vv), none,          none};
    return ERInfoPoint3DSurf(ERPoint2D(0.1, 0.2), ERMatrix<ERPoint3D>(table, 3, 3));
}

// Radii R (of the axis circle) and r (of the tube); a sphere when R is 0. The normal points
// outwards, so what bends away from it has a negative curvature.
ERInfoPoint3DSurf torus(double R, double r, double u, double v) {
    const double cu = std::cos(u), su = std::sin(u), a = r * std::cos(v), b = r * std::sin(v);
    const double w = R + a;
    return surfacePoint({w * cu, w * su, b}, {-w * su, w * cu, 0}, {-w * cu, -w * su, 0},
                        {-b * cu, -b * su, a}, {b * su, -b * cu, 0}, {-a * cu, -a * su, -b});
}

// A graph at the origin with curvatures k1 along x = u + shear v and k2 along y = v.
ERInfoPoint3DSurf graph(double k1, double k2, double shear) {
    return surfacePoint({}, {1, 0, 0}, {0, 0, k1}, {shear, 1, 0}, {0, 0, k1 * shear},
                        {0, 0, k1 * shear * shear + k2});
}

TEST(SurfaceInfoPoint, CurvaturesOfATorus) {
    for (double v : {0.0, 0.8, 2.0, pi, 4.0}) {
        const double tube = -1.0 / 2, around = -std::cos(v) / (5 + 2 * std::cos(v));
        const ERInfoPoint3DSurf info = torus(5, 2, 0.6, v);
        EXPECT_NEAR(info.courbureGaussienne(), tube * around, 1e-14);
        EXPECT_NEAR(info.courbureMoyenne(), (tube + around) / 2, 1e-14);
        EXPECT_NEAR(info.courbureNormale(0, 1), tube, 1e-14);
        double k1 = 99, k2 = 99;
        info.courburesExtremes(k1, k2);
        EXPECT_NEAR(k1, tube, 1e-13);
        EXPECT_NEAR(k2, around, 1e-13);
    }
}

TEST(SurfaceInfoPoint, PrincipalDirectionsDoNotDependOnTheParameters) {
    ERVector3D d1, d2;
    for (double shear : {0.5, -1.5}) {
        graph(-2, 3, shear).directionPrincipale(d1, d2);
        EXPECT_NEAR(std::fabs(d1.i()) + std::fabs(d2.i()), 1, 1e-14);  // one along x
        EXPECT_NEAR(std::fabs(d1.j()) + std::fabs(d2.j()), 1, 1e-14);  // the other along y
    }
    // One direction twice where parameter lines are lines of curvature.
    graph(-2, 3, 0).directionPrincipale(d1, d2);
    EXPECT_EQ(d1, ERVector3D(1, 0, 0));
    EXPECT_EQ(d2, d1);
}

// At an umbilic the discriminant is zero but for rounding; where it comes out negative nothing is
// written.
TEST(SurfaceInfoPoint, AnUnsolvableQuadraticLeavesTheResults) {
    int untouched = 0;
    for (int i = 0; i < 500; ++i) {
        double k1 = 99, k2 = 98;
        torus(0, 3, 0.1 + 0.002 * i, 0.7).courburesExtremes(k1, k2);
        untouched += k1 == 99 && k2 == 98;
    }
    EXPECT_GT(untouched, 0);
}

TEST(SurfaceInfoPoint, DegenerateParametrisationsTakeTheOtherSecondDerivative) {
    const ERVector3D x(2, 0, 0), z(0, 0, 5), tiny(1e-11, -1e-11, 1e-11), small(1.1e-11, 0, 0);
    EXPECT_EQ(surfacePoint({}, tiny, x, x, x, z).normale(), ERVector3D(0, 0, 1));
    EXPECT_EQ(surfacePoint({}, z, x, x, z, z).normale(), ERVector3D(0, 1, 0));
    EXPECT_TRUE(isEqual(surfacePoint({}, small, x, z, x, z).normale(), {0, -1, 0}, 1e-15));
}

TEST(SurfaceInfoPoint, TransformsThePointAsAPointAndTheRestAsVectors) {
    const ERInfoPoint3DSurf original = torus(5, 2, 0.6, 0.8);
    const ERPmIsometrie3D frame =
        ERTranslation3D(ERPoint3D(1, 2, 3)) * ERRotation3D(Coord3D::CoordZ, 0.5);
    ERInfoPoint3DSurf info = original;  // shares the table until it is moved
    info.derivatives()(2, 2) = ERPoint3D(4, 5, 6);
    const ERMatrix<ERPoint3D> before = info.derivatives();
    info.transformFrom(frame);
    expectNear(info.point(), frame >> original.point(), 1e-14);
    const auto entry = [](const ERMatrix<ERPoint3D>& table, unsigned int i) {
        return table.data()[i];
    };
    for (unsigned int i = 1; i < 9; ++i) {
        const ERVector3D moved(entry(info.derivatives(), i));
        expectNear(moved, frame >> ERVector3D(entry(before, i)), 1e-14);
    }
    info.transformTo(frame);
    for (unsigned int i = 0; i < 9; ++i)
        expectNear(entry(info.derivatives(), i), entry(before, i), 1e-14);
}

}  // namespace
}  // namespace kerf
