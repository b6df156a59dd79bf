#include "kerf/surfaces/ray_result.h"

#include "kerf/values/transformation_3d.h"

namespace kerf {

void ERRaySurfaceResult::AddPointSolution(ERInfoPoint3DSurf& point) { points_.append(point); }

void ERRaySurfaceResult::apply(void (*function)(ERInfoPoint3DSurf*, void*), void* argument) {
    for (ERInfoPoint3DSurf& point : points_) function(&point, argument);
}

void ERRaySurfaceResult::filtre(int (*function)(ERInfoPoint3DSurf*, void*), void* argument) {
    for (auto position = points_.begin(); position != points_.end();) {
        if (function(&*position, argument) != 0)
            position = points_.erase(position);
        else
            ++position;
    }
}

void ERRaySurfaceResult::transformFrom(const ERPmIsometrie3D& frame, unsigned int first) {
    auto position = points_.end();
    for (unsigned int n = entries(); n > first; --n) (--position)->transformFrom(frame);
}

}  // namespace kerf
