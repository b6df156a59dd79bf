#include <array>
#include <cmath>

#include "kerf/numerics/constants.h"
#include "kerf/processing/best_fit.h"
#include "kerf/processing/internal/point_pair_sums.h"
#include "kerf/values/transformation_3d_representation.h"

namespace kerf {

namespace {

ERVector3D componentAlong(const ERVector3D& v, const ERVector3D& axis) { return axis * (v * axis); }

// The matrix that ERRotation3D makes of the quaternion.
LinearMap matrixOf(const ERQuaternion& rotation) {
    return rotation.asLinearMap().snapped(comparisonTolerance);
}

ERPmIsometrie3D rigidMotion(const LinearMap& rotation, const ERVector3D& translation) {
    return ERPmIsometrie3D(new _ERWorkplane(rotation.asMatrix(), ERPoint3D(translation)));
}

PointPairSums sumsOver(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to) {
    KERF_CHECK_ARGUMENT(from.length() == to.length());
    return PointPairSums::over(from.data(), to.data(), from.length());
}

// Row by row, of the sums S: S00 + S11 + S22, the differences of what lies across the diagonal, and
// the block S + S^T with the trace subtracted on the diagonal.
std::array<double, 16> quaternionMatrix(const LinearMap& s) {
    const double trace = s.xx + s.yy + s.zz;
    const double wx = s.yz - s.zy, wy = s.zx - s.xz, wz = s.xy - s.yx;
    const double xy = s.xy + s.yx, xz = s.xz + s.zx, yz = s.yz + s.zy;
    const double xx = 2.0 * s.xx - trace, yy = 2.0 * s.yy - trace, zz = 2.0 * s.zz - trace;
    return {trace, wx, wy, wz, wx, xx, xy, xz, wy, xy, yy, yz, wz, xz, yz, zz};
}

}  // namespace

ERPointSetBestFitSolver1::ERPointSetBestFitSolver1()
    : lockedAxis(unlocked, 0.0, 0.0),
      translationLock1(unlocked, 0.0, 0.0),
      translationLock2(unlocked, 0.0, 0.0),
      translationLock3(unlocked, 0.0, 0.0),
      eigen(4) {}

void ERPointSetBestFitSolver1::lock_axis(const ERVector3D& axis) {
    lockedAxis = axis.getnormalized();
}

void ERPointSetBestFitSolver1::lock_translations(int lock1, int lock2, int lock3,
                                                 const ERVector3D& v1, const ERVector3D& v2,
                                                 const ERVector3D& v3) {
    if (lock1) translationLock1 = v1;
    if (lock2) translationLock2 = v2;
    if (lock3) translationLock3 = v3;
}

double ERPointSetBestFitSolver1::square_deviation(const ERPmIsometrie3D& transform) const {
    return meanSquaredDistance(transform);
}

LinearMap ERPointSetBestFitSolver1::centre(const ERVec<ERPoint3D>& from,
                                           const ERVec<ERPoint3D>& to) {
    const PointPairSums sums = sumsOver(from, to);
    firstCentre = lockOrigin ? ERPoint3D() : sums.first;
    secondCentre = lockOrigin ? ERPoint3D() : sums.second;
    // Without an axis these two locks have no meaning. With one, moving the first centre changes only
    // the last bits of the translation, which find_fixed_axis_transform projects anyway.
    if (lockedAxis.i() != unlocked) {
        if (lockAlongAxis)
            firstCentre += componentAlong(ERVector3D(firstCentre, secondCentre), lockedAxis);
        if (lockPerpAxis) {
            const ERVector3D difference(firstCentre, secondCentre);
            firstCentre += difference - componentAlong(difference, lockedAxis);
        }
    }

    // The sums about the two centres, from those about the barycentres.
    const double n = from.length();
    const ERPoint3D u = (sums.first - firstCentre) * n;
    const ERPoint3D v = sums.second - secondCentre;
    const LinearMap& c = sums.cross;
    return {c.xx + u.x() * v.x(), c.xy + u.x() * v.y(), c.xz + u.x() * v.z(),
            c.yx + u.y() * v.x(), c.yy + u.y() * v.y(), c.yz + u.y() * v.z(),
            c.zx + u.z() * v.x(), c.zy + u.z() * v.y(), c.zz + u.z() * v.z()};
}

void ERPointSetBestFitSolver1::find_matrix_for_eigen(const ERVec<ERPoint3D>& from,
                                                     const ERVec<ERPoint3D>& to,
                                                     ERMatrix<double>& N) {
    N = ERMatrix<double>(quaternionMatrix(centre(from, to)).data(), 4, 4);
}

void ERPointSetBestFitSolver1::decompose(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to) {
    const std::array<double, 16> elements = quaternionMatrix(centre(from, to));
    const double* element = elements.data();
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) eigen.Matrix(r, c) = *element++;
    eigen.IncrSortEigenStuff4();
}

void ERPointSetBestFitSolver1::find_eigens(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to,
                                           ERMatrix<double>& N, ERVec<double>& values) {
    decompose(from, to);
    N = ERMatrix<double>(4, 4);
    double* element = N.data();
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) *element++ = eigen.GetEigenvector(r, c);
    values = ERVec<double>(eigen.GetEigenvalue(), 4);
}

void ERPointSetBestFitSolver1::find_free_transform(const ERVec<ERPoint3D>& from,
                                                   const ERVec<ERPoint3D>& to,
                                                   ERPmIsometrie3D& result) {
    decompose(from, to);
    rotation.w = eigen.GetEigenvector(0, 3);
    rotation.x = eigen.GetEigenvector(1, 3);
    rotation.y = eigen.GetEigenvector(2, 3);
    rotation.z = eigen.GetEigenvector(3, 3);
    const LinearMap matrix = matrixOf(rotation);
    translation = secondCentre - matrix(firstCentre);
    result = rigidMotion(matrix, translation);
}

// About a fixed axis the sum of squares is, but for a constant, -(A cos t + 2 B sin t) with the
// angle t.
double ERPointSetBestFitSolver1::find_fixed_axis_transform(const ERVec<ERPoint3D>& from,
                                                           const ERVec<ERPoint3D>& to,
                                                           const ERVector3D& axis,
                                                           ERPmIsometrie3D& result) {
    const ERVector3D unit = axis.getnormalized();
    decompose(from, to);
    double cosine = 0.0, halfSine = 0.0;
    for (int i = 0; i < 4; ++i) {
        const double lambda = eigen.GetEigenvalue(i);
        const double w = eigen.GetEigenvector(0, i);
        const double d = ERVector3D(eigen.GetEigenvector(1, i), eigen.GetEigenvector(2, i),
                                    eigen.GetEigenvector(3, i)) *
                         unit;
        cosine += lambda * (w - d) * (w + d);
        halfSine += lambda * w * d;
    }
    const double angle = std::atan2(2.0 * halfSine, cosine);

    struct Candidate {
        ERQuaternion rotation;
        ERVector3D translation;
        ERPmIsometrie3D motion;
        double squares;
    };
    const auto candidate = [&](double radians) {
        Candidate c;
        c.rotation = ERQuaternion(unit, radians);
        const LinearMap matrix = matrixOf(c.rotation);
        c.translation = secondCentre - matrix(firstCentre);
        if (lockAlongAxis) c.translation -= componentAlong(c.translation, unit);
        if (lockPerpAxis) c.translation = componentAlong(c.translation, unit);
        c.motion = rigidMotion(matrix, c.translation);
        c.squares = sumOfSquaredDistances(from.data(), to.data(), from.length(),
                                          LinearMap(c.motion.getMatrix()), c.motion.getTrans());
        return c;
    };
    const Candidate direct = candidate(angle);
    const Candidate opposite = candidate(angle + pi);
    const Candidate& best = direct.squares < opposite.squares ? direct : opposite;
    rotation = best.rotation;
    translation = best.translation;
    result = best.motion;
    return from.length() == 0 ? 0.0 : best.squares / from.length();
}

void ERPointSetBestFitSolver1::find_locked_rotations_transform(const ERVec<ERPoint3D>& from,
                                                               const ERVec<ERPoint3D>& to,
                                                               ERPmIsometrie3D& result) {
    const PointPairSums sums = sumsOver(from, to);
    firstCentre = sums.first;
    secondCentre = sums.second;
    translation = secondCentre - firstCentre;
    for (const ERVector3D& lock : {translationLock1, translationLock2, translationLock3}) {
        // An unset lock holds the negative of this, so that it is not left out, and its huge x takes
        // the translation out of range.
        if (lock.i() == std::numeric_limits<double>::max()) continue;
        translation -= componentAlong(translation, lock);
    }
    rotation = ERQuaternion();
    result = ERTranslation3D(translation);
}

BSTF_RESULT ERPointSetBestFitSolver1::solve(ERPmIsometrie3D& result) {
    if (first.length() < 3) return BestFitTooFewPoints;
    if (lockedAxis.i() != unlocked) {
        deviation = find_fixed_axis_transform(first, second, lockedAxis, result);
    } else if (translationLock1.i() != unlocked || translationLock2.i() != unlocked ||
               translationLock3.i() != unlocked) {
        find_locked_rotations_transform(first, second, result);
    } else {
        find_free_transform(first, second, result);
        deviation = notComputed;
    }
    lastTransform = result;
    return BestFitDone;
}

}  // namespace kerf
