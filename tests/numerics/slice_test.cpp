#include "kerf/numerics/slice.h"

#include <utility>

#include "tests/numerics/vector_checks.h"

namespace kerf {
namespace {

using namespace test;

// Oracle: the elements that an explicit walk picks.
TEST(Slice, ViewsOfViewsAddressTheSameElementsAsAWalk) {
    std::mt19937 random(11);
    const ERVec<double> vec = counting(60);
    for (int round = 0; round < 500; ++round) {
        Values expected = listOf(vec);
        std::vector<ERSlice<double>> views{vec};  // not one: assigning to a view writes elements
        for (int depth = 0; depth < 3 && !expected.empty(); ++depth) {
            const int n = static_cast<int>(expected.size());
            const int start = static_cast<int>(random() % expected.size());
            const int stride = static_cast<int>(random() % 7) - 3;
            Values picked;
            for (int i = start; i >= 0 && i < n && picked.size() < 20; i += stride)
                picked.push_back(expected[static_cast<std::size_t>(i)]);
            expected = picked;
            const auto from = static_cast<unsigned int>(start),
                       count = static_cast<unsigned int>(picked.size());
            // These take the last two in different order.
            if (depth % 2)
                views.push_back(std::as_const(views.back()).slice(from, stride, count));
            else
                views.emplace_back(ERSlice<double>(views.back(), from, count, stride));
        }
        const ERSlice<double>& view = views.back();
        ASSERT_EQ(listOf(view), expected);
        for (unsigned int i = 0; i < view.length(); ++i) ASSERT_EQ(view(i), expected[i]);
    }
}

// Each time the parent is shared: a source in it must be read in the block to which the write
// moves.
TEST(Slice, AssignmentAscendsAndReadsWhatItWrote) {
    const ERVec<double> other = counting(6);
    ERVec<double> vec(other);
    vec.slice(0, 2, 3) = ERVec<double>(4, 9.0);
    vec.slice(1, 4, 2) = 7.0;
    ERSlice<double> view = vec.slice(2, 1, 2);
    view[0] = view(1) = 30;
    EXPECT_EQ(listOf(vec), (Values{9, 7, 30, 30, 9, 7}));
    vec = other;
    vec.slice(5, -1, 3) = other.slice(0, 1, 3);
    EXPECT_EQ(listOf(vec), (Values{0, 1, 2, 2, 1, 0}));
    vec = other;
    vec.slice(1, 1, 5) = vec.slice(0, 1, 5);
    EXPECT_EQ(listOf(vec), Values(6, 0.0));
    vec = other;
    vec.slice(0, 1, 6) = vec.reversed();
    EXPECT_EQ(listOf(vec), (Values{5, 4, 3, 3, 4, 5}));
    vec.slice(0, 1, 6) = vec[1];
    EXPECT_EQ(listOf(vec), Values(6, 4.0));
    EXPECT_EQ(listOf(other), listOf(counting(6)));
}

}  // namespace
}  // namespace kerf
