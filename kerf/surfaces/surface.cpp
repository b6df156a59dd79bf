#include "kerf/surfaces/surface.h"

#include <ostream>

#include "kerf/values/box.h"
#include "kerf/values/carried_frame.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERSurface, EREntity3D)
ER_DEFINE_ABSTRACT_CLASS(ERAnyBoundedSurface, ERSurface)
ER_DEFINE_ABSTRACT_CLASS(ERBoundedSurface, ERAnyBoundedSurface)
ER_DEFINE_ABSTRACT_CLASS(ERSurfaceBasedOnTransfo3D, ERSurface)

ER_DEFINE_STORED_FIELDS(ERAnyBoundedSurface, ERSurface)
ER_DEFINE_STORED_FIELDS(ERBoundedSurface, ERAnyBoundedSurface)
ER_DEFINE_STORED_FIELDS(ERSurfaceBasedOnTransfo3D, ERSurface)

void ERSurface::reverse() {}
int ERSurface::ProjectionNormale(const ERPoint3D&, ERPoint3D&, ERVector3D&) const { return 0; }
void ERSurface::offset(double) {}

void ERAnyBoundedSurface::scale(double factor) {
    ERPoint3D* const points = grid_.data();
    for (unsigned int i = 0; i < grid_.length(); ++i) points[i] *= factor;
    setDirty();
}

void ERAnyBoundedSurface::translate(const ERPoint3D& t) {
    ERPoint3D* const points = grid_.data();
    for (unsigned int i = 0; i < grid_.length(); ++i) points[i] += t;
    setDirty();
}

void ERAnyBoundedSurface::transformFrom(const ERPmSimilitude3D& transformation) {
    transformation.TransFrom(grid_.data(), grid_.length());
    setDirty();
}

void ERAnyBoundedSurface::transformFrom(const ERPmIsometrie3D& transformation) {
    ERAnyBoundedSurface::transformFrom(static_cast<const ERPmSimilitude3D&>(transformation));
}

void ERAnyBoundedSurface::transformTo(const ERPmSimilitude3D& transformation) {
    transformation.TransTo(grid_.data(), grid_.length());
    setDirty();
}

void ERAnyBoundedSurface::transformTo(const ERPmIsometrie3D& transformation) {
    ERAnyBoundedSurface::transformTo(static_cast<const ERPmSimilitude3D&>(transformation));
}

void ERAnyBoundedSurface::reverse() {
    grid_ = grid_.transposed();
    setDirty();
}

void ERAnyBoundedSurface::CleanUpTemporaries(int level) {
    ERSurface::CleanUpTemporaries(level);
    dropGrid();
}

void ERBoundedSurface::reverse() {
    ERAnyBoundedSurface::reverse();
    std::swap(naturalU_, naturalV_);
    std::swap(currentU_, currentV_);
}

void ERBoundedSurface::setBound(const ERLimites& u, const ERLimites& v) {
    currentU_ = u;
    currentV_ = v;
    dropGrid();
    setDirty();
}

void ERBoundedSurface::adjust() {
    naturalU_ = currentU_;
    naturalV_ = currentV_;
    setDirty();
}

void ERBoundedSurface::redefineDomainU(const ERLimites& u) {
    currentU_ = u;
    adjust();
    dropGrid();
}

void ERBoundedSurface::redefineDomainV(const ERLimites& v) {
    currentV_ = v;
    adjust();
    dropGrid();
}

void ERBoundedSurface::redefinedDomain(const ERLimites& u, ERLimites& v) {
    currentU_ = u;
    currentV_ = v;
    adjust();
    dropGrid();
}

void ERBoundedSurface::printOn(std::ostream& os) const {
    os << "Natural boundaries = " << naturalU_ << naturalV_ << "Current boundaries = " << currentU_
       << currentV_;
}

void ERSurfaceBasedOnTransfo3D::setMatrix(const ERPmIsometrie3D& frame) {
    frame_ = frame;
    axes_ = LinearMap(frame_.getMatrix());
    origin_ = frame_.origine();
}

ERVector3D ERSurfaceBasedOnTransfo3D::getNormale() const {
    return frame_.getVector(Coord3D::CoordZ);
}

void ERSurfaceBasedOnTransfo3D::scale(double factor) {
    const bool direct = frame_.isDirect() != 0;
    const ERPmIsometrie3D scaled = ERChgRepere3D(
        frame_.getVector(Coord3D::CoordX), frame_.getVector(Coord3D::CoordY), origin_ * factor);
    setMatrix(direct ? scaled : scaled * ERSymetrie3D(Coord3D::CoordZ));
    setDirty();
}

void ERSurfaceBasedOnTransfo3D::translate(const ERPoint3D& t) {
    setMatrix(ERTranslation3D(t) * frame_);
    setDirty();
}

void ERSurfaceBasedOnTransfo3D::transformFrom(const ERPmSimilitude3D& transformation) {
    setMatrix(carriedFrame(frame_, transformation, false));
    setDirty();
}

void ERSurfaceBasedOnTransfo3D::transformFrom(const ERPmIsometrie3D& transformation) {
    setMatrix(transformation * frame_);
    setDirty();
}

void ERSurfaceBasedOnTransfo3D::transformTo(const ERPmSimilitude3D& transformation) {
    setMatrix(carriedFrame(frame_, transformation, true));
    setDirty();
}

void ERSurfaceBasedOnTransfo3D::transformTo(const ERPmIsometrie3D& transformation) {
    setMatrix(~transformation * frame_);
    setDirty();
}

void ERSurfaceBasedOnTransfo3D::printOn(std::ostream& os) const { frame_.printOn(os); }

}  // namespace kerf
