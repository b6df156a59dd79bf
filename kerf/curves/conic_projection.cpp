#include <cmath>

#include "kerf/curves/arc.h"
#include "kerf/curves/ellipse.h"
#include "kerf/curves/internal/angular_form.h"
#include "kerf/curves/segment.h"

// What circles, ellipses and their arcs are along the third axis of a frame.
namespace kerf {

namespace {

AngularForm<Space2D> projected(const ERPmIsometrie3D& t, const AngularForm<Space3D>& form) {
    return {(t << form.centre).castToPoint2D(Coord3D::CoordZ),
            (t << form.cosine).castToVector2D(Coord3D::CoordZ),
            (t << form.sine).castToVector2D(Coord3D::CoordZ)};
}

// How the angles of a projected form are those of the circle or ellipse that it is: sense * u +
// shift.
struct AngleMap {
    double sense = 1.0;
    double shift = 0.0;

    EREntAngle operator()(const EREntAngle& angles) const {
        const double sweep = sense * (angles.endAngle() - angles.startAngle());
        double start = std::remainder(sense * angles.startAngle() + shift, fullTurn);
        const double end = start + sweep;
        // What is closed to the last bit stays so.
        if (angles.isClosed(0.0)) start = end - std::copysign(fullTurn, sweep);
        return EREntAngle(start, end);
    }
};

double senseOf(const AngularForm<Space2D>& form) {
    return (form.cosine ^ form.sine) < 0.0 ? -1.0 : 1.0;
}

// The ellipse of two conjugate half diameters, and where its angles begin.
EREllipse2D ellipseOf(const AngularForm<Space2D>& form, AngleMap& map) {
    const double top = 0.5 * std::atan2(2.0 * (form.cosine * form.sine),
                                        form.cosine.norme2() - form.sine.norme2());
    const ERVector2D big = form.cosine * std::cos(top) + form.sine * std::sin(top);
    const ERVector2D small = form.sine * std::cos(top) - form.cosine * std::sin(top);
    EREllipse2D ellipse(big.norme(), small.norme(), angleOf(big), form.centre);
    map.sense = senseOf(form);
    // Where the foci nearly coincide the axis that they tell is not quite the one wanted.
    const ERVector2D told = ellipse.direction();
    map.shift = std::atan2(told ^ big, told * big) - map.sense * top;
    return ellipse;
}

// The direction in which the plane of that normal is seen edge on.
ERVector2D edgeOf(const ERPmIsometrie3D& t, const ERVector3D& normal) {
    return (ERVector3D(Coord3D::CoordZ) ^ (t << normal)).castToVector2D(Coord3D::CoordZ);
}

bool isEdgeOn(const ERPmIsometrie3D& t, const ERVector3D& normal) {
    return std::fabs(t.getVector(Coord3D::CoordZ) * normal) <= ERCircle3D::projectionPrecision();
}

// The segment between the points furthest along the edge.
ERSegment2D segmentOf(const AngularForm<Space2D>& form, ERVector2D edge, const ERLimites& bounds) {
    edge.normalize();
    const ERLimites range = form.along(edge, form.centre).range(bounds);
    return ERSegment2D(form.centre + edge * range.start(), form.centre + edge * range.end());
}

const ERLimites oneTurn(0.0, fullTurn);

}  // namespace

ERCircle2D ERCircle3D::Circle2DFromProjectOn(const ERPmIsometrie3D& t) const {
    return ERCircle2D((t << center()).castToPoint2D(Coord3D::CoordZ), radius());
}

ERSegment2D ERCircle3D::Segment2DFromProjectOn(const ERPmIsometrie3D& t) const {
    const ERPoint2D centre = (t << center()).castToPoint2D(Coord3D::CoordZ);
    const ERVector2D half = edgeOf(t, normale()) * radius();
    return ERSegment2D(centre - half, centre + half);
}

EREllipse2D ERCircle3D::Ellipse2DFromProjectOn(const ERPmIsometrie3D& t) const {
    AngleMap map;
    return ellipseOf(projected(t, lifted(angularForm(flat_))), map);
}

t_SmartPtr<EREntity2DWF> ERCircle3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    if (Project2DWillBeCircle(t)) return new ERCircle2D(Circle2DFromProjectOn(t));
    if (Project2DWillBeSegment(t)) return new ERSegment2D(Segment2DFromProjectOn(t));
    return new EREllipse2D(Ellipse2DFromProjectOn(t));
}

t_SmartPtr<EREntity2DWF> ERArc3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    const AngularForm<Space2D> form = projected(t, lifted(angularForm(flat_)));
    if (Project2DWillBeCircle(t)) {
        const AngleMap map{senseOf(form), angleOf(form.cosine * (radius() < 0.0 ? -1.0 : 1.0))};
        const EREntAngle angles = map(*this);
        return new ERArc2D(Circle2DFromProjectOn(t), angles.startAngle(), angles.endAngle());
    }
    if (Project2DWillBeSegment(t))
        return new ERSegment2D(segmentOf(form, edgeOf(t, normale()), getBound()));
    AngleMap map;
    const EREllipse2D ellipse = ellipseOf(form, map);
    const EREntAngle angles = map(*this);
    return new ERArcEllipse2D(ellipse, angles.startAngle(), angles.endAngle());
}

t_SmartPtr<EREntity2DWF> EREllipse3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    const AngularForm<Space2D> form = projected(t, lifted(angularForm(flat_)));
    if (isEdgeOn(t, normale()))
        return new ERSegment2D(segmentOf(form, edgeOf(t, normale()), oneTurn));
    AngleMap map;
    return new EREllipse2D(ellipseOf(form, map));
}

t_SmartPtr<EREntity2DWF> ERArcEllipse3D::get2DEntProjectedOn(const ERPmIsometrie3D& t) const {
    const AngularForm<Space2D> form = projected(t, lifted(angularForm(flat_)));
    if (isEdgeOn(t, normale()))
        return new ERSegment2D(segmentOf(form, edgeOf(t, normale()), getBound()));
    AngleMap map;
    const EREllipse2D ellipse = ellipseOf(form, map);
    const EREntAngle angles = map(*this);
    return new ERArcEllipse2D(ellipse, angles.startAngle(), angles.endAngle());
}

}  // namespace kerf
