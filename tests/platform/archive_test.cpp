#include "kerf/platform/archive.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "kerf/platform/exceptions.h"
#include "kerf/platform/file.h"
#include "tests/support/file_backends.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

using test::FileCall;
using test::ScopedFileBackend;
using test::TemporaryFile;
using test::TestFileBackend;

constexpr unsigned int createExclusive =
    CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive;

template <class Action>
std::optional<CArchiveException::Cause> causeOf(Action action) {
    try {
        action();
    } catch (const CArchiveException& e) {
        return e.cause();
    }
    return {};
}

TEST(Archive, WritesLittleEndianValuesOneAfterTheOther) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    CArchive(&file, CArchive::store)
        << 'A' << static_cast<unsigned char>(0xFE) << static_cast<short>(-2)
        << static_cast<unsigned short>(0x1234) << -3 << 0x89ABCDEFu << 1.5f << -2.0;
    const unsigned char expected[] = {'A',  0xFE, 0xFE, 0xFF, 0x34, 0x12, 0xFD, 0xFF, 0xFF,
                                      0xFF, 0xEF, 0xCD, 0xAB, 0x89, 0,    0,    0xC0, 0x3F,
                                      0,    0,    0,    0,    0,    0,    0,    0xC0};
    EXPECT_EQ(temporary.bytes(),
              std::string(reinterpret_cast<const char*>(expected), sizeof expected));
}

// Whatever the buffer: smaller than a value, no multiple of one, larger than all.
TEST(Archive, ComesBackThroughBuffersOfEverySize) {
    for (std::size_t bufferSize : {0u, 20u, 4096u, 100000u}) {
        SCOPED_TRACE(bufferSize);
        TemporaryFile temporary;
        CFile file(temporary.path(), createExclusive);
        std::vector<char> block(5000);
        std::iota(block.begin(), block.end(), static_cast<char>(0));
        {
            CArchive archive(&file, CArchive::store, bufferSize);
            EXPECT_TRUE(archive.IsStoring());
            for (int i = 0; i < 1000; ++i) archive << i << std::sqrt(i);
            archive.Write(block.data(), block.size());
            archive << 'z';
        }
        EXPECT_EQ(file.GetLength(), 1000 * 12 + 5000 + 1);
        file.Seek(0, CFile::begin);
        CArchive archive(&file, CArchive::load, bufferSize);
        EXPECT_TRUE(archive.IsLoading());
        for (int i = 0; i < 1000; ++i) {
            int n = -1;
            double root = -1;
            archive >> n >> root;
            ASSERT_EQ(n, i);
            ASSERT_EQ(root, std::sqrt(i));
        }
        std::vector<char> read(5000);
        EXPECT_EQ(archive.Read(read.data(), read.size()), 5000u);
        EXPECT_EQ(read, block);
        char z = 0;
        archive >> z;
        EXPECT_EQ(z, 'z');
        EXPECT_EQ(archive.Read(read.data(), 1), 0u);
    }
}

TEST(Archive, ManySmallValuesCostFewCalls) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    CFile file(temporary.path(), createExclusive);
    CArchive archive(&file, CArchive::store);
    for (int i = 0; i < 1024; ++i) archive << 1.0;
    archive.Close();
    EXPECT_EQ(backend.calls(FileCall::write), 2u);
    file.Close();
}

TEST(Archive, ClosingALoadingArchiveLeavesTheFileBehindWhatWasTaken) {
    TemporaryFile temporary;
    temporary.setBytes("0123456789");
    CFile file(temporary.path(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    int value = 0;
    archive >> value;
    archive.Close();
    archive.Close();
    EXPECT_EQ(file.GetPosition(), 4);
}

TEST(Archive, TheWrongDirectionIsRefused) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    double value = 7;
    CArchive storing(&file, CArchive::store);
    EXPECT_EQ(causeOf([&] { storing >> value; }), CArchiveException::writeOnly);
    EXPECT_EQ(causeOf([&] { storing.Read(&value, 8); }), CArchiveException::writeOnly);
    storing << 1.0;
    storing.Close();
    EXPECT_EQ(causeOf([&] { storing << 1.0; }), CArchiveException::closed);

    file.Seek(0, CFile::begin);
    CArchive loading(&file, CArchive::load);
    EXPECT_EQ(causeOf([&] { loading << 1.0; }), CArchiveException::readOnly);
    EXPECT_EQ(causeOf([&] { loading.Write(&value, 8); }), CArchiveException::readOnly);
    loading >> value;
    EXPECT_EQ(value, 1.0);
    EXPECT_EQ(causeOf([&] { loading >> value; }), CArchiveException::endOfFile);
    EXPECT_EQ(value, 1.0);
    CArchive nowhere(nullptr, CArchive::store);
    EXPECT_EQ(causeOf([&] { nowhere << 1; }), CArchiveException::closed);
}

TEST(Archive, WhatAFailedFlushCouldNotWriteIsWrittenByTheNext) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    CFile file(temporary.path(), createExclusive);
    CArchive archive(&file, CArchive::store);
    archive << 'a' << 'b';
    backend.failCall(FileCall::write, 1);
    EXPECT_THROW(archive.Flush(), CFileException);
    archive << 'c';
    archive.Close();
    EXPECT_EQ(temporary.bytes(), "abc");
    file.Close();
}

TEST(Archive, TheDestructorNeverThrows) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    CFile file(temporary.path(), createExclusive);
    backend.failCall(FileCall::write, 1, TestFileBackend::Failing::fromThenOn);
    CArchive(&file, CArchive::store) << 1;
    EXPECT_EQ(backend.calls(FileCall::write), 1u);
    file.Close();
}

}  // namespace
}  // namespace kerf
