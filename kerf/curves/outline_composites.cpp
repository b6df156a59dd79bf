// What the outlines give as curves and circles.
#include <cmath>

#include "kerf/curves/arc.h"
#include "kerf/curves/circle.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/outline.h"
#include "kerf/curves/rounded_slot.h"
#include "kerf/curves/segment.h"

namespace kerf {

namespace {

constexpr double quarter = 1.5707963267948966;

}  // namespace

ERCompCurve2D CornerOutline2D::composite_curve() const {
    const unsigned int n = corners_.length();
    ERCompCurve2D curve;
    for (unsigned int i = 0; i < n; ++i) {
        curve.append(ERSegment2D(corners_[i], corners_[i + 1 < n ? i + 1 : 0]), 0.0);
    }
    return curve;
}

ERCompCurve2D ERRoundedSlot2D::composite_curve() const {
    const Shape s = shape();
    const double angle = std::atan2(s.along.j(), s.along.i());
    ERCompCurve2D curve;
    curve.append(ERSegment2D(s.corner(0), s.corner(1)), 0.0);
    curve.append(ERArc2D(center2_, s.radius, angle - quarter, angle + quarter), 0.0);
    curve.append(ERSegment2D(s.corner(2), s.corner(3)), 0.0);
    curve.append(ERArc2D(center1_, s.radius, angle + quarter, angle + 3.0 * quarter), 0.0);
    return curve;
}

template <class Flat>
ERCompCurve3D PlanarOutline<Flat>::composite_curve() const {
    const t_SmartPtr<EREntity3DWF> curve = flat_.composite_curve().get3DEquiv(this->getRepere());
    return *ERCompCurve3D::castdown(curve.getObject());
}

template ERCompCurve3D PlanarOutline<ERRectangle2D>::composite_curve() const;
template ERCompCurve3D PlanarOutline<ERRegularPolygon2D>::composite_curve() const;
template ERCompCurve3D PlanarOutline<ERRoundedSlot2D>::composite_curve() const;

ERCircle2D ERRegularPolygon2D::inside_circle() const {
    return ERCircle2D(barycenter(), inside_radius());
}

ERCircle2D ERRegularPolygon2D::outside_circle() const {
    return ERCircle2D(barycenter(), outside_radius());
}

ERCircle3D ERRegularPolygon3D::inside_circle() const {
    return ERCircle3D(getRepere(), flat_.inside_circle());
}

ERCircle3D ERRegularPolygon3D::outside_circle() const {
    return ERCircle3D(getRepere(), flat_.outside_circle());
}

}  // namespace kerf
