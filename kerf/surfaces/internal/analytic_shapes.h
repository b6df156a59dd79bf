#pragma once
#include <iosfwd>
#include <tuple>

#include "kerf/platform/config.h"
#include "kerf/values/entity.h"
#include "kerf/values/limits.h"
#include "kerf/values/point.h"

// The formulas of the bounded analytic surfaces, each in the frame of its surface: what
// BoundedAnalytic builds evaluation, projection, moves and records from.
//
// Every shape has, beside its lengths and their list for the record:
//
//     lengthInU, lengthInV, clipsAlways       whether u, v are lengths; whether a foot outside the
//                                             ranges is refused whatever the flag
//     ERPoint3D point(u, v)                   S(u, v)
//     Jet jet(u, v)                           S(u, v) with its derivatives
//     ERMinimax3D box(frame, u, v)            the box in space, over two ranges
//     DISTMINRES distance(axis, p, distance)  in space, of the surface without its ranges
//     int foot(axis, p, foot, normal)         the same
//     ERPoint2D parameters(foot, start)       of a foot given in the frame; angles and heights are
//                                             counted from the parameters `start`
//     double perU(), double perV(u)           what a step of 1 in the parameter is taken to be long
//     void scale(factor)                      multiplies the lengths
//     double offset(distance)                 grows the lengths; returns how far to move along Z
//     void printOn(os)                        the lengths, a line each
namespace kerf {

class ERMinimax3D;
class ERPmIsometrie3D;

namespace analytic {

/// A point of a surface with its partial derivatives.
struct Jet {
    ERPoint3D point;
    ERVector3D u, v, uu, uv, vv;
};

/// The third axis and the origin of a frame, in space.
struct Axis {
    ERVector3D direction;
    ERPoint3D origin;
};

/// (u, v, 0)
struct KERF_EXPORT PlaneShape {
    static constexpr bool lengthInU = true, lengthInV = true, clipsAlways = false;
    static auto lengths(auto&) { return std::tie(); }

    ERPoint3D point(double u, double v) const { return ERPoint3D(u, v, 0.0); }
    Jet jet(double u, double v) const;
    ERMinimax3D box(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v) const;
    EREntity::DISTMINRES distance(const Axis& axis, const ERPoint3D& p, double& distance) const;
    int foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const;
    ERPoint2D parameters(const ERPoint3D& foot, const ERPoint2D& start) const;
    double perU() const { return 1.0; }
    double perV(const ERLimites&) const { return 1.0; }
    void scale(double) {}
    double offset(double distance) { return distance; }
    void printOn(std::ostream&) const {}
};

/// (r cos v, r sin v, u)
struct KERF_EXPORT CylinderShape {
    static constexpr bool lengthInU = true, lengthInV = false, clipsAlways = false;
    double radius = 0.0;
    static auto lengths(auto& self) { return std::tie(self.radius); }

    ERPoint3D point(double u, double v) const;
    Jet jet(double u, double v) const;
    ERMinimax3D box(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v) const;
    EREntity::DISTMINRES distance(const Axis& axis, const ERPoint3D& p, double& distance) const;
    int foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const;
    ERPoint2D parameters(const ERPoint3D& foot, const ERPoint2D& start) const;
    double perU() const { return 1.0; }
    double perV(const ERLimites& u) const;
    void scale(double factor) { radius *= factor; }
    double offset(double distance);
    void printOn(std::ostream& os) const;
};

/// (u tan a cos v, u tan a sin v, u)
struct KERF_EXPORT ConeShape {
    static constexpr bool lengthInU = true, lengthInV = false, clipsAlways = false;
    double halfAngle = 0.0;
    static auto lengths(auto& self) { return std::tie(self.halfAngle); }

    ERPoint3D point(double u, double v) const;
    Jet jet(double u, double v) const;
    ERMinimax3D box(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v) const;
    EREntity::DISTMINRES distance(const Axis& axis, const ERPoint3D& p, double& distance) const;
    int foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const;
    ERPoint2D parameters(const ERPoint3D& foot, const ERPoint2D& start) const;
    double perU() const { return 1.0; }
    double perV(const ERLimites& u) const;
    void scale(double) {}
    double offset(double distance);
    void printOn(std::ostream& os) const;
};

/// r (cos u cos v, sin u cos v, sin v)
struct KERF_EXPORT SphereShape {
    static constexpr bool lengthInU = false, lengthInV = false, clipsAlways = false;
    double radius = 0.0;
    static auto lengths(auto& self) { return std::tie(self.radius); }

    ERPoint3D point(double u, double v) const;
    Jet jet(double u, double v) const;
    ERMinimax3D box(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v) const;
    EREntity::DISTMINRES distance(const Axis& axis, const ERPoint3D& p, double& distance) const;
    int foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const;
    ERPoint2D parameters(const ERPoint3D& foot, const ERPoint2D& start) const;
    double perU() const;
    double perV(const ERLimites& u) const;
    void scale(double factor) { radius *= factor; }
    double offset(double distance);
    void printOn(std::ostream& os) const;
};

/// ((R + r cos v) cos u, (R + r cos v) sin u, r sin v)
struct KERF_EXPORT TorusShape {
    static constexpr bool lengthInU = false, lengthInV = false, clipsAlways = true;
    double majorRadius = 0.0;
    double minorRadius = 0.0;
    static auto lengths(auto& self) { return std::tie(self.majorRadius, self.minorRadius); }

    ERPoint3D point(double u, double v) const;
    Jet jet(double u, double v) const;
    ERMinimax3D box(const ERPmIsometrie3D& frame, const ERLimites& u, const ERLimites& v) const;
    EREntity::DISTMINRES distance(const Axis& axis, const ERPoint3D& p, double& distance) const;
    int foot(const Axis& axis, const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const;
    ERPoint2D parameters(const ERPoint3D& foot, const ERPoint2D& start) const;
    double perU() const;
    double perV(const ERLimites& u) const;
    void scale(double factor);
    double offset(double distance);
    void printOn(std::ostream& os) const;
};

/// The angle from the direction `start` to (x, y), in (-pi, pi], and the same in [0, 2 pi). Within
/// 1e-11 of it, it is 0.
double angleFrom(double start, double x, double y);
double turnFrom(double start, double x, double y);

}  // namespace analytic
}  // namespace kerf
