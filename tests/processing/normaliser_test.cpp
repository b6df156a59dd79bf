#include "kerf/processing/normaliser.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/outline.h"
#include "kerf/curves/rounded_slot.h"
#include "kerf/persistence/object_database.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
#include "kerf/values/surface_info_point.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

struct Angles : EREntityNormaliser {
    static std::pair<double, double> moved(double a, double b, double delta) {
        ERLimites limits(a, b);
        IncrementAndFormatAngles(a, b, delta);
        IncrementAndFormatAngularLimits(limits, delta);
        EXPECT_EQ(limits, ERLimites(a, b));
        return {a, b};
    }
};

TEST(Normaliser, MovesAnglesTogether) {
    // In quarters of a turn.
    const struct {
        double a, b, delta, start, end;
    } rows[] = {{0, 1, 0, 0, 1},     {0, 4, 0, 0, 4},     {3, 5, 0, -1, 1},    {5, 3, 0, 1, -1},
                {0, 4, 1, -3, 1},    {0, 3, 1, 1, 4},     {5, 6, 4, 1, 2},     {0, 4, -1, -1, 3},
                {-4, 0, -1, -1, 3},  {-3, 0, -1, -4, -1}, {5, 6, -2, -1, 0},   {-5, -4, 0, -5, -4},
                {-5, -4, 1, -4, -3}, {9, 10, 0, 5, 6},    {-9, -8, -1, -6, -5}};
    const double quarter = pi / 2;
    for (const auto& row : rows) {
        const auto [a, b] = Angles::moved(row.a * quarter, row.b * quarter, row.delta * quarter);
        EXPECT_NEAR(a, row.start * quarter, 1e-14) << row.a << ' ' << row.b << ' ' << row.delta;
        EXPECT_NEAR(b, row.end * quarter, 1e-14);
    }
}

class NormalisedEntities : public testing::Test {
protected:
    double draw(double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); }
    ERVector3D direction() { return {draw(-1, 1), draw(-1, 1), draw(-1, 1)}; }
    ERPmIsometrie3D frame(bool direct) {
        const ERPmIsometrie3D f =
            ERChgRepere3D(direction(), direction(), ERPoint3D(draw(-9, 9), draw(-9, 9), 5));
        return direct ? f : f * ERSymetrie3D(Coord3D::CoordX);
    }
    template <class Check>
    void onFrames(Check check) {
        for (int i = 0; i < 200; ++i) {
            SCOPED_TRACE(drawnFrom(3, i));
            const double start = draw(-6, 6);
            check(frame(i % 3 != 0), start, start + draw(-6, 6));
        }
    }

    // The frame is the canonical one of its axis, but for its handedness.
    static void expectCanonical(const ERPmIsometrie3D& normalised, const ERPmIsometrie3D& given) {
        const ERVector3D axis = given.getVector(Coord3D::CoordZ);
        EXPECT_EQ(normalised.isDirect(), given.isDirect());
        expectNear(normalised.origine(), given.origine());
        expectNear(normalised.getVector(Coord3D::CoordZ), axis);
        expectNear(normalised.getVector(Coord3D::CoordX),
                   ERChgRepere3D(axis, ERPoint3D()).getVector(Coord3D::CoordX), 1e-12);
    }
    template <class Surface>
    static void expectSame(const Surface& surface) {
        const Surface normalised = EREntityNormaliser::Normalise(surface);
        expectCanonical(normalised.getMatrix(), surface.getMatrix());
        const ERLimites u = surface.getBoundU(), v = surface.getBoundV();
        const ERLimites newU = normalised.getBoundU(), newV = normalised.getBoundV();
        for (const double s : {0.0, 0.3, 1.0}) {
            for (const double t : {0.0, 0.6, 1.0})
                expectNear(normalised(newU(s), newV(t)), surface(u(s), v(t)), 1e-12);
        }
        EXPECT_EQ(printed(EREntityNormaliser::Normalise(normalised)), printed(normalised));
    }

    std::mt19937 random{3};
};

TEST_F(NormalisedEntities, AreTheSamePointsInACanonicalFrame) {
    onFrames([&](const ERPmIsometrie3D& f, double start, double end) {
        const ERLimites turn(start, end), other(draw(-1, 1), draw(-1, 1));
        expectSame(ERBoundedSphere(f, 3, turn, other));
        expectSame(ERBoundedTorus(f, 3, 1, turn, other));
        expectSame(ERBoundedCylinder(f, 3, other, turn));
        ERBoundedCone cone(f, 0.4, -1, 2);
        cone.setBound(other, turn);
        expectSame(cone);

        const ERArc3D arc(f, ERCircle2D({2, 1}, 3), start, end);
        const ERArc3D normalised = EREntityNormaliser::Normalise(arc);
        expectCanonical(normalised.getRepere(), ERTranslation3D(arc.center() - f.origine()) * f);
        for (const double s : {0.0, 0.3, 1.0})
            expectNear(normalised(ERLimites(normalised.startAngle(), normalised.endAngle())(s)),
                       arc(ERLimites(start, end)(s)), 1e-12);
        EXPECT_EQ(printed(EREntityNormaliser::Normalise(normalised)), printed(normalised));
    });
}

TEST_F(NormalisedEntities, KeepTheLimitsOfACanonicalFrame) {
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(drawnFrom(3, i));
        const ERPmIsometrie3D canonical = ERChgRepere3D(direction(), ERPoint3D(1, 2, 3));
        ERPmIsometrie3D normalised;
        double angle = nan;
        EXPECT_EQ(EREntityNormaliser::ComputeNormalizationParameters(canonical, normalised, angle),
                  1);
        EXPECT_EQ(angle, 0);
        const double turn = draw(-3, 3);
        EREntityNormaliser::ComputeNormalizationParameters(
            canonical * ERRotation3D(Coord3D::CoordZ, turn), normalised, angle);
        EXPECT_NEAR(angle, turn, 1e-14);
        EXPECT_TRUE(normalised.isEqual(canonical));
        const ERArc3D arc(canonical, 2, 0.1, twoPi);
        EXPECT_EQ(printed(EREntityNormaliser::Normalise(arc)), printed(arc));
    }
}

TEST_F(NormalisedEntities, BearFramesAndLimitsThatAreNotFinite) {
    for (const double wild : {nan, infinity, 1e300}) {
        EREntityNormaliser::Normalise(ERArc3D({wild, 0, 0}, {0, 0, wild}, wild, wild, 0));
        ERArc3D arc({0, 0, 0}, {wild, 0, 1}, 1, -wild, wild);
        EREntityNormaliser::Flip(arc);
        EXPECT_EQ(EREntityNormaliser::Normalise(arc).radius(), 1);
    }
}

TEST_F(NormalisedEntities, FlippedTwiceAreTheSame) {
    onFrames([&](const ERPmIsometrie3D& f, double start, double end) {
        const ERArc3D arc(f, ERCircle2D({2, 1}, 3), start, end);
        ERArc3D flippedArc = arc;
        EREntityNormaliser::Flip(flippedArc);
        expectNear(flippedArc.normale(), -arc.normale());
        expectNear(flippedArc.getRepere().origine(), arc.center());
        expectNear(flippedArc.firstPt(), arc.lastPt(), 1e-12);
        for (const double s : {0.0, 0.3, 1.0})
            expectNear(flippedArc(-ERLimites(start, end)(s)), arc(ERLimites(start, end)(s)), 1e-12);
        EREntityNormaliser::Flip(flippedArc);
        expectNear(flippedArc(start), arc(start), 1e-12);
        EXPECT_EQ(double{flippedArc.endAngle()}, end);

        ERBoundedCylinder cylinder(f, 3, ERLimites(-1, 4), ERLimites(-9, 9));
        cylinder.setBound(ERLimites(0, 2), ERLimites(start, end));
        ERBoundedCylinder flipped = cylinder;
        flipped.getMatricePoint(3, 3);
        EREntityNormaliser::Flip(flipped);
        expectNear(flipped.getNormale(), -cylinder.getNormale());
        EXPECT_EQ(flipped.getBoundU(), ERLimites(-2, 0));
        EXPECT_EQ(flipped.getBoundV(), ERLimites(-end, -start));
        EXPECT_EQ(flipped.NUdeb(), -4);
        EXPECT_EQ(flipped.NVfin(), 9);
        for (const double u : {0.0, 2.0})
            for (const double v : {start, end}) expectNear(flipped(-u, -v), cylinder(u, v), 1e-12);
        expectNear(flipped.getMatricePoint(3, 3)(0, 0), cylinder(2, end), 1e-12);
        EREntityNormaliser::Flip(flipped);
        EXPECT_EQ(printed(flipped), printed(cylinder));
    });
}

TEST_F(NormalisedEntities, FlippedOutlinesRunTheOtherWayRound) {
    const ERPmIsometrie3D f = frame(true);
    const ERRectangle3D rectangle(f, ERRectangle2D({3, 1}, {2, 1}, 4, 2));
    ERRectangle3D flipped = rectangle;
    EREntityNormaliser::Flip(flipped);
    const ERVec<ERPoint3D> corners = rectangle.points();
    const ERVec<ERPoint3D> after = flipped.points();
    ASSERT_EQ(after.length(), 4u);
    for (const auto& [points, shape] : {std::pair(corners, rectangle), std::pair(after, flipped)}) {
        const ERVector3D turn = ERVector3D(points[0], points[1]) ^ ERVector3D(points[1], points[2]);
        expectNear(turn, shape.normale() * 8, 1e-12);
    }
    expectNear(flipped.normale(), -rectangle.normale());
    for (unsigned int i = 0; i < 4; ++i) {
        double distance = nan;
        rectangle.SignedMinimalDistance(after[i], distance);
        EXPECT_NEAR(distance, 0, 1e-12);
    }
    EREntityNormaliser::Flip(flipped);
    EXPECT_EQ(printed(flipped), printed(rectangle));

    const ERRoundedSlot3D slot(f, ERRoundedSlot2D({1, 2}, {4, 3}, 1));
    ERRoundedSlot3D flippedSlot = slot;
    EREntityNormaliser::Flip(flippedSlot);
    expectNear(flippedSlot.normale(), -slot.normale());
    expectNear(flippedSlot.center1(), slot.center1());
    expectNear(flippedSlot.center2(), slot.center2());
    expectNear(flippedSlot.PtCur(0).point(), slot.PtCur(3).point());
}

TEST_F(NormalisedEntities, RemainTheSameObjectWhenFlipped) {
    const TemporaryFile place;
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    const auto check = [&](auto entity) {
        entity.Save(&base);
        const ERLong id = entity.getObjectID();
        EXPECT_GT(id, 0);
        EREntityNormaliser::Flip(entity);
        EXPECT_EQ(entity.getObjectID(), id);
        EXPECT_EQ(entity.isDirty(), 1);
    };
    check(ERArc3D(ERCircle3D({0, 0, 0}, {0, 0, 1}, 1), 0, 1));
    check(ERBoundedCylinder());
    check(ERRectangle3D(ERPmIsometrie3D(), ERRectangle2D({3, 1}, {2, 1}, 4, 2)));
    check(ERRoundedSlot3D());
}

}  // namespace
}  // namespace kerf::test
