#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <string>

// What the pictures of the examples are made of.

namespace svgPicture {

/// The largest of 1, 2 and 5 times a power of ten that is not above the value.
inline double roundBelow(double value) {
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    for (const double digit : {5.0, 2.0})
        if (digit * power <= value) return digit * power;
    return power;
}

/// From blue at 0 by way of green and yellow to red at 1.
inline std::string colorAt(double share) {
    static constexpr std::array<std::array<double, 3>, 4> stops = {
        {{40, 70, 200}, {40, 160, 90}, {235, 200, 40}, {205, 40, 35}}};
    const double place = std::clamp(share, 0.0, 1.0) * (stops.size() - 1);
    const std::size_t i = std::min(static_cast<std::size_t>(place), stops.size() - 2);
    const double t = place - static_cast<double>(i);
    char text[16];
    const auto part = [&](std::size_t k) {
        return static_cast<unsigned int>(std::lround(stops[i][k] * (1 - t) + stops[i + 1][k] * t));
    };
    std::snprintf(text, sizeof text, "#%02x%02x%02x", part(0), part(1), part(2));
    return text;
}

/// Collects the elements; y runs downwards.
class Svg {
public:
    template <class... Values>
    void add(const char* format, Values... values) {
        char text[400];
        const int length = std::snprintf(text, sizeof text, format, values...);
        body_.append(text, std::min(static_cast<std::size_t>(length), sizeof text - 1)) += '\n';
    }
    void add(const std::string& element) { body_.append(element) += '\n'; }
    bool write(const std::string& path, double width, double height) const {
        std::ofstream file(path);
        file << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\""
             << height << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
             << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
             << body_ << "</svg>\n";
        file.close();
        return !file.fail();
    }

private:
    std::string body_;
};

/// The scale of colours, from 0 at the bottom to the largest deviation at the top.
inline void addColorScale(Svg& svg, double left, double top, double largest) {
    constexpr int steps = 64;
    constexpr double height = 256, width = 18;
    svg.add("<text x=\"%.1f\" y=\"%.1f\">deviation</text>", left, top - 12);
    for (int i = 0; i < steps; ++i)
        svg.add("<rect x=\"%.1f\" y=\"%.2f\" width=\"%.1f\" height=\"%.2f\" fill=\"%s\"/>", left,
                top + height - (i + 1) * height / steps, width, height / steps + 0.3,
                colorAt((i + 0.5) / steps).c_str());
    constexpr int marks = 5;
    for (int i = 0; i < marks; ++i) {
        const double share = static_cast<double>(i) / (marks - 1);
        svg.add("<text x=\"%.1f\" y=\"%.1f\">%.4g</text>", left + width + 6,
                top + height * (1 - share) + 4, share * largest);
    }
}

/// A bar of the given length on the picture and what it stands for.
inline void addBar(Svg& svg, double left, double y, double pixels, const char* what,
                   double length) {
    svg.add("<path d=\"M%.1f %.1fv6h%.1fv-6\" fill=\"none\" stroke=\"black\"/>", left, y, pixels);
    svg.add("<text x=\"%.1f\" y=\"%.1f\">%s %.4g</text>", left, y + 22, what, length);
}

}  // namespace svgPicture
