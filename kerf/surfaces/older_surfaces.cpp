#include "kerf/surfaces/older_surfaces.h"

namespace kerf {

void ERSurface3D::setBound(const ERLimites& u, const ERLimites& v) {
    currentU_ = u;
    currentV_ = v;
    setDirty();
}

void ERSurface3D::adjust() {
    naturalU_ = currentU_;
    naturalV_ = currentV_;
    setDirty();
}

}  // namespace kerf
