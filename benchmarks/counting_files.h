#pragma once
#include <cstdint>
#include <memory>
#include <utility>

#include "kerf/platform/file.h"

/// The system's files, with the calls counted. Each counted call is one call of the operating
/// system.
class CountingFiles : public kerf::FileBackend {
public:
    std::uint64_t calls = 0;

    CountingFiles() { kerf::setFileBackend(this); }
    ~CountingFiles() override { kerf::setFileBackend(nullptr); }

    std::unique_ptr<kerf::OpenFile> open(const char* path, unsigned int flags,
                                         std::error_code& error) override {
        std::unique_ptr<kerf::OpenFile> file = kerf::systemFileBackend().open(path, flags, error);
        return file == nullptr ? nullptr : std::make_unique<Counted>(*this, std::move(file));
    }
    bool status(const char* path, kerf::CFileStatus& status) override {
        return kerf::systemFileBackend().status(path, status);
    }

private:
    struct Counted : kerf::OpenFile {
        Counted(CountingFiles& counter, std::unique_ptr<kerf::OpenFile> counted)
            : files(counter), file(std::move(counted)) {}
        std::size_t read(void* data, std::size_t count, std::int64_t offset,
                         std::error_code& error) override {
            ++files.calls;
            return file->read(data, count, offset, error);
        }
        std::size_t write(const void* data, std::size_t count, std::int64_t offset,
                          std::error_code& error) override {
            ++files.calls;
            return file->write(data, count, offset, error);
        }
        std::int64_t length(std::error_code& error) override {
            ++files.calls;
            return file->length(error);
        }
        void truncate(std::int64_t newLength, std::error_code& error) override {
            ++files.calls;
            file->truncate(newLength, error);
        }
        void lock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
            file->lock(offset, count, error);
        }
        void unlock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
            file->unlock(offset, count, error);
        }
        void close(std::error_code& error) override { file->close(error); }

        CountingFiles& files;
        std::unique_ptr<kerf::OpenFile> file;
    };
};
