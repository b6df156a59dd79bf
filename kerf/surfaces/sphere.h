#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/unbounded_surface.h"

// The sphere, without a parameter rectangle.
namespace kerf {

class ERBoundedSphere;

/// What lies at the radius from a centre.
/// Degenerate: radius 0 is legal. So is a negative radius, which offset() and scale() may give:
///             distances and feet take its size.
/// Storage:    the centre, the radius: 32 bytes.
class KERF_EXPORT ERSphere : public UnboundedSurface<ERSphere> {
    ER_OBJECT_CLASS(ERSphere);
    ER_STORED_CLASS(ERSphere);

public:
    ERSphere() = default;  ///< of radius 0 about the origin
    ERSphere(const ERPoint3D& centre, double radius) : centre_(centre), radius_(radius) {}
    explicit ERSphere(const ERBoundedSphere& sphere);

    const ERPoint3D& center() const { return centre_; }
    void center(const ERPoint3D& c);
    double radius() const { return radius_; }
    double diameter() const { return 2.0 * radius_; }

    /// Positive outside. NearestPointNotUnique for p within 1e-11 of the centre.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    static EREntity::DISTMINRES SignedMinimalDistanceSphere(const ERPoint3D& p,
                                                            const ERPoint3D& centre, double radius,
                                                            double& distance);
    /// The normal leads away from the centre. Returns 1, or 0 with nothing written when p is exactly
    /// the centre.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormaleSphere(const ERPoint3D& p, const ERPoint3D& centre, double radius,
                                       ERPoint3D& foot, ERVector3D& normal);
    int project(const ERPoint3D& p, ERPoint3D& foot) const;  ///< the foot alone

    void offset(double k) override;  ///< adds k to the radius
    void printOn(std::ostream& os) const override;

private:
    friend class UnboundedSurface<ERSphere>;
    template <class Edit>
    void changeParts(Edit edit) {
        edit(centre_);
        edit(radius_);
    }
    static auto fields(auto& self) { return std::tie(self.centre_, self.radius_); }

    ERPoint3D centre_;
    double radius_ = 0.0;
};

}  // namespace kerf
