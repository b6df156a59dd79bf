#pragma once
#include <cstdlib>
#include <new>

// Counts what reaches the general heap from a program and from the library. It replaces the operators
// of the whole program, so one source of it includes this header.

/// The calls of operator new so far.
inline unsigned long heapCalls = 0;

// Never inlined: a compiler that saw malloc and free would leave out pairs of them, or take the two
// for mismatched.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++heapCalls;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++heapCalls;
    return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
