#include "kerf/surfaces/trimmed_surface.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polyline.h"
#include "kerf/curves/segment.h"
#include "kerf/processing/region.h"
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/mesh_sink.h"
#include "kerf/surfaces/nurbs_surface.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/surfaces/revolution.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/object_checks.h"
#include "tests/surfaces/surface_contract.h"

namespace kerf::test {
namespace {

using Side = ERSurfaceBoundary::Side;

ERPolyline2D polyline(const std::vector<ERPoint2D>& points) {
    return ERPolyline2D(vectorOf(points));
}

ERPolyline2D box(double left, double right, double low, double high) {
    return polyline({{left, low}, {right, low}, {right, high}, {left, high}, {left, low}});
}

ERArc2D circle(const ERPoint2D& centre, double radius) { return {centre, radius, 0, twoPi}; }

ERTrimmedSurface trimmed(const ERAnyBoundedSurface& base, const ERFiniteEntity2DWF& outer,
                         const ERFiniteEntity2DWF& hole) {
    ERTrimmedSurface surface(base);
    surface.addBound(hole, Side::Inner);
    surface.addBound(outer, Side::Outer);
    return surface;
}

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, 2, 2), ERPoint3D(3, -1, 2));

// A wedge of a cone, u along it.
ERSpoleNURBS3D wedge() {
    ERCpoleNURBS3D line = ERSegment3D({3, 0, 1}, {2, 0, 6}).ConvertToNurbs();
    line.reparametrize(ERLimites(1, 6));
    ERSpoleNURBS3D surface = CreateSurfOfRevolutionAxeZ1(line, 0.2, 1.7);
    surface.transformFrom(tilted);
    return surface;
}

ERSpoleBezier3D saddle() {
    ERMatrix<ERPoint3D> poles(3, 3);
    for (unsigned int i = 0; i < 3; ++i)
        for (unsigned int j = 0; j < 3; ++j)
            poles(i, j) = ERPoint3D(2.0 * i, 2.0 * j, 0.5 * (i - 1.0) * (j - 1.0));
    return ERSpoleBezier3D(poles);
}

const ERSpoleNURBS3D nurbs = wedge();
const ERBoundedPlane plane(tilted, ERLimites(-5, 5), ERLimites(-4, 4));
const ERBoundedCylinder cylinder(tilted, 2, ERLimites(-5, 5), ERLimites(-2, 4));
const ERTrimmedSurface ring = trimmed(plane, circle({0, 0}, 3), box(-1, 1, -1, 1));

std::vector<SurfaceSample> samples() {
    constexpr unsigned int whole = IsNotSplit | ReversingExchangesNothing | BoxIsLarge;
    constexpr unsigned int part = whole | IsoCurvesAreLonger;
    ERTrimmedSurface holes(nurbs);
    holes.addBound(circle({2, 0.6}, 0.2), Side::Inner);
    const ERArc2D outer = circle({3.5, 0.95}, 0.7), small = circle({3.5, 0.95}, 0.1);
    const ERTrimmedSurface twice =
        trimmed(trimmed(nurbs, outer, small), circle({3.4, 0.9}, 0.6), circle({3.5, 1}, 0.1));
    return {
        surfaceSample("Untrimmed", ERTrimmedSurface(nurbs), whole),
        surfaceSample("UntrimmedPlane", ERTrimmedSurface(plane), whole | NoRay),
        surfaceSample("HolesAlone", holes, part),
        surfaceSample("Ring", trimmed(nurbs, outer, small), part),
        surfaceSample("TrimmedTwice", twice, part),
        surfaceSample("BezierOfTheUnitSquare",
                      trimmed(saddle(), circle({0.6, 0.5}, 0.3), circle({0.6, 0.5}, 0.05)), part),
        surfaceSample("PartOfASphere",
                      trimmed(ERBoundedSphere(tilted, 2, ERLimites(0.3, 2.5), ERLimites(-0.5, 1.2)),
                              circle({1.4, 0.3}, 0.7), circle({1.4, 0.3}, 0.05)),
                      part | EstimatesAreAcross | NoRay),
        surfaceSample("Flat", ERTrimmedSurface(tilted, circle({1, 2}, 3).getCopy()), part),
    };
}

INSTANTIATE_TEST_SUITE_P(Trimmed, SurfaceContract, ::testing::ValuesIn(samples()), nameOfSurface);

class Net : public ERProcessMaillage {
public:
    explicit Net(unsigned int intervals, double tol = 1e-4) {
        nbIsoU = nbIsoV = intervals;
        tolerance = tol;
    }
    void addPolyline(const ERVec<ERPoint3D>& points) override { lines.push_back(points); }
    double length() const {
        double sum = 0.0;
        for (const ERVec<ERPoint3D>& line : lines)
            for (unsigned int i = 1; i < line.length(); ++i) sum += distance(line[i - 1], line[i]);
        return sum;
    }
    std::vector<ERVec<ERPoint3D>> lines;
};

TEST(TrimmedSurface, WithoutBaseIsNothing) {
    const CurrentDatabase forParts;
    ERTrimmedSurface none(static_cast<ERAnyBoundedSurface*>(nullptr)), restored;
    restoreFrom(recordOf(ERTrimmedSurface()), restored);
    ERTrimmedSurface bounded;
    EXPECT_EQ(bounded.addBound(circle({0, 0}, 1), Side::Outer), 1);
    const ERTrimmedSurface null(tilted, nullptr), reset(tilted, new ERPolyline2D);
    EXPECT_EQ(ERTrimmedSurface().udeb(), largest);
    EXPECT_EQ(ERTrimmedSurface().vfin(), -largest);
    for (const ERTrimmedSurface* const surface : std::initializer_list<const ERTrimmedSurface*>{
             &none, &restored, &bounded, &null, &reset}) {
        ERTrimmedSurface copy(*surface);
        EXPECT_EQ(copy(0.5, 0.5), ERPoint3D());
        EXPECT_EQ(copy.PtCur(0.5, 0.5).normale(), ERVector3D());
        EXPECT_EQ(copy.randomPoint().point(), ERPoint3D());
        EXPECT_EQ(copy.getBox().invalid(), 1);
        EXPECT_TRUE(copy.getEntityIsoU(0) == nullptr && copy.getEntityIsoV(0) == nullptr);
        EXPECT_EQ(copy.isInBound(ERPoint2D(0, 0)), 0);
        EXPECT_EQ(copy.upperEstimateInU() + copy.upperEstimateInV(), 0.0);
        EXPECT_EQ(copy.getMatricePoint(2, 2)(1, 1), ERPoint3D());
        ERVec<double> jumps(2);
        EXPECT_EQ(copy.GetDiscontinuitiesU(1, jumps) + copy.IsContinuous(0), 0);
        int inU = 5, inV = 5;
        copy.GetNumberOfSpans(inU, inV);
        EXPECT_EQ(inU + inV, 0);
        Net net(2);
        copy.tessalate(net);
        EXPECT_EQ(net.lines.size(), 0u);
        ERPoint2D uv;
        ERPoint3D p;
        ERRaySurfaceResult result;
        copy.ProjectPoint(p, result, 1);
        copy.ProjectPoint(p, ERVector3D(0, 0, 1), result, 1);
        EXPECT_EQ(copy.ProjectionNormale(p, 1, uv, 1) + copy.ReajustProjection(p, uv, 1), 0);
        copy.scale(2);
        copy.transformFrom(tilted);
        EXPECT_FALSE(printed(copy).empty());
    }
}

TEST(TrimmedSurface, BoundariesAreTakenBySide) {
    ERTrimmedSurface surface(plane);
    const auto range = [&] {
        return std::array{surface.udeb(), surface.ufin(), surface.vdeb(), surface.vfin()};
    };
    EXPECT_EQ(range(), (std::array{-5.0, 5.0, -4.0, 4.0}));
    surface.getMatricePoint(3, 3);
    EXPECT_EQ(surface.addBound(box(0, 1, 0, 1), Side::Inner), 1);
    EXPECT_EQ(range(), (std::array{-5.0, 5.0, -4.0, 4.0}));
    EXPECT_EQ(surface.isOutTrimmed(), 0);
    EXPECT_TRUE(surface.getOutBnd() == nullptr);
    EXPECT_EQ(surface.addBound(box(-2, 3, -1, 2), Side::Outer), 1);
    EXPECT_EQ(range(), (std::array{-2.0, 3.0, -1.0, 2.0}));
    expectNear(surface.getMatricePoint(3, 3)(2, 1), plane(3, 0.5));
    EXPECT_EQ(surface.addBound(box(-3, 3, -3, 3), Side::Outer), 0);
    EXPECT_EQ(surface.addBound(box(-3, 3, -3, 3), static_cast<Side>(3)), 0);
    EXPECT_EQ(surface.addBound(nullptr, Side::Inner), 0);
    EXPECT_EQ(range(), (std::array{-2.0, 3.0, -1.0, 2.0}));
    EXPECT_EQ(surface.nbBounds(), 2u);
    EXPECT_EQ(surface.getBoundIterator()->getObject(), surface.getOutBnd().getObject());
    EXPECT_EQ(surface.getInBnd(0)->getBox().xmax(), 1);
    EXPECT_TRUE(surface.getInBnd(1) == nullptr);
    EXPECT_EQ(surface.isInBound(ERPoint2D(2.5, 0.5)), 1);
    // Kept: one without side is never refused, and is a hole beside the first.
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(surface.addBound(box(2, 4 + i, 0, 1), Side::Undecided), 1);
    EXPECT_EQ(range(), (std::array{2.0, 5.0, 0.0, 1.0}));
    EXPECT_EQ(surface.getNbInBnd(), 3u);
    EXPECT_EQ(surface.getBoundList().last()->getSide(), Side::Outer);
    EXPECT_EQ(surface.getOutBnd()->getBox().xmin(), -2);
    EXPECT_EQ(surface.isInBound(ERPoint2D(2.5, 0.5)), 0);
    EXPECT_EQ(surface.isInBound(ERPoint2D(2.5, 1.5)), 1);
}

TEST(TrimmedSurface, FollowsAChangedBoundaryWhenCleanedUp) {
    ERTrimmedSurface surface(ring);
    EXPECT_EQ(surface.isInBound(ERPoint2D(0, 0)), 0);
    const t_SmartPtr<ERRegion2D> held(surface.GetRegion());
    surface.getInBnd(0)->translate(ERPoint2D(1.5, 0));
    EXPECT_EQ(surface.isInBound(ERPoint2D(0, 0)), 0);
    surface.CleanUpTemporaries(-1);
    EXPECT_EQ(surface.isInBound(ERPoint2D(0, 0)), 1);
    EXPECT_EQ(surface.isInBound(ERPoint2D(2, 0)), 0);
    int contour = 0;
    EXPECT_EQ(held->CheckPoint(ERPoint2D(0, 0), contour), OutOfRegion);
    EXPECT_EQ(contour, 1);
}

// Oracle: distances from circles and boxes, in the parameter plane.
TEST(TrimmedSurface, HoldsWhatLiesInTheOuterBoundaryAndInNoHole) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> at(-7, 7);
    ERTrimmedSurface large = trimmed(plane, circle({1, 0}, 5.5), box(-1, 2, -3, 0));
    large.addBound(circle({3, 2}, 1.25), Side::Inner);
    ERTrimmedSurface fine(large), holes(plane);
    for (const auto& boundary : fine.getBoundList()) boundary->getBound2DasPolyline(1e-9);
    holes.addBound(box(-1, 2, -3, 0), Side::Inner);
    holes.addBound(circle({3, 2}, 1.25), Side::Inner);
    for (int draw = 0; draw < 4000; ++draw) {
        SCOPED_TRACE(drawnFrom(11, draw));
        const ERPoint2D uv(at(random), at(random));
        const bool inBase = std::fabs(uv.x()) <= 5 && std::fabs(uv.y()) <= 4;
        const double fromOuter = 5.5 - distance(uv, ERPoint2D(1, 0));
        const double fromHole = distance(uv, ERPoint2D(3, 2)) - 1.25;
        const bool inBox = -1 <= uv.x() && uv.x() <= 2 && -3 <= uv.y() && uv.y() <= 0;
        const bool inHoles = inBase && !inBox && fromHole > 0;
        EXPECT_EQ(fine.isInBound(uv), inHoles && fromOuter > 0);
        if (std::fabs(fromHole) < 1e-4) continue;
        EXPECT_EQ(holes.isInBound(uv), inHoles);
        // The tolerance of its own is a ten-thousandth of the largest extent of the plane's box.
        if (std::fabs(fromOuter) < 1e-3) continue;
        EXPECT_EQ(large.isInBound(uv), inHoles && fromOuter > 0);
    }
    EXPECT_EQ(ring.isInBound(ERPoint2D(1, 0.5)), 1);  // on the border of the hole
    EXPECT_EQ(ring.isInBound(ERPoint2D(nan, 0)), 0);
    const ERTrimmedSurface whole(plane);
    EXPECT_EQ(whole.isInBound(ERPoint2D(5, -4)), 1);
    EXPECT_EQ(whole.isInBound(ERPoint2D(5.000001, 0)), 0);

    EXPECT_EQ(whole.PositionFenetre(ERMinimax2D(0, 1, 0, 1)), PolygonPartly);
    EXPECT_EQ(ring.PositionFenetre(ERMinimax2D(1.5, 1.7, 0, 1)), PolygonInside);
    EXPECT_EQ(ring.PositionFenetre(ERMinimax2D(-0.5, 0.5, 0, 0.5)), PolygonOutside);
    EXPECT_EQ(ring.PositionFenetre(ERMinimax2D(3, 4, 3, 4)), PolygonOutside);
    EXPECT_EQ(ring.PositionFenetre(ERMinimax2D(0, 2, 0, 2)), PolygonCrossing);
    EXPECT_EQ(ring.PositionFenetre(ERMinimax2D(-9, 9, -9, 9)), PolygonPartly);
    EXPECT_EQ(ring.GetRegion()->entries(), 2u);
    EXPECT_EQ(ring.GetRegion()->IsFirstOuter(), 1);
}

// Oracle: the chords of the circle less those of the box, as lengths on plane and cylinder.
TEST(TrimmedSurface, NetIsOfTheSlicesInTheRegion) {
    const auto chord = [](double r, double at) {
        return std::fabs(at) < r ? 2 * std::sqrt(r * r - at * at) : 0.0;
    };
    const ERArc2D outer = circle({0, 0}, 3);
    const ERTrimmedSurface around = trimmed(cylinder, outer, box(-1, 1, -1, 1));
    const double radii[] = {1, 2};  // of the way along v
    for (int k = 0; k < 2; ++k) {
        ERTrimmedSurface surface = k == 0 ? ring : around;
        for (const auto& boundary : surface.getBoundList()) boundary->getBound2DasPolyline(1e-7);
        for (const unsigned int intervals : {0u, 1u, 4u, 7u}) {
            SCOPED_TRACE(intervals);
            Net net(intervals, 1e-7);
            surface.tessalate(net);
            double expected = 0.0;
            for (const auto& boundary : surface.getBoundList()) {
                const ERVec<ERPoint3D> line = boundary->smash(1e-7);
                for (unsigned int i = 1; i < line.length(); ++i)
                    expected += distance(line[i - 1], line[i]);
            }
            const unsigned int n = std::max(intervals, 1u);
            for (unsigned int i = 0; i <= n; ++i) {
                const double u = ERLimites(-5, 5)(double(i) / n);
                const ERLimites rangeV = k == 0 ? ERLimites(-4, 4) : ERLimites(-2, 4);
                const double v = rangeV(double(i) / n);
                // Beyond the ranges the slice goes on by a tenth: the circle reaches there.
                double alongV = chord(3, u);
                if (k == 1) alongV = std::min(alongV / 2, 2.6) + alongV / 2;
                expected += radii[k] * (alongV - (std::fabs(u) < 1 ? 2 : 0));
                expected += chord(3, v) - (std::fabs(v) < 1 ? 2 : 0);
            }
            EXPECT_NEAR(net.length(), expected, 1e-3);
        }
    }
}

TEST(TrimmedSurface, SlicesOnTheEdgeOfTheRegionsBoxAreLeftOut) {
    ERTrimmedSurface surface(nurbs);
    surface.addBound(box(1, 6, nurbs.vdeb(), nurbs.vfin()), Side::Outer);
    Net net(1);
    surface.tessalate(net);
    EXPECT_EQ(net.lines.size(), 1u);  // the boundary
    Net withMiddle(2);
    surface.tessalate(withMiddle);
    EXPECT_EQ(withMiddle.lines.size(), 3u);
    // Without boundaries it is the net of the base.
    Net plain(3), base(3);
    ERTrimmedSurface(nurbs).tessalate(plain);
    nurbs.tessalate(base);
    EXPECT_EQ(plain.lines, base.lines);
}

TEST(TrimmedSurface, FlagRefusesWhatIsTrimmedAway) {
    const ERTrimmedSurface surface =
        trimmed(saddle(), box(0.1, 0.9, 0.1, 0.9), box(0.3, 0.6, 0.3, 0.6));
    const struct {
        ERPoint2D uv;
        bool inside;
    } cases[] = {
        {{0.2, 0.47}, true}, {{0.45, 0.47}, false}, {{0.7, 0.35}, true}, {{0.05, 0.47}, false}};
    for (const auto& c : cases) {
        const ERInfoPoint3DSurf info = surface.PtCur(c.uv);
        const ERPoint3D p = info.point() + info.normale() * 0.1;
        for (const int flag : {0, 1}) {
            const int expected = flag == 0 || c.inside;
            ERPoint2D uv(7, 7), near(c.uv.x() + 0.01, c.uv.y());
            ERPoint3D moved = p;
            EXPECT_EQ(surface.ProjectionNormale(p, 1, uv, flag), expected);
            expectNear(uv, expected != 0 ? c.uv : ERPoint2D(7, 7), 1e-6);
            EXPECT_EQ(surface.ReajustProjection(moved, near, flag), expected);
            expectNear(moved, expected != 0 ? info.point() : p, 1e-6);
            ERRaySurfaceResult along, byZ;
            surface.ProjectPoint(p, info.normale(), along, flag);
            surface.ProjectPoint(info.point(), byZ, flag);
            EXPECT_EQ(along.entries(), static_cast<unsigned int>(expected));
            EXPECT_EQ(byZ.entries(), static_cast<unsigned int>(expected));
        }
    }
    // The trimming of a base is not looked at, neither along Z nor along another direction.
    const ERTrimmedSurface twice =
        trimmed(surface, box(0.2, 0.8, 0.2, 0.8), box(0.7, 0.75, 0.7, 0.75));
    for (const ERVector3D& direction : {ERVector3D(0, 0, 1), ERVector3D(0, 0.1, 1)}) {
        ERRaySurfaceResult result;
        twice.ProjectPoint(twice(0.45, 0.47), direction, result, 1);
        EXPECT_EQ(result.entries(), 1u);
    }
    ERRaySurfaceResult byZ;
    twice.ProjectPoint(twice(0.45, 0.47), byZ, 1);
    EXPECT_EQ(byZ.entries(), 1u);
    // Where one foot is sought it is.
    ERPoint2D uv;
    EXPECT_EQ(twice.ProjectionNormale(twice(0.45, 0.47), 1, uv, 1), 0);
    EXPECT_EQ(twice.ProjectionNormale(twice(0.45, 0.47), 1, uv, 0), 1);

    // Kept: what the result held before is looked through too.
    ERRaySurfaceResult result;
    ERInfoPoint3DSurf inHole = surface.PtCur(0.5, 0.5), beside = surface.PtCur(0.2, 0.2);
    result.AddPointSolution(inHole);
    result.AddPointSolution(beside);
    surface.ProjectPoint(ERPoint3D(100, 100, 0), result, 0);
    EXPECT_EQ(result.entries(), 2u);
    surface.ProjectPoint(ERPoint3D(100, 100, 0), result, 1);
    ASSERT_EQ(result.entries(), 1u);
    EXPECT_EQ(result.at(0).parameter(), ERPoint2D(0.2, 0.2));
}

TEST(TrimmedSurface, BoundariesOnTheSurfaceMoveWithIt) {
    const auto smashes = [](const ERTrimmedSurface& surface) {
        return surface.getOutBnd()->smash(0.01);
    };
    for (const ERPmSimilitude3D& t : similitudes()) {
        ERTrimmedSurface moved = trimmed(nurbs, circle({3.5, 0.95}, 0.7), circle({3.5, 1}, 0.1));
        const ERVec<ERPoint3D> before = smashes(moved);
        moved.transformFrom(t);
        moved.scale(-2);
        moved.translate(ERPoint3D(1, 2, 3));
        const ERVec<ERPoint3D> after = smashes(moved);
        ASSERT_EQ(after.length(), before.length());
        for (unsigned int i = 0; i < after.length(); ++i)
            expectNear(after[i], (t >> before[i]) * -2.0 + ERPoint3D(1, 2, 3), 1e-11);
        EXPECT_EQ(moved.getOutBnd()->isDirty(), 1);
        moved.translate(ERPoint3D(-1, -2, -3));
        moved.scale(-0.5);
        moved.transformTo(t);
        for (unsigned int i = 0; i < before.length(); ++i)
            expectNear(smashes(moved)[i], before[i], 1e-11);
    }
    // Kept: u and v of a plane are lengths, and the boundaries do not grow with them.
    ERTrimmedSurface surface(ring);
    surface.getMatricePoint(3, 3);
    smashes(surface);
    surface.scale(2);
    EXPECT_EQ(surface.getBaseSurface()->ufin(), 10);
    EXPECT_EQ(surface.ufin(), 3);
    const ERPmIsometrie3D frame = ERTranslation3D(tilted.origine()) * tilted;
    expectNear(surface.getMatricePoint(3, 3)(2, 1), frame >> ERPoint3D(3, 0, 0), 1e-12);
    expectNear(smashes(surface)[0], frame >> ERPoint3D(3, 0, 0), 1e-12);
}

TEST(TrimmedSurface, SharesABaseOnTheHeapAndOwnsItsCopy) {
    const t_SmartPtr<ERSpoleNURBS3D> base(new ERSpoleNURBS3D(nurbs));
    ERTrimmedSurface::Boundary left;
    {
        ERTrimmedSurface shared(base.getObject()), assigned(plane);
        shared.addBound(circle({3.5, 0.95}, 0.7), Side::Outer);
        EXPECT_EQ(shared.getBaseSurface(), base.getObject());
        assigned.addBound(circle({0, 0}, 1), Side::Inner);
        left = assigned.getInBnd(0);
        EXPECT_EQ(left->getBaseSurface(), assigned.getBaseSurface().getObject());
        shared.getOutBnd()->getBound2DasPolyline(1e-7);
        assigned = shared;
        EXPECT_EQ(left->getBaseSurface(), nullptr);
        left = assigned.getOutBnd();
        EXPECT_FALSE(left == shared.getOutBnd());
        EXPECT_FALSE(assigned.getBaseSurface() == base.getObject());
        EXPECT_EQ(left->getBaseSurface(), assigned.getBaseSurface().getObject());
        EXPECT_EQ(assigned.GetRegion()->Contour(0), shared.GetRegion()->Contour(0));
        EXPECT_EQ(assigned.ufin(), 4.2);
    }
    EXPECT_EQ(left->getBaseSurface(), nullptr);
    EXPECT_EQ(left->smash(0.01).length(), 0u);
}

TEST(TrimmedSurface, IsRestoredWithBoundariesAndTolerance) {
    const CurrentDatabase forParts;
    ERTrimmedSurface surface = trimmed(nurbs, circle({3.5, 0.95}, 0.7), circle({3.5, 1}, 0.1));
    surface.getOutBnd()->getBound2DasPolyline(1e-7);
    EXPECT_EQ(surface.binaryStoreSize(), 48u + 16u);
    ASSERT_EQ(surface.Save(ERObject::theCurrentDataBase), 1);
    const t_SmartPtr<ERObject> object =
        ERObject::theCurrentDataBase->RetrieveAndCreate(surface.getObjectID());
    const ERTrimmedSurface* const restored = ERTrimmedSurface::castdown(object.getObject());
    ASSERT_NE(restored, nullptr);
    EXPECT_EQ(restored->isOutTrimmed(), 1);
    EXPECT_EQ(restored->getOutBnd()->getBaseSurface(), restored->getBaseSurface().getObject());
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(restored->GetRegion()->Contour(i), surface.GetRegion()->Contour(i));
    EXPECT_EQ(restored->udeb(), surface.udeb());
    Net net(3), again(3);
    surface.tessalate(net);
    restored->tessalate(again);
    EXPECT_EQ(net.lines, again.lines);
    // A boundary whose record is gone is left out.
    restored->getOutBnd()->Delete();
    const t_SmartPtr<ERObject> less =
        ERObject::theCurrentDataBase->RetrieveAndCreate(surface.getObjectID());
    const ERTrimmedSurface* const holes = ERTrimmedSurface::castdown(less.getObject());
    EXPECT_EQ(holes->nbBounds(), 1u);
    EXPECT_EQ(holes->isOutTrimmed(), 0);
    EXPECT_EQ(holes->isInBound(ERPoint2D(1.5, 0.3)), 1);
}

TEST(TrimmedSurface, RecordsEndHoweverDeepTheyNest) {
    const CurrentDatabase forParts;
    t_SmartPtr<ERTrimmedSurface> chain(new ERTrimmedSurface(nurbs));
    for (int i = 0; i < 150; ++i) chain = new ERTrimmedSurface(chain.getObject());
    const ERPoint3D p = (*chain)(2, 0.5);
    EXPECT_EQ(p, nurbs(2, 0.5));
    ASSERT_EQ(chain->Save(ERObject::theCurrentDataBase), 1);
    t_SmartPtr<ERTrimmedSurface> restored(new ERTrimmedSurface);
    restoreFrom(recordOf(*chain), *restored);
    int depth = 0;
    for (t_SmartPtr<ERAnyBoundedSurface> at = restored.getObject(); at != nullptr; ++depth)
        at = ERTrimmedSurface::castdown(at.getObject())->getBaseSurface();
    EXPECT_EQ(depth, 100);
    // One that refers to itself.
    std::string bytes = recordOf(*chain);
    const ERLong own = chain->getObjectID();
    bytes.replace(4, 4, reinterpret_cast<const char*>(&own), 4);
    restoreFrom(bytes, *restored);
    EXPECT_TRUE(restored->getBaseSurface() != nullptr);
    EXPECT_EQ((*restored)(2, 0.5), ERPoint3D());
}

// Whatever the boundary, every question ends.
TEST(TrimmedSurface, UnusualBoundariesAreSurvived) {
    std::vector<ERPolyline2D> curves = {
        polyline({}),
        polyline({{2, 1}}),
        polyline({{2, 1}, {2, 1}, {2, 1}}),
        polyline({{2, 0.5}, {5, 0.5}}),
        polyline({{2, 0.5}, {5, 1.2}, {5, 0.5}, {2, 1.2}}),  // crosses itself
        box(-100, 100, -100, 100),
        box(50, 60, 50, 60),
    };
    for (const double x : {nan, infinity, -infinity, 1e15, 1e300})
        curves.push_back(polyline({{2, 0.5}, {x, 0.5}, {3, x}, {x, x}}));
    for (const ERPolyline2D& curve : curves) {
        for (const Side side : {Side::Inner, Side::Outer}) {
            ERTrimmedSurface surface(nurbs);
            surface.addBound(curve, side);
            surface.addBound(circle({3.5, 0.95}, 0.3), Side::Inner);
            Net net(3);
            surface.tessalate(net);
            ERPoint2D uv;
            surface.ProjectionNormale(nurbs(3, 0.6), 0.1, uv, 1);
            for (const double x : {0.9, nan, 1e15}) surface.isInBound(ERPoint2D(3, x));
            surface.PositionFenetre(curve.getBox());
            surface.getMatricePoint(3, 3);
            printed(surface);
        }
    }
    for (ERFiniteEntity2DWF* const curve : std::initializer_list<ERFiniteEntity2DWF*>{
             new ERSegment2D({1, 2}, {4, 2}), new ERSegment2D({1, 2}, {1, 2}),
             new ERSegment2D({nan, 0}, {1e15, infinity})}) {
        const ERTrimmedSurface flat(tilted, curve);
        Net net(3);
        flat.tessalate(net);
        flat.isInBound(ERPoint2D(2, 2));
    }
    for (const double radius : {1e9, 1e15}) {
        ERTrimmedSurface far(nurbs);
        far.addBound(circle({3, 0.9}, radius), Side::Outer);
        Net net(2);
        far.tessalate(net);
        EXPECT_EQ(far.isInBound(ERPoint2D(3, 0.9)), radius < 1e12);  // the reach of Inside
    }
}

}  // namespace
}  // namespace kerf::test
