#pragma once
#include <iosfwd>

#include "kerf/platform/config.h"
#include "kerf/values/vector_instances.h"

// What the evaluation of a surface returns: the point with its partial derivatives.
namespace kerf {

class ERPmIsometrie3D;

/// The unit normal of a surface from its derivatives: S_u ^ S_v, normalised.
/// Degenerate: a tangent counts as zero when each component is within 1e-11. For a zero S_u the
///             result is S_vv, for a zero S_v it is S_uu, normalised: they stand in at a pole of
///             the parametrisation, and no limit is taken. Both zero: the zero vector.
KERF_EXPORT ERVector3D surfaceNormal(const ERVector3D& su, const ERVector3D& sv,
                                     const ERVector3D& suu, const ERVector3D& svv);

/// A point of a surface S(u, v) and the table of its partial derivatives: row j and column i hold
/// the derivative of order i in u and j in v, so that row 0 begins with the point, S_u and S_uu.
/// All but the point are vectors, stored as points. Whatever reads derivatives asks for a table of
/// at least 3 by 3.
class KERF_EXPORT ERInfoPoint3DSurf {
public:
    ERInfoPoint3DSurf() = default;  ///< (0, 0) and an empty table
    ERInfoPoint3DSurf(const ERPoint2D& uv, const ERMatrix<ERPoint3D>& derivatives)
        : uv_(uv), derivatives_(derivatives) {}

    const ERPoint2D& parameter() const { return uv_; }  ///< (u, v)
    ERPoint2D& parameter() { return uv_; }
    const ERMatrix<ERPoint3D>& derivatives() const { return derivatives_; }
    ERMatrix<ERPoint3D>& derivatives() { return derivatives_; }

    ERPoint3D point() const;
    ERVector3D tangenteU() const;  ///< S_u, not normalised
    ERVector3D tangenteV() const;  ///< S_v, not normalised

    ERVector3D normale() const;  ///< surfaceNormal of the table

    /// The curvature of the normal section in the direction du S_u + dv S_v, positive towards
    /// S_u ^ S_v.
    double courbureNormale(double du, double dv) const;
    double courbureGaussienne() const;
    double courbureMoyenne() const;
    /// The principal curvatures, the smaller first.
    /// Kept: where rounding makes their quadratic unsolvable, as may happen at an umbilic, k1 and k2
    ///       keep what they held. Callers give them a value first.
    void courburesExtremes(double& k1, double& k2) const;
    /// The principal directions, of length 1.
    /// Kept: they keep what they held where the quadratic in the ratio of dv to du has no real root.
    ///       Where S_v is itself a principal direction both are the other one, for the quadratic
    ///       loses its leading term. Everywhere on a plane or a sphere both are that of S_u.
    void directionPrincipale(ERVector3D& d1, ERVector3D& d2) const;

    // In place: the point as a point, all other entries as vectors.
    void transformFrom(const ERPmIsometrie3D& frame);
    void transformTo(const ERPmIsometrie3D& frame);

    void printOn(std::ostream& os) const;
    friend std::ostream& operator<<(std::ostream& os, const ERInfoPoint3DSurf& info) {
        info.printOn(os);
        return os;
    }

private:
    struct FundamentalForms;
    FundamentalForms fundamentalForms() const;
    /// The derivative of order i in u and j in v.
    ERVector3D derivative(unsigned int i, unsigned int j) const;

    ERPoint2D uv_;
    ERMatrix<ERPoint3D> derivatives_;
};

}  // namespace kerf
