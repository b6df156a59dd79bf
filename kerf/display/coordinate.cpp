#include "kerf/display/coordinate.h"

#include <cmath>

#include "kerf/numerics/constants.h"
#include "kerf/platform/archive.h"

namespace kerf {

namespace {

double radians(double degrees) { return degrees * pi / 180.0; }

// The direction of (x, y) in degrees.
double angleOf(double x, double y) { return std::atan2(y, x) * degreesPerRadian; }

double length(double x, double y, double z) {
    const double squared = x * x + y * y + z * z;
    if (coordinates::squareIsAccurate(squared)) return std::sqrt(squared);
    return std::hypot(x, y, z);
}

double elevationOf(double z, double radius) {
    return radius == 0.0 ? 0.0 : std::asin(z / radius) * degreesPerRadian;
}

double signOf(double value) {
    if (value > 0.0) return 1.0;
    return value < 0.0 ? -1.0 : 0.0;
}

bool countsAsQuarterTurn(double degrees) {
    const double fromQuarter = degrees - 90.0;
    return std::trunc(fromQuarter / 180.0) * 180.0 == std::trunc(fromQuarter);
}

// A vector with tan a = k / j, tan b = i / k and tan c = j / i, built from its largest component
// so that no quotient is above 1 but by rounding.
ERVector3D alongTangents(double ta, double tb, double tc) {
    const double iOverJ = tb * ta;
    const double jOverK = tc * tb;
    const double kOverI = tc * ta;
    if (std::fabs(iOverJ) >= 1.0 && std::fabs(kOverI) <= 1.0) return ERVector3D(1.0, tc, kOverI);
    if (std::fabs(iOverJ) <= 1.0 && std::fabs(jOverK) >= 1.0) return ERVector3D(iOverJ, 1.0, ta);
    return ERVector3D(tb, jOverK, 1.0);
}

}  // namespace

CArchive& operator<<(CArchive& archive, const Coordinate& c) {
    return archive << c[0] << c[1] << c[2];
}

CArchive& operator>>(CArchive& archive, Coordinate& c) {
    Coordinate loaded;
    archive >> loaded[0] >> loaded[1] >> loaded[2];
    c = loaded;
    return archive;
}

Coordinate Cartesian2Cylindrical(const Coordinate& c) {
    return Coordinate(angleOf(c[0], c[1]), length(c[0], c[1], 0.0), c[2]);
}

Coordinate Cylindrical2Cartesian(const Coordinate& c) {
    const double angle = radians(c[0]);
    return Coordinate(c[1] * std::cos(angle), c[1] * std::sin(angle), c[2]);
}

Coordinate Cartesian2Spherical(const Coordinate& c) {
    const double radius = length(c[0], c[1], c[2]);
    return Coordinate(angleOf(c[0], c[1]), elevationOf(c[2], radius), radius);
}

Coordinate Spherical2Cartesian(const Coordinate& c) {
    const double angle = radians(c[0]);
    const double elevation = radians(c[1]);
    const double radiusInPlane = c[2] * std::cos(elevation);
    return Coordinate(radiusInPlane * std::cos(angle), radiusInPlane * std::sin(angle),
                      c[2] * std::sin(elevation));
}

Coordinate IJK2IJK(const Coordinate& c) {
    Coordinate unit;
    unit.Init(c.AsVector3D().getnormalized());
    return unit;
}

Coordinate IJK2ABC(const Coordinate& c) {
    return Coordinate(angleOf(c[1], c[2]), angleOf(c[2], c[0]), angleOf(c[0], c[1]));
}

Coordinate ABC2IJK(const Coordinate& c) {
    const double a = radians(c[0]);
    const double b = radians(c[1]);
    const double g = radians(c[2]);
    if (countsAsQuarterTurn(c[0])) return Coordinate(std::sin(b), 0.0, std::cos(b));
    if (countsAsQuarterTurn(c[1])) return Coordinate(std::cos(g), std::sin(g), 0.0);
    if (countsAsQuarterTurn(c[2])) return Coordinate(0.0, std::cos(a), std::sin(a));

    ERVector3D v = alongTangents(std::tan(a), std::tan(b), std::tan(g));
    v.normalize();
    if (signOf(angleOf(v.j(), v.k())) != signOf(c[0])) v = -v;
    Coordinate result;
    result.Init(v);
    return result;
}

Coordinate IJK2AZ_EL(const Coordinate& c) {
    const double radius = length(c[0], c[1], c[2]);
    return Coordinate(angleOf(c[0], c[1]), elevationOf(c[2], radius), 1.0);
}

Coordinate AZ_EL2IJK(const Coordinate& c) {
    return Spherical2Cartesian(Coordinate(c[0], c[1], 1.0));
}

}  // namespace kerf
