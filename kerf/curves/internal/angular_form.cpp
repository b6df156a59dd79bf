#include "kerf/curves/internal/angular_form.h"

#include <algorithm>
#include <limits>

#include "kerf/curves/circle.h"
#include "kerf/curves/ellipse.h"

namespace kerf {

std::optional<double> broughtInto(const ERLimites& bounds, double angle) {
    if (bounds.inBound(angle)) return angle;
    const double start = bounds.start(), end = bounds.end();
    if (!(start <= end)) return std::nullopt;
    const double rounding = 4.0 * std::numeric_limits<double>::epsilon() *
                            std::max({fullTurn, std::fabs(start), std::fabs(end)});
    if (rounding > 1e-3) return std::nullopt;  // bounds that no longer tell angles apart
    double offset = std::remainder(angle - start, fullTurn);
    if (std::fabs(offset) <= rounding) return start;
    if (offset < 0.0) offset += fullTurn;
    if (start + offset <= end) return start + offset;
    if (start + offset - end <= rounding) return end;
    return std::nullopt;
}

ERLimites Harmonic::range(const ERLimites& bounds) const {
    const double r = amplitude(), top = phase();
    const double first = (*this)(bounds.start()), last = (*this)(bounds.end());
    const auto passed = [&](double angle) {
        return bounds.amplitude() >= fullTurn || broughtInto(bounds, angle);
    };
    return ERLimites(passed(top + halfTurn) ? middle - r : std::min(first, last),
                     passed(top) ? middle + r : std::max(first, last));
}

unsigned int Harmonic::appendWhere(double value, const ERLimites& bounds,
                                   ERVec<double>& parameters) const {
    const double d = value - middle;
    const double r = amplitude();
    if (std::fabs(d) > r) return 0;
    const auto append = [&](double angle) {
        if (const auto found = broughtInto(bounds, angle)) parameters.append(*found);
    };
    const double top = phase();
    if (std::fabs(d) < r) {
        const double h = std::sqrt((r - d) * (r + d));
        append(top + std::atan2(h, d));
        append(top + std::atan2(-h, d));
    } else if (std::fabs(d) == r) {
        append(d >= 0.0 ? top : top + halfTurn);
    }
    return parameters.length();
}

AngularForm<Space2D> angularForm(const ERCircle2D& circle) {
    return {circle.center(), ERVector2D(circle.radius(), 0.0), ERVector2D(0.0, circle.radius())};
}

AngularForm<Space2D> angularForm(const EREllipse2D& ellipse) {
    const ERVector2D axis = ellipse.direction();
    return {ellipse.center(), axis * (0.5 * ellipse.bigAxe()),
            ERVector2D(-axis.j(), axis.i()) * (0.5 * ellipse.getSmallAxe())};
}

unsigned int appendCutsWithPlanZ(const AngularForm<Space3D>& form, double z,
                                 const ERLimites& bounds, ERVec<double>& parameters) {
    const Harmonic height = form.along(Coord3D::CoordZ);
    const double size = std::max(form.cosine.norme(), form.sine.norme());
    if (!(height.amplitude() > equalityTolerance * size)) return 0;
    return height.appendWhere(z, bounds, parameters);
}

}  // namespace kerf
