#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

#include "kerf/platform/file.h"

// File backends that count, fail, cut short or stop, for tests of everything that stores.
namespace kerf::test {

/// The calls that a backend sees. `lock` stands for unlock too.
enum class FileCall { open, status, read, write, length, truncate, lock, close };
constexpr std::size_t fileCallKinds = 8;

/// Passes every call on to another backend (the system's), counts it, and disturbs it as told.
/// Disturbances stay until clear(); calls are numbered from 1, starting where the disturbance is
/// set.
class TestFileBackend : public FileBackend {
public:
    explicit TestFileBackend(FileBackend& below = systemFileBackend()) : below_(below) {}

    // --- Counting

    std::uint64_t calls(FileCall kind) const { return counts_[index(kind)]; }
    /// All calls but those of `open`, `status` and `close`: what work on open files costs.
    std::uint64_t transferCalls() const {
        return calls(FileCall::read) + calls(FileCall::write) + calls(FileCall::length) +
               calls(FileCall::truncate) + calls(FileCall::lock);
    }
    std::uint64_t bytesWritten() const { return bytesWritten_; }
    bool hasDisturbed() const { return disturbed_; }  ///< since the last clear()
    void resetCounts() {
        counts_ = {};
        bytesWritten_ = 0;
    }

    // --- Disturbing

    enum class Failing { once, fromThenOn };

    /// The n-th call of that kind fails and has no effect.
    void failCall(FileCall kind, std::uint64_t n, Failing failing = Failing::once,
                  std::errc reason = std::errc::io_error) {
        plans_[index(kind)] = {n, failing, reason};
    }

    /// Every write takes at most that many bytes: a caller that asks again gets all through.
    void cutWrites(std::size_t largest) { largestWrite_ = largest; }

    /// The device takes that many bytes more, then it is full: the write that reaches the end is
    /// taken in part, the next one fails.
    void fillDeviceAfter(std::uint64_t bytes) { roomLeft_ = bytes; }

    /// The disk is full, as systems have it: what a file has can be written again, but it cannot
    /// grow past that length.
    void limitLength(std::int64_t length) { lengthLimit_ = length; }

    /// At the n-th write the world stops: that write leaves its first `torn` bytes in the file, and
    /// nothing reaches the file any more. That write and every later call fail; closing is silent.
    void stopAtWrite(std::uint64_t n, std::size_t torn = 0) {
        writesBeforeStop_ = n - 1;
        tornBytes_ = torn;
    }
    bool hasStopped() const { return stopped_; }

    void clear() {
        plans_ = {};
        largestWrite_ = unlimited;
        roomLeft_ = std::numeric_limits<std::uint64_t>::max();
        lengthLimit_ = std::numeric_limits<std::int64_t>::max();
        writesBeforeStop_ = std::numeric_limits<std::uint64_t>::max();
        stopped_ = disturbed_ = false;
    }

    // --- The backend

    std::unique_ptr<OpenFile> open(const char* path, unsigned int flags,
                                   std::error_code& error) override {
        if (fails(FileCall::open, error)) return nullptr;
        std::unique_ptr<OpenFile> file = below_.open(path, flags, error);
        if (file == nullptr) return nullptr;
        return std::make_unique<File>(*this, std::move(file));
    }

    bool status(const char* path, CFileStatus& status) override {
        std::error_code error;
        return !fails(FileCall::status, error) && below_.status(path, status);
    }

private:
    static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

    struct Plan {
        std::uint64_t callsLeft = 0;  // 0: no plan
        Failing failing = Failing::once;
        std::errc reason = std::errc::io_error;
    };

    class File : public OpenFile {
    public:
        File(TestFileBackend& backend, std::unique_ptr<OpenFile> below)
            : backend_(backend), below_(std::move(below)) {}

        std::size_t read(void* data, std::size_t count, std::int64_t offset,
                         std::error_code& error) override {
            if (backend_.fails(FileCall::read, error)) return 0;
            return below_->read(data, count, offset, error);
        }
        std::size_t write(const void* data, std::size_t count, std::int64_t offset,
                          std::error_code& error) override {
            if (backend_.fails(FileCall::write, error)) return 0;
            if (backend_.writesBeforeStop_-- == 0) {
                std::error_code ignored;
                below_->write(data, std::min(count, backend_.tornBytes_), offset, ignored);
                backend_.stopped_ = backend_.disturbed_ = true;
                error = std::make_error_code(std::errc::io_error);
                return 0;
            }
            std::size_t part = std::min(count, backend_.largestWrite_);
            if (part > backend_.roomLeft_) part = static_cast<std::size_t>(backend_.roomLeft_);
            const std::int64_t below = std::max<std::int64_t>(backend_.lengthLimit_ - offset, 0);
            part = static_cast<std::size_t>(std::min(static_cast<std::int64_t>(part), below));
            if (part < count) backend_.disturbed_ = true;
            if (part == 0 && count > 0) {
                error = std::make_error_code(std::errc::no_space_on_device);
                return 0;
            }
            const std::size_t taken = below_->write(data, part, offset, error);
            backend_.roomLeft_ -= taken;
            backend_.bytesWritten_ += taken;
            return taken;
        }
        std::int64_t length(std::error_code& error) override {
            return backend_.fails(FileCall::length, error) ? 0 : below_->length(error);
        }
        void status(CFileStatus& status, std::error_code& error) override {
            if (!backend_.fails(FileCall::status, error)) below_->status(status, error);
        }
        void truncate(std::int64_t newLength, std::error_code& error) override {
            if (!backend_.fails(FileCall::truncate, error)) below_->truncate(newLength, error);
        }
        void lock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
            if (!backend_.fails(FileCall::lock, error)) below_->lock(offset, count, error);
        }
        void unlock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
            if (!backend_.fails(FileCall::lock, error)) below_->unlock(offset, count, error);
        }
        void close(std::error_code& error) override {
            std::error_code below;
            below_->close(below);  // whatever is planned, no descriptor is lost
            if (!backend_.stopped_ && !backend_.fails(FileCall::close, error)) error = below;
        }

    private:
        TestFileBackend& backend_;
        std::unique_ptr<OpenFile> below_;
    };

    static std::size_t index(FileCall kind) { return static_cast<std::size_t>(kind); }

    bool fails(FileCall kind, std::error_code& error) {
        ++counts_[index(kind)];
        if (stopped_) {
            error = std::make_error_code(std::errc::io_error);
            return true;
        }
        Plan& plan = plans_[index(kind)];
        if (plan.callsLeft == 0 || --plan.callsLeft > 0) return false;
        if (plan.failing == Failing::fromThenOn) plan.callsLeft = 1;
        disturbed_ = true;
        error = std::make_error_code(plan.reason);
        return true;
    }

    FileBackend& below_;
    std::array<std::uint64_t, fileCallKinds> counts_{};
    std::uint64_t bytesWritten_ = 0;
    std::array<Plan, fileCallKinds> plans_{};
    std::size_t largestWrite_ = unlimited;
    std::uint64_t roomLeft_ = std::numeric_limits<std::uint64_t>::max();
    std::int64_t lengthLimit_ = std::numeric_limits<std::int64_t>::max();
    std::uint64_t writesBeforeStop_ = std::numeric_limits<std::uint64_t>::max();
    std::size_t tornBytes_ = 0;
    bool stopped_ = false;
    bool disturbed_ = false;
};

/// Puts a backend in place for as long as it lives. Files opened meanwhile must be closed before
/// the backend goes.
class ScopedFileBackend {
public:
    explicit ScopedFileBackend(FileBackend& backend) : former_(setFileBackend(&backend)) {}
    ScopedFileBackend(const ScopedFileBackend&) = delete;
    ScopedFileBackend& operator=(const ScopedFileBackend&) = delete;
    ~ScopedFileBackend() { setFileBackend(former_); }

private:
    FileBackend* former_;
};

}  // namespace kerf::test
