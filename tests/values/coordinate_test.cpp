#include "kerf/values/coordinate.h"

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

void expectNear(const Coordinate& actual, const Coordinate& expected, double tolerance) {
    EXPECT_TRUE(isEqual(actual.AsPoint3D(), expected.AsPoint3D(), tolerance))
        << actual.AsPoint3D() << " instead of " << expected.AsPoint3D();
}

TEST(Coordinate, IsOneStorageWhateverItIsSeenAs) {
    Coordinate c(0, 3, 4);
    c.AsPoint3D().x() = 12.0;
    c.AsVector3D().normalize();
    EXPECT_EQ(c.AsPoint3D(), ERPoint3D(12.0 / 13.0, 3.0 / 13.0, 4.0 / 13.0));
    c.Init(ERVector3D(5, 5, 5));
    EXPECT_TRUE(c == 5.0);
    c[1] = std::nextafter(5.0, 6.0);
    EXPECT_FALSE(c == 5.0);
}

TEST(Coordinate, ArchivesThreeDoubles) {
    const TemporaryFile place;
    CFile file(place.path(), createFile);
    {
        CArchive storing(&file, CArchive::store);
        storing << Coordinate(1.5, -2.0, 1e300) << 0.25;
    }
    EXPECT_EQ(file.GetLength(), 32);
    file.Seek(0, CFile::begin);
    CArchive archive(&file, CArchive::load);
    Coordinate c;
    archive >> c;
    EXPECT_THROW(archive >> c, CArchiveException);
    expectNear(c, Coordinate(1.5, -2.0, 1e300), 0.0);
}

// Published values: ERFA (BSD-3-Clause), src/t_erfa_c.c, tests of p2s, s2p and s2c; the angles, in
// radians there, recomputed in degrees. Then known points.
TEST(CoordinateConversion, GivesPublishedAndKnownForms) {
    expectNear(Cartesian2Spherical(Coordinate(100.0, -50.0, 25.0)),
               Coordinate(-26.56505117707799, 12.604382648379183, 114.564392373896), 1e-12);
    const Coordinate beyondHalfATurn(-183.91945223699426, 7.047380880109126, 0.456);
    const Coordinate cartesian(-0.4514964673880165, 0.030933942773425867, 0.05594668105108779);
    expectNear(Spherical2Cartesian(beyondHalfATurn), cartesian, 1e-15);
    expectNear(AZ_EL2IJK(Coordinate(172.59207662725788, -57.23848373356924, 99.0)),
               Coordinate(-0.5366267667260524, 0.06977111097651453, -0.8409302618566215), 1e-15);
    const Coordinate back(-1, -std::sqrt(3.0), 7), none;
    expectNear(Cartesian2Cylindrical(Coordinate(-3, 4, 7)), {126.86989764584402, 5, 7}, 1e-13);
    expectNear(Cylindrical2Cartesian(Coordinate(-120, 2, 7)), back, 1e-15);
    expectNear(IJK2ABC(Coordinate(1, 1, -1)), Coordinate(-45, 135, 45), 1e-13);
    for (const auto zero : {Cartesian2Cylindrical, Cartesian2Spherical, IJK2ABC, IJK2IJK})
        EXPECT_TRUE(zero(none) == 0.0);
    expectNear(IJK2AZ_EL(none), Coordinate(0, 0, 1), 0.0);
    for (double size : {1e-170, 1e-155, 1e160, 1e300}) {  // squares out of range
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
    std::uniform_real_distribution<double> component(-1, 1), decade(-6.0, 6.0);
    for (int i = 0; i < 500; ++i) {
        const double size = std::pow(10.0, decade(random));
        const double x = component(random), y = component(random), z = component(random);
        // More than one degree off every plane of the axes; the tangents amplify by up to 20.
        if (std::fabs(x * y * z) < 0.05) continue;
        const Coordinate c(size * x, size * y, size * z), unit = IJK2IJK(c);
        SCOPED_TRACE(c.AsPoint3D());
        expectNear(Cylindrical2Cartesian(Cartesian2Cylindrical(c)), c, 8e-15 * size);
        expectNear(Spherical2Cartesian(Cartesian2Spherical(c)), c, 8e-15 * size);
        expectNear(AZ_EL2IJK(IJK2AZ_EL(c)), unit, 4e-15);
        expectNear(ABC2IJK(IJK2ABC(c)), unit, 2e-13);
    }
    for (int i = 0; i < 125; ++i) {  // in the planes of the axes
        const Coordinate v(i % 5 - 2, i / 5 % 5 - 2, i / 25 - 2);
        SCOPED_TRACE(v.AsPoint3D());
        if (!(v == 0.0)) expectNear(ABC2IJK(IJK2ABC(v)), IJK2IJK(v), 1e-14);
    }
}

// int(-0.5) and int(0.9) are both 0, so an angle within a degree of 90 counts as 90. Below -90 the
// rule reaches one degree too, above -90 it does not.
TEST(Abc2Ijk, LosesFractionsOfADegreeNearARightAngle) {
    const double half = 0.5, root = std::sqrt(0.75);
    for (double a : {89.01, 90.0, 90.9, -90.9})
        expectNear(ABC2IJK(Coordinate(a, 30, 12)), Coordinate(half, 0, root), 1e-15);
    expectNear(ABC2IJK(Coordinate(20, 89.5, -30)), Coordinate(root, -half, 0), 1e-15);
    expectNear(ABC2IJK(Coordinate(-60, 20, 90.5)), Coordinate(0, half, -root), 1e-15);
    const Coordinate above(1, std::tan(0.5 / 180.0 * pi), -1);
    EXPECT_NEAR(IJK2ABC(above)[0], -89.5, 1e-12);
    expectNear(ABC2IJK(IJK2ABC(above)), IJK2IJK(above), 1e-12);
}

TEST(Abc2Ijk, ComparesTheSignOfTheAngleAsItIsGivenWhateverItsSize) {
    const Coordinate abc = IJK2ABC(Coordinate(1, -2, -3));
    expectNear(ABC2IJK(Coordinate(abc[0] + 360.0, abc[1], abc[2])), IJK2IJK(Coordinate(-1, 2, 3)),
               1e-14);
    expectNear(ABC2IJK(Coordinate(0, 0, 0)), Coordinate(0, 0, -1), 0.0);
    EXPECT_TRUE(std::isnan(ABC2IJK(Coordinate(nan, nan, nan))[0]));
    EXPECT_NEAR(ABC2IJK(Coordinate(1e300, 30, 40)).AsVector3D().norme(), 1.0, 1e-14);
}

}  // namespace
}  // namespace kerf
