#pragma once
#include "kerf/core/internal/cached.h"
#include "kerf/core/stored_fields.h"
#include "kerf/curves/curve.h"
#include "kerf/curves/infinite_line.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/inner_part.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/limits.h"
#include "kerf/values/point.h"

// Surfaces of revolution.
namespace kerf {

class ERCpoleNURBS3D;
class ERSpoleNURBS3D;
struct SurfaceDerivatives;

/// A curve, the generatrix, turned about an axis: S(u, v) is the curve's point at u turned by the
/// angle v, in radians, right-handed about the direction of the axis. u has the range of the curve,
/// v that of the angles. A copy has a copy of the curve.
///
/// The surface is exact in points, derivatives and iso curves. Boxes come from a NURBS form, and so do
/// the starts of projections.
/// Parameter:  an angle range of more than one turn covers the surface several times. A generatrix that
///             is changed through generatrix() must be followed by CleanUpTemporaries(-1).
/// Degenerate: an axis without a direction turns nothing. A curve that lies on the axis gives the curve,
///             and a zero reference direction. Without a curve every point is the origin, iso curves
///             are null, u is from 0 to 0, all else is 0 or nothing. The box is reset, and projections
///             find nothing, wherever there is no NURBS form.
/// Damage:     a curve that cannot be restored, or lies more than 100 surfaces deep, is null.
/// Storage:    the axis, the curve by reference, the angle range, the reference direction: 96 bytes,
///             or 92 without a curve.
class KERF_EXPORT ERSurOfRevolution : public ERAnyBoundedSurface {
    ER_OBJECT_CLASS(ERSurOfRevolution);
    ER_STORED_CLASS(ERSurOfRevolution);

public:
    using Half = t_SmartPtr<ERSurOfRevolution>;

    ERSurOfRevolution() = default;  ///< about the z axis, without a curve, angles from 0 to 0
    /// Holds a copy of the curve. Angles in radians, any two.
    ERSurOfRevolution(const t_SmartPtr<ERFiniteEntity3DWF>& generatrix, const ERInfLine3D& axis,
                      const ERLimites& angles);

    const ERInfLine3D& axis() const { return axis_; }
    t_SmartPtr<ERFiniteEntity3DWF> generatrix() const { return generatrix_; }  ///< shared
    /// The reference direction, from the axis to the first point of the curve that is off it, and the
    /// direction that it has after a quarter of a turn. Both of length 1.
    void getVectors(ERVector3D& reference, ERVector3D& quarterTurn) const;
    /// The frame of these two and the axis, at the axis's origin.
    ERPmIsometrie3D getRepere3D() const;
    /// The first point of the curve, of 65 at equal steps of u, that is off the axis: by more than
    /// 1e-11, and 1e-12 of its coordinates. Returns 1, or 0 with all three as they were.
    int getOnePointOfTheGeneratrixNotOnTheAxis(ERPoint3D& p, double& u, ERPoint3D& foot) const;

    double udeb() const override;
    double ufin() const override;
    double vdeb() const override { return angles_.start(); }
    double vfin() const override { return angles_.end(); }
    ERLimites getBoundV() const override { return angles_; }
    /// Kept: the second derivative in u is made of the curve's, which for an arc has the wrong sign.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    ERPoint3D operator()(double u, double v) const override;
    using ERAnyBoundedSurface::operator();
    using ERAnyBoundedSurface::PtCur;
    /// True derivatives, those by u of second order by differences.
    void derivativesAt(double u, double v, SurfaceDerivatives& at) const;
    /// Kept: the box of the poles of the NURBS form, larger than the surface.
    ERMinimax3D getBox() const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;  ///< an ERArc3D
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;  ///< the curve, turned

    /// CreateSurfOfRevolution of the NURBS form of the curve, cut to its trim interval.
    virtual ERSpoleNURBS3D ConvertToNurbs() const;

    /// The points that the NURBS form has on the line, each brought onto the line on the surface
    /// itself, within 2.2e-4 as the form's.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const override;
    using ERAnyBoundedSurface::ProjectPoint;
    /// The foot on the NURBS form, sought from the nearest of many of its points and improved on the
    /// surface itself; none where p lies farther than 0.2 and the tolerance from the box of the form.
    int ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                          int flag) const override;
    using ERAnyBoundedSurface::ProjectionNormale;
    int ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const override;

    /// Kept: the lengths run across the names. That in U is the size of the angle range times
    ///       upperEstimateRadius(), so bounds the circles, which run along v; that in V is the length
    ///       of the curve, which runs along u.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;
    /// The largest distance from the axis of the corners of the box of the curve, seen along the axis;
    /// of the box in space where the curve has no image in that plane.
    double upperEstimateRadius() const;

    /// Parts of the curve over the whole range of angles. 0 where the curve cannot be cut.
    int SplitInU(Half& before, Half& after, double u) const;
    int SplitInU(Half& before, Half& after) const;  ///< at the middle
    /// The whole curve over parts of the range, whatever v. Always 1.
    int SplitInV(Half& before, Half& after, double v) const;
    int SplitInV(Half& before, Half& after) const;
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double v) const override;
    using ERAnyBoundedSurface::SplitInU;
    using ERAnyBoundedSurface::SplitInV;

    int IsContinuous(int order) const override;  ///< the curve's
    /// Kept: the jumps of the curve, which are values of u.
    int GetDiscontinuitiesV(int order, ERVec<double>& parameters) const override;

    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    // A mirror also reverses the axis, so that the angles stay.
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    /// Kept: u and v stay as they are; only what is kept in memory is dropped.
    void reverse() override;
    void CleanUpTemporaries(int level) override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) {
        return std::tie(self.axis_, self.generatrix_, self.angles_, self.reference_);
    }
    void restored() { *nurbs_ = {}; }

    struct Turn;
    Turn turn(double v) const;
    const ERSpoleNURBS3D& nurbs() const;
    ERPoint2D ownParameters(const ERPoint2D& inForm) const;
    template <class Transformation>
    void carry(const Transformation& transformation, bool inverse);

    ERInfLine3D axis_;
    InnerPart<ERFiniteEntity3DWF> generatrix_;
    ERLimites angles_;
    ERVector3D reference_;

    mutable Cached<t_SmartPtr<ERSpoleNURBS3D>> nurbs_;  // null until it is asked for
};

/// The curve turned about the z axis, or another, from angle a to angle b, in radians, right-handed.
/// u is the curve's parameter over its domain, hidden parts included, and v runs over [a, b], or
/// [b, a] where that increases; at the ends of the arcs' pieces, at equal steps of v, v is the angle.
/// Degenerate: equal angles give a surface without a span in v.
/// Failure:    a surface without poles for a curve without poles, for more than 250 turns or 4 million
///             poles, and for what is not finite.
KERF_EXPORT ERSpoleNURBS3D CreateSurfOfRevolutionAxeZ1(const ERCpoleNURBS3D& curve, double a,
                                                       double b);
KERF_EXPORT ERSpoleNURBS3D CreateSurfOfRevolution(const ERCpoleNURBS3D& curve,
                                                  const ERInfLine3D& axis, double a, double b);

}  // namespace kerf
