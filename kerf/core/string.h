#pragma once
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "kerf/core/store_size.h"
#include "kerf/platform/config.h"
#include "kerf/platform/standard_text.h"

// A byte string whose copies share their storage until one is changed, and a writable view of a part
// of one.
namespace kerf {

class ERCRegexp;
class ERCString;
class ERCSubString;
class ERFile;

/// A number of bytes, as a type of its own: a capacity cannot be taken for a character.
class ERSize_T {
public:
    constexpr explicit ERSize_T(unsigned int bytes) : bytes_(bytes) {}
    constexpr operator unsigned int() const { return bytes_; }

private:
    unsigned int bytes_;
};

/// The block that copies of a string share: this header and, in the same allocation, the text.
///
///     offset 0   refs       strings that hold the block, minus one
///            4   length     bytes in use
///            8   capacity   bytes available, the final 0 not counted
///           12   text       capacity + 1 bytes, with a 0 at length
///
/// Threads: the count is not atomic: a string and its copies stay in one thread.
struct KERF_EXPORT ERCStringRef {
    /// The count of the block that all default strings share. That block has no room, is never freed,
    /// and its count never changes.
    static constexpr std::uint32_t permanent = 0xFFFFFFFFu;

    std::uint32_t refs;
    std::uint32_t length;
    std::uint32_t capacity;

    char* text() { return reinterpret_cast<char*>(this + 1); }
    const char* text() const { return reinterpret_cast<const char*>(this + 1); }

    static ERCStringRef* empty();
    /// A block held once. Of its text only the 0 at `length` is written.
    static ERCStringRef* make(unsigned int capacity, unsigned int length);
    /// A block held once with this block's text, cut to `capacity` bytes.
    ERCStringRef* clone(unsigned int capacity) const;

    bool isShared() const { return refs != 0; }
    void addReference() {
        if (refs != permanent) ++refs;
    }
    /// Drops one reference; the last one frees the block.
    void release() {
        if (refs == 0)
            destroy();
        else if (refs != permanent)
            --refs;
    }
    void setLength(unsigned int n) {
        length = n;
        text()[n] = '\0';
    }

    unsigned int hash() const;
    unsigned int hashFoldCase() const;

private:
    void destroy();
};

/// A string of bytes, zeros included, with copy on write.
///
/// A change keeps the block when no other string shares it and 0 to 15 of its bytes stay free.
/// Otherwise the string moves to a block of adjustCapacity(length) bytes. So a string also gives room
/// back, and `capacity(n)` reserves room for the next change only.
/// Parameter: positions count from 0; `npos` (all ones) means none. A position past the end counts as
///            the end, and a count that reaches past it as the rest. A null text counts as empty. A
///            text may be a part of the string itself. With an ERCString, a count takes its first
///            bytes, or all when there are fewer; with a `const char*` it takes that many bytes,
///            zeros included.
/// Failure:   only the allocator throws. A change that would make more than 2147483647 bytes does
///            nothing.
class KERF_EXPORT ERCString {
public:
    enum caseCompare { exact = 0, ignoreCase = 1 };
    enum stripType { leading = 1, trailing = 2, both = 3 };

    static constexpr unsigned int npos = 0xFFFFFFFFu;

    ERCString() : ref_(ERCStringRef::empty()) {}
    explicit ERCString(ERSize_T capacity);  ///< empty, with exactly this capacity
    ERCString(char c);
    ERCString(char c, unsigned int count);
    ERCString(const char* text);
    ERCString(const char* text, unsigned int length);
    ERCString(const StandardText auto& text)
        : ERCString(text.data(), static_cast<unsigned int>(text.size())) {}
    ERCString(const ERCSubString& part);  ///< a null substring gives the empty string
    ERCString(const ERCString& other) : ref_(other.ref_) { ref_->addReference(); }
    ERCString(ERCString&& other) noexcept : ref_(other.ref_) { other.ref_ = ERCStringRef::empty(); }
    /// Deleted: a number is neither a character nor a capacity. Write a char or ERSize_T(n).
    template <std::integral T>
    requires(!std::same_as<T, char>) ERCString(T)
    = delete;
    ~ERCString() { ref_->release(); }

    ERCString& operator=(const ERCString& other);
    ERCString& operator=(ERCString&& other) noexcept;
    ERCString& operator=(const char* text);
    ERCString& operator=(const ERCSubString& part);

    /// Builds `count` empty strings in raw storage.
    static void constructElements(ERCString* storage, int count);

    unsigned int length() const { return ref_->length; }
    unsigned int capacity() const { return ref_->capacity; }
    /// Moves to a block of exactly n bytes when n is greater than the length. Returns the capacity that
    /// results.
    unsigned int capacity(unsigned int n);
    int isNull() const { return ref_->length == 0; }
    int isAscii() const;  ///< 1 when no byte is above 127
    const char* data() const { return ref_->text(); }
    operator const char*() const { return ref_->text(); }

    /// The byte at a position below the length. The writable form gives the string a block of its own;
    /// the reference is valid until the string is changed or copied.
    char operator[](std::integral auto position) const {
        return (*this)(static_cast<unsigned int>(position));
    }
    char& operator[](std::integral auto position) {
        return (*this)(static_cast<unsigned int>(position));
    }
    char operator()(unsigned int position) const {
        KERF_CHECK_ARGUMENT(position < length());
        return ref_->text()[position];
    }
    char& operator()(unsigned int position) {
        KERF_CHECK_ARGUMENT(position < length());
        unshare();
        return ref_->text()[position];
    }

    ERCString& append(char c, unsigned int count = 1);
    ERCString& append(const char* text);
    ERCString& append(const char* text, unsigned int count);
    ERCString& append(const ERCString& text);
    ERCString& append(const ERCString& text, unsigned int count);
    ERCString& operator+=(const char* text) { return append(text); }
    ERCString& operator+=(const ERCString& text) { return append(text); }

    ERCString& prepend(char c, unsigned int count = 1);
    ERCString& prepend(const char* text);
    ERCString& prepend(const char* text, unsigned int count);
    ERCString& prepend(const ERCString& text);
    ERCString& prepend(const ERCString& text, unsigned int count);

    ERCString& insert(unsigned int position, const char* text);
    ERCString& insert(unsigned int position, const char* text, unsigned int count);
    ERCString& insert(unsigned int position, const ERCString& text);
    ERCString& insert(unsigned int position, const ERCString& text, unsigned int count);

    /// Replaces the n bytes at the position by the text.
    ERCString& replace(unsigned int position, unsigned int n, const char* text);
    ERCString& replace(unsigned int position, unsigned int n, const char* text, unsigned int count);
    ERCString& replace(unsigned int position, unsigned int n, const ERCString& text);
    ERCString& replace(unsigned int position, unsigned int n, const ERCString& text,
                       unsigned int count);

    ERCString& remove(unsigned int position);  ///< to the end
    ERCString& remove(unsigned int position, unsigned int n);
    void resize(unsigned int n);  ///< cuts, or pads with blanks
    void toLower();
    void toUpper();

    /// -1, 0 or 1. Bytes compare as unsigned; of a string and a longer one that begins with it, the
    /// shorter is less.
    int compareTo(const char* text, caseCompare mode = exact) const;
    int compareTo(const ERCString& text, caseCompare mode = exact) const;

    int contains(const char* text, caseCompare mode = exact) const;
    int contains(const ERCString& text, caseCompare mode = exact) const;

    /// The position of the first c, of the first of any of the given characters, and of the last c.
    /// Kept: only the bytes before the first 0 of the string are searched.
    unsigned int first(char c) const;
    unsigned int first(const char* anyOf) const;
    unsigned int last(char c) const;

    /// The two modes are different functions: they differ even for a text without letters.
    unsigned int hash(caseCompare mode = exact) const;
    unsigned int hash(int mode) const { return hash(mode != 0 ? ignoreCase : exact); }

    /// The position of the first occurrence of the text at `start` or after it. An empty text is found
    /// at `start`, which may be the end.
    unsigned int index(const char* text, unsigned int start = 0, caseCompare mode = exact) const;
    unsigned int index(const char* text, unsigned int count, unsigned int start,
                       caseCompare mode = exact) const;
    unsigned int index(const ERCString& text, unsigned int start = 0,
                       caseCompare mode = exact) const;
    unsigned int index(const ERCString& text, unsigned int count, unsigned int start,
                       caseCompare mode = exact) const;
    // For calls with a mode after the text, which would be taken for a start.
    unsigned int index(const char* text, caseCompare mode) const { return index(text, 0u, mode); }
    unsigned int index(const ERCString& text, caseCompare mode) const {
        return index(text, 0u, mode);
    }
    /// The position of the first match, as by ERCRegexp::index; matchLength may be null.
    unsigned int index(const ERCRegexp& pattern, unsigned int* matchLength = nullptr,
                       unsigned int start = 0) const;
    // A template, so that a literal 0 is taken for a start and not for a null pointer, and so that a
    // text is not converted to a pattern.
    template <std::same_as<ERCRegexp> Pattern>
    unsigned int index(const Pattern& pattern, std::integral auto start) const {
        return index(pattern, nullptr, static_cast<unsigned int>(start));
    }

    /// The n bytes at a position, fewer at the end; null past it.
    ERCSubString operator()(unsigned int position, unsigned int n);
    const ERCSubString operator()(unsigned int position, unsigned int n) const;
    /// What the pattern first matches, or null.
    ERCSubString operator()(const ERCRegexp& pattern, unsigned int start = 0);
    const ERCSubString operator()(const ERCRegexp& pattern, unsigned int start = 0) const;
    /// The string without the characters c at the chosen sides; null when nothing is left.
    ERCSubString strip(stripType type = trailing, char c = ' ');
    const ERCSubString strip(stripType type = trailing, char c = ' ') const;
    /// The first occurrence of the text, or null.
    ERCSubString subString(const char* text, unsigned int start = 0, caseCompare mode = exact);
    const ERCSubString subString(const char* text, unsigned int start = 0,
                                 caseCompare mode = exact) const;
    ERCSubString subString(const char* text, caseCompare mode);
    const ERCSubString subString(const char* text, caseCompare mode) const;

    ERCString copy() const;  ///< a copy with a block of its own

    // Each of these clears the string and reads. A delimiter is taken but not stored; the end of the
    // stream stands for a missing one. The stream fails when there was nothing to read.
    std::istream& readFile(std::istream& in);  ///< to the end of the stream
    std::istream& readToDelim(std::istream& in, char delimiter = '\n');
    std::istream& readString(std::istream& in);  ///< to a 0
    /// To the end of the line, after skipping white space when asked to.
    std::istream& readLine(std::istream& in, int skipWhite = 1);
    /// A word, after skipping white space; the white space after it stays in the stream. The width of
    /// the stream is ignored.
    std::istream& readToken(std::istream& in);

    /// The length as an int, then the bytes without the final 0.
    void saveOn(ERFile& file) const;
    /// Damage: a length that is negative or more than the file still holds reads as 0; when the bytes
    ///         cannot be read, the string is empty.
    void restoreFrom(ERFile& file);
    ERULong binaryStoreSize() const { return storeSizeSum(4, length()); }

    /// Kept: the setters, the three that take a number, return it and change nothing. The values are
    ///       fixed at 15.
    static unsigned int getInitialCapacity() { return increment; }
    static unsigned int getMaxWaste() { return increment; }
    static unsigned int getResizeIncrement() { return increment; }
    static unsigned int initialCapacity(unsigned int n = increment) { return n; }
    static unsigned int maxWaste(unsigned int n = increment) { return n; }
    static unsigned int resizeIncrement(unsigned int n = increment) { return n; }

protected:
    /// 15, or the next multiple of 15 at or above n.
    static unsigned int adjustCapacity(unsigned int n);

private:
    friend class ERCSubString;

    static constexpr unsigned int increment = 15;
    static constexpr unsigned int maximumLength = 0x7FFFFFFFu;

    void unshare();
    void hold(ERCStringRef* block);
    ERCStringRef* blockForEdit(unsigned int position, unsigned int n, unsigned int size,
                               const char* text) const;
    ERCString& insertCharacters(unsigned int position, char c, unsigned int count);
    void clear(unsigned int room);
    void takeRead(const char* text, std::size_t read);
    ERCSubString view(unsigned int position, unsigned int n) const;

    ERCStringRef* ref_;
};

/// A view of a part of a string. A search that finds nothing returns a null view, which is empty and
/// cannot be written. The view of a constant string is constant.
/// Lifetime: the string must live as long as the view.
class KERF_EXPORT ERCSubString {
public:
    ERCSubString(const ERCSubString&) = default;

    /// Replace the viewed part by the text, in the string itself; the view is then of that text. A null
    /// view does nothing.
    ERCSubString& operator=(const ERCString& text);
    ERCSubString& operator=(const char* text);
    ERCSubString& operator=(const ERCSubString& text);

    int operator!() const { return isNull(); }
    int isNull() const { return begin_ == ERCString::npos; }
    unsigned int start() const { return begin_; }
    /// The number of bytes viewed; the part that a shorter string has lost does not count.
    unsigned int length() const;
    /// The first byte of the part, which has no 0 at its end; null for a null view.
    const char* data() const;

    /// The byte at a position of the part; the writable form gives the string a block of its own.
    char operator[](std::integral auto position) const {
        return (*this)(static_cast<unsigned int>(position));
    }
    char& operator[](std::integral auto position) {
        return (*this)(static_cast<unsigned int>(position));
    }
    char operator()(unsigned int position) const {
        KERF_CHECK_ARGUMENT(position < length());
        return str_->data()[begin_ + position];
    }
    char& operator()(unsigned int position) {
        KERF_CHECK_ARGUMENT(position < length());
        return (*str_)(begin_ + position);
    }

    void toLower();
    void toUpper();

private:
    friend class ERCString;
    ERCSubString(ERCString* string, unsigned int position, unsigned int n)
        : str_(string), begin_(position), extent_(n) {}

    void replaceBy(const char* text, unsigned int count);

    ERCString* str_;
    unsigned int begin_;  // npos for a null view
    unsigned int extent_;
};

// These compare the bytes, as compareTo does. Without them the pointers would be compared.
KERF_EXPORT bool operator==(const ERCString& a, const ERCString& b);
KERF_EXPORT bool operator==(const ERCString& a, const char* b);
KERF_EXPORT std::strong_ordering operator<=>(const ERCString& a, const ERCString& b);
KERF_EXPORT std::strong_ordering operator<=>(const ERCString& a, const char* b);

KERF_EXPORT ERCString operator+(const ERCString& a, const ERCString& b);
KERF_EXPORT ERCString operator+(const ERCString& a, const char* b);
KERF_EXPORT ERCString operator+(const char* a, const ERCString& b);

KERF_EXPORT std::ostream& operator<<(std::ostream& out, const ERCString& text);
KERF_EXPORT std::ostream& operator<<(std::ostream& out, const ERCSubString& text);
KERF_EXPORT std::istream& operator>>(std::istream& in, ERCString& text);  ///< as readToken

KERF_EXPORT ERFile& operator<<(ERFile& file, const ERCString& text);
KERF_EXPORT ERFile& operator>>(ERFile& file, ERCString& text);

}  // namespace kerf
