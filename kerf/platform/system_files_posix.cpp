#if !defined(_WIN32)

#define _FILE_OFFSET_BITS 64  // before every header: offsets of 64 bits on 32-bit systems too

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "kerf/platform/file.h"

namespace kerf {

namespace {

static_assert(sizeof(off_t) == 8);

// The most that one system call is asked to transfer; the systems we know have a limit above it.
constexpr std::size_t largestTransfer = 0x40000000;

std::error_code lastError() { return {errno, std::system_category()}; }

template <class Call>
auto retryInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

void describe(const struct stat& info, CFileStatus& status) {
    status.size = info.st_size;
    status.modified = info.st_mtime;
    status.isDirectory = S_ISDIR(info.st_mode);
}

class PosixFile : public OpenFile {
public:
    explicit PosixFile(int openDescriptor) : descriptor(openDescriptor) {}
    ~PosixFile() override {
        std::error_code ignored;
        if (descriptor >= 0) PosixFile::close(ignored);
    }

    std::size_t read(void* data, std::size_t count, std::int64_t offset,
                     std::error_code& error) override {
        const ssize_t arrived = retryInterrupted(
            [&] { return ::pread(descriptor, data, std::min(count, largestTransfer), offset); });
        if (arrived < 0) error = lastError();
        return arrived < 0 ? 0 : static_cast<std::size_t>(arrived);
    }

    std::size_t write(const void* data, std::size_t count, std::int64_t offset,
                      std::error_code& error) override {
        const ssize_t taken = retryInterrupted(
            [&] { return ::pwrite(descriptor, data, std::min(count, largestTransfer), offset); });
        if (taken < 0) error = lastError();
        return taken < 0 ? 0 : static_cast<std::size_t>(taken);
    }

    std::int64_t length(std::error_code& error) override {
        struct stat info;
        if (::fstat(descriptor, &info) == 0) return info.st_size;
        error = lastError();
        return 0;
    }

    void status(CFileStatus& status, std::error_code& error) override {
        struct stat info;
        if (::fstat(descriptor, &info) == 0)
            describe(info, status);
        else
            error = lastError();
    }

    void truncate(std::int64_t newLength, std::error_code& error) override {
        if (retryInterrupted([&] { return ::ftruncate(descriptor, newLength); }) != 0)
            error = lastError();
    }

    void lock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
        setLock(F_WRLCK, offset, count, error);
        locksRanges_ = true;
        locker_ = ::getpid();
    }
    void unlock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
        setLock(F_UNLCK, offset, count, error);
    }

    // Gives the locks back first: a child process forked meanwhile has the open file too, which would
    // stay locked as long as the child lives. A child that closes leaves its parent's locks alone.
    void close(std::error_code& error) override {
        std::error_code ignored;
        if (locker_ == ::getpid()) {
            ::flock(descriptor, LOCK_UN);
            if (locksRanges_) setLock(F_UNLCK, 0, 0, ignored);  // from 0 to the end
        }
        // The descriptor is gone even when close is interrupted.
        if (::close(std::exchange(descriptor, -1)) != 0 && errno != EINTR) error = lastError();
    }

    // Refuses a file that is denied by another opening, and denies what the flags say.
    //
    // Sharing is built on advisory locks of the open file. An opening that denies all others, or
    // that writes and denies writers, holds the exclusive lock; one that reads and denies writers
    // holds a shared lock. One that denies nothing takes the lock that it would need and gives it
    // back at once, to learn whether it is denied.
    // So an opening that writes and denies writers keeps out readers too.
    bool share(unsigned int flags, std::error_code& error) {
        const bool writes = (flags & CFile::modeWrite) != 0;
        const bool exclusive = (flags & CFile::shareExclusive) != 0 || writes;
        const int wanted = exclusive ? LOCK_EX : LOCK_SH;
        if (retryInterrupted([&] { return ::flock(descriptor, wanted | LOCK_NB); }) != 0) {
            if (errno != EWOULDBLOCK) return true;  // a file system without locks
            error = lastError();
            return false;
        }
        if ((flags & (CFile::shareExclusive | CFile::shareDenyWrite)) != 0)
            locker_ = ::getpid();
        else
            ::flock(descriptor, LOCK_UN);
        return true;
    }

    int descriptor;

private:
    void setLock(short type, std::int64_t offset, std::int64_t count, std::error_code& error) {
#if defined(F_OFD_SETLK)
        // Owned by the open file: another opening in this process is refused as well.
        struct flock range = {};
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_start = offset;
        range.l_len = count;
        if (retryInterrupted([&] { return ::fcntl(descriptor, F_OFD_SETLK, &range); }) != 0)
            error = lastError();
#else
        static_cast<void>(type), static_cast<void>(offset), static_cast<void>(count);
        error = std::make_error_code(std::errc::operation_not_supported);
#endif
    }

    pid_t locker_ = 0;  // the process that holds locks, 0 for none
    bool locksRanges_ = false;
};

int accessOf(unsigned int flags) {
    switch (flags & CFile::modeReadWrite) {
        case CFile::modeReadWrite:
            return O_RDWR;
        case CFile::modeWrite:
            return O_WRONLY;
        default:
            return O_RDONLY;
    }
}

class PosixFileBackend : public FileBackend {
public:
    std::unique_ptr<OpenFile> open(const char* path, unsigned int flags,
                                   std::error_code& error) override {
        const bool creates = (flags & CFile::modeCreate) != 0;
        // O_NONBLOCK: a named pipe without a partner is an error, not a wait.
        const int mode =
            accessOf(flags) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (creates ? O_CREAT : 0);
        const int descriptor = retryInterrupted([&] { return ::open(path, mode, 0666); });
        if (descriptor < 0) {
            error = lastError();
            return nullptr;
        }
        auto file = std::make_unique<PosixFile>(descriptor);
        struct stat info;
        if (::fstat(descriptor, &info) != 0)
            error = lastError();
        else if (S_ISDIR(info.st_mode))
            error = std::make_error_code(std::errc::is_a_directory);
        else if (file->share(flags, error) && creates && (flags & CFile::modeNoTruncate) == 0 &&
                 info.st_size != 0)
            empty(*file, path, flags,
                  error);  // after sharing: a file that is denied keeps its bytes
        if (error) return nullptr;
        return file;
    }

    bool status(const char* path, CFileStatus& status) override {
        struct stat info;
        if (::stat(path, &info) != 0) return false;
        describe(info, status);
        return true;
    }

private:
    static void empty(PosixFile& file, const char* path, unsigned int flags,
                      std::error_code& error) {
        if ((flags & CFile::modeWrite) != 0)
            file.truncate(0, error);
        else if (::truncate(path, 0) != 0)
            error = lastError();
    }
};

}  // namespace

FileBackend& systemFileBackend() {
    static FileBackend* const instance = new PosixFileBackend;  // outlives every static file
    return *instance;
}

}  // namespace kerf

#endif
