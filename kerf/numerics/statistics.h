#pragma once
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"

namespace kerf {

/// A series of numbers with its statistics, which append brings up to date.
/// Degenerate: all statistics of an empty series are 0.
/// Kept:       statistics are never recomputed. A series of nearly equal large numbers loses the
///             digits of its variance, and an edit other than append and reset leaves the
///             statistics as they were.
class KERF_EXPORT ERSerieStatistic : public ERVec<double> {
public:
    void append(double x);
    void reset();  ///< back to an empty series

    using ERVec<double>::capacity;
    using ERVec<double>::length;
    double operator[](int i) const {
        return ERVec<double>::operator[](static_cast<unsigned int>(i));
    }

    double mean() const { return mean_; }
    /// Of the sample, with n - 1 as divisor; 0 of a single value. Rounding may bring it below 0.
    double variance() const { return variance_; }
    /// Kept: the mean of the squares of the values, not of their deviations.
    double square_deviation() const { return meanOfSquares_; }
    double standard_deviation() const;  ///< the square root of |variance|
    double min_value() const { return minValue_; }
    double max_value() const { return maxValue_; }

private:
    double mean_ = 0.0;
    double variance_ = 0.0;
    double meanOfSquares_ = 0.0;
    double minValue_ = 0.0;
    double maxValue_ = 0.0;
};

}  // namespace kerf
