#include <cmath>
#include <functional>
#include <memory>
#include <numbers>

#include "kerf/curves/arc.h"
#include "kerf/curves/circle_builders.h"
#include "kerf/surfaces/cone.h"
#include "kerf/surfaces/cylinder.h"
#include "kerf/surfaces/plane.h"
#include "kerf/surfaces/sphere.h"
#include "kerf/surfaces/torus.h"
#include "tests/support/value_checks.h"

// The five surfaces without limits.
namespace kerf::test {
namespace {

// A point of a surface and its outward normal there, from the parametric form in the surface's frame.
struct Spot {
    ERPoint3D point;
    ERVector3D normal;
};

struct Sizes {
    double large, small, angle;
};

// How each surface is made in a frame, what it is there, and whether ProjectionNormale gives the
// outward normal, 1, or its opposite.
struct Family {
    const char* name;
    std::function<std::unique_ptr<ERSurface>(const ERPmIsometrie3D&, const Sizes&)> make;
    std::function<Spot(double u, double v, const Sizes&)> spot;
    double sense;
};

ERVector3D axisOf(const ERPmIsometrie3D& frame) { return frame.getVector(Coord3D::CoordZ); }

const Family families[] = {
    {"plane",
     [](const auto& frame, const Sizes&) {
         return std::make_unique<ERPlane>(frame, Coord3D::CoordZ);
     },
     [](double u, double v, const Sizes&) {
         return Spot{{u, v, 0}, {0, 0, 1}};
     },
     1},
    {"cylinder",
     [](const auto& frame, const Sizes& s) {
         return std::make_unique<ERCylinder>(ERInfLine3D(axisOf(frame), frame.origine()), s.large);
     },
     [](double u, double v, const Sizes& s) {
         const ERVector3D out(std::cos(v), std::sin(v), 0);
         return Spot{ERPoint3D(0, 0, u) + out * s.large, out};
     },
     1},
    {"cone",
     [](const auto& frame, const Sizes& s) {
         return std::make_unique<ERCone>(frame.origine(), axisOf(frame) * 3.0, s.angle);
     },
     [](double u, double v, const Sizes& s) {
         const double c = std::cos(s.angle), along = std::copysign(std::fabs(u) + 1, u);
         const ERVector3D out(std::cos(v), std::sin(v), 0), up(0, 0, std::copysign(1, u));
         return Spot{ERPoint3D((out * std::sin(s.angle) + up * c) * std::fabs(along)),
                     out * c - up * std::sin(s.angle)};
     },
     -1},
    {"sphere",
     [](const auto& frame, const Sizes& s) {
         return std::make_unique<ERSphere>(frame.origine(), s.large);
     },
     [](double u, double v, const Sizes& s) {
         const ERVector3D out(std::cos(u) * std::cos(v), std::sin(u) * std::cos(v), std::sin(v));
         return Spot{ERPoint3D(out * s.large), out};
     },
     1},
    {"torus",
     [](const auto& frame, const Sizes& s) {
         return std::make_unique<ERTorus>(s.large, s.small, axisOf(frame), frame.origine());
     },
     [](double u, double v, const Sizes& s) {
         const ERVector3D around(std::cos(u), std::sin(u), 0);
         const ERVector3D out = around * std::cos(v) + ERVector3D(0, 0, std::sin(v));
         return Spot{ERPoint3D(around * s.large + out * s.small), out};
     },
     1}};

// A surface with a point off it whose foot is known.
struct Problem {
    const Family& family;
    std::unique_ptr<ERSurface> surface;
    Spot foot;
    double distance;
    ERPoint3D point;
};

Problem drawProblem(const Family& family, std::mt19937& random) {
    const auto draw = [&](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(draw(-1, 1), draw(-1, 1), draw(-1, 1)),
                                                ERVector3D(draw(-1, 1), draw(-1, 1), draw(-1, 1)),
                                                ERPoint3D(draw(-9, 9), draw(-9, 9), draw(-9, 9)));
    const Sizes sizes{draw(2, 5), draw(0.5, 1.5), draw(0.2, 1.2)};
    const Spot local = family.spot(draw(-3, 3), draw(-3, 3), sizes);
    const Spot spot{frame >> local.point, frame >> local.normal};
    const double k = draw(-0.15, 0.3);
    return {family, family.make(frame, sizes), spot, k, spot.point + spot.normal * k};
}

// 1e-13 of a size of 10.
constexpr double tolerance = 1e-12;

void expectSolved(const Problem& problem, const ERSurface& surface, double tol = tolerance) {
    double d = nan;
    ERPoint3D foot;
    ERVector3D normal;
    surface.SignedMinimalDistance(problem.point, d);
    EXPECT_NEAR(d, problem.distance, tol) << problem.family.name;
    ASSERT_EQ(surface.ProjectionNormale(problem.point, foot, normal), 1) << problem.family.name;
    expectNear(foot, problem.foot.point, tol);
    expectNear(normal, problem.foot.normal * problem.family.sense, 20 * tol);
}

class AnalyticSurfaces : public testing::Test {
protected:
    template <class Check>
    void onProblems(Check check) {
        for (int i = 0; i < 200; ++i) {
            for (const Family& family : families) {
                SCOPED_TRACE(std::string(family.name) + ", " + drawnFrom(5, i));
                check(drawProblem(family, random));
            }
        }
    }

    std::mt19937 random{5};
};

TEST_F(AnalyticSurfaces, MeasureAndProjectAsTheirParametricFormsSay) {
    onProblems([](const Problem& problem) { expectSolved(problem, *problem.surface); });
}

TEST_F(AnalyticSurfaces, MoveWithTheirPoints) {
    const ERPmIsometrie3D turn = ERRotation3D(ERVector3D(1, 2, 3), 0.8);
    const ERPmIsometrie3D isometries[] = {ERTranslation3D(ERPoint3D(3, -4, 5)) * turn,
                                          ERSymetrie3D(ERVector3D(3, 1, -1)) * turn};
    const ERPmSimilitude3D similitudes[] = {ERScaling3D(2.5) * isometries[0],
                                            isometries[1] * ERScaling3D(-0.5)};
    const auto check = [](const Problem& problem, const auto& t, bool inverse) {
        const auto image = [&](const auto& value) { return inverse ? t << value : t >> value; };
        const double factor = inverse ? 1 / t.getFactHomo() : t.getFactHomo();
        const std::unique_ptr<ERSurface> moved(
            static_cast<ERSurface*>(problem.surface->duplicate()));
        inverse ? moved->transformTo(t) : moved->transformFrom(t);
        const Problem after{problem.family,
                            nullptr,
                            {image(problem.foot.point), image(problem.foot.normal).getnormalized()},
                            problem.distance * std::fabs(factor),
                            image(problem.point)};
        expectSolved(after, *moved, 10 * tolerance);
    };
    onProblems([&](const Problem& problem) {
        for (const bool inverse : {false, true}) {
            for (const auto& t : isometries) check(problem, t, inverse);
            for (const auto& t : similitudes) check(problem, t, inverse);
        }
        Problem scaled{problem.family,
                       nullptr,
                       {(problem.foot.point + ERPoint3D(1, 2, 3)) * 3.0, problem.foot.normal},
                       problem.distance * 3.0,
                       (problem.point + ERPoint3D(1, 2, 3)) * 3.0};
        problem.surface->translate(ERPoint3D(1, 2, 3));
        problem.surface->scale(3.0);
        expectSolved(scaled, *problem.surface, 10 * tolerance);
    });
}

TEST_F(AnalyticSurfaces, OffsetsMoveThemAlongTheOutwardNormal) {
    onProblems([](const Problem& problem) {
        // A cone is moved as a whole, so outwards on the nappe along its axis alone.
        const auto* cone = ERCone::castdown(problem.surface.get());
        if (cone && ERVector3D(cone->apex(), problem.point) * cone->direction() < 0) return;
        problem.surface->offset(problem.distance);
        double d = nan;
        problem.surface->SignedMinimalDistance(problem.point, d);
        EXPECT_NEAR(d, 0, tolerance);
    });
}

// Neither crashes nor hangs, and a result of 0 leaves what it was given.
TEST_F(AnalyticSurfaces, BearAnyNumbers) {
    const double wild[] = {nan, infinity, -infinity, 1e15, 1e-300, 0, 1, -2};
    const auto any = [&] { return wild[random() % 8]; };
    for (int i = 0; i < 20000; ++i) {
        const ERPoint3D p = drawn<ERPoint3D>(any), q = drawn<ERPoint3D>(any);
        const ERVector3D v = drawn<ERVector3D>(any);
        const std::unique_ptr<ERSurface> surfaces[] = {
            std::make_unique<ERPlane>(any(), any(), any(), any()),
            std::make_unique<ERPlane>(q, v),
            std::make_unique<ERCylinder>(ERInfLine3D(v, q), any()),
            std::make_unique<ERCone>(q, v, any()),
            std::make_unique<ERSphere>(q, any()),
            std::make_unique<ERTorus>(any(), any(), v, q)};
        for (const auto& surface : surfaces) {
            surface->offset(any());
            surface->scale(any());
            surface->transformTo(ERScaling3D(any()));
            double d = 0;
            EXPECT_NE(surface->SignedMinimalDistance(p, d), EREntity::NoFootPoint);
            ERPoint3D foot(7, 8, 9);
            ERVector3D normal(7, 8, 9);
            if (surface->ProjectionNormale(p, foot, normal) == 0) {
                EXPECT_EQ(foot, ERPoint3D(7, 8, 9));
                EXPECT_EQ(normal, ERVector3D(7, 8, 9));
            }
        }
    }
}

TEST(UnboundedSurfaces, DegeneratePointsHaveTheirCodes) {
    const ERCylinder cylinder(ERInfLine3D(), 2);
    const ERCone cone({0, 0, 0}, {0, 0, 1}, 0.5);
    const ERSphere sphere({0, 0, 0}, 2);
    const ERTorus torus(5, 2, {0, 0, 1}, {0, 0, 0});
    const struct {
        const ERSurface& surface;
        ERPoint3D p;
        int code;
        double distance;
        int projects;
    } rows[] = {
        // Kept: the codes of the cylinder are exchanged.
        {cylinder, {0, 0, 3}, EREntity::SingleNearestPoint, -2, 0},
        {cylinder, {1e-12, 0, 3}, EREntity::SingleNearestPoint, -2, 1},
        {cylinder, {0, 3, 3}, EREntity::NearestPointNotUnique, 1, 1},
        {sphere, {0, 0, 0}, EREntity::NearestPointNotUnique, -2, 0},
        {sphere, {0, 1e-12, 0}, EREntity::NearestPointNotUnique, -2, 1},
        {sphere, {0, 3, 0}, EREntity::SingleNearestPoint, 1, 1},
        {torus, {0, 0, 0}, EREntity::NearestPointNotUnique, 3, 0},
        {torus, {0, 0, 12}, EREntity::NearestPointNotUnique, 11, 1},
        {torus, {1, 0, 0}, EREntity::SingleNearestPoint, 2, 1},
        {cone, {0, 0, 2}, EREntity::SingleNearestPoint, -2 * std::sin(0.5), 1},
        // Kept: no projection from the height 1 above the apex; the opposite nappe has no such.
        {cone, {3, 0, 1}, EREntity::SingleNearestPoint, 3 * std::cos(0.5) - std::sin(0.5), 0},
        {cone, {3, 0, -1}, EREntity::SingleNearestPoint, 3 * std::cos(0.5) - std::sin(0.5), 1},
        {cone, {0, 0, 0}, EREntity::SingleNearestPoint, 0, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.surface.className() + (" at " + printed(row.p)));
        double d = nan;
        EXPECT_EQ(row.surface.SignedMinimalDistance(row.p, d), row.code);
        EXPECT_NEAR(d, row.distance, 1e-11);
        ERPoint3D foot(7, 8, 9);
        ERVector3D normal;
        EXPECT_EQ(row.surface.ProjectionNormale(row.p, foot, normal), row.projects);
        EXPECT_EQ(foot == ERPoint3D(7, 8, 9), row.projects == 0);
    }

    ERPoint3D foot;
    ERVector3D normal;
    EXPECT_EQ(cone.ProjectionNormale({3, 0, 1.0000001}, foot, normal), 1);
    EXPECT_EQ(cone.ProjectionNormale({0, 0, -2}, foot, normal), 1);
    EXPECT_EQ(foot, ERPoint3D(0, 0, -2));
    EXPECT_EQ(normal, ERVector3D());
    // Kept: on the axis of a torus the height is the difference of z, and the spine its origin.
    double d = nan;
    EXPECT_EQ(ERTorus(3, 1, {1, 0, 0}, {0, 0, 0}).SignedMinimalDistance({4, 0, 0}, d),
              EREntity::NearestPointNotUnique);
    EXPECT_EQ(d, 2);
    EXPECT_EQ(torus.ProjectionNormale({0, 0, 12}, foot, normal), 1);
    EXPECT_EQ(foot, ERPoint3D(0, 0, 2));
    // Kept: a thin cylinder's feet lie on its axis.
    EXPECT_EQ(ERCylinder(ERInfLine3D(), 3e-6).ProjectionNormale({5, 0, 4}, foot, normal), 1);
    EXPECT_EQ(foot, ERPoint3D(0, 0, 4));
    EXPECT_EQ(normal, ERVector3D());
}

TEST(UnboundedSurfaces, NegativeRadiiStandForTheirSize) {
    ERSphere sphere({1, 1, 1}, 2);
    sphere.scale(-1);
    EXPECT_EQ(sphere.radius(), -2);
    ERTorus torus(3, 1, {0, 0, 1}, {0, 0, 0});
    torus.scale(-1);
    ERCylinder cylinder;
    cylinder.diameter(-4);
    const std::tuple<const ERSurface&, ERPoint3D, double, ERPoint3D> rows[] = {
        {sphere, {-1, -1, 4}, 3, {-1, -1, 1}},
        {torus, {5, 0, 0}, 1, {4, 0, 0}},
        {cylinder, {0, 3, 7}, 1, {0, 2, 7}}};
    for (const auto& [surface, p, distance, expectedFoot] : rows) {
        double d = nan;
        ERPoint3D foot;
        ERVector3D normal;
        surface.SignedMinimalDistance(p, d);
        EXPECT_EQ(d, distance);
        EXPECT_EQ(surface.ProjectionNormale(p, foot, normal), 1);
        EXPECT_EQ(foot, expectedFoot);
    }
}

TEST(Plane, NormalisesItsCoefficientsAndTurnsOver) {
    EXPECT_EQ(printed(ERPlane(0, 0, 2, 4)), "Plane : a=0 b=0 c=1 d=2\n");
    EXPECT_EQ(printed(ERPlane(0, 0, 0, 4)), "Plane : a=0 b=0 c=0 d=4\n");
    EXPECT_EQ(ERPlane(3e-200, 0, 4e-200, 5e-200), ERPlane(3, 0, 4, 5));
    ERPlane plane(ERPoint3D(1, 2, 3), ERVector3D(0, 5, 0));
    EXPECT_EQ(plane, ERPlane(0, 1, 0, -2));
    EXPECT_EQ(plane, ERPlane(ERTranslation3D(ERPoint3D(7, 2, 7)), Coord3D::CoordY));
    EXPECT_EQ(plane.origine(), ERPoint3D(0, 2, 0));
    EXPECT_EQ(plane.distancePt(ERPoint3D(9, -1, 9)), -3);
    EXPECT_EQ(plane.getOffset(3), ERPlane(0, 1, 0, -5));
    EXPECT_EQ(plane.getreversed(), ERPlane(0, -1, 0, 2));
    plane.reverse();
    EXPECT_EQ(plane.distancePt(ERPoint3D(9, -1, 9)), 3);
    EXPECT_EQ(plane.getTransfo().origine(), ERPoint3D(0, 2, 0));
    EXPECT_EQ(plane.getTransfo().getVector(Coord3D::CoordZ), ERVector3D(0, -1, 0));
}

TEST(Plane, ProjectsAndMeetsLines) {
    const ERPlane plane(ERPoint3D(1, 2, 3), ERVector3D(1, -2, 2));
    const ERInfLine3D line(ERPoint3D(4, 5, 6), ERPoint3D(6, 4, 9));
    double d = nan;
    for (const double s : {-3.0, 0.0, 8.0}) {
        const ERPoint3D p = line.origine() + line.dirVector() * s;
        EXPECT_NEAR(distance(plane.project(line), plane.project(p)), 0, 1e-13);
        plane.SignedMinimalDistance(plane.project(p), d);
        EXPECT_NEAR(d, 0, 1e-14);
    }
    const ERVector3D normal(1, -2, 2), along = plane.project(line.dirVector());
    EXPECT_NEAR(along * normal, 0, 1e-14);
    expectNear((line.dirVector() - along) ^ normal, ERVector3D());
    ERPoint3D p(7, 8, 9);
    EXPECT_EQ(intersect(plane, line, p), 1);
    EXPECT_NEAR(plane.distancePt(p), 0, 1e-14);
    EXPECT_NEAR(distance(line, p), 0, 1e-14);
    EXPECT_EQ(intersect(ERPlane(0, 0, 1, 4), ERInfLine3D(ERVector3D(1, 1, 0), {0, 0, 3}), p), 0);
    EXPECT_NEAR(plane.distancePt(p), 0, 1e-14);
    EXPECT_EQ(intersect(ERPlane(0, 0, 1, -4), ERInfLine3D(ERVector3D(1, 0, 1e-9), {0, 0, 0}), p),
              1);
    EXPECT_NEAR(p.x(), 4e9, 1e-5);
}

TEST(Plane, CarriesSlots) {
    const ERPlane plane(ERPoint3D(0, 0, 5), ERVector3D(0, 0, 1));
    ERArc3D a1, a2;
    ASSERT_EQ(BuildSlot(ERCircle3D({0, 0, 5}, {0, 0, 1}, 1), ERCircle3D({4, 0, 7}, {0, 0, 1}, 1),
                        plane, a1, a2),
              1);
    expectNear(a1((a1.startAngle() + a1.endAngle()) / 2), ERPoint3D(-1, 0, 5));
    expectNear(a2((a2.startAngle() + a2.endAngle()) / 2), ERPoint3D(5, 0, 5));
}

TEST(Cone, HasRadiiByHeightAndAPlaceHolder) {
    ERCone cone({1, 2, 3}, {0, 0, 2}, std::numbers::pi / 4);
    EXPECT_NEAR(cone.radius(3), 3, 1e-15);
    EXPECT_NEAR(cone.diameter(-3), -6, 1e-15);
    EXPECT_EQ(distance(cone.axe(), ERPoint3D(1, 2, 77)), 0);
    cone.reverse();
    EXPECT_EQ(cone.direction(), ERVector3D(0, 0, -1));
    ERPoint3D a(7, 8, 9), b = a;
    double x[4] = {7, 7, 7, 7};
    EXPECT_EQ(cone.project(ERPoint3D(), a, b, x[0], x[1], x[2], x[3]), 1);
    EXPECT_EQ(a, b);
    EXPECT_THAT(x, testing::Each(7));
}

// Kept: an axis of a torus stays as long as it was given, until a similitude makes it a unit vector.
TEST(Torus, NormalisesItsAxisUnderSimilitudesAlone) {
    ERTorus torus(5, 1, {0, 0, 3}, {0, 0, 0});
    torus.transformFrom(ERRotation3D(Coord3D::CoordX, std::numbers::pi));
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
    const struct {
        std::unique_ptr<ERSurface> surface, empty;
        std::vector<double> record;
        const char* text;
    } rows[] = {{std::make_unique<ERPlane>(0, 0, 2, 4),
                 std::make_unique<ERPlane>(),
                 {0, 0, 1, 2},
                 "Plane : a=0 b=0 c=1 d=2\n"},
                {std::make_unique<ERCylinder>(ERInfLine3D(ERVector3D(0, 0, 1), {3, 4, 0}), 2),
                 std::make_unique<ERCylinder>(),
                 {0, 0, 1, 3, 4, 0, 2},
                 "Cylinder : Radius 2 Axis Droite Infinie Org=[3,4,0] Vec=<0,0,1>\n"},
                {std::make_unique<ERCone>(ERPoint3D(1, 2, 3), ERVector3D(0, 2, 0), 0.5),
                 std::make_unique<ERCone>(),
                 {0, 1, 0, 1, 2, 3, 0.5},
                 "Cone : Half angle 0.5 Apex [1,2,3] Axis <0,1,0>\n"},
                {std::make_unique<ERSphere>(ERPoint3D(1, 2, 3), 4),
                 std::make_unique<ERSphere>(),
                 {1, 2, 3, 4},
                 "Sphere : Centre [1,2,3] Radius 4\n"},
                {std::make_unique<ERTorus>(6, 5, ERVector3D(0, 2, 0), ERPoint3D(1, 2, 3)),
                 std::make_unique<ERTorus>(),
                 {0, 2, 0, 1, 2, 3, 5, 6},
                 "Torus : Major radius 6 Minor radius 5 Axis <0,2,0> Origin [1,2,3]\n"}};
    for (const auto& row : rows) {
        TemporaryFile place;
        {
            ERFile file(place.path(), createFile);
            row.surface->saveGuts(file);
        }
        EXPECT_EQ(row.surface->binaryStoreSize(), row.record.size() * sizeof(double));
        const auto bytes = place.bytes();
        ASSERT_EQ(bytes.size(), row.record.size() * sizeof(double));
        EXPECT_EQ(std::memcmp(bytes.data(), row.record.data(), bytes.size()), 0);
        ERFile file(place.path(), CFile::modeRead);
        row.empty->restoreGuts(file);
        EXPECT_EQ(printed(*row.empty), row.text);
        const std::unique_ptr<EREntity> copy(row.surface->duplicate());
        EXPECT_EQ(printed(*copy), row.text);
    }
    EXPECT_EQ(printed(ERCylinder()),
              "Cylinder : Radius 1 Axis Droite Infinie Org=[0,0,0] Vec=<0,0,1>\n");
    EXPECT_EQ(printed(ERTorus()),
              "Torus : Major radius 10 Minor radius 1 Axis <0,0,1> Origin [0,0,0]\n");
}

}  // namespace
}  // namespace kerf::test
