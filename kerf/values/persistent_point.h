#pragma once
#include <concepts>
#include <iosfwd>

#include "kerf/values/entity.h"
#include "kerf/values/point.h"

// Points and vectors as objects: counted, registered, storable in a database.
namespace kerf {

/// A point of the plane as an entity. It is used as its ERPoint2D wherever a value is wanted.
/// Identity: a copy copies the value and never the identity; assigning another wrapper clears the
///           identity of this one. scale, translate, the transformations, and assigning a plain
///           value keep it and make the object dirty. The operators of the value (+= and the like,
///           the references to coordinates) know nothing of the object: call setDirty() after them.
/// Storage:  16 bytes. Text: "(P) ", then the value.
class KERF_EXPORT ERPersistentPoint2D : public EREntity2D, public ERPoint2D {
    ER_OBJECT_CLASS(ERPersistentPoint2D);

public:
    ERPersistentPoint2D() = default;
    ERPersistentPoint2D(const ERPersistentPoint2D&) = default;
    explicit ERPersistentPoint2D(const ERPoint2D& p) : ERPoint2D(p) {}
    ERPersistentPoint2D& operator=(const ERPersistentPoint2D&) = default;
    ERPersistentPoint2D& operator=(const ERPoint2D& p);

    ERPersistentPoint2D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

    void scale(double factor) override;
    void translate(const ERPoint2D& t) override;
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
};

/// A point of space as an entity: 24 bytes. The rest as ERPersistentPoint2D.
class KERF_EXPORT ERPersistentPoint3D : public EREntity3D, public ERPoint3D {
    ER_OBJECT_CLASS(ERPersistentPoint3D);

public:
    ERPersistentPoint3D() = default;
    ERPersistentPoint3D(const ERPersistentPoint3D&) = default;
    explicit ERPersistentPoint3D(const ERPoint3D& p) : ERPoint3D(p) {}
    ERPersistentPoint3D& operator=(const ERPersistentPoint3D&) = default;
    ERPersistentPoint3D& operator=(const ERPoint3D& p);

    ERPersistentPoint3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
};

/// A vector of space as an object, but no entity: 24 bytes. The rest as ERPersistentPoint2D.
class KERF_EXPORT ERPersistentVector3D : public ERObject, public ERVector3D {
    ER_OBJECT_CLASS(ERPersistentVector3D);

public:
    ERPersistentVector3D() = default;
    ERPersistentVector3D(const ERPersistentVector3D&) = default;
    explicit ERPersistentVector3D(const ERVector3D& v) : ERVector3D(v) {}
    ERPersistentVector3D& operator=(const ERPersistentVector3D&) = default;
    ERPersistentVector3D& operator=(const ERVector3D& v);

    ERPersistentVector3D* getCopy() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;
};

/// The wrappers and what derives from them: an object that is also a value.
template <class T>
concept PersistentValue = std::derived_from<T, ERPersistentPoint2D> ||
    std::derived_from<T, ERPersistentPoint3D> || std::derived_from<T, ERPersistentVector3D>;

// Of the stream forms of the object and of the value, a wrapper takes those of the object.
template <PersistentValue T>
std::ostream& operator<<(std::ostream& os, const T& value) {
    return os << static_cast<const ERObject&>(value);
}
template <PersistentValue T>
ERFile& operator<<(ERFile& file, const T& value) {
    return file << static_cast<const ERObject&>(value);
}
template <PersistentValue T>
ERFile& operator>>(ERFile& file, T& value) {
    return file >> static_cast<ERObject&>(value);
}

/// A new wrapper of the transformed value: << as transformTo, >> as transformFrom.
KERF_EXPORT ERPersistentPoint2D operator<<(const ERTransfo2D& t, const ERPersistentPoint2D& p);
KERF_EXPORT ERPersistentPoint2D operator>>(const ERTransfo2D& t, const ERPersistentPoint2D& p);
KERF_EXPORT ERPersistentPoint3D operator<<(const ERPmIsometrie3D& t, const ERPersistentPoint3D& p);
KERF_EXPORT ERPersistentPoint3D operator>>(const ERPmIsometrie3D& t, const ERPersistentPoint3D& p);

}  // namespace kerf
