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

namespace spline {

/// Entry (i, j) of the table of homogeneous derivatives, of order i in u and j in v, becomes that of the
/// Cartesian surface: the product rule on w S, solved for the highest derivative of S. The weights stay.
inline void divideByWeight(double (&table)[3][3][4]) {
    const auto w = [&](unsigned int i, unsigned int j) { return table[i][j][3]; };
    const double reciprocal = 1.0 / w(0, 0);
    const double wu = w(1, 0) * reciprocal, wv = w(0, 1) * reciprocal, wuv = w(1, 1) * reciprocal;
    const double wuu = w(2, 0) * reciprocal, wvv = w(0, 2) * reciprocal;
    const double wuuv = w(2, 1) * reciprocal, wuvv = w(1, 2) * reciprocal;
    const double wuuvv = w(2, 2) * reciprocal;
    for (unsigned int k = 0; k < 3; ++k) {
        const auto entry = [&](unsigned int i, unsigned int j) -> double& {
            return table[i][j][k];
        };
        const double s = entry(0, 0) *= reciprocal;
        // In each sum what is known last is taken off last.
        const double su = entry(1, 0) = entry(1, 0) * reciprocal - wu * s;
        const double sv = entry(0, 1) = entry(0, 1) * reciprocal - wv * s;
        const double suu = entry(2, 0) = entry(2, 0) * reciprocal - wuu * s - 2.0 * wu * su;
        const double svv = entry(0, 2) = entry(0, 2) * reciprocal - wvv * s - 2.0 * wv * sv;
        const double suv = entry(1, 1) = entry(1, 1) * reciprocal - wuv * s - wu * sv - wv * su;
        const double suuv = entry(2, 1) = entry(2, 1) * reciprocal - wuuv * s - wuu * sv -
                                          2.0 * wuv * su - wv * suu - 2.0 * wu * suv;
        const double suvv = entry(1, 2) = entry(1, 2) * reciprocal - wuvv * s - wvv * su -
                                          2.0 * wuv * sv - wu * svv - 2.0 * wv * suv;
        entry(2, 2) = entry(2, 2) * reciprocal - wuuvv * s - 2.0 * wuuv * sv - 2.0 * wuvv * su -
                      wuu * svv - wvv * suu - 4.0 * wuv * suv - 2.0 * wv * suuv - 2.0 * wu * suvv;
    }
}

}  // namespace spline
}  // namespace kerf
