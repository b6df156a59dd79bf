#include "kerf/numerics/linear_solvers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "kerf/numerics/constants.h"
#include "kerf/numerics/internal/elimination.h"
#include "kerf/numerics/vector_arithmetic.h"
#include "kerf/numerics/vector_impl.h"

namespace kerf {

KERF_INSTANTIATE_SIMPLE_VECTOR(int)

namespace {

// The right-hand side (`available` elements) in the order of the decomposition, solved into `x`,
// which is zero. Elements that b does not have count as zeros.
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
    // The row to start from: the first with a leading element other than zero. With two columns
    // left, either element will do.
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
        axpy(-multiplier, a + 1, row + 1, cols - 1);
    }
    solveHomogeneous(a + stride + 1, rows - 1, cols - 1, stride, x + 1);
    x[0] = -dot(a + 1, x + 1, cols - 1) / a[0];
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
    int* order = shortOrder_;
    if (rows() > fewRows) {
        if (longOrder_.length() != rows()) longOrder_ = ERSimpleVec<int>(rows());
        order = longOrder_.data();
    }
    const int regular = eliminate(data(), rows(), cols(), order, exchangeCount_, singularPivot);
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
        elements[std::size_t{i} * rows() + static_cast<unsigned int>(permutation()[i])] = 1.0;
    return p;
}

unsigned int ERLUDecomp::rang() const {
    unsigned int rank = rows();
    if (singular_) return rank;
    const double* const a = data();
    while (rank > 0) {
        const std::size_t last = rank - 1;
        if (!(std::fabs(a[last * cols() + last]) <= comparisonTolerance)) break;
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
