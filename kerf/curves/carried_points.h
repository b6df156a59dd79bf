#pragma once
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/space.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "kerf/values/vector_instances.h"

// Entities that move as their points do: segments, polylines, curves of poles.
namespace kerf {

/// What the plane and space name alike. Carried is the class below, which reaches the points.
template <class Carried, class Base, class Space>
class KERF_EXPORT MovedPoints : public Base {
public:
    using Base::Base;

    void scale(double factor) override {
        editEach([=](auto& point) { point.scale(factor); });
    }
    void translate(const typename Space::Point& t) override {
        editEach([&](auto& point) { point.translate(t); });
    }

protected:
    MovedPoints() = default;
    MovedPoints(const MovedPoints&) = default;
    MovedPoints& operator=(const MovedPoints&) = default;

    template <class Transformation>
    void carryFrom(const Transformation& t) {
        edit([&](auto& points) { points = t >> points; });
    }
    template <class Transformation>
    void carryTo(const Transformation& t) {
        edit([&](auto& points) { points = t << points; });
    }

private:
    template <class Edit>
    void edit(Edit change) {
        static_cast<Carried&>(*this).changePointsOfDerived(change);
        this->setDirty();
    }

    template <class Edit>
    void editEach(Edit change) {
        edit([&](auto& points) {
            if constexpr (requires { points.thePoint(); }) {
                change(points);
            } else {
                auto* const first = points.data();
                for (unsigned int i = 0; i < points.length(); ++i) change(first[i]);
            }
        });
    }
};

/// The changes of Derived, a class under Base, which gives
///
///     template <class Edit> void changePoints(Edit edit);
///
/// calling edit(points) on each point, or vector of points or poles, that it holds, and dropping
/// what it had derived from them.
template <class Derived, class Base, class Space>
class CarriedByPoints;

template <class Derived, class Base>
class KERF_EXPORT CarriedByPoints<Derived, Base, Space2D>
    : public MovedPoints<CarriedByPoints<Derived, Base, Space2D>, Base, Space2D> {
    using Moved = MovedPoints<CarriedByPoints, Base, Space2D>;
    friend Moved;

public:
    using Moved::Moved;

    void transformFrom(const ERTransfo2D& t) override { this->carryFrom(t); }
    void transformTo(const ERTransfo2D& t) override { this->carryTo(t); }

private:
    template <class Edit>
    void changePointsOfDerived(Edit edit) {
        static_cast<Derived&>(*this).changePoints(edit);
    }
};

template <class Derived, class Base>
class KERF_EXPORT CarriedByPoints<Derived, Base, Space3D>
    : public MovedPoints<CarriedByPoints<Derived, Base, Space3D>, Base, Space3D> {
    using Moved = MovedPoints<CarriedByPoints, Base, Space3D>;
    friend Moved;

public:
    using Moved::Moved;

    void transformFrom(const ERPmSimilitude3D& t) override { this->carryFrom(t); }
    void transformFrom(const ERPmIsometrie3D& t) override { this->carryFrom(t); }
    void transformTo(const ERPmSimilitude3D& t) override { this->carryTo(t); }
    void transformTo(const ERPmIsometrie3D& t) override { this->carryTo(t); }

private:
    template <class Edit>
    void changePointsOfDerived(Edit edit) {
        static_cast<Derived&>(*this).changePoints(edit);
    }
};

}  // namespace kerf
