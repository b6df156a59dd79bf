#pragma once
#include "kerf/core/list.h"
#include "kerf/platform/config.h"
#include "kerf/values/surface_info_point.h"

namespace kerf {

/// The points that a projection on a surface has found, in the order in which they were found. A
/// program may derive from it to look at each point as it comes.
class KERF_EXPORT ERRaySurfaceResult {
public:
    ERRaySurfaceResult() = default;
    ERRaySurfaceResult(const ERRaySurfaceResult&) = delete;
    ERRaySurfaceResult& operator=(const ERRaySurfaceResult&) = delete;
    virtual ~ERRaySurfaceResult() = default;

    virtual void AddPointSolution(ERInfoPoint3DSurf& point);  ///< appends a copy

    unsigned int entries() const { return points_.entries(); }
    /// The index must be below entries().
    ERInfoPoint3DSurf& at(unsigned int i) { return points_.at(i); }
    const ERInfoPoint3DSurf& at(unsigned int i) const { return points_.at(i); }

    /// Calls the function on every point, first to last.
    void apply(void (*function)(ERInfoPoint3DSurf*, void*), void* argument);
    /// Removes every point for which the function returns other than zero.
    void filtre(int (*function)(ERInfoPoint3DSurf*, void*), void* argument);

private:
    friend class ERAnyBoundedSurface;
    void transformFrom(const ERPmIsometrie3D& frame, unsigned int first);

    ERTValDlist<ERInfoPoint3DSurf> points_;
};

}  // namespace kerf
