#pragma once
#include "kerf/core/stored_fields.h"
#include "kerf/curves/carried_points.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/values/info_point.h"

// Straight segments.
namespace kerf {

namespace detail {

/// The point of the line from a to b at the ratio t, with its derivatives, at the parameter u.
template <class Point>
Point pointBetween(const Point& a, const Point& b, double t) {
    return a + (b - a) * t;
}
template <class Space>
typename Space::InfoPoint infoBetween(const typename Space::Point& a,
                                      const typename Space::Point& b, double t, double u) {
    using Vector = typename Space::Vector;
    return typename Space::InfoPoint(u, 1, pointBetween(a, b, t), Vector(a, b), Vector());
}

}  // namespace detail

// Two operations hide those of the frame on purpose.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Woverloaded-virtual"
#endif

/// What both segments share: P(u) = P1 + u (P2 - P1).
///
/// Parameter:  0 at P1, 1 at P2; values outside go on along the line.
/// Degenerate: P1 = P2 is a point. Its derivative and directions are zero and nothing has a foot.
/// Kept:       isClosed() and the projection that gives a height do not replace the curve's forms,
///             which stay the defaults: through an ERFiniteEntity2DWF or ERFiniteEntity3DWF the ends
///             are compared, and no point has a foot.
/// Storage:    P1, then P2.
template <class Space>
class KERF_EXPORT Segment : public CarriedByPoints<Segment<Space>, typename Space::Curve, Space> {
    using Carried = CarriedByPoints<Segment, typename Space::Curve, Space>;

public:
    using Point = typename Space::Point;
    using Vector = typename Space::Vector;

    const Point& getP1() const { return p1_; }
    const Point& getP2() const { return p2_; }
    void setP1(const Point& p);
    void setP2(const Point& p);
    Vector dirVector() const;  ///< from P1 to P2, of length 1

    typename Space::InfoPoint PtCur(double u) const override;
    Point operator()(double u) const override;
    typename Space::Box getBox() const override;
    using Space::Curve::approxime;
    /// P1 and P2.
    /// Kept: whatever the count, none and negative ones too.
    ERVec<Point> approxime(int n) const override;
    /// The distance between the points at the limits, and between the ends. The tolerance is unused.
    double arcLength(ERLimites limits, double tol) const override;
    double arcLength(double tol) const override;
    /// The parts from P1 to P(u) and from P(u) to P2, each on [0, 1]; any u is taken. Returns 1.
    int splitAt(t_SmartPtr<typename Space::Curve>& left, t_SmartPtr<typename Space::Curve>& right,
                double u) const override;
    /// Of degree 1 on [0, 1].
    typename Space::Nurbs ConvertToNurbs() const override;
    void reverse() override;

    /// Kept: 0 whatever the ends.
    virtual int isClosed() const;
    /// Appends the parameter of the foot of p when it lies in [0, 1], and writes the distance of p
    /// from the line through P1 and P2, whether or not the foot lies on the segment.
    virtual int ProjectPoint(const Point& p, ERVec<double>& parameters, double& height) const;

protected:
    Segment() = default;
    Segment(const Point& p1, const Point& p2) : p1_(p1), p2_(p2) {}
    Segment(const Segment&) = default;
    Segment& operator=(const Segment&) = default;

    /// The foot of p on the line through P1 and P2.
    Point footOnLine(const Point& p) const;

    Point p1_;
    Point p2_;

private:
    friend Carried;
    template <class Edit>
    void changePoints(Edit edit) {
        edit(p1_);
        edit(p2_);
    }
};

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

/// A segment in the plane.
/// Kept: crossings with lines and the signed distance are those of the frame, which find nothing.
class KERF_EXPORT ERSegment2D : public Segment<Space2D> {
    ER_OBJECT_CLASS(ERSegment2D);
    ER_STORED_CLASS(ERSegment2D);

public:
    ERSegment2D() = default;  ///< both ends at the origin
    ERSegment2D(const ERPoint2D& p1, const ERPoint2D& p2) : Segment(p1, p2) {}

    ERVector2D normalVector() const;           ///< dirVector turned a quarter to the left
    ERVector2D normal(double) const override;  ///< the same, whatever the parameter
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.p1_, self.p2_); }
};

/// A segment in space.
class KERF_EXPORT ERSegment3D : public Segment<Space3D> {
    ER_OBJECT_CLASS(ERSegment3D);
    ER_STORED_CLASS(ERSegment3D);

public:
    ERSegment3D() = default;
    ERSegment3D(const ERPoint3D& p1, const ERPoint3D& p2) : Segment(p1, p2) {}

    /// The distance of p from the segment. Returns SingleNearestPoint.
    /// Kept: never negative, whatever the side.
    EREntity::DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& distance) const override;
    /// Appends the crossing with the plane Z = z; a segment parallel to it has none.
    /// Kept: what is appended is the length from P1 and not the parameter, and only lengths up to 1
    ///       are found.
    unsigned int intersectWithPlanZ(double z, ERVec<double>& parameters) const override;
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const override;
    void printOn(std::ostream& os) const override;

private:
    static auto fields(auto& self) { return std::tie(self.p1_, self.p2_); }
};

extern template class Segment<Space2D>;
extern template class Segment<Space3D>;

}  // namespace kerf
