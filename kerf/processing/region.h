#pragma once
#include <memory>

#include "kerf/core/object.h"
#include "kerf/core/value_vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"
#include "kerf/values/vector_instances.h"

// Domains of the plane with polygons as contours: where points and boxes lie to them, and polylines cut
// to what lies inside.
namespace kerf {

/// Where a point lies to a region.
enum PosContours { InRegion = 0, OutOfRegion = 1, OnContourEdge = 2, OnContourVertex = 3 };

/// A point of a polyline that is being cut: a point of its own, or where it meets an edge of a contour.
class _Intersect {
public:
    _Intersect() = default;
    _Intersect(const ERPoint2D& p, double t, PosContours where, unsigned int index)
        : point(p), param(t), state(where), contour(index) {}

    bool operator<(const _Intersect& other) const { return param < other.param; }

    ERPoint2D point;
    double param =
        0.0;  ///< the number of the segment, repeated points left out, plus the part of it
    PosContours state = InRegion;
    unsigned int contour = 0;  ///< that is met; of an own point, that which told where it lies
};

/// Sees each point of a polyline that is cut, in order.
class KERF_EXPORT ERDebugIntersect {
public:
    virtual ~ERDebugIntersect();
    virtual void Debug(const _Intersect* element) = 0;
};

namespace detail {
class Contours;
}

/// A domain of the plane bounded by polygons: what lies in the first contour and in no other, or what
/// lies in no contour at all. Contours are closed from the last point to the first, whether or not the
/// first is repeated at the end, and are taken as they are: in either direction, crossing themselves
/// or each other.
///
/// Tolerance:  a point is on a contour as Inside tells: within an area of 1e-10 of an edge.
/// Degenerate: without contours it is the whole plane. A contour of one or two points holds nothing,
///             but points can be on it. Coordinates that are not finite give some result.
/// Ownership:  contours share their points with the vectors that they were given as.
/// Threads:    questions may build an index over the edges, which copies share: a region and its
///             copies are used by one thread at a time.
/// Storage:    not stored. It has an empty record.
/// Kept:       a copy and an assigned region share the array of contours, and only how many of them
///             are in use is each one's own. One that adds a contour replaces that which the other has
///             added at the same index. getCopy() shares nothing.
class KERF_EXPORT ERRegion2D : public ERObject {
    ER_OBJECT_CLASS(ERRegion2D);

public:
    /// Without contours, with room for that many; more take more room. `firstOuter` not 0: contour 0 is
    /// the outer boundary, and all others are holes; 0: all are holes in the unbounded plane.
    ERRegion2D(unsigned int capacity, int firstOuter);
    ERRegion2D(const ERRegion2D&);
    ERRegion2D& operator=(const ERRegion2D&);
    ~ERRegion2D() override;

    void Add(const ERVec<ERPoint2D>& contour);
    unsigned int entries() const { return count_; }
    int IsFirstOuter() const { return firstOuter_; }
    ERVec<ERPoint2D> Contour(int i) const;
    /// The box of contour 0, whatever the others; reset without contours.
    ERMinimax2D getBox() const;

    /// Where p lies. `contour` becomes the index of the contour that told: that of which p is outside,
    /// that it is on, the hole it is in; for a point inside the last one. Without contours it stays.
    /// A point that is not a pair of numbers is outside a region with contours.
    PosContours CheckPoint(const ERPoint2D& p, int& contour) const;

    /// Where a box stands to the region.
    /// Returns: PolygonOutside when they are apart; PolygonInside when the box lies in the region;
    ///          PolygonPartly when the outer contour lies in the box; else PolygonCrossing.
    ///          PolygonPartly without contours.
    /// Kept:    a hole that lies in the box makes it cross, even where the box is otherwise inside. A
    ///          region without outer contour never tells a box to be inside: PolygonCrossing.
    ER_MINMAX_POSITION_POLYGONE IsInDomain(const ERMinimax2D& box) const;

    /// Appends the parts of the polyline that lie in the region, in its direction, contours included:
    /// a part that runs along an edge is kept. Points that repeat the one before are left out.
    /// `debug`, which may be null, sees all points in the order of their parameters.
    /// Tolerance:  none but that of CheckPoint. A crossing counts as at a vertex within 1e-9 of the
    ///             length of its edge.
    /// Degenerate: a polyline without two different points has no parts. A contour of one or two points
    ///             is not cut at.
    /// Kept:       where it touches or passes a vertex, a part may end and the next begin there, and a
    ///             part may have no length or a point twice. Between two points on contours what
    ///             decides is the point midway: the whole is dropped if that is outside or exactly on
    ///             a vertex.
    void Intersect(const ERVec<ERPoint2D>& polyline, ERTValVector<ERVec<ERPoint2D>>& result,
                   ERDebugIntersect* debug) const;

    /// Nothing: binaryStoreSize() is 0.
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;
    /// The number of contours, a blank, the flag and end of line; for each contour "//  contour ", its
    /// index and end of line, its points and end of line.
    void printOn(std::ostream& os) const override;
    ERObject* getCopy() const override;

private:
    std::shared_ptr<detail::Contours> contours_;
    int firstOuter_;
    unsigned int count_ = 0;
};

}  // namespace kerf
