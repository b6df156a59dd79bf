#include "kerf/values/pole.h"

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

// Of Cartesian point (1.5, -2 [, 0.5]) and weight 4.
template <class T>
T somePole() {
    if constexpr (sizeof(T) == 24)
        return T(6, -8, 4);
    else
        return T(6, -8, 2, 4);
}

template <class T>
class Pole : public ::testing::Test {};
using PoleTypes = ::testing::Types<ERPole2DH, ERPole3DH>;
TYPED_TEST_SUITE(Pole, PoleTypes);

TYPED_TEST(Pole, ProductsKeepTheCartesianPointAndScaleMovesIt) {
    const auto pole = somePole<TypeParam>();
    const auto shift = pole.thePoint() * 3.0;
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
    EXPECT_EQ(pole.getDim(), sizeof pole / sizeof(double));
    EXPECT_TRUE(pole.isRational() && !pole.castToPoint().isRational());

    scaled.scale(2);
    EXPECT_EQ(scaled.castToPoint(), pole.castToPoint() * 2.0);
    moved.translate(shift);
    EXPECT_EQ(moved.castToPoint(), pole.castToPoint() + shift);
    EXPECT_EQ(scaled.weigth() + moved.weigth(), 8);
    // Construction from a point does not multiply.
    EXPECT_EQ(TypeParam(shift, 2.0).castToPoint(), shift * 0.5);
}

TYPED_TEST(Pole, ComparesAndStoresWhatItHoldsWithTheWeightLast) {
    const auto pole = somePole<TypeParam>();
    TypeParam heavier = pole;
    heavier.weigth() += 0.5;
    EXPECT_NE(pole, heavier);
    EXPECT_EQ(isEqual(pole, heavier, 0.5), 1);
    EXPECT_EQ(isEqual(pole, heavier, 0.499), 0);
    expectStoredAsItLies(pole);
}

// The brackets round the weight are printed but not expected when reading.
TYPED_TEST(Pole, APrintedPoleDoesNotReadBack) {
    const auto pole = somePole<TypeParam>();
    std::stringstream text(printed(pole)), plain(printed(pole.thePoint()) + "4");
    TypeParam restored;
    EXPECT_TRUE(!(text >> restored) && restored == TypeParam());
    EXPECT_TRUE((plain >> restored) && restored == pole);
}

TEST(Poles, TwoKindsOfIndexReachStoredAndCartesianCoordinates) {
    ERPole3DH pole(6, -8, 2, 4);
    pole[Coord3DH::CoordW] = 2;
    EXPECT_EQ(pole[Coord3DH::CoordY], -8);
    EXPECT_EQ(pole[Coord3D::CoordY], -4);
    const ERPole2DH far(1, 0, 0);
    EXPECT_EQ(far[Coord2DH::CoordX], 1);
    EXPECT_TRUE(std::isinf(far[Coord2D::CoordX]) && std::isnan(far.castToPoint().y()));
    EXPECT_EQ(printed(ERPole2DH(5, 6, 7), 3), "[  5,  6](  7)");
}

TEST(Poles, CastsOfDimensionKeepTheWeight) {
    const ERPole2DH plane(1, 2, 5), dropped[] = {{2, 3, 5}, {1, 3, 5}, {1, 2, 5}, {}};
    const ERPole3DH space(1, 2, 3, 5), raised[] = {{9, 1, 2, 5}, {1, 9, 2, 5}, {1, 2, 9, 5}, {}};
    for (int k = 0; k < 4; ++k) {  // the last is no axis
        EXPECT_EQ(plane.castToPole3D(static_cast<Coord3D>(k), 9), raised[k]);
        EXPECT_EQ(space.castToPole2D(static_cast<Coord3D>(k)), dropped[k]);
    }
}

}  // namespace
}  // namespace kerf
