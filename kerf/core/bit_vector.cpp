#include "kerf/core/bit_vector.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>
#include <utility>

#include "kerf/core/file.h"
#include "kerf/core/internal/growth.h"

namespace kerf {

namespace {

constexpr unsigned int none = ~0u;

std::uint64_t wordAt(const unsigned char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// The first bit that differs from those of `uniform`, which is 0 or 0xFF.
unsigned int firstOther(const unsigned char* bytes, unsigned int n, unsigned char uniform) {
    const unsigned int end = n / 8 + (n % 8 != 0);
    const std::uint64_t uniformWord = uniform == 0 ? 0 : ~std::uint64_t{0};
    unsigned int byte = 0;
    while (end - byte >= 8 && wordAt(bytes + byte) == uniformWord) byte += 8;
    while (byte < end && bytes[byte] == uniform) ++byte;
    if (byte == end) return none;
    const unsigned char others = bytes[byte] ^ uniform;
    const unsigned int found = 8 * byte + static_cast<unsigned int>(std::countr_zero(others));
    return found < n ? found : none;
}

}  // namespace

ERBitVec::ERBitVec(unsigned int n) : ERBitVec(n, 0) {}

ERBitVec::ERBitVec(unsigned int n, int value) {
    allocateFor(n);
    *this = value;
}

ERBitVec::ERBitVec(const unsigned char* source, unsigned int n) {
    allocateFor(n);
    std::copy_n(source, byteCount(n), bytes_);
}

ERBitVec::ERBitVec(const ERBitVec& other) : ERBitVec(other.bytes_, other.size_) {}

ERBitVec::ERBitVec(ERBitVec&& other) noexcept
    : bytes_(std::exchange(other.bytes_, nullptr)), size_(std::exchange(other.size_, 0u)) {}

ERBitVec& ERBitVec::operator=(const ERBitVec& other) {
    if (this != &other) {
        allocateFor(other.size_);
        std::copy_n(other.bytes_, byteCount(size_), bytes_);
    }
    return *this;
}

ERBitVec& ERBitVec::operator=(ERBitVec&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    return *this;
}

ERBitVec& ERBitVec::operator=(int value) {
    std::fill_n(bytes_, byteCount(size_), static_cast<unsigned char>(value > 0 ? 0xFF : 0));
    return *this;
}

// Sets the size; the contents are lost when the number of bytes changes.
void ERBitVec::allocateFor(unsigned int n) {
    if (byteCount(n) != byteCount(size_)) {
        unsigned char* const allocated = n == 0 ? nullptr : new unsigned char[byteCount(n)];
        delete[] bytes_;
        bytes_ = allocated;
    }
    size_ = n;
}

unsigned int ERBitVec::firstTrue() const { return erFirstTrue(bytes_, size_); }
unsigned int ERBitVec::firstFalse() const { return erFirstFalse(bytes_, size_); }

template <class Operation>
ERBitVec& ERBitVec::combine(const ERBitVec& other, Operation operation) {
    KERF_CHECK_ARGUMENT(size_ == other.size_);
    const std::size_t n = byteCount(std::min(size_, other.size_));
    for (std::size_t i = 0; i < n; ++i)
        bytes_[i] = static_cast<unsigned char>(operation(bytes_[i], other.bytes_[i]));
    return *this;
}

ERBitVec& ERBitVec::operator&=(const ERBitVec& other) {
    return combine(other, [](int a, int b) { return a & b; });
}

ERBitVec& ERBitVec::operator^=(const ERBitVec& other) {
    return combine(other, [](int a, int b) { return a ^ b; });
}

ERBitVec& ERBitVec::operator|=(const ERBitVec& other) {
    return combine(other, [](int a, int b) { return a | b; });
}

int ERBitVec::operator==(int value) const {
    return (value > 0 ? firstFalse() : firstTrue()) == none;
}

int ERBitVec::isEqual(const ERBitVec& other) const {
    if (size_ != other.size_) return 0;
    const unsigned int full = nfull();
    if (full != 0 && std::memcmp(bytes_, other.bytes_, full) != 0) return 0;
    return size_ % 8 == 0 || ((bytes_[full] ^ other.bytes_[full]) & lastMask()) == 0;
}

unsigned int ERBitVec::hash() const {
    std::uint32_t h = size_;
    const unsigned int full = nfull();
    for (unsigned int i = 0; i < full; ++i) h = std::rotl(h, 5) ^ bytes_[i];
    if (size_ % 8 != 0) h = std::rotl(h, 5) ^ (bytes_[full] & std::uint32_t{lastMask()});
    return h;
}

void ERBitVec::resize(unsigned int n) {
    if (n > size_ && size_ % 8 != 0) bytes_[nfull()] &= lastMask();
    const std::size_t former = byteCount(size_);
    const std::size_t wanted = byteCount(n);
    if (wanted != former) {
        unsigned char* const resized = wanted == 0 ? nullptr : new unsigned char[wanted];
        std::copy_n(bytes_, std::min(former, wanted), resized);
        if (wanted > former) std::fill(resized + former, resized + wanted, 0);
        delete[] bytes_;
        bytes_ = resized;
    }
    size_ = n;
}

void ERBitVec::saveOn(ERFile& file) const {
    file.Write(static_cast<int>(size_));
    if (size_ != 0) file.Write(bytes_, static_cast<unsigned int>(byteCount(size_)));
}

ERULong ERBitVec::binaryStoreSize() const { return 4 + static_cast<ERULong>(byteCount(size_)); }

void ERBitVec::restoreFrom(ERFile& file) {
    int stored = 0;
    if (!file.Read(stored) || stored < 0) stored = 0;
    unsigned int n = static_cast<unsigned int>(stored);
    if (byteCount(n) > file.remaining()) n = 0;
    allocateFor(n);
    *this = 0;
    if (n != 0) file.Read(bytes_, static_cast<unsigned int>(byteCount(n)));
}

void ERBitVec::printOn(std::ostream& os) const {
    std::string text = "[";
    text.reserve(2 * std::size_t{size_} + 2);
    for (unsigned int i = 0; i < size_; ++i) {
        if (i != 0) text += ' ';
        text += testBit(i) ? '1' : '0';
    }
    text += ']';
    os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void ERBitVec::scanFrom(std::istream& is) {
    ERBitVec room;
    unsigned int read = 0;
    const auto append = [&](int bit) {
        constexpr unsigned int firstRoom = 32;
        if (read == room.size_) room.resize(std::max(firstRoom, doubledRoom(read)));
        room[read++] = bit;
    };
    is >> std::ws;
    const bool bracket = is.peek() == '[';
    if (bracket) is.get();
    bool closed = false;
    while (!closed) {
        const int c = is.peek();
        if (c == '0' || c == '1')
            append(c == '1');
        else if (c == ']' && bracket)
            closed = true;
        else if (c == std::char_traits<char>::eof() || !std::isspace(c))
            break;
        is.get();
    }
    if (bracket ? !closed : read == 0) is.setstate(std::ios::failbit);
    room.resize(read);
    *this = std::move(room);
}

ERBitVec operator&(const ERBitVec& a, const ERBitVec& b) { return ERBitVec(a) &= b; }
ERBitVec operator^(const ERBitVec& a, const ERBitVec& b) { return ERBitVec(a) ^= b; }
ERBitVec operator|(const ERBitVec& a, const ERBitVec& b) { return ERBitVec(a) |= b; }
ERBitVec operator!(const ERBitVec& a) { return a ^ ERBitVec(a.length(), 1); }

unsigned int sum(const ERBitVec& a) {
    const unsigned char* const bytes = a.data();
    const unsigned int full = a.length() / 8;
    unsigned int count = 0;
    unsigned int i = 0;
    for (; full - i >= 8; i += 8)
        count += static_cast<unsigned int>(std::popcount(wordAt(bytes + i)));
    for (unsigned int bit = 8 * i; bit < a.length(); ++bit) count += a[bit] != 0;
    return count;
}

unsigned int erFirstTrue(const unsigned char* bytes, unsigned int n) {
    return firstOther(bytes, n, 0);
}

unsigned int erFirstFalse(const unsigned char* bytes, unsigned int n) {
    return firstOther(bytes, n, 0xFF);
}

std::ostream& operator<<(std::ostream& os, const ERBitVec& a) {
    a.printOn(os);
    return os;
}

std::istream& operator>>(std::istream& is, ERBitVec& a) {
    a.scanFrom(is);
    return is;
}

}  // namespace kerf
