#include "kerf/curves/circle_builders.h"

#include <cmath>
#include <limits>
#include <utility>

#include "kerf/curves/infinite_line.h"
#include "kerf/curves/internal/angular_form.h"

namespace kerf {

namespace {

double angleAbout(const ERPoint2D& centre, const ERPoint2D& p) {
    return angleOf(ERVector2D(centre, p));
}

// The end of a counter-clockwise arc from `start`.
double endAfter(double start, double end) { return end < start ? end + fullTurn : end; }

ERPoint2D inPlane(const ERPmIsometrie3D& frame, const ERPoint3D& p) {
    return (frame << p).castToPoint2D(Coord3D::CoordZ);
}

}  // namespace

int GetCircle(const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& p3, ERPoint2D& centre,
              double& radius) {
    const ERVector2D u = ERVector2D(p1, p2).getnormalized();
    const ERVector2D v = ERVector2D(p2, p3).getnormalized();
    const double c = v.j() * u.i() - u.j() * v.i();
    radius = std::numeric_limits<double>::max();
    if (c == 0.0) return 0;
    const ERInfLine2D first(ERVector2D(-u.j(), u.i()), milieu(p1, p2));
    const ERInfLine2D second(ERVector2D(-v.j(), v.i()), milieu(p2, p3));
    if (!intersect(first, second, centre)) return 0;
    radius = distance(centre, p1);
    return 1;
}

int GetCircle(const ERPoint3D& p1, const ERPoint3D& p2, const ERPoint3D& p3, ERPoint3D& centre,
              ERVector3D& normal, double& radius) {
    const ERVector3D u = ERVector3D(p1, p2).getnormalized();
    const ERVector3D v = ERVector3D(p2, p3).getnormalized();
    const ERVector3D across = (u ^ v).getnormalized();
    radius = std::numeric_limits<double>::max();
    if (across == ERVector3D()) return 0;
    const ERPmIsometrie3D frame = ERChgRepere3D(u, v, p1);
    ERPoint2D centreInPlane;
    if (!GetCircle(ERPoint2D(), inPlane(frame, p2), inPlane(frame, p3), centreInPlane, radius))
        return 0;
    centre = frame >> centreInPlane.castToPoint3D(Coord3D::CoordZ, 0.0);
    normal = across;
    return 1;
}

int Arc3Points(ERArc2D& arc, const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& p3) {
    ERPoint2D centre;
    double radius = 0.0;
    if (!GetCircle(p1, p2, p3, centre, radius)) return 0;
    const double start = angleAbout(centre, p1);
    arc = ERArc2D(centre, radius, start, endAfter(start, angleAbout(centre, p3)));
    return 1;
}

int Arc3Points(ERArc3D& arc, const ERPoint3D& p1, const ERPoint3D& p2, const ERPoint3D& p3) {
    ERPoint3D centre;
    ERVector3D normal;
    double radius = 0.0;
    if (!GetCircle(p1, p2, p3, centre, normal, radius)) return 0;
    const ERPmIsometrie3D frame = ERChgRepere3D(normal, centre);
    const double start = angleAbout(ERPoint2D(), inPlane(frame, p1));
    const double end = angleAbout(ERPoint2D(), inPlane(frame, p3));
    arc = ERArc3D(frame, radius, start, endAfter(start, end));
    return 1;
}

int Arc2PointsCenter(ERArc2D& arc, ERPoint2D a, ERPoint2D b, ERPoint2D c, int flag) {
    const double r1 = distance(a, c), r2 = distance(b, c);
    if (!(std::fabs(r1 - r2) <= 1e-9)) return 0;
    const double r = (r1 + r2) * 0.5;
    if (a == b) {
        arc = ERArc2D(c, r, 0.0, fullTurn);
        return 1;
    }
    if (flag) swap(a, b);
    double start = angleAbout(c, a);
    double end = endAfter(start, angleAbout(c, b));
    if (end >= fullTurn) {
        start -= fullTurn;
        end -= fullTurn;
    }
    arc = ERArc2D(c, r, start, end);
    if (flag) arc.reverse();
    return 1;
}

int ArcCenterStartEnd(ERArc3D& shorter, ERArc3D& longer, const ERPoint3D& centre,
                      const ERPoint3D& start, const ERPoint3D& end, double tol) {
    const ERVector3D toStart(centre, start), toEnd(centre, end);
    const double r1 = toStart.norme(), r2 = toEnd.norme();
    if (!(std::fabs(r1 - r2) <= tol)) return 0;
    const ERVector3D u = toStart.getnormalized(), v = toEnd.getnormalized();
    if (!((u ^ v).norme() > equalityTolerance)) return 0;
    const double r = (r1 + r2) * 0.5;
    const double angle = anglePI(u, v);
    shorter = ERArc3D(ERChgRepere3D(u, v, centre), r, 0.0, angle);
    longer = ERArc3D(ERChgRepere3D(u, -v, centre), r, 0.0, fullTurn - angle);
    return 1;
}

int BuildSlot(const ERCircle2D& c1, const ERCircle2D& c2, ERArc2D& a1, ERArc2D& a2) {
    if (!(std::fabs(c1.radius() - c2.radius()) <= equalityTolerance)) return 0;
    if (!(distance(c1.center(), c2.center()) > equalityTolerance)) return 0;
    const double along = angleAbout(c1.center(), c2.center());
    // Arguments may be parts of the arcs.
    const ERCircle2D first(c1), second(c2);
    a1 = ERArc2D(first, along + quarterTurn, along + quarterTurn + halfTurn);
    a2 = ERArc2D(second, along - quarterTurn, along - quarterTurn + halfTurn);
    return 1;
}

int BuildSlot(const ERCircle3D& c1, const ERCircle3D& c2, const ERPmIsometrie3D& frame, ERArc3D& a1,
              ERArc3D& a2) {
    ERArc2D first, second;
    if (!BuildSlot(ERCircle2D(inPlane(frame, c1.center()), c1.radius()),
                   ERCircle2D(inPlane(frame, c2.center()), c2.radius()), first, second))
        return 0;
    a1 = ERArc3D(frame, first);
    a2 = ERArc3D(frame, second);
    return 1;
}

}  // namespace kerf
