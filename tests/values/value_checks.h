#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/numerics/vector.h"
#include "kerf/platform/archive.h"
#include "kerf/values/point.h"
#include "tests/support/temporary_file.h"

// What the tests of several values ask alike.
namespace kerf::test {

constexpr double pi = 3.141592653589793;
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

// Files, and archives for those that have an operator, hold the doubles as they lie in memory.
template <class T>
void expectStoredAsItLies(const T& value) {
    const TemporaryFile place;
    const std::string raw(reinterpret_cast<const char*>(&value), sizeof value);
    EXPECT_EQ(value.binaryStoreSize(), sizeof value);
    ERFile file(place.path(), createFile);
    file << value;
    EXPECT_EQ(place.bytes(), raw);
    T restored;
    file.SeekTo(0);
    file >> restored;
    EXPECT_TRUE(restored == value);
    if constexpr (requires(CArchive & archive) { archive << value; }) {
        CArchive storing(&file, CArchive::store);
        storing << value;
        storing.Close();
        EXPECT_EQ(place.bytes(), raw + raw);
        file.SeekTo(sizeof value);
        CArchive archive(&file, CArchive::load);
        T fromArchive;
        archive >> fromArchive;
        EXPECT_TRUE(fromArchive == value);
        EXPECT_THROW(archive >> fromArchive, CArchiveException);
    }
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

inline ERPoint2D randomGridPoint(std::mt19937& random, unsigned int size) {
    return ERPoint2D(static_cast<double>(random() % size), static_cast<double>(random() % size));
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
        const auto axis = static_cast<std::conditional_t<Box::axes == 2, Coord2D, Coord3D>>(i);
        const double low = box.lower(i) - p[axis], high = box.upper(i) - p[axis];
        if (d[axis] == 0.0 && (low > 0 || high < 0)) return {1, 0};
        if (d[axis] == 0.0) continue;
        first = std::max(first, std::min(low / d[axis], high / d[axis]));
        last = std::min(last, std::max(low / d[axis], high / d[axis]));
    }
    return {first, last};
}

inline ERPoint2D wildPoint(std::mt19937& random) {
    const double wild[] = {nan, infinity, -infinity, 1.7e308, -1.7e308, 5e-324, 0, 1, -2};
    return ERPoint2D(wild[random() % 9], wild[random() % 9]);
}

}  // namespace kerf::test
