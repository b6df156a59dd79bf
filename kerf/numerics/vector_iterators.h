#pragma once
#include <compare>
#include <cstddef>
#include <iterator>
#include <type_traits>

// What begin() and end() of vectors, matrices and slices return. All are random access iterators of
// the standard kind. A non-const begin() or end() gives its vector a block of its own first; the
// iterators are good until the next operation that can move the elements.
namespace kerf::QuickAlgebra {

template <class T>
using ERVecIterator = T*;
template <class T>
using ERVecConstIterator = const T*;
/// Over all elements, row by row.
template <class T>
using ERMatrixConstIterator = const T*;

/// Steps through every stride-th element; T is const for reading only.
template <class T>
class StridedIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = std::remove_const_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    StridedIterator() = default;
    StridedIterator(T* first, difference_type stride, difference_type index)
        : first_(first), stride_(stride), index_(index) {}
    operator StridedIterator<const T>() const { return {first_, stride_, index_}; }

    T& operator*() const { return first_[index_ * stride_]; }
    T* operator->() const { return &**this; }
    T& operator[](difference_type n) const { return first_[(index_ + n) * stride_]; }

    StridedIterator& operator++() { return *this += 1; }
    StridedIterator& operator--() { return *this -= 1; }
    StridedIterator operator++(int) { return {first_, stride_, index_++}; }
    StridedIterator operator--(int) { return {first_, stride_, index_--}; }
    StridedIterator& operator+=(difference_type n) {
        index_ += n;
        return *this;
    }
    StridedIterator& operator-=(difference_type n) { return *this += -n; }
    friend StridedIterator operator+(StridedIterator i, difference_type n) { return i += n; }
    friend StridedIterator operator+(difference_type n, StridedIterator i) { return i += n; }
    friend StridedIterator operator-(StridedIterator i, difference_type n) { return i -= n; }
    friend difference_type operator-(const StridedIterator& a, const StridedIterator& b) {
        return a.index_ - b.index_;
    }
    friend bool operator==(const StridedIterator& a, const StridedIterator& b) {
        return a.index_ == b.index_;
    }
    friend auto operator<=>(const StridedIterator& a, const StridedIterator& b) {
        return a.index_ <=> b.index_;
    }

private:
    // An index and not a moving pointer: a view that runs backwards ends before the elements, where no
    // pointer may be formed.
    T* first_ = nullptr;
    difference_type stride_ = 1;
    difference_type index_ = 0;
};

template <class T>
using ERSliceIterator = StridedIterator<T>;
template <class T>
using ERSliceConstIterator = StridedIterator<const T>;

}  // namespace kerf::QuickAlgebra

namespace kerf {
using QuickAlgebra::ERMatrixConstIterator;
using QuickAlgebra::ERSliceConstIterator;
using QuickAlgebra::ERSliceIterator;
using QuickAlgebra::ERVecConstIterator;
using QuickAlgebra::ERVecIterator;
}  // namespace kerf
