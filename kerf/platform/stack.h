#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// Whether the calling thread has little of its stack left: a recursion that data drive ends there.
/// Quick from the second call in a thread on.
KERF_EXPORT bool stackIsShort();

}  // namespace kerf
