#pragma once
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "kerf/core/value_vector.h"
#include "kerf/numerics/vector.h"
#include "kerf/processing/region.h"
#include "kerf/values/box.h"
#include "kerf/values/point.h"

// Contours that lie in each other as parts with holes, and what a shop asks of them: which points and which
// tiles of the table lie in a part, and hatch lines cut to it.

using Polygon = kerf::ERVec<kerf::ERPoint2D>;

/// Whether p lies within an odd number of the polygons: crossings of a ray, counted here and not by the
/// library.
inline bool isWithinOdd(const std::vector<const Polygon*>& polygons, const kerf::ERPoint2D& p) {
    bool within = false;
    for (const Polygon* polygon : polygons) {
        for (unsigned int i = 0; i < polygon->length(); ++i) {
            const kerf::ERPoint2D& a = (*polygon)[i];
            const kerf::ERPoint2D& b = (*polygon)[(i + 1) % polygon->length()];
            if ((a.y() > p.y()) == (b.y() > p.y())) continue;
            const double x = a.x() + (b.x() - a.x()) * (p.y() - a.y()) / (b.y() - a.y());
            if (x > p.x()) within = !within;
        }
    }
    return within;
}

inline double lengthOf(const Polygon& polyline) {
    double length = 0.0;
    for (unsigned int i = 1; i < polyline.length(); ++i)
        length += distance(polyline[i - 1], polyline[i]);
    return length;
}

/// Whether two sides of the polygon pass through each other.
inline bool crossesItself(const Polygon& polygon) {
    const unsigned int n = polygon.length();
    const auto corner = [&](unsigned int i) -> const kerf::ERPoint2D& { return polygon[i % n]; };
    const auto apart = [](const kerf::ERPoint2D& a, const kerf::ERPoint2D& b,
                          const kerf::ERPoint2D& p, const kerf::ERPoint2D& q) {
        const kerf::ERVector2D side(a, b);
        return (side ^ kerf::ERVector2D(a, p)) * (side ^ kerf::ERVector2D(a, q)) < 0.0;
    };
    for (unsigned int i = 0; i < n; ++i)
        for (unsigned int k = i + 2; k < n; ++k)
            if (apart(corner(i), corner(i + 1), corner(k), corner(k + 1)) &&
                apart(corner(k), corner(k + 1), corner(i), corner(i + 1)))
                return true;
    return false;
}

/// An outer contour with the holes that lie in it.
struct CutPart {
    std::size_t outer = 0;
    std::vector<std::size_t> holes;
    kerf::ERRegion2D region{1, 1};
    std::vector<const Polygon*> polygons;
    std::vector<Polygon> hatch;
    double border = 0.0;
};

/// Sorts polygons into parts: those within none, or within an even number of others, are the outer contours
/// of parts, the others are holes in the part around them. One that crosses itself or another belongs to no
/// part.
class PartSearch {
public:
    /// The largest polygon comes first, as long as there is one that holds others.
    explicit PartSearch(const std::vector<Polygon>& polygons) : polygons_(polygons) {
        const std::size_t n = polygons.size();
        std::vector<std::size_t> depth(n), around(n, n);
        std::vector<bool> crossed(n);
        for (std::size_t i = 0; i < n; ++i) {
            if (crossesItself(polygons[i])) crossed[i] = true;
            for (std::size_t k = 0; k < i; ++k) {
                const double share = shareWithin(polygons[i], polygons[k]);
                constexpr double rounding = 1e-6;
                if (share <= rounding) continue;
                if (share < 1 - rounding) {
                    crossed[i] = crossed[k] = true;
                } else {
                    ++depth[i];
                    around[i] = k;  // the smallest so far
                }
            }
        }
        std::vector<std::size_t> partOf(n, n);
        for (std::size_t i = 0; i < n; ++i) {
            if (crossed[i]) {
                crossing_.push_back(i);
            } else if (depth[i] % 2 == 0) {
                partOf[i] = parts_.size();
                parts_.emplace_back();
                parts_.back().outer = i;
            } else if (partOf[around[i]] < n) {
                parts_[partOf[around[i]]].holes.push_back(i);
            }
        }
        for (CutPart& part : parts_) build(part);
    }

    const std::vector<CutPart>& parts() const { return parts_; }
    const std::vector<std::size_t>& crossing() const { return crossing_; }

    /// Cuts lines at 45 degrees to each part. False when a piece lies outside, or when the lines miss more
    /// of the area than where the border turns back between two of them.
    bool hatch(double spacing) {
        bool good = true;
        for (CutPart& part : parts_) {
            const double filled = spacing * cutLines(part, spacing, good);
            double area = areaOf(*part.polygons[0]);
            for (std::size_t i = 1; i < part.polygons.size(); ++i)
                area -= areaOf(*part.polygons[i]);
            good = good && std::fabs(filled - area) <= spacing * part.border;
            area_ += area;
            filled_ += filled;
        }
        return good;
    }
    /// The area that the hatch lines stand for, as a part of that of the polygons.
    double filled() const { return area_ > 0.0 ? filled_ / area_ : 0.0; }

private:
    static double areaOf(const Polygon& polygon) {
        double twice = 0.0;
        for (unsigned int i = 2; i < polygon.length(); ++i)
            twice += kerf::ERVector2D(polygon[0], polygon[i - 1]) ^
                     kerf::ERVector2D(polygon[0], polygon[i]);
        return std::fabs(twice) / 2;
    }

    // Returns the length of the pieces.
    static double cutLines(CutPart& part, double spacing, bool& good) {
        const kerf::ERMinimax2D box = part.region.getBox();
        const double reach = box.xlength() + box.ylength(), step = spacing * std::sqrt(2.0);
        double length = 0.0;
        for (double up = step / 2; up < reach; up += step) {
            Polygon line;
            line.append(kerf::ERPoint2D(box.xmin() - reach, box.ymin() + up + reach));
            line.append(kerf::ERPoint2D(box.xmin() + reach, box.ymin() + up - reach));
            kerf::ERTValVector<Polygon> pieces;
            part.region.Intersect(line, pieces, nullptr);
            for (const Polygon& piece : pieces) {
                if (piece.length() < 2) continue;
                length += lengthOf(piece);
                part.hatch.push_back(piece);
                const kerf::ERPoint2D middle = kerf::milieu(piece[0], piece[piece.length() - 1]);
                good = good && isWithinOdd(part.polygons, middle);
            }
        }
        return length;
    }

    // How much of the border of one polygon lies in another.
    static double shareWithin(const Polygon& inner, const Polygon& outer) {
        kerf::ERMinimax2D boxOfInner, boxOfOuter;
        boxOfInner.Update(inner);
        boxOfOuter.Update(outer);
        if (kerf::RelativePosition(boxOfInner, boxOfOuter) == kerf::BoxDisjoint) return 0.0;
        kerf::ERRegion2D region(1, 1);
        region.Add(outer);
        Polygon border = inner;
        border.append(inner[0]);
        kerf::ERTValVector<Polygon> pieces;
        region.Intersect(border, pieces, nullptr);
        double within = 0.0;
        for (const Polygon& piece : pieces) within += lengthOf(piece);
        return within / lengthOf(border);
    }

    void build(CutPart& part) {
        part.region = kerf::ERRegion2D(static_cast<unsigned int>(part.holes.size()) + 1, 1);
        const auto add = [&](std::size_t i) {
            part.region.Add(polygons_[i]);
            part.polygons.push_back(&polygons_[i]);
            part.border += lengthOf(polygons_[i]);
        };
        add(part.outer);
        for (const std::size_t hole : part.holes) add(hole);
    }

    const std::vector<Polygon>& polygons_;
    std::vector<CutPart> parts_;
    std::vector<std::size_t> crossing_;
    double area_ = 0.0, filled_ = 0.0;
};

/// Points and tiles laid over the drawing, each told to be in a part or not.
class TableCheck {
public:
    enum class Position { Inside, Crossing, Outside };
    struct Point {
        kerf::ERPoint2D p;
        Position where;
    };
    struct Tile {
        kerf::ERMinimax2D box;
        Position where;
    };

    TableCheck(const std::vector<CutPart>& parts, const kerf::ERMinimax2D& box,
               std::uint64_t seed) {
        std::mt19937_64 random(seed);
        const auto even = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
        constexpr int count = 400, across = 30;
        for (int i = 0; i < count; ++i) {
            const double x = box.xmin() + even() * box.xlength();
            const kerf::ERPoint2D p(x, box.ymin() + even() * box.ylength());
            points.push_back({p, positionOf(parts, p)});
        }
        const double side = std::max(box.xlength(), box.ylength()) / across;
        for (int i = 0; i < across && side > 0.0; ++i) {
            for (int k = 0; k < across; ++k) {
                const double x = box.xmin() + i * side, y = box.ymin() + k * side;
                if (x + side > box.xmax() + side || y > box.ymax()) continue;
                const kerf::ERMinimax2D tile(x, x + side, y, y + side);
                tiles.push_back({tile, positionOf(parts, tile)});
            }
        }
    }

    /// How many points and tiles were told to be where they are not, by the crossings of a ray.
    std::size_t mistakes = 0;
    std::vector<Point> points;
    std::vector<Tile> tiles;

    template <class Things>
    static std::size_t count(const Things& things, Position where) {
        return static_cast<std::size_t>(std::count_if(
            things.begin(), things.end(), [&](const auto& thing) { return thing.where == where; }));
    }

private:
    Position positionOf(const std::vector<CutPart>& parts, const kerf::ERPoint2D& p) {
        Position where = Position::Outside;
        for (const CutPart& part : parts) {
            int contour = 0;
            const kerf::PosContours told = part.region.CheckPoint(p, contour);
            const bool within = isWithinOdd(part.polygons, p);
            if (told == kerf::InRegion) where = Position::Inside;
            if (told == kerf::OnContourEdge || told == kerf::OnContourVertex)
                where = Position::Crossing;
            else if ((told == kerf::InRegion) != within)
                ++mistakes;
        }
        return where;
    }
    Position positionOf(const std::vector<CutPart>& parts, const kerf::ERMinimax2D& tile) {
        const kerf::ERPoint2D middle((tile.xmin() + tile.xmax()) / 2,
                                     (tile.ymin() + tile.ymax()) / 2);
        Position where = Position::Outside;
        for (const CutPart& part : parts) {
            const kerf::ER_MINMAX_POSITION_POLYGONE told = part.region.IsInDomain(tile);
            const bool within = isWithinOdd(part.polygons, middle);
            if (told == kerf::PolygonInside) where = Position::Inside;
            if (told == kerf::PolygonCrossing || told == kerf::PolygonPartly)
                where = Position::Crossing;
            else if ((told == kerf::PolygonInside) != within)
                ++mistakes;
        }
        return where;
    }
};
