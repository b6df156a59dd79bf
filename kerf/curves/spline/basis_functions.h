#pragma once
#include "kerf/platform/config.h"

// B-spline basis functions on plain arrays. `knots` is the whole knot vector, `span` a position with
// knots[span] < knots[span + 1] that has `degree` further knots on either side.
namespace kerf::spline {

/// The degree + 1 functions that are not null on the span, at u: function i belongs to pole
/// span - degree + i. An empty span divides by zero.
/// Source: the Cox-de Boor triangle; Piegl and Tiller, The NURBS Book, A2.2.
KERF_EXPORT void basisFunctions(const double* knots, unsigned int span, double u,
                                unsigned int degree, double* values);

/// The same with derivatives: row k of `table`, degree + 1 long, holds the derivatives of order k,
/// for k from 0 to `order`. Above the degree the rows are zero.
/// Source: The NURBS Book, A2.3.
KERF_EXPORT void basisDerivatives(const double* knots, unsigned int span, double u,
                                  unsigned int degree, unsigned int order, double* table);

}  // namespace kerf::spline
