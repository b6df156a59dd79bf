#pragma once
#include "kerf/core/smart_pointer.h"
#include "kerf/platform/config.h"

// Curves of space brought into the parameter plane of a surface.
namespace kerf {

class ERAnyBoundedSurface;
class ERFiniteEntity2DWF;
class ERFiniteEntity3DWF;

/// Makes `result` the polyline through the (u, v) of the feet, on the surface, of points of the curve.
/// The points follow the curve within 0.01, within 1e-9 of its extent if that is more.
/// Parameter: `hint`, which may be null, is another surface of the same parameters: where it has a foot,
///            the search on the surface starts there, if that search has a start.
/// Tolerance: a foot farther than 0.05 from its point is improved, and a point whose foot then lies
///            farther than 0.5 away is left out, as is one without a foot.
/// Returns:   1; 0, with `result` as it was, for fewer than two feet, and without surface or curve.
/// Kept:      what is left out leaves no gap: the polyline goes on to the next foot.
KERF_EXPORT int match3DCurveOnSurface(const t_SmartPtr<ERAnyBoundedSurface>& surface,
                                      t_SmartPtr<ERAnyBoundedSurface> hint,
                                      t_SmartPtr<ERFiniteEntity3DWF> curve,
                                      t_SmartPtr<ERFiniteEntity2DWF>& result);

}  // namespace kerf
