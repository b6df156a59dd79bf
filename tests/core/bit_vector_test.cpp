#include "kerf/core/bit_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"

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
    Bits bits(n);
    bool bit = random() % 2;
    for (std::size_t i = 0; i < n; ++i) {
        if (random() % 20 == 0) bit = !bit;
        bits[i] = bit;
    }
    return bits;
}

unsigned int indexOrNone(const Bits& bits, bool sought) {
    const auto place = std::find(bits.begin(), bits.end(), sought);
    return place == bits.end() ? ~0u : static_cast<unsigned int>(place - bits.begin());
}

// Oracle: std::vector<bool>. Every vector starts with garbage above its size.
TEST(BitVector, AgreesWithAVectorOfBools) {
    std::mt19937 random(1);
    for (unsigned int n = 0; n < 200; ++n) {
        SCOPED_TRACE(n);
        const Bits a = randomBits(random, n);
        const Bits b = randomBits(random, n);
        ERBitVec va(n, 1), vb(n, 0);
        for (unsigned int i = 0; i < n; ++i) {
            va(i) = a[i];
            if (b[i])
                vb.setBit(i);
            else
                vb.clearBit(i);
        }
        ASSERT_EQ(bitsOf(va), a);
        ASSERT_EQ(bitsOf(vb), b);
        EXPECT_EQ(va.firstTrue(), indexOrNone(a, true));
        EXPECT_EQ(va.firstFalse(), indexOrNone(a, false));
        EXPECT_EQ(sum(va), static_cast<unsigned int>(std::count(a.begin(), a.end(), true)));
        EXPECT_EQ(va == vb, a == b);
        EXPECT_EQ(va != vb, a != b);
        EXPECT_TRUE(va == made(a));
        EXPECT_EQ(va.hash(), made(a).hash());
        EXPECT_EQ(va == 1, std::count(a.begin(), a.end(), false) == 0);
        EXPECT_EQ(va == 0, std::count(a.begin(), a.end(), true) == 0);
        EXPECT_EQ(va != 0, std::count(a.begin(), a.end(), true) != 0);
        Bits both(n), either(n), one(n), inverse(n);
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

        for (const unsigned int other : {0u, n / 2, n, n + 1, n + 7, n + 100}) {
            ERBitVec resized(va);
            Bits wanted(a);
            resized.resize(other);
            wanted.resize(other);
            ASSERT_EQ(bitsOf(resized), wanted) << other;
        }
    }
}

TEST(BitVector, NothingIsAllSetAndAllClear) {
    const ERBitVec empty;
    EXPECT_EQ(empty.data(), nullptr);
    EXPECT_EQ(ERBitVec(0u).data(), nullptr);
    EXPECT_EQ(empty == 1, 1);
    EXPECT_EQ(empty == 0, 1);
    EXPECT_EQ(empty.firstTrue(), ~0u);
    EXPECT_EQ(empty.firstFalse(), ~0u);
}

TEST(BitVector, TakesBytesLowBitFirst) {
    const unsigned char bytes[] = {0x05, 0xFE};
    const ERBitVec v(bytes, 10);
    EXPECT_EQ(bitsOf(v), (Bits{1, 0, 1, 0, 0, 0, 0, 0, 0, 1}));
    // ((10 rotated by 5) xor 0x05) rotated by 5, xor the 2 bits of the last byte.
    EXPECT_EQ(v.hash(), ((10u << 5 ^ 0x05u) << 5) ^ 0x02u);
    EXPECT_EQ(erFirstTrue(bytes + 1, 8), 1u);
    EXPECT_EQ(erFirstTrue(bytes + 1, 1), ~0u);
    EXPECT_EQ(erFirstFalse(bytes, 1), ~0u);
}

TEST(BitVector, FillsByThePositiveSign) {
    ERBitVec v(13);
    v = 7;
    EXPECT_TRUE(v == 1);
    v = -7;
    EXPECT_TRUE(v == 0);
    EXPECT_TRUE(v == -1);
}

TEST(BitVector, ReferencesToBitsActAsNumbers) {
    ERBitVec v(9);
    v[8] = 5;
    v[0] = v[8];
    EXPECT_EQ(v[0], 1);
    v[0] ^= 2;
    v[1] |= 1;
    v[8] &= 1;
    EXPECT_EQ(bitsOf(v), (Bits{0, 1, 0, 0, 0, 0, 0, 0, 1}));
}

TEST(BitVector, CopiesAndMoves) {
    ERBitVec a(20, 1);
    ERBitVec b(a);
    b.clearBit(3);
    EXPECT_TRUE(a == 1);
    a = b;
    EXPECT_TRUE(a == b);
    const ERBitVec& itself = a;
    a = itself;
    EXPECT_TRUE(a == b);
    const ERBitVec moved(std::move(a));
    EXPECT_TRUE(moved == b);
    a = ERBitVec(3u);
    EXPECT_EQ(a.length(), 3u);
}

TEST(BitVectorText, ReadsWhatItPrints) {
    std::mt19937 random(4);
    for (const std::size_t n : {0u, 1u, 31u, 32u, 33u, 500u}) {
        const Bits bits = randomBits(random, n);
        std::stringstream text;
        text << made(bits) << " 1";
        ERBitVec read(77u, 1);
        text >> read;
        EXPECT_EQ(bitsOf(read), bits);
        EXPECT_TRUE(text.good());
    }
    std::ostringstream text;
    text << made({0, 1, 1});
    EXPECT_EQ(text.str(), "[0 1 1]");
}

TEST(BitVectorText, AcceptsOtherFormsAndReportsDamage) {
    struct Case {
        const char* text;
        Bits bits;
        bool good;
        const char* rest;
    };
    const Case cases[] = {
        {" 1 0\t1\n", {1, 0, 1}, true, ""},
        {"101", {1, 0, 1}, true, ""},
        {"[\n1 0\n]x", {1, 0}, true, "x"},
        {"1 0 word", {1, 0}, true, "word"},
        {"1 0]", {1, 0}, true, "]"},
        {"[]", {}, true, ""},
        {"[1 0", {1, 0}, false, ""},
        {"[1 2]", {1}, false, "2]"},
        {"", {}, false, ""},
        {"word", {}, false, "word"},
        {"[[0]]", {}, false, "[0]]"},
    };
    for (const Case& c : cases) {
        std::istringstream text(c.text);
        ERBitVec read(5u, 1);
        text >> read;
        EXPECT_EQ(bitsOf(read), c.bits) << c.text;
        EXPECT_EQ(!text.fail(), c.good) << c.text;
        text.clear();
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(text), {}), c.rest) << c.text;
    }
    std::istringstream large(std::string(2000000, '1'));
    ERBitVec read;
    large >> read;
    EXPECT_EQ(read.length(), 2000000u);
    EXPECT_TRUE(read == 1);
}

TEST(BitVectorInAFile, HoldsItsSizeAndBytes) {
    const auto path = std::filesystem::temp_directory_path() / "kerf_bit_vector_test";
    ERFile file(path.string().c_str(), CFile::modeCreate | CFile::modeReadWrite);
    std::mt19937 random(6);
    for (const std::size_t n : {0u, 1u, 8u, 9u, 1000u}) {
        const ERBitVec v = made(randomBits(random, n));
        file.SeekTo(0);
        v.saveOn(file);
        EXPECT_EQ(file.CurOffset(), static_cast<ERLong>(4 + (n + 7) / 8));
        file.SeekTo(0);
        ERBitVec read(50u, 1);
        read.restoreFrom(file);
        EXPECT_TRUE(read == v);
    }
    for (const int size : {-1, 2147483647, (file.GetLength() - 4) * 8 + 1}) {
        file.SeekTo(0);
        file.Write(size);
        file.SeekTo(0);
        ERBitVec read(50u, 1);
        read.restoreFrom(file);
        EXPECT_EQ(read.length(), 0u) << size;
    }
    file.Close();
    std::filesystem::remove(path);
}

}  // namespace
}  // namespace kerf
