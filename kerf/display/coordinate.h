#pragma once
#include <cstddef>
#include <new>
#include <type_traits>

#include "kerf/platform/config.h"
#include "kerf/values/point.h"

// Three numbers in the form that an operator reads, and the conversions between the forms.
namespace kerf {

class CArchive;

/// Three doubles whose meaning depends on a form: x, y, z; angle, radius, z; and so on. It does not
/// know its form: the formatter that it is used with does. Angles are degrees.
class KERF_EXPORT Coordinate {
public:
    Coordinate() : Coordinate(0.0, 0.0, 0.0) {}
    Coordinate(double first, double second, double third) { set(first, second, third); }

    /// Index 0 to 2.
    double operator[](int i) const {
        KERF_CHECK_ARGUMENT(i >= 0 && i < 3);
        return values()[i];
    }
    double& operator[](int i) {
        KERF_CHECK_ARGUMENT(i >= 0 && i < 3);
        return values()[i];
    }

    void Init(const ERPoint3D& p) { set(p.x(), p.y(), p.z()); }
    void Init(const ERVector3D& v) { set(v.i(), v.j(), v.k()); }

    /// The same storage seen as that type: what is written to it is written here. The reference
    /// holds until the storage is asked for as the other type.
    ERPoint3D& AsPoint3D() { return seenAs<ERPoint3D>(); }
    ERVector3D& AsVector3D() { return seenAs<ERVector3D>(); }
    ERPoint3D AsPoint3D() const { return ERPoint3D(values()[0], values()[1], values()[2]); }
    ERVector3D AsVector3D() const { return ERVector3D(values()[0], values()[1], values()[2]); }

    /// All three equal the value, exactly.
    bool operator==(double value) const {
        return values()[0] == value && values()[1] == value && values()[2] == value;
    }

private:
    void set(double first, double second, double third) {
        ::new (static_cast<void*>(storage_)) double[3]{first, second, third};
    }
    // Making the object anew, from its own values, is what lets the compiler know of the change of
    // type; it costs no instruction.
    template <class Tuple>
    Tuple& seenAs() {
        static_assert(std::is_trivially_copyable_v<Tuple> && sizeof(Tuple) == sizeof(storage_));
        return *::new (static_cast<void*>(storage_)) Tuple(values()[0], values()[1], values()[2]);
    }
    double* values() { return std::launder(reinterpret_cast<double*>(storage_)); }
    const double* values() const { return std::launder(reinterpret_cast<const double*>(storage_)); }

    alignas(double) std::byte storage_[3 * sizeof(double)];
};

static_assert(std::is_trivially_copyable_v<Coordinate> && sizeof(Coordinate) == 24);

/// Three doubles. Loading past the end throws the archive's exception and leaves the value as it
/// was.
KERF_EXPORT CArchive& operator<<(CArchive& archive, const Coordinate& c);
KERF_EXPORT CArchive& operator>>(CArchive& archive, Coordinate& c);

// The forms of a point: Cartesian x, y, z; cylindrical angle, radius, z; spherical angle,
// elevation, radius. The angle is that of (x, y) from the x axis, in [-180, 180]; the elevation
// that above the plane z = 0, in [-90, 90], 0 for the origin. In the other direction angles and radii
// may have any value.

KERF_EXPORT Coordinate Cartesian2Cylindrical(const Coordinate& c);
KERF_EXPORT Coordinate Cylindrical2Cartesian(const Coordinate& c);
KERF_EXPORT Coordinate Cartesian2Spherical(const Coordinate& c);
KERF_EXPORT Coordinate Spherical2Cartesian(const Coordinate& c);

// The forms of a direction: its cosines I, J, K; the angles A, B, C of its projections on the
// planes normal to x, y and z; azimuth and elevation.

/// The normalised vector; three zeros stay as they are.
KERF_EXPORT Coordinate IJK2IJK(const Coordinate& c);

/// A from y to z, B from z to x, C from x to y; the vector may have any length. An angle whose two
/// components are zero is 0.
KERF_EXPORT Coordinate IJK2ABC(const Coordinate& c);

/// The unit vector of three angles: the inverse of IJK2ABC but for what is kept.
/// Kept: an angle counts as 90 modulo 180 when int((angle - 90) / 180) * 180 == int(angle - 90), so
///       that fractions of a degree are lost: 89.5 and 90.5 count, -90.5 does and -89.5 does not.
///       The first of A, B and C that counts gives (sin B, 0, cos B), (cos C, sin C, 0) or
///       (0, cos A, sin A).
/// Kept: when none counts, the vector is negated unless the A of the result has the sign of the A
///       given: an A of 0, or above 180, can give the opposite vector.
KERF_EXPORT Coordinate ABC2IJK(const Coordinate& c);

/// (azimuth, elevation, 1), the two angles as in the spherical form.
KERF_EXPORT Coordinate IJK2AZ_EL(const Coordinate& c);
/// The unit vector; the third value is not read.
KERF_EXPORT Coordinate AZ_EL2IJK(const Coordinate& c);

}  // namespace kerf
