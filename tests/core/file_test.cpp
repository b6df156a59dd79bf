#include "kerf/core/file.h"

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "tests/platform/disturbed_file.h"

namespace kerf {
namespace {

using test::FileCall;
using test::TemporaryFile;

using StoreFile = test::DisturbedFile<ERFile>;

TEST_F(StoreFile, ValuesAreLittleEndianWithoutPadding) {
    EXPECT_EQ(file.Write('A') + file.Write(static_cast<short>(-2)) +
                  file.Write(static_cast<unsigned short>(0x1234)) + file.Write(-3) +
                  file.Write(0x89ABCDEFu) + file.Write(1.5) + file.Write("ab"),
              7);
    EXPECT_EQ(temporary.bytes(), std::string("A\xFE\xFF\x34\x12\xFD\xFF\xFF\xFF\xEF\xCD\xAB\x89"
                                             "\0\0\0\0\0\0\xF8\x3F"
                                             "ab\0",
                                             24));
    file.SeekTo(0);
    char c = 0;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned int ui = 0;
    double d = 0;
    file.Read(c), file.Read(s), file.Read(us), file.Read(i), file.Read(ui), file.Read(d);
    EXPECT_TRUE(c == 'A' && s == -2 && us == 0x1234 && i == -3 && ui == 0x89ABCDEFu && d == 1.5);
    EXPECT_TRUE(file.Read(d) == 0 && d == 0);  // what comes short reads as 0
}

template <class T>
struct ERFileArray : StoreFile {};
using Elements =
    ::testing::Types<char, unsigned char, short, unsigned short, int, unsigned int, double>;
TYPED_TEST_SUITE(ERFileArray, Elements);

TYPED_TEST(ERFileArray, ComesBackWithOneCallEachWay) {
    std::vector<TypeParam> values(1000), read(1000);
    for (int i = 0; i < 1000; ++i)
        values[static_cast<unsigned int>(i)] = static_cast<TypeParam>(i - 500);
    EXPECT_EQ(this->file.Write(values.data(), 1000u), 1);
    this->file.SeekTo(0);
    this->backend.resetCounts();
    EXPECT_EQ(this->file.Read(read.data(), 1000u), 1);
    EXPECT_EQ(this->backend.transferCalls(), 1u);
    EXPECT_EQ(read, values);
    EXPECT_TRUE(this->file.Read(read.data(), 0u) == 1 && this->file.Read(read.data(), 1u) == 0);
}

TEST_F(StoreFile, AStringEndsAtByteZeroOr255) {
    const std::string longText(700, 'l'), zero(1, '\0');  // several times what is read ahead
    temporary.setBytes("one" + zero + "two\xFF" + zero + longText + zero + std::string(255, 'b') +
                       "\xFFopen");
    std::array<char, 1000> text;
    for (const std::string& expected :
         {std::string("one"), std::string("two"), std::string(), longText, std::string(255, 'b')}) {
        const ERLong before = file.CurOffset();
        text.fill('?');
        backend.resetCounts();
        EXPECT_EQ(file.Read(text.data()), 1);
        EXPECT_TRUE(backend.calls(FileCall::read) == 1 || expected == longText);
        EXPECT_TRUE(text.data() == expected && text[expected.size() + 1] == '?');
        EXPECT_EQ(file.CurOffset(), before + static_cast<ERLong>(expected.size()) + 1);
    }
    for (const char* expected : {"open", ""}) {
        EXPECT_EQ(file.Read(text.data()), 0);
        EXPECT_STREQ(text.data(), expected);
    }
}

TEST_F(StoreFile, TellsWhereItIsAndWhatRemains) {
    EXPECT_EQ(file.Exists() + file.IsEmpty() + file.Eof(), 3);
    file.Write(1);
    EXPECT_TRUE(file.SeekTo(1) == 1 && !file.Eof() && file.remaining() == 3);
    EXPECT_TRUE(file.SeekTo(9) == 9 && file.Eof() && file.remaining() == 0);
    EXPECT_THROW(file.SeekTo(-1), CFileException);
}

TEST_F(StoreFile, LengthsPastTheLastLocationAreCutToItAndFullDevicesThrow) {
    file.SetLength(5'000'000'000);
    const ERLong last = std::numeric_limits<ERLong>::max();
    EXPECT_TRUE(file.GetLength() == last && file.remaining() == ~ERULong{0});
    backend.fillDeviceAfter(6);
    EXPECT_EQ(file.Write(1), 1);
    EXPECT_THROW(file.Write(2), CFileException);
    EXPECT_EQ(file.CurOffset(), 4);  // though part of it was written
}

}  // namespace
}  // namespace kerf
