#include "tests/persistence/sample_object.h"

namespace kerf {

ER_DEFINE_CLASS(Sample, ERObject)

}  // namespace kerf
