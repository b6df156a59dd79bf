#include "kerf/curves/arc.h"

#include <cmath>
#include <ostream>

#include "kerf/curves/conic_conversion.h"
#include "kerf/curves/internal/angular_form.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"

namespace kerf {

ER_DEFINE_CLASS(ERArc2D, ERFiniteEntity2DWFBoundedWithAngle, ERCircle2D)
ER_DEFINE_CLASS(ERArc3D, ERCircle3D, ERFiniteEntity3DWFBoundedWithAngle)
ER_DEFINE_STORED_CLASS(ERArc2D, ERFiniteEntity2DWFBoundedWithAngle, ERCircle2D)
ER_DEFINE_STORED_CLASS(ERArc3D, ERFiniteEntity3DWFBoundedWithAngle, ERCircle3D)

namespace {

ERInfoPoint2D infoOn(const ERCircle2D& circle, double u) {
    const ERVector2D out(circle.radius() * std::cos(u), circle.radius() * std::sin(u));
    return ERInfoPoint2D(u, 1, circle.center() + out, ERVector2D(-out.j(), out.i()), out);
}

double lengthOver(const ERLimites& limits, double radius) {
    return std::fabs(limits.amplitude()) * std::fabs(radius);
}

// Takes whole turns off both angles until the start is in (-pi, pi].
void takeTurnsOff(auto& arc) {
    const double start = arc.startAngle(), end = arc.endAngle();
    if ((0.0 <= start && start < end && end < fullTurn) || !(start > halfTurn)) return;
    if (!std::isfinite(start)) return;
    // Exact, where a difference of large numbers would leave the interval by rounding.
    double reduced = std::remainder(start, fullTurn);
    if (reduced == -halfTurn) reduced = halfTurn;
    arc.startAngle(reduced);
    arc.endAngle(end - (start - reduced));
    arc.setDirty();
}

void printCircle(std::ostream& os, const auto& arc) {
    os << arc.center() << std::endl;
    os << "      Rayon  :" << arc.radius() << std::endl;
    os << "      StartAg:" << arc.startAngle() << std::endl;
    os << "      EndAg  :" << arc.endAngle() << std::endl;
}

}  // namespace

ERInfoPoint2D ERArc2D::PtCur(double u) const { return infoOn(*this, u); }

ERPoint2D ERArc2D::normal(ERRadian u) const { return center() + infoOn(*this, u).tangente(); }

ERVec<ERPoint2D> ERArc2D::approxime(const ERLimites& limits, double tol) const {
    return inDirection(ERFiniteEntity2DWFBoundedWithAngle::approxime(limits, tol), *this);
}

ERVec<ERPoint2D> ERArc2D::approxime(int n) const {
    // The curve's own sampling: that of the angles turns equal ones round too.
    // NOLINTNEXTLINE(bugprone-parent-virtual-call)
    return inDirection(ERFiniteEntity2DWF::approxime(n), *this);
}

ERMinimax2D ERArc2D::getBox() const {
    ERMinimax2D box;
    const double start = udeb(), end = ufin();
    box.Update((*this)(start));
    box.Update((*this)(end));
    const double step = end > start ? quarterTurn : -quarterTurn;
    double w = std::floor(2.0 * start / halfTurn) * quarterTurn;
    if (start < end) w += quarterTurn;
    // Four quarters reach all four extremes, from wherever: further turns add nothing.
    for (int quarter = 0; quarter < 5; ++quarter) {
        if (!(start < end ? w < end : w > end)) break;
        box.Update((*this)(w));
        w += step;
    }
    return box;
}

ERCpoleNURBS2D ERArc2D::ConvertToNurbs() const { return Convert(*this); }

double ERArc2D::arcLength(ERLimites limits, double) const { return lengthOver(limits, radius()); }

double ERArc2D::arcLength(double) const { return lengthOver(getBound(), radius()); }

int ERArc2D::splitAt(t_SmartPtr<ERFiniteEntity2DWF>& left, t_SmartPtr<ERFiniteEntity2DWF>& right,
                     double u) const {
    return splitAtAngle(*this, left, right, u);
}

unsigned int ERArc2D::intersectWithAxeY(double x, ERVec<double>& parameters) const {
    const double r = std::fabs(radius());
    const double side = radius() < 0.0 ? -1.0 : 1.0;
    const double d = x - center().x();
    if (std::fabs(d) > r) return 0;
    if (std::fabs(d) < r) {
        const double h = std::sqrt(r * r - d * d);
        const ERLimites bounds(startAngle(), endAngle());
        for (const double height : {h, -h}) {
            const double angle = std::atan2(side * height, side * d);
            if (bounds.inBound(angle)) parameters.append(angle);
        }
    } else if (std::fabs(d) == r) {
        parameters.append(side * d >= 0.0 ? 0.0 : halfTurn);
    }
    return parameters.length();
}

unsigned int ERArc2D::intersectWith(const ERPoint2D& p, const ERVector2D& lineNormal,
                                    ERVec<double>& parameters) const {
    const Harmonic height = angularForm(*this).along(lineNormal.getnormalized(), p);
    return height.appendWhere(0.0, getBound(), parameters);
}

int ERArc2D::ProjectPoint(const ERPoint2D& p, ERVec<double>& parameters, double) const {
    if (p == center()) return -1;
    const ERLimites bounds = getBound();
    double angle = angleOf(ERVector2D(center(), p) * (radius() < 0.0 ? -1.0 : 1.0));
    if ((bounds.start() > halfTurn || bounds.end() > halfTurn) && angle < 0.0) angle += fullTurn;
    if (bounds.inBound(angle)) parameters.append(angle);
    return static_cast<int>(parameters.length());
}

EREntity::DISTMINRES ERArc2D::SignedMinimalDistance(const ERPoint2D&, double&) const {
    return NoFootPoint;
}

void ERArc2D::normalized() { takeTurnsOff(*this); }

void ERArc2D::reverse() { ERFiniteEntity2DWFBoundedWithAngle::reverse(); }

t_SmartPtr<EREntity3DWF> ERArc2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERArc3D(t, *this);
}

void ERArc2D::transformFrom(const ERTransfo2D& transformation) {
    ERFiniteEntity2DWFBoundedWithAngle::transformFrom(transformation);
    ERCircle2D::transformFrom(transformation);
    turnBy(angleOf(transformation >> ERVector2D(1.0, 0.0)));
}

void ERArc2D::transformTo(const ERTransfo2D& transformation) {
    ERFiniteEntity2DWFBoundedWithAngle::transformTo(transformation);
    ERCircle2D::transformTo(transformation);
    turnBy(angleOf(transformation << ERVector2D(1.0, 0.0)));
}

void ERArc2D::printOn(std::ostream& os) const {
    os << "Arc : Centre :";
    printCircle(os, *this);
}

ERInfoPoint3DWF ERArc3D::PtCur(double u) const { return lifted(infoOn(Circle2D(), u)); }

ERPoint3D ERArc3D::normal(ERRadian u) const { return lifted(Arc2D().normal(u)); }

ERVec<ERPoint3D> ERArc3D::approxime(const ERLimites& limits, double tol) const {
    return lifted(Arc2D().approxime(limits, tol));
}

ERVec<ERPoint3D> ERArc3D::approxime(int n) const { return lifted(Arc2D().approxime(n)); }

ERMinimax3D ERArc3D::getBox() const { return transform(Arc2D().getBox()); }

ERCpoleNURBS3D ERArc3D::ConvertToNurbs() const { return Convert(*this); }

double ERArc3D::arcLength(ERLimites limits, double) const { return lengthOver(limits, radius()); }

double ERArc3D::arcLength(double) const { return lengthOver(getBound(), radius()); }

int ERArc3D::splitAt(t_SmartPtr<ERFiniteEntity3DWF>& left, t_SmartPtr<ERFiniteEntity3DWF>& right,
                     double u) const {
    return splitAtAngle(*this, left, right, u);
}

unsigned int ERArc3D::intersectWithPlanZ(double z, ERVec<double>& parameters) const {
    return appendCutsWithPlanZ(lifted(angularForm(Circle2D())), z, getBound(), parameters);
}

int ERArc3D::ProjectPoint(const ERPoint3D& p, ERVec<double>& parameters, double tol) const {
    return Arc2D().ProjectPoint(local(p).castToPoint2D(Coord3D::CoordZ), parameters, tol);
}

void ERArc3D::normalized() { takeTurnsOff(*this); }

void ERArc3D::reverse() { ERFiniteEntity3DWFBoundedWithAngle::reverse(); }

void ERArc3D::transformFrom(const ERPmSimilitude3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformFrom(transformation);
    ERCircle3D::transformFrom(transformation);
}

void ERArc3D::transformFrom(const ERPmIsometrie3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformFrom(transformation);
    ERCircle3D::transformFrom(transformation);
}

void ERArc3D::transformTo(const ERPmSimilitude3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformTo(transformation);
    ERCircle3D::transformTo(transformation);
}

void ERArc3D::transformTo(const ERPmIsometrie3D& transformation) {
    ERFiniteEntity3DWFBoundedWithAngle::transformTo(transformation);
    ERCircle3D::transformTo(transformation);
}

void ERArc3D::printOn(std::ostream& os) const {
    os << "Arc : " << std::endl << "      Centre :";
    printCircle(os, *this);
}

}  // namespace kerf
