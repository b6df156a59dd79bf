#include "kerf/processing/normaliser.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/outline.h"
#include "kerf/curves/rounded_slot.h"
#include "kerf/numerics/constants.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
#include "kerf/values/carried_frame.h"

namespace kerf {

namespace {

// Larger than what the canonical x axis moves when its axis is normalised once more.
constexpr double rounding = 1e-15;

// Where an entity goes: its frame there, and what is added to its angles.
struct Place {
    ERPmIsometrie3D frame;
    double turn = 0.0;
};

// In a left-handed frame angles run the other way round.
Place canonicalPlace(const ERPmIsometrie3D& frame) {
    Place place;
    const bool direct = frame.isDirect() != 0;
    const ERPmIsometrie3D mirror = ERSymetrie3D(Coord3D::CoordY);
    EREntityNormaliser::ComputeNormalizationParameters(direct ? frame : frame * mirror, place.frame,
                                                       place.turn);
    if (!direct) {
        place.frame = place.frame * mirror;
        place.turn = -place.turn;
    }
    return place;
}

ERLimites mirrored(const ERLimites& limits) { return ERLimites(-limits.end(), -limits.start()); }

}  // namespace

int EREntityNormaliser::ComputeNormalizationParameters(const ERPmIsometrie3D& frame,
                                                       ERPmIsometrie3D& normalised, double& angle) {
    const ERPmIsometrie3D given(frame);  // may be the same object as the result
    const ERVector3D axis = given.getVector(Coord3D::CoordZ), x = given.getVector(Coord3D::CoordX);
    normalised = ERChgRepere3D(axis, given.origine());
    const ERVector3D canonicalX = normalised.getVector(Coord3D::CoordX);
    angle = anglePI(canonicalX, x);
    if (angle <= rounding && given.isDirect()) {
        normalised = given;
        angle = 0.0;
    }
    if ((canonicalX ^ x) * axis < 0.0) angle *= -1.0;
    return 1;
}

void EREntityNormaliser::IncrementAndFormatAngles(double& a, double& b, double delta) {
    const auto add = [&](double angle) {
        a += angle;
        b += angle;
    };
    if (a > twoPi || b > twoPi) add(-twoPi);
    add(delta);
    if (delta > 0.0 && (a > twoPi || b > twoPi)) add(-twoPi);
    if (delta < 0.0 && (a < -twoPi || b < -twoPi)) add(twoPi);
}

void EREntityNormaliser::IncrementAndFormatAngularLimits(ERLimites& limits, double delta) {
    IncrementAndFormatAngles(limits.start(), limits.end(), delta);
}

ERArc3D EREntityNormaliser::Normalise(const ERArc3D& arc) {
    const Place place =
        canonicalPlace(ERTranslation3D(arc.center()) * arc.getRepere().get_rotation_matrix());
    double start = arc.startAngle(), end = arc.endAngle();
    IncrementAndFormatAngles(start, end, place.turn);
    return ERArc3D(place.frame, arc.radius(), start, end);
}

ERBoundedCone EREntityNormaliser::Normalise(const ERBoundedCone& cone) {
    const Place place = canonicalPlace(cone.getMatrix());
    ERLimites v = cone.getBoundV();
    IncrementAndFormatAngularLimits(v, place.turn);
    ERBoundedCone result(place.frame, cone.demiAngle(), cone.udeb(), cone.ufin());
    result.setBound(cone.getBoundU(), v);
    return result;
}

ERBoundedCylinder EREntityNormaliser::Normalise(const ERBoundedCylinder& cylinder) {
    const Place place = canonicalPlace(cylinder.getMatrix());
    ERLimites v = cylinder.getBoundV();
    IncrementAndFormatAngularLimits(v, place.turn);
    return ERBoundedCylinder(place.frame, cylinder.radius(), cylinder.getBoundU(), v);
}

ERBoundedTorus EREntityNormaliser::Normalise(const ERBoundedTorus& torus) {
    const Place place = canonicalPlace(torus.getMatrix());
    ERLimites u = torus.getBoundU();
    IncrementAndFormatAngularLimits(u, place.turn);
    return ERBoundedTorus(place.frame, torus.large_radius(), torus.small_radius(), u,
                          torus.getBoundV());
}

ERBoundedSphere EREntityNormaliser::Normalise(const ERBoundedSphere& sphere) {
    const Place place = canonicalPlace(sphere.getMatrix());
    ERLimites u = sphere.getBoundU();
    IncrementAndFormatAngularLimits(u, place.turn);
    return ERBoundedSphere(place.frame, sphere.radius(), u, sphere.getBoundV());
}

void EREntityNormaliser::Flip(ERArc3D& arc) {
    arc.setCenter(arc.center());
    arc.ERPlanarEntity3DWF::reverse();
    const double start = arc.startAngle();
    arc.startAngle(-arc.endAngle());
    arc.endAngle(-start);
}

void EREntityNormaliser::Flip(ERBoundedCylinder& cylinder) {
    cylinder.setMatrix(halfTurned(cylinder.getMatrix()));
    cylinder.naturalU_ = mirrored(cylinder.naturalU_);
    cylinder.naturalV_ = mirrored(cylinder.naturalV_);
    cylinder.setBound(mirrored(cylinder.getBoundU()), mirrored(cylinder.getBoundV()));
}

void EREntityNormaliser::Flip(ERRectangle3D& rectangle) { rectangle.reverse(); }
void EREntityNormaliser::Flip(ERRoundedSlot3D& slot) { slot.reverse(); }

}  // namespace kerf
