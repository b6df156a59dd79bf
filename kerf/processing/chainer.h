#pragma once
#include <iosfwd>
#include <memory>

#include "kerf/core/list.h"
#include "kerf/core/object.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/platform/config.h"
#include "kerf/values/point.h"

// The chainer joins segments of the plane, given in any order and direction, end to end into chains.
//
// A segment is whatever has two ends and two end tangents. Programs derive from ERChainerSeg2D, or take
// CurveSegment2D (curve_segment.h), which wraps a curve of any family. They insert their segments into an
// ERChainerProcessor and read its chains.
//
// Ownership: segments and chains are counted. A chain shares its segments, a processor its chains.
//            Segments inserted are reversed in place, chains inserted grow in place.
// Lifetime:  while a chain or a processor holds a segment its ends, its tangents and its length stay as
//            they are, but for reverse().
// Threads:   a processor, with all that it holds, belongs to one thread at a time.
namespace kerf {

/// How one segment lies to another: which end of this touches which end of the other.
enum SegCompState {
    noMatch = 0,
    overlap = 1,       ///< an end of one is close to both ends of the other, or both are the same
    overlapOther = 2,  ///< no comparison of ours returns it; inserting takes it as overlap
    firstFirst = 3,
    firstLast = 4,
    lastFirst = 5,
    lastLast = 6
};

/// A directed segment with its own two ends, 1 and 2, which reverse() exchanges for its users.
class KERF_EXPORT ERChainerSeg2D : public ERObject {
    ER_OBJECT_CLASS(ERChainerSeg2D);

public:
    ERChainerSeg2D(const ERChainerSeg2D&) = delete;
    ERChainerSeg2D& operator=(const ERChainerSeg2D&) = delete;

    virtual void reverse();
    int isReversed() const { return reversed; }  ///< 0 or 1

    virtual ERPoint2D first() const;
    virtual ERPoint2D last() const;
    /// Kept: firstT and lastT exchange the tangents of a reversed segment but do not negate them: they
    ///       still run from end 1 to end 2.
    virtual ERVector2D firstT() const;
    virtual ERVector2D lastT() const;
    /// Here the straight distance of the ends.
    virtual double length() const;

    /// By the squared distances A of first() and o's first(), B of first() and o's last(), C of last() and
    /// o's first(), D of last() and o's last(), with t = tol * tol, the first of these that holds:
    ///
    ///     overlap     A < t and B < t, or C < t and D < t
    ///     firstFirst  A < t, A <= B, A < C, and D > the longer length()
    ///     firstLast   B < t, B <= A, B < C, B < D
    ///     lastFirst   C < t, C <= D
    ///     lastLast    D < t, D <= C
    ///
    /// Returns: noMatch for anything else, for a null pointer, and where sameDepth of this refuses.
    /// Kept:    firstFirst compares a squared distance with a length, so it depends on the unit: segments
    ///          shorter than a unit hardly ever join there, nor do long chains whose far ends are near.
    virtual SegCompState compareWith(const ERChainerSeg2D* o, double tol) const;
    /// For derived classes: 0 refuses to chain this with o. Here 1.
    virtual int sameDepth(const ERChainerSeg2D& o) const;

    virtual ERPoint2D getExt1() const = 0;
    virtual ERPoint2D getExt2() const = 0;
    /// The tangents in the direction from end 1 to end 2, of any length. A null one tells that it is not
    /// known: the segment then equals no other.
    virtual ERVector2D getTan1() const = 0;
    virtual ERVector2D getTan2() const = 0;

    ERObject* getCopy() const override;  ///< null: there is none
    void printOn(std::ostream& os) const override;

protected:
    ERChainerSeg2D() = default;

    int reversed = 0;
};

/// Segments one after the other, which is a segment itself: the first of one is meant to start where the
/// last of the one before ends, within the tolerance with which they were joined.
/// Degenerate: without segments, ends and tangents are zero.
class KERF_EXPORT ERChainedMetaSeg2D : public ERChainerSeg2D {
    ER_OBJECT_CLASS(ERChainedMetaSeg2D);

public:
    ERChainedMetaSeg2D() = default;
    explicit ERChainedMetaSeg2D(const t_SmartPtr<ERChainerSeg2D>& segment) { insert(segment); }

    /// Reverses the order and each segment.
    /// Kept: isReversed() does not change, so that first() stays the first() of the first segment.
    void reverse() override;
    double length() const override { return totalLength; }  ///< the sum of the segments'
    /// The comparison of the segments at the ends of both chains, where that of the chains' own ends
    /// finds anything. A segment that is no chain counts as a chain of itself.
    /// Returns: overlap where a segment at an end of one equals one at an end of the other: the same
    ///          ends, lengths and tangents in either direction, exactly, no tangent null, and no
    ///          refusal by sameDepth. So a segment is not chained twice, and the other half of a
    ///          circle is.
    /// Kept:    an overlap of the chains' ends alone counts only as "not apart", and those of single
    ///          segments count as noMatch.
    SegCompState compareWith(const ERChainerSeg2D* o, double tol) const override;

    ERPoint2D getExt1() const override;
    ERPoint2D getExt2() const override;
    ERVector2D getTan1() const override;
    ERVector2D getTan2() const override;

    /// Null without segments; exchanged where isReversed().
    ERChainerSeg2D* firstSeg() const;
    ERChainerSeg2D* lastSeg() const;
    unsigned int entries() const { return segments.entries(); }

    /// 1 when the ends agree within 1e-11 in x and in y.
    /// Kept: whatever the tolerance with which a processor has joined the segments.
    int isClosed() const;

    /// Appends the segment as it is. Null, and what holds this chain itself at any depth, is left out.
    void insert(const t_SmartPtr<ERChainerSeg2D>& segment);
    /// Appends the segments of o, which keeps them. A chain may merge with itself.
    void merge(ERChainedMetaSeg2D& o);
    /// Calls f(segment, data) in order.
    void applyOnSegment(void (*f)(ERChainerSeg2D*, void*), void* data) const;

    void printOn(std::ostream& os) const override;

protected:
    ERTValDlist<t_SmartPtr<ERChainerSeg2D>> segments;
    double totalLength = 0.0;

private:
    friend class ERChainerProcessor;

    // merge, taking over what nobody else holds.
    void take(ERChainedMetaSeg2D& o);
    bool isWithin(const ERChainerSeg2D& segment) const;

    bool holdsChains_ = false;
};

/// The comparison of a processor: a.compareWith(&b, tol).
KERF_EXPORT SegCompState StandardCompare(const ERChainedMetaSeg2D& a, const ERChainedMetaSeg2D& b,
                                         double tol);

/// Joins what is inserted with what is there.
///
/// insert walks the chains in their order. Wherever the walk meets one that fits, both become one chain,
/// which leaves its place and goes on with the walk; at the end it is appended. So one segment may join
/// two chains, and the order of the chains is that of their last change.
///
/// Chains are found by the position of their ends: a walk costs what there are chains with an end near
/// those of the one inserted, and looks at every chain only where `compare` is not the standard one.
/// Joining two chains takes over the links of one that nobody else holds, and copies those of another.
/// Kept: a chain that has become closed is not known as such: what touches the point where it closes is
///       compared with its end segments, and may be joined. Only a chain that is closed when it is
///       inserted is appended without comparison.
class KERF_EXPORT ERChainerProcessor {
public:
    using Compare = SegCompState (*)(const ERChainedMetaSeg2D&, const ERChainedMetaSeg2D&, double);

    /// Parameter: how close ends must be to be joined, and how long a chain must be that is not closed.
    explicit ERChainerProcessor(double tol = 0.001);
    /// The copy shares the chains: only one of both may go on inserting.
    ERChainerProcessor(const ERChainerProcessor& other);
    /// Kept: `compare` stays that of this processor.
    ERChainerProcessor& operator=(const ERChainerProcessor& other);
    virtual ~ERChainerProcessor();

    /// Inserts a chain of the segment alone.
    int insert(t_SmartPtr<ERChainerSeg2D> segment);
    /// Returns: 1 when the chain is in, on its own or merged; 0 when it was dropped: null or without
    ///          segments, open and shorter than the tolerance, or overlapping a chain.
    /// Kept:    an overlap drops the chain as the walk has made it: the chains with which it was merged
    ///          before in this walk are lost with it.
    int insert(t_SmartPtr<ERChainedMetaSeg2D> chain);

    int nbchains() const { return static_cast<int>(chains_.entries()); }
    /// From 0, the head of the list, on. Takes linear time. A position outside is the caller's fault.
    /// Lifetime: until the next insert.
    const ERChainedMetaSeg2D* getAt(int position) const;
    /// For what is inserted from now on.
    void setTol(double tol);

    /// Calls f(chain, data) for each chain in order. f does not insert into this processor.
    void applyOnMChain(void (*f)(ERChainedMetaSeg2D*, void*), void* data);
    /// Calls f(segment, data) for the segments of each chain in order; the same holds for f.
    void applyOnSegment(void (*f)(ERChainerSeg2D*, void*), void* data);

    /// In French, in Latin-1: the number of chains, and each chain with its segments.
    void printOn(std::ostream& os) const;

protected:
    Compare compare = &StandardCompare;

private:
    class Index;
    using ChainPointer = t_SmartPtr<ERChainedMetaSeg2D>;

    int enter(ChainPointer& chain);
    void append(const ChainPointer& chain);

    ERTValDlist<ChainPointer> chains_;
    double tol_;
    std::unique_ptr<Index> index_;  // null until the next insert makes it anew
};

}  // namespace kerf
