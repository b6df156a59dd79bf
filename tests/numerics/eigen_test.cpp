#include "kerf/numerics/eigen.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/numerics/vector_checks.h"

namespace kerf {
namespace {

using namespace test;
using Mgc::Eigen;

void fill(Eigen& eigen, const Matrix& m) {
    std::vector<const double*> rows;
    for (unsigned int r = 0; r < m.rows(); ++r) rows.push_back(m.data() + r * m.cols());
    eigen.SetMatrix(rows.data());
}

double largestElement(const Matrix& m) {
    double largest = std::numeric_limits<double>::min();
    for (const double element : m) largest = std::max(largest, std::fabs(element));
    return largest;
}

// Oracle: the definition, A V = V diag(lambda) and V^T V = I, within 64 roundings of the matrix.
void expectEigensystem(const Matrix& m, const Eigen& eigen) {
    const int n = eigen.GetSize();
    const double tolerance = 64 * std::numeric_limits<double>::epsilon() * n;
    for (int col = 0; col < n; ++col) {
        for (int i = 0; i < n; ++i) {
            double product = 0.0, dot = 0.0;
            for (int j = 0; j < n; ++j) {
                product += m(static_cast<unsigned int>(i), static_cast<unsigned int>(j)) *
                           eigen.GetEigenvector(j, col);
                dot += eigen.GetEigenvector(j, col) * eigen.GetEigenvector(j, i);
            }
            EXPECT_NEAR(product, eigen.GetEigenvalue(col) * eigen.GetEigenvector(i, col),
                        tolerance * largestElement(m));
            EXPECT_NEAR(dot, i == col ? 1.0 : 0.0, tolerance);
        }
    }
}

class EigenOfSize : public ::testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Sizes, EigenOfSize, ::testing::Values(1, 2, 3, 4, 5, 17));

TEST_P(EigenOfSize, VectorsAndValuesSatisfyTheirDefinition) {
    const int size = GetParam();
    const auto n = static_cast<unsigned int>(size);
    const unsigned int seed = 23;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> exponent(-6.0, 6.0);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", trial " << trial);
        // Elements of one size, of very different sizes, sparse ones, and integers with equal
        // values; the last near the ends of the doubles' range.
        const double scale = trial < 50 ? 1.0 : trial % 2 == 0 ? 1e305 : 1e-306;
        Matrix m = randomMatrix(random, n, n);
        for (unsigned int i = 0; i < n; ++i) {
            for (unsigned int j = 0; j <= i; ++j) {
                double& element = m(i, j);
                if (trial % 4 == 1) element *= std::pow(10.0, exponent(random));
                if (trial % 4 == 2 && element < 0.3) element = 0.0;
                if (trial % 4 == 3) element = std::round(element);
                element *= trial % 4 == 1 ? 1.0 : scale;
                m(j, i) = element;
            }
        }
        for (const int order : {-1, 0, 1}) {
            Eigen eigen(size);
            fill(eigen, m);
            EXPECT_TRUE(order == 0  ? eigen.EigenStuff()
                        : order > 0 ? eigen.IncrSortEigenStuff()
                                    : eigen.DecrSortEigenStuff());
            Eigen copy(2);
            copy = eigen;
            expectEigensystem(m, copy);
            for (int i = 1; i < size; ++i)
                EXPECT_GE(order * (eigen.GetEigenvalue(i) - eigen.GetEigenvalue(i - 1)), 0.0);
        }
    }
}

TEST_P(EigenOfSize, AMatrixOfNaNsEndsTheWork) {
    const auto n = static_cast<unsigned int>(GetParam());
    Eigen eigen(GetParam());
    fill(eigen, Matrix(n, n, std::nan("")));
    EXPECT_EQ(eigen.DecrSortEigenStuff(), n == 1);
}

// Rosser 1951; two values are equal, two nearly so.
TEST(Eigen, FindsTheEigenvaluesOfRossersMatrix) {
    const Values elements{611, 196, -192, 407,  -8,  -52,  -49, 29,  196, 899, 113,  -192, -71,
                          -43, -8,  -44,  -192, 113, 899,  196, 61,  49,  8,   52,   407,  -192,
                          196, 611, 8,    44,   59,  -23,  -8,  -71, 61,  8,   411,  -599, 208,
                          208, -52, -43,  49,   44,  -599, 411, 208, 208, -49, -8,   8,    59,
                          208, 208, 99,   -911, 29,  -44,  52,  -23, 208, 208, -911, 99};
    const double r = 10 * std::sqrt(10405.0), s = 100 * std::sqrt(26.0);
    const Values ascending{-r, 0, 510 - s, 1000, 1000, 510 + s, 1020, r};
    Eigen eigen(8);
    fill(eigen, Matrix(elements.data(), 8, 8));
    ASSERT_TRUE(eigen.IncrSortEigenStuff());
    for (unsigned int i = 0; i < 8; ++i)
        EXPECT_NEAR(eigen.GetEigenvalue()[i], ascending[i], 1e-14 * 911);
}

}  // namespace
}  // namespace kerf
