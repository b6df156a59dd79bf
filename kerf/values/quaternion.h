#pragma once
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/point.h"

namespace kerf {

struct LinearMap;

/// A quaternion w + x i + y j + z k. Of length 1 it stands for the rotation by 2 acos(w) about
/// (x, y, z).
/// Parameter: nothing here normalises: the length is the caller's duty wherever a rotation is meant.
/// Failure:   no operation reports any.
class KERF_EXPORT ERQuaternion {
public:
    double w = 1.0;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    ERQuaternion() = default;  ///< the identity rotation (1, 0, 0, 0)
    ERQuaternion(double wPart, double xPart, double yPart, double zPart)
        : w(wPart), x(xPart), y(yPart), z(zPart) {}
    /// From a vector of three parameters along the axis, v = tan(half angle) axis: w = cos(atan
    /// |v|), the vector part is w v. The result has length 1.
    explicit ERQuaternion(const ERVector3D& v);
    /// The rotation by `angle` radians about `axis`, which is normalised here.
    ERQuaternion(const ERVector3D& axis, double angle);
    /// 4 elements: w, x, y, z. 3 elements: as from the vector of three parameters. Any other length
    /// leaves the identity.
    explicit ERQuaternion(const ERVec<double>& elements);
    /// The rotation of a 3 by 3 rotation matrix.
    explicit ERQuaternion(const ERMatrix<double>& m);

    ERQuaternion operator+(const ERQuaternion& b) const;
    ERQuaternion operator-(const ERQuaternion& b) const;
    ERQuaternion operator*(const ERQuaternion& b) const;  ///< as rotations, b acts first
    ERQuaternion operator*(double factor) const;
    ERQuaternion operator-() const;

    double Dot(const ERQuaternion& b) const;
    double Norm2() const;  ///< the squared length

    ERQuaternion Inverse() const;      ///< the zero quaternion for the zero quaternion
    ERQuaternion UnitInverse() const;  ///< the conjugate: the inverse for length 1
    /// The exponential of a quaternion whose w is taken as 0. Where |sin| of the length of the
    /// vector part is below 0.001 the vector part is copied as it stands.
    ERQuaternion Exp() const;
    /// The logarithm for length 1, with w = 0. The vector part is copied as it stands where |w| >=
    /// 1 or |sin(acos w)| is below 0.001.
    ERQuaternion Log() const;

    ERVector3D Axis() const;             ///< the normalised vector part; zero when that is zero
    double Angle() const;                ///< in radians, in [0, 2 pi]
    ERMatrix<double> GetMatrix() const;  ///< 3 by 3, of this quaternion as it is
    operator ERMatrix<double>() const { return GetMatrix(); }
    LinearMap asLinearMap() const;                    ///< the same matrix as a plain value
    ERVector3D operator*(const ERVector3D& v) const;  ///< v after the rotation

    /// Spherical interpolation from p at t = 0 to q at t = 1, both of length 1. The arc is not
    /// shortened by changing a sign. Returns p for an angle below 0.001 radians.
    /// Kept: p . q is not clamped: outside [-1, 1] there is no angle, and p is returned too.
    static ERQuaternion Slerp(double t, const ERQuaternion& p, const ERQuaternion& q);
    /// The same with `spins` additional half turns of the arc.
    static ERQuaternion SlerpExtraSpins(double t, const ERQuaternion& p, const ERQuaternion& q,
                                        int spins);
    /// a: the inner control quaternion of Squad at q1, which gives the spans that meet there one
    /// speed. b: its mirror image about q1.
    static void Intermediate(const ERQuaternion& q0, const ERQuaternion& q1, const ERQuaternion& q2,
                             ERQuaternion& a, ERQuaternion& b);
    /// Spherical cubic interpolation (Shoemake) from q0 to q1 with the inner controls a and b.
    static ERQuaternion Squad(double t, const ERQuaternion& q0, const ERQuaternion& a,
                              const ERQuaternion& b, const ERQuaternion& q1);
};

KERF_EXPORT ERQuaternion operator*(double factor, const ERQuaternion& q);

/// The rotation that takes the direction `from` to `to`; where they are opposite it passes through a
/// perpendicular one.
KERF_EXPORT void find_lock_quaternion(ERVector3D from, ERVector3D to, ERQuaternion& result);
KERF_EXPORT void find_lock_matrix(ERVector3D from, ERVector3D to, ERMatrix<double>& result);
/// The rotation by pi about a direction perpendicular to the axis, which it reverses.
KERF_EXPORT void find_flip_matrix(ERVector3D axis, ERMatrix<double>& result);

}  // namespace kerf
