#include "kerf/platform/archive.h"

#include <cmath>
#include <optional>
#include <string>

#include "kerf/platform/exceptions.h"
#include "tests/support/disturbed_file.h"

namespace kerf {
namespace {

using test::FileCall;

using Archive = test::DisturbedFile<CFile>;

template <class Action>
std::optional<CArchiveException::Cause> causeOf(Action action) {
    try {
        action();
    } catch (const CArchiveException& e) {
        return e.cause();
    }
    return {};
}

TEST_F(Archive, WritesLittleEndianValuesOneAfterTheOther) {
    CArchive(&file, CArchive::store)
        << 'A' << static_cast<unsigned char>(0xFE) << static_cast<short>(-2)
        << static_cast<unsigned short>(0x1234) << -3 << 0x89ABCDEFu << 1.5f << -2.0;
    EXPECT_EQ(temporary.bytes(),
              std::string("A\xFE\xFE\xFF\x34\x12\xFD\xFF\xFF\xFF\xEF\xCD\xAB\x89\0\0\xC0\x3F"
                          "\0\0\0\0\0\0\0\xC0",
                          26));
}

// Whatever the buffer: smaller than a value, no multiple of one, larger than all.
TEST_F(Archive, ComesBackThroughBuffersOfEverySize) {
    for (std::size_t bufferSize : {0u, 20u, 4096u, 100000u}) {
        file.SetLength(0);
        std::string block(5000, 'b'), read(5000, ' ');
        for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i);
        {
            CArchive archive(&file, CArchive::store, bufferSize);
            for (int i = 0; i < 1000; ++i) archive << i << std::sqrt(i);
            archive.Write(block.data(), block.size());
        }
        file.Seek(0, CFile::begin);
        CArchive archive(&file, CArchive::load, bufferSize);
        for (int i = 0; i < 1000; ++i) {
            int n = -1;
            double root = -1;
            archive >> n >> root;
            ASSERT_EQ(n, i);
            ASSERT_EQ(root, std::sqrt(i));
        }
        EXPECT_EQ(archive.Read(read.data(), 4000), 4000u);
        archive.Close();
        EXPECT_EQ(file.GetPosition(), 16000);  // after what was taken
        EXPECT_EQ(CArchive(&file, CArchive::load).Read(&read[4000], 2000), 1000u);
        EXPECT_EQ(read, block);
    }
}

TEST_F(Archive, TheWrongDirectionIsRefused) {
    double value = 7;
    CArchive storing(&file, CArchive::store);
    EXPECT_EQ(causeOf([&] { storing >> value; }), CArchiveException::writeOnly);
    storing << 1.0;
    storing.Close();
    EXPECT_EQ(causeOf([&] { storing << 1.0; }), CArchiveException::closed);
    file.Seek(0, CFile::begin);
    CArchive loading(&file, CArchive::load);
    EXPECT_EQ(causeOf([&] { loading << 1.0; }), CArchiveException::readOnly);
    loading >> value;
    EXPECT_EQ(causeOf([&] { loading >> value; }), CArchiveException::endOfFile);
    EXPECT_EQ(value, 1.0);
}

TEST_F(Archive, WhatAFailedFlushCouldNotWriteIsWrittenByTheNext) {
    CArchive archive(&file, CArchive::store);
    archive << 'a' << 'b';
    EXPECT_EQ(backend.calls(FileCall::write), 0u);  // small values cost few calls
    backend.failCall(FileCall::write, 1);
    EXPECT_THROW(archive.Flush(), CFileException);
    archive << 'c';
    archive.Close();
    EXPECT_EQ(temporary.bytes(), "abc");
    backend.failCall(FileCall::write, 1);
    CArchive(&file, CArchive::store) << 1;  // the destructor never throws
}

}  // namespace
}  // namespace kerf
