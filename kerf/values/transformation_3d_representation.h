#pragma once
#include "kerf/values/transformation_3d.h"

// The seven classes that a 3D transformation can be. What each does is the formula of ERTr3DRev,
// cut down to what the class needs; programs meet them through the handles. All are immutable once
// built. A matrix that is not 3 by 3 makes an object that is not valid and acts as if its linear
// part were the unit matrix.
namespace kerf {

/// Anything with readings M, k, t. Its products are the general one; a class whose products are
/// simpler overrides those.
class KERF_EXPORT ERAnySimilitude3D : public ERTr3DRevRep {
    ER_OBJECT_CLASS(ERAnySimilitude3D);

public:
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;
    const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const override;

protected:
    ERAnySimilitude3D() = default;
    ERAnySimilitude3D(const ERAnySimilitude3D&) = default;
    ERAnySimilitude3D& operator=(const ERAnySimilitude3D&) = default;
};

/// The direct isometries.
class KERF_EXPORT ERAnyIsometrie3D : public ERAnySimilitude3D {
    ER_OBJECT_CLASS(ERAnyIsometrie3D);

public:
    double getFactHomo() const override;  ///< 1
    int isDirect() const override;        ///< 1

protected:
    ERAnyIsometrie3D() = default;
    ERAnyIsometrie3D(const ERAnyIsometrie3D&) = default;
    ERAnyIsometrie3D& operator=(const ERAnyIsometrie3D&) = default;
};

/// Both directions on each kind of argument, written once for every Class out of the two maps of
/// its Class::Maps, which the source defines. The form on ERVec<ERPoint3D> is that of Base, which
/// goes through the array form.
template <class Class, class Base>
class MappedRepresentation : public Base {
public:
    using Base::TransFrom;
    using Base::TransTo;
    void TransTo(ERVec<ERPole3DH>& poles) const override;
    void TransTo(ERPoint3D* points, unsigned int n) const override;
    void TransTo(ERVector3D& v) const override;
    void TransTo(ERPoint3D& p) const override;
    void TransFrom(ERVec<ERPole3DH>& poles) const override;
    void TransFrom(ERPoint3D* points, unsigned int n) const override;
    void TransFrom(ERVector3D& v) const override;
    void TransFrom(ERPoint3D& p) const override;

protected:
    MappedRepresentation() = default;
    MappedRepresentation(const MappedRepresentation&) = default;
    MappedRepresentation& operator=(const MappedRepresentation&) = default;
};

extern template class KERF_DECLARED_INSTANCE
    MappedRepresentation<_ERTranslation3D, ERAnyIsometrie3D>;
extern template class KERF_DECLARED_INSTANCE MappedRepresentation<_ERRotation3D, ERAnyIsometrie3D>;
extern template class KERF_DECLARED_INSTANCE MappedRepresentation<_ERWorkplane, ERAnyIsometrie3D>;
extern template class KERF_DECLARED_INSTANCE MappedRepresentation<_ERScaling3D, ERAnySimilitude3D>;
extern template class KERF_DECLARED_INSTANCE MappedRepresentation<_ERSymetrie3D, ERAnySimilitude3D>;
extern template class KERF_DECLARED_INSTANCE
    MappedRepresentation<_ERSimilitude3D, ERAnySimilitude3D>;

/// Leaves everything where it is; the operations on arrays do not look at them.
class KERF_EXPORT _ERIdentity3D : public ERAnyIsometrie3D {
    ER_OBJECT_CLASS(_ERIdentity3D);

public:
    _ERIdentity3D() = default;

    void TransTo(ERVec<ERPole3DH>& poles) const override;
    void TransTo(ERPoint3D* points, unsigned int n) const override;
    void TransTo(ERVec<ERPoint3D>& points) const override;
    void TransTo(ERVector3D& v) const override;
    void TransTo(ERPoint3D& p) const override;
    int isEqual(const ERTr3D& other) const override;
    const ERTr3DRevRep* getInverse() const override;
    void TransFrom(ERVec<ERPole3DH>& poles) const override;
    void TransFrom(ERVec<ERPoint3D>& points) const override;
    void TransFrom(ERPoint3D* points, unsigned int n) const override;
    void TransFrom(ERVector3D& v) const override;
    void TransFrom(ERPoint3D& p) const override;
    ERMatrix<double> getMatrix() const override;
    ERPoint3D getTrans() const override;

    _ERIdentity3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;
    const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const override;
};

/// p + t. Vectors stay.
class KERF_EXPORT _ERTranslation3D
    : public MappedRepresentation<_ERTranslation3D, ERAnyIsometrie3D> {
    ER_OBJECT_CLASS(_ERTranslation3D);

public:
    _ERTranslation3D() = default;
    explicit _ERTranslation3D(const ERPoint3D& t) : translation_(t) {}

    const ERTr3DRevRep* getInverse() const override;
    ERMatrix<double> getMatrix() const override;
    ERPoint3D getTrans() const override { return translation_; }

    _ERTranslation3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;

    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    friend class MappedRepresentation<_ERTranslation3D, ERAnyIsometrie3D>;
    struct Maps;

    ERPoint3D translation_;
};

/// M p, with an orthonormal M of determinant 1.
class KERF_EXPORT _ERRotation3D : public MappedRepresentation<_ERRotation3D, ERAnyIsometrie3D> {
    ER_OBJECT_CLASS(_ERRotation3D);

public:
    _ERRotation3D();  ///< the unit matrix
    explicit _ERRotation3D(const ERMatrix<double>& m) : matrix_(m) {}

    const ERTr3DRevRep* getInverse() const override;
    ERMatrix<double> getMatrix() const override { return matrix_; }
    ERPoint3D getTrans() const override;

    _ERRotation3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;

    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    friend class MappedRepresentation<_ERRotation3D, ERAnyIsometrie3D>;
    struct Maps;

    ERMatrix<double> matrix_;
};

/// M p + o: a right-handed frame at o whose axes are the columns of M.
class KERF_EXPORT _ERWorkplane : public MappedRepresentation<_ERWorkplane, ERAnyIsometrie3D> {
    ER_OBJECT_CLASS(_ERWorkplane);

public:
    _ERWorkplane();  ///< the reference frame
    /// First axis x, third axis x ^ y, all normalised.
    _ERWorkplane(const ERVector3D& x, const ERVector3D& y, const ERPoint3D& o);
    /// Third axis z normalised, the others from GetOrthogonalDirections.
    _ERWorkplane(const ERVector3D& z, const ERPoint3D& o);
    _ERWorkplane(const ERMatrix<double>& m, const ERPoint3D& o) : matrix_(m), origin_(o) {}
    /// The rotation, then the translation.
    _ERWorkplane(const _ERRotation3D& rotation, const _ERTranslation3D& translation);
    explicit _ERWorkplane(const ERAnyIsometrie3D& isometry);

    const ERTr3DRevRep* getInverse() const override;
    ERMatrix<double> getMatrix() const override { return matrix_; }
    ERPoint3D getTrans() const override { return origin_; }

    _ERWorkplane* getCopy() const override;
    void printOn(std::ostream& os) const override;
    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;

    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    friend class MappedRepresentation<_ERWorkplane, ERAnyIsometrie3D>;
    struct Maps;

    ERMatrix<double> matrix_;
    ERPoint3D origin_;
};

/// k p. A factor of 0 is legal; TransTo then gives infinities.
class KERF_EXPORT _ERScaling3D : public MappedRepresentation<_ERScaling3D, ERAnySimilitude3D> {
    ER_OBJECT_CLASS(_ERScaling3D);

public:
    _ERScaling3D() = default;
    explicit _ERScaling3D(double k) : factor_(k) {}

    const ERTr3DRevRep* getInverse() const override;
    /// Kept: k times the unit matrix, beside getFactHomo() = k: whoever multiplies by both scales
    /// twice (see unscaledMatrix).
    ERMatrix<double> getMatrix() const override;
    ERPoint3D getTrans() const override;
    double getFactHomo() const override { return factor_; }
    int isDirect() const override;  ///< 1, whatever the sign of the factor

    _ERScaling3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const override;
    const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const override;

    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    friend class MappedRepresentation<_ERScaling3D, ERAnySimilitude3D>;
    struct Maps;

    double factor_ = 1.0;
};

/// M p with an orthonormal M of determinant -1 that is its own inverse: a mirror through the
/// origin, or the negation of everything.
class KERF_EXPORT _ERSymetrie3D : public MappedRepresentation<_ERSymetrie3D, ERAnySimilitude3D> {
    ER_OBJECT_CLASS(_ERSymetrie3D);

public:
    _ERSymetrie3D();  ///< the mirror z = 0
    explicit _ERSymetrie3D(const ERMatrix<double>& m) : matrix_(m) {}

    const ERTr3DRevRep* getInverse() const override { return this; }
    ERMatrix<double> getMatrix() const override { return matrix_; }
    ERPoint3D getTrans() const override;
    double getFactHomo() const override;
    int isDirect() const override;

    _ERSymetrie3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const override;

    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    friend class MappedRepresentation<_ERSymetrie3D, ERAnySimilitude3D>;
    struct Maps;

    ERMatrix<double> matrix_;
};

/// M (k p) + t: the general case.
class KERF_EXPORT _ERSimilitude3D
    : public MappedRepresentation<_ERSimilitude3D, ERAnySimilitude3D> {
    ER_OBJECT_CLASS(_ERSimilitude3D);

public:
    _ERSimilitude3D();  ///< leaves everything where it is
    explicit _ERSimilitude3D(const ERMatrix<double>& m) : matrix_(m) {}
    _ERSimilitude3D(const ERMatrix<double>& m, const ERPoint3D& t, double k)
        : matrix_(m), translation_(t), factor_(k) {}
    explicit _ERSimilitude3D(const ERAnySimilitude3D& any);

    const ERTr3DRevRep* getInverse() const override;
    ERMatrix<double> getMatrix() const override { return matrix_; }
    ERPoint3D getTrans() const override { return translation_; }
    double getFactHomo() const override { return factor_; }
    int isDirect() const override;

    _ERSimilitude3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* right) const override;

    /// 1 for a 3 by 3 matrix whose determinant is 1 or -1 within 1e-11 and a finite factor other
    /// than 0. That the matrix is orthogonal is not tested.
    int isValid() const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    friend class MappedRepresentation<_ERSimilitude3D, ERAnySimilitude3D>;
    struct Maps;

    ERMatrix<double> matrix_;
    ERPoint3D translation_;
    double factor_ = 1.0;
};

}  // namespace kerf
