#include "kerf/platform/file.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/disturbed_file.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace kerf {
namespace {

using test::createExclusive;
using test::TemporaryFile;

using File = test::DisturbedFile<CFile>;

template <class Action>
std::error_code errorOf(Action action) {
    try {
        action();
    } catch (const CFileException& e) {
        return e.code();
    }
    return {};
}

// Oracle: a string and a position. What a call has written is the system's when it returns.
TEST_F(File, FollowsAStringThroughRandomOperations) {
    std::mt19937 random(1);
    backend.cutWrites(20);  // longer ones need several calls
    std::string bytes;
    std::size_t position = 0;
    char read[50];
    for (int step = 0; step < 1500; ++step) {
        const auto n = static_cast<unsigned int>(random() % 50);
        const char letter = static_cast<char>('a' + step % 26);
        const std::size_t inside = std::min(position, bytes.size());
        const std::size_t there = std::min<std::size_t>(n, bytes.size() - inside);
        switch (random() % 4) {
            case 0:
                file.Write(std::string(n, letter).data(), n);
                if (n > 0) bytes.resize(std::max(bytes.size(), position + n));
                if (n > 0) bytes.replace(position, n, n, letter);
                position += n;
                break;
            case 1:
                ASSERT_EQ(file.Read(read, n), there);
                ASSERT_EQ(bytes.compare(inside, there, read, there), 0);
                position += there;
                break;
            case 2: {
                const auto origin = n % 3 == 0 ? 0 : n % 3 == 1 ? position : bytes.size();
                position = random() % (bytes.size() + 30);
                file.Seek(static_cast<std::int64_t>(position) - static_cast<std::int64_t>(origin),
                          n % 3);
                break;
            }
            default:
                if (random() % 8 != 0) break;
                bytes.resize(random() % 400);
                file.SetLength(static_cast<std::int64_t>(bytes.size()));
                position = std::min(position, bytes.size());
        }
        ASSERT_EQ(file.GetPosition(), static_cast<std::int64_t>(position));
        ASSERT_EQ(file.GetLength(), static_cast<std::int64_t>(bytes.size()));
        ASSERT_EQ(temporary.bytes(), bytes);
    }
    backend.resetCounts();
    for (int i = 0; i < 100; ++i) file.Seek(0, CFile::end);
    // Where no other opening can write, the length is asked once.
    EXPECT_LE(backend.transferCalls(), test::exclusive == CFile::shareExclusive ? 1u : 100u);
}

TEST_F(File, OffsetsGoBeyondFourGigabytesAndNotOutside) {
    const std::int64_t far = 5'000'000'000, largest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(file.Seek(far, CFile::begin), far);
    file.Write("far", 3);
    EXPECT_EQ(std::filesystem::file_size(temporary.path()), static_cast<std::uintmax_t>(far + 3));
    char bytes[3];
    EXPECT_EQ(file.Seek(-3, CFile::end), far);
    EXPECT_EQ(file.Read(bytes, 3), 3u);
    EXPECT_EQ(std::string(bytes, 3), "far");
    file.SetLength(3);
    const std::pair<std::int64_t, unsigned int> outside[] = {
        {-1, 0}, {-4, 1}, {-4, 2}, {largest, 1}, {largest, 2}, {-largest - 1, 2}, {0, 3}};
    for (const auto& to : outside)
        EXPECT_EQ(errorOf([&] { file.Seek(to.first, to.second); }), std::errc::invalid_argument)
            << to.first << ", " << to.second;
    EXPECT_TRUE(errorOf([&] { file.SetLength(-1); }));
    EXPECT_EQ(file.GetPosition(), 3);
}

TEST(FileOpening, ModeCreateEmptiesUnlessToldNotTo) {
    TemporaryFile temporary;
    EXPECT_TRUE(errorOf([&] { CFile(temporary.path(), CFile::modeReadWrite); }));
    const unsigned int create = CFile::modeCreate;
    for (unsigned int flags : {CFile::modeReadWrite | create | CFile::modeNoTruncate,
                               CFile::modeWrite | create, CFile::modeRead | create}) {
        temporary.setBytes("old");
        CFile(temporary.path(), flags).Close();
        EXPECT_EQ(temporary.bytes(), flags & CFile::modeNoTruncate ? "old" : "") << flags;
    }
}

TEST(FileOpening, WhatCannotBeReadOrWrittenIsRefused) {
    TemporaryFile temporary;
    std::filesystem::create_directory(temporary.path());
    for (const char* path : {temporary.path(), "", static_cast<const char*>(nullptr)})
        EXPECT_TRUE(errorOf([&] { CFile(path, CFile::modeRead); }));
    TemporaryFile readable;
    readable.setBytes("abc");
    CFile file(readable.path(), CFile::modeRead), closed;
    EXPECT_TRUE(errorOf([&] { file.Write("x", 1); }));
    EXPECT_EQ(errorOf([&] { closed.Seek(0, CFile::begin); }), std::errc::bad_file_descriptor);
}

TEST_F(File, TellsItsStatus) {
    CFileStatus status;
    EXPECT_EQ(CFile::GetStatus("/no such file", status), 0);
    EXPECT_EQ(CFile::GetStatus("/", status), 1);
    EXPECT_TRUE(status.isDirectory);
    file.Write("abc", 3);
    EXPECT_EQ(file.GetStatus(status), 1);
    EXPECT_EQ(status.size, 3);
    EXPECT_FALSE(status.isDirectory);
    EXPECT_LE(std::abs(std::difftime(std::time(nullptr), status.modified)), 60);
}

TEST_F(File, OpeningAnotherFileForgetsPositionAndLengthOfTheFormer) {
    file.Write("abcdef", 6);
    EXPECT_EQ(file.GetLength(), 6);  // known from now on
    const TemporaryFile other;
    other.setBytes("xyz");
    file.Open(other.path(), CFile::modeRead | CFile::shareDenyWrite);
    EXPECT_EQ(file.GetPosition(), 0);
    EXPECT_EQ(file.GetLength(), 3);
    EXPECT_EQ(file.Seek(0, CFile::end), 3);
}

TEST_F(File, AFailureNamesOperationPathAndReason) {
    backend.failCall(test::FileCall::read, 1);
    char byte;
    try {
        file.Read(&byte, 1);
        ADD_FAILURE() << "nothing thrown";
    } catch (const CFileException& error) {
        EXPECT_EQ(error.what(), std::string("read '") + temporary.path() +
                                    "': " + std::make_error_code(std::errc::io_error).message());
    }
}

TEST(FileSharing, IsRefusedWithinTheProcessToo) {
    const unsigned int reading = CFile::modeRead, writing = CFile::modeReadWrite;
    const std::tuple<unsigned int, unsigned int, bool> cases[] = {
        {writing | CFile::shareExclusive, writing | CFile::shareDenyNone, false},
        {reading | CFile::shareExclusive, reading, false},
        {reading | CFile::shareDenyWrite, reading | CFile::shareDenyWrite, true},
        {reading | CFile::shareDenyWrite, writing | CFile::shareExclusive, false},
        {writing | CFile::shareDenyNone, writing | CFile::shareDenyNone, true}};
    for (const auto& [one, other, admitted] : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << one << ", " << other);
        TemporaryFile temporary;
        temporary.setBytes("kept");
        CFile first(temporary.path(), one);
        const auto openSecond = [&](unsigned int flags) {
            return errorOf([&] { CFile(temporary.path(), flags); });
        };
        EXPECT_EQ(!openSecond(other), admitted);
        EXPECT_TRUE(admitted || openSecond(other | CFile::modeCreate));
        first.Close();
        EXPECT_EQ(temporary.bytes(), "kept");  // not emptied before it was refused
        EXPECT_FALSE(openSecond(other));
    }
}

TEST(FileSharing, WhatOthersAppendLockOrCutIsSeen) {
    TemporaryFile temporary;
    temporary.setBytes("abc");
    CFile shared(temporary.path(), CFile::modeReadWrite);
    EXPECT_EQ(shared.GetLength(), 3);
    temporary.setBytes("abcdef");
    EXPECT_EQ(shared.GetLength(), 6);
#if defined(__linux__) || defined(_WIN32)
    CFile second(temporary.path(), CFile::modeReadWrite);
    shared.LockRange(2, 3);
    EXPECT_TRUE(errorOf([&] { second.LockRange(4, 1); }));
    shared.UnlockRange(2, 3);
    second.LockRange(4, 1);
    second.Close();
#endif
#if !defined(_WIN32)
    shared.Open(temporary.path(), CFile::modeRead | CFile::shareDenyWrite);
    EXPECT_EQ(shared.GetLength(), 6);
    std::filesystem::resize_file(temporary.path(), 2);  // by somebody who does not ask
    char bytes[6];
    EXPECT_EQ(shared.Read(bytes, 6), 2u);
    EXPECT_EQ(shared.GetLength(), 2);
#endif
}

#if defined(__linux__)

// A child process that has the open files of this one, until it is told to go on and ends.
class Child {
public:
    template <class Action>
    explicit Child(Action beforeEnd) {
        EXPECT_EQ(::pipe(pipe_), 0);
        process_ = ::fork();
        if (process_ != 0) return;
        ::close(pipe_[1]);
        char told;
        static_cast<void>(!::read(pipe_[0], &told, 1));  // until the other end is closed
        beforeEnd();
        ::_exit(0);
    }
    void end() {
        ::close(pipe_[1]);
        ::waitpid(process_, nullptr, 0);
        ::close(pipe_[0]);
    }

private:
    int pipe_[2];
    pid_t process_;
};

TEST(FileSharing, EndsWithTheClosingThoughAForkedChildLives) {
    TemporaryFile temporary;
    const unsigned int alone = CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive;
    CFile file(temporary.path(), alone);
    file.LockRange(0, 10);
    Child child([] {});
    file.Close();
    CFile second;
    EXPECT_FALSE(errorOf([&] { second.Open(temporary.path(), alone); }));
    EXPECT_FALSE(errorOf([&] { second.LockRange(0, 10); }));
    child.end();
}

TEST(FileSharing, OutlivesTheClosingInAForkedChild) {
    TemporaryFile temporary;
    CFile file(temporary.path(), CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive);
    Child([&] { file.Close(); }).end();
    EXPECT_TRUE(errorOf([&] { CFile(temporary.path(), CFile::modeRead); }));
}

TEST(FileOpening, DescriptorZeroIsAFileToo) {
    TemporaryFile temporary;
    const int kept = ::dup(0);
    ::close(0);
    {
        CFile file(temporary.path(), CFile::modeCreate | CFile::modeWrite);
        file.Write("abc", 3);
    }
    EXPECT_EQ(temporary.bytes(), "abc");
    if (kept >= 0) ::dup2(kept, 0);
    if (kept >= 0) ::close(kept);
}

#endif

}  // namespace
}  // namespace kerf
