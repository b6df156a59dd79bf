#include "kerf/processing/bezier_intersection.h"

#include "kerf/curves/nurbs_curve.h"
#include "tests/curves/spline/spline_checks.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

using Pairs = std::vector<std::pair<double, double>>;

ERVec<ERPole2DH> poles(const std::vector<ERPoint2D>& points) {
    ERVec<ERPole2DH> result;
    for (const ERPoint2D& p : points) result.append(ERPole2DH(p, 1.0));
    return result;
}
ERCpoleBezier2DR bezier(const std::vector<ERPoint2D>& points) {
    return ERCpoleBezier2DR(poles(points));
}

template <class Curve>
Pairs crossings(const Curve& a, const Curve& b) {
    ERVec<double> onA, onB;
    const unsigned int count = intersect(a, b, onA, onB);
    EXPECT_EQ(count, onA.length());
    EXPECT_EQ(onA.length(), onB.length());
    Pairs pairs;
    for (unsigned int i = 0; i < onA.length(); ++i) pairs.emplace_back(onA[i], onB[i]);
    return pairs;
}

bool holds(const Pairs& pairs, double u, double v, double tolerance) {
    return std::any_of(pairs.begin(), pairs.end(), [&](const auto& pair) {
        return std::fabs(pair.first - u) <= tolerance && std::fabs(pair.second - v) <= tolerance;
    });
}

// Oracle: where two polylines on the curves cross, by parameter.
Pairs crossingsOfPolylines(const ERFiniteEntity2DWF& a, const ERFiniteEntity2DWF& b,
                           unsigned int steps) {
    const auto parameter = [&](const ERFiniteEntity2DWF& curve, double at) {
        return curve.udeb() + (curve.ufin() - curve.udeb()) * at / steps;
    };
    const auto points = [&](const ERFiniteEntity2DWF& curve) {
        ERVec<ERPoint2D> result;
        for (unsigned int i = 0; i <= steps; ++i) result.append(curve(parameter(curve, i)));
        return result;
    };
    const ERVec<ERPoint2D> p = points(a), q = points(b);
    Pairs pairs;
    for (unsigned int i = 0; i < steps; ++i) {
        const ERPoint2D from = p[i];
        const ERVector2D d(from, p[i + 1]);
        for (unsigned int j = 0; j < steps; ++j) {
            const ERVector2D e(q[j], q[j + 1]), w(from, q[j]);
            const double s = (w ^ e) / (d ^ e), t = (w ^ d) / (d ^ e);
            if (s >= 0 && s < 1 && t >= 0 && t < 1)
                pairs.emplace_back(parameter(a, i + s), parameter(b, j + t));
        }
    }
    return pairs;
}

// No transversal crossing is missed. Bézier curves meet at what is found within both; of NURBS curves
// it may be the crossing of two pieces beyond their ends.
template <class Curve>
void expectAllCrossings(const Curve& a, const Curve& b) {
    const unsigned int steps = 400;
    const Pairs pairs = crossings(a, b);
    const double step = (a.ufin() - a.udeb()) / steps;
    for (const auto& [u, v] : crossingsOfPolylines(a, b, steps)) {
        const ERVector2D dA = a.PtCur(u).tangente(), dB = b.PtCur(v).tangente();
        const double sine = (dA ^ dB) / (dA.norme() * dB.norme());
        if (std::fabs(sine) < 0.01) continue;
        EXPECT_TRUE(holds(pairs, u, v, step / std::fabs(sine))) << u << " and " << v;
    }
    for (const auto& [u, v] : pairs) {
        if (a.isBezier() && a.getBound().inBound(u) && b.getBound().inBound(v))
            expectNear(a(u), b(v), 1e-10);
    }
}

TEST(BezierIntersection, MissesNoCrossingOfRandomCurves) {
    std::mt19937 random(4);
    for (int i = 0; i < 250; ++i) {
        SCOPED_TRACE(drawnFrom(4, i));
        const auto n = [&] { return 2 + drawnBelow(6, random); };
        const ERCpoleBezier2DR a(randomPoles<ERPole2DH>(n(), random));
        expectAllCrossings(a, ERCpoleBezier2DR(randomPoles<ERPole2DH>(n(), random)));
    }
}

TEST(NurbsIntersection, MissesNoCrossingOfRandomCurvesOfAnyDomainAndTrim) {
    std::mt19937 random(6);
    for (int i = 0; i < 25; ++i) {
        SCOPED_TRACE(drawnFrom(6, i));
        ERCpoleNURBS2D a(randomPoles<ERPole2DH>(12, random), 1 + drawnBelow(4, random));
        ERCpoleNURBS2D b(randomPoles<ERPole2DH>(7, random), 1 + drawnBelow(4, random));
        if (i % 3 == 0) a.insertKnot(0.4, 2);
        if (i % 3 == 1) b.setBound(ERLimites(0.21, 0.83));
        if (i % 3 == 2) a.reparametrize(ERLimites(-3.0, 5.0));
        expectAllCrossings(a, b);
    }
}

// Figures of the Python package bezier, tests/functional/curve_intersections.json, Apache-2.0: case 10.
TEST(BezierIntersection, GivesPublishedParameters) {
    const Pairs pairs = crossings(bezier({{0, 0}, {0.5, 1}, {1, 0}}),
                                  bezier({{0, 0}, {0.25, 2}, {0.5, -2}, {0.75, 2}, {1, 0}}));
    for (const double u : {0.0, 0.31101776349538635, 0.6889822365046137, 1.0})
        EXPECT_TRUE(holds(pairs, u, u, 1e-11)) << u;
}

TEST(BezierIntersection, CrossesStraightCurvesWithoutHalvingThem) {
    const auto expectOne = [](const ERCpoleBezier2DR& a, const ERCpoleBezier2DR& b, double u,
                              double v) {
        const Pairs pairs = crossings(a, b);
        ASSERT_EQ(pairs.size(), 1u);
        EXPECT_TRUE(holds(pairs, u, v, 1e-9));
    };
    const ERCpoleBezier2DR unit = bezier({{0, 0}, {1, 0}});
    expectOne(bezier({{0, 0}, {2, 2}}), bezier({{0, 2}, {2, 0}}), 0.5, 0.5);
    // Kept: their chords are lines without ends, and the distance from the first point has no sign.
    expectOne(unit, bezier({{3, -1}, {3, -0.5}}), 3.0, 2.0);
    expectOne(unit, bezier({{-1, -1}, {-1, 1}}), -1.0, 0.5);
    EXPECT_TRUE(crossings(unit, bezier({{0, 1}, {1, 1}})).empty());
    EXPECT_TRUE(crossings(bezier({{0, 0}, {1, 1}}), bezier({{0.5, 0.5}, {3, 3}})).empty());
}

TEST(BezierIntersection, MeetsAtCommonEndsAndAppendsToWhatIsThere) {
    const ERCpoleBezier2DR arch = bezier({{0, 0}, {1, 2}, {2, 0}});
    ERVec<double> onA(1, 7.0), onB(1, 8.0);
    EXPECT_EQ(intersect(arch, bezier({{2, 0}, {3, 0}, {4, 3}}), onA, onB), 2u);
    EXPECT_EQ(onA[0], 7.0);
    EXPECT_EQ(onB[0], 8.0);
    EXPECT_NEAR(onA[1], 1.0, 1e-10);
    EXPECT_NEAR(onB[1], 0.0, 1e-10);
}

// Kept: both halves of the arch end where the line crosses it.
TEST(BezierIntersection, GivesACrossingWhereACurveIsHalvedTwice) {
    const Pairs pairs = crossings(bezier({{0, 0}, {1, 2}, {2, 0}}), bezier({{1, 0}, {1, 3}}));
    EXPECT_EQ(pairs.size(), 2u);
    for (const auto& [u, v] : pairs) EXPECT_TRUE(holds({{u, v}}, 0.5, 1.0 / 3.0, 1e-10));
}

TEST(BezierIntersection, GivesNothingForCurvesThatRunAlongEachOther) {
    for (const ERCpoleBezier2DR& arch :
         {bezier({{0, 0}, {1, 2}, {2, 0}}), bezier({{0, 0}, {1, 2}, {3, 2.5}, {4, 0}})})
        for (const double weight : {0.6, 1.0, 1.7}) {
            ERVec<ERPole2DH> weighted = arch.poles();
            weighted[1] *= weight;
            const ERCpoleBezier2DR curve(weighted);
            EXPECT_TRUE(crossings(curve, curve).empty());
            ERCpoleBezier2DR part = curve;
            part.setBound(ERLimites(0.3, 0.77));
            EXPECT_TRUE(crossings(curve, part).empty());
            part.incrDegree(2);
            EXPECT_TRUE(crossings(part, curve).empty());
        }
    // But it crosses itself.
    const ERCpoleBezier2DR loop = bezier({{0, 0}, {3, 2}, {-1, 2}, {2, 0}});
    EXPECT_EQ(crossings(loop, loop).size(), 2u);
}

TEST(BezierIntersection, EndsForAnyPoles) {
    std::mt19937 random(9);
    const double wild[] = {0,   1,   -1,    1e15, -1e15,    1e-15, 1e15 + 1,
                           0.5, nan, 1e308, 2e-9, infinity, 5e-324};
    for (int i = 0; i < 400; ++i) {
        SCOPED_TRACE(drawnFrom(9, i));
        const unsigned int kinds = i % 2 == 0 ? 8 : 13;
        const auto curve = [&] {
            ERVec<ERPole2DH> drawnPoles(drawnBelow(6, random) + (i % 50 == 0 ? 44 : 0));
            for (unsigned int k = 0; k < drawnPoles.length(); ++k)
                drawnPoles[k] = drawn<ERPole2DH>([&] { return wild[drawnBelow(kinds, random)]; });
            return drawnPoles;
        };
        const ERVec<ERPole2DH> a = curve(), b = curve();
        EXPECT_LE(crossings(ERCpoleBezier2DR(a), ERCpoleBezier2DR(b)).size(), 140000u);
        EXPECT_LE(crossings(ERCpoleNURBS2D(a, 2), ERCpoleNURBS2D(b, 1)).size(), 140000u);
    }
    const ERCpoleBezier2DR point = bezier({{1, 1}, {1, 1}, {1, 1}});
    EXPECT_TRUE(crossings(point, bezier({{0, 0}, {1, 2}, {2, 0}})).empty());
    EXPECT_TRUE(crossings(ERCpoleBezier2DR(), point).empty());
    EXPECT_TRUE(crossings(ERCpoleNURBS2D(), ERCpoleNURBS2D(poles({{0, 0}, {1, 1}}))).empty());
}

// A half circle whose middle pole lies at infinity.
TEST(BezierIntersection, CrossesACurveWithAPoleAtInfinity) {
    const double r = std::sqrt(0.5);
    const ERPole2DH half[] = {{-r, r, 1}, {r, r, 0}, {r, -r, 1}};
    const ERCpoleBezier2DR circle(ERVec<ERPole2DH>(half, 3));
    const Pairs pairs = crossings(circle, bezier({{0.1, 0}, {2, 2.1}}));
    ASSERT_FALSE(pairs.empty());
    for (const auto& [u, v] : pairs) EXPECT_NEAR(distance(circle(u), ERPoint2D(0, 0)), 1.0, 1e-9);
}

TEST(BezierEquation, IsTheDifferenceOfThePointsWithItsDerivatives) {
    std::mt19937 random(3);
    const ERCpoleBezier2DR a(randomPoles<ERPole2DH>(5, random), ERLimites(2.0, 6.0));
    const ERCpoleBezier2DR b(randomPoles<ERPole2DH>(3, random));
    FonctionnelleIntersectionDeBezier equation(a, b);
    ERVec<double> x(2);
    x[0] = 0.3;
    x[1] = 0.8;
    const ERVec<double> value = equation.f(x);
    EXPECT_NEAR(value[0], a(3.2).x() - b(0.8).x(), 1e-14);
    EXPECT_NEAR(value[1], a(3.2).y() - b(0.8).y(), 1e-14);
    const ERMatrix<double> matrix = equation.fprime(x);
    const double h = 1e-5;
    for (unsigned int k = 0; k < 2; ++k) {
        ERVec<double> high(x), low(x);
        high[k] += h;
        low[k] -= h;
        const ERVec<double> above = equation.f(high), below = equation.f(low);
        for (unsigned int i = 0; i < 2; ++i)
            EXPECT_NEAR(matrix(i, k), (above[i] - below[i]) / (2 * h), 1e-8);
    }
}

TEST(ConvexHullOfCurve, TakesTheCartesianPoles) {
    ERVec<ERPole2DH> weighted = poles({{0, 0}, {2, 0}, {1, 0.5}, {2, 2}});
    for (unsigned int i = 0; i < 4; ++i) weighted[i] *= 0.5 + i;
    const ERVec<ERPoint2D> hull = convexHull(ERCpoleBezier2DR(weighted));
    ASSERT_EQ(hull.length(), 3u);
    expectNear(hull[1], ERPoint2D(2, 2));
    EXPECT_EQ(convexHull(ERCpoleNURBS2D(weighted, 2)).length(), 3u);
    EXPECT_EQ(convexHull(ERCpoleBezier2DR()).length(), 0u);
}

}  // namespace
}  // namespace kerf::test
