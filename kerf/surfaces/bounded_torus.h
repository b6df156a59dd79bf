#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/bounded_analytic.h"

namespace kerf {

class ERTorus;

/// A part of a torus about the Z axis of a frame: u is the angle about the axis, v the angle about
/// the spine, the circle of the major radius, from the outermost point towards the axis' direction.
/// offset() adds to the minor radius.
/// Degenerate: where the minor radius is the larger one, a foot may lie across the axis. The
///             parameters are then read at its own longitude, and are not those of the foot.
/// Kept:       the box is larger than its surface in the local Z: by 10 + 3 below and 10 - 3 above,
///             on each side on which v passes no extreme of Z.
/// Kept:       a reversed range passes no extreme, so that the box then holds little but the corners.
/// Kept:       the estimates take the minor radius for u, which runs about the axis, and both radii
///             for v, so that the one in u is too small.
/// Kept:       the parameters of a foot have a u within half a turn of udeb(), not up to a turn past
///             it, and a foot outside the ranges is refused whatever the flag.
/// Storage:    the ranges, the frame, the major radius, the minor radius: 196 bytes.
class KERF_EXPORT ERBoundedTorus : public BoundedAnalytic<analytic::TorusShape> {
    ER_OBJECT_CLASS(ERBoundedTorus);
    ER_STORED_CLASS(ERBoundedTorus);

public:
    ERBoundedTorus() = default;  ///< of radii 0
    /// Kept: these are the current ranges; the natural ones stay [0, 1].
    ERBoundedTorus(const ERPmIsometrie3D& frame, double majorRadius, double minorRadius,
                   double umin, double umax, double vmin, double vmax);
    ERBoundedTorus(const ERPmIsometrie3D& frame, double majorRadius, double minorRadius,
                   const ERLimites& u, const ERLimites& v);
    /// In the frame ERChgRepere3D(axis, origin).
    ERBoundedTorus(const ERTorus& torus, const ERLimites& u, const ERLimites& v);

    double large_radius() const { return shape_.majorRadius; }
    double small_radius() const { return shape_.minorRadius; }
    void small_radius(double r);
    ERArc3D GetSpine() const;  ///< the part of the spine from udeb() to ufin()

    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;  ///< an ERArc3D over v
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;  ///< an ERArc3D over u

    /// The square of the distance of p from the torus without its ranges (SignedMinimalDistance).
    virtual double dist2(ERPoint3D p) const;
};

}  // namespace kerf
