#pragma once
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

// How the examples treat the files that they write.

/// Whether both paths lead to one file, which need not exist. An empty path leads to none.
inline bool isSameFile(const std::string& a, const std::string& b) {
    if (a.empty() || b.empty()) return false;
    std::error_code none;
    if (std::filesystem::equivalent(a, b, none)) return true;
    const auto whole = [&](const std::string& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path, none), none);
    };
    return !whole(a).empty() && whole(a) == whole(b);
}

/// False, after a message, when an output would overwrite an input or another output.
inline bool outputsAreFree(const std::vector<std::string>& outputs,
                           const std::vector<std::string>& inputs) {
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        for (const std::string& input : inputs) {
            if (!isSameFile(outputs[i], input)) continue;
            std::cerr << outputs[i] << ": is an input, and is not overwritten\n";
            return false;
        }
        for (std::size_t k = 0; k < i; ++k) {
            if (!isSameFile(outputs[i], outputs[k])) continue;
            std::cerr << outputs[i] << ": every output needs a file of its own\n";
            return false;
        }
    }
    return true;
}

/// False, after a message.
inline bool couldNotBeWritten(const std::string& path) {
    std::cerr << path << ": could not be written\n";
    return false;
}
