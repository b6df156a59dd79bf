#pragma once
#include <cmath>
#include <iosfwd>
#include <limits>
#include <type_traits>

#include "kerf/platform/config.h"

// What points, vectors and poles share: their operators, written once.
namespace kerf {

class CArchive;
class ERFile;
enum class Coord2D;
enum class Coord3D;

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
/// Raw doubles. Of a file that ends early, restore sets to zero what the file does not hold, and
/// overwrite leaves it as it was.
KERF_EXPORT void save(ERFile& file, const double* values, unsigned int count);
KERF_EXPORT void restore(ERFile& file, double* values, unsigned int count);
KERF_EXPORT void overwrite(ERFile& file, double* values, unsigned int count);
KERF_EXPORT void store(CArchive& archive, const double* values, unsigned int count);
KERF_EXPORT void load(CArchive& archive, double* values, unsigned int count);

/// The length of two or three values, however large or small, and 1 for zeros: what a vector is
/// divided by where its squared length has lost digits.
KERF_EXPORT double divisorOfExtreme(const double* values, unsigned int count);

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
    using Axis = std::conditional_t<N == 2, Coord2D, Coord3D>;

    double operator[](Axis axis) const { return coordinates_[static_cast<int>(axis)]; }
    double& operator[](Axis axis) { return coordinates_[static_cast<int>(axis)]; }

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

    /// Exact, without tolerance; a NaN equals nothing.
    friend bool operator==(const T& a, const T& b) {
        for (unsigned int i = 0; i < N; ++i)
            if (!(a.coordinates_[i] == b.coordinates_[i])) return false;
        return true;
    }

    /// 1 when |a[i] - b[i]| <= tol for every coordinate: a box, not a ball, bounds included. A NaN
    /// gives 0.
    friend int isEqual(const T& a, const T& b, double tol) {
        for (unsigned int i = 0; i < N; ++i)
            if (!(std::fabs(a.coordinates_[i] - b.coordinates_[i]) <= tol)) return 0;
        return 1;
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

    T& self() { return static_cast<T&>(*this); }

    double coordinates_[N];
};

/// What a point adds: the shape of a point type as the spline kernels ask for it, and translation by
/// the free vectors of its space.
template <class T, class Vector, unsigned int N>
class PointTuple : public CoordinateTuple<T, N> {
public:
    static constexpr int getDim() { return static_cast<int>(N); }
    static constexpr int isRational() { return 0; }
    static constexpr double weigth() { return 1.0; }
    T castToPoint() const { return thePoint(); }
    const T& thePoint() const { return static_cast<const T&>(*this); }
    T& thePoint() { return this->self(); }

    using CoordinateTuple<T, N>::operator+=;
    using CoordinateTuple<T, N>::operator-=;
    T& operator+=(const Vector& v) { return *this += T(v); }
    T& operator-=(const Vector& v) { return *this -= T(v); }
    friend T operator+(const T& p, const Vector& v) { return p + T(v); }
    friend T operator-(const T& p, const Vector& v) { return p - T(v); }
    friend T operator/(const T& p, double f) {
        T quotient = p;
        quotient /= f;
        return quotient;
    }

    void scale(double f) { *this *= f; }
    void translate(const T& t) { *this += t; }

protected:
    using CoordinateTuple<T, N>::CoordinateTuple;
};

/// What a free vector adds: its length.
template <class T, unsigned int N>
class VectorTuple : public CoordinateTuple<T, N> {
public:
    double norme2() const {
        const double* const c = this->coordinates_;
        if constexpr (N == 2)
            return c[0] * c[0] + c[1] * c[1];
        else
            return c[0] * c[0] + c[1] * c[1] + c[2] * c[2];
    }
    double norme() const { return std::sqrt(norme2()); }
    /// Divides by the length, however short. Only the vector of exact zeros stays as it is.
    void normalize() { *this /= divisor(norme2()); }
    T getnormalized() const {
        T unit = static_cast<const T&>(*this);
        unit.normalize();
        return unit;
    }

protected:
    using CoordinateTuple<T, N>::CoordinateTuple;

private:
    double divisor(double squaredLength) const {
        return coordinates::squareIsAccurate(squaredLength)
                   ? std::sqrt(squaredLength)
                   : coordinates::divisorOfExtreme(this->coordinates_, N);
    }
};

/// Whole arrays of values are saved by one write and moved as memory: what a value must be for it.
template <class T, unsigned int doubles>
inline constexpr bool isPlainValue =
    std::is_trivially_copyable_v<T>&& std::is_standard_layout_v<T> &&
    sizeof(T) == doubles * sizeof(double);

}  // namespace kerf
