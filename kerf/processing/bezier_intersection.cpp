#include "kerf/processing/bezier_intersection.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/spline/knot_insertion.h"
#include "kerf/curves/spline/pole_type.h"
#include "kerf/curves/spline/power_form.h"
#include "kerf/numerics/internal/newton_iteration.h"
#include "kerf/numerics/vector_impl.h"

namespace kerf {

namespace {

constexpr double straightDeviation = 0.01;
constexpr double leafSize = 100.0;  // of the box of two parts for Newton's method
constexpr double precision = 1e-12;
constexpr double tolerance = 1e-9;
constexpr int maxIterations = 400;
constexpr unsigned int maxHalvings = 60;
constexpr std::uint64_t maxPairs = 131072;
constexpr std::uint64_t pairsOfPieces = 16;
// Pairs that are looked at beyond the nearly straight ones: in all, and from one such pair on.
constexpr unsigned int maxFurtherPairs = 8192;
constexpr unsigned int furtherPairs = 128;
// Curves that meet at a smaller angle run along each other there; in small parts, where rounding tells
// on directions, at a smaller angle than this times their coordinates over their size.
constexpr double sameDirection = 1e-9;
constexpr double sameDirectionOfSmall = 1e-13;
constexpr double sameCrossing = 1e-9;  // parameters, of the domain
// Below this size, relative to its coordinates, the sides of a part are too much of rounding to tell
// such an angle.
constexpr double smallestPart = 1e-6;
constexpr unsigned int dim = 3;  // x w, y w, w
constexpr unsigned int polesOnStack = 8;
// The gap from which boxes beside each other settle that hulls do: see hullsOverlap.
constexpr double clearGap = 3e-5;

// A - B of two homogeneous points, and the derivatives of a Cartesian point.
ERVector2D difference(const double* a, const double* b) {
    return ERVector2D(a[0] / a[2] - b[0] / b[2], a[1] / a[2] - b[1] / b[2]);
}
ERVector2D quotientSlope(const double* a, const double* derived) {
    const double square = a[2] * a[2];
    return ERVector2D((derived[0] * a[2] - a[0] * derived[2]) / square,
                      (derived[1] * a[2] - a[1] * derived[2]) / square);
}

// Parts of curves.

// A part of a curve: its poles, and what is asked about it more than once. The arrays lie in the
// caller's memory.
struct Part {
    static constexpr unsigned int doublesPerPole = dim + 2 + 2;

    double start, end;  // parameters
    double chord, polygon;
    double low[2], high[2];
    const double* poles;  // n of dim doubles
    const ERPoint2D* points;
    ERPoint2D* hull;
    unsigned int n;
    unsigned int corners;  // of the hull; 0 before it is made
    unsigned int halvings;
    bool finite;

    bool isBent() const { return 1.0 - chord / polygon >= straightDeviation; }
};

// The part with the poles that stand at the front of `memory`, which is doublesPerPole * n long.
Part partOf(double* memory, unsigned int n, double start, double end, unsigned int halvings) {
    ERPoint2D* const points = reinterpret_cast<ERPoint2D*>(memory + std::size_t{n} * dim);
    Part part{start, end, 0.0, 0.0, {}, {}, memory, points, points + n, n, 0, halvings, true};
    constexpr double largest = std::numeric_limits<double>::max();
    part.low[0] = part.low[1] = largest;
    part.high[0] = part.high[1] = -largest;
    for (unsigned int i = 0; i < n; ++i) {
        const double* const pole = memory + std::size_t{i} * dim;
        points[i] = ERPoint2D(pole[0] / pole[2], pole[1] / pole[2]);
        const double c[2] = {points[i].x(), points[i].y()};
        for (unsigned int axis = 0; axis < 2; ++axis) {
            if (c[axis] < part.low[axis]) part.low[axis] = c[axis];
            if (c[axis] > part.high[axis]) part.high[axis] = c[axis];
        }
        if (i > 0) part.polygon += distance(points[i - 1], points[i]);
    }
    part.chord = distance(points[0], points[n - 1]);
    part.finite = std::isfinite(part.polygon);
    return part;
}

// Both halves of the poles, each at the front of memory for a part.
void halve(const double* poles, unsigned int n, double* left, double* right) {
    const std::size_t length = std::size_t{n} * dim;
    std::copy_n(poles, length, right);
    for (std::size_t last = length; last > 0; last -= dim) {
        for (unsigned int k = 0; k < dim; ++k) left[length - last + k] = right[k];
        for (std::size_t k = 0; k + dim < last; ++k)
            right[k] = right[k] * 0.5 + right[k + dim] * 0.5;
    }
}

// Whether the hulls of two parts overlap. Where poles are at infinity nothing is ruled out.
bool overlap(Part& a, Part& b) {
    if (!a.finite || !b.finite) return true;
    if (a.high[1] < b.low[1] || b.high[1] < a.low[1]) return false;
    if (a.high[0] + clearGap < b.low[0] || b.high[0] + clearGap < a.low[0]) return false;
    for (Part* part : {&a, &b}) {
        if (part->corners == 0) {
            part->corners = detail::hullCorners(part->points, part->n, part->hull);
        }
    }
    return detail::hullsOverlap(a.hull, a.corners, b.hull, b.corners);
}

// Newton's method on two nearly straight parts.

// A curve in powers of its parameter, scaled, and its derivatives.
class PowerCurve {
public:
    PowerCurve(const Part& part, double scale, double shiftX, double shiftY)
        : n_(part.n), memory_(std::size_t{2} * dim * part.n) {
        double* const c = memory_.data();
        for (unsigned int i = 0; i < n_; ++i) {
            const double* const pole = part.poles + std::size_t{i} * dim;
            double* const to = c + std::size_t{i} * dim;
            to[0] = scale * pole[0] + shiftX * pole[2];
            to[1] = scale * pole[1] + shiftY * pole[2];
            to[2] = pole[2];
        }
        spline::bernsteinToPower(c, n_, dim);
        double* const derived = c + std::size_t{n_} * dim;
        for (unsigned int i = 1; i < n_; ++i)
            for (unsigned int k = 0; k < dim; ++k) derived[(i - 1) * dim + k] = i * c[i * dim + k];
        std::fill_n(derived + (n_ - 1) * dim, dim, 0.0);
    }

    void value(double t, double* out) { evaluate(memory_.data(), n_, t, out); }
    void slope(double t, double* out) {
        evaluate(memory_.data() + std::size_t{n_} * dim, std::max(n_ - 1, 1U), t, out);
    }

private:
    static void evaluate(const double* c, unsigned int n, double t, double* out) {
        const double* from = c + std::size_t{n - 1} * dim;
        double x = from[0], y = from[1], w = from[2];
        while (from != c) {
            from -= dim;
            x = x * t + from[0];
            y = y * t + from[1];
            w = w * t + from[2];
        }
        out[0] = x;
        out[1] = y;
        out[2] = w;
    }

    unsigned int n_;
    spline::Scratch<2 * dim * polesOnStack> memory_;
};

// What Newton's method came to.
enum class Outcome {
    Lost,     // no solution
    Overlap,  // one where the curves have the same direction
    Crossing
};

// A(u) = B(v) for Newton's method on the stack.
class Equation {
public:
    Equation(PowerCurve& first, PowerCurve& second) : first_(first), second_(second) {}

    void f(const double* x, double* values) {
        first_.value(x[0], a_);
        second_.value(x[1], b_);
        const ERVector2D value = difference(a_, b_);
        values[0] = value.i();
        values[1] = value.j();
        lost_ = std::isnan(values[0]) || std::isnan(values[1]);
    }
    // At the x of the last f. From a value that is no number on nothing else comes: a singular
    // derivative ends the iteration.
    void fprime(const double* x, double* rows) {
        const ERVector2D byU = slope(first_, x[0], a_), byV = slope(second_, x[1], b_);
        rows[0] = lost_ ? 0.0 : byU.i();
        rows[1] = lost_ ? 0.0 : -byV.i();
        rows[2] = lost_ ? 0.0 : byU.j();
        rows[3] = lost_ ? 0.0 : -byV.j();
    }

    // Whether the curves have the same direction at the x of the last f, within that angle.
    bool runAlong(const double* x, double angle) {
        const ERVector2D byU = slope(first_, x[0], a_), byV = slope(second_, x[1], b_);
        const double product = byU.norme() * byV.norme();
        return product > 0.0 && std::fabs(byU ^ byV) <= angle * product;
    }

private:
    static ERVector2D slope(PowerCurve& curve, double t, const double* value) {
        double derived[dim];
        curve.slope(t, derived);
        return quotientSlope(value, derived);
    }

    PowerCurve& first_;
    PowerCurve& second_;
    double a_[dim], b_[dim];
    bool lost_ = false;
};

// Where the lines through the chords cross, as distances from the first points in lengths of the
// chords. False for parallel ones.
bool chordsCross(const Part& a, const Part& b, double* x) {
    const ERPoint2D& startA = a.points[0];
    const ERPoint2D& startB = b.points[0];
    const ERVector2D dA = ERVector2D(startA, a.points[a.n - 1]).getnormalized();
    const ERVector2D dB = ERVector2D(startB, b.points[b.n - 1]).getnormalized();
    if ((dA ^ dB) == 0.0) return false;
    const double cosine = dA * dB;
    const double s = cosine * cosine - 1.0;
    if (s == 0.0) return false;
    const ERVector2D between(startA, startB);
    const double t = (cosine * (dB * between) - dA * between) / s;
    const ERPoint2D p(startA.x() + t * dA.i(), startA.y() + t * dA.j());
    x[0] = distance(p, startA) / a.chord;
    x[1] = distance(p, startB) / b.chord;
    return true;
}

// From the start x on, in the parameters of the parts.
Outcome findCrossing(const Part& a, const Part& b, double (&x)[2]) {
    const double low[2] = {std::min(a.low[0], b.low[0]), std::min(a.low[1], b.low[1])};
    const double high[2] = {std::max(a.high[0], b.high[0]), std::max(a.high[1], b.high[1])};
    const ERVector2D diagonal(high[0] - low[0], high[1] - low[1]);
    const double scale = leafSize / diagonal.norme();
    if (!(scale > 0.0) || !std::isfinite(scale)) return Outcome::Lost;
    const double shiftX = (low[0] + high[0]) * 0.5 * (1.0 - scale);
    const double shiftY = (low[1] + high[1]) * 0.5 * (1.0 - scale);
    PowerCurve first(a, scale, shiftX, shiftY);
    PowerCurve second(b, scale, shiftX, shiftY);
    const double size = std::min(a.polygon, b.polygon);
    const double far =
        std::max({std::fabs(low[0]), std::fabs(low[1]), std::fabs(high[0]), std::fabs(high[1])});
    Equation equation(first, second);
    if (newton::solveOnStack<2>(equation, x, precision, maxIterations, tolerance).status > 1)
        return Outcome::Lost;
    const double sameAngle = std::max(sameDirection, sameDirectionOfSmall * far / size);
    return equation.runAlong(x, sameAngle) ? Outcome::Overlap : Outcome::Crossing;
}

bool isWithin(const double* x) {
    return x[0] >= -sameCrossing && x[0] <= 1.0 + sameCrossing && x[1] >= -sameCrossing &&
           x[1] <= 1.0 + sameCrossing;
}

// The directions that the tangents of a part can have: they lie between two sides of its polygon.
// False when they are not known to stay within a half turn, or there are none.
bool directions(const Part& part, ERVector2D& low, ERVector2D& high) {
    const ERVector2D chord(part.points[0], part.points[part.n - 1]);
    bool any = false;
    for (unsigned int i = 1; i < part.n; ++i) {
        if (!(part.poles[i * dim + 2] * part.poles[2] > 0.0)) return false;
        const ERVector2D side(part.points[i - 1], part.points[i]);
        if (side.i() == 0.0 && side.j() == 0.0) continue;
        if (!(side * chord > 0.0)) return false;
        if (!any || (low ^ side) < 0.0) low = side;
        if (!any || (high ^ side) > 0.0) high = side;
        any = true;
    }
    return any;
}

bool isTiny(const Part& part) {
    double size = 0.0;
    for (unsigned int axis = 0; axis < 2; ++axis)
        size = std::max({size, std::fabs(part.low[axis]), std::fabs(part.high[axis])});
    return !(part.polygon > smallestPart * size);
}

// Whether no direction of one part is one of the other, so that they cross once at most.
bool crossOnce(const Part& a, const Part& b) {
    ERVector2D lowA, highA, lowB, highB;
    if (!directions(a, lowA, highA) || !directions(b, lowB, highB)) return false;
    const double turns[4] = {lowA ^ lowB, lowA ^ highB, highA ^ lowB, highA ^ highB};
    return std::all_of(turns, turns + 4, [](double turn) { return turn > 0.0; }) ||
           std::all_of(turns, turns + 4, [](double turn) { return turn < 0.0; });
}

// The search.

class Search {
public:
    Search(std::uint64_t pairs, ERVec<double>& onA, ERVec<double>& onB)
        : pairsLeft_(pairs), first_(onA.length()), onA_(onA), onB_(onB) {}

    void cross(Part& a, Part& b) {
        if (pairsLeft_ == 0) return;
        --pairsLeft_;
        const bool first = a.polygon > b.polygon;
        if ((a.isBent() || b.isBent()) && (first ? a : b).halvings < maxHalvings) {
            divide(a, b, first, [this](Part& c, Part& d) { cross(c, d); });
        } else {
            crossStraight(a, b);
        }
    }

private:
    // Halves one of both and goes on with the halves whose hulls overlap that of the other, the left
    // one first.
    template <class GoOn>
    void divide(Part& a, Part& b, bool first, GoOn goOn) {
        const Part& whole = first ? a : b;
        const unsigned int n = whole.n;
        const std::size_t size = std::size_t{n} * Part::doublesPerPole;
        spline::Scratch<2 * polesOnStack * Part::doublesPerPole> memory(2 * size);
        halve(whole.poles, n, memory.data(), memory.data() + size);
        const double middle = (whole.start + whole.end) * 0.5;
        for (unsigned int i = 0; i < 2; ++i) {
            Part half = partOf(memory.data() + i * size, n, i == 0 ? whole.start : middle,
                               i == 0 ? middle : whole.end, whole.halvings + 1);
            if (!overlap(half, first ? b : a)) continue;
            if (first) {
                goOn(half, b);
            } else {
                goOn(a, half);
            }
        }
    }

    void crossStraight(Part& a, Part& b) {
        double x[2];
        if (!chordsCross(a, b, x)) return;
        const Outcome outcome = findCrossing(a, b, x);
        if (outcome == Outcome::Overlap) return;
        if (outcome == Outcome::Crossing) {
            append(a, b, x);
            if (isWithin(x) && crossOnce(a, b)) return;
        }
        furtherLeft_ = std::min(furtherPairs, furtherInAll_);
        furtherInAll_ -= furtherLeft_;
        lookFurther(a, b);
        furtherInAll_ += furtherLeft_;
    }

    // What the chords of two parts did not lead to: crossings within them, until each is known to be
    // the only one.
    void lookFurther(Part& a, Part& b) {
        const bool first = a.polygon > b.polygon;
        if (furtherLeft_ == 0 || isTiny(a) || isTiny(b)) return;
        --furtherLeft_;
        if (crossOnce(a, b)) {
            double x[2] = {0.5, 0.5};
            if (findCrossing(a, b, x) == Outcome::Crossing && isWithin(x)) {
                if (!isKnown(a, b, x)) append(a, b, x);
                return;
            }
        }
        divide(a, b, first, [this](Part& c, Part& d) { lookFurther(c, d); });
    }

    static double parameter(const Part& part, double t) {
        return part.start + (part.end - part.start) * t;
    }

    void append(const Part& a, const Part& b, const double* x) {
        onA_.append(parameter(a, x[0]));
        onB_.append(parameter(b, x[1]));
    }

    bool isKnown(const Part& a, const Part& b, const double* x) const {
        const auto same = [](double u, double v, const Part& part) {
            return std::fabs(u - v) <= sameCrossing * std::ldexp(part.end - part.start,
                                                                 static_cast<int>(part.halvings));
        };
        for (unsigned int i = first_; i < onA_.length(); ++i) {
            if (same(std::as_const(onA_)[i], parameter(a, x[0]), a) &&
                same(std::as_const(onB_)[i], parameter(b, x[1]), b)) {
                return true;
            }
        }
        return false;
    }

    std::uint64_t pairsLeft_;
    unsigned int furtherInAll_ = maxFurtherPairs;
    unsigned int furtherLeft_ = 0;
    unsigned int first_;  // of what this search appended
    ERVec<double>& onA_;
    ERVec<double>& onB_;
};

bool allFinite(const double* values, std::size_t count) {
    return std::all_of(values, values + count, [](double c) { return std::isfinite(c); });
}

// The Bézier pieces of a NURBS curve.
class Pieces {
public:
    explicit Pieces(const ERCpoleNURBS2D& curve) {
        const ERKnotVector knots = curve.knotVector();
        const unsigned int n = curve.degree() + 1;
        const unsigned int size = n * Part::doublesPerPole;
        const double* const poles = spline::doubles(curve.poles().data());
        const double* const k = knots.data();
        const unsigned int last = curve.nbPoles();
        unsigned int count = 0;
        for (unsigned int i = n - 1; i < last; ++i) count += k[i] < k[i + 1] ? 1 : 0;
        memory_ = ERVec<double>(count * size);
        parts_ = QuickAlgebra::ERSimpleVec<Part>(count);
        double* memory = memory_.data();
        Part* part = parts_.data();
        for (unsigned int i = n - 1; i < last; ++i) {
            if (!(k[i] < k[i + 1])) continue;
            spline::bezierPolesOfSpan(poles, dim, k, n - 1, i, memory);
            *part++ = partOf(memory, n, k[i], k[i + 1], 0);
            memory += size;
        }
    }

    unsigned int count() const { return parts_.length(); }
    Part* parts() { return parts_.data(); }

private:
    ERVec<double> memory_;
    QuickAlgebra::ERSimpleVec<Part> parts_;
};

ERVec<ERPoint2D> hullOf(const ERVec<ERPole2DH>& poles) {
    const unsigned int n = poles.length();
    ERVec<ERPoint2D> points(n);
    for (unsigned int i = 0; i < n; ++i) points[i] = poles[i].castToPoint();
    const unsigned int corners = detail::hullCorners(points.data(), n, points.data());
    points.removeLast(n - corners);
    return points;
}

ERTValVector<ERPolynome> threePolynomials(const ERCpoleBezier2DR& curve) {
    const ERTValVector<ERPolynome> power = curve.getSpanPower(0);
    return power.entries() == dim ? power : ERTValVector<ERPolynome>(dim);
}

ERTValVector<ERPolynome> derived(const ERTValVector<ERPolynome>& polynomials) {
    ERTValVector<ERPolynome> result(dim);
    for (unsigned int k = 0; k < dim; ++k) result[k] = polynomials[k].getDerived(1);
    return result;
}

void evaluate(const ERTValVector<ERPolynome>& polynomials, double t, double* out) {
    for (unsigned int k = 0; k < dim; ++k) out[k] = polynomials[k].evaluate(t);
}

}  // namespace

FonctionnelleIntersectionDeBezier::FonctionnelleIntersectionDeBezier(const ERCpoleBezier2DR& first,
                                                                     const ERCpoleBezier2DR& second)
    : first_(threePolynomials(first)),
      second_(threePolynomials(second)),
      firstDerived_(derived(first_)),
      secondDerived_(derived(second_)),
      firstCurve_(first),
      secondCurve_(second),
      work_(2) {}

ERVec<double> FonctionnelleIntersectionDeBezier::f(const ERVec<double>& x) {
    double a[dim], b[dim];
    evaluate(first_, x[0], a);
    evaluate(second_, x[1], b);
    const ERVector2D value = difference(a, b);
    work_[0] = value.i();
    work_[1] = value.j();
    return work_;
}

ERMatrix<double> FonctionnelleIntersectionDeBezier::fprime(const ERVec<double>& x) {
    double a[dim], b[dim], derivedA[dim], derivedB[dim];
    evaluate(first_, x[0], a);
    evaluate(second_, x[1], b);
    evaluate(firstDerived_, x[0], derivedA);
    evaluate(secondDerived_, x[1], derivedB);
    const ERVector2D byU = quotientSlope(a, derivedA);
    const ERVector2D byV = quotientSlope(b, derivedB);
    ERMatrix<double> matrix(2, 2);
    matrix(0, 0) = byU.i();
    matrix(0, 1) = -byV.i();
    matrix(1, 0) = byU.j();
    matrix(1, 1) = -byV.j();
    return matrix;
}

unsigned int intersect(ERCpoleBezier2DR a, ERCpoleBezier2DR b, ERVec<double>& onA,
                       ERVec<double>& onB) {
    a.adjust();
    b.adjust();
    const auto part = [](const ERCpoleBezier2DR& curve, double* memory) {
        const unsigned int n = curve.nbPoles();
        std::copy_n(spline::doubles(curve.poles().data()), std::size_t{n} * dim, memory);
        return partOf(memory, n, curve.udeb(), curve.ufin(), 0);
    };
    const unsigned int n = a.nbPoles(), m = b.nbPoles();
    if (n == 0 || m == 0 || !allFinite(spline::doubles(a.poles().data()), std::size_t{n} * dim) ||
        !allFinite(spline::doubles(b.poles().data()), std::size_t{m} * dim)) {
        return onA.length();
    }
    spline::Scratch<polesOnStack * Part::doublesPerPole> memoryA(n * Part::doublesPerPole);
    spline::Scratch<polesOnStack * Part::doublesPerPole> memoryB(m * Part::doublesPerPole);
    Part partA = part(a, memoryA.data());
    Part partB = part(b, memoryB.data());
    Search(maxPairs, onA, onB).cross(partA, partB);
    return onA.length();
}

unsigned int intersect(ERCpoleNURBS2D a, ERCpoleNURBS2D b, ERVec<double>& onA, ERVec<double>& onB) {
    a.adjust();
    b.adjust();
    const std::size_t n = std::size_t{a.nbPoles()} * dim, m = std::size_t{b.nbPoles()} * dim;
    if (n == 0 || m == 0 || !allFinite(spline::doubles(a.poles().data()), n) ||
        !allFinite(spline::doubles(b.poles().data()), m)) {
        return onA.length();
    }
    const ERVec<ERPoint2D> hullA = convexHull(a), hullB = convexHull(b);
    if (allFinite(spline::doubles(hullA.data()), std::size_t{hullA.length()} * 2) &&
        allFinite(spline::doubles(hullB.data()), std::size_t{hullB.length()} * 2) &&
        !intersect(hullA, hullB)) {
        return onA.length();
    }
    Pieces piecesA(a), piecesB(b);
    const unsigned int countA = piecesA.count(), countB = piecesB.count();
    Search search(maxPairs + pairsOfPieces * countA * countB, onA, onB);
    Part* const partsA = piecesA.parts();
    Part* const partsB = piecesB.parts();
    for (unsigned int i = 0; i < countA; ++i) {
        for (unsigned int j = 0; j < countB; ++j) {
            if (overlap(partsA[i], partsB[j])) search.cross(partsA[i], partsB[j]);
        }
    }
    return onA.length();
}

ERVec<ERPoint2D> convexHull(const ERCpoleBezier2DR& curve) { return hullOf(curve.poles()); }

ERVec<ERPoint2D> convexHull(const ERCpoleNURBS2D& curve) { return hullOf(curve.poles()); }

}  // namespace kerf
