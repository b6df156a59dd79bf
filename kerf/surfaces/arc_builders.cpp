#include "kerf/surfaces/arc_builders.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"
#include "kerf/numerics/constants.h"

namespace kerf {

namespace {

// Of lengths, and of sines of angles.
constexpr double fitTolerance = 1e-9;

bool differ(double a, double b, double tolerance) { return !(std::fabs(a - b) <= tolerance); }

double sizeOf(const ERArc3D& arc) { return std::fabs(arc.radius()); }

double sweepOf(const ERArc3D& arc) { return arc.endAngle() - arc.startAngle(); }

const ERArc3D& longerOf(const ERArc3D& a, const ERArc3D& b) {
    return std::fabs(sweepOf(b)) > std::fabs(sweepOf(a)) ? b : a;
}

ERLimites between(double a, double b) { return ERLimites(std::min(a, b), std::max(a, b)); }

// The range of the arc's angles about the Z axis of a right-handed frame.
ERLimites anglesIn(const ERPmIsometrie3D& frame, const ERArc3D& arc) {
    const ERPoint3D first = frame << arc.firstPt();
    const double start = std::atan2(first.y(), first.x());
    const bool rightHanded = arc.getRepere().isDirect() != 0;
    const bool opposed = arc.normale() * frame.getVector(Coord3D::CoordZ) < 0.0;
    const double sweep = sweepOf(arc);
    return between(start, opposed == rightHanded ? start - sweep : start + sweep);
}

bool isNormalTo(const ERArc3D& arc, const ERVector3D& direction) {
    return norme(arc.normale() ^ direction) <= fitTolerance;
}

// Whether the line of the centres is an axis of both circles.
bool shareAxis(const ERArc3D& a, const ERArc3D& b, const ERSegment3D& centres) {
    const ERVector3D direction = centres.dirVector();
    return distance(centres.getP1(), centres.getP2()) > comparisonTolerance &&
           isNormalTo(a, direction) && isNormalTo(b, direction);
}

}  // namespace

int CreateBoundedCone(ERVector3D axis, ERPoint3D p1, double r1, ERPoint3D p2, double r2,
                      ERBoundedCone& result) {
    if (r2 < r1) {
        std::swap(p1, p2);
        std::swap(r1, r2);
    }
    axis.normalize();
    const double along = axis * ERVector3D(p1, p2);
    const double height = std::fabs(along);
    if (!(height > comparisonTolerance && r2 - r1 > comparisonTolerance)) return 0;
    if (along < 0.0) axis = -axis;
    const double first = r1 * height / (r2 - r1);
    result = ERBoundedCone(ERChgRepere3D(axis, p1 - axis * first), std::atan((r2 - r1) / height),
                           first, first + height);
    return 1;
}

int CreateConeFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedCone& result) {
    const ERArc3D& reference = longerOf(a, b);
    ERBoundedCone cone;
    if (CreateBoundedCone(reference.normale(), a.center(), sizeOf(a), b.center(), sizeOf(b),
                          cone) == 0)
        return 0;
    cone.redefineDomainV(anglesIn(cone.getMatrix(), reference));
    result = cone;
    return 1;
}

int CreateCylinderFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedCylinder& result) {
    const ERSegment3D centres(a.center(), b.center());
    if (differ(sizeOf(a), sizeOf(b), fitTolerance) || !shareAxis(a, b, centres)) return 0;
    const ERArc3D& reference = longerOf(a, b);
    ERBoundedCylinder cylinder(centres, sizeOf(reference));
    cylinder.redefineDomainV(anglesIn(cylinder.getMatrix(), reference));
    result = cylinder;
    return 1;
}

int CreateSphereFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedSphere& result) {
    const ERSegment3D centres(a.center(), b.center());
    if (!shareAxis(a, b, centres)) return 0;
    const double apart = distance(a.center(), b.center());
    // The heights of both circles above the sphere's centre: both rims are equally far from it.
    const double rise = (sizeOf(a) - sizeOf(b)) * (sizeOf(a) + sizeOf(b)) / apart;
    const double heightA = 0.5 * (rise - apart), heightB = 0.5 * (rise + apart);
    const ERVector3D axis = centres.dirVector();
    const ERPmIsometrie3D frame = ERChgRepere3D(axis, a.center() - axis * heightA);
    result =
        ERBoundedSphere(frame, std::hypot(heightA, sizeOf(a)), anglesIn(frame, longerOf(a, b)),
                        ERLimites(std::atan2(heightA, sizeOf(a)), std::atan2(heightB, sizeOf(b))));
    return 1;
}

int CreateTorusFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedTorus& result) {
    if (differ(sizeOf(a), sizeOf(b), fitTolerance)) return 0;
    ERVector3D axis = a.normale() ^ b.normale();
    const double sine = norme(axis);
    if (!(sine > comparisonTolerance)) return 0;
    axis.normalize();
    // The origin lies in both planes, at the height of the first centre.
    const ERVector3D inwards = axis ^ a.normale();
    const double path = (ERVector3D(a.center(), b.center()) * b.normale()) / sine;
    const ERPoint3D origin = a.center() + inwards * path;
    const ERPmIsometrie3D frame = ERChgRepere3D(axis, origin);
    const ERPoint3D localA = frame << a.center(), localB = frame << b.center();
    const double majorRadius = std::hypot(localA.x(), localA.y());
    if (!(majorRadius > comparisonTolerance) || differ(localA.z(), localB.z(), fitTolerance) ||
        differ(majorRadius, std::hypot(localB.x(), localB.y()), fitTolerance))
        return 0;

    const double start = std::atan2(localA.y(), localA.x());
    const ERLimites u = between(start, start + analytic::angleFrom(start, localB.x(), localB.y()));
    const ERArc3D& reference = longerOf(a, b);
    const ERPmIsometrie3D meridian =
        ERChgRepere3D(ERVector3D(origin, reference.center()), axis, reference.center());
    result =
        ERBoundedTorus(frame, majorRadius, sizeOf(reference), u, anglesIn(meridian, reference));
    return 1;
}

ERBoundedPlane CreateBoundedPlane(const ERArc3D& arc) {
    const double half = arc.radius() == 0.0 ? 1.0 : sizeOf(arc);
    const ERLimites side(-half, half);
    return ERBoundedPlane(arc.getRepere(), side, side);
}

}  // namespace kerf
