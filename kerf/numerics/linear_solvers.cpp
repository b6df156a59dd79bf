#include "kerf/numerics/linear_solvers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "kerf/numerics/vector_impl.h"

namespace kerf {

KERF_INSTANTIATE_SIMPLE_VECTOR(int)

namespace {

constexpr double singularPivot = 1e-20;
constexpr double nullDiagonal = 1e-11;

// row -= factor * other. In fours, read before written, which compilers turn into vector code
// without having to know that the rows are apart.
inline void subtractMultiple(double* row, const double* other, double factor, std::size_t n) {
    for (; n >= 4; n -= 4, row += 4, other += 4) {
        const double a = row[0] - factor * other[0];
        const double b = row[1] - factor * other[1];
        const double c = row[2] - factor * other[2];
        const double d = row[3] - factor * other[3];
        row[0] = a;
        row[1] = b;
        row[2] = c;
        row[3] = d;
    }
    for (std::size_t j = 0; j < n; ++j) row[j] -= factor * other[j];
}

// The forward and back substitution of n unknowns for one right-hand side; x holds it, already
// permuted, and receives the solution.
void substitute(const double* lu, unsigned int n, unsigned int stride, double* x) {
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

// The same for `count` right-hand sides side by side, which x holds row by row.
void substitute(const double* lu, unsigned int n, unsigned int stride, double* x,
                unsigned int count) {
    for (unsigned int i = 1; i < n; ++i) {
        const double* const row = lu + std::size_t{i} * stride;
        double* const target = x + std::size_t{i} * count;
        for (unsigned int k = 0; k < i; ++k)
            subtractMultiple(target, x + std::size_t{k} * count, row[k], count);
    }
    for (unsigned int i = n; i-- > 0;) {
        const double* const row = lu + std::size_t{i} * stride;
        double* const target = x + std::size_t{i} * count;
        for (unsigned int k = i + 1; k < n; ++k)
            subtractMultiple(target, x + std::size_t{k} * count, row[k], count);
        for (unsigned int c = 0; c < count; ++c) target[c] /= row[i];
    }
}

// The right-hand side (`available` elements) in the order of the decomposition, solved into `x`,
// which is zero: elements that are not there count as zeros.
void solveInto(const ERLUDecomp& lu, const double* b, unsigned int available, double* x) {
    const unsigned int n = std::min(lu.rows(), lu.cols());
    const int* const order = lu.permutation();
    for (unsigned int i = 0; i < n; ++i) {
        const auto from = static_cast<unsigned int>(order[i]);
        if (from < available) x[i] = b[from];
    }
    substitute(lu.data(), n, lu.cols(), x);
}

// The same for right-hand sides in `available` rows of `count`.
void solveInto(const ERLUDecomp& lu, const double* b, unsigned int available, double* x,
               unsigned int count) {
    const unsigned int n = std::min(lu.rows(), lu.cols());
    const int* const order = lu.permutation();
    for (unsigned int i = 0; i < n; ++i) {
        const auto from = static_cast<unsigned int>(order[i]);
        if (from < available)
            std::copy_n(b + std::size_t{from} * count, count, x + std::size_t{i} * count);
    }
    substitute(lu.data(), n, lu.cols(), x, count);
}

// Solves a x = 0 for `cols` unknowns in place on row-major rows `stride` apart.
void solveHomogeneous(double* a, unsigned int rows, unsigned int cols, unsigned int stride,
                      double* x) {
    // The row to start from: the first, unless it tells nothing.
    unsigned int lead = 0;
    while (lead < rows && a[std::size_t{lead} * stride] == 0.0 &&
           (cols != 2 || a[std::size_t{lead} * stride + 1] == 0.0))
        ++lead;
    if (cols == 1 || lead == rows) {
        x[0] = 1.0;
        std::fill(x + 1, x + cols, 0.0);
        return;
    }
    if (lead != 0) std::swap_ranges(a, a + cols, a + std::size_t{lead} * stride);
    if (cols == 2) {
        x[0] = a[1];
        x[1] = -1.0 * a[0];
        return;
    }
    for (unsigned int r = 1; r < rows; ++r) {
        double* const row = a + std::size_t{r} * stride;
        const double multiplier = row[0] / a[0];
        for (unsigned int c = 1; c < cols; ++c) row[c] -= multiplier * a[c];
    }
    solveHomogeneous(a + stride + 1, rows - 1, cols - 1, stride, x + 1);
    double sum = 0.0;
    for (unsigned int c = 1; c < cols; ++c) sum += a[c] * x[c];
    x[0] = -sum / a[0];
}

// MatriceGaussPivot on the elements themselves, with room for one int per row in `permutation`.
int eliminate(double* const a, const unsigned int rows, const unsigned int cols,
              int* const permutation, int& exchanges, double tol) {
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
            subtractMultiple(row + k + 1, pivotRow + k + 1, multiplier, cols - k - 1);
        }
    }
    if (rows > cols) return 0;

    for (unsigned int i = rows; i-- > 0;) {
        double* const row = a + std::size_t{i} * cols;
        for (unsigned int k = i + 1; k < rows; ++k) {
            const double* const known = a + std::size_t{k} * cols;
            for (unsigned int j = rows; j < cols; ++j) row[j] -= row[k] * known[j];
        }
        for (unsigned int j = rows; j < cols; ++j) row[j] /= row[i];
    }
    return 1;
}

}  // namespace

int MatriceGaussPivot(ERMatrix<double>& m, int*& permutation, int& exchanges, double tol) {
    permutation = new int[m.rows()];
    return eliminate(m.data(), m.rows(), m.cols(), permutation, exchanges, tol);
}

ERLUDecomp::ERLUDecomp(const ERMatrix<double>& a) : ERMatrix<double>(a), given_(a) { factor(); }

ERLUDecomp& ERLUDecomp::operator=(const ERMatrix<double>& a) {
    given_ = a;
    ERMatrix<double>::operator=(given_);
    factor();
    return *this;
}

void ERLUDecomp::factor() {
    if (rowOrder_.length() != rows()) rowOrder_ = ERSimpleVec<int>(rows());
    const int regular =
        eliminate(data(), rows(), cols(), rowOrder_.data(), exchangeCount_, singularPivot);
    singular_ = regular == 0 ? 1 : 0;
}

ERMatrix<double> ERLUDecomp::L() const {
    ERMatrix<double> lower(rows(), rows());
    double* const l = lower.data();
    const double* const a = data();
    for (unsigned int i = 0; i < rows(); ++i) {
        const unsigned int below = std::min(i, cols());
        if (below != 0)
            std::copy_n(a + std::size_t{i} * cols(), below, l + std::size_t{i} * rows());
        l[std::size_t{i} * rows() + i] = 1.0;
    }
    return lower;
}

ERMatrix<double> ERLUDecomp::U() const {
    ERMatrix<double> upper(rows(), cols());
    double* const u = upper.data();
    const double* const a = data();
    for (unsigned int i = 0; i < std::min(rows(), cols()); ++i) {
        const std::size_t first = std::size_t{i} * cols() + i;
        std::copy_n(a + first, cols() - i, u + first);
    }
    return upper;
}

ERMatrix<double> ERLUDecomp::P() const {
    ERMatrix<double> p(rows(), rows());
    double* const elements = p.data();
    for (unsigned int i = 0; i < rows(); ++i)
        elements[std::size_t{i} * rows() + static_cast<unsigned int>(rowOrder_[i])] = 1.0;
    return p;
}

unsigned int ERLUDecomp::rang() const {
    unsigned int rank = rows();
    if (singular_) return rank;
    const double* const a = data();
    while (rank > 0) {
        const std::size_t last = rank - 1;
        if (!(std::fabs(a[last * cols() + last]) <= nullDiagonal)) break;
        --rank;
    }
    return rank;
}

double determinant(const ERLUDecomp& lu) {
    const double* const a = lu.data();
    double product = 1.0;
    for (unsigned int i = 0; i < std::min(lu.rows(), lu.cols()); ++i)
        product *= a[std::size_t{i} * lu.cols() + i];
    return lu.exchanges() % 2 != 0 ? -product : product;
}

ERVec<double> solve(const ERLUDecomp& lu, const ERVec<double>& b) {
    KERF_CHECK_ARGUMENT(b.length() >= lu.rows());
    ERVec<double> x(lu.cols());
    if (x.length() != 0) solveInto(lu, b.data(), b.length(), x.data());
    return x;
}

ERMatrix<double> solve(const ERLUDecomp& lu, const ERMatrix<double>& B) {
    KERF_CHECK_ARGUMENT(B.rows() >= lu.rows());
    ERMatrix<double> x(lu.cols(), B.cols());
    if (x.length() != 0) solveInto(lu, B.data(), B.rows(), x.data(), B.cols());
    return x;
}

ERVec<double> solve(const ERLUDecomp& lu) {
    ERVec<double> x(lu.cols());
    if (x.length() != 0) solveInto(lu, nullptr, 0, x.data());
    return x;
}

ERMatrix<double> inverse(const ERLUDecomp& lu) { return solve(lu, IdentityMatrix(lu.rows())); }

ERMatrix<double> IdentityMatrix(unsigned int n) {
    ERMatrix<double> unit(n, n);
    double* const elements = unit.data();
    for (unsigned int i = 0; i < n; ++i) elements[std::size_t{i} * (std::size_t{n} + 1)] = 1.0;
    return unit;
}

ERVec<double> ResolveHyperPlan(const ERMatrix<double>& a) {
    const unsigned int cols = a.cols();
    ERVec<double> x(cols);
    if (cols == 0) return x;
    ERVec<double> work(a.asVector());
    solveHomogeneous(work.data(), a.rows(), cols, cols, x.data());
    return x;
}

}  // namespace kerf
