#include "kerf/values/persistent_point.h"

#include <memory>

#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

TEST(PersistentPoint, ACopyIsTheValueWithoutTheIdentity) {
    ERPersistentPoint3D p(ERPoint3D(1, 2, 3));
    p.setDirty();
    const std::unique_ptr<ERPersistentPoint3D> clone(p.getCopy());
    for (const ERPersistentPoint3D& copy : {*clone, ERPersistentPoint3D(p)}) {
        EXPECT_EQ(copy, p);
        EXPECT_FALSE(copy.isDirty());
    }
}

TEST(PersistentPoint, AssignmentKeepsTheCountAndTakesTheIdentityOfNoOther) {
    const ERPersistentPoint3D other(ERPoint3D(1, 2, 3));
    ERPersistentPoint3D p;
    p.setDirty();
    p.addReference();
    p = other;
    EXPECT_EQ(p, other);
    EXPECT_FALSE(p.isDirty());
    EXPECT_EQ(p.references(), 1u);
    p.removeReference();
}

// Each starts at a value, is changed once, and holds the expected value.
template <class Wrapper, class Value, class Change>
void expectChanged(const Value& from, const Value& to, Change change) {
    Wrapper wrapper(from);
    change(wrapper);
    expectNear(wrapper.thePoint(), to, 1e-15);
    EXPECT_TRUE(wrapper.isDirty());
}

TEST(PersistentPoint, EveryChangeInPlaneMakesDirty) {
    const auto expect = [](const ERPoint2D& to, auto change) {
        expectChanged<ERPersistentPoint2D>(ERPoint2D(1, 2), to, change);
    };
    const ERTransfo2D t(ERVector2D(0, 2),
                        ERPoint2D(5, 6));  // the frame with x along the old y axis
    expect({3, 7}, [&t](EREntity2D& e) { e.transformFrom(t); });
    expect({-4, 4}, [&t](EREntity2D& e) { e.transformTo(t); });
    expect({3, 6}, [](EREntity2D& e) { e.scale(3); });
    expect({8, 1}, [](EREntity2D& e) { e.translate({7, -1}); });
    expect({8, 9}, [](ERPersistentPoint2D& p) { p = ERPoint2D(8, 9); });
    const ERPersistentPoint2D p(ERPoint2D(1, 2));
    expectNear((t >> p).thePoint(), {3, 7}, 1e-15);
    expectNear((t << p).thePoint(), {-4, 4}, 1e-15);
}

TEST(PersistentPoint, EveryChangeInSpaceMakesDirty) {
    const auto expect = [](const ERPoint3D& to, auto change) {
        expectChanged<ERPersistentPoint3D>(ERPoint3D(1, 2, 3), to, change);
    };
    const ERPmIsometrie3D moved = ERTranslation3D(ERPoint3D(10, 20, 30));
    const ERPmSimilitude3D doubled = ERScaling3D(2.0);
    expect({11, 22, 33}, [&](EREntity3D& e) { e.transformFrom(moved); });
    expect({-9, -18, -27}, [&](EREntity3D& e) { e.transformTo(moved); });
    expect({2, 4, 6}, [&](EREntity3D& e) { e.transformFrom(doubled); });
    expect({0.5, 1, 1.5}, [&](EREntity3D& e) { e.transformTo(doubled); });
    expect({3, 6, 9}, [](EREntity3D& e) { e.scale(3); });
    expect({1, 2, 4}, [](EREntity3D& e) { e.translate({0, 0, 1}); });
    expect({7, 8, 9}, [](ERPersistentPoint3D& p) { p = ERPoint3D(7, 8, 9); });
    const ERPersistentPoint3D p(ERPoint3D(1, 2, 3));
    EXPECT_EQ(moved >> p, ERPoint3D(11, 22, 33));
    EXPECT_EQ(moved << p, ERPoint3D(-9, -18, -27));
}

TEST(Entity, TheRootsFindNoFootPointAndLeaveTheDistance) {
    double distance = 7;
    const ERPersistentPoint2D plane;
    const ERPersistentPoint3D space;
    EXPECT_EQ(plane.SignedMinimalDistance(ERPoint2D(3, 4), distance), EREntity::NoFootPoint);
    EXPECT_EQ(space.SignedMinimalDistance(ERPoint3D(3, 4, 5), distance), EREntity::NoFootPoint);
    EXPECT_EQ(distance, 7);
}

}  // namespace
}  // namespace kerf
