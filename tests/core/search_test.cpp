#include "kerf/core/search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace kerf {
namespace {

struct Row {
    int key;
    char text[12];
};

// Oracle: std::lower_bound.
TEST(BinarySearch, FindsTheFirstOfEquals) {
    std::mt19937 random(8);
    for (int round = 0; round < 300; ++round) {
        std::vector<Row> rows(random() % 40);
        for (Row& row : rows) row.key = static_cast<int>(random() % 15);
        const auto before = [](const Row& a, const Row& b) { return a.key < b.key; };
        std::sort(rows.begin(), rows.end(), before);
        for (int key = -1; key <= 15; ++key) {
            const Row sought{key, ""};
            const auto place = std::lower_bound(rows.begin(), rows.end(), sought, before);
            unsigned int index = 77;
            const int found = ERbsearch(
                &sought, rows.data(), static_cast<unsigned int>(rows.size()), sizeof(Row),
                [](const void* a, const void* b) {
                    return static_cast<const Row*>(a)->key - static_cast<const Row*>(b)->key;
                },
                index);
            ASSERT_EQ(found != 0, place != rows.end() && place->key == key);
            ASSERT_EQ(index, static_cast<unsigned int>(place - rows.begin()));
        }
    }
}

TEST(BinarySearch, ComparesDoublesInTheirPlainOrder) {
    const double inf = std::numeric_limits<double>::infinity();
    const double values[] = {-inf, -1, -1e-300, 0, 1e-300, 1, inf};
    for (int i = 0; i < 7; ++i) {
        unsigned int index = 0;
        EXPECT_TRUE(ERbsearch(&values[i], values, 7, sizeof(double), compareDouble, index));
        EXPECT_EQ(index, static_cast<unsigned int>(i));
        for (int j = 0; j < 7; ++j)
            EXPECT_EQ(compareDouble(&values[i], &values[j]), i < j ? -1 : i > j ? 1 : 0);
    }
    const double negativeZero = -0.0;
    EXPECT_EQ(compareDouble(&negativeZero, &values[3]), 0);
    unsigned int index = 5;
    EXPECT_FALSE(ERbsearch(values, nullptr, 0, sizeof(double), compareDouble, index));
    EXPECT_EQ(index, 0u);
}

}  // namespace
}  // namespace kerf
