#include "kerf/numerics/linear_solvers.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "tests/numerics/vector_checks.h"

namespace kerf {
namespace {

using namespace test;
using ::testing::Pointwise;

auto near(const Matrix& expected, double tolerance) {
    return Pointwise(::testing::DoubleNear(tolerance), listOf(expected));
}

Matrix productOf(const Matrix& a, const Matrix& b) {
    Matrix product(a.rows(), b.cols());
    for (unsigned int i = 0; i < a.rows(); ++i)
        for (unsigned int j = 0; j < b.cols(); ++j)
            for (unsigned int k = 0; k < a.cols(); ++k) product(i, j) += a(i, k) * b(k, j);
    return product;
}

// By Laplace's expansion.
double determinantOf(const Matrix& m) {
    if (m.rows() == 1) return m(0, 0);
    double sum = 0.0;
    for (unsigned int c = 0; c < m.cols(); ++c) {
        Matrix minor(m);
        minor.deleteRow(0);
        minor.deleteCol(c);
        sum += (c % 2 == 0 ? m(0, c) : -m(0, c)) * determinantOf(minor);
    }
    return sum;
}

class LUOfSize : public ::testing::TestWithParam<unsigned int> {};
INSTANTIATE_TEST_SUITE_P(Sizes, LUOfSize, ::testing::Values(1u, 2u, 3u, 4u, 6u));

TEST_P(LUOfSize, FactorsAndReadingsSatisfyTheirDefinitions) {
    const unsigned int n = GetParam();
    std::mt19937 random(n);
    ERLUDecomp lu{Matrix()};
    for (int trial = 0; trial < 20; ++trial) {
        SCOPED_TRACE(testing::Message() << "seed " << n << ", trial " << trial);
        const Matrix a = randomMatrix(random, n, n);
        lu = a;
        ASSERT_FALSE(lu.isSingular());
        EXPECT_EQ(lu.rang(), n);
        EXPECT_TRUE(lu.original() == a);
        const Matrix l = lu.L(), u = lu.U();
        EXPECT_THAT(listOf(productOf(l, u)), near(productOf(lu.P(), a), 1e-14));
        for (unsigned int i = 0; i < n; ++i) {
            EXPECT_EQ(l(i, i), 1.0);
            for (unsigned int j = i + 1; j < n; ++j) {
                EXPECT_EQ(l(i, j), 0.0);
                EXPECT_EQ(u(j, i), 0.0);
                EXPECT_LE(std::fabs(l(j, i)), 1.0);  // what pivoting is for
            }
        }
        EXPECT_NEAR(determinant(lu), determinantOf(a), 1e-13);

        // The solution is chosen first; the error is bounded by the condition of these matrices.
        const Matrix x = randomMatrix(random, n, 3), b = productOf(a, x);
        const Matrix found = solve(lu, b);
        EXPECT_THAT(listOf(found), near(x, 1e-10));
        EXPECT_EQ(listOf(solve(lu, ERVec<double>(b.col(2)))), listOf(found.col(2)));
        EXPECT_THAT(listOf(productOf(a, inverse(lu))), near(IdentityMatrix(n), 1e-10));
    }
}

TEST(LU, APivotBelowTheThresholdIsSingular) {
    EXPECT_TRUE(ERLUDecomp(Matrix(1, 1, 1e-21)).isSingular());
    EXPECT_FALSE(ERLUDecomp(Matrix(1, 1, -1e-20)).isSingular());
    const ERLUDecomp ones(Matrix(3, 3, 1.0));
    EXPECT_EQ(ones.isSingular(), 1);
    EXPECT_EQ(ones.rang(), 3u);
}

TEST(LU, RankLeavesOutTrailingElementsWithinTheTolerance) {
    const double rankOne[] = {1, 2, 1, 2 + 1e-12};
    EXPECT_EQ(ERLUDecomp(Matrix(rankOne, 2, 2)).rang(), 1u);
}

TEST(GaussPivot, ColumnsBeyondTheSquareAreSolvedInPlace) {
    std::mt19937 random(11);
    const Matrix a = randomMatrix(random, 4, 4), x = randomMatrix(random, 4, 2);
    Matrix work(a);
    work.insertCol(4, productOf(a, x));
    const Matrix shared(work);
    int* permutation = nullptr;
    int exchanges = -1;
    EXPECT_EQ(MatriceGaussPivot(work, permutation, exchanges, 1e-20), 1);
    const std::unique_ptr<int[]> owned(permutation);
    EXPECT_THAT(listOf(work.splitAtCol(4)), near(x, 1e-12));
    EXPECT_EQ(shared(3, 0), a(3, 0)) << "another owner of the elements keeps them";
}

// The bits of a matrix, with one bit pattern for all NaNs.
std::vector<std::uint64_t> bitsOf(const Matrix& m) {
    std::vector<std::uint64_t> bits;
    for (const double value : listOf(m))
        bits.push_back(std::isnan(value) ? ~std::uint64_t{0} : std::bit_cast<std::uint64_t>(value));
    return bits;
}

// Square systems of some sizes have kernels of their own; one with its right-hand side beside it has
// not, and takes the same steps.
TEST(LU, KernelsOfFixedSizeGiveTheBitsOfTheGeneralOne) {
    const double inf = std::numeric_limits<double>::infinity();
    const double special[] = {0.0, -0.0, 1.0, -1.0, 1e-20, 1e-21, 1e300, inf, std::nan("")};
    std::mt19937 random(5);
    for (int trial = 0; trial < 4000; ++trial) {
        const unsigned int n = 1 + random() % 8;
        SCOPED_TRACE(testing::Message() << "seed 5, trial " << trial << ", size " << n);
        Matrix a = randomMatrix(random, n, n);
        // In half of the trials, so that pivots tie and systems are singular or hold NaNs.
        for (unsigned int i = 0; trial % 2 == 1 && i < n * n; ++i)
            if (random() % 3 == 0) a(i / n, i % n) = special[random() % (trial % 4 == 1 ? 5 : 9)];
        const Matrix b = randomMatrix(random, n, 1);

        Matrix general(a);
        general.insertCol(n, b);
        int* order = nullptr;
        int exchanges = -1;
        const int regular = MatriceGaussPivot(general, order, exchanges, 1e-20);
        const std::unique_ptr<int[]> owned(order);
        const Matrix solution = general.splitAtCol(n);
        const ERLUDecomp lu(a);
        EXPECT_EQ(lu.isSingular(), 1 - regular);
        EXPECT_EQ(lu.exchanges(), exchanges);
        EXPECT_TRUE(std::equal(order, order + n, lu.permutation()));
        EXPECT_EQ(bitsOf(lu), bitsOf(general));
        if (regular == 0) continue;
        EXPECT_EQ(bitsOf(Matrix(solve(lu, b.asVector()), n, 1)), bitsOf(solution));
    }
}

TEST(LU, CopiesAndReassignedDecompositionsHaveTheOrderOfTheirRows) {
    std::mt19937 random(7);
    ERLUDecomp lu{Matrix()}, copy{Matrix()};
    for (const unsigned int n : {3u, 9u, 6u, 7u, 2u}) {
        const Matrix a = randomMatrix(random, n, n);
        lu = a;
        copy = lu;
        lu = randomMatrix(random, n, n);
        EXPECT_THAT(listOf(productOf(copy.L(), copy.U())), near(productOf(copy.P(), a), 1e-14));
    }
}

TEST(LU, ShapesThatHaveNoSquareSolutionAreDefined) {
    const struct {
        unsigned int rows, cols;
        int singular;
    } shapes[] = {{0, 0, 0}, {0, 3, 0}, {3, 0, 1}, {4, 1, 1}, {4, 2, 1}, {1, 3, 0}};
    std::mt19937 random(3);
    for (const auto& shape : shapes) {
        SCOPED_TRACE(testing::Message() << shape.rows << " by " << shape.cols << ", seed 3");
        const Matrix a = randomMatrix(random, shape.rows, shape.cols);
        const ERLUDecomp lu(a);
        EXPECT_EQ(lu.isSingular(), shape.singular);
        if (shape.rows > shape.cols) {
            EXPECT_THAT(listOf(productOf(lu.L(), lu.U())), near(productOf(lu.P(), a), 1e-15));
            EXPECT_EQ(lu.L()(2, 1), shape.cols == 2 ? lu(2, 1) : 0.0);
        }
        EXPECT_EQ(solve(lu, ERVec<double>(shape.rows)).length(), shape.cols);
        EXPECT_EQ(inverse(lu).rows(), shape.cols);
    }
    EXPECT_EQ(determinant(ERLUDecomp(Matrix(0, 0))), 1.0);
}

// Not zero, and the cosine is 1 or -1.
void expectParallel(const ERVec<double>& x, const Values& direction, double tolerance) {
    ASSERT_EQ(x.length(), direction.size());
    double dot = 0.0, length2 = 0.0, square = 0.0;
    for (unsigned int c = 0; c < x.length(); ++c) {
        dot += x[c] * direction[c];
        length2 += x[c] * x[c];
        square += direction[c] * direction[c];
    }
    ASSERT_GT(length2, 0.0);
    EXPECT_NEAR(std::fabs(dot) / std::sqrt(length2 * square), 1.0, tolerance);
}

TEST(HyperPlane, ZerosThatLeadStillGiveASolution) {
    const struct {
        unsigned int rows;
        Values elements, direction;
    } cases[] = {
        {2, {0, 0, 0, 5}, {1, 0}},  // points on a line x = constant
        {1, {2, 0}, {0, 1}},
        {3, {0, 0, 0, 0, 2, 1, 0, 1, 3}, {1, 0, 0}},  // the spread of points in x = constant
        {2, {0, 1, 1, 1, 0, 0}, {0, 1, -1}},
        {1, {4}, {1}},
        {0, {}, {1, 0}},
        {2, {0, 0, 0, 0}, {1, 0}},
    };
    for (const auto& known : cases) {
        const auto cols = static_cast<unsigned int>(known.direction.size());
        const Matrix m(known.elements.data(), known.rows, cols);
        expectParallel(ResolveHyperPlan(m), known.direction, 1e-15);
    }
    EXPECT_EQ(ResolveHyperPlan(Matrix()).length(), 0u);
}

}  // namespace
}  // namespace kerf
