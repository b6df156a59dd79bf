#pragma once
#include <cmath>
#include <iosfwd>

#include "kerf/platform/config.h"
#include "kerf/values/point.h"

// The interval of a parameter, and the angle.
namespace kerf {

/// A closed interval [start, end] of a parameter.
/// Kept: it is never put in order. With start > end the amplitude is negative and nothing is in
///       bounds.
class KERF_EXPORT ERLimites {
public:
    ERLimites() : start_(0.0), end_(0.0) {}
    ERLimites(double start, double end) : start_(start), end_(end) {}

    double start() const { return start_; }
    double end() const { return end_; }
    double& start() { return start_; }
    double& end() { return end_; }

    double amplitude() const { return end_ - start_; }

    /// The value at ratio t: start for 0, end for 1.
    double operator()(double t) const { return start_ + (end_ - start_) * t; }
    ERLimites operator()(const ERLimites& ratios) const {
        return ERLimites((*this)(ratios.start_), (*this)(ratios.end_));
    }
    /// The inverse: the ratio of value v.
    /// Degenerate: an empty interval divides by zero.
    double ratio(double v) const { return (v - start_) / (end_ - start_); }
    ERLimites ratio(const ERLimites& values) const {
        return ERLimites(ratio(values.start_), ratio(values.end_));
    }

    // Exact, without tolerance.
    int inBound(double v) const { return start_ <= v && v <= end_; }
    int strictlyInBound(double v) const { return start_ < v && v < end_; }
    int isEmpty(double tol) const { return std::fabs(start_ - end_) <= tol; }

    ERLimites& operator+=(double offset) {
        start_ += offset;
        end_ += offset;
        return *this;
    }
    ERLimites& operator-=(double offset) {
        start_ -= offset;
        end_ -= offset;
        return *this;
    }
    /// Kept: a negative factor reverses the interval; the ends are not exchanged.
    ERLimites& operator*=(double f) {
        start_ *= f;
        end_ *= f;
        return *this;
    }

    friend bool operator==(const ERLimites& a, const ERLimites& b) {
        return a.start_ == b.start_ && a.end_ == b.end_;
    }

    /// "Limites( start,end )" and end of line; a field width applies to both values.
    void printOn(std::ostream& os) const;

    /// Two raw doubles: start, end.
    ERULong binaryStoreSize() const { return 2 * sizeof(double); }
    void saveGuts(ERFile& file) const;
    void restoreGuts(ERFile& file);

    friend std::ostream& operator<<(std::ostream& os, const ERLimites& limits) {
        limits.printOn(os);
        return os;
    }
    friend ERFile& operator<<(ERFile& file, const ERLimites& limits) {
        limits.saveGuts(file);
        return file;
    }
    friend ERFile& operator>>(ERFile& file, ERLimites& limits) {
        limits.restoreGuts(file);
        return file;
    }

private:
    double start_;
    double end_;
};

/// An angle in radians, kept as given: never reduced to [0, 2 pi). Goes wherever a double goes.
class KERF_EXPORT ERRadian {
public:
    ERRadian(double radians = 0.0) : radians_(radians) {}
    operator double() const { return radians_; }

private:
    double radians_;
};

static_assert(isPlainValue<ERLimites, 2> && isPlainValue<ERRadian, 1>);

}  // namespace kerf
