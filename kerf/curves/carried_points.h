#pragma once
#include "kerf/numerics/vector.h"
#include "kerf/values/space.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"

// Entities that move as their points do: segments, polylines, curves of poles.
namespace kerf {

namespace detail {

template <class Point>
void scalePoints(Point& point, double factor) {
    point.scale(factor);
}
template <class Point>
void scalePoints(ERVec<Point>& points, double factor) {
    Point* const first = points.data();
    for (unsigned int i = 0; i < points.length(); ++i) first[i].scale(factor);
}

template <class Point, class Translation>
void translatePoints(Point& point, const Translation& t) {
    point.translate(t);
}
template <class Point, class Translation>
void translatePoints(ERVec<Point>& points, const Translation& t) {
    Point* const first = points.data();
    for (unsigned int i = 0; i < points.length(); ++i) first[i].translate(t);
}

}  // namespace detail

/// The transformations of Derived, a class under Base, which gives
///
///     template <class Edit> void changePoints(Edit edit);
///
/// calling edit(points) on each point, or vector of points or poles, that it holds, and dropping
/// what it had derived from them.
template <class Derived, class Base, class Space>
class CarriedByPoints;

template <class Derived, class Base>
class CarriedByPoints<Derived, Base, Space2D> : public Base {
public:
    using Base::Base;

    void scale(double factor) override {
        movePoints([=](auto& points) { detail::scalePoints(points, factor); });
    }
    void translate(const ERPoint2D& t) override {
        movePoints([&](auto& points) { detail::translatePoints(points, t); });
    }
    void transformFrom(const ERTransfo2D& t) override {
        movePoints([&](auto& points) { points = t >> points; });
    }
    void transformTo(const ERTransfo2D& t) override {
        movePoints([&](auto& points) { points = t << points; });
    }

protected:
    CarriedByPoints() = default;
    CarriedByPoints(const CarriedByPoints&) = default;
    CarriedByPoints& operator=(const CarriedByPoints&) = default;

private:
    template <class Edit>
    void movePoints(Edit edit) {
        static_cast<Derived&>(*this).changePoints(edit);
        this->setDirty();
    }
};

template <class Derived, class Base>
class CarriedByPoints<Derived, Base, Space3D> : public Base {
public:
    using Base::Base;

    void scale(double factor) override {
        movePoints([=](auto& points) { detail::scalePoints(points, factor); });
    }
    void translate(const ERPoint3D& t) override {
        movePoints([&](auto& points) { detail::translatePoints(points, t); });
    }
    void transformFrom(const ERPmSimilitude3D& t) override {
        movePoints([&](auto& points) { points = t >> points; });
    }
    void transformFrom(const ERPmIsometrie3D& t) override {
        movePoints([&](auto& points) { points = t >> points; });
    }
    void transformTo(const ERPmSimilitude3D& t) override {
        movePoints([&](auto& points) { points = t << points; });
    }
    void transformTo(const ERPmIsometrie3D& t) override {
        movePoints([&](auto& points) { points = t << points; });
    }

protected:
    CarriedByPoints() = default;
    CarriedByPoints(const CarriedByPoints&) = default;
    CarriedByPoints& operator=(const CarriedByPoints&) = default;

private:
    template <class Edit>
    void movePoints(Edit edit) {
        static_cast<Derived&>(*this).changePoints(edit);
        this->setDirty();
    }
};

}  // namespace kerf
