#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/bounded_curve.h"
#include "kerf/curves/planar_entity.h"
#include "kerf/platform/config.h"

// Ellipses and elliptic arcs of the plane and of space.
namespace kerf {

/// An ellipse of the plane, given by its foci and the length of its major axis, which is the sum of
/// the distances of its points from the foci.
/// Degenerate: equal foci are a circle. Foci a major axis apart are a segment; a record with foci
///             further apart counts as that.
/// Storage:    the foci, the length: 40 bytes.
class KERF_EXPORT EREllipse2D : public virtual EREntity2DWF {
    ER_OBJECT_CLASS(EREllipse2D);
    ER_STORED_CLASS(EREllipse2D);

public:
    EREllipse2D() = default;  ///< all zeros
    /// Where the foci are not nearer than d, d is taken for the length of the minor axis, and the
    /// major axis becomes sqrt(d d + distance^2).
    EREllipse2D(const ERPoint2D& f1, const ERPoint2D& f2, double d);
    /// Of half axes `big`, which lies at that angle with focus1 ahead, and `small`; the larger of
    /// the two is the major one.
    EREllipse2D(double big, double small, double angle, const ERPoint2D& centre);
    /// The ellipse through five points; all zeros when their conic is none.
    EREllipse2D(const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& p3, const ERPoint2D& p4,
                const ERPoint2D& p5);
    /// From a x^2 + b x y + c y^2 + d x + e y + f = 0; all zeros when a or c is below 1e-13 in size,
    /// or when their signs differ.
    /// Kept: this is no solution of the equation. b and f are not read. With a > c the major axis is
    ///       2 sqrt(c) and the foci lie sqrt(a - c) to the right and left of (-d / 2a, -e / 2c), else
    ///       it is 2 sqrt(a) and they lie sqrt(c - a) above and below.
    EREllipse2D(double a, double b, double c, double d, double e, double f);

    const ERPoint2D& focus1() const { return focus1_; }
    const ERPoint2D& focus2() const { return focus2_; }
    ERVec<ERPoint2D> getFocus() const;  ///< both
    double bigAxe() const { return bigAxe_; }
    double getSmallAxe() const;  ///< the whole minor axis, as bigAxe() is the whole major one
    ERPoint2D center() const;
    /// The unit vector from focus2 to focus1; (1, 0) for equal foci.
    ERVector2D direction() const;

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    void reverse() override {}  ///< a whole ellipse has no direction of travel
    void scale(double factor) override;
    void translate(const ERPoint2D& t) override;
    /// The foci as points; the length by the ratio of lengths.
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.focus1_, self.focus2_, self.bigAxe_); }

    ERPoint2D focus1_, focus2_;
    double bigAxe_ = 0.0;
};

/// A part of an ellipse: P(u) = centre + a cos u m + b sin u n, with the half axes a and b, the unit
/// vector m from focus2 to focus1, and n to its left; u from udeb() to ufin().
/// Parameter:  the eccentric angle in radians; the rest as ERArc2D.
/// Storage:    the ellipse, the angles: 56 bytes.
class KERF_EXPORT ERArcEllipse2D : public EREllipse2D, public ERFiniteEntity2DWFBoundedWithAngle {
    ER_OBJECT_CLASS(ERArcEllipse2D);
    ER_STORED_CLASS(ERArcEllipse2D);

public:
    ERArcEllipse2D() = default;  ///< one turn of an ellipse of zeros
    // As the ellipses of the same arguments.
    ERArcEllipse2D(const EREllipse2D& ellipse, ERRadian start, ERRadian end)
        : EREllipse2D(ellipse), ERFiniteEntity2DWFBoundedWithAngle(start, end) {}
    ERArcEllipse2D(const ERPoint2D& f1, const ERPoint2D& f2, double d, ERRadian start, ERRadian end)
        : ERArcEllipse2D(EREllipse2D(f1, f2, d), start, end) {}
    ERArcEllipse2D(double big, double small, double angle, const ERPoint2D& centre, ERRadian start,
                   ERRadian end)
        : ERArcEllipse2D(EREllipse2D(big, small, angle, centre), start, end) {}
    ERArcEllipse2D(const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& p3,
                   const ERPoint2D& p4, const ERPoint2D& p5, ERRadian start, ERRadian end)
        : ERArcEllipse2D(EREllipse2D(p1, p2, p3, p4, p5), start, end) {}
    ERArcEllipse2D(double a, double b, double c, double d, double e, double f, ERRadian start,
                   ERRadian end)
        : ERArcEllipse2D(EREllipse2D(a, b, c, d, e, f), start, end) {}

    ERInfoPoint2D PtCur(double u) const override;
    ERPoint2D operator()(double u) const override;
    using ERFiniteEntity2DWFBoundedWithAngle::approxime;
    /// In the direction of travel.
    ERVec<ERPoint2D> approxime(const ERLimites& limits, double tol) const override;
    /// The exact box.
    ERMinimax2D getBox() const override;
    ERCpoleNURBS2D ConvertToNurbs() const override;
    /// Whole turns count by their number; the rest by adaptive quadrature, which halves a piece 40
    /// times at most and stops at rounding too.
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    /// Copies that end and start at u, whatever u. Always 1.
    int splitAt(t_SmartPtr<ERFiniteEntity2DWF>& left, t_SmartPtr<ERFiniteEntity2DWF>& right,
                double u) const override;
    /// Appends every crossing on the arc, with the whole turns that bring it within the bounds.
    unsigned int intersectWithAxeY(double x, ERVec<double>& parameters) const override;
    unsigned int intersectWith(const ERPoint2D& p, const ERVector2D& lineNormal,
                               ERVec<double>& parameters) const override;

    void reverse() override;  ///< exchanges the angles
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    void scale(double factor) override;
    void translate(const ERPoint2D& t) override;
    /// The arc of the moved points: the angles change sign in a mirror; with equal foci, which have
    /// no direction to turn, they turn instead.
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
    void printOn(std::ostream& os) const override;

private:
    void keepTo(const ERVector2D& axis);
};

/// What both ellipses of space share: the readings of the ellipse in its plane.
class KERF_EXPORT PlanarEllipse : public Planar<EREllipse2D> {
public:
    const EREllipse2D& Ellipse2D() const { return flat_; }
    ERVec<ERPoint3D> getFocus() const { return lifted(flat_.getFocus()); }
    double bigAxe() const { return flat_.bigAxe(); }
    double getSmallAxe() const { return flat_.getSmallAxe(); }
    ERPoint3D center() const { return lifted(flat_.center()); }

protected:
    PlanarEllipse() = default;
    PlanarEllipse(const ERPmIsometrie3D& frame, const EREllipse2D& ellipse)
        : Planar(frame, ellipse) {}
    PlanarEllipse(const PlanarEllipse&) = default;
    PlanarEllipse& operator=(const PlanarEllipse&) = default;
};

/// An ellipse of space: an ellipse in the plane of a frame.
/// Storage: the frame, the ellipse: 156 bytes.
class KERF_EXPORT EREllipse3D : public PlanarEllipse {
    ER_OBJECT_CLASS(EREllipse3D);
    ER_STORED_CLASS(EREllipse3D);

public:
    EREllipse3D() = default;
    EREllipse3D(const ERPmIsometrie3D& frame, const EREllipse2D& ellipse)
        : PlanarEllipse(frame, ellipse) {}

    /// An EREllipse2D; an ERSegment2D when the plane is seen edge on, within the tolerance of
    /// ERCircle3D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.flat_); }
};

/// An elliptic arc of space: ERArcEllipse2D in the plane of a frame.
/// Storage: the frame, the angles, the ellipse: 172 bytes.
class KERF_EXPORT ERArcEllipse3D : public PlanarEllipse, public ERFiniteEntity3DWFBoundedWithAngle {
    ER_OBJECT_CLASS(ERArcEllipse3D);
    ER_STORED_CLASS(ERArcEllipse3D);

public:
    ERArcEllipse3D() = default;
    ERArcEllipse3D(const ERPmIsometrie3D& frame, const EREllipse2D& ellipse, ERRadian start,
                   ERRadian end)
        : PlanarEllipse(frame, ellipse), ERFiniteEntity3DWFBoundedWithAngle(start, end) {}
    ERArcEllipse3D(const ERPmIsometrie3D& frame, const ERArcEllipse2D& arc)
        : ERArcEllipse3D(frame, arc, arc.startAngle(), arc.endAngle()) {}
    ERArcEllipse3D(const EREllipse3D& ellipse, ERRadian start, ERRadian end)
        : ERArcEllipse3D(ellipse.getRepere(), ellipse.Ellipse2D(), start, end) {}

    ERArcEllipse2D ArcEllipse2D() const { return ERArcEllipse2D(flat_, startAngle(), endAngle()); }

    ERInfoPoint3DWF PtCur(double u) const override;
    ERPoint3D operator()(double u) const override;
    using ERFiniteEntity3DWFBoundedWithAngle::approxime;
    ERVec<ERPoint3D> approxime(const ERLimites& limits, double tol) const override;
    /// The box of the corners of the flat box: loose where the plane is tilted.
    ERMinimax3D getBox() const override;
    ERCpoleNURBS3D ConvertToNurbs() const override;
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    int splitAt(t_SmartPtr<ERFiniteEntity3DWF>& left, t_SmartPtr<ERFiniteEntity3DWF>& right,
                double u) const override;
    /// An arc in a plane Z = constant crosses none.
    unsigned int intersectWithPlanZ(double z, ERVec<double>& parameters) const override;

    /// An ERArcEllipse2D; an ERSegment2D between the points furthest apart when seen edge on.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    void reverse() override;  ///< exchanges the angles; the frame stays
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.flat_); }
    void scaleData(double factor) override;
};

}  // namespace kerf
