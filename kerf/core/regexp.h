#pragma once
#include <memory>

#include "kerf/core/string.h"

// A small pattern matcher over byte strings.
namespace kerf {

/// A compiled pattern: text in which `*`, `+` and `?` after a character repeat it.
///
///     c*  as many c as there are, fewer when the rest of the pattern does not match after them
///     c+  the same, at least one
///     c?  one c if it is there; it stays taken even when the rest does not match after it
///     \   before b e f n r s t: backspace, escape, form feed, line feed, return, blank, tab;
///         before x: one or two hexadecimal digits; before ^: a control character; else the next
///         character for itself. An escaped `*`, `+` or `?` still repeats.
///
/// Kept:    `.`, `^`, `$` and `[...]` are compiled, but match only their own first character: `a.c`
///          finds the text a.c and not abc. Only the repetitions have a meaning.
/// Failure: nothing throws. A pattern that cannot be compiled finds nothing; status() returns the
///          reason once.
class KERF_EXPORT ERCRegexp {
public:
    enum statVal {
        ok = 0,
        illegal = 1,    ///< empty, or begins with a repetition
        noPattern = 2,  ///< no place to compile to
        tooLong = 3     ///< more than 127 bytes compiled, or an open bracket
    };

    ERCRegexp(const char* text);
    ERCRegexp(const ERCString& text);
    ERCRegexp(const ERCRegexp& other);
    ~ERCRegexp();

    ERCRegexp& operator=(const char* text);
    ERCRegexp& operator=(const ERCString& text);
    ERCRegexp& operator=(const ERCRegexp& other);

    /// The position in the whole string where the pattern first matches, at `start` or after it, and
    /// the length of the match; ERCString::npos and 0 when it does not match.
    unsigned int index(const ERCString& string, unsigned int* matchLength,
                       unsigned int start = 0) const;

    /// The outcome of the last compilation. Reading it sets it back to ok.
    statVal status();

private:
    static constexpr int patternSize = 128;

    void compile(const char* text);

    std::unique_ptr<unsigned char[]> pattern_;
    statVal status_;
};

/// Compiles the text into the `size` bytes at `pattern`, with a 0 at its end.
/// Failure: the pattern is left empty.
KERF_EXPORT ERCRegexp::statVal ermakepat(const char* text, unsigned char* pattern, int size);

/// Searches for the first place where a pattern made by ermakepat matches. Returns the end of the match
/// and stores its beginning in `start`, or returns null; an empty pattern matches nowhere. The time is
/// bounded by a multiple of the product of both lengths, whatever the pattern.
/// Kept: in a text of length 0 only the patterns `$`, `^` and `^$` match; `a*` does not.
KERF_EXPORT const char* ermatchs(const char* text, unsigned int length,
                                 const unsigned char* pattern, const char** start);

}  // namespace kerf
