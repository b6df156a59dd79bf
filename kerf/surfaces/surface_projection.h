#pragma once
#include <limits>

#include "kerf/numerics/newton_solvers.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/surface_info_point.h"

// The foot of a point on a surface, by Newton's method on the squared distance.
namespace kerf {

/// A point of a surface and its partial derivatives, all of them true ones.
struct KERF_EXPORT SurfaceDerivatives {
    ERPoint3D point;
    ERVector3D u, v, uu, uv, vv;

    SurfaceDerivatives() = default;
    explicit SurfaceDerivatives(const ERInfoPoint3DSurf& info);
};

/// What the function objects of all surfaces share: half the squared distance of a point P from
/// S(u, v), as a function of (s, t) in the unit square, u = umin + s (umax - umin) and v likewise.
/// Its gradient is f, its Hessian fprime. What is asked for at the same (s, t) as before is not
/// evaluated again.
///
/// Kept: f, fprime and H write the (s, t) that they are given back, clamped to the unit square.
class KERF_EXPORT SurfaceFootFunction : public ERCNewtonH {
public:
    ERVec<double> f(const ERVec<double>& x) override;
    ERMatrix<double> fprime(const ERVec<double>& x) override;
    double H(const ERVec<double>& x) override;

    // The same on the pair (s, t); the derivatives row by row.
    void f(double* x, double* gradient);
    void fprime(double* x, double* hessian);

    double tolerance() const { return tolerance_; }  ///< as the caller gave it, who alone reads it

    /// Moves (u, v) from a start to a foot, by at most 10 steps of ERNewtonMSolver.
    /// Tolerance: the gradient is zero within 1e-10, or 1e-10 of the diagonal's inverse if that is more.
    ///            After the tenth step one below 1e-5 will do, or a direction to P within 1e-5 of the
    ///            normal's. So will a point on the border of the domain from which the step leads
    ///            straight out.
    /// flag:      other than 0: a foot outside the ranges, and one within 1.1920928955078125e-07 of
    ///            their ends where the direction to P is not within 1e-5 of the normal's, is refused.
    /// Returns:   1, or 0 with uv as it was.
    int settle(ERPoint2D& uv, int flag);

protected:
    SurfaceFootFunction(const ERAnyBoundedSurface& surface, const ERPoint3D& target,
                        double tolerance);

    virtual void evaluate(double u, double v, SurfaceDerivatives& at) const = 0;

private:
    void evaluateAt(double* x);
    double sine() const;

    static constexpr double notEvaluated = std::numeric_limits<double>::max();

    ERPoint3D target_;
    ERVector3D gap_;  // S - P
    double tolerance_;
    SurfaceDerivatives at_;
    ERLimites rangeU_, rangeV_;
    double widthU_, widthV_;
    double inverseDiagonal_;  // of the surface's box
    double s_ = notEvaluated, t_ = notEvaluated;
};

/// The function object of a surface of class S. It takes the derivatives from S::derivativesAt where
/// there is such a member, else from PtCur.
/// Lifetime: the surface outlives it and does not change meanwhile.
template <class S>
class FctProjSpoleOnSurface : public SurfaceFootFunction {
public:
    FctProjSpoleOnSurface(const S& surface, const ERPoint3D& target, double tolerance)
        : SurfaceFootFunction(surface, target, tolerance), surface_(surface) {}

private:
    void evaluate(double u, double v, SurfaceDerivatives& at) const override {
        if constexpr (requires { surface_.derivativesAt(u, v, at); })
            surface_.derivativesAt(u, v, at);
        else
            at = SurfaceDerivatives(surface_.PtCur(u, v));
    }

    const S& surface_;
};

/// The body of ReajustProjection.
template <class S>
int improveFoot(const S& surface, ERPoint3D& point, ERPoint2D& uv, int flag) {
    FctProjSpoleOnSurface<S> function(surface, point, 0.0);
    if (function.settle(uv, flag) == 0) return 0;
    point = surface(uv.x(), uv.y());
    return 1;
}

}  // namespace kerf
