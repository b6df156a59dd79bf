#include "kerf/values/point_list.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <sstream>

#include "kerf/core/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

ERPoint2D circle(double u) { return ERPoint2D(10 * std::cos(u), 10 * std::sin(u)); }

// Seeds the ends of a span and divides it.
template <class Evaluate>
void sample(ERPoint12List& list, double from, double to, double tol, Evaluate evaluate) {
    list.append(evaluate(from), from);
    list.append(evaluate(to), to);
    list.smash(evaluate, tol);
}

TEST(PointList, AppendsInOrder) {
    ERPoint13List list;
    EXPECT_EQ(list.entries(), 0u);
    EXPECT_EQ(list.toVec().length(), 0u);
    const unsigned int n = 5000;  // over many chunks of the pool
    for (unsigned int i = 0; i < n; ++i) list.append(ERPoint3D(i, -1.0 * i, 0.5), i);
    EXPECT_EQ(list.entries(), n);
    const ERVec<ERPoint3D> points = list.toVec();
    ASSERT_EQ(points.length(), n);
    for (unsigned int i = 0; i < n; ++i) EXPECT_EQ(points[i], ERPoint3D(i, -1.0 * i, 0.5));
    list.purge();
    EXPECT_EQ(list.entries(), 0u);
    list.append(ERPoint3D(1, 2, 3), 4);
    EXPECT_EQ(list.last()->parameter, 4);
    EXPECT_EQ(list.first(), list.last());
}

// Oracle: the sagitta of a chord over the angle a is r (1 - cos(a / 2)).
TEST(PointList, DividesACircleUntilTheSagittaIsWithinTolerance) {
    for (double tol : {1.0, 1e-2, 1e-5}) {
        ERPoint12List list;
        sample(list, 0.0, 1.0, tol, circle);
        EXPECT_EQ(list.toVec().length(), list.entries());
        unsigned int count = 0;
        for (const ERPoint12* node = list.first(); node != nullptr; node = node->next, ++count) {
            EXPECT_EQ(node->point, circle(node->parameter));
            if (node->next == nullptr) continue;
            const double angle = node->next->parameter - node->parameter;
            EXPECT_GT(angle, 0);
            EXPECT_LE(10 * (1 - std::cos(angle / 2)), tol * (1 + 1e-6));
            // No finer than asked: twice the span would not do.
            if (list.entries() > 2) {
                EXPECT_GT(10 * (1 - std::cos(angle)), tol * (1 - 1e-6));
            }
        }
        EXPECT_EQ(count, list.entries());
        EXPECT_EQ(list.last()->parameter, 1.0);
    }
}

TEST(PointList, TheMiddleOfASpanIsTheOnlyProbe) {
    const auto sine = [](double u) { return ERPoint2D(u, std::sin(u)); };
    ERPoint12List list;
    sample(list, 0.0, 2 * std::acos(-1.0), 1e-3, sine);
    EXPECT_EQ(list.entries(), 2u);
}

TEST(PointList, ANullChordMeasuresFromItsEnd) {
    ERPoint12List list;
    sample(list, 0.0, 2 * std::acos(-1.0), 0.1, circle);
    EXPECT_GT(list.entries(), 10u);
}

// Turns so fast that no middle lies on its chord: only the width of the span stops the division.
TEST(PointList, NarrowSpansAreNotDivided) {
    const auto whirl = [](double u) { return circle(1e9 * u); };
    ERPoint12List list;
    sample(list, 0.0, 1e-5, 1e-3, whirl);
    EXPECT_EQ(list.entries(), 129u);  // 1e-5 / 2^7 is the first width below 1e-7
    ERPoint12List exactlyNarrow;
    sample(exactlyNarrow, 0.0, 1e-7, 0.0, whirl);
    EXPECT_EQ(exactlyNarrow.entries(), 2u);

    const auto whirlOnSurface = [](const ERPoint2D& uv) {
        return circle(1e9 * (uv.x() + uv.y())).castToPoint3D(Coord3D::CoordZ, 0);
    };
    const auto divided = [&](const ERPoint2D& end) {
        ERPoint23List onSurface;
        onSurface.append(whirlOnSurface(ERPoint2D()), ERPoint2D());
        onSurface.append(whirlOnSurface(end), end);
        onSurface.smash(whirlOnSurface, ERLimites(0, 6), ERLimites(0, 2), 1e-3);
        return onSurface.entries();
    };
    // A millionth of the bounds, in both parameters.
    EXPECT_EQ(divided(ERPoint2D(6e-4, 0)), 129u);
    EXPECT_EQ(divided(ERPoint2D(6e-4, 1e-3)), 513u);
    EXPECT_EQ(divided(ERPoint2D(6e-6, 2e-6)), 2u);
}

TEST(PointList, HostileParametersEnd) {
    const auto jump = [](double u) { return ERPoint2D(u, u < 0.3 ? 0 : 1); };
    // Between neighbouring doubles there is nothing to divide, though they lie 16 apart.
    ERPoint12List large;
    sample(large, 1e17, std::nextafter(1e17, 1e18), -1.0, jump);
    EXPECT_EQ(large.entries(), 2u);
    ERPoint12List undefined;
    sample(undefined, 0.0, std::numeric_limits<double>::quiet_NaN(), 1e-3, jump);
    EXPECT_EQ(undefined.entries(), 2u);
    ERPoint12List empty;
    empty.smash(circle, 1e-3);
    EXPECT_EQ(empty.entries(), 0u);
}

// A helix has the same curvature everywhere: all spans end up equally long.
TEST(PointList, DividesACurveInSpace) {
    const auto helix = [](double u) { return ERPoint3D(std::cos(u), std::sin(u), u); };
    ERPoint13List list;
    list.append(helix(0), 0);
    list.append(helix(1), 1);
    list.smash(helix, 1e-4);
    const ERVec<ERPoint3D> points = list.toVec();
    const double span = distance(points[0], points[1]);
    for (unsigned int i = 1; i < points.length(); ++i)
        EXPECT_NEAR(distance(points[i - 1], points[i]), span, 1e-12);
    EXPECT_EQ(points.length(), 65u);  // the sagitta of a parameter span h is h^2 / 8
}

TEST(PointList, DividesAlongASurface) {
    const auto cylinder = [](const ERPoint2D& uv) {
        return ERPoint3D(3 * std::cos(uv.x()), 3 * std::sin(uv.x()), uv.y());
    };
    const ERLimites turn(0, 6), height(0, 2);
    ERPoint23List list;
    for (const ERPoint2D& uv : {ERPoint2D(0, 0), ERPoint2D(1, 1), ERPoint2D(1, 2)})
        list.append(cylinder(uv), uv);
    list.smash(cylinder, turn, height, 1e-3);
    const ERVec<ERPoint3D> points = list.toVec();
    const ERVec<ERPoint2D> parameters = list.toVec2D();
    ASSERT_EQ(points.length(), list.entries());
    ASSERT_EQ(parameters.length(), list.entries());
    EXPECT_GT(list.entries(), 8u);
    for (unsigned int i = 0; i < points.length(); ++i)
        EXPECT_EQ(points[i], cylinder(parameters[i]));
    // The straight side stays whole.
    EXPECT_EQ(parameters[points.length() - 2], ERPoint2D(1, 1));
}

class VecPoint23 : public ::testing::Test {
protected:
    VecPoint23() {
        for (int i = 0; i < 3; ++i) list.append(ERPoint3D(i, 2 * i, 3 * i), ERPoint2D(-i, 0.5 * i));
    }
    ERPoint23List list;
};

TEST_F(VecPoint23, HoldsCopiesOfTheList) {
    const ERVecPoint23 v(list);
    EXPECT_EQ(v.points().length(), 3u);
    EXPECT_EQ(v.points()[2], ERPoint3D(2, 4, 6));
    EXPECT_EQ(v.parameters()[2], ERPoint2D(-2, 1));
    const std::unique_ptr<ERVecPoint23> copy(v.getCopy());
    EXPECT_TRUE(*copy == v);
    EXPECT_FALSE(*copy != v);
    EXPECT_TRUE(ERVecPoint23(list) == v);  // equal without sharing
    list.append(ERPoint3D(), ERPoint2D());
    EXPECT_TRUE(ERVecPoint23(list) != v);
    EXPECT_TRUE(ERVecPoint23() != v);
    std::ostringstream text;
    text << v;
    EXPECT_EQ(text.str(), "");
}

TEST_F(VecPoint23, StoresThePointsThenThePairs) {
    const test::TemporaryFile place;
    const ERVecPoint23 v(list);
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        file << v;
        EXPECT_EQ(static_cast<ERULong>(file.GetLength()), v.binaryStoreSize());
        EXPECT_EQ(v.binaryStoreSize(), 4u + 3 * 24 + 4u + 3 * 16);
    }
    ERFile file(place.path(), CFile::modeRead);
    const std::unique_ptr<ERObject> object(ERClassRegistration::findCreator("ERVecPoint23")());
    object->restoreGuts(file);
    EXPECT_TRUE(ERVecPoint23::castdown(*object) == v);
    double first[6];
    file.SeekTo(4);
    file.Read(first, 6);
    EXPECT_EQ(first[5], 6 / 2);  // z of the second point
}

// Whatever is wrong with the file, points and pairs stay equal in number.
TEST_F(VecPoint23, DamagedDataNeverGivesUnequalLengths) {
    const test::TemporaryFile place;
    {
        ERFile file(place.path(), CFile::modeCreate | CFile::modeWrite);
        file << ERVecPoint23(list);
    }
    const std::string whole = place.bytes();
    const auto restored = [&place](const std::string& bytes) {
        place.setBytes(bytes);
        ERFile file(place.path(), CFile::modeRead);
        ERVecPoint23 v;
        file >> v;
        EXPECT_EQ(v.points().length(), v.parameters().length());
        return v.points().length();
    };
    for (std::size_t length = 0; length < whole.size(); ++length) restored(whole.substr(0, length));
    for (std::size_t place0 : {0, 76}) {
        for (int claimed : {-1, 1, 17, 33, 1000000000, std::numeric_limits<int>::min()}) {
            std::string damaged = whole;
            std::memcpy(damaged.data() + place0, &claimed, 4);
            EXPECT_LE(restored(damaged), 3u);
        }
    }
    EXPECT_EQ(restored(whole), 3u);
}

}  // namespace
}  // namespace kerf
