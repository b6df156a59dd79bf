#include "kerf/surfaces/bounded_analytic.h"

#include <cmath>
#include <ostream>

#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"
#include "kerf/numerics/constants.h"
#include "kerf/values/box.h"
#include "kerf/values/carried_frame.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

namespace analytic {

double angleFrom(double start, double x, double y) {
    const double c = std::cos(start), s = std::sin(start);
    const double angle = std::atan2(c * y - s * x, c * x + s * y);
    if (std::fabs(angle) <= comparisonTolerance) return 0.0;
    return angle == -pi ? pi : angle;
}

double turnFrom(double start, double x, double y) {
    const double angle = angleFrom(start, x, y);
    return angle < 0.0 ? angle + twoPi : angle;
}

}  // namespace analytic

template <class Shape>
ERInfoPoint3DSurf BoundedAnalytic<Shape>::PtCur(double u, double v) const {
    const analytic::Jet local = shape_.jet(u, v);
    ERMatrix<ERPoint3D> derivatives(3, 3);
    ERPoint3D* const row0 = derivatives.data();
    ERPoint3D* const row1 = row0 + 3;
    ERPoint3D* const row2 = row1 + 3;
    row0[0] = lifted(local.point);
    row0[1] = ERPoint3D(axes()(local.u));
    row0[2] = ERPoint3D(axes()(local.uu));
    row1[0] = ERPoint3D(axes()(local.v));
    row1[1] = ERPoint3D(axes()(local.uv));
    row2[0] = ERPoint3D(axes()(local.vv));
    return ERInfoPoint3DSurf(ERPoint2D(u, v), derivatives);
}

template <class Shape>
ERPoint3D BoundedAnalytic<Shape>::operator()(double u, double v) const {
    return lifted(shape_.point(u, v));
}

template <class Shape>
ERMinimax3D BoundedAnalytic<Shape>::getBox() const {
    return shape_.box(frame(), getBoundU(), getBoundV());
}

template <class Shape>
double BoundedAnalytic<Shape>::upperEstimateInU() const {
    return std::fabs(getBoundU().amplitude()) * shape_.perU();
}

template <class Shape>
double BoundedAnalytic<Shape>::upperEstimateInV() const {
    return std::fabs(getBoundV().amplitude()) * shape_.perV(getBoundU());
}

template <class Shape>
EREntity::DISTMINRES BoundedAnalytic<Shape>::SignedMinimalDistance(const ERPoint3D& p,
                                                                   double& distance) const {
    return shape_.distance(axis(), p, distance);
}

template <class Shape>
int BoundedAnalytic<Shape>::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                              ERVector3D& normal) const {
    return shape_.foot(axis(), p, foot, normal);
}

template <class Shape>
int BoundedAnalytic<Shape>::ProjectionNormale(const ERPoint3D& p, double, ERPoint2D& uv,
                                              int flag) const {
    ERPoint3D foot;
    ERVector3D normal;
    if (shape_.foot(axis(), p, foot, normal) == 0) return 0;
    const ERPoint2D found = shape_.parameters(frame() << foot, ERPoint2D(udeb(), vdeb()));
    const bool within = getBoundU().inBound(found.x()) && getBoundV().inBound(found.y());
    if (!within && (flag != 0 || Shape::clipsAlways)) return 0;
    uv = found;
    return 1;
}

template <class Shape>
int BoundedAnalytic<Shape>::split(t_SmartPtr<ERAnyBoundedSurface>& before,
                                  t_SmartPtr<ERAnyBoundedSurface>& after, double at,
                                  bool inU) const {
    const ERLimites u = getBoundU(), v = getBoundV();
    const ERLimites& cut = inU ? u : v;
    if (!cut.inBound(at)) return 0;
    const auto part = [&](const ERLimites& range) {
        ERBoundedSurface* const copy = ERBoundedSurface::castdown(getCopy());
        copy->setBound(inU ? range : u, inU ? v : range);
        return t_SmartPtr<ERAnyBoundedSurface>(copy);
    };
    const t_SmartPtr<ERAnyBoundedSurface> first = part(ERLimites(cut.start(), at));
    const t_SmartPtr<ERAnyBoundedSurface> second = part(ERLimites(at, cut.end()));
    // Last: one of the pointers may hold this surface.
    before = first;
    after = second;
    return 1;
}

template <class Shape>
int BoundedAnalytic<Shape>::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before,
                                     t_SmartPtr<ERAnyBoundedSurface>& after, double u) const {
    return split(before, after, u, true);
}

template <class Shape>
int BoundedAnalytic<Shape>::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before,
                                     t_SmartPtr<ERAnyBoundedSurface>& after, double v) const {
    return split(before, after, v, false);
}

template <class Shape>
void BoundedAnalytic<Shape>::reverse() {
    change([&] { ERBoundedSurface::reverse(); });
}

template <class Shape>
void BoundedAnalytic<Shape>::offset(double distance) {
    change([&] {
        const double along = shape_.offset(distance);
        if (along != 0.0) setMatrix(ERTranslation3D(axis().direction * along) * frame());
    });
}

template <class Shape>
void BoundedAnalytic<Shape>::multiplyLengths(double factor) {
    if (factor == 1.0) return;
    shape_.scale(factor);
    if constexpr (Shape::lengthInU) {
        naturalU_ *= factor;
        currentU_ *= factor;
    }
    if constexpr (Shape::lengthInV) {
        naturalV_ *= factor;
        currentV_ *= factor;
    }
}

template <class Shape>
void BoundedAnalytic<Shape>::scale(double factor) {
    ERBoundedSurface::scale(factor);
    ERSurfaceBasedOnTransfo3D::scale(factor);
    multiplyLengths(factor);
}

template <class Shape>
void BoundedAnalytic<Shape>::translate(const ERPoint3D& t) {
    ERBoundedSurface::translate(t);
    ERSurfaceBasedOnTransfo3D::translate(t);
}

template <class Shape>
void BoundedAnalytic<Shape>::transformFrom(const ERPmSimilitude3D& transformation) {
    ERBoundedSurface::transformFrom(transformation);
    ERSurfaceBasedOnTransfo3D::transformFrom(transformation);
    multiplyLengths(std::fabs(transformation.getFactHomo()));
}

template <class Shape>
void BoundedAnalytic<Shape>::transformFrom(const ERPmIsometrie3D& transformation) {
    ERBoundedSurface::transformFrom(transformation);
    ERSurfaceBasedOnTransfo3D::transformFrom(transformation);
}

template <class Shape>
void BoundedAnalytic<Shape>::transformTo(const ERPmSimilitude3D& transformation) {
    ERBoundedSurface::transformTo(transformation);
    ERSurfaceBasedOnTransfo3D::transformTo(transformation);
    multiplyLengths(1.0 / std::fabs(transformation.getFactHomo()));
}

template <class Shape>
void BoundedAnalytic<Shape>::transformTo(const ERPmIsometrie3D& transformation) {
    ERBoundedSurface::transformTo(transformation);
    ERSurfaceBasedOnTransfo3D::transformTo(transformation);
}

template <class Shape>
void BoundedAnalytic<Shape>::printOn(std::ostream& os) const {
    os << className() << " : " << std::endl;
    ERBoundedSurface::printOn(os);
    ERSurfaceBasedOnTransfo3D::printOn(os);
    os << std::endl;
    shape_.printOn(os);
}

// The curves are built in the frame as it is, mirrored or not, and not carried there: an arc that is
// carried into a mirrored frame changes the sign of its angles.

template <class Shape>
ERArc3D BoundedAnalytic<Shape>::parallel(double height, double radius,
                                         const ERLimites& range) const {
    return ERArc3D(frameOf(axes(), lifted(ERPoint3D(0.0, 0.0, height))), radius, range.start(),
                   range.end());
}

template <class Shape>
ERArc3D BoundedAnalytic<Shape>::meridian(double longitude, double distance, double radius,
                                         const ERLimites& range) const {
    const double c = std::cos(longitude), s = std::sin(longitude);
    const LinearMap plane = LinearMap::fromColumns(ERVector3D(c, s, 0.0), ERVector3D(0.0, 0.0, 1.0),
                                                   ERVector3D(s, -c, 0.0));
    return ERArc3D(frameOf(axes() * plane, lifted(ERPoint3D(distance * c, distance * s, 0.0))),
                   radius, range.start(), range.end());
}

template <class Shape>
ERSegment3D BoundedAnalytic<Shape>::straightAlongU(double v) const {
    return ERSegment3D((*this)(udeb(), v), (*this)(ufin(), v));
}

template <class Shape>
ERSegment3D BoundedAnalytic<Shape>::straightAlongV(double u) const {
    return ERSegment3D((*this)(u, vdeb()), (*this)(u, vfin()));
}

template <class Shape>
ERSegment3D BoundedAnalytic<Shape>::alongAxis() const {
    return ERSegment3D(lifted(ERPoint3D(0.0, 0.0, udeb())), lifted(ERPoint3D(0.0, 0.0, ufin())));
}

template class BoundedAnalytic<analytic::PlaneShape>;
template class BoundedAnalytic<analytic::CylinderShape>;
template class BoundedAnalytic<analytic::ConeShape>;
template class BoundedAnalytic<analytic::SphereShape>;
template class BoundedAnalytic<analytic::TorusShape>;

}  // namespace kerf
