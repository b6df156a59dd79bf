#pragma once
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "kerf/platform/config.h"

// The library's byte string, shared until it is written to, and a writable view on a part of one.
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

/// The storage that equal strings share: this header and, in the same allocation, the text.
///
///     offset 0   refs       holders minus one
///            4   length     bytes in use
///            8   capacity   bytes available, the final 0 not counted
///           12   text       capacity + 1 bytes, with a 0 at length
///
/// The count is not atomic: a string and its copies stay in one thread.
struct KERF_EXPORT ERCStringRef {
    /// The count of the one block that all default strings share. It has no room, is never changed,
    /// not even its count, and never released.
    static constexpr std::uint32_t permanent = 0xFFFFFFFFu;

    std::uint32_t refs;
    std::uint32_t length;
    std::uint32_t capacity;

    char* text() { return reinterpret_cast<char*>(this + 1); }
    const char* text() const { return reinterpret_cast<const char*>(this + 1); }

    static ERCStringRef* empty();
    /// A block with one holder, its text not yet written but for the 0 at `length`.
    static ERCStringRef* make(unsigned int capacity, unsigned int length);
    /// A block with one holder and this one's text, cut where it is longer than `capacity`.
    ERCStringRef* clone(unsigned int capacity) const;

    bool isShared() const { return refs != 0; }
    void addReference() {
        if (refs != permanent) ++refs;
    }
    /// Drops one holder and frees the block with the last.
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
/// Positions:  unsigned, from 0; `npos` (all ones) stands for none. A position behind the end
///             counts as the end, a count that reaches behind it as the rest.
/// Text given: a null pointer counts as empty; it may point into the string itself. A count beside
///             an ERCString takes its first bytes, all when it has fewer; a count beside a
///             `const char*` takes so many bytes, zeros included.
/// Capacity:   a change keeps the block when no other string shares it and 0 to 15 bytes stay free
///             after it; otherwise the string moves to a block of adjustCapacity(length) bytes. So
///             a string also gives back room, and `capacity(n)` reserves for the next change only.
/// Failure:    nothing throws but the allocator. A change past 2147483647 bytes is not made.
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
    ERCString(const ERCSubString& part);  ///< a null substring gives the empty string
    ERCString(const ERCString& other) : ref_(other.ref_) { ref_->addReference(); }
    ERCString(ERCString&& other) noexcept : ref_(other.ref_) { other.ref_ = ERCStringRef::empty(); }
    /// A number is neither a character nor a capacity: write ERSize_T(n) or a char.
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
    /// Moves to a block of exactly n bytes, unless the text would not fit with room to spare
    /// (n <= length()). Returns the capacity that results.
    unsigned int capacity(unsigned int n);
    int isNull() const { return ref_->length == 0; }
    int isAscii() const;  ///< 1 when no byte is above 127
    const char* data() const { return ref_->text(); }
    operator const char*() const { return ref_->text(); }

    /// The byte at a position below the length. The writable form unshares the string and is good
    /// until its next change.
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

    /// Puts the text in the place of the n bytes at the position.
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

    /// -1, 0 or 1. Bytes are unsigned; a string that the other begins with is the lesser.
    int compareTo(const char* text, caseCompare mode = exact) const;
    int compareTo(const ERCString& text, caseCompare mode = exact) const;

    int contains(const char* text, caseCompare mode = exact) const;
    int contains(const ERCString& text, caseCompare mode = exact) const;

    /// The first and the last place of c, and the first of any of the given characters. They see
    /// the string up to its first 0.
    unsigned int first(char c) const;
    unsigned int first(const char* anyOf) const;
    unsigned int last(char c) const;

    /// Two different functions of the text, even when it has no lower-case letter.
    unsigned int hash(caseCompare mode = exact) const;
    unsigned int hash(int mode) const { return hash(mode != 0 ? ignoreCase : exact); }

    /// Where the text is first found at `start` or behind it. An empty text is found at `start`
    /// itself, the end included.
    unsigned int index(const char* text, unsigned int start = 0, caseCompare mode = exact) const;
    unsigned int index(const char* text, unsigned int count, unsigned int start,
                       caseCompare mode = exact) const;
    unsigned int index(const ERCString& text, unsigned int start = 0,
                       caseCompare mode = exact) const;
    unsigned int index(const ERCString& text, unsigned int count, unsigned int start,
                       caseCompare mode = exact) const;
    // A mode behind the text is no start.
    unsigned int index(const char* text, caseCompare mode) const { return index(text, 0u, mode); }
    unsigned int index(const ERCString& text, caseCompare mode) const {
        return index(text, 0u, mode);
    }
    /// Where the pattern first matches, see ERCRegexp::index. A null matchLength is left out.
    unsigned int index(const ERCRegexp& pattern, unsigned int* matchLength = nullptr,
                       unsigned int start = 0) const;
    // A template, so that a literal 0 is a start, and a text with a start is no pattern.
    template <std::same_as<ERCRegexp> Pattern>
    unsigned int index(const Pattern& pattern, std::integral auto start) const {
        return index(pattern, nullptr, static_cast<unsigned int>(start));
    }

    /// The n bytes at a position, fewer at the end; null behind it.
    ERCSubString operator()(unsigned int position, unsigned int n);
    const ERCSubString operator()(unsigned int position, unsigned int n) const;
    /// What the pattern first matches, or null.
    ERCSubString operator()(const ERCRegexp& pattern, unsigned int start = 0);
    const ERCSubString operator()(const ERCRegexp& pattern, unsigned int start = 0) const;
    /// What is left when the characters c at the chosen sides are not looked at; null when nothing
    /// is.
    ERCSubString strip(stripType type = trailing, char c = ' ');
    const ERCSubString strip(stripType type = trailing, char c = ' ') const;
    /// The first place of the text, or null.
    ERCSubString subString(const char* text, unsigned int start = 0, caseCompare mode = exact);
    const ERCSubString subString(const char* text, unsigned int start = 0,
                                 caseCompare mode = exact) const;
    ERCSubString subString(const char* text, caseCompare mode);
    const ERCSubString subString(const char* text, caseCompare mode) const;

    ERCString copy() const;  ///< one that shares nothing

    /// Each clears the string, then reads: all that is left; to a delimiter, which is taken but not
    /// stored; to a 0; to the end of the line, white space skipped first when asked; a word between
    /// white space, which stays in the stream behind it. A last field without its delimiter counts.
    /// The stream fails when there was nothing to read.
    std::istream& readFile(std::istream& in);
    std::istream& readToDelim(std::istream& in, char delimiter = '\n');
    std::istream& readString(std::istream& in);
    std::istream& readLine(std::istream& in, int skipWhite = 1);
    std::istream& readToken(std::istream& in);

    /// The length as an int, then the bytes without the final 0.
    void saveOn(ERFile& file) const;
    /// A length that is negative or more than the file still holds reads as 0; bytes that cannot be
    /// read leave the string empty.
    void restoreFrom(ERFile& file);
    ERULong binaryStoreSize() const { return 4 + length(); }

    /// The tuning of capacities is fixed at 15: the setters answer their argument and change
    /// nothing.
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
    ERCStringRef* openGap(unsigned int position, unsigned int n, unsigned int size,
                          const char* text) const;
    ERCString& insertCharacters(unsigned int position, char c, unsigned int count);
    void clear(unsigned int room);
    void takeRead(const char* text, std::size_t count);
    ERCSubString view(unsigned int position, unsigned int n) const;

    ERCStringRef* ref_;
};

/// A view on a part of a string, which must live as long. A null view, the answer of a search that
/// found nothing, is empty and cannot be written. Views of a constant string come as constant.
class KERF_EXPORT ERCSubString {
public:
    ERCSubString(const ERCSubString&) = default;

    /// Put the text in the place of the viewed part, in the string itself; the view is then on that
    /// text. Nothing on a null view.
    ERCSubString& operator=(const ERCString& text);
    ERCSubString& operator=(const char* text);
    ERCSubString& operator=(const ERCSubString& text);

    int operator!() const { return isNull(); }
    int isNull() const { return begin_ == ERCString::npos; }
    unsigned int start() const { return begin_; }
    /// The bytes in view: fewer than at first when the string has been cut since.
    unsigned int length() const;
    /// The first byte of the part; no 0 ends it. A null pointer for a null view.
    const char* data() const;

    /// The byte at a position of the part; the writable form unshares the string.
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
    unsigned int begin_;  ///< npos for a null view
    unsigned int extent_;
};

// Comparison goes by the bytes, as compareTo does; without these the pointers would be compared.
KERF_EXPORT bool operator==(const ERCString& a, const ERCString& b);
KERF_EXPORT bool operator==(const ERCString& a, const char* b);
KERF_EXPORT std::strong_ordering operator<=>(const ERCString& a, const ERCString& b);
KERF_EXPORT std::strong_ordering operator<=>(const ERCString& a, const char* b);

KERF_EXPORT ERCString operator+(const ERCString& a, const ERCString& b);
KERF_EXPORT ERCString operator+(const ERCString& a, const char* b);
KERF_EXPORT ERCString operator+(const char* a, const ERCString& b);

KERF_EXPORT std::ostream& operator<<(std::ostream& out, const ERCString& text);
KERF_EXPORT std::ostream& operator<<(std::ostream& out, const ERCSubString& text);
KERF_EXPORT std::istream& operator>>(std::istream& in, ERCString& text);  ///< a word

KERF_EXPORT ERFile& operator<<(ERFile& file, const ERCString& text);
KERF_EXPORT ERFile& operator>>(ERFile& file, ERCString& text);

}  // namespace kerf
