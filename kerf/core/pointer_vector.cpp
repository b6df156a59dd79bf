#include "kerf/core/pointer_vector.h"

#include <algorithm>
#include <utility>

namespace kerf {

namespace {

constexpr unsigned int growth = 64;

void** allocate(unsigned int n) { return n == 0 ? nullptr : new void*[n]; }

}  // namespace

ERPtrVector::ERPtrVector(unsigned int n, void* fill) : size_(n), array_(allocate(n)) {
    *this = fill;
}

ERPtrVector::ERPtrVector(const ERPtrVector& other)
    : size_(other.size_), array_(allocate(other.size_)) {
    std::copy_n(other.array_, size_, array_);
}

ERPtrVector::ERPtrVector(ERPtrVector&& other) noexcept { swap(other); }

ERPtrVector& ERPtrVector::operator=(const ERPtrVector& other) {
    if (array_ != other.array_) *this = ERPtrVector(other);
    return *this;
}

ERPtrVector& ERPtrVector::operator=(ERPtrVector&& other) noexcept {
    swap(other);
    return *this;
}

ERPtrVector& ERPtrVector::operator=(void* fill) {
    std::fill_n(array_, size_, fill);
    return *this;
}

void ERPtrVector::reshape(unsigned int n) {
    if (n == size_) return;
    void** const reshaped = allocate(n);
    std::copy_n(array_, std::min(size_, n), reshaped);
    delete[] array_;
    array_ = reshaped;
    size_ = n;
}

void ERPtrVector::resize(unsigned int n) {
    const unsigned int former = size_;
    reshape(n);
    if (n > former) std::fill(array_ + former, array_ + n, nullptr);
}

void ERPtrVector::swap(ERPtrVector& other) noexcept {
    std::swap(size_, other.size_);
    std::swap(array_, other.array_);
}

namespace detail {

void openPosition(ERPtrVector& storage, unsigned int entries, unsigned int p) {
    if (entries == storage.length()) storage.reshape(entries + growth);
    void** const array = storage.data();
    std::copy_backward(array + p, array + entries, array + entries + 1);
}

void closePositions(ERPtrVector& storage, unsigned int entries, unsigned int p, unsigned int n) {
    void** const array = storage.data();
    std::copy(array + p + n, array + entries, array + p);
}

}  // namespace detail

}  // namespace kerf
