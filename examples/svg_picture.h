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

using Color = std::array<unsigned int, 3>;  // red, green and blue, from 0 to 255

/// The colour at a share from 0 to 1 of the way along the stops.
template <std::size_t count>
Color colorAlong(const std::array<std::array<double, 3>, count>& stops, double share) {
    const double place = std::clamp(share, 0.0, 1.0) * (count - 1);
    const std::size_t i = std::min(static_cast<std::size_t>(place), count - 2);
    const double t = place - static_cast<double>(i);
    Color color{};
    for (std::size_t k = 0; k < 3; ++k)
        color[k] =
            static_cast<unsigned int>(std::lround(stops[i][k] * (1 - t) + stops[i + 1][k] * t));
    return color;
}

inline std::string codeOf(const Color& color) {
    char text[16];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", color[0], color[1], color[2]);
    return text;
}

/// From blue at 0 by way of green and yellow to red at 1.
inline std::string colorAt(double share) {
    return codeOf(
        colorAlong<4>({{{40, 70, 200}, {40, 160, 90}, {235, 200, 40}, {205, 40, 35}}}, share));
}

/// For deviations with a sign: from blue at -limit by way of a pale green at 0 to red at the limit.
/// Grey for what is not a number.
inline Color signedColor(double deviation, double limit) {
    if (std::isnan(deviation)) return {176, 176, 176};
    const double share = limit > 0.0 ? (deviation / limit + 1) / 2 : 0.5;
    return colorAlong<7>({{{30, 40, 150},
                           {50, 110, 215},
                           {140, 200, 235},
                           {215, 235, 205},
                           {250, 205, 105},
                           {235, 110, 50},
                           {165, 15, 30}}},
                         share);
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

/// The scale of colours, from `low` at the bottom to `high` at the top; colorOf(value) is the colour
/// of a value as text.
template <class ColorOf>
void addColorScale(Svg& svg, double left, double top, double low, double high, ColorOf&& colorOf) {
    constexpr int steps = 64;
    constexpr double height = 256, width = 18;
    svg.add("<text x=\"%.1f\" y=\"%.1f\">deviation</text>", left, top - 12);
    const auto at = [&](double share) { return low + share * (high - low); };
    for (int i = 0; i < steps; ++i)
        svg.add("<rect x=\"%.1f\" y=\"%.2f\" width=\"%.1f\" height=\"%.2f\" fill=\"%s\"/>", left,
                top + height - (i + 1) * height / steps, width, height / steps + 0.3,
                colorOf(at((i + 0.5) / steps)).c_str());
    constexpr int marks = 5;
    for (int i = 0; i < marks; ++i) {
        const double share = static_cast<double>(i) / (marks - 1);
        svg.add("<text x=\"%.1f\" y=\"%.1f\">%.4g</text>", left + width + 6,
                top + height * (1 - share) + 4, at(share));
    }
}

/// The same from 0 to the largest deviation.
inline void addColorScale(Svg& svg, double left, double top, double largest) {
    addColorScale(svg, left, top, 0.0, largest,
                  [&](double value) { return colorAt(largest > 0.0 ? value / largest : 0.0); });
}

/// A bar of the given length on the picture and what it stands for.
inline void addBar(Svg& svg, double left, double y, double pixels, const char* what,
                   double length) {
    svg.add("<path d=\"M%.1f %.1fv6h%.1fv-6\" fill=\"none\" stroke=\"black\"/>", left, y, pixels);
    svg.add("<text x=\"%.1f\" y=\"%.1f\">%s %.4g</text>", left, y + 22, what, length);
}

/// A ring around (x, y) and a text beside it, to the right or the left, below or above.
inline void addLabel(Svg& svg, double x, double y, bool toTheRight, bool upwards,
                     const std::string& text) {
    const double sign = upwards ? -1 : 1, rise = 34 * sign;
    svg.add("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"7\" fill=\"none\" stroke=\"black\"/>", x, y);
    svg.add("<path d=\"M%.2f %.2fL%.2f %.2f\" stroke=\"black\"/>", x, y + sign * 7, x, y + rise);
    svg.add(
        "<text x=\"%.2f\" y=\"%.2f\" text-anchor=\"%s\" font-weight=\"bold\" stroke=\"white\" "
        "stroke-width=\"4\" paint-order=\"stroke\">%s</text>",
        x + (toTheRight ? 6 : -6), y + rise + 4, toTheRight ? "start" : "end", text.c_str());
}

}  // namespace svgPicture
