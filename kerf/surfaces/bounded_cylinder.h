#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/bounded_analytic.h"

namespace kerf {

class ERCylinder;
class EREntityNormaliser;

/// A part of a cylinder about the Z axis of a frame: u is the height, v the angle about the axis.
/// Kept:    the parameters of a foot have u = udeb() plus its distance along the axis from there,
///          which has no sign: a point below the first end gets a u above it.
/// Storage: the ranges, the frame, the radius: 188 bytes.
class KERF_EXPORT ERBoundedCylinder : public BoundedAnalytic<analytic::CylinderShape> {
    ER_OBJECT_CLASS(ERBoundedCylinder);
    ER_STORED_CLASS(ERBoundedCylinder);

public:
    ERBoundedCylinder() = default;  ///< of radius 0
    /// u from -halfHeight to halfHeight, v from start to end.
    ERBoundedCylinder(const ERPmIsometrie3D& frame, double halfHeight, double radius,
                      ERRadian start, ERRadian end);
    ERBoundedCylinder(const ERPmIsometrie3D& frame, double radius, const ERLimites& u,
                      const ERLimites& v);
    /// About the segment, one turn. The frame is ERChgRepere3D(direction, middle).
    ERBoundedCylinder(const ERSegment3D& axis, double radius);
    /// The frame is at the origin of the axis.
    ERBoundedCylinder(const ERCylinder& cylinder, const ERLimites& u, const ERLimites& v);

    ERSegment3D axe() const;  ///< from udeb() to ufin()
    /// As the constructor from a segment; v stays.
    void axe(const ERSegment3D& axis);
    ERArc3D getArc(double u) const;  ///< the section at a height
    void height(double h);           ///< the whole one; the middle of u stays
    double radius() const { return shape_.radius; }
    void radius(double r);
    double diameter() const { return 2.0 * radius(); }
    void diameter(double d) { radius(0.5 * d); }

    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;  ///< getArc(u)
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;  ///< an ERSegment3D

private:
    friend class EREntityNormaliser;  // flips it in place
};

}  // namespace kerf
