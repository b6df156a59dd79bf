#include "tests/persistence/database_support.h"

namespace kerf {

ER_DEFINE_CLASS(Sample, ERObject)

}  // namespace kerf
