#include "kerf/values/orthonormal_frame.h"

#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

ERVector3D column(const LinearMap& m, unsigned int k) {
    const ERMatrix<double> elements = m.asMatrix();
    return ERVector3D(elements(0, k), elements(1, k), elements(2, k));
}

// Right-handed and orthonormal, wherever its third axis points.
void expectFrame(const LinearMap& m) {
    for (unsigned int k = 0; k < 3; ++k) {
        const ERVector3D axis = column(m, k);
        expectNear(column(m, (k + 1) % 3) ^ column(m, (k + 2) % 3), axis, 1e-15);
        EXPECT_NEAR(axis.norme(), 1.0, 1e-15);
    }
}

TEST(OrthonormalFrame, HasTheGivenAxesWhateverTheirLengths) {
    const ERVector3D across(0.3, -0.7, 0.2);
    for (const ERVector3D& direction : gridDirections()) {
        for (const double size : {1e-120, 0.7, 1e120}) {
            SCOPED_TRACE(testing::Message() << direction << " times " << size);
            const LinearMap byOne = orthonormalFrame(direction * size);
            expectFrame(byOne);
            expectNear(column(byOne, 2), direction.getnormalized(), 1e-15);
            EXPECT_EQ(column(byOne, 0), perpendicularTo(direction * size));
            const LinearMap byTwo = orthonormalFrame(direction * size, across);
            expectFrame(byTwo);
            expectNear(column(byTwo, 0), direction.getnormalized(), 1e-15);
            EXPECT_NEAR(column(byTwo, 2) * across, 0.0, 1e-15);
        }
    }
}

TEST(OrthonormalFrame, PrefersTheLaterOfEqualComponents) {
    ERVector3D first, second;
    GetOrthogonalDirections(ERVector3D(1, 0, 1), first, second);  // z decides first, then y
    expectNear(second, ERVector3D(Coord3D::CoordY), 1e-15);
}

}  // namespace
}  // namespace kerf
