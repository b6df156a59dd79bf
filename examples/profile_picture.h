#pragma once
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "examples/curve_meetings.h"
#include "examples/drawing_view.h"
#include "examples/svg_picture.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

// A picture of a drawing: its curves, coloured by the kind of their entity, the control polygons of
// those that are not straight, where curves meet, and measured points with their deviation as a
// whisker from the foot, magnified.

struct ProfilePicture {
    struct Curve {
        std::string kind;
        kerf::ERVec<kerf::ERPoint2D> points;   // a polyline that follows it
        kerf::ERVec<kerf::ERPoint2D> polygon;  // its control polygon, empty for none
    };
    struct Deviation {
        kerf::ERPoint2D measured, foot;
        double distance = 0.0;
    };

    std::string title;
    std::vector<Curve> curves;
    std::vector<Meeting> meetings;
    std::vector<Deviation> deviations;

    /// Writes it as SVG; false when the file cannot be written.
    bool write(const std::string& path) const;

private:
    static constexpr std::array<std::pair<const char*, const char*>, 6> colors = {
        {{"LINE", "#1f4e9c"},
         {"ARC", "#b3471b"},
         {"CIRCLE", "#1b7f3b"},
         {"ELLIPSE", "#7a3aa8"},
         {"LWPOLYLINE", "#107f86"},
         {"SPLINE", "#a3186b"}}};

    static const char* colorOf(const std::string& kind) {
        for (const auto& [name, color] : colors)
            if (kind == name) return color;
        return "black";
    }

    DrawingView view() const;
    void addCurves(svgPicture::Svg& svg, const DrawingView& view) const;
    void addMeetings(svgPicture::Svg& svg, const DrawingView& view) const;
    double addDeviations(svgPicture::Svg& svg, const DrawingView& view, double largest) const;
    double addKinds(svgPicture::Svg& svg, double left) const;
};

inline DrawingView ProfilePicture::view() const {
    kerf::ERMinimax2D box;
    for (const Curve& curve : curves) {
        box.Update(curve.points);
        box.Update(curve.polygon);
    }
    for (const Deviation& deviation : deviations) {
        box.Update(deviation.measured);
        box.Update(deviation.foot);
    }
    return DrawingView(box);
}

inline void ProfilePicture::addCurves(svgPicture::Svg& svg, const DrawingView& view) const {
    for (const Curve& curve : curves) {
        if (curve.polygon.length() == 0) continue;
        svg.add("<path d=\"" + view.path(curve.polygon) +
                "\" fill=\"none\" stroke=\"#9a9a9a\" stroke-width=\"0.7\" "
                "stroke-dasharray=\"4 3\"/>");
        for (const kerf::ERPoint2D& pole : curve.polygon)
            svg.add("<rect x=\"%.2f\" y=\"%.2f\" width=\"3\" height=\"3\" fill=\"#9a9a9a\"/>",
                    view.x(pole) - 1.5, view.y(pole) - 1.5);
    }
    for (std::size_t i = 0; i < curves.size(); ++i)
        svg.add("<path d=\"" + view.path(curves[i].points) + "\" fill=\"none\" stroke=\"" +
                colorOf(curves[i].kind) + "\" stroke-width=\"1.4\"><title>" +
                std::to_string(i + 1) + " " + curves[i].kind + "</title></path>");
}

inline void ProfilePicture::addMeetings(svgPicture::Svg& svg, const DrawingView& view) const {
    // In a drawing of many pieces the joints would hide them.
    constexpr std::size_t mostJoints = 300;
    for (const Meeting& meeting : meetings) {
        const double x = view.x(meeting.point), y = view.y(meeting.point);
        switch (meeting.kind) {
            case Meeting::Kind::Joint:
                if (meetings.size() <= mostJoints)
                    svg.add("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"2\" fill=\"#333\"/>", x, y);
                break;
            case Meeting::Kind::End:
                svg.add("<path d=\"M%.2f %.2fl4 4m0 -4l-4 4\" stroke=\"#333\"/>", x - 2, y - 2);
                break;
            case Meeting::Kind::Touch:
                svg.add(
                    "<rect x=\"%.2f\" y=\"%.2f\" width=\"9\" height=\"9\" fill=\"none\" "
                    "stroke=\"#e07b00\" stroke-width=\"1.6\"/>",
                    x - 4.5, y - 4.5);
                break;
            case Meeting::Kind::Crossing:
                svg.add(
                    "<circle cx=\"%.2f\" cy=\"%.2f\" r=\"4.5\" fill=\"none\" stroke=\"#d11\" "
                    "stroke-width=\"1.6\"/>",
                    x, y);
                break;
        }
    }
}

// Returns how many times the whiskers are magnified; 0 for none.
inline double ProfilePicture::addDeviations(svgPicture::Svg& svg, const DrawingView& view,
                                            double largest) const {
    constexpr double longest = DrawingView::margin - 12;  // stays within the frame
    const double size = DrawingView::drawing / view.scale;
    const double magnification =
        largest > 1e-12 * size ? svgPicture::roundBelow(longest / view.scale / largest) : 0.0;
    for (const Deviation& deviation : deviations) {
        const kerf::ERVector2D whisker =
            kerf::ERVector2D(deviation.foot, deviation.measured) * magnification;
        const double x = view.x(deviation.foot), y = view.y(deviation.foot);
        const std::string color =
            svgPicture::colorAt(magnification > 0.0 ? deviation.distance / largest : 0.0);
        svg.add("<path d=\"M%.2f %.2fl%.2f %.2f\" stroke=\"%s\"/>", x, y, whisker.i() * view.scale,
                -whisker.j() * view.scale, color.c_str());
        svg.add("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"1.8\" fill=\"%s\"/>", x, y, color.c_str());
        svg.add(
            "<circle cx=\"%.2f\" cy=\"%.2f\" r=\"2.8\" fill=\"white\" stroke=\"%s\">"
            "<title>%.6g</title></circle>",
            x + whisker.i() * view.scale, y - whisker.j() * view.scale, color.c_str(),
            deviation.distance);
    }
    return magnification;
}

// Returns where the next part of the legend goes.
inline double ProfilePicture::addKinds(svgPicture::Svg& svg, double left) const {
    double y = DrawingView::margin;
    for (const auto& entry : colors) {
        const auto [kind, color] = entry;
        const auto count = std::count_if(curves.begin(), curves.end(), [&](const Curve& curve) {
            return curve.kind == entry.first;
        });
        if (count == 0) continue;
        svg.add("<path d=\"M%.1f %.1fh24\" stroke=\"%s\" stroke-width=\"2\"/>", left, y, color);
        svg.add("<text x=\"%.1f\" y=\"%.1f\">%s (%ld)</text>", left + 32, y + 4, kind,
                static_cast<long>(count));
        y += 20;
    }
    const auto addMark = [&](const char* mark, const char* text) {
        svg.add("<g transform=\"translate(%.1f %.1f)\">%s</g>", left + 12, y, mark);
        svg.add("<text x=\"%.1f\" y=\"%.1f\">%s</text>", left + 32, y + 4, text);
        y += 20;
    };
    addMark("<path d=\"M-12 0h24\" stroke=\"#9a9a9a\" stroke-dasharray=\"4 3\"/>",
            "control polygon");
    addMark("<circle r=\"4.5\" fill=\"none\" stroke=\"#d11\" stroke-width=\"1.6\"/>", "crossing");
    addMark(
        "<rect x=\"-4.5\" y=\"-4.5\" width=\"9\" height=\"9\" fill=\"none\" stroke=\"#e07b00\" "
        "stroke-width=\"1.6\"/>",
        "touch");
    addMark("<path d=\"M-2 -2l4 4m0 -4l-4 4\" stroke=\"#333\"/>", "end on a curve");
    addMark("<circle r=\"2\" fill=\"#333\"/>", "joint");
    addMark(
        "<path d=\"M-9 0h16\" stroke=\"#333\"/><circle cx=\"-9\" r=\"1.8\"/>"
        "<circle cx=\"8\" r=\"2.8\" fill=\"white\" stroke=\"#333\"/>",
        "foot and measured point");
    return y;
}

inline bool ProfilePicture::write(const std::string& path) const {
    using namespace svgPicture;
    const DrawingView view = this->view();
    double largest = 0.0;
    for (const Deviation& deviation : deviations) largest = std::max(largest, deviation.distance);

    Svg svg;
    addCurves(svg, view);
    addMeetings(svg, view);
    const double magnification = addDeviations(svg, view, largest);
    svg.add("<text x=\"" + std::to_string(DrawingView::margin) + "\" y=\"20\">" + title +
            "</text>");

    const double left = view.right();
    double y = addKinds(svg, left) + 40;
    if (!deviations.empty()) {
        addColorScale(svg, left, y, largest);
        y += 275;
    }
    const double widest = std::max(view.box.xlength(), view.box.ylength());
    if (widest > 0.0) {
        const double length = roundBelow(DrawingView::legend * 0.7 / view.scale);
        addBar(svg, left, y, length * view.scale, "part:", length);
        y += 45;
    }
    if (magnification > 0.0) {
        const double length = roundBelow(DrawingView::legend * 0.7 / view.scale / magnification);
        addBar(svg, left, y, length * magnification * view.scale, "deviation:", length);
        svg.add("<text x=\"%.1f\" y=\"%.1f\">magnified %.4g times</text>", left, y + 40,
                magnification);
    }
    return svg.write(path, left + DrawingView::legend, std::max(view.height, y + 60));
}
