#include "kerf/curves/pole_curve.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/spline/pole_type.h"
#include "kerf/values/point_list.h"

namespace kerf {

ER_DEFINE_ABSTRACT_CLASS(ERCpoleRep2D, ERTrimmedEntity2DWF)
ER_DEFINE_ABSTRACT_CLASS(ERCpoleRep3D, ERTrimmedEntity3DWF)
ER_DEFINE_STORED_FIELDS(ERCpoleRep2D, ERTrimmedEntity2DWF)
ER_DEFINE_STORED_FIELDS(ERCpoleRep3D, ERTrimmedEntity3DWF)

namespace {

constexpr double flatExtent = 1e-11;
constexpr double sameParameter = 1e-9;  // of the length of the domain
constexpr unsigned int everywhere = 0xFFFFFFFF;

// The area of the parallelogram, or the size of the vector product.
double crossSize(const ERVector2D& a, const ERVector2D& b) { return std::fabs(a ^ b); }
double crossSize(const ERVector3D& a, const ERVector3D& b) { return (a ^ b).norme(); }

template <class Box>
bool inReach(const Box& a, const Box& b) {
    const auto overlaps = [](RELATIVE_BOX_POSITION position) {
        return position == BoxContains || position == BoxOverlap;
    };
    return overlaps(RelativePosition(a, b)) || overlaps(RelativePosition(b, a));
}

}  // namespace

template <class Space>
double PoleCurve<Space>::cordalHeight(const ERVec<Point>& poles) {
    using Vector = typename Space::Vector;
    const unsigned int n = poles.length();
    if (n <= 2) return 0.0;
    const Point* const p = poles.data();
    const Vector chord(p[0], p[n - 1]);
    const double length = chord.norme();
    double height = 0.0;
    for (unsigned int i = 1; i < n; ++i) {
        const double h =
            length > 0.0 ? crossSize(Vector(p[0], p[i]), chord) / length : distance(p[i], p[i - 1]);
        height = std::max(height, h);
    }
    return height;
}

template <class Space>
int PoleCurve<Space>::split(Self*& left, Self*& right) const {
    return splitAt(left, right, (this->udeb() + this->ufin()) * 0.5);
}

template <class Space>
int PoleCurve<Space>::splitAt(t_SmartPtr<typename Space::Curve>& left,
                              t_SmartPtr<typename Space::Curve>& right, double u) const {
    Self* before = nullptr;
    Self* after = nullptr;
    if (!splitAt(before, after, u)) return 0;
    left = before;
    right = after;
    return 1;
}

template <class Space>
typename Space::Box PoleCurve<Space>::getBox() const {
    if (kept_->box) return *kept_->box;
    Box box;
    if (!this->isTrimmed()) {
        for (unsigned int i = 0; i < nbPoles(); ++i) box.Update((*this)[static_cast<int>(i)]);
    } else {
        const t_SmartPtr<Self> cut(Self::castdown(this->getCopy()));
        cut->adjust();
        for (unsigned int i = 0; i < cut->nbPoles(); ++i) {
            box.Update((*cut)[static_cast<int>(i)]);
        }
    }
    kept_->box = box;
    return box;
}

template <class Space>
ERVec<typename Space::Point> PoleCurve<Space>::approxime(int n) const {
    const unsigned int poles = nbPoles();
    if (n >= 1 && poles == 1) return ERVec<Point>(1, this->firstPt());
    if (n >= 1 && poles == 2 && degree() == 1) {
        ERVec<Point> ends(2);
        ends[0] = this->firstPt();
        ends[1] = this->lastPt();
        return ends;
    }
    return Space::TrimmedCurve::approxime(n);
}

template <class Space>
double PoleCurve<Space>::arcLength(double tol) const {
    return arcLength(this->getBound(), tol);
}

template <class Space>
double PoleCurve<Space>::arcLength(ERLimites limits, double tol) const {
    if (nbPoles() == 0) return 0.0;
    if (limits.start() > limits.end()) limits = ERLimites(limits.end(), limits.start());
    if (isCutTo(limits)) return lengthOfPoles(tol);
    const t_SmartPtr<Self> part(Self::castdown(this->getCopy()));
    part->setBound(limits);
    part->adjust();
    return part->lengthOfPoles(tol);
}

template <class Space>
double PoleCurve<Space>::upperEstimate() const {
    double length = 0.0;
    const int last = static_cast<int>(nbPoles()) - 1;
    for (int i = 0; i < last; ++i) length += distance((*this)[i], (*this)[i + 1]);
    return length;
}

template <class Space>
int PoleCurve<Space>::ProjectPoint(const Point& p, ERVec<double>& parameters, double tol) const {
    Box reach;
    reach.Update(p);
    reach.Inflate(tol);
    if (!inReach(reach, getBox())) return 0;

    if (kept_->reaches.empty()) {
        kept_->reaches.resize(nbSpans());
        for (unsigned int i = 0; i < nbSpans(); ++i) kept_->reaches[i].box = spanBox(i);
    }
    const unsigned int first = parameters.length();
    const ERLimites seen = this->getBound();
    unsigned int asked = 0;
    unsigned int whole = 0;
    ERVec<double> roots;
    for (unsigned int i = 0; i < nbSpans(); ++i) {
        const ERLimites limits = spanLimites(i);
        if (!(limits.start() < limits.end())) continue;
        SpanReach& span = kept_->reaches[i];
        if (!inReach(reach, span.box)) continue;
        ++asked;
        roots.clear();
        const auto c = Space::coordinates(p);
        if (feetOf(span, i).roots(c.data(), roots) == -1) ++whole;
        for (unsigned int k = 0; k < roots.length(); ++k) {
            const double u = limits(roots[k]);
            if (seen.inBound(u) && !sameAsLast(parameters, first, u)) parameters.append(u);
        }
    }
    if (asked > 0 && whole == asked) return -1;
    return static_cast<int>(parameters.length());
}

template <class Space>
const BezierFootPolynomial& PoleCurve<Space>::feetOf(SpanReach& reach, unsigned int span) const {
    if (!reach.feet) {
        ERVec<typename Space::Pole> poles(degree() + 1);
        spanPoles(span, poles.data());
        reach.feet.emplace(spline::doubles(poles.data()), poles.length(), Space::dimension);
    }
    return *reach.feet;
}

template <class Space>
unsigned int PoleCurve<Space>::crossings(unsigned int axis, double value,
                                         ERVec<double>& parameters) const {
    const Box box = getBox();
    if (!(value >= box.lower(axis) && value <= box.upper(axis))) return 0;
    if (box.upper(axis) - box.lower(axis) <= flatExtent &&
        std::fabs(box.lower(axis) - value) <= flatExtent) {
        return everywhere;
    }
    const unsigned int first = parameters.length();
    const ERLimites seen = this->getBound();
    const unsigned int n = degree() + 1;
    constexpr unsigned int dim = Space::dimension + 1;
    ERVec<double> roots;
    ERVec<typename Space::Pole> poles(n);
    spline::Scratch<spline::degreeOnStack + 1> coefficients(n);
    const auto append = [&](double u) {
        if (seen.inBound(u) && !sameAsLast(parameters, first, u)) parameters.append(u);
    };
    for (unsigned int i = 0; i < nbSpans(); ++i) {
        const ERLimites limits = spanLimites(i);
        if (!(limits.start() < limits.end())) continue;
        const Box span = spanBox(i);
        if (!(value >= span.lower(axis) && value <= span.upper(axis))) continue;
        spanPoles(i, poles.data());
        const double* const pole = spline::doubles(poles.data());
        for (unsigned int k = 0; k < n; ++k)
            coefficients[k] = pole[k * dim + axis] - value * pole[k * dim + dim - 1];
        if (bernsteinZeros(coefficients.data(), n, flatExtent, roots)) {
            for (unsigned int k = 0; k < roots.length(); ++k) append(limits(roots[k]));
        } else {
            append(limits.start());
            append(limits.end());
        }
    }
    return parameters.length();
}

template <class Space>
bool PoleCurve<Space>::sameAsLast(const ERVec<double>& parameters, unsigned int first,
                                  double u) const {
    return parameters.length() > first &&
           std::fabs(parameters.last() - u) <= sameParameter * (this->Nfin() - this->Ndeb());
}

template <class Space>
ERLimites PoleCurve<Space>::setBound(const ERLimites& trim) {
    ResetCachedInfo();
    return Space::TrimmedCurve::setBound(trim);
}

template <class Space>
void PoleCurve<Space>::reparametrize(const ERLimites& domain) {
    ResetCachedInfo();
    Space::TrimmedCurve::reparametrize(domain);
}

template <class Space>
void PoleCurve<Space>::printOn(std::ostream& os) const {
    os << this->className() << " degree " << degree() << " with " << nbPoles() << " poles"
       << std::endl;
    Space::TrimmedCurve::printOn(os);
}

template <class Space>
const typename PoleCurve<Space>::SpanPolynomials* PoleCurve<Space>::getCachedSpan(
    unsigned int span) const {
    return span < kept_->spans.size() ? kept_->spans[span].get() : nullptr;
}

template <class Space>
void PoleCurve<Space>::insertSpanInCache(unsigned int span, SpanPolynomials* polynomials) const {
    if (kept_->spans.empty()) kept_->spans.resize(std::max(nbPoles() - degree(), span + 1));
    kept_->spans[span].reset(polynomials);
}

template <class Space>
void PoleCurve<Space>::ResetCachedInfo() {
    kept_->spans.clear();
    kept_->reaches.clear();
    kept_->box.reset();
}

template <class Space>
void PoleCurve<Space>::seedSpan(typename Space::PointList& list, const ERLimites& limits) const {
    const unsigned int n = degree();
    for (unsigned int i = 1; i <= n; ++i) {
        const double u = i == n ? limits.end() : limits(static_cast<double>(i) / n);
        list.append((*this)(u), u);
    }
}

template <class Space>
void PoleCurve<Space>::prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                                     double) const {
    list.append((*this)(limits.start()), limits.start());
    seedSpan(list, limits);
}

template class PoleCurve<Space2D>;
template class PoleCurve<Space3D>;

unsigned int ERCpoleRep2D::intersectWithAxeY(double x, ERVec<double>& parameters) const {
    return crossings(0, x, parameters);
}

unsigned int ERCpoleRep3D::intersectWithPlanZ(double z, ERVec<double>& parameters) const {
    return crossings(2, z, parameters);
}

}  // namespace kerf
