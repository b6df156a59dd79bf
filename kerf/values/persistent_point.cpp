#include "kerf/values/persistent_point.h"

#include <ostream>

#include "kerf/core/file.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {

ER_DEFINE_CLASS(ERPersistentPoint2D, EREntity2D)
ER_DEFINE_CLASS(ERPersistentPoint3D, EREntity3D)
ER_DEFINE_CLASS(ERPersistentVector3D, ERObject)

// The caller's field width is for the coordinates, so it steps over the mark.
template <class Base, class Value>
void PersistentValue<Base, Value>::printOn(std::ostream& os) const {
    const std::streamsize width = os.width(0);
    os << "(P) ";
    os.width(width);
    Value::printOn(os);
}

template <class Base, class Value>
void PersistentValue<Base, Value>::saveGuts(ERFile& file) const {
    Base::saveGuts(file);
    Value::saveGuts(file);
}

template <class Base, class Value>
void PersistentValue<Base, Value>::restoreGuts(ERFile& file) {
    Base::restoreGuts(file);
    Value::restoreGuts(file);
}

template <class Base, class Value>
ERULong PersistentValue<Base, Value>::binaryStoreSize() const {
    return Base::binaryStoreSize() + Value::binaryStoreSize();
}

template <class Base, class Value>
void PersistentValue<Base, Value>::assign(const Value& value) {
    Value::operator=(value);
    this->setDirty();
}

template <class Space>
void PersistentPoint<Space>::scale(double factor) {
    this->assign(*this * factor);
}

template <class Space>
void PersistentPoint<Space>::translate(const typename Space::Point& t) {
    this->assign(this->thePoint() + t);
}

template class KERF_DEFINED_INSTANCE PersistentValue<EREntity2D, ERPoint2D>;
template class KERF_DEFINED_INSTANCE PersistentValue<EREntity3D, ERPoint3D>;
template class KERF_DEFINED_INSTANCE PersistentValue<ERObject, ERVector3D>;
template class KERF_DEFINED_INSTANCE PersistentPoint<Space2D>;
template class KERF_DEFINED_INSTANCE PersistentPoint<Space3D>;

ERPersistentPoint2D& ERPersistentPoint2D::operator=(const ERPoint2D& p) {
    assign(p);
    return *this;
}

ERPersistentPoint3D& ERPersistentPoint3D::operator=(const ERPoint3D& p) {
    assign(p);
    return *this;
}

ERPersistentVector3D& ERPersistentVector3D::operator=(const ERVector3D& v) {
    assign(v);
    return *this;
}

ERPersistentPoint2D* ERPersistentPoint2D::getCopy() const { return new ERPersistentPoint2D(*this); }

ERPersistentPoint3D* ERPersistentPoint3D::getCopy() const { return new ERPersistentPoint3D(*this); }

ERPersistentVector3D* ERPersistentVector3D::getCopy() const {
    return new ERPersistentVector3D(*this);
}

void ERPersistentPoint2D::transformFrom(const ERTransfo2D& transformation) {
    *this = transformation.TransFrom(thePoint());
}

void ERPersistentPoint2D::transformTo(const ERTransfo2D& transformation) {
    *this = transformation.TransTo(thePoint());
}

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
