#pragma once
#include "kerf/curves/outline.h"
#include "kerf/platform/config.h"

// Rounded slots: two half circles joined by their tangents.
namespace kerf {

/// A rounded slot in the plane, counter-clockwise: the side to the right of the direction from
/// center1 to center2, the half circle about center2, the other side, the half circle about center1.
///
/// Parameter:  each piece takes one unit. On a half circle it is proportional to the angle: piece 1
///             turns from u = 1 to u = 2 by half a turn. u is brought into [0, 4].
/// Degenerate: equal centres give a circle, with (1, 0) as its direction; radius 0 gives the segment
///             there and back. A negative radius is kept and stands for its size.
/// Storage:    center1, center2, the radius.
class KERF_EXPORT ERRoundedSlot2D : public Outline2D {
    ER_OBJECT_CLASS(ERRoundedSlot2D);
    ER_STORED_CLASS(ERRoundedSlot2D);

public:
    ERRoundedSlot2D() = default;  ///< radius 0 at the origin
    ERRoundedSlot2D(const ERPoint2D& c1, const ERPoint2D& c2, double radius)
        : center1_(c1), center2_(c2), radius_(radius) {}

    ERPoint2D center() const { return milieu(center1_, center2_); }
    ERPoint2D center1() const { return center1_; }
    ERPoint2D center2() const { return center2_; }
    double radius() const { return radius_; }
    double diameter() const { return 2.0 * radius_; }
    double length() const { return distance(center1_, center2_); }  ///< between the centres
    void center1(const ERPoint2D& c);
    void center2(const ERPoint2D& c);
    void radius(double r);
    void diameter(double d) { radius(0.5 * d); }

    ERVector2D main_direction() const override;  ///< from center1 to center2
    ERInfoPoint2D PtCur(double u) const override;
    ERMinimax2D getBox() const override;
    EREntity::DISTMINRES Project(const ERPoint2D& p, ERPoint2D& foot, double& u,
                                 int& index) const override;
    /// The distance from the outline, negative inside. Returns SingleNearestPoint.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance) const override;
    ERCompCurve2D composite_curve() const;  ///< two segments and two arcs
    /// The ends of the pieces between the limits, and points of the half circles as a curve has
    /// them. The limits are cut to [0, 4]; where nothing is left there are no points.
    ERVec<ERPoint2D> approxime(const ERLimites& limits, double tol) const;

    void scale(double factor) override;
    void translate(const ERPoint2D& t) override;
    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
    void reverse() override {}  ///< a slot has no direction of its own
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    void printOn(std::ostream& os) const override;

private:
    // The pieces: four corners and the two directions.
    struct Shape {
        ERPoint2D centers[2];
        ERVector2D along, left;
        double radius;

        ERPoint2D corner(unsigned int i) const;
        // Of the half circle that is piece 1 or 3: the direction of its tip and that of its end.
        ERVector2D tip(unsigned int piece) const { return piece == 1 ? along : -along; }
        ERVector2D end(unsigned int piece) const { return piece == 1 ? left : -left; }
        const ERPoint2D& center(unsigned int piece) const { return centers[piece == 1]; }
        ERPoint2D onArc(unsigned int piece, double ratio) const;
    };
    Shape shape() const;

    static auto fields(auto& self) { return std::tie(self.center1_, self.center2_, self.radius_); }

    ERPoint2D center1_;
    ERPoint2D center2_;
    double radius_ = 0.0;
};

extern template class PlanarOutline<ERRoundedSlot2D>;

/// A rounded slot in space.
class KERF_EXPORT ERRoundedSlot3D : public PlanarOutline<ERRoundedSlot2D> {
    ER_OBJECT_CLASS(ERRoundedSlot3D);
    ER_STORED_CLASS(ERRoundedSlot3D);

public:
    ERRoundedSlot3D() = default;
    ERRoundedSlot3D(const ERPmIsometrie3D& frame, const ERRoundedSlot2D& flat)
        : PlanarOutline(frame, flat) {}

    ERPoint3D center() const { return lifted(flat_.center()); }
    ERPoint3D center1() const { return lifted(flat_.center1()); }
    ERPoint3D center2() const { return lifted(flat_.center2()); }
    double radius() const { return flat_.radius(); }
    double diameter() const { return flat_.diameter(); }
    double length() const { return flat_.length(); }
    void center1(const ERPoint3D& c);  ///< the foot of c on the plane
    void center2(const ERPoint3D& c);
    void radius(double r);
    void diameter(double d) { radius(0.5 * d); }

    ERMinimax3D getBox() const;  ///< as tight as can be
    ERVec<ERPoint3D> approxime(const ERLimites& limits, double tol) const;
    /// A slot in a view at right angles to the plane, else a rational curve of degree 2 on [0, 4].
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.flat_); }
};

}  // namespace kerf
