#include "kerf/core/pointer_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/value_vector.h"

namespace kerf {
namespace {

struct Keyed {
    double key = 0;
    int arrival = 0;

    bool operator<(const Keyed& other) const { return key < other.key; }
};

TEST(PointerVector, ReshapesAndResizes) {
    int a = 0;
    ERPtrVector v(3, &a);
    v.resize(6);
    for (unsigned int i = 0; i < 6; ++i) EXPECT_EQ(v[i], i < 3 ? &a : nullptr);
    v.reshape(2);
    EXPECT_EQ(v.length(), 2u);
    EXPECT_EQ(v[1], &a);
    v.resize(0);
    EXPECT_EQ(v.data(), nullptr);
    v.resize(2);
    EXPECT_EQ(v[0], nullptr);
    v = &a;
    EXPECT_EQ(v[1], &a);
}

TEST(PointerVector, CopiesItsArray) {
    int a = 0, b = 0;
    ERPtrVector v(3, &a);
    ERPtrVector copy(v);
    copy[0] = &b;
    EXPECT_EQ(v[0], &a);
    v = copy;
    EXPECT_EQ(v[0], &b);
    EXPECT_NE(v.data(), copy.data());
    void** const array = v.data();
    const ERPtrVector& itself = v;
    v = itself;
    EXPECT_EQ(v.data(), array);
    v = ERPtrVector();
    EXPECT_EQ(v.length(), 0u);
}

TEST(PointerVector, TheTypedOneKeepsItsType) {
    Keyed a{1, 0};
    const Keyed b{2, 0};
    ERTPtrVector<const Keyed> v(2, &a);
    v[1] = &b;
    EXPECT_EQ(v[1]->key, 2);
    v[0] = v[1];
    const Keyed* const read = v[0];
    EXPECT_EQ(read, &b);
    double total = 0;
    for (const Keyed* element : v) total += element->key;
    EXPECT_EQ(total, 4);
    v = nullptr;
    EXPECT_EQ(v[1], nullptr);
}

// Oracle: std::vector.
TEST(OrderedVectors, FollowAStandardVector) {
    std::vector<int> pool(1000);
    ERTPtrOrderedVector<int> pointers;
    ERTValOrderedVector<std::string> values(3);
    std::vector<int*> wanted;
    std::mt19937 random(31);
    const auto text = [&](const int* p) { return std::to_string(p - pool.data()); };
    for (int step = 0; step < 4000; ++step) {
        const auto i = static_cast<unsigned int>(random() % (wanted.size() + 1));
        const auto place = wanted.begin() + i;
        if (random() % 100 < (step < 2000 ? 65u : 35u)) {
            int* const p = &pool[random() % pool.size()];
            pointers.insertAt(i, p);
            values.insertAt(i, text(p));
            wanted.insert(place, p);
        } else if (i < wanted.size()) {
            ASSERT_EQ(pointers.removeAt(i), *place);
            ASSERT_EQ(values.removeAt(i), text(*place));
            wanted.erase(place);
        }
        ASSERT_EQ(pointers.entries(), wanted.size());
        ASSERT_EQ(values.entries(), wanted.size());
        ASSERT_EQ(pointers.capacity() % 64, 0u);
        ASSERT_TRUE(std::equal(wanted.begin(), wanted.end(), pointers.begin()));
        for (unsigned int k = 0; k < wanted.size(); k += 5) ASSERT_EQ(values[k], text(wanted[k]));
    }
    ERTPtrOrderedVector<int> copy(pointers);
    pointers.clear();
    EXPECT_TRUE(pointers.isEmpty());
    EXPECT_EQ(copy.entries(), wanted.size());
    ERTValOrderedVector<std::string> moved(std::move(values));
    EXPECT_EQ(moved.entries(), wanted.size());
    EXPECT_EQ(values.entries(), 0u);
    values.append("first");
    EXPECT_EQ(values.last(), "first");
}

TEST(OrderedVectors, GrowBySixtyFour) {
    ERTPtrOrderedVector<int> v(10);
    for (int i = 0; i < 10; ++i) v.append(nullptr);
    EXPECT_EQ(v.capacity(), 10u);
    v.append(nullptr);
    EXPECT_EQ(v.capacity(), 74u);
}

TEST(OrderedVectors, LetGoOfWhatIsRemoved) {
    const auto shared = std::make_shared<int>(1);
    ERTValOrderedVector<std::shared_ptr<int>> v;
    v.append(shared);
    v.append(shared);
    v.removeAt(0);
    EXPECT_EQ(shared.use_count(), 2);
    v.clear();
    EXPECT_EQ(shared.use_count(), 1);
    v.append(shared);
    v.insertAt(0, v[0]);
    EXPECT_EQ(v.first(), v.last());
}

// Oracle: std::multimap, which keeps the order of arrival of equal keys.
TEST(SortedVector, FollowsAMultimap) {
    for (const unsigned int keys : {1u, 5u, 300u}) {
        SCOPED_TRACE(keys);
        std::vector<Keyed> pool(3000);
        ERTPtrSortedVector<Keyed> sorted(10);
        std::multimap<double, Keyed*> wanted;
        std::mt19937 random(keys);
        for (int step = 0; step < 3000; ++step) {
            Keyed& x = pool[static_cast<std::size_t>(step)];
            x = {static_cast<double>(random() % keys), step};
            const auto [from, to] = wanted.equal_range(x.key);
            const auto first = static_cast<unsigned int>(std::distance(wanted.begin(), from));
            const auto run = static_cast<unsigned int>(std::distance(from, to));
            ASSERT_EQ(sorted.index(&x), run == 0 ? ~0u : first);
            ASSERT_EQ(sorted.occurrencesOf(&x), run);
            switch (random() % 10) {
                case 0:
                    ASSERT_EQ(sorted.removeAll(&x), run);
                    wanted.erase(from, to);
                    break;
                case 1:
                case 2:
                    ASSERT_EQ(sorted.remove(&x), run == 0 ? nullptr : from->second);
                    if (run != 0) wanted.erase(from);
                    break;
                default:
                    sorted.insert(&x);
                    wanted.emplace(x.key, &x);
            }
            ASSERT_EQ(sorted.entries(), wanted.size());
            unsigned int i = 0;
            for (const auto& entry : wanted) ASSERT_EQ(sorted[i++], entry.second);
        }
    }
}

TEST(ValueVector, ReshapesCopiesAndPrints) {
    ERTValVector<double> v(2, 1.5);
    v.reshape(4);
    std::ostringstream text;
    v.printOn(text);
    EXPECT_EQ(text.str(), "[1.5 1.5 0 0]");
    ERTValVector<double> copy(v);
    copy[0] = 7;
    EXPECT_EQ(v[0], 1.5);
    v = copy;
    EXPECT_EQ(v[0], 7);
    const ERTValVector<double>& itself = v;
    v = itself;
    EXPECT_EQ(v.entries(), 4u);
    double total = 0;
    for (const double x : v) total += x;
    EXPECT_EQ(total, 8.5);
    const ERTValVector<double> moved(std::move(v));
    EXPECT_EQ(moved.entries(), 4u);
}

struct Blob {
    char text[5] = "----";
    double large[100] = {};

    void saveGuts(ERFile& file) const { file.Write(text, 4); }
    void restoreGuts(ERFile& file) { file.Read(text, 4); }
    ERULong binaryStoreSize() const { return 4; }
    void printOn(std::ostream& os) const { os << text; }
};

enum class Colour : short { red = 1, blue = -2 };

class VectorInAFile : public ::testing::Test {
protected:
    void SetUp() override {
        path = std::filesystem::temp_directory_path() /
               ("kerf_vector_" +
                std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        file.Open(path.string().c_str(), CFile::modeCreate | CFile::modeReadWrite);
    }
    void TearDown() override {
        file.Close();
        std::filesystem::remove(path);
    }

    template <class Vector>
    void expectRoundTrip(const Vector& v, Vector read) {
        file.SeekTo(0);
        v.saveGuts(file);
        EXPECT_EQ(static_cast<ERULong>(file.CurOffset()), v.binaryStoreSize());
        file.SeekTo(0);
        read.restoreGuts(file);
        EXPECT_EQ(static_cast<ERULong>(file.CurOffset()), v.binaryStoreSize());
        std::ostringstream wanted, got;
        v.printOn(wanted);
        read.printOn(got);
        EXPECT_EQ(got.str(), wanted.str());
        EXPECT_EQ(read.entries(), v.entries());
    }

    std::filesystem::path path;
    ERFile file;
};

TEST_F(VectorInAFile, ComesBack) {
    expectRoundTrip(ERTValVector<double>(3, -0.5), ERTValVector<double>(7));
    expectRoundTrip(ERTValVector<double>(), ERTValVector<double>(7));
    expectRoundTrip(ERTValVector<bool>(9, true), ERTValVector<bool>());
    expectRoundTrip(ERTValVector<float>(2, 0.25f), ERTValVector<float>(2));
    expectRoundTrip(ERTValVector<Blob>(5000), ERTValVector<Blob>());
    ERTValVector<std::int64_t> wide(2, -5000000000);
    expectRoundTrip(wide, ERTValVector<std::int64_t>());
    ERTValOrderedVector<int> ordered(100);
    ordered.append(3);
    ordered.append(4);
    EXPECT_EQ(ordered.binaryStoreSize(), 12u);
    expectRoundTrip(ordered, ERTValOrderedVector<int>(5));

    file.SeekTo(0);
    ERTValVector<Colour>(1, Colour::blue).saveGuts(file);
    EXPECT_EQ(file.CurOffset(), 6);
    file.SeekTo(0);
    ERTValVector<Colour> colours;
    colours.restoreGuts(file);
    EXPECT_EQ(colours[0], Colour::blue);
}

TEST_F(VectorInAFile, DamagedCountsReadAsNothingOrWhatIsThere) {
    for (const int count : {-1, 3, 0x7FFFFFFF}) {
        file.SeekTo(0);
        file.Write(count);
        file.Write(1.0);
        file.Write(2.0);
        file.SeekTo(0);
        ERTValVector<double> v(1);
        v.restoreGuts(file);
        EXPECT_EQ(v.entries(), 0u) << count;
        file.SeekTo(0);
        ERTValOrderedVector<double> ordered(3);
        ordered.append(1);
        ordered.restoreGuts(file);
        EXPECT_EQ(ordered.entries(), 0u) << count;
    }
    // The count fits the bytes that are there, not the elements: these take 4 bytes each, and 800
    // in memory.
    const std::vector<char> filler(100000, 'x');
    file.SeekTo(0);
    file.Write(90000);
    file.Write(filler.data(), 100000u);
    file.SeekTo(0);
    ERTValVector<Blob> blobs;
    blobs.restoreGuts(file);
    ASSERT_GE(blobs.entries(), 1u);
    EXPECT_LT(blobs.entries(), 50000u);
    EXPECT_EQ(std::string(blobs[blobs.entries() - 1].text), "xxxx");
}

TEST_F(VectorInAFile, ElementsWithoutAFileFormWriteNothing) {
    ERTValVector<std::vector<int>> v(3);
    v.saveGuts(file);
    v.restoreGuts(file);
    EXPECT_EQ(v.binaryStoreSize(), 0u);
    EXPECT_EQ(file.GetLength(), 0);
    EXPECT_EQ(v.entries(), 3u);
    ERTValOrderedVector<std::unique_ptr<int>> movable;
    movable.append(std::make_unique<int>(4));
    EXPECT_EQ(*movable.removeAt(0), 4);
}

struct Gigabyte {
    void saveGuts(ERFile&) const {}
    void restoreGuts(ERFile&) {}
    ERULong binaryStoreSize() const { return 1u << 30; }
};

TEST(ValueVector, AStoredSizePastAllFilesDoesNotWrap) {
    EXPECT_EQ(ERTValVector<Gigabyte>(3).binaryStoreSize(), 4u + (3u << 30));
    EXPECT_EQ(ERTValVector<Gigabyte>(4).binaryStoreSize(), ~0u);
}

}  // namespace
}  // namespace kerf
