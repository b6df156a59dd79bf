#include "kerf/curves/arc.h"

#include <cmath>

#include "kerf/curves/ellipse.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/info_point.h"
#include "kerf/values/transformed_entity.h"
#include "tests/curves/angular_checks.h"
#include "tests/curves/curve_contract.h"
#include "tests/support/value_checks.h"

// Circular arcs. The contract of every curve runs on the samples; here is what is theirs alone.
namespace kerf::test {
namespace {

const ERPmIsometrie3D tilted = ERChgRepere3D(ERVector3D(1, -2, 2), ERPoint3D(3, 1, -4));
const ERPmIsometrie3D leftHanded = tilted * ERSymetrie3D(Coord3D::CoordX);

struct NamedArc {
    const char* name;
    ERArc2D arc;
};

std::vector<NamedArc> arcs() {
    return {
        {"WithinAQuadrant", {{0, 0}, 1, 0.2, 1.3}},    {"OverTwoAxes", {{2, -1}, 3, 0.5, 4.0}},
        {"Clockwise", {{0, 0}, 1, 2.5, -1.0}},         {"Turn", {{1, 1}, 2, 0, 2 * pi}},
        {"ClockwiseTurn", {{1, 1}, 2, 3 + 2 * pi, 3}}, {"TurnAndAHalf", {{0, 0}, 5, -1, 3 * pi}},
        {"NegativeRadius", {{1, 0}, -2, 0.3, 2}}};
}

std::vector<PlaneCurveSample> planeArcs() {
    std::vector<PlaneCurveSample> samples;
    for (const NamedArc& named : arcs())
        samples.push_back(sampleOf<Space2D>(named.name, named.arc, SecondDerivativeDiffers));
    return samples;
}

std::vector<SpaceCurveSample> spaceArcs() {
    std::vector<SpaceCurveSample> samples;
    for (const NamedArc& named : arcs()) {
        samples.push_back(sampleOf<Space3D>(named.name, ERArc3D(tilted, named.arc),
                                            SecondDerivativeDiffers | BoxIsLoose));
        samples.push_back(sampleOf<Space3D>(std::string(named.name) + "LeftHanded",
                                            ERArc3D(leftHanded, named.arc),
                                            SecondDerivativeDiffers | BoxIsLoose));
    }
    return samples;
}

INSTANTIATE_TEST_SUITE_P(Arcs, PlaneCurveContract, ::testing::ValuesIn(planeArcs()),
                         nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(Arcs, SpaceCurveContract, ::testing::ValuesIn(spaceArcs()),
                         nameOfSample<SpaceCurveSample>);

TEST(Arc2D, NormalIsAPositionAndTheSecondDerivativePointsOutwards) {
    const ERArc2D arc(ERPoint2D(1, 2), 3, 0, 2);
    EXPECT_EQ(arc.PtCur(0).secondDerivative(), ERVector2D(3, 0));
    EXPECT_EQ(arc.normal(0), ERPoint2D(1, 5));
    EXPECT_EQ(static_cast<const ERFiniteEntity2DWF&>(arc).normal(0), ERVector2D(-1, 0));
    expectNear(ERArc3D(tilted, arc).normal(0), tilted >> ERPoint3D(1, 5, 0));
}

TEST(Arcs, DistanceIsOfTheCircleInSpaceAndNoneThroughTheFlatEntity) {
    ERArc2D arc(ERPoint2D(1, 2), 3, 0, 0.1);
    double d = 7;
    EXPECT_EQ(static_cast<const EREntity2D&>(arc).SignedMinimalDistance(ERPoint2D(9, 2), d),
              EREntity::NoFootPoint);
    EXPECT_EQ(d, 7);
    EXPECT_EQ(static_cast<ERFiniteEntity2DWF&>(arc).SignedMinimalDistance(ERPoint2D(9, 2), d),
              EREntity::SingleNearestPoint);
    EXPECT_EQ(d, 0);
    EXPECT_EQ(ERArc3D(tilted, arc).SignedMinimalDistance(tilted >> ERPoint3D(-3, 2, 0), d),
              EREntity::SingleNearestPoint);
    EXPECT_NEAR(d, 1, 1e-13);
}

TEST(Arc2D, BoxOfManyTurnsIsThatOfTheCircle) {
    for (const double end : {1e6, -1e6, 1e300, -1e300}) {
        const ERMinimax2D box = ERArc2D(ERPoint2D(1, 1), 2, 0.3, end).getBox();
        EXPECT_LE(box.xmax(), 3);
        if (std::fabs(end) == 1e6) {
            expectNear(box.MinPoint(), ERPoint2D(-1, -1));
            expectNear(box.MaxPoint(), ERPoint2D(3, 3));
        }
    }
}

TEST(Arc2D, LengthIsExactWhateverTheToleranceAndTheOrder) {
    const ERArc2D arc(ERPoint2D(1, 1), 2, 3, -1);
    EXPECT_EQ(arc.arcLength(100), 8);
    EXPECT_EQ(arc.arcLength(ERLimites(1.5, 1), nan), 1);
}

TEST(Arc2D, EqualAnglesKeepTheOrderOfTheSamples) {
    const ERArc2D point(ERPoint2D(), 1, 0.5, 0.5);
    EXPECT_EQ(point.approxime(3).length(), 3u);
    EXPECT_EQ(point.approxime(point.getBound(), 1e-3).length(), 2u);
    EXPECT_EQ(ERArc2D(ERPoint2D(), 1, 0, 4 * pi).approxime(ERLimites(0, 4 * pi), 1e-3).length(),
              2u);
}

TEST(Arc2D, NormalizingTakesTurnsOff) {
    const auto normalized = [](double start, double end) {
        ERArc2D arc(ERPoint2D(), 1, start, end);
        arc.normalized();
        return std::pair<double, double>(arc.udeb(), arc.ufin());
    };
    EXPECT_DOUBLE_EQ(normalized(1.5 * pi, 2 * pi).first, -pi / 2);
    EXPECT_EQ(normalized(1.5 * pi, 2 * pi).second, 0);
    for (const auto& [start, end] : {std::pair(1.5 * pi, 1.75 * pi), {-20.0, 1.0}, {3.0, 100.0}})
        EXPECT_EQ(normalized(start, end), std::pair(start, end));
    // The interval is met to the last bit about odd multiples of pi, too.
    for (int odd = 3; odd < 2000; odd += 2) {
        for (const double start : {std::nextafter(odd * pi, 0), odd * pi, odd * pi + 1e-12}) {
            const auto turned = normalized(start, start - 1);
            EXPECT_GT(turned.first, -pi) << odd;
            EXPECT_LE(turned.first, pi) << odd;
            EXPECT_NEAR(std::remainder(turned.first - start, 2 * pi), 0, 2e-12) << odd;
            EXPECT_NEAR(turned.first - turned.second, 1, 2e-12) << odd;
        }
    }
}

TEST(Arc2D, FootIsTheNearOneWithinTheBounds) {
    ERVec<double> found(1, 9.0);
    const ERArc2D arc(ERPoint2D(1, 1), 2, 3, 5), wide(ERPoint2D(), 1, -1, 4);
    EXPECT_EQ(arc.ProjectPoint(ERPoint2D(1, -7), found, 0), 2);
    EXPECT_DOUBLE_EQ(found[1], 1.5 * pi);
    EXPECT_EQ(arc.ProjectPoint(ERPoint2D(1, 1), found, 0), -1);
    // Bounds past pi hide the feet at negative angles, and only one turn is tried.
    const std::pair<ERArc2D, ERPoint2D> without[] = {{arc, {9, 1}},
                                                     {wide, wide(-0.5) * 2.0},
                                                     {{ERPoint2D(), 1, -5, 0}, {-1, 1}},
                                                     {{ERPoint2D(), 1, 7, 8}, {1, 1}}};
    for (const auto& [bounded, p] : without) EXPECT_EQ(bounded.ProjectPoint(p, found, 0), 2) << p;
    ERVec<double> inSpace;
    EXPECT_EQ(ERArc3D(tilted, arc).ProjectPoint(tilted >> ERPoint3D(1, -7, 4), inSpace, 0), 1);
    EXPECT_NEAR(inSpace[0], 1.5 * pi, 1e-13);
}

// No turns are added, and a contact is appended wherever it is.
TEST(Arc2D, CutsWithTheAxisAreReadInOneTurn) {
    const struct {
        double radius, start, end, x;
        std::vector<double> cuts;
    } rows[] = {{2, -pi, pi, 1, {pi / 2, -pi / 2}},
                {2, -pi, pi, 3, {0.0}},
                {2, -pi, pi, -1, {pi}},
                {2, -pi, pi, 3.001, {}},
                {2, 0, 2 * pi, 1, {pi / 2}},
                {2, pi, -pi, 1, {}},
                {2, 1, 2, 3, {0.0}},
                {-2, -pi, pi, 3, {pi}},
                {-2, -pi, pi, 1, {-pi / 2, pi / 2}}};
    for (const auto& row : rows) {
        ERVec<double> found;
        ERArc2D(ERPoint2D(1, 1), row.radius, row.start, row.end).intersectWithAxeY(row.x, found);
        EXPECT_EQ(std::vector<double>(found.data(), found.data() + found.length()), row.cuts)
            << row.radius << " from " << row.start << " at " << row.x;
    }
}

TEST(Arcs, CutsWithALineAreAllOnTheArc) {
    for (const NamedArc& named : arcs()) {
        SCOPED_TRACE(named.name);
        expectCutsOnTheArc<ERArc3D>(named.arc, tilted, ERPoint2D(0.7, 0.4));
    }
    ERVec<double> none;
    EXPECT_EQ(ERArc3D(tilted, arcs()[0].arc)
                  .intersectWith(tilted.origine(), tilted.getVector(Coord3D::CoordZ), none),
              0u);
}

TEST(Arcs, WholeTurnsStayClosedWhenTheyMove) {
    for (const ERArc2D& turn : {ERArc2D({1, 1}, 2, 0, 2 * pi), ERArc2D({1, 1}, 2, pi, -pi)}) {
        ASSERT_EQ(turn.isClosed(0), 1);
        for (const double angle : {0.7, -2.9, 0.3333, 2.0}) {
            const ERTransfo2D rotation = ERTransfo2D::rotation(angle);
            EXPECT_EQ((rotation >> turn).isClosed(0), 1);
            EXPECT_EQ((ERTransfo2D(Coord2D::CoordX) >> (rotation << turn)).isClosed(0), 1);
        }
        const ERPmIsometrie3D turned =
            tilted * ERRotation3D(Coord3D::CoordZ, 1.234) * ERTranslation3D(ERPoint3D(1, 2, 3));
        const t_SmartPtr<EREntity2DWF> seen = ERArc3D(tilted, turn).get2DEntProjectedOn(turned);
        ASSERT_STREQ(seen->className(), "ERArc2D");
        EXPECT_EQ(ERArc2D::castdown(seen.getObject())->isClosed(0), 1);
    }
}

// Seen face on, from before and past, as circles of the same parameter.
TEST(Arc3D, FaceOnProjectionIsAnArc) {
    for (const NamedArc& named : arcs()) {
        SCOPED_TRACE(named.name);
        const ERArc3D arc(tilted, named.arc);
        for (const ERPmIsometrie3D& t : {tilted * ERRotation3D(Coord3D::CoordZ, 1.2),
                                         tilted * ERRotation3D(Coord3D::CoordX, pi), leftHanded}) {
            const t_SmartPtr<EREntity2DWF> projected = arc.get2DEntProjectedOn(t);
            ASSERT_STREQ(projected->className(), "ERArc2D");
            const ERArc2D& seen = *ERArc2D::castdown(projected.getObject());
            EXPECT_EQ(seen.radius(), named.arc.radius());
            for (double s = 0; s <= 1; s += 0.125)
                expectNear(seen(std::lerp(seen.udeb(), seen.ufin(), s)),
                           t.Project(arc(std::lerp(arc.udeb(), arc.ufin(), s))), 1e-12);
        }
    }
}

TEST(Arc3D, EdgeOnProjectionReachesAsFarAsTheArc) {
    for (const NamedArc& named : arcs()) {
        SCOPED_TRACE(named.name);
        const ERArc3D arc(tilted, named.arc);
        expectEdgeOnReach(arc, arc, arc.getBound(), tilted);
    }
}

// Nothing is asked but that each call ends, and that what it finds lies within the bounds.
template <class Arc>
void survives(const Arc& arc) {
    arc.PtCur(0.5);
    arc.getBox();
    arc.arcLength(1e-6);
    arc.approxime(5);
    EXPECT_LE(arc.ConvertToNurbs().nbPoles(), 8001u);
    ERVec<double> found;
    arc.ProjectPoint({}, found, 0);
    arc.intersectWith({}, {}, found);
    for (unsigned int i = 0; i < found.length(); ++i)
        EXPECT_TRUE(arc.getBound().inBound(found[i])) << printed(arc);
}

TEST(Arcs, ExtremeValuesAreSurvived) {
    const double extremes[] = {0, 1e-15, -7.5, 1e15, 1e300, infinity, nan};
    for (const double radius : extremes) {
        for (const double start : extremes) {
            for (const double end : extremes) {
                ERArc2D arc(ERPoint2D(end, radius), radius, start, end);
                survives(arc);
                survives(ERArc3D(tilted, arc));
                survives(ERArcEllipse2D(radius, end, start, ERPoint2D(1, 1), start, end));
                survives(
                    ERArcEllipse3D(tilted, ERArcEllipse2D({start, end}, {}, radius, start, end)));
                ERArc3D(tilted, arc).get2DEntProjectedOn(ERPmIsometrie3D());
                arc.transformTo(ERTransfo2D::Scaling(0));
                arc.normalized();
                survives(arc);
            }
        }
    }
}

TEST(Arcs, PrintTheirMeasures) {
    EXPECT_EQ(printed(ERArc2D(ERPoint2D(1, 2), 3, 0.5, 4)),
              "Arc : Centre :[1,2]\n      Rayon  :3\n      StartAg:0.5\n      EndAg  :4\n");
    EXPECT_EQ(
        printed(ERArc3D(ERPmIsometrie3D(), 3, 0.5, 4)),
        "Arc : \n      Centre :[0,0,0]\n      Rayon  :3\n      StartAg:0.5\n      EndAg  :4\n");
    EXPECT_EQ(ERArc2D().binaryStoreSize(), 40u);
    EXPECT_EQ(ERArc3D().binaryStoreSize(), 156u);
}

TEST(Arc, IsDirtyWhenAnAngleIsSet) {
    ERArc2D first(ERPoint2D(), 1.0, 0.0, 1.0);
    ERArc3D last(ERIdentity3D(), first);
    EXPECT_EQ(first.isDirty() + last.isDirty(), 0);
    EXPECT_EQ(first.startAngle(ERRadian(0.5)), 0.0);
    EXPECT_EQ(last.endAngle(ERRadian(2.0)), 1.0);
    EXPECT_EQ(first.isDirty(), 1);
    EXPECT_EQ(last.isDirty(), 1);
}

}  // namespace
}  // namespace kerf::test
