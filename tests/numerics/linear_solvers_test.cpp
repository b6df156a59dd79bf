#include "kerf/numerics/linear_solvers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <vector>

#if defined(__GNUC__)
#define NEVER_INLINED [[gnu::noinline]]
#else
#define NEVER_INLINED
#endif

namespace {
unsigned long heapCalls = 0;
}  // namespace

// Counts what reaches the general heap. Never inlined: a compiler that sees through one of a pair
// takes the two for mismatched.
NEVER_INLINED void* operator new(std::size_t size) {
    ++heapCalls;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
NEVER_INLINED void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++heapCalls;
    return std::malloc(size);
}
NEVER_INLINED void* operator new[](std::size_t size) { return ::operator new(size); }
NEVER_INLINED void operator delete(void* memory) noexcept { std::free(memory); }
NEVER_INLINED void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
NEVER_INLINED void operator delete[](void* memory) noexcept { std::free(memory); }
NEVER_INLINED void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace kerf {
namespace {

using Matrix = ERMatrix<double>;

Matrix matrixOf(unsigned int rows, unsigned int cols, const std::vector<double>& elements) {
    Matrix m(rows, cols);
    for (unsigned int i = 0; i < rows * cols; ++i) m(i / cols, i % cols) = elements[i];
    return m;
}

Matrix productOf(const Matrix& a, const Matrix& b) {
    Matrix product(a.rows(), b.cols());
    for (unsigned int i = 0; i < a.rows(); ++i)
        for (unsigned int j = 0; j < b.cols(); ++j)
            for (unsigned int k = 0; k < a.cols(); ++k) product(i, j) += a(i, k) * b(k, j);
    return product;
}

void expectNear(const Matrix& actual, const Matrix& expected, double tolerance) {
    ASSERT_EQ(actual.rows(), expected.rows());
    ASSERT_EQ(actual.cols(), expected.cols());
    for (unsigned int i = 0; i < actual.rows(); ++i)
        for (unsigned int j = 0; j < actual.cols(); ++j)
            EXPECT_NEAR(actual(i, j), expected(i, j), tolerance) << i << ", " << j;
}

class RandomMatrices {
public:
    explicit RandomMatrices(unsigned int seed) : random(seed) {}
    Matrix operator()(unsigned int rows, unsigned int cols) {
        Matrix m(rows, cols);
        for (unsigned int i = 0; i < rows; ++i)
            for (unsigned int j = 0; j < cols; ++j) m(i, j) = element(random);
        return m;
    }

private:
    std::mt19937 random;
    std::uniform_real_distribution<double> element{-1.0, 1.0};
};

// The sum over all permutations.
double leibniz(const Matrix& m) {
    const unsigned int n = m.rows();
    if (n == 0) return 1.0;
    double sum = 0.0;
    for (unsigned int c = 0; c < n; ++c) {
        Matrix minor(n - 1, n - 1);
        for (unsigned int i = 1; i < n; ++i)
            for (unsigned int j = 0; j < n; ++j)
                if (j != c) minor(i - 1, j - (j > c ? 1 : 0)) = m(i, j);
        sum += (c % 2 == 0 ? 1.0 : -1.0) * m(0, c) * leibniz(minor);
    }
    return sum;
}

class LUOfSize : public ::testing::TestWithParam<unsigned int> {};
INSTANTIATE_TEST_SUITE_P(Sizes, LUOfSize, ::testing::Values(1u, 2u, 3u, 4u, 6u));

TEST_P(LUOfSize, FactorsAndReadingsSatisfyTheirDefinitions) {
    const unsigned int n = GetParam();
    RandomMatrices random(n);
    for (int trial = 0; trial < 20; ++trial) {
        const Matrix a = random(n, n);
        const ERLUDecomp lu(a);
        ASSERT_FALSE(lu.isSingular());
        EXPECT_EQ(lu.rang(), n);
        EXPECT_TRUE(lu.original() == a);
        expectNear(productOf(lu.L(), lu.U()), productOf(lu.P(), a), 1e-14);
        for (unsigned int i = 0; i < n; ++i) {
            EXPECT_EQ(lu.L()(i, i), 1.0);
            for (unsigned int j = i + 1; j < n; ++j) {
                EXPECT_EQ(lu.L()(i, j), 0.0);
                EXPECT_EQ(lu.U()(j, i), 0.0);
                EXPECT_LE(std::fabs(lu.L()(j, i)), 1.0);  // what pivoting is for
            }
        }
        EXPECT_NEAR(determinant(lu), leibniz(a), 1e-13);

        // The answer is chosen first; the error is bounded by the condition of these matrices.
        const Matrix x = random(n, 3);
        const Matrix b = productOf(a, x);
        expectNear(solve(lu, b), x, 1e-10);
        for (unsigned int c = 0; c < 3; ++c) {
            const ERVec<double> one = solve(lu, ERVec<double>(b.col(c)));
            for (unsigned int i = 0; i < n; ++i) EXPECT_EQ(one[i], solve(lu, b)(i, c));
        }
        expectNear(productOf(a, inverse(lu)), IdentityMatrix(n), 1e-10);
        const ERVec<double> zero = solve(lu);
        ASSERT_EQ(zero.length(), n);
        for (unsigned int i = 0; i < n; ++i) EXPECT_EQ(zero[i], 0.0);
    }
}

// Exact inverses of Hilbert matrices, from the tests of SciPy (test_special_matrices.py at commit
// 035d704, BSD-3-Clause). The tolerance is the condition number times a few roundings, relative.
TEST(LU, InvertsHilbertMatrices) {
    const struct {
        unsigned int n;
        std::vector<double> inverse;
        double determinantOfInverse;
        double condition;
    } cases[] = {
        {2, {4, -6, -6, 12}, 12, 27},
        {3, {9, -36, 30, -36, 192, -180, 30, -180, 180}, 2160, 748},
        {4,
         {16, -120, 240, -140, -120, 1200, -2700, 1680, 240, -2700, 6480, -4200, -140, 1680, -4200,
          2800},
         6048000,
         28375},
        {5,
         {25,     -300,   1050,   -1400,  630,     -300,   4800,  -18900, 26880,
          -12600, 1050,   -18900, 79380,  -117600, 56700,  -1400, 26880,  -117600,
          179200, -88200, 630,    -12600, 56700,   -88200, 44100},
         266716800000,
         943656},
    };
    for (const auto& known : cases) {
        Matrix hilbert(known.n, known.n);
        for (unsigned int i = 0; i < known.n; ++i)
            for (unsigned int j = 0; j < known.n; ++j) hilbert(i, j) = 1.0 / (i + j + 1.0);
        const double relative = 4 * known.condition * std::numeric_limits<double>::epsilon();
        const ERLUDecomp lu(hilbert);
        const Matrix found = inverse(lu);
        for (unsigned int i = 0; i < known.n * known.n; ++i)
            EXPECT_NEAR(found(i / known.n, i % known.n) / known.inverse[i], 1.0, relative);
        EXPECT_NEAR(determinant(lu) * known.determinantOfInverse, 1.0, relative);
    }
}

TEST(LU, APivotBelowTheThresholdIsSingularAndOneOnItIsNot) {
    EXPECT_TRUE(ERLUDecomp(matrixOf(1, 1, {1e-21})).isSingular());
    EXPECT_FALSE(ERLUDecomp(matrixOf(1, 1, {-1e-20})).isSingular());
    const ERLUDecomp rankTwo(matrixOf(3, 3, {1, 2, 3, 4, 5, 6, 5, 7, 9}));
    EXPECT_EQ(ERLUDecomp(matrixOf(2, 2, {1, 1, 1, 1})).isSingular(), 1);
    EXPECT_EQ(ERLUDecomp(matrixOf(3, 3, std::vector<double>(9, 0.0))).rang(), 3u);
    EXPECT_EQ(determinant(ERLUDecomp(matrixOf(3, 3, std::vector<double>(9, 1.0)))), 0.0);
    EXPECT_NEAR(determinant(rankTwo), 0.0, 1e-14);
}

TEST(LU, NeedsNoHeapOnceWarm) {
    RandomMatrices random(6);
    for (const unsigned int n : {2u, 3u, 40u}) {
        const Matrix a = random(n, n);
        const ERVec<double> b(n, 1.0);
        solve(ERLUDecomp(a), b);
        const unsigned long before = heapCalls;
        const ERLUDecomp lu(a);
        const ERLUDecomp copy(lu);
        solve(copy, b);
        EXPECT_EQ(heapCalls, before) << n;
    }
}

TEST(GaussPivot, ColumnsBeyondTheSquareAreSolvedInPlace) {
    RandomMatrices random(11);
    const Matrix a = random(4, 4), x = random(4, 2);
    const Matrix b = productOf(a, x);
    Matrix work(4, 6);
    for (unsigned int i = 0; i < 4; ++i) {
        for (unsigned int j = 0; j < 4; ++j) work(i, j) = a(i, j);
        for (unsigned int j = 0; j < 2; ++j) work(i, 4 + j) = b(i, j);
    }
    const Matrix shared(work);
    int* permutation = nullptr;
    int exchanges = -1;
    EXPECT_EQ(MatriceGaussPivot(work, permutation, exchanges, 1e-20), 1);
    const std::unique_ptr<int[]> owned(permutation);
    for (unsigned int i = 0; i < 4; ++i)
        for (unsigned int j = 0; j < 2; ++j) EXPECT_NEAR(work(i, 4 + j), x(i, j), 1e-12);
    EXPECT_EQ(shared(3, 5), b(3, 1));  // another owner of the elements keeps them
}

TEST(GaussPivot, ShapesThatHaveNoSquareSolutionAreDefined) {
    const struct {
        unsigned int rows, cols;
        int result;
    } shapes[] = {{0, 0, 1}, {0, 3, 1}, {3, 0, 0}, {3, 1, 0}, {4, 2, 0}, {1, 3, 1}};
    RandomMatrices random(3);
    for (const auto& shape : shapes) {
        SCOPED_TRACE(testing::Message() << shape.rows << " by " << shape.cols);
        const Matrix a = random(shape.rows, shape.cols);
        Matrix work(a);
        int* permutation = nullptr;
        int exchanges = 0;
        EXPECT_EQ(MatriceGaussPivot(work, permutation, exchanges, 1e-20), shape.result);
        const std::unique_ptr<int[]> owned(permutation);
        const ERLUDecomp lu(a);
        EXPECT_EQ(lu.isSingular(), 1 - shape.result);
        EXPECT_EQ(lu.L().rows(), shape.rows);
        EXPECT_EQ(lu.U().cols(), shape.cols);
        EXPECT_EQ(lu.P().rows(), shape.rows);
        EXPECT_EQ(solve(lu, ERVec<double>(shape.rows)).length(), shape.cols);
        EXPECT_EQ(inverse(lu).rows(), shape.cols);
        EXPECT_LE(lu.rang(), shape.rows);
    }
    EXPECT_EQ(determinant(ERLUDecomp(Matrix(0, 0))), 1.0);
}

// Oracle: the rows are built orthogonal to a chosen normal.
TEST(HyperPlane, HoldsAllRows) {
    RandomMatrices random(9);
    for (unsigned int n : {2u, 3u, 4u, 6u}) {
        for (int trial = 0; trial < 20; ++trial) {
            SCOPED_TRACE(testing::Message() << n << " columns, trial " << trial);
            const Matrix normal = random(1, n);
            double square = 0.0;
            for (unsigned int c = 0; c < n; ++c) square += normal(0, c) * normal(0, c);
            Matrix rows = random(n - 1, n);
            for (unsigned int r = 0; r + 1 < n; ++r) {
                double dot = 0.0;
                for (unsigned int c = 0; c < n; ++c) dot += rows(r, c) * normal(0, c);
                for (unsigned int c = 0; c < n; ++c) rows(r, c) -= dot / square * normal(0, c);
            }
            const Matrix untouched(rows);
            const ERVec<double> x = ResolveHyperPlan(rows);
            EXPECT_TRUE(rows == untouched);
            ASSERT_EQ(x.length(), n);
            double dot = 0.0, length = 0.0;
            for (unsigned int c = 0; c < n; ++c) {
                dot += x[c] * normal(0, c);
                length += x[c] * x[c];
            }
            ASSERT_GT(length, 0.0);
            // Parallel to the normal: the cosine is 1 up to the condition of the rows.
            EXPECT_NEAR(std::fabs(dot) / std::sqrt(square * length), 1.0, 1e-9);
        }
    }
}

TEST(HyperPlane, NullLeadingElementsStillGiveANonNullSolution) {
    const struct {
        unsigned int rows, cols;
        std::vector<double> elements;
        std::vector<double> direction;
    } cases[] = {
        {2, 2, {0, 0, 0, 5}, {1, 0}},  // points on a line x = constant
        {1, 2, {0, 3}, {1, 0}},
        {1, 2, {2, 0}, {0, 1}},
        {3, 3, {0, 0, 0, 0, 2, 1, 0, 1, 3}, {1, 0, 0}},  // the spread of points in x = constant
        {3, 3, {2, 1, 0, 1, 3, 0, 0, 0, 0}, {0, 0, 1}},
        {2, 3, {0, 1, 1, 1, 0, 0}, {0, 1, -1}},
        {1, 1, {4}, {1}},
        {0, 2, {}, {1, 0}},
        {2, 2, {0, 0, 0, 0}, {1, 0}},
    };
    for (const auto& known : cases) {
        const ERVec<double> x = ResolveHyperPlan(matrixOf(known.rows, known.cols, known.elements));
        double dot = 0.0, square = 0.0, expected = 0.0;
        for (unsigned int c = 0; c < known.cols; ++c) {
            dot += x[c] * known.direction[c];
            square += x[c] * x[c];
            expected += known.direction[c] * known.direction[c];
        }
        EXPECT_GT(square, 0.0);
        EXPECT_DOUBLE_EQ(dot * dot, square * expected);
    }
    EXPECT_EQ(ResolveHyperPlan(Matrix()).length(), 0u);
}

}  // namespace
}  // namespace kerf
