#pragma once
#include <algorithm>
#include <cmath>
#include <optional>

#include "kerf/core/smart_pointer.h"
#include "kerf/curves/bounded_curve.h"
#include "kerf/numerics/vector.h"
#include "kerf/values/limits.h"
#include "kerf/values/point.h"
#include "kerf/values/space.h"

// Circles and ellipses as functions of their angle, and their coordinate along one direction. Used
// by the families alone.
namespace kerf {

class ERCircle2D;
class EREllipse2D;

inline constexpr double quarterTurn = 1.5707963267948966;
inline constexpr double halfTurn = 3.141592653589793;
inline constexpr double fullTurn = 6.283185307179586;

inline double angleOf(const ERVector2D& v) { return std::atan2(v.j(), v.i()); }

/// The angle, with as many whole turns added as bring it into the bounds; nothing when none do. An
/// angle that misses a bound by rounding alone is that bound.
std::optional<double> broughtInto(const ERLimites& bounds, double angle);

/// middle + cosine cos u + sine sin u.
struct Harmonic {
    double middle, cosine, sine;

    double operator()(double u) const { return middle + cosine * std::cos(u) + sine * std::sin(u); }
    double amplitude() const { return std::hypot(cosine, sine); }
    double phase() const { return std::atan2(sine, cosine); }  ///< the angle of the largest value

    /// The smallest and the largest value over the bounds.
    ERLimites range(const ERLimites& bounds) const;
    /// Appends the angles within the bounds at which it has that value: the one past the phase
    /// before the one ahead of it. Each is appended once, however many turns the bounds span.
    /// Returns the size of the vector, or 0 when the value is out of reach.
    unsigned int appendWhere(double value, const ERLimites& bounds,
                             ERVec<double>& parameters) const;
};

/// A circle or an ellipse as centre + cosine cos u + sine sin u: cosine and sine are conjugate half
/// diameters.
template <class Space>
struct AngularForm {
    typename Space::Point centre;
    typename Space::Vector cosine, sine;

    typename Space::Point operator()(double u) const {
        return centre + cosine * std::cos(u) + sine * std::sin(u);
    }
    Harmonic along(typename Space::Axis axis) const {
        return {centre[axis], cosine[axis], sine[axis]};
    }
    /// The distance from a point in the direction of a unit vector.
    Harmonic along(const typename Space::Vector& direction,
                   const typename Space::Point& from) const {
        return {typename Space::Vector(from, centre) * direction, cosine * direction,
                sine * direction};
    }
};

AngularForm<Space2D> angularForm(const ERCircle2D& circle);
AngularForm<Space2D> angularForm(const EREllipse2D& ellipse);

/// Appends the angles within the bounds at which the form meets the plane Z = z. A form in a plane
/// Z = constant, within the rounding of its frame, meets none.
unsigned int appendCutsWithPlanZ(const AngularForm<Space3D>& form, double z,
                                 const ERLimites& bounds, ERVec<double>& parameters);

/// Points that increase with the parameter, turned into the direction of travel.
template <class Point>
ERVec<Point> inDirection(ERVec<Point> points, const EREntAngle& angles) {
    if (angles.startAngle() > angles.endAngle())
        std::reverse(points.data(), points.data() + points.length());
    return points;
}

/// Makes two copies of the arc that end and start at u.
template <class Curve, class Arc>
int splitAtAngle(const Arc& arc, t_SmartPtr<Curve>& left, t_SmartPtr<Curve>& right, double u) {
    Arc* const before = new Arc(arc);
    Arc* const after = new Arc(arc);
    before->endAngle(ERRadian(u));
    after->startAngle(ERRadian(u));
    left = before;
    right = after;
    return 1;
}

}  // namespace kerf
