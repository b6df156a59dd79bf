#include "kerf/persistence/database_object.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

#include "kerf/core/file.h"
#include "kerf/persistence/file_manager.h"
#include "kerf/persistence/numbered_database.h"
#include "kerf/persistence/tree_objects.h"
#include "kerf/platform/sinks.h"
#include "kerf/values/persistent_point.h"
#include "tests/persistence/sample_object.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

TEST(Property, ConvertsBetweenItsTypes) {
    struct Case {
        ERDBObjProperty property;
        ERDBObjProperty::TYPE type;
        double real;
        int integer;
        unsigned int natural;
        std::string text;
        ERULong stored;
    };
    const Case cases[] = {
        {ERDBObjProperty(), ERDBObjProperty::Undefined, 0, 0, 0, "", 1},
        {ERDBObjProperty(-3), ERDBObjProperty::Long, -3, -3, 4294967293u, "", 5},
        {ERDBObjProperty(7L), ERDBObjProperty::Long, 7, 7, 7, "", 5},
        {ERDBObjProperty(-2.75), ERDBObjProperty::Double, -2.75, -2, 4294967294u, "", 9},
        {ERDBObjProperty(1e300), ERDBObjProperty::Double, 1e300, std::numeric_limits<int>::max(),
         static_cast<unsigned>(static_cast<std::int64_t>(9.2e18)), "", 9},
        {ERDBObjProperty("12.5mm"), ERDBObjProperty::String, 12.5, 12, 12, "12.5mm", 12},
        {ERDBObjProperty(4000000000ul), ERDBObjProperty::UnsignedLong, 4e9, -294967296, 4000000000u,
         "", 5},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.type));
        EXPECT_EQ(c.property.getType(), c.type);
        EXPECT_EQ(c.property.operator double(), c.real);
        EXPECT_EQ(c.property.operator int(), c.integer);
        EXPECT_EQ(c.property.operator unsigned int(), c.natural);
        EXPECT_EQ(std::string(c.property.operator char const*()), c.text);
        EXPECT_EQ(c.property.binaryStoreSize(), c.stored);
    }
    const ERDBObjProperty notANumber(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(notANumber.operator int(), 0);
}

TEST(Property, PrintsItsTypeAndValue) {
    std::ostringstream text;
    for (ERDBObjProperty const& property :
         {ERDBObjProperty(), ERDBObjProperty(-1), ERDBObjProperty(0.5), ERDBObjProperty("wall"),
          ERDBObjProperty(9ul)})
        property.printOn(text);
    EXPECT_EQ(text.str(),
              "ERDBObjProperty type = 0\n GV (UNDEF!!!) ERDBObjProperty type = 1\n GV (long) -1"
              "ERDBObjProperty type = 2\n GV (double) 0.5"
              "ERDBObjProperty type = 3\n GV (String) wall"
              "ERDBObjProperty type = 4\n GV (unsigned long) 9");
}

TEST(PropertyTable, IsStoredInBucketOrder) {
    const test::TemporaryFile place;
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

TEST(PropertyTable, DamagedTextsAndCountsTakeNoMemory) {
    const test::TemporaryFile place;
    for (std::string const& bytes :
         {std::string("\xFF\xFF\xFF\x7F", 4), std::string("\xFF\xFF\xFF\xFF", 4),
          std::string("\1\0\0\0\5\0\0\0\3\xFF\xFF\xFF\x7F", 13),
          std::string("\1\0\0\0\5\0\0\0\3\xFF\xFF\xFF\xFFxx", 15),
          std::string("\1\0\0\0\5\0\0\0\3\2\0\0\0ab", 15),
          std::string("\1\0\0\0\5\0\0\0\x63", 9)}) {
        place.setBytes(bytes);
        ERFile file(place.path(), CFile::modeRead);
        ERDBObjPropertyTable table;
        table.restoreGuts(file);
        EXPECT_LE(table.entries(), 1u);
        EXPECT_EQ(table[5].getType(), ERDBObjProperty::Undefined);
    }
}

TEST(DBObject, ReadsMissingPropertiesAsNothing) {
    ERDBObject object;
    const ERULong empty = object.binaryStoreSize();
    EXPECT_EQ(object.color(), 0);
    EXPECT_EQ(object.level(), 0);
    EXPECT_EQ(object.color_rgb(), 0u);
    EXPECT_EQ(object.property(12).getType(), ERDBObjProperty::Undefined);
    EXPECT_EQ(object.binaryStoreSize(), empty);
    EXPECT_STREQ(object.name(), "");
    EXPECT_EQ(object.binaryStoreSize(), empty + 5);  // the undefined entry is stored
    EXPECT_EQ(object.isDirty(), 0);
    object.color(4).level(-2).color_rgb(0xFF000000u).name("n").level_name("l").property(6, 5L);
    EXPECT_EQ(object.isDirty(), 1);
    EXPECT_EQ(object.color(), 4);
    EXPECT_EQ(object.level(), -2);
    EXPECT_EQ(object.color_rgb(), 0xFF000000u);
    EXPECT_STREQ(object.name(), "n");
    EXPECT_STREQ(object.level_name(), "l");
    EXPECT_EQ(object.property(6).operator int(), 5);
}

TEST(DBObject, ComesBackWithItsPropertiesAndItsObject) {
    const test::TemporaryFile place;
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    ERDBObject object;
    object.name("probe").property(100, 0.1).property(101, 5).object(
        new ERPersistentPoint3D(ERPoint3D(1, 2, 3)));
    ASSERT_EQ(object.Save(&base), 1);
    const t_SmartPtr<ERObject> copy(object.getCopy());
    EXPECT_EQ(copy->getObjectID(), -1);
    ERDBObject again;
    ASSERT_EQ(base.Retrieve(1, again), 1);
    for (ERDBObject* each : {&again, ERDBObject::castdown(copy.getObject())}) {
        EXPECT_STREQ(each->name(), "probe");
        EXPECT_EQ(each->property(100).operator double(), 0.1);
        ERPersistentPoint3D* point = ERPersistentPoint3D::castdown(each->object().getObject());
        ASSERT_NE(point, nullptr);
        EXPECT_EQ(point->y(), 2);
    }
    EXPECT_EQ(again.object()->getObjectID(), 2);
    std::ostringstream text;
    again.printOn(text);
    EXPECT_NE(text.str().find(" GV (String) probe\n"), std::string::npos);
}

TEST(DBTree, IsFoundAgainThroughItsRecord) {
    const test::TemporaryFile place;
    {
        ERObjectDataBase base;
        ASSERT_EQ(base.Open(place.path(), 0), 1);
        ERDBTree tree;
        EXPECT_EQ(tree.insertKeyAndValue(1, 1), 0);
        tree.Create("levels", *base.fileManager());
        for (ERLong key = -500; key < 500; ++key)
            ASSERT_EQ(tree.insertKeyAndValue(key, key * key), 1);
        EXPECT_EQ(tree.insertKeyAndValue(3, 0), 0);
        EXPECT_EQ(tree.remove(7), 1);
        EXPECT_EQ(tree.remove(7), 0);
        EXPECT_EQ(tree.binaryStoreSize(), 14u);
        EXPECT_EQ(tree.Save(&base), 1);
    }
    ERObjectDataBase base;
    ASSERT_EQ(base.Open(place.path(), 1), 1);
    ERDBTree tree;
    ASSERT_EQ(base.Retrieve(1, tree), 1);
    tree.Reload(*base.fileManager());
    EXPECT_TRUE(tree.name() == "levels");
    EXPECT_EQ(tree.findValue(-500), 250000);
    EXPECT_EQ(tree.findValue(7), -1);
    EXPECT_EQ(tree.contains(499), 1);
    EXPECT_EQ(tree.contains(500), 0);
}

TEST(NumberedDataBase, NumbersObjectsInTheOrderOfSaving) {
    const test::TemporaryFile place;
    ERDataBase base;
    EXPECT_EQ(base.Open(place.path(), 1), 0);
    EXPECT_EQ(base.save(new Sample(1, 1)), -1);
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    for (unsigned i = 0; i < 300; ++i)
        ASSERT_EQ(base.save(new Sample(i, 1)), static_cast<ERLong>(i));
    EXPECT_EQ(base.getNbEnt(), 300);
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

TEST(NumberedDataBase, RefusesAFileWhoseFirstRecordIsNoIndex) {
    const test::TemporaryFile place;
    setMessageSink([](char const*, char const*) {});
    {
        ERObjectDataBase plain;
        ASSERT_EQ(plain.Open(place.path(), 0), 1);
        Sample sample(3, 3);
        sample.Save(&plain);
    }
    const std::string before = place.bytes();
    ERDataBase base;
    EXPECT_EQ(base.Open(place.path(), 1), 0);
    EXPECT_EQ(place.bytes(), before);
    ERObjectDataBase plain;
    EXPECT_EQ(plain.Open(place.path(), 0), 1);  // it was closed
    setMessageSink(nullptr);
}

}  // namespace
}  // namespace kerf
