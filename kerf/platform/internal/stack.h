#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// True when the calling thread has used two thirds of its stack: the limit of a recursion whose
/// depth comes from data. False on a stack that the program has allocated itself, whose size is not
/// known. The first call in a thread asks the system, the others are quick.
KERF_EXPORT bool stackIsShort();

}  // namespace kerf
