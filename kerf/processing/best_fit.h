#pragma once
#include <limits>

#include "kerf/numerics/eigen.h"
#include "kerf/numerics/matrix.h"
#include "kerf/numerics/newton_solvers.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/point.h"
#include "kerf/values/quaternion.h"
#include "kerf/values/transformation_3d.h"

// Best fit of paired points: the rigid motion that brings a measured list onto a nominal one with
// the least sum of squared distances, and the deviation that remains. No scale and no mirror image
// is fitted.
//
//     ERPointSetBestFitSolver1  closed form (Horn, Closed-form solution of absolute orientation
//                               using unit quaternions, 1987). To be preferred: it finds the best
//                               motion wherever the lists lie, fits degenerate sets too, and
//                               takes locks of axis, translation and origin.
//     ERPointSetBestFitSolver   Newton iteration on three rotation parameters, which finds a
//                               stationary rotation near its start. For programs that want points
//                               in line or coincident refused.
//
// A program calls reset, add_point for each pair, the locks, solve and get_deviation, in this order.
//
// Threads: a solver is used by one thread at a time.
namespace kerf {

struct LinearMap;

/// What solve returns.
enum BSTF_RESULT {
    BestFitDone = 0,
    BestFitTooFewPoints = -1,    ///< fewer than three pairs
    BestFitNotConverged = -2,    ///< the iteration met its limit in every try
    BestFitSingular = -3,        ///< the iteration met a singular or diverging step
    BestFitNoStartingFrame = -4  ///< coincident points, or points exactly in line
};

/// The pairs, the last transformation found and its deviation.
/// Failure: solve returns a code, nothing throws. Points with NaN or infinite coordinates give one
///          of the codes, or a transformation that is not finite.
class KERF_EXPORT ERPointSetBestFitSolverBase {
public:
    virtual int nb_points() const;
    /// Appends a pair: p is to be moved onto q.
    virtual void add_point(const ERPoint3D& p, const ERPoint3D& q);
    /// Moves first onto second: result >> p is where p goes.
    virtual BSTF_RESULT solve(ERPmIsometrie3D& result) = 0;
    /// Empties the lists and, unless capacity is -1, reserves that many pairs; -1 keeps the memory
    /// there is. Transformation, deviation and locks stay.
    virtual void reset(int capacity);
    /// The deviation stored by solve or, where solve left that open, the root of the mean squared
    /// distance under the last transformation, kept until the next solve. 0 without points.
    virtual double get_deviation();

    virtual ~ERPointSetBestFitSolverBase();

protected:
    static constexpr double notComputed = -1.0;

    ERPointSetBestFitSolverBase() = default;
    ERPointSetBestFitSolverBase(const ERPointSetBestFitSolverBase&) = default;
    ERPointSetBestFitSolverBase& operator=(const ERPointSetBestFitSolverBase&) = default;

    /// The mean of the squared distances between the transformed first points and the second ones.
    double meanSquaredDistance(const ERPmIsometrie3D& transform) const;

    ERVec<ERPoint3D> first;
    ERVec<ERPoint3D> second;
    ERPmIsometrie3D lastTransform;
    double deviation = notComputed;
};

/// The free problem by Newton iteration. The start comes from frames on four well-spread points, so
/// that a few iterations do for measured points; it converges to a stationary rotation near that
/// start.
class KERF_EXPORT ERPointSetBestFitSolver : public ERPointSetBestFitSolverBase {
public:
    /// The rotation parameters: 0 for three angles, anything else for a quaternion. Prefer the
    /// quaternion: the Jacobian of the angle form is symmetrised, so that it converges linearly, and
    /// slowly on long thin sets.
    explicit ERPointSetBestFitSolver(int quaternionForm) : useQuaternion(quaternionForm) {}

    /// Any of the codes. The result is the identity after -2 and -3 and left as it was after -1 and
    /// -4; get_deviation returns 1000.0 after each of them.
    BSTF_RESULT solve(ERPmIsometrie3D& result) override;

protected:
    int useQuaternion;
};

/// The problem of the Newton solver: the sum of (R a) x b over all pairs, which is zero for the
/// least-squares rotation R. It is linear in the nine entries of R.
class KERF_EXPORT ERPointSetBestFitSolverFunction : public ERCNewtonMDelta {
public:
    /// From three parameters to the nine entries of a rotation matrix.
    using Rotation = LinearMap (*)(const ERVec<double>& parameters);

    /// The coefficients are 3 rows of 9, for the entries of R row by row.
    ERPointSetBestFitSolverFunction(const ERMatrix<double>& coefficients, Rotation rotation,
                                    double increment);

    ERVec<double> f(const ERVec<double>& x) override;

private:
    ERMatrix<double> coefficients_;
    Rotation rotation_;
};

/// The closed form, with locks, which stay over reset. With an axis locked, translation locks do
/// nothing; without one they allow no rotation. lock_origin acts on the free problem and with an
/// axis: lists are then not centred, so the origin stays where it is.
///
/// Degenerate: sets in line or coincident are fitted. One of the rotations that fit equally well is
///             taken.
/// Kept:       with an axis locked get_deviation returns the mean of the squares, not its root; with
///             translation locks it returns that of the fit before.
class KERF_EXPORT ERPointSetBestFitSolver1 : public ERPointSetBestFitSolverBase {
public:
    ERPointSetBestFitSolver1();

    /// 0, or -1 with the result left as it was.
    BSTF_RESULT solve(ERPmIsometrie3D& result) override;

    /// Only rotations about this direction, of any length.
    void lock_axis(const ERVector3D& axis);
    /// With an axis locked: no translation along it.
    void lock_translations_along_axis() { lockAlongAxis = true; }
    /// With an axis locked: translation along it only. The angle stays that of the free
    /// translation.
    void lock_translations_perp_axis() { lockPerpAxis = true; }
    void lock_origin() { lockOrigin = true; }
    /// No rotation, and no translation along each vector whose int is not 0; the others keep their
    /// lock. The vectors are used as they stand: length 1 is the caller's duty.
    /// Kept: as long as one of the three was never set, the translation is not finite.
    void lock_translations(int lock1, int lock2, int lock3, const ERVector3D& v1,
                           const ERVector3D& v2, const ERVector3D& v3);

    /// Rotation and translation of the last solve: p goes to rotation * p + translation.
    ERQuaternion get_quaternion() const { return rotation; }
    ERVector3D get_translation() const { return translation; }

    /// The mean of the squared distances under a transformation of the caller; 0 without points.
    double square_deviation(const ERPmIsometrie3D& transform) const;

    // The steps of solve, on lists of equal length.

    /// The symmetric 4 by 4 matrix whose largest eigenvalue belongs to the quaternion (w, x, y, z)
    /// of the best rotation.
    void find_matrix_for_eigen(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to,
                               ERMatrix<double>& N);
    /// Its eigenvectors, as columns of N, and its eigenvalues, the smallest first.
    void find_eigens(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to, ERMatrix<double>& N,
                     ERVec<double>& values);
    void find_free_transform(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to,
                             ERPmIsometrie3D& result);
    /// Returns the mean of the squared distances.
    double find_fixed_axis_transform(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to,
                                     const ERVector3D& axis, ERPmIsometrie3D& result);
    void find_locked_rotations_transform(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to,
                                         ERPmIsometrie3D& result);

protected:
    /// The x of a vector that stands for "no lock".
    static constexpr double unlocked = std::numeric_limits<double>::lowest();

    ERVector3D lockedAxis;
    bool lockAlongAxis = false;
    bool lockPerpAxis = false;
    bool lockOrigin = false;
    ERVector3D translationLock1;
    ERVector3D translationLock2;
    ERVector3D translationLock3;
    ERQuaternion rotation;
    ERVector3D translation;
    ERPoint3D firstCentre;
    ERPoint3D secondCentre;
    Mgc::Eigen eigen;

private:
    // Sets the centres; the sum of (from - firstCentre) (to - secondCentre)^T.
    LinearMap centre(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to);
    // find_eigens with the results left in `eigen`.
    void decompose(const ERVec<ERPoint3D>& from, const ERVec<ERPoint3D>& to);
};

}  // namespace kerf
