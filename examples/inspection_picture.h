#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "examples/deviation_mesh.h"
#include "examples/inspection.h"
#include "examples/svg_picture.h"
#include "kerf/values/box.h"

// The chart of an inspection: the surface seen square to the plane of the points, from both sides, and
// unrolled, coloured by the deviation; beside it the scale with the share of points at each deviation.

class InspectionPicture {
public:
    /// `limit` is the deviation that has the last colour of the scale.
    InspectionPicture(const Inspection& inspection, const FittedPlane& fitted, double limit)
        : inspection_(inspection),
          fitted_(fitted),
          limit_(limit),
          mesh_(inspection, facets),
          outlines_(outlinesOf(inspection.sheet())) {}

    /// Writes it as SVG; false when the file cannot be written.
    bool write(const std::string& path) {
        svg_.add("<text x=\"%.1f\" y=\"26\" font-size=\"16\">%zu points on %s</text>", margin,
                 inspection_.points().size(), inspection_.nominal().surface->className());
        const kerf::ERVector3D across = fitted_.frame >> kerf::ERVector3D(0, 0, 1);
        addView(fitted_.along, across, "square to the fitted plane");
        addView(-fitted_.along, -across, "from the other side");
        addMap();
        const double legendEnds = addLegend(margin + width + 50, 60);
        const double height = std::max(rowTop_ + rowHeight_, legendEnds) + 10;
        return svg_.write(path, margin + width + legend, height);
    }

private:
    static constexpr std::size_t facets = 4000;
    static constexpr double margin = 40, width = 820, mostHeight = 380, legend = 390;

    std::string colorOf(double deviation) const {
        return svgPicture::codeOf(svgPicture::signedColor(deviation, limit_));
    }
    std::string labelOf(const char* what, std::size_t point) const {
        char text[100];
        std::snprintf(text, sizeof text, "%s: %+.4g", what, inspection_.deviations()[point]);
        return text;
    }
    // Where the contents of a panel of that size begin: beside the last one, or below it.
    struct Corner {
        double left, top;
    };
    Corner addPanel(double panelWidth, double height, const char* heading) {
        constexpr double head = 26, foot = 46, between = 50;
        if (rowLeft_ > margin && rowLeft_ + panelWidth > margin + width) {
            rowTop_ += rowHeight_;
            rowLeft_ = margin;
            rowHeight_ = 0.0;
        }
        const Corner corner{rowLeft_, rowTop_ + head};
        svg_.add("<text x=\"%.1f\" y=\"%.1f\" fill=\"#444\">%s</text>", corner.left, rowTop_ + 14,
                 heading);
        constexpr double least = 230;  // room for the heading
        rowLeft_ += std::max(panelWidth, least) + between;
        rowHeight_ = std::max(rowHeight_, head + height + foot);
        return corner;
    }

    // NaN, when less than two of its vertices have one.
    double deviationOf(const GridCells::Face& face) const {
        double sum = 0.0;
        int known = 0;
        for (const std::size_t vertex : face) {
            if (std::isnan(mesh_.deviations()[vertex])) continue;
            sum += mesh_.deviations()[vertex];
            ++known;
        }
        return known < 2 ? std::numeric_limits<double>::quiet_NaN() : sum / known;
    }
    // The face in its colour; toXY(vertex) is where it stands in the picture.
    template <class ToXY>
    void addFace(const GridCells::Face& face, ToXY toXY) {
        std::string path;
        for (const std::size_t vertex : face) path += command(path.empty(), toXY(vertex));
        const std::string color = colorOf(deviationOf(face));
        // The line of its own colour closes the seams between the faces.
        svg_.add("<path d=\"" + path + "z\" fill=\"" + color + "\" stroke=\"" + color + "\"/>");
    }
    static std::string command(bool isFirst, const kerf::ERPoint2D& at) {
        char text[48];
        std::snprintf(text, sizeof text, "%c%.1f %.1f", isFirst ? 'M' : 'L', at.x(), at.y());
        return text;
    }
    // A boundary of a trimmed surface.
    struct Outline {
        kerf::ERVec<kerf::ERPoint3D> points;
        kerf::ERVec<kerf::ERPoint2D> parameters;
    };
    // Solid where isNear(uv), and dashed where the surface is seen from the other side.
    template <class ToXY, class IsNear>
    void addOutline(const Outline& outline, ToXY toXY, IsNear isNear) {
        std::string path;
        bool isSolid = true;
        for (unsigned int i = 0; i < outline.points.length(); ++i) {
            path += command(path.empty(), toXY(outline.points[i]));
            const bool isNext = isNear(outline.parameters[i]);
            const bool isLast = i + 1 == outline.points.length();
            if (i == 0) isSolid = isNext;
            if (isNext == isSolid && !isLast) continue;
            addLine(path, isSolid);
            path = command(true, toXY(outline.points[i]));
            isSolid = isNext;
        }
    }
    void addLine(const std::string& path, bool isSolid) {
        svg_.add("<path d=\"" + path + "\" fill=\"none\" stroke=\"#222\" stroke-width=\"" +
                 (isSolid ? "1.6\"/>" : "0.8\" stroke-dasharray=\"4 3\"/>"));
    }

    static std::vector<Outline> outlinesOf(const kerf::ERAnyBoundedSurface& surface) {
        constexpr double chord = 1e-4;
        std::vector<Outline> outlines;
        kerf::ERTrimmedSurface* const trimmed = trimmedOf(surface);
        if (trimmed == nullptr) return outlines;
        const double size = surface.getBox().diagonal();
        for (const kerf::ERTrimmedSurface::Boundary& boundary : trimmed->getBoundList()) {
            Outline& outline = outlines.emplace_back();
            boundary->smash(outline.points, outline.parameters, chord * size);
        }
        return outlines;
    }

    void addView(const kerf::ERVector3D& right, const kerf::ERVector3D& near, const char* heading);
    void addMap();
    double addLegend(double left, double top);
    double addHistogram(double left, double top);

    const Inspection& inspection_;
    const FittedPlane& fitted_;
    double limit_;
    DeviationMesh mesh_;
    std::vector<Outline> outlines_;
    svgPicture::Svg svg_;
    double rowLeft_ = margin, rowTop_ = 40, rowHeight_ = 0.0;  // of the panels
};

inline void InspectionPicture::addView(const kerf::ERVector3D& right, const kerf::ERVector3D& near,
                                       const char* heading) {
    const kerf::ERVector3D up = near ^ right;
    const auto flat = [&](const kerf::ERPoint3D& p) {
        const kerf::ERVector3D v(p);
        return kerf::ERPoint2D(v * right, v * up);
    };
    kerf::ERMinimax2D box;
    for (const kerf::ERPoint3D& p : mesh_.points()) box.Update(flat(p));
    const double scale = std::min(width / std::max(box.xlength(), 1e-300),
                                  mostHeight / std::max(box.ylength(), 1e-300));
    const double height = box.ylength() * scale;
    const Corner corner = addPanel(box.xlength() * scale, height, heading);
    const auto toX = [&](const kerf::ERPoint2D& p) {
        return corner.left + (p.x() - box.xmin()) * scale;
    };
    const auto toY = [&](const kerf::ERPoint2D& p) {
        return corner.top + (box.ymax() - p.y()) * scale;
    };

    const auto toXY = [&](const kerf::ERPoint3D& p) {
        return kerf::ERPoint2D(toX(flat(p)), toY(flat(p)));
    };

    // What lies nearer to the viewer is drawn later.
    std::vector<std::pair<double, const GridCells::Face*>> order;
    for (const GridCells::Face& face : mesh_.faces()) {
        double depth = 0.0;
        for (const std::size_t vertex : face)
            depth += kerf::ERVector3D(mesh_.points()[vertex]) * near;
        order.emplace_back(depth / static_cast<double>(face.size()), &face);
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [depth, face] : order)
        addFace(*face, [&](std::size_t vertex) { return toXY(mesh_.points()[vertex]); });
    for (const Outline& outline : outlines_)
        addOutline(outline, toXY, [&](const kerf::ERPoint2D& uv) {
            const kerf::ERVector3D normal = inspection_.sheet().PtCur(uv).normale();
            return normal * near * inspection_.outwards() > 0.0;
        });
    const auto label = [&](const char* what, std::size_t point) {
        const Foot& foot = inspection_.feet()[point];
        if (foot.normal * near * inspection_.outwards() < 0.0) return;  // on the far side
        const kerf::ERPoint2D p = flat(foot.point);
        svgPicture::addLabel(svg_, toX(p), toY(p), p.x() < (box.xmin() + box.xmax()) / 2,
                             toY(p) > corner.top + 60, labelOf(what, point));
    };
    label("fattest", inspection_.fattest());
    label("leanest", inspection_.leanest());
    const double length = svgPicture::roundBelow(box.xlength() / 4);
    svgPicture::addBar(svg_, corner.left, corner.top + height + 4, length * scale, "", length);
}

// Both parameters at about the scale that they have in the middle of the surface.
inline void InspectionPicture::addMap() {
    const SurfaceGrid& grid = mesh_.grid();
    const double scale = std::min(width / std::max(grid.lengthU, 1e-300),
                                  mostHeight / std::max(grid.lengthV, 1e-300));
    const double along = grid.lengthU * scale, height = grid.lengthV * scale;
    const Corner corner = addPanel(along, height, "unrolled: u to the right, v upwards");
    const double left = corner.left, top = corner.top;
    const auto toXY = [&](const kerf::ERPoint2D& uv) {
        return kerf::ERPoint2D(
            left + (uv.x() - grid.u(0.0)) / (grid.u(1.0) - grid.u(0.0)) * along,
            top + height - (uv.y() - grid.v(0.0)) / (grid.v(1.0) - grid.v(0.0)) * height);
    };
    for (const GridCells::Face& face : mesh_.faces())
        addFace(face, [&](std::size_t vertex) { return toXY(mesh_.parameters()[vertex]); });
    for (const Outline& outline : outlines_) {
        std::string path;
        for (unsigned int i = 0; i < outline.parameters.length(); ++i)
            path += command(path.empty(), toXY(outline.parameters[i]));
        addLine(path + "z", true);
    }
    svg_.add(
        "<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"none\" "
        "stroke=\"#444\"/>",
        left, top, along, height);
    const auto addMark = [&](double x, double y, const char* anchor, double value) {
        svg_.add("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" fill=\"#444\">%.4g</text>", x, y,
                 anchor, value);
    };
    addMark(left, top + height + 16, "start", grid.u(0.0));
    addMark(left + along, top + height + 16, "end", grid.u(1.0));
    addMark(left - 4, top + height, "end", grid.v(0.0));
    addMark(left - 4, top + 10, "end", grid.v(1.0));
    const auto label = [&](const char* what, std::size_t point) {
        const kerf::ERPoint2D at = toXY(inspection_.feet()[point].uv);
        svgPicture::addLabel(svg_, at.x(), at.y(), at.x() < left + along / 2, at.y() > top + 60,
                             labelOf(what, point));
    };
    label("fattest", inspection_.fattest());
    label("leanest", inspection_.leanest());
}

// The scale, and beside it how many points have which deviation.
inline double InspectionPicture::addHistogram(double left, double top) {
    constexpr double height = 256, longest = 120;
    svgPicture::addColorScale(svg_, left, top, -limit_, limit_,
                              [&](double value) { return colorOf(value); });
    std::array<std::size_t, 64> counts{};
    for (const double deviation : inspection_.deviations()) {
        const double share = limit_ > 0.0 ? (deviation / limit_ + 1) / 2 : 0.5;
        const double bin = std::clamp(share, 0.0, 1.0) * counts.size();
        ++counts[std::min(static_cast<std::size_t>(bin), counts.size() - 1)];
    }
    const double most = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
    const double step = height / static_cast<double>(counts.size());
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0) continue;
        svg_.add("<rect x=\"%.1f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"#555\"/>",
                 left + 102, top + height - static_cast<double>(i + 1) * step,
                 std::max(0.5, static_cast<double>(counts[i]) / most * longest), step - 0.8);
    }
    svg_.add("<text x=\"%.1f\" y=\"%.1f\" fill=\"#444\">points</text>", left + 102, top - 12);
    svg_.add("<text x=\"%.1f\" y=\"%.1f\" font-weight=\"bold\">fat: outside</text>", left + 232,
             top + 12);
    svg_.add("<text x=\"%.1f\" y=\"%.1f\" font-weight=\"bold\">lean: inside</text>", left + 232,
             top + height - 4);
    return top + height;
}

inline double InspectionPicture::addLegend(double left, double top) {
    double y = addHistogram(left, top) + 36;
    svg_.add("<rect x=\"%.1f\" y=\"%.1f\" width=\"18\" height=\"14\" fill=\"%s\"/>", left, y - 11,
             colorOf(std::numeric_limits<double>::quiet_NaN()).c_str());
    svg_.add("<text x=\"%.1f\" y=\"%.1f\">nothing measured</text>", left + 26, y);
    y += 34;
    const auto addFigure = [&](const char* what, double value) {
        svg_.add("<text x=\"%.1f\" y=\"%.1f\">%s</text>", left, y, what);
        svg_.add("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"end\">%.5g</text>", left + 200, y,
                 value);
        y += 20;
    };
    addFigure("points", static_cast<double>(inspection_.points().size()));
    addFigure("without a foot", static_cast<double>(inspection_.count(Foot::Kind::Border)));
    addFigure("mean", inspection_.mean());
    addFigure("root mean square", inspection_.rms());
    addFigure("largest", inspection_.largest());
    addFigure("fattest", inspection_.deviations()[inspection_.fattest()]);
    addFigure("leanest", inspection_.deviations()[inspection_.leanest()]);
    return y;
}
