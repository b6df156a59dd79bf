#pragma once
#include <memory>

#include "kerf/core/string.h"

// A small pattern matcher over byte strings.
namespace kerf {

/// A compiled pattern: text in which `*`, `+` and `?` after a character repeat it.
///
///     c*  as many c as there are, given back one by one when the rest does not match
///     c+  the same, at least one
///     c?  one c if it is there; it is not given back
///     \   before b e f n r s t: backspace, escape, form feed, line feed, return, blank, tab;
///         before x: one or two hexadecimal digits; before ^: a control character; else the next
///         character for itself. An escaped `*`, `+` or `?` still repeats.
///
/// `.`, `^`, `$` and `[...]` are compiled but have no special meaning in a match: each matches its
/// own first character, so that a.c finds a dot and not the text abc. Callers rely on it: patterns
/// are plain strings with repetitions.
///
/// Failure: nothing throws. A pattern that cannot be compiled finds nothing, and says why once in
///          status().
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

    /// The position in the whole string where the pattern first matches at `start` or behind it,
    /// and the length of the match; ERCString::npos and 0 when it does not.
    unsigned int index(const ERCString& string, unsigned int* matchLength,
                       unsigned int start = 0) const;

    /// How the last compilation went. Reading it sets it back to ok.
    statVal status();

private:
    static constexpr int patternSize = 128;

    void compile(const char* text);

    std::unique_ptr<unsigned char[]> pattern_;
    statVal status_;
};

/// Compiles the text into `size` bytes at `pattern`, the closing 0 included. What fails leaves the
/// pattern empty.
KERF_EXPORT ERCRegexp::statVal ermakepat(const char* text, unsigned char* pattern, int size);

/// Looks for the first place where a pattern made by ermakepat matches. Returns the end of the
/// match and stores where it begins, or returns null; an empty pattern matches nowhere. In a text
/// of length 0 only the patterns `$`, `^` and `^$` match.
///
/// The time is bounded by a multiple of the product of both lengths, whatever the pattern.
KERF_EXPORT const char* ermatchs(const char* text, unsigned int length,
                                 const unsigned char* pattern, const char** start);

}  // namespace kerf
