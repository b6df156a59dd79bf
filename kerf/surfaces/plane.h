#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/unbounded_surface.h"

// The plane without limits.
namespace kerf {

class ERArc3D;
class ERBoundedPlane;
class ERCircle3D;

/// The plane a x + b y + c z + d = 0, with (a, b, c) of length 1: its normal.
/// Degenerate: without a normal the distance of every point is d, and feet are not numbers.
/// Storage:    a, b, c, d: 32 bytes.
class KERF_EXPORT ERPlane : public UnboundedSurface<ERPlane> {
    ER_OBJECT_CLASS(ERPlane);
    ER_STORED_CLASS(ERPlane);

public:
    ERPlane() = default;  ///< all zeros: no plane
    /// All four are divided by the length of (a, b, c); where that is zero they stay.
    ERPlane(double a, double b, double c, double d);
    ERPlane(const ERPoint3D& p, const ERVector3D& normal);  ///< through p; any length of the normal
    /// Through the frame's origin, with the axis named as its normal.
    ERPlane(const ERPmIsometrie3D& frame, enum Coord3D axis);
    explicit ERPlane(const ERBoundedPlane& plane);

    void getCoefficients(double& a, double& b, double& c, double& d) const;
    const ERVector3D& getNormale() const { return normal_; }
    ERPoint3D origine() const;           ///< the foot of the coordinate origin
    ERPmIsometrie3D getTransfo() const;  ///< ERChgRepere3D(getNormale(), origine())

    double distancePt(const ERPoint3D& p) const;    ///< positive on the side of the normal
    ERPoint3D project(const ERPoint3D& p) const;    ///< the foot of p
    ERVector3D project(const ERVector3D& v) const;  ///< v without its part along the normal
    /// Through the feet of the line's origin and of the point at length 1 from it. A line along the
    /// normal has a null direction, or one of rounding.
    ERInfLine3D project(const ERInfLine3D& line) const;

    ERPlane getOffset(double k) const;  ///< moved by k along the normal
    ERPlane getreversed() const;        ///< the same points; the normal turns over

    /// Exact: the four coefficients.
    friend bool operator==(const ERPlane& a, const ERPlane& b) {
        return a.normal_ == b.normal_ && a.d_ == b.d_;
    }

    /// distancePt. Returns SingleNearestPoint.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    /// Kept: the vector is not looked at.
    static EREntity::DISTMINRES SignedMinimalDistancePlane(const ERPoint3D& p,
                                                           const ERVector3D& unused, double a,
                                                           double b, double c, double d,
                                                           double& distance);
    /// The normal is that of the plane, on both sides. Always 1.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;

    void reverse() override;
    void offset(double k) override;
    void printOn(std::ostream& os) const override;

private:
    friend class UnboundedSurface<ERPlane>;
    template <class Edit>
    void changeParts(Edit edit) {
        ERPoint3D p = origine();
        edit(p);
        edit(normal_);
        lieThrough(p);
    }
    void lieThrough(const ERPoint3D& p);  // with the normal that is there, of any length
    static auto fields(auto& self) { return std::tie(self.normal_, self.d_); }

    ERVector3D normal_;
    double d_ = 0.0;
};

/// The point in which a line meets the plane. 0, with p as it was, when their product of directions
/// is exactly 0.0; a line that is nearly parallel meets it far away.
KERF_EXPORT int intersect(const ERPlane& plane, const ERInfLine3D& line, ERPoint3D& p);

/// BuildSlot of circle_builders.h in the frame getTransfo() of a plane.
KERF_EXPORT int BuildSlot(const ERCircle3D& c1, const ERCircle3D& c2, const ERPlane& plane,
                          ERArc3D& a1, ERArc3D& a2);

}  // namespace kerf
