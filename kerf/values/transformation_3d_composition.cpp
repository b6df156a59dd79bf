#include <new>

#include "kerf/values/linear_map.h"
#include "kerf/values/transformation_3d_representation.h"

// Composition by double dispatch: `left * right` goes to right's multiplyWith_ for the class of
// left, where both classes are known. In those, `left` is applied after this object.
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

ERPoint3D sum(const ERPoint3D& a, const ERPoint3D& b) {
    return ERPoint3D(a.x() + b.x(), a.y() + b.y(), a.z() + b.z());
}

const ERTr3DRevRep* generalProduct(const ERTr3DRevRep* left, const ERTr3DRevRep* right) {
    const LinearMap a(left->unscaledMatrix());
    const LinearMap b(right->unscaledMatrix());
    const double k = left->getFactHomo();
    const ERPoint3D moved = a(right->getTrans());
    const ERPoint3D scaled(k * moved.x(), k * moved.y(), k * moved.z());
    return make<_ERSimilitude3D>((a * b).asMatrix(), sum(scaled, left->getTrans()),
                                 k * right->getFactHomo());
}

}  // namespace

// Never reached through the library's classes, which override them all.

const ERTr3DRevRep* ERTr3DRevRep::operator*(const ERTr3DRevRep*) const {
    ER_assert(className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERTranslation3D(const _ERTranslation3D*) const {
    ER_assert(className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERRotation3D(const _ERRotation3D*) const {
    ER_assert(className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERWorkplane(const _ERWorkplane*) const {
    ER_assert(className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERScaling3D(const _ERScaling3D*) const {
    ER_assert(className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERSimilitude3D(const _ERSimilitude3D*) const {
    ER_assert(className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}
const ERTr3DRevRep* ERTr3DRevRep::multiplyWith_ERSymetrie3D(const _ERSymetrie3D*) const {
    ER_assert(className(), "transformation_3d_composition.cpp", __LINE__);
    return nullptr;
}

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

// After a translation.

// No tolerance here: only an exact null is the identity.
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERTranslation3D(
    const _ERTranslation3D* left) const {
    const ERPoint3D t = sum(translation_, left->translation_);
    if (t.x() == 0.0 && t.y() == 0.0 && t.z() == 0.0) return GetIdentity();
    return make<_ERTranslation3D>(t);
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    const ERMatrix<double> m = left->getMatrix();
    return make<_ERWorkplane>(m, m * translation_);
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    const ERMatrix<double> m = left->getMatrix();
    return make<_ERWorkplane>(m, sum(m * translation_, left->getTrans()));
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERSimilitude3D(
    const _ERSimilitude3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return generalProduct(left, this);
}

// After a rotation.

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
const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return generalProduct(left, this);
}

// After a workplane.

const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    return make<_ERWorkplane>(matrix_, sum(origin_, left->getTrans()));
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    const LinearMap a(left->getMatrix());
    return workplane(a * LinearMap(matrix_), a(origin_));
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    const LinearMap a(left->matrix_);
    return workplane(a * LinearMap(matrix_), sum(a(origin_), left->origin_));
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return generalProduct(left, this);
}

// After a scaling.

const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return generalProduct(left, this);
}
// Without tolerance, unlike the reduction.
const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    const double k = left->factor_ * factor_;
    return k == 1.0 ? GetIdentity() : make<_ERScaling3D>(k);
}
const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return generalProduct(left, this);
}

// After a symmetry or a general similitude.

const ERTr3DRevRep* _ERSymetrie3D::multiplyWith_ERTranslation3D(
    const _ERTranslation3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSymetrie3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSymetrie3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSymetrie3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSymetrie3D::multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSymetrie3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return generalProduct(left, this);
}

const ERTr3DRevRep* _ERSimilitude3D::multiplyWith_ERTranslation3D(
    const _ERTranslation3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSimilitude3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSimilitude3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSimilitude3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSimilitude3D::multiplyWith_ERSimilitude3D(
    const _ERSimilitude3D* left) const {
    return generalProduct(left, this);
}
const ERTr3DRevRep* _ERSimilitude3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return generalProduct(left, this);
}

}  // namespace kerf
