#pragma once
#include <vector>

#include "kerf/curves/spline/knot_vector.h"
#include "kerf/curves/spline/pole_type.h"
#include "kerf/curves/spline/span_table.h"
#include "kerf/platform/config.h"

// The basis functions of one knot vector at many parameters: one direction of a surface.
namespace kerf::spline {

/// The degree + 1 basis functions that are not zero at a parameter, and their first two derivatives.
struct BasisValues {
    static constexpr unsigned int orders = 3;
    static constexpr unsigned int onStack = 8;  // functions

    explicit BasisValues(unsigned int degree) : count(degree + 1), scratch(orders * (degree + 1)) {}

    const double* of(unsigned int order) { return scratch.data() + order * count; }

    unsigned int first = 0;  // the pole of the first function
    unsigned int count;
    Scratch<orders * onStack> scratch;  // order by order
};

/// The basis functions of a knot vector, kept span by span as Bernstein polynomials of the span's own
/// parameter from the first time that a span is asked for. Above degree 5 nothing is kept, and the
/// triangle of Cox and de Boor is worked out each time.
/// Source: Bézier extraction; Borden, Scott, Evans, Hughes (2011).
class KERF_EXPORT SpanBasis {
public:
    /// All functions, with derivatives up to `order`, 0 or 2, into `values`. The knots are those of
    /// every call, and fit the poles. Outside the domain the first or last polynomials go on.
    /// Without a span that has a length the first function is 1.
    void evaluate(const ERKnotVector& knots, double u, unsigned int order, BasisValues& values);

private:
    static constexpr unsigned int highestKept = 5;

    const double* recordAt(const ERKnotVector& knots, double u) {
        return last_ != nullptr && u >= last_[0] && u < last_[1] ? last_ : findRecord(knots, u);
    }
    const double* findRecord(const ERKnotVector& knots, double u);

    // A record: start and end of the span, one over its length (0 before it is filled), the number of
    // the first pole, then for each order k the degree + 1 - k Bernstein coefficients of all functions,
    // in one row for each coefficient.
    static constexpr unsigned int headOfRecord = 4;

    SpanTable table_;
    std::vector<double> records_;
    std::size_t recordLength_ = 0;
    const double* last_ = nullptr;
};

}  // namespace kerf::spline
