#include "kerf/curves/bezier_curve.h"

#include <ostream>

#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/spline/bernstein.h"
#include "kerf/curves/spline/degree_elevation.h"
#include "kerf/curves/spline/length.h"
#include "kerf/curves/spline/power_form.h"

namespace kerf {

ER_DEFINE_CLASS(ERCpoleBezier2D, ERCpoleRep2D)
ER_DEFINE_CLASS(ERCpoleBezier2DR, ERCpoleRep2D)
ER_DEFINE_CLASS(ERCpoleBezier3D, ERCpoleRep3D)
ER_DEFINE_CLASS(ERCpoleBezier3DR, ERCpoleRep3D)
ER_DEFINE_STORED_CLASS(ERCpoleBezier2D, ERCpoleRep2D)
ER_DEFINE_STORED_CLASS(ERCpoleBezier2DR, ERCpoleRep2D)
ER_DEFINE_STORED_CLASS(ERCpoleBezier3D, ERCpoleRep3D)
ER_DEFINE_STORED_CLASS(ERCpoleBezier3DR, ERCpoleRep3D)

namespace {

// Of a domain of length 0 every parameter has the ratio 0.
double ratioOf(double u, double start, double end) {
    return end == start ? 0.0 : (u - start) / (end - start);
}

}  // namespace

template <class Kind>
double BezierCurve<Kind>::ratio(double u) const {
    return ratioOf(u, this->Ndeb(), this->Nfin());
}

template <class Kind>
typename BezierCurve<Kind>::Point BezierCurve<Kind>::operator()(double u) const {
    const unsigned int n = nbPoles();
    return n == 0 ? Point() : Casteljau(poles().data(), n, ratio(u)).castToPoint();
}

template <class Kind>
typename Kind::Space::InfoPoint BezierCurve<Kind>::PtCur(double u) const {
    const unsigned int n = nbPoles();
    const ERLimites domain(this->Ndeb(), this->Nfin());
    typename Space::InfoPoint info;
    if (n > 0 && domain.start() != domain.end()) {
        info = CasteljauAll(poles().data(), n, u, domain);
    } else if (n > 0) {
        info.point() = poles().first().castToPoint();
    }
    info.parameter() = u;
    return info;
}

template <class Kind>
typename Kind::Space::Nurbs BezierCurve<Kind>::ConvertToNurbs() const {
    const unsigned int n = nbPoles();
    if (n == 0) return typename Space::Nurbs();
    ERVec<typename Space::Pole> weighted(n);
    spanPoles(0, weighted.data());
    return typename Space::Nurbs(weighted, knotVector(), this->getBound());
}

template <class Kind>
void BezierCurve<Kind>::reverse() {
    this->change([&] { polesToChange().reverse(); });
    Space::PoleCurve::reverse();
}

template <class Kind>
void BezierCurve<Kind>::adjust() {
    if (!this->isTrimmed()) return;
    const unsigned int n = nbPoles();
    this->change([&] {
        if (n == 0) return;
        RedefineDomain(polesToChange().data(), n, ratio(this->udeb()), ratio(this->ufin()));
    });
    Space::PoleCurve::adjust();
}

template <class Kind>
typename BezierCurve<Kind>::Point BezierCurve<Kind>::operator[](int i) const {
    return poles()[static_cast<unsigned int>(i)].castToPoint();
}

template <class Kind>
ERKnotVector BezierCurve<Kind>::knotVector() const {
    return BezierKnotVector(degree(), ERLimites(this->Ndeb(), this->Nfin()));
}

template <class Kind>
unsigned int BezierCurve<Kind>::degree() const {
    const unsigned int n = nbPoles();
    return n > 0 ? n - 1 : 0;
}

template <class Kind>
void BezierCurve<Kind>::incrDegree(unsigned int k) {
    if (nbPoles() == 0) return;
    this->change([&] { BezierIncreaseDegree(polesToChange(), k); });
}

template <class Kind>
int BezierCurve<Kind>::decrDegree() {
    int exact = 0;
    this->change([&] { exact = BezierDecreaseDegree(polesToChange()); });
    return exact;
}

template <class Kind>
ERTValVector<ERPolynome> BezierCurve<Kind>::getSpanPower(int) const {
    if (this->getCachedSpan(0) == nullptr) {
        auto polynomials = std::make_unique<ERTValVector<ERPolynome>>();
        if (nbPoles() > 0) Bezier2Poly(poles(), *polynomials);
        this->insertSpanInCache(0, polynomials.release());
    }
    return *this->getCachedSpan(0);
}

template <class Kind>
double BezierCurve<Kind>::cordalHeight() const {
    const unsigned int n = nbPoles();
    ERVec<Point> points(n);
    for (unsigned int i = 0; i < n; ++i) points[i] = (*this)[static_cast<int>(i)];
    return this->cordalHeight(points);
}

template <class Kind>
int BezierCurve<Kind>::splitAt(Self*& left, Self*& right, double u) const {
    if (!this->getBound().inBound(u)) return 0;
    const auto part = [this](const ERLimites& limits) {
        auto* const curve =
            new typename Kind::Curve(static_cast<const typename Kind::Curve&>(*this));
        curve->setBound(limits);
        curve->adjust();
        return curve;
    };
    const double start = this->udeb();
    const double end = this->ufin();
    left = part(ERLimites(start, u));
    right = part(ERLimites(u, end));
    return 1;
}

template <class Kind>
void BezierCurve<Kind>::printOn(std::ostream& os) const {
    Space::PoleCurve::printOn(os);
    poles().printOn(os);
}

template <class Kind>
ERLimites BezierCurve<Kind>::spanLimites(unsigned int) const {
    return ERLimites(this->Ndeb(), this->Nfin());
}

template <class Kind>
typename Kind::Space::Box BezierCurve<Kind>::spanBox(unsigned int) const {
    return this->getBox();
}

template <class Kind>
void BezierCurve<Kind>::spanPoles(unsigned int, typename Space::Pole* weighted) const {
    const Pole* const from = poles().data();
    for (unsigned int i = 0; i < nbPoles(); ++i)
        weighted[i] = typename Space::Pole(from[i].thePoint(), from[i].weigth());
}

template <class Kind>
bool BezierCurve<Kind>::isCutTo(const ERLimites& limits) const {
    return limits == ERLimites(this->Ndeb(), this->Nfin());
}

template <class Kind>
double BezierCurve<Kind>::lengthOfPoles(double tol) const {
    return spline::bezierLength(spline::doubles(poles().data()), nbPoles(),
                                spline::dimensionOf<Pole>, Pole::isRational() != 0, tol);
}

template class BezierCurve<detail::Bezier2D>;
template class BezierCurve<detail::Bezier2DR>;
template class BezierCurve<detail::Bezier3D>;
template class BezierCurve<detail::Bezier3DR>;

namespace {

// The curve whose poles are the images of another's, over the same domains.
template <class Image, class Curve, class Map>
Image* imageOf(const Curve& curve, Map map) {
    using Pole = std::decay_t<decltype(map(curve.poles().first()))>;
    const unsigned int n = curve.nbPoles();
    ERVec<Pole> images(n);
    for (unsigned int i = 0; i < n; ++i) images[i] = map(curve.poles()[i]);
    return new Image(images, ERLimites(curve.Ndeb(), curve.Nfin()), curve.getBound());
}

}  // namespace

t_SmartPtr<EREntity3DWF> ERCpoleBezier2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return imageOf<ERCpoleBezier3D>(
        *this, [&](const ERPoint2D& p) { return t >> p.castToPoint3D(Coord3D::CoordZ, 0.0); });
}

t_SmartPtr<EREntity3DWF> ERCpoleBezier2DR::get3DEquiv(const ERPmIsometrie3D& t) const {
    return imageOf<ERCpoleBezier3DR>(
        *this, [&](const ERPole2DH& p) { return t >> p.castToPole3D(Coord3D::CoordZ, 0.0); });
}

t_SmartPtr<EREntity2DWF> ERCpoleBezier3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return imageOf<ERCpoleBezier2D>(*this, [&](const ERPoint3D& p) { return t.Project(p); });
}

t_SmartPtr<EREntity2DWF> ERCpoleBezier3DR::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    return imageOf<ERCpoleBezier2DR>(*this, [&](const ERPole3DH& p) { return t.Project(p); });
}

}  // namespace kerf
