#pragma once
#include <cmath>

#include "kerf/numerics/matrix.h"
#include "kerf/values/point.h"

namespace kerf {

/// The nine elements of a 3 by 3 matrix, row by row, as a plain value: what the loops over points
/// keep in registers. Most programs use ERMatrix.
struct LinearMap {
    double xx = 1.0, xy = 0.0, xz = 0.0;
    double yx = 0.0, yy = 1.0, yz = 0.0;
    double zx = 0.0, zy = 0.0, zz = 1.0;

    LinearMap() = default;
    LinearMap(double a, double b, double c, double d, double e, double f, double g, double h,
              double i)
        : xx(a), xy(b), xz(c), yx(d), yy(e), yz(f), zx(g), zy(h), zz(i) {}

    /// Reads the elements once; the unit matrix when the shape is another.
    explicit LinearMap(const ERMatrix<double>& m) {
        if (!fits(m)) return;
        const double* const e = m.data();
        *this = {e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]};
    }
    static LinearMap fromColumns(const ERVector3D& a, const ERVector3D& b, const ERVector3D& c) {
        return {a.i(), b.i(), c.i(), a.j(), b.j(), c.j(), a.k(), b.k(), c.k()};
    }

    static bool fits(const ERMatrix<double>& m) {
        return m.rows() == 3 && m.cols() == 3 && m.length() == 9;
    }

    ERMatrix<double> asMatrix() const {
        const double elements[9] = {xx, xy, xz, yx, yy, yz, zx, zy, zz};
        return ERMatrix<double>(elements, 3, 3);
    }
    LinearMap transposed() const { return {xx, yx, zx, xy, yy, zy, xz, yz, zz}; }

    /// Element by element; NaN is not within.
    bool isUnit(double tolerance) const {
        const auto within = [tolerance](double a, double b) {
            return std::fabs(a - b) <= tolerance;
        };
        return within(xx, 1.0) && within(xy, 0.0) && within(xz, 0.0) && within(yx, 0.0) &&
               within(yy, 1.0) && within(yz, 0.0) && within(zx, 0.0) && within(zy, 0.0) &&
               within(zz, 1.0);
    }
    /// The unit matrix where this is it within the tolerance, else this: a rotation as the handles
    /// of transformations hold it.
    LinearMap snapped(double tolerance) const { return isUnit(tolerance) ? LinearMap() : *this; }

    ERPoint3D operator()(double x, double y, double z) const {
        return ERPoint3D(xx * x + xy * y + xz * z, yx * x + yy * y + yz * z,
                         zx * x + zy * y + zz * z);
    }
    ERPoint3D operator()(const ERPoint3D& p) const { return (*this)(p.x(), p.y(), p.z()); }
    ERVector3D operator()(const ERVector3D& v) const {
        return ERVector3D((*this)(v.i(), v.j(), v.k()));
    }
};

inline LinearMap operator*(const LinearMap& a, const LinearMap& b) {
    return {a.xx * b.xx + a.xy * b.yx + a.xz * b.zx, a.xx * b.xy + a.xy * b.yy + a.xz * b.zy,
            a.xx * b.xz + a.xy * b.yz + a.xz * b.zz, a.yx * b.xx + a.yy * b.yx + a.yz * b.zx,
            a.yx * b.xy + a.yy * b.yy + a.yz * b.zy, a.yx * b.xz + a.yy * b.yz + a.yz * b.zz,
            a.zx * b.xx + a.zy * b.yx + a.zz * b.zx, a.zx * b.xy + a.zy * b.yy + a.zz * b.zy,
            a.zx * b.xz + a.zy * b.yz + a.zz * b.zz};
}

}  // namespace kerf
