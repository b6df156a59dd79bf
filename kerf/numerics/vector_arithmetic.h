#pragma once
#include <cmath>
#include <cstddef>

// The loops of vector arithmetic on n doubles in a row. Sums run from the first element to the
// last, so that each function gives the same bits wherever it is compiled.
namespace kerf {

inline double dot(const double* a, const double* b, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) sum += a[i] * b[i];
    return sum;
}

/// The Euclidean length.
inline double norm(const double* a, std::size_t n) { return std::sqrt(dot(a, a, n)); }

/// The Euclidean distance of two points.
inline double distance(const double* a, const double* b, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return std::sqrt(sum);
}

/// a *= factor.
inline void scale(double* a, double factor, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) a[i] *= factor;
}

/// y += factor x, of runs that do not overlap.
inline void axpy(double factor, const double* x, double* y, std::size_t n) {
    // In fours, read before written, which compilers turn into vector code without having to know
    // that the runs are apart.
    for (; n >= 4; n -= 4, x += 4, y += 4) {
        const double a = y[0] + factor * x[0];
        const double b = y[1] + factor * x[1];
        const double c = y[2] + factor * x[2];
        const double d = y[3] + factor * x[3];
        y[0] = a;
        y[1] = b;
        y[2] = c;
        y[3] = d;
    }
    for (std::size_t i = 0; i < n; ++i) y[i] += factor * x[i];
}

/// result = x + t d: the point reached from x by t times d.
inline void moveAlong(const double* x, double t, const double* d, double* result, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) result[i] = x[i] + t * d[i];
}

}  // namespace kerf
