#pragma once
#include <vector>

#include "kerf/core/value_vector.h"
#include "kerf/platform/config.h"
#include "kerf/values/limits.h"
#include "kerf/values/polynomial.h"

// The feet of a point on a polynomial curve: the parameters at which the vector from the point to
// the curve is perpendicular to the tangent.
namespace kerf {

/// The polynomial whose roots are the feet: with coordinates x_k and weight w (1 where the curve has
/// none), the sum over k of (x_k - p_k w)(x_k' w - x_k w'). It is affine in p, so what does not
/// depend on p is made once.
class KERF_EXPORT FootPolynomial {
public:
    /// Of `dimension` coordinates, and the weight when there is one more polynomial.
    FootPolynomial(const ERTValVector<ERPolynome>& polynomials, unsigned int dimension);

    /// Appends the roots for the point of `dimension` coordinates in `limits`, ends included, in
    /// ascending order. Returns their number; -1, appending nothing, when every point of the curve
    /// is as near.
    /// Tolerance: a polynomial within 1e-12 of the size of its terms is zero everywhere; a root that
    ///            misses by more than 1e-6 of the largest coefficient is none.
    int roots(const double* point, const ERLimites& limits, ERVec<double>& parameters) const;

private:
    // Row 0 is the part without p, row 1 + k the factor of -p_k.
    const double* row(unsigned int i) const { return &rows_[std::size_t{i} * length_]; }
    const double* sizes(unsigned int i) const { return &sizes_[std::size_t{i} * length_]; }

    unsigned int dimension_;
    unsigned int length_;  // coefficients in a row
    std::vector<double> rows_;
    std::vector<double> sizes_;  // the same sums over the magnitudes of their terms
};

/// The real roots of the polynomial of n coefficients that `Zeros` finds in the limits, divided by
/// its largest coefficient first, leading coefficients up to 1e-14 of it dropped. What misses by
/// more than 1e-6 is no root. For a polynomial without a coefficient above `null` there are none,
/// and the result is false.
KERF_EXPORT bool scaledZeros(double* coefficients, unsigned int n, const ERLimites& limits,
                             double null, ERVec<double>& roots);

}  // namespace kerf
