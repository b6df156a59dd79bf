#include "kerf/version.h"

namespace kerf {

const char* version() { return KERF_VERSION; }

}  // namespace kerf
