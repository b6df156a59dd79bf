#include "kerf/values/point_list.h"

#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

ERPoint2D circle(double u) { return ERPoint2D(10 * std::cos(u), 10 * std::sin(u)); }

// So fast that no middle lies on its chord.
ERPoint2D whirl(double u) { return circle(1e9 * u); }

// A list seeded with the parameters, the spans between them divided.
template <class List>
struct Divided : List {
    template <class Parameter, class Evaluate, class... Arguments>
    Divided(std::initializer_list<Parameter> seeds, Evaluate evaluate, Arguments... arguments) {
        for (const Parameter& u : seeds) this->append(evaluate(u), u);
        this->smash(evaluate, arguments...);
    }
};
template <class Evaluate>
Divided<ERPoint12List> curve(double from, double to, double tol, Evaluate evaluate) {
    return {{from, to}, evaluate, tol};
}

// Oracle: the sagitta of a chord over the angle a is r (1 - cos(a / 2)).
TEST(PointList, DividesACircleUntilTheSagittaIsWithinTolerance) {
    for (double tol : {1e-2, 1e-5}) {
        const Divided<ERPoint12List> list = curve(0.0, 1.0, tol, circle);
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

TEST(PointList, TheMiddleOfASpanIsTheOnlyProbeAndIsEvaluatedOnce) {
    const auto sine = [](double u) { return ERPoint2D(u, std::sin(u)); };
    EXPECT_EQ(curve(0.0, 2 * pi, 1e-3, sine).entries(), 2u);
    // A chord of no length measures from its end.
    EXPECT_GT(curve(0.0, 2 * pi, 0.1, circle).entries(), 10u);
    unsigned int evaluations = 0;
    const auto counted = [&evaluations](double u) {
        ++evaluations;
        return ERPoint3D(std::cos(u), std::sin(u), u);
    };
    const Divided<ERPoint13List> helix({0.0, 1.0}, counted, 1e-3);
    // The points of the list, and one probe in each of the spans between them.
    EXPECT_EQ(evaluations, 2 * helix.entries() - 1);
}

TEST(PointList, NarrowSpansAndHostileParametersAreNotDivided) {
    EXPECT_EQ(curve(0.0, 1e-5, 1e-3, whirl).entries(), 129u);  // 1e-5 / 2^7: the first below 1e-7
    // Between neighbouring doubles there is nothing to divide, though they lie 16 apart.
    const auto jump = [](double u) { return ERPoint2D(u, u < 0.3 ? 0 : 1); };
    EXPECT_EQ(curve(1e17, std::nextafter(1e17, 1e18), -1.0, jump).entries(), 2u);
    EXPECT_EQ(curve(0.0, nan, 1e-3, jump).entries(), 2u);
    EXPECT_EQ(Divided<ERPoint12List>(std::initializer_list<double>(), circle, 1e-3).entries(), 0u);
}

TEST(PointList, DividesAlongASurface) {
    const ERLimites inU(0, 6), inV(0, 2);
    const auto cylinder = [](const ERPoint2D& uv) {
        return ERPoint3D(3 * std::cos(uv.x()), 3 * std::sin(uv.x()), uv.y());
    };
    const std::initializer_list<ERPoint2D> seeds = {{0, 0}, {1, 1}, {1, 2}};
    const Divided<ERPoint23List> surface(seeds, cylinder, inU, inV, 1e-3);
    const ERVec<ERPoint2D> parameters = surface.toVec2D();
    EXPECT_EQ(parameters[parameters.length() - 2],
              ERPoint2D(1, 1));  // the straight side stays whole
}

// Whatever is wrong with the file, points and pairs stay equal in number.
TEST(VecPoint23, HoldsCopiesOfTheListThatDamageNeverMakesUnequal) {
    ERPoint23List list;
    for (int i = 0; i < 3; ++i) list.append(ERPoint3D(i, 2 * i, 3 * i), ERPoint2D(-i, 0.5 * i));
    const ERVecPoint23 v(list);
    EXPECT_TRUE(ERVecPoint23(list) == v);  // equal without sharing
    const TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        file << v;
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
    for (const unsigned int at : {0u, 76u}) {  // the two lengths
        for (const char* claimed : {"\xFF\xFF\xFF\xFF", "\1\0\0", "\x21\0\0", "\0\0\0\x7F"}) {
            const std::string damaged = std::string(whole).replace(at, 4, claimed, 4);
            EXPECT_LE(restored(damaged).points().length(), 3u);
        }
    }
    // One point and three pairs.
    const std::string fewer = std::string("\x18\0\0\0", 4) + whole.substr(4, 24) + whole.substr(76);
    EXPECT_EQ(restored(fewer).points().length(), 1u);
}

}  // namespace
}  // namespace kerf
