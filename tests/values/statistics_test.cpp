#include "kerf/values/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace kerf {
namespace {

// Certified values of NIST's Statistical Reference Datasets (univariate summary statistics, public
// domain), as held by the Go project "stats", file nist_test.go, commit 5badb5ad (MIT licence).
struct CertifiedSeries {
    const char* name;
    std::vector<double> values;
    double mean, deviation, smallest, largest;
    // The running mean of squares loses about the digits of (mean / deviation)^2.
    double tolerance;
};

// First, then the pair (low, high) 500 times.
std::vector<double> accuracySeries(double first, double low, double high) {
    std::vector<double> values{first};
    for (int i = 0; i < 500; ++i) values.insert(values.end(), {low, high});
    return values;
}

const CertifiedSeries certified[] = {
    {"Mavro",
     {2.0018, 2.0017, 2.0018, 2.0019, 2.0018, 2.0017, 2.0015, 2.0014, 2.0015, 2.0015,
      2.0017, 2.0018, 2.0018, 2.0019, 2.0019, 2.0021, 2.002,  2.0016, 2.0014, 2.0013,
      2.0013, 2.0015, 2.0015, 2.0016, 2.0015, 2.0014, 2.0013, 2.0014, 2.0015, 2.0014,
      2.0015, 2.0016, 2.0015, 2.0016, 2.0019, 2.002,  2.002,  2.0021, 2.0022, 2.0023,
      2.0024, 2.0025, 2.0027, 2.0026, 2.0026, 2.0026, 2.0027, 2.0026, 2.0025, 2.0024},
     2.001856,
     0.000429123454003053,
     2.0013,
     2.0027,
     1e-06},
    {"Michelso",
     {299.85, 299.74, 299.9,  300.07, 299.93, 299.85, 299.95, 299.98, 299.98, 299.88,
      300,    299.98, 299.93, 299.65, 299.76, 299.81, 300,    300,    299.96, 299.96,
      299.96, 299.94, 299.96, 299.94, 299.88, 299.8,  299.85, 299.88, 299.9,  299.84,
      299.83, 299.79, 299.81, 299.88, 299.88, 299.83, 299.8,  299.79, 299.76, 299.8,
      299.88, 299.88, 299.88, 299.86, 299.72, 299.72, 299.62, 299.86, 299.97, 299.95,
      299.88, 299.91, 299.85, 299.87, 299.84, 299.84, 299.85, 299.84, 299.84, 299.84,
      299.89, 299.81, 299.81, 299.82, 299.8,  299.77, 299.76, 299.74, 299.75, 299.76,
      299.91, 299.92, 299.89, 299.86, 299.88, 299.72, 299.84, 299.85, 299.85, 299.78,
      299.89, 299.84, 299.78, 299.81, 299.76, 299.81, 299.79, 299.81, 299.82, 299.85,
      299.87, 299.87, 299.81, 299.74, 299.81, 299.94, 299.95, 299.8,  299.81, 299.87},
     299.8524,
     0.0790105478190518,
     299.62,
     300.07,
     1e-07},
    {"NumAcc2", accuracySeries(1.2, 1.1, 1.3), 1.2, 0.1, 1.1, 1.3, 1e-11},
};

ERSerieStatistic seriesOf(const std::vector<double>& values) {
    ERSerieStatistic series;
    for (double value : values) series.append(value);
    return series;
}

TEST(Statistics, AgreeWithTheCertifiedValues) {
    for (const CertifiedSeries& known : certified) {
        SCOPED_TRACE(known.name);
        const ERSerieStatistic series = seriesOf(known.values);
        EXPECT_EQ(series.length(), known.values.size());
        EXPECT_NEAR(series.mean(), known.mean, 1e-13 * known.mean);
        EXPECT_NEAR(series.standard_deviation(), known.deviation,
                    known.tolerance * known.deviation);
        EXPECT_EQ(series.min_value(), known.smallest);
        EXPECT_EQ(series.max_value(), known.largest);
    }
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
    EXPECT_NEAR(series.mean(), 10000000.2, 1e-6);
}

TEST(Statistics, OneValueIsItsOwnMeanAndHasNoVariance) {
    const ERSerieStatistic series = seriesOf({-3});
    EXPECT_EQ(series.mean(), -3);
    EXPECT_EQ(series.square_deviation(), 9);
    EXPECT_EQ(series.variance(), 0);
    EXPECT_EQ(series.standard_deviation(), 0);
    EXPECT_EQ(series.min_value(), -3);
    EXPECT_EQ(series.max_value(), -3);
}

TEST(Statistics, TheSquareDeviationIsTheMeanOfTheSquares) {
    const ERSerieStatistic series = seriesOf({1, 2, 3, 6});
    EXPECT_DOUBLE_EQ(series.mean(), 3);
    EXPECT_DOUBLE_EQ(series.square_deviation(), 12.5);
    EXPECT_DOUBLE_EQ(series.variance(), 14.0 / 3);
    EXPECT_EQ(series.min_value(), 1);
    EXPECT_EQ(series.max_value(), 6);
}

TEST(Statistics, ResetStartsAnew) {
    ERSerieStatistic series = seriesOf({100, -100});
    ERSerieStatistic copy = series;
    series.reset();
    EXPECT_EQ(series.length(), 0u);
    for (double statistic : {series.mean(), series.variance(), series.square_deviation(),
                             series.min_value(), series.max_value()})
        EXPECT_EQ(statistic, 0);
    series.append(7);
    series.append(9);
    EXPECT_EQ(series.mean(), 8);
    EXPECT_DOUBLE_EQ(series.variance(), 2);
    EXPECT_EQ(series.min_value(), 7);
    EXPECT_EQ(series[1], 9);

    EXPECT_EQ(copy.length(), 2u);
    EXPECT_EQ(copy[0], 100);
    EXPECT_EQ(copy.variance(), 20000);
    copy = series;
    EXPECT_EQ(copy[0], 7);
    EXPECT_EQ(copy.max_value(), 9);
    EXPECT_GE(copy.capacity(100), 100u);
    EXPECT_EQ(copy.length(), 2u);
}

}  // namespace
}  // namespace kerf
