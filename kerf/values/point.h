#pragma once
#include <cmath>
#include <iosfwd>
#include <utility>

#include "kerf/core/search.h"
#include "kerf/platform/config.h"
#include "kerf/values/coordinate_tuple.h"

// Points and free vectors of the plane and of space, and the rules by which lengths are compared.
namespace kerf {

class ERMainDirection;
class ERPoint3D;
class ERVector2D;
class ERVector3D;

/// Indices of coordinates. Coord3D also names an axis, or the plane normal to it; the H forms reach
/// the stored coordinates of a pole.
enum class Coord2D { CoordX = 0, CoordY = 1 };
enum class Coord3D { CoordX = 0, CoordY = 1, CoordZ = 2 };
enum class Coord2DH { CoordX = 0, CoordY = 1, CoordW = 2 };
enum class Coord3DH { CoordX = 0, CoordY = 1, CoordZ = 2, CoordW = 3 };

/// The absolute tolerance on lengths, 1e-11: two quantities count as the same when
/// fabs(a - b) <= equalityTolerance.
extern KERF_EXPORT const double equalityTolerance;

/// A point of the plane: two doubles and nothing else, copied as memory.
/// With the operators of CoordinateTuple: + - += -= with a point, * *= / /= with a double, unary -,
/// == and != (exact), << and >> for text, ERFile (16 bytes: x, y) and CArchive; those of PointTuple:
/// + - += -= with a vector. Printed as "[x,y]"; a field width set on the stream applies to the
/// coordinates only.
class KERF_EXPORT ERPoint2D : public PointTuple<ERPoint2D, ERVector2D, 2> {
public:
    ERPoint2D() = default;  ///< the origin
    ERPoint2D(double x, double y) : PointTuple(x, y) {}
    explicit ERPoint2D(const ERVector2D& v);  ///< the end of v set off from the origin

    double x() const { return coordinates_[0]; }
    double y() const { return coordinates_[1]; }
    double& x() { return coordinates_[0]; }
    double& y() { return coordinates_[1]; }

    /// v inserted as the coordinate `axis`: CoordX (v, x, y), CoordY (x, v, y), CoordZ (x, y, v).
    /// Kept: any other value gives (0, 0, 0), where castToPoint2D gives (x, y).
    ERPoint3D castToPoint3D(enum Coord3D axis, double v) const;

    void printOn(std::ostream& os) const;
};

/// A point of space: "[x,y,z]", 24 bytes. The rest as ERPoint2D.
class KERF_EXPORT ERPoint3D : public PointTuple<ERPoint3D, ERVector3D, 3> {
public:
    ERPoint3D() = default;
    ERPoint3D(double x, double y, double z) : PointTuple(x, y, z) {}
    explicit ERPoint3D(const ERVector3D& v);

    double x() const { return coordinates_[0]; }
    double y() const { return coordinates_[1]; }
    double z() const { return coordinates_[2]; }
    double& x() { return coordinates_[0]; }
    double& y() { return coordinates_[1]; }
    double& z() { return coordinates_[2]; }

    ERVector3D asVector3D() const;

    /// Drops the coordinate `axis`: CoordX (y, z), CoordY (x, z), CoordZ (x, y).
    /// Kept: any other value gives (x, y), where the other casts of dimension give zeros.
    ERPoint2D castToPoint2D(enum Coord3D axis) const;

    void printOn(std::ostream& os) const;
};

/// A free vector of the plane. Operators as ERPoint2D; u * v is the scalar product, u ^ v the
/// determinant. Printed as "{i,j}". A point converts to the vector from the origin.
/// Kept: v / f is a point.
class KERF_EXPORT ERVector2D : public VectorTuple<ERVector2D, 2> {
public:
    ERVector2D() = default;
    ERVector2D(double i, double j) : VectorTuple(i, j) {}
    explicit ERVector2D(enum Coord2D axis) { (*this)[axis] = 1.0; }  ///< the unit vector
    ERVector2D(const ERPoint2D& p) : VectorTuple(p.x(), p.y()) {}
    ERVector2D(const ERPoint2D& a, const ERPoint2D& b)  ///< from a to b
        : VectorTuple(b.x() - a.x(), b.y() - a.y()) {}

    double i() const { return coordinates_[0]; }
    double j() const { return coordinates_[1]; }
    double& i() { return coordinates_[0]; }
    double& j() { return coordinates_[1]; }

    ERVector3D castToVector3D(enum Coord3D axis, double v) const;  ///< as castToPoint3D

    void printOn(std::ostream& os) const;
};

/// A free vector of space: "<i,j,k>"; u ^ v is the vector product, right-handed. The rest as
/// ERVector2D.
class KERF_EXPORT ERVector3D : public VectorTuple<ERVector3D, 3> {
public:
    ERVector3D() = default;
    ERVector3D(double i, double j, double k) : VectorTuple(i, j, k) {}
    explicit ERVector3D(enum Coord3D axis) { (*this)[axis] = 1.0; }
    ERVector3D(const ERPoint3D& p) : VectorTuple(p.x(), p.y(), p.z()) {}
    ERVector3D(const ERPoint3D& a, const ERPoint3D& b)
        : VectorTuple(b.x() - a.x(), b.y() - a.y(), b.z() - a.z()) {}

    double i() const { return coordinates_[0]; }
    double j() const { return coordinates_[1]; }
    double k() const { return coordinates_[2]; }
    double& i() { return coordinates_[0]; }
    double& j() { return coordinates_[1]; }
    double& k() { return coordinates_[2]; }

    /// The axis of the largest absolute component: CoordX only when strictly above both others,
    /// then CoordY only when |j| > |k| strictly, else CoordZ, the zero vector included.
    enum Coord3D axeOptimum() const;
    /// That axis with the sign of its component; declared whole in main_direction.h.
    ERMainDirection mainDirection() const;

    ERVector2D castToVector2D(enum Coord3D axis) const;  ///< as castToPoint2D

    void printOn(std::ostream& os) const;
};

static_assert(isPlainValue<ERPoint2D, 2> && isPlainValue<ERPoint3D, 3>);
static_assert(isPlainValue<ERVector2D, 2> && isPlainValue<ERVector3D, 3>);

// Found in the namespace too, for arguments that convert.
int isEqual(const ERPoint2D& a, const ERPoint2D& b, double tol);
int isEqual(const ERPoint3D& a, const ERPoint3D& b, double tol);
int isEqual(const ERVector2D& a, const ERVector2D& b, double tol);
int isEqual(const ERVector3D& a, const ERVector3D& b, double tol);

/// The unsigned angle in [0, pi]. In space it keeps its digits near 0 and pi too.
/// Kept: in the plane it is the arc cosine of the product of the normalised vectors, which is not
///       clamped: two nearly parallel vectors may give NaN.
KERF_EXPORT double anglePI(const ERVector2D& u, const ERVector2D& v);
KERF_EXPORT double anglePI(const ERVector3D& u, const ERVector3D& v);

/// The parameter of c along the segment from a (0) to b (1), read on the axis of the largest |b -
/// a|. Plane: x only when |dx| > |dy|. Space: x only when |dx| is above both others, then z when
/// |dz| >= |dy|.
/// Degenerate: with a = b the division by zero gives an infinity or a NaN.
KERF_EXPORT double div_vect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c);
KERF_EXPORT double div_vect(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c);

inline ERPoint2D::ERPoint2D(const ERVector2D& v) : PointTuple(v.i(), v.j()) {}
inline ERPoint3D::ERPoint3D(const ERVector3D& v) : PointTuple(v.i(), v.j(), v.k()) {}
inline ERVector3D ERPoint3D::asVector3D() const { return ERVector3D(x(), y(), z()); }

/// Kept: a point, not a vector.
inline ERPoint2D operator/(const ERVector2D& v, double f) { return ERPoint2D(v) / f; }
inline ERPoint3D operator/(const ERVector3D& v, double f) { return ERPoint3D(v) / f; }

/// The scalar product.
inline double operator*(const ERVector2D& a, const ERVector2D& b) {
    return a.i() * b.i() + a.j() * b.j();
}
inline double operator*(const ERVector3D& a, const ERVector3D& b) {
    return a.i() * b.i() + a.j() * b.j() + a.k() * b.k();
}
inline double operator^(const ERVector2D& a, const ERVector2D& b) {
    return a.i() * b.j() - a.j() * b.i();
}
inline ERVector3D operator^(const ERVector3D& a, const ERVector3D& b) {
    return ERVector3D(a.j() * b.k() - a.k() * b.j(), a.k() * b.i() - a.i() * b.k(),
                      a.i() * b.j() - a.j() * b.i());
}

inline double norme(const ERVector2D& v) { return v.norme(); }
inline double norme(const ERVector3D& v) { return v.norme(); }
inline double norme2(const ERVector2D& v) { return v.norme2(); }
inline double norme2(const ERVector3D& v) { return v.norme2(); }

/// The Euclidean distance, and its square.
inline double distance2(const ERPoint2D& a, const ERPoint2D& b) {
    return ERVector2D(a, b).norme2();
}
inline double distance2(const ERPoint3D& a, const ERPoint3D& b) {
    return ERVector3D(a, b).norme2();
}
inline double distance(const ERPoint2D& a, const ERPoint2D& b) { return ERVector2D(a, b).norme(); }
inline double distance(const ERPoint3D& a, const ERPoint3D& b) { return ERVector3D(a, b).norme(); }

/// The midpoint.
inline ERPoint2D milieu(const ERPoint2D& a, const ERPoint2D& b) { return (a + b) * 0.5; }
inline ERPoint3D milieu(const ERPoint3D& a, const ERPoint3D& b) { return (a + b) * 0.5; }

inline void swap(ERPoint2D& a, ERPoint2D& b) noexcept { std::swap<ERPoint2D>(a, b); }
inline void swap(ERPoint3D& a, ERPoint3D& b) noexcept { std::swap<ERPoint3D>(a, b); }
inline void swap(ERVector3D& a, ERVector3D& b) noexcept { std::swap<ERVector3D>(a, b); }

}  // namespace kerf
