#include "kerf/values/persistent_point.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <memory>
#include <sstream>
#include <string>

#include "kerf/core/file.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/values/transformation_2d.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

template <class T>
struct ValueOf;
template <>
struct ValueOf<ERPersistentPoint2D> {
    using type = ERPoint2D;
    static type sample() { return type(1, 2); }
    static constexpr const char* text = "(P) [ 1, 2]";
};
template <>
struct ValueOf<ERPersistentPoint3D> {
    using type = ERPoint3D;
    static type sample() { return type(1, 2, 3); }
    static constexpr const char* text = "(P) [ 1, 2, 3]";
};
template <>
struct ValueOf<ERPersistentVector3D> {
    using type = ERVector3D;
    static type sample() { return type(1, 2, 3); }
    static constexpr const char* text = "(P) < 1, 2, 3>";
};

template <class T>
class PersistentValueTest : public ::testing::Test {
protected:
    using Value = typename ValueOf<T>::type;
    const Value sample = ValueOf<T>::sample();
};
using Wrappers = ::testing::Types<ERPersistentPoint2D, ERPersistentPoint3D, ERPersistentVector3D>;
TYPED_TEST_SUITE(PersistentValueTest, Wrappers);

TYPED_TEST(PersistentValueTest, IsUsedAsItsValue) {
    const TypeParam p(this->sample);
    TypeParam q = p;
    EXPECT_TRUE(p == q);
    EXPECT_TRUE(p == this->sample);
    q *= 2.0;
    EXPECT_TRUE(p != q);
    EXPECT_TRUE(q - p == this->sample);
    EXPECT_EQ(isEqual(p, q, 3.0), 1);
    EXPECT_TRUE(TypeParam() == decltype(this->sample)());
}

TYPED_TEST(PersistentValueTest, PrintsItsMarkThenTheValueAtTheWidth) {
    std::ostringstream text;
    text << std::setw(2) << TypeParam(this->sample);
    EXPECT_EQ(text.str(), ValueOf<TypeParam>::text);
}

TYPED_TEST(PersistentValueTest, IsRestoredThroughItsRegisteredCreator) {
    const test::TemporaryFile place;
    const TypeParam p(this->sample);
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        file << p;
        EXPECT_EQ(static_cast<ERULong>(file.GetLength()), p.binaryStoreSize());
        EXPECT_EQ(p.binaryStoreSize(), sizeof this->sample);
    }
    ERFile file(place.path(), CFile::modeRead);
    ASSERT_NE(ERClassRegistration::findCreator(p.className()), nullptr);
    const t_SmartPtr<ERObject> object = ERClassRegistration::findCreator(p.className())();
    object->restoreGuts(file);
    const TypeParam* const restored = TypeParam::castdown(object.getObject());
    ASSERT_NE(restored, nullptr);
    EXPECT_TRUE(*restored == p);
    file.SeekTo(0);
    TypeParam read;
    file >> read;
    EXPECT_TRUE(read == p);
}

TYPED_TEST(PersistentValueTest, CopiesTheValueAndNeverTheIdentity) {
    TypeParam p(this->sample);
    p.setDirty();
    const TypeParam copy = p;
    EXPECT_EQ(copy.isDirty(), 0);
    const std::unique_ptr<TypeParam> clone(p.getCopy());
    EXPECT_TRUE(*clone == p);
    EXPECT_EQ(clone->isOnTheHeap(), 1);
    EXPECT_EQ(clone->references(), 0u);

    TypeParam assigned;
    assigned.setDirty();
    assigned.addReference();
    assigned = p;
    EXPECT_TRUE(assigned == p);
    EXPECT_EQ(assigned.isDirty(), 0);
    EXPECT_EQ(assigned.references(), 1u);
    assigned = this->sample * 3.0;
    EXPECT_TRUE(assigned == this->sample * 3.0);
    EXPECT_EQ(assigned.isDirty(), 1);
    assigned.removeReference();
}

TEST(PersistentPoint, BelongsToTheEntities) {
    ERPersistentPoint2D plane;
    ERPersistentPoint3D space;
    ERPersistentVector3D vector;
    EXPECT_EQ(plane.isKindOf(EREntity2D::desc()), 1);
    EXPECT_EQ(plane.isKindOf(EREntity3D::desc()), 0);
    EXPECT_EQ(space.isKindOf(EREntity::desc()), 1);
    EXPECT_EQ(vector.isKindOf(EREntity::desc()), 0);
    EXPECT_EQ(ERClassRegistration::findCreator("EREntity2D"), nullptr);
    EXPECT_STREQ(space.className(), "ERPersistentPoint3D");

    double distance = -7;
    EXPECT_EQ(plane.SignedMinimalDistance(ERPoint2D(), distance), 0);
    EXPECT_EQ(space.SignedMinimalDistance(ERPoint3D(), distance), 0);
    EXPECT_EQ(distance, -7);
    const std::unique_ptr<EREntity> copy(space.duplicate());
    EXPECT_EQ(copy->isA(), ERPersistentPoint3D::desc());
}

// Through the entity, as a program that knows only the base moves it.
TEST(PersistentPoint, MovesInPlaceAndBecomesDirty) {
    ERPersistentPoint2D plane(ERPoint2D(1, 2));
    EREntity2D& entity = plane;
    entity.scale(2);
    EXPECT_EQ(entity.isDirty(), 1);
    EXPECT_TRUE(plane == ERPoint2D(2, 4));
    entity.translate(ERPoint2D(1, -1));
    EXPECT_TRUE(plane == ERPoint2D(3, 3));

    ERPersistentPoint3D space(ERPoint3D(1, 2, 3));
    space.scale(2);
    space.translate(ERPoint3D(0, 0, 1));
    EXPECT_TRUE(space == ERPoint3D(2, 4, 7));
    EXPECT_EQ(space.isDirty(), 1);
}

TEST(PersistentPoint, TransformsThereAndBack) {
    // The frame at (5, 6) whose x axis is the reference's y axis.
    const ERTransfo2D frame(ERVector2D(0, 2), ERPoint2D(5, 6));
    ERPersistentPoint2D plane(ERPoint2D(1, 2));
    EXPECT_TRUE(isEqual(frame >> plane, ERPoint2D(3, 7), 1e-15));
    plane.transformFrom(frame);
    EXPECT_TRUE(isEqual(plane, ERPoint2D(3, 7), 1e-15));
    EXPECT_EQ(plane.isDirty(), 1);
    EXPECT_TRUE(isEqual(frame << plane, ERPoint2D(1, 2), 1e-15));
    plane.transformTo(frame);
    EXPECT_TRUE(isEqual(plane, ERPoint2D(1, 2), 1e-15));

    const ERPmIsometrie3D shift = ERTranslation3D(ERPoint3D(10, 20, 30));
    ERPersistentPoint3D space(ERPoint3D(1, 2, 3));
    EXPECT_TRUE((shift >> space) == ERPoint3D(11, 22, 33));
    EXPECT_TRUE((shift << space) == ERPoint3D(-9, -18, -27));
    space.transformFrom(shift);
    EXPECT_TRUE(space == ERPoint3D(11, 22, 33));
    EXPECT_EQ(space.isDirty(), 1);
    space.transformTo(shift);
    EXPECT_TRUE(space == ERPoint3D(1, 2, 3));
    space.transformFrom(ERScaling3D(2.0));
    EXPECT_TRUE(space == ERPoint3D(2, 4, 6));
    space.transformTo(ERScaling3D(4.0));
    EXPECT_TRUE(space == ERPoint3D(0.5, 1, 1.5));
    static_assert(std::is_same_v<decltype(shift << space), ERPersistentPoint3D>);
    static_assert(std::is_same_v<decltype(shift << space.thePoint()), ERPoint3D>);
}

}  // namespace
}  // namespace kerf
