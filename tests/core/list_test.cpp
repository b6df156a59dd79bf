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
        Iterator position(list);
        Link* last = nullptr;
        while (Link* const link = ++position) {
            last = link;
            forward.push_back(static_cast<Node*>(link)->number);
        }
        if constexpr (requires { position.backup(); }) {
            EXPECT_EQ(position += 9, nullptr);
            while (Link* const link = position -= 1)
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
        typename TypeParam::Iterator position(list);
        if (random() % 8 < 5) {
            Node& node = nodes.emplace_back();
            node.number = step;
            const auto action = random() % 5;
            if (action == 0) list.prepend(&node);
            if (action == 1) list.append(&node);
            if (action == 2 || (action == 3 && i == 0)) list.insertAt(i, &node);
            if (action == 3 && i > 0) list.insertAfterLink(list.at(i - 1), &node);
            if (action == 4) position += i, position.insertAfterPoint(&node);
            const std::size_t at = action == 0 ? 0 : action == 1 ? wanted.size() : i;
            wanted.insert(wanted.begin() + static_cast<std::ptrdiff_t>(at), step);
        } else if (position += i + 1; i == wanted.size()) {
            ASSERT_EQ(position.remove(), nullptr);
        } else {
            auto* const link = list.at(i);
            ASSERT_EQ(static_cast<Node*>(link)->number, wanted[i]);
            ASSERT_TRUE(list.containsReference(link));
            const auto action = random() % 3;
            auto* const out = action == 0   ? list.removeAt(i)
                              : action == 1 ? list.removeReference(link)
                                            : position.remove();
            ASSERT_EQ(out, link);
            ASSERT_FALSE(list.containsReference(link));
            wanted.erase(wanted.begin() + i);
            if (action == 2) {  // the iterator goes on after what was removed
                ASSERT_EQ(position += 1, i == wanted.size() ? nullptr : list.at(i));
            }
        }
        ASSERT_EQ(TypeParam::numbers(list), wanted);
    }
}

TYPED_TEST(IntrusiveList, IteratorsTellTheEndsFromTheElements) {
    typename TypeParam::Node a, b;
    typename TypeParam::List list, other(&a);
    typename TypeParam::Iterator position(list);
    EXPECT_FALSE(position.atFirst() || position.atLast());
    other.append(&b);
    position.reset(other);
    EXPECT_EQ(position += 1, &a);
    EXPECT_EQ(position.atFirst(), 1);
    EXPECT_EQ(position.atLast(), 0);
    EXPECT_EQ(position.toLast(), &b);
    EXPECT_EQ(position.atFirst(), 0);
    EXPECT_EQ(position.atLast(), 1);
    EXPECT_EQ(position += 1, nullptr);
    EXPECT_EQ(position.atLast(), 0);
    a = b;  // the links stay
    EXPECT_EQ(other.at(0), &a);
    EXPECT_EQ(other.at(1), &b);
}

TYPED_TEST(IntrusiveList, InsertsAtTheEndFromPastTheLast) {
    typename TypeParam::Node a, b;
    typename TypeParam::List list(&a);
    typename TypeParam::Iterator position(list);
    position += 5;
    position.insertAfterPoint(&b);
    EXPECT_EQ(list.last(), &b);
    EXPECT_EQ(TypeParam::numbers(list).size(), 2u);
}

TEST(ValueList, MovesItsLinks) {
    ERTValDlist<int> list, other;
    for (int i = 0; i < 3; ++i) list.append(i);
    const int* const first = &list.first();
    other = std::move(list);
    EXPECT_EQ(&other.first(), first);
    EXPECT_EQ(list.isEmpty(), 1);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(std::vector<int>(other.begin(), other.end()), (std::vector<int>{0, 1, 2}));
    list.append(7);
    list.appendAll(other);
    list.appendAll(list);
    list.append(8);
    EXPECT_EQ(&list.at(1), first);
    EXPECT_EQ(other.isEmpty(), 1);
    EXPECT_EQ(std::vector<int>(list.begin(), list.end()), (std::vector<int>{7, 0, 1, 2, 8}));
}

}  // namespace
}  // namespace kerf
