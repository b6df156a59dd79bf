#include "kerf/surfaces/pole_surface.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/values/polygon.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERSpoleRep, ERBoundedSurface)
ER_DEFINE_STORED_FIELDS(ERSpoleRep, ERBoundedSurface)

namespace {

// Exact, so that what is kept never stands for a frame that differs in a bit.
bool sameFrame(const ERPmIsometrie3D& a, const ERPmIsometrie3D& b) {
    return a.getRepresentation() == b.getRepresentation() ||
           (a.getMatrix() == b.getMatrix() && a.getTrans() == b.getTrans());
}

// The largest length of `lines` polygons of n poles each.
template <class Pole>
double longestLine(const Pole* poles, unsigned int lines, std::size_t lineStep, unsigned int n,
                   std::size_t step) {
    double longest = 0.0;
    for (unsigned int line = 0; line < lines; ++line, poles += lineStep) {
        double length = 0.0;
        for (unsigned int i = 1; i < n; ++i)
            length += distance(poles[(i - 1) * step].castToPoint(), poles[i * step].castToPoint());
        longest = std::max(longest, length);
    }
    return longest;
}

template <class Half>
int handOut(const std::pair<Half, Half>& halves, auto& before, auto& after) {
    if (halves.first == nullptr) return 0;
    // Copies, for an output may be the last that holds the surface which keeps the halves.
    const std::pair<Half, Half> held = halves;
    before = held.first;
    after = held.second;
    return 1;
}

}  // namespace

void ERSpoleRep::incrDegree(unsigned int, unsigned int) {}
void ERSpoleRep::decrDegree(unsigned int, unsigned int) {}

ERVec<ERPoint2D> ERSpoleRep::getConvexHull() const { return getConvexHull(ERPmIsometrie3D()); }

ERVec<ERPoint2D> ERSpoleRep::getConvexHull(const ERPmIsometrie3D& frame) const {
    std::optional<Hull>& hull = kept_->hull;
    if (!hull || !sameFrame(hull->frame, frame)) hull = Hull{frame, _calculateConvexHull(frame)};
    return hull->points;
}

ERMinimax3D ERSpoleRep::getBox() const {
    std::optional<ERMinimax3D>& box = kept_->box;
    if (!box) box = _calculateBox();
    return *box;
}

double ERSpoleRep::upperEstimateInU() const {
    if (upperEstimateU_ == notEstimated) upperEstimateU_ = _calculateUpperEstimateU();
    return upperEstimateU_;
}

double ERSpoleRep::upperEstimateInV() const {
    if (upperEstimateV_ == notEstimated) upperEstimateV_ = _calculateUpperEstimateV();
    return upperEstimateV_;
}

void ERSpoleRep::scaleUpperEstimates(double factor) {
    for (double* const estimate : {&upperEstimateU_, &upperEstimateV_})
        if (*estimate != notEstimated) *estimate *= std::fabs(factor);
}

void ERSpoleRep::ResetCacheBox() { kept_->box.reset(); }
void ERSpoleRep::ResetCacheConvexHull() { kept_->hull.reset(); }

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::dropEmpty() {
    if (poles_.length() == 0) poles_ = ERMatrix<Pole>();
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::restored() {
    dropEmpty();
    dropKept();
    resetUpperEstimates();
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::ResetCacheInfo() {
    ResetCacheBox();
    ResetCacheConvexHull();
    *kept_ = Kept();
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::CleanUpTemporaries(int level) {
    dropKept();
    ERSpoleRep::CleanUpTemporaries(level);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::printOn(std::ostream& os) const {
    os << className() << " degree " << degreeU() << " by " << degreeV() << " with " << nbPolesU()
       << " by " << nbPolesV() << " poles" << std::endl;
    ERSpoleRep::printOn(os);
    poles_.printOn(os);
}

// Readings of the poles.

template <class Surface, class Pole>
ERVec<ERPoint2D> PoleSurface<Surface, Pole>::_calculateConvexHull(
    const ERPmIsometrie3D& frame) const {
    const unsigned int n = poles_.length();
    const Pole* const pole = poles_.data();
    ERVec<ERPoint2D> flat(n);
    ERPoint2D* const point = flat.data();
    for (unsigned int i = 0; i < n; ++i) point[i] = frame.Project(pole[i].castToPoint());
    return CalculateConvexeHull(flat);
}

template <class Surface, class Pole>
ERMinimax3D PoleSurface<Surface, Pole>::_calculateBox() const {
    ERMinimax3D box;
    const Pole* const pole = poles_.data();
    for (unsigned int i = 0; i < poles_.length(); ++i) box.Update(pole[i].castToPoint());
    return box;
}

template <class Surface, class Pole>
double PoleSurface<Surface, Pole>::_calculateUpperEstimateU() const {
    return longestLine(poles_.data(), poles_.cols(), 1, poles_.rows(), poles_.cols());
}

template <class Surface, class Pole>
double PoleSurface<Surface, Pole>::_calculateUpperEstimateV() const {
    return longestLine(poles_.data(), poles_.rows(), poles_.cols(), poles_.cols(), 1);
}

// Moves. The class above carries the grid of points along and marks the object.

template <class Surface, class Pole>
template <class Edit>
void PoleSurface<Surface, Pole>::movePoles(Edit edit) {
    dropKept();
    Pole* const pole = poles_.data();
    for (unsigned int i = 0; i < poles_.length(); ++i) edit(pole[i]);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::scale(double factor) {
    movePoles([=](Pole& pole) { pole.scale(factor); });
    scaleUpperEstimates(factor);
    ERSpoleRep::scale(factor);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::translate(const ERPoint3D& t) {
    movePoles([&](Pole& pole) { pole.translate(t); });
    ERSpoleRep::translate(t);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::transformFrom(const ERPmSimilitude3D& transformation) {
    dropKept();
    transformation.TransFrom(poles_.asVector());
    resetUpperEstimates();
    ERSpoleRep::transformFrom(transformation);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::transformFrom(const ERPmIsometrie3D& transformation) {
    dropKept();
    transformation.TransFrom(poles_.asVector());
    ERSpoleRep::transformFrom(transformation);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::transformTo(const ERPmSimilitude3D& transformation) {
    dropKept();
    transformation.TransTo(poles_.asVector());
    resetUpperEstimates();
    ERSpoleRep::transformTo(transformation);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::transformTo(const ERPmIsometrie3D& transformation) {
    dropKept();
    transformation.TransTo(poles_.asVector());
    ERSpoleRep::transformTo(transformation);
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::reverse() {
    dropKept();
    poles_ = poles_.transposed();
    swapUpperEstimates();
    ERSpoleRep::reverse();
}

template <class Surface, class Pole>
void PoleSurface<Surface, Pole>::setBound(const ERLimites& u, const ERLimites& v) {
    change([&] { ERSpoleRep::setBound(u, v); });
}

// Splits.

template <class Surface, class Pole>
double PoleSurface<Surface, Pole>::middleOfU() const {
    return currentU_.amplitude() * 0.5 + currentU_.start();
}

template <class Surface, class Pole>
double PoleSurface<Surface, Pole>::middleOfV() const {
    return currentV_.amplitude() * 0.5 + currentV_.start();
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInU(Half& before, Half& after, double u) const {
    return handOut(cutInU(u), before, after);
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInU(AnyHalf& before, AnyHalf& after, double u) const {
    return handOut(cutInU(u), before, after);
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInV(Half& before, Half& after, double v) const {
    return handOut(cutInV(v), before, after);
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInV(AnyHalf& before, AnyHalf& after, double v) const {
    return handOut(cutInV(v), before, after);
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInU(Half& before, Half& after) const {
    if (kept_->halvesU.first == nullptr) kept_->halvesU = cutInU(middleOfU());
    return handOut(kept_->halvesU, before, after);
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInU(AnyHalf& before, AnyHalf& after) const {
    Half first, second;
    if (SplitInU(first, second) == 0) return 0;
    before = first;
    after = second;
    return 1;
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInV(Half& before, Half& after) const {
    if (kept_->halvesV.first == nullptr) kept_->halvesV = cutInV(middleOfV());
    return handOut(kept_->halvesV, before, after);
}

template <class Surface, class Pole>
int PoleSurface<Surface, Pole>::SplitInV(AnyHalf& before, AnyHalf& after) const {
    Half first, second;
    if (SplitInV(first, second) == 0) return 0;
    before = first;
    after = second;
    return 1;
}

template class PoleSurface<ERSpoleBezier3D, ERPoint3D>;
template class PoleSurface<ERSpoleBezier3DR, ERPole3DH>;
template class PoleSurface<ERSpoleNURBS3D, ERPole3DH>;

}  // namespace kerf
