#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/unbounded_surface.h"

// The cone of revolution without limits.
namespace kerf {

class ERBoundedCone;

/// Both nappes of a cone: what is seen from the apex at the half angle from the axis or from its
/// opposite.
/// Parameter:  the half angle is in radians, meant for (0, pi / 2), and kept as given.
/// Degenerate: the angle 0 is the axis, pi / 2 the plane normal to it.
/// Storage:    the axis, the apex, the half angle: 56 bytes.
class KERF_EXPORT ERCone : public UnboundedSurface<ERCone> {
    ER_OBJECT_CLASS(ERCone);
    ER_STORED_CLASS(ERCone);

public:
    ERCone() = default;  ///< all zeros
    ERCone(const ERPoint3D& apex, const ERVector3D& axis, double halfAngle)
        : halfAngle_(halfAngle), apex_(apex), axis_(axis.getnormalized()) {}
    explicit ERCone(const ERBoundedCone& cone);

    const ERPoint3D& apex() const { return apex_; }
    const ERVector3D& direction() const { return axis_; }  ///< of length 1
    double demiAngle() const { return halfAngle_; }
    ERInfLine3D axe() const { return ERInfLine3D(axis_, apex_); }
    double radius(double h) const;  ///< at the height h above the apex
    double diameter(double h) const { return 2.0 * radius(h); }

    /// Moved by k outwards on the nappe along the axis, so inwards on the other one: the apex moves
    /// back. For the angle 0 the apex is not finite.
    ERCone getOffset(double k) const;

    /// Kept: a place-holder. Nothing is written, and it returns 1.
    int project(const ERPoint3D& p, ERPoint3D&, ERPoint3D&, double&, double&, double&,
                double&) const;

    /// The distance from the nearest generating line of the nappe on whose side of the apex p lies,
    /// positive outside. Returns SingleNearestPoint, on the axis too.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    static EREntity::DISTMINRES SignedMinimalDistanceCone(const ERPoint3D& p, const ERPoint3D& apex,
                                                          const ERVector3D& axis, double halfAngle,
                                                          double& distance);
    /// The foot on that line. The normal leads inwards: it has a positive product with the
    /// direction from the apex to the side of p along the axis. A point of the axis has its foot
    /// there, and a null normal. Returns 1.
    /// Kept: 0, with nothing written, when p lies at a height of exactly 1.0 above the apex.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormaleCone(const ERVector3D& axis, const ERPoint3D& apex,
                                     double halfAngle, const ERPoint3D& p, ERPoint3D& foot,
                                     ERVector3D& normal);

    void reverse() override;         ///< negates the axis; the points stay
    void offset(double k) override;  ///< becomes getOffset(k)
    void printOn(std::ostream& os) const override;

private:
    friend class UnboundedSurface<ERCone>;
    template <class Edit>
    void changeParts(Edit edit) {
        edit(apex_);
        edit(axis_);
    }
    static auto fields(auto& self) { return std::tie(self.axis_, self.apex_, self.halfAngle_); }

    double halfAngle_ = 0.0;
    ERPoint3D apex_;
    ERVector3D axis_;
};

}  // namespace kerf
