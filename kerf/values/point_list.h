#pragma once
#include <cmath>

#include "kerf/core/memory_pool.h"
#include "kerf/core/object.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"
#include "kerf/values/space.h"
#include "kerf/values/vector_instances.h"

// The point lists that approximations grow: a coarse sampling, divided until its chords are close
// enough.
namespace kerf {

class ERAnyBoundedSurface;
class ERFiniteEntity2DWF;
class ERFiniteEntity3DWF;

/// A point and its parameter, which is the pair (u, v) on a surface. The alignment makes the
/// elements of a list's pool 36, 44 and 52 bytes whatever the pointer.
template <class Node, class Space, class ParameterType>
struct alignas(8) ListedPoint : ERMemoryPool {
    using Point = typename Space::Point;
    using Vector = typename Space::Vector;
    using Parameter = ParameterType;

    ListedPoint(const Point& p, const Parameter& u) : point(p), parameter(u) {}

    Point point;
    Parameter parameter;
    Node* next = nullptr;
};

struct ERPoint12 : ListedPoint<ERPoint12, Space2D, double> {
    using ListedPoint::ListedPoint;
};
struct ERPoint13 : ListedPoint<ERPoint13, Space3D, double> {
    using ListedPoint::ListedPoint;
};
struct ERPoint23 : ListedPoint<ERPoint23, Space3D, ERPoint2D> {
    using ListedPoint::ListedPoint;
};
static_assert(sizeof(ERPoint12) == 32 && sizeof(ERPoint13) == 40 && sizeof(ERPoint23) == 48);

/// What the three lists share. The nodes come from the pool that the list is, and go with it all at
/// once.
/// Threads: one at a time uses a list.
template <class Node>
class RefinablePointList : public ERMemPool {
public:
    using Point = typename Node::Point;
    using Parameter = typename Node::Parameter;

    RefinablePointList() : ERMemPool(sizeof(Node), 1024) {}

    unsigned int entries() const { return entries_; }
    const Node* first() const { return head_; }  ///< null for an empty list
    const Node* last() const { return tail_; }

    /// At the tail, in constant time.
    void append(const Point& point, const Parameter& parameter) {
        Node* const node = newNode(point, parameter);
        (tail_ == nullptr ? head_ : tail_->next) = node;
        tail_ = node;
        ++entries_;
    }

    /// The points in list order.
    ERVec<Point> toVec() const { return collect<Point>(&Node::point); }

    /// Empties the list.
    void purge() {
        ERMemPool::purge();
        head_ = tail_ = nullptr;
        entries_ = 0;
    }

protected:
    /// Walks the list once. Of each span it evaluates the point at the mean parameter, and no point
    /// is evaluated twice. Where that point lies too far from the line through the span's ends (from
    /// its start, when the ends coincide) it goes into the list, and the left half is looked at
    /// next. A span whose ends are tooClose in the parameter is left alone. evaluate(parameter)
    /// gives the point; isTooFar takes the squared distance.
    /// Kept: the point at the mean is the only probe. A span that crosses its chord there is
    ///       accepted, however far it strays elsewhere.
    template <class Evaluate, class TooClose, class TooFar>
    void refine(Evaluate&& evaluate, TooClose tooClose, TooFar isTooFar) {
        using Vector = typename Node::Vector;
        Node* a = head_;
        while (a != nullptr && a->next != nullptr) {
            Node* const b = a->next;
            const Parameter mean = (a->parameter + b->parameter) * 0.5;
            // Where no number lies between the parameters a span cannot be divided.
            if (tooClose(a->parameter, b->parameter) || mean == a->parameter ||
                mean == b->parameter) {
                a = b;
                continue;
            }
            const Point m = evaluate(mean);
            Vector direction(a->point, b->point);
            direction.normalize();
            const Point foot = a->point + direction * (Vector(a->point, m) * direction);
            if (isTooFar(distance2(m, foot))) {
                Node* const middle = newNode(m, mean);
                middle->next = b;
                a->next = middle;
                ++entries_;
            } else {
                a = b;
            }
        }
    }

    template <class Field>
    ERVec<Field> collect(Field Node::*field) const {
        ERVec<Field> values(entries_);
        Field* place = values.data();
        for (const Node* node = head_; node != nullptr; node = node->next) *place++ = node->*field;
        return values;
    }

private:
    Node* newNode(const Point& point, const Parameter& parameter) {
        return new (static_cast<ERMemPool&>(*this)) Node(point, parameter);
    }

    Node* head_ = nullptr;
    Node* tail_ = nullptr;
    unsigned int entries_ = 0;
};

/// What the lists of curves share: one parameter.
template <class Space>
class CurvePointList : public RefinablePointList<typename Space::PointNode> {
public:
    /// Divides until the chord deviation at the middle of each span is within tol; spans of the
    /// parameter of 1e-7 and less are never divided. evaluate(u) gives the point of the curve.
    template <class Evaluate>
    void smash(Evaluate&& evaluate, double tol) {
        const auto tooClose = [](double a, double b) { return std::fabs(a - b) <= 1e-7; };
        const auto tooFar = [tol](double squared) { return std::sqrt(squared) > tol; };
        this->refine(evaluate, tooClose, tooFar);
    }
};

/// Points of a plane curve with their parameters.
class KERF_EXPORT ERPoint12List : public CurvePointList<Space2D> {
public:
    void Smash(const ERFiniteEntity2DWF& curve, double tol);  ///< smash over the curve's points
};

/// Points of a curve in space with their parameters.
class KERF_EXPORT ERPoint13List : public CurvePointList<Space3D> {
public:
    void Smash(const ERFiniteEntity3DWF& curve, double tol);  ///< smash over the curve's points
};

/// Points of a surface with their pairs (u, v).
class KERF_EXPORT ERPoint23List : public RefinablePointList<ERPoint23> {
public:
    /// Divides until the chord deviation is within tol; a span is never divided when it is 1e-6 of
    /// the bounds or less both in u and in v. evaluate(uv) gives the point of the surface.
    template <class Evaluate>
    void smash(Evaluate&& evaluate, const ERLimites& boundsU, const ERLimites& boundsV,
               double tol) {
        const double closeU = 1e-6 * boundsU.amplitude(), closeV = 1e-6 * boundsV.amplitude();
        const auto tooClose = [=](const ERPoint2D& a, const ERPoint2D& b) {
            return std::fabs(a.x() - b.x()) <= closeU && std::fabs(a.y() - b.y()) <= closeV;
        };
        const auto tooFar = [tol](double squared) { return squared > tol * tol; };
        refine(evaluate, tooClose, tooFar);
    }

    /// smash over the surface's points and ranges. After a million evaluations no span is divided any
    /// more.
    void Smash(const ERAnyBoundedSurface& surface, double tol);

    /// The pairs (u, v) in list order.
    ERVec<ERPoint2D> toVec2D() const { return collect<ERPoint2D>(&ERPoint23::parameter); }
};

/// Points of a surface and their pairs (u, v), of equal number, as an object that can be stored.
/// It prints nothing.
/// Storage: the points, then the pairs.
/// Damage:  where the file gives different lengths, both are cut to the shorter.
class KERF_EXPORT ERVecPoint23 : public ERObject {
    ER_OBJECT_CLASS(ERVecPoint23);

public:
    ERVecPoint23() = default;
    ERVecPoint23(const ERVecPoint23&) = default;
    explicit ERVecPoint23(ERPoint23List& list);
    ERVecPoint23& operator=(const ERVecPoint23&) = default;

    const ERVec<ERPoint2D>& parameters() const { return parameters_; }
    const ERVec<ERPoint3D>& points() const { return points_; }

    /// Exact in every coordinate; shared vectors are equal whatever they hold.
    bool operator==(const ERVecPoint23& other) const;

    ERVecPoint23* getCopy() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    ERVec<ERPoint2D> parameters_;
    ERVec<ERPoint3D> points_;
};

}  // namespace kerf
