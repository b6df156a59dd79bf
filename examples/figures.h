#pragma once
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

// Figures that stand in the comments of a file of points and that a program must find again, to the
// last digit written: "# SOURCE rms FIGURE", "# SOURCE largest FIGURE", and the same with
// "below FIGURE".

struct Figure {
    std::string source;
    bool isLargest = false;  // of the deviations, else their root mean square
    bool isBound = false;
    std::string text;  // as written: its digits say how exact it is

    double value() const { return std::strtod(text.c_str(), nullptr); }
    int decimals() const {
        const std::size_t point = text.find('.');
        return point == std::string::npos ? 0 : static_cast<int>(text.size() - point - 1);
    }
    bool isMetBy(double found) const {
        if (isBound) return found < value();
        return std::fabs(found - value()) <= 0.5 * std::pow(10.0, -decimals());
    }
};

/// False when the comment means to be a figure and has none.
inline bool readFigure(const std::string& comment, std::vector<Figure>& figures) {
    std::istringstream words(comment.substr(1));
    Figure figure;
    std::string quantity;
    words >> figure.source >> quantity;
    if (quantity != "rms" && quantity != "largest") return true;
    figure.isLargest = quantity == "largest";
    words >> figure.text;
    if (figure.text == "below") {
        figure.isBound = true;
        words >> figure.text;
    }
    std::string rest;
    if (!words || words >> rest ||
        figure.text.find_first_not_of("0123456789.") != std::string::npos)
        return false;
    figures.push_back(figure);
    return true;
}

/// Prints each figure beside what was found. False, after a message, when one is not met.
inline bool meetsFigures(const std::vector<Figure>& figures, double rms, double largest) {
    bool allMet = true;
    for (const Figure& figure : figures) {
        const double own = figure.isLargest ? largest : rms;
        const bool met = figure.isMetBy(own);
        std::printf("%-10s %-7s %s%-17s here %-17.*f%s\n", figure.source.c_str(),
                    figure.isLargest ? "largest" : "rms", figure.isBound ? "below " : "      ",
                    figure.text.c_str(), figure.isBound ? 6 : figure.decimals(), own,
                    met ? "" : "  DIFFERS");
        allMet = allMet && met;
    }
    if (!allMet) std::cerr << "what was found differs from the figures of others\n";
    return allMet;
}
