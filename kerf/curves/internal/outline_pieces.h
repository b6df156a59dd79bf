#pragma once
#include <cmath>
#include <limits>

#include "kerf/values/entity.h"
#include "kerf/values/point.h"

// What the outlines share about their pieces.
namespace kerf::detail {

/// u brought into [0, n] by steps of n; a value in that range stays, its end too.
inline double intoRange(double u, double n) {
    if (u >= 0.0 && u <= n) return u;
    const double rest = std::fmod(u, n);
    if (u < 0.0) return rest < 0.0 ? rest + n : 0.0;
    return rest == 0.0 ? n : rest;
}

/// The nearest of the points it is shown, and whether it is the only one.
class NearestFoot {
public:
    explicit NearestFoot(const ERPoint2D& p) : p_(p) {}

    /// A foot at parameter u of that piece; `isUnique` is false where it stands for many.
    void consider(const ERPoint2D& foot, double u, int piece, bool isUnique = true) {
        const double squared = distance2(foot, p_);
        if (!(squared < std::numeric_limits<double>::infinity())) return;
        if (count_ == 0 || squared < least_) {
            least_ = squared;
            foot_ = foot;
            u_ = u;
            piece_ = piece;
            count_ = isUnique ? 1 : 2;
        } else if (squared == least_ && !(isUnique && foot == foot_)) {
            count_ = 2;
        }
    }
    /// The foot on the segment from a to b, which is that piece.
    void considerSegment(const ERPoint2D& a, const ERPoint2D& b, int piece) {
        const ERVector2D side(a, b);
        const double t = (ERVector2D(a, p_) * side) / side.norme2();
        // The ends as they are, so that the foot on a corner is the same for both sides.
        if (t >= 1.0) {
            consider(b, piece + 1.0, piece);
        } else if (t > 0.0) {
            consider(a + side * t, piece + t, piece);
        } else {
            consider(a, piece, piece);
        }
    }

    /// Writes what was found.
    EREntity::DISTMINRES result(ERPoint2D& foot, double& u, int& piece) const {
        if (count_ == 0) return EREntity::NoFootPoint;
        foot = foot_;
        u = u_;
        piece = piece_;
        return count_ == 1 ? EREntity::SingleNearestPoint : EREntity::NearestPointNotUnique;
    }

private:
    ERPoint2D p_, foot_;
    double least_ = 0.0, u_ = 0.0;
    int piece_ = 0, count_ = 0;
};

}  // namespace kerf::detail
