#include "kerf/curves/spline/binomials.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace kerf {
namespace {

// Oracle: the gamma function, in whatever order the factorials are asked for.
TEST(Factorial, IsTheGammaFunctionOfTheNextNumber) {
    for (unsigned int n : {0u, 1u, 5u, 20u, 27u, 60u, 28u, 44u, 170u, 31u, 100u})
        EXPECT_NEAR(theFactorielleFactory.Fact(n) / std::tgamma(n + 1.0), 1.0, 1e-13) << n;
    ERFactorialFactory factory;
    EXPECT_EQ(factory.Fact(22), 1124000727777607680000.0);
    EXPECT_EQ(factory.Fact(171), std::numeric_limits<double>::infinity());
    EXPECT_EQ(factory.Fact(4294967295u), std::numeric_limits<double>::infinity());
}

// Oracle: products and quotients of whole numbers of 64 bits.
TEST(Binomials, AreExactAsLongAsADoubleHoldsThem) {
    for (unsigned int n = 0; n <= 50; ++n) {
        std::uint64_t expected = 1;
        for (unsigned int p = 0; p <= n; ++p) {
            EXPECT_EQ(Cnp(n, p), static_cast<double>(expected)) << n << " " << p;
            expected = expected * (n - p) / (p + 1);
        }
    }
    EXPECT_EQ(Cnp(4, 5), 0.0);
}

TEST(Binomials, EndWhereADoubleEnds) {
    TableauDePascal table;
    const double* const handedOut = table.Cnp(20);
    EXPECT_LT(table.Cnp(1029, 514), std::numeric_limits<double>::infinity());
    EXPECT_EQ(table.Cnp(1030, 515), std::numeric_limits<double>::infinity());
    EXPECT_EQ(handedOut[10], 184756.0);
    table.ComputeTo(4294967295u);
    EXPECT_EQ(table.rows(), 1041u);
    EXPECT_EQ(table.Cnp(1041), nullptr);
    EXPECT_EQ(table.Cnp(1041, 1040), 1041.0);
    EXPECT_EQ(table.Cnp(4294967295u, 2), 4294967295.0 * 2147483647.0);
    EXPECT_EQ(table.Cnp(4294967295u, 2000000000u), std::numeric_limits<double>::infinity());
}

TEST(Binomials, MayBeAskedForByManyThreadsAtOnce) {
    TableauDePascal table;
    std::vector<std::thread> threads;
    std::atomic<int> faults{0};
    for (unsigned int first = 0; first < 4; ++first)
        threads.emplace_back([&, first] {
            for (unsigned int n = first; n <= 1000; n += 3) {
                const double* const row = table.Cnp(n);
                if (row[0] != 1.0 || row[n] != 1.0 || (n > 0 && row[1] != n)) ++faults;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(faults, 0);
}

}  // namespace
}  // namespace kerf
