#pragma once
#include <charconv>
#include <cmath>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>

// What the readers of the examples share: numbers, and how they are printed, and what is said of a
// broken file.

/// The whole text as a number, whatever the locale; false when it is none or out of range.
template <class Number>
bool parse(std::string_view text, Number& number) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end;
}

/// A positive length; false for any other text.
inline bool readLength(std::string_view text, double& length) {
    return parse(text, length) && std::isfinite(length) && length > 0.0;
}

/// What would print as a negative zero, with digits down to the step, prints as a zero.
inline double shown(double value, double step) { return std::fabs(value) < step / 2 ? 0.0 : value; }

/// The text in quotes: its first characters, and nothing that a terminal would obey.
inline std::string inQuotes(std::string_view text) {
    constexpr std::size_t longest = 40;
    std::string shown = "\"";
    for (const char c : text.substr(0, longest)) shown += c >= ' ' && c <= '~' ? c : '?';
    return shown += text.size() > longest ? "...\"" : "\"";
}

/// What is wrong with a file, and in which line; no line for the file as a whole.
struct Complaint {
    unsigned int line = 0;
    std::string text;

    /// "FILE:LINE: what is wrong" on standard error.
    void print(const std::string& path) const {
        std::cerr << path << ":";
        if (line != 0) std::cerr << line << ":";
        std::cerr << " " << text << "\n";
    }
};
