#pragma once
#include "kerf/core/smart_pointer.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/entity.h"
#include "kerf/values/limits.h"
#include "kerf/values/point.h"
#include "kerf/values/vector_instances.h"

// The roots of every curve, in the plane and in space, and what each curve can do from its
// evaluation alone.
//
// A family of curves is a pair of twins. What is the same in both is written once over a Space
// (values/space.h); the classes here and in the families declare it.
//
// Threads: a curve, with whatever shares its storage, belongs to one thread at a time. Reading may
// fill its caches.
namespace kerf {

class ERCpoleNURBS2D;
class ERCpoleNURBS3D;
class ERInfoPoint2D;
class ERInfoPoint3DWF;
class ERMinimax2D;
class ERMinimax3D;
class ERPmIsometrie3D;
class ERPoint12List;
class ERPoint13List;
class EREntity3DWF;

/// A one-dimensional entity of the plane: a curve, or an outline made of curves.
class KERF_EXPORT EREntity2DWF : public EREntity2D {
    ER_OBJECT_CLASS(EREntity2DWF);

public:
    /// The entity of space that this one is in the plane z = 0 of the frame t.
    virtual t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& t) const = 0;
    /// Turns the direction of travel over, where there is one.
    virtual void reverse() = 0;

protected:
    EREntity2DWF() = default;
    EREntity2DWF(const EREntity2DWF&) = default;
    EREntity2DWF& operator=(const EREntity2DWF&) = default;
};

/// A one-dimensional entity of space.
class KERF_EXPORT EREntity3DWF : public EREntity3D {
    ER_OBJECT_CLASS(EREntity3DWF);

public:
    /// The projection along the third axis of the frame t on its plane z = 0, in the coordinates of
    /// t. The result may be of another class: a circle may give a circle, an ellipse or a segment.
    virtual t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& t) const = 0;
    /// Turns the direction of travel over, where there is one.
    virtual void reverse() = 0;

protected:
    EREntity3DWF() = default;
    EREntity3DWF(const EREntity3DWF&) = default;
    EREntity3DWF& operator=(const EREntity3DWF&) = default;
};

/// A curve of the plane with a parameter. A family overrides what it does better than the bodies
/// here, which need PtCur alone.
///
/// Parameter:  u goes from udeb() to ufin(); getBound() is that interval in increasing order. Only
///             curves bounded by angles may have udeb() > ufin(), and are then clockwise. Values
///             outside are evaluated too; a NaN gives a point of NaNs or of the first piece.
/// Returns:    functions that find parameters append them to the vector they are given, without
///             emptying it, and return its size; -1 (all ones where the result has no sign) when
///             every point of the curve qualifies.
/// Failure:    nothing throws. 0 is "nothing found" or "not possible".
class KERF_EXPORT ERFiniteEntity2DWF : public virtual EREntity2DWF {
    ER_OBJECT_CLASS(ERFiniteEntity2DWF);

public:
    virtual double udeb() const;         ///< the first parameter; here 0
    virtual double ufin() const;         ///< the last parameter; here 1
    virtual int isTrimmed() const;       ///< 1 when a part of the curve is hidden; here 0
    virtual ERLimites getBound() const;  ///< the domain, increasing; here [0, 1]
    /// 1 when the ends agree within tol in each coordinate: a box, not a ball, bounds included.
    virtual int isClosed(double tol) const;
    /// The parameter, the position and the first two derivatives by the parameter.
    virtual ERInfoPoint2D PtCur(double u) const = 0;
    virtual ERPoint2D firstPt() const;
    virtual ERPoint2D lastPt() const;
    virtual ERPoint2D operator()(double u) const;
    /// PtCur at a parameter drawn evenly by the platform's random numbers.
    virtual ERInfoPoint2D randomPoint() const;
    /// Points that follow the curve over `limits` within tol, as far as the deviation at the middle
    /// parameter of each chord tells. A chord is never divided where its parameters differ by 1e-7
    /// or less, whatever tol.
    virtual ERVec<ERPoint2D> approxime(const ERLimites& limits, double tol) const;
    /// n points at equal steps of the parameter over getBound(), both ends included; none for n < 1.
    /// Kept: for n = 1 the step is 0/0, and the one point is that of a NaN parameter.
    virtual ERVec<ERPoint2D> approxime(int n) const;
    virtual ERMinimax2D getBox() const = 0;  ///< holds the curve; how tightly, each family says
    virtual ERCpoleNURBS2D ConvertToNurbs() const = 0;
    /// The length over `limits`, and of the whole curve, within tol.
    virtual double arcLength(ERLimites limits, double tol) const = 0;
    virtual double arcLength(double tol) const = 0;
    /// A length that is not smaller than the curve's; here arcLength(1e-7).
    virtual double upperEstimate() const;
    /// Makes two new curves of the parts before and after u. Returns 1, or 0 with both pointers as
    /// they were.
    virtual int splitAt(t_SmartPtr<ERFiniteEntity2DWF>& left, t_SmartPtr<ERFiniteEntity2DWF>& right,
                        double u) const = 0;
    /// Appends the parameters of the crossings with the line X = x; here none, and returns 0.
    virtual unsigned int intersectWithAxeY(double x, ERVec<double>& parameters) const;
    /// Appends the parameters of the crossings with the line through `p` to which `normal` is
    /// normal, by intersectWithAxeY of a copy moved into the frame of that line.
    virtual unsigned int intersectWith(const ERPoint2D& p, const ERVector2D& normal,
                                       ERVec<double>& parameters) const;
    /// Appends the parameters of the feet of p; here none, and returns 0.
    virtual int ProjectPoint(const ERPoint2D& p, ERVec<double>& parameters, double tol) const;
    /// The unit vector to the left of the direction of travel; zero where the derivative is zero.
    virtual ERVector2D normal(double u) const;
    /// The three-argument form with a third argument of its own.
    /// Kept: it is no override of the entity's form for constant objects. Through an EREntity2D a
    /// curve finds nothing unless its family says otherwise.
    virtual EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance);
    /// NoFootPoint, with distance as it was, when ProjectPoint finds no foot;
    /// NearestPointNotUnique when every point is one, else SingleNearestPoint. The third argument is
    /// not written.
    /// Kept: the distance is 0 wherever a foot exists, for the search starts from 0 and looks for
    /// something smaller. Families with a true signed distance override this.
    virtual EREntity::DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& distance,
                                                       double& unused);
    using EREntity2D::SignedMinimalDistance;
    /// 1 when the derivatives up to that order are continuous; here 1.
    virtual int IsContinuous(int order) const;
    /// Empties the vector, then writes the parameters at which a derivative up to that order jumps;
    /// here none. Returns 1.
    virtual int GetDiscontinuities(int order, ERVec<double>& parameters) const;

protected:
    ERFiniteEntity2DWF() = default;
    ERFiniteEntity2DWF(const ERFiniteEntity2DWF&) = default;
    ERFiniteEntity2DWF& operator=(const ERFiniteEntity2DWF&) = default;

    /// Starts the list of an approximation with points in increasing order of the parameter; here
    /// the ends of `limits`. Families add points where one chord must not be trusted.
    virtual void prepareApprox(ERPoint12List& list, const ERLimites& limits, double tol) const;
};

/// A curve of space with a parameter. As ERFiniteEntity2DWF, but that there is no normal and no
/// signed distance: SignedMinimalDistance is that of the entity, which finds nothing.
class KERF_EXPORT ERFiniteEntity3DWF : public virtual EREntity3DWF {
    ER_OBJECT_CLASS(ERFiniteEntity3DWF);

public:
    virtual double udeb() const;
    virtual double ufin() const;
    virtual int isTrimmed() const;
    virtual ERLimites getBound() const;
    virtual int isClosed(double tol) const;
    virtual ERInfoPoint3DWF PtCur(double u) const = 0;
    virtual ERPoint3D firstPt() const;
    virtual ERPoint3D lastPt() const;
    virtual ERPoint3D operator()(double u) const;
    virtual ERInfoPoint3DWF randomPoint() const;
    virtual ERVec<ERPoint3D> approxime(const ERLimites& limits, double tol) const;
    virtual ERVec<ERPoint3D> approxime(int n) const;
    virtual ERMinimax3D getBox() const = 0;
    virtual ERCpoleNURBS3D ConvertToNurbs() const = 0;
    virtual double arcLength(ERLimites limits, double tol) const = 0;
    virtual double arcLength(double tol) const = 0;
    virtual double upperEstimate() const;
    virtual int splitAt(t_SmartPtr<ERFiniteEntity3DWF>& left, t_SmartPtr<ERFiniteEntity3DWF>& right,
                        double u) const = 0;
    /// Appends the parameters of the crossings with the plane Z = z; here none, and returns 0.
    virtual unsigned int intersectWithPlanZ(double z, ERVec<double>& parameters) const;
    /// Appends the parameters of the crossings with the plane through `p` to which `normal` is
    /// normal, by intersectWithPlanZ of a copy moved into the frame of that plane.
    virtual unsigned int intersectWith(const ERPoint3D& p, const ERVector3D& normal,
                                       ERVec<double>& parameters) const;
    virtual int ProjectPoint(const ERPoint3D& p, ERVec<double>& parameters, double tol) const;
    virtual int IsContinuous(int order) const;
    virtual int GetDiscontinuities(int order, ERVec<double>& parameters) const;

protected:
    ERFiniteEntity3DWF() = default;
    ERFiniteEntity3DWF(const ERFiniteEntity3DWF&) = default;
    ERFiniteEntity3DWF& operator=(const ERFiniteEntity3DWF&) = default;

    virtual void prepareApprox(ERPoint13List& list, const ERLimites& limits, double tol) const;
};

}  // namespace kerf
