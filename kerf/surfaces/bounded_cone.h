#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/bounded_analytic.h"

namespace kerf {

class ERCone;

/// A part of a cone about the Z axis of a frame, with the apex at its origin: u is the height above
/// the apex, v the angle about the axis. Below the apex, where u is negative, lies the other nappe.
/// offset() moves the apex along the axis, to a place that is not finite for the half angle 0.
/// Parameter: the half angle is in radians, meant for (0, pi / 2), and kept as given.
/// Kept:      the parameters of a foot have u = udeb() plus its distance along the axis from there,
///            which has no sign: a point below the first end gets a u above it.
/// Kept:      the box ignores v, and its radius is the larger one of those at both ends with their
///            signs: where the cone goes further below the apex than above, it sticks out.
/// Kept:      as for ERCone, a point at a height of exactly 1.0 has no foot.
/// Kept:      the estimate in u is the height, shorter than the curves along u.
/// Storage:   the ranges, the frame, the half angle: 188 bytes.
class KERF_EXPORT ERBoundedCone : public BoundedAnalytic<analytic::ConeShape> {
    ER_OBJECT_CLASS(ERBoundedCone);
    ER_STORED_CLASS(ERBoundedCone);

public:
    ERBoundedCone() = default;  ///< of half angle 0: a part of its axis
    /// One turn.
    ERBoundedCone(const ERPmIsometrie3D& frame, ERRadian halfAngle, double umin, double umax);
    ERBoundedCone(const ERPmIsometrie3D& frame, ERRadian halfAngle, const ERLimites& u,
                  const ERLimites& v);
    /// One turn, between the heights of two points, in any order.
    ERBoundedCone(const ERCone& cone, const ERPoint3D& a, const ERPoint3D& b);
    ERBoundedCone(const ERCone& cone, const ERLimites& u, const ERLimites& v);

    double height() const { return getBoundU().amplitude(); }
    double radius(double h) const;  ///< at the height h above the apex, negative below
    double diameter(double h) const { return 2.0 * radius(h); }
    ERRadian demiAngle() const { return shape_.halfAngle; }
    ERVector3D direction() const { return getNormale(); }
    const ERPoint3D& apex() const { return origin(); }
    ERSegment3D axe() const;  ///< from udeb() to ufin()
    /// Moves the cone to that axis and makes it as high; udeb() and v stay.
    void axe(const ERSegment3D& axis);
    ERArc3D bottomBase() const;  ///< the section at udeb()
    ERArc3D topBase() const;     ///< the section at ufin()

    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;  ///< an ERArc3D
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;  ///< an ERSegment3D

private:
    ERArc3D sectionAt(double u) const;
};

}  // namespace kerf
