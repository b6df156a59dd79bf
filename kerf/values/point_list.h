#pragma once
#include <cmath>
#include <type_traits>

#include "kerf/core/memory_pool.h"
#include "kerf/core/object.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"
#include "kerf/values/vector_instances.h"

// The point lists that approximations grow: a coarse sampling, divided until its chords are close
// enough.
namespace kerf {

// The nodes: a point and its parameter, which is the pair (u, v) on a surface. Their alignment makes
// the elements of a list's pool 36, 44 and 52 bytes whatever the pointer.
struct alignas(8) ERPoint12 : ERMemoryPool {
    ERPoint12(const ERPoint2D& p, double u) : point(p), parameter(u) {}
    ERPoint2D point;
    double parameter;
    ERPoint12* next = nullptr;
};
struct alignas(8) ERPoint13 : ERMemoryPool {
    ERPoint13(const ERPoint3D& p, double u) : point(p), parameter(u) {}
    ERPoint3D point;
    double parameter;
    ERPoint13* next = nullptr;
};
struct alignas(8) ERPoint23 : ERMemoryPool {
    ERPoint23(const ERPoint3D& p, const ERPoint2D& uv) : point(p), parameter(uv) {}
    ERPoint3D point;
    ERPoint2D parameter;
    ERPoint23* next = nullptr;
};

/// What the three lists share. The nodes come from the pool that the list is, and go with it all at
/// once. One thread at a time uses a list.
template <class Node>
class RefinablePointList : public ERMemPool {
public:
    using Point = decltype(Node::point);
    using Parameter = decltype(Node::parameter);

    RefinablePointList() : ERMemPool(sizeof(Node), 1024) {}

    unsigned int entries() const { return entries_; }
    const Node* first() const { return head_; }  ///< null for an empty list
    const Node* last() const { return tail_; }

    /// At the tail, in constant time.
    void append(const Point& point, const Parameter& parameter) {
        Node* const node = new (static_cast<ERMemPool&>(*this)) Node(point, parameter);
        (tail_ == nullptr ? head_ : tail_->next) = node;
        tail_ = node;
        ++entries_;
    }

    /// The points in list order.
    ERVec<Point> toVec() const { return collect(&Node::point); }

    /// Empties the list.
    void purge() {
        ERMemPool::purge();
        head_ = tail_ = nullptr;
        entries_ = 0;
    }

protected:
    /// Walks the list once. A span whose point at the mean parameter lies too far from the line
    /// through its ends (from its start, when the ends coincide) is divided there and its left half
    /// looked at next; a span whose ends are tooClose in the parameter is left alone. This one
    /// point is the only probe: a span that crosses its chord there is accepted, however far it
    /// strays elsewhere. evaluate(parameter) gives the point; isTooFar takes the squared distance.
    template <class Evaluate, class TooClose, class TooFar>
    void refine(Evaluate&& evaluate, TooClose tooClose, TooFar isTooFar) {
        using Vector = std::conditional_t<std::is_same_v<Point, ERPoint2D>, ERVector2D, ERVector3D>;
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
                Node* const middle = new (static_cast<ERMemPool&>(*this)) Node(m, mean);
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
    Node* head_ = nullptr;
    Node* tail_ = nullptr;
    unsigned int entries_ = 0;
};

/// What the lists of curves share: one parameter.
template <class Node>
class CurvePointList : public RefinablePointList<Node> {
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
class ERPoint12List : public CurvePointList<ERPoint12> {};

/// Points of a curve in space with their parameters.
class ERPoint13List : public CurvePointList<ERPoint13> {};

/// Points of a surface with their pairs (u, v).
class ERPoint23List : public RefinablePointList<ERPoint23> {
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

    /// The pairs (u, v) in list order.
    ERVec<ERPoint2D> toVec2D() const { return collect(&ERPoint23::parameter); }
};

/// Points of a surface and their pairs (u, v), of equal number, as an object that can be stored.
/// Storage: the points, then the pairs. Where a damaged file gives different lengths, both are
///          cut to the shorter.
/// Text:    none.
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
