#pragma once
#include <array>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "examples/figures.h"
#include "examples/points_file.h"

/// The points of a file, "x y z" a line, and the figures in its comments (figures.h). False, after a message,
/// unless there are three or more, all finite.
inline bool readMeasuredPoints(const std::string& path, std::vector<kerf::ERPoint3D>& points,
                               std::vector<Figure>& figures) {
    std::vector<std::array<double, 3>> rows;
    const auto onComment = [&](unsigned int number, const std::string& line) {
        return readFigure(line, figures) || badLine(path, number, "not a figure", line);
    };
    if (!readRows(path, "a point", rows, onComment)) return false;
    for (const auto& [x, y, z] : rows) {
        points.emplace_back(x, y, z);
        if (std::isfinite(x) && std::isfinite(y) && std::isfinite(z)) continue;
        std::cerr << path << ": point " << points.size() << " is not finite\n";
        return false;
    }
    if (points.size() >= 3) return true;
    std::cerr << path << ": fewer than three points\n";
    return false;
}
