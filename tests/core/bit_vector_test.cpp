#include "kerf/core/bit_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using Bits = std::vector<bool>;

ERBitVec made(const Bits& bits) {
    ERBitVec v(static_cast<unsigned int>(bits.size()));
    for (unsigned int i = 0; i < bits.size(); ++i) v[i] = bits[i];
    return v;
}

Bits bitsOf(const ERBitVec& v) {
    Bits bits(v.length());
    for (unsigned int i = 0; i < v.length(); ++i) bits[i] = v[i] != 0;
    return bits;
}

// Few bits differ from their neighbours, so that long runs occur.
Bits randomBits(std::mt19937& random, std::size_t n) {
    Bits bits(n, random() % 2);
    for (std::size_t i = 1; i < n; ++i) bits[i] = bits[i - 1] != (random() % 20 == 0);
    return bits;
}

// Oracle: std::vector<bool>. One vector starts with garbage above its size.
TEST(BitVector, AgreesWithAVectorOfBools) {
    std::mt19937 random(1);
    for (unsigned int n = 0; n < 200; ++n) {
        const Bits a = randomBits(random, n), b = randomBits(random, n);
        ERBitVec va(n, 1), vb(made(b));
        for (unsigned int i = 0; i < n; ++i)
            if (!a[i]) va.clearBit(i);
        const auto set = static_cast<unsigned int>(std::count(a.begin(), a.end(), true));
        SCOPED_TRACE(n);
        ASSERT_EQ(bitsOf(va), a);
        const auto firstOf = [&](bool bit) {
            return static_cast<unsigned int>(std::find(a.begin(), a.end(), bit) - a.begin());
        };
        EXPECT_EQ(std::min(va.firstTrue(), n), firstOf(true));
        EXPECT_EQ(std::min(va.firstFalse(), n), firstOf(false));
        EXPECT_EQ(sum(va), set);
        EXPECT_EQ(va == vb, a == b);
        EXPECT_EQ(va == made(a), 1);
        EXPECT_EQ(va.hash(), made(a).hash());
        EXPECT_EQ(va == 1, set == n);
        EXPECT_EQ(va != 0, set != 0);
        Bits both(a), either(a), one(a), inverse(a);
        for (unsigned int i = 0; i < n; ++i) {
            both[i] = a[i] && b[i];
            either[i] = a[i] || b[i];
            one[i] = a[i] != b[i];
            inverse[i] = !a[i];
        }
        EXPECT_EQ(bitsOf(va & vb), both);
        EXPECT_EQ(bitsOf(va | vb), either);
        EXPECT_EQ(bitsOf(va ^ vb), one);
        EXPECT_EQ(bitsOf(!va), inverse);
        for (const unsigned int other : {0u, n / 2, n + 1, n + 100}) {
            Bits wanted(a);
            wanted.resize(other);
            (vb = va).resize(other);
            ASSERT_EQ(bitsOf(vb), wanted) << other;
        }
        ASSERT_EQ(bitsOf(va), a);  // the copies were apart
    }
}

TEST(BitVectorText, ListsWithoutBracketsEndBeforeWhatIsNoBit) {
    std::istringstream text(" 1 0\t1 x[1 0");
    ERBitVec read;
    text >> read;
    EXPECT_EQ(bitsOf(read), (Bits{1, 0, 1}));
    EXPECT_EQ(text.get(), 'x');
    text >> read;
    EXPECT_TRUE(text.fail()) << "the bracket stays open";
    EXPECT_EQ(bitsOf(read), (Bits{1, 0}));
}

TEST(BitVectorInAFile, HoldsItsSizeAndBytes) {
    test::TemporaryFile temporary;
    ERFile file(temporary.path(), CFile::modeCreate | CFile::modeReadWrite);
    std::mt19937 random(6);
    for (const std::size_t n : {0u, 1u, 8u, 9u, 1000u}) {
        const ERBitVec v = made(randomBits(random, n));
        file.SeekTo(0);
        v.saveOn(file);
        file.SeekTo(0);
        ERBitVec read(50u, 1);
        read.restoreFrom(file);
        EXPECT_TRUE(read == v);
        std::stringstream text;
        text << v;
        text >> read;
        EXPECT_TRUE(read == v);
    }
    for (const int size : {-1, 2147483647, (file.GetLength() - 4) * 8 + 1}) {
        ERBitVec read(50u, 1);
        file.SeekTo(0);
        file.Write(size);
        file.SeekTo(0);
        read.restoreFrom(file);
        EXPECT_EQ(read.length(), 0u) << size;
    }
}

}  // namespace
}  // namespace kerf
