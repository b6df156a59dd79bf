#pragma once
#include <cstddef>
#include <iosfwd>

#include "kerf/platform/config.h"

namespace kerf {

class ERFile;

/// One bit of an ERBitVec: reads as 0 or 1 and takes any int, non-zero for 1.
class ERBitRef {
public:
    ERBitRef(unsigned char* byteOfBit, unsigned char maskOfBit)
        : byte_(byteOfBit), mask_(maskOfBit) {}
    ERBitRef(const ERBitRef&) = default;

    operator int() const { return (*byte_ & mask_) != 0; }
    ERBitRef& operator=(int value) {
        *byte_ = static_cast<unsigned char>(value != 0 ? *byte_ | mask_ : *byte_ & ~mask_);
        return *this;
    }
    ERBitRef& operator=(const ERBitRef& other) { return *this = static_cast<int>(other); }
    ERBitRef& operator&=(int value) { return *this = *this && value != 0; }
    ERBitRef& operator|=(int value) { return *this = *this || value != 0; }
    ERBitRef& operator^=(int value) { return *this = static_cast<int>(*this) != (value != 0); }

private:
    unsigned char* byte_;
    unsigned char mask_;
};

/// A vector of bits. Bit i is bit i % 8 of byte i / 8, the low one first. What the last byte holds
/// above the size is arbitrary and never counts. Indices, and equal sizes in the operations on two
/// vectors, are the caller's duty.
class KERF_EXPORT ERBitVec {
public:
    ERBitVec() = default;
    explicit ERBitVec(unsigned int n);  ///< n bits of 0
    ERBitVec(unsigned int n, int value);
    /// Copies n bits out of (n + 7) / 8 bytes.
    ERBitVec(const unsigned char* source, unsigned int n);
    ERBitVec(const ERBitVec& other);
    ERBitVec(ERBitVec&& other) noexcept;
    ~ERBitVec() { delete[] bytes_; }

    ERBitVec& operator=(const ERBitVec& other);
    ERBitVec& operator=(ERBitVec&& other) noexcept;
    /// Sets all bits for a positive value, clears all otherwise.
    ERBitVec& operator=(int value);

    unsigned int length() const { return size_; }
    /// The (length() + 7) / 8 bytes; null for a length of 0.
    const unsigned char* data() const { return bytes_; }

    ERBitRef operator[](unsigned int i) {
        KERF_CHECK_ARGUMENT(i < size_);
        return ERBitRef(bytes_ + i / 8, maskOf(i));
    }
    int operator[](unsigned int i) const { return testBit(i); }
    ERBitRef operator()(unsigned int i) { return (*this)[i]; }
    int operator()(unsigned int i) const { return testBit(i); }
    int testBit(unsigned int i) const {
        KERF_CHECK_ARGUMENT(i < size_);
        return (bytes_[i / 8] & maskOf(i)) != 0;
    }
    void setBit(unsigned int i) { (*this)[i] = 1; }
    void clearBit(unsigned int i) { (*this)[i] = 0; }

    unsigned int firstTrue() const;   ///< all ones when there is none
    unsigned int firstFalse() const;  ///< all ones when there is none

    ERBitVec& operator&=(const ERBitVec& other);
    ERBitVec& operator^=(const ERBitVec& other);
    ERBitVec& operator|=(const ERBitVec& other);

    int operator==(const ERBitVec& other) const { return isEqual(other); }
    int operator!=(const ERBitVec& other) const { return !isEqual(other); }
    /// Whether all bits are set, for a positive value, or all clear; 1 for a vector of size 0.
    int operator==(int value) const;
    int operator!=(int value) const { return !(*this == value); }
    /// 1 for the same size and bits.
    int isEqual(const ERBitVec& other) const;
    /// The size, rotated left by 5 and xor'ed with each byte in turn.
    unsigned int hash() const;

    /// Keeps the first bits; new ones are 0.
    void resize(unsigned int n);

    /// Writes an int, the size, and the bytes: 4 + (length() + 7) / 8 bytes.
    void saveOn(ERFile& file) const;
    /// A size that is negative or more than the file can still hold reads as 0.
    void restoreFrom(ERFile& file);
    /// What saveOn writes.
    ERULong binaryStoreSize() const;
    /// The bits as 0 and 1 between brackets, separated by spaces: "[0 1 1]".
    void printOn(std::ostream& os) const;
    /// Reads what printOn writes, white space or none between the bits, and takes a list without
    /// brackets as well; that one ends before the first character that is neither bit nor space.
    /// The vector gets the bits that were read, and the stream fails when a bracket stays open or
    /// there was nothing to read.
    void scanFrom(std::istream& is);

    /// Does nothing: a place for a debugger to stop at. Indices are not checked.
    void indexRangeErr(unsigned int) const {}

private:
    static unsigned char maskOf(unsigned int i) { return static_cast<unsigned char>(1u << i % 8); }
    static std::size_t byteCount(unsigned int n) { return n / 8 + (n % 8 != 0); }
    unsigned int nfull() const { return size_ / 8; }
    unsigned char lastMask() const { return static_cast<unsigned char>(maskOf(size_) - 1); }

    void allocateFor(unsigned int n);
    template <class Operation>
    ERBitVec& combine(const ERBitVec& other, Operation operation);

    unsigned char* bytes_ = nullptr;
    unsigned int size_ = 0;
};

KERF_EXPORT ERBitVec operator&(const ERBitVec& a, const ERBitVec& b);
KERF_EXPORT ERBitVec operator^(const ERBitVec& a, const ERBitVec& b);
KERF_EXPORT ERBitVec operator|(const ERBitVec& a, const ERBitVec& b);
/// Every bit turned over.
KERF_EXPORT ERBitVec operator!(const ERBitVec& a);

/// The number of set bits.
KERF_EXPORT unsigned int sum(const ERBitVec& a);

/// The index of the first set (clear) one of n bits; all ones when there is none.
KERF_EXPORT unsigned int erFirstTrue(const unsigned char* bytes, unsigned int n);
KERF_EXPORT unsigned int erFirstFalse(const unsigned char* bytes, unsigned int n);

KERF_EXPORT std::ostream& operator<<(std::ostream& os, const ERBitVec& a);
KERF_EXPORT std::istream& operator>>(std::istream& is, ERBitVec& a);

}  // namespace kerf
