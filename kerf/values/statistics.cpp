#include "kerf/values/statistics.h"

#include <algorithm>
#include <cmath>

namespace kerf {

void ERSerieStatistic::append(double x) {
    // Vectors grow by a few elements at a time; doubling keeps any number of values linear.
    constexpr unsigned int most = 0xFFFFF000u / sizeof(double);  // whose bytes 32 bits count
    if (length() == capacity()) capacity(std::min(2 * length(), most));
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
