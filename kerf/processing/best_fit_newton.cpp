#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include "kerf/numerics/constants.h"
#include "kerf/numerics/newton_solvers.h"
#include "kerf/numerics/vector_arithmetic.h"
#include "kerf/processing/best_fit.h"
#include "kerf/processing/internal/point_pair_sums.h"
#include "kerf/values/orthonormal_frame.h"
#include "kerf/values/transformation_3d_representation.h"

namespace kerf {

namespace {

constexpr double failedDeviation = 1000.0;
constexpr unsigned int none = 0xFFFFFFFF;

constexpr double differenceStep = 1e-8;
constexpr double flatness = 1e-8;
constexpr double tolerance = 1e-11;
constexpr int constructionLimit = 400;
// Set on the solver after its construction, in place of the limit given there.
constexpr int iterationLimit = 500;
constexpr int furtherTries = 4;

// Of the other points the one farthest from point `from`, or `none` when all coincide with it.
unsigned int farthestFrom(const ERPoint3D* points, unsigned int n, unsigned int from) {
    const ERPoint3D origin = points[from];
    double largest2 = 0.0;
    unsigned int found = none;
    for (unsigned int i = 0; i < n; ++i) {
        const double length2 = distance2(points[i], origin);
        // Lengths decide: of two squares with the same root the first stays. The point itself is at
        // length 0 and never found.
        if (length2 > largest2 && std::sqrt(length2) > std::sqrt(largest2)) {
            largest2 = length2;
            found = i;
        }
    }
    return found;
}

// The point other than i1 and i2 with the largest sum of its distances to these two.
unsigned int farthestFromBoth(const ERPoint3D* points, unsigned int n, unsigned int i1,
                              unsigned int i2) {
    // The sum of two lengths with the squares q and r is above s only if 4 q r > (s^2 - q - r)^2.
    // Tested with some room for rounding, this spares most points the square roots.
    constexpr double room = 1.0 - 1e-12;
    constexpr double smallestRest = 1e-140;  // has an accurate square
    const ERPoint3D p1 = points[i1], p2 = points[i2];
    double largest = 0.0;
    double bound2 = 0.0;
    unsigned int found = none;
    for (unsigned int i = 0; i < n; ++i) {
        const double q = distance2(points[i], p1), r = distance2(points[i], p2);
        const double rest = bound2 - q - r;
        if (rest > smallestRest && rest * rest > 4.0 * q * r) continue;
        const double sum = std::sqrt(q) + std::sqrt(r);
        if (sum > largest && i != i1 && i != i2) {
            largest = sum;
            bound2 = sum * sum * room;
            found = i;
        }
    }
    return found;
}

// The point seen from point i3 most nearly at a right angle to `direction`. A point that coincides
// with i3 counts as at a right angle.
unsigned int perpendicularTo(const ERPoint3D* points, unsigned int n, unsigned int i3,
                             const ERVector3D& direction) {
    const ERPoint3D p3 = points[i3];
    double smallest = std::numeric_limits<double>::infinity();
    unsigned int found = none;
    for (unsigned int i = 0; i < n; ++i) {
        const double along = std::fabs(ERVector3D(p3, points[i]) * direction);
        if (along < smallest && i != i3) {
            smallest = along;
            found = i;
        }
    }
    return found;
}

bool isZero(const ERVector3D& v) { return v.i() == 0.0 && v.j() == 0.0 && v.k() == 0.0; }

// The matrix of ERChgRepere3D(x, y, ERPoint3D()).
LinearMap cleanFrame(const ERVector3D& x, const ERVector3D& y) {
    return orthonormalFrame(x, y).snapped(comparisonTolerance);
}

// Two difference vectors between four points, of which an orthonormal frame is made.
struct FrameVectors {
    ERVector3D x, y;

    FrameVectors(const ERPoint3D* points, unsigned int i1, unsigned int i2, unsigned int i3,
                 unsigned int i4)
        : x(points[i2], points[i1]), y(points[i4], points[i3]) {}

    // Exact: any length above 0 passes.
    bool spanPlane() const { return !isZero(x) && !isZero(y) && !isZero(x ^ y); }
    // Made twice. Of vectors nearly in line the product is mostly rounding and not at right angles to
    // them; then the first frame has two axes at right angles, of which the second frame is made.
    LinearMap frame() const {
        const LinearMap rough = cleanFrame(x, y);
        return cleanFrame({rough.xx, rough.yx, rough.zx}, {rough.xy, rough.yy, rough.zy});
    }
};

// The rotation from a frame on four well-spread points of `a` to the frame on the same points of
// `b`. False when there is none.
bool findStart(const ERPoint3D* a, const ERPoint3D* b, unsigned int n, LinearMap& start) {
    const unsigned int i1 = farthestFrom(a, n, 0);
    if (i1 == none) return false;
    const unsigned int i2 = farthestFrom(a, n, i1);
    if (i2 == none) return false;
    const unsigned int i3 = farthestFromBoth(a, n, i1, i2);
    if (i3 == none) return false;
    const unsigned int i4 = perpendicularTo(a, n, i3, ERVector3D(a[i2], a[i1]));
    if (i4 == none) return false;

    const FrameVectors from(a, i1, i2, i3, i4);
    const FrameVectors to(b, i1, i2, i3, i4);
    if (!from.spanPlane() || !to.spanPlane()) return false;
    start = to.frame() * from.frame().transposed();
    return true;
}

double largestDistance(const ERPoint3D* points, unsigned int n, const ERPoint3D& centre) {
    const ERPoint3D origin = centre;
    const auto take = [&origin](double& largest, const ERPoint3D& p) {
        const double squared = distance2(p, origin);
        largest = squared > largest ? squared : largest;
    };
    // Eight maxima at a time, which the compiler makes vector code of.
    constexpr unsigned int run = 8;
    double largest[run] = {};
    for (; n >= run; n -= run, points += run)
        for (unsigned int k = 0; k < run; ++k) take(largest[k], points[k]);
    for (unsigned int k = 0; k < n; ++k) take(largest[k], points[k]);
    return std::sqrt(*std::max_element(std::begin(largest), std::end(largest)));
}

// Row r is component r of the sum of (R a) x b, with `mean` the mean of a b^T.
ERMatrix<double> crossProductRows(const LinearMap& mean) {
    const double products[3][3] = {
        {mean.xx, mean.xy, mean.xz}, {mean.yx, mean.yy, mean.yz}, {mean.zx, mean.zy, mean.zz}};
    ERMatrix<double> rows(3, 9);
    for (unsigned int r = 0; r < 3; ++r) {
        const unsigned int p = (r + 1) % 3, q = (r + 2) % 3;
        for (unsigned int k = 0; k < 3; ++k) {
            rows(r, 3 * p + k) = products[k][q];
            rows(r, 3 * q + k) = -products[k][p];
        }
    }
    return rows;
}

LinearMap rotationOfQuaternion(const ERVec<double>& parameters) {
    return ERQuaternion(parameters).asLinearMap();
}

// Rotation by c about x, then by b about y, then by a about z.
LinearMap rotationOfAngles(const ERVec<double>& parameters) {
    const double* const angles = parameters.data();
    const double cosA = std::cos(angles[0]), sinA = std::sin(angles[0]);
    const double cosB = std::cos(angles[1]), sinB = std::sin(angles[1]);
    const double cosC = std::cos(angles[2]), sinC = std::sin(angles[2]);
    return {cosB * cosA,
            sinC * sinB * cosA - sinA * cosC,
            sinB * cosA * cosC + sinC * sinA,
            sinA * cosB,
            sinC * sinB * sinA + cosC * cosA,
            sinB * sinA * cosC - sinC * cosA,
            -sinB,
            sinC * cosB,
            cosC * cosB};
}

}  // namespace

ERPointSetBestFitSolverFunction::ERPointSetBestFitSolverFunction(
    const ERMatrix<double>& coefficients, Rotation rotation, double increment)
    : ERCNewtonMDelta(increment), coefficients_(coefficients), rotation_(rotation) {
    KERF_CHECK_ARGUMENT(coefficients.rows() == 3 && coefficients.cols() == 9);
}

ERVec<double> ERPointSetBestFitSolverFunction::f(const ERVec<double>& x) {
    const LinearMap r = rotation_(x);
    const double entries[9] = {r.xx, r.xy, r.xz, r.yx, r.yy, r.yz, r.zx, r.zy, r.zz};
    const double* row = coefficients_.asVector().data();
    double values[3];
    for (double& value : values) {
        value = dot(row, entries, 9);
        row += 9;
    }
    return ERVec<double>(values, 3);
}

BSTF_RESULT ERPointSetBestFitSolver::solve(ERPmIsometrie3D& result) {
    deviation = failedDeviation;
    const unsigned int n = first.length();
    if (n < 3) return BestFitTooFewPoints;
    const ERPoint3D* const a = std::as_const(first).data();
    const ERPoint3D* const b = std::as_const(second).data();

    LinearMap start;
    if (!findStart(a, b, n, start)) return BestFitNoStartingFrame;

    // The start is a rotation about the centres: the sums of the moved points are the rotated sums of
    // the points as they are, and distances stay.
    const PointPairSums sums = PointPairSums::over(a, b, n);
    double scale = std::fmax(largestDistance(a, n, sums.first), largestDistance(b, n, sums.second));
    if (scale == 0.0) scale = 1.0;
    const double perPair = 1.0 / n;
    const double shrink = 1.0 / scale;
    const LinearMap& s = sums.cross;
    const auto mean = [=](double sum) { return sum * shrink * shrink * perPair; };
    const LinearMap products(mean(s.xx), mean(s.xy), mean(s.xz), mean(s.yx), mean(s.yy), mean(s.yz),
                             mean(s.zx), mean(s.zy), mean(s.zz));

    const auto rotation = useQuaternion != 0 ? rotationOfQuaternion : rotationOfAngles;
    ERPointSetBestFitSolverFunction problem(crossProductRows(start * products), rotation,
                                            differenceStep);
    ERNewtonMSolver newton(&problem, 3, flatness, constructionLimit);
    newton.SetMaxIter(iterationLimit);
    ERVec<double> x(3);
    for (int tries = 0;; ++tries) {
        const int status = newton.Resoudre(x, tolerance);
        if (status == 0 || status == 1) break;
        result = ERPmIsometrie3D();
        if (status != 2) return BestFitSingular;
        if (tries >= furtherTries) return BestFitNotConverged;
    }

    const LinearMap found = rotation(x);
    const LinearMap clean =
        cleanFrame({found.xx, found.yx, found.zx}, {found.xy, found.yy, found.zy});
    const LinearMap total = (clean * start).snapped(comparisonTolerance);
    result = ERPmIsometrie3D(new _ERWorkplane(total.asMatrix(), sums.second - total(sums.first)));
    deviation = notComputed;
    lastTransform = result;
    return BestFitDone;
}

}  // namespace kerf
