#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/unbounded_surface.h"

// The torus, without a parameter rectangle.
namespace kerf {

class ERBoundedTorus;

/// What lies at the minor radius from the spine: the circle of the major radius about the origin,
/// in the plane normal to the axis.
/// Degenerate: radii of any sign and order are legal; distances and feet take their sizes.
/// Storage:    the axis, the origin, the minor radius, the major radius: 64 bytes.
class KERF_EXPORT ERTorus : public UnboundedSurface<ERTorus> {
    ER_OBJECT_CLASS(ERTorus);
    ER_STORED_CLASS(ERTorus);

public:
    ERTorus() = default;  ///< of the radii 10 and 1 about the z axis
    /// Kept: the axis has the length given until a similitude makes it a unit vector. A length other
    ///       than 1 is of no account but in the test for points of the axis.
    ERTorus(double majorRadius, double minorRadius, const ERVector3D& axis, const ERPoint3D& origin)
        : majorRadius_(majorRadius), minorRadius_(minorRadius), axis_(axis), origin_(origin) {}
    explicit ERTorus(const ERBoundedTorus& torus);

    const ERPoint3D& origin() const { return origin_; }
    void origin(const ERPoint3D& o);
    const ERVector3D& vect() const { return axis_; }
    void vect(const ERVector3D& axis);
    double large_radius() const { return majorRadius_; }
    double small_radius() const { return minorRadius_; }

    /// Positive outside the tube. NearestPointNotUnique on the axis, else SingleNearestPoint.
    /// Tolerance: on the axis means that the product of axis and w, from origin to p, is at most
    ///            1e-11 long.
    /// Kept:      on the axis the height is read as the difference of z, whatever the direction of
    ///            the axis.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    static EREntity::DISTMINRES SignedMinimalDistanceTorus(const ERPoint3D& p,
                                                           const ERPoint3D& origin,
                                                           const ERVector3D& axis,
                                                           double majorRadius, double minorRadius,
                                                           double& distance);
    /// The normal leads away from the spine; a point of the spine is its own foot, with a null
    /// normal. Returns 1, or 0 with nothing written when p is exactly the origin.
    /// Kept: a point of the axis, to the last bit, is taken as if the spine were the origin.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormalTorus(const ERPoint3D& origin, const ERVector3D& axis,
                                     double majorRadius, double minorRadius, ERPoint3D p,
                                     ERPoint3D& foot, ERVector3D& normal);

    void scale(double factor) override;
    void offset(double k) override;  ///< adds k to the minor radius
    void printOn(std::ostream& os) const override;

private:
    friend class UnboundedSurface<ERTorus>;
    template <class Edit>
    void changeParts(Edit edit) {
        edit(axis_);
        edit(origin_);
        edit(minorRadius_);
        edit(majorRadius_);
    }
    static auto fields(auto& self) {
        return std::tie(self.axis_, self.origin_, self.minorRadius_, self.majorRadius_);
    }

    double majorRadius_ = 10.0;
    double minorRadius_ = 1.0;
    ERVector3D axis_ = ERVector3D(0.0, 0.0, 1.0);
    ERPoint3D origin_;
};

}  // namespace kerf
