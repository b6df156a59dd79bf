#pragma once
#include <concepts>

#include "kerf/core/object.h"
#include "kerf/numerics/matrix.h"
#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/limits.h"
#include "kerf/values/point.h"
#include "kerf/values/pole.h"
#include "kerf/values/vector_instances.h"

// Transformations of space: the abstract classes, the two handles that programs hold, and the
// functions that make them. The classes that the handles share are in
// transformation_3d_representation.h.
namespace kerf {

class ERQuaternion;
class _ERIdentity3D;
class _ERTranslation3D;
class _ERRotation3D;
class _ERWorkplane;
class _ERScaling3D;
class _ERSimilitude3D;
class _ERSymetrie3D;
class ERTr3DRevRep;

/// The root of the transformations: what goes from the reference frame into the frame of the
/// transformation. Everything works in place on its argument.
class KERF_EXPORT ERTr3D : public ERObject {
    ER_OBJECT_CLASS(ERTr3D);

public:
    /// Maps the Cartesian point of each pole and leaves its w. The image is linear in the stored
    /// coordinates and w, so that a pole of weight 0 has one too.
    virtual void TransTo(ERVec<ERPole3DH>& poles) const;
    virtual void TransTo(ERPoint3D* points, unsigned int n) const;
    virtual void TransTo(ERVec<ERPoint3D>& points) const;
    virtual void TransTo(ERVector3D& v) const = 0;
    virtual void TransTo(ERPoint3D& p) const = 0;

    /// At this level an object equals itself only; ERTr3DRev compares what the transformations do.
    virtual int isEqual(const ERTr3D& other) const;

    /// The 2D coordinates in the plane z = 0 of the frame: TransTo, then z is dropped. The pole
    /// keeps its w.
    virtual ERPole2DH Project(const ERPole3DH& pole) const;
    virtual ERPoint2D Project(const ERPoint3D& p) const;

protected:
    ERTr3D() = default;
    ERTr3D(const ERTr3D&) = default;
    ERTr3D& operator=(const ERTr3D&) = default;
};

/// A transformation with both directions. TransFrom, the forward map, goes from the frame of the
/// transformation to the reference frame: p becomes M (k p) + t for a point and M (k v) for a
/// vector, with the readings M = getMatrix(), k = getFactHomo(), t = getTrans(). TransTo is its
/// inverse.
class KERF_EXPORT ERTr3DRev : public ERTr3D {
    ER_OBJECT_CLASS(ERTr3DRev);

public:
    /// A new object on the heap, owned by the caller; the identity returns the shared identity and
    /// a symmetry itself.
    virtual const ERTr3DRevRep* getInverse() const = 0;
    virtual void TransFrom(ERVec<ERPole3DH>& poles) const;
    virtual void TransFrom(ERVec<ERPoint3D>& points) const;
    virtual void TransFrom(ERPoint3D* points, unsigned int n) const;
    virtual void TransFrom(ERVector3D& v) const = 0;
    virtual void TransFrom(ERPoint3D& p) const = 0;

    /// The 3 by 3 linear part without the factor; element (r, c) multiplies coordinate c in result
    /// r.
    /// Kept: a scaling alone returns factor times the unit matrix, so that its factor is read twice.
    virtual ERMatrix<double> getMatrix() const = 0;
    virtual ERPoint3D getTrans() const = 0;
    virtual double getFactHomo() const = 0;
    /// 1 when right-handed frames stay right-handed.
    virtual int isDirect() const = 0;
    /// The origin of the frame, in the reference frame.
    virtual ERPoint3D origine() const;
    /// Column k of the matrix: the direction of axis k of the frame, in the reference frame.
    virtual ERVector3D getVector(enum Coord3D k) const;

    /// 1 when the matrices agree within 1e-11 element by element, the origins coordinate by
    /// coordinate, and the factors; 0 for an `other` without readings.
    int isEqual(const ERTr3D& other) const override;

protected:
    ERTr3DRev() = default;
    ERTr3DRev(const ERTr3DRev&) = default;
    ERTr3DRev& operator=(const ERTr3DRev&) = default;
};

/// A representation: the immutable object that handles share, whose class says what kind of
/// transformation it is. It may live anywhere; its count of owners is used only when it is on the
/// heap. Operations that return a representation return this object, the argument, the shared
/// identity, or a new heap object that belongs to the caller (a handle takes it over).
/// Threads: the count is not atomic, so handles that share a representation belong to one thread.
class KERF_EXPORT ERTr3DRevRep : public ERTr3DRev {
    ER_OBJECT_CLASS(ERTr3DRevRep);

public:
    ERTr3DRevRep* getCopy() const override = 0;

    /// The simplest representation that equals this one within 1e-11: this one when it is simplest
    /// and on the heap, else a new one.
    virtual const ERTr3DRevRep* getReduced() const;

    /// this * right: right acts first. Goes to right's multiplyWith_ for the class of this.
    virtual const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const;
    /// left * this, in the cheapest class that can hold it. Every class of the library overrides
    /// these; here they report to ER_assert, where a debugger can stop, and return null.
    virtual const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const;
    const ERTr3DRevRep* multiplyWith_ERIdentity3D(const _ERIdentity3D*) const { return this; }

    /// The matrix M of M (k p) + t, with k = getFactHomo(): getMatrix(), but the unit matrix for a
    /// scaling. This is what is stored and multiplied.
    ERMatrix<double> unscaledMatrix() const;

    /// The one identity of the calling thread. It lives until the thread ends and its last handle
    /// is gone; a handle that moves to another thread must be rebuilt there.
    static const ERTr3DRevRep* GetIdentity();

protected:
    ERTr3DRevRep() = default;
    ERTr3DRevRep(const ERTr3DRevRep&) = default;
    ERTr3DRevRep& operator=(const ERTr3DRevRep&) = default;
};

/// A handle: shares a representation, always in reduced form unless a representation was assigned
/// to it. All operations but the class identity forward to the representation. Copying a handle is
/// one increment.
///
/// Storage: 116 bytes, the matrix in the form of ERMatrix (the unit matrix for a scaling), the
///          translation, the factor. Restoring reduces, so the class follows from the values; a
///          stored matrix that is not 3 by 3 restores as the identity.
class KERF_EXPORT ERTr3DRevEnveloppe : public ERTr3DRev {
    ER_OBJECT_CLASS(ERTr3DRevEnveloppe);

public:
    ERTr3DRevEnveloppe();  ///< the identity
    /// Takes a share in the reduced form of the representation; one that is not on the heap is
    /// copied. Null counts as the identity.
    explicit ERTr3DRevEnveloppe(const ERTr3DRevRep* representation);
    ERTr3DRevEnveloppe(const ERTr3DRevEnveloppe& other);
    ~ERTr3DRevEnveloppe() override;

    ERTr3DRevEnveloppe& operator=(const ERTr3DRevEnveloppe& other);
    /// Holds the representation as it is, not reduced (see reduce()); one that is not on the heap
    /// is copied.
    ERTr3DRevEnveloppe& operator=(const ERTr3DRevRep* representation);

    /// Goes over to the reduced form of what is held.
    void reduce();

    const ERTr3DRevRep* getRepresentation() const { return rep_; }  ///< never null

    void TransTo(ERVec<ERPole3DH>& poles) const override;
    void TransTo(ERPoint3D* points, unsigned int n) const override;
    void TransTo(ERVec<ERPoint3D>& points) const override;
    void TransTo(ERVector3D& v) const override;
    void TransTo(ERPoint3D& p) const override;
    int isEqual(const ERTr3D& other) const override;
    ERPole2DH Project(const ERPole3DH& pole) const override;
    ERPoint2D Project(const ERPoint3D& p) const override;
    const ERTr3DRevRep* getInverse() const override;
    void TransFrom(ERVec<ERPole3DH>& poles) const override;
    void TransFrom(ERVec<ERPoint3D>& points) const override;
    void TransFrom(ERPoint3D* points, unsigned int n) const override;
    void TransFrom(ERVector3D& v) const override;
    void TransFrom(ERPoint3D& p) const override;
    ERMatrix<double> getMatrix() const override;
    ERPoint3D getTrans() const override;
    double getFactHomo() const override;
    int isDirect() const override;
    ERPoint3D origine() const override;
    ERVector3D getVector(enum Coord3D k) const override;

    ERObject* getCopy() const override;
    int isValid() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    const ERTr3DRevRep* rep_;
};

/// A rotation or reflection, a translation and a factor, in any combination: the handle to hold
/// when the factor may differ from 1.
class KERF_EXPORT ERPmSimilitude3D : public ERTr3DRevEnveloppe {
    ER_OBJECT_CLASS(ERPmSimilitude3D);

public:
    ERPmSimilitude3D() = default;  ///< the identity
    explicit ERPmSimilitude3D(const ERTr3DRevRep* representation)
        : ERTr3DRevEnveloppe(representation) {}
    using ERTr3DRevEnveloppe::operator=;

    ERObject* getCopy() const override;
};

/// A similitude of factor 1: the frame of every entity in space. A representation with another
/// factor is held without that factor; that its matrix is orthonormal is the caller's duty.
class KERF_EXPORT ERPmIsometrie3D : public ERPmSimilitude3D {
    ER_OBJECT_CLASS(ERPmIsometrie3D);

public:
    ERPmIsometrie3D() = default;  ///< the identity
    explicit ERPmIsometrie3D(const ERTr3DRevRep* representation);
    ERPmIsometrie3D& operator=(const ERTr3DRevRep* representation);

    ERPmIsometrie3D get_rotation_matrix() const;     ///< the linear part alone
    ERPmIsometrie3D get_translation_matrix() const;  ///< the translation alone

    ERObject* getCopy() const override;
    void restoreGuts(ERFile& file) override;

private:
    void dropFactor();
};

/// a * b: b acts first, a.TransFrom(b.TransFrom(p)).
KERF_EXPORT ERPmSimilitude3D operator*(const ERPmSimilitude3D& a, const ERPmSimilitude3D& b);
KERF_EXPORT ERPmIsometrie3D operator*(const ERPmIsometrie3D& a, const ERPmIsometrie3D& b);
/// The inverse.
KERF_EXPORT ERPmSimilitude3D operator~(const ERPmSimilitude3D& a);
KERF_EXPORT ERPmIsometrie3D operator~(const ERPmIsometrie3D& a);

// `transformation << value` is TransTo, `transformation >> value` is TransFrom, on a copy.

inline ERPoint3D operator<<(const ERPmSimilitude3D& t, const ERPoint3D& p) {
    ERPoint3D image(p);
    t.ERTr3DRevEnveloppe::TransTo(image);
    return image;
}
inline ERPoint3D operator>>(const ERPmSimilitude3D& t, const ERPoint3D& p) {
    ERPoint3D image(p);
    t.ERTr3DRevEnveloppe::TransFrom(image);
    return image;
}
inline ERVector3D operator<<(const ERPmSimilitude3D& t, const ERVector3D& v) {
    ERVector3D image(v);
    t.ERTr3DRevEnveloppe::TransTo(image);
    return image;
}
inline ERVector3D operator>>(const ERPmSimilitude3D& t, const ERVector3D& v) {
    ERVector3D image(v);
    t.ERTr3DRevEnveloppe::TransFrom(image);
    return image;
}
KERF_EXPORT ERPole3DH operator<<(const ERPmSimilitude3D& t, const ERPole3DH& pole);
KERF_EXPORT ERPole3DH operator>>(const ERPmSimilitude3D& t, const ERPole3DH& pole);
KERF_EXPORT ERVec<ERPoint3D> operator<<(const ERPmSimilitude3D& t, const ERVec<ERPoint3D>& points);
KERF_EXPORT ERVec<ERPoint3D> operator>>(const ERPmSimilitude3D& t, const ERVec<ERPoint3D>& points);
KERF_EXPORT ERVec<ERPole3DH> operator<<(const ERPmSimilitude3D& t, const ERVec<ERPole3DH>& poles);
KERF_EXPORT ERVec<ERPole3DH> operator>>(const ERPmSimilitude3D& t, const ERVec<ERPole3DH>& poles);
/// The box of the eight transformed corners, which for a rotated object is larger than the object's
/// own; a reset box stays as it is.
KERF_EXPORT ERMinimax3D operator<<(const ERPmSimilitude3D& t, const ERMinimax3D& box);
KERF_EXPORT ERMinimax3D operator>>(const ERPmSimilitude3D& t, const ERMinimax3D& box);

/// The values that a transformation applies to.
template <class T>
concept TransformableValue = std::same_as<T, ERPoint3D> || std::same_as<T, ERVector3D> ||
    std::same_as<T, ERPole3DH> || std::same_as<T, ERVec<ERPoint3D>> ||
    std::same_as<T, ERVec<ERPole3DH>> || std::same_as<T, ERMinimax3D>;

/// The same for an isometry, so that a class that can be made of a value and overloads these
/// operators for an isometry never makes a call with the plain value ambiguous.
template <TransformableValue Value>
Value operator<<(const ERPmIsometrie3D& t, const Value& value) {
    return static_cast<const ERPmSimilitude3D&>(t) << value;
}
template <TransformableValue Value>
Value operator>>(const ERPmIsometrie3D& t, const Value& value) {
    return static_cast<const ERPmSimilitude3D&>(t) >> value;
}

/// Does not compile: `*` composes two transformations.
template <TransformableValue Value>
Value operator*(const ERPmSimilitude3D&, const Value& value) {
    static_assert(
        !TransformableValue<Value>,
        "a transformation is applied to a value by t >> value, its inverse by t << value");
    return value;
}

// The factories. Angles are in radians, right-handed about the axis; axes and directions need not
// have length 1.

KERF_EXPORT ERPmIsometrie3D ERIdentity3D();
KERF_EXPORT ERPmIsometrie3D ERTranslation3D(const ERPoint3D& t);
KERF_EXPORT ERPmIsometrie3D ERTranslation3D(const ERVector3D& t);
KERF_EXPORT ERPmSimilitude3D ERScaling3D(double factor);
/// Negates coordinate k: the mirror is the plane normal to axis k.
/// Kept: the axis named is the one mirrored; ERTransfo2D(Coord2D) names the one that stays.
KERF_EXPORT ERPmIsometrie3D ERSymetrie3D(enum Coord3D k);
/// The mirror through the origin normal to the vector.
KERF_EXPORT ERPmIsometrie3D ERSymetrie3D(const ERVector3D& normal);
/// p becomes matrix (factor p) + translation, with a 3 by 3 orthonormal matrix.
KERF_EXPORT ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& matrix,
                                            const ERPoint3D& translation, double factor);
KERF_EXPORT ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& matrix);
KERF_EXPORT ERPmIsometrie3D ERRotation3D(enum Coord3D axis, ERRadian angle);
/// A whole number of turns, as the double fraction of angle * 0.5 / pi tells it, is exactly the
/// identity.
KERF_EXPORT ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, ERRadian angle);
KERF_EXPORT ERPmIsometrie3D ERRotation3D(const ERQuaternion& quaternion);
/// Rotates the direction `from` onto `to` (find_lock_quaternion).
KERF_EXPORT ERPmIsometrie3D ERRotation3D(const ERVector3D& from, const ERVector3D& to);
/// About the axis through centre.
KERF_EXPORT ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, const ERPoint3D& centre,
                                         ERRadian angle);
/// Rotates `from` onto `to` about a point that stays where it is.
KERF_EXPORT ERPmIsometrie3D ERRotationAtFixPoint(const ERVector3D& from, const ERVector3D& to,
                                                 const ERPoint3D& centre);
/// The frame at o with third axis z; the other two are those of GetOrthogonalDirections.
KERF_EXPORT ERPmIsometrie3D ERChgRepere3D(const ERVector3D& z, const ERPoint3D& o);
/// The orthonormal frame at o with first axis x and third axis x ^ y.
KERF_EXPORT ERPmIsometrie3D ERChgRepere3D(const ERVector3D& x, const ERVector3D& y,
                                          const ERPoint3D& o);

/// Writes the homogeneous 4 by 4 matrix: the frame's axes as columns, the origin as last column,
/// (0, 0, 0, 1) as last row. The reverse does not read that row.
KERF_EXPORT void ConvertToNeutral(const ERPmIsometrie3D& t, double (*neutral)[4]);
KERF_EXPORT void ConvertFromNeutral(const double (*neutral)[4], ERPmIsometrie3D& t);

/// The angles in radians with M = Rz(c) Ry(b) Rx(a), b in [-pi/2, pi/2]; where b is at an end (the
/// first column lies within 1e-11 of the z axis) c is 0.
KERF_EXPORT void computeEulerAngles(const ERMatrix<double>& m, double& a, double& b, double& c);
KERF_EXPORT void computeEulerAngles(const ERPmIsometrie3D& t, double& a, double& b, double& c);

/// The plain product matrix * p, and the product with the transposed matrix, which is the inverse
/// of an orthonormal one. The matrix is 3 by 3.
KERF_EXPORT ERPoint3D operator*(const ERMatrix<double>& matrix, const ERPoint3D& p);
KERF_EXPORT ERVector3D operator*(const ERMatrix<double>& matrix, const ERVector3D& v);
KERF_EXPORT ERPoint3D mulInverseIsoMat(const ERMatrix<double>& matrix, const ERPoint3D& p);
KERF_EXPORT ERVector3D mulInverseIsoMat(const ERMatrix<double>& matrix, const ERVector3D& v);

/// The bytes of saveGuts through an archive; throws the archive's exception where that does,
/// leaving the handle as it was.
KERF_EXPORT CArchive& operator<<(CArchive& archive, const ERPmSimilitude3D& t);
KERF_EXPORT CArchive& operator>>(CArchive& archive, ERPmSimilitude3D& t);
KERF_EXPORT CArchive& operator<<(CArchive& archive, const ERPmIsometrie3D& t);
KERF_EXPORT CArchive& operator>>(CArchive& archive, ERPmIsometrie3D& t);

}  // namespace kerf

// Found beside the matrix, so that calls need no qualification.
namespace kerf::QuickAlgebra {
using kerf::computeEulerAngles;
}  // namespace kerf::QuickAlgebra
