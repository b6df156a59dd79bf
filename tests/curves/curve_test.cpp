#include "kerf/curves/curve.h"

#include <gmock/gmock.h>

#include <cmath>

#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/bounded_curve.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/box.h"
#include "kerf/values/info_point.h"
#include "kerf/values/point_list.h"
#include "tests/support/value_checks.h"

// The defaults of the frame, on curves that give nothing but what they must.
namespace kerf::test {
namespace {

using ::testing::ElementsAre;

// What a trimmed curve needs besides its evaluation, for curves that are never moved or split.
class BareCurve : public ERTrimmedEntity2DWF {
public:
    explicit BareCurve(const ERLimites& natural) : ERTrimmedEntity2DWF(natural) {}
    BareCurve(const ERLimites& natural, const ERLimites& trim)
        : ERTrimmedEntity2DWF(natural, trim) {}

    ERMinimax2D getBox() const override { return ERMinimax2D(); }
    ERCpoleNURBS2D ConvertToNurbs() const override { return ERCpoleNURBS2D(); }
    double arcLength(ERLimites, double) const override { return 0.0; }
    double arcLength(double) const override { return 42.0; }
    int splitAt(t_SmartPtr<ERFiniteEntity2DWF>&, t_SmartPtr<ERFiniteEntity2DWF>&,
                double) const override {
        return 0;
    }
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D&) const override { return nullptr; }
    void scale(double) override {}
    void translate(const ERPoint2D&) override {}
    void transformFrom(const ERTransfo2D&) override {}
    void transformTo(const ERTransfo2D&) override {}
};

// (u, u^3): an inflection in the middle of [-1, 1].
class Cubic : public BareCurve {
public:
    using BareCurve::BareCurve;
    Cubic() : BareCurve(ERLimites(-1.0, 1.0)) {}
    Cubic* getCopy() const override { return new Cubic(*this); }
    ERInfoPoint2D PtCur(double u) const override {
        asked.push_back(u);
        return ERInfoPoint2D(u, 1, ERPoint2D(u, u * u * u), ERVector2D(1, 3 * u * u),
                             ERVector2D(0, 6 * u));
    }
    int ProjectPoint(const ERPoint2D& p, ERVec<double>& parameters, double) const override {
        if (everyPoint) return -1;
        parameters.append(p.x());
        return static_cast<int>(parameters.length());
    }
    mutable std::vector<double> asked;
    bool everyPoint = false;
};

TEST(FiniteCurve, SamplesAtEqualStepsOfTheParameter) {
    const Cubic cubic;
    const ERVec<ERPoint2D> points = cubic.approxime(5);
    ASSERT_EQ(points.length(), 5u);
    EXPECT_THAT(cubic.asked, ElementsAre(-1.0, -0.5, 0.0, 0.5, 1.0));
    EXPECT_EQ(points[3], ERPoint2D(0.5, 0.125));
    // One sample is at no number.
    EXPECT_EQ(cubic.approxime(1).length(), 1u);
    EXPECT_TRUE(std::isnan(cubic.asked.back()));
}

TEST(FiniteCurve, IsClosedByABoxAndNotABall) {
    const Cubic cubic;
    EXPECT_EQ(cubic.isClosed(2.0), 1);
    EXPECT_EQ(cubic.isClosed(1.999), 0);
}

TEST(FiniteCurve, ApproximationDividesLeftHalvesFirst) {
    const Cubic cubic;
    const ERVec<ERPoint2D> points = cubic.approxime(ERLimites(0.0, 1.0), 0.1);
    EXPECT_THAT(cubic.asked, ElementsAre(0.0, 1.0, 0.5, 0.25, 0.75));
    ASSERT_EQ(points.length(), 3u);
    EXPECT_EQ(points[1], ERPoint2D(0.5, 0.125));
    // The one probe of the chord through an inflection lies on it.
    EXPECT_EQ(cubic.approxime(cubic.getBound(), 1e-6).length(), 2u);
    // Spans of the parameter below a limit are not divided.
    EXPECT_EQ(cubic.approxime(ERLimites(0.5, 0.5 + 0.9e-7), 0.0).length(), 2u);
    EXPECT_GT(cubic.approxime(ERLimites(0.5, 0.5 + 1e-6), 0.0).length(), 2u);
}

TEST(FiniteCurve, SignedDistanceIsZeroWhereAFootExists) {
    Cubic cubic;
    double distance = 7.0;
    // The form of all entities finds nothing.
    EXPECT_EQ(static_cast<const EREntity2D&>(cubic).SignedMinimalDistance({0.5, 9}, distance),
              EREntity::NoFootPoint);
    EXPECT_EQ(distance, 7.0);
    EXPECT_EQ(cubic.SignedMinimalDistance({0.5, 9}, distance), EREntity::SingleNearestPoint);
    EXPECT_EQ(distance, 0.0);
    cubic.everyPoint = true;
    EXPECT_EQ(cubic.SignedMinimalDistance({}, distance), EREntity::NearestPointNotUnique);
    expectNear(cubic.normal(1.0), ERVector2D(-3, 1).getnormalized());
}

TEST(FiniteCurve, RandomPointsFollowTheSeed) {
    const Cubic cubic;
    std::srand(7);
    const double first = cubic.randomPoint().parameter();
    std::srand(7);
    EXPECT_EQ(cubic.randomPoint().parameter(), first);
    for (int i = 0; i < 100; ++i) EXPECT_LE(std::fabs(cubic.randomPoint().parameter()), 1.0);
}

TEST(TrimmedCurve, ReversingMirrorsTheTrimInTheNaturalDomain) {
    Cubic cubic(ERLimites(0.0, 1.0), ERLimites(0.2, 0.5));
    cubic.reverse();
    EXPECT_DOUBLE_EQ(cubic.udeb(), 0.5);
    EXPECT_DOUBLE_EQ(cubic.ufin(), 0.8);
    Cubic point(ERLimites(1.0, 1.0), ERLimites(0.2, 0.5));
    point.reverse();
    EXPECT_EQ(point.getBound(), ERLimites(0.2, 0.5));
}

TEST(TrimmedCurve, ReparametrizingCarriesTheTrimAlong) {
    Cubic cubic(ERLimites(0.0, 2.0), ERLimites(0.5, 1.0));
    cubic.reparametrize(ERLimites(10.0, 14.0));
    EXPECT_EQ(cubic.Ndeb(), 10.0);
    EXPECT_EQ(cubic.Nfin(), 14.0);
    EXPECT_EQ(cubic.getBound(), ERLimites(11.0, 12.0));
    Cubic point(ERLimites(1.0, 1.0), ERLimites(0.2, 0.5));
    point.reparametrize(ERLimites(3.0, 4.0));
    EXPECT_EQ(point.getBound(), ERLimites(3.0, 4.0));
}

TEST(TrimmedCurve, TrimIsToldExactly) {
    Cubic cubic(ERLimites(0.0, 1.0));
    EXPECT_EQ(cubic.isTrimmed(), 0);
    const ERLimites former = cubic.setBound(ERLimites(0.0, std::nextafter(1.0, 0.0)));
    EXPECT_EQ(former, ERLimites(0.0, 1.0));
    EXPECT_EQ(cubic.isTrimmed(), 1);
    cubic.adjust();
    EXPECT_EQ(cubic.isTrimmed(), 0);
    EXPECT_EQ(cubic.Nfin(), std::nextafter(1.0, 0.0));
    cubic.redefineDomain(ERLimites(0.25, 0.5));
    EXPECT_EQ(cubic.Ndeb(), 0.25);
    EXPECT_EQ(cubic.getBound(), ERLimites(0.25, 0.5));
}

// The natural domain, the trim interval and the length of the poles: each class in between adds
// nothing.
TEST(TrimmedCurve, RecordHoldsEachIntervalOnce) {
    EXPECT_EQ(ERCpoleBezier2D().binaryStoreSize(), 16u + 16u + 4u);
}

TEST(TrimmedCurve, PrintsBothIntervals) {
    EXPECT_EQ(printed(Cubic(ERLimites(0.0, 1.0), ERLimites(0.25, 0.5))),
              "Natural boundary =Limites( 0,1 )\nTrimm boundaries   = Limites( 0.25,0.5 )\n");
}

TEST(Angles, CloseOnlyAtExactlyOneTurn) {
    EXPECT_EQ(EREntAngle(1.0, 1.0).isDirect(), 0);
    EXPECT_EQ(EREntAngle(0.0, 6.283185307179586).isClosed(0.0), 1);
    EXPECT_EQ(EREntAngle(6.283185307179586, 0.0).isClosed(0.0), 1);
    EXPECT_EQ(EREntAngle(0.0, 6.283185307179586 - 1e-12).isClosed(100.0), 0);
}

TEST(Angles, SettersReturnTheFormerAngle) {
    EREntAngle angles(1.0, 2.0);
    EXPECT_EQ(angles.startAngle(ERRadian(0.0)), 1.0);
    EXPECT_EQ(angles.endAngle(ERRadian(pi)), 2.0);
    std::ostringstream os;
    angles.printOn(os);
    EXPECT_EQ(os.str(), "Angle de Debut:0\nAngle de Fin  :180\n");
}

}  // namespace
}  // namespace kerf::test
