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

}  // namespace
}  // namespace kerf::test
