#include "kerf/numerics/slice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <sstream>
#include <vector>

#include "kerf/numerics/vector.h"

namespace kerf {
namespace {

ERVec<double> counting(unsigned n) {
    ERVec<double> vec(n);
    std::iota(vec.begin(), vec.end(), 0.0);
    return vec;
}

template <class Range>
std::vector<double> listOf(const Range& range) {
    return std::vector<double>(range.begin(), range.end());
}

TEST(Slice, ConstructorAndSliceTakeTheLastTwoInDifferentOrder) {
    const ERVec<double> vec = counting(10);
    const ERSlice<double> constructed(vec, 1, 4, 2);
    EXPECT_EQ(listOf(constructed), (std::vector<double>{1, 3, 5, 7}));
    EXPECT_EQ(listOf(vec.slice(1, 2, 4)), (std::vector<double>{1, 3, 5, 7}));
    EXPECT_EQ(listOf(ERSlice<double>(constructed, 3, 2, -1)), (std::vector<double>{7, 5}));
    EXPECT_EQ(listOf(constructed.slice(3, -1, 2)), (std::vector<double>{7, 5}));
    EXPECT_EQ(listOf(ERSlice<double>(vec)), listOf(vec));
}

// Oracle: the elements that an explicit walk picks.
TEST(Slice, ViewsOfViewsAddressTheSameElementsAsAWalk) {
    std::mt19937 random(11);
    const ERVec<double> vec = counting(60);
    for (int round = 0; round < 500; ++round) {
        std::vector<double> expected = listOf(vec);
        std::vector<ERSlice<double>> views{vec};  // not one: assigning to a view writes elements
        for (int depth = 0; depth < 3 && !expected.empty(); ++depth) {
            const int n = static_cast<int>(expected.size());
            const int start = static_cast<int>(random() % expected.size());
            const int stride = static_cast<int>(random() % 7) - 3;
            std::vector<double> picked;
            for (int i = start; i >= 0 && i < n && picked.size() < 20; i += stride)
                picked.push_back(expected[static_cast<std::size_t>(i)]);
            expected = picked;
            views.push_back(views.back().slice(static_cast<unsigned>(start), stride,
                                               static_cast<unsigned>(picked.size())));
        }
        const ERSlice<double>& view = views.back();
        ASSERT_EQ(listOf(view), expected);
        for (unsigned i = 0; i < view.length(); ++i) {
            ASSERT_EQ(view[i], expected[i]);
            ASSERT_EQ(view(i), expected[i]);
        }
    }
}

TEST(Slice, WritingTakesTheParentOutOfSharing) {
    ERVec<double> a = counting(4);
    const ERVec<double> b(a);
    ERSlice<double> view = a.slice(1, 2, 2);
    view[0] = 10;
    view(1) = 30;
    EXPECT_EQ(view[0], 10) << "the view follows its parent to the new block";
    EXPECT_EQ(listOf(a), (std::vector<double>{0, 10, 2, 30}));
    EXPECT_EQ(listOf(b), (std::vector<double>{0, 1, 2, 3}));
}

TEST(Slice, AssignmentCopiesOverTheTargetsLength) {
    ERVec<double> target = counting(6);
    const ERVec<double> other(target);
    const ERVec<double> source(4, 9.0);
    target.slice(0, 2, 3) = source;
    EXPECT_EQ(listOf(target), (std::vector<double>{9, 1, 9, 3, 9, 5}));
    target.slice(5, -1, 3) = other.slice(0, 1, 3);
    EXPECT_EQ(listOf(target), (std::vector<double>{9, 1, 9, 2, 1, 0}));
    target.slice(1, 4, 2) = 7.0;
    EXPECT_EQ(listOf(target), (std::vector<double>{9, 7, 9, 2, 1, 7}));
    target.slice(0, 1, 6) = target[3];
    EXPECT_EQ(listOf(target), std::vector<double>(6, 2.0));
    EXPECT_EQ(listOf(other), listOf(counting(6)));
}

// A shared parent: the source must be read in the block to which the write has moved.
TEST(Slice, AssignmentWithinAVectorAscendsAndReadsWhatItWrote) {
    ERVec<double> vec = counting(5);
    const ERVec<double> other(vec);
    vec.slice(1, 1, 4) = vec.slice(0, 1, 4);
    EXPECT_EQ(listOf(vec), std::vector<double>(5, 0.0));
    vec = other;
    vec.slice(0, 1, 4) = vec.slice(1, 1, 4);
    EXPECT_EQ(listOf(vec), (std::vector<double>{1, 2, 3, 4, 4}));
    vec = other;
    vec.slice(0, 1, 5) = vec.reversed();
    EXPECT_EQ(listOf(vec), (std::vector<double>{4, 3, 2, 3, 4}));
}

}  // namespace
}  // namespace kerf
