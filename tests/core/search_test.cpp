#include "kerf/core/search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace kerf {
namespace {

// Oracle: std::lower_bound.
TEST(BinarySearch, FindsTheFirstOfEquals) {
    std::mt19937 random(8);
    const double inf = std::numeric_limits<double>::infinity();
    const double values[] = {-inf, -1, -1e-300, -0.0, 0, 1e-300, 1, inf};
    for (int round = 0; round < 300; ++round) {
        std::vector<double> sorted(random() % 40);
        for (double& value : sorted) value = values[random() % 8];
        std::sort(sorted.begin(), sorted.end());
        for (const double sought : values) {
            const auto place = std::lower_bound(sorted.begin(), sorted.end(), sought);
            unsigned int index = 77;
            const int found =
                ERbsearch(&sought, sorted.data(), static_cast<unsigned int>(sorted.size()),
                          sizeof(double), compareDouble, index);
            const bool isThere = std::count(sorted.begin(), sorted.end(), sought) > 0;
            ASSERT_EQ(found != 0, isThere) << "round " << round << ", sought " << sought;
            ASSERT_EQ(index, static_cast<unsigned int>(place - sorted.begin()));
        }
    }
}

}  // namespace
}  // namespace kerf
