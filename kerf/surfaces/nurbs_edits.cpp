#include "kerf/surfaces/nurbs_edits.h"

#include <algorithm>
#include <cmath>

#include "kerf/curves/spline/knot_insertion.h"
#include "kerf/curves/spline/span_basis.h"
#include "kerf/platform/sinks.h"

namespace kerf {

namespace {

using Grid = ERMatrix<ERPole3DH>;

unsigned int widthOf(const Grid& poles) { return poles.cols() * spline::dimensionOf<ERPole3DH>; }

bool isCurve(const Grid& poles, const ERKnotVector& knots) {
    return poles.length() > 0 &&
           spline::isCurve(knots.data(), knots.length(), poles.rows(), knots.degree());
}

// What is written along u, along v.
template <class Edit>
void across(Grid& poles, Edit edit) {
    Grid turned = poles.transposed();
    edit(turned);
    poles = turned.transposed();
}

}  // namespace

void BoehmInU(Grid& poles, ERKnotVector& knots, const ERVec<double>& inserted) {
    const unsigned int most = inserted.length();
    if (most == 0 || !isCurve(poles, knots)) return;
    const unsigned int rows = poles.rows();
    Grid newPoles(rows + most, poles.cols());
    ERVec<double> newKnots(knots.length() + most);
    const unsigned int count = spline::insertKnots(
        spline::doubles(std::as_const(poles).data()), rows, widthOf(poles), knots.data(),
        knots.degree(), inserted.data(), most, spline::doubles(newPoles.data()), newKnots.data());
    if (count == 0) return;
    newPoles.deleteRow(rows + count, most - count);
    newKnots.troncat(knots.length() + count);
    poles = newPoles;
    knots.setKnots(newKnots);
}

void BoehmInU(Grid& poles, ERKnotVector& knots, double u, unsigned int times) {
    if (!isCurve(poles, knots)) return;
    BoehmInU(poles, knots, ERVec<double>(std::min(times, knots.degree() + 1), u));
}

void BoehmInV(Grid& poles, ERKnotVector& knots, double v, unsigned int times) {
    across(poles, [&](Grid& turned) { BoehmInU(turned, knots, v, times); });
}

void ReduceDomainInU(Grid& poles, ERKnotVector& knots, double a, double b) {
    if (!isCurve(poles, knots)) return;
    const unsigned int degree = knots.degree();
    const double from = std::max(a, knots[degree]);
    const double to = std::min(b, knots[poles.rows()]);
    if (!(a < b && from < to)) return;
    BoehmInU(poles, knots, from, degree + 1);
    BoehmInU(poles, knots, to, degree + 1);
    const ERKnot start(knots, from);
    const ERKnot end(knots, to);
    const unsigned int first = start.index() + start.multiplicity() - (degree + 1);
    const unsigned int count = end.index() - first;
    knots = knots.subVector(first, count + degree + 1);
    poles =
        Grid(std::as_const(poles).data() + std::size_t{first} * poles.cols(), count, poles.cols());
}

void ReduceDomainInV(Grid& poles, ERKnotVector& knots, double a, double b) {
    across(poles, [&](Grid& turned) { ReduceDomainInU(turned, knots, a, b); });
}

void IncreaseDomainInU(Grid& poles, ERKnotVector& knots, double a, double b) {
    if (!isCurve(poles, knots)) return;
    const unsigned int degree = knots.degree();
    const double start = knots[degree], end = knots[poles.rows()];
    const bool downwards = a < start && std::isfinite(a);
    const bool upwards = b > end && std::isfinite(b);
    if (!downwards && !upwards) return;
    ReduceDomainInU(poles, knots, start, end);

    const unsigned int n = poles.rows(), width = widthOf(poles);
    double* const values = spline::doubles(poles.data());
    ERVec<double> moved(knots.getVec());
    double* const k = moved.data();
    if (downwards) {
        spline::extendStart(values, width, k, degree, a);
        std::fill_n(k, degree + 1, a);
    }
    if (upwards) {
        spline::extendEnd(values, n, width, k, degree, b);
        std::fill_n(k + n, degree + 1, b);
    }
    knots.setKnots(moved);
}

void IncreaseDomainInV(Grid& poles, ERKnotVector& knots, double a, double b) {
    across(poles, [&](Grid& turned) { IncreaseDomainInU(turned, knots, a, b); });
}

int CreateCompatibleSurfaceData(Grid& poles, ERKnotVector& knotsU, ERKnotVector& knotsV) {
    const auto open = [](Grid& lines, ERKnotVector& knots) {
        if (!isCurve(lines, knots)) return outputDebugText("Error\n");
        ReduceDomainInU(lines, knots, knots[knots.degree()], knots[lines.rows()]);
    };
    if (knotsU.isUnclamped() != 0) open(poles, knotsU);
    if (knotsV.isUnclamped() != 0) across(poles, [&](Grid& turned) { open(turned, knotsV); });
    return 1;
}

ERPole3DH CalOnNurbs_H(const Grid& poles, const ERKnotVector& knotsU, const ERKnotVector& knotsV,
                       double u, double v) {
    if (!isCurve(poles, knotsU) ||
        !spline::isCurve(knotsV.data(), knotsV.length(), poles.cols(), knotsV.degree()))
        return ERPole3DH();
    spline::BasisValues alongU(knotsU.degree()), alongV(knotsV.degree());
    spline::SpanBasis().evaluate(knotsU, u, 0, alongU);
    spline::SpanBasis().evaluate(knotsV, v, 0, alongV);
    ERPole3DH sum;
    for (unsigned int i = 0; i < alongU.count; ++i)
        for (unsigned int j = 0; j < alongV.count; ++j) {
            ERPole3DH pole = poles(alongU.first + i, alongV.first + j);
            pole *= alongU.of(0)[i] * alongV.of(0)[j];
            sum += pole;
        }
    return sum;
}

}  // namespace kerf
