#include "kerf/numerics/eigen.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace kerf::Mgc {

namespace {

constexpr int maxIterations = 32;

// std::hypot, but several times as fast where the sum of squares is neither subnormal nor infinite.
double hypotenuse(double x, double y) {
    constexpr double smallest =
        std::numeric_limits<double>::min() / std::numeric_limits<double>::epsilon();
    const double squares = x * x + y * y;
    const bool accurate = squares >= smallest && squares <= std::numeric_limits<double>::max();
    return accurate ? std::sqrt(squares) : std::hypot(x, y);
}

// Selection sort of the eigenvalues; `before(a, b)` tells that a belongs before b. The columns of
// the eigenvector matrix move along.
template <class Before>
void sortBySelection(int n, double* eigval, double** eigvec, Before before) {
    for (int i = 0; i + 1 < n; ++i) {
        int first = i;
        for (int j = i + 1; j < n; ++j)
            if (before(eigval[j], eigval[first])) first = j;
        if (first == i) continue;
        std::swap(eigval[i], eigval[first]);
        for (int row = 0; row < n; ++row) std::swap(eigvec[row][i], eigvec[row][first]);
    }
}

}  // namespace

Eigen::Eigen(int size) : size_(size > 0 ? size : 0) { makeRoom(); }

Eigen::Eigen(const Eigen& other) : size_(other.size_) {
    makeRoom();
    copyFrom(other);
}

Eigen& Eigen::operator=(const Eigen& other) {
    if (this == &other) return *this;
    size_ = other.size_;
    makeRoom();
    copyFrom(other);
    return *this;
}

// The rows lie one after another, then the diagonal and the subdiagonal.
void Eigen::copyFrom(const Eigen& other) {
    const auto count = static_cast<std::size_t>(size_);
    if (count != 0) std::copy_n(other.rows_[0], count * (count + 2), rows_[0]);
}

void Eigen::makeRoom() {
    double* elements = inlineElements_;
    rows_ = inlineRows_;
    if (size_ > inlineSize) {
        const auto count = static_cast<std::size_t>(size_);
        heapElements_.assign(count * (count + 2), 0.0);
        heapRows_.assign(count, nullptr);
        elements = heapElements_.data();
        rows_ = heapRows_.data();
    }
    for (int i = 0; i < size_; ++i, elements += size_) rows_[i] = elements;
    diagonal_ = elements;
    subdiagonal_ = elements + size_;
}

void Eigen::SetMatrix(const double* const* source) {
    for (int i = 0; i < size_; ++i)
        for (int j = 0; j < size_; ++j) rows_[i][j] = source[i][j];
}

// Far from 1 the products and quotients of the steps lose digits or overflow. A matrix of such
// elements is scaled to about 1 by a power of two, and its eigenvalues are scaled back.
template <class Reduce>
bool Eigen::solve(Reduce reduce) {
    constexpr double smallest = 0x1p-900, greatest = 0x1p900;
    double largest = 0.0;
    for (int i = 0; i < size_; ++i)
        for (int j = 0; j < size_; ++j) largest = std::max(largest, std::fabs(rows_[i][j]));
    const bool far =
        largest != 0.0 && std::isfinite(largest) && (largest < smallest || largest > greatest);
    const int exponent = far ? std::ilogb(largest) : 0;
    if (far)
        for (int i = 0; i < size_; ++i)
            for (int j = 0; j < size_; ++j) rows_[i][j] = std::ldexp(rows_[i][j], -exponent);
    reduce();
    const bool found = QLAlgorithm(size_, diagonal_, subdiagonal_, rows_);
    if (far)
        for (int i = 0; i < size_; ++i) diagonal_[i] = std::ldexp(diagonal_[i], exponent);
    return found;
}

void Eigen::Tridiagonal2(double** mat, double* diag, double* subd) {
    diag[0] = mat[0][0];
    diag[1] = mat[1][1];
    subd[0] = mat[0][1];
    subd[1] = 0.0;
    mat[0][0] = mat[1][1] = 1.0;
    mat[0][1] = mat[1][0] = 0.0;
}

// The reflection [[b, c], [c, -b]] of the last two coordinates maps (m01, m02) to (length, 0).
void Eigen::Tridiagonal3(double** mat, double* diag, double* subd) {
    const double m00 = mat[0][0], m01 = mat[0][1], m02 = mat[0][2];
    const double m11 = mat[1][1], m12 = mat[1][2], m22 = mat[2][2];
    double b = 1.0, c = 0.0;
    diag[0] = m00;
    subd[2] = 0.0;
    mat[0][0] = 1.0;
    mat[0][1] = mat[0][2] = mat[1][0] = mat[2][0] = 0.0;
    if (m02 == 0.0) {
        diag[1] = m11;
        diag[2] = m22;
        subd[0] = m01;
        subd[1] = m12;
        mat[1][1] = mat[2][2] = 1.0;
        mat[1][2] = mat[2][1] = 0.0;
        return;
    }
    const double length = hypotenuse(m01, m02);
    b = m01 / length;
    c = m02 / length;
    const double q = 2.0 * b * m12 + c * (m22 - m11);
    diag[1] = m11 + c * q;
    diag[2] = m22 - c * q;
    subd[0] = length;
    subd[1] = m12 - b * q;
    mat[1][1] = b;
    mat[1][2] = mat[2][1] = c;
    mat[2][2] = -b;
}

// A Householder reflection H = I - u u^T / h of the last three coordinates maps (m01, m02, m03) to
// (-sign(m01) length, 0, 0). The reflected lower right 3 by 3 block is reduced as above.
void Eigen::Tridiagonal4(double** mat, double* diag, double* subd) {
    double s00 = mat[1][1], s01 = mat[1][2], s02 = mat[1][3];
    double s11 = mat[2][2], s12 = mat[2][3], s22 = mat[3][3];
    // Columns of H: the directions of the reduced coordinates.
    double h00 = 1.0, h01 = 0.0, h02 = 0.0, h11 = 1.0, h12 = 0.0, h22 = 1.0;
    diag[0] = mat[0][0];
    subd[0] = mat[0][1];
    if (mat[0][2] != 0.0 || mat[0][3] != 0.0) {
        const double length = std::hypot(mat[0][1], mat[0][2], mat[0][3]);
        const double x = mat[0][1] / length, y = mat[0][2] / length, z = mat[0][3] / length;
        const double sign = x < 0.0 ? -1.0 : 1.0;
        const double u = x + sign;
        const double h = 1.0 + std::fabs(x);
        subd[0] = -sign * length;
        // S - u w^T - w u^T with w = S u / h - u (u . S u) / (2 h^2) is H S H.
        double w0 = (s00 * u + s01 * y + s02 * z) / h;
        double w1 = (s01 * u + s11 * y + s12 * z) / h;
        double w2 = (s02 * u + s12 * y + s22 * z) / h;
        const double half = (u * w0 + y * w1 + z * w2) / (2.0 * h);
        w0 -= half * u;
        w1 -= half * y;
        w2 -= half * z;
        s00 -= 2.0 * u * w0;
        s01 -= u * w1 + w0 * y;
        s02 -= u * w2 + w0 * z;
        s11 -= 2.0 * y * w1;
        s12 -= y * w2 + w1 * z;
        s22 -= 2.0 * z * w2;
        h00 -= u * u / h;
        h01 = -u * y / h;
        h02 = -u * z / h;
        h11 -= y * y / h;
        h12 = -y * z / h;
        h22 -= z * z / h;
    }

    double b = 1.0, c = 0.0;
    diag[1] = s00;
    subd[3] = 0.0;
    if (s02 == 0.0) {
        diag[2] = s11;
        diag[3] = s22;
        subd[1] = s01;
        subd[2] = s12;
    } else {
        const double length = hypotenuse(s01, s02);
        b = s01 / length;
        c = s02 / length;
        const double q = 2.0 * b * s12 + c * (s22 - s11);
        diag[2] = s11 + c * q;
        diag[3] = s22 - c * q;
        subd[1] = length;
        subd[2] = s12 - b * q;
    }
    // The second step is a reflection, or the unit matrix where there was nothing to do.
    const double d = s02 == 0.0 ? 1.0 : -b;
    mat[0][0] = 1.0;
    mat[0][1] = mat[0][2] = mat[0][3] = 0.0;
    mat[1][0] = mat[2][0] = mat[3][0] = 0.0;
    mat[1][1] = h00;
    mat[1][2] = h01 * b + h02 * c;
    mat[1][3] = h01 * c + h02 * d;
    mat[2][1] = h01;
    mat[2][2] = h11 * b + h12 * c;
    mat[2][3] = h11 * c + h12 * d;
    mat[3][1] = h02;
    mat[3][2] = h12 * b + h22 * c;
    mat[3][3] = h12 * c + h22 * d;
}

// Householder reduction from the first column on; the reflections are kept in the columns of `mat`
// below the subdiagonal and multiplied together at the end, last one first.
void Eigen::TridiagonalN(int n, double** mat, double* diag, double* subd) {
    if (n <= 0) return;
    // While the reduction runs, diag[k] holds the h of reflection k, 0 for none, and subd its w.
    for (int k = 0; k + 2 < n; ++k) {
        double scale = 0.0;
        for (int i = k + 2; i < n; ++i) scale += std::fabs(mat[i][k]);
        if (scale == 0.0) {
            diag[k] = 0.0;
            continue;
        }
        scale += std::fabs(mat[k + 1][k]);
        double squares = 0.0;
        for (int i = k + 1; i < n; ++i) {
            mat[i][k] /= scale;
            squares += mat[i][k] * mat[i][k];
        }
        const double length = mat[k + 1][k] < 0.0 ? -std::sqrt(squares) : std::sqrt(squares);
        const double h = squares + length * mat[k + 1][k];
        mat[k + 1][k] += length;
        // The coupling is kept in the upper triangle, which nothing reads any more.
        mat[k][k + 1] = -scale * length;
        diag[k] = h;

        double half = 0.0;
        for (int i = k + 1; i < n; ++i) {
            double sum = 0.0;
            for (int j = k + 1; j <= i; ++j) sum += mat[i][j] * mat[j][k];
            for (int j = i + 1; j < n; ++j) sum += mat[j][i] * mat[j][k];
            subd[i] = sum / h;
            half += subd[i] * mat[i][k];
        }
        half /= 2.0 * h;
        for (int i = k + 1; i < n; ++i) subd[i] -= half * mat[i][k];
        for (int i = k + 1; i < n; ++i)
            for (int j = k + 1; j <= i; ++j) mat[i][j] -= mat[i][k] * subd[j] + subd[i] * mat[j][k];
    }
    for (int k = 0; k + 1 < n; ++k) {
        const bool reflected = k + 2 < n && diag[k] != 0.0;
        subd[k] = reflected ? mat[k][k + 1] : mat[k + 1][k];
    }
    subd[n - 1] = 0.0;

    // Q = H0 H1 ... is built from the last reflection to the first. Each adds a row and a column, so
    // the diagonal element that stands there is saved first.
    for (int k = n - 1; k >= 0; --k) {
        const double h = k + 2 < n ? diag[k] : 0.0;
        diag[k] = mat[k][k];
        if (h != 0.0) {
            for (int j = k + 1; j < n; ++j) {
                double sum = 0.0;
                for (int i = k + 1; i < n; ++i) sum += mat[i][k] * mat[i][j];
                sum /= h;
                for (int i = k + 1; i < n; ++i) mat[i][j] -= sum * mat[i][k];
            }
        }
        mat[k][k] = 1.0;
        for (int i = k + 1; i < n; ++i) mat[i][k] = mat[k][i] = 0.0;
    }
}

bool Eigen::QLAlgorithm(int n, double* diag, double* subd, double** mat) {
    for (int l = 0; l < n; ++l) {
        for (int iteration = 0;; ++iteration) {
            // The first coupling from l on that vanishes beside its neighbours on the diagonal.
            int m = l;
            for (; m + 1 < n; ++m) {
                const double magnitude = std::fabs(diag[m]) + std::fabs(diag[m + 1]);
                if (std::fabs(subd[m]) + magnitude == magnitude) break;
            }
            if (m == l) break;
            if (iteration == maxIterations) return false;

            // Wilkinson's shift, from the eigenvalue of the leading 2 by 2 block next to diag[l].
            const double half = 0.5 * (diag[l + 1] - diag[l]);
            double r = hypotenuse(half, subd[l]);
            double g = diag[m] - diag[l] + subd[l] * (subd[l] / (half + std::copysign(r, half)));
            double s = 1.0, c = 1.0, p = 0.0;
            int i = m - 1;
            for (; i >= l; --i) {
                const double f = s * subd[i];
                const double b = c * subd[i];
                r = hypotenuse(f, g);
                subd[i + 1] = r;
                if (r == 0.0) break;
                s = f / r;
                c = g / r;
                g = diag[i + 1] - p;
                r = (diag[i] - g) * s + 2.0 * c * b;
                p = s * r;
                diag[i + 1] = g + p;
                g = c * r - b;
                for (int row = 0; row < n; ++row) {
                    const double next = mat[row][i + 1];
                    const double here = mat[row][i];
                    mat[row][i + 1] = s * here + c * next;
                    mat[row][i] = c * here - s * next;
                }
            }
            if (i >= l) {
                // A rotation without length: the block splits at i + 1.
                diag[i + 1] -= p;
                subd[m] = 0.0;
                continue;
            }
            diag[l] -= p;
            subd[l] = g;
            subd[m] = 0.0;
        }
    }
    return true;
}

void Eigen::DecreasingSort(int n, double* eigval, double** eigvec) {
    sortBySelection(n, eigval, eigvec, [](double a, double b) { return a > b; });
}

void Eigen::IncreasingSort(int n, double* eigval, double** eigvec) {
    sortBySelection(n, eigval, eigvec, [](double a, double b) { return a < b; });
}

bool Eigen::EigenStuff2() {
    KERF_CHECK_ARGUMENT(size_ == 2);
    return solve([this] { Tridiagonal2(rows_, diagonal_, subdiagonal_); });
}

bool Eigen::EigenStuff3() {
    KERF_CHECK_ARGUMENT(size_ == 3);
    return solve([this] { Tridiagonal3(rows_, diagonal_, subdiagonal_); });
}

bool Eigen::EigenStuff4() {
    KERF_CHECK_ARGUMENT(size_ == 4);
    return solve([this] { Tridiagonal4(rows_, diagonal_, subdiagonal_); });
}

bool Eigen::EigenStuffN() {
    return solve([this] { TridiagonalN(size_, rows_, diagonal_, subdiagonal_); });
}

bool Eigen::EigenStuff() {
    switch (size_) {
        case 2:
            return EigenStuff2();
        case 3:
            return EigenStuff3();
        case 4:
            return EigenStuff4();
        default:
            return EigenStuffN();
    }
}

bool Eigen::DecrSortEigenStuff2() {
    const bool found = EigenStuff2();
    DecreasingSort(2, diagonal_, rows_);
    return found;
}

bool Eigen::DecrSortEigenStuff3() {
    const bool found = EigenStuff3();
    DecreasingSort(3, diagonal_, rows_);
    return found;
}

bool Eigen::DecrSortEigenStuff4() {
    const bool found = EigenStuff4();
    DecreasingSort(4, diagonal_, rows_);
    return found;
}

bool Eigen::DecrSortEigenStuffN() {
    const bool found = EigenStuffN();
    DecreasingSort(size_, diagonal_, rows_);
    return found;
}

bool Eigen::DecrSortEigenStuff() {
    const bool found = EigenStuff();
    DecreasingSort(size_, diagonal_, rows_);
    return found;
}

bool Eigen::IncrSortEigenStuff2() {
    const bool found = EigenStuff2();
    IncreasingSort(2, diagonal_, rows_);
    return found;
}

bool Eigen::IncrSortEigenStuff3() {
    const bool found = EigenStuff3();
    IncreasingSort(3, diagonal_, rows_);
    return found;
}

bool Eigen::IncrSortEigenStuff4() {
    const bool found = EigenStuff4();
    IncreasingSort(4, diagonal_, rows_);
    return found;
}

bool Eigen::IncrSortEigenStuffN() {
    const bool found = EigenStuffN();
    IncreasingSort(size_, diagonal_, rows_);
    return found;
}

bool Eigen::IncrSortEigenStuff() {
    const bool found = EigenStuff();
    IncreasingSort(size_, diagonal_, rows_);
    return found;
}

}  // namespace kerf::Mgc
