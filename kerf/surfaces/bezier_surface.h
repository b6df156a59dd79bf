#pragma once
#include <type_traits>

#include "kerf/platform/config.h"
#include "kerf/surfaces/pole_surface.h"

// Bézier surfaces, integral and rational.
namespace kerf {

class ERCpoleBezier3D;
class ERCpoleBezier3DR;
class ERSpoleBezier3D;
class ERSpoleBezier3DR;
class ERSpoleNURBS3D;
struct SurfaceDerivatives;

/// What both Bézier surfaces share. The poles mean the unit square: with s and t the ratios of u and v
/// in a pair of ranges, the surface is the sum of B_i(s) B_j(t) P_ij, divided by its weight where poles
/// have one. A range of length 0 has the ratio 0 everywhere.
///
/// Parameter: u and v in the current ranges; outside, the polynomials go on.
/// Kept:      PtCur takes the ratios in the natural ranges, points and iso curves take them in the
///            current ones. The two differ between setBound and adjust.
template <class Surface, class Pole>
class KERF_EXPORT BezierSurface : public PoleSurface<Surface, Pole> {
    using Base = PoleSurface<Surface, Pole>;
    using IsoCurve =
        std::conditional_t<std::is_same_v<Pole, ERPoint3D>, ERCpoleBezier3D, ERCpoleBezier3DR>;

public:
    using typename Base::Half;

    using ERAnyBoundedSurface::ProjectionNormale;
    using ERAnyBoundedSurface::PtCur;
    using ERAnyBoundedSurface::operator();

    unsigned int degreeU() const override;
    unsigned int degreeV() const override;
    int isBezier() const override { return 1; }
    void incrDegree(unsigned int byU, unsigned int byV) override;

    /// Kept: the second derivatives carry the length of the natural range once where the true ones
    ///       have its square.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    ERPoint3D operator()(double u, double v) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;
    IsoCurve getIsoU(double u) const;  ///< natural and current range are those in v
    IsoCurve getIsoV(double v) const;
    /// Kept: the grid covers the whole unit square of the poles, whatever the current ranges are.
    const ERMatrix<ERPoint3D>& getMatricePoint(unsigned int nU, unsigned int nV) override;

    /// The nearest of some hundred points of the surface of all poles, polished by ReajustProjection on
    /// the unit square, for a point that is no farther from the box of the poles than the tolerance and
    /// 0.2 in each coordinate.
    int ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                          int flag) const override;
    int ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const override;
    /// Appends the points on the ray: see ray_projection.h.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const override;
    void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction, ERRaySurfaceResult& result,
                      int flag) const override;
    /// The true derivatives, of what PtCur evaluates.
    void derivativesAt(double u, double v, SurfaceDerivatives& at) const;

    /// Cuts the poles to the current ranges, which become the natural ones; beyond the natural ranges
    /// the polynomials go on.
    void adjust() override;

protected:
    BezierSurface() = default;
    explicit BezierSurface(const ERMatrix<Pole>& poles) : Base(poles) {}
    BezierSurface(const ERMatrix<Pole>& poles, const ERLimites& u, const ERLimites& v)
        : Base(poles, u, v) {}
    BezierSurface(const BezierSurface&) = default;
    BezierSurface& operator=(const BezierSurface&) = default;

    using typename Base::Halves;
    /// Kept: no value is refused. Outside the range the parts are carried on beyond the surface.
    Halves cutInU(double u) const override;
    Halves cutInV(double v) const override;

private:
    const ERSpoleNURBS3D& unitForm() const;  // the poles over the unit square
};

/// An integral Bézier surface.
class KERF_EXPORT ERSpoleBezier3D : public BezierSurface<ERSpoleBezier3D, ERPoint3D> {
    ER_OBJECT_CLASS(ERSpoleBezier3D);
    ER_STORED_CLASS(ERSpoleBezier3D);

public:
    ERSpoleBezier3D() = default;  ///< no pole, on the unit square
    /// On the unit square.
    explicit ERSpoleBezier3D(const ERMatrix<ERPoint3D>& poles) : BezierSurface(poles) {}
    ERSpoleBezier3D(const ERMatrix<ERPoint3D>& poles, const ERLimites& u, const ERLimites& v)
        : BezierSurface(poles, u, v) {}

private:
    static auto fields(auto& self) { return std::tie(self.poles_); }
};

/// A rational Bézier surface.
class KERF_EXPORT ERSpoleBezier3DR : public BezierSurface<ERSpoleBezier3DR, ERPole3DH> {
    ER_OBJECT_CLASS(ERSpoleBezier3DR);
    ER_STORED_CLASS(ERSpoleBezier3DR);

public:
    ERSpoleBezier3DR() = default;
    explicit ERSpoleBezier3DR(const ERMatrix<ERPole3DH>& poles) : BezierSurface(poles) {}
    ERSpoleBezier3DR(const ERMatrix<ERPole3DH>& poles, const ERLimites& u, const ERLimites& v)
        : BezierSurface(poles, u, v) {}

private:
    static auto fields(auto& self) { return std::tie(self.poles_); }
};

extern template class PoleSurface<ERSpoleBezier3D, ERPoint3D>;
extern template class PoleSurface<ERSpoleBezier3DR, ERPole3DH>;
extern template class BezierSurface<ERSpoleBezier3D, ERPoint3D>;
extern template class BezierSurface<ERSpoleBezier3DR, ERPole3DH>;

}  // namespace kerf
