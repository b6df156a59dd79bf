#include "kerf/curves/bezier_curve.h"

#include "kerf/curves/nurbs_curve.h"
#include "tests/curves/curve_contract.h"
#include "tests/values/value_checks.h"

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
template <class Plane, class InSpace, class Lift>
ERVec<InSpace> lifted(const ERVec<Plane>& poles, Lift lift) {
    ERVec<InSpace> images;
    for (unsigned int i = 0; i < poles.length(); ++i) images.append(lift(poles[i], 0.5 * i));
    return images;
}
ERVec<ERPoint3D> spacePoles() {
    return lifted<ERPoint2D, ERPoint3D>(planePoles(), [](const ERPoint2D& p, double z) {
        return p.castToPoint3D(Coord3D::CoordZ, z * z);
    });
}
ERVec<ERPole3DH> weightedSpacePoles() {
    return lifted<ERPole2DH, ERPole3DH>(weightedPlanePoles(), [](const ERPole2DH& p, double z) {
        return p.castToPole3D(Coord3D::CoordZ, z * z * p.weigth());
    });
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
constexpr unsigned int nurbs = BoxIsLoose;

std::vector<PlaneCurveSample> planeCurves() {
    return {
        sampleOf<Space2D>("Bezier", ERCpoleBezier2D(planePoles()), BoxIsLoose),
        sampleOf<Space2D>("BezierOnADomain", ERCpoleBezier2D(planePoles(), natural), bezier),
        sampleOf<Space2D>("TrimmedBezier", ERCpoleBezier2D(planePoles(), natural, trim), bezier),
        sampleOf<Space2D>("RationalBezier", ERCpoleBezier2DR(weightedPlanePoles()), BoxIsLoose),
        sampleOf<Space2D>("TrimmedRationalBezier",
                          ERCpoleBezier2DR(weightedPlanePoles(), natural, trim), bezier),
        sampleOf<Space2D>("Nurbs", ERCpoleNURBS2D(weightedPlanePoles(), cubicKnots()), nurbs),
        sampleOf<Space2D>("TrimmedNurbs", ERCpoleNURBS2D(weightedPlanePoles(), cubicKnots(), trim),
                          nurbs),
        sampleOf<Space2D>("UnclampedNurbs", ERCpoleNURBS2D(weightedPlanePoles(), openKnots()),
                          nurbs),
        sampleOf<Space2D>("TrimmedUnclampedNurbs",
                          ERCpoleNURBS2D(weightedPlanePoles(), openKnots(), ERLimites(2.5, 4.25)),
                          nurbs),
        sampleOf<Space2D>("QuarticNurbs", ERCpoleNURBS2D(weightedPlanePoles()), nurbs),
        sampleOf<Space2D>("QuadraticNurbs", ERCpoleNURBS2D(weightedPlanePoles(), 2), nurbs),
    };
}
std::vector<SpaceCurveSample> spaceCurves() {
    return {
        sampleOf<Space3D>("Bezier", ERCpoleBezier3D(spacePoles()), BoxIsLoose),
        sampleOf<Space3D>("TrimmedBezier", ERCpoleBezier3D(spacePoles(), natural, trim), bezier),
        sampleOf<Space3D>("TrimmedRationalBezier",
                          ERCpoleBezier3DR(weightedSpacePoles(), natural, trim), bezier),
        sampleOf<Space3D>("Nurbs", ERCpoleNURBS3D(weightedSpacePoles(), cubicKnots()), nurbs),
        sampleOf<Space3D>("TrimmedNurbs", ERCpoleNURBS3D(weightedSpacePoles(), cubicKnots(), trim),
                          nurbs),
    };
}

INSTANTIATE_TEST_SUITE_P(Poles, PlaneCurveContract, ::testing::ValuesIn(planeCurves()),
                         nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(Poles, SpaceCurveContract, ::testing::ValuesIn(spaceCurves()),
                         nameOfSample<SpaceCurveSample>);

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

TEST(NurbsJoining, AppendedCurveFollowsOnTheSameParameters) {
    const ERCpoleNURBS2D first = curveFrom({0, 0}, {3, 1}, 2),
                         second = curveFrom({3, 1}, {7, 0}, 3);
    ERCpoleNURBS2D joined = first;
    ASSERT_EQ(joined.append(second, 1e-9, 0), 1);
    EXPECT_EQ(joined.getBound(), ERLimites(0.0, 2.0));
    EXPECT_EQ(joined.degree(), 3u);
    expectTraces(joined, first, 0.0);
    expectTraces(joined, second, 1.0);
    EXPECT_TRUE(joined.knotVector().fits(joined.nbPoles()));
}

TEST(NurbsJoining, CurveThatEndsHereIsTurnedOver) {
    const ERCpoleNURBS2D first = curveFrom({0, 0}, {3, 1}, 2),
                         second = curveFrom({7, 0}, {3, 1}, 2);
    ERCpoleNURBS2D joined = first;
    ASSERT_EQ(joined.append(second, 1e-9, 0), 1);
    ERCpoleNURBS2D turned = second;
    turned.reverse();
    expectTraces(joined, turned, 1.0);
}

TEST(NurbsJoining, PrependedCurveMovesTheStartOfTheDomain) {
    const ERCpoleNURBS2D first = curveFrom({0, 0}, {3, 1}, 3),
                         second = curveFrom({3, 1}, {7, 0}, 2);
    ERCpoleNURBS2D joined = second;
    ASSERT_EQ(joined.prepend(first, 1e-9, 0), 1);
    EXPECT_EQ(joined.getBound(), ERLimites(-1.0, 1.0));
    expectTraces(joined, first, -1.0);
    expectTraces(joined, second, 0.0);
    ERCpoleNURBS2D merged = second;
    EXPECT_EQ(merged.merge(first, 1e-9, 0), 1);
    EXPECT_EQ(merged.poles(), joined.poles());
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
    for (const PlaneCurveSample& sample : planeCurves()) {
        const t_SmartPtr<ERFiniteEntity2DWF> curve(sample.make());
        EXPECT_EQ(curve->PtCur(2.75).parameter(), 2.75) << sample.name;
    }
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

}  // namespace
}  // namespace kerf::test
