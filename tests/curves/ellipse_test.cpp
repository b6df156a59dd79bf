#include "kerf/curves/ellipse.h"

#include <cmath>

#include "kerf/curves/nurbs_curve.h"
#include "tests/curves/angular_checks.h"
#include "tests/curves/curve_contract.h"
#include "tests/support/value_checks.h"

// Ellipses and their arcs. The contract of every curve runs on the samples; here is what is theirs
// alone.
namespace kerf::test {
namespace {

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, -2, 2), ERPoint3D(3, 1, -4));

struct NamedArc {
    const char* name;
    ERArcEllipse2D arc;
};

std::vector<NamedArc> arcs() {
    return {{"Quarter", {5, 2, 0.4, {1, 2}, 0, pi / 2}},
            {"Turn", {3, 2, -1, {1, 2}, 0, 2 * pi}},
            {"Clockwise", {2, 4, 0.3, {-1, 0}, 2.5, -1.0}},
            {"TurnAndAHalf", {3, 1, 2.0, {0, 0}, -1, 3 * pi}},
            {"Thin", {4, 0.001, 0.7, {1, 1}, 0.5, 3}},
            {"EqualFoci", {2, 2, 0.7, {1, 1}, 0.5, 3}},
            {"NearlyEqualFoci", {{1, 1}, {1, 1 + 2e-15}, 3, 0.5, 3}}};
}

std::vector<PlaneCurveSample> planeArcs() {
    std::vector<PlaneCurveSample> samples;
    for (const NamedArc& named : arcs())
        samples.push_back(sampleOf<Space2D>(named.name, named.arc));
    return samples;
}
std::vector<SpaceCurveSample> spaceArcs() {
    std::vector<SpaceCurveSample> samples;
    for (const NamedArc& named : arcs())
        samples.push_back(
            sampleOf<Space3D>(named.name, ERArcEllipse3D(tilted, named.arc), BoxIsLoose));
    return samples;
}

INSTANTIATE_TEST_SUITE_P(Ellipses, PlaneCurveContract, ::testing::ValuesIn(planeArcs()),
                         nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(Ellipses, SpaceCurveContract, ::testing::ValuesIn(spaceArcs()),
                         nameOfSample<SpaceCurveSample>);

double sumToFoci(const EREllipse2D& ellipse, const ERPoint2D& p) {
    return distance(p, ellipse.focus1()) + distance(p, ellipse.focus2());
}

TEST(Ellipse2D, AxesAreTheSumOfDistancesAndTheRest) {
    const EREllipse2D ellipse(ERPoint2D(4, 0), ERPoint2D(-4, 0), 10);
    EXPECT_EQ(ellipse.bigAxe(), 10);
    EXPECT_EQ(ellipse.getSmallAxe(), 6);
    EXPECT_EQ(ellipse.getFocus()[1], ERPoint2D(-4, 0));
    const ERArcEllipse2D arc(ellipse, 0, 7);
    expectNear(arc(0), ERPoint2D(5, 0));
    expectNear(arc(pi / 2), ERPoint2D(0, 3));
    for (double u = 0; u < 7; u += 0.3) EXPECT_NEAR(sumToFoci(ellipse, arc(u)), 10, 1e-14);
    // Foci too far apart turn the length into the minor axis.
    EXPECT_EQ(EREllipse2D(ERPoint2D(2, 0), ERPoint2D(-2, 0), 3).bigAxe(), 5);
    EXPECT_EQ(EREllipse2D(ERPoint2D(2, 0), ERPoint2D(-2, 0), 4).bigAxe(), std::sqrt(32.0));
}

TEST(Ellipse2D, AxesMayComeInAnyOrder) {
    for (const EREllipse2D& e : {EREllipse2D(5, 3, 0.5, {1, 2}), EREllipse2D(3, 5, 0.5, {1, 2})}) {
        EXPECT_EQ(e.bigAxe(), 10);
        expectNear(e.focus1(), ERPoint2D(1 + 4 * std::cos(0.5), 2 + 4 * std::sin(0.5)));
    }
    EXPECT_EQ(EREllipse2D(2, 2, 0.5, ERPoint2D()).direction(), ERVector2D(1, 0));
}

// Built from its answer.
TEST(Ellipse2D, IsFoundThroughFiveOfItsPoints) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> place(-100, 100), part(0.1, 1);
    for (int draw = 0; draw < 200; ++draw) {
        SCOPED_TRACE(drawnFrom(3, draw));
        const double big = 1 + part(random);
        const ERArcEllipse2D source(big, big * part(random) * 0.95, place(random),
                                    ERPoint2D(place(random), place(random)), 0, 1);
        ERPoint2D p[5];
        double u = place(random);
        for (ERPoint2D& point : p) point = source(u += part(random) + 0.15);
        const EREllipse2D found(p[0], p[3], p[2], p[4], p[1]);
        expectNear(found.center(), source.center(), 1e-9);
        EXPECT_NEAR(found.bigAxe(), source.bigAxe(), 1e-9);
        EXPECT_NEAR(found.getSmallAxe(), source.getSmallAxe(), 1e-9);
        EXPECT_NEAR(found.direction() ^ source.direction(), 0, 1e-7);
    }
}

TEST(Ellipse2D, OtherConicsThroughFivePointsAreNone) {
    const ERPoint2D a(1, 1), b(2, 0.5), c(4, 0.25), d(-1, -1), e(-2, -0.5);
    for (const EREllipse2D& none :
         {EREllipse2D(a, b, c, d, e),                            // hyperbola
          EREllipse2D({0, 0}, {1, 1}, {2, 4}, {3, 9}, {-1, 1}),  // parabola
          EREllipse2D({0, 0}, {1, 1}, {2, 2}, {3, 9}, {-1, 1}),  // lines
          EREllipse2D({0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}),   // parallel lines
          EREllipse2D(a, a, a, a, a), EREllipse2D(a, a, b, c, d),
          EREllipse2D(a, b, c, d, ERPoint2D(nan, infinity))})
        EXPECT_EQ(printed(none), printed(EREllipse2D()));
}

// With a > c: major axis 2 sqrt(c), foci at right and left. Else: major axis 2 sqrt(a), foci above
// and below. All signs may be turned over.
TEST(Ellipse2D, CoefficientsAreReadAsStated) {
    const EREllipse2D wide(9, 0, 5, -18, 20, 7), high(-5, 3, -9, 10, 36, -1);
    for (const auto& [e, f1, f2] : {std::tuple(wide, ERPoint2D(3, -2), ERPoint2D(-1, -2)),
                                    std::tuple(high, ERPoint2D(1, 4), ERPoint2D(1, 0))}) {
        EXPECT_EQ(e.bigAxe(), 2 * std::sqrt(5.0));
        EXPECT_EQ(e.focus1(), f1);
        EXPECT_EQ(e.focus2(), f2);
    }
    for (const EREllipse2D& none :
         {EREllipse2D(0, 1, 1, 1, 1, 1), EREllipse2D(1, 1, 1e-14, 1, 1, 1),
          EREllipse2D(1, 0, -1, 1, 1, 1), EREllipse2D(nan, 0, 1, 1, 1, 1)})
        EXPECT_EQ(none.bigAxe(), 0);
}

TEST(EllipseArc, BoxOfManyTurnsIsThatOfTheEllipse) {
    const ERMinimax2D turn = ERArcEllipse2D(5, 3, 0.4, ERPoint2D(1, 2), 0, 2 * pi).getBox();
    EXPECT_EQ(ERArcEllipse2D(5, 3, 0.4, ERPoint2D(1, 2), 1, -1e300).getBox(), turn);
}

// Oracle: the sum over many middle points in long double.
TEST(EllipseArc, LengthIsFoundToTheTolerance) {
    for (const double small : {5.0, 4.0, 1.0, 0.01, 1e-7, 0.0}) {
        SCOPED_TRACE(small);
        const ERArcEllipse2D arc(5, small, 0.4, ERPoint2D(1, 2), -0.3, 5);
        long double sum = 0;
        const int chords = 400000;
        for (int i = 0; i < chords; ++i) {
            const long double u = -0.3L + 5.3L * (i + 0.5L) / chords;
            sum += std::hypot(5.0L * std::sin(u), static_cast<long double>(small) * std::cos(u));
        }
        const double expected = static_cast<double>(sum * 5.3L / chords);
        for (const double tol : {1e-3, 1e-9, 0.0})
            EXPECT_NEAR(arc.arcLength(tol), expected, tol + 1e-9);
        EXPECT_NEAR(arc.arcLength(ERLimites(5, -0.3), 1e-9), expected, 2e-9);
        const double turn = arc.arcLength(ERLimites(0, 2 * pi), 1e-12);
        EXPECT_NEAR(arc.arcLength(ERLimites(-0.3, 5 + 2 * pi * 1000), 1e-9), expected + 1000 * turn,
                    1e-7);
        EXPECT_TRUE(std::isinf(arc.arcLength(ERLimites(0, infinity), 1e-9)));
        EXPECT_EQ(arc.arcLength(ERLimites(1e300, 1e300), nan), 0);
    }
}

TEST(EllipseArc, CutsAreAllOnTheArc) {
    for (const NamedArc& named : arcs()) {
        SCOPED_TRACE(named.name);
        expectCutsOnTheArc<ERArcEllipse3D>(named.arc, tilted, ERPoint2D(0.9, 1.1));
        ERVec<double> withAxis, withLine;
        named.arc.intersectWithAxeY(0.9, withAxis);
        named.arc.intersectWith(ERPoint2D(0.9, 7), ERVector2D(1, 0), withLine);
        ASSERT_EQ(withAxis.length(), withLine.length());
        for (unsigned int k = 0; k < withAxis.length(); ++k)
            EXPECT_NEAR(named.arc(withAxis[k]).x(), 0.9, 1e-12);
    }
}

TEST(EllipseArc, EdgeOnProjectionReachesAsFarAsTheArc) {
    for (const NamedArc& named : arcs()) {
        SCOPED_TRACE(named.name);
        const ERArcEllipse3D arc(tilted, named.arc);
        expectEdgeOnReach(arc, arc, arc.getBound(), tilted);
        expectEdgeOnReach(EREllipse3D(tilted, named.arc), arc, ERLimites(0, 2 * pi), tilted);
    }
}

// A circle seen almost face on gives foci that lie too near for their direction to be exact.
TEST(EllipseArc, ProjectionKeepsItsAngleWhereTheFociNearlyMeet) {
    const ERArcEllipse3D arc(ERTranslation3D(ERPoint3D(1000, 2000, 0)),
                             ERArcEllipse2D(2, 2, 0, ERPoint2D(), 0.5, 3));
    for (const double tilt : {1e-2, 1e-5, 1e-7, 1e-9, 0.0}) {
        SCOPED_TRACE(tilt);
        const ERPmIsometrie3D t = ERChgRepere3D(ERVector3D(tilt, 2 * tilt, 1), ERPoint3D());
        const t_SmartPtr<EREntity2DWF> projected = arc.get2DEntProjectedOn(t);
        const ERArcEllipse2D& seen = *ERArcEllipse2D::castdown(projected.getObject());
        expectNear(seen.firstPt(), (t << arc.firstPt()).castToPoint2D(Coord3D::CoordZ), 1e-11);
        expectNear(seen.lastPt(), (t << arc.lastPt()).castToPoint2D(Coord3D::CoordZ), 1e-11);
    }
}

TEST(Ellipse3D, IsCarriedAndSeenAsItsArcs) {
    const EREllipse3D ellipse(tilted, EREllipse2D(5, 2, 0.4, ERPoint2D(1, 2)));
    const ERPmIsometrie3D mirror = ERSymetrie3D(ERVector3D(1, -2, 0.5));
    EREllipse3D moved(ellipse);
    moved.transformFrom(mirror);
    EREllipse3D turned(ellipse);
    turned.reverse();
    expectNear(turned.normale(), -ellipse.normale());
    for (unsigned int i = 0; i < 2; ++i) {
        expectNear(moved.getFocus()[i], mirror >> ellipse.getFocus()[i], 1e-12);
        expectNear(turned.getFocus()[i], ellipse.getFocus()[i], 1e-12);
    }
    const ERPmIsometrie3D t = ERChgRepere3D(ERVector3D(1, 1, 1), ERPoint3D(1, 1, 1));
    const t_SmartPtr<EREntity2DWF> projected = ellipse.get2DEntProjectedOn(t);
    const EREllipse2D& seen = *EREllipse2D::castdown(projected.getObject());
    const ERArcEllipse3D arc(ellipse, 0, 6);
    for (double u = 0; u < 6; u += 0.5)
        EXPECT_NEAR(sumToFoci(seen, (t << arc(u)).castToPoint2D(Coord3D::CoordZ)), seen.bigAxe(),
                    1e-13);
}

TEST(Ellipses, PrintAndStoreWhatTheyHold) {
    const EREllipse2D ellipse(ERPoint2D(4, 0), ERPoint2D(-4, 0), 10);
    const std::string axes =
        "Ellipse\nBig Axe 10\nSmall Axe 6\nfocus 1 [4,0]\nfocus 2 [-4,0]\nCenter  [0,0]\n";
    EXPECT_EQ(printed(ellipse), axes);
    EXPECT_EQ(printed(ERArcEllipse2D(ellipse, 0, pi)),
              axes + "Angle de Debut:0\nAngle de Fin  :180\n");
    EXPECT_EQ(EREllipse2D().binaryStoreSize(), 40u);
    EXPECT_EQ(ERArcEllipse2D().binaryStoreSize(), 56u);
    EXPECT_EQ(EREllipse3D().binaryStoreSize(), 156u);
    EXPECT_EQ(ERArcEllipse3D().binaryStoreSize(), 172u);
    // A record whose foci lie too far apart counts as a segment.
    TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        for (const double field : {3.0, 0.0, -3.0, 0.0, 2.0}) file.Write(field);
    }
    ERFile file(place.path(), CFile::modeRead);
    EREllipse2D damaged;
    damaged.restoreGuts(file);
    EXPECT_EQ(damaged.getSmallAxe(), 0);
}

}  // namespace
}  // namespace kerf::test
