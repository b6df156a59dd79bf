#pragma once
#include <cmath>

#include "kerf/platform/config.h"
#include "kerf/values/limits.h"
#include "kerf/values/point.h"

// The point of a surface on a ray along Z: Newton's method on x and y, with forward differences for
// the derivatives.
namespace kerf::ray {

/// The squared distance from the ray, in the plane of x and y, below which a point counts as on it.
constexpr double accepted = 5e-8;

/// Where the solve starts and, after it succeeded, where it ended, with the z found there.
struct Root {
    double u, v;
    double z = 0.0;
};

namespace solving {

constexpr double farthest = 1e8;     // the squared distance from which the first point must fall
constexpr double unchanged = 1e-10;  // of a squared distance
constexpr double flattest = 1e-9;    // determinant
constexpr int forgivenGrowths = 10;
constexpr int mostRounds = 1000;
constexpr double stepRatio = 1.0 / 1000000.0;

inline double clamped(double value, const ERLimites& range) {
    if (value < range.start()) return range.start();
    return value > range.end() ? range.end() : value;
}

}  // namespace solving

/// The node of a grid of 7 by 7 over the ranges, its border left out, that is nearest to the ray
/// through (x, y); the first of several. False when none is nearer than 10 000.
/// Parameter: at(u, v) returns the surface's point.
template <class Evaluate>
bool seed(Evaluate&& at, const ERLimites& rangeU, const ERLimites& rangeV, double x, double y,
          Root& root) {
    double nearest = solving::farthest;
    for (int i = 1; i <= 5; ++i) {
        for (int j = 1; j <= 5; ++j) {
            const double u = rangeU(i / 6.0), v = rangeV(j / 6.0);
            const ERPoint3D p = at(u, v);
            const double dx = p.x() - x, dy = p.y() - y, distance2 = dx * dx + dy * dy;
            if (!(distance2 < nearest)) continue;
            nearest = distance2;
            root = {u, v};
        }
    }
    return nearest < solving::farthest;
}

/// Moves the root from its start to a point of the surface on the ray through (x, y).
/// Tolerance:  the first point nearer than `limit`, squared, ends the solve.
/// Degenerate: false, with the start as it was, where the surface stands along the ray, where the
///             distance no longer changes, or grows for the eleventh time, and for what is not finite.
/// Kept:       the solve stops at the first such point and does not improve it, though it may lie 2.2e-4
///             off the ray.
template <class Evaluate>
bool solve(Evaluate&& at, const ERLimites& rangeU, const ERLimites& rangeV, double x, double y,
           Root& root, double limit = accepted) {
    const double eps = (rangeU.amplitude() + rangeV.amplitude()) * solving::stepRatio;
    double u = root.u, v = root.v, former = solving::farthest;
    int growths = 0;
    for (int round = 0; round < solving::mostRounds; ++round) {
        const ERPoint3D p = at(u, v);
        const double dx = x - p.x(), dy = y - p.y(), distance2 = dx * dx + dy * dy;
        const double change = distance2 - former;
        if (!(std::fabs(change) > solving::unchanged)) return false;
        if (change > 0.0) {
            if (++growths > solving::forgivenGrowths) return false;
        } else if (distance2 < limit) {
            root = {u, v, p.z()};
            return true;
        }
        former = distance2;

        const ERPoint3D alongU = at(u + eps, v), alongV = at(u, v + eps);
        const double ux = (alongU.x() - p.x()) / eps, uy = (alongU.y() - p.y()) / eps;
        const double vx = (alongV.x() - p.x()) / eps, vy = (alongV.y() - p.y()) / eps;
        const double determinant = ux * vy - uy * vx;
        if (!(std::fabs(determinant) > solving::flattest)) return false;
        u = solving::clamped(u + (dx * vy - dy * vx) / determinant, rangeU);
        v = solving::clamped(v + (ux * dy - uy * dx) / determinant, rangeV);
    }
    return false;
}

}  // namespace kerf::ray
