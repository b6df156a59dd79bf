#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/carried_points.h"
#include "kerf/curves/curve.h"
#include "kerf/curves/planar_entity.h"
#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"

// Closed outlines: what all have in common, rectangles and regular polygons. In space an outline is
// that of the plane, carried by a frame.
namespace kerf {

class ERCircle2D;
class ERCircle3D;
class ERCompCurve2D;
class ERCompCurve3D;

/// An outline made of pieces. It is no curve of the frame, but composite_curve() gives one.
///
/// Parameter:  piece i runs from u = i to u = i + 1. Any other u is brought into the range of the
///             pieces by going round as often as needed; a NaN gives a point of NaNs.
/// Degenerate: an outline without pieces has zeros as points, a reset box, and nothing is found.
/// Failure:    nothing throws. 0 is "nothing found".
class KERF_EXPORT Outline2D : public EREntity2DWF {
public:
    virtual ERInfoPoint2D PtCur(double u) const = 0;
    virtual ERMinimax2D getBox() const = 0;  ///< as tight as can be
    virtual ERVector2D main_direction() const = 0;
    virtual ERVector2D auxiliary_direction()
        const;  ///< main_direction turned a quarter to the left

    /// The point of the outline nearest to p, its parameter and its piece, the first is 0; a corner
    /// belongs to the piece that ends there, corner 0 to the first.
    /// Returns SingleNearestPoint, or NearestPointNotUnique when another point is exactly as near and
    /// the first of them is given, or NoFootPoint with nothing written.
    virtual EREntity::DISTMINRES Project(const ERPoint2D& p, ERPoint2D& foot, double& u,
                                         int& index) const = 0;
    EREntity::DISTMINRES ProjectPt(const ERPoint2D& p, ERPoint2D& foot) const;
    /// 1, with the piece nearest to p, unless Project found nothing or more than one point.
    int Get_Entity_Number(const ERPoint2D& p, int& index) const;
};

/// An outline of straight sides. Side i goes from corner i to the next one.
/// Parameter: at a corner the derivative is that of the side which ends there; at u = 0, of the first.
/// Storage:   the corners.
class KERF_EXPORT CornerOutline2D : public CarriedByPoints<CornerOutline2D, Outline2D, Space2D> {
public:
    const ERVec<ERPoint2D>& points() const { return corners_; }

    ERInfoPoint2D PtCur(double u) const override;
    ERMinimax2D getBox() const override;
    EREntity::DISTMINRES Project(const ERPoint2D& p, ERPoint2D& foot, double& u,
                                 int& index) const override;
    /// The distance from the outline, negative inside. Returns SingleNearestPoint, or NoFootPoint
    /// when Project finds nothing.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance) const override;
    ERCompCurve2D composite_curve() const;  ///< a segment for each side

protected:
    CornerOutline2D() = default;
    explicit CornerOutline2D(const ERVec<ERPoint2D>& corners) : corners_(corners) {}

    /// The distance between two corners; 0 where these are missing.
    double distanceOf(unsigned int i, unsigned int j) const;
    ERVector2D directionOf(unsigned int i, unsigned int j) const;

    ERVec<ERPoint2D> corners_;

private:
    friend CarriedByPoints;
    template <class Edit>
    void changePoints(Edit edit) {
        edit(corners_);
    }
};

/// An outline in a plane of space.
template <class Flat>
class KERF_EXPORT PlanarOutline : public Planar<Flat> {
public:
    ERInfoPoint3DWF PtCur(double u) const;
    ERVector3D main_direction() const { return this->lifted(flat_.main_direction()); }
    ERVector3D auxiliary_direction() const { return this->lifted(flat_.auxiliary_direction()); }

    /// As in the plane, for the foot of p on it.
    EREntity::DISTMINRES Project(const ERPoint3D& p, ERPoint3D& foot, double& u, int& index) const;
    EREntity::DISTMINRES ProjectPt(const ERPoint3D& p, ERPoint3D& foot) const;
    int Get_Entity_Number(const ERPoint3D& p, int& index) const;
    /// The distance from the outline in space, negative where the foot of p on the plane lies inside.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    ERCompCurve3D composite_curve() const;
    /// The points stay, the normal turns over, and so does the direction of travel.
    void reverse() override;

protected:
    using Planar<Flat>::flat_;

    PlanarOutline() = default;
    PlanarOutline(const ERPmIsometrie3D& frame, const Flat& flat) : Planar<Flat>(frame, flat) {}

    /// The foot of p on the plane, in the coordinates of the frame.
    ERPoint2D inPlane(const ERPoint3D& p) const;
    /// Whether a view along the third axis of t shows the outline as it is.
    bool isSeenFlat(const ERPmIsometrie3D& t) const;
};

/// An outline of straight sides in a plane of space.
template <class Flat>
class KERF_EXPORT CornerOutline3D : public PlanarOutline<Flat> {
public:
    ERVec<ERPoint3D> points() const { return this->lifted(this->flat_.points()); }
    /// The feet on the plane become the corners.
    void points(const ERVec<ERPoint3D>& corners);
    ERMinimax3D getBox() const { return ERMinimax3D(points()); }
    /// The same class in a view at right angles to the plane, else an ERPolygone2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;

protected:
    CornerOutline3D() = default;
    CornerOutline3D(const ERPmIsometrie3D& frame, const Flat& flat)
        : PlanarOutline<Flat>(frame, flat) {}
};

/// A rectangle in the plane, counter-clockwise; the first side runs along the main direction.
/// Degenerate: a null direction, length or width leaves corners that coincide.
/// Damage:     restored with another number of corners than four it has none.
class KERF_EXPORT ERRectangle2D : public CornerOutline2D {
    ER_OBJECT_CLASS(ERRectangle2D);
    ER_STORED_CLASS(ERRectangle2D);

public:
    ERRectangle2D() = default;  ///< no corners
    /// The length is that along the direction.
    ERRectangle2D(const ERPoint2D& centre, const ERVector2D& direction, double length,
                  double width);

    double length() const { return distanceOf(0, 1); }
    double width() const { return distanceOf(1, 2); }
    ERPoint2D centre() const;
    ERVector2D main_direction() const override { return directionOf(0, 1); }
    ERVector2D auxiliary_direction() const override { return directionOf(1, 2); }
    using CornerOutline2D::points;
    /// Any four corners are taken as they are; another number of them changes nothing.
    void points(const ERVec<ERPoint2D>& corners);

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    /// The other way round, with the first side still along the main direction.
    void reverse() override;
    void printOn(std::ostream& os) const override;

private:
    friend class CornerOutline3D<ERRectangle2D>;
    explicit ERRectangle2D(const ERVec<ERPoint2D>& corners) { points(corners); }

    static auto fields(auto& self) { return std::tie(self.corners_); }
    bool fits() const { return corners_.length() == 0 || corners_.length() == 4; }
};

/// A regular polygon in the plane, counter-clockwise; corner 0 lies in the main direction.
/// Parameter: u is brought into [0, n), so n is 0 again, on the first side.
class KERF_EXPORT ERRegularPolygon2D : public CornerOutline2D {
    ER_OBJECT_CLASS(ERRegularPolygon2D);
    ER_STORED_CLASS(ERRegularPolygon2D);

public:
    ERRegularPolygon2D() = default;  ///< no corners
    /// Fewer than two sides give no corners.
    ERRegularPolygon2D(const ERPoint2D& centre, const ERVector2D& direction, double side, int n);

    double length_side() const { return distanceOf(0, 1); }
    int nb_side() const { return static_cast<int>(corners_.length()); }
    ERPoint2D barycenter() const;
    ERCircle2D inside_circle() const;   ///< touches the sides
    ERCircle2D outside_circle() const;  ///< through the corners
    double inside_radius() const;
    double outside_radius() const;
    ERVector2D main_direction() const override;
    ERInfoPoint2D PtCur(double u) const override;
    using CornerOutline2D::points;
    void points(const ERVec<ERPoint2D>& corners);  ///< takes them as they are
    /// Moves every side outwards by delta, the corners on their rays from the centre. Fewer than
    /// three sides stay.
    void offset(double delta);

    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    void reverse() override;  ///< the other way round, from the same corner 0
    void printOn(std::ostream& os) const override;

private:
    friend class CornerOutline3D<ERRegularPolygon2D>;
    explicit ERRegularPolygon2D(const ERVec<ERPoint2D>& corners) : CornerOutline2D(corners) {}

    static auto fields(auto& self) { return std::tie(self.corners_); }
};

extern template class PlanarOutline<ERRectangle2D>;
extern template class PlanarOutline<ERRegularPolygon2D>;
extern template class CornerOutline3D<ERRectangle2D>;
extern template class CornerOutline3D<ERRegularPolygon2D>;

/// A rectangle in space.
class KERF_EXPORT ERRectangle3D : public CornerOutline3D<ERRectangle2D> {
    ER_OBJECT_CLASS(ERRectangle3D);
    ER_STORED_CLASS(ERRectangle3D);

public:
    ERRectangle3D() = default;
    ERRectangle3D(const ERPmIsometrie3D& frame, const ERRectangle2D& flat)
        : CornerOutline3D(frame, flat) {}

    double length() const { return flat_.length(); }
    double width() const { return flat_.width(); }
    ERPoint3D centre() const { return lifted(flat_.centre()); }
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.flat_); }
};

/// A regular polygon in space.
class KERF_EXPORT ERRegularPolygon3D : public CornerOutline3D<ERRegularPolygon2D> {
    ER_OBJECT_CLASS(ERRegularPolygon3D);
    ER_STORED_CLASS(ERRegularPolygon3D);

public:
    ERRegularPolygon3D() = default;
    ERRegularPolygon3D(const ERPmIsometrie3D& frame, const ERRegularPolygon2D& flat)
        : CornerOutline3D(frame, flat) {}

    double length_side() const { return flat_.length_side(); }
    int nb_side() const { return flat_.nb_side(); }
    ERPoint3D barycenter() const { return lifted(flat_.barycenter()); }
    ERCircle3D inside_circle() const;
    ERCircle3D outside_circle() const;
    void offset(double delta);
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.flat_); }
};

}  // namespace kerf
