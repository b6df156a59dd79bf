#include "kerf/curves/spline/power_form.h"

#include <algorithm>

#include "kerf/curves/spline/binomials.h"

namespace kerf {

namespace spline {

// Coefficient k of t^k is C(p, k) times the k-th forward difference at the first pole.
void bernsteinToPower(double* coefficients, unsigned int n, unsigned int dim) {
    const std::size_t length = std::size_t{n} * dim;
    for (std::size_t first = dim; first < length; first += dim)
        for (std::size_t k = length; k-- > first;) coefficients[k] -= coefficients[k - dim];
    for (unsigned int i = 1; i + 1 < n; ++i)
        for (std::size_t k = 0; k < dim; ++k)
            coefficients[std::size_t{i} * dim + k] *= Cnp(n - 1, i);
}

void powerToBernstein(double* coefficients, unsigned int n, unsigned int dim) {
    const std::size_t length = std::size_t{n} * dim;
    for (unsigned int i = 1; i + 1 < n; ++i)
        for (std::size_t k = 0; k < dim; ++k)
            coefficients[std::size_t{i} * dim + k] /= Cnp(n - 1, i);
    for (std::size_t first = length; first > dim;) {
        first -= dim;
        for (std::size_t k = first; k < length; ++k) coefficients[k] += coefficients[k - dim];
    }
}

}  // namespace spline

template <SplinePole E>
ERPolynome Bezier2Poly(const E* poles, unsigned int n, unsigned int coordinate) {
    constexpr unsigned int dim = spline::dimensionOf<E>;
    if (n == 0 || coordinate >= dim) return ERPolynome();
    ERVec<double> values(n);
    double* const to = values.data();
    const double* const from = spline::doubles(poles) + coordinate;
    for (unsigned int i = 0; i < n; ++i) to[i] = from[std::size_t{i} * dim];
    spline::bernsteinToPower(to, n, 1);
    return ERPolynome(values);
}

template <SplinePole E>
void Bezier2Poly(const ERVec<E>& poles, ERTValVector<ERPolynome>& polynomials) {
    constexpr unsigned int dim = spline::dimensionOf<E>;
    polynomials.reshape(dim);
    for (unsigned int i = 0; i < dim; ++i)
        polynomials[i] = Bezier2Poly(poles.data(), poles.length(), i);
}

template <SplinePole E>
void CpolySeg2Pole(const ERTValVector<ERPolynome>& polynomials, ERVec<E>& poles) {
    constexpr unsigned int dim = spline::dimensionOf<E>;
    const unsigned int given = std::min(polynomials.entries(), dim);
    unsigned int n = 1;
    for (unsigned int i = 0; i < given; ++i) n = std::max(n, polynomials[i].degree() + 1);

    ERVec<E> result(n);
    double* const to = spline::doubles(result.data());
    for (unsigned int i = 0; i < given; ++i) {
        const ERVec<double>& from = polynomials[i].coefficients();
        for (unsigned int k = 0; k < from.length(); ++k) to[std::size_t{k} * dim + i] = from[k];
    }
    if (E::isRational() != 0 && given < dim) to[dim - 1] = 1.0;
    spline::powerToBernstein(to, n, dim);
    poles = result;
}

#define KERF_POWER_FORM(E)                                                             \
    template KERF_EXPORT ERPolynome Bezier2Poly(const E*, unsigned int, unsigned int); \
    template KERF_EXPORT void Bezier2Poly(const ERVec<E>&, ERTValVector<ERPolynome>&); \
    template KERF_EXPORT void CpolySeg2Pole(const ERTValVector<ERPolynome>&, ERVec<E>&);
KERF_POWER_FORM(ERPoint2D)
KERF_POWER_FORM(ERPole2DH)
KERF_POWER_FORM(ERPoint3D)
KERF_POWER_FORM(ERPole3DH)

}  // namespace kerf
