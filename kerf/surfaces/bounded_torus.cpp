#include "kerf/surfaces/bounded_torus.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/arc.h"
#include "kerf/numerics/constants.h"
#include "kerf/surfaces/torus.h"
#include "kerf/values/box.h"

namespace kerf {

ER_DEFINE_CLASS(ERBoundedTorus, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)
ER_DEFINE_STORED_CLASS(ERBoundedTorus, ERBoundedSurface, ERSurfaceBasedOnTransfo3D)

namespace analytic {

namespace {

constexpr double halfPi = 1.5707963267948966;
constexpr double threeHalvesPi = 4.71238898038469;

// What the box is larger by, and moved by, in Z.
constexpr double marginInZ = 10.0;
constexpr double shiftInZ = 3.0;

// Brings a range of angles to at most one turn within [-2 pi, 2 pi], by whole turns.
ERLimites normalForm(ERLimites range) {
    const auto takeTurnsOff = [&](double angle) {
        if (std::fabs(angle) > twoPi) range -= std::trunc(angle / twoPi) * twoPi;
    };
    if (range.amplitude() > twoPi) range.end() = range.start() + twoPi;
    takeTurnsOff(range.start());
    takeTurnsOff(range.end());
    return range;
}

// Whether a range in normal form contains an angle, given by both of its values in (-2 pi, 2 pi).
bool contains(const ERLimites& range, double angle, double turnBefore) {
    return range.inBound(angle) || range.inBound(turnBefore);
}

}  // namespace

ERPoint3D TorusShape::point(double u, double v) const {
    const double r = majorRadius + minorRadius * std::cos(v);
    return ERPoint3D(r * std::cos(u), r * std::sin(u), minorRadius * std::sin(v));
}

Jet TorusShape::jet(double u, double v) const {
    const double cu = std::cos(u), su = std::sin(u);
    const double out = minorRadius * std::cos(v), z = minorRadius * std::sin(v);
    const double r = majorRadius + out;
    Jet jet;
    jet.point = ERPoint3D(r * cu, r * su, z);
    jet.u = ERVector3D(-r * su, r * cu, 0.0);
    jet.v = ERVector3D(-z * cu, -z * su, out);
    jet.uu = ERVector3D(-r * cu, -r * su, 0.0);
    jet.uv = ERVector3D(z * su, -z * cu, 0.0);
    jet.vv = ERVector3D(-out * cu, -out * su, -z);
    return jet;
}

ERMinimax3D TorusShape::box(const ERPmIsometrie3D& frame, const ERLimites& rangeU,
                            const ERLimites& rangeV) const {
    ERLimites u = rangeU, v = rangeV;
    // The same points with radii that are not negative.
    if (minorRadius < 0.0) v += pi;
    if (majorRadius < 0.0) {
        u += pi;
        v = ERLimites(pi - v.end(), pi - v.start());
    }
    const double R = std::fabs(majorRadius), r = std::fabs(minorRadius);
    u = normalForm(u);
    v = normalForm(v);

    const auto [innermost, outermost] =
        std::minmax({R + r * std::cos(v.start()), R + r * std::cos(v.end())});
    const double low = contains(v, pi, -pi) ? R - r : innermost;
    const double high = v.inBound(0.0) ? R + r : outermost;
    const auto extremes = [&](double atStart, double atEnd) {
        return std::minmax({low * atStart, low * atEnd, high * atStart, high * atEnd});
    };
    const auto [xlow, xhigh] = extremes(std::cos(u.start()), std::cos(u.end()));
    const auto [ylow, yhigh] = extremes(std::sin(u.start()), std::sin(u.end()));
    const auto [zlow, zhigh] = std::minmax({r * std::sin(v.start()), r * std::sin(v.end())});

    return frame >>
           ERMinimax3D(contains(u, pi, -pi) ? -high : xlow, u.inBound(0.0) ? high : xhigh,
                       contains(u, threeHalvesPi, -halfPi) ? -high : ylow,
                       contains(u, halfPi, -threeHalvesPi) ? high : yhigh,
                       contains(v, threeHalvesPi, -halfPi) ? -r : zlow - marginInZ - shiftInZ,
                       contains(v, halfPi, -threeHalvesPi) ? r : zhigh + marginInZ - shiftInZ);
}

EREntity::DISTMINRES TorusShape::distance(const Axis& axis, const ERPoint3D& p,
                                          double& distance) const {
    return ERTorus::SignedMinimalDistanceTorus(p, axis.origin, axis.direction, majorRadius,
                                               minorRadius, distance);
}

int TorusShape::foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot,
                     ERVector3D& normal) const {
    return ERTorus::ProjectionNormalTorus(axis.origin, axis.direction, majorRadius, minorRadius, p,
                                          foot, normal);
}

ERPoint2D TorusShape::parameters(const ERPoint3D& foot, const ERPoint2D& start) const {
    const double out = std::copysign(1.0, majorRadius), side = std::copysign(1.0, minorRadius);
    const double fromSpine = out * std::hypot(foot.x(), foot.y()) - majorRadius;
    return ERPoint2D(start.x() + angleFrom(start.x(), out * foot.x(), out * foot.y()),
                     start.y() + turnFrom(start.y(), side * fromSpine, side * foot.z()));
}

double TorusShape::perU() const { return std::fabs(minorRadius); }

double TorusShape::perV(const ERLimites&) const {
    return std::fabs(majorRadius) + std::fabs(minorRadius);
}

void TorusShape::scale(double factor) {
    majorRadius *= factor;
    minorRadius *= factor;
}

double TorusShape::offset(double distance) {
    minorRadius += distance;
    return 0.0;
}

void TorusShape::printOn(std::ostream& os) const {
    os << "Grand rayon   " << majorRadius << std::endl;
    os << "Petit rayon   " << minorRadius << std::endl;
}

}  // namespace analytic

ERBoundedTorus::ERBoundedTorus(const ERPmIsometrie3D& frame, double majorRadius, double minorRadius,
                               double umin, double umax, double vmin, double vmax)
    : BoundedAnalytic(frame, {majorRadius, minorRadius}, ERLimites(0.0, 1.0), ERLimites(0.0, 1.0)) {
    ERBoundedSurface::setBound(ERLimites(umin, umax), ERLimites(vmin, vmax));
}

ERBoundedTorus::ERBoundedTorus(const ERPmIsometrie3D& frame, double majorRadius, double minorRadius,
                               const ERLimites& u, const ERLimites& v)
    : BoundedAnalytic(frame, {majorRadius, minorRadius}, u, v) {}

ERBoundedTorus::ERBoundedTorus(const ERTorus& torus, const ERLimites& u, const ERLimites& v)
    : ERBoundedTorus(ERChgRepere3D(torus.vect(), torus.origin()), torus.large_radius(),
                     torus.small_radius(), u, v) {}

ERTorus::ERTorus(const ERBoundedTorus& torus)
    : ERTorus(torus.large_radius(), torus.small_radius(), torus.getNormale(),
              torus.getMatrix().origine()) {}

void ERBoundedTorus::small_radius(double r) {
    change([&] { shape_.minorRadius = r; });
}

ERArc3D ERBoundedTorus::GetSpine() const { return parallel(0.0, large_radius(), getBoundU()); }

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedTorus::getEntityIsoU(double u) const {
    return new ERArc3D(meridian(u, large_radius(), small_radius(), getBoundV()));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedTorus::getEntityIsoV(double v) const {
    const double r = small_radius();
    return new ERArc3D(parallel(r * std::sin(v), large_radius() + r * std::cos(v), getBoundU()));
}

double ERBoundedTorus::dist2(ERPoint3D p) const {
    double distance = 0.0;
    SignedMinimalDistance(p, distance);
    return distance * distance;
}

}  // namespace kerf
