#include "kerf/numerics/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace kerf {
namespace {

// Certified values of NIST's Statistical Reference Datasets (public domain): NumAcc2 is 1.2, then
// 1.1 and 1.3 500 times.
TEST(Statistics, AgreeWithTheCertifiedValues) {
    std::vector<double> accuracy{1.2};
    for (int i = 0; i < 500; ++i) accuracy.insert(accuracy.end(), {1.1, 1.3});
    ERSerieStatistic series, drowned;
    for (double value : accuracy) series.append(value);
    EXPECT_NEAR(series.mean(), 1.2, 1e-14);
    EXPECT_NEAR(series.standard_deviation(), 0.1, 1e-12);
    EXPECT_EQ(series.min_value(), 1.1);
    EXPECT_EQ(series.max_value(), 1.3);
    // Around 1e7 the squares have no digit left for a deviation of 0.1: the running variance is
    // noise and falls below 0 on the way, which standard_deviation() reads as its absolute value.
    bool negative = false;
    for (double value : accuracy) {
        drowned.append(1e7 + value);
        negative |= drowned.variance() < 0;
        ASSERT_EQ(drowned.standard_deviation(), std::sqrt(std::fabs(drowned.variance())));
    }
    EXPECT_TRUE(negative);
}

TEST(Statistics, SquareDeviationIsTheMeanOfTheSquares) {
    ERSerieStatistic series;
    for (double value : {1, 2, 3, 6}) series.append(value);
    EXPECT_DOUBLE_EQ(series.square_deviation(), 12.5);
    EXPECT_DOUBLE_EQ(series.variance(), 14.0 / 3);
}

TEST(Statistics, ResetLeavesAnEmptySeries) {
    ERSerieStatistic series;
    for (double value : {7, 9}) series.append(value);
    series.reset();
    EXPECT_EQ(series.length(), 0u);
    for (double left : {series.mean(), series.variance(), series.square_deviation(),
                        series.min_value(), series.max_value()})
        EXPECT_EQ(left, 0.0);
}

}  // namespace
}  // namespace kerf
