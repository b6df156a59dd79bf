#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/curve.h"
#include "kerf/curves/planar_entity.h"
#include "kerf/platform/config.h"

// Circles of the plane and of space, without a parameter's bounds, and where circles and lines meet.
namespace kerf {

class EREllipse2D;
class ERInfLine2D;
class ERSegment2D;

/// A circle of the plane.
/// Degenerate: radius 0 is legal. So is a negative radius, which a negative factor of scale() gives:
///             distances and boxes take its size, operator() its sign.
/// Storage:    the centre, the radius: 24 bytes.
class KERF_EXPORT ERCircle2D : public virtual EREntity2DWF {
    ER_OBJECT_CLASS(ERCircle2D);
    ER_STORED_CLASS(ERCircle2D);

public:
    ERCircle2D() = default;  ///< of radius 0 about the origin
    ERCircle2D(const ERPoint2D& centre, double radius) : centre_(centre), radius_(radius) {}

    const ERPoint2D& center() const { return centre_; }
    void setCenter(const ERPoint2D& centre);
    double radius() const { return radius_; }
    void setRadius(double radius);
    double diameter() const { return 2.0 * radius_; }
    void setDiameter(double diameter) { setRadius(0.5 * diameter); }

    /// The point at an angle: centre + radius (cos u, sin u).
    ERPoint2D operator()(double u) const;
    ERMinimax2D getBox() const;

    /// The distance of p from the circle, positive outside. NearestPointNotUnique for p within 1e-11
    /// of the centre.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance) const override;

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    void reverse() override {}  ///< a circle has no direction of travel
    void scale(double factor) override;
    void translate(const ERPoint2D& t) override;
    /// The centre as a point; the radius by the ratio of lengths.
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.centre_, self.radius_); }

    ERPoint2D centre_;
    double radius_ = 0.0;
};

/// A circle of space: a circle in the plane of a frame.
/// Storage: the frame, the circle: 140 bytes.
class KERF_EXPORT ERCircle3D : public Planar<ERCircle2D> {
    ER_OBJECT_CLASS(ERCircle3D);
    ER_STORED_CLASS(ERCircle3D);

public:
    ERCircle3D() = default;
    /// In the frame ERChgRepere3D(normal, centre), about its origin.
    ERCircle3D(const ERPoint3D& centre, const ERVector3D& normal, double radius);
    ERCircle3D(const ERPmIsometrie3D& frame, const double& radius);  ///< about the frame's origin
    /// In the plane where the coordinate `axis` is `value`; the circle's own coordinates are the
    /// other two, in their order.
    ERCircle3D(const ERCircle2D& circle, enum Coord3D axis, double value);
    ERCircle3D(const ERPmIsometrie3D& frame, const ERCircle2D& circle) : Planar(frame, circle) {}

    ERPoint3D center() const { return lifted(flat_.center()); }
    void setCenter(const ERPoint3D& centre);  ///< puts the frame there, its axes as they are
    /// Keeps the centre, and rebuilds the frame as ERChgRepere3D(normal, centre).
    void setNormale(const ERVector3D& normal);
    const ERCircle2D& Circle2D() const { return flat_; }
    double radius() const { return flat_.radius(); }
    void setRadius(double radius);
    double diameter() const { return flat_.diameter(); }
    void setDiameter(double diameter) { setRadius(0.5 * diameter); }

    ERPoint3D operator()(double u) const { return lifted(flat_(u)); }
    /// The box of the corners of the flat box: loose where the plane is tilted.
    ERMinimax3D getBox() const;

    /// The distance of p from the circle; negative inside the cylinder over the circle.
    /// NearestPointNotUnique for p within 1e-11 of the axis.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;

    // What the projection along the third axis of t is. A circle seen face on is a circle, seen edge
    // on a segment, else an ellipse.
    // Tolerance: the sine, or the cosine, of the angle between that axis and the normal is at most
    //            the one set by SetProjectionPrecision, 1e-10 at first.
    int Project2DWillBeCircle(const ERPmIsometrie3D& t) const;
    int Project2DWillBeSegment(const ERPmIsometrie3D& t) const;
    int Project2DWillBeEllipse(const ERPmIsometrie3D& t) const;
    /// One of these three, by the tests above in their order.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    // Each projects as if its test had held.
    ERCircle2D Circle2DFromProjectOn(const ERPmIsometrie3D& t) const;
    ERSegment2D Segment2DFromProjectOn(const ERPmIsometrie3D& t) const;
    EREllipse2D Ellipse2DFromProjectOn(const ERPmIsometrie3D& t) const;

    /// Threads: shared by the process and not locked; set it before work starts.
    static void SetProjectionPrecision(double precision) { precisionProj = precision; }
    static double projectionPrecision() { return precisionProj; }

    void printOn(std::ostream& os) const override;

protected:
    static double precisionProj;

private:
    static auto fields(auto& self) { return std::tie(self.flat_); }
};

/// Where two circles meet: p to the left of the way from c1 to c2, q to the right. Returns 1, or 0
/// with both as they were: circles apart, one within the other, and all with centres within 1e-10,
/// coincident ones included.
/// Tolerance: circles within 1e-11 of touching meet in one point, p = q.
/// Kept: that point is the one of c1 towards the centre of c2, the wrong one where c1 lies in c2.
KERF_EXPORT int intersect(const ERCircle2D& c1, const ERCircle2D& c2, ERPoint2D& p, ERPoint2D& q);
/// The same, as the angles on c1 and on c2: of p, and of q where it is another point.
KERF_EXPORT int intersect(const ERCircle2D& c1, const ERCircle2D& c2, ERVec<double>& onFirst,
                          ERVec<double>& onSecond);
/// Where a circle and a line meet: p ahead along the line, q before it. Returns 1, or 0 with both as
/// they were.
/// Kept: contact is told by comparing the distance with the square of the radius, so that only near
///       radius 1 it gives one point twice. Elsewhere the two points of a contact are equal but for
///       rounding, and a line whose distance is that square meets the circle in one wrong point.
KERF_EXPORT int intersect(const ERCircle2D& circle, const ERInfLine2D& line, ERPoint2D& p,
                          ERPoint2D& q);

}  // namespace kerf
