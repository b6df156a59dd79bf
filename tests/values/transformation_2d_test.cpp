#include "kerf/values/transformation_2d.h"

#include <memory>

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
            {ERTransfo2D(Coord2D::CoordX), 1, 0, 0, -1, 0, 0},
            {ERTransfo2D(Coord2D::CoordY), -1, 0, 0, 1, 0, 0},
            {ERTransfo2D(2.5, ERPoint2D(1, 2)), 2.5, 0, 0, 2.5, -1.5, -3},
            {ERTransfo2D(ERVector2D(3 * c, 3 * s), ERPoint2D(5, 6)), c, -s, s, c, 5, 6},
            {rotation(0.7), c, -s, s, c, 0, 0},
            {Scaling(-0.5), -0.5, 0, 0, -0.5, 0, 0},
            {Symmetry(axis), c, s, s, -c, 0, 0}};
}

const std::vector<ERPoint2D> somePoints = {{0, 0}, {1, 0}, {0, 1}, {-3, 2.5}, {1e3, -7}};

double departure(const ERPoint2D& a, const ERPoint2D& b) {
    return distance(a, b) / (1.0 + std::fabs(a.x()) + std::fabs(a.y()));
}

// The inverse is exact without a reflection and of the opposite sign with one: callers rely on it.
TEST(Transformation2D, MapsAsItsKindSaysAndBackUpToTheSignOfAReflection) {
    for (const Named& n : transformations()) {
        SCOPED_TRACE(printed(n.t));
        const double sign = n.xx * n.yy - n.xy * n.yx > 0 ? 1.0 : -1.0;
        EXPECT_EQ(n.t.isDirect(), sign > 0);
        for (const ERPoint2D& p : somePoints) {
            const ERVector2D v(p), image(n(p) - n(ERPoint2D()));
            EXPECT_LE(departure(n.t >> p, n(p)), 1e-15);
            EXPECT_TRUE(isEqual(n.t >> v, image, 1e-12));
            EXPECT_LE(departure(p * sign, n.t << (n.t >> p)), 1e-14);
            EXPECT_TRUE(isEqual(v * sign, n.t << (n.t >> v), 1e-12));
            EXPECT_LE(departure((~n.t) >> p, n.t << p), 1e-14);
        }
    }
}

TEST(Transformation2D, ProductsApplyTheRightFactorFirst) {
    for (const Named& a : transformations()) {
        for (const Named& b : transformations()) {
            SCOPED_TRACE(printed(a.t) + printed(b.t));
            for (const ERPoint2D& p : somePoints)
                EXPECT_LE(departure((a.t * b.t) >> p, a(b(p))), 1e-14);
            EXPECT_NEAR((a.t * b.t).factHomo(), a.t.factHomo() * b.t.factHomo(), 1e-14);
        }
    }
}

TEST(Transformation2D, DecomposesIntoWhatItWasBuiltFrom) {
    std::mt19937 random(31);
    std::uniform_real_distribution<double> angles(-pi, pi), lengths(0.01, 100);
    for (int i = 0; i < 1000; ++i) {
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
    EXPECT_EQ(rotation(pi).angle(), pi);
    EXPECT_FALSE(Scaling(0.0).isDirect());
    EXPECT_FALSE(std::isfinite(Scaling(0.0).TransTo(ERPoint2D(1, 1)).x()));
}

// The sign of the axis's angle is lost: callers rely on it.
TEST(Transformation2D, SymmetryTakesTheAxisAboveTheXAxis) {
    const ERPoint2D p(2, 5);
    EXPECT_TRUE(isEqual(Symmetry(ERVector2D(1, -1)) >> p, ERPoint2D(5, 2), 1e-15));
    EXPECT_TRUE(isEqual(Symmetry(ERVector2D(0, -3)) >> p, ERPoint2D(-2, 5), 1e-14));
}

TEST(Transformation2D, VectorsAreMappedInPlaceAndCopiedFirst) {
    const ERTransfo2D t = ERTransfo2D(ERVector2D(1, 2)) * Scaling(2.0) * rotation(0.3);
    const ERPole2DH pole(-3, 1, -0.5);
    const ERPoint2D p = pole.castToPoint();
    const ERVec<ERPole2DH> poles(2, pole);
    const ERVec<ERPoint2D> points(2, p);
    EXPECT_EQ((t >> points)[1], t >> p);
    EXPECT_EQ((t << points)[1], t << p);
    EXPECT_TRUE(isEqual((t >> poles)[1].castToPoint(), t >> p, 1e-14));
    EXPECT_TRUE(isEqual((t << poles)[1].castToPoint(), t << p, 1e-14));
    EXPECT_EQ((t >> poles)[1].weigth(), -0.5);
    EXPECT_TRUE(points[1] == p && poles[1] == pole);
    EXPECT_EQ((t >> ERVec<ERPoint2D>()).length(), 0u);
}

TEST(Transformation2D, Prints) {
    EXPECT_EQ(printed(ERTransfo2D(2.0, ERPoint2D(-1, -3)) * rotation(pi / 2)),
              "Transfo2D definie par :  T*H*Sym*R :\n"
              "    Rotation d'angle  :                  :  90  (1.5708)\n"
              "    Symetrie par rapport a l'axe 'Ox' ?  :  Non\n"
              "    Homothetie de rapport                :  2\n"
              "    Translation de vecteur               :  {1,3}\n");
    EXPECT_NE(printed(Scaling(0.0)).find("'Ox' ?  :  Oui\n"), std::string::npos);
}

TEST(Transformation2D, IsStoredInFortyEightBytesAndRestoredThroughItsCreator) {
    const TemporaryFile place;
    ERFile file(place.path(), createFile);
    const ERTransfo2D t(ERVector2D(3, 4), ERPoint2D(7, 8));
    t.saveGuts(file);
    EXPECT_EQ(file.GetLength(), 48);
    EXPECT_EQ(t.binaryStoreSize(), 32u);  // less than is written: files rely on both
    file.SeekTo(0);
    double fields[6];
    ASSERT_TRUE(file.Read(fields, 6));
    const double expected[] = {0.6, -0.8, 0.8, 0.6, 7, 8};
    for (int i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(fields[i], expected[i]);
    file.SeekTo(0);
    const std::unique_ptr<ERObject> made(ERClassRegistration::findCreator("ERTransfo2D")());
    made->restoreGuts(file);
    const std::unique_ptr<ERObject> copy(made->getCopy());
    for (const ERPoint2D& p : somePoints)
        EXPECT_EQ(*ERTransfo2D::castdown(copy.get()) >> p, t >> p);
}

}  // namespace
}  // namespace kerf
