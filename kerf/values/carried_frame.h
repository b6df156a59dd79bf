#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/transformation_3d.h"

// Frames of entities, and what becomes of them when the entity is transformed.
namespace kerf {

/// The frame whose axes are those of the map, whatever their handedness.
KERF_EXPORT ERPmIsometrie3D frameOf(const LinearMap& axes, const ERPoint3D& origin);

/// The image of a frame under t, or under its inverse: the origin is mapped, the axes are mapped and
/// normalised. A map that mirrors gives a frame of the other handedness.
KERF_EXPORT ERPmIsometrie3D carriedFrame(const ERPmIsometrie3D& frame, const ERPmSimilitude3D& t,
                                         bool inverse);

/// The frame after half a turn about its x axis: y and z are negated, to the last bit.
KERF_EXPORT ERPmIsometrie3D halfTurned(const ERPmIsometrie3D& frame);

/// Whether a similitude turns right-handed frames into left-handed ones: a negative factor does, as
/// a matrix of negative determinant does, and both together do not.
inline bool mirrors(const ERPmSimilitude3D& t) {
    return (t.isDirect() == 0) != (t.getFactHomo() < 0.0);
}

}  // namespace kerf
