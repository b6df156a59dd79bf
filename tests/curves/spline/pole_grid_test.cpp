#include "kerf/curves/spline/pole_grid.h"  // first, so that it proves it needs nothing before it

#include "kerf/curves/spline/bernstein.h"
#include "tests/curves/spline/spline_checks.h"

namespace kerf {
namespace {

using test::bernsteinSum;
using test::maxDifference;
using test::Random;

template <class E>
class PoleGrid : public ::testing::Test {};
using GridTypes = ::testing::Types<ERPoint3D, ERPole3DH>;
TYPED_TEST_SUITE(PoleGrid, GridTypes);

template <class E>
ERMatrix<E> randomGrid(unsigned int rows, unsigned int cols, Random& random) {
    return ERMatrix<E>(test::randomPoles<E>(rows * cols, random), rows, cols);
}

// The definition: U along the columns first, the other way round than the kernels.
template <class E>
E surfacePoint(const ERMatrix<E>& poles, double u, double v) {
    ERVec<E> iso(poles.cols());
    for (unsigned int j = 0; j < poles.cols(); ++j)
        iso[j] = bernsteinSum(ERVec<E>(poles.col(j)), u);
    return bernsteinSum(iso, v);
}

TYPED_TEST(PoleGrid, EvaluatesPointsAndIsoCurves) {
    Random random(81);
    const double u = 0.3, v = 0.8;
    for (const auto& [rows, cols] : {std::pair(1u, 1u), {2u, 5u}, {4u, 3u}, {7u, 1u}}) {
        const auto poles = randomGrid<TypeParam>(rows, cols, random);
        const TypeParam expected = surfacePoint(poles, u, v);
        for (const TypeParam& point :
             {Casteljau(poles, u, v), Horner(poles, u, v), bernsteinSum(CasteljauIsoU(poles, u), v),
              bernsteinSum(HornerIsoU(poles, u), v), bernsteinSum(CasteljauIsoV(poles, v), u),
              bernsteinSum(HornerIsoV(poles, v), u)})
            EXPECT_LE(maxDifference(point, expected), 1e-14);
        EXPECT_EQ(CasteljauIsoU(poles, u).length(), cols);
        EXPECT_EQ(HornerIsoV(poles, v).length(), rows);
    }
    EXPECT_EQ(Casteljau(ERMatrix<TypeParam>(), 0.5, 0.5), TypeParam());
    EXPECT_EQ(HornerIsoU(ERMatrix<TypeParam>(), 0.5).length(), 0u);
}

// Oracle: central differences of the Cartesian surface, each direction divided by its length once an
// order; the kernel divides the second by it once in all.
TYPED_TEST(PoleGrid, GivesAllDerivativesToOrderTwo) {
    Random random(83);
    const auto poles = randomGrid<TypeParam>(5, 4, random);
    const ERLimites limitsU(1, 2), limitsV(-3, -2);
    const double u = 1.35, v = -2.4, h = 1e-3;
    const auto at = [&](int i, int j) {
        return surfacePoint(poles, limitsU.ratio(u + i * h), limitsV.ratio(v + j * h))
            .castToPoint();
    };
    // The differences of order 0, 1 and 2 on three nodes; the error is of order h^2.
    const double nodes[3][3] = {{0, 1, 0}, {-0.5, 0, 0.5}, {1, -2, 1}};
    const ERInfoPoint3DSurf info = CasteljauAll(poles, u, v, limitsU, limitsV);
    for (unsigned int j = 0; j < 3; ++j)
        for (unsigned int i = 0; i < 3; ++i) {
            ERPoint3D difference;
            for (int a = 0; a < 3; ++a)
                for (int b = 0; b < 3; ++b)
                    difference += at(a - 1, b - 1) * (nodes[i][a] * nodes[j][b]);
            difference /= std::pow(h, i + j);
            EXPECT_LE(maxDifference(info.derivatives()(j, i), difference), 3e-3) << i << " " << j;
        }
    EXPECT_EQ(info.parameter(), ERPoint2D(limitsU.ratio(u), limitsV.ratio(v)));

    if (TypeParam::isRational()) return;  // where the quotient mixes the orders
    const ERInfoPoint3DSurf longer =
        CasteljauAll(poles, 1.4, 4.8, ERLimites(0, 4), ERLimites(0, 8));
    const ERInfoPoint3DSurf unit = CasteljauAll(poles, 0.35, 0.6, ERLimites(0, 1), ERLimites(0, 1));
    for (unsigned int j = 0; j < 3; ++j)
        for (unsigned int i = 0; i < 3; ++i) {
            const double divisor = (i > 0 ? 4 : 1) * (j > 0 ? 8 : 1);
            EXPECT_LE(maxDifference(longer.derivatives()(j, i) * divisor, unit.derivatives()(j, i)),
                      1e-12)
                << i << " " << j;
        }
}

TYPED_TEST(PoleGrid, IsCutInBothDirections) {
    Random random(89);
    const auto poles = randomGrid<TypeParam>(4, 3, random);
    auto part = poles;
    constexpr unsigned int dim = spline::dimensionOf<TypeParam>;
    RedefineDomainU(spline::doubles(part.data()), 3, 4, dim, 0.2, 0.7);
    RedefineDomainV(spline::doubles(part.data()), 3, 4, dim, 0.9, 0.1);
    for (const auto& [s, t] : {std::pair(0.0, 1.0), {0.4, 0.7}})
        EXPECT_LE(maxDifference(surfacePoint(part, s, t),
                                surfacePoint(poles, 0.2 + 0.5 * s, 0.9 - 0.8 * t)),
                  1e-13);
}

}  // namespace
}  // namespace kerf
