#pragma once
#include <cmath>
#include <limits>

#include "kerf/platform/config.h"
#include "kerf/values/point.h"
#include "kerf/values/pole.h"
#include "kerf/values/space.h"
#include "kerf/values/vector_instances.h"

// Axis-aligned boxes in two and three dimensions, and where one stands relative to another. Every
// test is exact: no tolerance is applied anywhere, and each says whether the border counts.
namespace kerf {

class CArchive;
class ERFile;

/// Where a first box stands relative to a second.
enum RELATIVE_BOX_POSITION {
    BoxDisjoint = 0,  ///< apart; boxes that touch are not
    BoxWithin = 1,    ///< the first lies in the second or equals it
    BoxContains = 2,  ///< the second lies strictly inside the first
    BoxOverlap = 3    ///< anything else, a second box inside the first that touches its border too
};

/// Where a segment stands relative to a box.
enum ER_MINMAX_POSITION_SEGMENT { SegmentOutside = 0, SegmentCrossing = 1, SegmentInside = 2 };

/// Where a box stands relative to a closed polygon.
enum ER_MINMAX_POSITION_POLYGONE {
    PolygonOutside = 0,   ///< the two are apart
    PolygonCrossing = 1,  ///< an edge passes through the border of the box
    PolygonInside = 2,    ///< the polygon surrounds the box
    PolygonPartly = 3     ///< the polygon lies in the box
};

/// The fields of ERMinimax2D by number.
enum class MinMax2D { XMin = 0, YMin = 1, XMax = 2, YMax = 3 };

/// What the boxes of the plane and of space share; used through ERMinimax2D and ERMinimax3D.
/// A box that holds nothing is reset: all its minima are the largest double and all its maxima the
/// negative of that, so that the first Update lands on the point.
/// Degenerate: a box built or filled with a minimum above its maximum is kept so. A NaN coordinate
///             never widens a box.
/// Failure:    nothing is reported, and only invalid() tells a reset box: every other operation
///             computes on its extreme values, unless it says otherwise.
template <class S>
class AxisAlignedBox {
public:
    using Space = S;
    using Box = typename Space::Box;
    using Point = typename Space::Point;
    static constexpr unsigned int axes = Space::dimension;

    void Reset() {
        for (unsigned int axis = 0; axis < axes; ++axis) {
            bounds_[axis] = std::numeric_limits<double>::max();
            bounds_[axes + axis] = -std::numeric_limits<double>::max();
        }
    }

    /// 1 for a reset box.
    /// Kept: only the minimum in x is looked at, so a box that holds the largest double there counts
    ///       as reset whatever the rest.
    int invalid() const { return bounds_[0] == std::numeric_limits<double>::max(); }

    /// The minimum and the maximum on an axis: 0 is x, 1 y, 2 z.
    double lower(unsigned int axis) const { return bounds_[axis]; }
    double upper(unsigned int axis) const { return bounds_[axes + axis]; }

    double xmin() const { return lower(0); }
    double xmax() const { return upper(0); }
    double ymin() const { return lower(1); }
    double ymax() const { return upper(1); }
    Point MinPoint() const { return Space::point(bounds_); }
    Point MaxPoint() const { return Space::point(bounds_ + axes); }
    double xlength() const { return length(0); }
    double ylength() const { return length(1); }

    /// Widens the box to hold the point or the other box.
    void Update(const Point& p) {
        const auto c = Space::coordinates(p);
        for (unsigned int axis = 0; axis < axes; ++axis) widen(axis, c[axis], c[axis]);
    }
    void Update(const Box& other) {
        for (unsigned int axis = 0; axis < axes; ++axis)
            widen(axis, other.lower(axis), other.upper(axis));
    }
    Box& operator+=(const Point& p) {
        Update(p);
        return self();
    }
    Box operator+(const Point& p) const {
        Box widened = self();
        widened.Update(p);
        return widened;
    }

    /// Moves every face outwards by d, inwards when d is negative. Reset boxes are not tested for.
    void Inflate(double d) {
        for (unsigned int axis = 0; axis < axes; ++axis) {
            bounds_[axis] -= d;
            bounds_[axes + axis] += d;
        }
    }
    Box& operator+=(double d) {
        Inflate(d);
        return self();
    }
    Box& operator-=(double d) {
        Inflate(-d);
        return self();
    }

    /// 1 when p lies in the box, border included.
    int contains(const Point& p) const {
        const auto c = Space::coordinates(p);
        for (unsigned int axis = 0; axis < axes; ++axis) {
            if (!(lower(axis) <= c[axis] && c[axis] <= upper(axis))) return 0;
        }
        return 1;
    }

    /// 1 when p lies in the box, border excluded.
    int stricklyContains(const Point& p) const {
        const auto c = Space::coordinates(p);
        for (unsigned int axis = 0; axis < axes; ++axis) {
            if (!(lower(axis) < c[axis] && c[axis] < upper(axis))) return 0;
        }
        return 1;
    }

    ERULong binaryStoreSize() const { return sizeof(bounds_); }
    void saveGuts(ERFile& file) const { coordinates::save(file, bounds_, 2 * axes); }
    void restoreGuts(ERFile& file) { coordinates::overwrite(file, bounds_, 2 * axes); }
    /// The fields, raw. A file that ends too early leaves the fields that it did not hold.
    friend ERFile& operator<<(ERFile& file, const Box& box) {
        box.saveGuts(file);
        return file;
    }
    friend ERFile& operator>>(ERFile& file, Box& box) {
        box.restoreGuts(file);
        return file;
    }

protected:
    AxisAlignedBox() { Reset(); }

    double length(unsigned int axis) const { return upper(axis) - lower(axis); }
    double diagonalLength() const {
        double sum = 0.0;
        for (unsigned int axis = 0; axis < axes; ++axis) sum += length(axis) * length(axis);
        return std::sqrt(sum);
    }
    void set(unsigned int axis, double low, double high) {
        bounds_[axis] = low;
        bounds_[axes + axis] = high;
    }
    void widen(unsigned int axis, double low, double high) {
        if (low < bounds_[axis]) bounds_[axis] = low;
        if (high > bounds_[axes + axis]) bounds_[axes + axis] = high;
    }

    double bounds_[2 * axes];  // all minima, then all maxima: the order in files

private:
    Box& self() { return static_cast<Box&>(*this); }
    const Box& self() const { return static_cast<const Box&>(*this); }

    template <class AnySpace>
    friend typename AnySpace::Box intersection(const AxisAlignedBox<AnySpace>& a,
                                               const AxisAlignedBox<AnySpace>& b);
};

/// A box in the plane. In memory and in files: xmin, ymin, xmax, ymax.
class KERF_EXPORT ERMinimax2D : public AxisAlignedBox<Space2D> {
public:
    ERMinimax2D() = default;  ///< reset
    /// Stored as given. The arguments come in pairs for each axis, unlike the fields.
    ERMinimax2D(double xmin, double xmax, double ymin, double ymax) {
        Garnir(xmin, xmax, ymin, ymax);
    }
    /// The box with these two corners, in any order.
    ERMinimax2D(const ERPoint2D& a, const ERPoint2D& b);
    /// The box of the points, of the Cartesian points for poles; reset when there are none.
    explicit ERMinimax2D(const ERVec<ERPoint2D>& points) { Update(points); }
    explicit ERMinimax2D(const ERVec<ERPole2DH>& poles);

    void Garnir(double xmin, double xmax, double ymin, double ymax) {
        set(0, xmin, xmax);
        set(1, ymin, ymax);
    }

    using AxisAlignedBox::Update;
    void Update(const ERVec<ERPoint2D>& points);

    /// A field by number; the index is the caller's duty.
    double operator[](enum MinMax2D field) const { return bounds_[static_cast<int>(field)]; }

    /// The Euclidean length of the diagonal.
    double DiametreBoule() const { return diagonalLength(); }

    /// The corners.
    /// Kept: in the order (xmin, ymin), (xmax, ymin), (xmin, ymax), (xmax, ymax), which does not go
    ///       round the box.
    ERVec<ERPoint2D> getVertice() const;

    /// 1 when p lies exactly on one of the four sides.
    int onBorder(const ERPoint2D& p) const;

    /// 1 when the infinite line through p meets the box, border included; directions may be of any
    /// length, and a zero one meets nothing. Reset boxes are not tested for.
    int intersect(const ERPoint2D& p, const ERVector2D& direction) const;

    /// 1 unless SutherCohen finds the segment outside.
    int isVisible(const ERPoint2D& a, const ERPoint2D& b) const;
    /// What SutherCohen finds for the segment.
    ER_MINMAX_POSITION_SEGMENT positionRelative(const ERPoint2D& a, const ERPoint2D& b) const;
    /// Where the box stands relative to the polygon of n points, closed from the last to the first.
    /// PolygonCrossing too when no edge meets the box and a corner of it is on the polygon's border as
    /// Inside tells: within an area of 1e-10 of an edge.
    ER_MINMAX_POSITION_POLYGONE positionRelative(const ERPoint2D* polygon, unsigned int n) const;
    ER_MINMAX_POSITION_POLYGONE positionRelative(const ERVec<ERPoint2D>& polygon) const;
};

/// A box in space. In memory and in files: xmin, ymin, zmin, xmax, ymax, zmax.
class KERF_EXPORT ERMinimax3D : public AxisAlignedBox<Space3D> {
public:
    ERMinimax3D() = default;  ///< reset
    /// Stored as given. The arguments come in pairs for each axis, unlike the fields.
    ERMinimax3D(double xmin, double xmax, double ymin, double ymax, double zmin, double zmax) {
        Garnir(xmin, xmax, ymin, ymax, zmin, zmax);
    }
    /// The box of the points, of the Cartesian points for poles; reset when there are none.
    explicit ERMinimax3D(const ERVec<ERPoint3D>& points) { Update(points); }
    explicit ERMinimax3D(const ERVec<ERPole3DH>& poles);

    void Garnir(double xmin, double xmax, double ymin, double ymax, double zmin, double zmax) {
        set(0, xmin, xmax);
        set(1, ymin, ymax);
        set(2, zmin, zmax);
    }

    using AxisAlignedBox::Update;
    void Update(const ERVec<ERPoint3D>& points);

    double zmin() const { return lower(2); }
    double zmax() const { return upper(2); }
    double zlength() const { return length(2); }

    /// The Euclidean length of the diagonal.
    double diagonal() const { return diagonalLength(); }

    /// The corners: the loop (xmin, ymin), (xmax, ymin), (xmax, ymax), (xmin, ymax) at zmin, then
    /// the same loop at zmax.
    ERVec<ERPoint3D> getVertice() const;

    /// 1 when the infinite line through p meets the box, border included; directions may be of any
    /// length, and a zero one meets nothing. 0 for a reset box.
    int intersect(const ERPoint3D& p, const ERVector3D& direction) const;
};

template <class Space>
int operator==(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
        if (!(a.lower(axis) == b.lower(axis) && a.upper(axis) == b.upper(axis))) return 0;
    }
    return 1;
}

template <class Space>
int operator!=(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    return !(a == b);
}

/// 1 when the closed intervals have no number in common. One branch for both sides, since which of
/// them it is cannot be predicted.
inline int intervalsApart(double aLow, double aHigh, double bLow, double bHigh) {
    return static_cast<int>(aHigh < bLow) | static_cast<int>(bHigh < aLow);
}

/// 1 when the boxes are apart on some axis.
/// Kept: the operator tells separation, not contact. Boxes that share a face, an edge or a corner
///       are not apart.
template <class Space>
int operator|(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
        if (intervalsApart(a.lower(axis), a.upper(axis), b.lower(axis), b.upper(axis))) return 1;
    }
    return 0;
}

/// Where a stands relative to b.
/// Kept: the two containments differ. a lies within b when borders touch or the boxes are equal, but
///       it contains b only strictly on every axis.
template <class Space>
RELATIVE_BOX_POSITION RelativePosition(const AxisAlignedBox<Space>& a,
                                       const AxisAlignedBox<Space>& b) {
    bool within = true;
    bool containing = true;
    for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
        const double aLow = a.lower(axis), aHigh = a.upper(axis);
        const double bLow = b.lower(axis), bHigh = b.upper(axis);
        if (intervalsApart(aLow, aHigh, bLow, bHigh)) return BoxDisjoint;
        within = within && bLow <= aLow && bHigh >= aHigh;
        containing = containing && bLow > aLow && bHigh < aHigh;
    }
    if (containing) return BoxContains;
    return within ? BoxWithin : BoxOverlap;
}

/// 1 when a lies within b (BoxWithin), when a contains b (BoxContains).
template <class Space>
int operator<<(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    return RelativePosition(a, b) == BoxWithin;
}
template <class Space>
int operator>>(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    return RelativePosition(a, b) == BoxContains;
}

/// As << and >>, 1 for overlapping boxes too.
template <class Space>
int operator<(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    const RELATIVE_BOX_POSITION position = RelativePosition(a, b);
    return position == BoxWithin || position == BoxOverlap;
}
template <class Space>
int operator>(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    const RELATIVE_BOX_POSITION position = RelativePosition(a, b);
    return position == BoxContains || position == BoxOverlap;
}

/// The smallest box around both.
template <class Space>
typename Space::Box Union(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    typename Space::Box both;
    both.Update(static_cast<const typename Space::Box&>(a));
    both.Update(static_cast<const typename Space::Box&>(b));
    return both;
}

/// What the boxes have in common: a reset box when they are apart, a flat one when they touch.
template <class Space>
typename Space::Box intersection(const AxisAlignedBox<Space>& a, const AxisAlignedBox<Space>& b) {
    typename Space::Box common;
    if (a | b) return common;
    AxisAlignedBox<Space>& bounds = common;
    for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
        bounds.set(axis, a.lower(axis) > b.lower(axis) ? a.lower(axis) : b.lower(axis),
                   a.upper(axis) < b.upper(axis) ? a.upper(axis) : b.upper(axis));
    }
    return common;
}

/// The squared length, from the origin, of p clamped to the box.
/// Kept: p is not subtracted, so this is the distance from p for p at the origin alone.
template <class Space>
double minimumSquaredDistance(const AxisAlignedBox<Space>& box, const typename Space::Point& p) {
    const auto c = Space::coordinates(p);
    double sum = 0.0;
    for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
        double clamped = c[axis];
        if (clamped < box.lower(axis)) clamped = box.lower(axis);
        if (clamped > box.upper(axis)) clamped = box.upper(axis);
        sum += clamped * clamped;
    }
    return sum;
}

/// The squared length, from the origin, of the corner farthest from p, the maximum of an axis when
/// both ends are as far.
/// Kept: p is not subtracted.
template <class Space>
double maximumSquaredDistance(const AxisAlignedBox<Space>& box, const typename Space::Point& p) {
    const auto c = Space::coordinates(p);
    double sum = 0.0;
    for (unsigned int axis = 0; axis < Space::dimension; ++axis) {
        const double low = box.lower(axis), high = box.upper(axis);
        const double farther = low + high >= 2.0 * c[axis] ? high : low;
        sum += farther * farther;
    }
    return sum;
}

/// The fields, raw. Loading past the end throws the archive's exception and leaves the box as it
/// was.
KERF_EXPORT CArchive& operator<<(CArchive& archive, ERMinimax3D box);
KERF_EXPORT CArchive& operator>>(CArchive& archive, ERMinimax3D& box);

KERF_DECLARE_SIMPLE_VECTOR(ERMinimax3D)
KERF_DECLARE_SIMPLE_GRID(ERMinimax3D)

}  // namespace kerf
