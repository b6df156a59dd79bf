#include "kerf/platform/stack.h"

#include <cstddef>
#include <cstdint>

#include "kerf/platform/windows_headers.h"

#if defined(__linux__)
#include <pthread.h>
#endif

namespace kerf {

namespace {

// Kept for what the recursion calls, and for taking down what it has built.
constexpr std::uintptr_t smallestReserve = 128 << 10;
// Of a stack whose size the system does not tell.
constexpr std::uintptr_t assumedSize = 256 << 10;

std::uintptr_t placeInStack() {
#if defined(__GNUC__)
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
#else
    const volatile char here = 0;
    return reinterpret_cast<std::uintptr_t>(&here);
#endif
}

// The address below which little is left; stacks grow downwards.
std::uintptr_t findLimit() {
    const std::uintptr_t here = placeInStack();
    std::uintptr_t lowest = here > assumedSize ? here - assumedSize : 0;
#if defined(_WIN32)
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    ::GetCurrentThreadStackLimits(&low, &high);
    lowest = low;
#elif defined(__linux__)
    pthread_attr_t attributes;
    if (::pthread_getattr_np(::pthread_self(), &attributes) == 0) {
        void* start = nullptr;
        std::size_t size = 0;
        if (::pthread_attr_getstack(&attributes, &start, &size) == 0)
            lowest = reinterpret_cast<std::uintptr_t>(start);
        ::pthread_attr_destroy(&attributes);
    }
#endif
    // A third of what is left where little is, as in threads with a small stack.
    const std::uintptr_t left = here > lowest ? here - lowest : 0;
    return lowest + (left / 3 > smallestReserve ? left / 3 : smallestReserve);
}

}  // namespace

bool stackIsShort() {
    static thread_local const std::uintptr_t limit = findLimit();
    return placeInStack() < limit;
}

}  // namespace kerf
