#include "kerf/numerics/statistics.h"

#include <algorithm>
#include <cmath>

#include "kerf/numerics/internal/growth.h"

namespace kerf {

void ERSerieStatistic::append(double x) {
    doubleWhenFull(*this);
    ERVec<double>::append(x);
    const double n = length();
    mean_ = mean_ * (n - 1.0) / n + x / n;
    meanOfSquares_ = meanOfSquares_ * (n - 1.0) / n + x * x / n;
    if (length() == 1) {
        minValue_ = maxValue_ = x;
        return;
    }
    variance_ = (meanOfSquares_ * n - n * mean_ * mean_) / (n - 1.0);
    maxValue_ = std::max(maxValue_, x);
    minValue_ = std::min(minValue_, x);
}

void ERSerieStatistic::reset() {
    clear();
    mean_ = variance_ = meanOfSquares_ = minValue_ = maxValue_ = 0.0;
}

double ERSerieStatistic::standard_deviation() const { return std::sqrt(std::fabs(variance_)); }

}  // namespace kerf
