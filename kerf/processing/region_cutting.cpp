#include <algorithm>
#include <cmath>
#include <vector>

#include "kerf/curves/infinite_line.h"
#include "kerf/processing/internal/edge_runs.h"
#include "kerf/processing/region.h"
#include "kerf/values/internal/polygon_predicates.h"

namespace kerf {

namespace {

constexpr double atVertex = 1e-9;  // of an edge's length
constexpr double smallSine = 0.1;

bool isOnContour(PosContours state) { return state == OnContourEdge || state == OnContourVertex; }

// The parameter of a point of the line from a to b.
double parameterOn(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    const double dx = b.x() - a.x(), dy = b.y() - a.y();
    return std::fabs(dx) > std::fabs(dy) ? (p.x() - a.x()) / dx : (p.y() - a.y()) / dy;
}

double area(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
    return ERVector2D(a, b) ^ ERVector2D(a, c);
}

// A segment of the polyline, and where it meets the edges of contours.
class PolylineSegment {
public:
    PolylineSegment(const _Intersect& a, const _Intersect& b)
        : a_(a), b_(b), box_(a.point, b.point), line_(a.point, b.point) {}

    // Appends where the segment, of the number t, meets the edges of contour c.
    void meet(const detail::Contour& contour, unsigned int c, double t,
              std::vector<_Intersect>& found) const {
        if (box_ | contour.box()) return;
        const ERPoint2D* const points = contour.points().data();
        const unsigned int n = contour.points().length();
        const unsigned int m = n > 0 && points[n - 1] == points[0] ? n - 1 : n;
        if (m <= 2) return;
        contour.visit(detail::Reach::ofBox(box_), [&](unsigned int first, unsigned int end) {
            for (unsigned int i = first; i < std::min(end, m); ++i)
                meetEdge(points[i], points[i + 1 < m ? i + 1 : 0], c, t, found);
            return false;
        });
    }

private:
    void meetEdge(const ERPoint2D& p, const ERPoint2D& q, unsigned int c, double t,
                  std::vector<_Intersect>& found) const {
        if (intervalsApart(std::min(p.x(), q.x()), std::max(p.x(), q.x()), box_.xmin(),
                           box_.xmax()) |
            intervalsApart(std::min(p.y(), q.y()), std::max(p.y(), q.y()), box_.ymin(),
                           box_.ymax()))
            return;
        const ERPoint2D &a = a_.point, &b = b_.point;
        if (p == q || !detail::segmentsMeet(p, q, a, b)) return;
        const ERInfLine2D edge(p, q);
        ERPoint2D meeting;
        if (!intersect(line_, edge, meeting)) return;
        double u = parameterOn(a, b, meeting);
        // Where lines meet at a small angle its cosine has lost the digits that tell where. Nor must
        // rounding lose the crossing of a segment with an end that is on neither side.
        if (std::fabs(line_.dirVector() ^ edge.dirVector()) < smallSine ||
            (u < 0.0 && !isOnContour(a_.state)) || (u > 1.0 && !isOnContour(b_.state))) {
            const double ofA = area(p, q, a), ofB = area(p, q, b);
            u = ofA / (ofA - ofB);
            meeting = a + ERVector2D(a, b) * u;
        }
        if (!(u >= 0.0 && u <= 1.0)) return;
        const double w = parameterOn(p, q, meeting);
        const bool vertex = std::fabs(w) <= atVertex || std::fabs(w - 1.0) <= atVertex;
        found.emplace_back(meeting, t + u, vertex ? OnContourVertex : OnContourEdge, c);
    }

    const _Intersect& a_;
    const _Intersect& b_;
    ERMinimax2D box_;
    ERInfLine2D line_;
};

// A part of the polyline that is kept: points of the list from one to another, both included.
struct Piece {
    std::size_t first, last;
};

// Walks along the points of a polyline and its crossings, in order, at least two.
class Walk {
public:
    Walk(const ERRegion2D& region, const std::vector<_Intersect>& list)
        : region_(region), list_(list) {}

    std::vector<Piece> kept() {
        std::vector<Piece> pieces;
        bool newPiece = true;
        std::size_t next = 1;
        Step step = stepAt(0);
        if (step == OnBoundary) {
            if (list_[1].state == InRegion) step = Keep;
            if (list_[1].state == OutOfRegion) step = Skip;
        }
        while (next < list_.size()) {
            if (step == OnBoundary) step = between(next - 1, next);
            if (step == Skip) {
                newPiece = true;
            } else {
                if (newPiece) pieces.push_back({next - 1, next});
                newPiece = false;
                pieces.back().last = next;
            }
            step = stepAt(next++);
        }
        return pieces;
    }

private:
    enum Step { Keep, Skip, OnBoundary };

    Step stepAt(std::size_t i) const {
        const PosContours state = list_[i].state;
        return state == InRegion ? Keep : state == OutOfRegion ? Skip : OnBoundary;
    }
    Step between(std::size_t i, std::size_t j) const {
        int contour = 0;
        const PosContours middle =
            region_.CheckPoint(milieu(list_[i].point, list_[j].point), contour);
        return middle == InRegion || middle == OnContourEdge ? Keep : Skip;
    }

    const ERRegion2D& region_;
    const std::vector<_Intersect>& list_;
};

}  // namespace

void ERRegion2D::Intersect(const ERVec<ERPoint2D>& polyline, ERTValVector<ERVec<ERPoint2D>>& result,
                           ERDebugIntersect* debug) const {
    if (count_ > 0 && firstOuter_ != 0 && (ERMinimax2D(polyline) | getBox())) return;

    std::vector<_Intersect> own;
    const ERPoint2D* const points = polyline.data();
    const unsigned int n = polyline.length();
    own.reserve(n);
    for (unsigned int i = 0; i < n; ++i) {
        if (i > 0 && points[i] == points[i - 1]) continue;
        int contour = 0;
        const PosContours state = CheckPoint(points[i], contour);
        own.emplace_back(points[i], static_cast<double>(own.size()), state,
                         static_cast<unsigned int>(contour));
    }
    if (own.size() < 2) return;

    // Those of a segment lie between its number and the next: sorting each of them sorts all.
    std::vector<_Intersect> crossings;
    for (std::size_t i = 0; i + 1 < own.size() && count_ > 0; ++i) {
        const PolylineSegment segment(own[i], own[i + 1]);
        const std::ptrdiff_t before = static_cast<std::ptrdiff_t>(crossings.size());
        for (unsigned int c = 0; c < count_; ++c)
            segment.meet((*contours_)[c], c, static_cast<double>(i), crossings);
        if (!std::is_sorted(crossings.begin() + before, crossings.end()))
            std::stable_sort(crossings.begin() + before, crossings.end());
    }
    std::vector<_Intersect> list(own.size() + crossings.size());
    std::merge(own.begin(), own.end(), crossings.begin(), crossings.end(), list.begin());
    if (debug != nullptr) {
        for (const _Intersect& element : list) debug->Debug(&element);
    }

    const std::vector<Piece> pieces = Walk(*this, list).kept();
    const unsigned int before = result.entries();
    result.reshape(before + static_cast<unsigned int>(pieces.size()));
    for (unsigned int i = 0; i < pieces.size(); ++i) {
        const Piece& piece = pieces[i];
        ERVec<ERPoint2D> part(static_cast<unsigned int>(piece.last - piece.first) + 1);
        ERPoint2D* to = part.data();
        for (std::size_t k = piece.first; k <= piece.last; ++k) *to++ = list[k].point;
        result[before + i] = part;
    }
}

}  // namespace kerf
