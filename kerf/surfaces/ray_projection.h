#pragma once
#include "kerf/platform/config.h"

namespace kerf {

class ERInfoPoint3DSurf;

/// For ERRaySurfaceResult::filtre with an ERAnyBoundedSurface* as argument: 1, to remove the point, when
/// u or v lies outside the ranges of that surface.
KERF_EXPORT int filtreOutsidePoint(ERInfoPoint3DSurf* point, void* surface);

}  // namespace kerf
