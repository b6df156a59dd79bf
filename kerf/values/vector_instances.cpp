#include "kerf/values/vector_instances.h"

#include "kerf/numerics/matrix_impl.h"
#include "kerf/numerics/vector_impl.h"

namespace kerf {

KERF_INSTANTIATE_VECTOR(ERPoint2D)
KERF_INSTANTIATE_VECTOR(ERPoint3D)
KERF_INSTANTIATE_VECTOR(ERPole2DH)
KERF_INSTANTIATE_VECTOR(ERPole3DH)
KERF_INSTANTIATE_MATRIX(ERPoint2D)
KERF_INSTANTIATE_MATRIX(ERPoint3D)
KERF_INSTANTIATE_MATRIX(ERPole2DH)
KERF_INSTANTIATE_MATRIX(ERPole3DH)

}  // namespace kerf
