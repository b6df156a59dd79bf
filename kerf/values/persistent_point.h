#pragma once
#include <iosfwd>

#include "kerf/values/entity.h"
#include "kerf/values/point.h"
#include "kerf/values/space.h"

// Points and vectors as objects: counted, registered, storable in a database.
namespace kerf {

/// What the wrappers share: an object of the class `Base` that is also a value.
template <class Base, class Value>
class PersistentValue : public Base, public Value {
public:
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

    // Of the stream forms of the object and of the value, a wrapper takes those of the object.
    friend std::ostream& operator<<(std::ostream& os, const PersistentValue& value) {
        return os << static_cast<const ERObject&>(value);
    }
    friend ERFile& operator<<(ERFile& file, const PersistentValue& value) {
        return file << static_cast<const ERObject&>(value);
    }
    friend ERFile& operator>>(ERFile& file, PersistentValue& value) {
        return file >> static_cast<ERObject&>(value);
    }

protected:
    PersistentValue() = default;
    PersistentValue(const PersistentValue&) = default;
    explicit PersistentValue(const Value& value) : Value(value) {}
    PersistentValue& operator=(const PersistentValue&) = default;

    void assign(const Value& value);
};

/// What the points add: the operations of an entity that need no transformation.
template <class Space>
class PersistentPoint : public PersistentValue<typename Space::Entity, typename Space::Point> {
public:
    void scale(double factor) override;
    void translate(const typename Space::Point& t) override;

protected:
    using PersistentValue<typename Space::Entity, typename Space::Point>::PersistentValue;
};

extern template class KERF_DECLARED_INSTANCE PersistentValue<EREntity2D, ERPoint2D>;
extern template class KERF_DECLARED_INSTANCE PersistentValue<EREntity3D, ERPoint3D>;
extern template class KERF_DECLARED_INSTANCE PersistentValue<ERObject, ERVector3D>;
extern template class KERF_DECLARED_INSTANCE PersistentPoint<Space2D>;
extern template class KERF_DECLARED_INSTANCE PersistentPoint<Space3D>;

/// A point of the plane as an entity. It is used as its ERPoint2D wherever a value is wanted.
/// A copy copies the value and never the identity; assigning another wrapper clears the identity of
/// this one. scale, translate, the transformations, and assigning a plain value keep it and make the
/// object dirty. The operators of the value (+= and the like, the references to coordinates) know
/// nothing of the object: call setDirty() after them. Printed as "(P) ", then the value.
/// Storage: 16 bytes.
class KERF_EXPORT ERPersistentPoint2D : public PersistentPoint<Space2D> {
    ER_OBJECT_CLASS(ERPersistentPoint2D);

public:
    ERPersistentPoint2D() = default;
    ERPersistentPoint2D(const ERPersistentPoint2D&) = default;
    explicit ERPersistentPoint2D(const ERPoint2D& p) : PersistentPoint(p) {}
    ERPersistentPoint2D& operator=(const ERPersistentPoint2D&) = default;
    ERPersistentPoint2D& operator=(const ERPoint2D& p);

    ERPersistentPoint2D* getCopy() const override;
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
};

/// A point of space as an entity: 24 bytes. The rest as ERPersistentPoint2D.
class KERF_EXPORT ERPersistentPoint3D : public PersistentPoint<Space3D> {
    ER_OBJECT_CLASS(ERPersistentPoint3D);

public:
    ERPersistentPoint3D() = default;
    ERPersistentPoint3D(const ERPersistentPoint3D&) = default;
    explicit ERPersistentPoint3D(const ERPoint3D& p) : PersistentPoint(p) {}
    ERPersistentPoint3D& operator=(const ERPersistentPoint3D&) = default;
    ERPersistentPoint3D& operator=(const ERPoint3D& p);

    ERPersistentPoint3D* getCopy() const override;
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
};

/// A vector of space as an object, but no entity: 24 bytes. The rest as ERPersistentPoint2D.
class KERF_EXPORT ERPersistentVector3D : public PersistentValue<ERObject, ERVector3D> {
    ER_OBJECT_CLASS(ERPersistentVector3D);

public:
    ERPersistentVector3D() = default;
    ERPersistentVector3D(const ERPersistentVector3D&) = default;
    explicit ERPersistentVector3D(const ERVector3D& v) : PersistentValue(v) {}
    ERPersistentVector3D& operator=(const ERPersistentVector3D&) = default;
    ERPersistentVector3D& operator=(const ERVector3D& v);

    ERPersistentVector3D* getCopy() const override;
};

/// A new wrapper of the transformed value: << as transformTo, >> as transformFrom.
KERF_EXPORT ERPersistentPoint2D operator<<(const ERTransfo2D& t, const ERPersistentPoint2D& p);
KERF_EXPORT ERPersistentPoint2D operator>>(const ERTransfo2D& t, const ERPersistentPoint2D& p);
KERF_EXPORT ERPersistentPoint3D operator<<(const ERPmIsometrie3D& t, const ERPersistentPoint3D& p);
KERF_EXPORT ERPersistentPoint3D operator>>(const ERPmIsometrie3D& t, const ERPersistentPoint3D& p);

}  // namespace kerf
