#include "kerf/platform/message_format.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace kerf {

namespace {

constexpr int largestWidth = 512;

// The parts of a printf format without its percent sign.
struct InsertFormat {
    std::string flags;
    int width = 0;
    int precision = -1;  // -1: not given
    char conversion = '\0';
};

class FormatReader {
public:
    explicit FormatReader(std::string_view text) : rest_(text) {}

    std::optional<InsertFormat> read() {
        InsertFormat format;
        while (!rest_.empty() && std::string_view("-+ #0").find(rest_.front()) != rest_.npos) {
            if (format.flags.find(rest_.front()) == std::string::npos)
                format.flags += rest_.front();
            rest_.remove_prefix(1);
        }
        format.width = number();
        if (take(".")) format.precision = number();
        for (const char* length : {"I64", "I32", "hh", "h", "ll", "l", "L", "w"})
            if (take(length)) break;
        if (rest_.size() != 1) return std::nullopt;
        format.conversion = rest_.front();
        return format;
    }

private:
    bool take(std::string_view text) {
        if (rest_.substr(0, text.size()) != text) return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    int number() {
        int value = 0;
        while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
            value = std::min(value * 10 + (rest_.front() - '0'), largestWidth);
            rest_.remove_prefix(1);
        }
        return value;
    }

    std::string_view rest_;
};

bool isOneOf(std::string_view set, char c) { return set.find(c) != set.npos; }

// Prints through a format that is put together anew from checked parts, so that it suits the
// value's type.
template <class Number>
std::string printNumber(InsertFormat format, std::string_view suited, Number value) {
    if (!isOneOf(suited, format.conversion)) return {};
    // The standard gives # no meaning for decimal numbers and characters.
    if (isOneOf("diuc", format.conversion)) std::erase(format.flags, '#');
    if (format.conversion == 'c') format.flags = isOneOf(format.flags, '-') ? "-" : "";
    const bool precise = format.precision >= 0 && format.conversion != 'c';
    const std::string pattern =
        "%" + format.flags + (precise ? "*.*" : "*") + std::string(1, format.conversion);
    char text[2 * largestWidth];
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
    const int length = precise
                           ? std::snprintf(text, sizeof text, pattern.c_str(), format.width,
                                           format.precision, value)
                           : std::snprintf(text, sizeof text, pattern.c_str(), format.width, value);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
    if (length < 0) return {};
    return std::string(text,
                       std::min<std::size_t>(static_cast<std::size_t>(length), sizeof text - 1));
}

std::string print(const InsertFormat& format, int value) {
    return printNumber(format, "diuxXoc", value);
}

std::string print(const InsertFormat& format, double value) {
    return printNumber(format, "eEfFgGaA", value);
}

std::string print(const InsertFormat& format, const std::string& value) {
    if (format.conversion != 's') return {};
    std::string text = value;
    if (format.precision >= 0)
        text.resize(std::min<std::size_t>(text.size(), static_cast<std::size_t>(format.precision)));
    const std::size_t width = static_cast<std::size_t>(format.width);
    if (text.size() < width)
        text.insert(isOneOf(format.flags, '-') ? text.size() : 0, width - text.size(), ' ');
    return text;
}

char defaultConversion(const MessageInsert& insert) { return "dgs"[insert.index()]; }

std::string printInsert(const MessageInsert& insert, std::string_view formatText) {
    std::optional<InsertFormat> format;
    if (formatText.empty()) {
        format.emplace();
        format->conversion = defaultConversion(insert);
    } else {
        format = FormatReader(formatText).read();
    }
    if (!format) return {};
    return std::visit([&](const auto& value) { return print(*format, value); }, insert);
}

}  // namespace

std::string formatMessage(std::string_view pattern, const std::vector<MessageInsert>& inserts) {
    std::string text;
    while (!pattern.empty()) {
        const std::size_t percent = pattern.find('%');
        text += pattern.substr(0, percent);
        if (percent == pattern.npos || percent + 1 == pattern.size()) break;
        const char c = pattern[percent + 1];
        pattern.remove_prefix(percent + 2);
        if (c == '0') break;
        if (c == 'n') {
            text += '\n';
        } else if (c >= '1' && c <= '9') {
            std::string_view format;
            const std::size_t close =
                pattern.substr(0, 1) == "!" ? pattern.find('!', 1) : pattern.npos;
            if (close != pattern.npos) {
                format = pattern.substr(1, close - 1);
                pattern.remove_prefix(close + 1);
            }
            const std::size_t number = static_cast<std::size_t>(c - '1');
            if (number < inserts.size()) text += printInsert(inserts[number], format);
        } else {
            text += c;
        }
    }
    return text;
}

}  // namespace kerf
