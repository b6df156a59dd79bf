#pragma once
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "kerf/core/smart_pointer.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/curve.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/processing/bezier_intersection.h"
#include "kerf/values/box.h"

// Where the curves of a drawing meet, and the contours that they form end to end.

/// The ends of the curve and, between them, the parameters at which its direction may jump; in order.
inline std::vector<double> cornersOf(const kerf::ERFiniteEntity2DWF& curve) {
    const kerf::ERLimites bound = curve.getBound();
    kerf::ERVec<double> jumps;
    curve.GetDiscontinuities(1, jumps);
    std::vector<double> corners = {bound.start()};
    for (const double u : jumps)
        if (bound.strictlyInBound(u)) corners.push_back(u);
    corners.push_back(bound.end());
    std::sort(corners.begin(), corners.end());
    return corners;
}

/// The length, measured from corner to corner: halving a piece with a corner in it brings polygon and
/// chord together no faster than the tolerance shrinks.
inline double lengthOf(const kerf::ERFiniteEntity2DWF& curve, double tolerance) {
    const std::vector<double> corners = cornersOf(curve);
    double length = 0.0;
    for (std::size_t i = 1; i < corners.size(); ++i)
        length += curve.arcLength(kerf::ERLimites(corners[i - 1], corners[i]), tolerance);
    return length;
}

/// A point of a curve, and how far it is from a point that was asked for.
struct CurveFoot {
    double u = 0.0;  // on the NURBS form
    kerf::ERPoint2D point;
    double distance = 0.0;
};

/// A curve of the drawing with what is asked of it again and again.
struct DrawingPart {
    kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF> curve;
    kerf::ERCpoleNURBS2D nurbs;
    kerf::ERMinimax2D box;
    double length = 0.0;
    bool straight = false;
    bool closed = false;

    /// Ends within `tolerance` of each other are closed; the length is within `lengthTolerance`.
    DrawingPart(const kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF>& drawn, double tolerance,
                double lengthTolerance)
        : curve(drawn),
          nurbs(drawn->ConvertToNurbs()),
          box(drawn->getBox()),
          length(lengthOf(*drawn, lengthTolerance)),
          straight(nurbs.degree() == 1 && nurbs.nbPoles() == 2),
          closed(!straight && drawn->isClosed(tolerance) != 0) {
        for (const double u : cornersOf(nurbs)) corners_.emplace_back(u, nurbs(u));
    }

    /// The nearest point: one of the ends and corners, or a foot that the curve finds itself.
    CurveFoot nearestTo(const kerf::ERPoint2D& p) const {
        CurveFoot nearest;
        nearest.distance = std::numeric_limits<double>::infinity();
        const auto offer = [&](double u, const kerf::ERPoint2D& point) {
            const double away = distance(point, p);
            if (away < nearest.distance) nearest = {u, point, away};
        };
        for (const auto& [u, point] : corners_) offer(u, point);
        // No foot beyond the nearest corner matters. Where every point is as near, so are the ends.
        kerf::ERVec<double> feet;
        nurbs.ProjectPoint(p, feet, nearest.distance);
        for (const double u : feet) offer(u, nurbs(u));
        return nearest;
    }

private:
    std::vector<std::pair<double, kerf::ERPoint2D>> corners_;  // with their parameters; ends too
};

struct Meeting {
    enum class Kind {
        Joint,    // an end of one at an end of the other
        End,      // an end of one within the other
        Touch,    // in a common tangent
        Crossing  // the rest
    };
    std::size_t first = 0, second = 0;  // the curves
    double onFirst = 0.0, onSecond = 0.0;
    kerf::ERPoint2D point;
    Kind kind = Kind::Crossing;
    std::size_t firstEnd = 0,
                secondEnd = 0;  // of a joint: 0 where the curve starts, 1 where it ends
};

struct Meetings {
    std::vector<Meeting> all;
    std::size_t missed = 0;    // crossings that the search by distances found alone
    std::size_t overlaps = 0;  // pairs of curves with a piece in common

    std::size_t count(Meeting::Kind kind) const {
        return static_cast<std::size_t>(std::count_if(
            all.begin(), all.end(), [&](const Meeting& meeting) { return meeting.kind == kind; }));
    }
};

/// Finds where any two of the curves meet within the tolerance. Ends are laid on the other curve,
/// crossings come from the intersection of the NURBS forms. A third search looks where the distance
/// between two curves is least: it finds touches, where curves that run in the same direction leave
/// intersection no hold, and tells what else was missed.
class MeetingSearch {
public:
    MeetingSearch(const std::vector<DrawingPart>& parts, double tolerance)
        : parts_(parts), tolerance_(tolerance) {
        std::vector<std::size_t> byLeft(parts.size());
        std::iota(byLeft.begin(), byLeft.end(), std::size_t{0});
        std::sort(byLeft.begin(), byLeft.end(), [&](std::size_t a, std::size_t b) {
            return parts[a].box.xmin() < parts[b].box.xmin();
        });
        for (std::size_t i = 0; i < byLeft.size(); ++i) {
            kerf::ERMinimax2D reach = parts[byLeft[i]].box;
            reach.Inflate(tolerance);
            for (std::size_t k = i + 1; k < byLeft.size(); ++k) {
                const kerf::ERMinimax2D& other = parts[byLeft[k]].box;
                if (other.xmin() > reach.xmax()) break;
                if (kerf::RelativePosition(reach, other) == kerf::BoxDisjoint) continue;
                compare(std::min(byLeft[i], byLeft[k]), std::max(byLeft[i], byLeft[k]));
            }
        }
        std::sort(found_.all.begin(), found_.all.end(), [](const Meeting& a, const Meeting& b) {
            return std::pair(a.first, a.second) < std::pair(b.first, b.second);
        });
    }

    const Meetings& result() const { return found_; }

private:
    const kerf::ERCpoleNURBS2D& nurbs(std::size_t part) const { return parts_[part].nurbs; }
    double endOf(std::size_t part, std::size_t end) const {
        return end == 0 ? nurbs(part).udeb() : nurbs(part).ufin();
    }

    void compare(std::size_t a, std::size_t b) {
        begin_ = found_.all.size();
        // Where curves touch, the same meeting comes out at points that are the farther apart the
        // flatter the contact.
        constexpr double flatness = 1e-5;
        merge_ = std::max(tolerance_, flatness * std::min(parts_[a].box.DiametreBoule(),
                                                          parts_[b].box.DiametreBoule()));
        addEnds(a, b);
        const bool overlap = runAlong(a, b);
        if (overlap) ++found_.overlaps;
        addIntersections(a, b);
        if (!overlap && !(parts_[a].straight && parts_[b].straight)) addNearestPoints(a, b);
    }

    bool isKnown(const kerf::ERPoint2D& point) const {
        return std::any_of(
            found_.all.begin() + static_cast<std::ptrdiff_t>(begin_), found_.all.end(),
            [&](const Meeting& known) { return distance(known.point, point) <= merge_; });
    }

    void addEnds(std::size_t a, std::size_t b) {
        for (const bool swapped : {false, true}) {
            const std::size_t own = swapped ? b : a, other = swapped ? a : b;
            if (parts_[own].closed) continue;
            for (const std::size_t end : {std::size_t{0}, std::size_t{1}}) {
                const double u = endOf(own, end);
                const kerf::ERPoint2D point = nurbs(own)(u);
                const CurveFoot foot = parts_[other].nearestTo(point);
                if (foot.distance > tolerance_) continue;
                Meeting meeting{
                    a, b, swapped ? foot.u : u, swapped ? u : foot.u, point, Meeting::Kind::Joint};
                bool joined = false;
                for (const std::size_t there : {std::size_t{0}, std::size_t{1}}) {
                    const kerf::ERPoint2D otherEnd = nurbs(other)(endOf(other, there));
                    if (parts_[other].closed || distance(otherEnd, point) > tolerance_) continue;
                    joined = true;
                    if (swapped) continue;  // seen from the first curve already
                    meeting.firstEnd = end;
                    meeting.secondEnd = there;
                    found_.all.push_back(meeting);
                }
                meeting.kind = Meeting::Kind::End;
                if (!joined) found_.all.push_back(meeting);
            }
        }
    }

    // Two straight parts share a piece when two ends lie on the other, apart from each other;
    // others when three neighbouring samples do.
    bool runAlong(std::size_t a, std::size_t b) {
        if (parts_[a].straight && parts_[b].straight) {
            for (std::size_t i = begin_ + 1; i < found_.all.size(); ++i)
                if (distance(found_.all[i].point, found_.all[begin_].point) > tolerance_)
                    return true;
            return false;
        }
        if (parts_[b].straight) std::swap(a, b);
        sample(a, b);
        for (std::size_t i = 2; i < samples_.size(); ++i)
            if (std::max({samples_[i - 2].distance, samples_[i - 1].distance,
                          samples_[i].distance}) <= tolerance_)
                return true;
        return false;
    }

    void addIntersections(std::size_t a, std::size_t b) {
        kerf::ERVec<double> onA, onB;
        kerf::intersect(nurbs(a), nurbs(b), onA, onB);
        for (unsigned int i = 0; i < onA.length(); ++i) {
            double u = onA[i], v = onB[i];
            if (!bring(nurbs(a), u) || !bring(nurbs(b), v)) continue;
            if (distance(nurbs(a)(u), nurbs(b)(v)) > tolerance_) continue;
            add(a, b, u, v);
        }
    }

    // What lies outside by rounding counts as the end; false for what lies outside.
    static bool bring(const kerf::ERCpoleNURBS2D& curve, double& u) {
        const double slack = 1e-9 * (curve.ufin() - curve.udeb());
        if (!(u >= curve.udeb() - slack && u <= curve.ufin() + slack)) return false;
        u = std::clamp(u, curve.udeb(), curve.ufin());
        return true;
    }

    bool add(std::size_t a, std::size_t b, double u, double v) {
        if (isKnown(nurbs(a)(u))) return false;
        constexpr double parallel = 1e-4;
        Meeting meeting{a, b, u, v, nurbs(a)(u), Meeting::Kind::Crossing};
        if (std::fabs(sineAt(a, b, u, v)) <= parallel) settleTouch(meeting);
        found_.all.push_back(meeting);
        return true;
    }

    // Of the angle between the two curves.
    double sineAt(std::size_t a, std::size_t b, double u, double v) const {
        const kerf::ERVector2D p = nurbs(a).PtCur(u).tangente(), q = nurbs(b).PtCur(v).tangente();
        const double lengths = p.norme() * q.norme();
        return lengths > 0.0 ? (p ^ q) / lengths : 0.0;
    }

    // The distance hardly changes near a touch, and tells its place to half the digits only. The
    // angle does better: the secant method takes it to 0.
    void settleTouch(Meeting& touch) const {
        const kerf::ERCpoleNURBS2D& first = nurbs(touch.first);
        const DrawingPart& second = parts_[touch.second];
        const auto angleAt = [&](double u) {
            return sineAt(touch.first, touch.second, u, second.nearestTo(first(u)).u);
        };
        constexpr double offset = 1e-4;
        constexpr int steps = 6;
        double before = touch.onFirst + offset * (first.ufin() - first.udeb());
        if (before > first.ufin()) before = 2 * touch.onFirst - before;
        double u = touch.onFirst, angleBefore = angleAt(before), angle = angleAt(u);
        for (int i = 0; i < steps && angle != angleBefore && angle != 0.0; ++i) {
            const double next = u - angle * (u - before) / (angle - angleBefore);
            if (!(next >= first.udeb() && next <= first.ufin())) break;
            before = u;
            angleBefore = angle;
            angle = angleAt(u = next);
        }
        touch.kind = Meeting::Kind::Touch;
        const CurveFoot foot = second.nearestTo(first(u));
        if (foot.distance > tolerance_ || distance(first(u), touch.point) > merge_) return;
        touch.onFirst = u;
        touch.onSecond = foot.u;
        touch.point = first(u);
    }

    void sample(std::size_t a, std::size_t b) {
        constexpr unsigned int perSpan = 32;
        const unsigned int steps = perSpan * std::max(1u, nurbs(a).nbSpans());
        samples_.clear();
        for (unsigned int i = 0; i <= steps; ++i)
            samples_.push_back(
                parts_[b].nearestTo(nurbs(a)(nurbs(a).getBound()(static_cast<double>(i) / steps))));
    }

    // From each lowest sample down to the least distance, by golden section.
    void addNearestPoints(std::size_t a, std::size_t b) {
        const bool turned = parts_[b].straight;  // as in runAlong, which took the samples
        const std::size_t along = turned ? b : a, to = turned ? a : b;
        const kerf::ERLimites bound = nurbs(along).getBound();
        const double step = 1.0 / static_cast<double>(samples_.size() - 1);
        const auto distanceAt = [&](double t) {
            return parts_[to].nearestTo(nurbs(along)(bound(t))).distance;
        };
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            if (i > 0 && samples_[i - 1].distance < samples_[i].distance) continue;
            if (i + 1 < samples_.size() && samples_[i + 1].distance < samples_[i].distance)
                continue;
            double low = std::max(0.0, (static_cast<double>(i) - 1) * step);
            double high = std::min(1.0, (static_cast<double>(i) + 1) * step);
            constexpr double golden = 0.6180339887498949;
            constexpr int halvings = 80;
            double t1 = high - golden * (high - low), t2 = low + golden * (high - low);
            double d1 = distanceAt(t1), d2 = distanceAt(t2);
            for (int n = 0; n < halvings && low < t1 && t2 < high; ++n) {
                if (d1 <= d2) {
                    high = t2;
                    t2 = t1;
                    d2 = d1;
                    t1 = high - golden * (high - low);
                    d1 = distanceAt(t1);
                } else {
                    low = t1;
                    t1 = t2;
                    d1 = d2;
                    t2 = low + golden * (high - low);
                    d2 = distanceAt(t2);
                }
            }
            const double u = bound((low + high) / 2);
            const CurveFoot foot = parts_[to].nearestTo(nurbs(along)(u));
            if (foot.distance > tolerance_) continue;
            if (add(a, b, turned ? foot.u : u, turned ? u : foot.u) &&
                found_.all.back().kind == Meeting::Kind::Crossing)
                ++found_.missed;
        }
    }

    const std::vector<DrawingPart>& parts_;
    double tolerance_;
    Meetings found_;
    std::size_t begin_ = 0;  // of the meetings of the pair at work
    double merge_ = 0.0;     // nearer ones of a pair are the same
    std::vector<CurveFoot> samples_;
};

/// Curves joined end to end.
struct Contour {
    std::vector<std::size_t> curves;
    kerf::t_SmartPtr<kerf::ERCompCurve2D> chain;
    bool closed = false;
    double length = 0.0;
    double area = 0.0;  // within a closed one, above 0 when it runs counter-clockwise
};

/// Half the integral of x dy - y dx, by Gauss's rule of five points on quarters of each span.
inline double areaWithin(const kerf::ERCpoleNURBS2D& outline) {
    constexpr double nodes[] = {-0.9061798459386640, -0.5384693101056831, 0.0, 0.5384693101056831,
                                0.9061798459386640};
    constexpr double weights[] = {0.2369268850561891, 0.4786286704993665, 0.5688888888888889,
                                  0.4786286704993665, 0.2369268850561891};
    constexpr int pieces = 4;
    const kerf::ERPoint2D origin = outline.firstPt();
    const kerf::ERKnotVector knots = outline.knotVector();
    double twice = 0.0;
    for (unsigned int span = 0; span < knots.nbSpans(); ++span) {
        const kerf::ERLimites limits = knots.getSpanLimites(static_cast<int>(span));
        const double half = limits.amplitude() / (2 * pieces);
        for (int piece = 0; half > 0.0 && piece < pieces; ++piece) {
            for (int k = 0; k < 5; ++k) {
                const double u = limits.start() + half * (2 * piece + 1 + nodes[k]);
                const kerf::ERInfoPoint2D at = outline.PtCur(u);
                twice += weights[k] * half * (kerf::ERVector2D(origin, at.point()) ^ at.tangente());
            }
        }
    }
    return twice / 2;
}

/// Follows the joints from curve to curve wherever two ends and no more come together. Each curve
/// stands in one contour.
class ContourSearch {
public:
    ContourSearch(const std::vector<DrawingPart>& parts, const Meetings& meetings, double tolerance)
        : parts_(parts), next_(2 * parts.size()), used_(parts.size()) {
        // Ends are numbered 2 * curve + end.
        std::vector<std::size_t> partners(2 * parts.size());
        for (const Meeting& meeting : meetings.all) {
            if (meeting.kind != Meeting::Kind::Joint) continue;
            const std::size_t a = 2 * meeting.first + meeting.firstEnd;
            const std::size_t b = 2 * meeting.second + meeting.secondEnd;
            ++partners[a];
            ++partners[b];
            next_[a] = b;
            next_[b] = a;
        }
        for (std::size_t end = 0; end < next_.size(); ++end)
            if (partners[end] != 1) next_[end] = end;
        // Open ones from their ends, then those that have none.
        for (std::size_t end = 0; end < next_.size(); ++end)
            if (next_[end] == end && !parts[end / 2].closed) follow(end, tolerance);
        for (std::size_t part = 0; part < parts.size(); ++part) follow(2 * part, tolerance);
    }

    const std::vector<Contour>& result() const { return contours_; }
    bool joined() const { return joined_; }  // whether every curve went into its chain

private:
    // From that end of a curve on.
    void follow(std::size_t end, double tolerance) {
        if (used_[end / 2]) return;
        const std::size_t start = end;
        Contour contour;
        contour.chain = new kerf::ERCompCurve2D;
        while (true) {
            const std::size_t part = end / 2;
            used_[part] = true;
            contour.curves.push_back(part);
            contour.length += parts_[part].length;
            const kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF> piece(*parts_[part].curve);
            if (end % 2 == 1) piece->reverse();
            if (contour.chain->append(piece, tolerance) == 0) joined_ = false;
            const std::size_t far = end ^ 1;
            end = next_[far];
            if (end == far || end == start || used_[end / 2]) break;
        }
        contour.closed = parts_[start / 2].closed || (end == start && next_[start] != start);
        if (contour.closed) contour.area = areaWithin(contour.chain->ConvertToNurbs());
        contours_.push_back(contour);
    }

    const std::vector<DrawingPart>& parts_;
    std::vector<std::size_t> next_;  // the end that meets this one; itself where none or several do
    std::vector<bool> used_;
    std::vector<Contour> contours_;
    bool joined_ = true;
};
