#include "kerf/numerics/vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <sstream>
#include <thread>
#include <type_traits>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/core/thread_data.h"
#include "kerf/numerics/matrix_impl.h"
#include "kerf/numerics/vector_impl.h"
#include "tests/support/temporary_file.h"

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

using test::Plain;
using test::TemporaryFile;

std::vector<double> listOf(const ERVec<double>& vec) {
    return std::vector<double>(vec.begin(), vec.end());
}

ERVec<double> vecOf(const std::vector<double>& values) {
    return ERVec<double>(values.data(), static_cast<unsigned>(values.size()));
}

ERVec<double> counting(unsigned n) {
    ERVec<double> vec(n);
    for (unsigned i = 0; i < n; ++i) vec[i] = i;
    return vec;
}

TEST(Vec, EveryOperationWorksOnAnEmptyVector) {
    ERVec<double> vec;
    vec.troncat(0);
    vec.removeLast(0);
    vec.remove(0, 5);
    vec.clear();
    vec.reverse();
    vec = 3.0;
    vec.reversed() = 3.0;
    vec.polyInsert(0, 1, 2);
    vec.polyRemove(0, 1, 2);
    vec.append(vec);
    vec.cow();
    EXPECT_EQ(vec.reversed().length(), 0u);
    EXPECT_EQ(vec.reversed().base(), 0xFFFFFFFFu);
    EXPECT_EQ(ERVec<double>(vec.reversed()).length(), 0u);
    EXPECT_EQ(vec.begin(), vec.end());
    EXPECT_EQ(vec.findFirst(0.0), 0xFFFFFFFFu);
    EXPECT_EQ(vec.findLast(0.0), 0xFFFFFFFFu);
    vec.append(2.0);
    EXPECT_EQ(listOf(vec), std::vector<double>{2.0});
    EXPECT_EQ(ERVecRep::empty()->length, 0u);
}

TEST(Vec, CopiesShareUntilTheFirstWrite) {
    ERVec<double> a(3, 1.0);
    ERVec<double> b(a);
    ERVec<double> c;
    c = b;
    EXPECT_EQ(a.block()->referenceCount, 2);
    a.cow();
    EXPECT_EQ(b.block()->referenceCount, 1);

    const ERVec<double>& constB = b;
    EXPECT_EQ(constB[1], 1.0);
    EXPECT_EQ(b.block(), c.block()) << "a const access must not copy";
    b[1] = 7;
    EXPECT_EQ(listOf(b), (std::vector<double>{1, 7, 1}));
    EXPECT_EQ(listOf(c), (std::vector<double>{1, 1, 1}));

    const double* const before = c.data();
    c = *&c;
    EXPECT_EQ(static_cast<const ERVec<double>&>(c).data(), before);
    c.last() = 4;
    EXPECT_EQ(listOf(c), (std::vector<double>{1, 1, 4}));
}

TEST(Vec, GrowsInStepsOf64Bytes) {
    ERVec<double> vec(8);
    EXPECT_EQ(vec.block()->capacity, 64u);
    vec.append(1.0);
    EXPECT_EQ(vec.block()->capacity, 128u);
    vec.append(1.0, 7);
    EXPECT_EQ(vec.block()->capacity, 128u);
    vec.append(1.0);
    EXPECT_EQ(vec.block()->capacity, 192u) << "growth is by addition, not by doubling";
}

TEST(Vec, ClearLeavesOtherOwnersTheirElements) {
    ERVec<double> a = counting(4);
    const ERVec<double> b(a);
    a.clear();
    EXPECT_EQ(a.length(), 0u);
    EXPECT_EQ(listOf(b), listOf(counting(4)));
    ERVec<double> c = counting(40);
    c.clear();
    EXPECT_EQ(c.capacity(), 40u);
}

TEST(Vec, ElementsOfTheVectorItselfMayBeInserted) {
    ERVec<double> vec = counting(8);  // full: each of these moves the elements
    vec.append(vec[3], 2);
    EXPECT_EQ(listOf(vec), (std::vector<double>{0, 1, 2, 3, 4, 5, 6, 7, 3, 3}));
    vec.append(vec.slice(0, 4, 3));
    EXPECT_EQ(listOf(vec), (std::vector<double>{0, 1, 2, 3, 4, 5, 6, 7, 3, 3, 0, 4, 3}));
    vec = counting(4);
    vec.insertAt(1, vec[2], 3);
    EXPECT_EQ(listOf(vec), (std::vector<double>{0, 2, 2, 2, 1, 2, 3}));
    vec = counting(4);
    vec.insertAt(vec.reversed(), 1);
    EXPECT_EQ(listOf(vec), (std::vector<double>{0, 3, 2, 1, 0, 1, 2, 3}));
    vec = counting(4);
    vec.insertAt(vec.slice(1, 1, 2), 0);
    EXPECT_EQ(listOf(vec), (std::vector<double>{1, 2, 0, 1, 2, 3}));
    vec = counting(3);
    vec.replace(1, 1, vec);
    EXPECT_EQ(listOf(vec), (std::vector<double>{0, 0, 1, 2, 2}));
    vec = counting(3);
    vec.replace(0, 2, static_cast<const ERVec<double>&>(vec).data() + 1, 2);
    EXPECT_EQ(listOf(vec), (std::vector<double>{1, 2, 2}));
    vec = vec[1];
    EXPECT_EQ(listOf(vec), (std::vector<double>{2, 2, 2}));
    vec.resize(9, vec[0]);
    EXPECT_EQ(listOf(vec), std::vector<double>(9, 2.0));
}

// Several vectors that share blocks with one another all the time. Oracle: vectors that never
// share.
TEST(Vec, RandomEditsOfSharedVectorsStayApart) {
    std::mt19937 random(20240502);
    const auto upTo = [&](std::size_t n) { return static_cast<unsigned>(random() % (n + 1)); };
    std::vector<ERVec<double>> vecs(5);
    std::vector<std::vector<double>> lists(5);
    for (int step = 0; step < 6000; ++step) {
        const unsigned k = upTo(4);
        const unsigned other = upTo(4);
        ERVec<double>& vec = vecs[k];
        std::vector<double>& list = lists[k];
        const unsigned n = vec.length();
        const unsigned pos = upTo(n);
        const unsigned count = upTo(std::min<std::size_t>(n - pos, 12));
        const auto at = list.begin() + pos;
        const std::vector<double> copied = lists[other];
        const std::vector<double> backwards(copied.rbegin(), copied.rend());
        switch (upTo(14)) {
            case 0:
                vec = vecs[other];
                list = copied;
                break;
            case 1:
                if (pos < n) vec[pos] = list[pos] = step;
                break;
            case 2:
                vec.append(step, count);
                list.insert(list.end(), count, step);
                break;
            case 3:
                vec.insertAt(pos, step, count);
                list.insert(at, count, step);
                break;
            case 4:
                vec.append(vecs[other].reversed());
                list.insert(list.end(), backwards.begin(), backwards.end());
                break;
            case 5:
                vec.insertAt(vecs[other].reversed(), pos);
                list.insert(at, backwards.begin(), backwards.end());
                break;
            case 6:
                vec.replace(pos, count, vecs[other]);
                list.insert(list.erase(at, at + count), copied.begin(), copied.end());
                break;
            case 7:
                vec.replace(pos, count, step, 3);
                list.insert(list.erase(at, at + count), 3, step);
                break;
            case 8:
                vec.remove(pos, 15);
                list.erase(at, at + std::min(15u, n - pos));
                break;
            case 9:
                vec.removeFirst(count);
                list.erase(list.begin(), list.begin() + count);
                break;
            case 10:
                vec.removeLast(count);
                list.resize(n - count);
                break;
            case 11:
                vec.resize(upTo(40), step);
                list.resize(vec.length(), step);
                break;
            case 12:
                vec.reverse();
                std::reverse(list.begin(), list.end());
                break;
            case 13:
                if (pos == n) break;
                ASSERT_EQ(vec.removeAt(pos), *at);
                list.erase(at);
                break;
            case 14:
                if (n > 200) vec.clear(), list.clear();
                break;
        }
        for (unsigned i = 0; i < vecs.size(); ++i)
            ASSERT_EQ(listOf(vecs[i]), lists[i]) << "vector " << i << " after step " << step;
    }
}

TEST(Vec, SearchAndEqualityAreExact) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const ERVec<double> vec = vecOf({1, 0.1 + 0.2, 1, nan, -0.0});
    EXPECT_EQ(vec.findFirst(1.0), 0u);
    EXPECT_EQ(vec.findLast(1.0), 2u);
    EXPECT_EQ(vec.findFirst(0.3), 0xFFFFFFFFu);
    EXPECT_EQ(vec.findFirst(nan), 0xFFFFFFFFu);
    EXPECT_EQ(vec.findFirst(0.0), 4u);
    EXPECT_TRUE(vecOf({1, 2}) == vecOf({1, 2}));
    EXPECT_TRUE(vecOf({1, 2}) != vecOf({1, 2, 3}));
    EXPECT_FALSE(vecOf({0.3}) == vecOf({0.1 + 0.2}));
}

TEST(Vec, SharingMakesEqualWhateverTheElements) {
    ERVec<double> vec(2, std::numeric_limits<double>::quiet_NaN());
    const ERVec<double> copy(vec);
    EXPECT_TRUE(vec == copy);
    vec.cow();
    EXPECT_FALSE(vec == copy);
}

TEST(Vec, PrintsLengthAndElements) {
    std::ostringstream os;
    os << vecOf({1, 2.5, -3}) << ERVec<double>();
    EXPECT_EQ(os.str(), "(3)[1,2.5,-3]\n(0)[]\n");
}

TEST(Vec, SmallVectorsDoNotReachTheHeap) {
    ERVecRepCache& cache = *threadData().blockCache();
    const auto work = [] {
        ERVec<double> vec(4);
        for (int i = 0; i < 50; ++i) vec.append(i);
        ERVec<double> copy(vec);
        copy[0] = 1;
        return ERVec<double>(copy.reversed());
    };
    work();
    const unsigned misses = cache.misses();
    for (int i = 0; i < 100; ++i) work();
    EXPECT_EQ(cache.misses(), misses);
}

TEST(VecFile, IsRestoredAsItWasStored) {
    const TemporaryFile temporary;
    const ERVec<double> vec = vecOf({1, -2.5, 1e300});
    {
        ERFile file(temporary.path(), ERFile::modeCreate | ERFile::modeReadWrite);
        vec.saveGuts(file);
        ERVec<double>().saveGuts(file);
    }
    EXPECT_EQ(vec.binaryStoreSize(), 28u);
    EXPECT_EQ(temporary.bytes().size(), 32u);
    ERFile file(temporary.path(), ERFile::modeRead);
    ERVec<double> restored(5, 1.0);
    const ERVec<double> shared(restored);
    restored.restoreGuts(file);
    EXPECT_TRUE(restored == vec);
    restored.restoreGuts(file);
    EXPECT_EQ(restored.length(), 0u);
    EXPECT_EQ(listOf(shared), std::vector<double>(5, 1.0));
}

TEST(VecFile, BytesBehindTheLastWholeElementAreDropped) {
    const TemporaryFile temporary;
    temporary.setBytes(std::string("\x0D\0\0\0", 4) + std::string(13, '\0'));
    ERFile file(temporary.path(), ERFile::modeRead);
    ERVec<double> vec;
    vec.restoreGuts(file);
    EXPECT_EQ(vec.block()->length, 8u);
    vec.append(1.0);
    EXPECT_EQ(listOf(vec), (std::vector<double>{0, 1}));
}

TEST(VecGrid, AddressesRowByRow) {
    ERSimpleVec2<Plain> grid(2, 3);
    EXPECT_EQ(grid.rows(), 2u);
    EXPECT_EQ(grid.cols(), 3u);
    grid(1, 2).a = 5;
    EXPECT_EQ(grid[5].a, 5);
    ERSimpleVec2<Plain> larger(grid);
    larger.setSize(3, 4);
    EXPECT_EQ(larger.length(), 12u);
    EXPECT_EQ(larger(1, 1).a, 5);
    EXPECT_EQ(larger(2, 3).a, 0);
    larger.setSize(1, 2);
    EXPECT_EQ(larger.length(), 2u);
    EXPECT_EQ(grid(1, 2).a, 5);
}

}  // namespace
}  // namespace kerf
