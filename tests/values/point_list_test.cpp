#include "kerf/values/point_list.h"

#include <cstring>
#include <memory>

#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

ERPoint2D circle(double u) { return ERPoint2D(10 * std::cos(u), 10 * std::sin(u)); }

// Turns so fast that no middle lies on its chord.
ERPoint2D whirl(double u) { return circle(1e9 * u); }

// Seeds the ends of a span and divides it.
template <class Evaluate>
unsigned int sample(ERPoint12List& list, double from, double to, double tol, Evaluate evaluate) {
    list.append(evaluate(from), from);
    list.append(evaluate(to), to);
    list.smash(evaluate, tol);
    return list.entries();
}

TEST(PointList, AppendsInOrder) {
    ERPoint13List list;
    const unsigned int n = 5000;  // over many chunks of the pool
    for (unsigned int i = 0; i < n; ++i) list.append(ERPoint3D(i, -1.0 * i, 0.5), i);
    const ERVec<ERPoint3D> points = list.toVec();
    ASSERT_EQ(points.length(), n);
    for (unsigned int i = 0; i < n; ++i) EXPECT_EQ(points[i], ERPoint3D(i, -1.0 * i, 0.5));
    list.purge();
    EXPECT_EQ(list.entries() + list.toVec().length(), 0u);
    list.append(ERPoint3D(1, 2, 3), 4);
    EXPECT_EQ(list.first(), list.last());
}

// Oracle: the sagitta of a chord over the angle a is r (1 - cos(a / 2)).
TEST(PointList, DividesACircleUntilTheSagittaIsWithinTolerance) {
    for (double tol : {1e-2, 1e-5}) {
        ERPoint12List list;
        sample(list, 0.0, 1.0, tol, circle);
        unsigned int count = 1;
        for (const ERPoint12* node = list.first(); node->next != nullptr; node = node->next) {
            ++count;
            EXPECT_EQ(node->point, circle(node->parameter));
            const double angle = node->next->parameter - node->parameter;
            EXPECT_GT(angle, 0);
            EXPECT_LE(10 * (1 - std::cos(angle / 2)), tol * (1 + 1e-6));
            // No finer than asked: twice the span would not do.
            EXPECT_GT(10 * (1 - std::cos(angle)), tol * (1 - 1e-6));
        }
        EXPECT_EQ(count, list.entries());
        EXPECT_EQ(list.last()->parameter, 1.0);
    }
}

TEST(PointList, TheMiddleOfASpanIsTheOnlyProbeAndANullChordMeasuresFromItsEnd) {
    ERPoint12List wave, turn;
    const auto sine = [](double u) { return ERPoint2D(u, std::sin(u)); };
    EXPECT_EQ(sample(wave, 0.0, 2 * pi, 1e-3, sine), 2u);
    EXPECT_GT(sample(turn, 0.0, 2 * pi, 0.1, circle), 10u);
}

TEST(PointList, NarrowSpansAreNotDivided) {
    ERPoint12List list, exactlyNarrow;
    EXPECT_EQ(sample(list, 0.0, 1e-5, 1e-3, whirl), 129u);  // 1e-5 / 2^7: the first below 1e-7
    EXPECT_EQ(sample(exactlyNarrow, 0.0, 1e-7, 0.0, whirl), 2u);

    const auto onSurface = [](const ERPoint2D& uv) {
        return whirl(uv.x() + uv.y()).castToPoint3D(Coord3D::CoordZ, 0);
    };
    const auto divided = [&](const ERPoint2D& end) {
        ERPoint23List points;
        points.append(onSurface(ERPoint2D()), ERPoint2D());
        points.append(onSurface(end), end);
        points.smash(onSurface, ERLimites(0, 6), ERLimites(0, 2), 1e-3);
        return points.entries();
    };
    // A millionth of the bounds, in both parameters.
    EXPECT_EQ(divided(ERPoint2D(6e-4, 0)), 129u);
    EXPECT_EQ(divided(ERPoint2D(6e-4, 1e-3)), 513u);
    EXPECT_EQ(divided(ERPoint2D(6e-6, 2e-6)), 2u);
}

TEST(PointList, HostileParametersEnd) {
    ERPoint12List far, undefined, empty;
    const auto jump = [](double u) { return ERPoint2D(u, u < 0.3 ? 0 : 1); };
    // Between neighbouring doubles there is nothing to divide, though they lie 16 apart.
    EXPECT_EQ(sample(far, 1e17, std::nextafter(1e17, 1e18), -1.0, jump), 2u);
    EXPECT_EQ(sample(undefined, 0.0, nan, 1e-3, jump), 2u);
    empty.smash(circle, 1e-3);
    EXPECT_EQ(empty.entries(), 0u);
}

TEST(PointList, DividesInSpaceAndAlongASurface) {
    // A helix has the same curvature everywhere: all spans end up equally long.
    const auto helix = [](double u) { return ERPoint3D(std::cos(u), std::sin(u), u); };
    ERPoint13List list;
    list.append(helix(0), 0);
    list.append(helix(1), 1);
    list.smash(helix, 1e-4);
    EXPECT_EQ(list.entries(), 65u);  // the sagitta of a parameter span h is h^2 / 8

    const auto cylinder = [](const ERPoint2D& uv) {
        return ERPoint3D(3 * std::cos(uv.x()), 3 * std::sin(uv.x()), uv.y());
    };
    ERPoint23List surface;
    for (const ERPoint2D& uv : {ERPoint2D(0, 0), ERPoint2D(1, 1), ERPoint2D(1, 2)})
        surface.append(cylinder(uv), uv);
    surface.smash(cylinder, ERLimites(0, 6), ERLimites(0, 2), 1e-3);
    const ERVec<ERPoint3D> points = surface.toVec();
    const ERVec<ERPoint2D> parameters = surface.toVec2D();
    EXPECT_EQ(parameters.length(), points.length());
    EXPECT_EQ(points[1], cylinder(parameters[1]));
    EXPECT_EQ(parameters[points.length() - 2], ERPoint2D(1, 1));  // the straight side stays whole
}

// Whatever is wrong with the file, points and pairs stay equal in number.
TEST(VecPoint23, HoldsCopiesOfTheListThatDamageNeverMakesUnequal) {
    ERPoint23List list;
    for (int i = 0; i < 3; ++i) list.append(ERPoint3D(i, 2 * i, 3 * i), ERPoint2D(-i, 0.5 * i));
    const ERVecPoint23 v(list);
    EXPECT_TRUE(v.points()[2] == ERPoint3D(2, 4, 6) && v.parameters()[2] == ERPoint2D(-2, 1));
    const std::unique_ptr<ERVecPoint23> copy(v.getCopy());
    EXPECT_TRUE(*copy == v && ERVecPoint23(list) == v);  // equal without sharing
    list.append(ERPoint3D(), ERPoint2D());
    EXPECT_TRUE(ERVecPoint23(list) != v);
    EXPECT_EQ(printed(v), "");
    const TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        file << v;
        EXPECT_EQ(static_cast<ERULong>(file.GetLength()), v.binaryStoreSize());
    }
    const std::string whole = place.bytes();
    const auto restored = [&place](const std::string& bytes) {
        place.setBytes(bytes);
        ERFile file(place.path(), CFile::modeRead);
        ERVecPoint23 read;
        file >> read;
        EXPECT_EQ(read.points().length(), read.parameters().length());
        return read;
    };
    EXPECT_TRUE(restored(whole) == v);
    for (std::size_t length = 0; length < whole.size(); ++length) restored(whole.substr(0, length));
    for (std::size_t at : {0, 76}) {  // the two lengths
        for (int claimed : {-1, 1, 17, 33, 1000000000, std::numeric_limits<int>::min()}) {
            std::string damaged = whole;
            std::memcpy(damaged.data() + at, &claimed, 4);
            EXPECT_LE(restored(damaged).points().length(), 3u);
        }
    }
}

}  // namespace
}  // namespace kerf
