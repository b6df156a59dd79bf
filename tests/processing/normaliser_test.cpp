#include "kerf/processing/normaliser.h"

#include "kerf/curves/arc.h"
#include "kerf/curves/outline.h"
#include "kerf/curves/rounded_slot.h"
#include "kerf/persistence/object_database.h"
#include "kerf/surfaces/bounded_cone.h"
#include "kerf/surfaces/bounded_cylinder.h"
#include "kerf/surfaces/bounded_sphere.h"
#include "kerf/surfaces/bounded_torus.h"
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
    template <class Check>
    void onFrames(Check check) {
        for (int i = 0; i < 60; ++i) {
            SCOPED_TRACE(drawnFrom(3, i));
            const ERPmIsometrie3D f =
                ERChgRepere3D(direction(), direction(), ERPoint3D(draw(-9, 9), draw(-9, 9), 5));
            const double start = draw(-6, 6);
            check(i % 3 != 0 ? f : f * ERSymetrie3D(Coord3D::CoordX), start, start + draw(-6, 6));
        }
    }

    // In the canonical frame of the axis at the origin given, but for its handedness, and as it is
    // when it is normalised again.
    template <class Entity>
    static void expectCanonical(const Entity& entity, const ERPmIsometrie3D& frame,
                                const ERPmIsometrie3D& given, const ERPoint3D& origin) {
        const ERPmIsometrie3D canonical = ERChgRepere3D(given.getVector(Coord3D::CoordZ), origin);
        const ERPmIsometrie3D mirrored = canonical * ERSymetrie3D(Coord3D::CoordY);
        EXPECT_TRUE(frame.isEqual(given.isDirect() ? canonical : mirrored));
        EXPECT_EQ(printed(EREntityNormaliser::Normalise(entity)), printed(entity));
    }
    template <class Surface>
    static void expectSame(const Surface& surface) {
        const Surface normalised = EREntityNormaliser::Normalise(surface);
        expectCanonical(normalised, normalised.getMatrix(), surface.getMatrix(),
                        surface.getMatrix().origine());
        const ERLimites u = surface.getBoundU(), v = surface.getBoundV();
        const ERLimites newU = normalised.getBoundU(), newV = normalised.getBoundV();
        for (const double s : {0.0, 1.0}) {
            for (const double t : {0.0, 0.6})
                expectNear(normalised(newU(s), newV(t)), surface(u(s), v(t)), 1e-12);
        }
    }

    std::mt19937 random{3};
};

TEST_F(NormalisedEntities, AreTheSamePointsInACanonicalFrame) {
    onFrames([&](const ERPmIsometrie3D& f, double start, double end) {
        const ERLimites turn(start, end), other(draw(-1, 1), draw(-1, 1));
        expectSame(ERBoundedSphere(f, 3, turn, other));
        expectSame(ERBoundedTorus(f, 3, 1, turn, other));
        expectSame(ERBoundedCylinder(f, 3, other, turn));
        expectSame(ERBoundedCone(f, 0.4, other, turn));

        const ERArc3D arc(f, ERCircle2D({2, 1}, 3), start, end);
        const ERArc3D normalised = EREntityNormaliser::Normalise(arc);
        expectCanonical(normalised, normalised.getRepere(), f, arc.center());
        const ERLimites angles(normalised.startAngle(), normalised.endAngle());
        for (const double s : {0.0, 1.0}) expectNear(normalised(angles(s)), arc(turn(s)), 1e-12);
    });
}

TEST_F(NormalisedEntities, KeepTheLimitsOfACanonicalFrame) {
    for (int i = 0; i < 100; ++i) {
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
        expectNear(flippedArc.getRepere().origine(), arc.center());
        for (const double u : {start, end}) expectNear(flippedArc(-u), arc(u), 1e-12);
        expectNear(flippedArc.firstPt(), arc.lastPt(), 1e-12);
        EREntityNormaliser::Flip(flippedArc);
        expectNear(flippedArc(start), arc(start), 1e-12);
        EXPECT_EQ(double{flippedArc.endAngle()}, end);

        ERBoundedCylinder cylinder(f, 3, ERLimites(-1, 4), ERLimites(-8, 9));
        cylinder.setBound(ERLimites(0, 2), ERLimites(start, end));
        ERBoundedCylinder flipped = cylinder;
        flipped.getMatricePoint(3, 3);
        EREntityNormaliser::Flip(flipped);
        EXPECT_EQ(flipped.getBoundU(), ERLimites(-2, 0));
        EXPECT_EQ(flipped.getBoundV(), ERLimites(-end, -start));
        EXPECT_EQ(flipped.NUdeb(), -4);
        EXPECT_EQ(flipped.NVfin(), 8);
        expectNear(flipped.getMatricePoint(3, 3)(0, 0), cylinder(2, end), 1e-12);
        EREntityNormaliser::Flip(flipped);
        EXPECT_EQ(printed(flipped), printed(cylinder));
    });
}

TEST_F(NormalisedEntities, FlippedRemainTheSameObjectWithTheOtherNormal) {
    const TemporaryFile place;
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    const auto check = [&](auto entity, auto normal) {
        entity.Save(&base);
        const ERLong id = entity.getObjectID();
        EXPECT_GT(id, 0);
        const ERVector3D before = normal(entity);
        EREntityNormaliser::Flip(entity);
        EXPECT_EQ(entity.getObjectID(), id);
        EXPECT_EQ(entity.isDirty(), 1);
        expectNear(normal(entity), -before);
        return entity;
    };
    const auto normale = [](const auto& planar) { return planar.normale(); };
    check(ERArc3D(ERCircle3D({0, 0, 0}, {0, 0, 1}, 1), 0, 1), normale);
    check(ERBoundedCylinder(), [](const auto& cylinder) { return cylinder.getNormale(); });
    const ERRectangle3D rectangle(ERPmIsometrie3D(), ERRectangle2D({3, 1}, {2, 1}, 4, 2));
    ERRectangle3D flipped = check(rectangle, normale);
    EREntityNormaliser::Flip(flipped);
    EXPECT_EQ(printed(flipped), printed(rectangle));
    const ERRoundedSlot3D slot(ERPmIsometrie3D(), ERRoundedSlot2D({1, 2}, {4, 3}, 1));
    expectNear(check(slot, normale).center1(), slot.center1());
}

}  // namespace
}  // namespace kerf::test
