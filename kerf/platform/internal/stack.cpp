#include "kerf/platform/internal/stack.h"

#include <cstddef>
#include <cstdint>

#include "kerf/platform/internal/windows_headers.h"

#if defined(__linux__)
#include <pthread.h>
#endif

namespace kerf {

namespace {

// The bytes assumed on either side of the first call where the system does not say.
constexpr std::uintptr_t assumedSize = 256 << 10;

// A stack from its lowest address up to its end. Stacks grow downwards: below `limit` only a third is
// left, which is kept for the functions that a recursion calls.
struct Stack {
    Stack(std::uintptr_t lowest, std::uintptr_t end)
        : low(lowest), high(end), limit(lowest + (end - lowest) / 3) {}
    bool holds(std::uintptr_t place) const { return low <= place && place < high; }

    std::uintptr_t low;
    std::uintptr_t high;
    std::uintptr_t limit;
};

std::uintptr_t placeInStack() {
#if defined(__GNUC__)
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
#else
    const volatile char here = 0;
    return reinterpret_cast<std::uintptr_t>(&here);
#endif
}

Stack findStack() {
#if defined(_WIN32)
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    ::GetCurrentThreadStackLimits(&low, &high);
    return Stack(low, high);
#else
#if defined(__linux__)
    pthread_attr_t attributes;
    if (::pthread_getattr_np(::pthread_self(), &attributes) == 0) {
        void* start = nullptr;
        std::size_t size = 0;
        const bool isKnown = ::pthread_attr_getstack(&attributes, &start, &size) == 0;
        ::pthread_attr_destroy(&attributes);
        const auto low = reinterpret_cast<std::uintptr_t>(start);
        if (isKnown) return Stack(low, low + size);
    }
#endif
    const std::uintptr_t here = placeInStack();
    return Stack(here > assumedSize ? here - assumedSize : 0, here + assumedSize);
#endif
}

}  // namespace

bool stackIsShort() {
    static thread_local Stack stack = findStack();
    const std::uintptr_t here = placeInStack();
#if defined(_WIN32)
    if (!stack.holds(here)) stack = findStack();  // the thread runs another fiber
#endif
    return stack.holds(here) && here < stack.limit;
}

}  // namespace kerf
