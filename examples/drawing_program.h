#pragma once
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <system_error>

#include "examples/dxf_reader.h"

// What the programs that read a drawing share: options, paths, and how numbers are printed.

/// A positive length; false for any other text.
inline bool readLength(std::string_view text, double& length) {
    return dxf::parse(text, length) && std::isfinite(length) && length > 0.0;
}

/// Whether both paths lead to one file, which need not exist.
inline bool isSameFile(const std::string& a, const std::string& b) {
    if (a.empty() || b.empty()) return false;
    std::error_code none;
    if (std::filesystem::equivalent(a, b, none)) return true;
    const auto whole = [&](const std::string& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path, none), none);
    };
    return !whole(a).empty() && whole(a) == whole(b);
}

/// What would print as a negative zero prints as a zero.
inline double shown(double value, double step) { return std::fabs(value) < step / 2 ? 0.0 : value; }

/// "2 ARC, 9 LINE"
inline std::string listOf(const std::map<std::string, std::size_t>& counts) {
    std::string text;
    for (const auto& [name, count] : counts)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
    return text.empty() ? "none" : text;
}
