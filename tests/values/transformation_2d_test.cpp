#include "kerf/values/transformation_2d.h"

#include "kerf/values/pole.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

// Oracle: the map as its images of the origin and of the two unit points.
struct Named {
    ERTransfo2D t;
    double xx, xy, yx, yy, tx, ty;
    ERPoint2D operator()(const ERPoint2D& p) const {
        return ERPoint2D(xx * p.x() + xy * p.y() + tx, yx * p.x() + yy * p.y() + ty);
    }
};

std::vector<Named> transformations() {
    const double c = std::cos(0.7), s = std::sin(0.7);
    const ERVector2D axis(2 * std::cos(0.35), 2 * std::sin(0.35));
    return {{ERTransfo2D(), 1, 0, 0, 1, 0, 0},
            {ERTransfo2D(ERVector2D(3, -4)), 1, 0, 0, 1, 3, -4},
            {ERTransfo2D(Coord2D::CoordY), -1, 0, 0, 1, 0, 0},
            {ERTransfo2D(2.5, ERPoint2D(1, 2)), 2.5, 0, 0, 2.5, -1.5, -3},
            {ERTransfo2D(ERVector2D(3 * c, 3 * s), ERPoint2D(5, 6)), c, -s, s, c, 5, 6},
            {Scaling(-0.5), -0.5, 0, 0, -0.5, 0, 0},
            {Symmetry(axis), c, s, s, -c, 0, 0},
            // Kept: the sign of the axis's angle is lost.
            {Symmetry(ERVector2D(1, -1)), 0, 1, 1, 0, 0, 0}};
}

const std::vector<ERPoint2D> somePoints = {{0, 0}, {1, 0}, {0, 1}, {-3, 2.5}, {1e3, -7}};

// Kept: the inverse is exact without a reflection and of the opposite sign with one.
TEST(Transformation2D, MapsAsItsKindSaysAndBackUpToTheSignOfAReflection) {
    for (const Named& n : transformations()) {
        SCOPED_TRACE(printed(n.t));
        const double sign = n.xx * n.yy - n.xy * n.yx > 0 ? 1.0 : -1.0;
        EXPECT_EQ(n.t.isDirect(), sign > 0);
        for (const ERPoint2D& p : somePoints) {
            const ERVector2D v(p), image(n(p) - n(ERPoint2D()));
            const double tolerance = 1e-14 * (1 + v.norme());
            expectNear(n.t >> p, n(p), tolerance);
            expectNear(n.t >> v, image, tolerance);
            expectNear(n.t << n(p), p * sign, tolerance);
            expectNear(n.t << image, v * sign, tolerance);
            expectNear((~n.t) >> p, n.t << p, tolerance);
            for (const Named& other : transformations()) {
                expectNear((n.t * other.t) >> p, n(other(p)), 10 * tolerance);
                EXPECT_NEAR((n.t * other.t).factHomo(), n.t.factHomo() * other.t.factHomo(), 1e-14);
            }
        }
    }
}

TEST(Transformation2D, DecomposesIntoWhatItWasBuiltFrom) {
    const ERVector2D move(3, -4);
    ERVector2D translation;
    double ratio = 0;
    int direct = 1;
    ERRadian angle;
    const ERTransfo2D t =
        ERTransfo2D(move) * Scaling(2.5) * ERTransfo2D(Coord2D::CoordX) * rotation(-3.0);
    t.Decompose(translation, ratio, direct, angle);
    EXPECT_EQ(translation, move);
    EXPECT_NEAR(ratio, 2.5, 1e-15);
    EXPECT_EQ(direct, 0);
    EXPECT_NEAR(angle, -3.0, 1e-15);
}

// Oracle: the matrix on homogeneous coordinates, the weight being the third.
TEST(Transformation2D, MapsPolesOfAnyWeightZeroIncluded) {
    for (const Named& n : transformations()) {
        SCOPED_TRACE(printed(n.t));
        const double sign = n.t.isDirect() ? 1.0 : -1.0;
        const ERVec<ERPoint2D> points(2, ERPoint2D(3, 4));
        expectNear((n.t << (n.t >> points))[1], points[1] * sign, 1e-14);
        for (const double w : {4.0, -0.5, 0.0}) {
            const ERPole2DH pole(-3, 1, w);
            const ERVec<ERPole2DH> poles(2, pole), images = n.t >> poles;
            const ERPoint2D linear = n(pole.thePoint()) - n(ERPoint2D());
            expectNear(images[1], ERPole2DH(linear + n(ERPoint2D()) * w, w), 1e-14);
            expectNear((n.t << images)[1], ERPole2DH(pole.thePoint() * sign, w), 1e-13);
            EXPECT_EQ(poles[1], pole) << "the vector given is not shared with its image";
        }
    }
}

}  // namespace
}  // namespace kerf
