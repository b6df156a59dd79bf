#pragma once
#include "kerf/core/object.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"

// Two abstract classes for programs that derive surfaces of their own from them. Nothing in the library
// does, and the class registry does not know them.
namespace kerf {

/// A parameter rectangle held twice, as in ERBoundedSurface, without a grid of points.
class KERF_EXPORT ERSurface3D : public virtual ERObject {
public:
    virtual double NUdeb() const { return naturalU_.start(); }
    virtual double NUfin() const { return naturalU_.end(); }
    virtual double NVdeb() const { return naturalV_.start(); }
    virtual double NVfin() const { return naturalV_.end(); }
    virtual double udeb() const { return currentU_.start(); }
    virtual double ufin() const { return currentU_.end(); }
    virtual double vdeb() const { return currentV_.start(); }
    virtual double vfin() const { return currentV_.end(); }
    /// Sets the current ranges; the natural ones stay until adjust().
    virtual void setBound(const ERLimites& u, const ERLimites& v);
    virtual void adjust();  ///< makes the current ranges the natural ones

protected:
    ERSurface3D() : ERSurface3D(ERLimites(0.0, 1.0), ERLimites(0.0, 1.0)) {}
    ERSurface3D(const ERLimites& u, const ERLimites& v)
        : naturalU_(u), naturalV_(v), currentU_(u), currentV_(v) {}
    ERSurface3D(const ERSurface3D&) = default;
    ERSurface3D& operator=(const ERSurface3D&) = default;

    ERLimites naturalU_;
    ERLimites naturalV_;
    ERLimites currentU_;
    ERLimites currentV_;
};

/// A surface of poles.
class KERF_EXPORT ERSpoleRep3D : public ERSurface3D {
public:
    virtual int isRational() const { return 1; }
    virtual int isBezier() const { return 1; }

protected:
    using ERSurface3D::ERSurface3D;
    ERSpoleRep3D() = default;
};

}  // namespace kerf
