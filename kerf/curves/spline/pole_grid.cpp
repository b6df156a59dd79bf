#include "kerf/curves/spline/pole_grid.h"

#include <algorithm>

#include "kerf/curves/spline/bernstein.h"

namespace kerf {

namespace {

using spline::dimensionOf;
using spline::doubles;

constexpr unsigned int derivatives = 3;  // the value and two derivatives
using ColumnScratch = spline::Scratch<derivatives * 4 * (spline::degreeOnStack + 1)>;

using Kernel = void (*)(const double*, unsigned int, double, unsigned int, double*);

template <GridPole E>
void alongRows(Kernel kernel, const ERMatrix<E>& poles, double v, double* column) {
    constexpr unsigned int dim = dimensionOf<E>;
    const unsigned int cols = poles.cols();
    const double* const from = doubles(poles.data());
    for (std::size_t r = 0; r < poles.rows(); ++r)
        kernel(from + r * cols * dim, cols, v, dim, column + r * dim);
}

template <GridPole E>
E pointOf(Kernel kernel, const ERMatrix<E>& poles, double u, double v) {
    constexpr unsigned int dim = dimensionOf<E>;
    ColumnScratch column(std::size_t{poles.rows()} * dim);
    alongRows(kernel, poles, v, column.data());
    E point;
    kernel(column.data(), poles.rows(), u, dim, doubles(&point));
    return point;
}

// A row of the grid counts as one pole.
template <GridPole E>
ERVec<E> isoU(Kernel kernel, const ERMatrix<E>& poles, double u) {
    ERVec<E> iso(poles.cols());
    kernel(doubles(poles.data()), poles.rows(), u, poles.cols() * dimensionOf<E>,
           doubles(iso.data()));
    return iso;
}

template <GridPole E>
ERVec<E> isoV(Kernel kernel, const ERMatrix<E>& poles, double v) {
    ERVec<E> iso(poles.rows());
    alongRows(kernel, poles, v, doubles(iso.data()));
    return iso;
}

}  // namespace

template <GridPole E>
E Casteljau(const ERMatrix<E>& poles, double u, double v) {
    return pointOf(Casteljau, poles, u, v);
}
template <GridPole E>
E Horner(const ERMatrix<E>& poles, double u, double v) {
    return pointOf(Horner, poles, u, v);
}
template <GridPole E>
ERVec<E> CasteljauIsoU(const ERMatrix<E>& poles, double u) {
    return isoU(Casteljau, poles, u);
}
template <GridPole E>
ERVec<E> CasteljauIsoV(const ERMatrix<E>& poles, double v) {
    return isoV(Casteljau, poles, v);
}
template <GridPole E>
ERVec<E> HornerIsoU(const ERMatrix<E>& poles, double u) {
    return isoU(Horner, poles, u);
}
template <GridPole E>
ERVec<E> HornerIsoV(const ERMatrix<E>& poles, double v) {
    return isoV(Horner, poles, v);
}

template <GridPole E>
ERInfoPoint3DSurf CasteljauAll(const ERMatrix<E>& poles, double u, double v,
                               const ERLimites& limitsU, const ERLimites& limitsV) {
    constexpr unsigned int dim = dimensionOf<E>;
    constexpr unsigned int wide = derivatives * dim;
    const unsigned int rows = poles.rows(), cols = poles.cols();
    const double s = limitsU.ratio(u), t = limitsV.ratio(v);
    const double* const from = doubles(poles.data());

    // Each row gives one element of a column: its point with the derivatives along V.
    ColumnScratch column(std::size_t{rows} * wide);
    for (std::size_t r = 0; r < rows; ++r)
        spline::casteljauDerivatives(from + r * cols * dim, cols, t, dim, limitsV.amplitude(),
                                     column.data() + r * wide);
    double values[derivatives * wide];
    spline::casteljauDerivatives(column.data(), rows, s, wide, limitsU.amplitude(), values);

    double table[derivatives][derivatives][4] = {};
    for (unsigned int i = 0; i < derivatives; ++i)
        for (unsigned int j = 0; j < derivatives; ++j)
            std::copy_n(values + i * wide + j * dim, dim, table[i][j]);
    if (E::isRational() != 0 && poles.length() > 0) spline::divideByWeight(table);

    ERMatrix<ERPoint3D> partial(derivatives, derivatives);
    ERPoint3D* to = partial.data();
    for (unsigned int j = 0; j < derivatives; ++j)
        for (unsigned int i = 0; i < derivatives; ++i)
            *to++ = ERPoint3D(table[i][j][0], table[i][j][1], table[i][j][2]);
    return ERInfoPoint3DSurf(ERPoint2D(s, t), partial);
}

void RedefineDomainU(double* poles, unsigned int cols, unsigned int rows, unsigned int dim,
                     double a, double b) {
    RedefineDomain(poles, rows, a, b, cols * dim);
}

void RedefineDomainV(double* poles, unsigned int cols, unsigned int rows, unsigned int dim,
                     double a, double b) {
    for (std::size_t r = 0; r < rows; ++r) RedefineDomain(poles + r * cols * dim, cols, a, b, dim);
}

#define KERF_POLE_GRID(E)                                                                   \
    template KERF_EXPORT E Casteljau(const ERMatrix<E>&, double, double);                   \
    template KERF_EXPORT E Horner(const ERMatrix<E>&, double, double);                      \
    template KERF_EXPORT ERVec<E> CasteljauIsoU(const ERMatrix<E>&, double);                \
    template KERF_EXPORT ERVec<E> CasteljauIsoV(const ERMatrix<E>&, double);                \
    template KERF_EXPORT ERVec<E> HornerIsoU(const ERMatrix<E>&, double);                   \
    template KERF_EXPORT ERVec<E> HornerIsoV(const ERMatrix<E>&, double);                   \
    template KERF_EXPORT ERInfoPoint3DSurf CasteljauAll(const ERMatrix<E>&, double, double, \
                                                        const ERLimites&, const ERLimites&);
KERF_POLE_GRID(ERPoint3D)
KERF_POLE_GRID(ERPole3DH)

}  // namespace kerf
