#include "kerf/surfaces/surface_boundary.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/surfaces/surface.h"
#include "kerf/values/point_list.h"
#include "kerf/values/transformation_2d.h"

namespace kerf {

ER_DEFINE_CLASS(ERSurfaceBoundary, ERObject)
ER_DEFINE_STORED_CLASS(ERSurfaceBoundary, ERObject)

ERSurfaceBoundary::ERSurfaceBoundary(ERFiniteEntity2DWF* curve, Side side) : side_(side) {
    curve_.share(curve);
    curveChanged();
}

ERSurfaceBoundary::ERSurfaceBoundary(const ERFiniteEntity2DWF& curve, Side side)
    : ERSurfaceBoundary(t_SmartPtr<ERFiniteEntity2DWF>(curve).getObject(), side) {}

ERSurfaceBoundary& ERSurfaceBoundary::operator=(const ERSurfaceBoundary& other) {
    if (this == &other) return *this;
    ERObject::operator=(other);
    curve_ = other.curve_;
    side_ = other.side_;
    status_ = other.status_;
    dropPolylines();
    return *this;
}

void ERSurfaceBoundary::Base::saveGuts(ERFile& file) const {
    file.Write(surface_ == nullptr ? ERLong{-1} : surface_->getObjectID());
}

void ERSurfaceBoundary::Base::restoreGuts(ERFile& file) {
    ERLong unused = -1;
    file.Read(unused);
}

ERSurfaceBoundary::Side ERSurfaceBoundary::setSide(Side side) {
    const Side former = getSide();
    side_ = side;
    setDirty();
    return former;
}

void ERSurfaceBoundary::setBoundary(ERFiniteEntity2DWF* curve) {
    curve_.share(curve);
    curveChanged();
    setDirty();
}

void ERSurfaceBoundary::setBoundary(const ERFiniteEntity2DWF& curve) {
    setBoundary(t_SmartPtr<ERFiniteEntity2DWF>(curve).getObject());
}

void ERSurfaceBoundary::curveChanged() {
    constexpr double closureTolerance = 0.001;
    const bool isClosed = curve_ != nullptr && curve_->isClosed(closureTolerance) != 0;
    status_ = isClosed ? status_ | closed : status_ & ~closed;
    dropPolylines();
}

void ERSurfaceBoundary::setBaseSurface(ERAnyBoundedSurface* surface) {
    if (surface == base_) return;
    base_ = surface;
    dropPolylines();
}

ERMinimax2D ERSurfaceBoundary::getBox() const { return !curve_ ? ERMinimax2D() : curve_->getBox(); }

void ERSurfaceBoundary::dropSmash() const {
    hasSmash_ = 0;
    smashTolerance_ = 0.0;
    smash_ = ERVec<ERPoint3D>();
}

void ERSurfaceBoundary::dropPolylines() const {
    dropSmash();
    hasPolyline_ = 0;
    polylineTolerance_ = 0.0;
    polyline_ = ERVec<ERPoint2D>();
}

double ERSurfaceBoundary::derivedTolerance() const {
    constexpr double relative = 0.0001, smallest = 1e-9;
    const ERMinimax2D box = getBox();
    const double extent = std::max(box.xlength(), box.ylength());
    if (base_ != nullptr) {
        const ERMinimax3D space = base_->getBox();
        const double length = std::max({space.xlength(), space.ylength(), space.zlength()});
        const double width =
            std::min(base_->getBoundU().amplitude(), base_->getBoundV().amplitude());
        const double tol = (length * relative) / width;
        if (std::isfinite(tol) && tol >= smallest * extent) return tol;
    }
    return relative * extent;
}

ERVec<ERPoint2D> ERSurfaceBoundary::getBound2DasPolyline(double tol) const {
    if (!curve_) return ERVec<ERPoint2D>();
    if (hasPolyline_ != 0 && (tol < 0.0 || tol == polylineTolerance_)) return polyline_;
    const double used = tol > 0.0 ? tol : derivedTolerance();
    if (hasPolyline_ != 0 && used == polylineTolerance_) return polyline_;
    dropPolylines();
    polyline_ = curve_->approxime(curve_->getBound(), used);
    polylineTolerance_ = used;
    hasPolyline_ = 1;
    if (used == tol) const_cast<ERSurfaceBoundary*>(this)->setDirty();
    return polyline_;
}

ERVec<ERPoint3D> ERSurfaceBoundary::smash(double tol) const {
    if (hasSmash_ != 0 && tol == smashTolerance_) return smash_;
    ERPoint23List list;
    ExtractList23(*this, list, -1.0, tol);
    if (base_ == nullptr) return ERVec<ERPoint3D>();
    smash_ = list.toVec();
    smashTolerance_ = tol;
    hasSmash_ = 1;
    return smash_;
}

void ERSurfaceBoundary::smash(ERVec<ERPoint3D>& points, ERVec<ERPoint2D>& parameters,
                              double tol) const {
    ERPoint23List list;
    ExtractList23(*this, list, -1.0, tol);
    points = list.toVec();
    parameters = list.toVec2D();
}

void ExtractList23(const ERSurfaceBoundary& boundary, ERPoint23List& list, double polylineTol,
                   double tol) {
    constexpr double samePoint = 1e-11;
    const ERAnyBoundedSurface* const surface = boundary.getBaseSurface();
    if (surface == nullptr) return;
    const ERVec<ERPoint2D> polyline = boundary.getBound2DasPolyline(polylineTol);
    const ERPoint2D* const points = polyline.data();
    const unsigned int n = polyline.length();
    if (n == 0) return;
    unsigned int last = 0;
    for (unsigned int i = 0; i < n; ++i) {
        if (i > 0 && isEqual(points[i - 1], points[i], samePoint)) continue;
        list.append((*surface)(points[i]), points[i]);
        last = i;
    }
    if (!(points[last] == points[0])) list.append((*surface)(points[0]), points[0]);
    list.Smash(*surface, tol);
}

template <class Move>
void ERSurfaceBoundary::moveCurve(Move move) {
    if (!curve_) return;
    move(*curve_);
    curveChanged();
    setDirty();
}

void ERSurfaceBoundary::scale(double factor) {
    moveCurve([&](ERFiniteEntity2DWF& curve) { curve.scale(factor); });
}

void ERSurfaceBoundary::translate(const ERPoint2D& t) {
    moveCurve([&](ERFiniteEntity2DWF& curve) { curve.translate(t); });
}

void ERSurfaceBoundary::transformFrom(const ERTransfo2D& t) {
    moveCurve([&](ERFiniteEntity2DWF& curve) { curve.transformFrom(t); });
}

void ERSurfaceBoundary::transformTo(const ERTransfo2D& t) {
    moveCurve([&](ERFiniteEntity2DWF& curve) { curve.transformTo(t); });
}

void ERSurfaceBoundary::printOn(std::ostream& os) const {
    os << "SurfaceBoundary : Side    " << side_ << " Status  " << status_ << std::endl;
    os << "                : Curve   ";
    if (!curve_)
        os << "(NULL)" << std::endl;
    else
        os << curve_->className() << std::endl << *curve_ << std::endl;
}

}  // namespace kerf
