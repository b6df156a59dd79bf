#pragma once
#include <tuple>

#include "kerf/core/stored_fields.h"
#include "kerf/curves/curve.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/inner_part.h"
#include "kerf/values/box.h"

// One of the curves that bound what is left of a trimmed surface.
namespace kerf {

class ERAnyBoundedSurface;
class ERPoint23List;
class ERTransfo2D;

/// A closed curve in the parameter plane of a surface, the side of it that stays, and the polylines
/// that were last made of it, in (u, v) and on the surface.
///
/// Parameter:  the plane's coordinates are u and v of the base surface. The curve is taken as it is:
///             it may be open, then the region closes it, or leave the ranges of the surface.
/// Degenerate: without a curve polylines are empty, the box is reset and the status is 20. Without a
///             base surface nothing lies on the surface.
/// Ownership:  the base surface is not owned. A copy has a copy of the curve and no base surface;
///             an object that is assigned to keeps its own.
/// Lifetime:   the base surface outlives the boundary, or is taken out by setBaseSurface(nullptr).
///             A trimmed surface does both for its boundaries.
/// Storage:    the ID of the base surface, -1 for none, which is not read back; the curve by reference;
///             ints: whether there are polylines, in (u, v) and on the surface; the tolerances of the
///             latter and of the former; the former and the latter; the side; the status: 52 bytes
///             and the points, 4 bytes less without a curve.
class KERF_EXPORT ERSurfaceBoundary : public ERObject {
    ER_OBJECT_CLASS(ERSurfaceBoundary);
    ER_STORED_CLASS(ERSurfaceBoundary);

public:
    /// Which side of the curve stays. A trimmed surface refuses other values.
    enum Side : int {
        Undecided = 0,  ///< a trimmed surface takes it as Outer
        Inner = 1,      ///< the boundary of a hole
        Outer = 2
    };

    ERSurfaceBoundary() = default;
    ERSurfaceBoundary(const ERSurfaceBoundary&) = default;
    ERSurfaceBoundary& operator=(const ERSurfaceBoundary& other);
    /// Ownership: shares the curve, which is on the heap; null is no curve.
    ERSurfaceBoundary(ERFiniteEntity2DWF* curve, Side side);
    /// Copies the curve.
    ERSurfaceBoundary(const ERFiniteEntity2DWF& curve, Side side);

    Side getSide() const { return static_cast<Side>(side_); }
    Side setSide(Side side);  ///< returns the former side
    /// 20; bit 0 is set when the ends of the curve agree within 0.001 in each coordinate. The other
    /// bits are only kept.
    int getStatus() const { return status_; }
    int isClose() const { return status_ & closed; }

    /// Shared: whoever changes the curve calls setBoundary with it.
    t_SmartPtr<ERFiniteEntity2DWF> getBound2D() const { return curve_; }
    void setBoundary(ERFiniteEntity2DWF* curve);        ///< shares
    void setBoundary(const ERFiniteEntity2DWF& curve);  ///< copies
    /// Another base surface than before drops the polylines.
    void setBaseSurface(ERAnyBoundedSurface* surface);
    ERAnyBoundedSurface* getBaseSurface() const { return base_; }
    ERMinimax2D getBox() const;  ///< the curve's

    /// The curve as a polyline that deviates by tol.
    /// Parameter: tol is measured in u and v. A negative one takes the polyline that was made last,
    ///            whatever its tolerance; where there is none it is as 0.
    /// Tolerance: 0 and NaN stand for a ten-thousandth of the largest extent of the base's box, divided
    ///            by the smaller width of its ranges; where that is not finite, or below 1e-9 of the
    ///            larger extent of the curve's box, and without a base: a ten-thousandth of the latter.
    ///            Kept: a length over a width, so that a surface twice as large has a tolerance twice
    ///            as large in the same (u, v).
    /// Storage:   a tolerance that was asked for makes the object dirty: regions follow it.
    ERVec<ERPoint2D> getBound2DasPolyline(double tol) const;
    /// The polyline that was made last, on the surface: its points and as many between them as make
    /// the chords deviate by no more than tol in space, back to the first point. Empty without a base
    /// surface. The last result is kept until the polyline is made anew.
    ERVec<ERPoint3D> smash(double tol) const;
    /// The same with the pairs (u, v); replaces both vectors. Nothing is kept.
    void smash(ERVec<ERPoint3D>& points, ERVec<ERPoint2D>& parameters, double tol) const;

    // The curve moves in the parameter plane. Polylines made before are dropped.
    void scale(double factor);
    void translate(const ERPoint2D& t);
    void transformFrom(const ERTransfo2D& t);
    void transformTo(const ERTransfo2D& t);

    void printOn(std::ostream& os) const override;

private:
    friend class ERTrimmedSurface;

    static constexpr int closed = 1;
    static constexpr int startStatus = 20;

    // The base surface; in the record its ID, which nothing reads. A copy of the boundary must not hold
    // a surface that does not know of it.
    class Base {
    public:
        Base() = default;
        Base(const Base&) {}
        Base& operator=(const Base&) { return *this; }
        Base& operator=(ERAnyBoundedSurface* surface) {
            surface_ = surface;
            return *this;
        }
        operator ERAnyBoundedSurface*() const { return surface_; }
        ERAnyBoundedSurface* operator->() const { return surface_; }
        void saveGuts(ERFile& file) const;
        void restoreGuts(ERFile& file);
        ERULong binaryStoreSize() const { return 4; }

    private:
        ERAnyBoundedSurface* surface_ = nullptr;
    };

    static auto fields(auto& self) {
        return std::tie(self.base_, self.curve_, self.hasPolyline_, self.hasSmash_,
                        self.smashTolerance_, self.polylineTolerance_, self.polyline_, self.smash_,
                        self.side_, self.status_);
    }

    // For a surface that is copied or restored: the polylines stay.
    void restoreBase(ERAnyBoundedSurface* surface) { base_ = surface; }
    // The points on the surface follow its move.
    template <class Move>
    void moveSmash(Move move) {
        if (hasSmash_ == 0) return;
        move(smash_);
        setDirty();
    }
    void dropSmash() const;
    void dropPolylines() const;
    double derivedTolerance() const;
    void curveChanged();
    template <class Move>
    void moveCurve(Move move);

    Base base_;
    InnerPart<ERFiniteEntity2DWF> curve_;
    mutable int hasPolyline_ = 0;
    mutable int hasSmash_ = 0;
    mutable double smashTolerance_ = 0.0;
    mutable double polylineTolerance_ = 0.0;
    mutable ERVec<ERPoint2D> polyline_;
    mutable ERVec<ERPoint3D> smash_;
    int side_ = Undecided;
    int status_ = startStatus;
};

/// Appends the polyline of the boundary to the list, as points of its base surface with their pairs
/// (u, v): without those within 1e-11 in u and in v of the one before, and with the first again where
/// the last is another. Then the whole list is divided by ERPoint23List::Smash. Nothing without a base
/// surface.
/// Parameter: `polylineTol` as in getBound2DasPolyline; `tol` is a distance in space.
KERF_EXPORT void ExtractList23(const ERSurfaceBoundary& boundary, ERPoint23List& list,
                               double polylineTol, double tol);

}  // namespace kerf
