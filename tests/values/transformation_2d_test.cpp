#include "kerf/values/transformation_2d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/values/pole.h"

namespace kerf {
namespace {

const double pi = std::acos(-1.0);

// Oracle: the map as its images of the origin and of the two unit points.
struct Affine {
    double xx, xy, yx, yy, tx, ty;
    ERPoint2D operator()(const ERPoint2D& p) const {
        return ERPoint2D(xx * p.x() + xy * p.y() + tx, yx * p.x() + yy * p.y() + ty);
    }
};

struct Named {
    const char* name;
    ERTransfo2D t;
    Affine map;
};

std::vector<Named> transformations() {
    const double c = std::cos(0.7), s = std::sin(0.7);
    return {{"identity", ERTransfo2D(), {1, 0, 0, 1, 0, 0}},
            {"translation", ERTransfo2D(ERVector2D(3, -4)), {1, 0, 0, 1, 3, -4}},
            {"mirror y", ERTransfo2D(Coord2D::CoordX), {1, 0, 0, -1, 0, 0}},
            {"mirror x", ERTransfo2D(Coord2D::CoordY), {-1, 0, 0, 1, 0, 0}},
            {"homothety", ERTransfo2D(2.5, ERPoint2D(1, 2)), {2.5, 0, 0, 2.5, -1.5, -3}},
            {"frame", ERTransfo2D(ERVector2D(3 * c, 3 * s), ERPoint2D(5, 6)), {c, -s, s, c, 5, 6}},
            {"rotation", rotation(0.7), {c, -s, s, c, 0, 0}},
            {"scaling", Scaling(-0.5), {-0.5, 0, 0, -0.5, 0, 0}},
            {"symmetry",
             Symmetry(ERVector2D(2 * std::cos(0.35), 2 * std::sin(0.35))),
             {c, s, s, -c, 0, 0}}};
}

std::vector<ERPoint2D> somePoints() { return {{0, 0}, {1, 0}, {0, 1}, {-3, 2.5}, {1e3, -7}}; }

double departure(const ERPoint2D& a, const ERPoint2D& b) {
    return distance(a, b) / (1.0 + std::fabs(a.x()) + std::fabs(a.y()));
}

TEST(Transformation2D, MapsPointsAndVectorsAsItsKindSays) {
    for (const Named& n : transformations()) {
        SCOPED_TRACE(n.name);
        for (const ERPoint2D& p : somePoints()) {
            EXPECT_LE(departure(n.t.TransFrom(p), n.map(p)), 1e-15);
            EXPECT_TRUE((n.t >> p) == n.t.TransFrom(p));
            const ERVector2D v = n.t.TransFrom(ERVector2D(p));
            const ERPoint2D image = n.map(p) - n.map(ERPoint2D(0, 0));
            EXPECT_LE(departure(ERPoint2D(v.i(), v.j()), image), 1e-14);
            EXPECT_TRUE((n.t >> ERVector2D(p)) == v);
        }
    }
}

// The inverse is exact without a reflection and of the opposite sign with one: callers rely on it.
TEST(Transformation2D, ToUndoesFromUpToTheSignOfAReflection) {
    for (const Named& n : transformations()) {
        SCOPED_TRACE(n.name);
        const double sign = n.map.xx * n.map.yy - n.map.xy * n.map.yx > 0 ? 1.0 : -1.0;
        EXPECT_EQ(n.t.isDirect(), sign > 0);
        for (const ERPoint2D& p : somePoints()) {
            EXPECT_LE(departure(p * sign, n.t.TransTo(n.t.TransFrom(p))), 1e-14);
            const ERVector2D v(p);
            EXPECT_TRUE(isEqual(v * sign, n.t.TransTo(n.t.TransFrom(v)), 1e-12));
            EXPECT_LE(departure((~n.t).TransFrom(p), n.t.TransTo(p)), 1e-14);
            EXPECT_TRUE((n.t << p) == n.t.TransTo(p));
            EXPECT_TRUE((n.t << v) == n.t.TransTo(v));
        }
    }
}

TEST(Transformation2D, ProductsApplyTheRightFactorFirst) {
    const std::vector<Named> all = transformations();
    for (const Named& a : all) {
        for (const Named& b : all) {
            SCOPED_TRACE(std::string(a.name) + " * " + b.name);
            for (const ERPoint2D& p : somePoints()) {
                EXPECT_LE(departure((a.t * b.t).TransFrom(p), a.map(b.map(p))), 1e-14);
            }
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
        const bool mirrored = i % 2;
        ERTransfo2D t = ERTransfo2D(move) * Scaling(ratio);
        if (mirrored) t = t * ERTransfo2D(Coord2D::CoordX);
        t = t * rotation(angle);
        ERVector2D translation;
        double foundRatio;
        int direct;
        ERRadian foundAngle;
        t.Decompose(translation, foundRatio, direct, foundAngle);
        EXPECT_TRUE(isEqual(translation, move, 0.0));
        EXPECT_NEAR(foundRatio, ratio, 1e-12);
        EXPECT_EQ(direct, !mirrored);
        EXPECT_NEAR(foundAngle, angle, 1e-14);
        EXPECT_TRUE(t.origine() == ERPoint2D(move.i(), move.j()));
    }
    EXPECT_EQ(rotation(pi).angle(), pi);
}

TEST(Transformation2D, FixedFigures) {
    EXPECT_TRUE(isEqual(rotation(pi / 2).TransFrom(ERPoint2D(1, 0)), ERPoint2D(0, 1), 1e-16));
    const ERPoint2D centre(3, -7);
    EXPECT_TRUE(ERTransfo2D(2.0, centre).TransFrom(centre) == centre);
    const ERTransfo2D mirror(Coord2D::CoordX);
    EXPECT_TRUE(mirror.TransFrom(ERPoint2D(1, 2)) == ERPoint2D(1, -2));
    EXPECT_TRUE(mirror.TransTo(ERPoint2D(1, 2)) == ERPoint2D(-1, 2));
    EXPECT_EQ(mirror.factHomo(), 1.0);
    EXPECT_FALSE(Scaling(0.0).isDirect());
    EXPECT_FALSE(std::isfinite(Scaling(0.0).TransTo(ERPoint2D(1, 1)).x()));
}

// The sign of the axis's angle is lost: callers rely on it.
TEST(Transformation2D, SymmetryTakesTheAxisAboveTheXAxis) {
    const ERPoint2D p(2, 5);
    const ERTransfo2D below = Symmetry(ERVector2D(1, -1));
    EXPECT_TRUE(below.TransFrom(p) == Symmetry(ERVector2D(1, 1)).TransFrom(p));
    EXPECT_TRUE(isEqual(below.TransFrom(p), ERPoint2D(5, 2), 1e-15));
    EXPECT_TRUE(isEqual(Symmetry(ERVector2D(0, -3)).TransFrom(p), ERPoint2D(-2, 5), 1e-14));
}

TEST(Transformation2D, VectorsAreMappedInPlaceAndCopiedFirst) {
    const ERTransfo2D t = ERTransfo2D(ERVector2D(1, 2)) * Scaling(2.0) * rotation(0.3);
    const ERPoint2D points[] = {{1, 2}, {-3, 4}};
    const ERPole2DH poles[] = {{2, 4, 2}, {-3, 1, -0.5}};
    const ERVec<ERPoint2D> given(points, 2);
    const ERVec<ERPole2DH> weighted(poles, 2);
    ERVec<ERPoint2D> mapped = given, back = given;
    t.TransFrom(mapped);
    t.TransTo(back);
    const ERVec<ERPole2DH> polesMapped = t >> weighted, polesBack = t << weighted;
    for (unsigned int i = 0; i < 2; ++i) {
        EXPECT_TRUE(given[i] == points[i]);
        EXPECT_TRUE(mapped[i] == t.TransFrom(points[i]));
        EXPECT_TRUE(back[i] == t.TransTo(points[i]));
        EXPECT_TRUE((t >> given)[i] == mapped[i] && (t << given)[i] == back[i]);

        EXPECT_TRUE(weighted[i] == poles[i]);
        EXPECT_EQ(polesMapped[i].weigth(), poles[i].weigth());
        EXPECT_TRUE(
            isEqual(polesMapped[i].castToPoint(), t.TransFrom(poles[i].castToPoint()), 1e-14));
        EXPECT_EQ(polesBack[i].weigth(), poles[i].weigth());
        EXPECT_TRUE(isEqual(polesBack[i].castToPoint(), t.TransTo(poles[i].castToPoint()), 1e-14));
    }
    ERVec<ERPoint2D> none;
    t.TransFrom(none);
    EXPECT_EQ(none.length(), 0u);
}

TEST(Transformation2D, Prints) {
    std::ostringstream text;
    text << ERTransfo2D(2.0, ERPoint2D(-1, -3)) * rotation(pi / 2);
    EXPECT_EQ(text.str(),
              "Transfo2D definie par :  T*H*Sym*R :\n"
              "    Rotation d'angle  :                  :  90  (1.5708)\n"
              "    Symetrie par rapport a l'axe 'Ox' ?  :  Non\n"
              "    Homothetie de rapport                :  2\n"
              "    Translation de vecteur               :  {1,3}\n");
    text.str("");
    Scaling(0.0).printOn(text);
    EXPECT_NE(text.str().find("'Ox' ?  :  Oui\n"), std::string::npos);
}

TEST(Transformation2D, IsStoredInFortyEightBytes) {
    const std::string path = ::testing::TempDir() + "kerf_transformation_2d_test.bin";
    {
        ERFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
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
        ERTransfo2D back;
        back.restoreGuts(file);
        for (const ERPoint2D& p : somePoints()) EXPECT_TRUE(back.TransFrom(p) == t.TransFrom(p));
    }
    std::remove(path.c_str());
}

TEST(Transformation2D, IsAnObjectOfTheFamily) {
    const ERTransfo2D t(Coord2D::CoordX);
    const std::unique_ptr<ERObject> copy(t.getCopy());
    const ERTransfo2D* same = ERTransfo2D::castdown(copy.get());
    ASSERT_NE(same, nullptr);
    EXPECT_TRUE(same->TransFrom(ERPoint2D(1, 2)) == ERPoint2D(1, -2));
    EXPECT_EQ(ERClassRegistration::findClassRegistration("ERTransfo2D"), ERTransfo2D::desc());
    EXPECT_STREQ(copy->className(), "ERTransfo2D");
    const std::unique_ptr<ERObject> built(ERClassRegistration::findCreator("ERTransfo2D")());
    EXPECT_TRUE(ERTransfo2D::castdown(built.get())->TransFrom(ERPoint2D(1, 2)) == ERPoint2D(1, 2));
}

}  // namespace
}  // namespace kerf
