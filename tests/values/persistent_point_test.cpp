#include "kerf/values/persistent_point.h"

#include <memory>

#include "kerf/core/smart_pointer.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

template <class Wrapper, class Value>
struct Wrapped {
    using Type = Wrapper;
    static Value sample() {
        if constexpr (sizeof(Value) == 16)
            return Value(1, 2);
        else
            return Value(1, 2, 3);
    }
};

template <class T>
class PersistentValue : public ::testing::Test {
protected:
    using Wrapper = typename T::Type;
    const decltype(T::sample()) value = T::sample();
    Wrapper p{value};
};
using Wrappers = ::testing::Types<Wrapped<ERPersistentPoint2D, ERPoint2D>,
                                  Wrapped<ERPersistentPoint3D, ERPoint3D>,
                                  Wrapped<ERPersistentVector3D, ERVector3D>>;
TYPED_TEST_SUITE(PersistentValue, Wrappers);

TYPED_TEST(PersistentValue, IsUsedAndPrintedAsItsValue) {
    auto q = this->p;
    EXPECT_TRUE(q == this->p && q == this->value);
    q *= 2.0;
    EXPECT_TRUE(q != this->p);
    EXPECT_TRUE(q - this->p == this->value);
    EXPECT_EQ(isEqual(this->p, q, 3.0), 1);
    EXPECT_EQ(printed(q, 2), "(P) " + printed(this->value * 2.0, 2));
}

TYPED_TEST(PersistentValue, IsRestoredThroughItsRegisteredCreator) {
    const TemporaryFile place;
    ERFile file(place.path(), createFile);
    file << this->p;
    EXPECT_EQ(static_cast<std::size_t>(file.GetLength()), sizeof this->value);
    file.SeekTo(0);
    const auto creator = ERClassRegistration::findCreator(this->p.className());
    ASSERT_NE(creator, nullptr);
    const t_SmartPtr<ERObject> object = creator();
    object->restoreGuts(file);
    const auto* const restored = TypeParam::Type::castdown(object.getObject());
    ASSERT_NE(restored, nullptr);
    EXPECT_TRUE(*restored == this->p);
}

TYPED_TEST(PersistentValue, CopiesTheValueAndNeverTheIdentity) {
    using T = typename TypeParam::Type;
    this->p.setDirty();
    const std::unique_ptr<T> clone(this->p.getCopy());
    EXPECT_TRUE(*clone == this->p && !clone->isDirty() && !T(this->p).isDirty());
    T assigned;
    assigned.setDirty();
    assigned.addReference();
    assigned = this->p;
    EXPECT_TRUE(assigned == this->p && !assigned.isDirty());
    EXPECT_EQ(assigned.references(), 1u);
    assigned = this->value * 3.0;
    EXPECT_TRUE(assigned == this->value * 3.0 && assigned.isDirty());
    assigned.removeReference();
}

TEST(PersistentPoint, BelongsToTheEntities) {
    ERPersistentPoint2D plane;
    ERPersistentPoint3D space;
    EXPECT_TRUE(plane.isKindOf(EREntity2D::desc()) && !plane.isKindOf(EREntity3D::desc()));
    EXPECT_FALSE(ERPersistentVector3D().isKindOf(EREntity::desc()));
    double distance = -7;
    EXPECT_EQ(plane.SignedMinimalDistance(ERPoint2D(), distance), 0);
    EXPECT_EQ(space.SignedMinimalDistance(ERPoint3D(), distance), 0);
    EXPECT_EQ(distance, -7);
    const std::unique_ptr<EREntity> copy(space.duplicate());
    EXPECT_EQ(copy->isA(), ERPersistentPoint3D::desc());
}

// Through the entity, as a program that knows only the base moves it.
TEST(PersistentPoint, MovesInPlaceAndBecomesDirty) {
    ERPersistentPoint2D plane(ERPoint2D(1, 2)), moved(plane);
    EREntity2D& entity = plane;
    entity.scale(2);
    EXPECT_EQ(entity.isDirty(), 1);
    entity.translate(ERPoint2D(1, -1));
    EXPECT_TRUE(plane == ERPoint2D(3, 3));
    // The frame at (5, 6) whose x axis is the reference's y axis.
    const ERTransfo2D frame(ERVector2D(0, 2), ERPoint2D(5, 6));
    EXPECT_TRUE(isEqual(frame << (frame >> moved), moved, 1e-15));
    moved.transformFrom(frame);
    EXPECT_TRUE(isEqual(moved, ERPoint2D(3, 7), 1e-15) && moved.isDirty());
    moved.transformTo(frame);
    EXPECT_TRUE(isEqual(moved, ERPoint2D(1, 2), 1e-15));

    ERPersistentPoint3D space(ERPoint3D(1, 2, 3));
    space.scale(2);
    space.translate(ERPoint3D(0, 0, 1));
    EXPECT_TRUE(space == ERPoint3D(2, 4, 7) && space.isDirty());
    const ERPmIsometrie3D shift = ERTranslation3D(ERPoint3D(10, 20, 30));
    EXPECT_TRUE((shift >> space) == ERPoint3D(12, 24, 37) && (shift << (shift >> space)) == space);
    space.transformFrom(shift);
    space.transformTo(ERScaling3D(2.0));
    EXPECT_TRUE(space == ERPoint3D(6, 12, 18.5));
}

}  // namespace
}  // namespace kerf
