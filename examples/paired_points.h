#pragma once
#include <array>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include "examples/figures.h"
#include "examples/points_file.h"
#include "kerf/processing/best_fit.h"
#include "kerf/values/transformation_3d.h"

// Measured points with their nominal partners, and the motion that lays one on the other.

struct Pairs {
    std::vector<kerf::ERPoint3D> measured, nominal;
    std::vector<Figure> figures;
};

/// A line of the file is "x y z X Y Z"; its comments may hold figures (figures.h). False after a message.
inline bool readPairs(const std::string& path, Pairs& pairs) {
    std::vector<std::array<double, 6>> rows;
    const auto onComment = [&](unsigned int number, const std::string& line) {
        return readFigure(line, pairs.figures) || badLine(path, number, "not a figure", line);
    };
    if (!readRows(path, "a pair of points", rows, onComment)) return false;
    for (const auto& [x, y, z, X, Y, Z] : rows) {
        pairs.measured.emplace_back(x, y, z);
        pairs.nominal.emplace_back(X, Y, Z);
    }
    return true;
}

/// False, after a message with the name of the solver, when it finds no motion.
inline bool solveWith(kerf::ERPointSetBestFitSolverBase& solver, const char* name,
                      const Pairs& pairs, kerf::ERPmIsometrie3D& motion) {
    solver.reset(static_cast<int>(pairs.measured.size()));
    for (std::size_t i = 0; i < pairs.measured.size(); ++i)
        solver.add_point(pairs.measured[i], pairs.nominal[i]);
    const kerf::BSTF_RESULT result = solver.solve(motion);
    if (result == kerf::BestFitDone && std::isfinite(solver.get_deviation())) return true;
    std::cerr << "the " << name << " solver returns " << result
              << (result == kerf::BestFitTooFewPoints      ? ": fewer than three pairs"
                  : result == kerf::BestFitNoStartingFrame ? ": the points coincide or lie in line"
                  : result == kerf::BestFitDone            ? ": the numbers are out of range"
                                                           : ": it does not converge")
              << "\n";
    return false;
}
