#pragma once
#include <cstddef>
#include <iterator>
#include <type_traits>

#include "kerf/platform/config.h"

// Vectors of pointers. None of them owns what the pointers point to. Indices must be valid.
namespace kerf {

/// A vector of pointers that owns its array; with size 0 it has none.
class KERF_EXPORT ERPtrVector {
public:
    ERPtrVector() = default;
    explicit ERPtrVector(unsigned int n, void* fill = nullptr);
    ERPtrVector(const ERPtrVector& other);
    ERPtrVector(ERPtrVector&& other) noexcept;
    ~ERPtrVector() { delete[] array_; }

    ERPtrVector& operator=(const ERPtrVector& other);
    ERPtrVector& operator=(ERPtrVector&& other) noexcept;
    ERPtrVector& operator=(void* fill);  ///< fills every element

    unsigned int length() const { return size_; }
    void*& operator[](unsigned int i) {
        KERF_CHECK_ARGUMENT(i < size_);
        return array_[i];
    }
    void* operator[](unsigned int i) const {
        KERF_CHECK_ARGUMENT(i < size_);
        return array_[i];
    }
    void** data() { return array_; }
    void* const* data() const { return array_; }

    /// Changes the size; new elements are not initialised.
    void reshape(unsigned int n);
    /// Changes the size; new elements are null.
    void resize(unsigned int n);

protected:
    void swap(ERPtrVector& other) noexcept;

private:
    unsigned int size_ = 0;
    void** array_ = nullptr;
};

/// An element of an ERTPtrVector, to be read and assigned as a T*.
template <class T>
class ERTPtrRef {
public:
    explicit ERTPtrRef(void*& slot) : slot_(slot) {}
    ERTPtrRef(const ERTPtrRef&) = default;

    operator T*() const { return static_cast<T*>(slot_); }
    T* operator->() const { return *this; }
    ERTPtrRef& operator=(T* pointer) {
        slot_ = const_cast<std::remove_cv_t<T>*>(pointer);
        return *this;
    }
    ERTPtrRef& operator=(const ERTPtrRef& other) { return *this = static_cast<T*>(other); }

private:
    void*& slot_;
};

/// The iterator of the typed pointer vectors; returns the pointers by value.
template <class T>
class ERTPtrPosition {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = T*;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T*;

    ERTPtrPosition() = default;
    explicit ERTPtrPosition(void* const* slot) : slot_(slot) {}

    T* operator*() const { return static_cast<T*>(*slot_); }
    ERTPtrPosition& operator++() {
        ++slot_;
        return *this;
    }
    ERTPtrPosition operator++(int) { return ERTPtrPosition(slot_++); }
    bool operator==(const ERTPtrPosition&) const = default;

private:
    void* const* slot_ = nullptr;
};

template <class T>
class ERTPtrVector : public ERPtrVector {
public:
    ERTPtrVector() = default;
    explicit ERTPtrVector(unsigned int n, T* fill = nullptr)
        : ERPtrVector(n, const_cast<std::remove_cv_t<T>*>(fill)) {}

    ERTPtrVector& operator=(T* fill) {
        ERPtrVector::operator=(const_cast<std::remove_cv_t<T>*>(fill));
        return *this;
    }

    ERTPtrRef<T> operator[](unsigned int i) { return ERTPtrRef<T>(ERPtrVector::operator[](i)); }
    T* operator[](unsigned int i) const { return static_cast<T*>(ERPtrVector::operator[](i)); }

    ERTPtrPosition<T> begin() const { return ERTPtrPosition<T>(data()); }
    ERTPtrPosition<T> end() const { return ERTPtrPosition<T>(data() + length()); }
};

namespace detail {

// Moves the pointers from p on up by one, after making room for 64 more when the array is full. These
// vectors are small and live shortly: a constant step wastes least.
KERF_EXPORT void openPosition(ERPtrVector& storage, unsigned int entries, unsigned int p);
// Moves the pointers from p + n on down by n.
KERF_EXPORT void closePositions(ERPtrVector& storage, unsigned int entries, unsigned int p,
                                unsigned int n);

}  // namespace detail

/// Pointers in the order in which they were put; grows as needed.
template <class T>
class ERTPtrOrderedVector {
public:
    /// Empty, with room for that many pointers.
    explicit ERTPtrOrderedVector(unsigned int capacity = 0) : storage_(capacity) {}
    ERTPtrOrderedVector(const ERTPtrOrderedVector&) = default;
    ERTPtrOrderedVector& operator=(const ERTPtrOrderedVector&) = default;
    virtual ~ERTPtrOrderedVector() = default;

    unsigned int entries() const { return entries_; }
    unsigned int capacity() const { return storage_.length(); }
    int isEmpty() const { return entries_ == 0; }
    T* operator[](unsigned int i) const {
        KERF_CHECK_ARGUMENT(i < entries_);
        return storage_[i];
    }
    T* first() const { return (*this)[0]; }
    T* last() const { return (*this)[entries_ - 1]; }

    void append(T* pointer) { insertAt(entries_, pointer); }
    /// The pointer becomes the element at p; at entries() it is appended.
    void insertAt(unsigned int p, T* pointer) {
        KERF_CHECK_ARGUMENT(p <= entries_);
        detail::openPosition(storage_, entries_, p);
        storage_[p] = pointer;
        ++entries_;
    }
    /// Takes the pointer out and returns it.
    T* removeAt(unsigned int p) {
        T* const removed = (*this)[p];
        removeRange(p, 1);
        return removed;
    }
    /// Empties the vector; the room stays.
    void clear() { entries_ = 0; }

    ERTPtrPosition<T> begin() const { return ERTPtrPosition<T>(storage_.data()); }
    ERTPtrPosition<T> end() const { return ERTPtrPosition<T>(storage_.data() + entries_); }

protected:
    void removeRange(unsigned int p, unsigned int n) {
        detail::closePositions(storage_, entries_, p, n);
        entries_ -= n;
    }

private:
    ERTPtrVector<T> storage_;
    unsigned int entries_ = 0;
};

/// Pointers in the order of T's `operator<`. Two keys are equal when neither is less; equal keys stay
/// in the order in which they came. Callers that insert at a position, or change a key, must keep the
/// order.
template <class T>
class ERTPtrSortedVector : public ERTPtrOrderedVector<T> {
public:
    using ERTPtrOrderedVector<T>::ERTPtrOrderedVector;

    /// The position of the first equal key; all ones when there is none.
    virtual unsigned int index(const T* key) const;
    /// Inserts the pointer after all equal keys.
    virtual void insert(T* pointer);
    virtual unsigned int occurrencesOf(const T* key) const;
    /// Takes out the first equal key and returns it; null when there is none.
    virtual T* remove(const T* key);
    /// Takes out all equal keys and returns their number.
    virtual unsigned int removeAll(const T* key);

private:
    // The first position from `low` on at which `before` no longer holds.
    template <class Before>
    unsigned int partition(unsigned int low, Before before) const;
    unsigned int firstNotLess(const T* key) const {
        return partition(0, [key](const T* element) { return *element < *key; });
    }
    unsigned int firstGreater(const T* key, unsigned int from) const {
        return partition(from, [key](const T* element) { return !(*key < *element); });
    }
};

template <class T>
template <class Before>
unsigned int ERTPtrSortedVector<T>::partition(unsigned int low, Before before) const {
    unsigned int high = this->entries();
    while (low < high) {
        const unsigned int middle = low + (high - low) / 2;
        if (before((*this)[middle]))
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

template <class T>
unsigned int ERTPtrSortedVector<T>::index(const T* key) const {
    const unsigned int p = firstNotLess(key);
    return p < this->entries() && !(*key < *(*this)[p]) ? p : ~0u;
}

template <class T>
void ERTPtrSortedVector<T>::insert(T* pointer) {
    this->insertAt(firstGreater(pointer, 0), pointer);
}

template <class T>
unsigned int ERTPtrSortedVector<T>::occurrencesOf(const T* key) const {
    const unsigned int p = firstNotLess(key);
    return firstGreater(key, p) - p;
}

template <class T>
T* ERTPtrSortedVector<T>::remove(const T* key) {
    const unsigned int p = ERTPtrSortedVector::index(key);
    return p == ~0u ? nullptr : this->removeAt(p);
}

template <class T>
unsigned int ERTPtrSortedVector<T>::removeAll(const T* key) {
    const unsigned int p = firstNotLess(key);
    const unsigned int n = firstGreater(key, p) - p;
    this->removeRange(p, n);
    return n;
}

}  // namespace kerf
