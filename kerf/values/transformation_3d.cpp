#include "kerf/values/transformation_3d.h"

#include <cmath>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/numerics/constants.h"
#include "kerf/platform/archive.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/quaternion.h"
#include "kerf/values/transformation_3d_representation.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERTr3D, ERObject)
ER_DEFINE_ABSTRACT_CLASS(ERTr3DRev, ERTr3D)
ER_DEFINE_ABSTRACT_CLASS(ERTr3DRevEnveloppe, ERTr3DRev)
ER_DEFINE_CLASS(ERPmSimilitude3D, ERTr3DRevEnveloppe)
ER_DEFINE_CLASS(ERPmIsometrie3D, ERPmSimilitude3D)

namespace {

constexpr double tolerance = comparisonTolerance;

// The stored form of a handle, in a file and in an archive alike:
//   offset 0    4 bytes   rows, 3
//          4    4         cols, 3
//          8    4         length of the elements in bytes, 72
//          12   72        elements, row by row
//          84   24        translation
//          108  8         factor
constexpr ERULong storedMatrixBytes = 9 * sizeof(double);
constexpr ERULong storedBytes = 3 * sizeof(ERULong) + storedMatrixBytes + 4 * sizeof(double);

// The handle's representation in the form that is stored: always a 3 by 3 matrix.
LinearMap storedMatrix(const ERTr3DRevEnveloppe& t) {
    return LinearMap(t.getRepresentation()->unscaledMatrix());
}

const ERTr3DRevRep* share(const ERTr3DRevRep* rep) {
    if (rep == nullptr) rep = ERTr3DRevRep::GetIdentity();
    if (!rep->isOnTheHeap()) rep = rep->getCopy();
    rep->addReference();
    return rep;
}

void release(const ERTr3DRevRep* rep) {
    if (rep->isOnTheHeap() && rep->removeReference() == 0) delete rep;
}

// Returns the reduced form in exchange for a held representation.
const ERTr3DRevRep* reduced(const ERTr3DRevRep* held) {
    const ERTr3DRevRep* const simplest = held->getReduced();
    if (simplest == held) return held;
    const ERTr3DRevRep* const shared = share(simplest);
    release(held);
    return shared;
}

template <class Value>
Value mappedTo(const ERPmSimilitude3D& t, const Value& values) {
    Value image(values);
    t.TransTo(image);
    return image;
}

template <class Value>
Value mappedFrom(const ERPmSimilitude3D& t, const Value& values) {
    Value image(values);
    t.TransFrom(image);
    return image;
}

// Of an affine map: the linear part of the weighted coordinates and the translation times the weight.
// Nothing is divided by the weight, so that a pole of weight 0 has a finite image.

ERPole3DH imageOf(const ERPole3DH& pole, const ERVector3D& linearPart, const ERPoint3D& ofOrigin) {
    return ERPole3DH(ERPoint3D(linearPart) + ofOrigin * pole.weigth(), pole.weigth());
}

ERPole3DH poleTo(const ERTr3D& t, const ERPole3DH& pole) {
    ERVector3D weighted(pole.thePoint());
    ERPoint3D origin;
    t.TransTo(weighted);
    t.TransTo(origin);
    return imageOf(pole, weighted, origin);
}

ERPole3DH poleFrom(const ERTr3DRev& t, const ERPole3DH& pole) {
    ERVector3D weighted(pole.thePoint());
    ERPoint3D origin;
    t.TransFrom(weighted);
    t.TransFrom(origin);
    return imageOf(pole, weighted, origin);
}

}  // namespace

void ERTr3D::TransTo(ERVec<ERPole3DH>& poles) const {
    for (ERPole3DH& pole : poles) pole = poleTo(*this, pole);
}

void ERTr3D::TransTo(ERPoint3D* points, unsigned int n) const {
    for (unsigned int i = 0; i < n; ++i) TransTo(points[i]);
}

void ERTr3D::TransTo(ERVec<ERPoint3D>& points) const { TransTo(points.data(), points.length()); }

int ERTr3D::isEqual(const ERTr3D& other) const { return this == &other ? 1 : 0; }

ERPole2DH ERTr3D::Project(const ERPole3DH& pole) const {
    return poleTo(*this, pole).castToPole2D(Coord3D::CoordZ);
}

ERPoint2D ERTr3D::Project(const ERPoint3D& p) const {
    ERPoint3D local(p);
    TransTo(local);
    return local.castToPoint2D(Coord3D::CoordZ);
}

void ERTr3DRev::TransFrom(ERVec<ERPole3DH>& poles) const {
    for (ERPole3DH& pole : poles) pole = poleFrom(*this, pole);
}

void ERTr3DRev::TransFrom(ERVec<ERPoint3D>& points) const {
    TransFrom(points.data(), points.length());
}

void ERTr3DRev::TransFrom(ERPoint3D* points, unsigned int n) const {
    for (unsigned int i = 0; i < n; ++i) TransFrom(points[i]);
}

ERPoint3D ERTr3DRev::origine() const { return getTrans(); }

ERVector3D ERTr3DRev::getVector(enum Coord3D k) const {
    const ERMatrix<double> m = getMatrix();
    const auto column = static_cast<unsigned int>(k);
    KERF_CHECK_ARGUMENT(column < m.cols());
    return ERVector3D(m(0, column), m(1, column), m(2, column));
}

int ERTr3DRev::isEqual(const ERTr3D& other) const {
    const void* const part = other._castdown(*ERTr3DRev::desc());
    if (part == nullptr) return 0;
    const ERTr3DRev& right = *static_cast<const ERTr3DRev*>(part);
    const ERMatrix<double> a = getMatrix();
    const ERMatrix<double> b = right.getMatrix();
    if (a.rows() != b.rows() || a.cols() != b.cols()) return 0;
    for (unsigned int r = 0; r < a.rows(); ++r)
        for (unsigned int c = 0; c < a.cols(); ++c)
            if (!(std::fabs(a(r, c) - b(r, c)) <= tolerance)) return 0;
    return kerf::isEqual(origine(), right.origine(), tolerance) &&
           std::fabs(getFactHomo() - right.getFactHomo()) <= tolerance;
}

ERTr3DRevEnveloppe::ERTr3DRevEnveloppe() : rep_(share(ERTr3DRevRep::GetIdentity())) {}

ERTr3DRevEnveloppe::ERTr3DRevEnveloppe(const ERTr3DRevRep* representation)
    : rep_(reduced(share(representation))) {}

ERTr3DRevEnveloppe::ERTr3DRevEnveloppe(const ERTr3DRevEnveloppe& other)
    : ERTr3DRev(other), rep_(share(other.rep_)) {}

ERTr3DRevEnveloppe::~ERTr3DRevEnveloppe() { release(rep_); }

ERTr3DRevEnveloppe& ERTr3DRevEnveloppe::operator=(const ERTr3DRevEnveloppe& other) {
    ERTr3DRev::operator=(other);
    return *this = other.rep_;
}

ERTr3DRevEnveloppe& ERTr3DRevEnveloppe::operator=(const ERTr3DRevRep* representation) {
    const ERTr3DRevRep* const former = rep_;
    rep_ = share(representation);
    release(former);
    return *this;
}

void ERTr3DRevEnveloppe::reduce() { rep_ = reduced(rep_); }

void ERTr3DRevEnveloppe::TransTo(ERVec<ERPole3DH>& poles) const { rep_->TransTo(poles); }
void ERTr3DRevEnveloppe::TransTo(ERPoint3D* points, unsigned int n) const {
    rep_->TransTo(points, n);
}
void ERTr3DRevEnveloppe::TransTo(ERVec<ERPoint3D>& points) const { rep_->TransTo(points); }
void ERTr3DRevEnveloppe::TransTo(ERVector3D& v) const { rep_->TransTo(v); }
void ERTr3DRevEnveloppe::TransTo(ERPoint3D& p) const { rep_->TransTo(p); }
int ERTr3DRevEnveloppe::isEqual(const ERTr3D& other) const { return rep_->isEqual(other); }
ERPole2DH ERTr3DRevEnveloppe::Project(const ERPole3DH& pole) const { return rep_->Project(pole); }
ERPoint2D ERTr3DRevEnveloppe::Project(const ERPoint3D& p) const { return rep_->Project(p); }
const ERTr3DRevRep* ERTr3DRevEnveloppe::getInverse() const { return rep_->getInverse(); }
void ERTr3DRevEnveloppe::TransFrom(ERVec<ERPole3DH>& poles) const { rep_->TransFrom(poles); }
void ERTr3DRevEnveloppe::TransFrom(ERVec<ERPoint3D>& points) const { rep_->TransFrom(points); }
void ERTr3DRevEnveloppe::TransFrom(ERPoint3D* points, unsigned int n) const {
    rep_->TransFrom(points, n);
}
void ERTr3DRevEnveloppe::TransFrom(ERVector3D& v) const { rep_->TransFrom(v); }
void ERTr3DRevEnveloppe::TransFrom(ERPoint3D& p) const { rep_->TransFrom(p); }
ERMatrix<double> ERTr3DRevEnveloppe::getMatrix() const { return rep_->getMatrix(); }
ERPoint3D ERTr3DRevEnveloppe::getTrans() const { return rep_->getTrans(); }
double ERTr3DRevEnveloppe::getFactHomo() const { return rep_->getFactHomo(); }
int ERTr3DRevEnveloppe::isDirect() const { return rep_->isDirect(); }
ERPoint3D ERTr3DRevEnveloppe::origine() const { return rep_->origine(); }
ERVector3D ERTr3DRevEnveloppe::getVector(enum Coord3D k) const { return rep_->getVector(k); }

ERObject* ERTr3DRevEnveloppe::getCopy() const { return new ERTr3DRevEnveloppe(*this); }

int ERTr3DRevEnveloppe::isValid() const { return ERTr3DRev::isValid() && rep_->isValid(); }

void ERTr3DRevEnveloppe::printOn(std::ostream& os) const { rep_->printOn(os); }

void ERTr3DRevEnveloppe::saveGuts(ERFile& file) const {
    ERTr3DRev::saveGuts(file);
    storedMatrix(*this).asMatrix().saveGuts(file);
    getTrans().saveGuts(file);
    file.Write(getFactHomo());
}

void ERTr3DRevEnveloppe::restoreGuts(ERFile& file) {
    ERTr3DRev::restoreGuts(file);
    ERMatrix<double> matrix;
    ERPoint3D translation;
    double factor = 1.0;
    matrix.restoreGuts(file);
    translation.restoreGuts(file);
    file.Read(factor);
    *this = LinearMap::fits(matrix) ? new _ERSimilitude3D(matrix, translation, factor)
                                    : ERTr3DRevRep::GetIdentity();
    reduce();
}

ERULong ERTr3DRevEnveloppe::binaryStoreSize() const {
    return ERTr3DRev::binaryStoreSize() + storedBytes;
}

ERObject* ERPmSimilitude3D::getCopy() const { return new ERPmSimilitude3D(*this); }

ERPmIsometrie3D::ERPmIsometrie3D(const ERTr3DRevRep* representation)
    : ERPmSimilitude3D(representation) {
    dropFactor();
}

ERPmIsometrie3D& ERPmIsometrie3D::operator=(const ERTr3DRevRep* representation) {
    ERPmSimilitude3D::operator=(representation);
    dropFactor();
    return *this;
}

void ERPmIsometrie3D::dropFactor() {
    if (getFactHomo() == 1.0) return;
    const _ERSimilitude3D isometry(getRepresentation()->unscaledMatrix(), getTrans(), 1.0);
    ERPmSimilitude3D::operator=(isometry.getReduced());
}

ERPmIsometrie3D ERPmIsometrie3D::get_rotation_matrix() const {
    const _ERSimilitude3D linearPart(getMatrix());
    return ERPmIsometrie3D(&linearPart);
}

ERPmIsometrie3D ERPmIsometrie3D::get_translation_matrix() const {
    return ERTranslation3D(getTrans());
}

ERObject* ERPmIsometrie3D::getCopy() const { return new ERPmIsometrie3D(*this); }

void ERPmIsometrie3D::restoreGuts(ERFile& file) {
    ERPmSimilitude3D::restoreGuts(file);
    dropFactor();
}

ERPmSimilitude3D operator*(const ERPmSimilitude3D& a, const ERPmSimilitude3D& b) {
    return ERPmSimilitude3D(*a.getRepresentation() * b.getRepresentation());
}

ERPmIsometrie3D operator*(const ERPmIsometrie3D& a, const ERPmIsometrie3D& b) {
    return ERPmIsometrie3D(*a.getRepresentation() * b.getRepresentation());
}

ERPmSimilitude3D operator~(const ERPmSimilitude3D& a) { return ERPmSimilitude3D(a.getInverse()); }

ERPmIsometrie3D operator~(const ERPmIsometrie3D& a) { return ERPmIsometrie3D(a.getInverse()); }

ERPole3DH operator<<(const ERPmSimilitude3D& t, const ERPole3DH& pole) { return poleTo(t, pole); }

ERPole3DH operator>>(const ERPmSimilitude3D& t, const ERPole3DH& pole) { return poleFrom(t, pole); }

ERVec<ERPoint3D> operator<<(const ERPmSimilitude3D& t, const ERVec<ERPoint3D>& points) {
    return mappedTo(t, points);
}

ERVec<ERPoint3D> operator>>(const ERPmSimilitude3D& t, const ERVec<ERPoint3D>& points) {
    return mappedFrom(t, points);
}

ERVec<ERPole3DH> operator<<(const ERPmSimilitude3D& t, const ERVec<ERPole3DH>& poles) {
    return mappedTo(t, poles);
}

ERVec<ERPole3DH> operator>>(const ERPmSimilitude3D& t, const ERVec<ERPole3DH>& poles) {
    return mappedFrom(t, poles);
}

ERMinimax3D operator<<(const ERPmSimilitude3D& t, const ERMinimax3D& box) {
    if (box.invalid()) return box;
    return ERMinimax3D(t << box.getVertice());
}

ERMinimax3D operator>>(const ERPmSimilitude3D& t, const ERMinimax3D& box) {
    if (box.invalid()) return box;
    return ERMinimax3D(t >> box.getVertice());
}

CArchive& operator<<(CArchive& archive, const ERPmSimilitude3D& t) {
    const LinearMap m = storedMatrix(t);
    const ERPoint3D translation = t.getTrans();
    archive << ERULong{3} << ERULong{3} << storedMatrixBytes;
    for (const double element : {m.xx, m.xy, m.xz, m.yx, m.yy, m.yz, m.zx, m.zy, m.zz})
        archive << element;
    archive << translation.x() << translation.y() << translation.z() << t.getFactHomo();
    return archive;
}

CArchive& operator>>(CArchive& archive, ERPmSimilitude3D& t) {
    ERULong rows = 0, cols = 0, bytes = 0;
    archive >> rows >> cols >> bytes;
    double elements[9] = {};
    const bool fits = rows == 3 && cols == 3 && bytes == storedMatrixBytes;
    if (fits) {
        for (double& element : elements) archive >> element;
    } else {
        char skipped = 0;
        for (ERULong i = 0; i < bytes; ++i) archive >> skipped;
    }
    double x = 0.0, y = 0.0, z = 0.0, factor = 1.0;
    archive >> x >> y >> z >> factor;
    t = fits ? ERSimilitude3D(ERMatrix<double>(elements, 3, 3), ERPoint3D(x, y, z), factor)
             : ERPmSimilitude3D();
    return archive;
}

CArchive& operator<<(CArchive& archive, const ERPmIsometrie3D& t) {
    return archive << static_cast<const ERPmSimilitude3D&>(t);
}

CArchive& operator>>(CArchive& archive, ERPmIsometrie3D& t) {
    ERPmSimilitude3D stored;
    archive >> stored;
    t = ERPmIsometrie3D(stored.getRepresentation());
    return archive;
}

}  // namespace kerf
