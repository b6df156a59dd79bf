#include "kerf/surfaces/surface_projection.h"

#include <cmath>

#include "kerf/surfaces/internal/seed_nodes.h"
#include "tests/support/value_checks.h"
#include "tests/surfaces/pole_samples.h"

namespace kerf {
namespace {

using namespace test;

constexpr unsigned int seed = 53;

// A rational bicubic surface over [0, size]^2 with waves of that height.
ERSpoleNURBS3D waves(double size, double height, unsigned int n = 10) {
    Random random(seed);
    ERMatrix<ERPole3DH> poles(n, n);
    for (unsigned int i = 0; i < n; ++i) {
        for (unsigned int j = 0; j < n; ++j) {
            const double x = i / (n - 1.0), y = j / (n - 1.0), w = drawn(random, 0.7, 1.3);
            const double z =
                height * (std::sin(3 * x) * std::cos(2.5 * y) + drawn(random, -0.1, 0.1));
            poles(i, j) = ERPole3DH(ERPoint3D(size * x, size * y, z) * w, w);
        }
    }
    return ERSpoleNURBS3D(poles, ERKnotVector(3, n, ERLimites(0, 2)),
                          ERKnotVector(3, n, ERLimites(-1, 1)));
}

// The patch (a s, b t, k s t).
ERSpoleBezier3D saddle(double a, double b, double k, const ERLimites& u = {0, 1},
                       const ERLimites& v = {0, 1}) {
    ERMatrix<ERPoint3D> poles(2, 2);
    poles(0, 1) = ERPoint3D(0, b, 0);
    poles(1, 0) = ERPoint3D(a, 0, 0);
    poles(1, 1) = ERPoint3D(a, b, k);
    return ERSpoleBezier3D(poles, u, v);
}

ERSpoleNURBS3D asNurbs(const ERMatrix<ERPoint3D>& poles, const ERKnotVector& u,
                       const ERKnotVector& v) {
    ERMatrix<ERPole3DH> weighted(poles.rows(), poles.cols());
    for (unsigned int i = 0; i < poles.rows(); ++i)
        for (unsigned int j = 0; j < poles.cols(); ++j)
            weighted(i, j) = ERPole3DH(poles(i, j), 1.0);
    return ERSpoleNURBS3D(weighted, u, v);
}
ERSpoleNURBS3D bilinear(const ERPoint3D& p00, const ERPoint3D& p01, const ERPoint3D& p10,
                        const ERPoint3D& p11) {
    const ERPoint3D corners[] = {p00, p01, p10, p11};
    const ERKnotVector knots(1, ERLimites(0, 1));
    return asNurbs(ERMatrix<ERPoint3D>(corners, 2, 2), knots, knots);
}

struct Found {
    int result;
    ERPoint2D uv;
};
template <class Surface>
Found footOf(const Surface& surface, const ERPoint3D& p, double tolerance, int flag = 0) {
    ERPoint2D uv(-7, -7);
    const int result = surface.ProjectionNormale(p, tolerance, uv, flag);
    if (result == 0) {
        EXPECT_EQ(uv, ERPoint2D(-7, -7));
    }
    return {result, uv};
}

// The distance of p from the nearest of a dense grid of points; infinity when that is on the border,
// where the foot need not be orthogonal.
double bruteForce(const ERAnyBoundedSurface& surface, const ERPoint3D& p) {
    constexpr int n = 150;
    double nearest = infinity;
    bool onBorder = false;
    for (int i = 0; i <= n; ++i) {
        for (int j = 0; j <= n; ++j) {
            const double d = distance(
                p, surface(surface.getBoundU()(i / double(n)), surface.getBoundV()(j / double(n))));
            if (!(d < nearest)) continue;
            nearest = d;
            onBorder = i == 0 || j == 0 || i == n || j == n;
        }
    }
    return onBorder ? infinity : nearest;
}

// The gradient against differences of H, the Hessian against differences of the gradient.
template <class Surface>
void expectDerivatives(const Surface& surface) {
    FctProjSpoleOnSurface<Surface> function(surface, ERPoint3D(0.7, 2, 3), 0.0);
    const double h = 1e-5;
    for (const double s : {0.31, 0.77}) {
        ERVec<double> x(2);
        x[0] = s;
        x[1] = 0.43;
        const ERVec<double> f = function.f(x);
        const ERMatrix<double> hessian = function.fprime(x);
        const double scale = std::fabs(hessian(0, 0)) + std::fabs(hessian(1, 1));
        for (unsigned int k = 0; k < 2; ++k) {
            ERVec<double> up = x, down = x;
            up[k] += h;
            down[k] -= h;
            EXPECT_NEAR(f[k], (function.H(up) - function.H(down)) / (2 * h), 1e-5 * scale);
            for (unsigned int l = 0; l < 2; ++l)
                EXPECT_NEAR(hessian(l, k), (function.f(up)[l] - function.f(down)[l]) / (2 * h),
                            1e-5 * scale);
        }
    }
}

TEST(FootFunction, DerivativesAreThoseOfHalfTheSquaredDistance) {
    Random random(seed);
    const ERLimites u(2, 5), v(-1, 0.5);
    expectDerivatives(waves(9, 1));
    expectDerivatives(ERSpoleBezier3D(randomGrid<ERPoint3D>(4, 4, random), u, v));
    expectDerivatives(ERSpoleBezier3DR(randomGrid<ERPole3DH>(4, 5, random), u, v));
}

TEST(FootFunction, XIsClampedWhereItStands) {
    const ERSpoleBezier3D surface = saddle(1, 1, 1);
    FctProjSpoleOnSurface<ERSpoleBezier3D> function(surface, ERPoint3D(), 0.25);
    EXPECT_EQ(function.tolerance(), 0.25);
    ERVec<double> x(2);
    x[0] = -3;
    x[1] = 7;
    const ERVec<double> shared = x;
    function.f(x);
    EXPECT_EQ(ERPoint2D(x[0], x[1]), ERPoint2D(0, 1));
    EXPECT_EQ(ERPoint2D(shared[0], shared[1]), ERPoint2D(-3, 7));  // a copy is left alone
}

TEST(Seeds, TheGridFollowsDegreeAndPolesWithinItsBounds) {
    EXPECT_EQ(seedCount(1, 2), 10u);
    EXPECT_EQ(seedCount(2, 3), 12u);
    EXPECT_EQ(seedCount(3, 9), 76u);
    EXPECT_EQ(seedCount(5, 10), 80u);  // of 104
    EXPECT_EQ(seedCount(0, 1), 10u);
    EXPECT_EQ(seedCount(60000, 120000), 80u);  // beyond 32 bits
}

// Oracle: a plain scan.
TEST(Seeds, TheNearestInnerNodeIsTheFirstOfAScan) {
    Random random(seed);
    for (const unsigned int n : {3u, 9u, 10u, 18u, 80u}) {
        ERMatrix<ERPoint3D> grid(n, n + 1);
        for (unsigned int i = 0; i < n; ++i)
            for (unsigned int j = 0; j <= n; ++j)  // whole numbers, so that distances tie
                grid(i, j) = ERPoint3D(std::floor(drawn(random, 0, n)), i / 2 * 2.0, j / 3 * 3.0);
        grid(1, 1) = ERPoint3D(nan, 0, 0);
        const SeedNodes nodes(grid);
        for (int trial = 0; trial < 50; ++trial) {
            const ERPoint3D p(std::floor(drawn(random, -2, n)), std::floor(drawn(random, 0, n)),
                              trial);
            SeedNodes::Node expected{0, 0, infinity}, node{};
            for (unsigned int i = 1; i + 1 < n; ++i)
                for (unsigned int j = 1; j < n; ++j)
                    if (ERVector3D(p, grid(i, j)).norme2() < expected.distance2)
                        expected = {i, j, ERVector3D(p, grid(i, j)).norme2()};
            ASSERT_EQ(nodes.nearest(p, node), expected.distance2 < infinity);
            const bool same = node.i == expected.i && node.j == expected.j;
            EXPECT_TRUE(same || expected.distance2 == infinity) << n << " " << trial;
        }
        SeedNodes::Node node{};
        EXPECT_FALSE(nodes.nearest(ERPoint3D(nan, 0, 0), node));
    }
}

// Flat enough to be searched whole, and halved many times.
TEST(Feet, AreAtLeastAsNearAsADenseGrid) {
    Random random(seed);
    for (const double size : {1.0, 10.0, 100.0, 1000.0}) {
        const ERSpoleNURBS3D surface = waves(size, 0.3 * size);
        int inside = 0;
        for (int trial = 0; trial < 25; ++trial) {
            SCOPED_TRACE(testing::Message() << "size " << size << ", trial " << trial);
            const ERInfoPoint3DSurf from = surface.PtCur(drawn(random, 0, 2), drawn(random, -1, 1));
            const ERPoint3D p = from.point() + from.normale() * (size * drawn(random, -0.6, 0.6));
            const double nearest = bruteForce(surface, p);
            if (nearest == infinity) continue;
            ++inside;
            const Found found = footOf(surface, p, size, 1);
            ASSERT_EQ(found.result, 1);
            const ERInfoPoint3DSurf foot = surface.PtCur(found.uv);
            EXPECT_LE(distance(foot.point(), p), nearest);
            const ERVector3D gap(p, foot.point());
            EXPECT_LE((gap ^ foot.normale()).norme(), 1e-6 * gap.norme() + 1e-9 * size);
        }
        EXPECT_GT(inside, 8);
    }
}

TEST(Feet, OfABezierSurfaceAreMappedToItsRanges) {
    const ERSpoleBezier3D unit = saddle(4, 3, 2), ranged = saddle(4, 3, 2, {10, 30}, {-1, -2});
    const ERInfoPoint3DSurf from = unit.PtCur(0.4, 0.8);
    const ERPoint3D p = from.point() + from.normale() * 0.7;
    const Found found = footOf(unit, p, 1.0, 1), mapped = footOf(ranged, p, 1.0, 1);
    ASSERT_EQ(found.result + mapped.result, 2);
    expectNear(found.uv, ERPoint2D(0.4, 0.8), 1e-9);
    expectNear(mapped.uv, ERPoint2D(18, -1.8), 1e-8);
}

TEST(Feet, OfPointsFarFromTheBoxAreNotSoughtFor) {
    const ERSpoleBezier3D bezier = saddle(1, 1, 0);
    const ERSpoleNURBS3D nurbs = bilinear({0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0});
    const auto above = [](double z) { return ERPoint3D(0.5, 0.5, z); };
    EXPECT_EQ(footOf(bezier, above(0.7 - 1e-9), 0.5).result, 1);
    EXPECT_EQ(footOf(bezier, above(0.7 + 1e-9), 0.5).result, 0);
    EXPECT_EQ(footOf(nurbs, above(0.551 - 1e-9), 0.5).result, 1);
    EXPECT_EQ(footOf(nurbs, above(0.551 + 1e-9), 0.5).result, 0);
    EXPECT_EQ(footOf(nurbs, above(0.5), -1.0).result, 0);
}

TEST(Feet, OutsideTheHullOfAFlatSurfaceThereAreNone) {
    const ERSpoleNURBS3D triangle = bilinear({0, 0, 0}, {0, 10, 0}, {10, 0, 0}, {10, 0, 0.0005});
    EXPECT_EQ(footOf(triangle, ERPoint3D(4, 4, 0.5), 1.0).result, 1);
    EXPECT_EQ(footOf(triangle, ERPoint3D(6, 6, 0.5), 1.0).result, 0);  // in the box
}

TEST(Feet, ACornerIsReachedByTheClampUnlessTheFlagRefusesIt) {
    const ERSpoleBezier3D surface = saddle(1, 1, 0);
    const ERPoint3D outside(1.3, 1.2, 0.1);
    const Found corner = footOf(surface, outside, 1.0, 0);
    ASSERT_EQ(corner.result, 1);
    EXPECT_EQ(corner.uv, ERPoint2D(1, 1));
    EXPECT_EQ(footOf(surface, outside, 1.0, 1).result, 0);
    // On the end of a range the foot must be orthogonal.
    EXPECT_EQ(footOf(surface, ERPoint3D(1, 0.5, 0.2), 1.0, 1).result, 1);
    EXPECT_EQ(footOf(surface, ERPoint3D(1.001, 0.5, 0.2), 1.0, 1).result, 0);
    // A point of the surface has no direction to be compared.
    EXPECT_EQ(footOf(surface, ERPoint3D(1, 0.5, 0), 1.0, 1).result, 1);
}

TEST(Feet, APolishedPointLeavesItsArgumentsWhereItFails) {
    const ERSpoleBezier3D surface = saddle(2, 1, 0, {0, 4}, {0, 1});
    ERPoint3D p(0.5, 0.25, 3);
    ERPoint2D uv(3, 0.9);
    ASSERT_EQ(surface.ReajustProjection(p, uv, 1), 1);
    expectNear(uv, ERPoint2D(1, 0.25), 1e-9);
    expectNear(p, ERPoint3D(0.5, 0.25, 0), 1e-9);
    p = ERPoint3D(5, 5, 1);
    uv = ERPoint2D(9, -4);  // outside, where the search is clamped from
    ASSERT_EQ(surface.ReajustProjection(p, uv, 1), 0);
    EXPECT_EQ(p, ERPoint3D(5, 5, 1));
    EXPECT_EQ(uv, ERPoint2D(9, -4));
    ASSERT_EQ(surface.ReajustProjection(p, uv, 0), 1);
    EXPECT_EQ(uv, ERPoint2D(4, 1));
    EXPECT_EQ(p, ERPoint3D(2, 1, 0));
}

// A tunnel with a level floor and two walls of equal height, cut in the middle of u: p is as far from one
// wall as from the other.
TEST(Feet, OfTwoAtTheSameDistanceTheFirstHalfHasIt) {
    ERMatrix<ERPoint3D> poles(5, 2);
    const double x[] = {-4, -4, 0, 4, 4}, z[] = {8, 0, -40, 0, 8};
    for (unsigned int i = 0; i < 5; ++i)
        for (unsigned int j = 0; j < 2; ++j) poles(i, j) = ERPoint3D(x[i], 6.0 * j, z[i]);
    const double knots[] = {0, 0, 1, 2, 3, 4, 4};
    const ERSpoleNURBS3D surface =
        asNurbs(poles, ERKnotVector(1, knots, 7), ERKnotVector(1, ERLimites(0, 1)));
    const Found found = footOf(surface, ERPoint3D(0, 3, 4), 10.0, 1);
    ASSERT_EQ(found.result, 1);
    expectNear(found.uv, ERPoint2D(0.5, 0.5), 1e-9);
    // Off the middle the nearer wall is found, first or second.
    expectNear(footOf(surface, ERPoint3D(0.1, 3, 4), 10.0, 1).uv, ERPoint2D(3.5, 0.5), 1e-9);
}

TEST(Feet, FollowEveryChange) {
    ERSpoleNURBS3D surface = waves(50, 12);
    const auto expectFoot = [&] {
        const double u = surface.getBoundU()(0.37), v = surface.getBoundV()(0.61);
        const ERInfoPoint3DSurf from = surface.PtCur(u, v);
        const ERPoint3D p = from.point() + from.normale() * 0.05;
        const Found found = footOf(surface, p, 1.0, 1);
        ASSERT_EQ(found.result, 1);
        expectNear(found.uv, ERPoint2D(u, v), 1e-7);
        const ERSpoleNURBS3D copy(surface);
        EXPECT_EQ(footOf(copy, p, 1.0, 1).uv, found.uv);  // nothing kept shows in the result
    };
    expectFoot();
    surface.scale(2);
    expectFoot();
    surface.translate(ERPoint3D(300, -20, 5));
    expectFoot();
    surface.reverse();
    expectFoot();
    surface.setBound(ERLimites(-0.5, 0.25), ERLimites(0.5, 1.5));
    expectFoot();
    surface.adjust();
    expectFoot();
    surface.insertKnotU(0.1, 2);
    expectFoot();
}

TEST(Feet, UnusualSurfacesEnd) {
    const auto tryAll = [](const ERSpoleNURBS3D& surface) {
        const double size = surface.getBox().diagonal();
        for (const double reach : {0.5, size, infinity, nan})
            for (const int flag : {0, 1})
                for (const ERPoint3D& p :
                     {ERPoint3D(), ERPoint3D(0.3 * size, -2 * size, size), ERPoint3D(nan, 0, 0),
                      ERPoint3D(infinity, 0, 1), ERPoint3D(1e300, -1e300, 0)}) {
                    ERPoint2D uv;
                    ERPoint3D foot = p;
                    surface.ProjectionNormale(p, reach, uv, flag);
                    surface.ReajustProjection(foot, uv, flag);
                }
    };
    ERMatrix<ERPole3DH> poles = waves(10, 3).poles();
    const auto changed = [&](auto change) {
        ERMatrix<ERPole3DH> other = poles;
        for (unsigned int i = 0; i < other.length(); ++i) change(i, other.data()[i]);
        const ERKnotVector knots(3, 10, ERLimites(0, 1));
        return ERSpoleNURBS3D(other, knots, knots);
    };
    tryAll(ERSpoleNURBS3D());
    tryAll(waves(1e-9, 1e-10));
    tryAll(changed([](unsigned int, ERPole3DH& pole) { pole = ERPole3DH(2, 2, 2, 1); }));
    tryAll(changed([](unsigned int i, ERPole3DH& pole) { pole = ERPole3DH(i % 10, 0, 0, 1); }));
    tryAll(changed([](unsigned int i, ERPole3DH& pole) { pole = ERPole3DH(0, 9.0 * i, 0, 1); }));
    tryAll(changed([](unsigned int, ERPole3DH& pole) { pole.weigth() = 0.0; }));
    for (const double odd : {nan, infinity, 0.0, -1.0, 1e300, 1e-300})
        tryAll(changed([&](unsigned int i, ERPole3DH& pole) {
            if (i == 44) pole.weigth() = odd;
        }));
    tryAll(changed([](unsigned int i, ERPole3DH& pole) {
        if (i == 44) pole.x() = nan;
    }));
    // Thousands of parts, of which none has a foot that the flag accepts.
    for (const double size : {20000.0, 1e15})
        EXPECT_EQ(footOf(waves(size, 0.3 * size), ERPoint3D(-size, -size, 0), 2 * size, 1).result,
                  0);
    ERSpoleNURBS3D reversed = waves(10, 3);
    reversed.setBound(ERLimites(2, 0), ERLimites(0.5, 0.5));
    tryAll(reversed);
}

}  // namespace
}  // namespace kerf
