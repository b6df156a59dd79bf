#pragma once
#include <iosfwd>

#include "kerf/platform/config.h"
#include "kerf/values/vector_instances.h"

// What the evaluation of a surface answers: the point with its partial derivatives.
namespace kerf {

class ERPmIsometrie3D;

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

    /// S_u ^ S_v, normalised. Where the parametrisation degenerates, with 1e-11 as zero for each
    /// component: the null vector when both tangents are null, else S_vv normalised for a null S_u
    /// and S_uu for a null S_v, which stand in at a pole; no limit is taken.
    ERVector3D normale() const;

    /// The curvature of the normal section in the direction du S_u + dv S_v, positive towards
    /// S_u ^ S_v.
    double courbureNormale(double du, double dv) const;
    double courbureGaussienne() const;
    double courbureMoyenne() const;
    /// The principal curvatures, the smaller first. Where rounding makes their quadratic
    /// unsolvable, as may happen at an umbilic, k1 and k2 keep what they held: callers give them a
    /// value first.
    void courburesExtremes(double& k1, double& k2) const;
    /// The principal directions, of length 1. They keep what they held where the quadratic in the
    /// ratio of dv to du has no real root. Where S_v is itself a principal direction the quadratic
    /// loses its leading term and both answers are the other direction; callers rely on it.
    /// Everywhere on a plane or a sphere both are that of S_u.
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
