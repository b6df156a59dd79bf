#include "kerf/curves/bounded_curve.h"

#include <algorithm>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/curves/planar_entity.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERFiniteEntity2DWFBoundedWithAngle, ERFiniteEntity2DWF)
ER_DEFINE_ABSTRACT_CLASS(ERFiniteEntity3DWFBoundedWithAngle, ERFiniteEntity3DWF)
ER_DEFINE_ABSTRACT_CLASS(ERLimitedEntity2DWF, ERFiniteEntity2DWF)
ER_DEFINE_ABSTRACT_CLASS(ERLimitedEntity3DWF, ERFiniteEntity3DWF)
ER_DEFINE_ABSTRACT_CLASS(ERTrimmedEntity2DWF, ERLimitedEntity2DWF)
ER_DEFINE_ABSTRACT_CLASS(ERTrimmedEntity3DWF, ERLimitedEntity3DWF)

ER_DEFINE_STORED_FIELDS(ERFiniteEntity2DWFBoundedWithAngle, ERFiniteEntity2DWF, EREntAngle)
ER_DEFINE_STORED_FIELDS(ERFiniteEntity3DWFBoundedWithAngle, ERFiniteEntity3DWF, EREntAngle)
ER_DEFINE_STORED_FIELDS(ERLimitedEntity2DWF, ERFiniteEntity2DWF)
ER_DEFINE_STORED_FIELDS(ERLimitedEntity3DWF, ERFiniteEntity3DWF)
ER_DEFINE_STORED_FIELDS(ERTrimmedEntity2DWF, ERLimitedEntity2DWF)
ER_DEFINE_STORED_FIELDS(ERTrimmedEntity3DWF, ERLimitedEntity3DWF)

namespace {

constexpr double turn = 6.283185307179586;
constexpr double degreesPerRadian = 57.29577951308232;

}  // namespace

ERRadian EREntAngle::startAngle(ERRadian angle) {
    const ERRadian former = start_;
    start_ = angle;
    return former;
}

ERRadian EREntAngle::endAngle(ERRadian angle) {
    const ERRadian former = end_;
    end_ = angle;
    return former;
}

int EREntAngle::isDirect() const { return end_ > start_; }

int EREntAngle::isClosed(double) const { return end_ + turn == start_ || end_ - turn == start_; }

void EREntAngle::reverse() { std::swap(start_, end_); }

void EREntAngle::setLimites(ERRadian start, ERRadian end) {
    start_ = start;
    end_ = end;
}

void EREntAngle::turnBy(double angle) {
    if (angle == 0.0) return;
    const bool closed = isClosed(0.0);
    const double whole = isDirect() ? turn : -turn;
    start_ = start_ + angle;
    end_ = end_ + angle;
    if (!closed) return;
    // One angle is made of the other by the very sum that isClosed asks for.
    end_ = start_ + whole;
    start_ = end_ - whole;
}

void EREntAngle::saveGuts(ERFile& file) const {
    file.Write(static_cast<double>(start_));
    file.Write(static_cast<double>(end_));
}

void EREntAngle::restoreGuts(ERFile& file) {
    double start = 0.0;
    double end = 0.0;
    file.Read(start);
    file.Read(end);
    setLimites(start, end);
}

void EREntAngle::printOn(std::ostream& os) const {
    os << "Angle de Debut:" << start_ * degreesPerRadian << std::endl;
    os << "Angle de Fin  :" << end_ * degreesPerRadian << std::endl;
}

ERULong EREntAngle::binaryStoreSize() const { return 2 * sizeof(double); }

template <class Space>
ERRadian AngleBounded<Space>::startAngle(ERRadian angle) {
    this->setDirty();
    return EREntAngle::startAngle(angle);
}

template <class Space>
ERRadian AngleBounded<Space>::endAngle(ERRadian angle) {
    this->setDirty();
    return EREntAngle::endAngle(angle);
}

template <class Space>
ERLimites AngleBounded<Space>::getBound() const {
    const double start = startAngle();
    const double end = endAngle();
    return start <= end ? ERLimites(start, end) : ERLimites(end, start);
}

template <class Space>
ERVec<typename Space::Point> AngleBounded<Space>::approxime(int n) const {
    auto points = Space::Curve::approxime(n);
    if (endAngle() <= startAngle()) std::reverse(points.data(), points.data() + points.length());
    return points;
}

template <class Space>
void AngleBounded<Space>::reverse() {
    EREntAngle::reverse();
    this->setDirty();
}

template <class Space>
void AngleBounded<Space>::printOn(std::ostream& os) const {
    EREntAngle::printOn(os);
}

void ERFiniteEntity2DWFBoundedWithAngle::transformFrom(const ERTransfo2D& transformation) {
    if (!transformation.isDirect()) negateAngles();
    setDirty();
}

void ERFiniteEntity2DWFBoundedWithAngle::transformTo(const ERTransfo2D& transformation) {
    ERFiniteEntity2DWFBoundedWithAngle::transformFrom(transformation);
}

void ERFiniteEntity3DWFBoundedWithAngle::transformFrom(const ERPmSimilitude3D& transformation) {
    if (mirrors(transformation)) negateAngles();
    setDirty();
}

void ERFiniteEntity3DWFBoundedWithAngle::transformFrom(const ERPmIsometrie3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformFrom(
        static_cast<const ERPmSimilitude3D&>(transformation));
}

void ERFiniteEntity3DWFBoundedWithAngle::transformTo(const ERPmSimilitude3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformFrom(transformation);
}

void ERFiniteEntity3DWFBoundedWithAngle::transformTo(const ERPmIsometrie3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformFrom(transformation);
}

template <class Space>
void Limited<Space>::printOn(std::ostream& os) const {
    os << "Natural boundary =" << natural_;
}

template <class Space>
void Limited<Space>::reparametrize(const ERLimites& domain) {
    natural_ = domain;
    this->setDirty();
}

template <class Space>
void Limited<Space>::redefineDomain(const ERLimites& domain) {
    natural_ = domain;
    this->setDirty();
}

template <class Space>
int Trimmed<Space>::isTrimmed() const {
    return this->Ndeb() != trim_.start() || this->Nfin() != trim_.end();
}

template <class Space>
void Trimmed<Space>::reverse() {
    const double start = this->Ndeb();
    const double length = this->Nfin() - start;
    if (length != 0.0) {
        const auto mirrored = [=](double t) {
            return start + (1.0 - (t - start) / length) * length;
        };
        trim_ = ERLimites(mirrored(trim_.end()), mirrored(trim_.start()));
    }
    this->setDirty();
}

template <class Space>
void Trimmed<Space>::printOn(std::ostream& os) const {
    Space::LimitedCurve::printOn(os);
    os << "Trimm boundaries   = " << trim_;
}

template <class Space>
void Trimmed<Space>::reparametrize(const ERLimites& domain) {
    const double start = this->Ndeb();
    const double length = this->Nfin() - start;
    if (length == 0.0) {
        trim_ = domain;
    } else {
        const auto carried = [&](double t) {
            return domain.start() + (domain.end() - domain.start()) * (t - start) / length;
        };
        trim_ = ERLimites(carried(trim_.start()), carried(trim_.end()));
    }
    Space::LimitedCurve::reparametrize(domain);
}

template <class Space>
void Trimmed<Space>::redefineDomain(const ERLimites& domain) {
    setBound(domain);
    adjust();
}

template <class Space>
ERLimites Trimmed<Space>::setBound(const ERLimites& trim) {
    const ERLimites former = trim_;
    trim_ = trim;
    this->setDirty();
    return former;
}

template <class Space>
void Trimmed<Space>::adjust() {
    this->natural_ = trim_;
    this->setDirty();
}

template class AngleBounded<Space2D>;
template class AngleBounded<Space3D>;
template class Limited<Space2D>;
template class Limited<Space3D>;
template class Trimmed<Space2D>;
template class Trimmed<Space3D>;

}  // namespace kerf
