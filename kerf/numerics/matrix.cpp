#include "kerf/numerics/matrix.h"

#include "kerf/numerics/matrix_impl.h"

namespace kerf {
KERF_INSTANTIATE_MATRIX(double)
}
