#pragma once
#include <limits>
#include <memory>
#include <optional>

#include "kerf/core/internal/cached.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/surface.h"
#include "kerf/values/box.h"
#include "kerf/values/surface_info_point.h"

// Surfaces given by a grid of poles: what Bézier and NURBS surfaces share.
namespace kerf {

struct PoleSurfaceProjectionData;

/// A surface whose data are poles. Pole (i, j) is row i, along u, and column j, along v.
///
/// Degenerate: a dummy, which has no poles, is the origin everywhere; its box is reset, its iso curves
///             are null, and what it counts is 0.
/// Threads:    boxes, hulls, halves and more are kept from the first time they are asked for until the
///             surface changes: one thread at a time for a surface, reading included.
/// Storage:    the ranges, then the poles (and knots); nothing of what is kept.
class KERF_EXPORT ERSpoleRep : public ERBoundedSurface {
    ER_OBJECT_CLASS(ERSpoleRep);
    ER_STORED_FIELDS(ERSpoleRep);

public:
    virtual unsigned int degreeU() const = 0;
    virtual unsigned int degreeV() const = 0;
    virtual unsigned int nbPolesU() const = 0;
    virtual unsigned int nbPolesV() const = 0;
    virtual int isRational() const = 0;
    virtual int isBezier() const = 0;
    /// Raises the degrees by so many; the surface stays. Here nothing.
    virtual void incrDegree(unsigned int byU, unsigned int byV);
    /// Kept: does nothing, in any class.
    virtual void decrDegree(unsigned int byU, unsigned int byV);
    /// The convex hull of the poles in the frame's plane, in its coordinates, as CalculateConvexeHull
    /// gives it.
    virtual ERVec<ERPoint2D> getConvexHull() const;  ///< in the plane of x and y
    virtual ERVec<ERPoint2D> getConvexHull(const ERPmIsometrie3D& frame) const;

    /// The box of the Cartesian poles, those of the natural ranges. It holds the surface where no
    /// weight is negative.
    ERMinimax3D getBox() const override;
    /// The length of the longest line of poles along u.
    /// Kept: it stays as it was worked out when a degree is raised or a knot inserted, though the
    ///       polygons become shorter, and a scaling multiplies it.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    void ResetCacheBox();         ///< drops the box
    void ResetCacheConvexHull();  ///< drops the hull

protected:
    ERSpoleRep() = default;
    ERSpoleRep(const ERLimites& u, const ERLimites& v) : ERBoundedSurface(u, v) {}
    ERSpoleRep(const ERSpoleRep&) = default;
    ERSpoleRep& operator=(const ERSpoleRep&) = default;

    /// The hull of the poles, as the cache takes it; the box; the estimates.
    virtual ERVec<ERPoint2D> _calculateConvexHull(const ERPmIsometrie3D& frame) const = 0;
    virtual ERMinimax3D _calculateBox() const = 0;
    virtual double _calculateUpperEstimateU() const = 0;
    virtual double _calculateUpperEstimateV() const = 0;

    void resetUpperEstimates() { upperEstimateU_ = upperEstimateV_ = notEstimated; }
    void scaleUpperEstimates(double factor);
    void swapUpperEstimates() { std::swap(upperEstimateU_, upperEstimateV_); }

private:
    static constexpr double notEstimated = std::numeric_limits<double>::max();

    struct Hull {
        ERPmIsometrie3D frame;
        ERVec<ERPoint2D> points;
    };
    struct Kept {
        std::optional<ERMinimax3D> box;
        std::optional<Hull> hull;
    };
    mutable Cached<Kept> kept_;
    mutable double upperEstimateU_ = notEstimated;
    mutable double upperEstimateV_ = notEstimated;
};

/// What the three pole surfaces share: the poles and all that follows from them alone.
template <class Surface, class Pole>
class KERF_EXPORT PoleSurface : public ERSpoleRep {
    using AnyHalf = t_SmartPtr<ERAnyBoundedSurface>;

public:
    using Half = t_SmartPtr<Surface>;

    const ERMatrix<Pole>& poles() const { return poles_; }
    int isDummy() const { return poles_.cols() == 0; }  ///< 1 without poles
    unsigned int nbPolesU() const override { return poles_.rows(); }
    unsigned int nbPolesV() const override { return poles_.cols(); }
    int isRational() const override { return Pole::isRational(); }

    /// Two new surfaces of this class, the parts before and after a value of u, cut. Returns 1, or 0
    /// with both as they were. One of them may hold this surface.
    int SplitInU(Half& before, Half& after, double u) const;
    /// The same at a value that the class chooses. Until the surface changes, the same two objects
    /// come each time.
    int SplitInU(Half& before, Half& after) const;
    int SplitInU(AnyHalf& before, AnyHalf& after) const override;
    int SplitInU(AnyHalf& before, AnyHalf& after, double u) const override;
    int SplitInV(Half& before, Half& after, double v) const;
    int SplitInV(Half& before, Half& after) const;
    int SplitInV(AnyHalf& before, AnyHalf& after) const override;
    int SplitInV(AnyHalf& before, AnyHalf& after, double v) const override;

    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void reverse() override;
    void setBound(const ERLimites& u, const ERLimites& v) override;
    void CleanUpTemporaries(int level) override;
    void printOn(std::ostream& os) const override;

    /// Drops box, hull, halves and what projections keep.
    void ResetCacheInfo();

protected:
    PoleSurface() = default;
    explicit PoleSurface(const ERMatrix<Pole>& poles) : poles_(poles) { dropEmpty(); }
    PoleSurface(const ERMatrix<Pole>& poles, const ERLimites& u, const ERLimites& v)
        : ERSpoleRep(u, v), poles_(poles) {
        dropEmpty();
    }
    PoleSurface(const PoleSurface&) = default;
    PoleSurface& operator=(const PoleSurface&) = default;

    void dropKept() { static_cast<Surface&>(*this).ResetCacheInfo(); }
    /// Drops all that is kept, makes the change and marks the object: the one gate of every change but
    /// the moves, which carry the grid of points along.
    template <class Edit>
    void change(Edit edit) {
        dropKept();
        dropGrid();
        edit();
        setDirty();
    }

    ERVec<ERPoint2D> _calculateConvexHull(const ERPmIsometrie3D& frame) const override;
    ERMinimax3D _calculateBox() const override;
    double _calculateUpperEstimateU() const override;
    double _calculateUpperEstimateV() const override;

    /// The parts before and after a value; null where the value is refused.
    using Halves = std::pair<Half, Half>;
    virtual Halves cutInU(double u) const = 0;
    virtual Halves cutInV(double v) const = 0;
    virtual double middleOfU() const;  ///< where SplitInU cuts by itself
    virtual double middleOfV() const;

    /// What projections on this surface keep; dropped by every change, never copied.
    std::shared_ptr<PoleSurfaceProjectionData>& projectionData() const {
        return kept_->projectionData;
    }

    void restored();
    void dropEmpty();  // no rows without columns

    ERMatrix<Pole> poles_;

private:
    struct Kept {
        Halves halvesU, halvesV;
        std::shared_ptr<PoleSurfaceProjectionData> projectionData;
    };
    template <class Edit>
    void movePoles(Edit edit);

    mutable Cached<Kept> kept_;
};

}  // namespace kerf
