#pragma once
#include "kerf/core/value_vector.h"
#include "kerf/curves/spline/pole_type.h"
#include "kerf/values/polynomial.h"

// The change between Bernstein poles and powers of t on [0, 1].
namespace kerf {

namespace spline {

/// Replaces n Bernstein coefficients by those of 1, t, t^2 ..., for each of the `dim` coordinates
/// alike; and back. In double precision, the conversion loses about a bit a degree. Above degree
/// TableauDePascal::lastFiniteRow coefficients are no numbers.
KERF_EXPORT void bernsteinToPower(double* coefficients, unsigned int n, unsigned int dim);
KERF_EXPORT void powerToBernstein(double* coefficients, unsigned int n, unsigned int dim);

}  // namespace spline

/// The power form of one stored coordinate, the weight being the last one. No poles: the zero
/// polynomial without coefficients.
template <SplinePole E>
KERF_EXPORT ERPolynome Bezier2Poly(const E* poles, unsigned int n, unsigned int coordinate);

/// All stored coordinates in their order.
template <SplinePole E>
KERF_EXPORT void Bezier2Poly(const ERVec<E>& poles, ERTValVector<ERPolynome>& polynomials);

/// The Bézier poles of a curve from the polynomials of its coordinates: one more than the highest
/// degree. Coordinates without a polynomial are 0, a weight without one is 1.
template <SplinePole E>
KERF_EXPORT void CpolySeg2Pole(const ERTValVector<ERPolynome>& polynomials, ERVec<E>& poles);

}  // namespace kerf
