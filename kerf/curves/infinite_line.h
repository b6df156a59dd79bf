#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"
#include "kerf/values/space.h"

// Straight lines without ends, and how lines lie to each other and to points.
namespace kerf {

class ERSegment2D;
class ERSegment3D;

/// What both lines share: a direction of length 1 and a point of the line, its origin. A line has no
/// parameter domain.
///
/// A constructor takes as origin the foot of the coordinate origin; a line that is moved keeps the
/// image of its origin, which then is any point of the line.
/// Degenerate: a line through two equal points, or with a null vector, has a null direction and
///             stands for its origin.
/// Storage:    the direction, then the origin.
template <class Space>
class KERF_EXPORT InfiniteLine : public Space::WireEntity {
public:
    using Point = typename Space::Point;
    using Vector = typename Space::Vector;

    const Point& origine() const { return origin_; }
    const Vector& dirVector() const { return direction_; }
    Point projectPt(const Point& p) const;  ///< the foot of p

    void reverse() override;             ///< negates the direction
    void scale(double factor) override;  ///< the origin alone
    void translate(const Point& t) override;

protected:
    InfiniteLine(const Vector& direction,
                 const Point& origin);  ///< as a moved line: origin as given
    InfiniteLine(const InfiniteLine&) = default;
    InfiniteLine& operator=(const InfiniteLine&) = default;

    void takeFootOfOrigin();
    /// The line with the images of origin and direction, which is normalised.
    template <class Image>
    void carry(Image image) {
        origin_ = image(origin_);
        direction_ = image(direction_).getnormalized();
        this->setDirty();
    }

    Vector direction_;
    Point origin_;
};

/// A line in the plane: a x + b y + c = 0 with (a, b) of length 1, to the right of the direction.
class KERF_EXPORT ERInfLine2D : public InfiniteLine<Space2D> {
    ER_OBJECT_CLASS(ERInfLine2D);
    ER_STORED_CLASS(ERInfLine2D);

public:
    ERInfLine2D();                                                 ///< the x axis
    ERInfLine2D(const ERVector2D& direction, const ERPoint2D& p);  ///< through p
    ERInfLine2D(const ERPoint2D& a, const ERPoint2D& b);           ///< from a to b
    /// The line a x + b y + c = 0 for (a, b) of length 1. The zero pair gives a null direction at the
    /// origin.
    /// Kept: for (a, b) of another length n the line lies n times nearer to the origin than the
    ///       equation says.
    ERInfLine2D(double a, double b, double c);
    explicit ERInfLine2D(const ERSegment2D& segment);

    double a() const { return direction_.j(); }
    double b() const { return -direction_.i(); }
    double c() const { return origin_.y() * direction_.i() - origin_.x() * direction_.j(); }

    ERVector2D normalVector() const { return ERVector2D(-direction_.j(), direction_.i()); }
    ERInfLine2D parallele(double k) const;  ///< at the distance k to the left
    void offset(double k);                  ///< becomes parallele(k)
    /// Kept: 1 when |d1 . d2| <= tol, so for lines at right angles, and 0 for parallel ones.
    int isParallelTo(const ERInfLine2D& other, double tol) const;

    void transformFrom(const ERTransfo2D& transformation) override;
    void transformTo(const ERTransfo2D& transformation) override;
    /// Positive to the right of the direction. Returns SingleNearestPoint.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance) const override;
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    /// Three digits; the precision of the stream is put back.
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.direction_, self.origin_); }
};

/// A line in space.
class KERF_EXPORT ERInfLine3D : public InfiniteLine<Space3D> {
    ER_OBJECT_CLASS(ERInfLine3D);
    ER_STORED_CLASS(ERInfLine3D);

public:
    ERInfLine3D();  ///< the z axis
    ERInfLine3D(const ERVector3D& direction, const ERPoint3D& p);
    ERInfLine3D(const ERPoint3D& a, const ERPoint3D& b);
    explicit ERInfLine3D(const ERSegment3D& segment);
    ERInfLine3D(const ERInfLine2D& line, const ERPmIsometrie3D& t);  ///< in the plane z = 0 of t
    /// In the plane in which the coordinate `axis` has that value.
    ERInfLine3D(const ERInfLine2D& line, enum Coord3D axis, double value);

    /// Kept: as ERInfLine2D::isParallelTo.
    int IsParallelTo(const ERInfLine3D& other, double tol) const;

    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    /// Never negative.
    /// Kept: returns NearestPointUnsigned.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    /// A line; where the third axis of t is the direction, one with a null direction.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    /// Ends no line.
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.direction_, self.origin_); }
};

/// The meeting point p. 0, with p as it was, when the directions are parallel: when they are equal
/// or opposite to the last bit, or (d1 . d2)^2 is exactly 1. There is no tolerance: nearly parallel
/// lines meet far away.
KERF_EXPORT int intersect(const ERInfLine2D& a, const ERInfLine2D& b, ERPoint2D& p);
/// The feet of the common perpendicular: pa on a, pb on b. 0 as in the plane.
KERF_EXPORT int intersect(const ERInfLine3D& a, const ERInfLine3D& b, ERPoint3D& pa, ERPoint3D& pb);
/// 1 for parallel lines, and where the feet of the common perpendicular are exactly equal.
KERF_EXPORT int Coplanar(const ERInfLine3D& a, const ERInfLine3D& b);
/// Kept: 1 when d1 . d2 is exactly 0: at right angles.
KERF_EXPORT int operator||(const ERInfLine2D& a, const ERInfLine2D& b);
KERF_EXPORT int operator||(const ERInfLine3D& a, const ERInfLine3D& b);
/// Never negative.
KERF_EXPORT double distance(const ERInfLine2D& line, const ERPoint2D& p);
KERF_EXPORT double distance(const ERInfLine3D& line, const ERPoint3D& p);
KERF_EXPORT double distance(const ERInfLine3D& a, const ERInfLine3D& b);

extern template class InfiniteLine<Space2D>;
extern template class InfiniteLine<Space3D>;

}  // namespace kerf
