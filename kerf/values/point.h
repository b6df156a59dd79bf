#pragma once
#include <cmath>
#include <iosfwd>
#include <type_traits>

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
/// == and != (exact), << and >> for text, ERFile (16 bytes: x, y) and CArchive. Text: "[x,y]"; a
/// field width set on the stream applies to the coordinates only.
class KERF_EXPORT ERPoint2D : public CoordinateTuple<ERPoint2D, 2> {
public:
    ERPoint2D() = default;  ///< the origin
    ERPoint2D(double x, double y) : CoordinateTuple(x, y) {}
    explicit ERPoint2D(const ERVector2D& v);  ///< the end of v set off from the origin

    double x() const { return coordinates_[0]; }
    double y() const { return coordinates_[1]; }
    double& x() { return coordinates_[0]; }
    double& y() { return coordinates_[1]; }
    double operator[](enum Coord2D i) const { return coordinates_[static_cast<int>(i)]; }
    double& operator[](enum Coord2D i) { return coordinates_[static_cast<int>(i)]; }

    // The shape of a point type, as the spline kernels ask for it.
    static constexpr int getDim() { return 2; }
    static constexpr int isRational() { return 0; }
    static constexpr double weigth() { return 1.0; }
    ERPoint2D castToPoint() const { return *this; }
    const ERPoint2D& thePoint() const { return *this; }
    ERPoint2D& thePoint() { return *this; }

    using CoordinateTuple::operator+=;
    using CoordinateTuple::operator-=;
    ERPoint2D& operator+=(const ERVector2D& v);
    ERPoint2D& operator-=(const ERVector2D& v);

    void scale(double f) { *this *= f; }
    void translate(const ERPoint2D& t) { *this += t; }

    /// v inserted as the coordinate `axis`: CoordX (v, x, y), CoordY (x, v, y), CoordZ (x, y, v).
    /// The null point for any other value, unlike castToPoint2D: callers rely on both.
    ERPoint3D castToPoint3D(enum Coord3D axis, double v) const;

    void printOn(std::ostream& os) const;

    friend int isEqual(const ERPoint2D& a, const ERPoint2D& b, double tol) {
        return a.within(b, tol);
    }
};

/// A point of space: "[x,y,z]", 24 bytes. The rest as ERPoint2D.
class KERF_EXPORT ERPoint3D : public CoordinateTuple<ERPoint3D, 3> {
public:
    ERPoint3D() = default;
    ERPoint3D(double x, double y, double z) : CoordinateTuple(x, y, z) {}
    explicit ERPoint3D(const ERVector3D& v);

    double x() const { return coordinates_[0]; }
    double y() const { return coordinates_[1]; }
    double z() const { return coordinates_[2]; }
    double& x() { return coordinates_[0]; }
    double& y() { return coordinates_[1]; }
    double& z() { return coordinates_[2]; }
    double operator[](enum Coord3D i) const { return coordinates_[static_cast<int>(i)]; }
    double& operator[](enum Coord3D i) { return coordinates_[static_cast<int>(i)]; }

    static constexpr int getDim() { return 3; }
    static constexpr int isRational() { return 0; }
    static constexpr double weigth() { return 1.0; }
    ERPoint3D castToPoint() const { return *this; }
    const ERPoint3D& thePoint() const { return *this; }
    ERPoint3D& thePoint() { return *this; }
    ERVector3D asVector3D() const;

    using CoordinateTuple::operator+=;
    using CoordinateTuple::operator-=;
    ERPoint3D& operator+=(const ERVector3D& v);
    ERPoint3D& operator-=(const ERVector3D& v);

    void scale(double f) { *this *= f; }
    void translate(const ERPoint3D& t) { *this += t; }

    /// Drops the coordinate `axis`: CoordX (y, z), CoordY (x, z), CoordZ (x, y). Any other value
    /// gives (x, y), where the other casts of dimension give zeros: callers rely on both.
    ERPoint2D castToPoint2D(enum Coord3D axis) const;

    void printOn(std::ostream& os) const;

    friend int isEqual(const ERPoint3D& a, const ERPoint3D& b, double tol) {
        return a.within(b, tol);
    }
};

/// A free vector of the plane. Operators as ERPoint2D, but that v / f is a point; u * v is the
/// scalar product, u ^ v the determinant. Text: "{i,j}". A point converts to the vector from the
/// origin.
class KERF_EXPORT ERVector2D : public CoordinateTuple<ERVector2D, 2> {
public:
    ERVector2D() = default;
    ERVector2D(double i, double j) : CoordinateTuple(i, j) {}
    explicit ERVector2D(enum Coord2D axis) { (*this)[axis] = 1.0; }  ///< the unit vector
    ERVector2D(const ERPoint2D& p) : CoordinateTuple(p.x(), p.y()) {}
    ERVector2D(const ERPoint2D& a, const ERPoint2D& b)  ///< from a to b
        : CoordinateTuple(b.x() - a.x(), b.y() - a.y()) {}

    double i() const { return coordinates_[0]; }
    double j() const { return coordinates_[1]; }
    double& i() { return coordinates_[0]; }
    double& j() { return coordinates_[1]; }
    double operator[](enum Coord2D k) const { return coordinates_[static_cast<int>(k)]; }
    double& operator[](enum Coord2D k) { return coordinates_[static_cast<int>(k)]; }

    double norme2() const { return i() * i() + j() * j(); }
    double norme() const { return std::sqrt(norme2()); }
    /// Divides by the length, however short. Only the vector of exact zeros stays as it is.
    void normalize() { *this /= divisor(norme2()); }
    ERVector2D getnormalized() const {
        ERVector2D unit = *this;
        unit.normalize();
        return unit;
    }

    ERVector3D castToVector3D(enum Coord3D axis, double v) const;  ///< as castToPoint3D

    void printOn(std::ostream& os) const;

    friend int isEqual(const ERVector2D& a, const ERVector2D& b, double tol) {
        return a.within(b, tol);
    }

private:
    double divisor(double squaredLength) const {
        return coordinates::squareIsAccurate(squaredLength) ? std::sqrt(squaredLength)
                                                            : divisorOfExtreme();
    }
    double divisorOfExtreme() const;
};

/// A free vector of space: "<i,j,k>"; u ^ v is the vector product, right-handed. The rest as
/// ERVector2D.
class KERF_EXPORT ERVector3D : public CoordinateTuple<ERVector3D, 3> {
public:
    ERVector3D() = default;
    ERVector3D(double i, double j, double k) : CoordinateTuple(i, j, k) {}
    explicit ERVector3D(enum Coord3D axis) { (*this)[axis] = 1.0; }
    ERVector3D(const ERPoint3D& p) : CoordinateTuple(p.x(), p.y(), p.z()) {}
    ERVector3D(const ERPoint3D& a, const ERPoint3D& b)
        : CoordinateTuple(b.x() - a.x(), b.y() - a.y(), b.z() - a.z()) {}

    double i() const { return coordinates_[0]; }
    double j() const { return coordinates_[1]; }
    double k() const { return coordinates_[2]; }
    double& i() { return coordinates_[0]; }
    double& j() { return coordinates_[1]; }
    double& k() { return coordinates_[2]; }
    double operator[](enum Coord3D axis) const { return coordinates_[static_cast<int>(axis)]; }
    double& operator[](enum Coord3D axis) { return coordinates_[static_cast<int>(axis)]; }

    double norme2() const { return i() * i() + j() * j() + k() * k(); }
    double norme() const { return std::sqrt(norme2()); }
    void normalize() { *this /= divisor(norme2()); }
    ERVector3D getnormalized() const {
        ERVector3D unit = *this;
        unit.normalize();
        return unit;
    }

    /// The axis of the largest absolute component: CoordX only when strictly above both others,
    /// then CoordY only when |j| > |k| strictly, else CoordZ, the null vector included.
    enum Coord3D axeOptimum() const;
    /// That axis with the sign of its component; declared whole in main_direction.h.
    ERMainDirection mainDirection() const;

    ERVector2D castToVector2D(enum Coord3D axis) const;  ///< as castToPoint2D

    void printOn(std::ostream& os) const;

    friend int isEqual(const ERVector3D& a, const ERVector3D& b, double tol) {
        return a.within(b, tol);
    }

private:
    double divisor(double squaredLength) const {
        return coordinates::squareIsAccurate(squaredLength) ? std::sqrt(squaredLength)
                                                            : divisorOfExtreme();
    }
    double divisorOfExtreme() const;
};

// Whole arrays of values are saved by one write and moved as memory.
#define KERF_PLAIN_VALUE(Class, doubles)                                                     \
    static_assert(std::is_trivially_copyable_v<Class> && std::is_standard_layout_v<Class> && \
                  sizeof(Class) == (doubles) * sizeof(double))
KERF_PLAIN_VALUE(ERPoint2D, 2);
KERF_PLAIN_VALUE(ERPoint3D, 3);
KERF_PLAIN_VALUE(ERVector2D, 2);
KERF_PLAIN_VALUE(ERVector3D, 3);

/// 1 when |a[i] - b[i]| <= tol for every coordinate: a box, not a ball, bounds included. A NaN
/// gives 0.
int isEqual(const ERPoint2D& a, const ERPoint2D& b, double tol);
int isEqual(const ERPoint3D& a, const ERPoint3D& b, double tol);
int isEqual(const ERVector2D& a, const ERVector2D& b, double tol);
int isEqual(const ERVector3D& a, const ERVector3D& b, double tol);

/// The unsigned angle in [0, pi]. In the plane it is the arc cosine of the product of the
/// normalised vectors, which is not clamped: two nearly parallel vectors may give NaN, and callers
/// test for it. In space it is well behaved everywhere.
KERF_EXPORT double anglePI(const ERVector2D& u, const ERVector2D& v);
KERF_EXPORT double anglePI(const ERVector3D& u, const ERVector3D& v);

/// The parameter of c along the segment from a (0) to b (1), read on the axis of the largest |b -
/// a|. Plane: x only when |dx| > |dy|. Space: x only when |dx| is above both others, then z when
/// |dz| >= |dy|. With a = b the division by zero gives an infinity or a NaN.
KERF_EXPORT double div_vect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c);
KERF_EXPORT double div_vect(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c);

inline ERPoint2D::ERPoint2D(const ERVector2D& v) : CoordinateTuple(v.i(), v.j()) {}
inline ERPoint3D::ERPoint3D(const ERVector3D& v) : CoordinateTuple(v.i(), v.j(), v.k()) {}
inline ERVector3D ERPoint3D::asVector3D() const { return ERVector3D(x(), y(), z()); }

inline ERPoint2D operator/(const ERPoint2D& p, double f) { return ERPoint2D(p.x() / f, p.y() / f); }
inline ERPoint3D operator/(const ERPoint3D& p, double f) {
    return ERPoint3D(p.x() / f, p.y() / f, p.z() / f);
}
/// A point, not a vector: callers rely on the type.
inline ERPoint2D operator/(const ERVector2D& v, double f) {
    return ERPoint2D(v.i() / f, v.j() / f);
}
inline ERPoint3D operator/(const ERVector3D& v, double f) {
    return ERPoint3D(v.i() / f, v.j() / f, v.k() / f);
}

inline ERPoint2D& ERPoint2D::operator+=(const ERVector2D& v) { return *this += ERPoint2D(v); }
inline ERPoint2D& ERPoint2D::operator-=(const ERVector2D& v) { return *this -= ERPoint2D(v); }
inline ERPoint3D& ERPoint3D::operator+=(const ERVector3D& v) { return *this += ERPoint3D(v); }
inline ERPoint3D& ERPoint3D::operator-=(const ERVector3D& v) { return *this -= ERPoint3D(v); }
inline ERPoint2D operator+(const ERPoint2D& p, const ERVector2D& v) { return p + ERPoint2D(v); }
inline ERPoint2D operator-(const ERPoint2D& p, const ERVector2D& v) { return p - ERPoint2D(v); }
inline ERPoint3D operator+(const ERPoint3D& p, const ERVector3D& v) { return p + ERPoint3D(v); }
inline ERPoint3D operator-(const ERPoint3D& p, const ERVector3D& v) { return p - ERPoint3D(v); }

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

inline void swap(ERPoint2D& a, ERPoint2D& b) noexcept {
    const ERPoint2D former = a;
    a = b;
    b = former;
}
inline void swap(ERPoint3D& a, ERPoint3D& b) noexcept {
    const ERPoint3D former = a;
    a = b;
    b = former;
}
inline void swap(ERVector3D& a, ERVector3D& b) noexcept {
    const ERVector3D former = a;
    a = b;
    b = former;
}

}  // namespace kerf
