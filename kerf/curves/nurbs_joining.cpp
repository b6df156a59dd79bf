#include <cmath>

#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/spline/knot_vector.h"

// Joining NURBS curves end to end.
namespace kerf {

namespace {

// Ends farther apart than this share no pole where a negative tolerance joins them all the same.
constexpr double sharedPole = 1e-9;
constexpr double sameDirection = 1e-11;

template <class Vector>
bool tangentsAgree(const Vector& a, const Vector& b) {
    return isEqual(a.getnormalized(), b.getnormalized(), sameDirection) != 0;
}

}  // namespace

// Both are clamped and adjusted, `after` starts at the parameter at which `before` ends.
template <class Space>
void NurbsCurve<Space>::join(Curve& before, Curve& after, bool sharePole) {
    const unsigned int degree = std::max(before.degree(), after.degree());
    before.incrDegree(degree - before.degree());
    after.incrDegree(degree - after.degree());

    ERKnotVector knots = before.knots_;
    knots.concat(after.knots_);
    ERVec<Pole> poles = before.poles_;
    if (sharePole) {
        knots.removeAt(before.poles_.length());
        poles.removeLast(1);
    }
    for (unsigned int i = 0; i < after.poles_.length(); ++i) poles.append(after.poles_[i]);
    const ERLimites domain(before.udeb(), after.ufin());
    before.change([&] {
        before.poles_ = poles;
        before.knots_ = knots;
        before.setDomains(domain, domain);
    });
}

template <class Space>
int NurbsCurve<Space>::attach(const Curve& other, double tol, int flag, bool atEnd) {
    ResetCachedInfo();
    if (other.nbPoles() == 0) return 1;
    if (nbPoles() == 0) {
        static_cast<Curve&>(*this) = other;
        this->setDirty();
        return 1;
    }

    Curve added(other);
    const Point here = atEnd ? this->lastPt() : this->firstPt();
    const auto meeting = [atEnd](const Curve& curve) {
        return atEnd ? curve.firstPt() : curve.lastPt();
    };
    if (tol >= 0.0 && !isEqual(here, meeting(added), tol)) {
        if (!isEqual(here, atEnd ? added.lastPt() : added.firstPt(), tol)) return 0;
        added.reverse();
    }
    if (flag) {
        const double own = atEnd ? this->ufin() : this->udeb();
        const double its = atEnd ? added.udeb() : added.ufin();
        if (!tangentsAgree(this->PtCur(own).tangente(), added.PtCur(its).tangente())) return 0;
    }

    added.adjust();
    adjust();
    const double length = added.ufin() - added.udeb();
    added.reparametrize(atEnd ? ERLimites(this->ufin(), this->ufin() + length)
                              : ERLimites(this->udeb() - length, this->udeb()));
    const Pole& ownEnd = atEnd ? poles_.last() : poles_.first();
    const Pole& itsEnd = atEnd ? added.poles_.first() : added.poles_.last();
    const double factor = ownEnd.weigth() / itsEnd.weigth();
    if (std::isfinite(factor) && factor != 0.0) {
        for (unsigned int i = 0; i < added.poles_.length(); ++i) added.poles_[i] *= factor;
    }
    const bool share = tol >= 0.0 || isEqual(here, meeting(added), sharedPole);
    Curve& self = static_cast<Curve&>(*this);
    if (atEnd) {
        join(self, added, share);
    } else {
        Curve own(self);
        join(added, own, share);
        self = added;
        this->setDirty();
    }
    return 1;
}

template <class Space>
int NurbsCurve<Space>::append(const Curve& other, double tol, int flag) {
    return attach(other, tol, flag, true);
}

template <class Space>
int NurbsCurve<Space>::prepend(const Curve& other, double tol, int flag) {
    return attach(other, tol, flag, false);
}

template <class Space>
int NurbsCurve<Space>::merge(const Curve& other, double tol, int flag) {
    return append(other, tol, flag) || prepend(other, tol, flag);
}

template void NurbsCurve<Space2D>::join(ERCpoleNURBS2D&, ERCpoleNURBS2D&, bool);
template void NurbsCurve<Space3D>::join(ERCpoleNURBS3D&, ERCpoleNURBS3D&, bool);
template int NurbsCurve<Space2D>::attach(const ERCpoleNURBS2D&, double, int, bool);
template int NurbsCurve<Space3D>::attach(const ERCpoleNURBS3D&, double, int, bool);
template int NurbsCurve<Space2D>::append(const ERCpoleNURBS2D&, double, int);
template int NurbsCurve<Space3D>::append(const ERCpoleNURBS3D&, double, int);
template int NurbsCurve<Space2D>::prepend(const ERCpoleNURBS2D&, double, int);
template int NurbsCurve<Space3D>::prepend(const ERCpoleNURBS3D&, double, int);
template int NurbsCurve<Space2D>::merge(const ERCpoleNURBS2D&, double, int);
template int NurbsCurve<Space3D>::merge(const ERCpoleNURBS3D&, double, int);

}  // namespace kerf
