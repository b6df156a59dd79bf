#include <cmath>

#include "kerf/numerics/constants.h"
#include "kerf/numerics/linear_solvers.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/orthonormal_frame.h"
#include "kerf/values/quaternion.h"
#include "kerf/values/transformation_3d.h"
#include "kerf/values/transformation_3d_representation.h"

namespace kerf {

namespace {

constexpr double verticalAxis =
    comparisonTolerance;  // length of the first column's part across the z axis

// centre stays where it is under the result.
ERPmIsometrie3D about(const ERPoint3D& centre, const ERPmIsometrie3D& rotation) {
    return ERTranslation3D(centre) * rotation * ERTranslation3D(-centre);
}

}  // namespace

ERPmIsometrie3D ERIdentity3D() { return ERPmIsometrie3D(); }

ERPmIsometrie3D ERTranslation3D(const ERPoint3D& t) {
    return ERPmIsometrie3D(new _ERTranslation3D(t));
}

ERPmIsometrie3D ERTranslation3D(const ERVector3D& t) {
    return ERTranslation3D(ERPoint3D(t.i(), t.j(), t.k()));
}

ERPmSimilitude3D ERScaling3D(double factor) { return ERPmSimilitude3D(new _ERScaling3D(factor)); }

ERPmIsometrie3D ERSymetrie3D(enum Coord3D k) {
    LinearMap mirror;
    if (k == Coord3D::CoordX) mirror.xx = -1.0;
    if (k == Coord3D::CoordY) mirror.yy = -1.0;
    if (k == Coord3D::CoordZ) mirror.zz = -1.0;
    return ERPmIsometrie3D(new _ERSymetrie3D(mirror.asMatrix()));
}

ERPmIsometrie3D ERSymetrie3D(const ERVector3D& normal) {
    const LinearMap frame = orthonormalFrame(normal);
    LinearMap mirror;
    mirror.zz = -1.0;
    return ERPmIsometrie3D(new _ERSymetrie3D((frame * mirror * frame.transposed()).asMatrix()));
}

ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& matrix, const ERPoint3D& translation,
                                double factor) {
    return ERPmSimilitude3D(new _ERSimilitude3D(matrix, translation, factor));
}

ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& matrix) {
    return ERPmSimilitude3D(new _ERSimilitude3D(matrix));
}

ERPmIsometrie3D ERRotation3D(enum Coord3D axis, ERRadian angle) {
    const double c = std::cos(static_cast<double>(angle));
    const double s = std::sin(static_cast<double>(angle));
    LinearMap rotation;
    if (axis == Coord3D::CoordX) rotation = {1.0, 0.0, 0.0, 0.0, c, -s, 0.0, s, c};
    if (axis == Coord3D::CoordY) rotation = {c, 0.0, s, 0.0, 1.0, 0.0, -s, 0.0, c};
    if (axis == Coord3D::CoordZ) rotation = {c, -s, 0.0, s, c, 0.0, 0.0, 0.0, 1.0};
    return ERPmIsometrie3D(new _ERRotation3D(rotation.asMatrix()));
}

ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, ERRadian angle) {
    double wholeTurns = 0.0;
    const double radians = static_cast<double>(angle);
    if (std::modf(radians * 0.5 / pi, &wholeTurns) == 0.0)
        return ERPmIsometrie3D(new _ERRotation3D(IdentityMatrix(3)));
    return ERRotation3D(ERQuaternion(axis, radians));
}

ERPmIsometrie3D ERRotation3D(const ERQuaternion& quaternion) {
    return ERPmIsometrie3D(new _ERRotation3D(quaternion.GetMatrix()));
}

ERPmIsometrie3D ERRotation3D(const ERVector3D& from, const ERVector3D& to) {
    ERQuaternion lock;
    find_lock_quaternion(from, to, lock);
    return ERRotation3D(lock);
}

ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, const ERPoint3D& centre, ERRadian angle) {
    return about(centre, ERRotation3D(axis, angle));
}

ERPmIsometrie3D ERRotationAtFixPoint(const ERVector3D& from, const ERVector3D& to,
                                     const ERPoint3D& centre) {
    return about(centre, ERRotation3D(from, to));
}

ERPmIsometrie3D ERChgRepere3D(const ERVector3D& z, const ERPoint3D& o) {
    return ERPmIsometrie3D(new _ERWorkplane(z, o));
}

ERPmIsometrie3D ERChgRepere3D(const ERVector3D& x, const ERVector3D& y, const ERPoint3D& o) {
    return ERPmIsometrie3D(new _ERWorkplane(x, y, o));
}

void ConvertToNeutral(const ERPmIsometrie3D& t, double (*neutral)[4]) {
    const LinearMap m(t.getMatrix());
    const ERPoint3D o = t.origine();
    const double rows[4][4] = {{m.xx, m.xy, m.xz, o.x()},
                               {m.yx, m.yy, m.yz, o.y()},
                               {m.zx, m.zy, m.zz, o.z()},
                               {0.0, 0.0, 0.0, 1.0}};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) neutral[r][c] = rows[r][c];
}

void ConvertFromNeutral(const double (*neutral)[4], ERPmIsometrie3D& t) {
    const auto& n = neutral;
    const LinearMap m(n[0][0], n[0][1], n[0][2], n[1][0], n[1][1], n[1][2], n[2][0], n[2][1],
                      n[2][2]);
    t = ERPmIsometrie3D(
        new _ERSimilitude3D(m.asMatrix(), ERPoint3D(n[0][3], n[1][3], n[2][3]), 1.0));
}

void computeEulerAngles(const ERMatrix<double>& m, double& a, double& b, double& c) {
    const LinearMap e(m);
    const double across = std::sqrt(e.xx * e.xx + e.yx * e.yx);
    b = std::atan2(-e.zx, across);
    if (across > verticalAxis) {
        a = std::atan2(e.zy, e.zz);
        c = std::atan2(e.yx, e.xx);
    } else {
        a = std::atan2(-e.yz, e.yy);
        c = 0.0;
    }
}

void computeEulerAngles(const ERPmIsometrie3D& t, double& a, double& b, double& c) {
    computeEulerAngles(t.getMatrix(), a, b, c);
}

ERPoint3D operator*(const ERMatrix<double>& matrix, const ERPoint3D& p) {
    return LinearMap(matrix)(p);
}

ERVector3D operator*(const ERMatrix<double>& matrix, const ERVector3D& v) {
    return LinearMap(matrix)(v);
}

ERPoint3D mulInverseIsoMat(const ERMatrix<double>& matrix, const ERPoint3D& p) {
    return LinearMap(matrix).transposed()(p);
}

ERVector3D mulInverseIsoMat(const ERMatrix<double>& matrix, const ERVector3D& v) {
    return LinearMap(matrix).transposed()(v);
}

}  // namespace kerf
