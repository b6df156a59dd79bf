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

/// Finds the pivot of column k, of rows of `cols` elements, and brings its row to row k.
/// Returns: the pivot's magnitude.
inline double exchangePivot(double* a, unsigned int k, unsigned int rows, unsigned int cols,
                            int* permutation, int& exchanges) {
    double* const pivotRow = a + std::size_t{k} * cols;
    // The magnitude first and its row afterwards, since which row it is cannot be predicted.
    double magnitude = std::fabs(pivotRow[k]);
    for (unsigned int r = k + 1; r < rows; ++r)
        magnitude = std::max(magnitude, std::fabs(a[std::size_t{r} * cols + k]));
    if (magnitude > std::fabs(pivotRow[k])) {
        unsigned int largest = k + 1;
        while (std::fabs(a[std::size_t{largest} * cols + k]) != magnitude) ++largest;
        std::swap_ranges(pivotRow, pivotRow + cols, a + std::size_t{largest} * cols);
        std::swap(permutation[k], permutation[largest]);
        ++exchanges;
    }
    return magnitude;
}

/// row += factor pivotRow, of runs that do not overlap: read before written, as axpy does.
template <std::size_t... I>
void addRow(double factor, const double* pivotRow, double* row, std::index_sequence<I...>) {
    const double sums[] = {(row[I] + factor * pivotRow[I])...};
    ((row[I] = sums[I]), ...);
}

/// eliminate<N> from column K on.
template <unsigned int N, unsigned int K>
int eliminateFrom(double* a, int* permutation, int& exchanges, double tol) {
    if (exchangePivot(a, K, N, N, permutation, exchanges) < tol) return 0;
    if constexpr (K + 1 < N) {
        const double* const pivotRow = a + K * N;
        for (unsigned int i = K + 1; i < N; ++i) {
            double* const row = a + i * N;
            const double multiplier = row[K] / pivotRow[K];
            row[K] = multiplier;
            addRow(-multiplier, pivotRow + K + 1, row + K + 1,
                   std::make_index_sequence<N - K - 1>());
        }
        return eliminateFrom<N, K + 1>(a, permutation, exchanges, tol);
    }
    return 1;
}

/// eliminate, below, for N rows of N elements. With N known to the compiler the loops unroll; the
/// operations and their order, and so the bits of the result, are the same.
template <unsigned int N>
int eliminate(double* a, int* permutation, int& exchanges, double tol) {
    for (unsigned int i = 0; i < N; ++i) permutation[i] = static_cast<int>(i);
    exchanges = 0;
    return eliminateFrom<N, 0>(a, permutation, exchanges, tol);
}

/// Turns `rows` rows of `cols` elements into their packed LU decomposition; columns past the square
/// are right-hand sides and become their solutions. Row i of the result is row permutation[i] of
/// the given matrix.
/// Returns: 1, or 0 at the first pivot below tol in absolute value, with the matrix partly
///          eliminated, and for more rows than columns.
inline int eliminate(double* a, unsigned int rows, unsigned int cols, int* permutation,
                     int& exchanges, double tol) {
    if (rows == cols) {
        switch (rows) {
            case 2:
                return eliminate<2>(a, permutation, exchanges, tol);
            case 3:
                return eliminate<3>(a, permutation, exchanges, tol);
            case 4:
                return eliminate<4>(a, permutation, exchanges, tol);
            case 5:
                return eliminate<5>(a, permutation, exchanges, tol);
            case 6:
                return eliminate<6>(a, permutation, exchanges, tol);
            default:
                break;
        }
    }
    for (unsigned int i = 0; i < rows; ++i) permutation[i] = static_cast<int>(i);
    exchanges = 0;

    const unsigned int steps = std::min(rows, cols);
    for (unsigned int k = 0; k < steps; ++k) {
        if (exchangePivot(a, k, rows, cols, permutation, exchanges) < tol) return 0;
        const double* const pivotRow = a + std::size_t{k} * cols;
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

/// rest - row * x, term by term from the first on.
template <std::size_t... K>
double subtractTerms(double rest, const double* row, const double* x, std::index_sequence<K...>) {
    ((rest -= row[K] * x[K]), ...);
    return rest;
}

template <unsigned int N, std::size_t... I>
void substituteRows(const double* lu, double* x, std::index_sequence<I...>) {
    ((x[I] = subtractTerms(x[I], lu + I * N, x, std::make_index_sequence<I>())), ...);
    // Row N - 1 - I has I elements after the diagonal.
    ((x[N - 1 - I] = subtractTerms(x[N - 1 - I], lu + (N - I) * N - I, x + N - I,
                                   std::make_index_sequence<I>()) /
                     lu[(N - 1 - I) * (N + 1)]),
     ...);
}

/// substitute, below, for N unknowns in rows of N elements: the same bits.
template <unsigned int N>
void substitute(const double* lu, double* x) {
    substituteRows<N>(lu, x, std::make_index_sequence<N>());
}

/// Forward and back substitution of n unknowns for one right-hand side. lu holds the decomposition
/// in rows that start `stride` elements apart; x holds the right-hand side in the order of its rows
/// and receives the solution.
inline void substitute(const double* lu, unsigned int n, unsigned int stride, double* x) {
    if (n == stride) {
        switch (n) {
            case 2:
                return substitute<2>(lu, x);
            case 3:
                return substitute<3>(lu, x);
            case 4:
                return substitute<4>(lu, x);
            case 5:
                return substitute<5>(lu, x);
            case 6:
                return substitute<6>(lu, x);
            default:
                break;
        }
    }
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
