#include "kerf/core/list.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <utility>
#include <vector>

namespace kerf {
namespace {

template <class L, class I, class Link>
struct Family {
    using List = L;
    using Iterator = I;
    struct Node : Link {
        int number = 0;
    };

    // The numbers in the list as an iterator meets them, and checks of what must hold of every
    // list.
    static std::vector<int> numbers(List& list) {
        std::vector<int> forward, backward;
        Iterator walk(list);
        Link* last = nullptr;
        while (Link* const link = ++walk) {
            last = link;
            forward.push_back(static_cast<Node*>(link)->number);
        }
        if constexpr (requires { walk.backup(); }) {
            EXPECT_EQ(walk += 9, nullptr);
            while (Link* const link = walk -= 1)
                backward.insert(backward.begin(), static_cast<Node*>(link)->number);
            EXPECT_EQ(backward, forward);
        }
        EXPECT_EQ(list.last(), last);
        EXPECT_EQ(list.entries(), forward.size());
        return forward;
    }
};
using Single = Family<ERIsvSlist, ERIsvSlistIterator, ERIsvSlink>;
using Double = Family<ERIsvDlist, ERIsvDlistIterator, ERIsvDlink>;

template <class F>
class IntrusiveList : public ::testing::Test {};
using Families = ::testing::Types<Double, Single>;
TYPED_TEST_SUITE(IntrusiveList, Families);

// Oracle: a vector of numbers.
TYPED_TEST(IntrusiveList, FollowsAVectorThroughRandomOperations) {
    using Node = typename TypeParam::Node;
    typename TypeParam::List list;
    std::deque<Node> nodes;
    std::vector<int> wanted;
    std::mt19937 random(11);
    for (int step = 0; step < 3000; ++step) {
        const auto i = static_cast<unsigned int>(random() % (wanted.size() + 1));
        typename TypeParam::Iterator walk(list);
        if (random() % 8 < 5) {
            Node& node = nodes.emplace_back();
            node.number = step;
            const auto way = random() % 5;
            if (way == 0) list.prepend(&node);
            if (way == 1) list.append(&node);
            if (way == 2 || (way == 3 && i == 0)) list.insertAt(i, &node);
            if (way == 3 && i > 0) list.insertAfterLink(list.at(i - 1), &node);
            if (way == 4) walk += i, walk.insertAfterPoint(&node);
            const std::size_t at = way == 0 ? 0 : way == 1 ? wanted.size() : i;
            wanted.insert(wanted.begin() + static_cast<std::ptrdiff_t>(at), step);
        } else if (walk += i + 1; i == wanted.size()) {
            ASSERT_EQ(walk.remove(), nullptr);
        } else {
            auto* const link = list.at(i);
            ASSERT_TRUE(static_cast<Node*>(link)->number == wanted[i] &&
                        list.containsReference(link));
            const auto way = random() % 3;
            auto* const out = way == 0   ? list.removeAt(i)
                              : way == 1 ? list.removeReference(link)
                                         : walk.remove();
            ASSERT_EQ(out, link);
            ASSERT_FALSE(list.containsReference(link));
            wanted.erase(wanted.begin() + i);
            if (way == 2) {  // the iterator goes on behind what was removed
                ASSERT_EQ(walk += 1, i == wanted.size() ? nullptr : list.at(i));
            }
        }
        ASSERT_EQ(TypeParam::numbers(list), wanted);
    }
}

TYPED_TEST(IntrusiveList, IteratorsTellTheEndsFromTheElements) {
    typename TypeParam::Node a, b;
    typename TypeParam::List list, other(&a);
    typename TypeParam::Iterator walk(list);
    EXPECT_FALSE(walk.atFirst() || walk.atLast());
    other.append(&b);
    walk.reset(other);
    EXPECT_TRUE((walk += 1) == &a && walk.atFirst() && !walk.atLast());
    EXPECT_TRUE(walk.toLast() == &b && walk.atLast() && !walk.atFirst());
    EXPECT_TRUE((walk += 1) == nullptr && !walk.atLast());
    a = b;  // values alone
    EXPECT_TRUE(other.at(0) == &a && other.at(1) == &b);
}

TEST(ValueList, MovesItsLinks) {
    ERTValDlist<int> list, other;
    for (int i = 0; i < 3; ++i) list.append(i);
    const int* const first = &list.first();
    other = std::move(list);
    EXPECT_TRUE(&other.first() == first && list.isEmpty());
    EXPECT_EQ(std::vector<int>(other.begin(), other.end()), (std::vector<int>{0, 1, 2}));
}

}  // namespace
}  // namespace kerf
