#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"

// One description for arcs and surfaces of revolution that are the same set of points.
namespace kerf {

class ERArc3D;
class ERBoundedCone;
class ERBoundedCylinder;
class ERBoundedSphere;
class ERBoundedTorus;
class ERPmIsometrie3D;
class ERRectangle3D;
class ERRoundedSlot3D;

/// Brings entities into the frame that the library makes of their axis and origin, and turns their
/// axes over. The points stay where they are.
/// Parameter: angles are in radians.
class KERF_EXPORT EREntityNormaliser {
public:
    EREntityNormaliser() = delete;

    /// The canonical frame ERChgRepere3D(z axis of the frame, its origin), and the angle about that
    /// axis from the canonical x axis to that of the frame, in (-pi, pi]. A right-handed frame that
    /// differs from the canonical one by rounding is given back as it is, with the angle 0.
    /// Returns 1.
    static int ComputeNormalizationParameters(const ERPmIsometrie3D& frame,
                                              ERPmIsometrie3D& normalised, double& angle);

    /// The entity in the canonical frame, with its angles (of an arc; V of a cone and a cylinder, U of
    /// a sphere and a torus) moved by what the frame has turned and brought within one turn of 0,
    /// their difference kept: normalising again changes nothing. An arc is placed at its centre. A
    /// left-handed frame gives the left-handed canonical one, whose y axis is the opposite.
    /// Of a surface the current ranges are taken, as natural ones too, but that V of a cone has the
    /// natural range of one turn from 0.
    /// Kept: angles that span more than one turn may be another turn away, and move by one again.
    static ERArc3D Normalise(const ERArc3D& arc);
    static ERBoundedCone Normalise(const ERBoundedCone& cone);
    static ERBoundedCylinder Normalise(const ERBoundedCylinder& cylinder);
    static ERBoundedTorus Normalise(const ERBoundedTorus& torus);
    static ERBoundedSphere Normalise(const ERBoundedSphere& sphere);

    // In place: the frame makes half a turn about its x axis, and what is placed in it is mirrored so
    // that the points stay. The entity remains the same object of its database.
    /// The direction of travel turns over with the axis.
    static void Flip(ERArc3D& arc);
    /// All four ranges change sign and order.
    static void Flip(ERBoundedCylinder& cylinder);
    /// The corners are counter-clockwise about the new axis.
    static void Flip(ERRectangle3D& rectangle);
    static void Flip(ERRoundedSlot3D& slot);

protected:
    /// Adds delta to both, and whole turns where one of them is above 2 pi before, above 2 pi after a
    /// positive or below -2 pi after a negative delta: one turn each time.
    static void IncrementAndFormatAngles(double& a, double& b, double delta);
    static void IncrementAndFormatAngularLimits(ERLimites& limits, double delta);
};

}  // namespace kerf
