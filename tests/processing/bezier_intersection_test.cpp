#include "kerf/processing/bezier_intersection.h"

#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/transformation_2d.h"
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

unsigned int drawnBelow(std::mt19937& random, unsigned int end) {
    return static_cast<unsigned int>(random() % end);
}

ERVec<ERPole2DH> randomPoles(std::mt19937& random, unsigned int n) {
    std::uniform_real_distribution<double> coordinate(0.0, 1.0), weight(0.5, 2.0);
    ERVec<ERPole2DH> result;
    for (unsigned int i = 0; i < n; ++i) {
        const double x = coordinate(random), y = coordinate(random), w = weight(random);
        result.append(ERPole2DH(ERPoint2D(x * w, y * w), w));
    }
    return result;
}

// Oracle: where two polylines on the curves cross, by parameter.
Pairs crossingsOfPolylines(const ERFiniteEntity2DWF& a, const ERFiniteEntity2DWF& b, int steps) {
    const auto parameter = [&](const ERFiniteEntity2DWF& curve, double at) {
        return curve.udeb() + (curve.ufin() - curve.udeb()) * at / steps;
    };
    const auto points = [&](const ERFiniteEntity2DWF& curve) {
        ERVec<ERPoint2D> result;
        for (int i = 0; i <= steps; ++i) result.append(curve(parameter(curve, i)));
        return result;
    };
    const ERVec<ERPoint2D> p = points(a), q = points(b);
    Pairs pairs;
    const unsigned int run = 25, n = p.length() - 1;
    for (unsigned int first = 0; first < n; first += run) {
        ERMinimax2D box;
        for (unsigned int i = first; i <= std::min(first + run, n); ++i) box.Update(p[i]);
        for (unsigned int j = 0; j < n; ++j) {
            if (!RelativePosition(ERMinimax2D(q[j], q[j + 1]), box)) continue;
            for (unsigned int i = first; i < std::min(first + run, n); ++i) {
                const ERVector2D d(p[i], p[i + 1]), e(q[j], q[j + 1]), w(p[i], q[j]);
                const double s = (w ^ e) / (d ^ e), t = (w ^ d) / (d ^ e);
                if (s >= 0 && s < 1 && t >= 0 && t < 1)
                    pairs.emplace_back(parameter(a, i + s), parameter(b, j + t));
            }
        }
    }
    return pairs;
}

// No transversal crossing is missed. Bézier curves meet at what is found within both; of NURBS curves
// it may be the crossing of two pieces beyond their ends.
template <class Curve>
void expectAllCrossings(const Curve& a, const Curve& b) {
    const int steps = 1000;
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
        const auto n = [&] { return 2 + drawnBelow(random, 6); };
        const ERCpoleBezier2DR a(randomPoles(random, n()));
        expectAllCrossings(a, ERCpoleBezier2DR(randomPoles(random, n())));
    }
}

TEST(NurbsIntersection, MissesNoCrossingOfRandomCurvesOfAnyDomainAndTrim) {
    std::mt19937 random(6);
    for (int i = 0; i < 25; ++i) {
        SCOPED_TRACE(drawnFrom(6, i));
        ERCpoleNURBS2D a(randomPoles(random, 12), 1 + drawnBelow(random, 4));
        ERCpoleNURBS2D b(randomPoles(random, 7), 1 + drawnBelow(random, 4));
        if (i % 3 == 0) a.insertKnot(0.4, 2);
        if (i % 3 == 1) b.setBound(ERLimites(0.21, 0.83));
        if (i % 3 == 2) a.reparametrize(ERLimites(-3.0, 5.0));
        expectAllCrossings(a, b);
    }
}

// Figures of the Python package bezier, tests/functional/curve_intersections.json, Apache-2.0: cases
// 1, 10 and 22.
TEST(BezierIntersection, GivesPublishedParameters) {
    struct Published {
        std::vector<ERPoint2D> a, b;
        Pairs pairs;
    };
    const std::vector<ERPoint2D> parabola{{0, 0}, {0.5, 1}, {1, 0}};
    const Published published[] = {
        {parabola,
         {{1.125, 0.5}, {0.625, -0.5}, {0.125, 0.5}},
         {{0.21451472732312363, 0.9104852726768764}, {0.9104852726768764, 0.21451472732312363}}},
        {parabola,
         {{0, 0}, {0.25, 2}, {0.5, -2}, {0.75, 2}, {1, 0}},
         {{0, 0},
          {0.31101776349538635, 0.31101776349538635},
          {0.6889822365046137, 0.6889822365046137},
          {1, 1}}},
        {{{0, 8}, {6, 0}},
         {{0.375, 7}, {2.125, 8}, {3.875, 0}, {5.625, 1}},
         {{0.11416126713641388, 0.059041448155901566},
          {0.5, 0.5},
          {0.8858387328635861, 0.9409585518440984}}}};
    for (const Published& each : published) {
        const Pairs pairs = crossings(bezier(each.a), bezier(each.b));
        for (const auto& [u, v] : each.pairs) EXPECT_TRUE(holds(pairs, u, v, 1e-11)) << u;
    }
}

// Oracle: the search written out on curve objects, each half a curve of its own. What it finds comes
// in the same order; further crossings may stand between.
void searchByCurves(const ERCpoleBezier2DR& a, const ERCpoleBezier2DR& b, Pairs& pairs) {
    const double lengthA = a.upperEstimate(), lengthB = b.upperEstimate();
    const double chordA = distance(a.firstPt(), a.lastPt());
    const double chordB = distance(b.firstPt(), b.lastPt());
    if (1 - chordA / lengthA >= 0.01 || 1 - chordB / lengthB >= 0.01) {
        const bool first = lengthA > lengthB;
        ERCpoleRep2D *left, *right;
        (first ? a : b).split(left, right);
        const t_SmartPtr<ERCpoleRep2D> owners[] = {left, right};
        for (const ERCpoleRep2D* half : {left, right}) {
            const auto& part = static_cast<const ERCpoleBezier2DR&>(*half);
            if (!intersect(convexHull(part), convexHull(first ? b : a))) continue;
            searchByCurves(first ? part : a, first ? b : part, pairs);
        }
        return;
    }
    const ERVector2D dA = ERVector2D(a.firstPt(), a.lastPt()).getnormalized();
    const ERVector2D dB = ERVector2D(b.firstPt(), b.lastPt()).getnormalized();
    const ERVector2D between(a.firstPt(), b.firstPt());
    const ERPoint2D p = a.firstPt() + ERPoint2D(dA * ((between ^ dB) / (dA ^ dB)));
    ERVec<double> x(2);
    x[0] = distance(p, a.firstPt()) / chordA;
    x[1] = distance(p, b.firstPt()) / chordB;
    ERMinimax2D box = a.getBox();
    box.Update(b.getBox());
    const ERVector2D diagonal(box.MinPoint(), box.MaxPoint());
    const ERTransfo2D scaling(100.0 / diagonal.norme(), box.MinPoint() + ERPoint2D(diagonal * 0.5));
    ERCpoleBezier2DR scaledA(a), scaledB(b);
    scaledA.transformFrom(scaling);
    scaledB.transformFrom(scaling);
    FonctionnelleIntersectionDeBezier equation(scaledA, scaledB);
    ERNewtonMSolver solver(&equation, 2, 1e-12, 400);
    if (solver.Resoudre(x, 1e-9) > 1) return;
    pairs.emplace_back(a.getBound()(x[0]), b.getBound()(x[1]));
}

TEST(BezierIntersection, FindsInOrderWhatTheSearchByCurvesFinds) {
    std::mt19937 random(8);
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(drawnFrom(8, i));
        const ERCpoleBezier2DR a(randomPoles(random, 2 + drawnBelow(random, 11)),
                                 ERLimites(-2.0, 1.0));
        const ERCpoleBezier2DR b(randomPoles(random, 4));
        Pairs expected;
        searchByCurves(a, b, expected);
        const Pairs pairs = crossings(a, b);
        std::size_t at = 0;
        for (const auto& [u, v] : expected) {
            while (at < pairs.size() && !holds({pairs[at]}, u, v, 1e-9)) ++at;
            ASSERT_LT(at++, pairs.size()) << u << " and " << v;
        }
        EXPECT_LE(pairs.size(), expected.size() + 2);
    }
}

TEST(BezierIntersection, CrossesStraightCurvesWithoutHalvingThem) {
    const Pairs middle = crossings(bezier({{0, 0}, {2, 2}}), bezier({{0, 2}, {2, 0}}));
    ASSERT_EQ(middle.size(), 1u);
    EXPECT_TRUE(holds(middle, 0.5, 0.5, 1e-9));
    // Kept: their chords are lines without ends, and the distance from the first point has no sign.
    const Pairs beyond = crossings(bezier({{0, 0}, {1, 0}}), bezier({{3, -1}, {3, -0.5}}));
    ASSERT_EQ(beyond.size(), 1u);
    EXPECT_TRUE(holds(beyond, 3.0, 2.0, 1e-9));
    const Pairs before = crossings(bezier({{0, 0}, {1, 0}}), bezier({{-1, -1}, {-1, 1}}));
    ASSERT_EQ(before.size(), 1u);
    EXPECT_TRUE(holds(before, -1.0, 0.5, 1e-9));
    EXPECT_TRUE(crossings(bezier({{0, 0}, {1, 0}}), bezier({{0, 1}, {1, 1}})).empty());
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

TEST(BezierIntersection, FindsBothCrossingsOfTwoShallowArches) {
    const ERCpoleBezier2DR a = bezier({{0, 0}, {1, 0.05}, {2, 0}});
    EXPECT_GE(crossings(a, bezier({{0, 0.02}, {1, -0.01}, {2, 0.021}})).size(), 2u);
    expectAllCrossings(a, bezier({{0, 0.02}, {1, -0.01}, {2, 0.021}}));
}

TEST(BezierIntersection, GivesNothingForCurvesThatRunAlongEachOther) {
    std::mt19937 random(12);
    for (unsigned int n : {3u, 4u, 4u, 4u}) {
        ERCpoleBezier2DR curve = bezier({{0, 0}, {1, 2}, {3, 2.5}, {4, 0}});
        if (n == 3) curve = bezier({{0, 0}, {1, 2}, {2, 0}});
        const double w = std::uniform_real_distribution<double>(0.5, 2.0)(random);
        ERVec<ERPole2DH> weighted = curve.poles();
        weighted[1] *= w;
        curve = ERCpoleBezier2DR(weighted);
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
            ERVec<ERPole2DH> drawnPoles(drawnBelow(random, 6) + (i % 50 == 0 ? 44 : 0));
            for (unsigned int k = 0; k < drawnPoles.length(); ++k)
                drawnPoles[k] = drawn<ERPole2DH>([&] { return wild[drawnBelow(random, kinds)]; });
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
    ERVec<ERPole2DH> half;
    half.append(ERPole2DH(ERPoint2D(-std::sqrt(0.5), std::sqrt(0.5)), 1.0));
    half.append(ERPole2DH(ERPoint2D(std::sqrt(0.5), std::sqrt(0.5)), 0.0));
    half.append(ERPole2DH(ERPoint2D(std::sqrt(0.5), -std::sqrt(0.5)), 1.0));
    const ERCpoleBezier2DR circle(half);
    const Pairs pairs = crossings(circle, bezier({{0.1, 0}, {2, 2.1}}));
    ASSERT_FALSE(pairs.empty());
    for (const auto& [u, v] : pairs) EXPECT_NEAR(distance(circle(u), ERPoint2D(0, 0)), 1.0, 1e-9);
}

TEST(BezierEquation, IsTheDifferenceOfThePointsWithItsDerivatives) {
    std::mt19937 random(3);
    const ERCpoleBezier2DR a(randomPoles(random, 5), ERLimites(2.0, 6.0));
    const ERCpoleBezier2DR b(randomPoles(random, 3));
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
    EXPECT_EQ(convexHull(bezier({{0, 0}, {1, 1}})).length(), 2u);
    EXPECT_EQ(convexHull(bezier({{1, 1}, {1, 1}, {1, 1}})).length(), 1u);
    EXPECT_EQ(convexHull(ERCpoleBezier2DR()).length(), 0u);
}

}  // namespace
}  // namespace kerf::test
