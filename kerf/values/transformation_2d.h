#pragma once
#include <concepts>
#include <iosfwd>

#include "kerf/core/object.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"
#include "kerf/values/point.h"
#include "kerf/values/vector_instances.h"

// Similarities of the plane: translation, homothety, symmetry and rotation in one object.
namespace kerf {

class ERPole2DH;

/// A similarity of the plane, with or without a reflection, as a map from its local system to the
/// reference system: x' = a x + b y + tx, y' = c x + d y + ty.
/// TransFrom multiplies the lengths of an entity by factHomo(), TransTo divides them by it.
/// Degenerate: a singular one gives infinities or NaNs by TransTo and operator~.
/// Failure:    nothing is reported.
class KERF_EXPORT ERTransfo2D : public ERObject {
    ER_OBJECT_CLASS(ERTransfo2D);

public:
    ERTransfo2D() = default;  ///< the identity
    explicit ERTransfo2D(const ERVector2D& translation);
    /// The reflection that keeps the axis named and mirrors the other one; any value but the two
    /// axes mirrors both.
    explicit ERTransfo2D(Coord2D axis);
    /// The homothety of that ratio and centre.
    ERTransfo2D(double ratio, const ERPoint2D& centre);
    /// The frame at `origin` whose x axis is `xAxis`, of any length.
    ERTransfo2D(ERVector2D xAxis, const ERPoint2D& origin);

    static ERTransfo2D rotation(ERRadian angle);  ///< about the origin
    static ERTransfo2D Scaling(double ratio);     ///< about the origin
    /// The reflection in the line through the origin along `axis`.
    /// Kept: the sign of the axis's angle is lost, so that an axis below the x axis gives the
    /// reflection of its mirror image above it.
    static ERTransfo2D Symmetry(ERVector2D axis);

    /// The map itself; a vector is not translated.
    ERPoint2D TransFrom(const ERPoint2D& p) const;
    ERVector2D TransFrom(const ERVector2D& v) const;
    /// The inverse map, by the transposed matrix over the determinant, computed on each call.
    /// Kept: with a reflection this is the negative of the true inverse.
    ERPoint2D TransTo(const ERPoint2D& p) const;
    ERVector2D TransTo(const ERVector2D& v) const;

    /// In place, copying shared vectors first. A pole keeps its weight: its Cartesian point is
    /// mapped, for a weight of 0 the point at infinity.
    void TransFrom(ERVec<ERPoint2D>& points) const;
    void TransTo(ERVec<ERPoint2D>& points) const;
    void TransFrom(ERVec<ERPole2DH>& poles) const;
    void TransTo(ERVec<ERPole2DH>& poles) const;

    /// The inverse as TransTo applies it, its sign included.
    ERTransfo2D operator~() const;

    int isDirect() const { return determinant() > 0.0; }  ///< 1 without a reflection
    double factHomo() const;                              ///< the ratio of lengths
    ERRadian angle() const;                               ///< of the rotation, in [-pi, pi]
    ERPoint2D origine() const { return origin_; }         ///< the translation, as a point
    void Decompose(ERVector2D& translation, double& ratio, int& direct, ERRadian& angle) const;

    ERObject* getCopy() const override;
    void printOn(std::ostream& os) const override;
    /// a, b, c, d, tx, ty: 48 bytes.
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    /// Kept: 32, the matrix alone, while saveGuts writes 48. A database refuses such an object as a
    ///       record of its own; keep it inside a class that counts its 48 bytes.
    ERULong binaryStoreSize() const override { return 32; }

private:
    friend KERF_EXPORT ERTransfo2D operator*(const ERTransfo2D& t1, const ERTransfo2D& t2);

    double determinant() const { return a_ * d_ - b_ * c_; }
    ERTransfo2D inverseMatrix() const;

    double a_ = 1.0, b_ = 0.0, c_ = 0.0, d_ = 1.0;
    ERPoint2D origin_;
};

/// The composition: t2 first, then t1.
KERF_EXPORT ERTransfo2D operator*(const ERTransfo2D& t1, const ERTransfo2D& t2);

/// The static members of the same names.
KERF_EXPORT ERTransfo2D rotation(ERRadian angle);
KERF_EXPORT ERTransfo2D Scaling(double ratio);
KERF_EXPORT ERTransfo2D Symmetry(ERVector2D axis);

/// t >> x is TransFrom, t << x is TransTo; a vector of points or poles is copied.
KERF_EXPORT ERPoint2D operator>>(const ERTransfo2D& t, const ERPoint2D& p);
KERF_EXPORT ERPoint2D operator<<(const ERTransfo2D& t, const ERPoint2D& p);
KERF_EXPORT ERVector2D operator>>(const ERTransfo2D& t, const ERVector2D& v);
KERF_EXPORT ERVector2D operator<<(const ERTransfo2D& t, const ERVector2D& v);
KERF_EXPORT ERVec<ERPoint2D> operator>>(const ERTransfo2D& t, const ERVec<ERPoint2D>& points);
KERF_EXPORT ERVec<ERPoint2D> operator<<(const ERTransfo2D& t, const ERVec<ERPoint2D>& points);
KERF_EXPORT ERVec<ERPole2DH> operator>>(const ERTransfo2D& t, const ERVec<ERPole2DH>& poles);
KERF_EXPORT ERVec<ERPole2DH> operator<<(const ERTransfo2D& t, const ERVec<ERPole2DH>& poles);

/// The values that a transformation of the plane applies to.
template <class T>
concept PlanarTransformableValue = std::same_as<T, ERPoint2D> || std::same_as<T, ERVector2D> ||
    std::same_as<T, ERVec<ERPoint2D>> || std::same_as<T, ERVec<ERPole2DH>>;

/// Does not compile: `*` composes two transformations.
template <PlanarTransformableValue Value>
Value operator*(const ERTransfo2D&, const Value& value) {
    static_assert(
        !PlanarTransformableValue<Value>,
        "a transformation is applied to a value by t >> value, its inverse by t << value");
    return value;
}

}  // namespace kerf
