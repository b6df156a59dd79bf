#include "kerf/curves/ellipse.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>
#include <utility>

#include "kerf/curves/conic_conversion.h"
#include "kerf/curves/internal/angular_form.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"

namespace kerf {

ER_DEFINE_CLASS(EREllipse2D, EREntity2DWF)
ER_DEFINE_CLASS(ERArcEllipse2D, EREllipse2D, ERFiniteEntity2DWFBoundedWithAngle)
ER_DEFINE_CLASS(EREllipse3D, ERPlanarEntity3DWF)
ER_DEFINE_CLASS(ERArcEllipse3D, ERPlanarEntity3DWF, ERFiniteEntity3DWFBoundedWithAngle)
ER_DEFINE_STORED_CLASS(EREllipse2D, EREntity2DWF)
ER_DEFINE_STORED_CLASS(ERArcEllipse2D, EREllipse2D, ERFiniteEntity2DWFBoundedWithAngle)
ER_DEFINE_STORED_CLASS(EREllipse3D, ERPlanarEntity3DWF)
ER_DEFINE_STORED_CLASS(ERArcEllipse3D, ERPlanarEntity3DWF, ERFiniteEntity3DWFBoundedWithAngle)

namespace {

// The coefficients of x^2, x y, y^2, x, y and 1.
using Conic = std::array<double, 6>;
// Those of x, y and 1.
using Line = std::array<double, 3>;

Line lineThrough(const ERPoint2D& a, const ERPoint2D& b) {
    return {a.y() - b.y(), b.x() - a.x(), a.x() * b.y() - b.x() * a.y()};
}

double valueAt(const Line& line, const ERPoint2D& p) {
    return line[0] * p.x() + line[1] * p.y() + line[2];
}

Conic product(const Line& l, const Line& m, double factor) {
    return {factor * l[0] * m[0],
            factor * (l[0] * m[1] + l[1] * m[0]),
            factor * l[1] * m[1],
            factor * (l[0] * m[2] + l[2] * m[0]),
            factor * (l[1] * m[2] + l[2] * m[1]),
            factor * l[2] * m[2]};
}

// The member of the pencil of conics through the first four points that goes through the fifth.
Conic conicThrough(const std::array<ERPoint2D, 5>& p) {
    const Line a = lineThrough(p[0], p[1]), b = lineThrough(p[2], p[3]);
    const Line c = lineThrough(p[0], p[2]), d = lineThrough(p[1], p[3]);
    const Conic first = product(a, b, valueAt(c, p[4]) * valueAt(d, p[4]));
    const Conic second = product(c, d, valueAt(a, p[4]) * valueAt(b, p[4]));
    Conic conic;
    for (std::size_t i = 0; i < conic.size(); ++i) conic[i] = first[i] - second[i];
    return conic;
}

// An ellipse of zeros for other conics, and for ellipses that rounding may have made of a parabola
// or a pair of lines.
EREllipse2D ellipseOf(Conic conic) {
    if (conic[0] + conic[2] < 0.0)
        for (double& coefficient : conic) coefficient = -coefficient;
    const auto [a, b, c, d, e, f] = conic;
    const double discriminant = 4.0 * a * c - b * b;
    if (!(discriminant > 1e-12 * (a + c) * (a + c))) return EREllipse2D();
    const ERPoint2D centre((b * e - 2.0 * c * d) / discriminant,
                           (b * d - 2.0 * a * e) / discriminant);
    const double value = f + 0.5 * (d * centre.x() + e * centre.y());
    if (!(value < 0.0)) return EREllipse2D();
    const double larger = 0.5 * (a + c + std::hypot(a - c, b));
    const double smaller = 0.25 * discriminant / larger;
    return EREllipse2D(std::sqrt(-value / smaller), std::sqrt(-value / larger),
                       0.5 * std::atan2(b, a - c) + quarterTurn, centre);
}

ERInfoPoint2D infoOn(const EREllipse2D& ellipse, double u) {
    const AngularForm<Space2D> form = angularForm(ellipse);
    const double cosine = std::cos(u), sine = std::sin(u);
    const ERVector2D out = form.cosine * cosine + form.sine * sine;
    return ERInfoPoint2D(u, 1, form.centre + out, form.sine * cosine - form.cosine * sine, -out);
}

// The length of an ellipse of half axes a and b from angle `start` to `end`.
class EllipticLength {
public:
    EllipticLength(double a, double b) : a_(a), b_(b) {}

    double over(const ERLimites& limits, double tol) const {
        const double sweep = std::fabs(limits.amplitude());
        if (!std::isfinite(sweep)) return sweep;
        const double turns = std::floor(sweep / fullTurn);
        const double pieceTol = 0.125 * tol / (turns + 1.0);
        double sum = turns > 0.0 ? 4.0 * turns * piece(0.0, quarterTurn, pieceTol) : 0.0;
        // The rest, cut where the speed of a flat ellipse has its corners.
        double from = std::fmod(std::min(limits.start(), limits.end()), halfTurn);
        const double last = from + (sweep - turns * fullTurn);
        while (from < last) {
            const double corner = (std::floor(from / quarterTurn + 1e-9) + 1.0) * quarterTurn;
            const double to = std::min(last, corner);
            sum += piece(from, to, pieceTol);
            from = to;
        }
        return sum;
    }

private:
    double speed(double u) const { return std::hypot(a_ * std::sin(u), b_ * std::cos(u)); }

    // Gauss's rule of five points.
    double gauss(double from, double to) const {
        const double middle = 0.5 * (from + to), half = 0.5 * (to - from);
        const auto pair = [&](double x) {
            return speed(middle - half * x) + speed(middle + half * x);
        };
        return half *
               (0.5688888888888889 * speed(middle) + 0.4786286704993665 * pair(0.5384693101056831) +
                0.2369268850561891 * pair(0.9061798459386640));
    }

    double piece(double from, double to, double tol) const {
        return refined(from, to, gauss(from, to), tol, 40);
    }
    double refined(double from, double to, double whole, double tol, int halvings) const {
        const double middle = 0.5 * (from + to);
        const double left = gauss(from, middle), right = gauss(middle, to);
        const double sum = left + right;
        const double rounding = 1e-15 * (std::fabs(a_) + std::fabs(b_));
        if (halvings == 0 || !(std::fabs(sum - whole) > std::max(rounding, tol))) return sum;
        return refined(from, middle, left, 0.5 * tol, halvings - 1) +
               refined(middle, to, right, 0.5 * tol, halvings - 1);
    }

    double a_, b_;
};

double lengthOver(const EREllipse2D& ellipse, const ERLimites& limits, double tol) {
    return EllipticLength(0.5 * ellipse.bigAxe(), 0.5 * ellipse.getSmallAxe()).over(limits, tol);
}

// By how much angles grow when the axis that they are counted from moves from `axis` to that of the
// ellipse; 0 for what is rounding.
double driftOf(const EREllipse2D& ellipse, const ERVector2D& axis) {
    const ERVector2D own = ellipse.direction();
    const double drift = std::atan2(own ^ axis, own * axis);
    return std::fabs(drift) > 1e-12 ? drift : 0.0;
}

void printAxes(std::ostream& os, const auto& ellipse) {
    const auto foci = ellipse.getFocus();
    os << "Ellipse" << std::endl;
    os << "Big Axe " << ellipse.bigAxe() << std::endl;
    os << "Small Axe " << ellipse.getSmallAxe() << std::endl;
    os << "focus 1 " << foci[0] << std::endl;
    os << "focus 2 " << foci[1] << std::endl;
    os << "Center  " << ellipse.center() << std::endl;
}

}  // namespace

EREllipse2D::EREllipse2D(const ERPoint2D& f1, const ERPoint2D& f2, double d)
    : focus1_(f1), focus2_(f2), bigAxe_(d) {
    const double apart = distance2(f1, f2);
    if (!(apart < d * d)) bigAxe_ = std::sqrt(d * d + apart);
}

EREllipse2D::EREllipse2D(double big, double small, double angle, const ERPoint2D& centre) {
    if (small > big) std::swap(big, small);
    const double toFocus = std::sqrt(std::max(0.0, (big - small) * (big + small)));
    const ERVector2D half = ERVector2D(std::cos(angle), std::sin(angle)) * toFocus;
    focus1_ = centre + half;
    focus2_ = centre - half;
    bigAxe_ = 2.0 * big;
}

EREllipse2D::EREllipse2D(const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& p3,
                         const ERPoint2D& p4, const ERPoint2D& p5) {
    // About the mean and at unit size, where the products keep their digits.
    const ERPoint2D mean = (p1 + p2 + p3 + p4 + p5) * 0.2;
    std::array<ERPoint2D, 5> points = {p1 - mean, p2 - mean, p3 - mean, p4 - mean, p5 - mean};
    double size = 0.0;
    for (const ERPoint2D& p : points) size = std::max({size, std::fabs(p.x()), std::fabs(p.y())});
    if (!(size > 0.0)) return;
    for (ERPoint2D& p : points) p = p / size;
    EREllipse2D ellipse = ellipseOf(conicThrough(points));
    if (ellipse.bigAxe() == 0.0) return;
    ellipse.scale(size);
    ellipse.translate(mean);
    *this = ellipse;
}

EREllipse2D::EREllipse2D(double a, double, double c, double d, double e, double) {
    if (!(std::fabs(a) >= 1e-13 && std::fabs(c) >= 1e-13) || (a < 0.0) != (c < 0.0)) return;
    if (a < 0.0) {
        a = -a;
        c = -c;
        d = -d;
        e = -e;
    }
    const ERPoint2D centre(-0.5 * d / a, -0.5 * e / c);
    const double toFocus = std::sqrt(std::fabs(a - c));
    const ERVector2D half = c >= a ? ERVector2D(0.0, toFocus) : ERVector2D(toFocus, 0.0);
    bigAxe_ = 2.0 * std::sqrt(c >= a ? a : c);
    focus1_ = centre + half;
    focus2_ = centre - half;
}

ERVec<ERPoint2D> EREllipse2D::getFocus() const {
    const ERPoint2D both[] = {focus1_, focus2_};
    return ERVec<ERPoint2D>(both, 2);
}

double EREllipse2D::getSmallAxe() const {
    const double apart = distance(focus1_, focus2_);
    return std::sqrt(std::max(0.0, (bigAxe_ - apart) * (bigAxe_ + apart)));
}

ERPoint2D EREllipse2D::center() const { return milieu(focus1_, focus2_); }

ERVector2D EREllipse2D::direction() const {
    const ERVector2D axis(focus2_, focus1_);
    return axis == ERVector2D() ? ERVector2D(1.0, 0.0) : axis.getnormalized();
}

t_SmartPtr<EREntity3DWF> EREllipse2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new EREllipse3D(t, *this);
}

void EREllipse2D::scale(double factor) {
    focus1_ *= factor;
    focus2_ *= factor;
    bigAxe_ *= std::fabs(factor);
    setDirty();
}

void EREllipse2D::translate(const ERPoint2D& t) {
    focus1_ += t;
    focus2_ += t;
    setDirty();
}

void EREllipse2D::transformFrom(const ERTransfo2D& transformation) {
    focus1_ = transformation >> focus1_;
    focus2_ = transformation >> focus2_;
    bigAxe_ *= transformation.factHomo();
    setDirty();
}

void EREllipse2D::transformTo(const ERTransfo2D& transformation) {
    focus1_ = transformation << focus1_;
    focus2_ = transformation << focus2_;
    bigAxe_ /= transformation.factHomo();
    setDirty();
}

void EREllipse2D::printOn(std::ostream& os) const { printAxes(os, *this); }

ERInfoPoint2D ERArcEllipse2D::PtCur(double u) const { return infoOn(*this, u); }

ERPoint2D ERArcEllipse2D::operator()(double u) const { return angularForm(*this)(u); }

ERVec<ERPoint2D> ERArcEllipse2D::approxime(const ERLimites& limits, double tol) const {
    return inDirection(ERFiniteEntity2DWFBoundedWithAngle::approxime(limits, tol), *this);
}

ERMinimax2D ERArcEllipse2D::getBox() const {
    const AngularForm<Space2D> form = angularForm(*this);
    const ERLimites x = form.along(Coord2D::CoordX).range(getBound());
    const ERLimites y = form.along(Coord2D::CoordY).range(getBound());
    return ERMinimax2D(x.start(), x.end(), y.start(), y.end());
}

ERCpoleNURBS2D ERArcEllipse2D::ConvertToNurbs() const { return Convert(*this); }

double ERArcEllipse2D::arcLength(ERLimites limits, double tol) const {
    return lengthOver(*this, limits, tol);
}

double ERArcEllipse2D::arcLength(double tol) const { return lengthOver(*this, getBound(), tol); }

int ERArcEllipse2D::splitAt(t_SmartPtr<ERFiniteEntity2DWF>& left,
                            t_SmartPtr<ERFiniteEntity2DWF>& right, double u) const {
    return splitAtAngle(*this, left, right, u);
}

unsigned int ERArcEllipse2D::intersectWithAxeY(double x, ERVec<double>& parameters) const {
    return angularForm(*this).along(Coord2D::CoordX).appendWhere(x, getBound(), parameters);
}

unsigned int ERArcEllipse2D::intersectWith(const ERPoint2D& p, const ERVector2D& lineNormal,
                                           ERVec<double>& parameters) const {
    const Harmonic height = angularForm(*this).along(lineNormal.getnormalized(), p);
    return height.appendWhere(0.0, getBound(), parameters);
}

void ERArcEllipse2D::reverse() { ERFiniteEntity2DWFBoundedWithAngle::reverse(); }

t_SmartPtr<EREntity3DWF> ERArcEllipse2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERArcEllipse3D(t, *this);
}

// Counts the angles from `axis`, also where the moved foci no longer tell it.
void ERArcEllipse2D::keepTo(const ERVector2D& axis) { turnBy(driftOf(*this, axis)); }

void ERArcEllipse2D::scale(double factor) {
    const ERVector2D axis = direction();
    EREllipse2D::scale(factor);
    keepTo(axis * factor);
}

void ERArcEllipse2D::translate(const ERPoint2D& t) {
    const ERVector2D axis = direction();
    EREllipse2D::translate(t);
    keepTo(axis);
}

void ERArcEllipse2D::transformFrom(const ERTransfo2D& transformation) {
    const ERVector2D axis = transformation >> direction();
    ERFiniteEntity2DWFBoundedWithAngle::transformFrom(transformation);
    EREllipse2D::transformFrom(transformation);
    keepTo(axis);
}

void ERArcEllipse2D::transformTo(const ERTransfo2D& transformation) {
    const ERVector2D axis = transformation << direction();
    ERFiniteEntity2DWFBoundedWithAngle::transformTo(transformation);
    EREllipse2D::transformTo(transformation);
    keepTo(axis);
}

void ERArcEllipse2D::printOn(std::ostream& os) const {
    EREllipse2D::printOn(os);
    ERFiniteEntity2DWFBoundedWithAngle::printOn(os);
}

void EREllipse3D::printOn(std::ostream& os) const { printAxes(os, *this); }

ERInfoPoint3DWF ERArcEllipse3D::PtCur(double u) const { return lifted(infoOn(flat_, u)); }

ERPoint3D ERArcEllipse3D::operator()(double u) const { return lifted(angularForm(flat_)(u)); }

ERVec<ERPoint3D> ERArcEllipse3D::approxime(const ERLimites& limits, double tol) const {
    return lifted(ArcEllipse2D().approxime(limits, tol));
}

ERMinimax3D ERArcEllipse3D::getBox() const { return transform(ArcEllipse2D().getBox()); }

ERCpoleNURBS3D ERArcEllipse3D::ConvertToNurbs() const { return Convert(*this); }

double ERArcEllipse3D::arcLength(ERLimites limits, double tol) const {
    return lengthOver(flat_, limits, tol);
}

double ERArcEllipse3D::arcLength(double tol) const { return lengthOver(flat_, getBound(), tol); }

int ERArcEllipse3D::splitAt(t_SmartPtr<ERFiniteEntity3DWF>& left,
                            t_SmartPtr<ERFiniteEntity3DWF>& right, double u) const {
    return splitAtAngle(*this, left, right, u);
}

unsigned int ERArcEllipse3D::intersectWithPlanZ(double z, ERVec<double>& parameters) const {
    return appendCutsWithPlanZ(lifted(angularForm(flat_)), z, getBound(), parameters);
}

void ERArcEllipse3D::scaleData(double factor) {
    const ERVector2D axis = flat_.direction();
    Planar::scaleData(factor);
    turnBy(driftOf(flat_, axis * factor));
}

void ERArcEllipse3D::reverse() { ERFiniteEntity3DWFBoundedWithAngle::reverse(); }

void ERArcEllipse3D::transformFrom(const ERPmSimilitude3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformFrom(transformation);
    ERPlanarEntity3DWF::transformFrom(transformation);
}

void ERArcEllipse3D::transformFrom(const ERPmIsometrie3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformFrom(transformation);
    ERPlanarEntity3DWF::transformFrom(transformation);
}

void ERArcEllipse3D::transformTo(const ERPmSimilitude3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformTo(transformation);
    ERPlanarEntity3DWF::transformTo(transformation);
}

void ERArcEllipse3D::transformTo(const ERPmIsometrie3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformTo(transformation);
    ERPlanarEntity3DWF::transformTo(transformation);
}

void ERArcEllipse3D::printOn(std::ostream& os) const {
    printAxes(os, *this);
    ERFiniteEntity3DWFBoundedWithAngle::printOn(os);
}

}  // namespace kerf
