#include "kerf/values/coordinate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "kerf/platform/archive.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

void expectNear(const Coordinate& actual, const Coordinate& expected, double tolerance) {
    EXPECT_TRUE(isEqual(actual.AsPoint3D(), expected.AsPoint3D(), tolerance))
        << actual.AsPoint3D() << " instead of " << expected.AsPoint3D();
}

// A vector of random direction, each component at least a twentieth of the length (more than one
// degree off every plane of the axes), and of random size over twelve decades.
ERVector3D randomVector(std::mt19937& random, double size) {
    std::uniform_real_distribution<double> component(-1.0, 1.0);
    for (;;) {
        ERVector3D v(component(random), component(random), component(random));
        v.normalize();
        if (std::fabs(v.i()) > 0.05 && std::fabs(v.j()) > 0.05 && std::fabs(v.k()) > 0.05)
            return v *= size;
    }
}

TEST(Coordinate, IsOneStorageWhateverItIsSeenAs) {
    Coordinate c;
    EXPECT_TRUE(c == 0.0);
    c.Init(ERPoint3D(0, 3, 4));
    ERPoint3D& p = c.AsPoint3D();
    p.x() = 12.0;
    EXPECT_EQ(c[0], 12.0);
    c.AsVector3D().normalize();
    EXPECT_EQ(c.AsPoint3D(), ERPoint3D(12.0 / 13.0, 3.0 / 13.0, 4.0 / 13.0));
    c[2] = 7.0;
    EXPECT_EQ(c.AsVector3D().k(), 7.0);
    const Coordinate copy = c;
    c.Init(ERVector3D(5, 5, 5));
    EXPECT_TRUE(c == 5.0);
    c[1] = std::nextafter(5.0, 6.0);
    EXPECT_FALSE(c == 5.0);
    EXPECT_EQ(copy.AsPoint3D().z(), 7.0);
}

TEST(Coordinate, ArchivesThreeDoubles) {
    test::TemporaryFile temporary;
    CFile file(temporary.path(), CFile::modeCreate | CFile::modeReadWrite);
    {
        CArchive storing(&file, CArchive::store);
        storing << Coordinate(1.5, -2.0, 1e300) << 0.25;
    }
    EXPECT_EQ(file.GetLength(), 32);

    file.Seek(0, CFile::begin);
    CArchive archive(&file, CArchive::load);
    Coordinate c;
    archive >> c;
    expectNear(c, Coordinate(1.5, -2.0, 1e300), 0.0);
    EXPECT_THROW(archive >> c, CArchiveException);
    expectNear(c, Coordinate(1.5, -2.0, 1e300), 0.0);
}

// Published values: ERFA (BSD-3-Clause), src/t_erfa_c.c, tests of p2s, s2p and s2c; the angles, in
// radians there, recomputed in degrees.
TEST(CoordinateConversion, AgreesWithPublishedSphericalCoordinates) {
    expectNear(Cartesian2Spherical(Coordinate(100.0, -50.0, 25.0)),
               Coordinate(-26.56505117707799, 12.604382648379183, 114.564392373896), 1e-12);
    const Coordinate beyondHalfATurn(-183.91945223699426, 7.047380880109126, 0.456);
    const Coordinate cartesian(-0.4514964673880165, 0.030933942773425867, 0.05594668105108779);
    expectNear(Spherical2Cartesian(beyondHalfATurn), cartesian, 1e-15);
    expectNear(Cartesian2Spherical(cartesian),
               Coordinate(360.0 - 183.91945223699426, 7.047380880109126, 0.456), 1e-12);
    expectNear(AZ_EL2IJK(Coordinate(172.59207662725788, -57.23848373356924, 99.0)),
               Coordinate(-0.5366267667260524, 0.06977111097651453, -0.8409302618566215), 1e-15);
}

TEST(CoordinateConversion, GivesTheFormsOfKnownPoints) {
    const double third = std::asin(1.0 / 3.0) * 180.0 / std::acos(-1.0);
    expectNear(Cartesian2Cylindrical(Coordinate(5, 5, -3)), Coordinate(45, std::sqrt(50.0), -3),
               1e-14);
    expectNear(Cartesian2Cylindrical(Coordinate(-3, 4, 7)), Coordinate(126.86989764584402, 5, 7),
               1e-13);
    expectNear(Cylindrical2Cartesian(Coordinate(-120, 2, 7)), Coordinate(-1, -std::sqrt(3.0), 7),
               1e-15);
    expectNear(Cylindrical2Cartesian(Coordinate(60, -2, 7)), Coordinate(-1, -std::sqrt(3.0), 7),
               1e-15);
    expectNear(Cartesian2Spherical(Coordinate(2, 2, -1)), Coordinate(45, -third, 3), 1e-13);
    expectNear(Cartesian2Spherical(Coordinate(0, 0, -2)), Coordinate(0, -90, 2), 1e-14);
    expectNear(IJK2AZ_EL(Coordinate(20, 20, -10)), Coordinate(45, -third, 1), 1e-13);
    expectNear(IJK2ABC(Coordinate(1, 1, -1)), Coordinate(-45, 135, 45), 1e-13);
    expectNear(IJK2IJK(Coordinate(-3, 0, 4)), Coordinate(-0.6, 0, 0.8), 1e-16);
}

TEST(CoordinateConversion, HasNoDirectionForZeros) {
    EXPECT_TRUE(Cartesian2Cylindrical(Coordinate()) == 0.0);
    EXPECT_TRUE(Cartesian2Spherical(Coordinate()) == 0.0);
    EXPECT_TRUE(IJK2ABC(Coordinate()) == 0.0);
    EXPECT_TRUE(IJK2IJK(Coordinate()) == 0.0);
    expectNear(IJK2AZ_EL(Coordinate()), Coordinate(0, 0, 1), 0.0);
}

TEST(CoordinateConversion, KeepsDirectionsWhoseSquaresAreOutOfRange) {
    for (double size : {1e-170, 1e-160, 1e-155, 1e160, 1e300}) {
        SCOPED_TRACE(size);
        const Coordinate spherical = Cartesian2Spherical(Coordinate(2 * size, 2 * size, -size));
        expectNear(Coordinate(spherical[0], spherical[1], spherical[2] / size),
                   Coordinate(45, -19.471220634490692, 3), 1e-13);
        expectNear(IJK2AZ_EL(Coordinate(0, 0, size)), Coordinate(0, 90, 1), 1e-13);
        expectNear(IJK2IJK(Coordinate(3 * size, 0, 4 * size)), Coordinate(0.6, 0, 0.8), 1e-15);
    }
}

// Oracle: the inverse. The error is that of an angle of at most 180 degrees: some units in the last
// place of 180, in radians, times the length.
TEST(CoordinateConversion, ComesBackFromEveryForm) {
    std::mt19937 random(35);
    std::uniform_real_distribution<double> decade(-6.0, 6.0);
    for (int i = 0; i < 500; ++i) {
        const double size = std::pow(10.0, decade(random));
        Coordinate c, unit;
        c.Init(randomVector(random, size));
        unit.Init(c.AsVector3D().getnormalized());
        SCOPED_TRACE(testing::Message() << c.AsPoint3D());
        expectNear(Cylindrical2Cartesian(Cartesian2Cylindrical(c)), c, 4e-15 * size);
        expectNear(Spherical2Cartesian(Cartesian2Spherical(c)), c, 4e-15 * size);
        expectNear(AZ_EL2IJK(IJK2AZ_EL(c)), unit, 4e-15);
        // The tangents amplify by up to 20, the smallest component's ratio.
        expectNear(ABC2IJK(IJK2ABC(c)), unit, 2e-13);
    }
}

TEST(Abc2Ijk, ComesBackForVectorsInThePlanesOfTheAxes) {
    expectNear(ABC2IJK(Coordinate(90, 0, 0)), Coordinate(0, 0, 1), 0.0);
    for (int i = -2; i <= 2; ++i)
        for (int j = -2; j <= 2; ++j)
            for (int k = -2; k <= 2; ++k) {
                if (i == 0 && j == 0 && k == 0) continue;
                const Coordinate v(i, j, k);
                SCOPED_TRACE(v.AsPoint3D());
                expectNear(ABC2IJK(IJK2ABC(v)), IJK2IJK(v), 1e-14);
            }
}

// int(-0.5) and int(0.9) are both 0, so an angle within a degree of 90 counts as 90. Below -90 the
// rule reaches one degree too, above -90 it does not.
TEST(Abc2Ijk, LosesFractionsOfADegreeNearARightAngle) {
    const double half = 0.5, root = std::sqrt(0.75);
    for (double a : {89.01, 89.5, 90.0, 90.9})
        expectNear(ABC2IJK(Coordinate(a, 30, 12)), Coordinate(half, 0, root), 1e-15);
    expectNear(ABC2IJK(Coordinate(20, 89.5, -30)), Coordinate(root, -half, 0), 1e-15);
    expectNear(ABC2IJK(Coordinate(-60, 20, 90.5)), Coordinate(0, half, -root), 1e-15);
    expectNear(ABC2IJK(Coordinate(-90.9, 30, 12)), Coordinate(half, 0, root), 1e-15);

    const double offset = std::tan(0.5 / 180.0 * std::acos(-1.0));
    const Coordinate above(1, offset, -1), below(1, offset, 1);
    EXPECT_NEAR(IJK2ABC(above)[0], -89.5, 1e-12);
    EXPECT_NEAR(IJK2ABC(below)[0], 89.5, 1e-12);
    expectNear(ABC2IJK(IJK2ABC(above)), IJK2IJK(above), 1e-12);
    EXPECT_EQ(ABC2IJK(IJK2ABC(below))[1], 0.0);
}

TEST(Abc2Ijk, ComparesTheSignOfTheAngleAsItIsGiven) {
    const Coordinate abc = IJK2ABC(Coordinate(1, -2, -3));
    ASSERT_LT(abc[0], -90.0);
    const Coordinate oneTurnOn(abc[0] + 360.0, abc[1], abc[2]);
    expectNear(ABC2IJK(oneTurnOn), IJK2IJK(Coordinate(-1, 2, 3)), 1e-14);
    expectNear(ABC2IJK(Coordinate(0, 0, 0)), Coordinate(0, 0, -1), 0.0);
}

TEST(Abc2Ijk, TakesAnglesThatNoIntegerHolds) {
    const double nan = std::nan("");
    EXPECT_TRUE(std::isnan(ABC2IJK(Coordinate(nan, nan, nan))[0]));
    const Coordinate c = ABC2IJK(Coordinate(1e300, 30, 40));
    EXPECT_NEAR(c.AsVector3D().norme(), 1.0, 1e-14);
}

}  // namespace
}  // namespace kerf
