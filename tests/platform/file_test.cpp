#include "kerf/platform/file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <limits>
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
    CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive;

template <class Action>
std::error_code errorOf(Action action) {
    try {
        action();
    } catch (const CFileException& e) {
        return e.code();
    }
    return {};
}

std::string readAll(CFile& file) {
    std::string bytes(static_cast<std::size_t>(file.GetLength()), '\0');
    file.Seek(0, CFile::begin);
    EXPECT_EQ(file.Read(bytes.data(), static_cast<unsigned int>(bytes.size())), bytes.size());
    return bytes;
}

TEST(File, WhatIsWrittenIsTheSystemsWhenTheCallReturns) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    file.Write("0123456789", 10);
    EXPECT_EQ(temporary.bytes(), "0123456789");
    EXPECT_EQ(file.Seek(-3, CFile::end), 7);
    file.Write("abcde", 5);
    EXPECT_EQ(file.GetPosition(), 12);
    EXPECT_EQ(temporary.bytes(), "0123456abcde");
    EXPECT_EQ(file.Seek(2, CFile::begin), 2);
    EXPECT_EQ(file.Seek(2, CFile::current), 4);
    char bytes[100];
    EXPECT_EQ(file.Read(bytes, 3), 3u);
    EXPECT_EQ(std::string(bytes, 3), "456");
    EXPECT_EQ(file.Read(bytes, 100), 5u);
    EXPECT_EQ(file.Read(bytes, 100), 0u);
    EXPECT_EQ(file.GetPosition(), 12);
}

TEST(File, WritingBehindTheEndFillsTheGapWithZeros) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    EXPECT_EQ(file.GetLength(), 0);
    file.Seek(4, CFile::begin);
    EXPECT_EQ(file.GetLength(), 0);
    file.Write("x", 1);
    EXPECT_EQ(file.GetLength(), 5);
    EXPECT_EQ(temporary.bytes(), std::string("\0\0\0\0x", 5));
}

TEST(File, SetLengthCutsAndLengthens) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    file.Write("abcdef", 6);
    file.SetLength(2);
    EXPECT_EQ(file.GetPosition(), 2);
    EXPECT_EQ(file.GetLength(), 2);
    file.SetLength(3);
    EXPECT_EQ(file.GetPosition(), 2);
    EXPECT_EQ(readAll(file), std::string("ab\0", 3));
    EXPECT_EQ(errorOf([&] { file.SetLength(-1); }), std::errc::invalid_argument);
}

TEST(File, OffsetsGoBeyondFourGigabytes) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    const std::int64_t far = 5'000'000'000;
    EXPECT_EQ(file.Seek(far, CFile::begin), far);
    file.Write("far", 3);
    EXPECT_EQ(file.GetLength(), far + 3);
    EXPECT_EQ(std::filesystem::file_size(temporary.path()), static_cast<std::uintmax_t>(far + 3));
    char bytes[3];
    file.Seek(-3, CFile::end);
    ASSERT_EQ(file.Read(bytes, 3), 3u);
    EXPECT_EQ(std::memcmp(bytes, "far", 3), 0);
}

TEST(File, SeekingOutsideThrowsAndStays) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    file.Write("abc", 3);
    const std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    const std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
    const struct {
        std::int64_t offset;
        unsigned int origin;
    } outside[] = {{-1, 0},      {-4, 1},       {-4, 2},       {largest, 1},
                   {largest, 2}, {smallest, 0}, {smallest, 2}, {0, 3}};
    for (const auto& to : outside) {
        SCOPED_TRACE(testing::Message() << to.offset << " from " << to.origin);
        EXPECT_EQ(errorOf([&] { file.Seek(to.offset, to.origin); }), std::errc::invalid_argument);
        EXPECT_EQ(file.GetPosition(), 3);
    }
}

TEST(File, ModeCreateEmptiesUnlessToldNotTo) {
    TemporaryFile temporary;
    EXPECT_EQ(errorOf([&] { CFile(temporary.path(), CFile::modeReadWrite); }),
              std::errc::no_such_file_or_directory);
    temporary.setBytes("old");
    CFile(temporary.path(), CFile::modeReadWrite | CFile::modeCreate | CFile::modeNoTruncate);
    EXPECT_EQ(temporary.bytes(), "old");
    CFile(temporary.path(), CFile::modeWrite | CFile::modeCreate);
    EXPECT_EQ(temporary.bytes(), "");
    temporary.setBytes("old");
    CFile(temporary.path(), CFile::modeRead | CFile::modeCreate);
    EXPECT_EQ(temporary.bytes(), "");
}

TEST(File, DirectoriesAndDamagedNamesAreNotOpened) {
    const std::string directory = std::filesystem::temp_directory_path().string();
    for (unsigned int flags : {CFile::modeRead + 0u, CFile::modeReadWrite | CFile::modeCreate})
        EXPECT_NE(errorOf([&] { CFile(directory.c_str(), flags); }), std::error_code());
    EXPECT_NE(errorOf([] { CFile("", CFile::modeRead); }), std::error_code());
    EXPECT_NE(errorOf([] { CFile(nullptr, CFile::modeRead); }), std::error_code());
}

TEST(File, AClosedFileRefusesEverythingButClose) {
    CFile file;
    char byte = 0;
    for (const auto& action : std::vector<std::function<void()>>{
             [&] { file.Read(&byte, 1); }, [&] { file.Write(&byte, 1); },
             [&] { file.Seek(0, CFile::begin); }, [&] { file.GetLength(); },
             [&] { file.SetLength(0); }, [&] { file.LockRange(0, 1); }})
        EXPECT_EQ(errorOf(action), std::errc::bad_file_descriptor);
    CFileStatus status;
    EXPECT_EQ(file.GetStatus(status), 0);
    file.Close();
}

TEST(File, AReadOnlyFileRefusesWriting) {
    TemporaryFile temporary;
    temporary.setBytes("abc");
    CFile file(temporary.path(), CFile::modeRead);
    EXPECT_NE(errorOf([&] { file.Write("x", 1); }), std::error_code());
    EXPECT_EQ(temporary.bytes(), "abc");
}

TEST(File, TellsItsStatus) {
    TemporaryFile temporary;
    CFileStatus status;
    EXPECT_EQ(CFile::GetStatus(temporary.path(), status), 0);
    CFile file(temporary.path(), createExclusive);
    file.Write("abc", 3);
    ASSERT_EQ(file.GetStatus(status), 1);
    EXPECT_EQ(status.size, 3);
    EXPECT_EQ(status.path, temporary.path());
    EXPECT_NEAR(static_cast<double>(status.modified), static_cast<double>(std::time(nullptr)), 60);
    file.Close();
    status = {};
    ASSERT_EQ(CFile::GetStatus(temporary.path(), status), 1);
    EXPECT_EQ(status.size, 3);
    EXPECT_FALSE(status.isDirectory);
    ASSERT_EQ(CFile::GetStatus(std::filesystem::temp_directory_path().string().c_str(), status), 1);
    EXPECT_TRUE(status.isDirectory);
}

TEST(File, OpeningAgainLetsTheFormerFileGo) {
    TemporaryFile temporary;
    CFile file(temporary.path(), createExclusive);
    file.Write("abc", 3);
    EXPECT_EQ(file.Open(temporary.path(), CFile::modeReadWrite | CFile::shareExclusive), 1);
    EXPECT_EQ(file.GetPosition(), 0);
    EXPECT_EQ(readAll(file), "abc");
}

// The first opener, the second, and whether the second is let in.
struct Sharing {
    unsigned int first;
    unsigned int second;
    bool admitted;
};

TEST(File, SharingIsRefusedWithinTheProcessToo) {
    const unsigned int reading = CFile::modeRead;
    const unsigned int writing = CFile::modeReadWrite;
    const Sharing cases[] = {
        {writing | CFile::shareExclusive, writing | CFile::shareExclusive, false},
        {writing | CFile::shareExclusive, reading | CFile::shareDenyWrite, false},
        {writing | CFile::shareExclusive, reading | CFile::shareDenyNone, false},
        {reading | CFile::shareExclusive, reading, false},
        {reading | CFile::shareDenyWrite, reading | CFile::shareDenyWrite, true},
        {reading | CFile::shareDenyWrite, reading | CFile::shareDenyNone, true},
        {reading | CFile::shareDenyWrite, writing | CFile::shareExclusive, false},
        {reading | CFile::shareDenyWrite, writing | CFile::shareDenyNone, false},
        {writing | CFile::shareDenyWrite, writing | CFile::shareDenyNone, false},
        {writing | CFile::shareDenyNone, writing | CFile::shareDenyNone, true},
        {writing, reading, true},
    };
    for (const Sharing& sharing : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << sharing.first << ", " << sharing.second);
        TemporaryFile temporary;
        temporary.setBytes("kept");
        CFile first(temporary.path(), sharing.first);
        const std::error_code refusal =
            errorOf([&] { CFile second(temporary.path(), sharing.second); });
        EXPECT_EQ(!refusal, sharing.admitted) << refusal.message();
        if (!sharing.admitted) {
            EXPECT_NE(errorOf([&] { CFile(temporary.path(), sharing.second | CFile::modeCreate); }),
                      std::error_code());
            EXPECT_EQ(temporary.bytes(), "kept");  // not emptied before it was refused
        }
        first.Close();
        EXPECT_EQ(errorOf([&] { CFile second(temporary.path(), sharing.second); }),
                  std::error_code());
    }
}

#if defined(__linux__) || defined(_WIN32)
TEST(File, LockedRangesAreRefusedToOtherOpenFiles) {
    TemporaryFile temporary;
    temporary.setBytes("0123456789");
    CFile first(temporary.path(), CFile::modeReadWrite);
    CFile second(temporary.path(), CFile::modeReadWrite);
    first.LockRange(2, 3);
    EXPECT_NE(errorOf([&] { second.LockRange(4, 1); }), std::error_code());
    second.LockRange(5, 1);
    first.UnlockRange(2, 3);
    second.LockRange(4, 1);
}
#endif

TEST(FileBackend, SeekingAndAskingForThePositionCostNoCall) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    CFile file(temporary.path(), createExclusive);
    EXPECT_EQ(backend.calls(FileCall::open), 1u);
    const std::string block(10000, 'b');
    file.Write(block.data(), 10000);
    EXPECT_EQ(backend.transferCalls(), 1u);
    for (int i = 0; i < 100; ++i) file.Seek(i * 50, CFile::begin);
    EXPECT_EQ(file.GetPosition(), 4950);
    EXPECT_EQ(backend.transferCalls(), 1u);
    char bytes[100];
    file.Read(bytes, 100);
    EXPECT_EQ(backend.transferCalls(), 2u);
    // Nobody else writes: the length is asked once.
    for (int i = 0; i < 100; ++i) EXPECT_EQ(file.Seek(0, CFile::end), 10000);
    file.Write("tail", 4);
    EXPECT_EQ(file.GetLength(), 10004);
    EXPECT_EQ(backend.calls(FileCall::length), 1u);
}

TEST(FileBackend, ASharedFileSeesWhatOthersAppend) {
    TemporaryFile temporary;
    temporary.setBytes("abc");
    CFile reader(temporary.path(), CFile::modeRead);
    EXPECT_EQ(reader.GetLength(), 3);
    temporary.setBytes("abcdef");
    EXPECT_EQ(reader.GetLength(), 6);
}

TEST(FileBackend, AReadThatComesShortAsksForTheLengthAnew) {
    TemporaryFile temporary;
    temporary.setBytes("abcdef");
    CFile file(temporary.path(), CFile::modeRead | CFile::shareDenyWrite);
    EXPECT_EQ(file.GetLength(), 6);
    std::filesystem::resize_file(temporary.path(), 2);  // by somebody who does not ask
    char bytes[6];
    EXPECT_EQ(file.Read(bytes, 6), 2u);
    EXPECT_EQ(file.GetLength(), 2);
}

TEST(FileBackend, WritesThatAreCutShortGetThrough) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    CFile file(temporary.path(), createExclusive);
    backend.cutWrites(3);
    file.Write("0123456789", 10);
    EXPECT_EQ(backend.calls(FileCall::write), 4u);
    EXPECT_EQ(temporary.bytes(), "0123456789");
}

TEST(FileBackend, AFullDeviceIsAnErrorAfterTheRestWasTried) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    CFile file(temporary.path(), createExclusive);
    file.Write("ab", 2);
    backend.fillDeviceAfter(5);
    EXPECT_EQ(errorOf([&] { file.Write("0123456789", 10); }), std::errc::no_space_on_device);
    EXPECT_EQ(file.GetPosition(), 2);
    EXPECT_EQ(file.GetLength(), 7);
    EXPECT_EQ(temporary.bytes(), "ab01234");
    backend.clear();
    file.Write("0123456789", 10);
    EXPECT_EQ(temporary.bytes(), "ab0123456789");
}

TEST(FileBackend, EveryFailureNamesPathOperationAndReason) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    CFile file(temporary.path(), createExclusive);
    char byte = 0;
    const struct {
        FileCall call;
        const char* operation;
        std::function<void()> action;
    } cases[] = {
        {FileCall::read, "read", [&] { file.Read(&byte, 1); }},
        {FileCall::write, "write", [&] { file.Write(&byte, 1); }},
        {FileCall::length, "length", [&] { file.GetLength(); }},
        {FileCall::truncate, "truncate", [&] { file.SetLength(0); }},
        {FileCall::lock, "lock", [&] { file.LockRange(0, 1); }},
        {FileCall::close, "close", [&] { file.Close(); }},
        {FileCall::open, "open", [&] { file.Open(temporary.path(), createExclusive); }},
    };
    for (const auto& failing : cases) {
        SCOPED_TRACE(failing.operation);
        backend.failCall(failing.call, 1, TestFileBackend::Failing::once,
                         std::errc::permission_denied);
        try {
            failing.action();
            ADD_FAILURE() << "nothing thrown";
        } catch (const CException& e) {
            const auto& error = dynamic_cast<const CFileException&>(e);
            EXPECT_STREQ(error.operation(), failing.operation);
            EXPECT_EQ(error.path(), temporary.path());
            EXPECT_EQ(error.code(), std::errc::permission_denied);
            const std::string what = error.what();
            EXPECT_NE(what.find(temporary.path()), what.npos);
            EXPECT_NE(what.find(failing.operation), what.npos);
            EXPECT_NE(what.find(error.systemText()), what.npos);
        }
    }
    EXPECT_FALSE(file.isOpen());
    file.Open(temporary.path(), createExclusive);  // a failed close has let the file go
}

TEST(FileBackend, TheDestructorClosesAndNeverThrows) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    backend.failCall(FileCall::close, 1, TestFileBackend::Failing::fromThenOn);
    { CFile file(temporary.path(), createExclusive); }
    EXPECT_EQ(backend.calls(FileCall::close), 1u);
    { CFile file(temporary.path(), createExclusive); }
}

TEST(FileBackend, AStoppedBackendLeavesTheTornWriteAndNothingMore) {
    TemporaryFile temporary;
    TestFileBackend backend;
    const ScopedFileBackend installed(backend);
    {
        CFile file(temporary.path(), createExclusive);
        backend.stopAtWrite(2, 3);
        file.Write("first.", 6);
        EXPECT_NE(errorOf([&] { file.Write("second", 6); }), std::error_code());
        EXPECT_TRUE(backend.hasStopped());
        EXPECT_NE(errorOf([&] { file.Write("third", 5); }), std::error_code());
        EXPECT_NE(errorOf([&] { file.SetLength(0); }), std::error_code());
        file.Close();
    }
    EXPECT_EQ(temporary.bytes(), "first.sec");
}

TEST(FileBackend, SettingOneAnswersTheFormer) {
    TestFileBackend one, two;
    FileBackend* const original = setFileBackend(&one);
    EXPECT_EQ(setFileBackend(&two), &one);
    EXPECT_EQ(setFileBackend(nullptr), &two);
    EXPECT_EQ(setFileBackend(original), nullptr);
}

}  // namespace
}  // namespace kerf
