#pragma once
#include <algorithm>
#include <cstdio>
#include <string>

#include "kerf/numerics/vector.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

/// From a drawing to its picture, in which y runs downwards.
struct DrawingView {
    static constexpr double drawing = 900, margin = 40, legend = 200;

    kerf::ERMinimax2D box;
    double scale = 1.0, height = 0.0;

    explicit DrawingView(const kerf::ERMinimax2D& shown) : box(shown) {
        if (box.invalid()) box.Garnir(0, 0, 0, 0);
        const double widest = std::max(box.xlength(), box.ylength());
        if (widest > 0.0) scale = drawing / widest;
        height = std::max(box.ylength() * scale + 2 * margin, 640.0);
    }

    double x(const kerf::ERPoint2D& p) const { return margin + (p.x() - box.xmin()) * scale; }
    double y(const kerf::ERPoint2D& p) const {
        return (height + box.ylength() * scale) / 2 - (p.y() - box.ymin()) * scale;
    }
    /// Where the legend stands.
    double right() const { return 2 * margin + std::max(1.0, box.xlength() * scale); }

    /// The data of a path through the points, after what the first command is.
    std::string path(const kerf::ERVec<kerf::ERPoint2D>& points, char firstCommand = 'M') const {
        std::string text;
        char place[64];
        for (unsigned int i = 0; i < points.length(); ++i) {
            std::snprintf(place, sizeof place, "%c%.2f %.2f", i == 0 ? firstCommand : 'L',
                          x(points[i]), y(points[i]));
            text += place;
        }
        return text;
    }
};
