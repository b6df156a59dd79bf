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

/// A vector of bits. Bit i is bit i % 8 of byte i / 8, counted from the lowest. The bits of the last
/// byte past the size are arbitrary and have no effect. Indices must be valid, and the two vectors of
/// an operation of the same size.
class KERF_EXPORT ERBitVec {
public:
    ERBitVec() = default;
    explicit ERBitVec(unsigned int n);  ///< n zero bits
    ERBitVec(unsigned int n, int value);
    /// Copies n bits out of (n + 7) / 8 bytes.
    ERBitVec(const unsigned char* source, unsigned int n);
    ERBitVec(const ERBitVec& other);
    ERBitVec(ERBitVec&& other) noexcept;
    ~ERBitVec() { delete[] bytes_; }

    ERBitVec& operator=(const ERBitVec& other);
    ERBitVec& operator=(ERBitVec&& other) noexcept;
    /// Sets all bits for a positive value, clears them otherwise.
    ERBitVec& operator=(int value);

    unsigned int length() const { return size_; }
    /// The (length() + 7) / 8 bytes; null for length 0.
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
    /// For a positive value whether all bits are set, otherwise whether all are clear; 1 for size 0.
    int operator==(int value) const;
    int operator!=(int value) const { return !(*this == value); }
    /// 1 for equal sizes and equal bits.
    int isEqual(const ERBitVec& other) const;
    /// Starts as the size; for each byte it is rotated left by 5 bits, then xor'ed with the byte.
    unsigned int hash() const;

    /// Keeps the bits that are there; new ones are zero.
    void resize(unsigned int n);

    /// Writes an int, the size, and the bytes: 4 + (length() + 7) / 8 bytes.
    void saveOn(ERFile& file) const;
    /// Damage: a size that is negative or more than the file can still hold reads as 0.
    void restoreFrom(ERFile& file);
    /// What saveOn writes.
    ERULong binaryStoreSize() const;
    /// The bits as 0 and 1 between brackets, separated by spaces: "[0 1 1]".
    void printOn(std::ostream& os) const;
    /// Reads what printOn writes. White space between the bits may be missing, and so may the
    /// brackets: the list then ends before the first character that is neither bit nor space.
    /// Damage: the vector gets the bits that were read; the stream fails when a bracket stays open
    ///         or when there was no bracket and no bit.
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
/// Every bit inverted.
KERF_EXPORT ERBitVec operator!(const ERBitVec& a);

/// The number of set bits.
KERF_EXPORT unsigned int sum(const ERBitVec& a);

/// The index of the first set (clear) one of n bits; all ones when there is none.
KERF_EXPORT unsigned int erFirstTrue(const unsigned char* bytes, unsigned int n);
KERF_EXPORT unsigned int erFirstFalse(const unsigned char* bytes, unsigned int n);

KERF_EXPORT std::ostream& operator<<(std::ostream& os, const ERBitVec& a);
KERF_EXPORT std::istream& operator>>(std::istream& is, ERBitVec& a);

}  // namespace kerf
