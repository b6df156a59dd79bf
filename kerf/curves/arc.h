#pragma once
#include "kerf/curves/bounded_curve.h"
#include "kerf/curves/circle.h"
#include "kerf/platform/config.h"

// Circular arcs of the plane and of space.
namespace kerf {

// The arcs' normal hides that of the curve on purpose.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Woverloaded-virtual"
#endif

/// A circular arc: P(u) = centre + radius (cos u, sin u), u from udeb() to ufin().
/// Parameter:  the angle in radians, kept as given, never reduced to one turn. udeb() > ufin() is a
///             clockwise arc; getBound() is increasing in both cases.
/// Degenerate: radius 0 and equal angles are legal and give a point. A negative radius is legal too:
///             points lie half a turn further, lengths take its size.
/// Kept:       approximations start from the ends alone, so over an even number of whole turns the
///             middle falls on the ends and nothing is refined.
/// Storage:    the angles, the circle: 40 bytes.
class KERF_EXPORT ERArc2D : public ERFiniteEntity2DWFBoundedWithAngle, public ERCircle2D {
    ER_OBJECT_CLASS(ERArc2D);
    ER_STORED_CLASS(ERArc2D);

public:
    ERArc2D() = default;  ///< one turn of radius 0 about the origin
    ERArc2D(const ERPoint2D& centre, double radius, ERRadian start, ERRadian end)
        : ERArc2D(ERCircle2D(centre, radius), start, end) {}
    ERArc2D(const ERCircle2D& circle, ERRadian start, ERRadian end)
        : ERFiniteEntity2DWFBoundedWithAngle(start, end), ERCircle2D(circle) {}

    /// Kept: the second derivative is radius (cos u, sin u), pointing away from the centre.
    ERInfoPoint2D PtCur(double u) const override;
    ERPoint2D operator()(double u) const override { return ERCircle2D::operator()(u); }
    /// Kept: a position, centre + radius (-sin u, cos u), and no unit vector. It hides the curve's
    ///       normal(double), which a call through ERFiniteEntity2DWF still reaches.
    ERPoint2D normal(ERRadian u) const;
    ERVec<ERPoint2D> approxime(const ERLimites& limits, double tol) const override;
    ERVec<ERPoint2D> approxime(int n) const override;
    /// The exact box: both ends, and the points furthest along the axes between them.
    ERMinimax2D getBox() const override;
    /// By conic_conversion.h.
    ERCpoleNURBS2D ConvertToNurbs() const override;
    /// The angle times the radius, exact whatever the tolerance.
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    /// Copies that end and start at u, whatever u. Always 1.
    int splitAt(t_SmartPtr<ERFiniteEntity2DWF>& left, t_SmartPtr<ERFiniteEntity2DWF>& right,
                double u) const override;
    /// Appends the angles in (-pi, pi] of the crossings that lie within the bounds, that above the
    /// centre first.
    /// Kept: no turns are added to bring an angle within the bounds, a clockwise arc has none within
    ///       them, and the angle of a contact, 0 or pi, is appended without looking at them.
    unsigned int intersectWithAxeY(double x, ERVec<double>& parameters) const override;
    /// Appends every crossing on the arc, with the whole turns that bring it within the bounds.
    unsigned int intersectWith(const ERPoint2D& p, const ERVector2D& lineNormal,
                               ERVec<double>& parameters) const override;
    /// Appends the angle of the near foot of p when it lies within the bounds, ends included; the
    /// tolerance is unused. -1, with nothing appended, when p is the centre.
    /// Kept: one angle is tried, in (-pi, pi], or in [0, 2 pi) when a bound exceeds pi. So an arc from
    ///       -1 to 4 has no foot at its points before 0, one from -5 to 0 none at those before -pi.
    int ProjectPoint(const ERPoint2D& p, ERVec<double>& parameters, double tol) const override;
    /// Kept: through the entity an arc finds nothing and writes nothing; its circle would.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance) const override;
    using ERFiniteEntity2DWFBoundedWithAngle::SignedMinimalDistance;

    /// Brings the start into (-pi, pi] by whole turns, and the end along with it.
    /// Kept: an arc that starts at 0 or later, is direct and ends before one turn stays, and a start
    ///       at or below -pi does too.
    void normalized();

    void reverse() override;  ///< exchanges the angles
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    /// The arc of the moved points: the angles turn with the X axis, and change sign in a mirror.
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
    void printOn(std::ostream& os) const override;
};

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

/// An arc of space: ERArc2D in the plane of a frame. Feet and cuts are those of that arc, for the
/// point dropped on the plane and the line in which a plane cuts it.
/// Storage: the angles, the frame, the circle: 156 bytes.
class KERF_EXPORT ERArc3D : public ERFiniteEntity3DWFBoundedWithAngle, public ERCircle3D {
    ER_OBJECT_CLASS(ERArc3D);
    ER_STORED_CLASS(ERArc3D);

public:
    ERArc3D() = default;  ///< one turn of radius 0 about the origin, in the plane z = 0
    // As the circles of the same arguments, which say where angle 0 lies.
    ERArc3D(const ERPoint3D& centre, const ERVector3D& normal, double radius, ERRadian start,
            ERRadian end)
        : ERArc3D(ERCircle3D(centre, normal, radius), start, end) {}
    ERArc3D(const ERPmIsometrie3D& frame, const double& radius, ERRadian start, ERRadian end)
        : ERArc3D(ERCircle3D(frame, radius), start, end) {}
    ERArc3D(const ERCircle2D& circle, enum Coord3D axis, double value, ERRadian start, ERRadian end)
        : ERArc3D(ERCircle3D(circle, axis, value), start, end) {}
    ERArc3D(const ERPmIsometrie3D& frame, const ERCircle2D& circle, ERRadian start, ERRadian end)
        : ERArc3D(ERCircle3D(frame, circle), start, end) {}
    ERArc3D(const ERCircle3D& circle, ERRadian start, ERRadian end)
        : ERFiniteEntity3DWFBoundedWithAngle(start, end), ERCircle3D(circle) {}
    ERArc3D(const ERPmIsometrie3D& frame, const ERArc2D& arc)
        : ERArc3D(frame, arc, arc.startAngle(), arc.endAngle()) {}

    ERArc2D Arc2D() const { return ERArc2D(Circle2D(), startAngle(), endAngle()); }

    ERInfoPoint3DWF PtCur(double u) const override;
    ERPoint3D operator()(double u) const override { return ERCircle3D::operator()(u); }
    ERPoint3D normal(ERRadian u) const;  ///< ERArc2D's, carried by the frame
    ERVec<ERPoint3D> approxime(const ERLimites& limits, double tol) const override;
    ERVec<ERPoint3D> approxime(int n) const override;
    /// The box of the corners of the flat box: loose where the plane is tilted.
    ERMinimax3D getBox() const override;
    ERCpoleNURBS3D ConvertToNurbs() const override;
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    int splitAt(t_SmartPtr<ERFiniteEntity3DWF>& left, t_SmartPtr<ERFiniteEntity3DWF>& right,
                double u) const override;
    /// An arc in a plane Z = constant crosses none.
    unsigned int intersectWithPlanZ(double z, ERVec<double>& parameters) const override;
    int ProjectPoint(const ERPoint3D& p, ERVec<double>& parameters, double tol) const override;

    void normalized();

    /// A circle, a segment or an ellipse gives an ERArc2D, an ERSegment2D between the points
    /// furthest apart, or an ERArcEllipse2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    void reverse() override;  ///< exchanges the angles; the frame stays
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void printOn(std::ostream& os) const override;
};

}  // namespace kerf
