#include "kerf/core/list.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>
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
    EXPECT_TRUE(walk.toFirst() == nullptr && (walk += 3) == nullptr);
    EXPECT_FALSE(walk.atFirst() || walk.atLast());
    other.append(&b);
    walk.reset(other);
    EXPECT_TRUE((walk += 1) == &a && walk.atFirst() && !walk.atLast());
    EXPECT_TRUE(walk.toLast() == &b && walk.atLast() && !walk.atFirst());
    EXPECT_TRUE((walk += 1) == nullptr && !walk.atLast());
    const typename TypeParam::Node copy = a;
    EXPECT_EQ(copy.next, nullptr);  // copies of elements are in no list
    a = b;
    EXPECT_TRUE(other.at(0) == &a && other.at(1) == &b);
    other.clear();
    EXPECT_TRUE(TypeParam::numbers(other).empty());
}

TEST(SingleList, StrangersLeaveItIntact) {
    Single::Node a, b, stranger;
    ERIsvSlist single(&a);
    single.append(&b);
    EXPECT_EQ(single.removeReference(&stranger), nullptr);
    EXPECT_EQ(single.findLeftIsv(&stranger), nullptr);
    EXPECT_EQ(single.removeRight(&b), nullptr);
    EXPECT_EQ(single.removeRight(&a), &b);
    EXPECT_EQ(Single::numbers(single).size(), 1u);
}

TEST(ValueList, CopiesValuesAndMovesLinks) {
    ERTValDlist<std::string> list;
    for (const char* word : {"two", "extra", "three"}) list.append(word);
    list.prepend("zero");
    list.insertAt(1, "one");
    EXPECT_EQ(list.removeAt(3), "extra");
    EXPECT_EQ(*list.erase(list.begin()), "one");
    EXPECT_EQ(std::vector<std::string>(list.begin(), list.end()),
              (std::vector<std::string>{"one", "two", "three"}));
    const std::string* const first = &list.first();
    ERTValDlist<std::string> copy(list), moved(std::move(list));
    EXPECT_TRUE(&copy.first() != first && &moved.first() == first && list.isEmpty());
    list = copy;
    list = std::move(moved);
    EXPECT_EQ(&list.first(), first);
}

}  // namespace
}  // namespace kerf
