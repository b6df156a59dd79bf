#pragma once
#include "kerf/curves/spline/pole_type.h"
#include "kerf/numerics/matrix.h"
#include "kerf/values/limits.h"
#include "kerf/values/surface_info_point.h"

// The kernels of Bézier curves on a grid of poles: element (i, j) is pole i along U and pole j along
// V. u and v are parameters in [0, 1], beyond which they extrapolate. An evaluation goes along the
// rows at v first, then along the column that results, at u.
namespace kerf {

/// The element types of grids.
template <class E>
concept GridPole = std::same_as<E, ERPoint3D> || std::same_as<E, ERPole3DH>;

template <GridPole E>
KERF_EXPORT E Casteljau(const ERMatrix<E>& poles, double u, double v);
template <GridPole E>
KERF_EXPORT E Horner(const ERMatrix<E>& poles, double u, double v);

/// The poles of the curve with fixed u, as many as columns; and with fixed v, as many as rows.
template <GridPole E>
KERF_EXPORT ERVec<E> CasteljauIsoU(const ERMatrix<E>& poles, double u);
template <GridPole E>
KERF_EXPORT ERVec<E> CasteljauIsoV(const ERMatrix<E>& poles, double v);
template <GridPole E>
KERF_EXPORT ERVec<E> HornerIsoU(const ERMatrix<E>& poles, double u);
template <GridPole E>
KERF_EXPORT ERVec<E> HornerIsoV(const ERMatrix<E>& poles, double v);

/// The point of the surface over the given ranges at (u, v), with a 3 by 3 table of partial
/// derivatives to order 2 in each direction. Homogeneous poles: of the Cartesian surface, by the
/// quotient rule.
/// Degenerate: derivatives that a degree does not have are null.
/// Kept:       as for curves, the result's parameters are the ratios of u and v in the ranges, and a
///             derivative of order 2 has the length of its range as a divisor once and not squared.
template <GridPole E>
KERF_EXPORT ERInfoPoint3DSurf CasteljauAll(const ERMatrix<E>& poles, double u, double v,
                                           const ERLimites& limitsU, const ERLimites& limitsV);

/// RedefineDomain along U, then V, of a grid of `cols` poles a row, `dim` doubles each.
KERF_EXPORT void RedefineDomainU(double* poles, unsigned int cols, unsigned int rows,
                                 unsigned int dim, double a, double b);
KERF_EXPORT void RedefineDomainV(double* poles, unsigned int cols, unsigned int rows,
                                 unsigned int dim, double a, double b);

}  // namespace kerf
