#include "kerf/values/transformation_2d.h"

#include "kerf/values/pole.h"
#include "tests/values/value_checks.h"

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
            // The sign of the axis's angle is lost: callers rely on it.
            {Symmetry(ERVector2D(1, -1)), 0, 1, 1, 0, 0, 0}};
}

const std::vector<ERPoint2D> somePoints = {{0, 0}, {1, 0}, {0, 1}, {-3, 2.5}, {1e3, -7}};

// The inverse is exact without a reflection and of the opposite sign with one: callers rely on it.
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
    std::mt19937 random(31);
    std::uniform_real_distribution<double> angles(-pi, pi), lengths(0.01, 100);
    for (int i = 0; i < 100; ++i) {
        const double angle = angles(random), ratio = lengths(random);
        const ERVector2D move(lengths(random), -lengths(random));
        ERTransfo2D t = ERTransfo2D(move) * Scaling(ratio);
        if (i % 2) t = t * ERTransfo2D(Coord2D::CoordX);
        t = t * rotation(angle);
        ERVector2D translation;
        double foundRatio;
        int direct;
        ERRadian foundAngle;
        t.Decompose(translation, foundRatio, direct, foundAngle);
        EXPECT_TRUE(translation == move && direct == (i % 2 == 0));
        EXPECT_NEAR(foundRatio, ratio, 1e-12);
        EXPECT_NEAR(foundAngle, angle, 1e-14);
    }
}

TEST(Transformation2D, PolesKeepTheirWeights) {
    const ERTransfo2D t = ERTransfo2D(ERVector2D(1, 2)) * Scaling(2.0) * rotation(0.3);
    const ERPole2DH pole(-3, 1, -0.5);
    const ERVec<ERPole2DH> poles(2, pole), images = t >> poles;
    expectNear(images[1].castToPoint(), t >> pole.castToPoint());
    expectNear((t << images)[1], pole);
    EXPECT_EQ(images[1].weigth(), -0.5);
    EXPECT_EQ(poles[1], pole);
    expectNear((t << (t >> ERVec<ERPoint2D>(2, ERPoint2D(3, 4))))[1], ERPoint2D(3, 4));
}

}  // namespace
}  // namespace kerf
