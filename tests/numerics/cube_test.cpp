#include "kerf/numerics/cube.h"

#include "tests/numerics/vector_checks.h"

namespace kerf {
namespace {

using namespace test;

ERDoubleCube numbered() {
    ERDoubleCube cube(2, 3, 4);
    std::iota(cube.begin(), cube.end(), 0.0);
    return cube;
}

// The sticks and planes lay the elements out x first, then z, then y.
TEST(Cube, SticksAndPlanesAddressTheirOwnOrder) {
    const ERDoubleCube cube = numbered();
    const Matrix plane = ExtractMatFromX(cube, 1);
    for (unsigned int y = 0; y < 3; ++y) {
        for (unsigned int z = 0; z < 4; ++z) {
            const double atStart = (4 * y + z) * 2.0;
            EXPECT_EQ(listOf(cube.stickX(y, z)), (Values{atStart, atStart + 1}));
            EXPECT_EQ(cube.stickY(1, z)[y], atStart + 1);
            EXPECT_EQ(cube.stickZ(1, y)[z], atStart + 1);
            EXPECT_EQ(plane(y, z), atStart + 1);
            EXPECT_EQ(cube(0, y, z), (3 * z + y) * 2.0);
        }
    }
    EXPECT_EQ(cube.stickY(0, 0).length(), 3u);
    EXPECT_EQ(cube.stickZ(0, 0).length(), 4u);

    ERDoubleCube written(cube);
    EXPECT_EQ(&SetMatFromX(written, Matrix(3, 4, 5.0), 1), &written);
    EXPECT_TRUE(ExtractMatFromX(written, 1) == Matrix(3, 4, 5.0));
    EXPECT_TRUE(SetMatFromX(written, plane, 1) == cube);
}

TEST(CubeFile, IsTheExtentsAndTheVector) {
    const std::string bytes = stored(numbered());
    EXPECT_EQ(bytes, words({2, 3, 4}) + stored(numbered().asVector()));
    EXPECT_TRUE(restored<ERDoubleCube>(bytes) == numbered());
    const ERDoubleCube wide(300, 1, 1);
    EXPECT_TRUE(restored<ERDoubleCube>(stored(wide)) == wide);
}

TEST(CubeFile, ExtentsThatDoNotMatchRestoreAsEmpty) {
    const std::string twoElements = words({16, 0, 0, 0, 0});
    for (const std::string& damaged :
         {words({1, 1, 1}) + twoElements, words({0x80000000, 0x80000000, 4}) + twoElements,
          words({0xFFFFFFFF, 0xFFFFFFFF, 0, 0})})
        EXPECT_TRUE(restored(damaged, numbered()) == ERDoubleCube());
}

}  // namespace
}  // namespace kerf
