#pragma once
#if (defined(_MSVC_LANG) ? _MSVC_LANG : __cplusplus) < 202002L
#include "kerf needs C++20: compile with -std=c++20 or later"  // ends the compilation with this sentence
#endif
#include <cstddef>
#include <cstdint>

// What every file of the library uses: the export mark, the fixed widths, the check of arguments.
//
// Threads: what this folder keeps for the whole process (the sinks, the string tables, the chain of
// modules, the file backend in use) has locks of its own, so its functions may be called from any
// thread. A file, an archive, a text or an exception is used by one thread at a time.

#if defined(KERF_STATIC)
#define KERF_EXPORT
#elif defined(_WIN32)
#if defined(KERF_BUILDING)
#define KERF_EXPORT __declspec(dllexport)
#else
#define KERF_EXPORT __declspec(dllimport)
#endif
#else
#define KERF_EXPORT __attribute__((visibility("default")))
#endif

// The export mark of a template instance belongs to its first declaration; MSVC wants it, while it
// builds the library, at the definition instead.
#if defined(_MSC_VER) && defined(KERF_BUILDING)
#define KERF_DECLARED_INSTANCE
#define KERF_DEFINED_INSTANCE KERF_EXPORT
#else
#define KERF_DECLARED_INSTANCE KERF_EXPORT
#define KERF_DEFINED_INSTANCE
#endif

/// Asserts what the caller has to ensure (an index, a shape). Costs nothing unless the option
/// KERF_CHECKED is on; a condition that is false then aborts the program.
#if defined(KERF_CHECKED)
#define KERF_CHECK_ARGUMENT(condition)  \
    ((condition) ? static_cast<void>(0) \
                 : ::kerf::argumentCheckFailed(#condition, __FILE__, __LINE__))
#else
#define KERF_CHECK_ARGUMENT(condition) static_cast<void>(sizeof((condition) ? 1 : 0))
#endif

namespace kerf {

/// The type of IDs, file locations and everything stored in a file: 32 bits on every platform,
/// whatever the width of `long`.
using ERLong = std::int32_t;
using ERULong = std::uint32_t;

/// Prints the condition on standard error and aborts; called through KERF_CHECK_ARGUMENT only.
[[noreturn]] KERF_EXPORT void argumentCheckFailed(const char* condition, const char* file,
                                                  int line);

}  // namespace kerf
