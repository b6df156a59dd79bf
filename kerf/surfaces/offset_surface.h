#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/inner_part.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/point.h"

// Surfaces at a constant distance from another, and the curves of constant parameter on them.
namespace kerf {

/// A base surface moved along its unit normal: S(u, v) = B(u, v) + distance * n(u, v), over the
/// ranges of the base. A copy has a copy of the base.
///
/// Degenerate: where the base has no normal the surface touches it. Without a base every point is
///             the origin, the box is reset, iso curves are null, all else is 0 or nothing.
/// Kept:       of all projections only that along Z finds something: that along another direction
///             does nothing, and ProjectionNormale and ReajustProjection return 0.
/// Damage:     a base that cannot be restored, or lies more than 100 surfaces deep, is null.
/// Storage:    the base by reference, the distance, the indicator, a null reference: 44 bytes, or 40
///             without a base.
class KERF_EXPORT EROffsetSurface : public ERAnyBoundedSurface {
    ER_OBJECT_CLASS(EROffsetSurface);
    ER_STORED_CLASS(EROffsetSurface);

public:
    EROffsetSurface() = default;  ///< without a base, at the distance 0
    /// Parameter: `indicator`, of any length, tells the side. Where it points against the base's
    ///            normal at the middle of both ranges, it and the distance change their signs; where
    ///            that normal is zero or square to it nothing changes.
    EROffsetSurface(const ERAnyBoundedSurface& base, double distance, const ERVector3D& indicator);
    /// Ownership: shares the base, which is on the heap: what moves one moves the other. Null leaves
    ///            the surface without a base.
    EROffsetSurface(ERAnyBoundedSurface* base, double distance, const ERVector3D& indicator);

    t_SmartPtr<ERAnyBoundedSurface> getBaseSurface() const { return base_; }  ///< shared
    const ERVector3D& getOffsetIndicator() const { return indicator_; }
    /// Kept: the base, shared, whatever the distance.
    t_SmartPtr<ERAnyBoundedSurface> getEquivSurface(double) const { return base_; }

    double udeb() const override;
    double ufin() const override;
    double vdeb() const override;
    double vfin() const override;
    /// Kept: the derivatives are those of the base; only the point is moved. So the normal is right,
    ///       but over a curved base lengths and curvatures are those of the base.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    ERPoint3D operator()(double u, double v) const override;
    using ERAnyBoundedSurface::operator();
    using ERAnyBoundedSurface::PtCur;
    /// Kept: the box of 10 by 10 points. A surface that bends between them reaches out of it.
    ERMinimax3D getBox() const override;
    /// An EROffsetSurfaceIsoParam over the other range.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// By halving the ranges, where the box of 10 by 10 points, a tenth of its diagonal wider on
    /// each side, lets the line through; a part less than 0.1 wide in x and y is searched for one
    /// point. After 5000 parts none is divided further. The flag is not read.
    /// Tolerance: a point counts when it comes within 1e-3 of the line, and is then improved.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const override;
    void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction, ERRaySurfaceResult& result,
                      int flag) const override;  ///< does nothing
    using ERAnyBoundedSurface::ProjectionNormale;
    int ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                          int flag) const override;                               ///< 0
    int ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const override;  ///< 0

    double upperEstimateInU() const override;  ///< the base's
    double upperEstimateInV() const override;
    /// Offset surfaces of the parts of the base, at the same distance on the same side.
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double v) const override;
    using ERAnyBoundedSurface::SplitInU;
    using ERAnyBoundedSurface::SplitInV;
    int IsContinuous(int order) const override;  ///< the base's
    int GetDiscontinuitiesU(int order, ERVec<double>& parameters) const override;
    int GetDiscontinuitiesV(int order, ERVec<double>& parameters) const override;

    // The base moves along, and the distance with its size. A mirror turns the normals of the base
    // over, and so the signs of distance and indicator.
    /// The indicator stays.
    /// Kept: the distance is multiplied by a negative factor too. Over a base that such a factor
    ///       reverses along one parameter, as a cylinder, the surface goes over to the other side.
    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    /// Reverses the base and changes the signs of distance and indicator.
    /// Kept: a base whose points reverse() leaves where they are, such as a cylinder, keeps its
    ///       normals: the surface goes over to the other side of it.
    void reverse() override;
    void CleanUpTemporaries(int level) override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) {
        return std::tie(self.base_, self.distance_, self.indicator_, self.second_);
    }

    // As given: the side is not looked at.
    static t_SmartPtr<EROffsetSurface> over(const t_SmartPtr<ERAnyBoundedSurface>& base,
                                            const EROffsetSurface& like);
    void Normalize();
    void negate();
    template <class Transformation>
    void carry(const Transformation& transformation, bool inverse);
    template <class Split>
    int splitBase(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                  Split split) const;

    InnerPart<ERAnyBoundedSurface> base_;
    double distance_ = 0.0;
    ERVector3D indicator_;
    NoReference second_;
};

/// A curve of constant u or v on an offset surface: its parameter is the other one of the surface,
/// over the surface's range.
///
/// Ownership:  a curve that a surface returns shares the base of that surface: what moves the one is
///             seen by the other. The curve itself copies the surface before it moves.
/// Degenerate: without a surface every point is the origin, on [0, 0].
/// Damage:     the surface as the base of EROffsetSurface. A direction that is none: without a
///             surface.
/// Storage:    the surface by reference, the direction as an int, the parameter: 20 bytes, or 16
///             without a surface.
class KERF_EXPORT EROffsetSurfaceIsoParam : public ERFiniteEntity3DWF {
    ER_OBJECT_CLASS(EROffsetSurfaceIsoParam);
    ER_STORED_CLASS(EROffsetSurfaceIsoParam);

public:
    enum class Direction : int {
        U = 0,  ///< u is constant and v moves
        V = 1   ///< v is constant and u moves
    };

    EROffsetSurfaceIsoParam() = default;  ///< without a surface
    /// Shares the surface.
    EROffsetSurfaceIsoParam(const t_SmartPtr<EROffsetSurface>& surface, Direction direction,
                            double parameter)
        : surface_(surface), direction_(static_cast<int>(direction)), parameter_(parameter) {}

    double udeb() const override;
    double ufin() const override;
    ERLimites getBound() const override;
    /// Kept: the derivatives are those of the base's curve.
    ERInfoPoint3DWF PtCur(double t) const override;
    ERPoint3D operator()(double t) const override;
    /// Kept: the box of 101 points, which the curve may leave between them.
    ERMinimax3D getBox() const override;
    /// A polyline as a curve of degree 1 over the same domain: chords at equal steps of the
    /// parameter, 4096 at most, that deviate by a millionth of the extent of the curve.
    ERCpoleNURBS3D ConvertToNurbs() const override;
    /// The sum of chords at equal steps of the parameter, twice as many until the sum grows by no
    /// more than tol, 32768 at most.
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    /// By the cut of the surface; 0 where that cannot be cut.
    int splitAt(t_SmartPtr<ERFiniteEntity3DWF>& left, t_SmartPtr<ERFiniteEntity3DWF>& right,
                double t) const override;
    /// Kept: there is none; null.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    void reverse() override;  ///< Kept: does nothing.

    // The surface is carried, and the constant parameter with the range in which it lies.
    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void printOn(std::ostream& os) const override;

protected:
    void prepareApprox(ERPoint13List& list, const ERLimites& limits, double tol) const override;

private:
    static auto fields(auto& self) {
        return std::tie(self.surface_, self.direction_, self.parameter_);
    }
    bool fits() const { return direction_ == 0 || direction_ == 1; }

    bool uIsConstant() const { return direction_ == 0; }
    template <class Move>
    void moveSurface(Move move);

    InnerPart<EROffsetSurface> surface_;
    int direction_ = 0;
    double parameter_ = 0.0;
};

}  // namespace kerf
