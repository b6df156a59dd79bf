#if defined(_WIN32)

#include <algorithm>
#include <utility>

#include "kerf/platform/file.h"
#include "kerf/platform/internal/windows_headers.h"

namespace kerf {

namespace {

constexpr std::size_t largestTransfer = 0x40000000;

std::error_code lastError() { return {static_cast<int>(::GetLastError()), std::system_category()}; }

DWORD lowPart(std::int64_t value) { return static_cast<DWORD>(value & 0xFFFFFFFF); }
DWORD highPart(std::int64_t value) { return static_cast<DWORD>(value >> 32); }

OVERLAPPED at(std::int64_t offset) {
    OVERLAPPED place = {};
    place.Offset = lowPart(offset);
    place.OffsetHigh = highPart(offset);
    return place;
}

// Windows counts 100 nanoseconds from 1601.
std::time_t timeOf(const FILETIME& time) {
    const std::int64_t ticks = static_cast<std::int64_t>(time.dwHighDateTime) << 32 |
                               static_cast<std::int64_t>(time.dwLowDateTime);
    return static_cast<std::time_t>(ticks / 10000000 - 11644473600);
}

std::int64_t sizeOf(DWORD high, DWORD low) {
    return static_cast<std::int64_t>(high) << 32 | static_cast<std::int64_t>(low);
}

class WindowsFile : public OpenFile {
public:
    explicit WindowsFile(HANDLE openHandle) : handle(openHandle) {}
    ~WindowsFile() override {
        if (handle != INVALID_HANDLE_VALUE) ::CloseHandle(handle);
    }

    std::size_t read(void* data, std::size_t count, std::int64_t offset,
                     std::error_code& error) override {
        OVERLAPPED place = at(offset);
        DWORD arrived = 0;
        const DWORD wanted = static_cast<DWORD>(std::min(count, largestTransfer));
        if (!::ReadFile(handle, data, wanted, &arrived, &place) &&
            ::GetLastError() != ERROR_HANDLE_EOF)
            error = lastError();
        return arrived;
    }

    std::size_t write(const void* data, std::size_t count, std::int64_t offset,
                      std::error_code& error) override {
        OVERLAPPED place = at(offset);
        DWORD taken = 0;
        const DWORD wanted = static_cast<DWORD>(std::min(count, largestTransfer));
        if (!::WriteFile(handle, data, wanted, &taken, &place)) error = lastError();
        return taken;
    }

    std::int64_t length(std::error_code& error) override {
        LARGE_INTEGER size = {};
        if (!::GetFileSizeEx(handle, &size)) error = lastError();
        return size.QuadPart;
    }

    void status(CFileStatus& status, std::error_code& error) override {
        BY_HANDLE_FILE_INFORMATION info;
        if (!::GetFileInformationByHandle(handle, &info)) {
            error = lastError();
            return;
        }
        status.size = sizeOf(info.nFileSizeHigh, info.nFileSizeLow);
        status.modified = timeOf(info.ftLastWriteTime);
        status.isDirectory = false;
    }

    void truncate(std::int64_t newLength, std::error_code& error) override {
        LARGE_INTEGER place;
        place.QuadPart = newLength;
        if (!::SetFilePointerEx(handle, place, nullptr, FILE_BEGIN) || !::SetEndOfFile(handle))
            error = lastError();
    }

    void lock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
        OVERLAPPED place = at(offset);
        const DWORD how = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
        if (!::LockFileEx(handle, how, 0, lowPart(count), highPart(count), &place))
            error = lastError();
    }

    void unlock(std::int64_t offset, std::int64_t count, std::error_code& error) override {
        OVERLAPPED place = at(offset);
        if (!::UnlockFileEx(handle, 0, lowPart(count), highPart(count), &place))
            error = lastError();
    }

    void close(std::error_code& error) override {
        if (!::CloseHandle(std::exchange(handle, INVALID_HANDLE_VALUE))) error = lastError();
    }

private:
    HANDLE handle;
};

class WindowsFileBackend : public FileBackend {
public:
    std::unique_ptr<OpenFile> open(const char* path, unsigned int flags,
                                   std::error_code& error) override {
        DWORD access = 0;
        if ((flags & CFile::modeRead) != 0) access |= GENERIC_READ;
        if ((flags & CFile::modeWrite) != 0) access |= GENERIC_WRITE;
        DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
        if ((flags & CFile::shareDenyWrite) != 0) sharing = FILE_SHARE_READ;
        if ((flags & CFile::shareExclusive) != 0) sharing = 0;
        DWORD creation = OPEN_EXISTING;
        if ((flags & CFile::modeCreate) != 0)
            creation = (flags & CFile::modeNoTruncate) != 0 ? OPEN_ALWAYS : CREATE_ALWAYS;
        const HANDLE handle =
            ::CreateFileA(path, access, sharing, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle != INVALID_HANDLE_VALUE) return std::make_unique<WindowsFile>(handle);
        error = lastError();
        return nullptr;
    }

    bool status(const char* path, CFileStatus& status) override {
        WIN32_FILE_ATTRIBUTE_DATA info;
        if (!::GetFileAttributesExA(path, GetFileExInfoStandard, &info)) return false;
        status.size = sizeOf(info.nFileSizeHigh, info.nFileSizeLow);
        status.modified = timeOf(info.ftLastWriteTime);
        status.isDirectory = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        return true;
    }
};

}  // namespace

FileBackend& systemFileBackend() {
    static FileBackend* const instance = new WindowsFileBackend;  // outlives every static file
    return *instance;
}

}  // namespace kerf

#endif
