#include "kerf/core/file.h"

#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/disturbed_file.h"

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
    EXPECT_EQ(std::tie(c, s, us, i, ui, d), std::make_tuple('A', -2, 0x1234, -3, 0x89ABCDEFu, 1.5));
    EXPECT_EQ(file.Read(d), 0);
    EXPECT_EQ(d, 0);  // what is not there whole reads as 0
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
    EXPECT_EQ(this->file.Read(read.data(), 0u), 1);
    EXPECT_EQ(this->file.Read(read.data(), 1u), 0);
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
        EXPECT_EQ(text.data(), expected);
        EXPECT_EQ(text[expected.size() + 1], '?');
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
    EXPECT_EQ(file.SeekTo(1), 1);
    EXPECT_EQ(file.Eof(), 0);
    EXPECT_EQ(file.remaining(), 3u);
    EXPECT_EQ(file.SeekTo(9), 9);
    EXPECT_EQ(file.Eof(), 1);
    EXPECT_EQ(file.remaining(), 0u);
    EXPECT_THROW(file.SeekTo(-1), CFileException);
    EXPECT_EQ(ERFile::Exists("/"), 0);  // a directory is no file
}

}  // namespace
}  // namespace kerf
