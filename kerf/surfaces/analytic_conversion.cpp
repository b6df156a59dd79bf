// The bounded analytic surfaces as NURBS surfaces.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "kerf/curves/arc.h"
#include "kerf/curves/conic_conversion.h"
#include "kerf/curves/segment.h"
#include "kerf/surfaces/bounded_analytic.h"
#include "kerf/surfaces/nurbs_surface.h"

namespace kerf {

namespace {

using namespace analytic;

constexpr std::uint64_t mostPoles = 1000000;

ERLimites increasing(const ERLimites& range) {
    return ERLimites(std::min(range.start(), range.end()), std::max(range.start(), range.end()));
}

bool isFinite(const ERLimites& range) {
    return std::isfinite(range.start()) && std::isfinite(range.end());
}

// A surface of revolution turns a curve of the plane, x being the distance from the axis and y the
// height, about the Z axis by an arc of the unit circle.
struct Revolved {
    ERCpoleNURBS2D profile, turn;
    bool turnsAlongU;
};

ERCpoleNURBS2D turnOver(const ERLimites& angles) {
    return Convert(ERArc2D(ERPoint2D(), 1.0, angles.start(), angles.end()));
}

ERCpoleNURBS2D line(const ERPoint2D& from, const ERPoint2D& to) {
    return ERSegment2D(from, to).ConvertToNurbs();
}

Revolved revolved(const CylinderShape& shape, const ERLimites& u, const ERLimites& v) {
    const double r = shape.radius;
    return {line(ERPoint2D(r, u.start()), ERPoint2D(r, u.end())), turnOver(v), false};
}

Revolved revolved(const ConeShape& shape, const ERLimites& u, const ERLimites& v) {
    const double slope = std::tan(shape.halfAngle);
    return {line(ERPoint2D(slope * u.start(), u.start()), ERPoint2D(slope * u.end(), u.end())),
            turnOver(v), false};
}

Revolved revolved(const SphereShape& shape, const ERLimites& u, const ERLimites& v) {
    return {Convert(ERArc2D(ERPoint2D(), shape.radius, v.start(), v.end())), turnOver(u), true};
}

Revolved revolved(const TorusShape& shape, const ERLimites& u, const ERLimites& v) {
    return {
        Convert(ERArc2D(ERPoint2D(shape.majorRadius, 0.0), shape.minorRadius, v.start(), v.end())),
        turnOver(u), true};
}

ERKnotVector knotsOver(const ERLimites& range, const ERCpoleNURBS2D& curve) {
    ERVec<double> knots = curve.knotVector().getVec();
    const double last = curve.knotVector().last();
    for (unsigned int i = 0; i < knots.length(); ++i)
        knots[i] = knots[i] == last ? range.end() : range(knots[i] / last);
    return ERKnotVector(curve.degree(), knots);
}

// The tensor product of two curves: pole(a, b) is the local pole of one pole of each.
template <class PoleOf>
ERSpoleNURBS3D product(const ERPmIsometrie3D& frame, const ERCpoleNURBS2D& alongU,
                       const ERCpoleNURBS2D& alongV, const ERLimites& u, const ERLimites& v,
                       PoleOf pole) {
    const unsigned int rows = alongU.nbPoles(), cols = alongV.nbPoles();
    if (rows == 0 || cols == 0 || std::uint64_t{rows} * cols > mostPoles) return ERSpoleNURBS3D();
    ERMatrix<ERPole3DH> poles(rows, cols);
    ERPole3DH* out = poles.data();
    for (unsigned int i = 0; i < rows; ++i)
        for (unsigned int j = 0; j < cols; ++j)
            *out++ = frame >> pole(alongU.poles()[i], alongV.poles()[j]);
    return ERSpoleNURBS3D(poles, knotsOver(u, alongU), knotsOver(v, alongV));
}

ERSpoleNURBS3D converted(const PlaneShape&, const ERPmIsometrie3D& frame, const ERLimites& u,
                         const ERLimites& v) {
    const auto axis = [](const ERLimites& range) {
        return line(ERPoint2D(range.start(), 0.0), ERPoint2D(range.end(), 0.0));
    };
    return product(frame, axis(u), axis(v), u, v, [](const ERPole2DH& a, const ERPole2DH& b) {
        return ERPole3DH(a.x(), b.x(), 0.0, 1.0);
    });
}

template <class Shape>
ERSpoleNURBS3D converted(const Shape& shape, const ERPmIsometrie3D& frame, const ERLimites& u,
                         const ERLimites& v) {
    const Revolved form = revolved(shape, u, v);
    const auto turned = [](const ERPole2DH& profile, const ERPole2DH& turn) {
        return ERPole3DH(profile.x() * turn.x(), profile.x() * turn.y(),
                         profile.y() * turn.weigth(), profile.weigth() * turn.weigth());
    };
    if (form.turnsAlongU) {
        return product(
            frame, form.turn, form.profile, u, v,
            [&](const auto& turn, const auto& profile) { return turned(profile, turn); });
    }
    return product(frame, form.profile, form.turn, u, v, turned);
}

}  // namespace

template <class Shape>
ERSpoleNURBS3D BoundedAnalytic<Shape>::Convert2Nurbs() const {
    const ERLimites u = getBoundU(), v = getBoundV();
    ERSpoleNURBS3D surface;
    if (isFinite(u) && isFinite(v))
        surface = converted(shape_, frame(), increasing(u), increasing(v));
    surface.setBound(u, v);
    return surface;
}

template <class Shape>
ERSpoleNURBS3D BoundedAnalytic<Shape>::ConvertToNurbs() const {
    return Convert2Nurbs();
}

template ERSpoleNURBS3D BoundedAnalytic<PlaneShape>::Convert2Nurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<PlaneShape>::ConvertToNurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<CylinderShape>::Convert2Nurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<CylinderShape>::ConvertToNurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<ConeShape>::Convert2Nurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<ConeShape>::ConvertToNurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<SphereShape>::Convert2Nurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<SphereShape>::ConvertToNurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<TorusShape>::Convert2Nurbs() const;
template ERSpoleNURBS3D BoundedAnalytic<TorusShape>::ConvertToNurbs() const;

}  // namespace kerf
