#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/linear_map.h"
#include "kerf/values/point.h"

// Right-handed orthonormal frames made of one direction or two. Directions may have any length.
namespace kerf {

/// Completes dir to a frame: first ^ second is dir normalised.
/// Returns:    a choice of first that is fixed, but jumps where the largest component of dir
///             changes.
/// Degenerate: a zero dir gives NaNs.
KERF_EXPORT void GetOrthogonalDirections(const ERVector3D& dir, ERVector3D& first,
                                         ERVector3D& second);

/// The first of GetOrthogonalDirections alone: of length 1, at right angles to dir.
KERF_EXPORT ERVector3D perpendicularTo(const ERVector3D& dir);

/// The frame with third axis z, the others being those of GetOrthogonalDirections. The axes are the
/// columns.
KERF_EXPORT LinearMap orthonormalFrame(const ERVector3D& z);

/// The frame with first axis x and third axis x ^ y.
/// Degenerate: a zero x, or y along x, leaves zero columns; near that the third axis is all
///             rounding, and square to x within that rounding only.
KERF_EXPORT LinearMap orthonormalFrame(const ERVector3D& x, const ERVector3D& y);

}  // namespace kerf
