#pragma once
#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "examples/drawing_view.h"
#include "examples/svg_picture.h"
#include "kerf/numerics/vector.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

/// A picture of contours: each closed one outlined in a colour of its own, the open ones in red with a mark
/// at either end, what was left out in grey. Under them the tiles that lie in a part, the hatch, and the
/// points, full in a part and hollow outside.
struct NestPicture {
    struct Contour {
        std::string name;
        kerf::ERVec<kerf::ERPoint2D> points;  // a polyline that follows it
        bool closed = false;
    };

    std::string title;
    std::vector<Contour> contours;
    std::vector<kerf::ERVec<kerf::ERPoint2D>> leftOut, hatch;
    std::vector<kerf::ERMinimax2D> tiles;
    kerf::ERVec<kerf::ERPoint2D> inside, outside;

    /// Writes it as SVG; false when the file cannot be written.
    bool write(const std::string& path) const {
        using namespace svgPicture;
        kerf::ERMinimax2D box;
        for (const Contour& contour : contours) box.Update(contour.points);
        for (const kerf::ERVec<kerf::ERPoint2D>& points : leftOut) box.Update(points);
        const DrawingView view(box);
        Svg svg;
        addTable(svg, view);
        for (std::size_t i = 0; i < contours.size(); ++i)
            if (contours[i].closed) addClosed(svg, view, contours[i], colorOf(i));
        for (const kerf::ERVec<kerf::ERPoint2D>& points : leftOut)
            svg.add("<path d=\"" + view.path(points) +
                    "\" fill=\"none\" stroke=\"#8a8a8a\" stroke-width=\"2.4\" "
                    "stroke-dasharray=\"2 2\"/>");
        for (const Contour& contour : contours)
            if (!contour.closed) addOpen(svg, view, contour);
        svg.add("<text x=\"40\" y=\"20\">" + title + "</text>");
        const double bottom = addLegend(svg, view);
        return svg.write(path, view.right() + DrawingView::legend,
                         std::max(view.height, bottom + 60));
    }

private:
    static constexpr std::size_t longestLegend = 20;

    static const char* colorOf(std::size_t i) {
        static constexpr std::array<const char*, 8> colors = {
            "#1f4e9c", "#1b7f3b", "#7a3aa8", "#107f86", "#9a6a00", "#a3186b", "#4a5a2a", "#345"};
        return colors[i % colors.size()];
    }

    void addTable(svgPicture::Svg& svg, const DrawingView& view) const {
        for (const kerf::ERMinimax2D& tile : tiles)
            svg.add(
                "<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"#dcebd8\" "
                "stroke=\"white\"/>",
                view.x(kerf::ERPoint2D(tile.xmin(), tile.ymax())),
                view.y(kerf::ERPoint2D(tile.xmin(), tile.ymax())), tile.xlength() * view.scale,
                tile.ylength() * view.scale);
        for (const kerf::ERVec<kerf::ERPoint2D>& line : hatch)
            svg.add("<path d=\"" + view.path(line) +
                    "\" fill=\"none\" stroke=\"#7d8794\" stroke-width=\"0.6\"/>");
        for (const kerf::ERPoint2D& p : inside)
            svg.add("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"2\" fill=\"#2d6b22\"/>", view.x(p),
                    view.y(p));
        for (const kerf::ERPoint2D& p : outside)
            svg.add("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"2\" fill=\"white\" stroke=\"#555\"/>",
                    view.x(p), view.y(p));
    }

    static void addClosed(svgPicture::Svg& svg, const DrawingView& view, const Contour& contour,
                          const std::string& color) {
        svg.add("<path d=\"" + view.path(contour.points) + "Z\" fill=\"none\" stroke=\"" + color +
                "\" stroke-width=\"1.4\" stroke-linejoin=\"round\"><title>" + contour.name +
                "</title></path>");
    }

    static void addOpen(svgPicture::Svg& svg, const DrawingView& view, const Contour& contour) {
        svg.add("<path d=\"" + view.path(contour.points) +
                "\" fill=\"none\" stroke=\"#d11\" stroke-width=\"1.4\"><title>" + contour.name +
                "</title></path>");
        if (contour.points.length() == 0) return;
        for (const kerf::ERPoint2D& p :
             {contour.points[0], contour.points[contour.points.length() - 1]})
            svg.add("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"3\" fill=\"#d11\"/>", view.x(p),
                    view.y(p));
    }

    double addLegend(svgPicture::Svg& svg, const DrawingView& view) const {
        const double left = view.right();
        double y = DrawingView::margin;
        const auto addLine = [&](const std::string& color, const std::string& text) {
            svg.add("<path d=\"M%.1f %.1fh24\" stroke=\"%s\" stroke-width=\"2\"/>", left, y,
                    color.c_str());
            svg.add("<text x=\"%.1f\" y=\"%.1f\">%s</text>", left + 32, y + 4, text.c_str());
            y += 20;
        };
        std::size_t closed = 0, open = 0;
        for (std::size_t i = 0; i < contours.size(); ++i) {
            if (!contours[i].closed) {
                ++open;
            } else if (++closed <= longestLegend) {
                addLine(colorOf(i), contours[i].name);
            }
        }
        if (closed > longestLegend) {
            svg.add("<text x=\"%.1f\" y=\"%.1f\">and %zu more, closed</text>", left + 32, y + 4,
                    closed - longestLegend);
            y += 20;
        }
        if (open > 0) addLine("#d11", std::to_string(open) + " open");
        if (!leftOut.empty()) addLine("#8a8a8a", std::to_string(leftOut.size()) + " left out");
        const double widest = std::max(view.box.xlength(), view.box.ylength());
        if (widest > 0.0) {
            const double length = svgPicture::roundBelow(DrawingView::legend * 0.7 / view.scale);
            svgPicture::addBar(svg, left, y + 20, length * view.scale, "part:", length);
        }
        return y + 20;
    }
};
