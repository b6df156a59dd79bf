#include "kerf/persistence/database_object.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>
#include <utility>

#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/numbered_database.h"
#include "kerf/persistence/tree_objects.h"
#include "kerf/values/persistent_point.h"
#include "tests/persistence/database_support.h"

namespace kerf {
namespace {

using namespace test;

class DatabaseObjects : public DatabaseTest {};

TEST(Property, ConvertsBetweenItsTypesAndPrints) {
    struct Case {
        ERDBObjProperty property;
        std::string printed;
        double real;
        int integer;
        unsigned int natural;
        std::string text;
        ERULong stored;
    };
    const Case cases[] = {
        {ERDBObjProperty(), "0\n GV (UNDEF!!!) ", 0, 0, 0, "", 1},
        {ERDBObjProperty(-3), "1\n GV (long) -3", -3, -3, 4294967293u, "", 5},
        {ERDBObjProperty(-2.75), "2\n GV (double) -2.75", -2.75, -2, 4294967294u, "", 9},
        {ERDBObjProperty(1e300), "2\n GV (double) 1e+300", 1e300, std::numeric_limits<int>::max(),
         static_cast<unsigned>(static_cast<std::int64_t>(9.2e18)), "", 9},
        {ERDBObjProperty("12.5mm"), "3\n GV (String) 12.5mm", 12.5, 12, 12, "12.5mm", 12},
        {ERDBObjProperty(4000000000ul), "4\n GV (unsigned long) 4000000000", 4e9, -294967296,
         4000000000u, "", 5},
    };
    for (Case const& c : cases) {
        std::ostringstream printed;
        c.property.printOn(printed);
        EXPECT_EQ(printed.str(), "ERDBObjProperty type = " + c.printed);
        EXPECT_EQ(c.property.operator double(), c.real) << c.printed;
        EXPECT_EQ(c.property.operator int(), c.integer) << c.printed;
        EXPECT_EQ(c.property.operator unsigned int(), c.natural) << c.printed;
        EXPECT_EQ(c.property.operator char const*(), c.text) << c.printed;
        EXPECT_EQ(c.property.binaryStoreSize(), c.stored) << c.printed;
    }
    EXPECT_EQ(ERDBObjProperty(std::numeric_limits<double>::quiet_NaN()).operator int(), 0);
}

TEST(PropertyTable, IsStoredInBucketOrder) {
    const TemporaryFile place;
    ERDBObjPropertyTable table;
    table[12] = "b";  // bucket 2
    table[3] = 7;     // bucket 3
    table[-1] = 0.5;  // 4294967295 % 10: bucket 5
    table[11];        // bucket 1, undefined
    const std::string expected(
        "\4\0\0\0"
        "\13\0\0\0\0"
        "\14\0\0\0\3\1\0\0\0b\0"
        "\3\0\0\0\1\7\0\0\0"
        "\xFF\xFF\xFF\xFF\2\0\0\0\0\0\0\xE0\x3F",
        4 + 5 + 11 + 9 + 13);
    EXPECT_EQ(table.binaryStoreSize(), expected.size());
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeReadWrite);
        table.saveGuts(file);
    }
    EXPECT_EQ(place.bytes(), expected);
    ERFile file(place.path(), CFile::modeRead);
    ERDBObjPropertyTable again;
    again[99] = 1;
    again.restoreGuts(file);
    EXPECT_EQ(again.entries(), 4u);
    EXPECT_EQ(std::string(again[12].operator char const*()), "b");
    EXPECT_EQ(again[-1].operator double(), 0.5);
    EXPECT_EQ(again[11].getType(), ERDBObjProperty::Undefined);
}

TEST_F(DatabaseObjects, ComeBackWithTheirPropertiesAndTheirObject) {
    OpenedBase base(place);
    ERDBObject object;
    const ERULong empty = object.binaryStoreSize();
    EXPECT_EQ(object.color(), 0);
    EXPECT_EQ(object.binaryStoreSize(), empty);
    EXPECT_STREQ(object.name(), "");
    EXPECT_EQ(object.binaryStoreSize(), empty + 5);  // the undefined entry is stored
    EXPECT_EQ(object.isDirty(), 0);
    object.color(4).level(-2).color_rgb(0xFF000000u).name("probe").level_name("l").property(6, 0.1);
    object.object(new ERPersistentPoint3D(ERPoint3D(1, 2, 3)));
    EXPECT_EQ(object.isDirty(), 1);
    ASSERT_EQ(object.Save(&base), 1);
    const t_SmartPtr<ERObject> copy(object.getCopy());
    EXPECT_EQ(copy->getObjectID(), -1);
    ERDBObject again;
    ASSERT_EQ(base.Retrieve(1, again), 1);
    for (ERDBObject* each : {&again, ERDBObject::castdown(copy.getObject())}) {
        EXPECT_EQ(each->color(), 4);
        EXPECT_EQ(each->level(), -2);
        EXPECT_EQ(each->color_rgb(), 0xFF000000u);
        EXPECT_STREQ(each->name(), "probe");
        EXPECT_STREQ(each->level_name(), "l");
        EXPECT_EQ(each->property(6).operator double(), 0.1);
        ERPersistentPoint3D* point = ERPersistentPoint3D::castdown(each->object().getObject());
        ASSERT_NE(point, nullptr);
        EXPECT_EQ(point->y(), 2);
    }
    EXPECT_EQ(again.object()->getObjectID(), 2);
}

TEST_F(DatabaseObjects, ATreeIsFoundAgainThroughItsRecord) {
    OpenedBase base(place);
    ERDBTree tree, again;
    EXPECT_EQ(tree.insertKeyAndValue(1, 1), 0);
    tree.Create("levels", *base.fileManager());
    for (ERLong key = -500; key < 500; ++key) ASSERT_EQ(tree.insertKeyAndValue(key, key * key), 1);
    EXPECT_EQ(tree.insertKeyAndValue(3, 0), 0);
    EXPECT_EQ(tree.remove(7), 1);
    EXPECT_EQ(tree.binaryStoreSize(), 14u);
    EXPECT_EQ(tree.Save(&base), 1);
    ASSERT_EQ(base.Retrieve(1, again), 1);
    again.Reload(*base.fileManager());
    EXPECT_TRUE(again.name() == "levels");
    EXPECT_EQ(again.findValue(-500), 250000);
    EXPECT_EQ(again.findValue(7), -1);
    EXPECT_EQ(again.contains(499), 1);
}

TEST_F(DatabaseObjects, AreNumberedInTheOrderOfSaving) {
    ERDataBase base;
    EXPECT_EQ(base.Open(place.path(), 1), 0);
    EXPECT_EQ(base.save(new Sample(1, 1)), -1);
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    for (int i = 0; i < 300; ++i) ASSERT_EQ(base.save(new Sample(unsigned(i), 1)), i);
    base.Close();
    EXPECT_EQ(base.getNbEnt(), 0);
    EXPECT_TRUE(!base.restore(0));
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    EXPECT_EQ(base.getNbEnt(), 300);
    const t_SmartPtr<ERObject> object = base.restore(299);
    ASSERT_NE(Sample::castdown(object.getObject()), nullptr);
    EXPECT_EQ(object->getObjectID(), 301);  // the index is object 1
    EXPECT_EQ(Sample::castdown(object.getObject())->bytes.size(), 299u);
    EXPECT_TRUE(!base.restore(300));
    EXPECT_EQ(base.save(new Sample(2, 2)), 300);
}

TEST_F(DatabaseObjects, ABaseWhoseFirstRecordIsNoIndexIsRefusedAndClosed) {
    {
        OpenedBase plain(place);
        Sample(3, 3).Save(&plain);
    }
    const std::string before = place.bytes();
    ERDataBase base;
    EXPECT_EQ(base.Open(place.path(), 1), 0);
    EXPECT_EQ(place.bytes(), before);
    EXPECT_EQ(OpenedBase(place).getNbObj(), 1u);
}

TEST_F(DatabaseObjects, AWrongCountInItsIndexGivesNoWrongNumber) {
    std::size_t countAt = 0;
    {
        ERDataBase base;
        ASSERT_EQ(base.Open(place.path(), 0), 1);
        base.save(new Sample(1, 1));
        ERAuxilaryIndex index;
        ASSERT_EQ(base.objects().Retrieve(1, index), 1);
        ERLong location = -1;
        ERFile& file = *base.objects().fileManager();
        file.SeekTo(base.objects().ReadSpecial(1) + 4);
        ASSERT_EQ(file.Read(location), 1);
        countAt = static_cast<std::size_t>(location) + 12;
    }
    const std::string whole = place.bytes();
    for (auto const& [count, number] :
         {std::pair<std::string, ERLong>("\xFF\xFF\xFF\xFF", 1), {"\xFF\xFF\xFF\x7F", -1}}) {
        std::string damaged = whole;
        damaged.replace(countAt, 4, count);
        place.setBytes(damaged);
        ERDataBase base;
        ASSERT_EQ(base.Open(place.path(), 0), 1);
        EXPECT_GE(base.getNbEnt(), 0);
        EXPECT_EQ(base.save(new Sample(2, 2)), number);
        EXPECT_NE(base.restore(0).getObject(), nullptr);
    }
}

}  // namespace
}  // namespace kerf
