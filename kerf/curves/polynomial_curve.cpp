#include "kerf/curves/polynomial_curve.h"

#include <algorithm>
#include <ostream>

#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/spline/bernstein.h"
#include "kerf/curves/spline/foot_polynomial.h"
#include "kerf/curves/spline/power_form.h"
#include "kerf/values/point_list.h"

namespace kerf {

ER_DEFINE_CLASS(ERPatchCPoly2D, ERLimitedEntity2DWF)
ER_DEFINE_CLASS(ERPatchCPoly3D, ERLimitedEntity3DWF)
ER_DEFINE_CLASS(ERCrvCompPoly2D, ERTrimmedEntity2DWF)
ER_DEFINE_CLASS(ERCrvCompPoly3D, ERTrimmedEntity3DWF)
ER_DEFINE_STORED_CLASS(ERPatchCPoly2D, ERLimitedEntity2DWF, ERPatchCPoly)
ER_DEFINE_STORED_CLASS(ERPatchCPoly3D, ERLimitedEntity3DWF, ERPatchCPoly)
ER_DEFINE_STORED_CLASS(ERCrvCompPoly2D, ERTrimmedEntity2DWF)
ER_DEFINE_STORED_CLASS(ERCrvCompPoly3D, ERTrimmedEntity3DWF)

namespace {

template <class Space>
struct BezierOf;
template <>
struct BezierOf<Space2D> {
    using Integral = ERCpoleBezier2D;
    using Rational = ERCpoleBezier2DR;
};
template <>
struct BezierOf<Space3D> {
    using Integral = ERCpoleBezier3D;
    using Rational = ERCpoleBezier3DR;
};

// The value of a polynomial and its first two derivatives.
struct Derivatives {
    double value = 0.0;
    double first = 0.0;
    double second = 0.0;

    Derivatives(const ERPolynome& polynomial, double u) {
        const ERVec<double>& coefficients = polynomial.coefficients();
        unsigned int i = coefficients.length();
        if (i == 0) return;
        const double* const c = coefficients.data();
        value = c[--i];
        while (i-- > 0) {
            second = second * u + first;
            first = first * u + value;
            value = value * u + c[i];
        }
        second *= 2.0;
    }
};

// start + slope x; a constant for slope 0, so that a composition with it has degree 0.
ERPolynome line(double start, double slope) {
    const double coefficients[] = {start, slope};
    return ERPolynome(coefficients, slope == 0.0 ? 1 : 2);
}

// The parameter of the domain `from` that stands where a parameter of the domain `to` does.
ERPolynome changeOfDomain(const ERLimites& from, const ERLimites& to) {
    const double slope = to.amplitude() == 0.0 ? 0.0 : from.amplitude() / to.amplitude();
    return line(from.start() - slope * to.start(), slope);
}

ERTValVector<ERPolynome> composed(const ERTValVector<ERPolynome>& polynomials,
                                  const ERPolynome& inner) {
    ERTValVector<ERPolynome> all(polynomials.entries());
    for (unsigned int i = 0; i < polynomials.entries(); ++i) all[i] = polynomials[i](inner);
    return all;
}

template <class Pole>
ERTValVector<ERPolynome> powerForm(const ERVec<Pole>& poles) {
    ERTValVector<ERPolynome> polynomials;
    if (poles.length() > 0) Bezier2Poly(poles, polynomials);
    return polynomials;
}

template <class Space>
int feet(const ERTValVector<ERPolynome>& polynomials, const ERLimites& limits,
         const typename Space::Point& p, ERVec<double>& parameters) {
    if (polynomials.entries() < Space::dimension) return 0;
    const auto coordinates = Space::coordinates(p);
    return FootPolynomial(polynomials, Space::dimension)
        .roots(coordinates.data(), limits, parameters);
}

}  // namespace

ERVec<double> ERPatchCPoly::calculate(double u) const {
    ERVec<double> values(polynomials_.entries());
    for (unsigned int i = 0; i < polynomials_.entries(); ++i)
        values[i] = polynomials_[i].evaluate(u);
    return values;
}

void ERPatchCPoly::calculate(double u, ERVec<double>& values, ERVec<double>& first,
                             ERVec<double>& second) const {
    const unsigned int n = polynomials_.entries();
    values = first = second = ERVec<double>(n);
    for (unsigned int i = 0; i < n; ++i) {
        const Derivatives at(polynomials_[i], u);
        values[i] = at.value;
        first[i] = at.first;
        second[i] = at.second;
    }
}

void ERPatchCPoly::scale(double factor) {
    for (ERPolynome& polynomial : polynomials_) polynomial *= factor;
}

void ERPatchCPoly::apply(const ERPolynome& inner) { polynomials_ = composed(polynomials_, inner); }

void ERPatchCPoly::saveGuts(ERFile& file) const { polynomials_.saveGuts(file); }

void ERPatchCPoly::restoreGuts(ERFile& file) { polynomials_.restoreGuts(file); }

ERULong ERPatchCPoly::binaryStoreSize() const { return polynomials_.binaryStoreSize(); }

template <class Space>
PolynomialPatch<Space>::PolynomialPatch(const ERTValVector<ERPolynome>& polynomials,
                                        const ERLimites& natural)
    : Carried(natural), ERPatchCPoly(polynomials) {
    dropUnfit();
}

template <class Space>
PolynomialPatch<Space>::PolynomialPatch(const ERVec<Point>& poles)
    : ERPatchCPoly(powerForm(poles)) {}

template <class Space>
PolynomialPatch<Space>::PolynomialPatch(const ERVec<typename Space::Pole>& poles)
    : ERPatchCPoly(powerForm(poles)) {}

template <class Space>
PolynomialPatch<Space>::PolynomialPatch(const Bezier& curve)
    : Carried(curve.getBound()),
      ERPatchCPoly(
          composed(curve.getSpanPower(0),
                   changeOfDomain(ERLimites(0.0, 1.0), ERLimites(curve.Ndeb(), curve.Nfin())))) {}

template <class Space>
void PolynomialPatch<Space>::dropUnfit() {
    const unsigned int n = polynomials_.entries();
    if (n != Space::dimension && n != Space::dimension + 1)
        polynomials_ = ERTValVector<ERPolynome>();
}

template <class Space>
void PolynomialPatch<Space>::restored() {
    *bezier_ = {};
    dropUnfit();
}

// Drops what is kept, makes the change and marks the patch: the one gate of every change.
template <class Space>
template <class Edit>
void PolynomialPatch<Space>::change(Edit edit) {
    *bezier_ = {};
    edit();
    this->setDirty();
}

// The constant of an integral curve has the weight 1, and what multiplies a power of u has none.
template <class Space>
ERVec<typename Space::Pole> PolynomialPatch<Space>::coefficients() const {
    if (polynomials_.entries() == 0) return {};
    constexpr unsigned int dim = Space::dimension + 1;
    ERVec<typename Space::Pole> poles(degree() + 1);
    double* const c = spline::doubles(poles.data());
    for (unsigned int k = 0; k < polynomials_.entries(); ++k) {
        const ERVec<double>& from = polynomials_[k].coefficients();
        for (unsigned int i = 0; i < from.length(); ++i) c[std::size_t{i} * dim + k] = from[i];
    }
    if (!isRational()) c[dim - 1] = 1.0;
    return poles;
}

template <class Space>
void PolynomialPatch<Space>::setCoefficients(const ERVec<typename Space::Pole>& poles) {
    if (polynomials_.entries() == 0) return;
    constexpr unsigned int dim = Space::dimension + 1;
    const unsigned int n = poles.length();
    const double* const c = spline::doubles(poles.data());
    change([&] {
        for (unsigned int k = 0; k < Space::dimension; ++k) {
            polynomials_[k].adjustDegree(n - 1);
            for (unsigned int i = 0; i < n; ++i) polynomials_[k][i] = c[std::size_t{i} * dim + k];
        }
    });
}

template <class Space>
unsigned int PolynomialPatch<Space>::degree() const {
    unsigned int highest = 0;
    for (const ERPolynome& polynomial : polynomials_)
        highest = std::max(highest, polynomial.degree());
    return highest;
}

template <class Space>
typename PolynomialPatch<Space>::Point PolynomialPatch<Space>::operator()(double u) const {
    if (polynomials_.entries() == 0) return Point();
    if (this->Ndeb() == this->Nfin()) u = this->Ndeb();
    double c[Space::dimension];
    for (unsigned int i = 0; i < Space::dimension; ++i) c[i] = polynomials_[i].evaluate(u);
    const Point weighted = Space::point(c);
    return isRational() ? weighted / polynomials_[Space::dimension].evaluate(u) : weighted;
}

template <class Space>
typename Space::InfoPoint PolynomialPatch<Space>::PtCur(double u) const {
    typename Space::InfoPoint info;
    info.parameter() = u;
    if (polynomials_.entries() == 0) return info;
    if (this->Ndeb() == this->Nfin()) {
        info.point() = (*this)(u);
        return info;
    }
    constexpr unsigned int dim = Space::dimension + 1;
    double weighted[3 * dim] = {};
    weighted[dim - 1] = 1.0;
    for (unsigned int i = 0; i < polynomials_.entries(); ++i) {
        const Derivatives at(polynomials_[i], u);
        weighted[i] = at.value;
        weighted[dim + i] = at.first;
        weighted[2 * dim + i] = at.second;
    }
    double c[3 * Space::dimension];
    spline::divideByWeight<dim>(weighted, c);
    info.point() = Space::point(c);
    info.tangente() = typename Space::Vector(Space::point(c + Space::dimension));
    info.secondDerivative() = typename Space::Vector(Space::point(c + 2 * Space::dimension));
    return info;
}

template <class Space>
const typename PolynomialPatch<Space>::Bezier& PolynomialPatch<Space>::bezier() const {
    if (!*bezier_) {
        const ERLimites natural(this->Ndeb(), this->Nfin());
        const auto local = composed(polynomials_, changeOfDomain(natural, ERLimites(0.0, 1.0)));
        if (isRational()) {
            ERVec<typename Space::Pole> poles;
            CpolySeg2Pole(local, poles);
            *bezier_ = new typename BezierOf<Space>::Rational(poles, natural);
        } else {
            ERVec<Point> poles;
            if (local.entries() > 0) CpolySeg2Pole(local, poles);
            *bezier_ = new typename BezierOf<Space>::Integral(poles, natural);
        }
    }
    return **bezier_;
}

template <class Space>
t_SmartPtr<typename PolynomialPatch<Space>::Bezier> PolynomialPatch<Space>::castToCpole() const {
    return t_SmartPtr<Bezier>(bezier());
}

template <class Space>
typename Space::Box PolynomialPatch<Space>::getBox() const {
    return bezier().getBox();
}

template <class Space>
double PolynomialPatch<Space>::arcLength(ERLimites limits, double tol) const {
    return bezier().arcLength(limits, tol);
}

template <class Space>
double PolynomialPatch<Space>::arcLength(double tol) const {
    return bezier().arcLength(tol);
}

template <class Space>
int PolynomialPatch<Space>::ProjectPoint(const Point& p, ERVec<double>& parameters,
                                         double tol) const {
    return bezier().ProjectPoint(p, parameters, tol);
}

template <class Space>
typename Space::Nurbs PolynomialPatch<Space>::ConvertToNurbs() const {
    return bezier().ConvertToNurbs();
}

template <class Space>
int PolynomialPatch<Space>::splitAt(t_SmartPtr<Curve>& left, t_SmartPtr<Curve>& right,
                                    double u) const {
    const ERLimites domain = this->getBound();
    if (!domain.inBound(u)) return 0;
    const auto part = [this](const ERLimites& limits) {
        const t_SmartPtr<typename Space::LimitedCurve> curve(
            static_cast<const typename Space::LimitedCurve&>(*this));
        curve->redefineDomain(limits);
        return curve;
    };
    const auto before = part(ERLimites(domain.start(), u));
    const auto after = part(ERLimites(u, domain.end()));
    left = before;
    right = after;
    return 1;
}

template <class Space>
void PolynomialPatch<Space>::reverse() {
    apply(line(this->Ndeb() + this->Nfin(), -1.0));
}

template <class Space>
void PolynomialPatch<Space>::reparametrize(const ERLimites& domain) {
    apply(changeOfDomain(this->getBound(), domain));
    Space::LimitedCurve::reparametrize(domain);
}

template <class Space>
void PolynomialPatch<Space>::redefineDomain(const ERLimites& domain) {
    change([&] { Space::LimitedCurve::redefineDomain(domain); });
}

template <class Space>
void PolynomialPatch<Space>::apply(const ERPolynome& inner) {
    change([&] { ERPatchCPoly::apply(inner); });
}

template <class Space>
void PolynomialPatch<Space>::printOn(std::ostream& os) const {
    os << this->className() << " degree " << degree() << '\n';
    Space::LimitedCurve::printOn(os);
    for (const ERPolynome& polynomial : polynomials_) os << polynomial << '\n';
}

// A curve of degree d has at least d chords, so that a symmetric bend cannot hide.
template <class Space>
void PolynomialPatch<Space>::prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                                           double) const {
    list.append((*this)(limits.start()), limits.start());
    const unsigned int n = std::max(degree(), 1u);
    for (unsigned int i = 1; i <= n; ++i) {
        const double u = i == n ? limits.end() : limits(static_cast<double>(i) / n);
        list.append((*this)(u), u);
    }
}

template class PolynomialPatch<Space2D>;
template class PolynomialPatch<Space3D>;

ERPatchCPoly2D::ERPatchCPoly2D(const ERCpoleBezier2D& curve) : PolynomialPatch(curve) {}
ERPatchCPoly2D::ERPatchCPoly2D(const ERCpoleBezier2DR& curve) : PolynomialPatch(curve) {}
ERPatchCPoly3D::ERPatchCPoly3D(const ERCpoleBezier3D& curve)
    : PolynomialPatch(static_cast<const ERCpoleRep3D&>(curve)) {}
ERPatchCPoly3D::ERPatchCPoly3D(const ERCpoleBezier3DR& curve)
    : PolynomialPatch(static_cast<const ERCpoleRep3D&>(curve)) {}

t_SmartPtr<EREntity3DWF> ERPatchCPoly2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    const unsigned int n = polynomials_.entries();
    ERTValVector<ERPolynome> lifted(n == 0 ? 0 : n + 1);
    for (unsigned int i = 0; i < n; ++i) lifted[i < 2 ? i : i + 1] = polynomials_[i];
    const t_SmartPtr<ERPatchCPoly3D> image(new ERPatchCPoly3D(lifted, getBound()));
    image->transformFrom(t);
    return image;
}

t_SmartPtr<EREntity2DWF> ERPatchCPoly3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    ERPatchCPoly3D local(*this);
    local.transformTo(t);
    const unsigned int n = polynomials_.entries();
    ERTValVector<ERPolynome> flat(n == 0 ? 0 : n - 1);
    for (unsigned int i = 0; i + 1 < n; ++i) flat[i] = local.polynomials_[i < 2 ? i : i + 1];
    return new ERPatchCPoly2D(flat, getBound());
}

t_SmartPtr<EREntity3DWF> ERCrvCompPoly2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return detail::chainOfImages<ERCrvCompPoly3D>(
        *this, [&](const ERPatchCPoly2D& patch) { return patch.get3DEquiv(t); });
}

t_SmartPtr<EREntity2DWF> ERCrvCompPoly3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return detail::chainOfImages<ERCrvCompPoly2D>(
        *this, [&](const ERPatchCPoly3D& patch) { return patch.get2DEntProjectedOn(t); });
}

int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polynomials, ERLimites limits,
                           const ERPoint2D& p, ERVec<double>& parameters) {
    return feet<Space2D>(polynomials, limits, p, parameters);
}

int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polynomials, ERLimites limits,
                           const ERPoint3D& p, ERVec<double>& parameters) {
    return feet<Space3D>(polynomials, limits, p, parameters);
}

}  // namespace kerf
