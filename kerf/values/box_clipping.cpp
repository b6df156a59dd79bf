#include "kerf/values/box_clipping.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "kerf/values/internal/polygon_predicates.h"

namespace kerf {

namespace {

// One bit for each side of the box that the point lies strictly beyond.
unsigned int outcode(const ERPoint2D& p, const ERMinimax2D& box) {
    return static_cast<unsigned int>(p.x() < box.xmin()) |
           static_cast<unsigned int>(p.x() > box.xmax()) << 1 |
           static_cast<unsigned int>(p.y() < box.ymin()) << 2 |
           static_cast<unsigned int>(p.y() > box.ymax()) << 3;
}

using Coordinates = std::array<double, 2>;

// Clips the segment whose ends have the outcodes given; the ends of `out` start as its ends.
ER_MINMAX_POSITION_SEGMENT clip(Coordinates (&out)[2], unsigned int codeA, unsigned int codeB,
                                const ERMinimax2D& box) {
    if ((codeA | codeB) == 0) return SegmentInside;
    if ((codeA & codeB) != 0) return SegmentOutside;

    const Coordinates a = out[0];
    const Coordinates d = {out[1][0] - a[0], out[1][1] - a[1]};
    int ends = codeA == 0 || codeB == 0 ? 1 : 0;
    for (unsigned int axis = 0; axis < 2; ++axis) {
        if (d[axis] == 0.0) continue;
        const unsigned int other = 1 - axis;
        for (const bool high : {false, true}) {
            const double side = high ? box.upper(axis) : box.lower(axis);
            const auto beyond = [&](const Coordinates& end) {
                return high ? end[axis] > side : end[axis] < side;
            };
            Coordinates* const moved = beyond(out[0])   ? &out[0]
                                       : beyond(out[1]) ? &out[1]
                                                        : nullptr;
            if (moved == nullptr) continue;
            // Product before quotient: exact wherever coordinates are small integers.
            const double c = a[other] + (side - a[axis]) * d[other] / d[axis];
            if (!(box.lower(other) <= c && c <= box.upper(other))) continue;
            if (!(std::min(out[0][other], out[1][other]) <= c &&
                  c <= std::max(out[0][other], out[1][other]))) {
                continue;
            }
            (*moved)[axis] = side;
            (*moved)[other] = c;
            if (++ends == 2) return SegmentCrossing;
        }
    }
    return SegmentOutside;
}

}  // namespace

ER_MINMAX_POSITION_SEGMENT SutherCohen(const ERPoint2D& a, const ERPoint2D& b,
                                       const ERMinimax2D& box, ERPoint2D& out1, ERPoint2D& out2) {
    Coordinates ends[2] = {{a.x(), a.y()}, {b.x(), b.y()}};
    const ER_MINMAX_POSITION_SEGMENT position = clip(ends, outcode(a, box), outcode(b, box), box);
    out1 = ERPoint2D(ends[0][0], ends[0][1]);
    out2 = ERPoint2D(ends[1][0], ends[1][1]);
    return position;
}

int ERMinimax2D::isVisible(const ERPoint2D& a, const ERPoint2D& b) const {
    return positionRelative(a, b) != SegmentOutside;
}

ER_MINMAX_POSITION_SEGMENT ERMinimax2D::positionRelative(const ERPoint2D& a,
                                                         const ERPoint2D& b) const {
    Coordinates ends[2] = {{a.x(), a.y()}, {b.x(), b.y()}};
    return clip(ends, outcode(a, *this), outcode(b, *this), *this);
}

ER_MINMAX_POSITION_POLYGONE ERMinimax2D::positionRelative(const ERPoint2D* polygon,
                                                          unsigned int n) const {
    bool edgeInBox = false;
    unsigned int code = n == 0 ? 0 : outcode(polygon[0], *this);
    for (unsigned int i = 0; i < n; ++i) {
        const ERPoint2D& a = polygon[i];
        const ERPoint2D& b = polygon[i + 1 < n ? i + 1 : 0];
        const unsigned int next = outcode(b, *this);
        if ((code | next) == 0) {
            edgeInBox = true;
        } else if ((code & next) == 0) {
            Coordinates ends[2] = {{a.x(), a.y()}, {b.x(), b.y()}};
            if (clip(ends, code, next, *this) == SegmentCrossing) return PolygonCrossing;
        }
        code = next;
    }
    if (edgeInBox) return PolygonPartly;

    return detail::positionByCorners(*this, [&](const ERPoint2D& corner) {
        return Inside(corner, polygon, static_cast<int>(n));
    });
}

ER_MINMAX_POSITION_POLYGONE ERMinimax2D::positionRelative(const ERVec<ERPoint2D>& polygon) const {
    return positionRelative(polygon.data(), polygon.length());
}

}  // namespace kerf
