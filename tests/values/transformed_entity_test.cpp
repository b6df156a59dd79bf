#include "kerf/values/transformed_entity.h"

#include "kerf/values/persistent_point.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

// An entity that can also be made of a value, which must not draw plain values to it.
struct Spot : ERPersistentPoint3D {
    Spot(const ERPoint3D& p) : ERPersistentPoint3D(p) {}
};
struct FlatSpot : ERPersistentPoint2D {
    FlatSpot(const ERPoint2D& p) : ERPersistentPoint2D(p) {}
};

template <class Expected, class Result>
void expectSame(const Result& result, const Expected& expected) {
    static_assert(std::is_same_v<Result, Expected>);
    EXPECT_EQ(result.thePoint(), expected.thePoint());
}

TEST(TransformedEntity, IsACopyOfTheSameClass) {
    const FlatSpot flat(ERPoint2D(1, 2));
    const ERTransfo2D inPlane = ERTransfo2D(ERVector2D(10, 20)) * Scaling(2.0);
    expectSame(inPlane >> flat, FlatSpot(ERPoint2D(12, 24)));
    expectSame(inPlane << (inPlane >> flat), flat);

    const Spot spot(ERPoint3D(1, 2, 3));
    const ERPmIsometrie3D move = ERTranslation3D(ERPoint3D(10, 20, 30));
    const ERPmSimilitude3D grow = move * ERScaling3D(2.0);
    expectSame(move >> spot, Spot(ERPoint3D(11, 22, 33)));
    expectSame(move << (move >> spot), spot);
    expectSame(grow >> spot, Spot(ERPoint3D(12, 24, 36)));
    expectSame(grow << (grow >> spot), spot);
    EXPECT_EQ(spot.thePoint(), ERPoint3D(1, 2, 3)) << "the entity itself stays";
}

TEST(TransformedEntity, LeavesOtherArgumentsToTheirOwnOperators) {
    const ERPmIsometrie3D move = ERTranslation3D(ERPoint3D(10, 20, 30));
    const ERPoint3D point(1, 2, 3);
    EXPECT_EQ(move >> point, ERPoint3D(11, 22, 33));
    EXPECT_EQ(move >> ERPersistentVector3D(ERVector3D(1, 2, 3)), ERVector3D(1, 2, 3));
    EXPECT_EQ((move << ERPersistentPoint3D(point)).thePoint(), ERPoint3D(-9, -18, -27));
    EXPECT_EQ((ERTransfo2D() >> ERPersistentPoint2D(ERPoint2D(1, 2))).thePoint(), ERPoint2D(1, 2));
}

}  // namespace
}  // namespace kerf
