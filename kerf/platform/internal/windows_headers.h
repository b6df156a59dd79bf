#pragma once

// The interface of Windows, without its macros min and max.
#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#endif
