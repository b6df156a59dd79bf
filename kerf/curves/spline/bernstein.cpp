#include "kerf/curves/spline/bernstein.h"

#include <algorithm>
#include <utility>

#include "kerf/curves/spline/binomials.h"
#include "kerf/curves/spline/fixed_size.h"

namespace kerf {

namespace {

using spline::degreeOnStack;
using spline::Scratch;
using spline::visitFixed;
using PoleScratch = Scratch<4 * (degreeOnStack + 1)>;

void casteljauOfAnySize(const double* poles, unsigned int n, double t, unsigned int dim,
                        double* out) {
    std::size_t length = std::size_t{n} * dim;
    PoleScratch work(length);
    double* const points = work.data();
    std::copy_n(poles, length, points);
    while (length > dim) {
        length -= dim;
        for (std::size_t k = 0; k < length; ++k) points[k] += (points[k + dim] - points[k]) * t;
    }
    std::copy_n(points, dim, out);
}

template <unsigned int Dim>
void casteljauOfDimension(const double* poles, unsigned int n, double t, double* out) {
    const auto ofFixedSize = [&](auto count) { spline::casteljau<Dim, count>(poles, t, out); };
    if (!visitFixed<1, 2, 3, 4, 5>(n, ofFixedSize)) casteljauOfAnySize(poles, n, t, Dim, out);
}

double power(double base, unsigned int exponent) {
    double result = 1.0;
    for (; exponent > 0; exponent /= 2) {
        if (exponent % 2 == 1) result *= base;
        base *= base;
    }
    return result;
}

// Dim 0: the dimension is known only here.
template <unsigned int Dim>
void hornerOfDimension(const double* poles, unsigned int n, double t, unsigned int anyDim,
                       const double* binomials, double* out) {
    const std::size_t dim = Dim > 0 ? Dim : anyDim;
    const unsigned int degree = n - 1;
    const bool fromFirst = t >= 0.5;
    // The binomials read the same from both ends.
    const double ratio = fromFirst ? (1.0 - t) / t : t / (1.0 - t);
    const double* pole = fromFirst ? poles : poles + degree * dim;
    const auto step = static_cast<std::ptrdiff_t>(dim) * (fromFirst ? 1 : -1);
    const auto sum = [&](double* values) {
        for (std::size_t k = 0; k < dim; ++k) values[k] = pole[k];
        for (unsigned int i = 1; i <= degree; ++i) {
            pole += step;
            for (std::size_t k = 0; k < dim; ++k)
                values[k] = values[k] * ratio + binomials[i] * pole[k];
        }
        const double factor = power(fromFirst ? t : 1.0 - t, degree);
        for (std::size_t k = 0; k < dim; ++k) values[k] *= factor;
    };
    if constexpr (Dim > 0) {
        double values[Dim];
        sum(values);
        std::copy_n(values, Dim, out);
    } else {
        sum(out);
    }
}

// Of `count` points in place to count - 1, and what there is to tell of them on the way: second
// differences of three points, the first difference of two. Inlined where Dim and count are known.
inline void derivativeLevel(double* points, std::size_t count, std::size_t dim, double t,
                            double factor, double secondFactor, double* out) {
    const double s = 1.0 - t;
    const double* const b = points + dim;
    const double* const c = b + dim;
    if (count == 2)
        for (std::size_t k = 0; k < dim; ++k) out[dim + k] = factor * (b[k] - points[k]);
    if (count == 3)
        for (std::size_t k = 0; k < dim; ++k)
            out[2 * dim + k] = secondFactor * ((c[k] - b[k]) - (b[k] - points[k]));
    for (std::size_t k = 0; k < (count - 1) * dim; ++k) points[k] = s * points[k] + t * b[k];
}

void derivativesOfAnySize(const double* poles, unsigned int n, double t, std::size_t dim,
                          double length, double* out) {
    std::fill_n(out, 3 * dim, 0.0);
    if (n == 0) return;
    PoleScratch work(n * dim);
    double* const points = work.data();
    std::copy_n(poles, n * dim, points);
    const double factor = (n - 1.0) / length;
    for (unsigned int count = n; count > 1; --count)
        derivativeLevel(points, count, dim, t, factor, factor * (n - 2.0), out);
    std::copy_n(points, dim, out);
}

template <unsigned int Dim, unsigned int Count>
void fixedDerivatives(const double* poles, double t, double length, double* out) {
    double points[Count * Dim];
    for (unsigned int k = 0; k < Count * Dim; ++k) points[k] = poles[k];
    const double factor = (Count - 1.0) / length;
    const double secondFactor = factor * (Count - 2.0);
    if constexpr (Count > 4) derivativeLevel(points, 5, Dim, t, factor, secondFactor, out);
    if constexpr (Count > 3) derivativeLevel(points, 4, Dim, t, factor, secondFactor, out);
    if constexpr (Count > 2) derivativeLevel(points, 3, Dim, t, factor, secondFactor, out);
    derivativeLevel(points, 2, Dim, t, factor, secondFactor, out);
    for (unsigned int k = 0; k < Dim; ++k) out[k] = points[k];
    if constexpr (Count == 2) std::fill_n(out + 2 * Dim, Dim, 0.0);
}

template <unsigned int Dim>
void derivativesOfDimension(const double* poles, unsigned int n, double t, double length,
                            double* out) {
    const auto ofFixedSize = [&](auto count) {
        fixedDerivatives<Dim, count>(poles, t, length, out);
    };
    if (!visitFixed<2, 3, 4, 5>(n, ofFixedSize))
        derivativesOfAnySize(poles, n, t, Dim, length, out);
}

void reversePoles(double* poles, unsigned int n, unsigned int dim) {
    for (std::size_t i = 0, j = n; i + 1 < j; ++i)
        std::swap_ranges(poles + i * dim, poles + (i + 1) * dim, poles + --j * dim);
}

}  // namespace

void Casteljau(const double* poles, unsigned int n, double t, unsigned int dim, double* out) {
    if (n == 0) {
        std::fill_n(out, dim, 0.0);
        return;
    }
    const auto ofFixedDimension = [&](auto d) { casteljauOfDimension<d>(poles, n, t, out); };
    if (!visitFixed<2, 3, 4>(dim, ofFixedDimension)) casteljauOfAnySize(poles, n, t, dim, out);
}

void CasteljauAll(const double* poles, double* triangle, unsigned int n, double t,
                  unsigned int dim) {
    const double s = 1.0 - t;
    std::copy_n(poles, std::size_t{n} * dim, triangle);
    const double* from = triangle;
    double* to = triangle + std::size_t{n} * dim;
    for (unsigned int count = n; count > 1; --count) {
        for (std::size_t k = 0; k < (std::size_t{count} - 1) * dim; ++k)
            *to++ = s * from[k] + t * from[k + dim];
        from += std::size_t{count} * dim;
    }
}

void Horner(const double* poles, unsigned int n, double t, unsigned int dim, double* out) {
    if (n == 0 || n - 1 > spline::highestHornerDegree) return Casteljau(poles, n, t, dim, out);
    const double* const binomials = theCnpTableau.Cnp(n - 1);
    const auto ofFixedDimension = [&](auto d) {
        hornerOfDimension<d>(poles, n, t, dim, binomials, out);
    };
    if (!visitFixed<2, 3, 4>(dim, ofFixedDimension))
        hornerOfDimension<0>(poles, n, t, dim, binomials, out);
}

void RedefineDomain(double* poles, unsigned int n, double a, double b, unsigned int dim) {
    const std::size_t length = std::size_t{n} * dim;
    if (b == 0.0 && a != 0.0) {
        // There is no ratio a / b: the part over [a, 0] is that over [1, 1 - a] seen from the other
        // end.
        reversePoles(poles, n, dim);
        if (a != 1.0) {
            RedefineDomain(poles, n, 1.0, 1.0 - a, dim);
            reversePoles(poles, n, dim);
        }
        return;
    }
    if (b != 1.0)
        for (std::size_t first = dim; first < length; first += dim)
            for (std::size_t k = length; k-- > first;)
                poles[k] = poles[k - dim] * (1.0 - b) + poles[k] * b;
    if (a == 0.0) return;
    const double s = a / b;
    for (std::size_t last = length; last > dim; last -= dim)
        for (std::size_t k = 0; k + dim < last; ++k) poles[k] += (poles[k + dim] - poles[k]) * s;
}

namespace spline {

void casteljauDerivatives(const double* poles, unsigned int n, double t, unsigned int dim,
                          double length, double* out) {
    // 9 and 12: points in space with their derivatives in the other direction of a surface.
    const auto ofFixedDimension = [&](auto d) {
        derivativesOfDimension<d>(poles, n, t, length, out);
    };
    if (!visitFixed<2, 3, 4, 9, 12>(dim, ofFixedDimension))
        derivativesOfAnySize(poles, n, t, dim, length, out);
}

}  // namespace spline

template <SplinePole E>
typename spline::InfoPointOf<E>::type CasteljauAll(const E* poles, unsigned int n, double u,
                                                   const ERLimites& limits) {
    using Info = typename spline::InfoPointOf<E>::type;
    constexpr unsigned int dim = spline::dimensionOf<E>;
    const double t = limits.ratio(u);
    double values[3 * dim];
    spline::casteljauDerivatives(spline::doubles(poles), n, t, dim, limits.amplitude(), values);
    if constexpr (E::isRational() != 0) {
        double cartesian[3 * (dim - 1)] = {};
        if (n > 0) spline::divideByWeight<dim>(values, cartesian);
        std::copy_n(cartesian, 3 * (dim - 1), values);
    }
    const double* const d = values;
    if constexpr (std::is_same_v<Info, ERInfoPoint2D>)
        return Info(t, 1, {d[0], d[1]}, {d[2], d[3]}, {d[4], d[5]});
    else
        return Info(t, 1, {d[0], d[1], d[2]}, {d[3], d[4], d[5]}, {d[6], d[7], d[8]});
}

template KERF_EXPORT ERInfoPoint2D CasteljauAll(const ERPoint2D*, unsigned int, double,
                                                const ERLimites&);
template KERF_EXPORT ERInfoPoint2D CasteljauAll(const ERPole2DH*, unsigned int, double,
                                                const ERLimites&);
template KERF_EXPORT ERInfoPoint3DWF CasteljauAll(const ERPoint3D*, unsigned int, double,
                                                  const ERLimites&);
template KERF_EXPORT ERInfoPoint3DWF CasteljauAll(const ERPole3DH*, unsigned int, double,
                                                  const ERLimites&);

}  // namespace kerf
