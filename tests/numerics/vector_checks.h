#pragma once
#include <gtest/gtest.h>

#include <initializer_list>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/numerics/matrix.h"
#include "tests/support/temporary_file.h"

// What the tests of vectors, and of what is made of them, have in common.
namespace kerf::test {

using Values = std::vector<double>;
using Matrix = ERMatrix<double>;

template <class Range>
Values listOf(const Range& range) {
    return Values(range.begin(), range.end());
}

inline ERVec<double> vecOf(const Values& values) {
    return {values.data(), static_cast<unsigned int>(values.size())};
}

inline ERVec<double> counting(unsigned int n) {
    ERVec<double> vec(n);
    std::iota(vec.begin(), vec.end(), 0.0);
    return vec;
}

inline Matrix randomMatrix(std::mt19937& random, unsigned int rows, unsigned int cols) {
    std::uniform_real_distribution<double> element(-1.0, 1.0);
    Matrix m(rows, cols);
    for (double& e : m) e = element(random);
    return m;
}

template <class T>
std::string printed(const T& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// As files hold them.
inline std::string words(std::initializer_list<unsigned int> values) {
    std::string bytes;
    for (const unsigned int value : values)
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

template <class T>
std::string stored(const T& value) {
    const TemporaryFile place;
    ERFile file(place.path(), ERFile::modeCreate | ERFile::modeReadWrite);
    if constexpr (requires { file << value; })
        file << value;
    else
        value.saveGuts(file);
    EXPECT_EQ(place.bytes().size(), value.binaryStoreSize());
    return place.bytes();
}

/// What `value` becomes by restoring it from a file of these bytes.
template <class T>
T restored(const std::string& bytes, T value = T()) {
    const TemporaryFile place;
    place.setBytes(bytes);
    ERFile file(place.path(), ERFile::modeRead);
    if constexpr (requires { file >> value; })
        file >> value;
    else
        value.restoreGuts(file);
    return value;
}

}  // namespace kerf::test
