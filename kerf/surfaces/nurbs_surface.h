#pragma once
#include "kerf/curves/spline/knot_vector.h"
#include "kerf/curves/spline/span_basis.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/pole_surface.h"

// Rational B-spline surfaces.
namespace kerf {

namespace ray {
class Recursion;
}

class ERCpoleNURBS3D;
class NurbsProjection;
struct SurfaceDerivatives;
class Nurbs3DToBezier3DRDecomposer;

/// A NURBS surface: homogeneous poles, and for each direction a knot vector of their number + degree
/// + 1 knots. The natural ranges are from knot `degree` to knot length - degree - 1.
///
/// Parameter:  u and v in the current ranges; outside the domain of the knots the first or last
///             polynomials go on.
/// Degenerate: a surface whose knots and poles do not fit is a dummy. Along a direction without a span
///             that has a length, the surface is its first line of poles.
/// Damage:     knots that decrease, are not finite or do not fit the poles restore as a dummy.
/// Storage:    the ranges, the poles, knots u, knots v.
class KERF_EXPORT ERSpoleNURBS3D : public PoleSurface<ERSpoleNURBS3D, ERPole3DH> {
    ER_OBJECT_CLASS(ERSpoleNURBS3D);
    ER_STORED_CLASS(ERSpoleNURBS3D);

public:
    using Half = t_SmartPtr<ERSpoleNURBS3D>;

    using ERAnyBoundedSurface::PtCur;
    using ERAnyBoundedSurface::operator();

    ERSpoleNURBS3D() = default;  ///< a dummy on the unit square
    /// Knots that decrease are handed to ER_assert.
    ERSpoleNURBS3D(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knotsU,
                   const ERKnotVector& knotsV);

    const ERKnotVector& knotU() const { return knotsU_; }
    const ERKnotVector& knotV() const { return knotsV_; }

    unsigned int degreeU() const override { return isDummy() != 0 ? 0 : knotsU_.degree(); }
    unsigned int degreeV() const override { return isDummy() != 0 ? 0 : knotsV_.degree(); }
    /// 1 for a single polynomial in each direction on clamped knots.
    int isBezier() const override;
    /// Kept: does nothing.
    void incrDegree(unsigned int byU, unsigned int byV) override;

    /// Kept: all derivatives are the true ones, unlike those of Bézier surfaces.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    ERPoint3D operator()(double u, double v) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;
    ERCpoleNURBS3D getIsoU(double u) const;  ///< on the knots in v, trimmed to the current range
    ERCpoleNURBS3D getIsoV(double v) const;
    const ERMatrix<ERPoint3D>& getMatricePoint(unsigned int nU, unsigned int nV) override;

    /// Cuts poles and knots to the current ranges, which become the natural ones; beyond the natural
    /// ranges the outer polynomials are carried on. A range that is empty, reversed or not finite
    /// leaves a dummy.
    void adjust() override;
    void reverse() override;

    /// The nearest foot of a point that is no farther from the box of the poles than the tolerance says,
    /// by 1.1 times it and 0.001 in each coordinate.
    ///
    /// The surface is halved until its poles lie within 2 of a plane, or 1e-12 of the largest
    /// coordinate, and the longest lines of poles in u and v are at most twice as long as each other. On
    /// each part the nearest of some thousand points is polished by ReajustProjection. Where the poles
    /// of a part lie within 0.001 of a plane, points outside their hull have no foot on it.
    /// Degenerate: not found is what ReajustProjection refuses on its part. On a surface with weights
    ///             that are not positive the box is no bound.
    /// Storage:    halves and points are kept until the surface changes, up to 64 MiB.
    /// Failure:    32 768 halves are entered at most; from then on parts are searched whole.
    /// Kept:       where the nearest point lies on the border and the direction to it is not the normal,
    ///             a foot that is farther may be found, or none, as Newton's method happens to end.
    /// Kept:       the last 400 samples around the nearest one are half as far apart in v as in u.
    int ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                          int flag) const override;
    int ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const override;
    /// Appends the points on the ray patch by patch: see ray_projection.h.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const override;
    void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction, ERRaySurfaceResult& result,
                      int flag) const override;
    void derivativesAt(double u, double v, SurfaceDerivatives& at) const;  ///< as PtCur gives them

    /// 1 when the derivatives up to that order are continuous at all knots.
    /// Kept: first and last knot take part, so that clamped knots give 0 from order 0 on.
    int IsContinuous(int order) const override;
    int GetDiscontinuitiesU(int order, ERVec<double>& parameters) const override;
    int GetDiscontinuitiesV(int order, ERVec<double>& parameters) const override;
    /// The spans that have a length.
    void GetNumberOfSpans(int& inU, int& inV) const override;
    /// The boxes of the poles that act on each of these spans.
    void GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const override;
    void printOn(std::ostream& os) const override;

    /// Inserts a knot so many times, up to multiplicity degree + 1; the surface stays. Outside the
    /// domain nothing happens.
    virtual void insertKnotU(double u, unsigned int times);
    virtual void insertKnotV(double v, unsigned int times);

    void UpdateCache() const;  ///< makes the decomposition into patches, where it is not there
    void ResetCacheInfo();     ///< drops it, with the span boxes and all else that is kept

protected:
    /// Refuses a value that is not above the start of the current range, or above its end.
    /// Kept: the two ends differ. At the end of the range the second part is a dummy.
    Halves cutInU(double u) const override;
    Halves cutInV(double v) const override;
    /// Kept: of several spans, the knot in the middle of the knot vector.
    double middleOfU() const override;
    double middleOfV() const override;

private:
    friend class PoleSurface<ERSpoleNURBS3D, ERPole3DH>;
    friend class NurbsProjection;

    static auto fields(auto& self) { return std::tie(self.poles_, self.knotsU_, self.knotsV_); }
    bool fits() const;
    void becomeDummy();

    void projectAlong(ray::Recursion& rays) const;
    // The poles of the iso curve for the functions along u.
    void sumRows(spline::BasisValues& basis, double* line) const;
    template <unsigned int Orders>
    void evaluate(double u, double v, double* table) const;

    ERKnotVector knotsU_;
    ERKnotVector knotsV_;

    struct Kept {
        spline::SpanBasis basisU, basisV;
        ERSimpleVec2<ERMinimax3D> spanBoxes;
        std::shared_ptr<Nurbs3DToBezier3DRDecomposer> decomposer;
    };
    mutable Cached<Kept> kept_;
};

extern template class PoleSurface<ERSpoleNURBS3D, ERPole3DH>;

}  // namespace kerf
