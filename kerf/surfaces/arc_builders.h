#pragma once
#include "kerf/platform/config.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"

// Bounded surfaces from circles and arcs. Each function that takes a result returns 1, or 0 with the
// result as it was.
//
// From two arcs comes the surface between them. Its other range is that of the arc that sweeps the
// larger angle, of the first one where both sweep the same: it starts at the angle of that arc's first
// point and follows its sweep, and is stored increasing.
namespace kerf {

/// The cone of one turn between two circles about an axis of any length and sense: p1 and p2 are their
/// centres. The frame's axis points to the larger circle, the apex is a point of the axis through the
/// centre of the smaller one, and u goes from the smaller circle to the larger one.
/// Failure: 0 for radii or heights that agree within 1e-11, and for what is not a number.
KERF_EXPORT int CreateBoundedCone(ERVector3D axis, ERPoint3D p1, double r1, ERPoint3D p2, double r2,
                                  ERBoundedCone& result);

/// As CreateBoundedCone, of the arcs' centres and radii; the normal is that of the arc with the larger
/// sweep.
KERF_EXPORT int CreateConeFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedCone& result);

/// About the line from the centre of a to that of b.
/// Failure: 0 when the radii differ by more than 1e-9, the centres by no more than 1e-11, or the sine
///          of the angle between that line and a normal exceeds 1e-9.
KERF_EXPORT int CreateCylinderFrom2Arcs(const ERArc3D& a, const ERArc3D& b,
                                        ERBoundedCylinder& result);

/// The sphere through two parallels: its axis leads from the centre of a to that of b, and v goes from
/// the latitude of a to that of b.
/// Failure: 0 as for the cylinder, but that the radii may differ.
KERF_EXPORT int CreateSphereFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedSphere& result);

/// The torus of two meridian circles: its axis is the product of their normals, and u goes the shorter
/// way between their planes.
/// Failure: 0 for parallel normals, radii that differ by more than 1e-9, and circles that lie at
///          heights or distances from the axis that differ by more, or on the axis.
KERF_EXPORT int CreateTorusFrom2Arcs(const ERArc3D& a, const ERArc3D& b, ERBoundedTorus& result);

/// The square of half side r about the origin of the arc's frame, where r is the arc's radius, or 1
/// for the radius 0.
KERF_EXPORT ERBoundedPlane CreateBoundedPlane(const ERArc3D& arc);

}  // namespace kerf
