#include "kerf/surfaces/nurbs_surface.h"

#include "kerf/curves/nurbs_curve.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/pole_samples.h"

namespace kerf::test {
namespace {

constexpr unsigned int seed = 83;
using Half = t_SmartPtr<ERSpoleNURBS3D>;

ERKnotVector knots(unsigned int degree, std::initializer_list<double> values) {
    return ERKnotVector(degree, ERVec<double>(values));
}
ERSpoleNURBS3D surfaceOn(const ERKnotVector& u, const ERKnotVector& v) {
    Random random(seed);
    return ERSpoleNURBS3D(
        randomGrid<ERPole3DH>(u.length() - u.degree() - 1, v.length() - v.degree() - 1, random), u,
        v);
}
const ERKnotVector cubic = knots(3, {2, 2, 2, 2, 3.25, 4, 4, 5, 5, 5, 5});
const ERKnotVector quadratic = knots(2, {-1, -1, -1, 0, 0.5, 0.5, 2, 2, 2});
const ERKnotVector open = knots(2, {0, 1, 2, 3.25, 4, 4.5, 7, 11});

std::vector<SurfaceSample> surfaces() {
    constexpr unsigned int all = BoxIsLarge;
    ERSpoleNURBS3D trimmed = surfaceOn(cubic, quadratic);
    trimmed.setBound(ERLimites(2.5, 4.5), ERLimites(-0.5, 1));
    return {
        surfaceSample("Cubic", surfaceOn(cubic, quadratic), all),
        surfaceSample("Trimmed", trimmed, all),
        surfaceSample("Unclamped", surfaceOn(open, open), all),
        surfaceSample("OneSpan",
                      surfaceOn(ERKnotVector(3, ERLimites(0, 2)), ERKnotVector(2, ERLimites(1, 2))),
                      all),
        surfaceSample(
            "HighAndLow",
            surfaceOn(ERKnotVector(7, 9, ERLimites(0, 1)), ERKnotVector(1, 2, ERLimites(0, 1))),
            all),
    };
}
INSTANTIATE_TEST_SUITE_P(NurbsSurfaces, SurfaceContract, ::testing::ValuesIn(surfaces()),
                         nameOfSurface);

// Every degree has a loop of its own up to 5, and one for all above.
TEST(NurbsSurface, EvaluationIsThatOfTheDefinition) {
    Random random(seed);
    for (unsigned int degreeU = 0; degreeU < 8; ++degreeU) {
        for (unsigned int degreeV = 0; degreeV < 8; ++degreeV) {
            SCOPED_TRACE(testing::Message() << degreeU << " by " << degreeV);
            const RandomNurbs data(degreeU, degreeV, random, degreeU % 3 != 1);
            const ERSpoleNURBS3D surface = data.surface();
            for (int i = 0; i < 12; ++i) {
                const double u = drawn(random, surface.udeb(), surface.ufin());
                const double v = drawn(random, surface.vdeb(), surface.vfin());
                const ERPoint3D point = data.at(u, v).castToPoint();
                const ERMatrix<ERPoint3D> table = surface.PtCur(u, v).derivatives();
                expectNear(surface(u, v), point, 1e-12);
                expectNear(table(0, 0), point, 1e-12);
                expectNear(surface.getIsoU(u)(v), point, 1e-12);
                expectNear(surface.getIsoV(v)(u), point, 1e-12);
                // w S is the homogeneous surface: the product rule, the other way round.
                double scale = 1;
                for (const ERPoint3D& d : table) scale = std::max(scale, distance(d, ERPoint3D()));
                const auto w = [&](unsigned int a, unsigned int b) {
                    return data.at(u, v, a, b).weigth();
                };
                const auto expectProduct = [&](unsigned int a, unsigned int b) {
                    const double binomials[3][3] = {{1, 0, 0}, {1, 1, 0}, {1, 2, 1}};
                    ERPoint3D sum;
                    for (unsigned int k = 0; k <= a; ++k)
                        for (unsigned int l = 0; l <= b; ++l)
                            sum +=
                                table(b - l, a - k) * (binomials[a][k] * binomials[b][l] * w(k, l));
                    expectNear(sum, data.at(u, v, a, b).thePoint(), 1e-11 * scale);
                };
                for (unsigned int a = 0; a < 3; ++a)
                    for (unsigned int b = 0; b < 3; ++b) expectProduct(a, b);
            }
        }
    }
}

TEST(NurbsSurface, CornersOfClampedKnotsAreThePolesExactly) {
    for (const ERSpoleNURBS3D& surface :
         {surfaceOn(cubic, quadratic),
          surfaceOn(ERKnotVector(6, 8, ERLimites(0, 0.7)), ERKnotVector(5, 9, ERLimites(0, 7)))}) {
        const ERMatrix<ERPole3DH>& poles = surface.poles();
        const unsigned int m = poles.rows() - 1, n = poles.cols() - 1;
        expectNear(surface(surface.udeb(), surface.vdeb()), poles(0, 0).castToPoint(), 1e-15);
        expectNear(surface(surface.ufin(), surface.vfin()), poles(m, n).castToPoint(), 2e-15);
        EXPECT_EQ(surface.getIsoU(surface.ufin()).poles()[n], poles(m, n));
        EXPECT_EQ(surface.getIsoV(surface.vdeb()).poles()[m], poles(m, 0));
    }
}

// Products of a length and its reciprocal round off 1 for some of these.
TEST(NurbsSurface, TheLastParameterIsExactWhateverTheLength) {
    for (int i = 1; i < 60; ++i) {
        const ERKnotVector u(3, 5, ERLimites(0.1 * i, 0.37 * i));
        const ERSpoleNURBS3D surface = surfaceOn(u, quadratic);
        EXPECT_EQ(surface.getIsoU(surface.ufin()).poles()[3], surface.poles()(4, 3)) << i;
    }
}

// Spans are kept from their first visit on, in whatever order they come.
TEST(NurbsSurface, WhatIsKeptChangesNoBit) {
    Random random(seed);
    const ERSpoleNURBS3D used = surfaceOn(cubic, quadratic);
    for (int i = 0; i < 200; ++i) {
        const double u = drawn(random, 1, 6), v = drawn(random, -2, 3);
        const ERSpoleNURBS3D fresh(used);
        EXPECT_EQ(used(u, v), fresh(u, v));
        EXPECT_EQ(used.PtCur(u, v).derivatives(), ERSpoleNURBS3D(used).PtCur(u, v).derivatives());
    }
    for (const double x : {2.0, 3.25, 4.0, 5.0, 0.5}) {
        EXPECT_EQ(used(x, x), ERSpoleNURBS3D(used)(x, x));
        EXPECT_EQ(used.PtCur(x, 0.5).point(), ERSpoleNURBS3D(used)(x, 0.5));
    }
}

TEST(NurbsSurface, IsBezierForOnePolynomialOnClampedKnots) {
    const ERKnotVector one(2, ERLimites(0, 1)), two(2, 4, ERLimites(0, 1));
    EXPECT_EQ(surfaceOn(one, one).isBezier(), 1);
    EXPECT_EQ(surfaceOn(one, two).isBezier(), 0);
    EXPECT_EQ(surfaceOn(one, knots(2, {0, 1, 2, 3, 4, 5})).isBezier(), 0);
    EXPECT_EQ(surfaceOn(one, one).isRational(), 1);
    ERSpoleNURBS3D surface = surfaceOn(one, two);
    surface.incrDegree(1, 1);
    surface.decrDegree(1, 1);
    EXPECT_EQ(surface.nbPolesU(), 3u);
}

TEST(NurbsSurface, DataThatDoNotFitAreDropped) {
    Random random(seed);
    const ERMatrix<ERPole3DH> poles = randomGrid<ERPole3DH>(4, 3, random);
    const ERKnotVector u(3, ERLimites(0, 1)), v(2, ERLimites(0, 1));
    EXPECT_EQ(ERSpoleNURBS3D(poles, u, v).isDummy(), 0);
    EXPECT_EQ(ERSpoleNURBS3D(poles, v, u).isDummy(), 1);
    EXPECT_EQ(ERSpoleNURBS3D(poles, ERKnotVector(), v).isDummy(), 1);
    EXPECT_EQ(ERSpoleNURBS3D(poles, u, knots(4, {0, 0, 0, 0, 1, 1, 1, 1})).isDummy(), 1);
    ERSpoleNURBS3D dummy;
    EXPECT_EQ(dummy(0.5, 0.5), ERPoint3D());
    EXPECT_EQ(dummy.PtCur(0.5, 0.5).point(), ERPoint3D());
    EXPECT_TRUE(dummy.getEntityIsoU(0) == nullptr && dummy.getEntityIsoV(0) == nullptr);
    EXPECT_EQ(dummy.getBox().invalid(), 1);
    Half a, b;
    EXPECT_EQ(dummy.SplitInU(a, b) + dummy.SplitInV(a, b, 0.5) + dummy.IsContinuous(0), 0);
    int inU = 7, inV = 7;
    dummy.GetNumberOfSpans(inU, inV);
    EXPECT_EQ(inU + inV, 0);
    dummy.insertKnotU(0.5, 1);
    dummy.redefineDomainV(ERLimites(0, 0.5));
    dummy.getMatricePoint(2, 2);
    dummy.reverse();
    dummy.UpdateCache();
    EXPECT_EQ(dummy.isDummy(), 1);
}

TEST(NurbsSurface, SplitsOnlyWithinTheRange) {
    const ERSpoleNURBS3D whole = surfaceOn(cubic, quadratic);
    Half a, b;
    for (const double u : {2.0, 1.5, 5.25, nan, infinity}) {
        EXPECT_EQ(whole.SplitInU(a, b, u), 0) << u;
        EXPECT_TRUE(a == nullptr && b == nullptr);
    }
    ASSERT_EQ(whole.SplitInU(a, b, 5.0), 1);
    EXPECT_EQ(a->nbPolesU(), whole.nbPolesU());
    EXPECT_EQ(b->isDummy(), 1);
    EXPECT_EQ(b->getBoundU(), ERLimites(5, 5));
    EXPECT_EQ(b->NUdeb(), 5.0);
    // At a knot of multiplicity 2, in the middle of the knots; the other knots stay as they are.
    ASSERT_EQ(whole.SplitInU(a, b), 1);
    EXPECT_EQ(a->ufin(), 4.0);
    EXPECT_EQ(a->knotU().getVec(), (ERVec<double>{2, 2, 2, 2, 3.25, 4, 4, 4, 4}));
    EXPECT_EQ(b->knotU().getVec(), (ERVec<double>{4, 4, 4, 4, 5, 5, 5, 5}));
    EXPECT_EQ(b->knotV().getVec(), quadratic.getVec());
    Half c, d;
    whole.SplitInU(c, d);
    EXPECT_TRUE(a == c && b == d);
    const ERSpoleNURBS3D one = surfaceOn(ERKnotVector(2, ERLimites(1, 4)), quadratic);
    ASSERT_EQ(one.SplitInU(a, b), 1);
    EXPECT_EQ(a->ufin(), 2.5);
    // A middle knot outside the range is refused, and nothing is kept.
    ERSpoleNURBS3D late(whole);
    late.setBound(ERLimites(4.25, 5), ERLimites(-1, 2));
    EXPECT_EQ(late.SplitInU(c, d), 0);
    ASSERT_EQ(late.SplitInU(c, d, 4.5), 1);
    EXPECT_EQ(c->getBoundU(), ERLimites(4.25, 4.5));
    late.setBound(ERLimites(4.25, 4.75), ERLimites(-1, 2));
    ASSERT_EQ(late.SplitInU(c, d, 4.75), 1);
    EXPECT_EQ(d->isDummy(), 1);
    EXPECT_EQ(d->getBoundU(), ERLimites(4.75, 4.75));
    // Beyond the knots the parts are carried on.
    late.setBound(ERLimites(1.5, 6), ERLimites(-1, 2));
    ASSERT_EQ(late.SplitInU(c, d, 5.5), 1);
    expectNear((*c)(5.25, 0), whole(5.25, 0), 1e-11);
    expectNear((*d)(5.75, 0), whole(5.75, 0), 1e-11);
    EXPECT_EQ(c->knotU().first(), 1.5);
}

TEST(NurbsSurface, AdjustingCutsAndCarriesOn) {
    Random random(seed);
    const ERLimites parts[] = {{2.5, 4.5}, {3.25, 4}, {1, 7}, {1.5, 3}, {4.5, 6}, {-2, 1}};
    const ERSpoleNURBS3D whole = surfaceOn(cubic, quadratic);
    for (const ERLimites& part : parts) {
        SCOPED_TRACE(testing::Message() << part.start() << " " << part.end());
        ERSpoleNURBS3D along = whole, across = whole;
        along.redefineDomainU(part);
        across.reverse();
        across.redefineDomainV(part);
        EXPECT_EQ(along.getBoundU(), part);
        EXPECT_EQ(along.NUfin(), part.end());
        EXPECT_EQ(along.knotU().first(), part.start());
        EXPECT_EQ(along.knotU().last(), part.end());
        for (const double s : {0.0, 0.2, 0.6, 1.0}) {
            const double v = -1 + 3 * s;
            const double far = std::max({1.0, part.end() - 5, 2 - part.start()});
            expectNear(along(part(s), v), whole(part(s), v), 1e-11 * far * far * far);
            expectNear(across(v, part(s)), whole(part(s), v), 1e-11 * far * far * far);
        }
    }
    for (const ERLimites& part :
         {ERLimites(3, 3), ERLimites(4, 3), ERLimites(nan, 3), ERLimites(3, infinity)}) {
        ERSpoleNURBS3D surface = whole;
        surface.redefineDomainU(part);
        EXPECT_EQ(surface.isDummy(), 1);
        ERSpoleNURBS3D other = whole;
        ERLimites v(part);
        other.redefinedDomain(ERLimites(2.5, 3), v);
        EXPECT_EQ(other.isDummy(), 1);
    }
    ERSpoleNURBS3D far = whole;
    far.redefineDomainU(ERLimites(-1e15, 1e15));
    EXPECT_EQ(far.isDummy(), 0);
}

TEST(NurbsSurface, InsertedKnotsKeepTheSurfaceAndTheEstimates) {
    const ERSpoleNURBS3D before = surfaceOn(cubic, quadratic);
    ERSpoleNURBS3D surface = before;
    const double u = surface.upperEstimateInU(), v = surface.upperEstimateInV();
    surface.getBox();
    surface.insertKnotU(3.0, 2);
    surface.insertKnotU(4.0, 9);
    surface.insertKnotV(0.0, 1);
    surface.insertKnotV(17.0, 1);
    surface.insertKnotU(3.5, 0);
    EXPECT_EQ(surface.nbPolesU(), before.nbPolesU() + 4);
    EXPECT_EQ(surface.nbPolesV(), before.nbPolesV() + 1);
    for (const double s : {0.1, 0.4, 0.9})
        expectNear(surface(2 + 3 * s, -1 + 3 * s), before(2 + 3 * s, -1 + 3 * s), 1e-13);
    EXPECT_EQ(surface.upperEstimateInU(), u);
    EXPECT_EQ(surface.upperEstimateInV(), v);
    EXPECT_LT(surface.getBox().zlength(), before.getBox().zlength());
}

TEST(NurbsSurface, SpanBoxesHoldTheirSpansAndOnlyThosePoles) {
    const ERSpoleNURBS3D surface = surfaceOn(cubic, quadratic);
    const double u[] = {2, 3.25, 4, 5}, v[] = {-1, 0, 0.5, 2};
    int inU = 0, inV = 0;
    surface.GetNumberOfSpans(inU, inV);
    ASSERT_EQ(inU, 3);
    ASSERT_EQ(inV, 3);
    ERSimpleVec2<ERMinimax3D> boxes, again;
    surface.GetSpanBoxes(boxes);
    surface.GetSpanBoxes(again);
    EXPECT_EQ(std::as_const(again).data(), std::as_const(boxes).data());
    for (unsigned int i = 0; i < 3; ++i) {
        for (unsigned int j = 0; j < 3; ++j) {
            ERMinimax3D sampled;
            for (double s = 0.05; s < 1; s += 0.1)
                for (double t = 0.05; t < 1; t += 0.1)
                    sampled.Update(
                        surface(u[i] + (u[i + 1] - u[i]) * s, v[j] + (v[j + 1] - v[j]) * t));
            ERMinimax3D both = boxes(i, j);
            both.Update(sampled);
            EXPECT_EQ(both, boxes(i, j));
            // Poles are about 1 and 1.5 apart in x and y: 4 by 3 of them.
            EXPECT_NEAR(boxes(i, j).xlength(), 3.0, 0.4);
            EXPECT_NEAR(boxes(i, j).ylength(), 3.0, 0.4);
        }
    }
    surfaceOn(open, quadratic).GetNumberOfSpans(inU, inV);
    EXPECT_EQ(inU, 3);
    ERSpoleNURBS3D moved = surface;
    moved.GetSpanBoxes(again);
    moved.scale(2);
    moved.GetSpanBoxes(again);
    EXPECT_EQ(again(1, 2).MaxPoint(), boxes(1, 2).MaxPoint() * 2);
}

TEST(NurbsSurface, ContinuityIsThatOfTheKnotsEndsIncluded) {
    const ERSpoleNURBS3D surface = surfaceOn(cubic, quadratic);
    EXPECT_EQ(surface.IsContinuous(-1), 1);
    EXPECT_EQ(surface.IsContinuous(0), 0);
    EXPECT_EQ(surfaceOn(open, open).IsContinuous(1), 1);
    EXPECT_EQ(surfaceOn(open, open).IsContinuous(2), 0);
    ERVec<double> jumps(2, 9.0);
    EXPECT_EQ(surface.GetDiscontinuitiesU(2, jumps), 1);
    EXPECT_EQ(jumps, (ERVec<double>{2, 4, 5}));
    EXPECT_EQ(surface.GetDiscontinuitiesV(1, jumps), 1);
    EXPECT_EQ(jumps, (ERVec<double>{-1, 0.5, 2}));
}

TEST(NurbsSurface, DirectionsWithoutSpansAreTheirFirstLine) {
    const ERSpoleNURBS3D surface = surfaceOn(
        knots(2, {1, 1, 1, 1, 1, 1}),
        knots(7, std::initializer_list<double>{3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3}));
    const ERPoint3D first = surface.poles()(0, 0).castToPoint();
    expectNear(surface(1, 3), first, 1e-15);
    expectNear(surface.PtCur(0, 9).point(), first, 1e-15);
    EXPECT_EQ(surface.PtCur(0, 9).derivatives()(1, 0), ERPoint3D());
    Half a, b;
    EXPECT_EQ(surface.SplitInU(a, b), 0);
    surface.UpdateCache();
}

// The poles stand first in the record after the ranges, then the knots.
TEST(NurbsSurface, KnotsThatDoNotFitRestoreAsADummy) {
    const ERSpoleNURBS3D surface = surfaceOn(cubic, quadratic);
    const std::string record = recordOf(surface);
    const std::size_t afterPoles = 64 + 12 + 32 * std::size_t{surface.poles().length()};
    ASSERT_EQ(record.size(), afterPoles + 12 + 8 * 11 + 12 + 8 * 9);
    for (const double knot : {9.0, nan, infinity, 2.5}) {
        std::string damaged = record;
        damaged.replace(afterPoles + 4 + 8 * 4, 8, reinterpret_cast<const char*>(&knot), 8);
        ERSpoleNURBS3D restored = surfaceOn(open, open);
        restored.getBox();
        restoreFrom(damaged, restored);
        EXPECT_EQ(restored.isDummy(), knot == 2.5 ? 0 : 1) << knot;
        EXPECT_EQ(restored.getBoundU(), ERLimites(2, 5));
        restored(3, 0);
    }
}

TEST(NurbsSurface, UnusualPolesAndRangesAreSurvived) {
    for (const double x : {nan, infinity, 1e300, 1e15, 0.0}) {
        ERSpoleNURBS3D surface = surfaceOn(cubic, quadratic);
        ERMatrix<ERPole3DH> poles = surface.poles();
        poles(1, 1) = ERPole3DH(ERPoint3D(x, 1, 1), x);
        for (ERSpoleNURBS3D odd : {ERSpoleNURBS3D(poles, cubic, quadratic), surface}) {
            odd.setBound(ERLimites(x, 3), ERLimites(-x, x));
            odd.getBox();
            odd.getConvexHull();
            odd.getMatricePoint(3, 3);
            odd.PtCur(3, 0);
            Half a, b;
            odd.SplitInU(a, b);
            odd.SplitInV(a, b, 0.75);
            odd.UpdateCache();
            odd.adjust();
            odd(3, 0);
        }
    }
}

}  // namespace
}  // namespace kerf::test
