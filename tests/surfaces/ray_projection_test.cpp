#include "kerf/surfaces/ray_projection.h"

#include <cmath>

#include "kerf/surfaces/internal/ray_solve.h"
#include "kerf/surfaces/ray_result.h"
#include "tests/support/value_checks.h"
#include "tests/surfaces/pole_samples.h"

namespace kerf {
namespace {

using namespace test;

constexpr unsigned int seed = 59;

const ERLimites unit(0, 1);

// A graph over [0, 9]^2 whose net is a square lattice in x and y, so that x = 9 u and y = 9 v.
ERSpoleNURBS3D graph() {
    Random random(seed);
    ERMatrix<ERPole3DH> poles(10, 10);
    const ERKnotVector knots(3, 10, unit);
    const auto greville = [&](unsigned int i) {
        return 3.0 * (knots[i + 1] + knots[i + 2] + knots[i + 3]);
    };
    for (unsigned int i = 0; i < 10; ++i)
        for (unsigned int j = 0; j < 10; ++j)
            poles(i, j) = ERPole3DH(greville(i), greville(j), drawn(random, -2, 2), 1);
    return ERSpoleNURBS3D(poles, knots, knots);
}

template <class Surface, class... Ray>
std::vector<ERInfoPoint3DSurf> hits(const Surface& surface, const Ray&... ray) {
    ERRaySurfaceResult result;
    surface.ProjectPoint(ray..., result, 0);
    std::vector<ERInfoPoint3DSurf> all;
    for (unsigned int i = 0; i < result.entries(); ++i) all.push_back(result.at(i));
    return all;
}

TEST(Rays, AlongZMeetAGraphOnceWhereItIsAbove) {
    const ERSpoleNURBS3D surface = graph();
    Random random(seed + 1);
    for (int trial = 0; trial < 100; ++trial) {
        const double x = drawn(random, 0.01, 8.99), y = drawn(random, 0.01, 8.99);
        const auto found = hits(surface, ERPoint3D(x, y, 40));
        ASSERT_EQ(found.size(), 1u) << x << " " << y;
        expectNear(found[0].parameter(), ERPoint2D(x / 9, y / 9), 3e-5);
        expectNear(found[0].point(), surface(found[0].parameter()), 1e-12);
        EXPECT_EQ(found[0].derivatives(), surface.PtCur(found[0].parameter()).derivatives());
    }
    EXPECT_TRUE(hits(surface, ERPoint3D(9.1, 4, 0)).empty());
}

// Oracle: the default, on a copy in the frame of the ray.
TEST(Rays, InAnyDirectionAreThoseOfACopyInTheirFrame) {
    const ERSpoleNURBS3D nurbs = graph();
    Random random(seed + 2);
    const ERSpoleBezier3DR rational(randomGrid<ERPole3DH>(4, 5, random), ERLimites(2, 5), unit);
    const ERSpoleBezier3D integral(randomGrid<ERPoint3D>(3, 4, random));
    std::size_t met = 0;
    const auto compare = [&](const auto& surface) {
        for (int trial = 0; trial < 60; ++trial) {
            const ERPoint3D p(drawn(random, 0, 4), drawn(random, 0, 4), drawn(random, -3, 3));
            const ERVector3D d(drawn(random, -1, 1), drawn(random, -1, 1),
                               drawn(random, -0.5, 0.5));
            ERRaySurfaceResult expected;
            surface.ERAnyBoundedSurface::ProjectPoint(p, d, expected, 0);
            const auto found = hits(surface, p, d);
            ASSERT_EQ(found.size(), expected.entries());
            met += found.size();
            for (unsigned int i = 0; i < found.size(); ++i) {
                expectNear(found[i].parameter(), expected.at(i).parameter(), 1e-9);
                const ERVector3D off(p, found[i].point());
                EXPECT_LE((off ^ d).norme() / d.norme(), 2.3e-4);
            }
        }
    };
    compare(nurbs);
    compare(rational);
    compare(integral);
    EXPECT_GT(met, 60u);
}

TEST(Rays, OnTheBorderOfTwoPatchesArePointsOfBoth) {
    ERMatrix<ERPole3DH> poles(3, 3);
    for (unsigned int i = 0; i < 3; ++i)
        for (unsigned int j = 0; j < 3; ++j) poles(i, j) = ERPole3DH(i, j, i * j, 1);
    const ERKnotVector knots(1, 3, ERLimites(0, 2));
    const ERSpoleNURBS3D surface(poles, knots, knots);
    EXPECT_EQ(hits(surface, ERPoint3D(1, 0.3, 0)).size(), 2u);
    const auto found = hits(surface, ERPoint3D(1, 1, 0));
    ASSERT_EQ(found.size(), 4u);
    for (const ERInfoPoint3DSurf& hit : found) expectNear(hit.point(), ERPoint3D(1, 1, 1), 1e-3);
}

TEST(Rays, ThatLieInASurfaceEnd) {
    const auto wall = [](double height) {
        ERMatrix<ERPoint3D> poles(3, 2);  // an upright parabola
        for (unsigned int i = 0; i < 3; ++i)
            for (unsigned int j = 0; j < 2; ++j)
                poles(i, j) = ERPoint3D(i, i == 1 ? 1 : 0, height * j);
        return ERSpoleBezier3D(poles);
    };
    for (const double height : {1.0, 1e6, 1e15}) {
        // A part that is solved may start on the ray.
        EXPECT_LT(hits(wall(height), ERPoint3D(1, 0.5, 0)).size(), 70000u);
        EXPECT_TRUE(hits(wall(height), ERPoint3D(1, 0.4, 0)).empty());
    }
    const ERPoint3D outside(0.9, -3, 3.1e5);
    EXPECT_EQ(hits(wall(1e6), outside, ERVector3D(0, 1, 0)).size(), 1u);
    for (const double odd : {nan, infinity, 1e300}) {
        hits(wall(odd), ERPoint3D(1, 0.5, 0));
        hits(graph(), ERPoint3D(odd, 1, 0));
        hits(graph(), ERPoint3D(1, 1, 0), ERVector3D(odd, 0, 1));
    }
    EXPECT_TRUE(hits(ERSpoleNURBS3D(), ERPoint3D()).empty());
    hits(graph(), ERPoint3D(1, 1, 0), ERVector3D());
}

TEST(Rays, PointsOutsideTheRangesAreFilteredOut) {
    ERSpoleBezier3D surface(ERMatrix<ERPoint3D>(2, 2), ERLimites(0, 2), ERLimites(1, 3));
    ERRaySurfaceResult result;
    for (const ERPoint2D& uv : {ERPoint2D(0, 1), ERPoint2D(2, 3), ERPoint2D(-0.1, 2),
                                ERPoint2D(2.1, 2), ERPoint2D(1, 0.9), ERPoint2D(1, 3.1)}) {
        ERInfoPoint3DSurf point(uv, ERMatrix<ERPoint3D>());
        result.AddPointSolution(point);
    }
    result.filtre(filtreOutsidePoint, static_cast<ERAnyBoundedSurface*>(&surface));
    ASSERT_EQ(result.entries(), 2u);
    EXPECT_EQ(result.at(0).parameter(), ERPoint2D(0, 1));
    EXPECT_EQ(result.at(1).parameter(), ERPoint2D(2, 3));
}

TEST(RaySolve, StartsAtTheNearestOfTheInnerNodes) {
    const auto plane = [](double u, double v) { return ERPoint3D(12 * u, 6 * v, 1); };
    ray::Root root{};
    ASSERT_TRUE(ray::seed(plane, unit, unit, 0, 2.9, root));
    EXPECT_EQ(ERPoint2D(root.u, root.v), ERPoint2D(1 / 6.0, 0.5));
    EXPECT_FALSE(ray::seed(plane, unit, unit, 1.1e4, 0, root));
    EXPECT_FALSE(ray::seed(plane, unit, unit, nan, 0, root));
}

TEST(RaySolve, EndsAtTheFirstPointThatIsNearEnough) {
    int calls = 0;
    const auto curved = [&](double u, double v) {
        ++calls;
        return ERPoint3D(4 * u + u * u, 3 * v, u * v);
    };
    ray::Root root{0.5, 0.5};
    ASSERT_TRUE(ray::solve(curved, unit, unit, 3.56, 1.2, root));
    expectNear(ERPoint2D(root.u, root.v), ERPoint2D(std::sqrt(7.56) - 2, 0.4), 6e-5);
    EXPECT_EQ(root.z, root.u * root.v);
    // A start that is near enough is not improved.
    root = {0.5, 0.5};
    calls = 0;
    ASSERT_TRUE(ray::solve(curved, unit, unit, 2.25 + 2.2e-4, 1.5, root));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(root.u, 0.5);
    EXPECT_FALSE(ray::solve(curved, unit, unit, 2.25 + 2.2e-4, 1.5, root, 1e-20) && root.u == 0.5);
}

TEST(RaySolve, FailsWhereItCannotCome) {
    ray::Root root{0.5, 0.5};
    const auto flat = [](double u, double v) { return ERPoint3D(u, v, 0); };
    EXPECT_FALSE(ray::solve(flat, unit, unit, 1.1, 0.5, root));  // stops at the border
    const auto upright = [](double u, double v) { return ERPoint3D(u, u, v); };
    EXPECT_FALSE(ray::solve(upright, unit, unit, 0.6, 0.6, root));
    EXPECT_FALSE(ray::solve(flat, ERLimites(), ERLimites(), 0.6, 0.6, root));
    EXPECT_FALSE(ray::solve(flat, unit, unit, nan, 0.6, root));
    int rounds = 0;
    const auto fleeing = [&](double u, double v) {  // farther off at each look
        return ERPoint3D(u + ++rounds, v, 0);
    };
    EXPECT_FALSE(ray::solve(fleeing, unit, unit, 0, 0, root));
    EXPECT_EQ(ERPoint2D(root.u, root.v), ERPoint2D(0.5, 0.5));
    EXPECT_EQ(rounds, 34);  // the first look, ten growths that are forgiven, the eleventh
}

}  // namespace
}  // namespace kerf
