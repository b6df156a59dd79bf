#pragma once
#include <algorithm>
#include <concepts>
#include <ostream>
#include <utility>

#include "kerf/core/internal/element_storage.h"
#include "kerf/core/internal/growth.h"
#include "kerf/platform/config.h"

// Vectors of values for any element with a default constructor. Indices must be valid.
namespace kerf {

/// A vector of values that owns its array; new elements are value-initialised.
/// Storage: an int count, then the elements; nothing when T has no file form.
template <class T>
class ERTValVector {
public:
    using value_type = T;

    ERTValVector() = default;
    explicit ERTValVector(unsigned int n) : size_(n), array_(allocate(n)) {}
    ERTValVector(unsigned int n, const T& fill) : ERTValVector(n) { std::fill_n(array_, n, fill); }
    // Delegates, so that a copy that throws halfway frees what it has made.
    ERTValVector(const ERTValVector& other) : ERTValVector(other.size_) {
        std::copy_n(other.array_, size_, array_);
    }
    ERTValVector(ERTValVector&& other) noexcept { swap(other); }
    virtual ~ERTValVector() { delete[] array_; }

    ERTValVector& operator=(const ERTValVector& other) {
        if (this != &other) *this = ERTValVector(other);
        return *this;
    }
    ERTValVector& operator=(ERTValVector&& other) noexcept {
        swap(other);
        return *this;
    }

    /// The elements between brackets, separated by spaces. Each is printed by its printOn, else by
    /// `<<`; one that has neither prints nothing.
    virtual void printOn(std::ostream& os) const { printElements(os, size_); }
    virtual ERULong binaryStoreSize() const { return storeSizeOf(size_); }
    virtual void saveGuts(ERFile& file) const { saveFirst(file, size_); }
    /// Replaces the contents.
    /// Damage: a count that the file cannot hold reads as 0.
    virtual void restoreGuts(ERFile& file);

    unsigned int entries() const { return size_; }
    int isEmpty() const { return size_ == 0; }
    T& operator[](unsigned int i) {
        KERF_CHECK_ARGUMENT(i < size_);
        return array_[i];
    }
    const T& operator[](unsigned int i) const {
        KERF_CHECK_ARGUMENT(i < size_);
        return array_[i];
    }
    /// Changes the number of elements; those that remain keep their values.
    void reshape(unsigned int n);

    T* begin() { return array_; }
    T* end() { return array_ + size_; }
    const T* begin() const { return array_; }
    const T* end() const { return array_ + size_; }

protected:
    void swap(ERTValVector& other) noexcept {
        std::swap(size_, other.size_);
        std::swap(array_, other.array_);
    }
    void printElements(std::ostream& os, unsigned int n) const;
    ERULong storeSizeOf(unsigned int n) const;
    void saveFirst(ERFile& file, unsigned int n) const;

private:
    static T* allocate(unsigned int n) { return n == 0 ? nullptr : new T[n](); }

    unsigned int size_ = 0;
    T* array_ = nullptr;
};

/// Values in the order in which they were put. The array grows by 64 elements at a time; only the
/// entries are printed, stored and iterated over.
template <class T>
class ERTValOrderedVector : public ERTValVector<T> {
    using Base = ERTValVector<T>;

public:
    /// Empty, with room for that many values.
    explicit ERTValOrderedVector(unsigned int capacity = 0) : Base(capacity) {}
    ERTValOrderedVector(const ERTValOrderedVector&) = default;
    ERTValOrderedVector(ERTValOrderedVector&& other) noexcept
        : Base(std::move(other)), entries_(std::exchange(other.entries_, 0u)) {}
    ERTValOrderedVector& operator=(const ERTValOrderedVector&) = default;
    ERTValOrderedVector& operator=(ERTValOrderedVector&& other) noexcept {
        Base::operator=(std::move(other));
        std::swap(entries_, other.entries_);
        return *this;
    }

    void printOn(std::ostream& os) const override { this->printElements(os, entries_); }
    ERULong binaryStoreSize() const override { return this->storeSizeOf(entries_); }
    void saveGuts(ERFile& file) const override { this->saveFirst(file, entries_); }
    void restoreGuts(ERFile& file) override;

    unsigned int entries() const { return entries_; }
    unsigned int capacity() const { return Base::entries(); }
    int isEmpty() const { return entries_ == 0; }
    T& operator[](unsigned int i) {
        KERF_CHECK_ARGUMENT(i < entries_);
        return Base::operator[](i);
    }
    const T& operator[](unsigned int i) const {
        KERF_CHECK_ARGUMENT(i < entries_);
        return Base::operator[](i);
    }
    T& first() { return (*this)[0]; }
    const T& first() const { return (*this)[0]; }
    T& last() { return (*this)[entries_ - 1]; }
    const T& last() const { return (*this)[entries_ - 1]; }

    void append(T value) { insertAt(entries_, std::move(value)); }
    /// The value becomes the element at p; at entries() it is appended.
    void insertAt(unsigned int p, T value);
    /// Takes the value out and returns it.
    T removeAt(unsigned int p);
    /// Removes all entries; the room stays.
    void clear();

    T* end() { return this->begin() + entries_; }
    const T* end() const { return this->begin() + entries_; }

private:
    unsigned int entries_ = 0;
};

template <class T>
void ERTValVector<T>::reshape(unsigned int n) {
    if (n == size_) return;
    ERTValVector reshaped(n);
    std::move(array_, array_ + std::min(size_, n), reshaped.array_);
    swap(reshaped);
}

template <class T>
void ERTValVector<T>::printElements(std::ostream& os, unsigned int n) const {
    os << '[';
    for (unsigned int i = 0; i < n; ++i) {
        if (i != 0) os << ' ';
        if constexpr (requires(const T& t) { t.printOn(os); })
            array_[i].printOn(os);
        else if constexpr (requires(const T& t) { os << t; })
            os << array_[i];
    }
    os << ']';
}

template <class T>
ERULong ERTValVector<T>::storeSizeOf([[maybe_unused]] unsigned int n) const {
    if constexpr (ERStorable<T>)
        return storeSizeFrom(4 + storedSize(array_, n));
    else
        return 0;
}

template <class T>
void ERTValVector<T>::saveFirst([[maybe_unused]] ERFile& file,
                                [[maybe_unused]] unsigned int n) const {
    if constexpr (ERStorable<T>) {
        file.Write(static_cast<int>(n));
        saveElements(file, array_, n);
    }
}

template <class T>
void ERTValVector<T>::restoreGuts([[maybe_unused]] ERFile& file) {
    if constexpr (ERStorable<T>) {
        const unsigned int stored = restoreCount<T>(file);
        // Elements that store themselves may be far larger in memory than in a file. The array
        // grows as they are read, so that a wrong count costs no memory for missing elements.
        constexpr unsigned int firstStep = 1024;
        const unsigned int step = ERStoredRaw<T> ? stored : std::min(stored, firstStep);
        if (size_ != stored && size_ != step) *this = ERTValVector(step);
        unsigned int read = 0;
        while (read < stored) {
            if (read == size_) {
                if (!canHold<T>(file, stored - read)) return;
                reshape(doubledRoom(size_, stored));
            }
            restoreElements(file, array_ + read, size_ - read);
            read = size_;
        }
    }
}

template <class T>
void ERTValOrderedVector<T>::restoreGuts(ERFile& file) {
    if constexpr (ERStorable<T>) {
        entries_ = 0;
        Base::restoreGuts(file);
        entries_ = Base::entries();
    }
}

template <class T>
void ERTValOrderedVector<T>::insertAt(unsigned int p, T value) {
    KERF_CHECK_ARGUMENT(p <= entries_);
    constexpr unsigned int growth = 64;
    if (entries_ == capacity()) this->reshape(entries_ + growth);
    T* const first = this->begin();
    std::move_backward(first + p, first + entries_, first + entries_ + 1);
    first[p] = std::move(value);
    ++entries_;
}

template <class T>
T ERTValOrderedVector<T>::removeAt(unsigned int p) {
    T removed = std::move((*this)[p]);
    T* const first = this->begin();
    std::move(first + p + 1, first + entries_, first + p);
    --entries_;
    first[entries_] = T();  // releases what the moved-from last place may still hold
    return removed;
}

template <class T>
void ERTValOrderedVector<T>::clear() {
    for (T& value : *this) value = T();
    entries_ = 0;
}

}  // namespace kerf
