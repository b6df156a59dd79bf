#include "kerf/curves/nurbs_curve.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/spline/bernstein.h"
#include "kerf/curves/spline/degree_elevation.h"
#include "kerf/curves/spline/knot_insertion.h"
#include "kerf/curves/spline/length.h"
#include "kerf/curves/spline/power_form.h"
#include "kerf/values/point_list.h"

namespace kerf {

ER_DEFINE_CLASS(ERCpoleNURBS2D, ERCpoleRep2D)
ER_DEFINE_CLASS(ERCpoleNURBS3D, ERCpoleRep3D)
ER_DEFINE_STORED_CLASS(ERCpoleNURBS2D, ERCpoleRep2D)
ER_DEFINE_STORED_CLASS(ERCpoleNURBS3D, ERCpoleRep3D)

namespace {

// The value, and the first two derivatives by t, of a Bézier form with n poles of Dim doubles. In
// the form (1 - t) a + t b, which is exact at both ends.
template <unsigned int Dim>
void evaluate(const double* poles, unsigned int n, double t, double* value, double* first,
              double* second) {
    spline::Scratch<(spline::degreeOnStack + 1) * Dim> level(std::size_t{n} * Dim);
    double* const p = level.data();
    std::copy_n(poles, std::size_t{n} * Dim, p);
    const double s = 1.0 - t;
    std::fill_n(first, Dim, 0.0);
    std::fill_n(second, Dim, 0.0);
    for (unsigned int count = n; count > 1; --count) {
        if (count == 3) {
            const double factor = static_cast<double>(n - 1) * (n - 2);
            for (unsigned int k = 0; k < Dim; ++k) {
                second[k] = factor * ((p[2 * Dim + k] - p[Dim + k]) - (p[Dim + k] - p[k]));
            }
        }
        if (count == 2) {
            for (unsigned int k = 0; k < Dim; ++k) first[k] = (n - 1) * (p[Dim + k] - p[k]);
        }
        for (unsigned int k = 0; k < (count - 1) * Dim; ++k) p[k] = s * p[k] + t * p[k + Dim];
    }
    std::copy_n(p, Dim, value);
}

// The same value with all loops of a fixed length.
template <unsigned int Dim, unsigned int Count>
inline void valueOf(const double* poles, double t, double* value) {
    double p[Count * Dim];
    std::copy_n(poles, Count * Dim, p);
    const double s = 1.0 - t;
    for (unsigned int count = Count; count > 1; --count)
        for (unsigned int k = 0; k < (count - 1) * Dim; ++k) p[k] = s * p[k] + t * p[k + Dim];
    std::copy_n(p, Dim, value);
}

template <unsigned int Dim>
void valueOf(const double* poles, unsigned int n, double t, double* value) {
    switch (n) {
        case 2:
            return valueOf<Dim, 2>(poles, t, value);
        case 3:
            return valueOf<Dim, 3>(poles, t, value);
        case 4:
            return valueOf<Dim, 4>(poles, t, value);
        case 5:
            return valueOf<Dim, 5>(poles, t, value);
        default: {
            double first[Dim], second[Dim];
            evaluate<Dim>(poles, n, t, value, first, second);
        }
    }
}

// The same with derivatives for a fixed number of poles.
template <unsigned int Dim, unsigned int Count>
inline void evaluateFixed(const double* poles, double t, double* value, double* first,
                          double* second) {
    double p[Count * Dim];
    std::copy_n(poles, Count * Dim, p);
    const double s = 1.0 - t;
    for (unsigned int count = Count; count > 3; --count)
        for (unsigned int k = 0; k < (count - 1) * Dim; ++k) p[k] = s * p[k] + t * p[k + Dim];
    constexpr double slope = Count - 1;
    constexpr double bend = static_cast<double>(Count - 1) * (Count - 2);
    for (unsigned int k = 0; k < Dim; ++k) {
        double a = p[k], b = p[k + Dim];
        if constexpr (Count > 2) {
            const double c = p[k + 2 * Dim];
            second[k] = bend * ((c - b) - (b - a));
            a = s * a + t * b;
            b = s * b + t * c;
        } else {
            second[k] = 0.0;
        }
        first[k] = slope * (b - a);
        value[k] = s * a + t * b;
    }
}

template <unsigned int Dim>
void evaluateSpan(const double* poles, unsigned int n, double t, double* value, double* first,
                  double* second) {
    switch (n) {
        case 2:
            return evaluateFixed<Dim, 2>(poles, t, value, first, second);
        case 3:
            return evaluateFixed<Dim, 3>(poles, t, value, first, second);
        case 4:
            return evaluateFixed<Dim, 4>(poles, t, value, first, second);
        case 5:
            return evaluateFixed<Dim, 5>(poles, t, value, first, second);
        default:
            return evaluate<Dim>(poles, n, t, value, first, second);
    }
}

ERPoint2D pointOf(const double* c, double inverseWeight, const ERPoint2D&) {
    return ERPoint2D(c[0] * inverseWeight, c[1] * inverseWeight);
}
ERPoint3D pointOf(const double* c, double inverseWeight, const ERPoint3D&) {
    return ERPoint3D(c[0] * inverseWeight, c[1] * inverseWeight, c[2] * inverseWeight);
}

}  // namespace

template <class Space>
NurbsCurve<Space>::NurbsCurve(const ERVec<Pole>& poles)
    : poles_(poles),
      knots_(poles.length() > 0 ? BezierKnotVector(poles.length() - 1, ERLimites(0.0, 1.0))
                                : ERKnotVector()) {}

template <class Space>
NurbsCurve<Space>::NurbsCurve(const ERVec<Pole>& poles, const ERKnotVector& knots)
    : poles_(poles), knots_(knots) {
    dropUnfit();
    if (poles_.length() == 0) return;
    const ERLimites domain(knots_[degree()], knots_[knots_.length() - degree() - 1]);
    this->setDomains(domain, domain);
}

template <class Space>
NurbsCurve<Space>::NurbsCurve(const ERVec<Pole>& poles, const ERKnotVector& knots,
                              const ERLimites& trim)
    : NurbsCurve(poles, knots) {
    this->trim_ = trim;
}

template <class Space>
NurbsCurve<Space>::NurbsCurve(const ERVec<Pole>& poles, unsigned int degree)
    : NurbsCurve(poles, poles.length() > degree
                            ? ERKnotVector(degree, poles.length(), ERLimites(0.0, 1.0))
                            : ERKnotVector()) {}

template <class Space>
bool NurbsCurve<Space>::knotsFit() const {
    return poles_.length() == 0 ? knots_.length() == 0 : knots_.fits(poles_.length());
}

template <class Space>
void NurbsCurve<Space>::dropUnfit() {
    const unsigned int n = poles_.length();
    if (n > 0 && knots_.degree() < n && knots_.length() - n == knots_.degree() + 1) return;
    poles_.clear();
    knots_ = ERKnotVector();
}

// The spans.

template <class Space>
typename NurbsCurve<Space>::KeptSpans& NurbsCurve<Space>::spans() const {
    KeptSpans& kept = *keptSpans_;
    if (kept.table.isBuilt()) return kept;
    kept.table = spline::SpanTable(knots_.data(), knots_.length(), degree());
    kept.recordLength =
        KeptSpans::headOfRecord + (std::size_t{degree()} + 1) * KeptSpans::dimension;
    kept.records.resize(kept.table.count() * kept.recordLength);
    return kept;
}

template <class Space>
const double* NurbsCurve<Space>::findRecord(double u) const {
    if (poles_.length() == 0) return nullptr;
    KeptSpans& kept = spans();
    if (kept.records.empty()) return nullptr;
    const unsigned int span = kept.table.find(u);
    double* const record = &kept.records[span * kept.recordLength];
    if (record[2] == 0.0) {
        const unsigned int knot = kept.table.knot(span);
        record[0] = kept.table.start(span);
        record[1] = kept.table.end(span);
        record[2] = 1.0 / (knots_[knot + 1] - knots_[knot]);
        spline::bezierPolesOfSpan(spline::doubles(poles_.data()), KeptSpans::dimension,
                                  knots_.data(), knots_.degree(), knot,
                                  record + KeptSpans::headOfRecord);
    }
    return kept.last = record;
}

template <class Space>
inline const double* NurbsCurve<Space>::recordAt(double u) const {
    const double* const last = keptSpans_->last;
    return last != nullptr && u >= last[0] && u < last[1] ? last : findRecord(u);
}

// The ratio of u in the span of a record. The last parameter is exactly 1, whatever the product rounds
// to.
inline double ratioIn(const double* record, double u) {
    return u == record[1] ? 1.0 : (u - record[0]) * record[2];
}

template <class Space>
typename Space::Pole NurbsCurve<Space>::CalOnNurbs_H(double u) const {
    const double* const record = recordAt(u);
    if (record == nullptr) return poles_.length() == 0 ? Pole() : poles_.first();
    Pole value;
    valueOf<KeptSpans::dimension>(record + KeptSpans::headOfRecord, knots_.degree() + 1,
                                  ratioIn(record, u), spline::doubles(&value));
    return value;
}

template <class Space>
typename Space::Point NurbsCurve<Space>::CalOnNurbs(double u) const {
    if (poles_.length() == 0) return Point();
    const Pole value = CalOnNurbs_H(u);
    return pointOf(spline::doubles(&value), 1.0 / value.weigth(), Point());
}

template <class Space>
typename Space::Point NurbsCurve<Space>::operator()(double u) const {
    return CalOnNurbs(u);
}

template <class Space>
typename Space::InfoPoint NurbsCurve<Space>::PtCur(double u) const {
    using Vector = typename Space::Vector;
    constexpr unsigned int dim = KeptSpans::dimension;
    const double* const record = recordAt(u);
    if (record == nullptr) {
        typename Space::InfoPoint info;
        info.parameter() = u;
        if (poles_.length() > 0) info.point() = poles_.first().castToPoint();
        return info;
    }
    const double inverse = record[2];
    double value[dim], first[dim], second[dim];
    evaluateSpan<dim>(record + KeptSpans::headOfRecord, knots_.degree() + 1, ratioIn(record, u),
                      value, first, second);
    // C = A / w, C' = (A' - w' C) / w, C'' = (A'' - 2 w' C' - w'' C) / w.
    constexpr unsigned int w = dim - 1;
    const double inverseWeight = 1.0 / value[w];
    const double secondScale = inverse * inverse;
    const double slopeOfWeight = first[w] * inverse;
    const double bendOfWeight = second[w] * secondScale;
    double slope[dim], bend[dim];
    for (unsigned int k = 0; k < w; ++k) {
        const double c = value[k] * inverseWeight;
        slope[k] = (first[k] * inverse - slopeOfWeight * c) * inverseWeight;
        bend[k] = (second[k] * secondScale - 2.0 * slopeOfWeight * slope[k] - bendOfWeight * c) *
                  inverseWeight;
    }
    return typename Space::InfoPoint(u, 1, pointOf(value, inverseWeight, Point()),
                                     Vector(Space::point(slope)), Vector(Space::point(bend)));
}

template <class Space>
unsigned int NurbsCurve<Space>::nbSpans() const {
    return poles_.length() == 0 ? 0 : knots_.nbSpans();
}

template <class Space>
ERLimites NurbsCurve<Space>::spanLimites(unsigned int span) const {
    return knots_.getSpanLimites(static_cast<int>(span));
}

template <class Space>
typename Space::Box NurbsCurve<Space>::spanBox(unsigned int span) const {
    typename Space::Box box;
    for (unsigned int i = span; i <= span + degree(); ++i) box.Update(poles_[i].castToPoint());
    return box;
}

template <class Space>
void NurbsCurve<Space>::spanPoles(unsigned int span, Pole* poles) const {
    spline::bezierPolesOfSpan(spline::doubles(poles_.data()), KeptSpans::dimension, knots_.data(),
                              degree(), degree() + span, spline::doubles(poles));
}

template <class Space>
bool NurbsCurve<Space>::isCutTo(const ERLimites& limits) const {
    const unsigned int n = nbPoles(), p = degree();
    return knots_[0] == limits.start() && knots_[p] == limits.start() &&
           knots_[n] == limits.end() && knots_[n + p] == limits.end();
}

template <class Space>
double NurbsCurve<Space>::lengthOfPoles(double tol) const {
    return spline::splineLength(spline::doubles(poles_.data()), nbPoles(), KeptSpans::dimension,
                                knots_.data(), degree(), tol);
}

template <class Space>
ERTValVector<ERPolynome> NurbsCurve<Space>::getSpanPower(int span) const {
    const auto index = static_cast<unsigned int>(span);
    if (index >= nbSpans()) return ERTValVector<ERPolynome>();
    if (this->getCachedSpan(index) == nullptr) {
        auto polynomials = std::make_unique<ERTValVector<ERPolynome>>();
        const ERLimites limits = spanLimites(index);
        if (limits.start() < limits.end()) {
            ERVec<Pole> poles(degree() + 1);
            spanPoles(index, poles.data());
            Bezier2Poly(poles, *polynomials);
        }
        this->insertSpanInCache(index, polynomials.release());
    }
    return *this->getCachedSpan(index);
}

// Changes.

template <class Space>
void NurbsCurve<Space>::ResetCachedInfo() {
    Space::PoleCurve::ResetCachedInfo();
    *keptSpans_ = KeptSpans();
}

template <class Space>
typename Space::Nurbs NurbsCurve<Space>::ConvertToNurbs() const {
    return static_cast<const Curve&>(*this);
}

template <class Space>
void NurbsCurve<Space>::reverse() {
    this->change([&] {
        poles_.reverse();
        const double below = knots_.first() - this->Ndeb();
        const double above = knots_.last() - this->Nfin();
        knots_.reverse();
        // Knots that are not clamped are mirrored about their own middle, and the domain about its.
        if (below != -above) {
            knots_.reparametrize(ERLimites(this->Ndeb() - above, this->Nfin() - below));
        }
    });
    Space::PoleCurve::reverse();
}

template <class Space>
void NurbsCurve<Space>::reparametrize(const ERLimites& domain) {
    this->change([&] {
        // The knots outside the domain of a vector that is not clamped keep their place beside it.
        const double start = this->Ndeb();
        const double length = this->Nfin() - start;
        const auto carried = [&](double knot) {
            return length == 0.0 ? knot : domain((knot - start) / length);
        };
        const bool clamped = knots_.first() == start && knots_.last() == this->Nfin();
        knots_.reparametrize(clamped ? domain
                                     : ERLimites(carried(knots_.first()), carried(knots_.last())));
    });
    Space::PoleCurve::reparametrize(domain);
}

template <class Space>
void NurbsCurve<Space>::adjust() {
    const double start = this->udeb();
    const double end = this->ufin();
    if (!(start <= end) || !std::isfinite(start) || !std::isfinite(end)) return;
    this->change([&] {
        if (poles_.length() == 0) return;
        const unsigned int p = degree();
        if (start == end) {
            const Pole point = CalOnNurbs_H(start);
            poles_ = ERVec<Pole>(p + 1, point);
            knots_ = BezierKnotVector(p, this->getBound());
            return;
        }
        if (start < this->Ndeb() || end > this->Nfin()) {
            IncreaseDomain(poles_, knots_, p, std::min(start, this->Ndeb()),
                           std::max(end, this->Nfin()));
        }
        ReduceDomain(poles_, knots_, p, start, end);
    });
    ResetCachedInfo();
    Space::PoleCurve::adjust();
}

template <class Space>
void NurbsCurve<Space>::insertKnot(double u, unsigned int times) {
    this->change([&] {
        if (poles_.length() > 0) Boehm(poles_, knots_, degree(), u, times);
    });
}

template <class Space>
void NurbsCurve<Space>::reduceKnotMultiplicity(double u, unsigned int times) {
    this->change([&] {
        for (unsigned int i = 0; i < times && knots_.quicklyFind(u) != 0xFFFFFFFF; ++i) {
            ReduceMul(poles_, knots_, degree(), u);
        }
    });
}

template <class Space>
void NurbsCurve<Space>::incrDegree(unsigned int k) {
    this->change([&] {
        for (unsigned int i = 0; i < k && poles_.length() > 0; ++i) {
            Prautzsch(poles_, knots_, degree());
        }
    });
}

template <class Space>
int NurbsCurve<Space>::decrDegree() {
    ResetCachedInfo();
    return 1;
}

template <class Space>
int NurbsCurve<Space>::splitAt(Curve& left, Curve& right, double u) const {
    if (!this->getBound().inBound(u)) return 0;
    const auto part = [this](const ERLimites& limits) {
        Curve curve(static_cast<const Curve&>(*this));
        curve.setBound(limits);
        curve.adjust();
        return curve;
    };
    const Curve before = part(ERLimites(this->udeb(), u));
    const Curve after = part(ERLimites(u, this->ufin()));
    left = before;
    right = after;
    return 1;
}

template <class Space>
int NurbsCurve<Space>::split(Curve& left, Curve& right) const {
    return splitAt(left, right, (this->udeb() + this->ufin()) * 0.5);
}

template <class Space>
int NurbsCurve<Space>::splitAt(Self*& left, Self*& right, double u) const {
    Curve before, after;
    if (!splitAt(before, after, u)) return 0;
    left = new Curve(before);
    right = new Curve(after);
    return 1;
}

// Readings.

template <class Space>
int NurbsCurve<Space>::IsContinuous(int order) const {
    return knots_.IsContinuous(order);
}

template <class Space>
int NurbsCurve<Space>::GetDiscontinuities(int order, ERVec<double>& parameters) const {
    return knots_.GetDiscontinuities(order, parameters);
}

template <class Space>
typename Space::Point NurbsCurve<Space>::operator[](int i) const {
    return poles_[static_cast<unsigned int>(i)].castToPoint();
}

template <class Space>
double NurbsCurve<Space>::cordalHeight() const {
    const unsigned int n = poles_.length();
    ERVec<Point> points(n);
    for (unsigned int i = 0; i < n; ++i) points[i] = poles_[i].castToPoint();
    return this->cordalHeight(points);
}

template <class Space>
void NurbsCurve<Space>::printOn(std::ostream& os) const {
    Space::PoleCurve::printOn(os);
    poles_.printOn(os);
    os << knots_;
}

template <class Space>
void NurbsCurve<Space>::prepareApprox(typename Space::PointList& list, const ERLimites& limits,
                                      double) const {
    const double start = limits.start();
    const double end = limits.end();
    list.append((*this)(start), start);
    bool reachedEnd = false;
    if (poles_.length() > 0 && start < end) {
        const spline::SpanTable& table = spans().table;
        const unsigned int n = table.count();
        for (unsigned int i = 0; i < n; ++i) {
            // The first and the last span go on to whatever lies outside.
            const double from = i == 0 ? start : std::max(start, table.start(i));
            const double to = i + 1 == n ? end : std::min(end, table.end(i));
            if (!(from < to)) continue;
            this->seedSpan(list, ERLimites(from, to));
            reachedEnd = to == end && degree() > 0;
        }
    }
    if (!reachedEnd) list.append((*this)(end), end);
}

template class NurbsCurve<Space2D>;
template class NurbsCurve<Space3D>;

t_SmartPtr<EREntity3DWF> ERCpoleNURBS2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    ERVec<ERPole3DH> images(poles_.length());
    for (unsigned int i = 0; i < poles_.length(); ++i) {
        images[i] = t >> poles_[i].castToPole3D(Coord3D::CoordZ, 0.0);
    }
    return new ERCpoleNURBS3D(images, knots_, getBound());
}

t_SmartPtr<EREntity2DWF> ERCpoleNURBS3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    ERVec<ERPole2DH> images(poles_.length());
    for (unsigned int i = 0; i < poles_.length(); ++i) images[i] = t.Project(poles_[i]);
    return new ERCpoleNURBS2D(images, knots_, getBound());
}

}  // namespace kerf
