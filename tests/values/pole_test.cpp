#include "kerf/values/pole.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <sstream>
#include <string>

#include "kerf/core/file.h"
#include "kerf/platform/archive.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

const auto outOfRange = static_cast<Coord3D>(-1);

template <class T>
class Pole : public ::testing::Test {
protected:
    // Cartesian point (1.5, -2 [, 0.5]), weight 4.
    static T sample() {
        if constexpr (sizeof(T) == 24)
            return T(6, -8, 4);
        else
            return T(6, -8, 2, 4);
    }
    using Point = decltype(T().castToPoint());
    static Point shift() {
        if constexpr (sizeof(T) == 24)
            return Point(10, 20);
        else
            return Point(10, 20, 30);
    }
};
using PoleTypes = ::testing::Types<ERPole2DH, ERPole3DH>;
TYPED_TEST_SUITE(Pole, PoleTypes);

TYPED_TEST(Pole, ProductsKeepTheCartesianPointAndScaleMovesIt) {
    const TypeParam pole = this->sample();
    TypeParam product = pole, quotient = pole, scaled = pole, moved = pole;
    product *= 2;
    quotient /= 2;
    EXPECT_EQ(product.castToPoint(), pole.castToPoint());
    EXPECT_EQ(product.weigth(), 8);
    EXPECT_EQ(quotient.castToPoint(), pole.castToPoint());
    EXPECT_EQ(quotient, pole / 2);
    EXPECT_EQ(product, 2 * pole);
    EXPECT_EQ(product, pole + pole);
    EXPECT_EQ(-pole, pole - product);

    scaled.scale(2);
    EXPECT_EQ(scaled.castToPoint(), pole.castToPoint() * 2.0);
    EXPECT_EQ(scaled.weigth(), 4);
    moved.translate(this->shift());
    EXPECT_EQ(moved.castToPoint(), pole.castToPoint() + this->shift());
    EXPECT_EQ(moved.weigth(), 4);
}

TYPED_TEST(Pole, ConstructionFromAPointDoesNotMultiply) {
    const TypeParam pole(this->shift(), 2.0);
    EXPECT_EQ(pole.thePoint(), this->shift());
    EXPECT_EQ(pole.castToPoint(), this->shift() * 0.5);
}

TYPED_TEST(Pole, ComparesWhatIsStored) {
    const TypeParam pole = this->sample();
    EXPECT_EQ(pole, this->sample());
    EXPECT_NE(pole, pole * 2.0);
    EXPECT_EQ(TypeParam(), TypeParam());
    EXPECT_EQ(TypeParam().weigth(), 0);
    TypeParam heavier = pole;
    heavier.weigth() += 0.5;
    EXPECT_NE(pole, heavier);
    EXPECT_EQ(isEqual(pole, heavier, 0.5), 1);
    EXPECT_EQ(isEqual(pole, heavier, 0.499), 0);
    EXPECT_EQ(isEqual(pole, pole * 2.0, 1.0), 0);
}

TYPED_TEST(Pole, IsStoredWithItsWeightLast) {
    const test::TemporaryFile place;
    const TypeParam pole = this->sample();
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        file << pole;
        CArchive archive(&file, CArchive::store);
        archive << pole;
    }
    const std::string raw(reinterpret_cast<const char*>(&pole), sizeof pole);
    EXPECT_EQ(pole.binaryStoreSize(), sizeof pole);
    EXPECT_EQ(place.bytes(), raw + raw);
    ERFile file(place.path(), CFile::modeRead);
    TypeParam first, second;
    file >> first;
    CArchive archive(&file, CArchive::load);
    archive >> second;
    EXPECT_EQ(first, pole);
    EXPECT_EQ(second, pole);
}

// The brackets round the weight are printed but not expected when reading.
TYPED_TEST(Pole, APrintedPoleDoesNotReadBack) {
    const TypeParam pole = this->sample();
    std::stringstream text;
    text << pole;
    TypeParam restored;
    EXPECT_FALSE(text >> restored);
    EXPECT_EQ(restored, TypeParam());
    std::stringstream plain;
    plain << pole.thePoint() << 4.0;
    EXPECT_TRUE(plain >> restored);
    EXPECT_EQ(restored, pole);
}

TEST(Poles, PrintThePointFormThenTheWeight) {
    std::ostringstream text;
    text << ERPole2DH(1, 2, 3) << ERPole3DH(1, 2, 3, 4) << std::setw(3) << ERPole2DH(5, 6, 7);
    EXPECT_EQ(text.str(), "[1,2](3)[1,2,3](4)[  5,  6](  7)");
}

TEST(Poles, TwoKindsOfIndexReachStoredAndCartesianCoordinates) {
    ERPole3DH pole(6, -8, 2, 4);
    EXPECT_EQ(pole[Coord3DH::CoordY], -8);
    EXPECT_EQ(pole[Coord3DH::CoordW], 4);
    EXPECT_EQ(pole[Coord3D::CoordY], -2);
    pole[Coord3DH::CoordW] = 2;
    pole[Coord3DH::CoordZ] = 1;
    EXPECT_EQ(pole[Coord3D::CoordZ], 0.5);
    ERPole2DH plane(6, -8, 4);
    plane[Coord2DH::CoordW] = 2;
    EXPECT_EQ(plane[Coord2D::CoordX], 3);
    EXPECT_EQ(plane[Coord2DH::CoordX], 6);
}

TEST(Poles, AZeroWeightFollowsTheRulesOfDivision) {
    const ERPoint2D p = ERPole2DH(1, 0, 0).castToPoint();
    EXPECT_TRUE(std::isinf(p.x()));
    EXPECT_TRUE(std::isnan(p.y()));
}

TEST(Poles, CastsOfDimensionKeepTheWeight) {
    const ERPole2DH plane(1, 2, 5);
    EXPECT_EQ(plane.castToPole3D(Coord3D::CoordX, 9), ERPole3DH(9, 1, 2, 5));
    EXPECT_EQ(plane.castToPole3D(Coord3D::CoordY, 9), ERPole3DH(1, 9, 2, 5));
    EXPECT_EQ(plane.castToPole3D(Coord3D::CoordZ, 9), ERPole3DH(1, 2, 9, 5));
    EXPECT_EQ(plane.castToPole3D(outOfRange, 9), ERPole3DH());
    const ERPole3DH space(1, 2, 3, 5);
    EXPECT_EQ(space.castToPole2D(Coord3D::CoordX), ERPole2DH(2, 3, 5));
    EXPECT_EQ(space.castToPole2D(Coord3D::CoordY), ERPole2DH(1, 3, 5));
    EXPECT_EQ(space.castToPole2D(Coord3D::CoordZ), ERPole2DH(1, 2, 5));
    EXPECT_EQ(space.castToPole2D(outOfRange), ERPole2DH());
}

// One kernel serves the four point types: what it asks them.
template <class Pole>
std::string shapeOf(const Pole& pole) {
    std::ostringstream text;
    text << pole.getDim() << ' ' << pole.isRational() << ' ' << pole.weigth() << ' '
         << pole.castToPoint() << ' ' << pole.thePoint();
    return text.str();
}
TEST(Poles, ThePointTypesTellTheirShape) {
    EXPECT_EQ(shapeOf(ERPoint2D(1, 2)), "2 0 1 [1,2] [1,2]");
    EXPECT_EQ(shapeOf(ERPole2DH(1, 2, 2)), "3 1 2 [0.5,1] [1,2]");
    EXPECT_EQ(shapeOf(ERPoint3D(1, 2, 3)), "3 0 1 [1,2,3] [1,2,3]");
    EXPECT_EQ(shapeOf(ERPole3DH(1, 2, 3, 2)), "4 1 2 [0.5,1,1.5] [1,2,3]");
}

}  // namespace
}  // namespace kerf
