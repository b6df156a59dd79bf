#include "kerf/core/pointer_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "kerf/core/value_vector.h"

namespace kerf {
namespace {

struct Keyed {
    double key = 0;
    bool operator<(const Keyed& other) const { return key < other.key; }
};

// Oracle: std::vector.
TEST(OrderedVectors, FollowAStandardVector) {
    std::vector<int> pool(1000);
    ERTPtrOrderedVector<int> pointers(10);
    ERTValOrderedVector<std::shared_ptr<int>> values(3);  // counts show what is let go
    const auto shared = std::make_shared<int>(1);
    std::vector<int*> wanted;
    std::mt19937 random(31);
    for (int step = 0; step < 4000; ++step) {
        const auto i = static_cast<unsigned int>(random() % (wanted.size() + 1));
        if (random() % 100 < (step < 2000 ? 65u : 35u)) {
            int* const p = &pool[random() % pool.size()];
            pointers.insertAt(i, p);
            values.insertAt(i, std::shared_ptr<int>(shared, p));
            wanted.insert(wanted.begin() + i, p);
        } else if (i < wanted.size()) {
            ASSERT_EQ(pointers.removeAt(i), wanted[i]);
            ASSERT_EQ(values.removeAt(i).get(), wanted[i]);
            wanted.erase(wanted.begin() + i);
        }
        ASSERT_TRUE(std::equal(wanted.begin(), wanted.end(), pointers.begin(), pointers.end()));
        ASSERT_EQ(values.entries(), wanted.size());
        ASSERT_EQ(shared.use_count(), static_cast<long>(wanted.size()) + 1);
        ASSERT_EQ(pointers.capacity() % 64, 10u);  // grows by 64
        for (unsigned int k = 0; k < wanted.size(); k += 5) ASSERT_EQ(values[k].get(), wanted[k]);
    }
    values.clear();
    EXPECT_EQ(shared.use_count(), 1);
}

// Oracle: std::multimap, which keeps the order of arrival of equal keys.
TEST(SortedVector, FollowsAMultimap) {
    for (const unsigned int keys : {1u, 5u, 300u}) {
        std::vector<Keyed> pool(3000);
        ERTPtrSortedVector<Keyed> sorted(10);
        std::multimap<double, Keyed*> wanted;
        std::mt19937 random(keys);
        for (Keyed& x : pool) {
            x.key = static_cast<double>(random() % keys);
            const auto [from, to] = wanted.equal_range(x.key);
            const auto first = static_cast<unsigned int>(std::distance(wanted.begin(), from));
            const auto run = static_cast<unsigned int>(std::distance(from, to));
            ASSERT_EQ(sorted.index(&x), run == 0 ? ~0u : first);
            ASSERT_EQ(sorted.occurrencesOf(&x), run);
            const auto way = random() % 10;
            if (way == 0) {
                ASSERT_EQ(sorted.removeAll(&x), run);
                wanted.erase(from, to);
            } else if (way < 3) {
                ASSERT_EQ(sorted.remove(&x), run == 0 ? nullptr : from->second);
                if (run != 0) wanted.erase(from);
            } else {
                sorted.insert(&x);
                wanted.emplace(x.key, &x);
            }
            ASSERT_EQ(sorted.entries(), wanted.size());
            unsigned int i = 0;
            for (const auto& entry : wanted) ASSERT_EQ(sorted[i++], entry.second);
        }
    }
}

}  // namespace
}  // namespace kerf
