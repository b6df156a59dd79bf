#include "kerf/curves/bezier_curve.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/box.h"
#include "tests/curves/curve_contract.h"
#include "tests/curves/spline/spline_checks.h"
#include "tests/support/value_checks.h"

// Bézier and NURBS curves in the plane and in space.
namespace kerf::test {
namespace {

ERVec<ERPoint2D> planePoles() { return vectorOf({{0, 0}, {1, 3}, {4, 3.5}, {5, -1}, {7, 1}}); }
ERVec<ERPole2DH> weightedPlanePoles() {
    const ERVec<ERPoint2D> points = planePoles();
    const double weights[] = {1.0, 0.6, 2.0, 0.8, 1.3};
    ERVec<ERPole2DH> poles;
    for (unsigned int i = 0; i < points.length(); ++i)
        poles.append(ERPole2DH(points[i] * weights[i], weights[i]));
    return poles;
}
ERVec<ERPoint3D> spacePoles() {
    ERVec<ERPoint3D> poles;
    for (unsigned int i = 0; i < 5; ++i)
        poles.append(planePoles()[i].castToPoint3D(Coord3D::CoordZ, 0.25 * i * i));
    return poles;
}
ERVec<ERPole3DH> weightedSpacePoles() {
    ERVec<ERPole3DH> poles;
    for (unsigned int i = 0; i < 5; ++i) {
        const ERPole2DH pole = weightedPlanePoles()[i];
        poles.append(pole.castToPole3D(Coord3D::CoordZ, 0.25 * i * i * pole.weigth()));
    }
    return poles;
}
ERKnotVector openKnots() {
    const double knots[] = {0, 1, 2, 3.25, 4, 4.5, 7, 11};
    return ERKnotVector(2, knots, 8);
}
ERKnotVector cubicKnots() {
    const double knots[] = {2, 2, 2, 2, 3.25, 4, 4, 4, 4};
    return ERKnotVector(3, knots, 9);
}

const ERLimites natural(2.0, 4.0);
const ERLimites trim(2.5, 3.75);
constexpr unsigned int bezier = SecondDerivativeDiffers | BoxIsLoose;

std::vector<PlaneCurveSample> planeCurves() {
    const ERVec<ERPoint2D> poles = planePoles();
    const ERVec<ERPole2DH> weighted = weightedPlanePoles();
    const auto nurbs = [](const char* name, const ERCpoleNURBS2D& curve) {
        return sampleOf<Space2D>(name, curve, BoxIsLoose);
    };
    return {
        sampleOf<Space2D>("Bezier", ERCpoleBezier2D(poles), BoxIsLoose),
        sampleOf<Space2D>("TrimmedBezier", ERCpoleBezier2D(poles, natural, trim), bezier),
        sampleOf<Space2D>("RationalBezier", ERCpoleBezier2DR(weighted), BoxIsLoose),
        sampleOf<Space2D>("TrimmedRationalBezier", ERCpoleBezier2DR(weighted, natural, trim),
                          bezier),
        nurbs("Nurbs", ERCpoleNURBS2D(weighted, cubicKnots())),
        nurbs("TrimmedNurbs", ERCpoleNURBS2D(weighted, cubicKnots(), trim)),
        nurbs("UnclampedNurbs", ERCpoleNURBS2D(weighted, openKnots())),
        nurbs("TrimmedUnclampedNurbs", ERCpoleNURBS2D(weighted, openKnots(), ERLimites(2.5, 4.25))),
        nurbs("QuarticNurbs", ERCpoleNURBS2D(weighted)),
        nurbs("QuadraticNurbs", ERCpoleNURBS2D(weighted, 2)),
    };
}
std::vector<SpaceCurveSample> spaceCurves() {
    const ERVec<ERPole3DH> weighted = weightedSpacePoles();
    return {
        sampleOf<Space3D>("Bezier", ERCpoleBezier3D(spacePoles()), BoxIsLoose),
        sampleOf<Space3D>("TrimmedRationalBezier", ERCpoleBezier3DR(weighted, natural, trim),
                          bezier),
        sampleOf<Space3D>("TrimmedNurbs", ERCpoleNURBS3D(weighted, cubicKnots(), trim), BoxIsLoose),
    };
}

INSTANTIATE_TEST_SUITE_P(Poles, PlaneCurveContract, ::testing::ValuesIn(planeCurves()),
                         nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(Poles, SpaceCurveContract, ::testing::ValuesIn(spaceCurves()),
                         nameOfSample<SpaceCurveSample>);

// Oracle: the foot on a circle lies on the ray from its centre.
TEST(PoleCurveProjection, FindsTheFootOnACurveFarFromTheOrigin) {
    for (const double away : {0.0, 1e4, 1e7, 1e9}) {
        SCOPED_TRACE(away);
        const ERPoint2D centre(away, away);
        const ERVector2D towards = ERVector2D(1, 0.2).getnormalized();
        const ERCpoleNURBS2D circle =
            ERArc2D(centre, 10.0, 0.0, 6.283185307179586).ConvertToNurbs();
        ERVec<double> feet;
        ASSERT_EQ(circle.ProjectPoint(centre + towards * 11.0, feet, 5.0), 1);
        EXPECT_LE(distance(circle(feet[0]), centre + towards * 10.0), 1e-9 + 1e-14 * away);
    }
}

// Joining.

template <class Curve>
void expectTraces(const Curve& joined, const Curve& part, double from) {
    for (int i = 0; i <= 10; ++i) {
        const double u = part.udeb() + i / 10.0 * (part.ufin() - part.udeb());
        expectNear(joined(from + (u - part.udeb())), part(u), 1e-11);
    }
}

ERCpoleNURBS2D curveFrom(const ERPoint2D& from, const ERPoint2D& to, unsigned int degree) {
    ERVec<ERPole2DH> poles;
    for (unsigned int i = 0; i <= degree + 1; ++i) {
        const double t = i / (degree + 1.0), w = 1.0 + 0.5 * t;
        const ERPoint2D p = from * (1 - t) + to * t + ERPoint2D(0, 2 * t * (1 - t));
        poles.append(ERPole2DH(p * w, w));
    }
    return ERCpoleNURBS2D(poles, degree);
}

TEST(NurbsJoining, FollowsOnTheSameParameters) {
    const ERCpoleNURBS2D first = curveFrom({0, 0}, {3, 1}, 2),
                         second = curveFrom({3, 1}, {7, 0}, 3);
    ERCpoleNURBS2D appended = first, prepended = second, merged = second, turnedOver = first;
    ASSERT_EQ(appended.append(second, 1e-9, 0), 1);
    EXPECT_EQ(appended.getBound(), ERLimites(0.0, 2.0));
    EXPECT_EQ(appended.degree(), 3u);
    expectTraces(appended, first, 0.0);
    expectTraces(appended, second, 1.0);

    ASSERT_EQ(prepended.prepend(first, 1e-9, 0), 1);
    EXPECT_EQ(prepended.getBound(), ERLimites(-1.0, 1.0));
    expectTraces(prepended, first, -1.0);
    expectTraces(prepended, second, 0.0);
    EXPECT_EQ(merged.merge(first, 1e-9, 0), 1);
    EXPECT_EQ(merged.poles(), prepended.poles());

    ERCpoleNURBS2D backwards = second;
    backwards.reverse();
    ASSERT_EQ(turnedOver.append(backwards, 1e-9, 0), 1);
    expectTraces(turnedOver, second, 1.0);
}

TEST(NurbsJoining, GapLeavesTheCurveAsItWas) {
    const ERCpoleNURBS2D first = curveFrom({0, 0}, {3, 1}, 2);
    ERCpoleNURBS2D joined = first;
    EXPECT_EQ(joined.append(curveFrom({3.1, 1}, {7, 0}, 2), 0.05, 0), 0);
    EXPECT_EQ(joined.poles(), first.poles());
    EXPECT_EQ(joined.getBound(), first.getBound());
    ERCpoleNURBS2D empty;
    EXPECT_EQ(empty.append(first, 0.0, 0), 1);
    EXPECT_EQ(empty.poles(), first.poles());
}

TEST(NurbsJoining, NegativeToleranceJoinsOverAGap) {
    const ERCpoleNURBS2D first = curveFrom({0, 0}, {3, 1}, 2),
                         second = curveFrom({4, 1}, {7, 0}, 2);
    ERCpoleNURBS2D joined = first;
    ASSERT_EQ(joined.append(second, -1.0, 0), 1);
    EXPECT_EQ(joined.nbPoles(), first.nbPoles() + second.nbPoles());
    expectNear(joined(1.0), ERPoint2D(4, 1), 1e-12);
    expectNear(joined(std::nextafter(1.0, 0.0)), ERPoint2D(3, 1), 1e-12);
}

TEST(NurbsJoining, FlagAsksForOneTangent) {
    const ERCpoleNURBS2D whole = curveFrom({0, 0}, {5, 2}, 3);
    ERCpoleNURBS2D left, right;
    ASSERT_EQ(whole.splitAt(left, right, 0.4), 1);
    ERCpoleNURBS2D joined = left;
    EXPECT_EQ(joined.append(curveFrom(left.lastPt(), {9, 9}, 3), 1e-9, 1), 0);
    ASSERT_EQ(joined.append(right, 1e-9, 1), 1);
    expectTraces(joined, whole, 0.0);
}

TEST(PoleCurve, GivesThePointItWasAskedForItsParameter) {
    EXPECT_EQ(ERCpoleBezier3D().PtCur(0.4).parameter(), 0.4);
    EXPECT_EQ(ERCpoleBezier3D(spacePoles(), ERLimites(1.0, 1.0)).PtCur(0.4).parameter(), 0.4);
}

TEST(PoleCurve, ReparametrizesWithoutMoving) {
    for (const PlaneCurveSample& sample : planeCurves()) {
        SCOPED_TRACE(sample.name);
        const t_SmartPtr<ERFiniteEntity2DWF> curve(sample.make()), other(sample.make());
        const ERLimites before = curve->getBound();
        ERTrimmedEntity2DWF::castdown(other.getObject())->reparametrize(ERLimites(-1.0, 9.0));
        for (const double s : {0.0, 0.31, 0.77, 1.0})
            expectNear((*other)(other->getBound()(s)), (*curve)(before(s)), 1e-12);
    }
}

TEST(PoleCurve, CutsNothingAtANumberThatIsNone) {
    ERVec<double> parameters;
    EXPECT_EQ(ERCpoleBezier2D(vectorOf({{1, 0}, {1, 2}})).intersectWithAxeY(nan, parameters), 0u);
    EXPECT_EQ(parameters.length(), 0u);
}

TEST(NurbsCurve, PassesOverSpansThatAreNoneAndTooShortOnes) {
    const ERCpoleNURBS2D curve(weightedPlanePoles(), cubicKnots());
    EXPECT_EQ(curve.getSpanPower(0).entries(), 3u);
    for (const int span : {-1, 2, 1000000000}) EXPECT_EQ(curve.getSpanPower(span).entries(), 0u);
    const double knots[] = {0, 0, 0, 0, 1e-310, 1, 1, 1, 1};
    const ERCpoleNURBS2D shortSpan(weightedPlanePoles(), ERKnotVector(3, knots, 9));
    for (const double u : {0.0, 1e-310, 0.5, 1.0})
        EXPECT_TRUE(std::isfinite(shortSpan(u).x() + shortSpan.PtCur(u).tangente().i())) << u;
}

// Randomly drawn curves.

std::vector<t_SmartPtr<ERCpoleRep3D>> curvesOfManyDegrees() {
    std::mt19937 random(21);
    std::vector<t_SmartPtr<ERCpoleRep3D>> curves;
    for (const unsigned int degree : {1u, 2u, 3u, 6u, 15u, 49u})
        curves.emplace_back(
            new ERCpoleBezier3DR(randomPoles<ERPole3DH>(degree + 1, random), natural, trim));
    for (const unsigned int degree : {2u, 5u, 11u})
        curves.emplace_back(new ERCpoleNURBS3D(randomPoles<ERPole3DH>(14, random), degree));
    return curves;
}

// Oracle: the nearest of 10 000 samples. Feet and ends are nearer.
TEST(PoleCurve, ProjectsToTheNearestPointWhateverTheDegree) {
    std::mt19937 random(22);
    for (const t_SmartPtr<ERCpoleRep3D>& curve : curvesOfManyDegrees()) {
        SCOPED_TRACE(printed(*curve));
        const ERVec<ERPoint3D> samples = curve->approxime(10000);
        for (int i = 0; i < 15; ++i) {
            const auto p = drawn<ERPoint3D>(
                [&] { return std::uniform_real_distribution<double>(-1.3, 1.3)(random); });
            ERVec<double> feet(1, -7.0);
            const int count = curve->ProjectPoint(p, feet, 10.0);
            ASSERT_EQ(count, static_cast<int>(feet.length()));
            double nearest = std::min(distance(p, curve->firstPt()), distance(p, curve->lastPt()));
            for (unsigned int k = 1; k < feet.length(); ++k) {
                const ERInfoPoint3DWF foot = curve->PtCur(feet[k]);
                nearest = std::min(nearest, distance(p, foot.point()));
                EXPECT_NEAR(ERVector3D(p, foot.point()) * foot.tangente(), 0.0,
                            1e-6 * (1.0 + foot.tangente().norme()));
                EXPECT_TRUE(curve->getBound().inBound(feet[k]));
                EXPECT_LT(feet[k - 1], feet[k]);
            }
            for (unsigned int k = 0; k < samples.length(); ++k)
                ASSERT_LE(nearest, distance(p, samples[k]) + 1e-12);
        }
        ERVec<double> none;
        EXPECT_EQ(curve->ProjectPoint(ERPoint3D(9, 9, 9), none, 1.0), 0);
    }
}

// Oracle: the sign changes between many samples.
TEST(PoleCurve, FindsEveryCutWhateverTheDegree) {
    for (const t_SmartPtr<ERCpoleRep3D>& curve : curvesOfManyDegrees()) {
        SCOPED_TRACE(printed(*curve));
        const ERVec<ERPoint3D> samples = curve->approxime(4001);
        for (const double z : {-0.31, 0.05, 0.22, 0.4}) {
            unsigned int changes = 0;
            for (unsigned int k = 1; k < samples.length(); ++k)
                changes += (samples[k - 1].z() < z) != (samples[k].z() < z) ? 1 : 0;
            ERVec<double> cuts;
            EXPECT_EQ(curve->intersectWithPlanZ(z, cuts), changes) << z;
            for (unsigned int k = 0; k < cuts.length(); ++k)
                EXPECT_NEAR((*curve)(cuts[k]).z(), z, 1e-9);
        }
    }
}

TEST(PoleCurve, CutsAtAKnotOnceAndEverywhereInTheLine) {
    const ERVec<ERPole2DH> poles = weightedPlanePoles();
    ERCpoleNURBS2D curve(poles, cubicKnots());
    const double atKnot = curve(3.25).x();
    ERVec<double> cuts(1, 9.0);
    EXPECT_EQ(curve.intersectWithAxeY(atKnot, cuts), 2u);
    EXPECT_NEAR(cuts[1], 3.25, 1e-9);
    EXPECT_EQ(curve.intersectWithAxeY(50.0, cuts), 0u);
    ERCpoleBezier2D upright(vectorOf({{1, 0}, {1, 2}, {1, 1}}));
    EXPECT_EQ(upright.intersectWithAxeY(1.0 + 5e-12, cuts), 0u);  // outside the box
    EXPECT_EQ(upright.intersectWithAxeY(1.0, cuts), 0xFFFFFFFF);
    EXPECT_EQ(cuts.length(), 2u);
    // The part of a curve that lies in the line gives its ends.
    const double knots[] = {0, 0, 1, 2, 2};
    const ERCpoleNURBS2D bent(
        ERCpoleBezier2D(vectorOf({{0, 0}, {1, 0}, {1, 2}})).ConvertToNurbs().poles(),
        ERKnotVector(1, knots, 5));
    ERVec<double> ends;
    EXPECT_EQ(bent.intersectWithAxeY(1.0, ends), 2u);
    EXPECT_NEAR(ends[0], 1.0, 1e-9);
    EXPECT_NEAR(ends[1], 2.0, 1e-9);
}

TEST(PoleCurve, HasEveryPointAsFootOfACentre) {
    const double w = std::sqrt(0.5);
    const ERPole2DH quarter[] = {{1, 0, 1}, {w, w, w}, {0, 1, 1}};
    const ERCpoleBezier2DR curve(ERVec<ERPole2DH>(quarter, 3));
    ERVec<double> feet;
    EXPECT_EQ(curve.ProjectPoint(ERPoint2D(0, 0), feet, 2.0), -1);
    EXPECT_EQ(curve.ConvertToNurbs().ProjectPoint(ERPoint2D(0, 0), feet, 2.0), -1);
    EXPECT_EQ(feet.length(), 0u);
    EXPECT_EQ(curve.ProjectPoint(ERPoint2D(0.3, 0.3), feet, 2.0), 1);
}

// The oracle of a length is in the contract of all curves.
TEST(PoleCurve, MeasuresLengthInBothDirectionsAndTooFinelyByOneMean) {
    for (const t_SmartPtr<ERCpoleRep3D>& curve : curvesOfManyDegrees()) {
        SCOPED_TRACE(printed(*curve));
        const ERLimites bound = curve->getBound(), part(bound(0.2), bound(0.7));
        const t_SmartPtr<ERCpoleRep3D> cut(ERCpoleRep3D::castdown(curve->getCopy()));
        cut->redefineDomain(part);
        EXPECT_NEAR(curve->arcLength(part, 1e-4), cut->arcLength(1e-4), 1e-11);
        EXPECT_EQ(curve->arcLength(ERLimites(part.end(), part.start()), 1e-4),
                  curve->arcLength(part, 1e-4));
        const double mean = (cut->upperEstimate() + distance(cut->firstPt(), cut->lastPt())) * 0.5;
        EXPECT_NEAR(cut->arcLength(0.0), mean, 1e-12 * mean);
        EXPECT_NEAR(cut->arcLength(9e-9), mean, 1e-12 * mean);
    }
}

TEST(PoleCurve, MeasuresThePolygonAboveItsChord) {
    const auto height = [](const std::vector<ERPoint2D>& points) {
        return ERCpoleBezier2D(vectorOf(points)).cordalHeight();
    };
    EXPECT_EQ(height({{0, 0}, {4, 3}}), 0.0);
    EXPECT_DOUBLE_EQ(height({{0, 0}, {1, 2}, {7, -5}, {4, 0}}), 5.0);
    EXPECT_DOUBLE_EQ(height({{0, 0}, {3, 4}, {3, 5}, {0, 0}}), std::sqrt(34.0));  // closed
    EXPECT_EQ(height({{1, 1}}), 0.0);
}

TEST(PoleCurve, ChangesItsDegree) {
    ERCpoleBezier2DR curve(weightedPlanePoles(), natural, trim);
    const ERCpoleBezier2DR before = curve;
    curve.incrDegree(3);
    EXPECT_EQ(curve.degree(), 7u);
    expectNear(curve(2.9), before(2.9));
    EXPECT_EQ(curve.decrDegree(), 1);
    EXPECT_EQ(curve.degree(), 6u);
    expectNear(curve(2.9), before(2.9), 1e-10);
    ERCpoleBezier2DR lower = before;
    EXPECT_EQ(lower.decrDegree(), 0);
    EXPECT_EQ(lower.degree(), 3u);
    ERCpoleNURBS2D spline(weightedPlanePoles(), cubicKnots());
    EXPECT_EQ(spline.decrDegree(), 1);  // kept: it does nothing
    EXPECT_EQ(spline.degree(), 3u);
}

TEST(NurbsCurve, PutsKnotsInAndTakesThemOut) {
    const ERCpoleNURBS2D before(weightedPlanePoles(), cubicKnots());
    ERCpoleNURBS2D curve = before;
    const auto expectSameWith = [&](unsigned int poles) {
        EXPECT_EQ(curve.nbPoles(), poles);
        for (const double u : {2.0, 2.5, 3.0, 3.25, 3.9}) expectNear(curve(u), before(u), 1e-11);
    };
    curve.insertKnot(2.5, 2);
    curve.insertKnot(3.25, 1);
    expectSameWith(8);
    curve.reduceKnotMultiplicity(3.25, 1);
    curve.reduceKnotMultiplicity(2.5, 9);
    expectSameWith(5);
}

TEST(PoleCurve, AdjustsToItsTrimInsideAndBeyondTheDomain) {
    const ERCpoleNURBS2D spline(weightedPlanePoles(), cubicKnots());
    const ERCpoleBezier2DR bezierCurve(weightedPlanePoles(), natural);
    for (const ERLimites& limits : {trim, ERLimites(1.7, 4.3), ERLimites(3.9, 4.1)}) {
        SCOPED_TRACE(printed(limits));
        for (const ERCpoleRep2D* curve : {static_cast<const ERCpoleRep2D*>(&spline),
                                          static_cast<const ERCpoleRep2D*>(&bezierCurve)}) {
            const t_SmartPtr<ERCpoleRep2D> cut(ERCpoleRep2D::castdown(curve->getCopy()));
            cut->redefineDomain(limits);
            EXPECT_EQ(cut->isTrimmed(), 0);
            expectNear((*cut)[0], (*curve)(limits.start()), 1e-11);
            expectNear(cut->lastPt(), (*curve)(limits.end()), 1e-11);
            expectNear((*cut)(limits(0.4)), (*curve)(limits(0.4)), 1e-11);
        }
    }
}

TEST(PoleCurve, SplitsAtItsEndsButNotOutside) {
    for (const PlaneCurveSample& sample : planeCurves()) {
        SCOPED_TRACE(sample.name);
        const t_SmartPtr<ERFiniteEntity2DWF> curve(sample.make());
        t_SmartPtr<ERFiniteEntity2DWF> left, right;
        for (const double u : {curve->udeb() - 1e-3, curve->ufin() + 1e-3, nan})
            EXPECT_EQ(curve->splitAt(left, right, u), 0);
        EXPECT_TRUE(!left);
        ASSERT_EQ(curve->splitAt(left, right, curve->ufin()), 1);
        expectNear(right->firstPt(), curve->lastPt(), 1e-11);
        EXPECT_EQ(right->getBound(), ERLimites(curve->ufin(), curve->ufin()));
    }
}

TEST(PoleCurve, SamplesAPointOnceAndAStraightCurveAtItsEnds) {
    EXPECT_EQ(ERCpoleBezier2D(vectorOf({{2, 3}})).approxime(5).length(), 1u);
    const ERCpoleBezier2D line(vectorOf({{2, 3}, {4, 5}}), natural, trim);
    EXPECT_EQ(line.approxime(1), vectorOf({line.firstPt(), line.lastPt()}));
    // An S whose middle lies on its chord.
    const ERCpoleBezier2D bends(vectorOf({{0, 0}, {1, 2}, {2, -2}, {3, 0}}));
    EXPECT_GT(bends.approxime(ERLimites(0.0, 1.0), 0.01).length(), 8u);
}

// Oracle: the definition in long double.
TEST(PoleCurve, EvaluatesEveryDegree) {
    std::mt19937 random(31);
    for (unsigned int degree = 1; degree <= 49; ++degree) {
        SCOPED_TRACE(degree);
        const auto poles = randomPoles<ERPole3DH>(degree + 1, random);
        const double u = 0.05 + 0.9 * degree / 49.0;
        const ERPoint3D p = bernsteinSum(poles, u).castToPoint();
        expectNear(ERCpoleBezier3DR(poles)(u), p, 1e-14);
        expectNear(ERCpoleNURBS3D(poles)(u), p, 1e-14);
        expectNear(ERCpoleNURBS3D(poles).PtCur(u).point(), p, 1e-14);
    }
}

TEST(PoleCurve, SurvivesAnyPoles) {
    std::mt19937 random(13);
    const double wild[] = {0, 1, -1, 1e15, 1e-15, nan, infinity, 1e308, -0.5};
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(drawnFrom(13, i));
        ERVec<ERPole2DH> poles;
        for (unsigned int n = drawnBelow(7, random); n-- > 0;)
            poles.append(drawn<ERPole2DH>([&] { return wild[random() % 9]; }));
        const ERCpoleBezier2DR bezierCurve(poles);
        const ERCpoleNURBS2D nurbsCurve(poles, 2);
        for (const ERCpoleRep2D* curve : {static_cast<const ERCpoleRep2D*>(&bezierCurve),
                                          static_cast<const ERCpoleRep2D*>(&nurbsCurve)}) {
            ERVec<double> parameters;
            curve->ProjectPoint(ERPoint2D(0.3, 0.4), parameters, 1e300);
            curve->intersectWithAxeY(0.25, parameters);
            EXPECT_LE(parameters.length(), 100u);
            curve->arcLength(1e-3);
            curve->cordalHeight();
            EXPECT_LE(curve->approxime(ERLimites(0.0, 1e-4), 1e-3).length(), 5000u);
        }
    }
}

}  // namespace
}  // namespace kerf::test
