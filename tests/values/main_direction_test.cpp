#include "kerf/values/main_direction.h"

#include <gtest/gtest.h>

#include <string>

#include "kerf/platform/archive.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using Type = ERMainDirection::TypeDir;

constexpr Type allTypes[] = {Type::PlusX,  Type::MinusX, Type::PlusY,
                             Type::MinusY, Type::PlusZ,  Type::MinusZ};

TEST(MainDirection, TheSixReadAsAxisSenseAndVector) {
    const ERVector3D vectors[] = {{1, 0, 0},  {-1, 0, 0}, {0, 1, 0},
                                  {0, -1, 0}, {0, 0, 1},  {0, 0, -1}};
    const char* texts[] = {"X+", "X-", "Y+", "Y-", "Z+", "Z-"};
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(texts[i]);
        const ERMainDirection direction(allTypes[i]);
        EXPECT_EQ(static_cast<int>(static_cast<Type>(direction)), i);
        EXPECT_EQ(static_cast<int>(direction.axe()), i / 2);
        EXPECT_EQ(direction.sens(), i % 2 == 0 ? 1 : -1);
        EXPECT_EQ(direction.vector(), vectors[i]);
        EXPECT_EQ(static_cast<ERVector3D>(direction), vectors[i]);
        EXPECT_EQ(static_cast<ERVector3D>(-direction), vectors[i] * -1.0);
        EXPECT_EQ(ERMainDirection(vectors[i] * 7.0), allTypes[i]);
        EXPECT_EQ(ERMainDirection(texts[i]), allTypes[i]);

        ERMainDirection turned = direction;
        turned.swap();
        EXPECT_EQ(turned, -direction);
        turned.swap();
        EXPECT_EQ(turned, direction);
    }
    EXPECT_EQ(ERMainDirection("Y"), Type::MinusY);
}

TEST(MainDirection, SenseZeroIsNegative) {
    EXPECT_EQ(ERMainDirection(Coord3D::CoordY, 0), Type::MinusY);
    EXPECT_EQ(ERMainDirection(Coord3D::CoordY, -5), Type::MinusY);
    EXPECT_EQ(ERMainDirection(Coord3D::CoordY, 2), Type::PlusY);
}

TEST(MainDirection, AVectorGivesItsLargestComponent) {
    EXPECT_EQ(ERMainDirection(ERVector3D(3, -4, 1)), Type::MinusY);
    EXPECT_EQ(ERVector3D(3, -4, 1).mainDirection(), Type::MinusY);
    EXPECT_EQ(ERMainDirection(ERVector3D(-4, 3, 4)), Type::PlusZ);  // no axis is strictly above
    EXPECT_EQ(ERMainDirection(ERVector3D()), Type::PlusZ);
    // With a sense given, the vector's own does not count.
    EXPECT_EQ(ERMainDirection(ERVector3D(3, -4, 1), 1), Type::PlusY);
    EXPECT_EQ(ERMainDirection(ERVector3D(0, 0, 2), 0), Type::MinusZ);
}

TEST(MainDirection, IsTwoBytesInAnArchive) {
    test::TemporaryFile name;
    {
        CFile file(name.path(), CFile::modeCreate | CFile::modeWrite);
        CArchive archive(&file, CArchive::store);
        for (Type type : allTypes) archive << ERMainDirection(type);
    }
    EXPECT_EQ(name.bytes(), std::string("\0\1\0\xFF\1\1\1\xFF\2\1\2\xFF", 12));

    name.setBytes(name.bytes() + std::string("\3\1\2\7\1", 5));
    CFile file(name.path(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    ERMainDirection direction(Type::PlusX);
    for (Type type : allTypes) {
        archive >> direction;
        EXPECT_EQ(direction, type);
    }
    for (int damaged = 0; damaged < 2; ++damaged) {
        archive >> direction;
        EXPECT_EQ(direction, Type::MinusZ);
    }
    EXPECT_THROW(archive >> direction, CArchiveException);
    EXPECT_EQ(direction, Type::MinusZ);
}

}  // namespace
}  // namespace kerf
