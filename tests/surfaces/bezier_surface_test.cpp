#include "kerf/surfaces/bezier_surface.h"

#include "kerf/curves/bezier_curve.h"
#include "kerf/values/polygon.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/pole_samples.h"

// Bézier surfaces, integral and rational.
namespace kerf::test {
namespace {

const ERLimites rangeU(2.0, 4.5), rangeV(-1.0, 0.5);
constexpr unsigned int seed = 71;

template <class Surface>
struct PoleOf {
    using type = std::decay_t<decltype(Surface().poles()(0, 0))>;
};
template <class Surface>
Surface randomSurface(unsigned int rows, unsigned int cols, const ERLimites& u = {0, 1},
                      const ERLimites& v = {0, 1}) {
    Random random(seed + 10 * rows + cols);
    return Surface(randomGrid<typename PoleOf<Surface>::type>(rows, cols, random), u, v);
}

std::vector<SurfaceSample> surfaces() {
    constexpr unsigned int all = BoxIsLarge;
    constexpr unsigned int ranged = all | SecondDerivativesDiffer;
    return {
        surfaceSample("Bicubic", randomSurface<ERSpoleBezier3D>(4, 4), all),
        surfaceSample("OnRanges", randomSurface<ERSpoleBezier3D>(3, 5, rangeU, rangeV), ranged),
        surfaceSample("Bilinear", randomSurface<ERSpoleBezier3D>(2, 2), all),
        surfaceSample("Rational", randomSurface<ERSpoleBezier3DR>(4, 3), all),
        surfaceSample("RationalOnRanges", randomSurface<ERSpoleBezier3DR>(2, 7, rangeU, rangeV),
                      ranged),
    };
}
INSTANTIATE_TEST_SUITE_P(BezierSurfaces, SurfaceContract, ::testing::ValuesIn(surfaces()),
                         nameOfSurface);

template <class Surface>
class BezierSurfaceTest : public ::testing::Test {
protected:
    using Pole = typename PoleOf<Surface>::type;
    using Half = t_SmartPtr<Surface>;

    static ERPoint3D sum(const Surface& surface, double s, double t) {
        return cartesian(tensorSum(surface.poles(), s, t));
    }
};
using Surfaces = ::testing::Types<ERSpoleBezier3D, ERSpoleBezier3DR>;
TYPED_TEST_SUITE(BezierSurfaceTest, Surfaces);

TYPED_TEST(BezierSurfaceTest, EvaluationIsTheTensorSumOfBernsteinPolynomials) {
    for (const unsigned int rows : {1u, 2u, 4u, 9u}) {
        for (const unsigned int cols : {1u, 3u, 6u}) {
            SCOPED_TRACE(testing::Message() << rows << " by " << cols);
            const TypeParam surface = randomSurface<TypeParam>(rows, cols, rangeU, rangeV);
            EXPECT_EQ(surface.degreeU(), rows - 1);
            EXPECT_EQ(surface.degreeV(), cols - 1);
            for (const double s : {0.0, 0.21, 0.5, 0.93, 1.0}) {
                for (const double t : {0.0, 0.4, 0.77, 1.0}) {
                    const ERPoint3D expected = this->sum(surface, s, t);
                    const double u = rangeU(s), v = rangeV(t);
                    expectNear(surface(u, v), expected, 2e-13);
                    expectNear(surface.PtCur(u, v).point(), expected, 2e-13);
                    expectNear(surface.getIsoU(u)(v), expected, 2e-13);
                    expectNear(surface.getIsoV(v)(u), expected, 2e-13);
                }
            }
            expectNear(surface(rangeU(1.2), rangeV(-0.1)), this->sum(surface, 1.2, -0.1), 1e-9);
        }
    }
    const TypeParam corner = randomSurface<TypeParam>(4, 3);
    EXPECT_EQ(corner(0, 0), cartesian(corner.poles()(0, 0)));
    EXPECT_EQ(corner(1, 1), cartesian(corner.poles()(3, 2)));
}

TYPED_TEST(BezierSurfaceTest, SecondDerivativesHaveTheLengthOfTheRangeOnce) {
    const TypeParam unit = randomSurface<TypeParam>(4, 3);
    TypeParam ranged(unit.poles(), rangeU, rangeV);
    const auto a = unit.PtCur(0.3, 0.6).derivatives();
    const auto b = ranged.PtCur(rangeU(0.3), rangeV(0.6)).derivatives();
    if (unit.isRational() == 0) {
        expectNear(b(0, 2), a(0, 2) / 2.5, 1e-12);
        expectNear(b(2, 0), a(2, 0) / 1.5, 1e-12);
    }
    expectNear(b(0, 1), a(0, 1) / 2.5, 1e-12);
    expectNear(b(1, 1), a(1, 1) / (2.5 * 1.5), 1e-12);
}

TYPED_TEST(BezierSurfaceTest, UntilItIsAdjustedPointsAndDerivativesTakeDifferentRanges) {
    TypeParam surface = randomSurface<TypeParam>(4, 3, rangeU, rangeV);
    const TypeParam whole = surface;
    surface.setBound(ERLimites(3, 3.5), ERLimites(-1, 0));
    expectNear(surface(3, 0), whole(2, 0.5), 1e-13);
    expectNear(surface.getIsoU(3.5)(-1), whole(4.5, -1), 1e-13);
    expectNear(surface.PtCur(3, 0).point(), whole(3, 0), 1e-13);
    expectNear(surface.getMatricePoint(3, 3)(2, 2), whole(4.5, 0.5), 1e-13);
    EXPECT_EQ(surface.NUdeb(), 2.0);
    surface.adjust();
    EXPECT_EQ(surface.NUdeb(), 3.0);
    expectNear(surface(3, 0), whole(3, 0), 1e-12);
    expectNear(surface.getMatricePoint(3, 3)(2, 2), whole(3.5, 0), 1e-12);
}

TYPED_TEST(BezierSurfaceTest, RedefiningARangeCutsOrCarriesOnThePoles) {
    for (const ERLimites part : {ERLimites(2.5, 3), ERLimites(1, 6), ERLimites(4, 2.25)}) {
        SCOPED_TRACE(part.start());
        const TypeParam whole = randomSurface<TypeParam>(4, 3, rangeU, rangeV);
        TypeParam alongU = whole, both = whole;
        alongU.redefineDomainU(part);
        EXPECT_EQ(alongU.NUdeb(), part.start());
        ERLimites v(-0.75, 0.25);
        both.redefinedDomain(part, v);
        for (const double s : {0.0, 0.3, 1.0}) {
            const double u = part(s);
            expectNear(alongU(u, 0.1), this->sum(whole, rangeU.ratio(u), rangeV.ratio(0.1)), 1e-11);
            expectNear(both(u, v(s)), this->sum(whole, rangeU.ratio(u), rangeV.ratio(v(s))), 1e-11);
        }
    }
}

TYPED_TEST(BezierSurfaceTest, RaisingDegreesKeepsTheSurfaceAndTheEstimates) {
    TypeParam surface = randomSurface<TypeParam>(3, 4);
    const TypeParam before = surface;
    const double estimate = surface.upperEstimateInU();
    surface.incrDegree(2, 0);
    surface.incrDegree(0, 3);
    surface.incrDegree(1, 1);
    EXPECT_EQ(surface.nbPolesU(), 6u);
    EXPECT_EQ(surface.nbPolesV(), 8u);
    for (const double s : {0.0, 0.35, 0.8})
        expectNear(surface(s, 0.3 + s / 2), before(s, 0.3 + s / 2), 1e-13);
    EXPECT_EQ(surface.upperEstimateInU(), estimate);
    surface.setBound({0, 0.5}, {0, 1});
    surface.adjust();
    EXPECT_LT(surface.upperEstimateInU(), estimate);
    surface.decrDegree(1, 1);
    EXPECT_EQ(surface.nbPolesU(), 6u);
}

TYPED_TEST(BezierSurfaceTest, EstimatesAreThoseOfTheLongestPolygonAndFollowTheMoves) {
    TypeParam surface = randomSurface<TypeParam>(3, 4);
    double longest = 0;
    for (unsigned int j = 0; j < 4; ++j) {
        double length = 0;
        for (unsigned int i = 1; i < 3; ++i)
            length +=
                distance(cartesian(surface.poles()(i - 1, j)), cartesian(surface.poles()(i, j)));
        longest = std::max(longest, length);
    }
    EXPECT_NEAR(surface.upperEstimateInU(), longest, 1e-14 * longest);
    const double u = surface.upperEstimateInU(), v = surface.upperEstimateInV();
    surface.scale(-2);
    EXPECT_EQ(surface.upperEstimateInU(), 2 * u);
    surface.transformFrom(isometries()[1]);
    EXPECT_EQ(surface.upperEstimateInV(), 2 * v);
    surface.reverse();
    EXPECT_EQ(surface.upperEstimateInV(), 2 * u);
    surface.transformTo(similitudes()[0]);
    EXPECT_NEAR(surface.upperEstimateInU(), 2 * v / 1.6, 1e-13 * v);
    EXPECT_EQ(randomSurface<TypeParam>(1, 4).upperEstimateInU(), 0.0);
}

TYPED_TEST(BezierSurfaceTest, HalvesAreTheSameObjectsUntilItChanges) {
    TypeParam surface = randomSurface<TypeParam>(4, 3, rangeU, rangeV);
    typename TestFixture::Half a, b, c, d;
    const auto keepsHalves = [&] {
        EXPECT_EQ(surface.SplitInU(a, b), 1);
        EXPECT_EQ(surface.SplitInU(c, d), 1);
        EXPECT_TRUE(a == c && b == d);
        EXPECT_EQ(a->ufin(), b->udeb());
        t_SmartPtr<ERAnyBoundedSurface> any, other;
        EXPECT_EQ(surface.SplitInU(any, other), 1);
        EXPECT_EQ(any.getObject(), static_cast<ERAnyBoundedSurface*>(a.getObject()));
    };
    keepsHalves();
    EXPECT_EQ(a->ufin(), 3.25);
    const typename TestFixture::Half first = a;
    TypeParam copied(surface);
    copied.SplitInU(c, d);
    EXPECT_FALSE(c == first);
    surface.translate(ERPoint3D(1, 0, 0));
    keepsHalves();
    EXPECT_FALSE(a == first);
    surface.setBound(ERLimites(2, 3), rangeV);
    keepsHalves();
    EXPECT_EQ(a->ufin(), 2.5);
    surface.SplitInV(a, b);
    surface.SplitInV(c, d);
    EXPECT_TRUE(a == c && b == d && a->vfin() == -0.25);
    // Any value is taken, outside the ranges too.
    EXPECT_EQ(surface.SplitInU(a, b, 11.0), 1);
    EXPECT_EQ(a->ufin(), 11.0);
}

TYPED_TEST(BezierSurfaceTest, HullIsThatOfThePolesSeenInTheFrame) {
    TypeParam surface = randomSurface<TypeParam>(4, 4);
    const auto expected = [&](const ERPmIsometrie3D& frame) {
        ERVec<ERPoint2D> flat;
        for (const auto& pole : surface.poles()) flat.append(frame.Project(cartesian(pole)));
        return CalculateConvexeHull(flat);
    };
    const ERPmIsometrie3D frame = isometries()[1];
    // A frame that is almost the one before gives its own hull, to the bit.
    const ERPmIsometrie3D beside = frame * ERTranslation3D(ERPoint3D(1e-9, 0, 0));
    for (const ERPmIsometrie3D& f : {frame, beside, frame}) {
        EXPECT_EQ(surface.getConvexHull(f), expected(f));
        EXPECT_EQ(surface.getConvexHull(f), expected(f));
    }
    EXPECT_EQ(surface.getConvexHull(), expected(ERPmIsometrie3D()));
    surface.scale(2);
    EXPECT_EQ(surface.getConvexHull(), expected(ERPmIsometrie3D()));
}

TYPED_TEST(BezierSurfaceTest, WithoutPolesItIsADummy) {
    for (TypeParam dummy :
         {TypeParam(), TypeParam(ERMatrix<typename TestFixture::Pole>(0, 3), rangeU, rangeV)}) {
        EXPECT_EQ(dummy.isDummy(), 1);
        EXPECT_EQ(dummy.degreeU() + dummy.degreeV() + dummy.nbPolesU() + dummy.nbPolesV(), 0u);
        EXPECT_EQ(dummy(0.5, 0.5), ERPoint3D());
        EXPECT_EQ(dummy.PtCur(0.5, 0.5).point(), ERPoint3D());
        EXPECT_TRUE(dummy.getEntityIsoU(0) == nullptr && dummy.getEntityIsoV(0) == nullptr);
        EXPECT_EQ(dummy.getIsoU(0).nbPoles(), 0u);
        EXPECT_EQ(dummy.getBox().invalid(), 1);
        EXPECT_EQ(dummy.getConvexHull().length(), 0u);
        EXPECT_EQ(dummy.upperEstimateInU(), 0.0);
        EXPECT_EQ(dummy.getMatricePoint(2, 2)(1, 1), ERPoint3D());
        typename TestFixture::Half a, b;
        EXPECT_EQ(dummy.SplitInV(a, b), 1);
        dummy.incrDegree(2, 2);
        dummy.redefineDomainU(ERLimites(0.25, 0.5));
        dummy.reverse();
        EXPECT_EQ(dummy.isDummy(), 1);
    }
}

TYPED_TEST(BezierSurfaceTest, UnusualRangesAndPolesAreSurvived) {
    const auto useAll = [](TypeParam surface) {
        surface.getBox();
        surface.getConvexHull();
        surface.upperEstimateInU();
        surface(0.5, 0.5);
        surface.PtCur(0.5, 0.5);
        surface.getMatricePoint(3, 3);
        t_SmartPtr<TypeParam> a, b;
        surface.SplitInU(a, b);
        a->SplitInV(b, a);
        surface.adjust();
        surface.incrDegree(1, 1);
        return surface;
    };
    for (const double x : {nan, infinity, -infinity, 1e15, 1e300, 2.0}) {
        TypeParam surface = randomSurface<TypeParam>(3, 3, rangeU, rangeV);
        surface.setBound(ERLimites(2.0, x), ERLimites(x, -1));
        useAll(surface);
        useAll(TypeParam(surface.poles(), ERLimites(2, x), ERLimites(x, x)));
        surface.scale(x);
        useAll(surface);
    }
    ERMatrix<typename TestFixture::Pole> same(3, 3, randomSurface<TypeParam>(1, 1).poles()(0, 0));
    const TypeParam point = useAll(TypeParam(same));
    expectNear(point(0.3, 0.2), cartesian(same(0, 0)), 1e-14);
    // A range without length has its start everywhere, and nothing to derive by.
    const TypeParam line(randomSurface<TypeParam>(3, 3).poles(), ERLimites(2, 2), rangeV);
    EXPECT_EQ(line.PtCur(2, 0).derivatives()(0, 1), ERPoint3D());
    expectNear(line.PtCur(2, 0).point(), line(2, 0), 1e-14);
    expectNear(line(7, 0), line(2, 0), 0);
}

}  // namespace
}  // namespace kerf::test
