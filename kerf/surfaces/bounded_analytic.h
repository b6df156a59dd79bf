#pragma once
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/analytic_shapes.h"
#include "kerf/surfaces/surface.h"

// What the bounded plane, cylinder, cone, sphere and torus share.
namespace kerf {

class ERArc3D;
class ERSegment3D;
class ERSpoleNURBS3D;

/// A surface given by closed formulas in a frame of its own, over a rectangle of parameters.
///
/// Parameter:  lengths are in the units of the points, angles in radians. An angle is kept as given
///             and never reduced to one turn.
/// Degenerate: lengths of zero and below are legal and evaluate as they stand; distances, estimates
///             and boxes take their sizes. Ranges that are empty or reversed are legal; a reversed
///             one is never split, and no value counts as within it.
/// Kept:       all but the plane change their points when they are reversed: the ranges of u and v
///             are exchanged, and what they measure is not.
/// Storage:    the ranges (ERBoundedSurface), the frame (ERSurfaceBasedOnTransfo3D), the lengths.
template <class Shape>
class KERF_EXPORT BoundedAnalytic : public ERBoundedSurface, public ERSurfaceBasedOnTransfo3D {
public:
    using ERBoundedSurface::PtCur;
    /// In closed form. Of the table of derivatives, orders above two are zeros.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    using ERBoundedSurface::operator();
    ERPoint3D operator()(double u, double v) const override;
    ERMinimax3D getBox() const override;
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    /// Of the surface without its ranges: as that of the unbounded class.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    /// The same.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    /// The parameters of that foot; heights and the plane's are lengths in the frame. Angles are
    /// counted from the first corner (udeb(), vdeb()), in [0, 2 pi), so that up to one turn past it is
    /// found; within 1e-11 of it an angle is that of the corner. The tolerance is unused.
    /// Kept: no whole turns are added to bring an angle within its range.
    int ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                          int flag) const override;

    using ERBoundedSurface::SplitInU;
    /// Copies with the current range cut in two; 0 for a value outside. At an end of the range one
    /// of them is empty.
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double u) const override;
    using ERBoundedSurface::SplitInV;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double v) const override;

    void reverse() override;
    void offset(double distance) override;
    /// The frame, and every length, those that are parameters too.
    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    /// A similitude multiplies the lengths by the size of its factor.
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void printOn(std::ostream& os) const override;

    /// The same points on the same ranges, of degree 1 or 2 as the curves of constant parameter are.
    /// At an inner parameter it is another point of the same curves, where these are arcs.
    /// Degenerate: a reversed range stays, over increasing knots. A dummy where a range is not finite
    ///             or there would be more than a million poles; over 1000 turns, whole ones are left
    ///             out.
    ERSpoleNURBS3D Convert2Nurbs() const;
    ERSpoleNURBS3D ConvertToNurbs() const;

    // Both bases have these; the class itself has the ones that count.
    const ERClassRegistration* isA() const override = 0;
    const char* className() const override = 0;
    void* _castdown(const ERClassRegistration& wanted) const override = 0;
    CRuntimeClass* GetRuntimeClass() const override = 0;
    void saveGuts(ERFile& file) const override = 0;
    void restoreGuts(ERFile& file) override = 0;
    ERULong binaryStoreSize() const override = 0;

protected:
    BoundedAnalytic() = default;  ///< zero lengths, both ranges [0, 1], the identity as frame
    BoundedAnalytic(const ERPmIsometrie3D& frame, const Shape& shape, const ERLimites& u,
                    const ERLimites& v)
        : ERBoundedSurface(u, v), ERSurfaceBasedOnTransfo3D(frame), shape_(shape) {}
    BoundedAnalytic(const BoundedAnalytic&) = default;
    BoundedAnalytic& operator=(const BoundedAnalytic&) = default;

    static auto fields(auto& self) { return Shape::lengths(self.shape_); }

    /// From the frame to space.
    ERPoint3D lifted(const ERPoint3D& local) const { return axes()(local) + origin(); }
    /// Edits what the points depend on.
    template <class Edit>
    void change(Edit edit) {
        edit();
        dropGrid();
        setDirty();
    }

    // The curves of constant parameter.
    /// About the Z axis, in the plane of a height.
    ERArc3D parallel(double height, double radius, const ERLimites& range) const;
    /// In the plane of the Z axis and a longitude, about the point at `distance` from the axis.
    ERArc3D meridian(double longitude, double distance, double radius,
                     const ERLimites& range) const;
    ERSegment3D straightAlongU(double v) const;  ///< from udeb() to ufin()
    ERSegment3D straightAlongV(double u) const;
    ERSegment3D alongAxis() const;  ///< the part of the Z axis from udeb() to ufin()

    Shape shape_;

private:
    analytic::Axis axis() const { return {axes()(ERVector3D(0.0, 0.0, 1.0)), origin()}; }
    void multiplyLengths(double factor);
    int split(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
              double at, bool inU) const;
};

extern template class BoundedAnalytic<analytic::PlaneShape>;
extern template class BoundedAnalytic<analytic::CylinderShape>;
extern template class BoundedAnalytic<analytic::ConeShape>;
extern template class BoundedAnalytic<analytic::SphereShape>;
extern template class BoundedAnalytic<analytic::TorusShape>;

}  // namespace kerf
