#pragma once
#include "kerf/platform/config.h"

// The version of these headers; the build of the library takes its own from here.
// While the first number is 0, libraries with another second number are not compatible.
#define KERF_VERSION_MAJOR 0
#define KERF_VERSION_MINOR 1
#define KERF_VERSION_PATCH 0

namespace kerf {

/// The version of the library that the program runs with, as "0.1.0". A shared library may be newer
/// than the headers that the program was built with.
KERF_EXPORT const char* version();

}  // namespace kerf
