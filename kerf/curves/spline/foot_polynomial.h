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
/// Tolerance: a polynomial within 1e-12 of the size of its terms is zero everywhere: every point of the
///            curve is as near, and the result is -1.
class KERF_EXPORT FootRows {
protected:
    FootRows(unsigned int dimension, unsigned int length);

    /// Adds what coordinate k, counted from its origin, brings, with x_k, w and their derivatives given
    /// by n and n - 1 numbers whose products are those of polynomials.
    void addCoordinate(unsigned int k, const double* x, const double* derivedX, const double* w,
                       const double* derivedW, unsigned int n);
    /// Writes the length() numbers of the sum for a point. Returns 1 for a polynomial, 0 where it has
    /// numbers that are not finite, -1 where it is zero everywhere.
    int sumFor(const double* point, double* sum) const;

    /// Where coordinate k is counted from: near the curve, for far from it the terms of the sum would
    /// cancel down to their rounding. Taken when it is finite, before the coordinate is added.
    void setOrigin(unsigned int k, double origin);
    double origin(unsigned int k) const { return origin_[k]; }

    unsigned int length() const { return length_; }
    double* row(unsigned int i) { return &rows_[std::size_t{i} * length_]; }
    double* sizes(unsigned int i) { return &sizes_[std::size_t{i} * length_]; }

private:
    const double* row(unsigned int i) const { return &rows_[std::size_t{i} * length_]; }
    const double* sizes(unsigned int i) const { return &sizes_[std::size_t{i} * length_]; }

    unsigned int dimension_;
    unsigned int length_;  // numbers in a row
    // Row 0 is the part without p, row 1 + k the factor of -p_k.
    std::vector<double> rows_;
    std::vector<double> sizes_;  // the same sums over the magnitudes of their terms
    std::vector<double> origin_;
};

/// Of a curve in powers of its parameter.
class KERF_EXPORT FootPolynomial : public FootRows {
public:
    /// Of `dimension` coordinates, and the weight when there is one more polynomial.
    FootPolynomial(const ERTValVector<ERPolynome>& polynomials, unsigned int dimension);

    /// Appends the roots for the point of `dimension` coordinates in `limits`, ends included, in
    /// ascending order, as scaledZeros finds them. Returns their number or -1.
    int roots(const double* point, const ERLimites& limits, ERVec<double>& parameters) const;
};

/// Of a Bézier curve on [0, 1]. No digits are lost to the power form, whatever the degree.
class KERF_EXPORT BezierFootPolynomial : public FootRows {
public:
    /// Of n poles, at least one, of `dimension` weighted coordinates and the weight. Above degree 343,
    /// where its own degree passes that of the binomials, it has no roots.
    BezierFootPolynomial(const double* poles, unsigned int n, unsigned int dimension);

    /// Appends the roots for the point in ascending order, as bernsteinZeros finds them. Returns
    /// their number or -1.
    int roots(const double* point, ERVec<double>& parameters) const;
};

/// The real roots of the polynomial of n coefficients that `Zeros` finds in the limits, divided by
/// its largest coefficient first, leading coefficients up to 1e-14 of it dropped. What misses by
/// more than 1e-6 is no root. For a polynomial without a coefficient above `null` there are none,
/// and the result is false. The coefficients are overwritten.
KERF_EXPORT bool scaledZeros(double* coefficients, unsigned int n, const ERLimites& limits,
                             double null, ERVec<double>& roots);

/// The roots on [0, 1] of the polynomial with n Bernstein coefficients: those of scaledZeros, and
/// those at which the sign changes and which it missed. Where the power form has a coefficient a
/// million times as large as the largest here, it is not asked.
/// Tolerance: a sign change within 1e-6 of another root is that root.
KERF_EXPORT bool bernsteinZeros(const double* coefficients, unsigned int n, double null,
                                ERVec<double>& roots);

}  // namespace kerf
