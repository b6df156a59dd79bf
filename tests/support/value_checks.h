#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/display/coordinate.h"
#include "kerf/numerics/constants.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/archive.h"
#include "tests/support/temporary_file.h"

// What the tests of several values ask alike.
namespace kerf::test {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largest = std::numeric_limits<double>::max();
constexpr unsigned int createFile = CFile::modeCreate | CFile::modeReadWrite;

template <class T>
std::string printed(const T& value, int width = 0) {
    std::ostringstream text;
    text << std::setw(width) << value;
    return text.str();
}

template <class T>
void expectNear(const T& a, const std::type_identity_t<T>& b, double tolerance = 1e-13) {
    EXPECT_TRUE(isEqual(a, b, tolerance)) << a << " is not " << b;
}
inline void expectNear(const Coordinate& a, const Coordinate& b, double tolerance = 1e-13) {
    expectNear(a.AsPoint3D(), b.AsPoint3D(), tolerance);
}

// A value as the doubles that lie in memory, and back.
template <class T>
using Raw = std::array<double, sizeof(T) / sizeof(double)>;
template <class T>
Raw<T> raw(const T& value) {
    return std::bit_cast<Raw<T>>(value);
}
template <class T, class Draw>
T drawn(Draw draw) {
    Raw<T> doubles;
    for (double& x : doubles) x = draw();
    return std::bit_cast<T>(doubles);
}

// What the failure of a random test names, so that the case can be drawn again.
inline std::string drawnFrom(unsigned int seed, int draw) {
    return "seed " + std::to_string(seed) + ", draw " + std::to_string(draw);
}

// Oracles: coordinates that are small integers make these exact.

// Twice the signed area: its sign is the orientation.
inline double area(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
    return (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
}

inline std::vector<ERPoint2D> grid(int first, int last, int step = 1) {
    std::vector<ERPoint2D> points;
    for (int x = first; x <= last; x += step)
        for (int y = first; y <= last; y += step) points.emplace_back(x, y);
    return points;
}

// All directions of coordinates from -2 to 2.
inline std::vector<ERVector3D> gridDirections() {
    std::vector<ERVector3D> directions;
    for (int i = 0; i < 125; ++i)
        if (i != 62) directions.emplace_back(i % 5 - 2, i / 5 % 5 - 2, i / 25 - 2);
    return directions;
}

inline ERPoint2D randomGridPoint(std::mt19937& random, unsigned int size) {
    return drawn<ERPoint2D>([&] { return static_cast<double>(random() % size); });
}

inline ERPoint2D wildPoint(std::mt19937& random) {
    const double wild[] = {nan, infinity, -infinity, 1.7e308, -1.7e308, 5e-324, 0, 1, -2};
    return drawn<ERPoint2D>([&] { return wild[random() % 9]; });
}

inline ERVec<ERPoint2D> vectorOf(const std::vector<ERPoint2D>& points) {
    return ERVec<ERPoint2D>(points.data(), static_cast<unsigned int>(points.size()));
}

// The part of [first, last] in which p + t d is in the box, by the slabs of the axes; from above to
// below where there is none.
template <class Box, class Vector>
std::pair<double, double> partInBox(const typename Box::Point& p, const Vector& d, const Box& box,
                                    double first, double last) {
    for (unsigned int i = 0; i < Box::axes; ++i) {
        const double low = box.lower(i) - raw(p)[i], high = box.upper(i) - raw(p)[i];
        const double step = raw(d)[i];
        if (step == 0.0 && (low > 0 || high < 0)) return {1, 0};
        if (step == 0.0) continue;
        first = std::max(first, std::min(low / step, high / step));
        last = std::min(last, std::max(low / step, high / step));
    }
    return {first, last};
}

}  // namespace kerf::test
