#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/unbounded_surface.h"

// The cylinder of revolution without limits.
namespace kerf {

class ERBoundedCylinder;

/// What lies at the radius from an axis.
/// Degenerate: radius 0 is legal. So is a negative radius, which offset() and scale() may give:
///             distances and feet take its size.
/// Storage:    the axis, the radius: 56 bytes.
class KERF_EXPORT ERCylinder : public UnboundedSurface<ERCylinder> {
    ER_OBJECT_CLASS(ERCylinder);
    ER_STORED_CLASS(ERCylinder);

public:
    ERCylinder() = default;  ///< of radius 1 about the z axis
    ERCylinder(const ERInfLine3D& axis, double radius) : radius_(radius), axis_(axis) {}
    explicit ERCylinder(const ERBoundedCylinder& cylinder);

    const ERInfLine3D& axe() const { return axis_; }
    double radius() const { return radius_; }
    double diameter() const { return 2.0 * radius_; }
    void radius(double r);
    void diameter(double d) { radius(0.5 * d); }

    /// Positive outside.
    /// Kept: returns SingleNearestPoint for p within 1e-11 of the axis, where a whole circle is
    ///       nearest, and NearestPointNotUnique everywhere else.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    static EREntity::DISTMINRES SignedMinimalDistanceCylinder(const ERPoint3D& p,
                                                              const ERInfLine3D& axis,
                                                              double radius, double& distance);
    /// The normal leads away from the axis. Returns 1, or 0 with nothing written when p is exactly
    /// its own foot on the axis.
    /// Kept: where the square of the radius is at most 1e-11 the foot is that on the axis, and the
    ///       normal is null.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormaleCylinder(const ERPoint3D& p, const ERInfLine3D& axis, double radius,
                                         ERPoint3D& foot, ERVector3D& normal);

    void scale(double factor) override;
    void offset(double k) override;  ///< adds k to the radius
    void printOn(std::ostream& os) const override;

private:
    friend class UnboundedSurface<ERCylinder>;
    template <class Edit>
    void changeParts(Edit edit) {
        edit(axis_);
        edit(radius_);
    }
    static auto fields(auto& self) { return std::tie(self.axis_, self.radius_); }

    double radius_ = 1.0;
    ERInfLine3D axis_;
};

}  // namespace kerf
