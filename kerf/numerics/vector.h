#pragma once
#include <cstring>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <type_traits>

#include "kerf/numerics/slice.h"
#include "kerf/numerics/vector_rep.h"

// Reference-counted arrays of plain values. Copying one, returning it or storing it costs one
// increment; elements are duplicated at the first write through a shared vector.
//
// Threads: an object of this folder is used by one thread at a time, and so are all vectors that
//          share a block; clone() makes a copy that can be handed to another thread. Functions
//          keep nothing between calls.
//
// The library holds the instances of its own element types. A header that defines a type T and
// wants vectors of it says, at namespace kerf and after T and its operators
//
//     KERF_DECLARE_VECTOR(ERPoint3D)           // ERSimpleVec, ERVec and ERSlice of it
//     KERF_DECLARE_SIMPLE_VECTOR(ERMinimax3D)  // ERSimpleVec alone
//     KERF_DECLARE_SIMPLE_GRID(ERMinimax3D)    // ERSimpleVec2, beside ERSimpleVec
//
// and one source includes "kerf/numerics/vector_impl.h" and says KERF_INSTANTIATE_VECTOR(ERPoint3D)
// and so on. A matrix has KERF_DECLARE_MATRIX and KERF_INSTANTIATE_MATRIX beside these, in matrix.h
// and matrix_impl.h. A program that wants vectors of a type of its own includes the _impl header
// and needs no macro.
//
// T is trivially copyable and aligned to at most 16 bytes, and bytes that are all zero are a value
// of it. A member that needs == or += of T exists only where T has that operator. Elements without
// << print as nothing.
namespace kerf::QuickAlgebra {

template <class T>
class ERSimpleVec;

template <class T>
concept HasEquality = requires(const T& value) {
    value == value;
};
template <class T>
concept HasSum = requires(T sum, const T& value) {
    sum += value;
};
/// A range of elements that is no vector and no view of one.
template <class Range, class T>
concept ElementRange =
    !std::derived_from<std::remove_cvref_t<Range>, ERSimpleVec<T>> &&
    !std::same_as<std::remove_cvref_t<Range>, ERSlice<T>> && requires(Range & range) {
    { *std::begin(range) } -> std::convertible_to<T>;
    std::begin(range) != std::end(range);
};

/// A shared array of T.
///
/// Parameter: positions and counts are the caller's duty.
/// Failure:   without memory, or with more bytes than 32 bits count, the operation ends in a memory
///            fault.
/// Ownership: vectors share a block until one of them is written. Const access never copies;
///            non-const access first gives a vector that shares its block one of its own.
/// Lifetime:  a reference to an element is good until the next operation that can move the
///            elements. In loops take data() once.
/// Storage:   a vector grows by addition (see ERVecRep), so one that append fills is sized up front
///            by capacity(n).
template <class T>
class ERSimpleVec {
    static_assert(alignof(T) <= alignof(ERVecRep));

public:
    ERSimpleVec() : ERSimpleVec(Owning{ERVecRep::empty()}) {}
    explicit ERSimpleVec(unsigned int n);  ///< n elements of zero bytes
    ERSimpleVec(const ERSimpleVec& other) : ERSimpleVec(Owning{other.block()}) {}
    ERSimpleVec& operator=(const ERSimpleVec& other) {
        setblock(other.block());
        return *this;
    }
    virtual ~ERSimpleVec() { block()->removeReference(); }

    unsigned int length() const { return block()->length / size; }
    unsigned int capacity() const { return block()->capacity / size; }
    /// Reallocates to the capacity of a fresh vector of n elements, if n exceeds the length and is
    /// not the capacity already. Returns the resulting capacity.
    unsigned int capacity(unsigned int n);

    const T& operator[](unsigned int i) const {
        KERF_CHECK_ARGUMENT(i < length());
        return data_[i];
    }
    T& operator[](unsigned int i) {
        KERF_CHECK_ARGUMENT(i < length());
        return data()[i];
    }
    const T& first() const { return (*this)[0]; }
    T& first() { return (*this)[0]; }
    const T& last() const { return (*this)[length() - 1]; }
    T& last() { return (*this)[length() - 1]; }

    /// All elements, for kernels; never null. The non-const form takes them out of sharing first.
    const T* data() const { return data_; }
    T* data() {
        if (block()->isShared()) clone();
        return data_;
    }

    void cow() {
        if (block()->isShared()) clone();
    }
    void cow(unsigned int n);  ///< clones if shared or without room for n elements; keeps them all
    void clone();              ///< takes a private copy
    void clone(unsigned int n);  ///< takes a private copy with room for n elements, cut to n

    /// Appends `count` copies of the value, which may be an element of this vector.
    void append(const T& value, unsigned int count = 1) {
        ERVecRep* const rep = block();
        const unsigned int used = rep->length;
        if (count != 1 || rep->isShared() || rep->capacity - used < size)
            return appendGrowing(value, count);
        std::memcpy(rep->bytes() + used, &value, size);
        rep->setLength(used + size);
    }
    void resize(unsigned int n, const T& fill = T());  ///< grows with fill, or cuts
    /// Sets the length to n <= capacity(). Elements that this uncovers are undefined.
    void troncat(unsigned int n);
    void removeLast(unsigned int n);
    void remove(unsigned int pos, unsigned int n);  ///< cut to the elements there are
    void remove(unsigned int pos) { remove(pos, 1); }
    T removeAt(unsigned int pos);  ///< returns what was there
    /// Puts m elements from src, which may lie in this vector, in the place of the n at pos.
    void replace(unsigned int pos, unsigned int n, const T* src, unsigned int m);
    void clear();

    ERVecRep* block() const { return ERVecRep::ofData(data_); }
    void setblock(ERVecRep* rep) {
        rep->addReference();
        block()->removeReference();
        data_ = static_cast<T*>(rep->data);
    }

    /// The length in bytes (32 bits), then the elements as they lie in memory.
    void saveGuts(ERFile& file) const;
    /// Takes a new block. A damaged length reads as 0, a part of an element at the end is dropped.
    void restoreGuts(ERFile& file);
    ERULong binaryStoreSize() const { return block()->binaryStoreSize(); }

    /// "(" length ")[" elements separated by "," "]" and end of line.
    void printOn(std::ostream& os) const;

protected:
    static constexpr unsigned int size = sizeof(T);

    // A block to become an owner of; a type of its own, so that 0 is a number of elements.
    struct Owning {
        ERVecRep* rep;
    };
    explicit ERSimpleVec(Owning block) : data_(static_cast<T*>(block.rep->data)) {
        block.rep->addReference();
    }

    // The bytes of n elements. Beyond 32 bits it is ERVecRep::maxBytes, and no block is that long.
    static unsigned int bytesOf(std::uint64_t n);
    void appendGrowing(const T& value, unsigned int count);
    // Replaces n elements by m undefined ones and returns where these are.
    T* openGap(unsigned int pos, unsigned int n, unsigned int m);
    // Appends `count` undefined elements and returns where they are.
    T* extend(unsigned int count);

private:
    T* data_;
};

/// A grid of elements in rows of cols(), for elements that are no numbers.
template <class T>
class ERSimpleVec2 : public ERSimpleVec<T> {
public:
    ERSimpleVec2() = default;
    ERSimpleVec2(unsigned int rows, unsigned int cols);  ///< elements of zero bytes

    unsigned int cols() const { return cols_; }
    unsigned int rows() const { return rows_; }
    /// Gives the grid another shape. Elements keep their place in memory, so that those of a new
    /// width change their row and column; new elements are zero bytes.
    void setSize(unsigned int rows, unsigned int cols);

    unsigned int inVec(unsigned int r, unsigned int c) const { return cols_ * r + c; }
    const T& operator()(unsigned int r, unsigned int c) const { return (*this)[inVec(r, c)]; }
    T& operator()(unsigned int r, unsigned int c) { return (*this)[inVec(r, c)]; }

private:
    unsigned int cols_ = 0;
    unsigned int rows_ = 0;
};

/// The vector of the library: ERSimpleVec with slices, insertion and search.
template <class T>
class ERVec : public ERSimpleVec<T> {
    using Base = ERSimpleVec<T>;

public:
    ERVec() = default;
    explicit ERVec(unsigned int n) : Base(n) {}  ///< n elements of zero bytes
    ERVec(unsigned int n, const T& value);
    ERVec(const T* values, unsigned int n);
    ERVec(const ERSlice<T>& view);  ///< copies the elements
    /// The elements listed. As for the containers of the standard library, braces hold elements where
    /// they can: ERVec<double>{3} is one element, ERVec<double>(3) is three.
    ERVec(std::initializer_list<T> values)
        : ERVec(std::data(values), static_cast<unsigned int>(values.size())) {}
    /// The elements of any range, converted to T.
    template <ElementRange<T> Range>
    explicit ERVec(Range&& values);
    ERVec(const ERVec&) = default;
    ERVec& operator=(const ERVec&) = default;
    ERVec& operator=(const T& value);  ///< fills all elements
    ERVec& operator=(std::initializer_list<T> values) { return *this = ERVec(values); }

    const ERSlice<T> slice(unsigned int start, int stride, unsigned int length) const {
        return ERSlice<T>(*this, start, length, stride);
    }
    ERSlice<T> slice(unsigned int start, int stride, unsigned int length) {
        return ERSlice<T>(*this, start, length, stride);
    }
    const ERSlice<T> reversed() const { return slice(this->length() - 1, -1, this->length()); }
    ERSlice<T> reversed() { return slice(this->length() - 1, -1, this->length()); }

    ERVecConstIterator<T> begin() const { return this->data(); }
    ERVecConstIterator<T> end() const { return this->data() + this->length(); }
    ERVecIterator<T> begin() { return this->data(); }
    ERVecIterator<T> end() { return this->data() + this->length(); }

    // The values to insert or append may be taken from this vector itself.

    using Base::append;
    void append(const ERSlice<T>& values);
    void insertAt(const ERSlice<T>& values, unsigned int pos);
    void insertAt(unsigned int pos, const T& value, unsigned int count = 1);
    using Base::replace;
    void replace(unsigned int pos, unsigned int n, const ERVec& values);
    void replace(unsigned int pos, unsigned int n, const ERSlice<T>& values);
    void replace(unsigned int pos, unsigned int n, const T& value, unsigned int count);
    void removeFirst(unsigned int n) { this->remove(0, n); }
    void reverse();

    /// Opens gaps of `gap` undefined elements at pos, pos + period ...: one for each whole period
    /// that the vector has. period > 0.
    void polyInsert(unsigned int pos, unsigned int gap, unsigned int period);
    /// Removes `gap` elements at pos, pos + period ... to the end. period > 0, gap <= period.
    void polyRemove(unsigned int pos, unsigned int gap, unsigned int period);

    /// The index of the first or last element that compares equal to value, exactly; 0xFFFFFFFF
    /// when there is none.
    unsigned int findFirst(const T& value) const requires HasEquality<T>;
    unsigned int findLast(const T& value) const requires HasEquality<T>;

    /// Whether the lengths are the same and all elements equal, without tolerance.
    /// Kept: vectors that share their block are equal even where an element, like a NaN, differs
    ///       from itself, so that a copy always equals its original.
    bool operator==(const ERVec& other) const requires HasEquality<T>;

protected:
    using Base::Base;

    /// Sets `length` elements from start on, stride apart.
    void init(const T& value, unsigned int start, unsigned int length, int stride);

    friend class ERSlice<T>;
};

template <class T>
std::ostream& operator<<(std::ostream& os, const ERSimpleVec<T>& vec) {
    vec.printOn(os);
    return os;
}

/// saveGuts and restoreGuts.
template <class T>
ERFile& operator<<(ERFile& file, const ERSimpleVec<T>& vec) {
    vec.saveGuts(file);
    return file;
}
template <class T>
ERFile& operator>>(ERFile& file, ERSimpleVec<T>& vec) {
    vec.restoreGuts(file);
    return file;
}
/// Deleted: the stored form of a vector does not hold the shape of a grid.
template <class T>
ERFile& operator<<(ERFile& file, const ERSimpleVec2<T>& grid) = delete;
template <class T>
ERFile& operator>>(ERFile& file, ERSimpleVec2<T>& grid) = delete;

template <class T>
template <ElementRange<T> Range>
ERVec<T>::ERVec(Range&& values) {
    if constexpr (requires { std::size(values); })
        this->capacity(static_cast<unsigned int>(std::size(values)));
    for (auto&& value : values) this->append(static_cast<T>(value));
}

template <class T>
inline ERSlice<T>::ERSlice(const ERVec<T>& vec) : ERSlice(vec, 0, vec.length(), 1) {}

template <class T>
inline ERSlice<T>::ERSlice(const ERVec<T>& vec, unsigned int start, unsigned int length, int stride)
    : parent_(const_cast<ERVec<T>*>(&vec)), start_(start), length_(length), stride_(stride) {}

template <class T>
inline ERSlice<T>::ERSlice(const ERSlice& view, unsigned int start, unsigned int length, int stride)
    : parent_(view.parent_),
      start_(static_cast<unsigned int>(view.stride_) * start + view.start_),
      length_(length),
      stride_(view.stride_ * stride) {}

template <class T>
inline const T& ERSlice<T>::operator[](unsigned int i) const {
    const ERVec<T>& vec = *parent_;
    return vec[i * static_cast<unsigned int>(stride_) + start_];
}

template <class T>
inline T& ERSlice<T>::operator[](unsigned int i) {
    return (*parent_)[i * static_cast<unsigned int>(stride_) + start_];
}

template <class T>
inline const T* ERSlice<T>::constFirst() const {
    const ERVec<T>& vec = *parent_;
    return vec.data() + (length_ > 0 ? start_ : 0);
}

template <class T>
inline T* ERSlice<T>::first() {
    return parent_->data() + (length_ > 0 ? start_ : 0);
}

}  // namespace kerf::QuickAlgebra

namespace kerf {
using QuickAlgebra::ERSimpleVec;
using QuickAlgebra::ERSimpleVec2;
using QuickAlgebra::ERVec;
}  // namespace kerf

// clang-format off
#define KERF_DECLARE_SIMPLE_VECTOR(T) \
    extern template class KERF_DECLARED_INSTANCE ::kerf::QuickAlgebra::ERSimpleVec<T>;
#define KERF_DECLARE_SIMPLE_GRID(T) \
    extern template class KERF_DECLARED_INSTANCE ::kerf::QuickAlgebra::ERSimpleVec2<T>;
#define KERF_DECLARE_VECTOR(T)                                                      \
    KERF_DECLARE_SIMPLE_VECTOR(T)                                                   \
    extern template class KERF_DECLARED_INSTANCE ::kerf::QuickAlgebra::ERSlice<T>;  \
    extern template class KERF_DECLARED_INSTANCE ::kerf::QuickAlgebra::ERVec<T>;
// clang-format on

namespace kerf {
KERF_DECLARE_VECTOR(double)
}
