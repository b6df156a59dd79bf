#include "kerf/values/info_point.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <sstream>

#include "kerf/values/surface_info_point.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {
namespace {

const double pi = std::acos(-1.0);

TEST(InfoPoint2D, TellsNormalAndRadiusOfACircle) {
    const double r = 2.5;
    for (double u : {0.0, 0.4, 2.0, 5.0}) {
        const double c = std::cos(u), s = std::sin(u);
        const ERInfoPoint2D info(u, -1, ERPoint2D(r * c, r * s), ERVector2D(-r * s, r * c),
                                 ERVector2D(-r * c, -r * s));
        EXPECT_NEAR(info.radius(), r, 1e-14);
        // To the left of the direction of travel, though the sense says otherwise: the centre.
        EXPECT_TRUE(isEqual(info.normale(), ERVector2D(-c, -s), 1e-15));
        EXPECT_EQ(info.tangente(), ERVector2D(-r * s, r * c));
    }
}

TEST(InfoPoint3D, TellsNormalAndRadiusOfAHelix) {
    const double r = 2, pitch = 0.5, u = 0.7, c = std::cos(u), s = std::sin(u);
    const ERInfoPoint3DWF info(u, 1, ERPoint3D(r * c, r * s, pitch * u),
                               ERVector3D(-r * s, r * c, pitch), ERVector3D(-r * c, -r * s, 0));
    EXPECT_NEAR(info.radius(), (r * r + pitch * pitch) / r, 1e-14);
    EXPECT_TRUE(isEqual(info.normale(), ERVector3D(-c, -s, 0), 1e-15));
    EXPECT_EQ(info.isTgteSingular(), 0);
    EXPECT_EQ(info.isNormSingular(), 0);
}

TEST(InfoPoint, AStraightEvaluationHasTheLargestRadius) {
    const double largest = 1.7976931348623157e308;
    EXPECT_EQ(ERInfoPoint2D(0, 1, {}, {1, 2}, {2, 4}).radius(), largest);
    EXPECT_EQ(ERInfoPoint2D(0, 1, {}, {1, 0}, {0, 1e-11}).radius(), largest);
    EXPECT_NE(ERInfoPoint2D(0, 1, {}, {1, 0}, {0, 1.1e-11}).radius(), largest);
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {1, 2, 3}, {2, 4, 6}).radius(), largest);
}

TEST(InfoPoint, SingularTangentsAndNormalsAreExactTests) {
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {}, {1, 0, 0}).isTgteSingular(), 1);
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {1e-100, 0, 0}, {1, 0, 0}).isTgteSingular(), 0);
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {1, 0, 0}, {}).isNormSingular(), 1);
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {1, 0, 0}, {-3, 0, 0}).isNormSingular(), 1);
    EXPECT_EQ(ERInfoPoint3DWF(0, 1, {}, {1, 0, 0}, {1, 1e-20, 0}).isNormSingular(), 0);
    EXPECT_EQ(ERInfoPoint2D().sense(), 1);
    EXPECT_EQ(ERInfoPoint2D().normale(), ERVector2D());
}

// The inserted value goes into the derivatives too; only the point is translated.
TEST(InfoPoint, APlanePointIsCarriedIntoSpace) {
    const ERInfoPoint2D planar(0.25, -1, {1, 2}, {3, 4}, {5, 6});
    const ERPmIsometrie3D frame = ERTranslation3D(ERPoint3D(100, 200, 300));
    const ERInfoPoint3DWF carried(planar, frame, Coord3D::CoordY, 9.0);
    EXPECT_EQ(carried.parameter(), 0.25);
    EXPECT_EQ(carried.sense(), -1);
    EXPECT_EQ(carried.point(), ERPoint3D(101, 209, 302));
    EXPECT_EQ(carried.tangente(), ERVector3D(3, 9, 4));
    EXPECT_EQ(carried.secondDerivative(), ERVector3D(5, 9, 6));
}

TEST(InfoPoint, PrintsItsLines) {
    std::ostringstream text;
    text << ERInfoPoint2D(0.5, 1, {1, 2}, {2, 0}, {0, 4}) << '\n'
         << ERInfoPoint3DWF(0.5, 1, {1, 2, 3}, {2, 0, 0}, {0, 4, 0}) << '\n';
    EXPECT_EQ(text.str(),
              "- Parametre     : 0.5\n"
              "- Sens          : 1\n"
              "- Point courant : [1,2]\n"
              "- Tangente      : {2,0}\n"
              "- Normale       : {-0,1}\n"
              "- courbure      : 1\n"
              "\n"
              "- Parametre         :  u = 0.5\n"
              "- Sens              :  s = 1\n"
              "- Point courant     :  P = [1,2,3]\n"
              "- Tangente          :  T = <2,0,0>\n"
              "- Normale           :  N = <0,1,0>\n"
              "- Rayon de courbure :  R = 1\n"
              "\n");
}

// Surfaces in closed form. S_u ^ S_v points outwards, so what bends away from it has a negative
// curvature.

struct Derivatives {
    ERPoint3D p;
    ERVector3D u, v, uu, uv, vv;
};

ERInfoPoint3DSurf surfacePoint(const Derivatives& d) {
    ERMatrix<ERPoint3D> table(3, 3);
    table(0, 0) = d.p;
    table(0, 1) = ERPoint3D(d.u);
    table(0, 2) = ERPoint3D(d.uu);
    table(1, 0) = ERPoint3D(d.v);
    table(1, 1) = ERPoint3D(d.uv);
    table(2, 0) = ERPoint3D(d.vv);
    return ERInfoPoint3DSurf(ERPoint2D(0.1, 0.2), table);
}

// Radii R (of the axis circle) and r (of the tube); a sphere when R is 0.
ERInfoPoint3DSurf torus(double R, double r, double u, double v) {
    const double cu = std::cos(u), su = std::sin(u), cv = std::cos(v), sv = std::sin(v);
    const double w = R + r * cv;
    return surfacePoint({{w * cu, w * su, r * sv},
                         {-w * su, w * cu, 0},
                         {-r * sv * cu, -r * sv * su, r * cv},
                         {-w * cu, -w * su, 0},
                         {r * sv * su, -r * sv * cu, 0},
                         {-r * cv * cu, -r * cv * su, -r * sv}});
}

// The graph z = f of a quadratic form at the origin, in parameters sheared by `shear`: the
// principal curvatures are k1 along x and k2 along y whatever the parameters.
ERInfoPoint3DSurf graph(double k1, double k2, double shear) {
    // x = u + shear v, y = v.
    return surfacePoint({{0, 0, 0},
                         {1, 0, 0},
                         {shear, 1, 0},
                         {0, 0, k1},
                         {0, 0, k1 * shear},
                         {0, 0, k1 * shear * shear + k2}});
}

TEST(SurfaceInfoPoint, CurvaturesOfATorus) {
    const double R = 5, r = 2;
    for (double v : {0.0, 0.8, 2.0, pi, 4.0}) {
        const ERInfoPoint3DSurf info = torus(R, r, 0.6, v);
        const double tube = -1 / r, around = -std::cos(v) / (R + r * std::cos(v));
        EXPECT_NEAR(info.courbureGaussienne(), tube * around, 1e-14);
        EXPECT_NEAR(info.courbureMoyenne(), (tube + around) / 2, 1e-14);
        EXPECT_NEAR(info.courbureNormale(0, 1), tube, 1e-14);
        EXPECT_NEAR(info.courbureNormale(3, 0), around, 1e-14);
        double k1 = 99, k2 = 99;
        info.courburesExtremes(k1, k2);
        EXPECT_NEAR(k1, std::min(tube, around), 1e-13);
        EXPECT_NEAR(k2, std::max(tube, around), 1e-13);
        const double cu = std::cos(0.6), su = std::sin(0.6), cv = std::cos(v);
        EXPECT_TRUE(isEqual(info.normale(), ERVector3D(cv * cu, cv * su, std::sin(v)), 1e-14));
    }
}

TEST(SurfaceInfoPoint, CurvaturesOfASphere) {
    const ERInfoPoint3DSurf info = torus(0, 4, 1.0, 0.7);
    EXPECT_NEAR(info.courbureGaussienne(), 1.0 / 16, 1e-15);
    EXPECT_NEAR(info.courbureMoyenne(), -0.25, 1e-15);
    EXPECT_NEAR(info.courbureNormale(0.3, -2), -0.25, 1e-15);
}

TEST(SurfaceInfoPoint, PrincipalDirectionsDoNotDependOnTheParameters) {
    for (double shear : {0.5, -1.5}) {
        const ERInfoPoint3DSurf info = graph(-2, 3, shear);
        double k1 = 0, k2 = 0;
        info.courburesExtremes(k1, k2);
        EXPECT_NEAR(k1, -2, 1e-13);
        EXPECT_NEAR(k2, 3, 1e-13);
        ERVector3D d1, d2;
        info.directionPrincipale(d1, d2);
        EXPECT_NEAR(d1.norme(), 1, 1e-15);
        EXPECT_NEAR(d1 * d2, 0, 1e-14);
        // One along x, the other along y.
        EXPECT_NEAR(std::fabs(d1.i()) + std::fabs(d2.i()), 1, 1e-14);
        EXPECT_NEAR(std::fabs(d1.j()) + std::fabs(d2.j()), 1, 1e-14);
    }
}

TEST(SurfaceInfoPoint, AnswersOneDirectionTwiceWhereParameterLinesAreLinesOfCurvature) {
    ERVector3D d1, d2;
    graph(-2, 3, 0).directionPrincipale(d1, d2);
    EXPECT_EQ(d1, ERVector3D(1, 0, 0));
    EXPECT_EQ(d2, ERVector3D(1, 0, 0));
    graph(2, 2, 0).directionPrincipale(d1, d2);
    EXPECT_EQ(d2, ERVector3D(1, 0, 0));
}

// At an umbilic the discriminant is zero but for rounding; where it comes out negative nothing is
// written.
TEST(SurfaceInfoPoint, AnUnsolvableQuadraticLeavesTheResults) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> draw(0.1, 1.4);
    int untouched = 0;
    for (int i = 0; i < 500; ++i) {
        double k1 = 99, k2 = 98;
        torus(0, 3, draw(random), draw(random)).courburesExtremes(k1, k2);
        if (k1 == 99 && k2 == 98) {
            ++untouched;
        } else {
            EXPECT_NEAR(k1, -1.0 / 3, 1e-7);
            EXPECT_NEAR(k2, -1.0 / 3, 1e-7);
        }
    }
    EXPECT_GT(untouched, 0);
    EXPECT_LT(untouched, 500);
}

TEST(SurfaceInfoPoint, DegenerateParametrisationsTakeTheOtherSecondDerivative) {
    const ERVector3D x(2, 0, 0), z(0, 0, 5), none, tiny(1e-11, -1e-11, 1e-11);
    EXPECT_EQ(surfacePoint({{}, tiny, none, x, x, z}).normale(), ERVector3D());
    EXPECT_EQ(surfacePoint({{}, tiny, x, x, x, z}).normale(), ERVector3D(0, 0, 1));
    EXPECT_EQ(surfacePoint({{}, z, none, x, z, z}).normale(), ERVector3D(1, 0, 0));
    EXPECT_EQ(surfacePoint({{}, z, x, x, z, z}).normale(), ERVector3D(0, 1, 0));
    const ERVector3D small(1.1e-11, 0, 0);
    EXPECT_TRUE(
        isEqual(surfacePoint({{}, small, z, x, x, z}).normale(), ERVector3D(0, -1, 0), 1e-15));
}

TEST(SurfaceInfoPoint, TransformsThePointAsAPointAndTheRestAsVectors) {
    const ERInfoPoint3DSurf original = torus(5, 2, 0.6, 0.8);
    ERInfoPoint3DSurf info = original;
    const ERPmIsometrie3D frame =
        ERTranslation3D(ERPoint3D(1, 2, 3)) * ERRotation3D(Coord3D::CoordZ, 0.5);
    info.transformFrom(frame);
    EXPECT_TRUE(isEqual(info.point(), frame >> original.point(), 1e-14));
    for (unsigned int row = 0; row < 3; ++row) {
        for (unsigned int col = 0; col < 3; ++col) {
            if (row == 0 && col == 0) continue;
            const ERVector3D v(original.derivatives()(row, col));
            EXPECT_TRUE(isEqual(ERVector3D(info.derivatives()(row, col)), frame >> v, 1e-14));
        }
    }
    EXPECT_NEAR(info.courbureGaussienne(), original.courbureGaussienne(), 1e-14);
    // The table was shared with the copy, which is as it was.
    EXPECT_EQ(original.point(), torus(5, 2, 0.6, 0.8).point());
    info.transformTo(frame);
    EXPECT_TRUE(isEqual(info.tangenteV(), original.tangenteV(), 1e-14));
}

TEST(SurfaceInfoPoint, PrintsParametersAndPoint) {
    std::ostringstream text;
    text << surfacePoint({{1, 2, 3}, {}, {}, {}, {}, {}});
    EXPECT_EQ(text.str(), "- Parametre     :  u = [0.1,0.2]\n- Point courant :  P = [1,2,3]\n");
    EXPECT_EQ(ERInfoPoint3DSurf().parameter(), ERPoint2D());
}

}  // namespace
}  // namespace kerf
