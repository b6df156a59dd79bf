#pragma once
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "kerf/numerics/vector_arithmetic.h"

// Gaussian elimination with partial pivoting on rows of doubles, for matrices of the library and
// for small ones on the stack.
namespace kerf {

/// A pivot below this makes a system singular.
constexpr double singularPivot = 1e-20;

/// Turns `rows` rows of `cols` elements into their packed LU decomposition; columns past the square
/// are right-hand sides and become their solutions. Row i of the result is row permutation[i] of
/// the given matrix.
/// Returns: 1, or 0 at the first pivot below tol in absolute value, with the matrix partly
///          eliminated, and for more rows than columns.
inline int eliminate(double* a, unsigned int rows, unsigned int cols, int* permutation,
                     int& exchanges, double tol) {
    for (unsigned int i = 0; i < rows; ++i) permutation[i] = static_cast<int>(i);
    exchanges = 0;

    const unsigned int steps = std::min(rows, cols);
    for (unsigned int k = 0; k < steps; ++k) {
        double* const pivotRow = a + std::size_t{k} * cols;
        // The magnitude first and its row afterwards, since which row it is cannot be predicted.
        double magnitude = std::fabs(pivotRow[k]);
        for (unsigned int r = k + 1; r < rows; ++r)
            magnitude = std::max(magnitude, std::fabs(a[std::size_t{r} * cols + k]));
        unsigned int largest = k;
        if (magnitude > std::fabs(pivotRow[k]))
            while (std::fabs(a[std::size_t{largest} * cols + k]) != magnitude) ++largest;
        if (largest != k) {
            std::swap_ranges(pivotRow, pivotRow + cols, a + std::size_t{largest} * cols);
            std::swap(permutation[k], permutation[largest]);
            ++exchanges;
        }
        if (magnitude < tol) return 0;
        for (unsigned int i = k + 1; i < rows; ++i) {
            double* const row = a + std::size_t{i} * cols;
            const double multiplier = row[k] / pivotRow[k];
            row[k] = multiplier;
            axpy(-multiplier, pivotRow + k + 1, row + k + 1, cols - k - 1);
        }
    }
    if (rows > cols) return 0;
    if (rows == cols) return 1;  // no right-hand side

    for (unsigned int i = rows; i-- > 0;) {
        double* const row = a + std::size_t{i} * cols;
        for (unsigned int k = i + 1; k < rows; ++k)
            axpy(-row[k], a + std::size_t{k} * cols + rows, row + rows, cols - rows);
        for (unsigned int j = rows; j < cols; ++j) row[j] /= row[i];
    }
    return 1;
}

/// Forward and back substitution of n unknowns for one right-hand side. lu holds the decomposition
/// in rows that start `stride` elements apart; x holds the right-hand side in the order of its rows
/// and receives the solution.
inline void substitute(const double* lu, unsigned int n, unsigned int stride, double* x) {
    for (unsigned int i = 1; i < n; ++i) {
        const double* const row = lu + std::size_t{i} * stride;
        double rest = x[i];
        for (unsigned int k = 0; k < i; ++k) rest -= row[k] * x[k];
        x[i] = rest;
    }
    for (unsigned int i = n; i-- > 0;) {
        const double* const row = lu + std::size_t{i} * stride;
        double rest = x[i];
        for (unsigned int k = i + 1; k < n; ++k) rest -= row[k] * x[k];
        x[i] = rest / row[i];
    }
}

/// The same for `count` right-hand sides side by side, which x holds row by row.
inline void substitute(const double* lu, unsigned int n, unsigned int stride, double* x,
                       unsigned int count) {
    for (unsigned int i = 1; i < n; ++i) {
        const double* const row = lu + std::size_t{i} * stride;
        double* const target = x + std::size_t{i} * count;
        for (unsigned int k = 0; k < i; ++k)
            axpy(-row[k], x + std::size_t{k} * count, target, count);
    }
    for (unsigned int i = n; i-- > 0;) {
        const double* const row = lu + std::size_t{i} * stride;
        double* const target = x + std::size_t{i} * count;
        for (unsigned int k = i + 1; k < n; ++k)
            axpy(-row[k], x + std::size_t{k} * count, target, count);
        for (unsigned int c = 0; c < count; ++c) target[c] /= row[i];
    }
}

}  // namespace kerf
