#include "kerf/core/file.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::FileCall;
using test::ScopedFileBackend;
using test::TemporaryFile;
using test::TestFileBackend;

constexpr unsigned int createExclusive =
    CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive | CFile::typeBinary;

TEST(ERFile, ValuesAreLittleEndianWithoutPadding) {
    TemporaryFile temporary;
    ERFile file(temporary.path(), createExclusive);
    EXPECT_EQ(file.Write('A'), 1);
    EXPECT_EQ(file.Write(static_cast<short>(-2)), 1);
    EXPECT_EQ(file.Write(static_cast<unsigned short>(0x1234)), 1);
    EXPECT_EQ(file.Write(-3), 1);
    EXPECT_EQ(file.Write(0x89ABCDEFu), 1);
    EXPECT_EQ(file.Write(1.5), 1);
    EXPECT_EQ(file.Write("ab"), 1);
    const unsigned char expected[] = {
        'A',                                             // char
        0xFE, 0xFF, 0x34, 0x12,                          // short, unsigned short
        0xFD, 0xFF, 0xFF, 0xFF, 0xEF, 0xCD, 0xAB, 0x89,  // int, unsigned int
        0,    0,    0,    0,    0,    0,    0xF8, 0x3F,  // double
        'a',  'b',  0                                    // string
    };
    EXPECT_EQ(temporary.bytes(),
              std::string(reinterpret_cast<const char*>(expected), sizeof expected));

    file.SeekTo(0);
    char c = 0;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned int ui = 0;
    double d = 0;
    char text[10];
    EXPECT_EQ(file.Read(c) + file.Read(s) + file.Read(us) + file.Read(i) + file.Read(ui) +
                  file.Read(d) + file.Read(text),
              7);
    EXPECT_EQ(c, 'A');
    EXPECT_EQ(s, -2);
    EXPECT_EQ(us, 0x1234);
    EXPECT_EQ(i, -3);
    EXPECT_EQ(ui, 0x89ABCDEFu);
    EXPECT_EQ(d, 1.5);
    EXPECT_STREQ(text, "ab");
    EXPECT_EQ(file.Eof(), 1);
}

template <class T>
class ERFileArray : public ::testing::Test {};
using Elements =
    ::testing::Types<char, unsigned char, short, unsigned short, int, unsigned int, double>;
TYPED_TEST_SUITE(ERFileArray, Elements);

TYPED_TEST(ERFileArray, ComesBackWithOneCallEachWay) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    ERFile file(temporary.path(), createExclusive);
    std::vector<TypeParam> values(1000);
    std::iota(values.begin(), values.end(), static_cast<TypeParam>(-500));
    EXPECT_EQ(file.Write(values.data(), 1000u), 1);
    EXPECT_EQ(file.GetLength(), static_cast<ERLong>(1000 * sizeof(TypeParam)));
    file.SeekTo(0);
    std::vector<TypeParam> read(1000);
    backend.resetCounts();
    EXPECT_EQ(file.Read(read.data(), 1000u), 1);
    EXPECT_EQ(backend.transferCalls(), 1u);
    EXPECT_EQ(read, values);
    EXPECT_EQ(file.Read(read.data(), 0u), 1);
    EXPECT_EQ(file.Read(read.data(), 1u), 0);
}

TEST(ERFile, ShortReadsAnswerZero) {
    TemporaryFile temporary;
    temporary.setBytes(std::string("\x01\x02\x03\x04\x05\x06", 6));
    ERFile file(temporary.path(), CFile::modeRead);
    double d = 7;
    EXPECT_EQ(file.Read(d), 0);
    EXPECT_EQ(d, 0);
    file.SeekTo(0);
    int pair[2] = {9, 9};
    EXPECT_EQ(file.Read(pair, 2u), 0);
    EXPECT_EQ(pair[0], 0x04030201);
    file.SeekTo(100);
    char c = 'x';
    EXPECT_EQ(file.Read(c), 0);
    EXPECT_EQ(c, 0);
    EXPECT_EQ(file.CurOffset(), 100);
}

TEST(ERFile, AStringEndsAtByteZeroOr255) {
    TemporaryFile temporary;
    const std::string longText(700, 'l');  // several times what is read ahead
    temporary.setBytes(std::string("one\0", 4) + "two\xFF" + std::string("\0", 1) + longText +
                       std::string("\0", 1) + std::string(255, 'b') + '\xFF' + "open");
    ERFile file(temporary.path(), CFile::modeRead | CFile::shareDenyWrite);
    std::array<char, 1000> text;
    for (const std::string& expected :
         {std::string("one"), std::string("two"), std::string(), longText, std::string(255, 'b')}) {
        const ERLong before = file.CurOffset();
        text.fill('?');
        EXPECT_EQ(file.Read(text.data()), 1);
        EXPECT_EQ(text.data(), expected);
        EXPECT_EQ(text[expected.size() + 1], '?');
        EXPECT_EQ(file.CurOffset(), before + static_cast<ERLong>(expected.size()) + 1);
    }
    EXPECT_EQ(file.Read(text.data()), 0);
    EXPECT_STREQ(text.data(), "open");
    EXPECT_EQ(file.Eof(), 1);
    EXPECT_EQ(file.Read(text.data()), 0);
    EXPECT_STREQ(text.data(), "");
}

TEST(ERFile, AShortStringCostsOneRead) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    ERFile file(temporary.path(), createExclusive);
    file.Write("name");
    EXPECT_EQ(backend.calls(FileCall::write), 1u);
    file.SetLength(1000);
    backend.resetCounts();
    file.SeekTo(0);
    char text[10];
    EXPECT_EQ(file.Read(text), 1);
    EXPECT_STREQ(text, "name");
    EXPECT_EQ(backend.transferCalls(), 1u);
}

TEST(ERFile, TellsWhereItIsAndWhatRemains) {
    TemporaryFile temporary;
    EXPECT_EQ(ERFile::Exists(temporary.path()), 0);
    ERFile file(temporary.path(), createExclusive);
    EXPECT_EQ(ERFile::Exists(temporary.path()), 1);
    EXPECT_EQ(file.Exists(), 1);
    EXPECT_EQ(file.IsEmpty(), 1);
    EXPECT_EQ(file.Eof(), 1);
    file.Write(1);
    EXPECT_EQ(file.IsEmpty(), 0);
    EXPECT_EQ(file.Eof(), 1);
    EXPECT_EQ(file.SeekTo(1), 1);
    EXPECT_EQ(file.Eof(), 0);
    EXPECT_EQ(file.remaining(), 3u);
    EXPECT_EQ(file.SeekTo(9), 9);
    EXPECT_EQ(file.Eof(), 1);
    EXPECT_EQ(file.remaining(), 0u);
    EXPECT_THROW(file.SeekTo(-1), CFileException);
    EXPECT_EQ(file.CurOffset(), 9);
    EXPECT_EQ(ERFile().Exists(), 0);
    EXPECT_EQ(ERFile::Exists(std::filesystem::temp_directory_path().string().c_str()), 0);
}

TEST(ERFile, FilesPastTheLastLocationAreCutToIt) {
    TemporaryFile temporary;
    ERFile file(temporary.path(), createExclusive);
    file.SetLength(5'000'000'000);
    const ERLong last = std::numeric_limits<ERLong>::max();
    EXPECT_EQ(file.GetLength(), last);
    EXPECT_EQ(file.remaining(), std::numeric_limits<ERULong>::max());
    EXPECT_EQ(file.SeekTo(last), last);
    EXPECT_EQ(file.Write(1), 1);
    EXPECT_EQ(file.CurOffset(), last);
}

TEST(ERFile, OpenAnswersOneOrThrows) {
    TemporaryFile temporary;
    ERFile file;
    EXPECT_THROW(file.Open(temporary.path(), CFile::modeRead), CFileException);
    EXPECT_THROW(ERFile(temporary.path(), CFile::modeRead), CFileException);
    EXPECT_EQ(file.Open(temporary.path(), createExclusive), 1);
    TestFileBackend full;
    {
        const ScopedFileBackend installed(full);
        ERFile disturbed;
        disturbed.Open((std::string(temporary.path()) + "b").c_str(), createExclusive);
        full.fillDeviceAfter(6);
        EXPECT_EQ(disturbed.Write(1), 1);
        EXPECT_THROW(disturbed.Write(2), CFileException);
        disturbed.Close();
    }
    std::filesystem::remove(std::string(temporary.path()) + "b");
}

}  // namespace
}  // namespace kerf
