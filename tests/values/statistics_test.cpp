#include "kerf/values/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace kerf {
namespace {

ERSerieStatistic seriesOf(const std::vector<double>& values) {
    ERSerieStatistic series;
    for (double value : values) series.append(value);
    return series;
}

// First, then the pair (low, high) 500 times.
std::vector<double> accuracySeries(double first, double low, double high) {
    std::vector<double> values{first};
    for (int i = 0; i < 500; ++i) values.insert(values.end(), {low, high});
    return values;
}

// Certified values of NIST's Statistical Reference Datasets (public domain): Mavro and NumAcc2.
TEST(Statistics, AgreeWithTheCertifiedValues) {
    std::vector<double> mavro;  // in units of 0.0001 above 2
    for (const int value : {18, 17, 18, 19, 18, 17, 15, 14, 15, 15, 17, 18, 18, 19, 19, 21, 20,
                            16, 14, 13, 13, 15, 15, 16, 15, 14, 13, 14, 15, 14, 15, 16, 15, 16,
                            19, 20, 20, 21, 22, 23, 24, 25, 27, 26, 26, 26, 27, 26, 25, 24})
        mavro.push_back((20000 + value) / 1e4);
    const ERSerieStatistic series = seriesOf(mavro);
    EXPECT_NEAR(series.mean(), 2.001856, 2e-13);
    // The running mean of squares loses about the digits of (mean / deviation)^2.
    EXPECT_NEAR(series.standard_deviation(), 0.000429123454003053, 4e-10);
    EXPECT_EQ(series.min_value(), 2.0013);
    EXPECT_EQ(series.max_value(), 2.0027);
    EXPECT_NEAR(seriesOf(accuracySeries(1.2, 1.1, 1.3)).standard_deviation(), 0.1, 1e-12);
}

// Around 1e7 the squares have no digit left for a deviation of 0.1: the running variance is noise
// and falls below 0 on the way, which standard_deviation() reads as its absolute value.
TEST(Statistics, TheRunningVarianceDrownsInLargeMeans) {
    ERSerieStatistic series;
    bool negative = false;
    for (double value : accuracySeries(10000000.2, 10000000.1, 10000000.3)) {
        series.append(value);
        negative |= series.variance() < 0;
        ASSERT_EQ(series.standard_deviation(), std::sqrt(std::fabs(series.variance())));
    }
    EXPECT_TRUE(negative);
}

TEST(Statistics, ResetStartsAnewAndOneValueHasNoVariance) {
    ERSerieStatistic series = seriesOf({1, 2, 3, 6});
    EXPECT_DOUBLE_EQ(series.square_deviation(), 12.5);  // the mean of the squares
    EXPECT_DOUBLE_EQ(series.variance(), 14.0 / 3);
    const ERSerieStatistic copy = series;
    series.reset();
    EXPECT_EQ(series.length(), 0u);
    for (double statistic : {series.mean(), series.variance(), series.square_deviation(),
                             series.min_value(), series.max_value()})
        EXPECT_EQ(statistic, 0);
    series.append(-7);
    EXPECT_EQ(series.mean() + series.min_value() + series.max_value(), -21);
    EXPECT_EQ(series.variance() + series.standard_deviation(), 0);
    EXPECT_EQ(copy[3], 6);
    EXPECT_EQ(copy.max_value(), 6);
}

}  // namespace
}  // namespace kerf
