// The trimmed surface but for what asks its region, which lies in processing.
#include "kerf/surfaces/trimmed_surface.h"

#include <iterator>
#include <ostream>

#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

ER_DEFINE_CLASS(ERTrimmedSurface, ERAnyBoundedSurface)
ER_DEFINE_STORED_CLASS(ERTrimmedSurface, ERAnyBoundedSurface)

namespace {

using Half = t_SmartPtr<ERAnyBoundedSurface>;

ERSpoleBezier3D* flatSurface(const ERPmIsometrie3D& frame, const ERMinimax2D& box) {
    ERMatrix<ERPoint3D> poles(2, 2);
    for (unsigned int i = 0; i < 2; ++i) {
        for (unsigned int j = 0; j < 2; ++j) {
            poles(i, j) = frame >> ERPoint3D(i == 0 ? box.xmin() : box.xmax(),
                                             j == 0 ? box.ymin() : box.ymax(), 0.0);
        }
    }
    return new ERSpoleBezier3D(poles, ERLimites(box.xmin(), box.xmax()),
                               ERLimites(box.ymin(), box.ymax()));
}

}  // namespace

// What is stored.

ERTrimmedSurface::Trim::Trim(const Trim& other) : range(other.range) {
    for (const Boundary& boundary : other.boundaries) boundaries.append(Boundary(*boundary));
}

ERTrimmedSurface::Trim& ERTrimmedSurface::Trim::operator=(const Trim& other) {
    if (this == &other) return *this;
    Trim copy(other);
    range = copy.range;
    boundaries = std::move(copy.boundaries);
    return *this;
}

void ERTrimmedSurface::Trim::saveGuts(ERFile& file) const {
    file.Write(static_cast<int>(boundaries.entries()));
    range.saveGuts(file);
    boundaries.saveGuts(file);
}

void ERTrimmedSurface::Trim::restoreGuts(ERFile& file) {
    int count = 0;  // the list has its own
    file.Read(count);
    range.Reset();
    range.restoreGuts(file);
    boundaries.restoreGuts(file);
    for (auto boundary = boundaries.begin(); boundary != boundaries.end();)
        boundary = !*boundary ? boundaries.erase(boundary) : std::next(boundary);
}

ERULong ERTrimmedSurface::Trim::binaryStoreSize() const {
    return storeSizeSum(sizeof(int), range.binaryStoreSize(), boundaries.binaryStoreSize());
}

// The surface and its boundaries.

ERTrimmedSurface::ERTrimmedSurface(ERAnyBoundedSurface* base) : base_(Half(base)) {
    takeRangeOfBase();
}

ERTrimmedSurface::ERTrimmedSurface(const ERAnyBoundedSurface& base) : base_(Half(base)) {
    takeRangeOfBase();
}

ERTrimmedSurface::ERTrimmedSurface(const ERPmIsometrie3D& frame, ERFiniteEntity2DWF* curve) {
    const t_SmartPtr<ERFiniteEntity2DWF> shared(curve);
    if (curve == nullptr || curve->getBox().invalid()) return;
    base_.share(flatSurface(frame, curve->getBox()));
    takeRangeOfBase();
    addBound(curve, ERSurfaceBoundary::Outer);
}

ERTrimmedSurface::ERTrimmedSurface(const ERTrimmedSurface& other)
    : ERSurface(other), ERAnyBoundedSurface(other), base_(other.base_), trim_(other.trim_) {
    setBoundariesBase(base_);
}

ERTrimmedSurface& ERTrimmedSurface::operator=(const ERTrimmedSurface& other) {
    if (this == &other) return *this;
    ERAnyBoundedSurface::operator=(other);
    releaseBoundaries();
    base_ = other.base_;
    trim_ = other.trim_;
    restored();
    return *this;
}

ERTrimmedSurface::~ERTrimmedSurface() { releaseBoundaries(); }

void ERTrimmedSurface::restored() {
    region_->reset();
    setBoundariesBase(base_);
}

void ERTrimmedSurface::takeRangeOfBase() {
    if (!base_) return;
    const ERLimites u = base_->getBoundU(), v = base_->getBoundV();
    trim_.range = ERMinimax2D(u.start(), u.end(), v.start(), v.end());
}

void ERTrimmedSurface::setBoundariesBase(ERAnyBoundedSurface* base) {
    for (const Boundary& boundary : trim_.boundaries) boundary->restoreBase(base);
}

// The base may go with this surface, and boundaries may be held by others.
void ERTrimmedSurface::releaseBoundaries() {
    for (const Boundary& boundary : trim_.boundaries)
        if (boundary->getBaseSurface() == base_.getObject()) boundary->setBaseSurface(nullptr);
}

int ERTrimmedSurface::addBound(ERFiniteEntity2DWF* curve, ERSurfaceBoundary::Side side) {
    if (curve == nullptr) return 0;
    Boundary boundary(new ERSurfaceBoundary(curve, side));
    return _addBound(boundary);
}

int ERTrimmedSurface::addBound(const ERFiniteEntity2DWF& curve, ERSurfaceBoundary::Side side) {
    const t_SmartPtr<ERFiniteEntity2DWF> copy(curve);
    return addBound(copy.getObject(), side);
}

int ERTrimmedSurface::_addBound(Boundary& boundary) {
    if (!boundary) return 0;
    region_->reset();
    switch (boundary->getSide()) {
        case ERSurfaceBoundary::Undecided:
            boundary->setSide(ERSurfaceBoundary::Outer);
            trim_.boundaries.append(boundary);
            break;
        case ERSurfaceBoundary::Outer:
            if (isOutTrimmed() != 0) return 0;
            trim_.boundaries.prepend(boundary);
            break;
        case ERSurfaceBoundary::Inner:
            trim_.boundaries.append(boundary);
            break;
        default:
            return 0;
    }
    boundary->setBaseSurface(base_);
    if (boundary->getSide() == ERSurfaceBoundary::Outer) trim_.range = boundary->getBox();
    dropGrid();
    setDirty();
    return 1;
}

ERTrimmedSurface::Boundary ERTrimmedSurface::getOutBnd() const {
    for (const Boundary& boundary : trim_.boundaries)
        if (boundary->getSide() == ERSurfaceBoundary::Outer) return boundary;
    return {};
}

ERTrimmedSurface::Boundary ERTrimmedSurface::getInBnd(unsigned int i) const {
    const Boundary outer = getOutBnd();
    for (const Boundary& boundary : trim_.boundaries)
        if (!(boundary == outer) && i-- == 0) return boundary;
    return {};
}

int ERTrimmedSurface::isOutTrimmed() const { return getOutBnd() != nullptr; }

// What is the base's.

ERInfoPoint3DSurf ERTrimmedSurface::PtCur(double u, double v) const {
    if (!base_) return ERInfoPoint3DSurf(ERPoint2D(u, v), ERMatrix<ERPoint3D>(3, 3, ERPoint3D()));
    return base_->PtCur(u, v);
}

ERPoint3D ERTrimmedSurface::operator()(double u, double v) const {
    return !base_ ? ERPoint3D() : (*base_)(u, v);
}

ERInfoPoint3DSurf ERTrimmedSurface::randomPoint() const {
    return !base_ ? PtCur(0.0, 0.0) : base_->randomPoint();
}

ERMinimax3D ERTrimmedSurface::getBox() const { return !base_ ? ERMinimax3D() : base_->getBox(); }

t_SmartPtr<ERFiniteEntity3DWF> ERTrimmedSurface::getEntityIsoU(double u) const {
    if (!base_) return {};
    return base_->getEntityIsoU(u);
}

t_SmartPtr<ERFiniteEntity3DWF> ERTrimmedSurface::getEntityIsoV(double v) const {
    if (!base_) return {};
    return base_->getEntityIsoV(v);
}

double ERTrimmedSurface::upperEstimateInU() const {
    return !base_ ? 0.0 : base_->upperEstimateInU();
}

double ERTrimmedSurface::upperEstimateInV() const {
    return !base_ ? 0.0 : base_->upperEstimateInV();
}

int ERTrimmedSurface::SplitInU(Half&, Half&, double) const { return 0; }
int ERTrimmedSurface::SplitInV(Half&, Half&, double) const { return 0; }

int ERTrimmedSurface::IsContinuous(int order) const {
    return !base_ ? 0 : base_->IsContinuous(order);
}

int ERTrimmedSurface::GetDiscontinuitiesU(int order, ERVec<double>& parameters) const {
    if (base_ != nullptr) return base_->GetDiscontinuitiesU(order, parameters);
    parameters.clear();
    return 0;
}

int ERTrimmedSurface::GetDiscontinuitiesV(int order, ERVec<double>& parameters) const {
    if (base_ != nullptr) return base_->GetDiscontinuitiesV(order, parameters);
    parameters.clear();
    return 0;
}

void ERTrimmedSurface::GetNumberOfSpans(int& inU, int& inV) const {
    inU = inV = 0;
    if (base_ != nullptr) base_->GetNumberOfSpans(inU, inV);
}

void ERTrimmedSurface::GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const {
    boxes = ERSimpleVec2<ERMinimax3D>(0, 0);
    if (base_ != nullptr) base_->GetSpanBoxes(boxes);
}

const ERAnyBoundedSurface* ERTrimmedSurface::makerOfIsoCurves() const {
    const ERAnyBoundedSurface* maker = this;
    while (const ERTrimmedSurface* const trimmed = dynamic_cast<const ERTrimmedSurface*>(maker))
        maker = trimmed->base_;
    return maker;
}

const ERMatrix<ERPoint3D>& ERTrimmedSurface::getMatricePoint(unsigned int nU, unsigned int nV) {
    const ERAnyBoundedSurface* const maker = makerOfIsoCurves();
    return gridOver(maker == nullptr ? getBoundV() : maker->getBoundV(), nU, nV);
}

// Projections.

int filtreOutsidePointTrimedSurface(ERInfoPoint3DSurf* point, void* surface) {
    return static_cast<const ERTrimmedSurface*>(surface)->isInBound(point->parameter()) == 0;
}

void ERTrimmedSurface::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result,
                                    int flag) const {
    if (!base_) return;
    base_->ProjectPoint(p, result, 0);
    if (flag != 0)
        result.filtre(filtreOutsidePointTrimedSurface, const_cast<ERTrimmedSurface*>(this));
}

void ERTrimmedSurface::ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                                    ERRaySurfaceResult& result, int flag) const {
    if (!base_) return;
    base_->ProjectPoint(p, direction, result, 0);
    if (flag != 0)
        result.filtre(filtreOutsidePointTrimedSurface, const_cast<ERTrimmedSurface*>(this));
}

int ERTrimmedSurface::ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                                        int flag) const {
    ERPoint2D found = uv;
    if (!base_ || base_->ProjectionNormale(p, tolerance, found, flag) == 0) return 0;
    if (flag != 0 && isInBound(found) == 0) return 0;
    uv = found;
    return 1;
}

int ERTrimmedSurface::ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const {
    ERPoint3D foot = p;
    ERPoint2D found = uv;
    if (!base_ || base_->ReajustProjection(foot, found, flag) == 0) return 0;
    if (flag != 0 && isInBound(found) == 0) return 0;
    p = foot;
    uv = found;
    return 1;
}

// Changes.

template <class MovePoints, class MoveBase>
void ERTrimmedSurface::carry(MovePoints movePoints, MoveBase moveBase) {
    for (const Boundary& boundary : trim_.boundaries) boundary->moveSmash(movePoints);
    if (!base_) return;
    const ERLimites u = base_->getBoundU(), v = base_->getBoundV();
    moveBase(*base_);
    if (base_->getBoundU() == u && base_->getBoundV() == v) return;
    // Where u and v are lengths, the same (u, v) is now another point.
    dropGrid();
    for (const Boundary& boundary : trim_.boundaries) boundary->dropSmash();
    if (isOutTrimmed() == 0) takeRangeOfBase();
}

void ERTrimmedSurface::scale(double factor) {
    ERAnyBoundedSurface::scale(factor);
    const auto movePoints = [&](ERVec<ERPoint3D>& points) {
        for (ERPoint3D& point : points) point *= factor;
    };
    carry(movePoints, [&](ERAnyBoundedSurface& base) { base.scale(factor); });
}

void ERTrimmedSurface::translate(const ERPoint3D& t) {
    ERAnyBoundedSurface::translate(t);
    const auto movePoints = [&](ERVec<ERPoint3D>& points) {
        for (ERPoint3D& point : points) point += t;
    };
    carry(movePoints, [&](ERAnyBoundedSurface& base) { base.translate(t); });
}

template <class Transformation>
void ERTrimmedSurface::carryFrom(const Transformation& t) {
    ERAnyBoundedSurface::transformFrom(t);
    carry([&](ERVec<ERPoint3D>& points) { t.TransFrom(points.data(), points.length()); },
          [&](ERAnyBoundedSurface& base) { base.transformFrom(t); });
}

template <class Transformation>
void ERTrimmedSurface::carryTo(const Transformation& t) {
    ERAnyBoundedSurface::transformTo(t);
    carry([&](ERVec<ERPoint3D>& points) { t.TransTo(points.data(), points.length()); },
          [&](ERAnyBoundedSurface& base) { base.transformTo(t); });
}

void ERTrimmedSurface::transformFrom(const ERPmSimilitude3D& t) { carryFrom(t); }
void ERTrimmedSurface::transformFrom(const ERPmIsometrie3D& t) { carryFrom(t); }
void ERTrimmedSurface::transformTo(const ERPmSimilitude3D& t) { carryTo(t); }
void ERTrimmedSurface::transformTo(const ERPmIsometrie3D& t) { carryTo(t); }

void ERTrimmedSurface::reverse() {
    ERAnyBoundedSurface::reverse();
    dropGrid();
}

void ERTrimmedSurface::CleanUpTemporaries(int level) {
    ERAnyBoundedSurface::CleanUpTemporaries(level);
    region_->reset();
    for (const Boundary& boundary : trim_.boundaries) boundary->dropSmash();
    if (base_ != nullptr) base_->CleanUpTemporaries(level);
}

void ERTrimmedSurface::printOn(std::ostream& os) const {
    os << "TrimmedSurface : Range U   " << getBoundU();
    os << "               : Range V   " << getBoundV();
    os << "               : Bounds    " << nbBounds() << std::endl;
    for (const Boundary& boundary : trim_.boundaries) os << *boundary;
    os << "               : Base      ";
    if (!base_)
        os << "(NULL)" << std::endl;
    else
        os << base_->className() << std::endl << *base_ << std::endl;
}

}  // namespace kerf
