#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/bounded_analytic.h"

namespace kerf {

class ERPlane;

/// A rectangle in the plane z = 0 of a frame: the point (u, v) has these coordinates there.
/// Storage: the ranges, the frame: 180 bytes.
class KERF_EXPORT ERBoundedPlane : public BoundedAnalytic<analytic::PlaneShape> {
    ER_OBJECT_CLASS(ERBoundedPlane);
    ER_STORED_CLASS(ERBoundedPlane);

public:
    ERBoundedPlane() = default;  ///< the unit square
    ERBoundedPlane(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v);
    /// In the frame ERPlane::getTransfo().
    ERBoundedPlane(const ERPlane& plane, const ERLimites& u, const ERLimites& v);

    ERSegment3D getIsoU(double u) const;  ///< from vdeb() to vfin()
    ERSegment3D getIsoV(double v) const;
    /// These segments.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// Exchanges the X and Y axes with the ranges: the points stay, the normal turns over.
    void reverse() override;
};

}  // namespace kerf
