#include <cmath>
#include <memory>

#include "kerf/curves/arc.h"
#include "kerf/curves/circle_builders.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_plane.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
#include "kerf/surfaces/cone.h"
#include "kerf/surfaces/cylinder.h"
#include "kerf/surfaces/plane.h"
#include "kerf/surfaces/sphere.h"
#include "kerf/surfaces/torus.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/object_checks.h"

// The five surfaces without limits.
namespace kerf::test {
namespace {

// A point off a surface whose foot is known, with the normal that the surface gives there.
struct Problem {
    ERPoint3D point, foot;
    ERVector3D normal;
    double distance;
};

void expectSolved(const Problem& problem, const ERSurface& surface) {
    double d = nan;
    ERPoint3D foot;
    ERVector3D normal;
    surface.SignedMinimalDistance(problem.point, d);
    EXPECT_NEAR(d, problem.distance, 1e-11);
    ASSERT_EQ(surface.ProjectionNormale(problem.point, foot, normal), 1);
    expectNear(foot, problem.foot, 1e-11);
    expectNear(normal, problem.normal, 1e-9);
}

// Oracle: the bounded form, its normals (outward where `side` is 1, inward where it is -1), and the
// motions applied to its points.
template <class Surface, class Bounded>
void expectSolvedAndMoved(const Bounded& parametric, double side, double u, double v, double k) {
    const Surface surface(parametric);
    SCOPED_TRACE(surface.className());
    const Bounded back(surface, {u, 3}, {v, 3});
    double off = nan;
    surface.SignedMinimalDistance(back(back.udeb(), back.vfin()), off);
    EXPECT_NEAR(off, 0, 1e-13);
    EXPECT_EQ(back.NUdeb(), u);
    const ERInfoPoint3DSurf spot = parametric.PtCur(u, v);
    const ERVector3D out = spot.normale() * side, normal = ERCone::castdown(&surface) ? -out : out;
    const Problem problem{spot.point() + out * k, spot.point(), normal, k};
    expectSolved(problem, surface);

    const auto expectMoved = [&](auto move, auto image, double factor) {
        Surface moved = surface;
        move(moved);
        expectSolved({image(problem.point), image(problem.foot), image(normal).getnormalized(),
                      k * std::fabs(factor)},
                     moved);
    };
    const auto expectCarried = [&](const auto& t) {
        expectMoved([&](ERSurface& s) { s.transformFrom(t); },
                    [&](const auto& value) { return t >> value; }, t.getFactHomo());
        expectMoved([&](ERSurface& s) { s.transformTo(t); },
                    [&](const auto& value) { return t << value; }, 1.0 / t.getFactHomo());
    };
    for (const ERPmIsometrie3D& t : isometries()) expectCarried(t);
    for (const ERPmSimilitude3D& t : similitudes()) expectCarried(t);
    const ERPmSimilitude3D shifted = ERScaling3D(3.0) * ERTranslation3D(ERPoint3D(1, 2, 3));
    expectMoved([](ERSurface& s) { s.translate(ERPoint3D(1, 2, 3)), s.scale(3.0); },
                [&](const auto& value) { return shifted >> value; }, 3.0);

    // A cone is moved as a whole, so outwards on the nappe along its axis alone.
    if (ERCone::castdown(&surface) && u < 0) return;
    Surface moved = surface;
    moved.offset(k);
    moved.SignedMinimalDistance(problem.point, off);
    EXPECT_NEAR(off, 0, 1e-12);
}

TEST(UnboundedSurfaces, MeasureProjectAndMoveAsTheirParametricFormsSay) {
    std::mt19937 random(5);
    const auto draw = [&](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    const auto vector = [&] { return ERVector3D(draw(-1, 1), draw(-1, 1), draw(-1, 1)); };
    for (int i = 0; i < 40; ++i) {
        SCOPED_TRACE(drawnFrom(5, i));
        const ERPmIsometrie3D frame = ERChgRepere3D(vector(), vector(), {draw(-9, 9), 3, -4});
        const double R = draw(2, 5), r = draw(0.5, 1.5), angle = draw(0.2, 1.2);
        const double u = draw(-3, 3), v = draw(-3, 3), k = draw(-0.15, 0.3);
        const double height = std::copysign(1.1, u) + u;
        const ERLimites any(0, 1);
        expectSolvedAndMoved<ERPlane>(ERBoundedPlane(frame, any, any), 1, u, v, k);
        expectSolvedAndMoved<ERCylinder>(ERBoundedCylinder(frame, R, any, any), -1, u, v, k);
        expectSolvedAndMoved<ERCone>(ERBoundedCone(frame, angle, any, any), -1, height, v, k);
        expectSolvedAndMoved<ERSphere>(ERBoundedSphere(frame, R, any, any), 1, u, v / 2, k);
        expectSolvedAndMoved<ERTorus>(ERBoundedTorus(frame, R, r, any, any), 1, u, v, k);
    }
}

// Neither crashes nor hangs, and a result of 0 leaves what it was given.
TEST(UnboundedSurfaces, BearAnyNumbers) {
    std::mt19937 random(5);
    const double wild[] = {nan, infinity, -infinity, 1e15, 1e-300, 0, 1, -2};
    const auto any = [&] { return wild[random() % 8]; };
    for (int i = 0; i < 4000; ++i) {
        const ERPoint3D p = drawn<ERPoint3D>(any), q = drawn<ERPoint3D>(any);
        const ERVector3D v = drawn<ERVector3D>(any);
        const auto check = [&](auto surface) {
            surface.offset(any());
            surface.scale(any());
            surface.transformTo(ERScaling3D(any()));
            double d = 0;
            EXPECT_NE(surface.SignedMinimalDistance(p, d), EREntity::NoFootPoint);
            ERPoint3D foot(7, 8, 9);
            ERVector3D normal(7, 8, 9);
            if (surface.ProjectionNormale(p, foot, normal) == 0) {
                EXPECT_EQ(foot, ERPoint3D(7, 8, 9));
                EXPECT_EQ(normal, ERVector3D(7, 8, 9));
            }
        };
        check(ERPlane(q, v));
        check(ERCylinder(ERInfLine3D(v, q), any()));
        check(ERCone(q, v, any()));
        check(ERSphere(q, any()));
        check(ERTorus(any(), any(), v, q));
    }
}

TEST(UnboundedSurfaces, DegeneratePointsHaveTheirCodes) {
    const ERVector3D zero, x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    const ERPoint3D none(7, 8, 9);
    const ERCylinder cylinder(ERInfLine3D(), 2), thin(ERInfLine3D(), 3e-6);
    const ERCone cone({0, 0, 0}, z, 0.5);
    const ERSphere sphere({0, 0, 0}, 2);
    const ERTorus torus(5, 2, z, {0, 0, 0}), alongX(3, 1, x, {0, 0, 0});
    ERSphere oppositeSphere({1, 1, 1}, 2);
    oppositeSphere.scale(-1);
    ERTorus oppositeTorus(3, 1, z, {0, 0, 0});
    oppositeTorus.scale(-1);
    ERCylinder oppositeCylinder;
    oppositeCylinder.diameter(-4);

    const double s = std::sin(0.5), c = std::cos(0.5);
    const ERVector3D up(s, 0, c), down(s, 0, -c);
    const int one = EREntity::SingleNearestPoint, many = EREntity::NearestPointNotUnique;
    const struct {
        const ERSurface& surface;
        ERPoint3D p;
        int code;
        double distance;
        ERPoint3D foot;
        ERVector3D normal;
    } rows[] = {
        // Kept: the codes of the cylinder are exchanged.
        {cylinder, {0, 0, 3}, one, -2, none, zero},
        {cylinder, {1e-12, 0, 3}, one, -2, {2, 0, 3}, x},
        {cylinder, {0, 3, 3}, many, 1, {0, 2, 3}, y},
        // Kept: a thin cylinder's feet lie on its axis.
        {thin, {5, 0, 4}, many, 5 - 3e-6, {0, 0, 4}, zero},
        {sphere, {0, 0, 0}, many, -2, none, zero},
        {sphere, {0, 1e-12, 0}, many, -2, {0, 2, 0}, y},
        {sphere, {0, 3, 0}, one, 1, {0, 2, 0}, y},
        {torus, {0, 0, 0}, many, 3, none, zero},
        {torus, {1, 0, 0}, one, 2, {3, 0, 0}, -x},
        // Kept: on the axis the height is the difference of z, and the spine the origin.
        {torus, {0, 0, 12}, many, 11, {0, 0, 2}, z},
        {alongX, {4, 0, 0}, many, 2, {1, 0, 0}, x},
        {cone, {0, 0, 0}, one, 0, {0, 0, 0}, zero},
        {cone, {0, 0, 2}, one, -2 * s, {0, 0, 2}, zero},
        {cone, {0, 0, -2}, one, -2 * s, {0, 0, -2}, zero},
        // Kept: no projection from the height 1 above the apex; the opposite nappe has no such.
        {cone, {3, 0, 1}, one, 3 * c - s, none, zero},
        {cone, {3, 0, 1.0000001}, one, 3 * c - s, ERPoint3D(up * (3 * s + c)), {-c, 0, s}},
        {cone, {3, 0, -1}, one, 3 * c - s, ERPoint3D(down * (3 * s + c)), {-c, 0, -s}},
        // Negative radii stand for their size.
        {oppositeSphere, {-1, -1, 4}, one, 3, {-1, -1, 1}, z},
        {oppositeTorus, {5, 0, 0}, one, 1, {4, 0, 0}, x},
        {oppositeCylinder, {0, 3, 7}, many, 1, {0, 2, 7}, y}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.surface.className() + (" at " + printed(row.p)));
        double d = nan;
        EXPECT_EQ(row.surface.SignedMinimalDistance(row.p, d), row.code);
        EXPECT_NEAR(d, row.distance, 1e-7);
        ERPoint3D foot = none;
        ERVector3D normal;
        EXPECT_EQ(row.surface.ProjectionNormale(row.p, foot, normal), row.foot == none ? 0 : 1);
        expectNear(foot, row.foot, 1e-6);
        expectNear(normal, row.normal, 1e-6);
    }
    EXPECT_EQ(oppositeSphere.radius(), -2);
}

TEST(Plane, NormalisesItsCoefficientsAndTurnsOver) {
    EXPECT_EQ(printed(ERPlane(0, 0, 0, 4)), "Plane : a=0 b=0 c=0 d=4\n");
    EXPECT_EQ(ERPlane(3e-200, 0, 4e-200, 5e-200), ERPlane(3, 0, 4, 5));
    ERPlane plane(ERPoint3D(1, 2, 3), ERVector3D(0, 5, 0));
    EXPECT_EQ(plane, ERPlane(0, 1, 0, -2));
    EXPECT_EQ(plane, ERPlane(ERTranslation3D(ERPoint3D(7, 2, 7)), Coord3D::CoordY));
    EXPECT_EQ(plane.origine(), ERPoint3D(0, 2, 0));
    EXPECT_EQ(plane.getOffset(3), ERPlane(0, 1, 0, -5));
    EXPECT_EQ(plane.getreversed(), ERPlane(0, -1, 0, 2));
    plane.reverse();
    EXPECT_EQ(plane.distancePt(ERPoint3D(9, -1, 9)), 3);
    EXPECT_EQ(plane.getTransfo().origine(), ERPoint3D(0, 2, 0));
    EXPECT_EQ(plane.getTransfo().getVector(Coord3D::CoordZ), ERVector3D(0, -1, 0));
    // Kept: the vector is not looked at.
    double d = nan;
    EXPECT_EQ(ERPlane::SignedMinimalDistancePlane({1, 2, 3}, {9, 9, 9}, 1, 0, 2, 4, d), 1);
    EXPECT_EQ(d, 11);
}

TEST(Plane, ProjectsAndMeetsLinesAndCarriesSlots) {
    const ERVector3D normal(1, -2, 2);
    const ERPlane plane(ERPoint3D(1, 2, 3), normal);
    const ERInfLine3D line(ERPoint3D(4, 5, 6), ERPoint3D(6, 4, 9));
    const ERPoint3D far = line.origine() + line.dirVector() * 8.0;
    EXPECT_NEAR(distance(plane.project(line), plane.project(far)), 0, 1e-13);
    EXPECT_NEAR(plane.distancePt(plane.project(far)), 0, 1e-14);
    const ERVector3D along = plane.project(line.dirVector());
    EXPECT_NEAR(along * normal, 0, 1e-14);
    expectNear((line.dirVector() - along) ^ normal, ERVector3D());
    ERPoint3D p(7, 8, 9);
    EXPECT_EQ(intersect(plane, line, p), 1);
    EXPECT_NEAR(plane.distancePt(p), 0, 1e-14);
    EXPECT_NEAR(distance(line, p), 0, 1e-14);
    const ERPoint3D before = p;
    EXPECT_EQ(intersect(ERPlane(0, 0, 1, 4), ERInfLine3D(ERVector3D(1, 1, 0), {0, 0, 3}), p), 0);
    EXPECT_EQ(p, before);
    EXPECT_EQ(intersect(ERPlane(0, 0, 1, -4), ERInfLine3D(ERVector3D(1, 0, 1e-9), {}), p), 1);
    EXPECT_NEAR(p.x(), 4e9, 1e-5);

    ERArc3D a1, a2;
    ASSERT_EQ(BuildSlot(ERCircle3D({0, 0, 5}, {0, 0, 1}, 1), ERCircle3D({4, 0, 7}, {0, 0, 1}, 1),
                        ERPlane(0, 0, 1, -5), a1, a2),
              1);
    expectNear(a1((a1.startAngle() + a1.endAngle()) / 2), ERPoint3D(-1, 0, 5));
    expectNear(a2((a2.startAngle() + a2.endAngle()) / 2), ERPoint3D(5, 0, 5));
}

TEST(Cone, HasRadiiByHeightAndAPlaceHolder) {
    ERCone cone({1, 2, 3}, {0, 0, 2}, pi / 4);
    EXPECT_NEAR(cone.diameter(-3), -6, 1e-15);
    EXPECT_EQ(distance(cone.axe(), ERPoint3D(1, 2, 77)), 0);
    cone.reverse();
    EXPECT_EQ(cone.direction(), ERVector3D(0, 0, -1));
    ERPoint3D a(7, 8, 9), b = a;
    double x = 7;
    EXPECT_EQ(cone.project(ERPoint3D(), a, b, x, x, x, x), 1);
    EXPECT_EQ(a, b);
    EXPECT_EQ(x, 7);
}

// Kept: an axis of a torus stays as long as it was given, until a similitude makes it a unit vector.
TEST(Torus, NormalisesItsAxisUnderSimilitudesAlone) {
    ERTorus torus(5, 1, {0, 0, 3}, {0, 0, 0});
    torus.transformFrom(ERRotation3D(Coord3D::CoordX, pi));
    expectNear(torus.vect(), ERVector3D(0, 0, -3));
    torus.transformFrom(ERScaling3D(2));
    expectNear(torus.vect(), ERVector3D(0, 0, -1));
    EXPECT_EQ(torus.large_radius(), 10);
    // The size of a factor goes to the radii, and its sign to the axis.
    torus.transformTo(ERScaling3D(-0.5));
    expectNear(torus.vect(), ERVector3D(0, 0, 1));
    EXPECT_EQ(torus.small_radius(), 4);
}

TEST(UnboundedSurfaces, AreStoredAsListedAndPrinted) {
    const auto expectStored = [](const auto& surface, const std::vector<double>& record,
                                 const char* text) {
        const std::string bytes = recordOf(surface);
        EXPECT_EQ(surface.binaryStoreSize(), bytes.size());
        EXPECT_EQ(bytes, std::string(reinterpret_cast<const char*>(record.data()),
                                     record.size() * sizeof(double)));
        std::decay_t<decltype(surface)> restored;
        restoreFrom(bytes, restored);
        EXPECT_EQ(printed(restored), text);
        const std::unique_ptr<ERSurface> copy(surface.getCopy());
        EXPECT_EQ(printed(*copy), text);
    };
    expectStored(ERPlane(0, 0, 2, 4), {0, 0, 1, 2}, "Plane : a=0 b=0 c=1 d=2\n");
    expectStored(ERCylinder(ERInfLine3D(ERVector3D(0, 0, 1), {3, 4, 0}), 2), {0, 0, 1, 3, 4, 0, 2},
                 "Cylinder : Radius 2 Axis Droite Infinie Org=[3,4,0] Vec=<0,0,1>\n");
    expectStored(ERCone({1, 2, 3}, {0, 2, 0}, 0.5), {0, 1, 0, 1, 2, 3, 0.5},
                 "Cone : Half angle 0.5 Apex [1,2,3] Axis <0,1,0>\n");
    expectStored(ERSphere({1, 2, 3}, 4), {1, 2, 3, 4}, "Sphere : Centre [1,2,3] Radius 4\n");
    expectStored(ERTorus(6, 5, {0, 2, 0}, {1, 2, 3}), {0, 2, 0, 1, 2, 3, 5, 6},
                 "Torus : Major radius 6 Minor radius 5 Axis <0,2,0> Origin [1,2,3]\n");
    expectStored(ERCylinder(), {0, 0, 1, 0, 0, 0, 1},
                 "Cylinder : Radius 1 Axis Droite Infinie Org=[0,0,0] Vec=<0,0,1>\n");
    expectStored(ERTorus(), {0, 0, 1, 0, 0, 0, 1, 10},
                 "Torus : Major radius 10 Minor radius 1 Axis <0,0,1> Origin [0,0,0]\n");
}

}  // namespace
}  // namespace kerf::test
