#pragma once
#include <algorithm>
#include <cstring>
#include <ostream>

#include "kerf/numerics/vector.h"

// The bodies of the vectors and slices; only for sources that instantiate them (see vector.h).
namespace kerf::QuickAlgebra {

// Elements are copied as raw bytes, so that nothing of T is called. Long runs are copied from what is
// there already, twice as much each time.
template <class T>
void fillElements(T* to, std::size_t n, const T& value) {
    constexpr std::size_t singly = 32;
    for (std::size_t i = 0; i < std::min(n, singly); ++i)
        std::memcpy(static_cast<void*>(to + i), &value, sizeof(T));
    for (std::size_t done = singly; done < n; done *= 2)
        std::memcpy(static_cast<void*>(to + done), to, std::min(done, n - done) * sizeof(T));
}

// Copies the n elements at from, from + stride ... to a run that does not overlap them.
template <class T>
void gatherElements(T* to, const T* from, std::ptrdiff_t stride, std::size_t n) {
    if (stride == 1) {
        std::memcpy(static_cast<void*>(to), from, n * sizeof(T));
        return;
    }
    for (std::size_t i = 0; i < n; ++i)
        std::memcpy(static_cast<void*>(to + i), from + static_cast<std::ptrdiff_t>(i) * stride,
                    sizeof(T));
}

// A copy of a value, again as raw bytes: the value may lie in a vector whose block is about to go.
template <class T>
class SavedElement {
public:
    explicit SavedElement(const T& value) { std::memcpy(bytes_, &value, sizeof(T)); }
    const T& get() const { return *reinterpret_cast<const T*>(bytes_); }

private:
    alignas(T) unsigned char bytes_[sizeof(T)];
};

// MSVC instantiates even members whose requirement is not met, so these functions compile for types
// without the operator too.
template <class T>
bool areEqual([[maybe_unused]] const T& a, [[maybe_unused]] const T& b) {
    if constexpr (HasEquality<T>)
        return static_cast<bool>(a == b);
    else
        return false;
}

template <class T>
void printElement(std::ostream& os, const T& element) {
    if constexpr (requires { os << element; }) os << element;
}

template <class Range>
void printElements(std::ostream& os, const Range& range) {
    os << "(" << range.length() << ")[";
    for (unsigned int i = 0; i < range.length(); ++i) {
        if (i > 0) os << ",";
        printElement(os, range[i]);
    }
    os << "]" << std::endl;
}

template <class T>
ERSimpleVec<T>::ERSimpleVec(unsigned int n)
    : ERSimpleVec(Owning{ERVecRep::getRep(bytesOf(n), 0)}) {}

template <class T>
unsigned int ERSimpleVec<T>::bytesOf(std::uint64_t n) {
    return n > ERVecRep::maxBytes / size ? ERVecRep::maxBytes : static_cast<unsigned int>(n * size);
}

template <class T>
unsigned int ERSimpleVec<T>::capacity(unsigned int n) {
    if (n > length() && n != capacity()) clone(n);
    return capacity();
}

template <class T>
void ERSimpleVec<T>::cow(unsigned int n) {
    if (block()->isShared() || capacity() < n) clone(std::max(n, length()));
}

template <class T>
void ERSimpleVec<T>::clone() {
    setblock(block()->duplicate());
}

template <class T>
void ERSimpleVec<T>::clone(unsigned int n) {
    const unsigned int bytes = bytesOf(n);
    ERVecRep* rep = ERVecRep::clone(block(), bytes);
    if (rep->length > bytes) rep->setLength(bytes);
    setblock(rep);
}

template <class T>
T* ERSimpleVec<T>::extend(unsigned int count) {
    const unsigned int old = length();
    const unsigned int bytes = bytesOf(std::uint64_t{old} + count);
    if (block()->isShared() || block()->capacity < bytes) setblock(ERVecRep::clone(block(), bytes));
    block()->setLength(bytes);
    return data_ + old;
}

template <class T>
T* ERSimpleVec<T>::openGap(unsigned int pos, unsigned int n, unsigned int m) {
    setblock(ERVecRep::replace(block(), bytesOf(pos), bytesOf(n), nullptr, bytesOf(m)));
    return data_ + pos;
}

template <class T>
void ERSimpleVec<T>::appendGrowing(const T& value, unsigned int count) {
    const SavedElement<T> saved(value);
    fillElements(extend(count), count, saved.get());
}

template <class T>
void ERSimpleVec<T>::resize(unsigned int n, const T& fill) {
    if (n > length())
        append(fill, n - length());
    else
        troncat(n);
}

template <class T>
void ERSimpleVec<T>::troncat(unsigned int n) {
    if (n == length()) return;
    cow();
    KERF_CHECK_ARGUMENT(n <= capacity());
    block()->setLength(bytesOf(n));
}

template <class T>
void ERSimpleVec<T>::removeLast(unsigned int n) {
    KERF_CHECK_ARGUMENT(n <= length());
    troncat(length() - n);
}

template <class T>
void ERSimpleVec<T>::remove(unsigned int pos, unsigned int n) {
    setblock(ERVecRep::replace(block(), bytesOf(pos), bytesOf(n), nullptr, 0));
}

template <class T>
T ERSimpleVec<T>::removeAt(unsigned int pos) {
    KERF_CHECK_ARGUMENT(pos < length());
    T removed = data_[pos];
    remove(pos, 1);
    return removed;
}

template <class T>
void ERSimpleVec<T>::replace(unsigned int pos, unsigned int n, const T* src, unsigned int m) {
    setblock(ERVecRep::replace(block(), bytesOf(pos), bytesOf(n), src, bytesOf(m)));
}

template <class T>
void ERSimpleVec<T>::clear() {
    if (length() == 0) return;
    if (block()->isShared()) setblock(ERVecRep::getRep(block()->length, 1));
    block()->setLength(0);
}

template <class T>
void ERSimpleVec<T>::saveGuts(ERFile& file) const {
    block()->saveGuts(file);
}

template <class T>
void ERSimpleVec<T>::restoreGuts(ERFile& file) {
    ERVecRep* rep = ERVecRep::getRep(file);
    if (!rep) rep = ERVecRep::empty();
    setblock(rep);
    const unsigned int rest = rep->length % size;
    if (rest > 0) rep->setLength(rep->length - rest);
}

template <class T>
void ERSimpleVec<T>::printOn(std::ostream& os) const {
    printElements(os, *this);
}

template <class T>
ERSimpleVec2<T>::ERSimpleVec2(unsigned int rows, unsigned int cols)
    : ERSimpleVec<T>(typename ERSimpleVec<T>::Owning{
          ERVecRep::getRep(ERSimpleVec<T>::bytesOf(std::uint64_t{rows} * cols), 0)}),
      cols_(cols),
      rows_(rows) {}

template <class T>
void ERSimpleVec2<T>::setSize(unsigned int rows, unsigned int cols) {
    const unsigned int bytes = this->bytesOf(std::uint64_t{rows} * cols);
    const unsigned int old = this->block()->length;
    if (bytes > old) {
        const unsigned int added =
            static_cast<unsigned int>(std::uint64_t{rows} * cols) - this->length();
        std::memset(static_cast<void*>(this->extend(added)), 0, bytes - old);
    } else {
        this->troncat(rows * cols);
    }
    cols_ = cols;
    rows_ = rows;
}

template <class T>
ERVec<T>::ERVec(unsigned int n, const T& value)
    : Base(typename Base::Owning{ERVecRep::getRep(Base::bytesOf(n), 1)}) {
    fillElements(this->data(), n, SavedElement<T>(value).get());
}

template <class T>
ERVec<T>::ERVec(const T* values, unsigned int n)
    : Base(typename Base::Owning{
          ERVecRep::getRep(static_cast<const void*>(values), Base::bytesOf(n))}) {}

template <class T>
ERVec<T>::ERVec(const ERSlice<T>& view)
    : Base(typename Base::Owning{ERVecRep::getRep(Base::bytesOf(view.length()), 1)}) {
    gatherElements(this->data(), view.constFirst(), view.stride(), view.length());
}

template <class T>
ERVec<T>& ERVec<T>::operator=(const T& value) {
    init(value, 0, this->length(), 1);
    return *this;
}

template <class T>
void ERVec<T>::append(const ERSlice<T>& values) {
    const unsigned int n = values.length();
    // A view of this vector finds its elements in the new block too, before the appended ones.
    T* const to = this->extend(n);
    gatherElements(to, values.constFirst(), values.stride(), n);
}

template <class T>
void ERVec<T>::insertAt(const ERSlice<T>& values, unsigned int pos) {
    replace(pos, 0, values);
}

template <class T>
void ERVec<T>::insertAt(unsigned int pos, const T& value, unsigned int count) {
    replace(pos, 0, value, count);
}

template <class T>
void ERVec<T>::replace(unsigned int pos, unsigned int n, const ERVec& values) {
    Base::replace(pos, n, values.data(), values.length());
}

template <class T>
void ERVec<T>::replace(unsigned int pos, unsigned int n, const ERSlice<T>& values) {
    const unsigned int m = values.length();
    if (values.stride() == 1) {
        Base::replace(pos, n, values.constFirst(), m);
    } else if (values.data() == this) {
        replace(pos, n, ERVec(values));
    } else {
        T* const to = this->openGap(pos, n, m);
        gatherElements(to, values.constFirst(), values.stride(), m);
    }
}

template <class T>
void ERVec<T>::replace(unsigned int pos, unsigned int n, const T& value, unsigned int count) {
    const SavedElement<T> saved(value);
    fillElements(this->openGap(pos, n, count), count, saved.get());
}

template <class T>
void ERVec<T>::reverse() {
    T* const elements = this->data();
    std::reverse(elements, elements + this->length());
}

template <class T>
void ERVec<T>::polyInsert(unsigned int pos, unsigned int gap, unsigned int period) {
    this->setblock(ERVecRep::polyInsert(this->block(), Base::bytesOf(pos), Base::bytesOf(gap),
                                        Base::bytesOf(period)));
}

template <class T>
void ERVec<T>::polyRemove(unsigned int pos, unsigned int gap, unsigned int period) {
    this->cow();
    this->block()->polyRemove(Base::bytesOf(pos), Base::bytesOf(gap), Base::bytesOf(period));
}

template <class T>
unsigned int ERVec<T>::findFirst(const T& value) const requires HasEquality<T> {
    const T* const elements = this->data();
    for (unsigned int i = 0; i < this->length(); ++i)
        if (areEqual(elements[i], value)) return i;
    return 0xFFFFFFFF;
}

template <class T>
unsigned int ERVec<T>::findLast(const T& value) const requires HasEquality<T> {
    const T* const elements = this->data();
    for (unsigned int i = this->length(); i-- > 0;)
        if (areEqual(elements[i], value)) return i;
    return 0xFFFFFFFF;
}

template <class T>
bool ERVec<T>::operator==(const ERVec& other) const requires HasEquality<T> {
    if (this->block() == other.block()) return true;
    return std::equal(begin(), end(), other.begin(), other.end(), areEqual<T>);
}

template <class T>
void ERVec<T>::init(const T& value, unsigned int start, unsigned int length, int stride) {
    if (length == 0) return;
    const SavedElement<T> saved(value);
    T* const to = this->data() + start;
    if (stride == 1) {
        fillElements(to, length, saved.get());
        return;
    }
    for (unsigned int i = 0; i < length; ++i)
        fillElements(to + std::ptrdiff_t{stride} * i, 1, saved.get());
}

template <class T>
ERSlice<T>& ERSlice<T>::operator=(const ERSlice& from) {
    KERF_CHECK_ARGUMENT(length_ <= from.length_);
    if (length_ == 0) return *this;
    T* const to = first();
    const T* const source = from.constFirst();  // after first(), which may move these too
    const auto count = static_cast<std::ptrdiff_t>(length_);
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i * stride_] = source[i * from.stride_];
    return *this;
}

template <class T>
ERSlice<T>& ERSlice<T>::operator=(const ERVec<T>& from) {
    return *this = ERSlice(from);
}

template <class T>
ERSlice<T>& ERSlice<T>::operator=(const T& value) {
    parent_->init(value, start_, length_, stride_);
    return *this;
}

template <class T>
void ERSlice<T>::printOn(std::ostream& os) const {
    printElements(os, *this);
}

}  // namespace kerf::QuickAlgebra

// clang-format off
#define KERF_INSTANTIATE_SIMPLE_VECTOR(T) \
    template class KERF_DEFINED_INSTANCE ::kerf::QuickAlgebra::ERSimpleVec<T>;
#define KERF_INSTANTIATE_SIMPLE_GRID(T) \
    template class KERF_DEFINED_INSTANCE ::kerf::QuickAlgebra::ERSimpleVec2<T>;
#define KERF_INSTANTIATE_VECTOR(T)                                        \
    KERF_INSTANTIATE_SIMPLE_VECTOR(T)                                     \
    template class KERF_DEFINED_INSTANCE ::kerf::QuickAlgebra::ERSlice<T>; \
    template class KERF_DEFINED_INSTANCE ::kerf::QuickAlgebra::ERVec<T>;
// clang-format on
