#include "kerf/curves/spline/span_basis.h"

#include <algorithm>

#include "kerf/curves/spline/basis_functions.h"
#include "kerf/curves/spline/fixed_size.h"
#include "kerf/curves/spline/knot_insertion.h"

namespace kerf::spline {

namespace {

// The Bernstein polynomials of a degree at t. Up to degree 3 by products, for their sums would wait for
// each other.
template <unsigned int Degree>
inline void bernsteinAt(double s, double t, double* values) {
    if constexpr (Degree == 0) {
        values[0] = 1.0;
    } else if constexpr (Degree == 1) {
        values[0] = s;
        values[1] = t;
    } else if constexpr (Degree == 2) {
        values[0] = s * s;
        values[1] = 2.0 * s * t;
        values[2] = t * t;
    } else if constexpr (Degree == 3) {
        const double ss = s * s, tt = t * t;
        values[0] = ss * s;
        values[1] = 3.0 * t * ss;
        values[2] = 3.0 * s * tt;
        values[3] = tt * t;
    } else {
        double lower[Degree];
        bernsteinAt<Degree - 1>(s, t, lower);
        values[0] = s * lower[0];
        for (unsigned int k = 1; k < Degree; ++k) values[k] = s * lower[k] + t * lower[k - 1];
        values[Degree] = t * lower[Degree - 1];
    }
}

// Rows of coefficients, one for each Bernstein polynomial.
template <unsigned int Functions, unsigned int Rows>
inline void combine(const double* coefficients, const double* bernstein, double* values) {
    double sums[Functions];
    for (unsigned int i = 0; i < Functions; ++i) sums[i] = bernstein[0] * coefficients[i];
    for (unsigned int k = 1; k < Rows; ++k)
        for (unsigned int i = 0; i < Functions; ++i)
            sums[i] += bernstein[k] * coefficients[k * Functions + i];
    for (unsigned int i = 0; i < Functions; ++i) values[i] = sums[i];
}

template <unsigned int Degree>
inline void fromRecord(const double* coefficients, double t, unsigned int order, double* values) {
    constexpr unsigned int n = Degree + 1;
    const double s = 1.0 - t;
    const double* const first = coefficients + n * n;
    double bernstein[n];
    if (order > 0) {
        if constexpr (Degree > 1) {
            bernsteinAt<Degree - 2>(s, t, bernstein);
            combine<n, n - 2>(first + (n - 1) * n, bernstein, values + 2 * n);
        } else {
            std::fill_n(values + 2 * n, n, 0.0);
        }
        bernsteinAt<Degree - 1>(s, t, bernstein);
        combine<n, n - 1>(first, bernstein, values + n);
    }
    bernsteinAt<Degree>(s, t, bernstein);
    combine<n, n>(coefficients, bernstein, values);
}

// The differences of coefficients from row to row, times a factor: those of the derivative.
void differences(const double* rows, unsigned int count, unsigned int width, double factor,
                 double* out) {
    for (unsigned int k = 0; k + 1 < count; ++k)
        for (unsigned int i = 0; i < width; ++i)
            out[k * width + i] = factor * (rows[(k + 1) * width + i] - rows[k * width + i]);
}

// The derivatives of the functions of `degree` from the values, or derivatives, of those of one degree
// less.
void derive(const double* knots, unsigned int span, unsigned int degree, const double* lower,
            double* out) {
    double before = 0.0;
    for (unsigned int i = 0; i <= degree; ++i) {
        const unsigned int knot = span - degree + 1 + i;
        const double after =
            i == degree ? 0.0 : lower[i] * degree / (knots[knot + degree] - knots[knot]);
        out[i] = before - after;
        before = after;
    }
}

// Of degree 0, or of 2 and above.
void direct(const double* knots, unsigned int span, double u, unsigned int degree,
            unsigned int order, double* values) {
    const std::size_t n = std::size_t{degree} + 1;
    basisFunctions(knots, span, u, degree, values);
    if (order == 0) return;
    double* const first = values + n;
    double* const second = first + n;
    std::fill_n(first, 2 * n, 0.0);
    if (degree == 0) return;
    Scratch<2 * (degreeOnStack + 1)> lower(2 * n);
    double* const derived = lower.data() + n;
    basisFunctions(knots, span, u, degree - 1, lower.data());
    derive(knots, span, degree, lower.data(), first);
    basisFunctions(knots, span, u, degree - 2, lower.data());
    derive(knots, span, degree - 1, lower.data(), derived);
    derive(knots, span, degree, derived, second);
}

}  // namespace

const double* SpanBasis::findRecord(const ERKnotVector& knots, double u) {
    const unsigned int degree = knots.degree(), n = degree + 1;
    if (!table_.isBuilt()) {
        table_ = SpanTable(knots.data(), knots.length(), degree);
        recordLength_ = headOfRecord + (3 * n - 3) * n;
        records_.resize(table_.count() * recordLength_);
    }
    if (table_.count() == 0) return nullptr;
    const unsigned int span = table_.find(u);
    double* const record = &records_[span * recordLength_];
    if (record[2] == 0.0) {
        const unsigned int knot = table_.knot(span);
        const double inverse = 1.0 / (knots[knot + 1] - knots[knot]);
        record[0] = table_.start(span);
        record[1] = table_.end(span);
        record[2] = inverse;
        record[3] = knot - degree;
        // Each function is a curve whose poles are 0, but for one: the curve of their unit vectors.
        double unit[(highestKept + 1) * (highestKept + 1)] = {};
        for (unsigned int i = 0; i < n; ++i) unit[i * (n + 1)] = 1.0;
        double* const values = record + headOfRecord;
        double* const first = values + n * n;
        bezierPolesOfSpan(unit, n, knots.data() + knot - degree, degree, degree, values);
        differences(values, n, n, degree * inverse, first);
        differences(first, n - 1, n, (degree - 1.0) * inverse, first + (n - 1) * n);
    }
    return last_ = record;
}

void SpanBasis::evaluate(const ERKnotVector& knots, double u, unsigned int order,
                         BasisValues& values) {
    const unsigned int degree = knots.degree();
    double* const out = values.scratch.data();
    const auto withoutSpan = [&] {
        values.first = 0;
        std::fill_n(out, (order + std::size_t{1}) * values.count, 0.0);
        out[0] = 1.0;
    };
    if (degree == 0 || degree > highestKept) {
        const unsigned int span = knots.FindSpan(u);
        if (!(knots[span] < knots[span + 1])) return withoutSpan();
        values.first = span - degree;
        return direct(knots.data(), span, u, degree, order, out);
    }
    const double* const record = recordAt(knots, u);
    if (record == nullptr) return withoutSpan();
    // The last parameter is exactly 1, whatever the product rounds to.
    const double t = u == record[1] ? 1.0 : (u - record[0]) * record[2];
    values.first = static_cast<unsigned int>(record[3]);
    visitFixed<1, 2, 3, 4, 5>(degree,
                              [&](auto p) { fromRecord<p>(record + headOfRecord, t, order, out); });
}

}  // namespace kerf::spline
