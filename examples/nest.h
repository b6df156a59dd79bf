#pragma once
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "examples/curve_meetings.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/curves/curve.h"
#include "kerf/processing/chainer.h"
#include "kerf/processing/curve_segment.h"
#include "kerf/values/box.h"

// Loose curves joined into the contours that a machine cuts.

/// A curve that is cut in one go, in either direction.
struct LoosePiece {
    kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF> curve;
    kerf::ERPoint2D start, middle, end;

    explicit LoosePiece(const kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF>& drawn)
        : curve(drawn),
          start(drawn->firstPt()),
          middle((*drawn)((drawn->udeb() + drawn->ufin()) / 2)),
          end(drawn->lastPt()) {}
};

/// Cuts the curves at their corners, and what is then still closed in the middle; runs about half of the
/// pieces backwards and shuffles them all.
inline std::vector<LoosePiece> takeApart(const std::vector<LoosePiece>& pieces, std::uint64_t seed,
                                         double join) {
    using Curve = kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF>;
    std::mt19937_64 random(seed);
    std::vector<LoosePiece> loose;
    const auto add = [&](const Curve& curve) {
        if (random() % 2 == 0) curve->reverse();
        loose.emplace_back(curve);
    };
    for (const LoosePiece& piece : pieces) {
        Curve rest(*piece.curve), left, right;
        for (std::vector<double> corners = cornersOf(*rest);
             corners.size() > 2 && rest->splitAt(left, right, corners[1]) != 0;
             corners = cornersOf(*rest)) {
            add(left);
            rest = right;
        }
        if (rest->isClosed(join) != 0 &&
            rest->splitAt(left, right, (rest->udeb() + rest->ufin()) / 2) != 0) {
            add(left);
            rest = right;
        }
        add(rest);
    }
    std::shuffle(loose.begin(), loose.end(), random);
    return loose;
}

/// Pieces end to end.
struct CutContour {
    struct Step {
        std::size_t piece = 0;
        bool backwards = false;
    };
    std::vector<Step> steps;
    bool closed = false;
    kerf::ERPoint2D start, end;
    double length = 0.0;
    double area = 0.0;  // of a closed one, whatever its direction
    double gap = 0.0;   // the widest between neighbours, in a closed one also between its ends
};

/// Joins pieces whose ends are closer than `join`. Doubled pieces are left out before, and so are those
/// that are shorter than a joint. Closed curves are contours of their own. What the chainer returns is cut
/// where it comes back to a place that it has passed: each loop is a contour.
class ContourChainer {
public:
    ContourChainer(const std::vector<LoosePiece>& pieces, double join, double size)
        : pieces_(pieces), join_(join) {
        const auto begin = std::chrono::steady_clock::now();
        findDoubled();
        // In a unit in which squares of distances are larger than lengths: see CurveSegment2D.
        const double scale = size > 0.0 ? std::exp2(30.0 - std::ceil(std::log2(size))) : 1.0;
        kerf::ERChainerProcessor processor(join * scale);
        lengths_.resize(pieces.size());
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const kerf::t_SmartPtr<Edge> edge(new Edge(pieces[i].curve, size * 1e-6, scale, i));
            lengths_[i] = edge->length() / scale;
            if (doubled_[i]) continue;
            if (lengths_[i] < join) {
                short_.push_back(i);
            } else if (pieces[i].curve->isClosed(join) != 0) {
                addContour({{i, false}}, true);
            } else if (processor.insert(edge) == 0) {
                lost_.push_back(i);
            }
        }
        for (int i = 0; i < processor.nbchains(); ++i) takeLoops(stepsOf(*processor.getAt(i)));
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - begin;
        milliseconds_ = time.count();
        std::stable_sort(contours_.begin(), contours_.end(),
                         [](const CutContour& a, const CutContour& b) { return a.area > b.area; });
    }

    /// The largest first, those that are open last.
    const std::vector<CutContour>& contours() const { return contours_; }
    const std::vector<std::size_t>& tooShort() const { return short_; }
    std::size_t doubled() const {
        return static_cast<std::size_t>(std::count(doubled_.begin(), doubled_.end(), true));
    }
    bool isDoubled(std::size_t piece) const { return doubled_[piece]; }
    double length(std::size_t piece) const { return lengths_[piece]; }
    double milliseconds() const { return milliseconds_; }

    /// Every piece is in one contour, doubled or short, and no joint is wider than it may be.
    bool isWhole() const {
        std::vector<int> times(pieces_.size());
        bool joined = lost_.empty();
        for (const CutContour& contour : contours_) {
            joined = joined && contour.gap <= join_;
            for (const CutContour::Step& step : contour.steps) ++times[step.piece];
        }
        for (const std::size_t i : short_) ++times[i];
        for (std::size_t i = 0; i < pieces_.size(); ++i)
            if (times[i] != (doubled_[i] ? 0 : 1)) return false;
        return joined;
    }

    /// From that end of an open contour to the nearest end of another or to its own other end.
    double reachOf(std::size_t contour, bool atEnd) const {
        const CutContour& own = contours_[contour];
        const kerf::ERPoint2D& p = atEnd ? own.end : own.start;
        double reach = distance(own.start, own.end);
        for (std::size_t i = 0; i < contours_.size(); ++i)
            if (i != contour && !contours_[i].closed)
                reach = std::min(
                    {reach, distance(p, contours_[i].start), distance(p, contours_[i].end)});
        return reach;
    }

    kerf::ERPoint2D startOf(const CutContour::Step& step) const {
        return step.backwards ? pieces_[step.piece].end : pieces_[step.piece].start;
    }
    kerf::ERPoint2D endOf(const CutContour::Step& step) const {
        return step.backwards ? pieces_[step.piece].start : pieces_[step.piece].end;
    }

private:
    using Steps = std::vector<CutContour::Step>;

    // A segment that knows its piece.
    class Edge : public kerf::CurveSegment2D {
    public:
        Edge(const kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF>& drawn, double tolerance,
             double scale, std::size_t i)
            : CurveSegment2D(drawn, tolerance, scale), piece(i) {}
        const std::size_t piece;
    };

    static Steps stepsOf(const kerf::ERChainedMetaSeg2D& chain) {
        Steps steps;
        chain.applyOnSegment(
            [](kerf::ERChainerSeg2D* segment, void* list) {
                const Edge* const edge = dynamic_cast<const Edge*>(segment);
                static_cast<Steps*>(list)->push_back({edge->piece, edge->isReversed() != 0});
            },
            &steps);
        return steps;
    }

    // Marks the later of two pieces with the same ends and middle.
    void findDoubled() {
        doubled_.assign(pieces_.size(), false);
        std::vector<std::size_t> order(pieces_.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return pieces_[a].middle.x() < pieces_[b].middle.x();
        });
        for (std::size_t i = 0; i < order.size(); ++i) {
            const LoosePiece& a = pieces_[order[i]];
            for (std::size_t k = i + 1; k < order.size() && !doubled_[order[i]]; ++k) {
                const LoosePiece& b = pieces_[order[k]];
                if (b.middle.x() - a.middle.x() > join_) break;
                const auto near = [&](const kerf::ERPoint2D& p, const kerf::ERPoint2D& q) {
                    return distance(p, q) < join_;
                };
                if (near(a.middle, b.middle) && ((near(a.start, b.start) && near(a.end, b.end)) ||
                                                 (near(a.start, b.end) && near(a.end, b.start))))
                    doubled_[std::max(order[i], order[k])] = true;
            }
        }
    }

    void takeLoops(const Steps& steps) {
        Steps path;
        for (const CutContour::Step& step : steps) {
            path.push_back(step);
            const kerf::ERPoint2D place = endOf(step);
            std::size_t from = path.size();
            while (from > 0 && !(distance(startOf(path[from - 1]), place) < join_)) --from;
            if (from == 0) continue;
            const auto loop = path.begin() + static_cast<std::ptrdiff_t>(from) - 1;
            addContour(Steps(loop, path.end()), true);
            path.erase(loop, path.end());
        }
        if (!path.empty()) addContour(path, false);
    }

    void addContour(const Steps& steps, bool closed) {
        CutContour contour{steps, closed, startOf(steps.front()), endOf(steps.back())};
        double twice = 0.0, bulges = 0.0;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            const CutContour::Step& step = steps[i];
            const kerf::ERPoint2D next = startOf(steps[(i + 1) % steps.size()]);
            contour.length += lengths_[step.piece];
            if (closed || i + 1 < steps.size())
                contour.gap = std::max(contour.gap, distance(endOf(step), next));
            if (!closed) continue;
            twice += kerf::ERVector2D(contour.start, startOf(step)) ^
                     kerf::ERVector2D(contour.start, endOf(step));
            twice += kerf::ERVector2D(contour.start, endOf(step)) ^
                     kerf::ERVector2D(contour.start, next);
            const double bulge = areaWithin(pieces_[step.piece].curve->ConvertToNurbs());
            bulges += step.backwards ? -bulge : bulge;
        }
        contour.area = std::fabs(twice / 2 + bulges);
        contours_.push_back(contour);
    }

    const std::vector<LoosePiece>& pieces_;
    double join_;
    std::vector<bool> doubled_;
    std::vector<double> lengths_;
    std::vector<std::size_t> short_, lost_;
    std::vector<CutContour> contours_;
    double milliseconds_ = 0.0;
};
