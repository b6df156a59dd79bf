#pragma once
#include <cmath>
#include <type_traits>

#include "kerf/core/stored_fields.h"
#include "kerf/curves/infinite_line.h"
#include "kerf/surfaces/surface.h"

// Surfaces that move as their points, directions and lengths do.
namespace kerf {

namespace detail {

// What a move does to each part of a surface, in place.

struct ScaledParts {
    double factor;

    void operator()(ERPoint3D& point) const { point *= factor; }
    void operator()(ERVector3D&) const {}
    void operator()(ERInfLine3D& line) const { line.scale(factor); }
    void operator()(double& length) const { length *= factor; }
};

struct TranslatedParts {
    const ERPoint3D& by;

    void operator()(ERPoint3D& point) const { point += by; }
    void operator()(ERVector3D&) const {}
    void operator()(ERInfLine3D& line) const { line.translate(by); }
    void operator()(double&) const {}
};

template <class Transformation, bool inverse>
struct TransformedParts {
    const Transformation& t;

    template <class Value>
    Value image(const Value& value) const {
        return inverse ? t << value : t >> value;
    }
    void operator()(ERPoint3D& point) const { point = image(point); }
    // An isometry leaves a direction of any length as long as it was.
    void operator()(ERVector3D& direction) const {
        direction = image(direction);
        if constexpr (std::is_same_v<Transformation, ERPmSimilitude3D>) direction.normalize();
    }
    void operator()(ERInfLine3D& line) const {
        if constexpr (inverse)
            line.transformTo(t);
        else
            line.transformFrom(t);
    }
    void operator()(double& length) const {
        const double factor = std::fabs(t.getFactHomo());
        inverse ? length /= factor : length *= factor;
    }
};

}  // namespace detail

/// The moves of Derived, a surface without limits, which gives
///
///     template <class Edit> void changeParts(Edit edit);
///
/// calling edit(part) on each point, direction, line and length that places the surface. Lengths are
/// multiplied by a factor of scale() as it is, and by the size of that of a similitude.
template <class Derived>
class UnboundedSurface : public ERSurface {
public:
    void scale(double factor) override { change(detail::ScaledParts{factor}); }
    void translate(const ERPoint3D& t) override { change(detail::TranslatedParts{t}); }
    void transformFrom(const ERPmSimilitude3D& transformation) override {
        change(detail::TransformedParts<ERPmSimilitude3D, false>{transformation});
    }
    void transformFrom(const ERPmIsometrie3D& transformation) override {
        change(detail::TransformedParts<ERPmIsometrie3D, false>{transformation});
    }
    void transformTo(const ERPmSimilitude3D& transformation) override {
        change(detail::TransformedParts<ERPmSimilitude3D, true>{transformation});
    }
    void transformTo(const ERPmIsometrie3D& transformation) override {
        change(detail::TransformedParts<ERPmIsometrie3D, true>{transformation});
    }

protected:
    UnboundedSurface() = default;
    UnboundedSurface(const UnboundedSurface&) = default;
    UnboundedSurface& operator=(const UnboundedSurface&) = default;

private:
    template <class Edit>
    void change(Edit edit) {
        static_cast<Derived&>(*this).changeParts(edit);
        setDirty();
    }
};

}  // namespace kerf
