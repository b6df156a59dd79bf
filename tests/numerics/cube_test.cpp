#include "kerf/numerics/cube.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "kerf/core/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::TemporaryFile;

ERDoubleCube counting(unsigned nx, unsigned ny, unsigned nz) {
    ERDoubleCube cube(nx, ny, nz);
    std::iota(cube.begin(), cube.end(), 0.0);
    return cube;
}

// The sticks lay the elements out x first, then z, then y.
TEST(Cube, SticksAddressTheirOwnOrder) {
    const ERDoubleCube cube = counting(2, 3, 4);
    const auto inSticks = [](unsigned x, unsigned y, unsigned z) { return (4 * y + z) * 2.0 + x; };
    for (unsigned x = 0; x < 2; ++x)
        for (unsigned y = 0; y < 3; ++y)
            for (unsigned z = 0; z < 4; ++z) {
                EXPECT_EQ(cube.stickX(y, z)[x], inSticks(x, y, z));
                EXPECT_EQ(cube.stickY(x, z)[y], inSticks(x, y, z));
                EXPECT_EQ(cube.stickZ(x, y)[z], inSticks(x, y, z));
            }
    EXPECT_EQ(cube.stickX(0, 0).length(), 2u);
    EXPECT_EQ(cube.stickY(0, 0).length(), 3u);
    EXPECT_EQ(cube.stickZ(0, 0).length(), 4u);
    EXPECT_NE(cube.stickY(0, 1)[0], cube(0, 0, 1));
}

TEST(Cube, PlanesAreTakenOutAndPutBack) {
    ERDoubleCube cube = counting(2, 3, 4);
    const ERDoubleCube before(cube);
    const ERMatrix<double> plane = ExtractMatFromX(cube, 1);
    EXPECT_EQ(plane.rows(), 3u);
    EXPECT_EQ(plane.cols(), 4u);
    for (unsigned y = 0; y < 3; ++y)
        for (unsigned z = 0; z < 4; ++z) EXPECT_EQ(plane(y, z), cube.stickX(y, z)[1]);

    EXPECT_EQ(&SetMatFromX(cube, ERMatrix<double>(3, 4, 5.0), 1), &cube);
    EXPECT_TRUE(ExtractMatFromX(cube, 1) == ERMatrix<double>(3, 4, 5.0));
    EXPECT_TRUE(ExtractMatFromX(cube, 0) == ExtractMatFromX(before, 0));
    EXPECT_TRUE(SetMatFromX(cube, plane, 1) == before);
}

TEST(CubeFile, IsTheExtentsAndTheVector) {
    const TemporaryFile temporary;
    const ERDoubleCube cube = counting(2, 3, 4);
    {
        ERFile file(temporary.path(), ERFile::modeCreate | ERFile::modeReadWrite);
        file << cube << ERDoubleCube();
    }
    EXPECT_EQ(cube.binaryStoreSize(), 208u);
    EXPECT_EQ(temporary.bytes().substr(0, 16),
              std::string("\2\0\0\0\3\0\0\0\4\0\0\0\xC0\0\0\0", 16));
    ERFile file(temporary.path(), ERFile::modeRead);
    ERDoubleCube restored, empty = cube;
    file >> restored >> empty;
    EXPECT_TRUE(restored == cube);
    EXPECT_TRUE(empty == ERDoubleCube());
}

TEST(CubeFile, ExtentsThatDoNotMatchRestoreAsEmpty) {
    const std::string one("\1\0\0\0", 4);
    const std::string half("\0\0\0\x80", 4);  // 2^31
    const std::string all("\xFF\xFF\xFF\xFF", 4);
    const std::string zero(4, '\0');
    const std::string twoElements = std::string("\x10\0\0\0", 4) + std::string(16, '\0');
    for (const std::string& extents : {one + one + one, half + half + std::string("\4\0\0\0", 4),
                                       zero + one + one, all + all + all}) {
        const TemporaryFile temporary;
        temporary.setBytes(extents + twoElements);
        ERFile file(temporary.path(), ERFile::modeRead);
        ERDoubleCube cube = counting(1, 1, 1);
        file >> cube;
        EXPECT_TRUE(cube == ERDoubleCube());
    }
    const TemporaryFile temporary;
    temporary.setBytes(all + all + zero + zero);
    ERFile file(temporary.path(), ERFile::modeRead);
    ERDoubleCube cube;
    file >> cube;
    EXPECT_TRUE(cube == ERDoubleCube());
}

}  // namespace
}  // namespace kerf
