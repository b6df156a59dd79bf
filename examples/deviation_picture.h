#pragma once
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <numeric>
#include <string>
#include <vector>

#include "examples/svg_picture.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

// A picture of deviations: the nominal points, each coloured by the length of its deviation, with the
// deviation itself as a whisker, magnified, and the largest one named.

namespace deviationPicture {

constexpr double drawing = 640, margin = 40, legend = 170, leastHeight = 580;

using svgPicture::addBar;
using svgPicture::addColorScale;
using svgPicture::colorAt;
using svgPicture::roundBelow;
using svgPicture::Svg;

/// A parallel projection: the directions that run to the right, upwards and to the viewer.
struct View {
    kerf::ERVector3D right, up, near;
    const char* text;

    kerf::ERPoint2D operator()(const kerf::ERVector3D& v) const { return {v * right, v * up}; }
};

/// Along the axis in which flat points do not spread; else from the front, the right and above.
inline View viewOf(const kerf::ERMinimax3D& box) {
    const kerf::ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    const kerf::ERVector3D extent(box.MinPoint(), box.MaxPoint());
    const double flat = std::max({extent.i(), extent.j(), extent.k()}) / 20;
    if (extent.k() <= flat) return {x, y, z, "seen along Z"};
    if (extent.j() <= flat) return {x, z, -y, "seen along Y"};
    if (extent.i() <= flat) return {y, z, x, "seen along X"};
    const double c = std::sqrt(0.75), s = 0.5;  // 30 degrees about Z, then 30 degrees of elevation
    const kerf::ERVector3D right(c, s, 0), up(-s * s, c * s, c);
    return {right, up, right ^ up, "seen from the front, the right and above"};
}

/// The three axes as they run in the view.
inline void addAxes(Svg& svg, double x, double y, const View& view) {
    constexpr double length = 36;
    static constexpr const char* names[] = {"X", "Y", "Z"};
    for (int axis = 0; axis < 3; ++axis) {
        const kerf::ERPoint2D end =
            view(kerf::ERVector3D(static_cast<kerf::Coord3D>(axis))) * length;
        if (std::fabs(end.x()) + std::fabs(end.y()) < 1) continue;
        svg.add("<path d=\"M%.1f %.1fl%.1f %.1f\" stroke=\"black\"/>", x, y, end.x(), -end.y());
        svg.add("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%s</text>", x + 1.3 * end.x(),
                y - 1.3 * end.y() + 4, names[axis]);
    }
}

}  // namespace deviationPicture

/// Writes the picture as SVG; false when the file cannot be written. Both lists are of equal length
/// and not empty.
inline bool drawDeviations(const std::string& path, const std::vector<kerf::ERPoint3D>& points,
                           const std::vector<kerf::ERVector3D>& deviations) {
    using namespace deviationPicture;
    kerf::ERMinimax3D box;
    std::size_t worst = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        box.Update(points[i]);
        if (deviations[i].norme() > deviations[worst].norme()) worst = i;
    }
    const double largest = deviations[worst].norme();
    const View view = viewOf(box);
    const double widest = kerf::ERVector3D(box.MinPoint(), box.MaxPoint()).norme();

    // The longest whisker takes about a tenth of the drawing. Deviations that are mere rounding
    // get none.
    const bool visible = largest > 1e-12 * widest;
    const double magnification = visible ? roundBelow(widest / 10 / largest) : 0.0;

    std::vector<kerf::ERPoint2D> starts, ends;
    kerf::ERMinimax2D frame;  // of all that is drawn, whiskers too
    for (std::size_t i = 0; i < points.size(); ++i) {
        starts.push_back(view(points[i]));
        ends.push_back(starts[i] + view(deviations[i]) * magnification);
        frame.Update(starts[i]);
        frame.Update(ends[i]);
    }
    const kerf::ERVector2D size(frame.MinPoint(), frame.MaxPoint());
    const double scale = size.i() + size.j() > 0 ? drawing / std::max(size.i(), size.j()) : 1.0;
    const double height = std::max(size.j() * scale + 2 * margin, leastHeight);
    const auto toX = [&](double x) { return margin + (x - frame.MinPoint().x()) * scale; };
    const auto toY = [&](double y) { return height - margin - (y - frame.MinPoint().y()) * scale; };

    // What lies nearer to the viewer is drawn later.
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return kerf::ERVector3D(points[a]) * view.near < kerf::ERVector3D(points[b]) * view.near;
    });

    Svg svg;
    for (const std::size_t i : order) {
        const double x = toX(starts[i].x()), y = toY(starts[i].y());
        const std::string color = colorAt(visible ? deviations[i].norme() / largest : 0.0);
        svg.add("<path d=\"M%.2f %.2fL%.2f %.2f\" stroke=\"%s\"/>", x, y, toX(ends[i].x()),
                toY(ends[i].y()), color.c_str());
        svg.add(
            "<circle cx=\"%.2f\" cy=\"%.2f\" r=\"2.5\" fill=\"%s\"><title>%zu: %.6g</title>"
            "</circle>",
            x, y, color.c_str(), i + 1, deviations[i].norme());
    }
    if (visible) {
        // Away from what lies about the point.
        const double x = toX(starts[worst].x()), y = toY(starts[worst].y());
        char text[80];
        std::snprintf(text, sizeof text, "point %zu: %.4g", worst + 1, largest);
        svgPicture::addLabel(svg, x, y, x <= margin + drawing / 2, y > margin + 20, text);
    }

    const double left = drawing + 2 * margin;
    addColorScale(svg, left, margin + 20, largest);
    if (widest > 0.0) {
        const double length = roundBelow(drawing / 5 / scale);
        addBar(svg, left, margin + 310, length * scale, "part:", length);
    }
    if (visible) {
        const double length = roundBelow(drawing / 5 / scale / magnification);
        addBar(svg, left, margin + 355, length * magnification * scale, "deviation:", length);
        svg.add("<text x=\"%.1f\" y=\"%.1f\">magnified %.4g times</text>", left, margin + 395,
                magnification);
    }
    addAxes(svg, left + 50, margin + 470, view);
    svg.add("<text x=\"%.1f\" y=\"20\">%zu points %s</text>", margin, points.size(), view.text);
    return svg.write(path, left + legend, height);
}
