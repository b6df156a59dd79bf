#include "kerf/surfaces/offset_surface.h"

#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/segment.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/surfaces/revolution.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"
#include "kerf/values/surface_info_point.h"
#include "tests/curves/curve_contract.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/surface_contract.h"

namespace kerf::test {
namespace {

// A tube about the Z axis of a frame, u along the axis and v the angle, whose normal points inwards.
ERSpoleNURBS3D tube(const ERPmIsometrie3D& frame, double radius, const ERLimites& u,
                    const ERLimites& v) {
    ERCpoleNURBS3D line =
        ERSegment3D({radius, 0, u.start()}, {radius, 0, u.end()}).ConvertToNurbs();
    line.reparametrize(u);
    ERSpoleNURBS3D surface = CreateSurfOfRevolutionAxeZ1(line, v.start(), v.end());
    surface.transformFrom(frame);
    return surface;
}

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, 2, 2), ERPoint3D(3, -1, 2));
const ERSpoleNURBS3D quarter = tube(tilted, 3, ERLimites(1, 5), ERLimites(0.2, 1.7));
const ERSpoleNURBS3D turn = tube(ERPmIsometrie3D(), 3, ERLimites(-1, 5), ERLimites(0, twoPi));

// The distance of a point from the axis of a tube.
double fromAxis(const ERPmIsometrie3D& frame, const ERPoint3D& p) {
    const ERPoint3D local = frame << p;
    return std::hypot(local.x(), local.y());
}

// At the middle of `quarter` this points outwards.
const ERVector3D outwards = tilted >> ERVector3D(std::cos(0.95), std::sin(0.95), 0.3);
const EROffsetSurface outside(quarter, 2, outwards);
const EROffsetSurface inside(quarter, 1.25, -outwards);
const EROffsetSurface twice(outside, 0.5, outwards);
const ERBoundedCylinder cylinder(tilted, 3.0, ERLimites(1, 5), ERLimites(0.2, 1.7));
const EROffsetSurface wholeTurn(turn, 0.5, ERVector3D(-1, 0.1, 0));

constexpr unsigned int offsets =
    DerivativesAreOfTheBase | BoxIsOfSamples | EstimatesAreAcross | NoFoot | NoRay;

INSTANTIATE_TEST_SUITE_P(
    Offsets, SurfaceContract,
    ::testing::Values(surfaceSample("outside", outside, offsets),
                      surfaceSample("inside", inside, offsets),
                      surfaceSample("ofAnOffset", twice, offsets),
                      surfaceSample("wholeTurn", wholeTurn, offsets | BoxIsLarge),
                      surfaceSample("leftHanded",
                                    EROffsetSurface(tube(tilted* ERSymetrie3D(Coord3D::CoordX), 2,
                                                         ERLimites(0, 2), ERLimites(0, 1)),
                                                    1, ERVector3D(1, 2, 1)),
                                    offsets)),
    nameOfSurface);

SpaceCurveSample isoSample(const std::string& name, const t_SmartPtr<ERFiniteEntity3DWF>& curve,
                           unsigned int exceptions) {
    return {name, [curve] { return ERFiniteEntity3DWF::castdown(curve->getCopy()); }, exceptions};
}

constexpr unsigned int isoCurves =
    FirstDerivativeDiffers | ReversingDoesNothing | BoxIsOfPoints | ProjectionIsAnotherKind;

INSTANTIATE_TEST_SUITE_P(
    OffsetIsoCurves, SpaceCurveContract,
    ::testing::Values(isoSample("around", outside.getEntityIsoU(2.5), isoCurves),
                      isoSample("straight", inside.getEntityIsoV(0.7), isoCurves),
                      isoSample("wholeTurn", wholeTurn.getEntityIsoU(0.0), isoCurves)),
    nameOfSample<SpaceCurveSample>);

// Oracle: an offset cylinder is a cylinder.
TEST(OffsetSurface, LiesAtItsDistanceOnTheSideOfTheIndicator) {
    const struct {
        double distance;
        ERVector3D indicator;
        double radius;
        bool turned;  // against the base's normal, which points inwards
    } cases[] = {{2, outwards, 5, true},
                 {2, -outwards, 1, false},
                 {-2, outwards, 1, true},
                 {4, -outwards, 1, false},  // through the axis
                 {0, outwards, 3, true}};
    for (const auto& c : cases) {
        const EROffsetSurface surface(quarter, c.distance, c.indicator);
        EXPECT_EQ(surface.getOffsetIndicator(), c.turned ? -c.indicator : c.indicator);
        for (const double u : {1.0, 3.3, 5.0})
            for (const double v : {0.2, 1.1, 1.7})
                EXPECT_NEAR(fromAxis(tilted, surface(u, v)), c.radius, 1e-13);
    }
    const ERVector3D square = tilted >> ERVector3D(0, 0, 1);
    EXPECT_EQ(EROffsetSurface(quarter, 2, ERVector3D()).getOffsetIndicator(), ERVector3D());
    EXPECT_NEAR(fromAxis(tilted, EROffsetSurface(quarter, 2, ERVector3D())(1, 1)), 1.0, 1e-13);
    EXPECT_NEAR(std::fabs(EROffsetSurface(quarter, 2, square).getOffsetIndicator() * square), 1.0,
                1e-13);
}

TEST(OffsetSurface, DerivativesAreThoseOfTheBase) {
    const ERInfoPoint3DSurf of = outside.PtCur(2, 1), base = quarter.PtCur(2, 1);
    ERMatrix<ERPoint3D> table = of.derivatives();
    table(0, 0) = base.point();
    EXPECT_EQ(table, base.derivatives());
    expectNear(of.point(), base.point() - 2.0 * base.normale(), 1e-13);
    const t_SmartPtr<ERFiniteEntity3DWF> around = outside.getEntityIsoU(2);
    EXPECT_EQ(around->PtCur(1).tangente(), base.tangenteV());
    EXPECT_EQ(around->PtCur(1).secondDerivative(), base.derivatives()(2, 0).asVector3D());
    EXPECT_EQ(outside.upperEstimateInU(), quarter.upperEstimateInU());
    EXPECT_EQ(outside.upperEstimateInV(), quarter.upperEstimateInV());
    EXPECT_EQ(outside.IsContinuous(0), quarter.IsContinuous(0));
    ERVec<double> jumps, jumpsOfBase;
    wholeTurn.GetDiscontinuitiesV(1, jumps);
    turn.GetDiscontinuitiesV(1, jumpsOfBase);
    EXPECT_EQ(jumps, jumpsOfBase);
    EXPECT_GT(jumps.length(), 0u);
}

// Ten points of a turn lie 40 degrees apart: none at 90, 180 or 270 degrees.
TEST(OffsetSurface, BoxIsThatOfTenByTenPoints) {
    const ERBoundedCylinder whole(ERPmIsometrie3D(), 3, ERLimites(-1, 5), ERLimites(0, twoPi));
    const ERMinimax3D box = EROffsetSurface(whole, 0.5, ERVector3D(-1, 0.1, 0)).getBox();
    const double r = 3.5, degree = pi / 180;
    EXPECT_NEAR(box.xmax(), r, 1e-13);
    EXPECT_NEAR(box.xmin(), -r * std::cos(20 * degree), 1e-13);
    EXPECT_NEAR(box.ymax(), r * std::sin(80 * degree), 1e-13);
    EXPECT_NEAR(box.zmin(), -1.0, 1e-13);
}

TEST(OffsetSurface, SharesABaseOnTheHeapAndCopiesAnother) {
    const t_SmartPtr<ERSpoleNURBS3D> base(new ERSpoleNURBS3D(quarter));
    EROffsetSurface shared(base.getObject(), 2, outwards);
    EROffsetSurface own(*base, 2, outwards);
    EXPECT_EQ(shared.getBaseSurface(), base.getObject());
    EXPECT_EQ(shared.getEquivSurface(17.0), base.getObject());
    EXPECT_FALSE(own.getBaseSurface() == base.getObject());

    const t_SmartPtr<ERFiniteEntity3DWF> seen = shared.getEntityIsoU(2);
    const t_SmartPtr<ERFiniteEntity3DWF> moved = shared.getEntityIsoU(2);
    const EROffsetSurface copy(shared);
    const ERPoint3D before = shared(2, 1), by(1, 2, 3);
    moved->translate(by);
    EXPECT_EQ(shared(2, 1), before);
    shared.translate(by);
    expectNear(shared(2, 1), before + by, 1e-13);
    expectNear((*base)(2, 1), quarter(2, 1) + by, 1e-13);
    expectNear((*seen)(1), before + by, 1e-13);
    expectNear((*moved)(1), before + by, 1e-13);
    EXPECT_EQ(copy(2, 1), before);
    EXPECT_EQ(own(2, 1), before);
}

// Kept: the distance changes its sign, but not the normals of a cylinder.
TEST(OffsetSurface, ReversingOverACylinderGoesToTheOtherSide) {
    EROffsetSurface surface(cylinder, 2, outwards);
    surface.getMatricePoint(4, 3);
    surface.reverse();
    EXPECT_NEAR(fromAxis(tilted, surface(2, 1)), 1.0, 1e-13);
    EXPECT_NEAR(fromAxis(tilted, surface.getMatricePoint(4, 3)(1, 2)), 1.0, 1e-13);
    EXPECT_EQ(surface.getOffsetIndicator(), outwards);
}

// The height of a cylinder is a length, and moves with it.
TEST(OffsetSurface, IsoCurvesMoveWithTheRangesOfTheirBase) {
    const EROffsetSurface surface(cylinder, 2, outwards);
    for (const ERPmSimilitude3D& t : similitudes()) {
        const t_SmartPtr<ERFiniteEntity3DWF> around = surface.getEntityIsoU(2.5);
        const t_SmartPtr<ERFiniteEntity3DWF> along = surface.getEntityIsoV(1.1);
        around->transformFrom(t);
        along->transformTo(t);
        for (const double s : {0.0, 0.3, 1.0}) {
            expectNear((*around)(around->getBound()(s)), t >> surface(2.5, surface.getBoundV()(s)),
                       1e-12);
            expectNear((*along)(along->getBound()(s)), t << surface(surface.getBoundU()(s), 1.1),
                       1e-12);
        }
    }
    // Kept: a negative factor turns the cylinder's normals over, and the distance changes its sign.
    EROffsetSurface scaled(surface);
    scaled.getMatricePoint(4, 3);
    scaled.scale(-2);
    const ERPmIsometrie3D frame = ERTranslation3D(tilted.origine() * -3.0) * tilted;
    EXPECT_NEAR(fromAxis(frame, scaled(scaled.udeb(), 1)), 2.0, 1e-12);
    EXPECT_NEAR(fromAxis(frame, scaled.getMatricePoint(4, 3)(2, 1)), 2.0, 1e-12);
}

// Where the line through p along Z meets the cylinder of that radius about the axis of the frame
// within the ranges of the tube, by the quadratic equation.
std::vector<double> heightsOnCylinder(const ERPmIsometrie3D& frame, double r, const ERLimites& u,
                                      const ERLimites& v, const ERPoint3D& p) {
    const ERPoint3D o = frame << ERPoint3D(p.x(), p.y(), 0);
    const ERVector3D d = frame << ERVector3D(0, 0, 1);
    const double a = d.i() * d.i() + d.j() * d.j(), b = o.x() * d.i() + o.y() * d.j();
    const double c = o.x() * o.x() + o.y() * o.y() - r * r, root = b * b - a * c;
    std::vector<double> heights;
    if (root <= 0.0) return heights;
    for (const double z : {(-b - std::sqrt(root)) / a, (-b + std::sqrt(root)) / a}) {
        const ERPoint3D q = o + d * z;
        double angle = std::atan2(q.y(), q.x());
        if (angle < 0) angle += twoPi;
        if (u.inBound(q.z()) && v.inBound(angle)) heights.push_back(z);
    }
    return heights;
}

TEST(OffsetSurface, LinesAlongZMeetItWhereTheyMeetTheCylinder) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> unit(-1, 1);
    int met = 0;
    for (int draw = 0; draw < 150; ++draw) {
        SCOPED_TRACE(drawnFrom(7, draw));
        const auto any = [&] { return ERVector3D(unit(random), unit(random), unit(random)); };
        const ERPmIsometrie3D frame = ERChgRepere3D(any(), any(), ERPoint3D(any() * 5.0));
        const ERLimites u(0, 6), v(0.5, 5.5);
        const EROffsetSurface surface(tube(frame, 2, u, v), 0.7,
                                      frame >> ERVector3D(std::cos(3.0), std::sin(3.0), 0));
        const ERPoint3D p = (frame >> ERPoint3D(0, 0, 3)) + any() * 3.0;
        const std::vector<double> expected = heightsOnCylinder(frame, 2.7, u, v, p);
        ERRaySurfaceResult result;
        surface.ProjectPoint(p, result, 0);
        ASSERT_EQ(result.entries(), expected.size());
        for (unsigned int i = 0; i < result.entries(); ++i) {
            const ERInfoPoint3DSurf& found = result.at(i);
            double nearest = infinity;
            for (const double z : expected)
                nearest = std::min(nearest, distance(found.point(), {p.x(), p.y(), z}));
            EXPECT_LE(nearest, 1e-8);
            EXPECT_EQ(found.point(), surface.PtCur(found.parameter()).point());
        }
        met += static_cast<int>(expected.size());
    }
    EXPECT_GT(met, 60);
    ERRaySurfaceResult none;
    outside.ProjectPoint(outside(2, 1), ERVector3D(0, 0, 1), none, 0);
    EXPECT_EQ(none.entries(), 0u);
}

// Seen edge on, every part in the direction of view lies under the line.
TEST(OffsetSurface, LinesWithinTheSurfaceEnd) {
    const ERLimites v(0, 3);
    const ERVector3D sideways(0, 1, 0);
    const EROffsetSurface wall(ERBoundedCylinder(ERPmIsometrie3D(), 1e7, ERLimites(0, 1e8), v), 1,
                               sideways);
    ERRaySurfaceResult result;
    wall.ProjectPoint(wall(3, 1.3), result, 0);
    EXPECT_EQ(result.entries(), 0u);
    const EROffsetSurface huge(ERBoundedCylinder(ERPmIsometrie3D(), 1e300, ERLimites(0, 1e300), v),
                               1, sideways);
    huge.ProjectPoint(ERPoint3D(1e300, 0, 0), result, 0);
}

TEST(OffsetSurface, IsEmptyWithoutABase) {
    EROffsetSurface surface(static_cast<ERAnyBoundedSurface*>(nullptr), 2, outwards);
    EXPECT_EQ(surface.getBaseSurface(), nullptr);
    EXPECT_EQ(surface.getBoundU(), ERLimites(0, 0));
    EXPECT_EQ(surface(1, 2), ERPoint3D());
    EXPECT_EQ(surface.PtCur(1, 2).normale(), ERVector3D());
    EXPECT_EQ(surface.getBox().invalid(), 1);
    EXPECT_TRUE(surface.getEntityIsoU(1) == nullptr && surface.getEntityIsoV(1) == nullptr);
    EXPECT_EQ(surface.getMatricePoint(2, 2)(1, 1), ERPoint3D());
    t_SmartPtr<ERAnyBoundedSurface> before, after;
    EXPECT_EQ(surface.SplitInU(before, after) + surface.SplitInV(before, after), 0);
    ERVec<double> jumps(2, 1.0);
    EXPECT_EQ(surface.GetDiscontinuitiesU(0, jumps) + surface.IsContinuous(0), 0);
    EXPECT_EQ(surface.upperEstimateInU() + surface.upperEstimateInV(), 0.0);
    ERRaySurfaceResult result;
    surface.ProjectPoint(ERPoint3D(), result, 0);
    surface.scale(2);
    surface.transformTo(similitudes()[1]);
    surface.reverse();
    EXPECT_FALSE(printed(surface).empty());

    EROffsetSurfaceIsoParam curve;
    EXPECT_EQ(curve(0.5), ERPoint3D());
    EXPECT_EQ(curve.PtCur(0.5).tangente(), ERVector3D());
    EXPECT_EQ(curve.getBox().invalid(), 1);
    EXPECT_EQ(curve.arcLength(1e-3), 0.0);
    EXPECT_EQ(curve.ConvertToNurbs().nbPoles(), 0u);
    t_SmartPtr<ERFiniteEntity3DWF> left, right;
    EXPECT_EQ(curve.splitAt(left, right, 0.0), 0);
    curve.translate(ERPoint3D(1, 1, 1));
    EXPECT_FALSE(printed(curve).empty());
}

int depthOf(const EROffsetSurface* surface) {
    int depth = 0;
    for (; surface != nullptr; ++depth) {
        const t_SmartPtr<ERAnyBoundedSurface> base = surface->getBaseSurface();
        surface = dynamic_cast<const EROffsetSurface*>(base.getObject());
    }
    return depth;
}

TEST(OffsetSurface, RestoredSurfacesNestAHundredDeep) {
    const TemporaryFile place;
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    t_SmartPtr<ERAnyBoundedSurface> chain(new ERSpoleNURBS3D(quarter));
    for (int i = 0; i < 130; ++i) chain = new EROffsetSurface(chain.getObject(), 0.01, outwards);
    ASSERT_NE(chain->Save(&base), 0);
    const t_SmartPtr<ERObject> restored = base.RetrieveAndCreate(chain->getObjectID());
    EXPECT_EQ(depthOf(EROffsetSurface::castdown(restored.getObject())), 100);
}

TEST(OffsetSurface, ARecordThatRefersToItselfHasNoBase) {
    const TemporaryFile place;
    const double mark = 0.1234567890123;
    ERLong own = -1, part = -1;
    {
        ERObjectDataBase base;
        ASSERT_EQ(base.Open(place.path(), 0), 1);
        EROffsetSurface surface(quarter, mark, -outwards);
        ASSERT_NE(surface.Save(&base), 0);
        own = surface.getObjectID();
        part = surface.getBaseSurface()->getObjectID();
        base.Close();
    }
    std::string bytes = place.bytes();
    const auto raw = [](auto value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const std::size_t at = bytes.find(raw(part) + raw(mark));
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at, 4, raw(own));
    place.setBytes(bytes);
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    const t_SmartPtr<ERObject> restored = base.RetrieveAndCreate(own);
    const EROffsetSurface* const surface = EROffsetSurface::castdown(restored.getObject());
    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->getBaseSurface(), nullptr);
}

}  // namespace
}  // namespace kerf::test
