#include "kerf/curves/spline/knot_insertion.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kerf {

namespace spline {

namespace {

// One knot u into the run of degree + 1 poles of its span, of multiplicity s <= degree before; the
// run has room for one pole more, `tail` poles of it are there. left[j] and right[j], j from 1, are
// the knots at that distance from the start of the run and from the span.
void insertOnce(double* run, unsigned int tail, unsigned int dim, unsigned int degree,
                unsigned int s, double u, const double* left, const double* right) {
    const std::size_t doubled = std::size_t{degree - s} * dim;
    std::copy_backward(run + doubled, run + std::size_t{tail} * dim,
                       run + (std::size_t{tail} + 1) * dim);
    for (unsigned int j = degree - s; j > 0; --j) {
        const double length = right[j] - left[j];
        const double before = (right[j] - u) / length;
        const double after = (u - left[j]) / length;
        double* const pole = run + std::size_t{j} * dim;
        for (unsigned int k = 0; k < dim; ++k) {
            const double* const former = pole - dim;
            pole[k] = before * former[k] + after * pole[k];
        }
    }
}

void mean(double* a, const double* b, unsigned int dim) {
    for (unsigned int k = 0; k < dim; ++k) a[k] = 0.5 * (a[k] + b[k]);
}

}  // namespace

bool isCurve(const double* knots, unsigned int length, unsigned int n, unsigned int degree) {
    if (n <= degree || length != std::uint64_t{n} + degree + 1) return false;
    for (unsigned int i = 1; i < length; ++i)
        if (!(knots[i - 1] <= knots[i])) return false;
    return knots[degree] < knots[n];
}

unsigned int insertKnots(const double* poles, unsigned int n, unsigned int dim, const double* knots,
                         unsigned int degree, const double* inserted, unsigned int m,
                         double* newPoles, double* newKnots) {
    const unsigned int length = n + degree + 1;
    const double start = knots[degree], end = knots[n];
    unsigned int count = 0;  // inserted so far
    unsigned int read = 0;   // knots of the old vector, below those to come
    unsigned int made = 0;   // poles of the new curve
    const auto takePoles = [&](unsigned int upTo) {
        const unsigned int wanted = std::min(upTo, n + count);
        if (wanted <= made) return;
        std::copy(poles + std::size_t{made - count} * dim,
                  poles + std::size_t{wanted - count} * dim, newPoles + std::size_t{made} * dim);
        made = wanted;
    };
    for (unsigned int i = 0; i < m; ++i) {
        const double u = inserted[i];
        if (!(start <= u && u <= end)) continue;
        while (read < length && knots[read] <= u) {
            newKnots[read + count] = knots[read];
            ++read;
        }
        const unsigned int there = read + count;
        unsigned int s = 0;
        while (s <= degree && newKnots[there - 1 - s] == u) ++s;
        if (s > degree || newKnots[there - 1] > u) continue;
        const unsigned int span = there - 1;
        takePoles(span + 1);
        const unsigned int first = span - degree;
        insertOnce(newPoles + std::size_t{first} * dim, made - first, dim, degree, s, u,
                   newKnots + first, knots + read - 1);
        newKnots[there] = u;
        ++count;
        ++made;
    }
    std::copy(knots + read, knots + length, newKnots + read + count);
    takePoles(n + count);
    return count;
}

// Pole j of the start is the blossom at degree - j copies of the first knot and the j knots that
// follow; each round puts a in the place of one copy.
void extendStart(double* poles, unsigned int dim, const double* knots, unsigned int degree,
                 double a) {
    const double start = knots[degree];
    for (unsigned int count = degree; count > 0; --count)
        for (unsigned int j = 0; j < count; ++j) {
            const double alpha = (a - start) / (knots[degree + 1 + j] - start);
            double* const pole = poles + std::size_t{j} * dim;
            for (unsigned int k = 0; k < dim; ++k)
                pole[k] = pole[k] * (1.0 - alpha) + pole[k + dim] * alpha;
        }
}

void extendEnd(double* poles, unsigned int n, unsigned int dim, const double* knots,
               unsigned int degree, double b) {
    const double end = knots[n];
    for (unsigned int count = degree; count > 0; --count)
        for (unsigned int j = 0; j < count; ++j) {
            const double alpha = (b - end) / (knots[n - 1 - j] - end);
            double* const pole = poles + std::size_t{n - 1 - j} * dim;
            const double* const before = pole - dim;
            for (unsigned int k = 0; k < dim; ++k)
                pole[k] = pole[k] * (1.0 - alpha) + before[k] * alpha;
        }
}

void removeKnot(double* poles, unsigned int n, unsigned int dim, const double* knots,
                unsigned int degree, unsigned int last, unsigned int s) {
    const auto pole = [&](unsigned int i) { return poles + std::size_t{i} * dim; };
    unsigned int dropped = last - degree;
    if (s > degree + 1) {
        --dropped;  // it has no span to act on
    } else if (s == degree + 1) {
        mean(pole(dropped), pole(dropped - 1), dim);
        --dropped;
    } else {
        const double u = knots[last];
        // The poles from here to last - s hold one equation each; those up to the meeting are solved
        // for the later pole, those after it for the earlier one, which stays in the later's place.
        const unsigned int first = last - degree;
        const unsigned int meeting = first + (degree - s) / 2;
        for (unsigned int i = first; i <= meeting; ++i) {
            const double a = knots[i], b = knots[i + degree + 1];
            const double here = (b - a) / (u - a), before = (u - b) / (u - a);
            for (unsigned int k = 0; k < dim; ++k)
                pole(i)[k] = pole(i)[k] * here + pole(i - 1)[k] * before;
        }
        for (unsigned int i = last - s; i > meeting; --i) {
            const double a = knots[i], b = knots[i + degree + 1];
            const double here = (b - a) / (b - u), after = (a - u) / (b - u);
            for (unsigned int k = 0; k < dim; ++k)
                pole(i)[k] = pole(i)[k] * here + pole(i + 1)[k] * after;
        }
        mean(pole(meeting + 1), pole(meeting), dim);
        dropped = meeting;
    }
    std::copy(pole(dropped + 1), pole(n), pole(dropped));
}

// First de Boor's algorithm at the start of the span, whose last points of each level are the poles
// with the start in the place of the knots below; then the same from the other end.
void bezierPolesOfSpan(const double* poles, unsigned int dim, const double* knots,
                       unsigned int degree, unsigned int span, double* bezier) {
    const double start = knots[span], end = knots[span + 1];
    const unsigned int base = span - degree;
    std::copy_n(poles + std::size_t{base} * dim, (std::size_t{degree} + 1) * dim, bezier);
    for (unsigned int level = 1; level <= degree; ++level)
        for (unsigned int q = 0; q + level <= degree; ++q) {
            const double below = knots[base + level + q];
            if (below == start) continue;
            const double alpha = (start - below) / (knots[span + 1 + q] - below);
            double* const pole = bezier + std::size_t{q} * dim;
            for (unsigned int k = 0; k < dim; ++k) pole[k] += (pole[k + dim] - pole[k]) * alpha;
        }
    for (unsigned int level = 1; level < degree; ++level)
        for (unsigned int j = degree; j > level; --j) {
            const double above = knots[span + 1 + j - level];
            if (above == end) continue;
            const double alpha = (end - start) / (above - start);
            double* const pole = bezier + std::size_t{j} * dim;
            const double* const before = pole - dim;
            for (unsigned int k = 0; k < dim; ++k)
                pole[k] = before[k] + (pole[k] - before[k]) * alpha;
        }
}

}  // namespace spline

namespace {

using spline::dimensionOf;
using spline::doubles;

template <SplinePole E>
bool isCurve(const ERVec<E>& poles, const ERKnotVector& knots, unsigned int degree) {
    return spline::isCurve(knots.data(), knots.length(), poles.length(), degree);
}

template <SplinePole E>
void insertAll(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree,
               const ERVec<double>& inserted) {
    const unsigned int m = inserted.length();
    if (m == 0) return;
    ERVec<E> newPoles(poles.length() + m);
    ERVec<double> newKnots(knots.length() + m);
    const unsigned int count =
        spline::insertKnots(doubles(poles.data()), poles.length(), dimensionOf<E>, knots.data(),
                            degree, inserted.data(), m, doubles(newPoles.data()), newKnots.data());
    newPoles.troncat(poles.length() + count);
    newKnots.troncat(knots.length() + count);
    poles = newPoles;
    knots.setKnots(newKnots);
}

// Appends to `missing` what of the knots of `other` is not in `knots`.
void collectMissing(const ERKnotVector& knots, const ERKnotVector& other, ERVec<double>& missing) {
    const double* const here = knots.data();
    const double* const there = other.data();
    unsigned int i = 0;
    for (unsigned int j = 0; j < other.length(); ++j) {
        while (i < knots.length() && here[i] < there[j]) ++i;
        if (i < knots.length() && here[i] == there[j])
            ++i;
        else
            missing.append(there[j]);
    }
}

}  // namespace

void PrepareBoehm(ERKnotVector& knots, double u, unsigned int degree, double& low,
                  unsigned int& lowPosition, unsigned int& lowMultiplicity, double& high,
                  unsigned int& highPosition, unsigned int& highMultiplicity, unsigned int& span) {
    ERKnot knot(knots);
    const int isKnot = knot.reach(u);
    const unsigned int closing = knots.length() - degree;
    if (isKnot != 0 && closing >= knot.index() && closing - knot.index() < knot.multiplicity())
        --knot;
    low = knot.value();
    lowPosition = knot.index();
    lowMultiplicity = knot.multiplicity();
    span = lowPosition + lowMultiplicity - 1;
    ++knot;
    high = knot.value();
    highPosition = knot.index();
    highMultiplicity = knot.multiplicity();
    if (low < u && u < high) lowMultiplicity = 0;
}

template <SplinePole E>
void Boehm(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double u,
           unsigned int times) {
    constexpr unsigned int dim = dimensionOf<E>;
    if (times == 0 || !isCurve(poles, knots, degree)) return;
    if (!(knots[degree] <= u && u <= knots[poles.length()])) return;

    double low, high;
    unsigned int lowPosition, multiplicity, highPosition, highMultiplicity, span;
    PrepareBoehm(knots, u, degree, low, lowPosition, multiplicity, high, highPosition,
                 highMultiplicity, span);
    if (u == high) {
        multiplicity = highMultiplicity;
        span = highPosition + highMultiplicity - 1;
    }
    if (multiplicity > degree) return;
    const unsigned int count = std::min(times, degree + 1 - multiplicity);
    const unsigned int first = span - degree;
    const unsigned int tail = std::min(degree + 1, poles.length() - first);

    spline::Scratch<dim * 2 * (spline::degreeOnStack + 1)> run((std::size_t{tail} + count) * dim);
    std::copy_n(doubles(std::as_const(poles).data() + first), std::size_t{tail} * dim, run.data());
    for (unsigned int i = 0; i < count; ++i)
        spline::insertOnce(run.data() + std::size_t{i} * dim, tail, dim, degree, multiplicity + i,
                           u, knots.data() + first + i, knots.data() + span);

    poles.insertAt(first + tail, E(), count);
    std::copy_n(run.data(), (std::size_t{tail} + count) * dim, doubles(poles.data() + first));
    knots.insertAt(span + 1, u, count);
}

template <SplinePole E>
void CoincideBoehm(ERVec<E>& poles1, ERKnotVector& knots1, ERVec<E>& poles2, ERKnotVector& knots2,
                   unsigned int degree) {
    if (!isCurve(poles1, knots1, degree) || !isCurve(poles2, knots2, degree)) return;
    ERVec<double> missing1, missing2;
    missing1.capacity(knots2.length());
    missing2.capacity(knots1.length());
    collectMissing(knots1, knots2, missing1);
    collectMissing(knots2, knots1, missing2);
    insertAll(poles1, knots1, degree, missing1);
    insertAll(poles2, knots2, degree, missing2);
}

template <SplinePole E>
void ReduceDomain(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double a, double b) {
    if (!isCurve(poles, knots, degree)) return;
    const double from = std::max(a, knots[degree]);
    const double to = std::min(b, knots[poles.length()]);
    if (!(a < b && from < to)) return;
    // Boehm stops where the knot stands degree + 1 times.
    Boehm(poles, knots, degree, from, degree + 1);
    Boehm(poles, knots, degree, to, degree + 1);
    const ERKnot start(knots, from);
    const ERKnot end(knots, to);
    const unsigned int first = start.index() + start.multiplicity() - (degree + 1);
    const unsigned int count = end.index() - first;
    knots = knots.subVector(first, count + degree + 1);
    poles = ERVec<E>(poles.slice(first, 1, count));
}

template <SplinePole E>
void IncreaseDomain(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double a, double b) {
    if (!isCurve(poles, knots, degree)) return;
    const double start = knots[degree];
    const double end = knots[poles.length()];
    const bool downwards = a < start && std::isfinite(a);
    const bool upwards = b > end && std::isfinite(b);
    if (!downwards && !upwards) return;
    ReduceDomain(poles, knots, degree, start, end);

    constexpr unsigned int dim = dimensionOf<E>;
    double* const values = doubles(poles.data());
    const unsigned int n = poles.length();
    // A piece that reaches both ends is carried on from its own knots in one step and from the moved
    // ones in the other.
    ERVec<double> moved(knots.getVec());
    double* const k = moved.data();
    if (downwards) {
        spline::extendStart(values, dim, k, degree, a);
        std::fill_n(k, degree + 1, a);
    }
    if (upwards) {
        spline::extendEnd(values, n, dim, k, degree, b);
        std::fill_n(k + n, degree + 1, b);
    }
    knots.setKnots(moved);
}

template <SplinePole E>
void ReduceMul(ERVec<E>& poles, ERKnotVector& knots, unsigned int degree, double u) {
    if (!isCurve(poles, knots, degree)) return;
    if (!(knots[degree] < u && u < knots[poles.length()])) return;
    const ERKnot knot(knots, u);
    if (knot.error() != 0) return;
    const unsigned int last = knot.index() + knot.multiplicity() - 1;
    spline::removeKnot(doubles(poles.data()), poles.length(), dimensionOf<E>, knots.data(), degree,
                       last, knot.multiplicity());
    poles.removeLast(1);
    knots.removeAt(last);
    knots.AssertValid();
}

#define KERF_KNOT_INSERTION(E)                                                                     \
    template KERF_EXPORT void Boehm(ERVec<E>&, ERKnotVector&, unsigned int, double, unsigned int); \
    template KERF_EXPORT void CoincideBoehm(ERVec<E>&, ERKnotVector&, ERVec<E>&, ERKnotVector&,    \
                                            unsigned int);                                         \
    template KERF_EXPORT void ReduceDomain(ERVec<E>&, ERKnotVector&, unsigned int, double,         \
                                           double);                                                \
    template KERF_EXPORT void IncreaseDomain(ERVec<E>&, ERKnotVector&, unsigned int, double,       \
                                             double);                                              \
    template KERF_EXPORT void ReduceMul(ERVec<E>&, ERKnotVector&, unsigned int, double);
KERF_KNOT_INSERTION(ERPoint2D)
KERF_KNOT_INSERTION(ERPole2DH)
KERF_KNOT_INSERTION(ERPoint3D)
KERF_KNOT_INSERTION(ERPole3DH)

}  // namespace kerf
