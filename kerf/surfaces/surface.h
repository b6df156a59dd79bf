#pragma once
#include "kerf/core/smart_pointer.h"
#include "kerf/core/stored_fields.h"
#include "kerf/numerics/matrix.h"
#include "kerf/platform/config.h"
#include "kerf/values/entity.h"
#include "kerf/values/limits.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/transformation_3d.h"
#include "kerf/values/vector_instances.h"

// The roots of every surface, and what each surface can do from its evaluation and its iso curves.
//
// A surface is a map from a pair of parameters (u, v) to a point of space. What has no limits stops
// at ERSurface; what has a parameter rectangle is an ERAnyBoundedSurface.
//
// Threads: a surface, with whatever shares its storage, belongs to one thread at a time. Reading may
// fill its caches.
namespace kerf {

class ERFiniteEntity3DWF;
class ERInfoPoint3DSurf;
class ERMinimax3D;
class ERProcessMaillage;
class ERRaySurfaceResult;

/// A two-dimensional entity of space.
/// Failure: nothing throws. 0 is "no solution" or "not possible", and leaves the arguments as they
///          were.
class KERF_EXPORT ERSurface : public EREntity3D {
    ER_OBJECT_CLASS(ERSurface);

public:
    /// Turns the surface over: its normal, or its two parameters; here nothing.
    virtual void reverse();
    /// The foot of p, and the unit normal there. Returns 1; here 0.
    virtual int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const;
    /// Moves the surface by a distance along its normal; here nothing.
    virtual void offset(double distance);

protected:
    ERSurface() = default;
    ERSurface(const ERSurface&) = default;
    ERSurface& operator=(const ERSurface&) = default;
};

/// A surface over a rectangle of parameters. A family overrides what it does better than the bodies
/// here.
///
/// Parameter: u goes from udeb() to ufin() and v from vdeb() to vfin(). Values outside are evaluated
///            too; a NaN gives a point of NaNs or of the first piece.
/// Storage:   nothing of its own; the grid of points is not stored.
class KERF_EXPORT ERAnyBoundedSurface : public virtual ERSurface {
    ER_OBJECT_CLASS(ERAnyBoundedSurface);
    ER_STORED_FIELDS(ERAnyBoundedSurface);

public:
    virtual double udeb() const = 0;
    virtual double ufin() const = 0;
    virtual double vdeb() const = 0;
    virtual double vfin() const = 0;
    virtual ERLimites getBoundU() const;  ///< udeb() to ufin()
    virtual ERLimites getBoundV() const;  ///< vdeb() to vfin()

    /// The point at (u, v) with its derivatives up to the second order.
    virtual ERInfoPoint3DSurf PtCur(double u, double v) const = 0;
    ERInfoPoint3DSurf PtCur(const ERPoint2D& uv) const;
    virtual ERPoint3D operator()(double u, double v) const;
    ERPoint3D operator()(const ERPoint2D& uv) const { return (*this)(uv.x(), uv.y()); }
    /// A point drawn by the platform's random numbers, v before u.
    /// Kept: the ratio drawn is from -1 to 1, so that three points of four lie outside the
    ///       rectangle, before its start.
    virtual ERInfoPoint3DSurf randomPoint() const;
    virtual ERMinimax3D getBox() const = 0;  ///< how tightly it holds the surface, each family says

    /// Gives the sink a net of polylines: nbIsoU + 1 curves of constant u over getBoundV(), then
    /// nbIsoV + 1 of constant v over getBoundU(). A range that is empty or reversed has no curves.
    /// Kept: for no intervals the step is 0/0, and the one curve is that of a NaN parameter.
    virtual void tessalate(ERProcessMaillage& sink) const;
    /// The curve of constant u. It runs over getBoundV(); segments over [0, 1].
    virtual t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const = 0;
    virtual t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const = 0;

    /// Appends the points of the surface on the line through p along Z; here none. Other than zero,
    /// the flag leaves out what a trimmed surface hides.
    virtual void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const;
    /// The same on the line through p along `direction`: the form above, of a copy in the frame of
    /// that line.
    virtual void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                              ERRaySurfaceResult& result, int flag) const;
    /// The parameters of a foot of p within `tolerance`. Other than zero, the flag refuses a foot
    /// outside the ranges. Returns 1; here 0.
    virtual int ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                                  int flag) const;
    /// The form above with the tolerance 0 and the flag 1.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    /// Improves the parameters uv of a foot of p and puts the surface's point into p. Returns 1;
    /// here 0.
    virtual int ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const;

    virtual double upperEstimateInU() const = 0;  ///< of the length of the curves along u
    virtual double upperEstimateInV() const = 0;

    /// Makes two new surfaces of the parts before and after a value of u; without one, the middle of
    /// the range. Returns 1, or 0 with both pointers as they were. One of them may hold this surface.
    virtual int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before,
                         t_SmartPtr<ERAnyBoundedSurface>& after) const;
    virtual int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before,
                         t_SmartPtr<ERAnyBoundedSurface>& after, double u) const = 0;
    virtual int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before,
                         t_SmartPtr<ERAnyBoundedSurface>& after) const;
    virtual int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before,
                         t_SmartPtr<ERAnyBoundedSurface>& after, double v) const = 0;

    /// 1 when the derivatives up to that order are continuous; here 0.
    virtual int IsContinuous(int order) const;
    /// Empties the vector, then writes the u at which a derivative up to that order jumps; here
    /// none. Returns 1.
    virtual int GetDiscontinuitiesU(int order, ERVec<double>& parameters) const;
    virtual int GetDiscontinuitiesV(int order, ERVec<double>& parameters) const;
    virtual void GetNumberOfSpans(int& inU, int& inV) const;  ///< here 1 and 1
    /// A box for each span, row by row along u; here the one of the surface.
    virtual void GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const;

    /// Points at nU by nV equal steps of the parameters, both ends included; row i belongs to u. The
    /// last grid is kept, so that asking again costs nothing.
    /// Lifetime: valid until the next call or change.
    /// Kept:     for one row or column the step is 0/0, and its points are those of a NaN parameter.
    virtual const ERMatrix<ERPoint3D>& getMatricePoint(unsigned int nU, unsigned int nV);

    // What moves the surface moves the grid along; what else changes it drops the grid.
    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void reverse() override;  ///< exchanges the rows and columns of the grid
    void CleanUpTemporaries(int level) override;

protected:
    ERAnyBoundedSurface() = default;
    ERAnyBoundedSurface(const ERAnyBoundedSurface&) = default;
    ERAnyBoundedSurface& operator=(const ERAnyBoundedSurface&) = default;

    void dropGrid() const { grid_ = ERMatrix<ERPoint3D>(); }
    /// The grid as a reading: only caches change.
    const ERMatrix<ERPoint3D>& gridOfPoints(unsigned int nU, unsigned int nV) const {
        return const_cast<ERAnyBoundedSurface*>(this)->getMatricePoint(nU, nV);
    }
    /// The body of getMatricePoint, where the curves of constant u run over `alongV`.
    const ERMatrix<ERPoint3D>& gridOver(const ERLimites& alongV, unsigned int nU, unsigned int nV);
    /// The parameters, on an iso curve that runs over `whole`, of the ends of a part of that range.
    static ERLimites rangeOn(const ERFiniteEntity3DWF& isoCurve, const ERLimites& whole,
                             const ERLimites& part);

    mutable ERMatrix<ERPoint3D> grid_;  // what getMatricePoint made last

private:
    void restored() { dropGrid(); }
};

/// A surface that holds its parameter rectangle twice: the natural ranges, over which its data are
/// defined, and the current ranges, the part in use.
/// Storage: natural u, natural v, current u, current v: 64 bytes.
class KERF_EXPORT ERBoundedSurface : public ERAnyBoundedSurface {
    ER_OBJECT_CLASS(ERBoundedSurface);
    ER_STORED_FIELDS(ERBoundedSurface);

public:
    double udeb() const override { return currentU_.start(); }
    double ufin() const override { return currentU_.end(); }
    double vdeb() const override { return currentV_.start(); }
    double vfin() const override { return currentV_.end(); }
    ERLimites getBoundU() const override { return currentU_; }
    ERLimites getBoundV() const override { return currentV_; }
    void reverse() override;  ///< exchanges the two parameters
    void printOn(std::ostream& os) const override;

    virtual double NUdeb() const { return naturalU_.start(); }
    virtual double NUfin() const { return naturalU_.end(); }
    virtual double NVdeb() const { return naturalV_.start(); }
    virtual double NVfin() const { return naturalV_.end(); }
    /// Sets the current ranges; the natural ones stay until adjust().
    virtual void setBound(const ERLimites& u, const ERLimites& v);
    /// Makes the current ranges the natural ones. A surface that can cut its data overrides this to
    /// do so.
    virtual void adjust();
    // Each sets current ranges, then adjusts.
    virtual void redefineDomainU(const ERLimites& u);
    virtual void redefineDomainV(const ERLimites& v);
    /// Kept: the second range is taken by a reference to what is not constant, and only read.
    virtual void redefinedDomain(const ERLimites& u, ERLimites& v);

protected:
    ERBoundedSurface() : ERBoundedSurface(ERLimites(0.0, 1.0), ERLimites(0.0, 1.0)) {}
    ERBoundedSurface(const ERLimites& u, const ERLimites& v)
        : naturalU_(u), naturalV_(v), currentU_(u), currentV_(v) {}
    ERBoundedSurface(const ERBoundedSurface&) = default;
    ERBoundedSurface& operator=(const ERBoundedSurface&) = default;

    ERLimites naturalU_;
    ERLimites naturalV_;
    ERLimites currentU_;
    ERLimites currentV_;

private:
    static auto fields(auto& self) {
        return std::tie(self.naturalU_, self.naturalV_, self.currentU_, self.currentV_);
    }
};

/// The placement of a surface given in a frame of its own. Lengths of the surface are left to it.
/// Storage: the frame, 116 bytes.
class KERF_EXPORT ERSurfaceBasedOnTransfo3D : public virtual ERSurface {
    ER_OBJECT_CLASS(ERSurfaceBasedOnTransfo3D);
    ER_STORED_FIELDS(ERSurfaceBasedOnTransfo3D);

public:
    ERPmIsometrie3D getMatrix() const { return frame_; }  ///< a copy of the frame
    ERVector3D getNormale() const;                        ///< the third axis of the frame

    void scale(double factor) override;  ///< the origin alone; the axes stay
    void translate(const ERPoint3D& t) override;
    /// A similitude maps the origin, and maps and normalises the axes.
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void printOn(std::ostream& os) const override;

protected:
    ERSurfaceBasedOnTransfo3D() = default;
    explicit ERSurfaceBasedOnTransfo3D(const ERPmIsometrie3D& frame) { setMatrix(frame); }
    ERSurfaceBasedOnTransfo3D(const ERSurfaceBasedOnTransfo3D&) = default;
    ERSurfaceBasedOnTransfo3D& operator=(const ERSurfaceBasedOnTransfo3D&) = default;

    void setMatrix(const ERPmIsometrie3D& frame);
    const ERPmIsometrie3D& frame() const { return frame_; }
    /// The frame's axes, as columns, and its origin, read once.
    const LinearMap& axes() const { return axes_; }
    const ERPoint3D& origin() const { return origin_; }

private:
    static auto fields(auto& self) { return std::tie(self.frame_); }
    void restored() { setMatrix(ERPmIsometrie3D(frame_)); }

    ERPmIsometrie3D frame_;
    LinearMap axes_;
    ERPoint3D origin_;
};

}  // namespace kerf
