#pragma once
#include "kerf/platform/config.h"
#include "kerf/values/vector_instances.h"

namespace kerf {

/// Takes the polylines of a surface's net, and says how fine they are to be. The program derives from
/// it; the library holds a reference during ERAnyBoundedSurface::tessalate alone.
class KERF_EXPORT ERProcessMaillage {
public:
    virtual ~ERProcessMaillage() = default;
    virtual void reserved() {}  ///< never called; keeps the place of addPolyline in the table
    virtual void addPolyline(const ERVec<ERPoint3D>& points) = 0;

    unsigned int minPoles = 0;  ///< not read: the least size of the pole surfaces' control nets
    double tolerance = 0.0;     ///< the largest deviation of a chord from its iso curve
    unsigned int nbIsoU = 0;    ///< number of intervals in u: nbIsoU + 1 curves are drawn
    unsigned int nbIsoV = 0;    ///< the same in v
};

}  // namespace kerf
