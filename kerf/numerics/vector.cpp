#include "kerf/numerics/vector.h"

#include "kerf/numerics/vector_impl.h"

namespace kerf {
KERF_INSTANTIATE_VECTOR(double)
}
