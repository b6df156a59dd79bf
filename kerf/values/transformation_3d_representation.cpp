#include "kerf/values/transformation_3d_representation.h"

#include <cmath>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/numerics/constants.h"
#include "kerf/numerics/linear_solvers.h"
#include "kerf/platform/thread_storage.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/orthonormal_frame.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERTr3DRevRep, ERTr3DRev)
ER_DEFINE_ABSTRACT_CLASS(ERAnySimilitude3D, ERTr3DRevRep)
ER_DEFINE_ABSTRACT_CLASS(ERAnyIsometrie3D, ERAnySimilitude3D)
ER_DEFINE_CLASS(_ERIdentity3D, ERAnyIsometrie3D)
ER_DEFINE_CLASS(_ERTranslation3D, ERAnyIsometrie3D)
ER_DEFINE_CLASS(_ERRotation3D, ERAnyIsometrie3D)
ER_DEFINE_CLASS(_ERWorkplane, ERAnyIsometrie3D)
ER_DEFINE_CLASS(_ERScaling3D, ERAnySimilitude3D)
ER_DEFINE_CLASS(_ERSymetrie3D, ERAnySimilitude3D)
ER_DEFINE_CLASS(_ERSimilitude3D, ERAnySimilitude3D)

// What each thread keeps: its identity, with a share of its own, so that no handle deletes it.
class ERTr3DRevRep_ThreadLocalData : public CNoTrackObject {
public:
    ERTr3DRevRep_ThreadLocalData() : identity(new _ERIdentity3D) { identity->addReference(); }
    // Handles in static objects may outlive the thread's data; the last of them deletes it then.
    ~ERTr3DRevRep_ThreadLocalData() override {
        if (identity->removeReference() == 0) delete identity;
    }

    const _ERIdentity3D* identity;
};

namespace {

constexpr double tolerance = comparisonTolerance;

CThreadLocal<ERTr3DRevRep_ThreadLocalData> threadIdentity;

// The maps are values with their coefficients inside, so that these stay in registers over a loop.
// Each takes a point, a vector or a pole and returns its image. None divides by the weight of a pole,
// so that a pole of weight 0 has a finite image.

// GCC makes vector code of runs of a constant length, at -O2 too.
template <class Map>
void mapPoints(ERPoint3D* points, unsigned int count, Map map) {
    const auto mapPoint = [&map](ERPoint3D& p) {
        const ERPoint3D image = map(p);
        p.x() = image.x();
        p.y() = image.y();
        p.z() = image.z();
    };
    constexpr unsigned int run = 8;
    for (; count >= run; count -= run, points += run)
        for (unsigned int i = 0; i < run; ++i) mapPoint(points[i]);
    for (unsigned int i = 0; i < count; ++i) mapPoint(points[i]);
}

template <class Map>
void mapPoles(ERVec<ERPole3DH>& poles, Map map) {
    const unsigned int count = poles.length();
    ERPole3DH* const pole = poles.data();
    for (unsigned int i = 0; i < count; ++i) pole[i] = map(pole[i]);
}

struct Translate {
    ERPoint3D t;
    ERPoint3D operator()(const ERPoint3D& p) const {
        return ERPoint3D(p.x() + t.x(), p.y() + t.y(), p.z() + t.z());
    }
    ERVector3D operator()(const ERVector3D& v) const { return v; }
    ERPole3DH operator()(const ERPole3DH& p) const {
        return ERPole3DH(p.thePoint() + t * p.weigth(), p.weigth());
    }
};

struct TranslateBack {
    ERPoint3D t;
    ERPoint3D operator()(const ERPoint3D& p) const {
        return ERPoint3D(p.x() - t.x(), p.y() - t.y(), p.z() - t.z());
    }
    ERVector3D operator()(const ERVector3D& v) const { return v; }
    ERPole3DH operator()(const ERPole3DH& p) const {
        return ERPole3DH(p.thePoint() - t * p.weigth(), p.weigth());
    }
};

// A map without translation: of a pole it maps the weighted coordinates as they are.
template <class Map>
struct Linear {
    Map map;
    ERPoint3D operator()(const ERPoint3D& p) const { return map(p); }
    ERVector3D operator()(const ERVector3D& v) const { return ERVector3D(map(ERPoint3D(v))); }
    ERPole3DH operator()(const ERPole3DH& p) const {
        return ERPole3DH(map(p.thePoint()), p.weigth());
    }
};
template <class Map>
Linear(Map) -> Linear<Map>;

struct Multiply {
    double k;
    ERPoint3D operator()(const ERPoint3D& p) const {
        return ERPoint3D(k * p.x(), k * p.y(), k * p.z());
    }
};

struct Divide {
    double k;
    ERPoint3D operator()(const ERPoint3D& p) const {
        return ERPoint3D(p.x() / k, p.y() / k, p.z() / k);
    }
};

Linear<LinearMap> rotate(const ERMatrix<double>& matrix) { return {LinearMap(matrix)}; }
Linear<LinearMap> rotateBack(const ERMatrix<double>& matrix) {
    return {LinearMap(matrix).transposed()};
}

template <class First, class... Rest>
auto inTurn(First first, Rest... rest) {
    if constexpr (sizeof...(rest) == 0)
        return first;
    else
        return [first, then = inTurn(rest...)](const auto& value) { return then(first(value)); };
}

bool isNull(const ERPoint3D& p) {
    return std::fabs(p.x()) <= tolerance && std::fabs(p.y()) <= tolerance &&
           std::fabs(p.z()) <= tolerance;
}

bool isUnit(const ERMatrix<double>& m) {
    return LinearMap::fits(m) && LinearMap(m).isUnit(tolerance);
}

// The reduced form of what is simplest already: the object itself, or a copy that can be shared.
template <class Representation>
const ERTr3DRevRep* shareable(const Representation& simplest) {
    return simplest.isOnTheHeap() ? &simplest : simplest.getCopy();
}

// The identity, rotation or translation that equals the frame; null when it takes a workplane.
const ERTr3DRevRep* simplerThanWorkplane(const ERMatrix<double>& matrix, const ERPoint3D& origin) {
    if (isNull(origin)) {
        if (isUnit(matrix)) return ERTr3DRevRep::GetIdentity();
        return new _ERRotation3D(matrix);
    }
    return isUnit(matrix) ? new _ERTranslation3D(origin) : nullptr;
}

// A stored matrix of another shape means nothing: it becomes the unit matrix.
void restoreMatrix(ERMatrix<double>& matrix, ERFile& file) {
    matrix.restoreGuts(file);
    if (!LinearMap::fits(matrix)) matrix = IdentityMatrix(3);
}

}  // namespace

const ERTr3DRevRep* ERTr3DRevRep::GetIdentity() { return threadIdentity.GetData()->identity; }

const ERTr3DRevRep* ERTr3DRevRep::getReduced() const { return shareable(*this); }

ERMatrix<double> ERTr3DRevRep::unscaledMatrix() const {
    return isA() == _ERScaling3D::desc() ? IdentityMatrix(3) : getMatrix();
}

double ERAnyIsometrie3D::getFactHomo() const { return 1.0; }
int ERAnyIsometrie3D::isDirect() const { return 1; }

// The maps of each class, from its frame and to it.

struct _ERTranslation3D::Maps {
    static auto from(const _ERTranslation3D& t) { return Translate{t.translation_}; }
    static auto to(const _ERTranslation3D& t) { return TranslateBack{t.translation_}; }
};

struct _ERRotation3D::Maps {
    static auto from(const _ERRotation3D& t) { return rotate(t.matrix_); }
    static auto to(const _ERRotation3D& t) { return rotateBack(t.matrix_); }
};

struct _ERWorkplane::Maps {
    static auto from(const _ERWorkplane& t) {
        return inTurn(rotate(t.matrix_), Translate{t.origin_});
    }
    static auto to(const _ERWorkplane& t) {
        return inTurn(TranslateBack{t.origin_}, rotateBack(t.matrix_));
    }
};

struct _ERScaling3D::Maps {
    static auto from(const _ERScaling3D& t) { return Linear{Multiply{t.factor_}}; }
    static auto to(const _ERScaling3D& t) { return Linear{Divide{t.factor_}}; }
};

struct _ERSymetrie3D::Maps {
    static auto from(const _ERSymetrie3D& t) { return rotate(t.matrix_); }
    static auto to(const _ERSymetrie3D& t) { return rotate(t.matrix_); }
};

struct _ERSimilitude3D::Maps {
    static auto from(const _ERSimilitude3D& t) {
        return inTurn(Linear{Multiply{t.factor_}}, rotate(t.matrix_), Translate{t.translation_});
    }
    static auto to(const _ERSimilitude3D& t) {
        return inTurn(TranslateBack{t.translation_}, rotateBack(t.matrix_),
                      Linear{Divide{t.factor_}});
    }
};

template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransTo(ERVec<ERPole3DH>& poles) const {
    mapPoles(poles, Class::Maps::to(static_cast<const Class&>(*this)));
}
template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransTo(ERPoint3D* points, unsigned int n) const {
    mapPoints(points, n, Class::Maps::to(static_cast<const Class&>(*this)));
}
template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransTo(ERVector3D& v) const {
    v = Class::Maps::to(static_cast<const Class&>(*this))(v);
}
template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransTo(ERPoint3D& p) const {
    p = Class::Maps::to(static_cast<const Class&>(*this))(p);
}
template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransFrom(ERVec<ERPole3DH>& poles) const {
    mapPoles(poles, Class::Maps::from(static_cast<const Class&>(*this)));
}
template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransFrom(ERPoint3D* points, unsigned int n) const {
    mapPoints(points, n, Class::Maps::from(static_cast<const Class&>(*this)));
}
template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransFrom(ERVector3D& v) const {
    v = Class::Maps::from(static_cast<const Class&>(*this))(v);
}
template <class Class, class Base>
void MappedRepresentation<Class, Base>::TransFrom(ERPoint3D& p) const {
    p = Class::Maps::from(static_cast<const Class&>(*this))(p);
}

template class KERF_DEFINED_INSTANCE MappedRepresentation<_ERTranslation3D, ERAnyIsometrie3D>;
template class KERF_DEFINED_INSTANCE MappedRepresentation<_ERRotation3D, ERAnyIsometrie3D>;
template class KERF_DEFINED_INSTANCE MappedRepresentation<_ERWorkplane, ERAnyIsometrie3D>;
template class KERF_DEFINED_INSTANCE MappedRepresentation<_ERScaling3D, ERAnySimilitude3D>;
template class KERF_DEFINED_INSTANCE MappedRepresentation<_ERSymetrie3D, ERAnySimilitude3D>;
template class KERF_DEFINED_INSTANCE MappedRepresentation<_ERSimilitude3D, ERAnySimilitude3D>;

// The identity.

void _ERIdentity3D::TransTo(ERVec<ERPole3DH>&) const {}
void _ERIdentity3D::TransTo(ERPoint3D*, unsigned int) const {}
void _ERIdentity3D::TransTo(ERVec<ERPoint3D>&) const {}
void _ERIdentity3D::TransTo(ERVector3D&) const {}
void _ERIdentity3D::TransTo(ERPoint3D&) const {}
void _ERIdentity3D::TransFrom(ERVec<ERPole3DH>&) const {}
void _ERIdentity3D::TransFrom(ERVec<ERPoint3D>&) const {}
void _ERIdentity3D::TransFrom(ERPoint3D*, unsigned int) const {}
void _ERIdentity3D::TransFrom(ERVector3D&) const {}
void _ERIdentity3D::TransFrom(ERPoint3D&) const {}

int _ERIdentity3D::isEqual(const ERTr3D& other) const {
    const void* const part = other._castdown(*ERTr3DRev::desc());
    if (part == nullptr) return 0;
    const ERTr3DRev& right = *static_cast<const ERTr3DRev*>(part);
    return isUnit(right.getMatrix()) && isNull(right.origine()) &&
           std::fabs(right.getFactHomo() - 1.0) <= tolerance;
}

const ERTr3DRevRep* _ERIdentity3D::getInverse() const { return GetIdentity(); }
ERMatrix<double> _ERIdentity3D::getMatrix() const { return IdentityMatrix(3); }
ERPoint3D _ERIdentity3D::getTrans() const { return ERPoint3D(); }
_ERIdentity3D* _ERIdentity3D::getCopy() const { return new _ERIdentity3D(*this); }
void _ERIdentity3D::printOn(std::ostream& os) const { os << "Identite" << std::endl; }
const ERTr3DRevRep* _ERIdentity3D::getReduced() const { return GetIdentity(); }

// Translations.

const ERTr3DRevRep* _ERTranslation3D::getInverse() const {
    return new _ERTranslation3D(-translation_);
}
ERMatrix<double> _ERTranslation3D::getMatrix() const { return IdentityMatrix(3); }
_ERTranslation3D* _ERTranslation3D::getCopy() const { return new _ERTranslation3D(*this); }
void _ERTranslation3D::printOn(std::ostream& os) const {
    os << "Composante Translation : " << translation_;
}

void _ERTranslation3D::saveGuts(ERFile& file) const {
    ERAnyIsometrie3D::saveGuts(file);
    translation_.saveGuts(file);
}
void _ERTranslation3D::restoreGuts(ERFile& file) {
    ERAnyIsometrie3D::restoreGuts(file);
    translation_.restoreGuts(file);
}
ERULong _ERTranslation3D::binaryStoreSize() const {
    return ERAnyIsometrie3D::binaryStoreSize() + translation_.binaryStoreSize();
}

const ERTr3DRevRep* _ERTranslation3D::getReduced() const {
    return isNull(translation_) ? GetIdentity() : shareable(*this);
}

// Rotations.

_ERRotation3D::_ERRotation3D() : matrix_(IdentityMatrix(3)) {}

const ERTr3DRevRep* _ERRotation3D::getInverse() const {
    return new _ERRotation3D(LinearMap(matrix_).transposed().asMatrix());
}
ERPoint3D _ERRotation3D::getTrans() const { return ERPoint3D(); }
_ERRotation3D* _ERRotation3D::getCopy() const { return new _ERRotation3D(*this); }
void _ERRotation3D::printOn(std::ostream& os) const {
    os << "Matrice de Rotation : ";
    matrix_.printOn(os);
}

void _ERRotation3D::saveGuts(ERFile& file) const {
    ERAnyIsometrie3D::saveGuts(file);
    matrix_.saveGuts(file);
}
void _ERRotation3D::restoreGuts(ERFile& file) {
    ERAnyIsometrie3D::restoreGuts(file);
    restoreMatrix(matrix_, file);
}
ERULong _ERRotation3D::binaryStoreSize() const {
    return ERAnyIsometrie3D::binaryStoreSize() + matrix_.binaryStoreSize();
}

const ERTr3DRevRep* _ERRotation3D::getReduced() const {
    return isUnit(matrix_) ? GetIdentity() : shareable(*this);
}

// Workplanes.

_ERWorkplane::_ERWorkplane() : matrix_(IdentityMatrix(3)) {}
_ERWorkplane::_ERWorkplane(const ERVector3D& x, const ERVector3D& y, const ERPoint3D& o)
    : matrix_(orthonormalFrame(x, y).asMatrix()), origin_(o) {}
_ERWorkplane::_ERWorkplane(const ERVector3D& z, const ERPoint3D& o)
    : matrix_(orthonormalFrame(z).asMatrix()), origin_(o) {}
_ERWorkplane::_ERWorkplane(const _ERRotation3D& rotation, const _ERTranslation3D& translation)
    : matrix_(rotation.getMatrix()), origin_(translation.getTrans()) {}
_ERWorkplane::_ERWorkplane(const ERAnyIsometrie3D& isometry)
    : matrix_(isometry.getMatrix()), origin_(isometry.getTrans()) {}

const ERTr3DRevRep* _ERWorkplane::getInverse() const {
    const LinearMap transposed = LinearMap(matrix_).transposed();
    return new _ERWorkplane(transposed.asMatrix(), -transposed(origin_));
}
_ERWorkplane* _ERWorkplane::getCopy() const { return new _ERWorkplane(*this); }
void _ERWorkplane::printOn(std::ostream& os) const {
    os << "Matrice de Rotation    : ";
    matrix_.printOn(os);
    os << "Composante Translation : " << origin_;
}

void _ERWorkplane::saveGuts(ERFile& file) const {
    ERAnyIsometrie3D::saveGuts(file);
    matrix_.saveGuts(file);
    origin_.saveGuts(file);
}
void _ERWorkplane::restoreGuts(ERFile& file) {
    ERAnyIsometrie3D::restoreGuts(file);
    restoreMatrix(matrix_, file);
    origin_.restoreGuts(file);
}
ERULong _ERWorkplane::binaryStoreSize() const {
    return ERAnyIsometrie3D::binaryStoreSize() + matrix_.binaryStoreSize() +
           origin_.binaryStoreSize();
}

const ERTr3DRevRep* _ERWorkplane::getReduced() const {
    const ERTr3DRevRep* const simpler = simplerThanWorkplane(matrix_, origin_);
    return simpler != nullptr ? simpler : shareable(*this);
}

// Scalings.

const ERTr3DRevRep* _ERScaling3D::getInverse() const { return new _ERScaling3D(1.0 / factor_); }
ERMatrix<double> _ERScaling3D::getMatrix() const {
    return LinearMap(factor_, 0.0, 0.0, 0.0, factor_, 0.0, 0.0, 0.0, factor_).asMatrix();
}
ERPoint3D _ERScaling3D::getTrans() const { return ERPoint3D(); }
int _ERScaling3D::isDirect() const { return 1; }
_ERScaling3D* _ERScaling3D::getCopy() const { return new _ERScaling3D(*this); }
void _ERScaling3D::printOn(std::ostream& os) const { os << "Homothetie de rapport :" << factor_; }

void _ERScaling3D::saveGuts(ERFile& file) const {
    ERAnySimilitude3D::saveGuts(file);
    file.Write(factor_);
}
void _ERScaling3D::restoreGuts(ERFile& file) {
    ERAnySimilitude3D::restoreGuts(file);
    file.Read(factor_);
}
ERULong _ERScaling3D::binaryStoreSize() const {
    return ERAnySimilitude3D::binaryStoreSize() + static_cast<ERULong>(sizeof factor_);
}

const ERTr3DRevRep* _ERScaling3D::getReduced() const {
    return std::fabs(factor_ - 1.0) <= tolerance ? GetIdentity() : shareable(*this);
}

// Symmetries.

_ERSymetrie3D::_ERSymetrie3D()
    : matrix_(LinearMap(1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, -1.0).asMatrix()) {}

ERPoint3D _ERSymetrie3D::getTrans() const { return ERPoint3D(); }
double _ERSymetrie3D::getFactHomo() const { return 1.0; }
int _ERSymetrie3D::isDirect() const { return determinant(ERLUDecomp(matrix_)) > 0.0 ? 1 : 0; }
_ERSymetrie3D* _ERSymetrie3D::getCopy() const { return new _ERSymetrie3D(*this); }
void _ERSymetrie3D::printOn(std::ostream& os) const {
    os << "Symetrie de matrice : ";
    matrix_.printOn(os);
}

void _ERSymetrie3D::saveGuts(ERFile& file) const {
    ERAnySimilitude3D::saveGuts(file);
    matrix_.saveGuts(file);
}
void _ERSymetrie3D::restoreGuts(ERFile& file) {
    ERAnySimilitude3D::restoreGuts(file);
    restoreMatrix(matrix_, file);
}
ERULong _ERSymetrie3D::binaryStoreSize() const {
    return ERAnySimilitude3D::binaryStoreSize() + matrix_.binaryStoreSize();
}

const ERTr3DRevRep* _ERSymetrie3D::getReduced() const { return shareable(*this); }

// The general similitude.

_ERSimilitude3D::_ERSimilitude3D() : matrix_(IdentityMatrix(3)) {}
_ERSimilitude3D::_ERSimilitude3D(const ERAnySimilitude3D& any)
    : matrix_(any.unscaledMatrix()), translation_(any.getTrans()), factor_(any.getFactHomo()) {}

const ERTr3DRevRep* _ERSimilitude3D::getInverse() const {
    const LinearMap transposed = LinearMap(matrix_).transposed();
    return new _ERSimilitude3D(transposed.asMatrix(), -Divide{factor_}(transposed(translation_)),
                               1.0 / factor_);
}
int _ERSimilitude3D::isDirect() const { return determinant(ERLUDecomp(matrix_)) > 0.0 ? 1 : 0; }
_ERSimilitude3D* _ERSimilitude3D::getCopy() const { return new _ERSimilitude3D(*this); }

int _ERSimilitude3D::isValid() const {
    if (!ERAnySimilitude3D::isValid() || !LinearMap::fits(matrix_)) return 0;
    const double volume = std::fabs(determinant(ERLUDecomp(matrix_)));
    return std::fabs(volume - 1.0) <= tolerance && std::isfinite(factor_) && factor_ != 0.0;
}

void _ERSimilitude3D::printOn(std::ostream& os) const {
    os << "Matrice de Rotation    : ";
    matrix_.printOn(os);
    os << "Composante Translation : " << translation_;
    os << "facteur d'homothetie   : " << factor_;
}

void _ERSimilitude3D::saveGuts(ERFile& file) const {
    ERAnySimilitude3D::saveGuts(file);
    matrix_.saveGuts(file);
    translation_.saveGuts(file);
    file.Write(factor_);
}
void _ERSimilitude3D::restoreGuts(ERFile& file) {
    ERAnySimilitude3D::restoreGuts(file);
    restoreMatrix(matrix_, file);
    translation_.restoreGuts(file);
    file.Read(factor_);
}
ERULong _ERSimilitude3D::binaryStoreSize() const {
    return ERAnySimilitude3D::binaryStoreSize() + matrix_.binaryStoreSize() +
           translation_.binaryStoreSize() + static_cast<ERULong>(sizeof factor_);
}

const ERTr3DRevRep* _ERSimilitude3D::getReduced() const {
    if (!LinearMap::fits(matrix_)) return shareable(*this);
    const bool unitFactor = std::fabs(factor_ - 1.0) <= tolerance;
    const bool centred = isNull(translation_);
    if (isDirect()) {
        if (unitFactor) {
            const ERTr3DRevRep* const simpler = simplerThanWorkplane(matrix_, translation_);
            return simpler != nullptr ? simpler : new _ERWorkplane(matrix_, translation_);
        }
        if (centred && isUnit(matrix_)) return new _ERScaling3D(factor_);
    } else if (unitFactor && centred) {
        const LinearMap m(matrix_);
        if ((m * m).isUnit(tolerance)) return new _ERSymetrie3D(matrix_);
    }
    return shareable(*this);
}

}  // namespace kerf
