#include "kerf/values/persistent_point.h"

#include <ostream>

#include "kerf/core/file.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {

ER_DEFINE_CLASS(ERPersistentPoint2D, EREntity2D)
ER_DEFINE_CLASS(ERPersistentPoint3D, EREntity3D)
ER_DEFINE_CLASS(ERPersistentVector3D, ERObject)

namespace {

// The caller's field width is for the coordinates, so it steps over the mark.
template <class Value>
void printMarked(std::ostream& os, const Value& value) {
    const std::streamsize width = os.width(0);
    os << "(P) ";
    os.width(width);
    value.printOn(os);
}

}  // namespace

// What a wrapper of `Value` under the object class `Base` does, whatever the value.
#define ER_DEFINE_PERSISTENT_VALUE(Class, Base, Value)                             \
    Class& Class::operator=(const Value& value) {                                  \
        Value::operator=(value);                                                   \
        setDirty();                                                                \
        return *this;                                                              \
    }                                                                              \
    Class* Class::getCopy() const { return new Class(*this); }                     \
    void Class::printOn(std::ostream& os) const { printMarked<Value>(os, *this); } \
    void Class::saveGuts(ERFile& file) const {                                     \
        Base::saveGuts(file);                                                      \
        Value::saveGuts(file);                                                     \
    }                                                                              \
    void Class::restoreGuts(ERFile& file) {                                        \
        Base::restoreGuts(file);                                                   \
        Value::restoreGuts(file);                                                  \
    }                                                                              \
    ERULong Class::binaryStoreSize() const {                                       \
        return Base::binaryStoreSize() + Value::binaryStoreSize();                 \
    }

ER_DEFINE_PERSISTENT_VALUE(ERPersistentPoint2D, EREntity2D, ERPoint2D)
ER_DEFINE_PERSISTENT_VALUE(ERPersistentPoint3D, EREntity3D, ERPoint3D)
ER_DEFINE_PERSISTENT_VALUE(ERPersistentVector3D, ERObject, ERVector3D)

void ERPersistentPoint2D::scale(double factor) { *this = *this * factor; }

void ERPersistentPoint2D::translate(const ERPoint2D& t) { *this = thePoint() + t; }

void ERPersistentPoint2D::transformFrom(const ERTransfo2D& transformation) {
    *this = transformation.TransFrom(thePoint());
}

void ERPersistentPoint2D::transformTo(const ERTransfo2D& transformation) {
    *this = transformation.TransTo(thePoint());
}

void ERPersistentPoint3D::scale(double factor) { *this = *this * factor; }

void ERPersistentPoint3D::translate(const ERPoint3D& t) { *this = thePoint() + t; }

void ERPersistentPoint3D::transformFrom(const ERPmSimilitude3D& transformation) {
    *this = transformation >> thePoint();
}

void ERPersistentPoint3D::transformFrom(const ERPmIsometrie3D& transformation) {
    *this = transformation >> thePoint();
}

void ERPersistentPoint3D::transformTo(const ERPmSimilitude3D& transformation) {
    *this = transformation << thePoint();
}

void ERPersistentPoint3D::transformTo(const ERPmIsometrie3D& transformation) {
    *this = transformation << thePoint();
}

ERPersistentPoint2D operator<<(const ERTransfo2D& t, const ERPersistentPoint2D& p) {
    return ERPersistentPoint2D(t << p.thePoint());
}

ERPersistentPoint2D operator>>(const ERTransfo2D& t, const ERPersistentPoint2D& p) {
    return ERPersistentPoint2D(t >> p.thePoint());
}

ERPersistentPoint3D operator<<(const ERPmIsometrie3D& t, const ERPersistentPoint3D& p) {
    return ERPersistentPoint3D(t << p.thePoint());
}

ERPersistentPoint3D operator>>(const ERPmIsometrie3D& t, const ERPersistentPoint3D& p) {
    return ERPersistentPoint3D(t >> p.thePoint());
}

}  // namespace kerf
