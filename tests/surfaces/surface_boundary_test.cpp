#include "kerf/surfaces/surface_boundary.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/curves/polyline.h"
#include "kerf/surfaces/bezier_surface.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/values/point_list.h"
#include "kerf/values/transformation_2d.h"
#include "tests/support/object_checks.h"

namespace kerf::test {
namespace {

using Side = ERSurfaceBoundary::Side;

ERPolyline2D polyline(const std::vector<ERPoint2D>& points) {
    return ERPolyline2D(vectorOf(points));
}

const ERArc2D circle({2, 1}, 0.5, 0, twoPi);
const ERBoundedCylinder cylinder(ERPmIsometrie3D(), 2, ERLimites(0, 10), ERLimites(0, 5));

// The largest distance of the circle from the chords of a polyline whose points lie on it.
double sagitta(const ERVec<ERPoint2D>& points, double radius) {
    double longest = 0.0;
    for (unsigned int i = 1; i < points.length(); ++i)
        longest = std::max(longest, distance(points[i - 1], points[i]));
    return radius - std::sqrt(radius * radius - longest * longest / 4);
}

TEST(SurfaceBoundary, StatusTellsWhetherTheCurveIsClosed) {
    const auto status = [](double gap) {
        return ERSurfaceBoundary(polyline({{0, 0}, {4, 0}, {4, 4}, {gap, 0}}), Side::Inner)
            .getStatus();
    };
    EXPECT_EQ(status(0), 21);
    EXPECT_EQ(status(0.0009), 21);
    EXPECT_EQ(status(0.0011), 20);
    ERSurfaceBoundary boundary(circle, Side::Inner);
    EXPECT_EQ(boundary.isClose(), 1);
    EXPECT_EQ(boundary.setSide(Side::Outer), Side::Inner);
    EXPECT_EQ(boundary.getSide(), Side::Outer);
    boundary.setBoundary(polyline({{0, 0}, {4, 0}}));
    EXPECT_EQ(boundary.getStatus(), 20);
    EXPECT_EQ(boundary.isDirty(), 1);
}

TEST(SurfaceBoundary, WithoutACurveIsEmpty) {
    const t_SmartPtr<ERAnyBoundedSurface> base(cylinder);
    ERSurfaceBoundary unset, null(nullptr, Side::Inner);
    for (ERSurfaceBoundary* const empty : {&unset, &null}) {
        empty->setBaseSurface(base);
        EXPECT_EQ(empty->getStatus(), 20);
        EXPECT_EQ(empty->getBox().invalid(), 1);
        EXPECT_EQ(empty->getBound2DasPolyline(0.1).length(), 0u);
        EXPECT_EQ(empty->smash(0.1).length(), 0u);
        empty->translate(ERPoint2D(1, 1));
        empty->scale(2);
        EXPECT_FALSE(printed(*empty).empty());
    }
}

TEST(SurfaceBoundary, SharesACurveOnTheHeapAndCopiesAnother) {
    const t_SmartPtr<ERArc2D> shared(new ERArc2D(circle));
    ERSurfaceBoundary by(shared.getObject(), Side::Inner), of(*shared, Side::Inner);
    EXPECT_EQ(by.getBound2D(), shared.getObject());
    EXPECT_FALSE(of.getBound2D() == shared.getObject());
    const ERSurfaceBoundary copy(by);
    by.getBound2DasPolyline(0.01);
    by.translate(ERPoint2D(3, 0));
    EXPECT_EQ(shared->center(), ERPoint2D(5, 1));
    EXPECT_EQ(copy.getBox().xmin(), 1.5);
    EXPECT_EQ(of.getBox().xmin(), 1.5);
    EXPECT_EQ(by.getBound2DasPolyline(-1).data()[0], ERPoint2D(5.5, 1));  // made anew
    by.scale(2);
    by.transformFrom(ERTransfo2D::rotation(pi / 2));
    expectNear(shared->center(), ERPoint2D(-2, 10), 1e-13);
    by.transformTo(ERTransfo2D::rotation(pi / 2));
    EXPECT_NEAR(by.getBox().xmax(), 11, 1e-13);
}

TEST(SurfaceBoundary, PolylineIsKeptWithItsTolerance) {
    ERSurfaceBoundary boundary(circle, Side::Outer);
    const t_SmartPtr<ERAnyBoundedSurface> base(cylinder);
    boundary.setBaseSurface(base);
    EXPECT_EQ(boundary.isDirty(), 0);
    const ERVec<ERPoint2D> derived = boundary.getBound2DasPolyline(-1);
    EXPECT_EQ(boundary.isDirty(), 0);
    EXPECT_EQ(boundary.getBound2DasPolyline(-1).block(), derived.block());
    EXPECT_EQ(boundary.getBound2DasPolyline(0), derived);
    // The box of the cylinder is 4, 4 and 10, its ranges 10 and 5.
    const double tol = 10 * 1e-4 / 5;
    EXPECT_EQ(boundary.getBound2DasPolyline(tol).block(), derived.block());
    EXPECT_EQ(derived, circle.approxime(circle.getBound(), tol));
    EXPECT_LE(sagitta(derived, 0.5), tol);
    for (const double finer : {1e-6, 0.02}) {
        const ERVec<ERPoint2D> other = boundary.getBound2DasPolyline(finer);
        EXPECT_LE(sagitta(other, 0.5), finer);
        EXPECT_EQ(boundary.getBound2DasPolyline(-3).block(), other.block());
    }
    EXPECT_EQ(boundary.isDirty(), 1);
    EXPECT_EQ(boundary.getBound2DasPolyline(nan), derived);
}

// Without a base, and where the base gives none, the tolerance is that of the curve's extent.
TEST(SurfaceBoundary, DerivedToleranceIsNeverTooSmallForTheCurve) {
    const ERArc2D huge({0, 0}, 5e14, 0, twoPi);
    const ERLimites empty(3, 3), unit(0, 1);
    const ERBoundedCylinder flat(ERPmIsometrie3D(), 2, empty, unit),
        whole(ERPmIsometrie3D(), 2, unit, unit);
    const ERAnyBoundedSurface* bases[] = {nullptr, &flat, &whole};
    for (const ERAnyBoundedSurface* base : bases) {
        const t_SmartPtr<ERAnyBoundedSurface> held(
            base == nullptr ? nullptr : ERAnyBoundedSurface::castdown(base->getCopy()));
        ERSurfaceBoundary boundary(huge, Side::Outer);
        boundary.setBaseSurface(held);
        const ERVec<ERPoint2D> points = boundary.getBound2DasPolyline(-1);
        EXPECT_EQ(points, huge.approxime(huge.getBound(), 1e-4 * 1e15));
        EXPECT_LE(boundary.smash(0.01).length(), 1u << 21);
    }
    for (const double x : {nan, infinity, 0.0}) {
        ERSurfaceBoundary boundary(polyline({{x, 0}, {0, x}, {x, x}}), Side::Outer);
        const t_SmartPtr<ERAnyBoundedSurface> held(whole);
        boundary.setBaseSurface(held);
        EXPECT_EQ(boundary.getBound2DasPolyline(-1).length(), 3u);
        boundary.smash(0.01);
        boundary.smash(nan);
    }
}

// Oracle: on a cylinder a chord of the angle a lies r (1 - cos(a / 2)) off the surface.
TEST(SurfaceBoundary, SmashFollowsTheSurface) {
    const t_SmartPtr<ERAnyBoundedSurface> base(cylinder);
    ERSurfaceBoundary boundary(polyline({{1, 1}, {8, 1}, {8, 4}, {1, 4}}), Side::Outer);
    EXPECT_EQ(boundary.smash(0.01).length(), 0u);
    boundary.setBaseSurface(base);
    ERVec<ERPoint3D> points;
    ERVec<ERPoint2D> pairs(7);
    for (const double tol : {0.3, 0.01, 1e-5}) {
        boundary.smash(points, pairs, tol);
        EXPECT_EQ(boundary.smash(tol), points);
        EXPECT_EQ(boundary.smash(tol).block(), boundary.smash(tol).block());
        ASSERT_EQ(points.length(), pairs.length());
        EXPECT_EQ(pairs[0], ERPoint2D(1, 1));
        EXPECT_EQ(pairs.last(), pairs[0]);  // closed by a side of its own
        double length = 0.0;
        for (unsigned int i = 0; i < points.length(); ++i) {
            const ERPoint2D uv = pairs[i];
            expectNear(points[i], ERPoint3D(2 * std::cos(uv.y()), 2 * std::sin(uv.y()), uv.x()));
            EXPECT_TRUE(uv.x() == 1 || uv.x() == 8 || uv.y() == 1 || uv.y() == 4);
            if (i == 0) continue;
            EXPECT_LE(2 * (1 - std::cos((uv.y() - pairs[i - 1].y()) / 2)), tol);
            length += distance(uv, pairs[i - 1]);
        }
        EXPECT_NEAR(length, 20, 1e-12);
    }
    boundary.setBaseSurface(nullptr);
    EXPECT_EQ(boundary.smash(1e-5).length(), 0u);

    ERSurfaceBoundary round(circle, Side::Outer);
    round.setBaseSurface(base);
    const unsigned int coarse = round.smash(0.1).length();
    EXPECT_GT(round.getBound2DasPolyline(1e-7).length(), 2 * coarse);
    EXPECT_GT(round.smash(0.1).length(), 2 * coarse);  // of the polyline that was made last
}

TEST(SurfaceBoundary, ExtractionLeavesOutRepeatedPoints) {
    const t_SmartPtr<ERAnyBoundedSurface> base(cylinder);
    const ERPoint2D near(1 + 5e-12, 1 - 5e-12), off(8 + 2e-11, 1);
    ERSurfaceBoundary boundary(polyline({{1, 1}, near, {8, 1}, off, {8, 4}, {8, 4}, {1, 1}}),
                               Side::Outer);
    boundary.setBaseSurface(base);
    ERPoint23List list;
    ExtractList23(boundary, list, -1.0, 100.0);
    const ERVec<ERPoint2D> pairs = list.toVec2D();
    EXPECT_EQ(pairs, vectorOf({{1, 1}, {8, 1}, off, {8, 4}, {1, 1}}));
    ExtractList23(boundary, list, -1.0, 100.0);
    EXPECT_EQ(list.entries(), 10u);  // appended
}

TEST(SurfaceBoundary, IsRestoredWithItsPolylines) {
    const CurrentDatabase forParts;
    const t_SmartPtr<ERAnyBoundedSurface> base(cylinder);
    ERSurfaceBoundary boundary(circle, static_cast<Side>(7));
    boundary.setBaseSurface(base);
    const std::string bare = recordOf(boundary);
    EXPECT_EQ(bare.size(), 52u);
    EXPECT_EQ(boundary.binaryStoreSize(), 52u);
    EXPECT_EQ(bare.substr(0, 4), std::string(4, '\xFF'));
    EXPECT_EQ(ERSurfaceBoundary().binaryStoreSize(), 48u);
    base->Save(ERObject::theCurrentDataBase);
    const ERVec<ERPoint2D> polyline = boundary.getBound2DasPolyline(1e-3);
    const ERVec<ERPoint3D> smash = boundary.smash(0.25);
    const std::string bytes = recordOf(boundary);
    EXPECT_EQ(bytes.size(), boundary.binaryStoreSize());
    EXPECT_EQ(bytes.size(), 52u + 16 * polyline.length() + 24 * smash.length());
    EXPECT_EQ(bytes[0], static_cast<char>(base->getObjectID()));

    ERSurfaceBoundary restored(circle, Side::Inner);
    restoreFrom(bytes, restored);
    EXPECT_EQ(restored.getBaseSurface(), nullptr);
    EXPECT_EQ(restored.getSide(), 7);
    EXPECT_EQ(restored.getStatus(), 21);
    EXPECT_EQ(restored.getBound2DasPolyline(-1), polyline);
    EXPECT_EQ(restored.smash(0.25), smash);
    EXPECT_EQ(restored.getBox(), circle.getBox());
    EXPECT_EQ(recordOf(restored).substr(4), bytes.substr(4));
    EXPECT_EQ(printed(restored), printed(boundary));
    forDamaged(bytes, [&](const std::string& broken) {
        ERSurfaceBoundary damaged;
        restoreFrom(broken, damaged);
        damaged.setBaseSurface(base);
        damaged.getBound2DasPolyline(-1);
        damaged.smash(0.1);
        printed(damaged);
    });

    // A copy and an object that is assigned to know nothing of the base.
    const ERSurfaceBoundary copy(boundary);
    EXPECT_EQ(copy.getBaseSurface(), nullptr);
    EXPECT_EQ(copy.getBound2DasPolyline(-1), polyline);
    ERSurfaceBoundary assigned;
    assigned.setBaseSurface(base);
    assigned = boundary;
    EXPECT_EQ(assigned.getBaseSurface(), base.getObject());
    EXPECT_EQ(assigned.getBox(), circle.getBox());
    EXPECT_FALSE(assigned.getBound2D() == boundary.getBound2D());
}

}  // namespace
}  // namespace kerf::test
