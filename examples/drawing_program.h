#pragma once
#include <cstddef>
#include <map>
#include <string>

#include "examples/output_files.h"
#include "examples/text_input.h"

// What the programs that read a drawing share: options, paths, and how numbers are printed.

/// "2 ARC, 9 LINE"
inline std::string listOf(const std::map<std::string, std::size_t>& counts) {
    std::string text;
    for (const auto& [name, count] : counts)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
    return text.empty() ? "none" : text;
}
