#include "kerf/values/transformation_2d.h"

#include <cmath>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/numerics/constants.h"
#include "kerf/values/pole.h"

namespace kerf {

ER_DEFINE_CLASS(ERTransfo2D, ERObject)

namespace {

template <class Value>
void mapEach(ERVec<Value>& values, const auto& map) {
    const unsigned int count = values.length();
    Value* const first = values.data();
    for (Value* value = first; value != first + count; ++value) *value = map(*value);
}

}  // namespace

ERTransfo2D::ERTransfo2D(const ERVector2D& translation)
    : origin_(translation.i(), translation.j()) {}

ERTransfo2D::ERTransfo2D(Coord2D axis)
    : a_(axis == Coord2D::CoordX ? 1.0 : -1.0), d_(axis == Coord2D::CoordY ? 1.0 : -1.0) {}

ERTransfo2D::ERTransfo2D(double ratio, const ERPoint2D& centre)
    : a_(ratio), d_(ratio), origin_(centre * (1.0 - ratio)) {}

ERTransfo2D::ERTransfo2D(ERVector2D xAxis, const ERPoint2D& origin) : origin_(origin) {
    xAxis.normalize();
    a_ = d_ = xAxis.i();
    b_ = -xAxis.j();
    c_ = xAxis.j();
}

ERTransfo2D ERTransfo2D::rotation(ERRadian angle) {
    const double cosine = std::cos(angle), sine = std::sin(angle);
    ERTransfo2D t;
    t.a_ = t.d_ = cosine;
    t.b_ = -sine;
    t.c_ = sine;
    return t;
}

ERTransfo2D ERTransfo2D::Scaling(double ratio) {
    ERTransfo2D t;
    t.a_ = t.d_ = ratio;
    return t;
}

ERTransfo2D ERTransfo2D::Symmetry(ERVector2D axis) {
    const double length = axis.norme();
    const double theta = std::atan2(std::fabs(axis.j()) / length, axis.i() / length);
    const double angle = -2.0 * theta;
    ERTransfo2D t;
    t.a_ = std::cos(angle);
    t.d_ = -t.a_;
    t.b_ = t.c_ = -std::sin(angle);
    return t;
}

ERPoint2D ERTransfo2D::TransFrom(const ERPoint2D& p) const {
    return ERPoint2D(a_ * p.x() + b_ * p.y() + origin_.x(), c_ * p.x() + d_ * p.y() + origin_.y());
}

ERVector2D ERTransfo2D::TransFrom(const ERVector2D& v) const {
    return ERVector2D(a_ * v.i() + b_ * v.j(), c_ * v.i() + d_ * v.j());
}

// The transpose over the determinant, with no translation.
ERTransfo2D ERTransfo2D::inverseMatrix() const {
    const double D = determinant();
    ERTransfo2D inverse;
    inverse.a_ = a_ / D;
    inverse.b_ = c_ / D;
    inverse.c_ = b_ / D;
    inverse.d_ = d_ / D;
    return inverse;
}

ERPoint2D ERTransfo2D::TransTo(const ERPoint2D& p) const {
    const ERVector2D local = TransTo(ERVector2D(origin_, p));
    return ERPoint2D(local.i(), local.j());
}

ERVector2D ERTransfo2D::TransTo(const ERVector2D& v) const { return inverseMatrix().TransFrom(v); }

void ERTransfo2D::TransFrom(ERVec<ERPoint2D>& points) const {
    mapEach(points, [this](const ERPoint2D& p) { return TransFrom(p); });
}

void ERTransfo2D::TransTo(ERVec<ERPoint2D>& points) const {
    mapEach(points, [inverse = inverseMatrix(), origin = origin_](const ERPoint2D& p) {
        return inverse.TransFrom(p - origin);
    });
}

// A pole is mapped in its stored coordinates, the translation times the weight. Nothing is divided
// by the weight, so that a pole of weight 0 has a finite image.

void ERTransfo2D::TransFrom(ERVec<ERPole2DH>& poles) const {
    mapEach(poles, [this](const ERPole2DH& pole) {
        const double w = pole.weigth();
        return ERPole2DH(ERPoint2D(TransFrom(ERVector2D(pole.thePoint()))) + origin_ * w, w);
    });
}

void ERTransfo2D::TransTo(ERVec<ERPole2DH>& poles) const {
    mapEach(poles, [inverse = inverseMatrix(), origin = origin_](const ERPole2DH& pole) {
        const double w = pole.weigth();
        return ERPole2DH(inverse.TransFrom(pole.thePoint() - origin * w), w);
    });
}

ERTransfo2D ERTransfo2D::operator~() const {
    ERTransfo2D inverse = inverseMatrix();
    inverse.origin_ = -inverse.TransFrom(origin_);
    return inverse;
}

ERTransfo2D operator*(const ERTransfo2D& t1, const ERTransfo2D& t2) {
    ERTransfo2D product;
    product.a_ = t1.a_ * t2.a_ + t1.b_ * t2.c_;
    product.b_ = t1.a_ * t2.b_ + t1.b_ * t2.d_;
    product.c_ = t1.c_ * t2.a_ + t1.d_ * t2.c_;
    product.d_ = t1.c_ * t2.b_ + t1.d_ * t2.d_;
    product.origin_ = t1.TransFrom(t2.origin_);
    return product;
}

double ERTransfo2D::factHomo() const { return std::sqrt(std::fabs(determinant())); }

ERRadian ERTransfo2D::angle() const { return ERRadian(std::atan2(-b_, a_)); }

void ERTransfo2D::Decompose(ERVector2D& translation, double& ratio, int& direct,
                            ERRadian& rotationAngle) const {
    translation = ERVector2D(origin_);
    ratio = factHomo();
    direct = isDirect();
    rotationAngle = angle();
}

ERObject* ERTransfo2D::getCopy() const { return new ERTransfo2D(*this); }

void ERTransfo2D::printOn(std::ostream& os) const {
    const double radians = angle();
    os << "Transfo2D definie par :  T*H*Sym*R :\n"
       << "    Rotation d'angle  :                  :  " << radians * degreesPerRadian << "  ("
       << radians << ")\n"
       << "    Symetrie par rapport a l'axe 'Ox' ?  :  " << (isDirect() ? "Non" : "Oui") << "\n"
       << "    Homothetie de rapport                :  " << factHomo() << "\n"
       << "    Translation de vecteur               :  " << ERVector2D(origin_) << "\n";
}

void ERTransfo2D::saveGuts(ERFile& file) const {
    ERObject::saveGuts(file);
    const double fields[] = {a_, b_, c_, d_, origin_.x(), origin_.y()};
    file.Write(fields, 6);
}

void ERTransfo2D::restoreGuts(ERFile& file) {
    ERObject::restoreGuts(file);
    double fields[] = {a_, b_, c_, d_, origin_.x(), origin_.y()};
    file.Read(fields, 6);
    a_ = fields[0];
    b_ = fields[1];
    c_ = fields[2];
    d_ = fields[3];
    origin_ = ERPoint2D(fields[4], fields[5]);
}

ERTransfo2D rotation(ERRadian angle) { return ERTransfo2D::rotation(angle); }
ERTransfo2D Scaling(double ratio) { return ERTransfo2D::Scaling(ratio); }
ERTransfo2D Symmetry(ERVector2D axis) { return ERTransfo2D::Symmetry(axis); }

ERPoint2D operator>>(const ERTransfo2D& t, const ERPoint2D& p) { return t.TransFrom(p); }
ERPoint2D operator<<(const ERTransfo2D& t, const ERPoint2D& p) { return t.TransTo(p); }
ERVector2D operator>>(const ERTransfo2D& t, const ERVector2D& v) { return t.TransFrom(v); }
ERVector2D operator<<(const ERTransfo2D& t, const ERVector2D& v) { return t.TransTo(v); }

ERVec<ERPoint2D> operator>>(const ERTransfo2D& t, const ERVec<ERPoint2D>& points) {
    ERVec<ERPoint2D> mapped = points;
    t.TransFrom(mapped);
    return mapped;
}

ERVec<ERPoint2D> operator<<(const ERTransfo2D& t, const ERVec<ERPoint2D>& points) {
    ERVec<ERPoint2D> mapped = points;
    t.TransTo(mapped);
    return mapped;
}

ERVec<ERPole2DH> operator>>(const ERTransfo2D& t, const ERVec<ERPole2DH>& poles) {
    ERVec<ERPole2DH> mapped = poles;
    t.TransFrom(mapped);
    return mapped;
}

ERVec<ERPole2DH> operator<<(const ERTransfo2D& t, const ERVec<ERPole2DH>& poles) {
    ERVec<ERPole2DH> mapped = poles;
    t.TransTo(mapped);
    return mapped;
}

}  // namespace kerf
