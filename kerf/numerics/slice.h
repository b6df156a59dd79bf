#pragma once
#include <cstddef>
#include <iosfwd>

#include "kerf/numerics/vector_iterators.h"

// Views of vectors. vector.h includes this file and completes it; that is the one to include.
namespace kerf::QuickAlgebra {

template <class T>
class ERVec;

/// A view of every stride-th element of a vector: element i is parent[start + i * stride].
///
/// Parameter: indices are not checked. They wrap at 32 bits, by which a negative stride goes
///            backwards.
/// Ownership: the view names the vector object, not its block. Writing through it first gives the
///            vector a block of its own, so other vectors never see the write, and the view stays
///            good afterwards. Assignment copies elements; copying by construction copies the view.
/// Lifetime:  it must not outlive the vector, nor the elements that it addresses.
/// Kept:      a view made of a const vector is const, but a copy of it in a variable can write, and
///            then writes the vector.
template <class T>
class ERSlice {
public:
    ERSlice(const ERVec<T>& vec);  ///< the whole of it
    /// Kept: the order of the last two differs from that of slice().
    ERSlice(const ERVec<T>& vec, unsigned int start, unsigned int length, int stride);
    /// A view of a view; start and stride are in elements of `view`.
    ERSlice(const ERSlice& view, unsigned int start, unsigned int length, int stride);
    ERSlice(const ERSlice&) = default;

    /// Copies over the length of this view, in ascending order; `from` must be as long.
    /// Kept: where both views overlap, elements already written are read again.
    ERSlice& operator=(const ERSlice& from);
    ERSlice& operator=(const ERVec<T>& from);
    ERSlice& operator=(const T& value);  ///< fills

    const T& operator[](unsigned int i) const;
    T& operator[](unsigned int i);
    const T& operator()(unsigned int i) const { return (*this)[i]; }
    T& operator()(unsigned int i) { return (*this)[i]; }

    /// Kept: the order of the last two differs from that of the constructor.
    const ERSlice slice(unsigned int start, int stride, unsigned int length) const {
        return ERSlice(*this, start, length, stride);
    }
    ERSlice slice(unsigned int start, int stride, unsigned int length) {
        return ERSlice(*this, start, length, stride);
    }

    unsigned int base() const { return start_; }  ///< index of the first element in the vector
    ERVec<T>* data() const { return parent_; }    ///< the vector
    int stride() const { return stride_; }
    unsigned int length() const { return length_; }

    ERSliceIterator<T> begin() { return {first(), stride_, 0}; }
    ERSliceIterator<T> end() { return {first(), stride_, static_cast<std::ptrdiff_t>(length_)}; }
    ERSliceConstIterator<T> begin() const { return {constFirst(), stride_, 0}; }
    ERSliceConstIterator<T> end() const {
        return {constFirst(), stride_, static_cast<std::ptrdiff_t>(length_)};
    }

    /// "(" length ")[" elements separated by "," "]" and end of line.
    void printOn(std::ostream& os) const;

private:
    friend class ERVec<T>;

    // The first element; any address when there is none.
    T* first();
    const T* constFirst() const;

    ERVec<T>* parent_;
    unsigned int start_;
    unsigned int length_;
    int stride_;
};

template <class T>
std::ostream& operator<<(std::ostream& os, const ERSlice<T>& view) {
    view.printOn(os);
    return os;
}

}  // namespace kerf::QuickAlgebra

namespace kerf {
using QuickAlgebra::ERSlice;
}  // namespace kerf
