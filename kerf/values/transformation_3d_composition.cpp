#include <new>

#include "kerf/values/linear_map.h"
#include "kerf/values/transformation_3d_representation.h"

// Composition by double dispatch: `left * right` goes to the multiplyWith_ of right for the class of
// left, where both classes are known. In those, `left` is applied after this object. What a class
// does not override is the general product.
namespace kerf {

namespace {

// Null when memory is out.
template <class Representation, class... Values>
const ERTr3DRevRep* make(const Values&... values) {
    try {
        return new Representation(values...);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

template <class Representation>
const ERTr3DRevRep* shareable(const Representation* rep) {
    return rep->isOnTheHeap() ? rep : make<Representation>(*rep);
}

const ERTr3DRevRep* workplane(const LinearMap& m, const ERPoint3D& o) {
    return make<_ERWorkplane>(m.asMatrix(), o);
}

const ERTr3DRevRep* generalProduct(const ERTr3DRevRep& left, const ERTr3DRevRep& right) {
    const LinearMap a(left.unscaledMatrix());
    const LinearMap b(right.unscaledMatrix());
    const double k = left.getFactHomo();
    return make<_ERSimilitude3D>((a * b).asMatrix(), k * a(right.getTrans()) + left.getTrans(),
                                 k * right.getFactHomo());
}

const ERTr3DRevRep* productMissing(const ERTr3DRevRep& right) {
    ER_assert(right.className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}

}  // namespace

// Never reached through the classes of the library.

const ERTr3DRevRep* ERTr3DRevRep::operator*(const ERTr3DRevRep*) const {
    return productMissing(*this);
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERTranslation3D(const _ERTranslation3D*) const {
    return productMissing(*this);
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERRotation3D(const _ERRotation3D*) const {
    return productMissing(*this);
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERWorkplane(const _ERWorkplane*) const {
    return productMissing(*this);
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERScaling3D(const _ERScaling3D*) const {
    return productMissing(*this);
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERSimilitude3D(const _ERSimilitude3D*) const {
    return productMissing(*this);
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERSymetrie3D(const _ERSymetrie3D*) const {
    return productMissing(*this);
}

// Each class sends its own name to the right operand.

const ERTr3DRevRep* _ERIdentity3D::operator*(const ERTr3DRevRep* right) const {
    return right->multiplyWith_ERIdentity3D(this);
}
const ERTr3DRevRep* _ERTranslation3D::operator*(const ERTr3DRevRep* right) const {
    return right->multiplyWith_ERTranslation3D(this);
}
const ERTr3DRevRep* _ERRotation3D::operator*(const ERTr3DRevRep* right) const {
    return right->multiplyWith_ERRotation3D(this);
}
const ERTr3DRevRep* _ERWorkplane::operator*(const ERTr3DRevRep* right) const {
    return right->multiplyWith_ERWorkplane(this);
}
const ERTr3DRevRep* _ERScaling3D::operator*(const ERTr3DRevRep* right) const {
    return right->multiplyWith_ERScaling3D(this);
}
const ERTr3DRevRep* _ERSimilitude3D::operator*(const ERTr3DRevRep* right) const {
    return right->multiplyWith_ERSimilitude3D(this);
}
const ERTr3DRevRep* _ERSymetrie3D::operator*(const ERTr3DRevRep* right) const {
    return right->multiplyWith_ERSymetrie3D(this);
}

// The general product.

const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERTranslation3D(
    const _ERTranslation3D* left) const {
    return generalProduct(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return generalProduct(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return generalProduct(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return generalProduct(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERSimilitude3D(
    const _ERSimilitude3D* left) const {
    return generalProduct(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return generalProduct(*left, *this);
}

// Anything after the identity.

const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERTranslation3D(
    const _ERTranslation3D* left) const {
    return shareable(left);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return shareable(left);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return shareable(left);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return shareable(left);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const {
    return shareable(left);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return shareable(left);
}

// An isometry after a translation.

// No tolerance here: only an exact zero is the identity.
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERTranslation3D(
    const _ERTranslation3D* left) const {
    const ERPoint3D t = translation_ + left->translation_;
    if (t.x() == 0.0 && t.y() == 0.0 && t.z() == 0.0) return GetIdentity();
    return make<_ERTranslation3D>(t);
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    const ERMatrix<double> m = left->getMatrix();
    return make<_ERWorkplane>(m, m * translation_);
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    const ERMatrix<double> m = left->getMatrix();
    return make<_ERWorkplane>(m, m * translation_ + left->getTrans());
}

// An isometry after a rotation.

const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERTranslation3D(
    const _ERTranslation3D* left) const {
    return make<_ERWorkplane>(matrix_, left->getTrans());
}
const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return make<_ERRotation3D>((LinearMap(left->matrix_) * LinearMap(matrix_)).asMatrix());
}
const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return workplane(LinearMap(left->getMatrix()) * LinearMap(matrix_), left->getTrans());
}

// An isometry after a workplane.

const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    return make<_ERWorkplane>(matrix_, origin_ + left->getTrans());
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    const LinearMap a(left->getMatrix());
    return workplane(a * LinearMap(matrix_), a(origin_));
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    const LinearMap a(left->matrix_);
    return workplane(a * LinearMap(matrix_), a(origin_) + left->origin_);
}

// A scaling after a scaling, without tolerance, unlike the reduction.

const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    const double k = left->factor_ * factor_;
    return k == 1.0 ? GetIdentity() : make<_ERScaling3D>(k);
}

}  // namespace kerf
