#include "kerf/platform/file.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace kerf {

namespace {

constinit std::atomic<FileBackend*> backendInUse{nullptr};

FileBackend& backend() {
    FileBackend* const replaced = backendInUse.load();
    return replaced != nullptr ? *replaced : systemFileBackend();
}

constexpr std::int64_t largestOffset = std::numeric_limits<std::int64_t>::max();

}  // namespace

OpenFile::~OpenFile() = default;

void OpenFile::status(CFileStatus& status, std::error_code& error) { status.size = length(error); }

FileBackend::~FileBackend() = default;

FileBackend* setFileBackend(FileBackend* replacement) { return backendInUse.exchange(replacement); }

CFile::CFile() = default;

CFile::CFile(const char* path, unsigned int flags) { Open(path, flags); }

CFile::~CFile() {
    if (file_ == nullptr) return;
    std::error_code ignored;
    file_->close(ignored);
}

int CFile::Open(const char* path, unsigned int flags) {
    Close();
    path_ = path == nullptr ? "" : path;
    position_ = 0;
    knownLength_ = -1;
    if ((flags & modeReadWrite) == 0) flags |= modeRead;
    std::error_code error;
    file_ = backend().open(path_.c_str(), flags, error);
    if (file_ == nullptr) fail("open", error);
    keepsLength_ = (flags & (shareExclusive | shareDenyWrite)) != 0;
    return 1;
}

void CFile::Close() {
    if (file_ == nullptr) return;
    const std::unique_ptr<OpenFile> closing = std::move(file_);
    std::error_code error;
    closing->close(error);
    if (error) fail("close", error);
}

unsigned int CFile::Read(void* data, unsigned int count) {
    return static_cast<unsigned int>(readBytes(data, count));
}

void CFile::Write(const void* data, unsigned int count) { writeBytes(data, count); }

std::size_t CFile::readBytes(void* data, std::size_t count) {
    OpenFile& source = opened("read");
    std::error_code error;
    std::size_t done = 0;
    while (done < count) {
        const std::size_t arrived = source.read(static_cast<char*>(data) + done, count - done,
                                                position_ + static_cast<std::int64_t>(done), error);
        if (error) fail("read", error);
        if (arrived == 0) {
            knownLength_ = -1;  // the file may have been cut by others
            break;
        }
        done += arrived;
    }
    position_ += static_cast<std::int64_t>(done);
    return done;
}

void CFile::writeBytes(const void* data, std::size_t count) {
    OpenFile& target = opened("write");
    std::error_code error;
    if (static_cast<std::uint64_t>(count) > static_cast<std::uint64_t>(largestOffset - position_))
        fail("write", std::make_error_code(std::errc::file_too_large));
    std::size_t done = 0;
    while (done < count) {
        const std::size_t taken = target.write(static_cast<const char*>(data) + done, count - done,
                                               position_ + static_cast<std::int64_t>(done), error);
        if (!error && taken == 0) error = std::make_error_code(std::errc::no_space_on_device);
        if (error) {
            knownLength_ = -1;
            fail("write", error);
        }
        done += taken;
    }
    position_ += static_cast<std::int64_t>(count);
    if (knownLength_ >= 0 && count > 0) knownLength_ = std::max(knownLength_, position_);
}

std::int64_t CFile::Seek(std::int64_t offset, unsigned int origin) {
    opened("seek");
    const std::int64_t from = origin == end ? GetLength() : origin == current ? position_ : 0;
    const bool outside = origin > end || (offset > 0 ? offset > largestOffset - from  //
                                                     : from + offset < 0);
    if (outside) fail("seek", std::make_error_code(std::errc::invalid_argument));
    position_ = from + offset;
    return position_;
}

std::int64_t CFile::GetLength() const {
    OpenFile& source = opened("length");
    if (knownLength_ >= 0) return knownLength_;
    std::error_code error;
    const std::int64_t length = source.length(error);
    if (error) fail("length", error);
    if (keepsLength_) knownLength_ = length;
    return length;
}

void CFile::SetLength(std::int64_t newLength) {
    OpenFile& target = opened("truncate");
    std::error_code error;
    if (newLength < 0)
        error = std::make_error_code(std::errc::invalid_argument);
    else
        target.truncate(newLength, error);
    knownLength_ = -1;
    if (error) fail("truncate", error);
    position_ = std::min(position_, newLength);
}

void CFile::LockRange(std::int64_t offset, std::int64_t count) {
    std::error_code error;
    opened("lock").lock(offset, count, error);
    if (error) fail("lock", error);
}

void CFile::UnlockRange(std::int64_t offset, std::int64_t count) {
    std::error_code error;
    opened("unlock").unlock(offset, count, error);
    if (error) fail("unlock", error);
}

int CFile::GetStatus(CFileStatus& status) const {
    if (file_ == nullptr) return 0;
    CFileStatus found;
    std::error_code error;
    file_->status(found, error);
    if (error) return 0;
    found.path = path_;
    status = std::move(found);
    return 1;
}

int CFile::GetStatus(const char* path, CFileStatus& status) {
    CFileStatus found;
    if (path == nullptr || !backend().status(path, found)) return 0;
    found.path = path;
    status = std::move(found);
    return 1;
}

OpenFile& CFile::opened(const char* operation) const {
    if (file_ == nullptr) fail(operation, std::make_error_code(std::errc::bad_file_descriptor));
    return *file_;
}

void CFile::fail(const char* operation, std::error_code reason) const {
    if (!reason) reason = std::make_error_code(std::errc::io_error);
    throw CFileException(path_, operation, reason);
}

}  // namespace kerf
