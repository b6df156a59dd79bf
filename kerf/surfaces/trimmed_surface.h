#pragma once
#include <memory>
#include <tuple>

#include "kerf/core/internal/cached.h"
#include "kerf/core/list.h"
#include "kerf/core/stored_fields.h"
#include "kerf/platform/config.h"
#include "kerf/surfaces/internal/inner_part.h"
#include "kerf/surfaces/surface.h"
#include "kerf/surfaces/surface_boundary.h"
#include "kerf/values/box.h"

// Surfaces of which curves in the parameter plane leave a part.
namespace kerf {

class ERRegion2D;

/// The part of a base surface that lies, in the parameter plane, inside an outer boundary and outside
/// of holes. Evaluation, box, iso curves and estimates are those of the whole base. What knows of the
/// boundaries is isInBound, the net, and the projections where their flag is not 0; they ask a region
/// of polylines, which is built when it is first needed.
///
/// Parameter:  u and v of the base. The range is the box of the outer boundary that was added last;
///             without one it is that of the base when the surface was made, or moved. Boundaries
///             may leave the ranges of the base, cross each other or themselves; the region takes
///             them as they are.
/// Degenerate: without boundaries all of the base is left. Without a base every point is the origin,
///             the box is reset, iso curves are null, all else is 0 or nothing; the range of a surface
///             that was built without one begins at the largest double and ends at its negative.
/// Tolerance:  the region's polylines are those that the boundaries made last; where they made none,
///             those of the derived tolerance, which is coarse. A finer one is set by asking each
///             boundary for its getBound2DasPolyline(tol) before the region is needed.
/// Ownership:  boundaries are counted. A copy has copies of the base and of the boundaries.
///             To change a boundary through getOutBnd() and its kin, or a base that is shared, by
///             itself, changes the surface, which does not notice: CleanUpTemporaries(-1) and
///             setDirty() are called on it too.
/// Damage:     a base that cannot be restored, or lies more than 100 surfaces deep, is null;
///             boundaries that cannot are left out.
/// Storage:    the base by reference, the number of boundaries, the range, and the boundaries as a
///             list, each a record of its own: 48 bytes, 4 less without a base, and 8 for each boundary.
class KERF_EXPORT ERTrimmedSurface : public ERAnyBoundedSurface {
    ER_OBJECT_CLASS(ERTrimmedSurface);
    ER_STORED_CLASS(ERTrimmedSurface);

public:
    using Boundary = t_SmartPtr<ERSurfaceBoundary>;
    using Boundaries = ERTValDlist<Boundary>;

    ERTrimmedSurface() = default;  ///< without a base
    /// Ownership: shares the base, which is on the heap: what moves one moves the other. Null leaves
    ///            the surface without a base.
    explicit ERTrimmedSurface(ERAnyBoundedSurface* base);
    /// Of a copy of the base. An ERTrimmedSurface as such is copied instead.
    explicit ERTrimmedSurface(const ERAnyBoundedSurface& base);
    /// What the curve bounds in the plane z = 0 of the frame, whose x and y are u and v. The base is an
    /// ERSpoleBezier3D over the box of the curve, which is shared. A curve that is null or has no box
    /// leaves the surface without a base.
    ERTrimmedSurface(const ERPmIsometrie3D& frame, ERFiniteEntity2DWF* curve);
    ERTrimmedSurface(const ERTrimmedSurface& other);
    ERTrimmedSurface& operator=(const ERTrimmedSurface& other);
    ~ERTrimmedSurface() override;

    t_SmartPtr<ERAnyBoundedSurface> getBaseSurface() const { return base_; }  ///< shared

    /// Adds a boundary; the pointer form shares the curve, which is on the heap, also where it is
    /// refused, so that one without another owner is then deleted; the other form copies the curve.
    /// Side: Outer: the outer boundary, first in the list. Inner: a hole.
    ///       Undecided: as Outer, but last in the list.
    /// Returns: 1; 0, without a change, for a null curve, a side that is none, and a second boundary
    ///          with Outer.
    /// Kept: Undecided is never refused. The range is then that of the new boundary, while the
    ///       first outer one goes on bounding the region, in which the new one is a hole.
    int addBound(ERFiniteEntity2DWF* curve, ERSurfaceBoundary::Side side);
    int addBound(const ERFiniteEntity2DWF& curve, ERSurfaceBoundary::Side side);

    /// The first boundary of side Outer; null when there is none.
    Boundary getOutBnd() const;
    /// The others, in the order of the list; null for i from getNbInBnd() on.
    Boundary getInBnd(unsigned int i) const;
    unsigned int nbBounds() const { return trim_.boundaries.entries(); }
    unsigned int getNbInBnd() const { return nbBounds() - (isOutTrimmed() != 0 ? 1 : 0); }
    int isOutTrimmed() const;  ///< 1 when there is a boundary of side Outer
    const Boundaries& getBoundList() const { return trim_.boundaries; }
    Boundaries::const_iterator getBoundIterator() const { return trim_.boundaries.begin(); }
    /// The region in the parameter plane: getOutBnd(), then the others.
    /// Lifetime: until a boundary is added, the surface restored or assigned to, its temporaries
    ///           cleaned up; longer in a smart pointer.
    ERRegion2D* GetRegion() const;

    /// 1 when uv lies in the ranges of the base and in the region, borders included.
    int isInBound(const ERPoint2D& uv) const;
    /// Where a box of the parameter plane stands to the region: ERRegion2D::IsInDomain, and
    /// PolygonPartly without boundaries.
    ER_MINMAX_POSITION_POLYGONE PositionFenetre(const ERMinimax2D& box) const;

    double udeb() const override { return trim_.range.xmin(); }
    double ufin() const override { return trim_.range.xmax(); }
    double vdeb() const override { return trim_.range.ymin(); }
    double vfin() const override { return trim_.range.ymax(); }
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    ERPoint3D operator()(double u, double v) const override;
    using ERAnyBoundedSurface::operator();
    using ERAnyBoundedSurface::PtCur;
    /// Kept: a point of the base, which may be trimmed away.
    ERInfoPoint3DSurf randomPoint() const override;
    /// Kept: the box of the whole base.
    ERMinimax3D getBox() const override;
    /// Without boundaries the base's net. Else each boundary on the surface; then nbIsoU + 1 curves of
    /// constant u over the range of the base, of which the parts in the region go to the sink; then
    /// those of constant v. For no intervals two curves are drawn.
    /// Kept: a curve within 1e-11 of an end of the box of the region's first contour is left out, also
    ///       where that contour is a hole.
    void tessalate(ERProcessMaillage& sink) const override;
    /// The whole curve of the base, over the range of the base.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    // Each is the base's. Other than 0, the flag then refuses what isInBound does. A base that is itself
    // trimmed looks at its own boundaries where one foot is sought, for it gets the flag.
    /// Kept: ProjectPoint gives the base the flag 0, so that the trimming of a base that is itself
    ///       trimmed is not looked at.
    /// Kept: with a flag the whole result is looked through, so that points of other surfaces that it
    ///       held before go too where their (u, v) is out of bounds here.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int flag) const override;
    void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction, ERRaySurfaceResult& result,
                      int flag) const override;
    /// Kept: the base finds one foot, its nearest. Where that is trimmed away no other is looked for.
    int ProjectionNormale(const ERPoint3D& p, double tolerance, ERPoint2D& uv,
                          int flag) const override;
    using ERAnyBoundedSurface::ProjectionNormale;
    int ReajustProjection(ERPoint3D& p, ERPoint2D& uv, int flag) const override;

    double upperEstimateInU() const override;  ///< the base's
    double upperEstimateInV() const override;
    /// Kept: 0. A trimmed surface is not split.
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& before, t_SmartPtr<ERAnyBoundedSurface>& after,
                 double v) const override;
    using ERAnyBoundedSurface::SplitInU;
    using ERAnyBoundedSurface::SplitInV;
    int IsContinuous(int order) const override;  ///< the base's
    int GetDiscontinuitiesU(int order, ERVec<double>& parameters) const override;
    int GetDiscontinuitiesV(int order, ERVec<double>& parameters) const override;
    void GetNumberOfSpans(int& inU, int& inV) const override;
    void GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const override;
    const ERMatrix<ERPoint3D>& getMatricePoint(unsigned int nU, unsigned int nV) override;

    // The base moves, and the boundaries stay where they are in (u, v).
    /// Kept: so they do, here and under similitudes, where u or v is a length, which grows with the
    ///       surface (plane, cylinder, cone): another part of those is left.
    void scale(double factor) override;
    void translate(const ERPoint3D& t) override;
    void transformFrom(const ERPmSimilitude3D& transformation) override;
    void transformFrom(const ERPmIsometrie3D& transformation) override;
    void transformTo(const ERPmSimilitude3D& transformation) override;
    void transformTo(const ERPmIsometrie3D& transformation) override;
    void reverse() override;  ///< Kept: changes nothing.
    /// The region goes, the boundaries' polylines on the surface, and what the base keeps.
    void CleanUpTemporaries(int level) override;
    void printOn(std::ostream& os) const override;

private:
    // What is stored after the base.
    struct Trim {
        ERMinimax2D range;
        Boundaries boundaries;

        Trim() = default;
        Trim(const Trim& other);
        Trim& operator=(const Trim& other);
        void saveGuts(ERFile& file) const;
        void restoreGuts(ERFile& file);
        ERULong binaryStoreSize() const;
    };
    static auto fields(auto& self) { return std::tie(self.base_, self.trim_); }
    void restored();

    void takeRangeOfBase();
    void setBoundariesBase(ERAnyBoundedSurface* base);
    void releaseBoundaries();
    int _addBound(Boundary& boundary);
    void ConstructRegion2D() const;
    // The ranges over which the iso curves of the base run: those of the surface that makes them.
    const ERAnyBoundedSurface* makerOfIsoCurves() const;
    void drawSlices(ERProcessMaillage& sink, bool ofConstantU) const;
    template <class MovePoints, class MoveBase>
    void carry(MovePoints movePoints, MoveBase moveBase);
    template <class Transformation>
    void carryFrom(const Transformation& t);
    template <class Transformation>
    void carryTo(const Transformation& t);

    InnerPart<ERAnyBoundedSurface> base_;
    Trim trim_;
    // Of a type that is complete further up alone.
    mutable Cached<std::shared_ptr<ERRegion2D>> region_;
};

/// For ERRaySurfaceResult::filtre with an ERTrimmedSurface* as argument: 1, to remove the point, when
/// its (u, v) is not in the bounds of that surface.
KERF_EXPORT int filtreOutsidePointTrimedSurface(ERInfoPoint3DSurf* point, void* surface);

}  // namespace kerf
