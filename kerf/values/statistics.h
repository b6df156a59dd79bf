#pragma once
#include "kerf/numerics/vector.h"
#include "kerf/platform/config.h"

namespace kerf {

/// A series of numbers with its statistics. They run along with append and are never recomputed, so
/// that reading one costs nothing and a series of nearly equal large numbers loses digits of its
/// variance. Only append and reset keep them; whatever else changes the vector leaves them as they
/// were. All statistics of an empty series are 0.
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
    /// Of the sample, with n - 1 as divisor; 0 of a single value. It may fall below 0 by rounding.
    double variance() const { return variance_; }
    /// The mean of the squares of the values, not of their deviations: callers rely on it.
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
