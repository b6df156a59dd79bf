#pragma once
#include <unistd.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "kerf/values/point.h"

// What the examples share: text files of points, and the progress shown on a terminal.

/// Drawn over itself on a terminal, silent elsewhere.
class Progress {
public:
    Progress(const char* task, std::size_t count) : title_(task), total_(count) {}
    ~Progress() {
        if (onTerminal_) std::fputs("\r\033[K", stderr);
    }
    void show(std::size_t done) const {
        if (!onTerminal_ || (done % 16 != 0 && done != total_)) return;
        constexpr std::size_t width = 40;
        const std::size_t filled = total_ == 0 ? width : done * width / total_;
        std::fprintf(stderr, "\r%s [%s%s] %zu/%zu", title_, std::string(filled, '#').c_str(),
                     std::string(width - filled, ' ').c_str(), done, total_);
    }

private:
    const char* title_;
    std::size_t total_;
    bool onTerminal_ = isatty(2) != 0;
};

/// False, after a message that names the file and the line.
inline bool badLine(const std::string& path, unsigned int number, std::string_view complaint,
                    const std::string& line) {
    std::cerr << path << ":" << number << ": " << complaint << ": " << line << "\n";
    return false;
}

/// Appends the numbers of a file that holds `count` of them on each line. Empty lines are passed
/// over; a line that starts with # goes to onComment(number, line), which returns false to stop.
/// False, and the offending line on standard error, when the file is not of that form; `expected`
/// says in that message what a line should be.
template <std::size_t count, class OnComment>
bool readRows(const std::string& path, std::string_view expected,
              std::vector<std::array<double, count>>& rows, OnComment&& onComment) {
    std::ifstream input(path);
    if (!input) {
        std::cerr << path << ": cannot be read\n";
        return false;
    }
    std::string line;
    for (unsigned int number = 1; std::getline(input, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        if (line[0] == '#') {
            if (!onComment(number, line)) return false;
            continue;
        }
        std::istringstream fields(line);
        std::array<double, count> row{};
        for (double& value : row) fields >> value;
        std::string rest;
        if (!fields || fields >> rest)
            return badLine(path, number, std::string("not ").append(expected), line);
        rows.push_back(row);
    }
    if (input.bad()) {
        std::cerr << path << ": cannot be read to its end\n";
        return false;
    }
    return true;
}

inline bool sameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

inline bool sameBits(const kerf::ERPoint3D& a, const kerf::ERPoint3D& b) {
    return sameBits(a.x(), b.x()) && sameBits(a.y(), b.y()) && sameBits(a.z(), b.z());
}
