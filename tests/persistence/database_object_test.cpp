#include "kerf/persistence/database_object.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <new>
#include <sstream>
#include <string>
#include <string_view>

#include "kerf/core/store_size.h"
#include "kerf/persistence/numbered_database.h"
#include "kerf/values/persistent_point.h"
#include "tests/persistence/database_support.h"
#include "tests/persistence/heap_support.h"

namespace kerf {
namespace {

using namespace test;

class DatabaseObjects : public DatabaseTest {};

TEST(Property, ConvertsBetweenItsTypesAndPrints) {
    using P = ERDBObjProperty;
    const struct {
        P property;
        std::string printed;
        double real;
        int integer;
        unsigned int natural;
    } cases[] = {
        {P(), "0\n GV (UNDEF!!!) ", 0, 0, 0},
        {P(-2.75), "2\n GV (double) -2.75", -2.75, -2, 4294967294u},
        {P(1e300), "2\n GV (double) 1e+300", 1e300, std::numeric_limits<int>::max(),
         static_cast<unsigned int>(static_cast<std::int64_t>(9.2e18))},
        {P("12.5mm"), "3\n GV (String) 12.5mm", 12.5, 12, 12},
        {P(4000000000ul), "4\n GV (unsigned long) 4000000000", 4e9, -294967296, 4000000000u},
        {P(std::int64_t{-5}), "1\n GV (long) -5", -5, -5, 4294967291u},
        {P(static_cast<signed char>(-5)), "1\n GV (long) -5", -5, -5, 4294967291u},
        {P(true), "1\n GV (long) 1", 1, 1, 1},
        {P(std::size_t{7}), "4\n GV (unsigned long) 7", 7, 7, 7},
        {P(4000000000ll), "4\n GV (unsigned long) 4000000000", 4e9, -294967296, 4000000000u},
        {P(5000000000ll), "2\n GV (double) 5e+09", 5e9, std::numeric_limits<int>::max(),
         705032704u},
        {ERDBObject().property(12, std::string("mm")).property(12), "3\n GV (String) mm", 0, 0, 0},
        {ERDBObject().property(10, 5000000000ll).property(10), "2\n GV (double) 5e+09", 5e9,
         std::numeric_limits<int>::max(), 705032704u},
    };
    for (const auto& c : cases) {
        std::ostringstream printed;
        printed << c.property;
        EXPECT_EQ(printed.str(), "ERDBObjProperty type = " + c.printed);
        EXPECT_EQ(c.property.operator double(), c.real) << c.printed;
        EXPECT_EQ(c.property.operator int(), c.integer) << c.printed;
        EXPECT_EQ(c.property.operator unsigned int(), c.natural) << c.printed;
    }
    EXPECT_EQ(P(std::numeric_limits<double>::quiet_NaN()).operator int(), 0);
}

TEST(DatabaseObject, AConstantOneIsReadWithoutANewEntry) {
    ERDBObject object;
    const ERDBObject& constant = object;
    const ERULong size = object.binaryStoreSize();
    EXPECT_STREQ(constant.name(), "");
    EXPECT_STREQ(constant.level_name(), "");
    EXPECT_EQ(object.binaryStoreSize(), size);
    object.name(std::string("hole")).level_name(std::string_view("top").substr(1));
    EXPECT_STREQ(constant.name(), "hole");
    EXPECT_STREQ(constant.level_name(), "op");
}

TEST(PropertyTable, IsStoredInBucketOrder) {
    const TemporaryFile place;
    ERFile file(place.path(), CFile::modeCreate | CFile::modeReadWrite);
    ERDBObjPropertyTable table;
    table[12] = "b";  // bucket 2
    table[3] = 7;     // bucket 3
    table[-1] = 0.5;  // 4294967295 % 10: bucket 5
    table[11];        // bucket 1, undefined
    table.saveGuts(file);
    const std::string expected(
        "\4\0\0\0"
        "\13\0\0\0\0"
        "\14\0\0\0\3\1\0\0\0b\0"
        "\3\0\0\0\1\7\0\0\0"
        "\xFF\xFF\xFF\xFF\2\0\0\0\0\0\0\xE0\x3F",
        4 + 5 + 11 + 9 + 13);
    EXPECT_EQ(place.bytes(), expected);
    EXPECT_EQ(table.binaryStoreSize(), expected.size());
}

// A property that counts for more bytes than memory has.
struct HugeProperty : ERDBObjProperty {
    ERULong binaryStoreSize() const override { return 0xC0000000u; }
};

TEST(PropertyTable, SizesThatDoNotFitStopAtTheLargest) {
    ERDBObjPropertyTable table;
    for (ERLong key : {1, 2}) {
        static_assert(sizeof(HugeProperty) == sizeof(ERDBObjProperty));
        ERDBObjProperty* const property = &table[key];
        property->~ERDBObjProperty();
        new (static_cast<void*>(property)) HugeProperty;
    }
    EXPECT_EQ(table.binaryStoreSize(), 0xFFFFFFFFu);
    static_assert(storeSizeSum(0xFFFFFFFFu, 1) == 0xFFFFFFFFu);
    static_assert(storeSizeSum(~std::uint64_t{0} / 2, 6) == 0xFFFFFFFFu);
    static_assert(storeSizeSum(0xFFFFFFF0u, 4, 8) == 0xFFFFFFFCu);
}

// All in one bucket; each third key comes twice.
TEST(PropertyTable, ManyPropertiesAreRestoredInTimeThatGrowsWithTheirNumber) {
    constexpr ERLong count = 200000;
    std::string bytes = words({count});
    for (ERLong i = 0; i < count; ++i) {
        bytes += words({2550 * (i % 3 == 2 ? i - 1 : i)}) + '\1' + words({i});
    }
    const TemporaryFile place;
    place.setBytes(bytes);
    ERFile file(place.path(), CFile::modeRead);
    ERDBObjPropertyTable table;
    const auto start = std::chrono::steady_clock::now();
    table.restoreGuts(file);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(table.entries(), static_cast<unsigned int>(count - count / 3));
    EXPECT_EQ(table[2550 * 1].operator int(), 2);  // the last of equal ones
    EXPECT_EQ(table[2550 * 3].operator int(), 3);
}

TEST_F(DatabaseObjects, ComeBackWithTheirPropertiesAndTheirObject) {
    OpenedBase base(place);
    ERDBObject object, again;
    const ERULong empty = object.binaryStoreSize();
    EXPECT_STREQ(object.name(), "");
    EXPECT_EQ(object.binaryStoreSize(), empty + 5);  // the undefined entry is stored
    object.color(4).level(-2).color_rgb(0xFF000000u).name("probe").level_name("l").property(6, 0.1);
    object.object(new ERPersistentPoint3D(ERPoint3D(1, 2, 3)));
    ASSERT_EQ(object.Save(&base), 1);
    const t_SmartPtr<ERObject> copy(object.getCopy());
    ASSERT_EQ(base.Retrieve(1, again), 1);
    EXPECT_EQ(again.binaryStoreSize(), object.binaryStoreSize());
    for (ERDBObject* each : {&again, ERDBObject::castdown(copy.getObject())}) {
        EXPECT_EQ(each->color() + each->level(), 4 - 2);
        EXPECT_EQ(each->color_rgb(), 0xFF000000u);
        EXPECT_EQ(std::string(each->name()) + each->level_name(), "probel");
        EXPECT_EQ(each->property(6).operator double(), 0.1);
        ERPersistentPoint3D* point = ERPersistentPoint3D::castdown(each->object().getObject());
        ASSERT_NE(point, nullptr);
        EXPECT_EQ(point->y(), 2);
    }
}

TEST_F(DatabaseObjects, AreNumberedInTheOrderOfSaving) {
    ERDataBase base;
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    for (int i = 0; i < 300; ++i) ASSERT_EQ(base.save(newNamed(std::to_string(i))), i);
    base.Close();
    ASSERT_EQ(base.Open(place.path(), 0), 1);
    const t_SmartPtr<ERObject> object = base.restore(299);
    EXPECT_EQ(nameOf(object), "299");
    EXPECT_EQ(object->getObjectID(), 301);  // the index is object 1
    EXPECT_EQ(base.save(newNamed("next")), 300);
    const TemporaryFile otherPlace;
    ASSERT_EQ(base.Open(otherPlace.path(), 0), 1);
    EXPECT_EQ(base.getNbEnt(), 0);
    EXPECT_EQ(base.save(newNamed("first")), 0);
}

}  // namespace
}  // namespace kerf
