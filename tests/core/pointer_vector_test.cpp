#include "kerf/core/pointer_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <utility>
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

TEST(PointerVector, CopiesMovesAndFills) {
    int x, y;
    ERTPtrVector<int> a(3, &x);
    a[1] = &y;
    ERTPtrVector<int> copy(a);
    EXPECT_NE(copy.data(), a.data());
    copy[0] = &y;
    EXPECT_EQ(a[0], &x);
    copy = a;
    EXPECT_TRUE(std::equal(copy.begin(), copy.end(), a.begin(), a.end()));
    void** const array = a.data();
    const ERTPtrVector<int> moved(std::move(a));
    EXPECT_EQ(moved.data(), array);
    EXPECT_EQ(a.length(), 0u);  // NOLINT(bugprone-use-after-move)
    copy = &x;
    EXPECT_EQ(std::count(copy.begin(), copy.end(), &x), 3);
}

TEST(PointerVector, NewElementsAreNullAfterResize) {
    int x;
    for (const unsigned int former : {0u, 1u, 3u}) {
        { const ERPtrVector used(60, &x); }  // so that the heap gives out memory that is not zero
        ERPtrVector v(former, &x);
        v.resize(60);
        EXPECT_EQ(std::count(v.data(), v.data() + former, &x), former);
        EXPECT_EQ(std::count(v.data() + former, v.data() + 60, nullptr), 60 - former);
        v.resize(1);
        EXPECT_EQ(v.length(), 1u);
    }
}

TEST(ValueVector, ReshapingKeepsTheFirstElements) {
    ERTValVector<int> v(3, 5);
    v.reshape(5);
    std::ostringstream text;
    v.printOn(text);
    v.reshape(2);
    v.printOn(text);
    EXPECT_EQ(text.str(), "[5 5 5 0 0][5 5]");
}

// A pointer that counts its holders and cannot be moved, so that what is moved from keeps its share.
class Holder {
public:
    Holder() = default;
    explicit Holder(int& holders) : holders_(&holders) { ++holders; }
    Holder(const Holder& other) : Holder() { *this = other; }
    ~Holder() { count(-1); }
    Holder& operator=(const Holder& other) {
        count(-1);
        holders_ = other.holders_;
        count(1);
        return *this;
    }

private:
    void count(int change) {
        if (holders_ != nullptr) *holders_ += change;
    }

    int* holders_ = nullptr;
};

TEST(ValueVector, WhatIsTakenOutIsHeldNoMore) {
    int first = 0, second = 0;
    ERTValOrderedVector<Holder> v;
    v.append(Holder(first));
    v.append(Holder(second));
    v.removeAt(0);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
    v.removeAt(0);
    EXPECT_EQ(second, 0);
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
            const auto action = random() % 10;
            if (action == 0) {
                ASSERT_EQ(sorted.removeAll(&x), run);
                wanted.erase(from, to);
            } else if (action < 3) {
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
