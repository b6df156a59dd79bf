#include "kerf/numerics/vector.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <list>
#include <ranges>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "kerf/numerics/matrix_impl.h"
#include "kerf/numerics/vector_impl.h"
#include "tests/numerics/vector_checks.h"

namespace kerf::test {

// An element without arithmetic, equality or printing, of a size that does not divide the blocks.
struct Plain {
    int a, b, c;
};

}  // namespace kerf::test

KERF_INSTANTIATE_VECTOR(kerf::test::Plain)
KERF_INSTANTIATE_SIMPLE_GRID(kerf::test::Plain)
KERF_INSTANTIATE_MATRIX(kerf::test::Plain)

namespace kerf {
namespace {

using namespace test;

TEST(Vec, OutlivesTheDataOfItsThread) {
    struct Holder {
        ERVec<double> held;
        ~Holder() { held = ERVec<double>(200, 1.0); }
    };
    std::thread([] {
        thread_local Holder holder;  // built before the thread has data, destroyed after it
        holder.held = ERVec<double>(100, 2.0);
    }).join();
}

// Several vectors that share blocks with one another all the time, given elements and parts of
// others or of themselves. Oracle: lists that never share.
TEST(Vec, RandomEditsOfSharedVectorsStayApart) {
    const unsigned int seed = 20240502;
    std::mt19937 random(seed);
    const auto upTo = [&](std::size_t n) { return static_cast<unsigned int>(random() % (n + 1)); };
    std::vector<ERVec<double>> vecs(5);
    std::vector<Values> lists(5);
    for (int step = 0; step < 8000; ++step) {
        const unsigned int k = upTo(4);
        ERVec<double>& vec = vecs[k];
        Values& list = lists[k];
        const unsigned int n = vec.length(), pos = upTo(n), size = upTo(40);
        const unsigned int count = upTo(std::min(n - pos, 12u));

        ERVec<double>& other = vecs[upTo(4)];
        const Values all = listOf(std::as_const(other)), backwards(all.rbegin(), all.rend());
        const unsigned int from = upTo(all.size()), taken = upTo(all.size() - from);
        const Values part(all.begin() + from, all.begin() + from + taken);
        const double fresh = step;
        const double& value = from < all.size() ? std::as_const(other)[from] : fresh;
        const double copy = value;

        const auto put = [&](unsigned int at, unsigned int removed, const Values& inserted) {
            const auto after = list.erase(list.begin() + at, list.begin() + at + removed);
            list.insert(after, inserted.begin(), inserted.end());
        };
        const unsigned int one = pos < n ? 1 : 0;
        const struct {
            std::function<void()> ofVector, ofList;
        } edits[] = {
            {[&] { vec = other; }, [&] { list = all; }},
            {[&] { vec = value; }, [&] { list.assign(n, copy); }},
            {[&] { vec.append(other.reversed()); }, [&] { put(n, 0, backwards); }},
            {[&] { vec.insertAt(pos, value, count); }, [&] { put(pos, 0, Values(count, copy)); }},
            {[&] { vec.insertAt(other.reversed(), pos); }, [&] { put(pos, 0, backwards); }},
            {[&] { vec.insertAt(other.slice(from, 1, taken), pos); }, [&] { put(pos, 0, part); }},
            {[&] { vec.replace(pos, count, other); }, [&] { put(pos, count, all); }},
            {[&] { vec.replace(pos, count, std::as_const(other).data() + from, taken); },
             [&] { put(pos, count, part); }},
            {[&] { vec.replace(pos, count, value, 3); }, [&] { put(pos, count, Values(3, copy)); }},
            {[&] { vec.remove(pos, 15); }, [&] { put(pos, std::min(15u, n - pos), {}); }},
            {[&] { vec.removeLast(count); }, [&] { put(n - count, count, {}); }},
            {[&] { vec.slice(pos, 1, one) = -1.0; }, [&] { put(pos, one, Values(one, -1)); }},
            {[&] { vec.resize(size, value); }, [&] { list.resize(size, copy); }},
            {[&] { vec.reverse(); }, [&] { std::reverse(list.begin(), list.end()); }},
            {[&] { vec.clear(); }, [&] { list.clear(); }},
        };
        const std::size_t last = std::size(edits) - 1;
        const std::size_t edit = n > 200 ? last : upTo(last);
        edits[edit].ofVector();
        edits[edit].ofList();
        for (unsigned int i = 0; i < vecs.size(); ++i)
            ASSERT_EQ(listOf(std::as_const(vecs[i])), lists[i])
                << "vector " << i << " after edit " << edit << " in step " << step << ", seed "
                << seed;
    }
}

TEST(Vec, IsMadeOfAListOrARange) {
    const ERVec<double> listed{1, 2.5, 3};
    EXPECT_EQ(listed.length(), 3u);
    EXPECT_EQ(ERVec<double>{3}.length(), 1u);
    EXPECT_EQ(ERVec<double>(3).length(), 3u);
    EXPECT_TRUE(ERVec<double>(std::vector<float>{1, 2.5f, 3}) == listed);
    EXPECT_TRUE(ERVec<double>(std::list<double>{1, 2.5, 3}) == listed);
    // A range that can be read once, and whose length nobody knows.
    struct Numbers {
        std::istream_iterator<double> begin() const { return std::istream_iterator<double>(text); }
        std::istream_iterator<double> end() const { return {}; }
        std::istream& text;
    };
    std::istringstream numbers("1 2.5 3");
    EXPECT_TRUE(ERVec<double>(Numbers{numbers}) == listed);
    EXPECT_EQ(ERVec<double>(ERVec<double>(listed)).block(), listed.block());  // a copy shares
    ERVec<double> assigned(5);
    assigned = {4};
    EXPECT_EQ(assigned.length(), 1u);
}

TEST(Vec, SearchAndEqualityAreExact) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const ERVec<double> vec = vecOf({1, 0.1 + 0.2, 1, nan, -0.0});
    EXPECT_EQ(vec.findLast(1.0), 2u);
    EXPECT_EQ(vec.findFirst(0.3), 0xFFFFFFFFu);
    EXPECT_EQ(vec.findFirst(nan), 0xFFFFFFFFu);
    EXPECT_EQ(vec.findFirst(0.0), 4u);

    ERVec<double> copy(vec);
    EXPECT_TRUE(copy == vec) << "sharing makes equal whatever the elements";
    copy.cow();
    EXPECT_FALSE(copy == vec);
}

// The other owner of the block tells whether the write moved away from it first.
TEST(Slice, AnOverlappingAssignmentReadsWhatItWrote) {
    const ERVec<double> other = counting(6);
    ERVec<double> vec(other);
    vec.slice(1, 1, 5) = vec.slice(0, 1, 5);
    EXPECT_EQ(listOf(vec), Values(6, 0.0));
    EXPECT_EQ(listOf(other), listOf(counting(6)));
}

TEST(Slice, ACopyOfAConstViewWritesTheVector) {
    ERVec<double> vec = counting(3);
    ERSlice<double> copy = std::as_const(vec).slice(1, 1, 2);
    copy = 5.0;
    EXPECT_EQ(listOf(vec), (Values{0, 5, 5}));
}

TEST(Slice, TakesLengthAndStrideInEitherOrder) {
    const ERVec<double> vec = counting(9);
    EXPECT_EQ(listOf(ERSlice<double>(vec, 7, 2, -3)), (Values{7, 4}));
    EXPECT_EQ(listOf(vec.slice(7, -3, 2)), (Values{7, 4}));
}

TEST(VecGrid, AddressesRowByRow) {
    ERSimpleVec2<Plain> grid(2, 3);
    grid(1, 2).a = 5;
    grid.setSize(3, 4);
    EXPECT_EQ(grid(1, 1).a, 5);
    EXPECT_EQ(grid(2, 3).a, 0);
    grid.setSize(1, 2);
    EXPECT_EQ(grid.length(), 2u);
}

}  // namespace
}  // namespace kerf
