#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// Whether the calling thread has used two thirds of its stack: a recursion that data drive ends
/// there. False on a stack that the program has made itself, of which nothing is known. Quick from
/// the second call in a thread on.
KERF_EXPORT bool stackIsShort();

}  // namespace kerf
