#include "kerf/numerics/eigen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace kerf {
namespace {

using Rows = std::vector<std::vector<double>>;

void fill(Mgc::Eigen& eigen, const Rows& matrix) {
    std::vector<const double*> rows;
    for (const auto& row : matrix) rows.push_back(row.data());
    eigen.SetMatrix(rows.data());
}

double largestElement(const Rows& matrix) {
    double largest = 0.0;
    for (const auto& row : matrix)
        for (const double element : row) largest = std::max(largest, std::fabs(element));
    return largest;
}

// Oracle: the definition. A V = V diag(lambda) and V^T V = I, within `ulps` roundings of the
// matrix.
void expectEigensystem(const Rows& matrix, const Mgc::Eigen& eigen, double ulps = 64) {
    const auto n = matrix.size();
    const double tolerance = ulps * std::numeric_limits<double>::epsilon() * static_cast<double>(n);
    const double scale = std::max(largestElement(matrix), std::numeric_limits<double>::min());
    for (std::size_t a = 0; a < n; ++a) {
        const int col = static_cast<int>(a);
        for (std::size_t i = 0; i < n; ++i) {
            double product = 0.0;
            for (std::size_t j = 0; j < n; ++j)
                product += matrix[i][j] * eigen.GetEigenvector(static_cast<int>(j), col);
            EXPECT_NEAR(product,
                        eigen.GetEigenvalue(col) * eigen.GetEigenvector(static_cast<int>(i), col),
                        tolerance * scale);
        }
        for (std::size_t b = 0; b <= a; ++b) {
            double dot = 0.0;
            for (int i = 0; i < static_cast<int>(n); ++i)
                dot += eigen.GetEigenvector(i, col) * eigen.GetEigenvector(i, static_cast<int>(b));
            EXPECT_NEAR(dot, a == b ? 1.0 : 0.0, tolerance);
        }
    }
}

class EigenOfSize : public ::testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Sizes, EigenOfSize, ::testing::Values(1, 2, 3, 4, 5, 8, 17));

TEST_P(EigenOfSize, VectorsAndValuesSatisfyTheirDefinition) {
    const auto n = static_cast<std::size_t>(GetParam());
    std::mt19937 random(23);
    std::uniform_real_distribution<double> exponent(-6.0, 6.0);
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        // Elements of one size, of very different sizes, sparse ones, and integers with equal
        // values.
        Rows matrix(n, std::vector<double>(n));
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j <= i; ++j) {
                double element = mantissa(random);
                if (trial % 4 == 1) element *= std::pow(10.0, exponent(random));
                if (trial % 4 == 2 && element < 0.3) element = 0.0;
                if (trial % 4 == 3) element = std::round(element);
                matrix[i][j] = matrix[j][i] = element;
            }
        }
        for (const int order : {0, 1, -1}) {
            Mgc::Eigen eigen(GetParam());
            fill(eigen, matrix);
            EXPECT_TRUE(order == 0   ? eigen.EigenStuff()
                        : order == 1 ? eigen.IncrSortEigenStuff()
                                     : eigen.DecrSortEigenStuff());
            expectEigensystem(matrix, eigen);
            for (int i = 1; i < eigen.GetSize(); ++i)
                EXPECT_GE(order * (eigen.GetEigenvalue(i) - eigen.GetEigenvalue(i - 1)), 0.0);
        }
    }
}

TEST_P(EigenOfSize, ADiagonalMatrixKeepsItsOrderUntilSorted) {
    const int n = GetParam();
    Mgc::Eigen eigen(n);
    for (int i = 0; i < n; ++i) eigen.Matrix(i, i) = (i * 7) % 5 - 2.0;
    EXPECT_TRUE(eigen.EigenStuff());
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(eigen.GetEigenvalue()[i], (i * 7) % 5 - 2.0);
        for (int j = 0; j < n; ++j) EXPECT_EQ(eigen.GetEigenvector(i, j), i == j ? 1.0 : 0.0);
    }
}

TEST_P(EigenOfSize, NoInputKeepsItFromReturning) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double element : {std::nan(""), infinity, 1e300, 1e-320, 0.0}) {
        Mgc::Eigen eigen(GetParam());
        for (int i = 0; i < GetParam(); ++i)
            for (int j = 0; j < GetParam(); ++j) eigen.Matrix(i, j) = element;
        const bool found = eigen.DecrSortEigenStuff();
        if (std::isnan(element)) {
            EXPECT_EQ(found, GetParam() == 1);
        }
        if (element == 0.0) {
            EXPECT_TRUE(found);
        }
    }
}

// Textbook matrices with eigenvalues in closed form (Rosser 1951; Gregory and Karney's collection).
TEST(Eigen, FindsPublishedEigenvalues) {
    const double r = 10405.0;
    const struct {
        Rows matrix;
        std::vector<double> ascending;
    } cases[] = {
        {{{2, -1, 0}, {-1, 2, -1}, {0, -1, 2}},
         {0.5857864376269049, 1.9999999999999998, 3.414213562373095}},
        {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, {0.0, 0.0, 3.0}},
        {{{2, -1, 0, 0}, {-1, 2, -1, 0}, {0, -1, 2, -1}, {0, 0, -1, 2}},
         {0.3819660112501051, 1.381966011250105, 2.618033988749895, 3.618033988749895}},
        {{{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}}, {0.0, 0.0, 0.0, 4.0}},
        {{{611, 196, -192, 407, -8, -52, -49, 29},
          {196, 899, 113, -192, -71, -43, -8, -44},
          {-192, 113, 899, 196, 61, 49, 8, 52},
          {407, -192, 196, 611, 8, 44, 59, -23},
          {-8, -71, 61, 8, 411, -599, 208, 208},
          {-52, -43, 49, 44, -599, 411, 208, 208},
          {-49, -8, 8, 59, 208, 208, 99, -911},
          {29, -44, 52, -23, 208, 208, -911, 99}},
         {-10 * std::sqrt(r), 0, 510 - 100 * std::sqrt(26.0), 1000, 1000,
          510 + 100 * std::sqrt(26.0), 1020, 10 * std::sqrt(r)}},
    };
    for (const auto& known : cases) {
        Mgc::Eigen eigen(static_cast<int>(known.matrix.size()));
        fill(eigen, known.matrix);
        ASSERT_TRUE(eigen.IncrSortEigenStuff());
        for (std::size_t i = 0; i < known.ascending.size(); ++i)
            EXPECT_NEAR(eigen.GetEigenvalue(static_cast<int>(i)), known.ascending[i],
                        1e-14 * largestElement(known.matrix));
    }
}

}  // namespace
}  // namespace kerf
