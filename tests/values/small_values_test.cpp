#include "kerf/values/limits.h"
#include "kerf/values/main_direction.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;
using Type = ERMainDirection::TypeDir;

TEST(Limites, AreNeverReorderedAndTheirBoundsAreExact) {
    for (ERLimites l : {ERLimites(2, 10), ERLimites(10, 2)})
        for (double t : {-1.0, 0.25, 3.0}) EXPECT_EQ(l.ratio(l(t)), t);
    ERLimites l(0, 1);
    EXPECT_EQ(l.inBound(0.0) + l.inBound(1.0) + l.strictlyInBound(0.5), 3);
    EXPECT_EQ(l.inBound(1.0 + 1e-15) + l.inBound(nan) + l.strictlyInBound(1.0), 0);
    l *= -1;  // reverses the interval
    EXPECT_EQ(l, ERLimites(0, -1));
}

TEST(MainDirection, TheSixReadAsAxisSenseVectorAndText) {
    const char* const texts[] = {"X+", "X-", "Y+", "Y-", "Z+", "Z-"};
    for (int i = 0; i < 6; ++i) {
        const auto type = static_cast<Type>(i);
        const auto axis = static_cast<Coord3D>(i / 2);
        const int sense = i % 2 == 0 ? 1 : -1;
        const ERMainDirection direction(type);
        EXPECT_EQ(direction.vector(), ERVector3D(axis) * sense);
        EXPECT_EQ(ERMainDirection(axis, sense == 1 ? 2 : 0), type);  // sense 0 is negative
        EXPECT_EQ(ERMainDirection(direction.vector() * 7.0), type);
        EXPECT_EQ(ERMainDirection(texts[i]), type);
    }
    EXPECT_EQ(ERMainDirection("Y"), Type::MinusY);
    EXPECT_EQ(ERMainDirection(ERVector3D(3, -4, 1)), Type::MinusY);
    EXPECT_EQ(ERMainDirection(ERVector3D(-4, 3, 4)), Type::PlusZ);  // no axis is strictly above
    // With a sense given, the vector's own does not count.
    EXPECT_EQ(ERMainDirection(ERVector3D(3, -4, 1), 1), Type::PlusY);
}

TEST(MainDirection, IsTwoBytesInAnArchive) {
    const TemporaryFile place;
    CFile file(place.path(), createFile);
    {
        CArchive archive(&file, CArchive::store);
        for (int i = 0; i < 6; ++i) archive << ERMainDirection(static_cast<Type>(i));
        archive.Write("\3\1\2\7\1", 5);
    }
    EXPECT_EQ(place.bytes(), std::string("\0\1\0\xFF\1\1\1\xFF\2\1\2\xFF\3\1\2\7\1", 17));
    file.Seek(0, CFile::begin);
    CArchive archive(&file, CArchive::load);
    ERMainDirection direction(Type::PlusX);
    for (int i = 0; i < 8; ++i) {  // the last two are damaged
        archive >> direction;
        EXPECT_EQ(direction, static_cast<Type>(std::min(i, 5)));
    }
    EXPECT_THROW(archive >> direction, CArchiveException);
}

}  // namespace
}  // namespace kerf
