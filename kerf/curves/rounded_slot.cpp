#include "kerf/curves/rounded_slot.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "kerf/curves/internal/outline_pieces.h"
#include "kerf/curves/internal/planar_outline.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/segment.h"
#include "kerf/values/point_list.h"

namespace kerf {

ER_DEFINE_CLASS(ERRoundedSlot2D, EREntity2DWF)
ER_DEFINE_CLASS(ERRoundedSlot3D, ERPlanarEntity3DWF)
ER_DEFINE_STORED_CLASS(ERRoundedSlot2D, EREntity2DWF)
ER_DEFINE_STORED_CLASS(ERRoundedSlot3D, ERPlanarEntity3DWF)

template class PlanarOutline<ERRoundedSlot2D>;

namespace {

constexpr double pi = 3.141592653589793;
constexpr int pieces = 4;

bool isArc(unsigned int piece) { return piece % 2 == 1; }

}  // namespace

// The start of piece i.
ERPoint2D ERRoundedSlot2D::Shape::corner(unsigned int i) const {
    const ERVector2D out = left * radius;
    return i == 0   ? centers[0] - out
           : i == 1 ? centers[1] - out
           : i == 2 ? centers[1] + out
                    : centers[0] + out;
}

ERPoint2D ERRoundedSlot2D::Shape::onArc(unsigned int piece, double ratio) const {
    const double angle = ratio * pi;
    return center(piece) + (tip(piece) * std::sin(angle) - end(piece) * std::cos(angle)) * radius;
}

ERRoundedSlot2D::Shape ERRoundedSlot2D::shape() const {
    const ERVector2D along = main_direction();
    return {{center1_, center2_}, along, ERVector2D(-along.j(), along.i()), std::fabs(radius_)};
}

void ERRoundedSlot2D::center1(const ERPoint2D& c) {
    center1_ = c;
    setDirty();
}

void ERRoundedSlot2D::center2(const ERPoint2D& c) {
    center2_ = c;
    setDirty();
}

void ERRoundedSlot2D::radius(double r) {
    radius_ = r;
    setDirty();
}

ERVector2D ERRoundedSlot2D::main_direction() const {
    if (center1_ == center2_) return ERVector2D(1.0, 0.0);
    return ERVector2D(center1_, center2_).getnormalized();
}

ERInfoPoint2D ERRoundedSlot2D::PtCur(double u) const {
    const Shape s = shape();
    const double v = detail::intoRange(u, pieces);
    const unsigned int piece = v >= pieces ? pieces - 1
                               : v > 0.0   ? static_cast<unsigned int>(v)
                                           : 0;
    const double ratio = v - piece;
    if (!isArc(piece)) {
        return detail::infoBetween<Space2D>(s.corner(piece), s.corner(piece + 1), ratio, v);
    }
    const ERVector2D tip = s.tip(piece), end = s.end(piece);
    const double sine = std::sin(ratio * pi), cosine = std::cos(ratio * pi);
    const double speed = pi * s.radius;
    return ERInfoPoint2D(v, 1, s.onArc(piece, ratio), (tip * cosine + end * sine) * speed,
                         (end * cosine - tip * sine) * (speed * pi));
}

ERMinimax2D ERRoundedSlot2D::getBox() const {
    ERMinimax2D box(center1_, center2_);
    box.Inflate(std::fabs(radius_));
    return box;
}

EREntity::DISTMINRES ERRoundedSlot2D::Project(const ERPoint2D& p, ERPoint2D& foot, double& u,
                                              int& index) const {
    const Shape s = shape();
    detail::NearestFoot nearest(p);
    for (unsigned int piece = 0; piece < pieces; ++piece) {
        const auto number = static_cast<int>(piece);
        if (!isArc(piece)) {
            nearest.considerSegment(s.corner(piece), s.corner(piece + 1), number);
            continue;
        }
        const ERVector2D v(s.center(piece), p);
        const double alongTip = v * s.tip(piece), alongEnd = v * s.end(piece);
        if (v == ERVector2D()) {
            nearest.consider(s.center(piece) + s.tip(piece) * s.radius, piece + 0.5, number, false);
        } else if (alongTip >= 0.0) {
            const double ratio = std::atan2(alongEnd, alongTip) / pi + 0.5;
            nearest.consider(s.center(piece) + v.getnormalized() * s.radius, piece + ratio, number);
        } else if (alongEnd < 0.0) {
            nearest.consider(s.corner(piece), piece, number);
        } else {
            nearest.consider(s.corner((piece + 1) % pieces), piece + 1.0, number);
        }
    }
    return nearest.result(foot, u, index);
}

// The outline is what lies at the radius from the segment between the centres.
EREntity::DISTMINRES ERRoundedSlot2D::SignedMinimalDistance(const ERPoint2D& p,
                                                            double& distance) const {
    const ERVector2D axis(center1_, center2_);
    const double t = (ERVector2D(center1_, p) * axis) / axis.norme2();
    const ERPoint2D& nearest = t >= 1.0 ? center2_ : t > 0.0 ? center1_ + axis * t : center1_;
    distance = kerf::distance(nearest, p) - std::fabs(radius_);
    return SingleNearestPoint;
}

ERVec<ERPoint2D> ERRoundedSlot2D::approxime(const ERLimites& limits, double tol) const {
    const double start = std::max(limits.start(), 0.0);
    const double end = std::min<double>(limits.end(), pieces);
    ERVec<ERPoint2D> points;
    if (!(start <= end)) return points;
    const Shape s = shape();
    points.append(PtCur(start).point());
    for (unsigned int piece = 0; piece < pieces; ++piece) {
        const double from = std::max<double>(start, piece) - piece;
        const double to = std::min<double>(end, piece + 1.0) - piece;
        if (!(from < to)) continue;
        if (!isArc(piece)) {
            points.append(detail::pointBetween(s.corner(piece), s.corner(piece + 1), to));
            continue;
        }
        // In radians, as an arc is approximated.
        const auto onArc = [&](double angle) { return s.onArc(piece, angle / pi); };
        ERPoint12List list;
        list.append(onArc(from * pi), from * pi);
        list.append(onArc(to * pi), to * pi);
        list.smash(onArc, tol);
        for (const ERPoint12* node = list.first()->next; node != nullptr; node = node->next) {
            points.append(node->point);
        }
    }
    return points;
}

void ERRoundedSlot2D::scale(double factor) {
    center1_.scale(factor);
    center2_.scale(factor);
    radius(radius_ * std::fabs(factor));
}

void ERRoundedSlot2D::translate(const ERPoint2D& t) {
    center1_.translate(t);
    center2_.translate(t);
    setDirty();
}

void ERRoundedSlot2D::transformFrom(const ERTransfo2D& transformation) {
    center1_ = transformation >> center1_;
    center2_ = transformation >> center2_;
    radius(radius_ * transformation.factHomo());
}

void ERRoundedSlot2D::transformTo(const ERTransfo2D& transformation) {
    center1_ = transformation << center1_;
    center2_ = transformation << center2_;
    radius(radius_ / transformation.factHomo());
}

t_SmartPtr<EREntity3DWF> ERRoundedSlot2D::get3DEquiv(const ERPmIsometrie3D& t) const {
    return new ERRoundedSlot3D(t, *this);
}

void ERRoundedSlot2D::printOn(std::ostream& os) const {
    os << "Rounded Slot 2D : C1=" << center1_ << " C2=" << center2_ << " R=" << radius_
       << std::endl;
}

// In space.

void ERRoundedSlot3D::center1(const ERPoint3D& c) {
    flat_.center1(inPlane(c));
    setDirty();
}

void ERRoundedSlot3D::center2(const ERPoint3D& c) {
    flat_.center2(inPlane(c));
    setDirty();
}

void ERRoundedSlot3D::radius(double r) {
    flat_.radius(r);
    setDirty();
}

// A disc of the plane reaches as far along an axis as its radius times the sine of the angle between
// the axis and the normal.
ERMinimax3D ERRoundedSlot3D::getBox() const {
    const ERVector3D x = lifted(ERVector2D(radius(), 0.0)), y = lifted(ERVector2D(0.0, radius()));
    const ERVector3D reach(std::hypot(x.i(), y.i()), std::hypot(x.j(), y.j()),
                           std::hypot(x.k(), y.k()));
    ERMinimax3D box;
    for (const ERPoint3D& c : {center1(), center2()}) {
        box.Update(c - reach);
        box.Update(c + reach);
    }
    return box;
}

ERVec<ERPoint3D> ERRoundedSlot3D::approxime(const ERLimites& limits, double tol) const {
    return lifted(flat_.approxime(limits, tol));
}

t_SmartPtr<EREntity2DWF> ERRoundedSlot3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    if (isSeenFlat(t)) {
        return new ERRoundedSlot2D(t.Project(center1()), t.Project(center2()), radius());
    }
    // Sides of degree 2, and of each half circle two quarters: poles are ends and where the tangents
    // of the ends meet.
    const ERVector3D out = auxiliary_direction() * std::fabs(radius());
    const ERVector3D forth = main_direction() * std::fabs(radius());
    const double corner = std::sqrt(0.5);
    ERVec<ERPole2DH> poles;
    const auto add = [&](const ERPoint3D& p, double weight) {
        poles.append(ERPole2DH(t.Project(p) * weight, weight));
    };
    const auto addHalf = [&](const ERPoint3D& c1, const ERPoint3D& c2, const ERVector3D& side,
                             const ERVector3D& tip) {
        add(milieu(c1, c2) - side, 1.0);
        add(c2 - side, 1.0);
        add(c2 - side + tip, corner);
        add(c2 + tip, 1.0);
        add(c2 + side + tip, corner);
        add(c2 + side, 1.0);
    };
    add(center1() - out, 1.0);
    addHalf(center1(), center2(), out, forth);
    addHalf(center2(), center1(), -out, -forth);
    const double knots[] = {0, 0, 0, 1, 1, 1.5, 1.5, 2, 2, 3, 3, 3.5, 3.5, 4, 4, 4};
    return new ERCpoleNURBS2D(poles, ERKnotVector(2, knots, 16));
}

void ERRoundedSlot3D::printOn(std::ostream& os) const {
    os << "Rounded Slot 3D : C1=" << center1() << " C2=" << center2() << " R=" << radius()
       << std::endl;
}

}  // namespace kerf
