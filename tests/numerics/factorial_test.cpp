#include "kerf/numerics/factorial.h"  // first, so that it proves it needs nothing before it

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kerf {
namespace {

// Oracle: the gamma function, in whatever order the factorials are asked for.
TEST(Factorial, IsTheGammaFunctionOfTheNextNumber) {
    ERFactorialFactory factory;
    for (unsigned int n : {0u, 1u, 5u, 20u, 27u, 60u, 28u, 44u, 170u, 31u, 100u})
        EXPECT_NEAR(factory.Fact(n) / std::tgamma(n + 1.0), 1.0, 1e-13) << n;
    EXPECT_EQ(factory.Fact(22), 1124000727777607680000.0);
    EXPECT_EQ(factory.Fact(171), std::numeric_limits<double>::infinity());
    EXPECT_EQ(factory.Fact(4294967295u), std::numeric_limits<double>::infinity());
}

}  // namespace
}  // namespace kerf
