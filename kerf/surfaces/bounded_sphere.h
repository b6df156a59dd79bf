#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/bounded_analytic.h"

namespace kerf {

class ERSphere;

/// A part of a sphere about the origin of a frame: u is the longitude, v the latitude.
/// Parameter: the foot of a point has a latitude in [-pi / 2, pi / 2].
/// Kept:      the box is that of the whole sphere, whatever the ranges.
/// Storage:   the ranges, the frame, the radius: 188 bytes.
class KERF_EXPORT ERBoundedSphere : public BoundedAnalytic<analytic::SphereShape> {
    ER_OBJECT_CLASS(ERBoundedSphere);
    ER_STORED_CLASS(ERBoundedSphere);

public:
    ERBoundedSphere() = default;  ///< of radius 0
    ERBoundedSphere(const ERPmIsometrie3D& frame, double radius, const ERLimites& u,
                    const ERLimites& v);
    /// In the axes of space.
    ERBoundedSphere(const ERSphere& sphere, const ERLimites& u, const ERLimites& v);

    const ERPoint3D& center() const { return origin(); }
    double radius() const { return shape_.radius; }
    double diameter() const { return 2.0 * radius(); }
    ERArc3D getIsoU(double u) const;  ///< a meridian, over v
    ERArc3D getIsoV(double v) const;  ///< a parallel, over u

    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;  ///< getIsoU(u)
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;  ///< getIsoV(v)
};

}  // namespace kerf
