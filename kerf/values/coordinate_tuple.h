#pragma once
#include <cmath>
#include <iosfwd>
#include <limits>

#include "kerf/platform/config.h"

// What points, vectors and poles share: their operators, written once.
namespace kerf {

class CArchive;
class ERFile;

/// The binary operators that follow from +=, -=, *= and /= of T, and the stream forms that follow
/// from its printOn, saveGuts and restoreGuts. Found by argument lookup only, also for classes that
/// derive from T.
template <class T>
class ValueOperators {
    friend T operator+(const T& a, const T& b) {
        T sum = a;
        sum += b;
        return sum;
    }
    friend T operator-(const T& a, const T& b) {
        T difference = a;
        difference -= b;
        return difference;
    }
    friend T operator*(const T& a, double f) {
        T product = a;
        product *= f;
        return product;
    }
    friend T operator*(double f, const T& a) { return a * f; }

    friend std::ostream& operator<<(std::ostream& os, const T& value) {
        value.printOn(os);
        return os;
    }
    friend ERFile& operator<<(ERFile& file, const T& value) {
        value.saveGuts(file);
        return file;
    }
    friend ERFile& operator>>(ERFile& file, T& value) {
        value.restoreGuts(file);
        return file;
    }
};

namespace coordinates {

/// Writes the coordinates between the brackets, with commas: brackets and commas at width 1, each
/// coordinate at the width that the stream has on entry.
KERF_EXPORT void print(std::ostream& os, const double* values, unsigned int count, const char* open,
                       const char* close);
/// Reads what print wrote with brackets of one character; any character passes for a bracket or
/// comma. False, with the stream failed and the values untouched, when the text ends or is no
/// number.
KERF_EXPORT bool scan(std::istream& is, double* values, unsigned int count);
/// Raw doubles. What a file that ends early does not hold becomes 0.
KERF_EXPORT void save(ERFile& file, const double* values, unsigned int count);
KERF_EXPORT void restore(ERFile& file, double* values, unsigned int count);
KERF_EXPORT void store(CArchive& archive, const double* values, unsigned int count);
KERF_EXPORT void load(CArchive& archive, double* values, unsigned int count);

/// Whether a sum of squares lies in the range in which it has all its digits.
inline bool squareIsAccurate(double sum) {
    constexpr double smallest =
        std::numeric_limits<double>::min() / std::numeric_limits<double>::epsilon();
    return sum >= smallest && sum <= std::numeric_limits<double>::max();
}

}  // namespace coordinates

/// N doubles, N being 2 or 3, with componentwise arithmetic, exact comparison and the binary forms.
/// The coordinates are all there is: T adds no data.
template <class T, unsigned int N>
class CoordinateTuple : public ValueOperators<T> {
    static_assert(N == 2 || N == 3);

public:
    T& operator+=(const T& other) {
        coordinates_[0] += other.coordinates_[0];
        coordinates_[1] += other.coordinates_[1];
        if constexpr (N == 3) coordinates_[2] += other.coordinates_[2];
        return self();
    }
    T& operator-=(const T& other) {
        coordinates_[0] -= other.coordinates_[0];
        coordinates_[1] -= other.coordinates_[1];
        if constexpr (N == 3) coordinates_[2] -= other.coordinates_[2];
        return self();
    }
    T& operator*=(double f) {
        coordinates_[0] *= f;
        coordinates_[1] *= f;
        if constexpr (N == 3) coordinates_[2] *= f;
        return self();
    }
    /// Divides each coordinate; by zero as IEEE has it.
    T& operator/=(double f) {
        coordinates_[0] /= f;
        coordinates_[1] /= f;
        if constexpr (N == 3) coordinates_[2] /= f;
        return self();
    }

    friend T operator-(const T& a) {
        T negated;
        negated.coordinates_[0] = -a.coordinates_[0];
        negated.coordinates_[1] = -a.coordinates_[1];
        if constexpr (N == 3) negated.coordinates_[2] = -a.coordinates_[2];
        return negated;
    }

    /// Exact: no tolerance, and a NaN equals nothing.
    friend bool operator==(const T& a, const T& b) {
        for (unsigned int i = 0; i < N; ++i)
            if (!(a.coordinates_[i] == b.coordinates_[i])) return false;
        return true;
    }

    ERULong binaryStoreSize() const { return N * sizeof(double); }
    void saveGuts(ERFile& file) const { coordinates::save(file, coordinates_, N); }
    void restoreGuts(ERFile& file) { coordinates::restore(file, coordinates_, N); }

    friend CArchive& operator<<(CArchive& archive, const T& value) {
        coordinates::store(archive, value.coordinates_, N);
        return archive;
    }
    friend CArchive& operator>>(CArchive& archive, T& value) {
        coordinates::load(archive, value.coordinates_, N);
        return archive;
    }
    /// Reads the printed form. A stream that fails on the way leaves the value as it was.
    friend std::istream& operator>>(std::istream& is, T& value) {
        coordinates::scan(is, value.coordinates_, N);
        return is;
    }

protected:
    CoordinateTuple() : coordinates_{} {}
    CoordinateTuple(double x, double y) requires(N == 2) : coordinates_{x, y} {}
    CoordinateTuple(double x, double y, double z) requires(N == 3) : coordinates_{x, y, z} {}

    /// Each |a[i] - b[i]| <= tol, in coordinate order; a NaN is within no tolerance.
    int within(const T& other, double tol) const {
        for (unsigned int i = 0; i < N; ++i)
            if (!(std::fabs(coordinates_[i] - other.coordinates_[i]) <= tol)) return 0;
        return 1;
    }

    double coordinates_[N];

private:
    T& self() { return static_cast<T&>(*this); }
};

}  // namespace kerf
