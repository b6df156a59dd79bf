#include "kerf/curves/composite_curve.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polynomial_curve.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"

namespace kerf {

ER_DEFINE_CLASS(ERCompCurve2D, ERTrimmedEntity2DWF)
ER_DEFINE_CLASS(ERCompCurve3D, ERTrimmedEntity3DWF)
ER_DEFINE_STORED_CLASS(ERCompCurve2D, ERTrimmedEntity2DWF)
ER_DEFINE_STORED_CLASS(ERCompCurve3D, ERTrimmedEntity3DWF)

namespace {

constexpr double sameIndex = 1e-11;
constexpr double samePoint = 1e-11;
const char* const rule = "=====================================================";

// The parameter of a curve at a ratio of its domain, in the direction of travel.
template <class Curve>
double parameterAt(const Curve& curve, double ratio) {
    const double start = curve.udeb();
    const double end = curve.ufin();
    return ratio == 1.0 ? end : start + ratio * (end - start);
}

template <class Curve>
double ratioAt(const Curve& curve, double u) {
    const double start = curve.udeb();
    const double end = curve.ufin();
    return start == end ? 0.0 : (u - start) / (end - start);
}

ERLimites increasing(double a, double b) { return b < a ? ERLimites(b, a) : ERLimites(a, b); }

// Where `part`, what came before the cut of `curve` at `end`, holds the point that the curve has at
// u. Curves keep their parameters in a split, or spread the part over their domain, or, polylines,
// spread what is left of the edge that was cut.
template <class Curve>
double parameterInPart(const Curve& part, const Curve& curve, double u, double end) {
    const double edge = std::floor(end);
    const double candidates[] = {u, parameterAt(part, ratioAt(curve, u) / ratioAt(curve, end)),
                                 edge < end ? edge + (u - edge) / (end - edge) : u};
    const auto point = curve(u);
    return *std::min_element(std::begin(candidates), std::end(candidates), [&](double a, double b) {
        return distance(part(a), point) < distance(part(b), point);
    });
}

// A copy of what a curve is between two ratios of its domain; null where it cannot be cut.
template <class Space, class Patch>
t_SmartPtr<Patch> partOf(const Patch& patch, double from, double to) {
    using Curve = typename Space::Curve;
    const double start = parameterAt(patch, from);
    const double end = parameterAt(patch, to);
    const t_SmartPtr<Patch> copy(patch);
    if (!copy) return copy;
    if (patch.isKindOf(Space::LimitedCurve::desc())) {
        Space::LimitedCurve::castdown(copy.getObject())->redefineDomain(ERLimites(start, end));
        return copy;
    }
    t_SmartPtr<Curve> part(copy.getObject());
    t_SmartPtr<Curve> left, right;
    if (to < 1.0) {
        if (!part->splitAt(left, right, end)) return {};
        part = left;
    }
    if (from > 0.0) {
        const double cut = to < 1.0 ? parameterInPart<Curve>(*part, patch, start, end) : start;
        if (!part->splitAt(left, right, cut)) return {};
        part = right;
    }
    return Patch::castdown(part.getObject());
}

}  // namespace

// The parameter.

template <class Kind>
double Chain<Kind>::indexOf(double u) const {
    const double length = naturalLength();
    return length == 0.0 ? 0.0 : entries() * (u - this->Ndeb()) / length;
}

template <class Kind>
double Chain<Kind>::parameterOf(double x) const {
    // In this form: exactly x on [0, n].
    return this->Ndeb() + x * (naturalLength() / entries());
}

template <class Kind>
unsigned int Chain<Kind>::boundedIndex(double x) const {
    const unsigned int last = entries() - 1;
    if (x >= last) return last;
    return x > 0.0 ? static_cast<unsigned int>(x) : 0;
}

template <class Kind>
typename Chain<Kind>::Place Chain<Kind>::place(double u) const {
    const unsigned int n = entries();
    if (naturalLength() == 0.0) return {0, 0.0};
    const double x = indexOf(u);
    if (u <= this->Ndeb()) return {0, x};
    if (u >= this->Nfin()) return {n - 1, x - n + 1.0};
    const unsigned int patch = boundedIndex(x);
    return {patch, x - patch};
}

template <class Kind>
t_SmartPtr<typename Kind::Patch> Chain<Kind>::findPatch(double u) const {
    if (entries() == 0) return {};
    return &patches_[place(u).patch];
}

template <class Kind>
double Chain<Kind>::matchParamToPatch(double u) const {
    return entries() == 0 ? 0.0 : place(u).ratio;
}

// Calls visit(patch, first ratio, last ratio) for each patch that has a part between the indices x
// `from` and `to`; where these are one, for the patch that holds it.
template <class Kind>
template <class Visit>
void Chain<Kind>::forEachPart(double from, double to, Visit visit) const {
    if (entries() == 0) return;
    const unsigned int first = boundedIndex(from);
    for (unsigned int i = first; i < entries(); ++i) {
        const double start = std::max(from - i, 0.0);
        const double end = std::min(to - i, 1.0);
        if (!(start < end || (i == first && start == end))) return;
        visit(patches_[i], start, end);
    }
}

// The patches.

template <class Kind>
int Chain<Kind>::append(const t_SmartPtr<Patch>& patch, double tol) {
    return !patch ? 0 : add(*patch, patch.getObject(), tol, End::Tail);
}

template <class Kind>
int Chain<Kind>::append(const Patch& patch, double tol) {
    return add(patch, nullptr, tol, End::Tail);
}

template <class Kind>
int Chain<Kind>::prepend(const t_SmartPtr<Patch>& patch, double tol) {
    return !patch ? 0 : add(*patch, patch.getObject(), tol, End::Head);
}

template <class Kind>
int Chain<Kind>::prepend(const Patch& patch, double tol) {
    return add(patch, nullptr, tol, End::Head);
}

template <class Kind>
int Chain<Kind>::add(const Patch& patch, const Patch* shared, double tol, End end) {
    const bool atTail = end == End::Tail;
    bool turned = false;
    if (tol > 0.0 && entries() > 0) {
        const Point here = atTail ? patches_[entries() - 1].lastPt() : patches_[0].firstPt();
        const Point first = patch.firstPt();
        const Point last = patch.lastPt();
        turned = !(distance(here, atTail ? first : last) <= tol);
        if (turned && !(distance(here, atTail ? last : first) <= tol)) return 0;
    }
    // A chain that held itself, by whatever way, would have no end.
    const bool asItIs =
        shared != nullptr && !turned && !(shared->references() > 1 && patches_.contains(shared)) &&
        !(shared->isKindOf(Kind::Curve::desc()) && Kind::Curve::castdown(shared)->reaches(this));
    const t_SmartPtr<Patch> added =
        asItIs ? t_SmartPtr<Patch>(const_cast<Patch*>(shared)) : t_SmartPtr<Patch>(patch);
    if (!added) return 0;
    if (turned) added->reverse();
    if (atTail)
        patches_.append(added);
    else
        patches_.prepend(added);
    const ERLimites domain(0.0, entries());
    this->setDomains(domain, domain);
    this->setDirty();
    return 1;
}

template <class Kind>
bool Chain<Kind>::reaches(const Curve* sought) const {
    if (this == sought) return true;
    for (unsigned int i = 0; i < entries(); ++i) {
        if (patches_[i].isKindOf(Kind::Curve::desc()) &&
            Kind::Curve::castdown(&patches_[i])->reaches(sought))
            return true;
    }
    return false;
}

template <class Kind>
t_SmartPtr<typename Kind::Patch> Chain<Kind>::at(int i) const {
    KERF_CHECK_ARGUMENT(i >= 0 && static_cast<unsigned int>(i) < entries());
    return &patches_[static_cast<unsigned int>(i)];
}

template <class Kind>
void Chain<Kind>::adopt(PatchList<Patch>&& patches) {
    patches_ = std::move(patches);
    const ERLimites domain(0.0, entries());
    this->setDomains(domain, domain);
    this->setDirty();
}

// The curve.

template <class Kind>
typename Chain<Kind>::Point Chain<Kind>::operator()(double u) const {
    if (entries() == 0) return Point();
    const Place at = place(u);
    const Patch& patch = patches_[at.patch];
    return patch(parameterAt(patch, at.ratio));
}

template <class Kind>
typename Kind::Space::InfoPoint Chain<Kind>::PtCur(double u) const {
    if (entries() == 0) return typename Space::InfoPoint();
    const Place at = place(u);
    const Patch& patch = patches_[at.patch];
    auto info = patch.PtCur(parameterAt(patch, at.ratio));
    const double length = naturalLength();
    const double rate = length == 0.0 ? 0.0 : (patch.ufin() - patch.udeb()) * entries() / length;
    info.parameter() = u;
    info.tangente() = info.tangente() * rate;
    info.secondDerivative() = info.secondDerivative() * (rate * rate);
    return info;
}

template <class Kind>
typename Kind::Space::Box Chain<Kind>::getBox() const {
    typename Space::Box box;
    for (unsigned int i = 0; i < entries(); ++i) box = Union(box, patches_[i].getBox());
    return box;
}

template <class Kind>
ERVec<typename Chain<Kind>::Point> Chain<Kind>::approxime(const ERLimites& limits,
                                                          double tol) const {
    ERVec<Point> all;
    forEachPart(indexOf(limits.start()), indexOf(limits.end()),
                [&](const Patch& patch, double from, double to) {
                    // Curves that run down their parameters turn the points round themselves.
                    const ERVec<Point> points = patch.approxime(
                        increasing(parameterAt(patch, from), parameterAt(patch, to)), tol);
                    const unsigned int n = points.length();
                    const bool shared =
                        n > 0 && all.length() > 0 && distance(all.last(), points[0]) <= samePoint;
                    for (unsigned int i = shared ? 1 : 0; i < n; ++i) all.append(points[i]);
                });
    return all;
}

template <class Kind>
double Chain<Kind>::arcLength(ERLimites limits, double tol) const {
    double length = 0.0;
    const ERLimites ordered = increasing(indexOf(limits.start()), indexOf(limits.end()));
    forEachPart(ordered.start(), ordered.end(), [&](const Patch& patch, double from, double to) {
        length +=
            patch.arcLength(increasing(parameterAt(patch, from), parameterAt(patch, to)), tol);
    });
    return length;
}

template <class Kind>
double Chain<Kind>::arcLength(double tol) const {
    double length = 0.0;
    for (unsigned int i = 0; i < entries(); ++i) length += patches_[i].arcLength(tol);
    return length;
}

template <class Kind>
int Chain<Kind>::splitAt(t_SmartPtr<Curve>& left, t_SmartPtr<Curve>& right, double u) const {
    const unsigned int n = entries();
    const double index = indexOf(u), nearest = std::round(index);
    const double x = std::fabs(index - nearest) <= sameIndex ? nearest : index;
    const double whole = std::floor(x);
    if (n == 0 || !(whole >= 0.0 && whole <= n)) return 0;
    const unsigned int i = static_cast<unsigned int>(whole);
    const bool cut = x != whole;
    t_SmartPtr<Curve> end, start;
    if (cut && (i == n || !patches_[i].splitAt(end, start, parameterAt(patches_[i], x - whole))))
        return 0;

    t_SmartPtr<typename Kind::Curve> before(new typename Kind::Curve);
    t_SmartPtr<typename Kind::Curve> after(new typename Kind::Curve);
    for (unsigned int k = 0; k < i; ++k) before->append(patches_[k], 0.0);
    if (cut) {
        before->append(t_SmartPtr<Patch>(Patch::castdown(end.getObject())), 0.0);
        after->append(t_SmartPtr<Patch>(Patch::castdown(start.getObject())), 0.0);
    }
    for (unsigned int k = cut ? i + 1 : i; k < n; ++k) after->append(patches_[k], 0.0);
    left = before;
    right = after;
    return 1;
}

template <class Kind>
int Chain<Kind>::ProjectPoint(const Point& p, ERVec<double>& parameters, double tol) const {
    parameters.clear();
    typename Space::Box reach;
    reach.Update(p);
    reach.Inflate(tol);
    const typename Space::Box box = getBox();
    if (!(reach > box || box > reach)) return 0;

    unsigned int equallyNear = 0;
    ERVec<double> local;
    for (unsigned int i = 0; i < entries(); ++i) {
        const Patch& patch = patches_[i];
        local.clear();
        if (patch.ProjectPoint(p, local, tol) == -1) {
            ++equallyNear;
            parameters.append(parameterOf(i + 0.5));
            continue;
        }
        for (unsigned int k = 0; k < local.length(); ++k)
            parameters.append(parameterOf(ratioAt(patch, local[k]) + i));
    }
    const unsigned int found = parameters.length();
    return equallyNear == 1 && found == 1 ? -1 : static_cast<int>(found);
}

template <class Kind>
typename Kind::Space::Nurbs Chain<Kind>::ConvertToNurbs() const {
    typename Space::Nurbs all;
    for (unsigned int i = 0; i < entries(); ++i) all.append(patches_[i].ConvertToNurbs(), -1.0, 0);
    return all;
}

template <class Kind>
void Chain<Kind>::reverse() {
    PatchList<Patch> reversed;
    for (unsigned int i = 0; i < entries(); ++i) {
        patches_[i].reverse();
        reversed.prepend(&patches_[i]);
    }
    patches_ = std::move(reversed);
    Space::TrimmedCurve::reverse();
}

template <class Kind>
void Chain<Kind>::scale(double factor) {
    changePatches([&](Patch& patch) { patch.scale(factor); });
}

template <class Kind>
void Chain<Kind>::translate(const Point& t) {
    changePatches([&](Patch& patch) { patch.translate(t); });
}

template <class Kind>
void Chain<Kind>::adjust() {
    if (entries() == 0) return Space::TrimmedCurve::adjust();
    if (!this->isTrimmed()) return;
    const double from = indexOf(this->udeb());
    const double to = indexOf(this->ufin());
    PatchList<Patch> kept;
    bool whole = true;
    forEachPart(from, to, [&](Patch& patch, double start, double end) {
        if (from < to && end - start <= sameIndex) return;
        const t_SmartPtr<Patch> part = start == 0.0 && end == 1.0
                                           ? t_SmartPtr<Patch>(&patch)
                                           : partOf<Space>(patch, start, end);
        whole = whole && part.getObject() != nullptr;
        kept.append(part);
    });
    if (whole && kept.entries() > 0) adopt(std::move(kept));
}

template <class Kind>
void Chain<Kind>::printOn(std::ostream& os) const {
    os << rule << '\n'
       << this->className() << " with " << entries() << " elements\n"
       << rule << '\n';
    for (unsigned int i = 0; i < entries(); ++i) {
        const Patch& patch = patches_[i];
        const Point first = patch.firstPt();
        os << "Curve     : ---------------- \n" << patch << "\nStart Point : " << first << '\n';
        os << "End Point   : " << patch.lastPt();
        if (i > 0) os << " Dist = " << distance(patches_[i - 1].lastPt(), first);
        os << '\n';
    }
    os << "End Curve : ---------------- " << std::endl;
}

template class Chain<detail::Composite2D>;
template class Chain<detail::Composite3D>;
template class Chain<detail::PolynomialChain2D>;
template class Chain<detail::PolynomialChain3D>;

t_SmartPtr<EREntity3DWF> ERCompCurve2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return detail::chainOfImages<ERCompCurve3D>(
        *this, [&](const ERFiniteEntity2DWF& patch) { return patch.get3DEquiv(t); });
}

t_SmartPtr<EREntity2DWF> ERCompCurve3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return detail::chainOfImages<ERCompCurve2D>(
        *this, [&](const ERFiniteEntity3DWF& patch) { return patch.get2DEntProjectedOn(t); });
}

}  // namespace kerf
