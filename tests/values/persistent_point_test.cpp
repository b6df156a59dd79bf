#include "kerf/values/persistent_point.h"

#include <memory>

#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

// A copy is the value alone, without the identity.
TEST(PersistentPoint, IsItsValueAndCopiesNoIdentity) {
    const ERPoint3D value(1, 2, 3);
    ERPersistentPoint3D p(value), assigned;
    p.setDirty();
    const std::unique_ptr<ERPersistentPoint3D> clone(p.getCopy());
    EXPECT_TRUE(*clone == p && !clone->isDirty() && !ERPersistentPoint3D(p).isDirty());
    assigned.setDirty();
    assigned.addReference();
    assigned = p;
    EXPECT_TRUE(assigned == p && !assigned.isDirty());
    EXPECT_EQ(assigned.references(), 1u);
    assigned = value * 3.0;
    EXPECT_TRUE(assigned == value * 3.0 && assigned.isDirty());
    assigned.removeReference();
}

TEST(PersistentPoint, MovesInPlaceAndBecomesDirty) {
    ERPersistentPoint2D plane(ERPoint2D(1, 2));  // into the frame with x along the old y axis
    plane.transformFrom(ERTransfo2D(ERVector2D(0, 2), ERPoint2D(5, 6)));
    EXPECT_TRUE(isEqual(plane, ERPoint2D(3, 7), 1e-15) && plane.isDirty());
    ERPersistentPoint3D space(ERPoint3D(1, 2, 3));
    EREntity3D& entity = space;
    entity.scale(2);
    entity.translate(ERPoint3D(0, 0, 1));
    entity.transformFrom(ERTranslation3D(ERPoint3D(10, 20, 30)));
    entity.transformTo(ERScaling3D(2.0));
    EXPECT_TRUE(space == ERPoint3D(6, 12, 18.5) && space.isDirty());
}

}  // namespace
}  // namespace kerf
