#include "kerf/surfaces/revolution.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/composite_curve.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/segment.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/offset_surface.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/values/box.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/surface_contract.h"

namespace kerf::test {
namespace {

using Curve = t_SmartPtr<ERFiniteEntity3DWF>;
using Half = t_SmartPtr<ERSurOfRevolution>;

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, 2, 2), ERPoint3D(3, -1, 2));

// The curve, given about the z axis, turned about that of a frame.
template <class Generatrix>
ERSurOfRevolution about(const ERPmIsometrie3D& frame, const Generatrix& generatrix,
                        const ERLimites& angles) {
    const Curve curve(generatrix);
    curve->transformFrom(frame);
    return ERSurOfRevolution(curve, ERInfLine3D(frame.getVector(Coord3D::CoordZ), frame.origine()),
                             angles);
}

// A cone, r = 1 + z, from z = 0 to 2.
const ERSegment3D slope({1, 0, 0}, {3, 0, 2});
const ERSurOfRevolution cone = about(tilted, slope, ERLimites(0.3, 2.9));
// A quarter of a sphere of radius 2, from its pole to the equator.
const ERArc3D meridian(ERChgRepere3D(ERVector3D(0, 0, 1), ERVector3D(1, 0, 0), ERPoint3D()), 2.0, 0,
                       pi / 2);
const ERSurOfRevolution sphere = about(tilted, meridian, ERLimites(-1, 1.5));

ERCpoleNURBS3D twisted() {
    const ERPole3DH poles[] = {
        {2, 0, 0, 1}, {3, 1, 1, 1}, {1.5, -1, 1, 0.5}, {4, 1, 3, 1}, {2, 2, 4, 1}};
    ERCpoleNURBS3D curve(ERVec<ERPole3DH>(poles, 5), 3);
    curve.reparametrize(ERLimites(-1, 4));
    return curve;
}
ERCpoleNURBS3D trimmed() {
    ERCpoleNURBS3D curve = twisted();
    curve.setBound(ERLimites(0, 3));
    return curve;
}

constexpr unsigned int revolutions = BoxIsLarge | EstimatesAreAcross | ReversingExchangesNothing;

SurfaceSample sample(const std::string& name, const ERSurOfRevolution& surface,
                     unsigned int more = NoExceptions) {
    SurfaceSample sample = surfaceSample(name, surface, revolutions | more);
    // An arc has another parameter as a NURBS curve.
    if (surface.generatrix()->isKindOf(ERArc3D::desc()) == 0)
        sample.makeNurbs = [surface] { return surface.ConvertToNurbs().getCopy(); };
    return sample;
}

INSTANTIATE_TEST_SUITE_P(
    Revolutions, SurfaceContract,
    ::testing::Values(sample("cone", cone, PartsHaveOtherParameters),
                      sample("sphere", sphere, SecondDerivativesDiffer),
                      sample("twisted", about(tilted, twisted(), ERLimites(0, twoPi))),
                      sample("trimmed", about(tilted, trimmed(), ERLimites(2, 5))),
                      sample("moreThanATurn",
                             about(ERPmIsometrie3D(), slope.ConvertToNurbs(), ERLimites(-3, 6))),
                      sample("empty", about(tilted, slope, ERLimites(1, 1)))),
    nameOfSurface);

// Oracle: what a turn about the z axis is.
TEST(SurOfRevolution, TurnsItsCurveRightHandedAboutTheAxis) {
    const ERCpoleNURBS3D curve = twisted();
    const ERSurOfRevolution surface = about(tilted, curve, ERLimites(-1, 7));
    for (const double u : {-1.0, 0.4, 4.0}) {
        for (const double v : {-1.0, 0.0, 2.0, 7.0}) {
            const ERPoint3D g = curve(u);
            const ERPoint3D turned(g.x() * std::cos(v) - g.y() * std::sin(v),
                                   g.x() * std::sin(v) + g.y() * std::cos(v), g.z());
            expectNear(surface(u, v), tilted >> turned, 1e-12);
        }
    }
    EXPECT_EQ(ERSurOfRevolution(Curve(curve), ERInfLine3D(), ERLimites(0, 1))(0.4, 0.0),
              curve(0.4));
    EXPECT_EQ(surface.getEntityIsoU(0.4)->isKindOf(ERArc3D::desc()), 1);
    EXPECT_EQ(surface.getEntityIsoV(0.4)->isKindOf(ERCpoleNURBS3D::desc()), 1);
}

TEST(SurOfRevolution, FrameLooksAtTheFirstPointOffTheAxis) {
    ERVector3D x, y;
    sphere.getVectors(x, y);
    expectNear(x, tilted.getVector(Coord3D::CoordX), 1e-12);
    expectNear(y, tilted.getVector(Coord3D::CoordY), 1e-12);
    EXPECT_EQ(sphere.getRepere3D().get_rotation_matrix().isEqual(tilted.get_rotation_matrix()), 1);
    expectNear(sphere.getRepere3D().origine(), sphere.axis().origine());
    ERPoint3D p, foot;
    double u = 0.0;
    ASSERT_EQ(sphere.getOnePointOfTheGeneratrixNotOnTheAxis(p, u, foot), 1);
    EXPECT_NEAR(u, pi / 128, 1e-12);
    EXPECT_NEAR(distance(p, foot), 2 * std::sin(u), 1e-12);

    ERSurOfRevolution mirrored(cone);
    mirrored.transformFrom(ERSymetrie3D(ERVector3D(1, -2, 0.5)));
    EXPECT_EQ(mirrored.getRepere3D().isDirect(), 1);
    mirrored.getVectors(x, y);
    expectNear(x, ERSymetrie3D(ERVector3D(1, -2, 0.5)) >> tilted.getVector(Coord3D::CoordX), 1e-12);

    const ERSurOfRevolution spindle(Curve(ERSegment3D({0, 0, 1}, {0, 0, 4})), ERInfLine3D(),
                                    ERLimites(0, 1));
    EXPECT_EQ(spindle.getOnePointOfTheGeneratrixNotOnTheAxis(p, u, foot), 0);
    spindle.getVectors(x, y);
    EXPECT_EQ(x, ERVector3D());
    EXPECT_EQ(spindle(0.5, 1), ERPoint3D(0, 0, 2.5));
    expectNear((*spindle.getEntityIsoU(0.5))(1), ERPoint3D(0, 0, 2.5));
    EXPECT_EQ(spindle.getBox().zlength(), 3.0);
    const ERSurOfRevolution unturned(Curve(slope), ERInfLine3D(ERVector3D(), ERPoint3D(1, 2, 3)),
                                     ERLimites(0, 1));
    EXPECT_EQ(unturned(0.5, 1), slope(0.5));
    EXPECT_EQ((*unturned.getEntityIsoU(0.5))(1), slope(0.5));
    EXPECT_EQ((*unturned.getEntityIsoV(1))(0.5), slope(0.5));
}

// Kept: names and parameters are crossed.
TEST(SurOfRevolution, EstimatesRunAcrossTheParameters) {
    EXPECT_NEAR(cone.upperEstimateRadius(), 3.0, 1e-12);
    EXPECT_NEAR(cone.upperEstimateInU(), 2.6 * 3.0, 1e-12);
    EXPECT_NEAR(cone.upperEstimateInV(), std::sqrt(8.0), 1e-12);
    EXPECT_EQ(about(tilted, slope, ERLimites(1, 1)).upperEstimateInU(), 0.0);
    EXPECT_NEAR(about(tilted, slope, ERLimites(2, 1)).upperEstimateInU(), 3.0, 1e-12);
    ERVec<double> jumps;
    const ERSurOfRevolution steps = about(
        tilted, ERPolyline3D(ERVec<ERPoint3D>({{1, 0, 0}, {2, 0, 0}, {2, 0, 3}})), ERLimites(0, 1));
    EXPECT_EQ(steps.GetDiscontinuitiesV(1, jumps), 1);
    ASSERT_EQ(jumps.length(), 1u);
    EXPECT_EQ(jumps[0], 1.0);
    EXPECT_EQ(steps.GetDiscontinuitiesU(1, jumps), 1);
    EXPECT_EQ(jumps.length(), 0u);
    EXPECT_EQ(steps.IsContinuous(0), 1);
    EXPECT_EQ(steps.IsContinuous(1), 0);

    // The iso curve of an offset surface has no image in a plane.
    const ERBoundedCylinder cylinder(ERPmIsometrie3D(), 2.0, ERLimites(0, 3), ERLimites(0, 1));
    const EROffsetSurface offset(cylinder, 1, ERVector3D(1, 0.1, 0));
    const ERSurOfRevolution of(offset.getEntityIsoV(0.0), ERInfLine3D(), ERLimites(0, 2));
    EXPECT_NEAR(of.upperEstimateRadius(), 3.0, 1e-12);
}

// Oracle: the surface's equation; the arcs' poles of a turn make a square about it.
TEST(SurOfRevolution, NurbsFormIsExact) {
    const ERSpoleNURBS3D form =
        CreateSurfOfRevolutionAxeZ1(slope.ConvertToNurbs(), 0.5, 0.5 + twoPi);
    EXPECT_EQ(form.getBoundU(), ERLimites(0, 1));
    EXPECT_EQ(form.vdeb(), 0.5);
    EXPECT_NEAR(form.vfin(), 0.5 + twoPi, 1e-15);
    for (int i = 0; i <= 10; ++i) {
        for (int j = 0; j <= 20; ++j) {
            const ERPoint3D p = form(i / 10.0, form.getBoundV()(j / 20.0));
            EXPECT_NEAR(std::hypot(p.x(), p.y()), 1 + p.z(), 1e-13);
            EXPECT_NEAR(p.z(), i / 5.0, 1e-13);
            if (j % 5 != 0) continue;
            EXPECT_NEAR(std::cos(std::atan2(p.y(), p.x()) - 0.5 - j * pi / 10), 1, 1e-13);
        }
    }
    const double corner = 3 * std::sqrt(2) * std::cos(pi / 4 - 0.5);
    EXPECT_NEAR(about(ERPmIsometrie3D(), slope, ERLimites(0.5, 0.5 + twoPi)).getBox().xmax(),
                corner, 1e-12);

    const ERSpoleNURBS3D down = CreateSurfOfRevolution(
        slope.ConvertToNurbs(), ERInfLine3D(ERVector3D(0, 0, -1), ERPoint3D()), 1, 0);
    EXPECT_EQ(down.getBoundV(), ERLimites(0, 1));
    expectNear(down(0, 1), {std::cos(1), -std::sin(1), 0}, 1e-13);
    for (const double end : {251 * twoPi, infinity, nan})
        EXPECT_EQ(CreateSurfOfRevolutionAxeZ1(slope.ConvertToNurbs(), 0, end).isDummy(), 1);
    EXPECT_EQ(CreateSurfOfRevolutionAxeZ1(ERCpoleNURBS3D(), 0, 1).isDummy(), 1);
    EXPECT_EQ(CreateSurfOfRevolution(slope.ConvertToNurbs(),
                                     ERInfLine3D(ERVector3D(), ERPoint3D(1, 0, 0)), 0, 1)
                  .isDummy(),
              1);
}

// Oracle: the foot on a line in the half plane of the point.
TEST(SurOfRevolution, FeetOnAConeAreThoseOfItsLine) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int draw = 0; draw < 100; ++draw) {
        SCOPED_TRACE(drawnFrom(11, draw));
        const double s = 0.1 + 0.8 * unit(random), v = 0.4 + 2.4 * unit(random);
        const double off = (unit(random) - 0.5) * 0.8;
        // The normal of the line goes outwards and down.
        const double r = 1 + 2 * s + off * std::sqrt(0.5), z = 2 * s - off * std::sqrt(0.5);
        ERPoint3D p = tilted >> ERPoint3D(r * std::cos(v), r * std::sin(v), z);
        ERPoint2D uv;
        ASSERT_EQ(cone.ProjectionNormale(p, 1.0, uv, 1), 1);
        EXPECT_NEAR(uv.x(), s, 1e-9);
        EXPECT_NEAR(uv.y(), v, 1e-9);
        ERPoint2D start(s + 0.05, v - 0.05);
        ASSERT_EQ(cone.ReajustProjection(p, start, 1), 1);
        EXPECT_NEAR(start.x(), s, 1e-9);
        expectNear(p, cone(s, v), 1e-9);
    }
    ERPoint2D uv(7, 7);
    EXPECT_EQ(cone.ProjectionNormale(tilted >> ERPoint3D(90, 0, 0), 1.0, uv, 1), 0);
    EXPECT_EQ(uv, ERPoint2D(7, 7));
}

// Oracle: the sphere. Its arc has another parameter as a NURBS curve, and a second derivative of the
// wrong sign.
TEST(SurOfRevolution, FeetAndLinesOnASphereAreFound) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int draw = 0; draw < 100; ++draw) {
        SCOPED_TRACE(drawnFrom(5, draw));
        const double u = 0.2 + 1.2 * unit(random), v = -0.9 + 2.3 * unit(random);
        const ERPoint3D centre = tilted.origine();
        const ERVector3D outwards(centre, sphere(u, v));
        ERPoint2D uv;
        ASSERT_EQ(sphere.ProjectionNormale(centre + outwards * (0.6 + unit(random)), 2.0, uv, 1),
                  1);
        EXPECT_NEAR(uv.x(), u, 1e-9);
        EXPECT_NEAR(uv.y(), v, 1e-9);
        ERRaySurfaceResult result;
        sphere.ProjectPoint(centre, outwards, result, 1);
        ASSERT_GE(result.entries(), 1u);
        EXPECT_LE(distance(result.at(0).point(), sphere(u, v)), 3e-4);
        expectNear(result.at(0).point(), sphere(result.at(0).parameter()), 1e-12);
    }
}

TEST(SurOfRevolution, HoldsACopyOfTheCurve) {
    const Curve curve(slope);
    ERSurOfRevolution surface(curve, ERInfLine3D(), ERLimites(0, 1));
    curve->translate(ERPoint3D(5, 5, 5));
    expectNear(surface(1, 0), ERPoint3D(3, 0, 2));
    // Kept: reversing leaves everything where it is.
    surface.reverse();
    expectNear(surface(1, 0), ERPoint3D(3, 0, 2));
    EXPECT_EQ(surface.getBoundV(), ERLimites(0, 1));

    Half before, after;
    ASSERT_EQ(surface.SplitInU(before, after), 1);
    expectNear(before->generatrix()->lastPt(), ERPoint3D(2, 0, 1));
    ASSERT_EQ(surface.SplitInV(before, after), 1);
    EXPECT_EQ(before->getBoundV(), ERLimites(0, 0.5));
    EXPECT_EQ(surface.SplitInV(before, after, 7), 1);
    EXPECT_EQ(after->getBoundV(), ERLimites(7, 1));
}

TEST(SurOfRevolution, IsEmptyWithoutACurve) {
    ERSurOfRevolution surface(Curve(), ERInfLine3D(), ERLimites(0, 2));
    EXPECT_EQ(surface.getBoundU(), ERLimites(0, 0));
    EXPECT_EQ(surface.getBoundV(), ERLimites(0, 2));
    EXPECT_EQ(surface(1, 2), ERPoint3D());
    EXPECT_EQ(surface.PtCur(1, 2).tangenteU(), ERVector3D());
    EXPECT_EQ(surface.getBox().invalid(), 1);
    EXPECT_TRUE(surface.getEntityIsoU(1) == nullptr && surface.getEntityIsoV(1) == nullptr);
    EXPECT_EQ(surface.ConvertToNurbs().isDummy(), 1);
    EXPECT_EQ(surface.upperEstimateInU() + surface.upperEstimateInV(), 0.0);
    t_SmartPtr<ERAnyBoundedSurface> before, after;
    EXPECT_EQ(surface.SplitInU(before, after), 0);
    ERVec<double> jumps(2, 1.0);
    EXPECT_EQ(surface.GetDiscontinuitiesV(0, jumps) + surface.IsContinuous(0), 0);
    ERPoint3D p;
    ERPoint2D uv(7, 7);
    EXPECT_EQ(surface.ProjectionNormale(p, 1.0, uv, 0), 0);
    EXPECT_EQ(surface.ReajustProjection(p, uv, 0), 0);
    EXPECT_EQ(uv, ERPoint2D(7, 7));
    ERRaySurfaceResult result;
    surface.ProjectPoint(p, result, 0);
    surface.scale(2);
    surface.transformTo(similitudes()[1]);
    surface.reverse();
    EXPECT_FALSE(printed(surface).empty());
}

}  // namespace
}  // namespace kerf::test
