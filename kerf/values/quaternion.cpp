#include "kerf/values/quaternion.h"

#include <cmath>

#include "kerf/numerics/constants.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/orthonormal_frame.h"

namespace kerf {

namespace {

constexpr double smallSine = 0.001;     // below: sin(a) / a counts as 1
constexpr double smallArc = 0.001;      // below: the ends of an arc count as one
constexpr double nearlyParallel = 0.1;  // sine of the angle between two directions

ERQuaternion fromTangentVector(double i, double j, double k) {
    const double w = std::cos(std::atan(std::sqrt(i * i + j * j + k * k)));
    ERQuaternion q;
    q.w = w;
    q.x = w * i;
    q.y = w * j;
    q.z = w * k;
    return q;
}

ERQuaternion dividedBy(double divisor, ERQuaternion q) {
    q.w /= divisor;
    q.x /= divisor;
    q.y /= divisor;
    q.z /= divisor;
    return q;
}

}  // namespace

ERQuaternion::ERQuaternion(const ERVector3D& v) { *this = fromTangentVector(v.i(), v.j(), v.k()); }

ERQuaternion::ERQuaternion(const ERVector3D& axis, double angle) {
    const ERVector3D unit = axis.getnormalized();
    const double sine = std::sin(angle / 2.0);
    w = std::cos(angle / 2.0);
    x = sine * unit.i();
    y = sine * unit.j();
    z = sine * unit.k();
}

ERQuaternion::ERQuaternion(const ERVec<double>& elements) {
    if (elements.length() == 3) {
        *this = fromTangentVector(elements[0], elements[1], elements[2]);
    } else if (elements.length() == 4) {
        w = elements[0];
        x = elements[1];
        y = elements[2];
        z = elements[3];
    }
}

ERQuaternion::ERQuaternion(const ERMatrix<double>& m) {
    KERF_CHECK_ARGUMENT(m.rows() == 3 && m.cols() == 3);
    const double trace = m(0, 0) + m(1, 1) + m(2, 2);
    if (trace > 0.0) {
        const double s = std::sqrt(trace + 1.0);
        const double r = 0.5 / s;
        w = s / 2.0;
        x = (m(2, 1) - m(1, 2)) * r;
        y = (m(0, 2) - m(2, 0)) * r;
        z = (m(1, 0) - m(0, 1)) * r;
        return;
    }
    unsigned int i = 0;
    if (m(1, 1) > m(0, 0)) i = 1;
    if (m(2, 2) > m(i, i)) i = 2;
    const unsigned int j = (i + 1) % 3;
    const unsigned int k = (j + 1) % 3;
    const double s = std::sqrt(m(i, i) - m(j, j) - m(k, k) + 1.0);
    const double r = 0.5 / s;
    double vector[3];
    vector[i] = s / 2.0;
    vector[j] = (m(j, i) + m(i, j)) * r;
    vector[k] = (m(k, i) + m(i, k)) * r;
    w = (m(k, j) - m(j, k)) * r;
    x = vector[0];
    y = vector[1];
    z = vector[2];
}

ERQuaternion ERQuaternion::operator+(const ERQuaternion& b) const {
    ERQuaternion sum;
    sum.w = w + b.w;
    sum.x = x + b.x;
    sum.y = y + b.y;
    sum.z = z + b.z;
    return sum;
}

ERQuaternion ERQuaternion::operator-(const ERQuaternion& b) const {
    ERQuaternion difference;
    difference.w = w - b.w;
    difference.x = x - b.x;
    difference.y = y - b.y;
    difference.z = z - b.z;
    return difference;
}

ERQuaternion ERQuaternion::operator*(const ERQuaternion& b) const {
    ERQuaternion product;
    product.w = w * b.w - x * b.x - y * b.y - z * b.z;
    product.x = x * b.w + b.x * w + b.z * y - z * b.y;
    product.y = b.y * w + y * b.w + b.x * z - x * b.z;
    product.z = z * b.w + b.z * w + b.y * x - y * b.x;
    return product;
}

ERQuaternion ERQuaternion::operator*(double factor) const {
    ERQuaternion scaled;
    scaled.w = factor * w;
    scaled.x = factor * x;
    scaled.y = factor * y;
    scaled.z = factor * z;
    return scaled;
}

ERQuaternion operator*(double factor, const ERQuaternion& q) { return q * factor; }

ERQuaternion ERQuaternion::operator-() const {
    ERQuaternion negative;
    negative.w = -w;
    negative.x = -x;
    negative.y = -y;
    negative.z = -z;
    return negative;
}

double ERQuaternion::Dot(const ERQuaternion& b) const {
    return w * b.w + x * b.x + y * b.y + z * b.z;
}

double ERQuaternion::Norm2() const { return Dot(*this); }

ERQuaternion ERQuaternion::Inverse() const {
    const double n = Norm2();
    if (n > 0.0) return dividedBy(n, UnitInverse());
    ERQuaternion zero;
    zero.w = 0.0;
    return zero;
}

ERQuaternion ERQuaternion::UnitInverse() const {
    ERQuaternion conjugate(*this);
    conjugate.x = -x;
    conjugate.y = -y;
    conjugate.z = -z;
    return conjugate;
}

ERQuaternion ERQuaternion::Exp() const {
    const double angle = std::sqrt(x * x + y * y + z * z);
    const double sine = std::sin(angle);
    const double factor = std::fabs(sine) >= smallSine ? sine / angle : 1.0;
    ERQuaternion result = *this * factor;
    result.w = std::cos(angle);
    return result;
}

ERQuaternion ERQuaternion::Log() const {
    double factor = 1.0;
    if (std::fabs(w) < 1.0) {
        const double angle = std::acos(w);
        const double sine = std::sin(angle);
        if (std::fabs(sine) >= smallSine) factor = angle / sine;
    }
    ERQuaternion result = *this * factor;
    result.w = 0.0;
    return result;
}

ERVector3D ERQuaternion::Axis() const { return ERVector3D(x, y, z).getnormalized(); }

double ERQuaternion::Angle() const { return 2.0 * std::atan2(std::sqrt(x * x + y * y + z * z), w); }

ERMatrix<double> ERQuaternion::GetMatrix() const { return asLinearMap().asMatrix(); }

LinearMap ERQuaternion::asLinearMap() const {
    return {1.0 - 2.0 * (z * z + y * y), 2.0 * (x * y - w * z),       2.0 * (x * z + w * y),
            2.0 * (x * y + w * z),       1.0 - 2.0 * (z * z + x * x), 2.0 * (y * z - w * x),
            2.0 * (x * z - w * y),       2.0 * (y * z + w * x),       1.0 - 2.0 * (y * y + x * x)};
}

ERVector3D ERQuaternion::operator*(const ERVector3D& v) const { return asLinearMap()(v); }

ERQuaternion ERQuaternion::Slerp(double t, const ERQuaternion& p, const ERQuaternion& q) {
    const double angle = std::acos(p.Dot(q));
    if (!(std::fabs(angle) >= smallArc)) return p;
    return dividedBy(std::sin(angle), std::sin((1.0 - t) * angle) * p + std::sin(t * angle) * q);
}

ERQuaternion ERQuaternion::SlerpExtraSpins(double t, const ERQuaternion& p, const ERQuaternion& q,
                                           int spins) {
    const double angle = std::acos(p.Dot(q));
    if (!(std::fabs(angle) >= smallArc)) return p;
    const double phase = spins * pi * t;
    return dividedBy(std::sin(angle),
                     std::sin((1.0 - t) * angle - phase) * p + std::sin(t * angle + phase) * q);
}

void ERQuaternion::Intermediate(const ERQuaternion& q0, const ERQuaternion& q1,
                                const ERQuaternion& q2, ERQuaternion& a, ERQuaternion& b) {
    const ERQuaternion middle(q1);  // a or b may be one of the arguments
    const ERQuaternion before = (q0.UnitInverse() * middle).Log();
    const ERQuaternion after = (middle.UnitInverse() * q2).Log();
    const ERQuaternion argument = 0.25 * (before - after);
    a = middle * argument.Exp();
    b = middle * (-argument).Exp();
}

ERQuaternion ERQuaternion::Squad(double t, const ERQuaternion& q0, const ERQuaternion& a,
                                 const ERQuaternion& b, const ERQuaternion& q1) {
    return Slerp(2.0 * t * (1.0 - t), Slerp(t, q0, q1), Slerp(t, a, b));
}

void find_lock_quaternion(ERVector3D from, ERVector3D to, ERQuaternion& result) {
    from.normalize();
    to.normalize();
    ERVector3D axis = from ^ to;
    double cosine = from * to;
    ERQuaternion before;
    if (norme(axis) < nearlyParallel) {
        before = ERQuaternion(perpendicularTo(to), pi / 2.0);
        from = before * from;
        from.normalize();
        axis = from ^ to;
        cosine = from * to;
    }
    const double sine = norme(axis);
    result = ERQuaternion(axis, std::atan2(sine, cosine)) * before;
}

void find_lock_matrix(ERVector3D from, ERVector3D to, ERMatrix<double>& result) {
    ERQuaternion lock;
    find_lock_quaternion(from, to, lock);
    result = lock.GetMatrix();
}

void find_flip_matrix(ERVector3D axis, ERMatrix<double>& result) {
    axis.normalize();
    result = ERQuaternion(perpendicularTo(axis), pi).GetMatrix();
}

}  // namespace kerf
